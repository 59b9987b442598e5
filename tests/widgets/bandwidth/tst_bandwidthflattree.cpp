// The flat tree: rows from the SDK's enumeration, keys, parents by index, binding of cameras
// across refreshes, enabling and disabling, samples.
#include <QtTest>

#include "bandwidthtestsupport.h"

#include <VorloQtWidgets/bandwidthflattree.h>

#include <VorloQtBase/exceptiondisplay.h>

#include <QScopeGuard>
#include <QStandardItemModel>

#include <stdexcept>

using namespace BandwidthTest;

namespace {

// Rows as "parent>key" in index order, so that a failed comparison reads at a glance.
QString rowsText(const FlatTree& tree)
{
    QStringList rows;
    for (size_t i = 1; i < tree.m_items.size(); ++i) {
        const FlatTreeItem& row = tree.m_items[i];
        rows << QStringLiteral("%1>%2%3").arg(row.parent).arg(row.key).arg(row.isDevice ? "" : "/");
    }
    return rows.join(QLatin1Char(' '));
}

unsigned long rowOf(const FlatTree& tree, const QString& key)
{
    for (size_t i = 1; i < tree.m_items.size(); ++i) {
        if (tree.m_items[i] == key)
            return static_cast<unsigned long>(i);
    }
    return 0;
}

QString fullName(unsigned index)
{
    return QStringLiteral("CamEmu#") + serialNumber(index);
}

GenICam::gcstring_vector classes(std::initializer_list<const char*> names)
{
    GenICam::gcstring_vector v;
    for (const char* n : names)
        v.push_back(n);
    return v;
}

} // namespace

class tst_BandwidthFlatTree : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void freshTreeHasOnlyTheRoot();
    void afterClearTreeExactlyOneRowAndAddOrFindWithParentZeroWorks();
    void addOrFindItemMatchesByKeyOnly();
    void addOrFindItemWithInvalidParentRaisesRangeError();
    void deviceSeenTwiceUnderSameParentYieldsOneRow();
    void emptyUsableNamesHideEverything();
    void otherTransportLayerDroppedWithShowGigEFalse();
    void otherTransportLayerListedWithShowGigETrue();
    void enabledCameraWhoseDeviceVanishedIsRemovedFromSetByRefresh();
    void enabledCameraStillThereKeepsMeasuringAndRowShowsOldCamera();
    void enableCameraOnAlreadyEnabledRow_data();
    void enableCameraOnAlreadyEnabledRow();
    void enableCameraOnAlreadyEnabledRowWithRemovedDeviceReturnsFalse();
    void enableCameraOnNonDeviceOrOutOfRangeReturnsFalse();
    void enableCameraFailureKeepsRowDisabledWithLastError();
    void enableCameraWhileMeasuringStartsGrab();
    void enableCameraOnManagedDeviceUsesItWithoutClosingIt();
    void disableCameraOnDeviceRowThatIsNotEnabledReturnsTrue();
    void disableCameraOnNonDeviceOrOutOfRangeReturnsFalse();
    void bandwidthLimitFromEarlierSampleSurvivesResetSamples();
    void sampleCopiesCameraSamplesOnly();
    void getFlatTreeItemFromIndex();
    void enabledCameraAssertionCountsGigE();

private:
    VorloQtBase::ExceptionRecorder m_recorder; // no message box may block a test
    FlatTree* m_tree = nullptr;
    CBandwidthMeasuringCameraSet* m_set = nullptr;
    QVector<IVorloDevice*> m_noManaged;
};

void tst_BandwidthFlatTree::initTestCase()
{
    Vorlo::CTlFactory::GetInstance().SetCamEmuDeviceCount(3);
}

void tst_BandwidthFlatTree::init()
{
    FlatTree::m_bShowGigE = true;
    m_tree = new FlatTree;
    m_set = new CBandwidthMeasuringCameraSet;
    m_tree->setUsableTLNames(classes({ "KesdorCamEmu", "KesdorUsb" }));
}

void tst_BandwidthFlatTree::cleanup()
{
    delete m_tree;
    m_tree = nullptr;
    delete m_set;
    m_set = nullptr;
    Vorlo::CTlFactory::GetInstance().SetCamEmuDeviceCount(3);
    for (unsigned i = 0; i < 3; ++i)
        Vorlo::CTlFactory::GetInstance().SetCamEmuDeviceUnplugged(serialNumber(i).toStdString().c_str(), false);
}

