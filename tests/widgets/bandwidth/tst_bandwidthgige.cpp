// The bandwidth rows of GigE Vision cameras, against a real protocol peer: aravis's fake GigE
// Vision camera on 127.0.0.1. The transport layer is dropped until GigE is switched on; then its
// devices sit below one row per network interface.
// aravis pulls in GLib, whose headers use the word that Qt defines as a keyword: GLib first.
#include <arv.h>

#include <QtTest>

#include <VorloQtWidgets/bandwidthflattree.h>
#include <VorloQtWidgets/bandwidthtreewidget.h>

#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtBase/formatting.h>

#include <QSettings>
#include <QTemporaryDir>

namespace {

const char* const FakeSerial = "BW01";

GenICam::gcstring_vector gigeOnly()
{
    GenICam::gcstring_vector v;
    v.push_back("KesdorGigE");
    return v;
}

QString rowsText(const FlatTree& tree)
{
    QStringList rows;
    for (size_t i = 1; i < tree.m_items.size(); ++i) {
        const FlatTreeItem& row = tree.m_items[i];
        rows << QStringLiteral("%1>%2%3").arg(row.parent).arg(row.isDevice ? QStringLiteral("device") : row.key)
                    .arg(row.isInterface ? QStringLiteral("(interface)") : QString());
    }
    return rows.join(QLatin1Char(' '));
}

} // namespace

class tst_BandwidthGigE : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void gigETransportLayerEnumeratedThenDroppedWithShowGigEFalse();
    void gigEDevicesSitBelowOneInterfaceRowPerInterface();
    void interfaceRowShowsTotalOnlyWhenFilled();
    void gigERowIsEditableAndCountsAsGigECamera();

private:
    VorloQtBase::ExceptionRecorder m_recorder; // no message box may block a test
    ArvGvFakeCamera* m_fake = nullptr;
};

void tst_BandwidthGigE::initTestCase()
{
    m_fake = arv_gv_fake_camera_new("127.0.0.1", FakeSerial);
    QVERIFY(m_fake);
    QVERIFY(arv_gv_fake_camera_is_running(m_fake));
}

void tst_BandwidthGigE::cleanupTestCase()
{
    if (m_fake)
        g_object_unref(m_fake);
    m_fake = nullptr;
}

void tst_BandwidthGigE::gigETransportLayerEnumeratedThenDroppedWithShowGigEFalse()
{
    FlatTree::m_bShowGigE = false;
    FlatTree tree;
    CBandwidthMeasuringCameraSet set;
    tree.setUsableTLNames(gigeOnly());
    tree.refreshTree(&set, {});
    QCOMPARE(tree.m_items.size(), size_t(1));
}

void tst_BandwidthGigE::gigEDevicesSitBelowOneInterfaceRowPerInterface()
{
    FlatTree::m_bShowGigE = true;
    FlatTree tree;
    CBandwidthMeasuringCameraSet set;
    tree.setUsableTLNames(gigeOnly());
    tree.refreshTree(&set, {});
    // The fake camera on loopback, and whatever else answers on this machine's interfaces:
    // each interface has one row, each device sits below its interface.
    QVERIFY2(tree.m_items.size() >= 4, qPrintable(rowsText(tree)));
    QCOMPARE(tree.m_items[1].key, QStringLiteral("KesdorGigE"));
    QStringList interfaces;
    bool fakeFound = false;
    for (size_t i = 2; i < tree.m_items.size(); ++i) {
        const FlatTreeItem& row = tree.m_items[i];
        if (row.isInterface) {
            QCOMPARE(row.parent, 1ul);
            QVERIFY(!interfaces.contains(row.key));
            interfaces << row.key;
            QCOMPARE(row.displayName, QStringLiteral("Network Interface (") + row.key + QStringLiteral(")"));
            QCOMPARE(row.sample.bytesPerSecondMax, uint64_t(0));
            continue;
        }
        QVERIFY(row.isDevice);
        const FlatTreeItem& parent = tree.m_items[row.parent];
        QVERIFY(parent.isInterface);
        GenICam::gcstring interfaceText;
        QVERIFY(row.deviceInfo.GetPropertyValue("Interface", interfaceText));
        QCOMPARE(parent.key, QString::fromLatin1(interfaceText.c_str()));
        if (row.deviceInfo.GetSerialNumber() == FakeSerial) {
            fakeFound = true;
            QCOMPARE(parent.key, QStringLiteral("127.0.0.1"));
        }
    }
    QVERIFY(fakeFound);
    QVERIFY(interfaces.contains(QStringLiteral("127.0.0.1")));
}

void tst_BandwidthGigE::interfaceRowShowsTotalOnlyWhenFilled()
{
    FlatTree::m_bShowGigE = true;
    QTemporaryDir dir;
    BandwidthTreeWidget w;
    QSettings settings(dir.filePath(QStringLiteral("layout.ini")), QSettings::IniFormat);
    w.restoreLayout(&settings);
    w.setUsableDeviceClasses(gigeOnly());
    w.refreshTree();
    FlatTree& tree = *const_cast<FlatTree*>(w.flatTree());
    unsigned long interfaceRow = 0;
    for (size_t i = 1; i < tree.m_items.size(); ++i) {
        if (tree.m_items[i].isInterface && tree.m_items[i].key == QStringLiteral("127.0.0.1"))
            interfaceRow = static_cast<unsigned long>(i);
    }
    QVERIFY(interfaceRow != 0);
    QTreeWidgetItem* pItem = tree.m_items[interfaceRow].pTreeWidgetItem;
    QCOMPARE(pItem->text(1), QString());
    QVERIFY(!pItem->data(0, Qt::CheckStateRole).isValid());
    // A caller that fills the total sees it, rounded to whole megabytes.
    tree.m_items[interfaceRow].sample.bytesPerSecondMax = 118750000;
    w.UpdateSampleDataViewRow(interfaceRow);
    QCOMPARE(pItem->text(1), QStringLiteral("~") + formatUnsignedIntegerValueAndUnits(118750000, 0, FormatMultiplierMega,
                                                                                      QString()));
    w.setCurrentItem(pItem);
    QCOMPARE(w.getSelectedItemType(), 3);
}

void tst_BandwidthGigE::gigERowIsEditableAndCountsAsGigECamera()
{
    FlatTree::m_bShowGigE = true;
    QTemporaryDir dir;
    BandwidthTreeWidget w;
    QSettings settings(dir.filePath(QStringLiteral("layout.ini")), QSettings::IniFormat);
    w.restoreLayout(&settings);
    w.setUsableDeviceClasses(gigeOnly());
    w.refreshTree();
    FlatTree& tree = *const_cast<FlatTree*>(w.flatTree());
    unsigned long deviceRow = 0;
    for (size_t i = 1; i < tree.m_items.size(); ++i) {
        if (tree.m_items[i].isDevice && tree.m_items[i].deviceInfo.GetSerialNumber() == FakeSerial)
            deviceRow = static_cast<unsigned long>(i);
    }
    QVERIFY(deviceRow != 0);
    QTreeWidgetItem* pItem = tree.m_items[deviceRow].pTreeWidgetItem;
    QVERIFY(pItem->flags() & Qt::ItemIsEditable);
    QVERIFY(w.EnableCamera(deviceRow));
    QCOMPARE(w.countEnabledCameras(), 1);
    QCOMPARE(w.countEnabledGigECameras(), 1);
    QVERIFY(!w.DisableCamera(deviceRow));
    QCOMPARE(w.countEnabledGigECameras(), 0);
}

QTEST_MAIN(tst_BandwidthGigE)
#include "tst_bandwidthgige.moc"
