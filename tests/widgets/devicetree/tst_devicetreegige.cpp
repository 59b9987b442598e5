// The device tree on the GigE Vision layer, against aravis's fake GigE Vision camera started in
// this process on the loopback interface: a real discovery and a real open over GVCP.
// aravis (GLib) first: GLib uses "signals" as a name, which Qt defines as a keyword.
#include <arv.h>

#include <QtTest>

#include <QTreeWidget>

#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtWidgets/autoscanthread.h>
#include <VorloQtWidgets/devicetooltip.h>
#include <VorloQtWidgets/devicetreewidget.h>

#include "devicetreetestsupport.h"

using namespace DeviceTreeTest;

// Signal arguments that the spies record.
Q_DECLARE_METATYPE(const Vorlo::CDeviceInfo*)

namespace {
const char* const FakeSerial = "GV01";
}

class tst_DeviceTreeGigE : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void fakeCameraAppearsUnderGigELayerWithAddressMacAndInterface();
    void gigeOnlyTreeListsFakeCameraAndNoEmulatedOne();
    void openFakeCameraIsShownBoldWithDeviceTooltip();
    void fakeCameraThatStopsIsSweptByNextScan();

private:
    QTreeWidget* tree() const { return m_widget->findChild<QTreeWidget*>("treeWidget"); }
    QTreeWidgetItem* gigeLayer() const;
    DeviceTreeWidgetItem* fakeRow() const;
    bool scan();

    std::unique_ptr<VorloQtBase::ExceptionRecorder> m_recorder;
    ArvGvFakeCamera* m_fake = nullptr;
    EmulatedCameras* m_cameras = nullptr;
    DeviceTreeWidget* m_widget = nullptr;
    ScanWatcher* m_watcher = nullptr;
};

void tst_DeviceTreeGigE::initTestCase()
{
    m_recorder.reset(new VorloQtBase::ExceptionRecorder);
    m_fake = arv_gv_fake_camera_new("127.0.0.1", FakeSerial);
    QVERIFY(m_fake);
    QVERIFY(arv_gv_fake_camera_is_running(m_fake));
}

void tst_DeviceTreeGigE::cleanupTestCase()
{
    if (m_fake)
        g_object_unref(m_fake);
    m_fake = nullptr;
}

void tst_DeviceTreeGigE::init()
{
    m_cameras = new EmulatedCameras(2);
}

void tst_DeviceTreeGigE::cleanup()
{
    delete m_watcher;
    m_watcher = nullptr;
    delete m_widget;
    m_widget = nullptr;
    delete m_cameras;
    m_cameras = nullptr;
    QCOMPARE(m_recorder->count(), 0);
}

QTreeWidgetItem* tst_DeviceTreeGigE::gigeLayer() const
{
    for (int i = 0; i < tree()->topLevelItemCount(); ++i)
        if (tree()->topLevelItem(i)->text(0) == QLatin1String("GigE Vision"))
            return tree()->topLevelItem(i);
    return nullptr;
}

DeviceTreeWidgetItem* tst_DeviceTreeGigE::fakeRow() const
{
    QTreeWidgetItem* layer = gigeLayer();
    for (int i = 0; layer && i < layer->childCount(); ++i) {
        DeviceTreeWidgetItem* row = dynamic_cast<DeviceTreeWidgetItem*>(layer->child(i));
        if (row && row->deviceInfo().GetSerialNumber() == FakeSerial)
            return row;
    }
    return nullptr;
}

bool tst_DeviceTreeGigE::scan()
{
    AutoScanThread* thread = m_widget->findChild<AutoScanThread*>();
    if (!QTest::qWaitFor([&] { return thread->isWaiting(); }, 10000))
        return false;
    const int before = m_watcher->finished;
    m_widget->refresh(false);
    return QTest::qWaitFor([&] { return m_watcher->finished == before + 1; }, 30000);
}

