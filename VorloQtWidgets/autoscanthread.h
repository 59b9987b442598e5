#pragma once

#include <atomic>

#include <QMutex>
#include <QThread>
#include <QWaitCondition>

#include <VorloQtWidgets/vorloqtwidgets_export.h>

class DeviceTreeWidget;

// Runs device enumeration away from the GUI thread. It sleeps until its widget asks for a scan,
// builds a new snapshot in private, swaps it into the widget's shared DeviceTreeData and signals
// the end of the scan. A request that comes while a scan runs wakes nobody and is dropped, so
// requests never pile up; only its dump request is kept for the next scan.
class VORLOQTWIDGETS_EXPORT AutoScanThread : public QThread
{
    Q_OBJECT

public:
    explicit AutoScanThread(DeviceTreeWidget* owner);
    ~AutoScanThread() override;

    // Wakes the thread if it waits; dumpResults is the dump request of the next scan.
    void doScanAsync(bool dumpResults);
    // Asks a running thread to end and waits up to 10 seconds for it; does nothing otherwise.
    void stop();
    // True while the thread sleeps in its wait for a request.
    bool isWaiting() const;

signals:
    void scanStarted();
    void scanFinished();

protected:
    void run() override;

private:
    mutable QMutex m_mutex;         // the wake-up handshake only, never held during a scan
    QWaitCondition m_condition;
    DeviceTreeWidget* m_owner;      // not owned
    std::atomic<bool> m_stopRequest{false}; // written without the mutex
    bool m_dumpRequest = false;     // guarded by m_mutex
    bool m_waiting = false;         // guarded by m_mutex
};