void tst_BandwidthFlatTree::freshTreeHasOnlyTheRoot()
{
    FlatTree tree;
    QCOMPARE(tree.m_items.size(), size_t(1));
    QCOMPARE(tree.m_items[0].displayName, QStringLiteral("Internal Error"));
    QVERIFY(tree.m_items[0].key.isEmpty());
    QVERIFY(tree.m_lastError.isEmpty());
    QVERIFY(tree.m_usableTLNames.empty());
}

void tst_BandwidthFlatTree::afterClearTreeExactlyOneRowAndAddOrFindWithParentZeroWorks()
{
    m_tree->refreshTree(m_set, m_noManaged);
    QVERIFY(m_tree->m_items.size() > 1);
    m_tree->clearTree();
    QCOMPARE(m_tree->m_items.size(), size_t(1));
    QVERIFY(m_tree->m_items[0].children.empty());
    QCOMPARE(m_tree->addOrFindItem(QStringLiteral("a"), QStringLiteral("A"), 0), 1ul);
    QCOMPARE(m_tree->m_items[0].children, std::vector<unsigned long>{ 1 });
}

void tst_BandwidthFlatTree::addOrFindItemMatchesByKeyOnly()
{
    const unsigned long a = m_tree->addOrFindItem(QStringLiteral("a"), QStringLiteral("First"), 0);
    const unsigned long b = m_tree->addOrFindItem(QStringLiteral("b"), QStringLiteral("B"), a);
    // The same key under the same parent: found, and its display name stays.
    QCOMPARE(m_tree->addOrFindItem(QStringLiteral("a"), QStringLiteral("Second"), 0), a);
    QCOMPARE(m_tree->m_items[a].displayName, QStringLiteral("First"));
    // The same key under another parent is another row.
    const unsigned long a2 = m_tree->addOrFindItem(QStringLiteral("a"), QStringLiteral("A2"), b);
    QVERIFY(a2 != a);
    QCOMPARE(m_tree->m_items[a2].parent, b);
    QCOMPARE(rowsText(*m_tree), QStringLiteral("0>a/ 1>b/ 2>a/"));
}

void tst_BandwidthFlatTree::addOrFindItemWithInvalidParentRaisesRangeError()
{
    try {
        m_tree->addOrFindItem(QStringLiteral("x"), QStringLiteral("X"), 5);
        QFAIL("no exception");
    } catch (const std::out_of_range& e) {
        QCOMPARE(QString::fromLatin1(e.what()), QStringLiteral("vector::_M_range_check"));
    }
    QCOMPARE(m_tree->m_items.size(), size_t(1));
}

void tst_BandwidthFlatTree::deviceSeenTwiceUnderSameParentYieldsOneRow()
{
    const unsigned long tl = m_tree->addOrFindItem(QStringLiteral("KesdorCamEmu"), QStringLiteral("TL"), 0);
    const Vorlo::CDeviceInfo info = emulatedInfo(0);
    const unsigned long first = m_tree->addDevice(info, tl, m_set, m_noManaged);
    const unsigned long second = m_tree->addDevice(info, tl, m_set, m_noManaged);
    QCOMPARE(second, first);
    QCOMPARE(m_tree->m_items[tl].children.size(), size_t(1));
    const FlatTreeItem& row = m_tree->m_items[first];
    QVERIFY(row.isDevice);
    QCOMPARE(row.key, fullName(0));
    QVERIFY(!row.displayName.isEmpty());
    QVERIFY(row.pCamera == nullptr);
    QVERIFY(row.pManagedDevice == nullptr);
}

void tst_BandwidthFlatTree::emptyUsableNamesHideEverything()
{
    m_tree->setUsableTLNames(GenICam::gcstring_vector());
    m_tree->refreshTree(m_set, m_noManaged);
    QCOMPARE(m_tree->m_items.size(), size_t(1));
}

void tst_BandwidthFlatTree::otherTransportLayerDroppedWithShowGigEFalse()
{
    FlatTree::m_bShowGigE = false;
    QVERIFY(!m_tree->IsActivateGigE());
    m_tree->refreshTree(m_set, m_noManaged);
    // The emulation layer is enumerated, but none of its rows appear.
    QCOMPARE(m_tree->m_items.size(), size_t(1));
    m_tree->ActivateGigE();
    QVERIFY(m_tree->IsActivateGigE());
    QVERIFY(FlatTree::m_bShowGigE);
}

