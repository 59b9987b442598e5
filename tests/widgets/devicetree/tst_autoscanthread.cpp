// The scan thread's handshake, stop and failure handling, scanning real emulated cameras.

#include <QtTest>

#include <thread>

#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtWidgets/devicetreewidget.h>

#include "devicetreetestsupport.h"

using namespace DeviceTreeTest;

// Signal arguments that the spies record.
Q_DECLARE_METATYPE(const Vorlo::CDeviceInfo*)

// Each test runs its own scan thread for a widget whose own thread never scans, and reads what
// the thread swapped into the widget's shared snapshot by merging it into the widget's tree.
class tst_AutoScanThread : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void scanSwapsSnapshotOfEmulatedCamerasIntoWidget();
    void stopOnThreadNotRunningReturnsAtOnceAndSetsNothing();
    void stopDuringScanLetsScanFinishAndEndsThread();
    void twoRequestsWhileWaitingLeadToOneScan();
    void requestDuringScanIsDropped();
    void dumpRequestDuringScanIsTakenByNextScan();
    void exceptionInLayerListingLeavesSharedDataAsItWas_data();
    void exceptionInLayerListingLeavesSharedDataAsItWas();

private:
    std::unique_ptr<VorloQtBase::ExceptionRecorder> m_recorder;
    ScopedScanFactory* m_scope = nullptr;
    EmulatedCameras* m_cameras = nullptr;
    DeviceTreeWidget* m_widget = nullptr;
    AutoScanThread* m_thread = nullptr;
};

void tst_AutoScanThread::initTestCase()
{
    m_recorder.reset(new VorloQtBase::ExceptionRecorder); // no dialog may block a test
}

void tst_AutoScanThread::init()
{
    m_scope = new ScopedScanFactory;
    m_cameras = new EmulatedCameras(2);
    m_widget = new DeviceTreeWidget(nullptr, false);
    m_widget->setAutoScanEnabled(false);
    m_thread = new AutoScanThread(m_widget);
}

void tst_AutoScanThread::cleanup()
{
    m_scope->factory.openGate();
    m_thread->stop();
    delete m_thread;
    m_thread = nullptr;
    delete m_widget;
    m_widget = nullptr;
    delete m_cameras;
    m_cameras = nullptr;
    delete m_scope;
    m_scope = nullptr;
}

void tst_AutoScanThread::scanSwapsSnapshotOfEmulatedCamerasIntoWidget()
{
    QSignalSpy started(m_thread, &AutoScanThread::scanStarted);
    QSignalSpy finished(m_thread, &AutoScanThread::scanFinished);
    QVERIFY(started.isValid() && finished.isValid());
    m_thread->start();
    QTRY_VERIFY(m_thread->isWaiting());
    m_thread->doScanAsync(false);
    QTRY_COMPARE(finished.count(), 1);
    QCOMPARE(started.count(), 1);

    // The swapped-in snapshot is what the widget merges.
    m_widget->updateTransportLayers();
    QTreeWidget* tree = qobject_cast<QTreeWidget*>(m_widget->treeView());
    QVERIFY(tree);
    QList<QTreeWidgetItem*> rows = tree->findItems("*EMU-000*", Qt::MatchWildcard | Qt::MatchRecursive);
    QCOMPARE(rows.size(), 2);

    // The number of cameras changes between scans, and the next scan shows it.
    m_cameras->set(3);
    QTRY_VERIFY(m_thread->isWaiting());
    m_thread->doScanAsync(false);
    QTRY_COMPARE(finished.count(), 2);
    m_widget->updateTransportLayers();
    rows = tree->findItems("*EMU-000*", Qt::MatchWildcard | Qt::MatchRecursive);
    QCOMPARE(rows.size(), 3);
}

