#pragma once
// Shared pieces of the device tree tests: a fault injector between the scan and the SDK's
// factory (every device still comes from the SDK), a capture of log messages and of trace
// lines from any thread, a watcher of scan ends that runs after the widget's own merge, and a
// guard that gives every test the same set of emulated cameras.

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <stdexcept>
#include <string>

#include <QMutex>
#include <QMutexLocker>
#include <QObject>
#include <QStringList>
#include <QWaitCondition>

#include <log4cpp/Category.hh>
#include <log4cpp/LayoutAppender.hh>
#include <log4cpp/Priority.hh>

#include <Vorlo/VorloIncludes.h>
#include <VorloQtBase/trace.h>
#include <VorloQtWidgets/autoscanthread.h>
#include <VorloQtWidgets/devicetreedata.h>
#include <VorloQtWidgets/devicetreedata_p.h>

namespace DeviceTreeTest {

enum Fault
{
    NoFault,
    GenICamFault,
    StdFault,
    UnknownFault
};

inline void raise(int fault, const char* what)
{
    switch (fault) {
    case GenICamFault:
        throw RUNTIME_EXCEPTION("%s", what);
    case StdFault:
        throw std::runtime_error(what);
    case UnknownFault:
        throw 42;
    default:
        break;
    }
}

// Forwards to the SDK's factory and injects faults where a test asks for them.
class FaultyScanFactory : public VorloQtWidgetsPrivate::DeviceScanFactory
{
public:
    int enumerateTls(Vorlo::TlInfoList& list) override
    {
        ++enumerateTlsCalls;
        passGate();
        raise(tlListFault, "injected fault in the transport layer listing");
        const int count = DeviceScanFactory::enumerateTls(list);
        QMutexLocker locker(&m_mutex);
        if (m_hiddenClass.empty())
            return count;
        Vorlo::TlInfoList kept;
        for (const Vorlo::CTlInfo& info : list)
            if (info.GetDeviceClass() != m_hiddenClass.c_str())
                kept.push_back(info);
        list.swap(kept);
        return static_cast<int>(list.size());
    }

    Vorlo::ITransportLayer* createTl(const Vorlo::CTlInfo& info) override
    {
        ++createTlCalls;
        {
            QMutexLocker locker(&m_mutex);
            if (!m_nullClass.empty() && info.GetDeviceClass() == m_nullClass.c_str())
                return nullptr;
        }
        return DeviceScanFactory::createTl(info);
    }

    void releaseTl(const Vorlo::ITransportLayer* tl) override
    {
        ++releaseTlCalls;
        DeviceScanFactory::releaseTl(tl);
    }

    int enumerateDevices(Vorlo::ITransportLayer* tl, Vorlo::DeviceInfoList& list) override
    {
        int fault = NoFault;
        {
            QMutexLocker locker(&m_mutex);
            if (!m_faultyClass.empty() && tl->GetTlInfo().GetDeviceClass() == m_faultyClass.c_str())
                fault = m_deviceFault;
        }
        raise(fault, "injected fault in a device enumeration");
        return DeviceScanFactory::enumerateDevices(tl, list);
    }

    // Faults
    void hideLayer(const std::string& deviceClass) { QMutexLocker l(&m_mutex); m_hiddenClass = deviceClass; }
    void failCreation(const std::string& deviceClass) { QMutexLocker l(&m_mutex); m_nullClass = deviceClass; }
    void failDeviceEnumeration(const std::string& deviceClass, int fault)
    {
        QMutexLocker l(&m_mutex);
        m_faultyClass = deviceClass;
        m_deviceFault = fault;
    }

    // The gate holds a scan at the start of its layer listing, so that a test can act while a
    // scan runs.
    void closeGate()
    {
        QMutexLocker l(&m_gateMutex);
        m_gateClosed = true;
    }
    void openGate()
    {
        QMutexLocker l(&m_gateMutex);
        m_gateClosed = false;
        m_gateChanged.wakeAll();
    }
    bool isScanHeldAtGate() const { return m_inGate; }

    void reset()
    {
        openGate();
        QMutexLocker l(&m_mutex);
        m_hiddenClass.clear();
        m_nullClass.clear();
        m_faultyClass.clear();
        m_deviceFault = NoFault;
        tlListFault = NoFault;
        enumerateTlsCalls = 0;
        createTlCalls = 0;
        releaseTlCalls = 0;
    }

    std::atomic<int> tlListFault{NoFault};
    std::atomic<int> enumerateTlsCalls{0};
    std::atomic<int> createTlCalls{0};
    std::atomic<int> releaseTlCalls{0};

private:
    void passGate()
    {
        QMutexLocker l(&m_gateMutex);
        while (m_gateClosed) {
            m_inGate = true;
            m_gateChanged.wait(&m_gateMutex);
        }
        m_inGate = false;
    }

    QMutex m_mutex;
    std::string m_hiddenClass;
    std::string m_nullClass;
    std::string m_faultyClass;
    int m_deviceFault = NoFault;