void tst_DeviceTreeGigE::fakeCameraAppearsUnderGigELayerWithAddressMacAndInterface()
{
    m_widget = new DeviceTreeWidget(nullptr, false);
    m_widget->setAutoScanEnabled(false);
    m_watcher = new ScanWatcher(m_widget->findChild<AutoScanThread*>());
    QVERIFY(scan());

    QTreeWidgetItem* layer = gigeLayer();
    QVERIFY(layer);
    Vorlo::TlInfoList tls;
    Vorlo::CTlFactory::GetInstance().EnumerateTls(tls);
    for (const Vorlo::CTlInfo& info : tls)
        if (info.GetDeviceClass() == "KesdorGigE")
            QCOMPARE(layer->data(0, DeviceTreeKeyRole).toString(), QString::fromLatin1(info.GetFullName().c_str()));

    DeviceTreeWidgetItem* row = fakeRow();
    QVERIFY(row);
    const Vorlo::CDeviceInfo& info = row->deviceInfo();
    QCOMPARE(QString::fromLatin1(info.GetDeviceClass().c_str()), QStringLiteral("KesdorGigE"));
    QCOMPARE(row->data(0, DeviceTreeScannedRole).toInt(), 1);

    // The widget's tooltip (detail level 0): the address and the host interface.
    const QString tip = row->toolTip(0);
    QVERIFY2(tip.contains("IP Address:\t127.0.0.1\n"), qPrintable(tip));
    QVERIFY2(tip.contains("Host IF:\t\t127.0.0.1\n"), qPrintable(tip));
    QVERIFY2(tip.contains("Serial Number:\tGV01"), qPrintable(tip));
    // The MAC row is a detailed one: shown with hyphens at detail level 100.
    Vorlo::gcstring mac;
    QVERIFY(info.GetPropertyValue("MacAddress", mac));
    QCOMPARE(mac.size(), size_t(12));
    const QString hyphenated = QStringLiteral("%1-%2-%3-%4-%5-%6")
                                   .arg(QString::fromLatin1(mac.substr(0, 2).c_str()),
                                        QString::fromLatin1(mac.substr(2, 2).c_str()),
                                        QString::fromLatin1(mac.substr(4, 2).c_str()),
                                        QString::fromLatin1(mac.substr(6, 2).c_str()),
                                        QString::fromLatin1(mac.substr(8, 2).c_str()),
                                        QString::fromLatin1(mac.substr(10, 2).c_str()))
                                   .toUpper();
    QVERIFY(!tip.contains("MAC:"));
    const QString detailed = formatToolTipFromDevice(info, nullptr, 100);
    QVERIFY2(detailed.contains("MAC:\t\t" + hyphenated), qPrintable(detailed));
}

void tst_DeviceTreeGigE::gigeOnlyTreeListsFakeCameraAndNoEmulatedOne()
{
    m_widget = new DeviceTreeWidget(nullptr, true);
    m_widget->setAutoScanEnabled(false);
    m_watcher = new ScanWatcher(m_widget->findChild<AutoScanThread*>());
    QVERIFY(scan());
    QCOMPARE(tree()->topLevelItemCount(), 1);
    QVERIFY(gigeLayer());
    QVERIFY(fakeRow());
    QVERIFY(tree()->findItems("*EMU-000*", Qt::MatchWildcard | Qt::MatchRecursive).isEmpty());
}

void tst_DeviceTreeGigE::openFakeCameraIsShownBoldWithDeviceTooltip()
{
    m_widget = new DeviceTreeWidget(nullptr, true);
    m_widget->setAutoScanEnabled(false);
    m_watcher = new ScanWatcher(m_widget->findChild<AutoScanThread*>());
    QVERIFY(scan());
    QVERIFY(fakeRow());

    Vorlo::IVorloDevice* device = Vorlo::CTlFactory::GetInstance().CreateDevice(fakeRow()->deviceInfo());
    device->Open();
    m_widget->onOpenDevice(device);
    DeviceTreeWidgetItem* row = fakeRow();
    QVERIFY(row->font(0).bold());
    QCOMPARE(row->devicePointer(), device);
    QCOMPARE(row->toolTip(0), formatToolTipFromDevice(device->GetDeviceInfo(), device, 0));
    QVERIFY(row->toolTip(0).contains("IP Address:\t127.0.0.1\n"));

    // Open, it survives a scan; closed, it stays as long as the camera answers.
    QVERIFY(scan());
    QCOMPARE(fakeRow(), row);
    m_widget->onCloseDevice(device);
    device->Close();
    Vorlo::CTlFactory::GetInstance().DestroyDevice(device);
    QVERIFY(!row->font(0).bold());
    QVERIFY(scan());
    QCOMPARE(fakeRow(), row);
}

void tst_DeviceTreeGigE::fakeCameraThatStopsIsSweptByNextScan()
{
    m_widget = new DeviceTreeWidget(nullptr, true);
    m_widget->setAutoScanEnabled(false);
    m_watcher = new ScanWatcher(m_widget->findChild<AutoScanThread*>());
    QVERIFY(scan());
    QVERIFY(fakeRow());

    QStringList removed;
    connect(m_widget, &DeviceTreeWidget::deviceRemoved, this,
            [&](const Vorlo::CDeviceInfo* info, bool byScan) {
                if (byScan)
                    removed << QString::fromLatin1(info->GetSerialNumber().c_str());
            });
    g_object_unref(m_fake); // the camera goes off the network
    m_fake = nullptr;
    QVERIFY(scan());
    QCOMPARE(removed, QStringList() << FakeSerial);
    QVERIFY(!fakeRow());
    QVERIFY(gigeLayer()); // layer rows stay

    // Back on the network: a new row again.
    m_fake = arv_gv_fake_camera_new("127.0.0.1", FakeSerial);
    QVERIFY(m_fake);
    QSignalSpy detected(m_widget, &DeviceTreeWidget::deviceDetected);
    QVERIFY(scan());
    QVERIFY(fakeRow());
    QCOMPARE(detected.count(), 1);
}

QTEST_MAIN(tst_DeviceTreeGigE)
#include "tst_devicetreegige.moc"