void tst_AutoScanThread::stopOnThreadNotRunningReturnsAtOnceAndSetsNothing()
{
    QVERIFY(!m_thread->isRunning());
    m_thread->stop();
    QVERIFY(!m_thread->isRunning());

    // Had stop() set its request, the thread would end before its first wait.
    QSignalSpy finished(m_thread, &AutoScanThread::scanFinished);
    m_thread->start();
    QTRY_VERIFY(m_thread->isWaiting());
    QVERIFY(m_thread->isRunning());
    m_thread->doScanAsync(false);
    QTRY_COMPARE(finished.count(), 1);
    QVERIFY(m_thread->isRunning());
}

void tst_AutoScanThread::stopDuringScanLetsScanFinishAndEndsThread()
{
    QSignalSpy started(m_thread, &AutoScanThread::scanStarted);
    QSignalSpy finished(m_thread, &AutoScanThread::scanFinished);
    m_thread->start();
    QTRY_VERIFY(m_thread->isWaiting());

    m_scope->factory.closeGate(); // a slow enumeration
    m_thread->doScanAsync(false);
    QTRY_VERIFY(m_scope->factory.isScanHeldAtGate());
    QCOMPARE(finished.count(), 0);

    // stop() waits in this thread; the enumeration ends a little later, from elsewhere.
    std::atomic<bool> stopCalled{false};
    std::thread network([&] {
        while (!stopCalled)
            std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        m_scope->factory.openGate();
    });
    stopCalled = true;
    m_thread->stop();
    network.join();

    QVERIFY(m_thread->isFinished());
    QCOMPARE(started.count(), 1);
    QCOMPARE(finished.count(), 1);
    // The scan was completed and swapped in before the thread ended.
    m_widget->updateTransportLayers();
    QTreeWidget* tree = qobject_cast<QTreeWidget*>(m_widget->treeView());
    QCOMPARE(tree->findItems("*EMU-000*", Qt::MatchWildcard | Qt::MatchRecursive).size(), 2);
}

void tst_AutoScanThread::twoRequestsWhileWaitingLeadToOneScan()
{
    QSignalSpy started(m_thread, &AutoScanThread::scanStarted);
    QSignalSpy finished(m_thread, &AutoScanThread::scanFinished);
    m_thread->start();
    QTRY_VERIFY(m_thread->isWaiting());
    const int listingsBefore = m_scope->factory.enumerateTlsCalls.load(); // the widget's own

    m_thread->doScanAsync(false);
    m_thread->doScanAsync(false);
    QTRY_COMPARE(finished.count(), 1);
    // Back in its wait without a second scan: the thread scans only when woken, so none follows.
    QTRY_VERIFY(m_thread->isWaiting());
    QCOMPARE(started.count(), 1);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(m_scope->factory.enumerateTlsCalls.load(), listingsBefore + 1);
}

void tst_AutoScanThread::requestDuringScanIsDropped()
{
    QSignalSpy started(m_thread, &AutoScanThread::scanStarted);
    QSignalSpy finished(m_thread, &AutoScanThread::scanFinished);
    m_thread->start();
    QTRY_VERIFY(m_thread->isWaiting());

    m_scope->factory.closeGate();
    m_thread->doScanAsync(false);
    QTRY_VERIFY(m_scope->factory.isScanHeldAtGate());
    m_thread->doScanAsync(false); // comes while the scan runs: wakes nobody
    m_thread->doScanAsync(false);
    m_scope->factory.openGate();
    QTRY_COMPARE(finished.count(), 1);
    QTRY_VERIFY(m_thread->isWaiting());
    QCOMPARE(started.count(), 1);
}