    QMutex m_gateMutex;
    QWaitCondition m_gateChanged;
    bool m_gateClosed = false;
    std::atomic<bool> m_inGate{false};
};

// Installs the fault injector for the lifetime of the object.
class ScopedScanFactory
{
public:
    ScopedScanFactory() { m_previous = VorloQtWidgetsPrivate::DeviceScanFactory::install(&factory); }
    ~ScopedScanFactory() { VorloQtWidgetsPrivate::DeviceScanFactory::install(m_previous); }
    FaultyScanFactory factory;

private:
    VorloQtWidgetsPrivate::DeviceScanFactory* m_previous = nullptr;
};

// Log messages of every thread; warnings and criticals are kept, all are passed on.
class MessageCapture
{
public:
    MessageCapture()
    {
        QMutexLocker locker(&mutex());
        instance() = this;
        m_previous = qInstallMessageHandler(&MessageCapture::handler);
    }
    ~MessageCapture()
    {
        qInstallMessageHandler(m_previous);
        QMutexLocker locker(&mutex());
        instance() = nullptr;
    }
    QStringList messages() const
    {
        QMutexLocker locker(&mutex());
        return m_messages;
    }
    int count(const QString& text) const { return messages().count(text); }
    void clear()
    {
        QMutexLocker locker(&mutex());
        m_messages.clear();
    }

private:
    static QMutex& mutex()
    {
        static QMutex m;
        return m;
    }
    static MessageCapture*& instance()
    {
        static MessageCapture* capture = nullptr;
        return capture;
    }
    static void handler(QtMsgType type, const QMessageLogContext& context, const QString& text)
    {
        QtMessageHandler previous = nullptr;
        {
            QMutexLocker locker(&mutex());
            MessageCapture* capture = instance();
            if (!capture)
                return;
            capture->m_messages.append(text);
            previous = capture->m_previous;
        }
        if (previous && type != QtDebugMsg)
            previous(type, context, text);
    }

    QtMessageHandler m_previous = nullptr;
    QStringList m_messages;
};

// Trace lines of the library's log4cpp category, from any thread.
class TraceCapture : public log4cpp::LayoutAppender
{
public:
    TraceCapture()
        : log4cpp::LayoutAppender("DeviceTreeTestTrace")
        , m_category(GetLazyTraceStructInstance()->category)
    {
        m_oldPriority = m_category.getPriority();
        m_category.setPriority(log4cpp::Priority::DEBUG);
        m_category.addAppender(*this); // by reference: the category does not own it
    }
    ~TraceCapture() override
    {
        m_category.removeAppender(this);
        m_category.setPriority(m_oldPriority);
    }
    void close() override {}
    QStringList lines() const
    {
        QMutexLocker locker(&m_mutex);
        return m_lines;
    }
    int countContaining(const QString& text) const
    {
        int n = 0;
        for (const QString& line : lines())
            n += line.contains(text) ? 1 : 0;
        return n;
    }
    void clear()
    {
        QMutexLocker locker(&m_mutex);
        m_lines.clear();
    }

protected:
    void _append(const log4cpp::LoggingEvent& event) override
    {
        QMutexLocker locker(&m_mutex);
        m_lines.append(QString::fromStdString(event.message));
    }

private:
    log4cpp::Category& m_category;
    log4cpp::Priority::Value m_oldPriority;
    mutable QMutex m_mutex;
    QStringList m_lines;
};

// Counts the ends of scans of one thread. Connected after the widget, its queued calls run
// after the widget's own slots for the same signals, so a count that went up means the widget
// has merged that scan.
class ScanWatcher : public QObject
{
    Q_OBJECT
public:
    explicit ScanWatcher(AutoScanThread* thread)
    {
        connect(thread, &AutoScanThread::scanStarted, this, &ScanWatcher::onStarted, Qt::QueuedConnection);
        connect(thread, &AutoScanThread::scanFinished, this, &ScanWatcher::onFinished, Qt::QueuedConnection);
    }
    int started = 0;
    int finished = 0;

private slots:
    void onStarted() { ++started; }
    void onFinished() { ++finished; }
};

// The same emulated cameras for every test: `count` of them, all plugged in.
class EmulatedCameras
{
public:
    explicit EmulatedCameras(unsigned int count) { set(count); }
    ~EmulatedCameras() { set(0); }
    void set(unsigned int count)
    {
        Vorlo::CTlFactory& factory = Vorlo::CTlFactory::GetInstance();
        const unsigned int all = std::max({count, factory.GetCamEmuDeviceCount(), 16u});
        factory.SetCamEmuDeviceCount(all);
        for (unsigned int i = 0; i < all; ++i)
            factory.SetCamEmuDeviceUnplugged(serial(i), false);
        factory.SetCamEmuDeviceCount(count);
    }
    static Vorlo::gcstring serial(unsigned int index)
    {
        char text[16];
        std::snprintf(text, sizeof text, "EMU-%04u", index);
        return Vorlo::gcstring(text);
    }
    static bool unplug(const Vorlo::gcstring& serialNumber, bool unplugged = true)
    {
        return Vorlo::CTlFactory::GetInstance().SetCamEmuDeviceUnplugged(serialNumber, unplugged);
    }
};

} // namespace DeviceTreeTest