void tst_BandwidthFlatTree::otherTransportLayerListedWithShowGigETrue()
{
    m_tree->refreshTree(m_set, m_noManaged);
    QCOMPARE(rowsText(*m_tree), QStringLiteral("0>KesdorCamEmu/ 1>%1 1>%2 1>%3").arg(fullName(0), fullName(1), fullName(2)));
    // Devices of the emulation layer sit directly below their layer, without interface rows,
    // even the GigE-flavoured ones that carry an "Interface" property.
    for (size_t i = 1; i < m_tree->m_items.size(); ++i)
        QVERIFY(!m_tree->m_items[i].isInterface);
}

void tst_BandwidthFlatTree::enabledCameraWhoseDeviceVanishedIsRemovedFromSetByRefresh()
{
    m_tree->refreshTree(m_set, m_noManaged);
    QVERIFY(m_tree->enableCamera(rowOf(*m_tree, fullName(2)), m_set));
    QCOMPARE(m_set->m_cameras.size(), size_t(1));
    QVERIFY(Vorlo::CTlFactory::GetInstance().SetCamEmuDeviceUnplugged(serialNumber(2).toStdString().c_str(), true));
    m_tree->refreshTree(m_set, m_noManaged);
    QCOMPARE(rowOf(*m_tree, fullName(2)), 0ul);
    QVERIFY(m_set->m_cameras.empty());
}

void tst_BandwidthFlatTree::enabledCameraStillThereKeepsMeasuringAndRowShowsOldCamera()
{
    m_set->m_bMeasuring = true;
    m_tree->refreshTree(m_set, m_noManaged);
    QVERIFY(m_tree->enableCamera(rowOf(*m_tree, fullName(0)), m_set));
    CBandwidthMeasuringCamera* pCamera = m_tree->m_items[rowOf(*m_tree, fullName(0))].pCamera;
    QVERIFY(pCamera);
    QVERIFY(pCamera->IsGrabbing());
    m_tree->refreshTree(m_set, m_noManaged);
    const unsigned long row = rowOf(*m_tree, fullName(0));
    QVERIFY(row != 0);
    QCOMPARE(m_tree->m_items[row].pCamera, pCamera);
    QCOMPARE(m_set->m_cameras.size(), size_t(1));
    QVERIFY(pCamera->IsGrabbing());
    const int64_t before = pCamera->GetSample().images;
    QTRY_VERIFY(pCamera->GetSample().images > before);
}

void tst_BandwidthFlatTree::enableCameraOnAlreadyEnabledRow_data()
{
    QTest::addColumn<bool>("withMaxNumBuffer");
    QTest::addColumn<bool>("expected");
    QTest::newRow("stream grabber lacks MaxNumBuffer") << false << false;
    QTest::newRow("stream grabber has MaxNumBuffer") << true << true;
}

void tst_BandwidthFlatTree::enableCameraOnAlreadyEnabledRow()
{
    QFETCH(bool, withMaxNumBuffer);
    QFETCH(bool, expected);

    const unsigned long tl = m_tree->addOrFindItem(QStringLiteral("KesdorCamEmu"), QStringLiteral("TL"), 0);
    const unsigned long row = m_tree->addDevice(emulatedInfo(0), tl, m_set, m_noManaged);
    NodeMap stream(withMaxNumBuffer ? integer("MaxNumBuffer", 16) : integer("SomethingElse", 1));
    NodeMap device(floatFeature("ResultingFrameRate", 20.0) + integer("PayloadSize", 10));
    XmlCamera camera;
    camera.m_pNodeMap = device.map();
    camera.m_pStreamNodeMap = stream.map();
    m_tree->m_items[row].pCamera = &camera;
    m_tree->m_items[row].sample.images = 42;

    QCOMPARE(m_tree->enableCamera(row, m_set), expected);
    // The sample is reset in either case, and filled from the camera when it is ready.
    QCOMPARE(m_tree->m_items[row].sample.images, int64_t(0));
    QCOMPARE(m_tree->m_items[row].sample.fpsMax, expected ? 20.0 : 0.0);
    m_tree->m_items[row].pCamera = nullptr;
}

void tst_BandwidthFlatTree::enableCameraOnAlreadyEnabledRowWithRemovedDeviceReturnsFalse()
{
    m_tree->refreshTree(m_set, m_noManaged);
    const unsigned long row = rowOf(*m_tree, fullName(1));
    QVERIFY(m_tree->enableCamera(row, m_set));
    QVERIFY(m_tree->enableCamera(row, m_set)); // enabled and fine: true
    QVERIFY(Vorlo::CTlFactory::GetInstance().SetCamEmuDeviceUnplugged(serialNumber(1).toStdString().c_str(), true));
    QTRY_VERIFY(m_tree->m_items[row].pCamera->m_bDeviceRemoved);
    QVERIFY(!m_tree->enableCamera(row, m_set));
}