void tst_AutoScanThread::dumpRequestDuringScanIsTakenByNextScan()
{
    TraceCapture trace;
    const QString dumpLine = QStringLiteral("refreshDeviceTreeData: KesdorCamEmu found");
    QSignalSpy finished(m_thread, &AutoScanThread::scanFinished);
    m_thread->start();
    QTRY_VERIFY(m_thread->isWaiting());

    // A scan without a dump request ...
    m_scope->factory.closeGate();
    m_thread->doScanAsync(false);
    QTRY_VERIFY(m_scope->factory.isScanHeldAtGate());
    // ... gets one while it runs; that wakes nobody ...
    m_thread->doScanAsync(true);
    m_scope->factory.openGate();
    QTRY_COMPARE(finished.count(), 1);
    QCOMPARE(trace.countContaining(dumpLine), 0);
    QTRY_VERIFY(m_thread->isWaiting());
    QCOMPARE(finished.count(), 1);

    // ... and the next scan, woken by a plain request as the timer makes, dumps its results.
    m_thread->doScanAsync(false);
    QTRY_COMPARE(finished.count(), 2);
    QCOMPARE(trace.countContaining(dumpLine), 2);

    // The request was taken: the scan after that dumps nothing.
    QTRY_VERIFY(m_thread->isWaiting());
    m_thread->doScanAsync(false);
    QTRY_COMPARE(finished.count(), 3);
    QCOMPARE(trace.countContaining(dumpLine), 2);
}

void tst_AutoScanThread::exceptionInLayerListingLeavesSharedDataAsItWas_data()
{
    QTest::addColumn<int>("fault");
    QTest::addColumn<QString>("secondLine");
    QTest::newRow("GenICam exception") << int(GenICamFault) << "run: Exception occurred:\ninjected fault in the transport layer listing";
    QTest::newRow("std::exception") << int(StdFault) << "run: Exception occurred:\ninjected fault in the transport layer listing\n";
    QTest::newRow("anything else") << int(UnknownFault) << "run: Un";
}

void tst_AutoScanThread::exceptionInLayerListingLeavesSharedDataAsItWas()
{
    QFETCH(int, fault);
    QFETCH(QString, secondLine);
    MessageCapture messages;
    QSignalSpy finished(m_thread, &AutoScanThread::scanFinished);
    m_thread->start();
    QTRY_VERIFY(m_thread->isWaiting());
    m_thread->doScanAsync(false);
    QTRY_COMPARE(finished.count(), 1);
    m_widget->updateTransportLayers();
    QTreeWidget* tree = qobject_cast<QTreeWidget*>(m_widget->treeView());
    QCOMPARE(tree->findItems("*EMU-000*", Qt::MatchWildcard | Qt::MatchRecursive).size(), 2);

    m_scope->factory.tlListFault = fault;
    m_cameras->set(4);
    QTRY_VERIFY(m_thread->isWaiting());
    m_thread->doScanAsync(false);
    QTRY_COMPARE(finished.count(), 2); // emitted after the failure too

    // The shared snapshot is the one before: merging it changes nothing.
    QSignalSpy listChanged(m_widget, &DeviceTreeWidget::deviceListChanged);
    m_widget->updateTransportLayers();
    QCOMPARE(listChanged.count(), 0);
    QCOMPARE(tree->findItems("*EMU-000*", Qt::MatchWildcard | Qt::MatchRecursive).size(), 2);

    const QStringList lines = messages.messages();
    const int at = lines.indexOf("DeviceScanThread: Failed to enumerate devices");
    QVERIFY2(at >= 0, qPrintable(lines.join(" | ")));
    QVERIFY(at + 1 < lines.size());
    QVERIFY2(lines.at(at + 1).startsWith(secondLine), qPrintable(lines.at(at + 1)));
    if (fault == UnknownFault) // the catch-all line names no exception, only its own end
        QVERIFY(lines.at(at + 1).endsWith(QLatin1String("ecified exception occurred.")));

    // The thread lives on and the next scan sees the four cameras.
    m_scope->factory.tlListFault = NoFault;
    QTRY_VERIFY(m_thread->isWaiting());
    m_thread->doScanAsync(false);
    QTRY_COMPARE(finished.count(), 3);
    m_widget->updateTransportLayers();
    QCOMPARE(tree->findItems("*EMU-000*", Qt::MatchWildcard | Qt::MatchRecursive).size(), 4);
}

QTEST_MAIN(tst_AutoScanThread)
#include "tst_autoscanthread.moc"
