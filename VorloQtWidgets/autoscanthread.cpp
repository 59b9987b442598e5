#include <VorloQtWidgets/autoscanthread.h>

#include <VorloQtWidgets/devicetreedata.h>
#include <VorloQtWidgets/devicetreewidget.h>

#include <VorloQtBase/exceptionhandling.h>

AutoScanThread::AutoScanThread(DeviceTreeWidget* owner)
    : QThread(owner)
    , m_owner(owner)
{
}

AutoScanThread::~AutoScanThread() = default;

void AutoScanThread::doScanAsync(bool dumpResults)
{
    QMutexLocker locker(&m_mutex);
    // A dump request stands until a scan takes it: a plain wake-up that follows (the timer's)
    // does not withdraw one that came while a scan ran.
    if (dumpResults)
        m_dumpRequest = true;
    m_condition.wakeAll();
}

void AutoScanThread::stop()
{
    if (!isRunning())
        return;
    m_stopRequest = true;
    {
        // Waking under the mutex closes the gap between the thread's look at the stop request
        // and its wait: it either sees the request or is already waiting when woken.
        QMutexLocker locker(&m_mutex);
        m_condition.wakeAll();
    }
    if (!wait(10000))
        qCritical("Termination of DeviceScanThread timed out");
}

bool AutoScanThread::isWaiting() const
{
    QMutexLocker locker(&m_mutex);
    return m_waiting;
}

void AutoScanThread::run()
{
    DeviceTreeData local;
    for (;;) {
        if (m_stopRequest)
            break;

        bool dumpResults = false;
        {
            QMutexLocker locker(&m_mutex);
            if (m_stopRequest)
                break;
            m_waiting = true;
            const bool woken = m_condition.wait(&m_mutex);
            m_waiting = false;
            if (!woken || m_stopRequest)
                break;
            // Taken here rather than after the scan, so that a dump request that arrives while
            // this scan runs is kept for the next one.
            dumpResults = m_dumpRequest;
            m_dumpRequest = false;
        }

        emit scanStarted();
        VorloQtBase::guarded("run", QStringLiteral("DeviceScanThread: Failed to enumerate devices"),
                             [&] {
                                 DeviceTreeData::refreshDeviceTreeData(
                                     local, m_owner->m_gigeOnly, false, dumpResults);
                                 DeviceTreeData* shared = m_owner->m_deviceTreeData;
                                 QMutexLocker sharedLocker(&shared->m_mutex);
                                 shared->m_items.swap(local.m_items);
                             });
        // Also after a failure, so that the widget takes its busy cursor away again.
        emit scanFinished();
    }
}