void tst_BandwidthFlatTree::enableCameraOnNonDeviceOrOutOfRangeReturnsFalse()
{
    m_tree->refreshTree(m_set, m_noManaged);
    QVERIFY(!m_tree->enableCamera(0, m_set));
    QVERIFY(!m_tree->enableCamera(1, m_set)); // the transport layer row
    QVERIFY(!m_tree->enableCamera(static_cast<unsigned long>(m_tree->m_items.size()), m_set));
    QVERIFY(m_set->m_cameras.empty());
}

void tst_BandwidthFlatTree::enableCameraFailureKeepsRowDisabledWithLastError()
{
    m_tree->refreshTree(m_set, m_noManaged);
    const unsigned long row = rowOf(*m_tree, fullName(0));
    // Someone else has the device open: creation fails.
    Vorlo::IVorloDevice* pOther = Vorlo::CTlFactory::GetInstance().CreateDevice(emulatedInfo(0));
    auto releaseOther = qScopeGuard([&] {
        if (pOther)
            Vorlo::CTlFactory::GetInstance().DestroyDevice(pOther);
    });
    pOther->Open();
    m_tree->m_items[row].sample.bandwidthLimit = 7;
    QVERIFY(!m_tree->enableCamera(row, m_set));
    QVERIFY(m_tree->m_items[row].pCamera == nullptr);
    QVERIFY(!m_tree->m_lastError.isEmpty());
    QCOMPARE(m_tree->m_items[row].sample.bandwidthLimit, int64_t(7));
    QVERIFY(m_set->m_cameras.empty());
    const QString error = m_tree->m_lastError;
    // The text stays until the next creation succeeds.
    QVERIFY(!m_tree->enableCamera(1, m_set));
    QCOMPARE(m_tree->m_lastError, error);
    Vorlo::CTlFactory::GetInstance().DestroyDevice(pOther);
    pOther = nullptr;
    QVERIFY(m_tree->enableCamera(row, m_set));
    QVERIFY(m_tree->m_lastError.isEmpty());
}

void tst_BandwidthFlatTree::enableCameraWhileMeasuringStartsGrab()
{
    m_tree->refreshTree(m_set, m_noManaged);
    const unsigned long row = rowOf(*m_tree, fullName(0));
    QVERIFY(m_tree->enableCamera(row, m_set));
    QVERIFY(!m_tree->m_items[row].pCamera->IsGrabbing());
    QVERIFY(!m_tree->m_items[row].pCamera->m_bGrabStarted);
    QVERIFY(m_tree->m_items[row].sample.fpsMax > 0.0);

    m_set->m_bMeasuring = true;
    const unsigned long row2 = rowOf(*m_tree, fullName(1));
    QVERIFY(m_tree->enableCamera(row2, m_set));
    CBandwidthMeasuringCamera* pCamera = m_tree->m_items[row2].pCamera;
    QVERIFY(pCamera->IsGrabbing());
    QVERIFY(pCamera->m_bGrabStarted);
    QCOMPARE(pCamera->m_bandwidthLimit, int64_t(-1));
}

void tst_BandwidthFlatTree::enableCameraOnManagedDeviceUsesItWithoutClosingIt()
{
    Vorlo::IVorloDevice* pManaged = Vorlo::CTlFactory::GetInstance().CreateDevice(emulatedInfo(1));
    pManaged->Open();
    const QVector<IVorloDevice*> managed{ pManaged };
    m_tree->refreshTree(m_set, managed);
    const unsigned long row = rowOf(*m_tree, fullName(1));
    QCOMPARE(m_tree->m_items[row].pManagedDevice, pManaged);
    QCOMPARE(m_tree->getManagedDevice(managed, emulatedInfo(1)), pManaged);
    QVERIFY(m_tree->getManagedDevice(managed, emulatedInfo(0)) == nullptr);

    QVERIFY(m_tree->enableCamera(row, m_set));
    CBandwidthMeasuringCamera* pCamera = m_tree->m_items[row].pCamera;
    QCOMPARE(pCamera->GetCameraContext(), intptr_t(0));
    QCOMPARE(pCamera->GetDevice(), pManaged);
    QVERIFY(m_tree->disableCamera(row, m_set));
    QVERIFY(m_set->m_cameras.empty());
    // The application's device lives on, still open.
    QVERIFY(pManaged->IsOpen());
    Vorlo::CTlFactory::GetInstance().DestroyDevice(pManaged);
}

void tst_BandwidthFlatTree::disableCameraOnDeviceRowThatIsNotEnabledReturnsTrue()
{
    m_tree->refreshTree(m_set, m_noManaged);
    const unsigned long row = rowOf(*m_tree, fullName(0));
    QVERIFY(m_tree->disableCamera(row, m_set));
    QVERIFY(m_tree->enableCamera(row, m_set));
    QVERIFY(m_tree->disableCamera(row, m_set));
    QVERIFY(m_tree->m_items[row].pCamera == nullptr);
    QVERIFY(m_set->m_cameras.empty());
}

void tst_BandwidthFlatTree::disableCameraOnNonDeviceOrOutOfRangeReturnsFalse()
{
    m_tree->refreshTree(m_set, m_noManaged);
    QVERIFY(!m_tree->disableCamera(0, m_set));
    QVERIFY(!m_tree->disableCamera(1, m_set));
    QVERIFY(!m_tree->disableCamera(1000, m_set));
}

void tst_BandwidthFlatTree::bandwidthLimitFromEarlierSampleSurvivesResetSamples()
{
    m_tree->refreshTree(m_set, m_noManaged);
    FlatTreeItem& row = m_tree->m_items[rowOf(*m_tree, fullName(0))];
    row.sample.bandwidthLimit = 123456789;
    row.sample.images = 5;
    row.sample.fps = 3.0;
    row.sample.deviceRemoved = true;
    m_tree->ResetSamples();
    QCOMPARE(row.sample.bandwidthLimit, int64_t(123456789));
    QCOMPARE(row.sample.images, int64_t(0));
    QCOMPARE(row.sample.fps, -1.0);
    QVERIFY(!row.sample.deviceRemoved);
}

void tst_BandwidthFlatTree::sampleCopiesCameraSamplesOnly()
{
    m_tree->refreshTree(m_set, m_noManaged);
    const unsigned long enabled = rowOf(*m_tree, fullName(0));
    const unsigned long disabled = rowOf(*m_tree, fullName(1));
    QVERIFY(m_tree->enableCamera(enabled, m_set));
    m_tree->m_items[enabled].sample.fpsMax = -5.0;
    m_tree->m_items[disabled].sample.images = 9;
    m_tree->Sample();
    QVERIFY(m_tree->m_items[enabled].sample.fpsMax > 0.0);
    QCOMPARE(m_tree->m_items[disabled].sample.images, int64_t(9));
}

void tst_BandwidthFlatTree::getFlatTreeItemFromIndex()
{
    QVERIFY(FlatTree::getFlatTreeItemFromIndex(QModelIndex()) == nullptr);
    QStandardItemModel model(2, 1);
    QVERIFY(FlatTree::getFlatTreeItemFromIndex(model.index(0, 0)) == nullptr);
    FlatTreeItem row;
    model.setData(model.index(1, 0), QVariant::fromValue(static_cast<void*>(&row)), Qt::UserRole + 1);
    QCOMPARE(FlatTree::getFlatTreeItemFromIndex(model.index(1, 0)), &row);
    model.setData(model.index(0, 0), QStringLiteral("text"), Qt::UserRole + 1);
    QVERIFY(FlatTree::getFlatTreeItemFromIndex(model.index(0, 0)) == nullptr);
}

void tst_BandwidthFlatTree::enabledCameraAssertionCountsGigE()
{
    m_tree->refreshTree(m_set, m_noManaged);
    const unsigned long row = rowOf(*m_tree, fullName(1));
    QVERIFY(!m_tree->m_items[row].isEnabledCamera());
    QVERIFY(!m_tree->m_items[row].isEnabledGigECamera());
    QVERIFY(m_tree->enableCamera(row, m_set));
    QVERIFY(m_tree->m_items[row].isEnabledCamera());
    // An emulated camera is not a GigE Vision camera, even in its GigE flavour.
    QCOMPARE(m_tree->m_items[row].isEnabledGigECamera(), m_tree->m_items[row].pCamera->IsGigE());
}

QTEST_MAIN(tst_BandwidthFlatTree)
#include "tst_bandwidthflattree.moc"
