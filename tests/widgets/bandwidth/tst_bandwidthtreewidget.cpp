// The bandwidth view: layout, rows mirrored from the flat tree, check boxes that only signal,
// enabling and disabling with persistent editors, the numbers and their icons, and the whole
// measurement on emulated cameras as an application drives it.
#include <QtTest>

#include "bandwidthtestsupport.h"

#include <VorloQtWidgets/bandwidthflattree.h>
#include <VorloQtWidgets/bandwidthitemdelegate.h>
#include <VorloQtWidgets/bandwidthlimiterinterpacketdelay.h>
#include <VorloQtWidgets/bandwidthtreewidget.h>
#include <VorloQtWidgets/cameraconfigurationeditor.h>
#include <VorloQtWidgets/devicelinkthroughputlimiteditor.h>

#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtBase/formatting.h>

#include <QAbstractItemModelTester>
#include <QHeaderView>
#include <QSettings>
#include <QSlider>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTimer>
#include <QScopeGuard>

#include <cmath>
#include <memory>

using namespace BandwidthTest;

namespace {

enum { ColCamera = 0, ColLimit = 1, ColConfig = 2, ColMBs = 3, ColFpsSent = 4, ColFpsReceived = 5, ColImages = 6,
       ColErrors = 7 };

QString keyOf(unsigned index)
{
    return QStringLiteral("CamEmu#") + serialNumber(index);
}

FlatTree& treeOf(BandwidthTreeWidget& w)
{
    // The rows are the view's own; tests reach in to plant samples.
    return *const_cast<FlatTree*>(w.flatTree());
}

unsigned long rowOf(BandwidthTreeWidget& w, const QString& key)
{
    const FlatTree& tree = treeOf(w);
    for (size_t i = 1; i < tree.m_items.size(); ++i) {
        if (tree.m_items[i] == key)
            return static_cast<unsigned long>(i);
    }
    return 0;
}

QTreeWidgetItem* itemOf(BandwidthTreeWidget& w, const QString& key)
{
    return treeOf(w).m_items[rowOf(w, key)].pTreeWidgetItem;
}

double number(const QString& text)
{
    bool ok = false;
    const double v = QLocale().toDouble(text, &ok);
    return ok ? v : -1.0;
}

bool hasIcon(QTreeWidgetItem* pItem, int column)
{
    return !pItem->icon(column).isNull();
}

// Findings of the model tester other than the one that Qt's own tree widget model always
// raises: its model gives every column of a row the row's children, which the tester's third
// common-error check reports for every row.
QStringList g_testerFindings;
QtMessageHandler g_previousHandler = nullptr;

void filterTesterMessages(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (context.category && qstrcmp(context.category, "qt.modeltest") == 0) {
        if (!message.contains(QLatin1String("childIndex != childIndex1")))
            g_testerFindings << message;
        return;
    }
    g_previousHandler(type, context, message);
}

GenICam::gcstring_vector emulationOnly()
{
    GenICam::gcstring_vector v;
    v.push_back("KesdorCamEmu");
    return v;
}

} // namespace

// The view with its protected index lookup opened for the tests.
class TestBandwidthTreeWidget : public BandwidthTreeWidget
{
public:
    using BandwidthTreeWidget::BandwidthTreeWidget;
    QModelIndex indexFromItemPublic(QTreeWidgetItem* pItem, int column) const { return indexFromItem(pItem, column); }
};

namespace {
QWidget* editorAt(TestBandwidthTreeWidget& w, const QString& key, int column)
{
    QTreeWidgetItem* pItem = itemOf(w, key);
    return pItem ? w.indexWidget(w.indexFromItemPublic(pItem, column)) : nullptr;
}
} // namespace

class tst_BandwidthTreeWidget : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void restoreLayoutSetsColumnsDelegatesAndDefaultWidths();
    void restoreLayoutMustRunBeforeFirstRefreshTree();
    void layoutRoundTripThroughSettings();
    void rowsMirrorFlatTreeWithRolesAndCheckBoxes();
    void tickingBoxOnlyEmitsCameraCheckedAndBoxStaysTicked();
    void otherDeviceClassShowsConfigButtonButNoLimitEditorAfterEnableCamera();
    void otherDeviceClassOpensLimitEditorAnywayAfterRefreshTreeWhileEnabled();
    void enableCameraFailureShowsErrorIconTooltipAndSignal();
    void disableCameraReturnsFalseAlsoOnSuccess();
    void enableAndDisableByKey();
    void outOfRangeRowRaisesRangeError();
    void fpsZeroWithinThresholdShowsZeroWithoutIcon();
    void fpsZeroPastThresholdShowsWarningIcon_data();
    void fpsZeroPastThresholdShowsWarningIcon();
    void fpsMinusOneShowsDashesAndNoIcon();
    void errorsShowErrorIcon();
    void refreshTreeWithRemovedCameraDropsItBeforeRebuilding();
    void sharedDialogSettingsReachAllRows();
    void selectedItemQueries();
    void triggerStateListsCameras();
    void destructionDisablesCamerasAndClosesEditors();

    void endToEndMeasuringTwoCamerasAndLimits();
    void pictureOfThreeCamerasMeasuring();

private:
    void sampleFor(TestBandwidthTreeWidget& w, int samples);

    VorloQtBase::ExceptionRecorder m_recorder; // no message box may block a test
    QTemporaryDir m_settingsDir;
    std::unique_ptr<TestBandwidthTreeWidget> m_view;
    std::unique_ptr<QAbstractItemModelTester> m_tester;
};

void tst_BandwidthTreeWidget::initTestCase()
{
    g_previousHandler = qInstallMessageHandler(filterTesterMessages);
    QVERIFY(m_settingsDir.isValid());
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_settingsDir.path());
    QCoreApplication::setOrganizationName(QStringLiteral("KesdorTests"));
    QCoreApplication::setApplicationName(QStringLiteral("tst_bandwidthtreewidget"));
    Vorlo::CTlFactory::GetInstance().SetCamEmuDeviceCount(3);
}

void tst_BandwidthTreeWidget::init()
{
    m_view = std::make_unique<TestBandwidthTreeWidget>();
    // The tester writes its findings as warnings; filterTesterMessages() keeps them.
    m_tester = std::make_unique<QAbstractItemModelTester>(m_view->model(),
                                                          QAbstractItemModelTester::FailureReportingMode::Warning);
    QSettings settings(m_settingsDir.filePath(QStringLiteral("layout.ini")), QSettings::IniFormat);
    m_view->restoreLayout(&settings);
    m_view->ActivateGigE();
    QVERIFY(m_view->setUsableDeviceClasses(emulationOnly()));
    m_view->resize(1000, 300);
}

void tst_BandwidthTreeWidget::cleanup()
{
    m_tester.reset();
    m_view.reset();
    Vorlo::CTlFactory::GetInstance().SetCamEmuDeviceCount(3);
    for (unsigned i = 0; i < 3; ++i)
        Vorlo::CTlFactory::GetInstance().SetCamEmuDeviceUnplugged(serialNumber(i).toStdString().c_str(), false);
    const QStringList findings = g_testerFindings;
    g_testerFindings.clear();
    QVERIFY2(findings.isEmpty(), qPrintable(findings.join(QLatin1Char('\n'))));
}

void tst_BandwidthTreeWidget::sampleFor(TestBandwidthTreeWidget& w, int samples)
{
    // The application's timer: Sample() every 200 ms.
    int done = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, &w, [&] {
        w.Sample();
        ++done;
    });
    timer.start(200);
    QTRY_VERIFY_WITH_TIMEOUT(done >= samples, samples * 200 + 10000);
}

void tst_BandwidthTreeWidget::restoreLayoutSetsColumnsDelegatesAndDefaultWidths()
{
    TestBandwidthTreeWidget w;
    QSettings settings(m_settingsDir.filePath(QStringLiteral("empty.ini")), QSettings::IniFormat);
    QVERIFY(!w.restoreLayout(&settings));
    QCOMPARE(w.columnCount(), 8);
    QStringList headers;
    for (int c = 0; c < 8; ++c) {
        headers << w.headerItem()->text(c);
        QCOMPARE(w.headerItem()->textAlignment(c), 129);
    }
    QCOMPARE(headers.join(QLatin1Char('|')),
             QStringLiteral("Camera|Bandwidth (MB/s)||MB/s Received|fps Sent|fps Received|Images|Errors"));
    QVERIFY(qobject_cast<BandwidthItemDelegate*>(w.itemDelegateForColumn(1)));
    QVERIFY(qobject_cast<BandwidthCameraConfigItemDelegate*>(w.itemDelegateForColumn(2)));
    QCOMPARE(w.header()->sectionResizeMode(2), QHeaderView::Fixed);
    QCOMPARE(w.header()->sectionSize(0), 240);
    QCOMPARE(w.header()->sectionSize(1), 160);
    QCOMPARE(w.header()->sectionSize(2), 20);
    QCOMPARE(w.header()->defaultSectionSize(), 80);
}

void tst_BandwidthTreeWidget::restoreLayoutMustRunBeforeFirstRefreshTree()
{
    TestBandwidthTreeWidget w;
    w.ActivateGigE();
    w.setUsableDeviceClasses(emulationOnly());
    w.refreshTree();
    // Without the layout the rows exist but have no columns for numbers and no delegates.
    QVERIFY(w.topLevelItemCount() > 0);
    QCOMPARE(w.columnCount(), 1);
    QVERIFY(!qobject_cast<BandwidthItemDelegate*>(w.itemDelegateForColumn(1)));
    QVERIFY(!qobject_cast<BandwidthCameraConfigItemDelegate*>(w.itemDelegateForColumn(2)));
}

void tst_BandwidthTreeWidget::layoutRoundTripThroughSettings()
{
    const QString file = m_settingsDir.filePath(QStringLiteral("roundtrip.ini"));
    {
        TestBandwidthTreeWidget w;
        QSettings settings(file, QSettings::IniFormat);
        QVERIFY(!w.restoreLayout(&settings));
        w.header()->resizeSection(0, 333);
        w.saveLayout(&settings);
    }
    TestBandwidthTreeWidget w;
    QSettings settings(file, QSettings::IniFormat);
    QVERIFY(w.restoreLayout(&settings));
    QCOMPARE(w.header()->sectionSize(0), 333);
}

void tst_BandwidthTreeWidget::rowsMirrorFlatTreeWithRolesAndCheckBoxes()
{
    TestBandwidthTreeWidget& w = *m_view;
    w.refreshTree();
    QCOMPARE(w.topLevelItemCount(), 1);
    QTreeWidgetItem* pTl = w.topLevelItem(0);
    QCOMPARE(pTl->childCount(), 3);
    QVERIFY(pTl->isExpanded());
    QCOMPARE(w.countCameras(), 3);
    QCOMPARE(w.countEnabledCameras(), 0);
    for (unsigned i = 0; i < 3; ++i) {
        QTreeWidgetItem* pItem = itemOf(w, keyOf(i));
        QVERIFY(pItem);
        QCOMPARE(pItem->checkState(ColCamera), Qt::Unchecked);
        QCOMPARE(pItem->data(ColConfig, Qt::UserRole + 2).toInt(), 1);
        QCOMPARE(pItem->data(ColConfig, Qt::UserRole + 3).toInt(), 0);
        QCOMPARE(pItem->data(ColConfig, Qt::UserRole + 4).toBool(), false);
        QCOMPARE(static_cast<FlatTreeItem*>(pItem->data(ColLimit, Qt::UserRole + 1).value<void*>()),
                 &treeOf(w).m_items[rowOf(w, keyOf(i))]);
        // Emulated devices are neither USB nor GigE Vision: not editable.
        QVERIFY(!(pItem->flags() & Qt::ItemIsEditable));
        QCOMPARE(pItem->textAlignment(ColMBs), 130);
        QCOMPARE(pItem->textAlignment(ColCamera), 129);
        QCOMPARE(pItem->text(ColMBs), QString());
    }
    QVERIFY(!pTl->data(ColCamera, Qt::UserRole + 2).isValid());
}

void tst_BandwidthTreeWidget::tickingBoxOnlyEmitsCameraCheckedAndBoxStaysTicked()
{
    TestBandwidthTreeWidget& w = *m_view;
    w.refreshTree();
    QSignalSpy spy(&w, &BandwidthTreeWidget::cameraChecked);
    QVERIFY(spy.isValid());
    QTreeWidgetItem* pItem = itemOf(w, keyOf(2));
    pItem->setCheckState(ColCamera, Qt::Checked);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).value<size_t>(), size_t(rowOf(w, keyOf(2))));
    QVERIFY(spy.at(0).at(1).value<Vorlo::CInstantCamera*>() == nullptr);
    QCOMPARE(spy.at(0).at(2).value<Qt::CheckState>(), Qt::Checked);
    // The application did nothing: the box stays ticked and no camera exists.
    QCOMPARE(pItem->checkState(ColCamera), Qt::Checked);
    QCOMPARE(w.countEnabledCameras(), 0);
    QVERIFY(w.cameraSet()->m_cameras.empty());
}

void tst_BandwidthTreeWidget::otherDeviceClassShowsConfigButtonButNoLimitEditorAfterEnableCamera()
{
    TestBandwidthTreeWidget& w = *m_view;
    w.refreshTree();
    const unsigned long row = rowOf(w, keyOf(1)); // GigE-flavoured: it has an inter-packet delay
    QVERIFY(w.EnableCamera(row));
    QTreeWidgetItem* pItem = itemOf(w, keyOf(1));
    QCOMPARE(pItem->checkState(ColCamera), Qt::Checked);
    QCOMPARE(pItem->font(ColCamera).weight(), 75);
    QVERIFY(qobject_cast<CameraConfigurationEditor*>(editorAt(w, keyOf(1), ColConfig)));
    QVERIFY(editorAt(w, keyOf(1), ColLimit) == nullptr);
    QCOMPARE(w.countEnabledCameras(), 1);
    QCOMPARE(w.enabledCameras(), QVector<unsigned long>{ row });
}

void tst_BandwidthTreeWidget::otherDeviceClassOpensLimitEditorAnywayAfterRefreshTreeWhileEnabled()
{
    TestBandwidthTreeWidget& w = *m_view;
    w.refreshTree();
    QVERIFY(w.EnableCamera(rowOf(w, keyOf(1))));
    CBandwidthMeasuringCamera* pCamera = treeOf(w).m_items[rowOf(w, keyOf(1))].pCamera;
    w.refreshTree();
    QCOMPARE(treeOf(w).m_items[rowOf(w, keyOf(1))].pCamera, pCamera);
    QCOMPARE(itemOf(w, keyOf(1))->checkState(ColCamera), Qt::Checked);
    QVERIFY(qobject_cast<BandwidthLimiterInterPacketDelay*>(editorAt(w, keyOf(1), ColLimit)));
    QVERIFY(qobject_cast<CameraConfigurationEditor*>(editorAt(w, keyOf(1), ColConfig)));
}

void tst_BandwidthTreeWidget::enableCameraFailureShowsErrorIconTooltipAndSignal()
{
    TestBandwidthTreeWidget& w = *m_view;
    w.refreshTree();
    Vorlo::IVorloDevice* pOther = Vorlo::CTlFactory::GetInstance().CreateDevice(emulatedInfo(0));
    auto releaseOther = qScopeGuard([&] {
        if (pOther)
            Vorlo::CTlFactory::GetInstance().DestroyDevice(pOther);
    });
    pOther->Open();
    QSignalSpy errors(&w, &BandwidthTreeWidget::errorOccurred);
    QSignalSpy checked(&w, &BandwidthTreeWidget::cameraChecked);
    QVERIFY(!w.EnableCamera(rowOf(w, keyOf(0))));
    QTreeWidgetItem* pItem = itemOf(w, keyOf(0));
    QCOMPARE(pItem->checkState(ColCamera), Qt::Unchecked);
    QVERIFY(hasIcon(pItem, ColCamera));
    QCOMPARE(pItem->toolTip(ColCamera), QStringLiteral("Error accessing camera!"));
    QCOMPARE(errors.count(), 1);
    QVERIFY(errors.at(0).at(1).toString().startsWith(QStringLiteral("Error accessing camera! (")));
    QVERIFY(errors.at(0).at(1).toString().endsWith(QLatin1Char(')')));
    QCOMPARE(errors.at(0).at(0).toString(), pItem->text(ColCamera));
    QVERIFY(errors.at(0).at(2).toDateTime().isValid());
    QCOMPARE(checked.count(), 0);
    QVERIFY(QApplication::overrideCursor() == nullptr);

    // A later success clears icon and tooltip.
    Vorlo::CTlFactory::GetInstance().DestroyDevice(pOther);
    pOther = nullptr;
    QVERIFY(w.EnableCamera(rowOf(w, keyOf(0))));
    QVERIFY(!hasIcon(pItem, ColCamera));
    QVERIFY(pItem->toolTip(ColCamera).isEmpty());
    QCOMPARE(pItem->checkState(ColCamera), Qt::Checked);
}

void tst_BandwidthTreeWidget::disableCameraReturnsFalseAlsoOnSuccess()
{
    TestBandwidthTreeWidget& w = *m_view;
    w.refreshTree();
    const unsigned long row = rowOf(w, keyOf(0));
    QVERIFY(w.EnableCamera(row));
    QVERIFY(editorAt(w, keyOf(0), ColConfig));
    QVERIFY(!w.DisableCamera(row));
    QCOMPARE(w.countEnabledCameras(), 0);
    QVERIFY(w.cameraSet()->m_cameras.empty());
    QCOMPARE(itemOf(w, keyOf(0))->checkState(ColCamera), Qt::Unchecked);
    QVERIFY(editorAt(w, keyOf(0), ColConfig) == nullptr);
    QCOMPARE(itemOf(w, keyOf(0))->font(ColCamera), w.font());
    QVERIFY(QApplication::overrideCursor() == nullptr);
    // Disabling a disabled row is no error either, and still false.
    QVERIFY(!w.DisableCamera(row));
}

void tst_BandwidthTreeWidget::enableAndDisableByKey()
{
    TestBandwidthTreeWidget& w = *m_view;
    w.refreshTree();
    QVERIFY(!w.EnableCamera(QStringLiteral("no such key")));
    QVERIFY(!w.EnableCamera(QString())); // the root's key finds row 0
    QVERIFY(w.EnableCamera(keyOf(2)));
    QCOMPARE(w.countEnabledCameras(), 1);
    QVERIFY(!w.DisableCamera(keyOf(2)));
    QCOMPARE(w.countEnabledCameras(), 0);
}

void tst_BandwidthTreeWidget::outOfRangeRowRaisesRangeError()
{
    TestBandwidthTreeWidget& w = *m_view;
    w.refreshTree();
    for (int which = 0; which < 3; ++which) {
        try {
            if (which == 0)
                w.EnableCamera(1000ul);
            else if (which == 1)
                w.DisableCamera(1000ul);
            else
                w.UpdateSampleDataViewRow(1000ul);
            QFAIL("no exception");
        } catch (const std::out_of_range& e) {
            QCOMPARE(QString::fromLatin1(e.what()), QStringLiteral("vector::_M_range_check"));
        }
    }
    QVERIFY(QApplication::overrideCursor() == nullptr);
}

void tst_BandwidthTreeWidget::fpsZeroWithinThresholdShowsZeroWithoutIcon()
{
    TestBandwidthTreeWidget& w = *m_view;
    w.refreshTree();
    const unsigned long row = rowOf(w, keyOf(0));
    QVERIFY(w.EnableCamera(row));
    BandwidthSample& sample = treeOf(w).m_items[row].sample;
    sample.fps = 0.0;
    sample.fpsMax = 10.0; // three frames: 0.3 s
    sample.grabStartTime = QDateTime::currentDateTime();
    w.UpdateSampleDataViewRow(row);
    QTreeWidgetItem* pItem = itemOf(w, keyOf(0));
    QCOMPARE(pItem->text(ColFpsReceived), formatDoubleValue(0.0, 2));
    QCOMPARE(number(pItem->text(ColFpsReceived)), 0.0);
    QVERIFY(!hasIcon(pItem, ColFpsReceived));
}

void tst_BandwidthTreeWidget::fpsZeroPastThresholdShowsWarningIcon_data()
{
    QTest::addColumn<double>("fpsMax");
    QTest::addColumn<int>("secondsAgo");
    QTest::addColumn<bool>("warning");
    QTest::newRow("10 fps, 1 s without images") << 10.0 << 1 << true;
    QTest::newRow("unknown rate, 2 s: not more than 2") << 0.0 << 2 << false;
    QTest::newRow("unknown rate, 3 s") << 0.0 << 3 << true;
    QTest::newRow("1 fps, 2 s: within three frames") << 1.0 << 2 << false;
    QTest::newRow("1 fps, 4 s") << 1.0 << 4 << true;
}

void tst_BandwidthTreeWidget::fpsZeroPastThresholdShowsWarningIcon()
{
    QFETCH(double, fpsMax);
    QFETCH(int, secondsAgo);
    QFETCH(bool, warning);
    TestBandwidthTreeWidget& w = *m_view;
    w.refreshTree();
    const unsigned long row = rowOf(w, keyOf(0));
    QVERIFY(w.EnableCamera(row));
    BandwidthSample& sample = treeOf(w).m_items[row].sample;
    sample.fps = 0.0;
    sample.fpsMax = fpsMax;
    sample.grabStartTime = QDateTime::currentDateTime().addSecs(-secondsAgo);
    w.UpdateSampleDataViewRow(row);
    QCOMPARE(hasIcon(itemOf(w, keyOf(0)), ColFpsReceived), warning);
    // Without a grab start time there is no warning.
    sample.grabStartTime = QDateTime();
    w.UpdateSampleDataViewRow(row);
    QVERIFY(!hasIcon(itemOf(w, keyOf(0)), ColFpsReceived));
}

void tst_BandwidthTreeWidget::fpsMinusOneShowsDashesAndNoIcon()
{
    TestBandwidthTreeWidget& w = *m_view;
    w.refreshTree();
    const unsigned long row = rowOf(w, keyOf(0));
    QVERIFY(w.EnableCamera(row));
    BandwidthSample& sample = treeOf(w).m_items[row].sample;
    sample.fps = -1.0;
    sample.grabStartTime = QDateTime::currentDateTime().addSecs(-100);
    w.UpdateSampleDataViewRow(row);
    QCOMPARE(itemOf(w, keyOf(0))->text(ColFpsReceived), QStringLiteral("--"));
    QVERIFY(!hasIcon(itemOf(w, keyOf(0)), ColFpsReceived));
}

void tst_BandwidthTreeWidget::errorsShowErrorIcon()
{
    TestBandwidthTreeWidget& w = *m_view;
    w.refreshTree();
    const unsigned long row = rowOf(w, keyOf(0));
    QVERIFY(w.EnableCamera(row));
    BandwidthSample& sample = treeOf(w).m_items[row].sample;
    sample.errors = 1234;
    sample.images = 5678;
    sample.bytesPerSecond = 500000;
    w.UpdateSampleDataViewRow(row);
    QTreeWidgetItem* pItem = itemOf(w, keyOf(0));
    QVERIFY(hasIcon(pItem, ColErrors));
    QCOMPARE(pItem->text(ColErrors), formatIntegerValue(1234, FormatValueCount));
    QCOMPARE(pItem->text(ColImages), formatIntegerValue(5678, FormatValueCount));
    // Below 1 MB/s two decimals are shown.
    QCOMPARE(pItem->text(ColMBs), formatUnsignedIntegerValueAndUnits(500000, 2, FormatMultiplierMega, QString(),
                                                                     FormatValueGroupDigits));
    sample.errors = 0;
    w.UpdateSampleDataViewRow(row);
    QVERIFY(!hasIcon(pItem, ColErrors));
    // A row without a camera is blank.
    QVERIFY(!w.DisableCamera(row));
    w.UpdateSampleDataViewRow(row);
    QCOMPARE(pItem->text(ColImages), QString());
    QCOMPARE(pItem->text(ColFpsSent), QString());
}

void tst_BandwidthTreeWidget::refreshTreeWithRemovedCameraDropsItBeforeRebuilding()
{
    TestBandwidthTreeWidget& w = *m_view;
    w.refreshTree();
    QVERIFY(w.EnableCamera(rowOf(w, keyOf(0))));
    QVERIFY(w.EnableCamera(rowOf(w, keyOf(2))));
    CBandwidthMeasuringCamera* pLost = treeOf(w).m_items[rowOf(w, keyOf(2))].pCamera;
    // Unplugged and plugged in again before the refresh: the device is listed, but the camera
    // lost it and goes.
    QVERIFY(Vorlo::CTlFactory::GetInstance().SetCamEmuDeviceUnplugged(serialNumber(2).toStdString().c_str(), true));
    QTRY_VERIFY(pLost->m_bDeviceRemoved);
    QVERIFY(Vorlo::CTlFactory::GetInstance().SetCamEmuDeviceUnplugged(serialNumber(2).toStdString().c_str(), false));
    w.refreshTree();
    QCOMPARE(w.cameraSet()->m_cameras.size(), size_t(1));
    QVERIFY(rowOf(w, keyOf(2)) != 0);
    QVERIFY(treeOf(w).m_items[rowOf(w, keyOf(2))].pCamera == nullptr);
    QCOMPARE(itemOf(w, keyOf(2))->checkState(ColCamera), Qt::Unchecked);
    QVERIFY(editorAt(w, keyOf(2), ColConfig) == nullptr);
    QCOMPARE(itemOf(w, keyOf(0))->checkState(ColCamera), Qt::Checked);
    // The device can be measured again with a new camera.
    QVERIFY(w.EnableCamera(rowOf(w, keyOf(2))));
}

void tst_BandwidthTreeWidget::sharedDialogSettingsReachAllRows()
{
    TestBandwidthTreeWidget& w = *m_view;
    w.refreshTree();
    QVERIFY(w.EnableCamera(rowOf(w, keyOf(0))));
    // A change written into one row's column 2 (as the dialog's delegate does) reaches all rows.
    QTreeWidgetItem* pItem = itemOf(w, keyOf(0));
    pItem->setData(ColConfig, Qt::UserRole + 4, true);
    QVERIFY(w.getPollingActive());
    pItem->setData(ColConfig, Qt::UserRole + 3, 2);
    QCOMPARE(w.getGenicamVisibility(), GenApi::Guru);
    for (unsigned i = 0; i < 3; ++i) {
        QCOMPARE(itemOf(w, keyOf(i))->data(ColConfig, Qt::UserRole + 4).toBool(), true);
        QCOMPARE(itemOf(w, keyOf(i))->data(ColConfig, Qt::UserRole + 3).toInt(), 2);
    }
    w.setViewAllFavoritesActive(true);
    QVERIFY(w.getViewAllFavoritesActive());
    QCOMPARE(itemOf(w, keyOf(2))->data(ColConfig, Qt::UserRole + 5).toBool(), true);
    // The editor of the enabled row follows the roles.
    CameraConfigurationEditor* pEditor = qobject_cast<CameraConfigurationEditor*>(editorAt(w, keyOf(0), ColConfig));
    QVERIFY(pEditor);
    // New rows take the present values.
    w.refreshTree();
    QCOMPARE(itemOf(w, keyOf(1))->data(ColConfig, Qt::UserRole + 3).toInt(), 2);
    QCOMPARE(itemOf(w, keyOf(1))->data(ColConfig, Qt::UserRole + 4).toBool(), true);
}

void tst_BandwidthTreeWidget::selectedItemQueries()
{
    TestBandwidthTreeWidget& w = *m_view;
    QCOMPARE(w.getSelectedItemType(), 0);
    QCOMPARE(w.getSelectedItemDisplayName(), QString());
    long long value = 0;
    QVERIFY(!w.getSelectedItemFeatureValue(value));
    w.refreshTree();
    w.setCurrentItem(w.topLevelItem(0));
    QCOMPARE(w.getSelectedItemType(), 0);
    QVERIFY(!w.getSelectedItemFeatureValue(value));
    w.setCurrentItem(itemOf(w, keyOf(1)));
    QCOMPARE(w.getSelectedItemType(), 2);
    treeOf(w).m_items[rowOf(w, keyOf(1))].sample.bandwidthLimit = 4242;
    QVERIFY(w.getSelectedItemFeatureValue(value));
    QCOMPARE(value, 4242LL);
    QCOMPARE(w.getSelectedItemDisplayName(), itemOf(w, keyOf(1))->text(ColCamera));
}

void tst_BandwidthTreeWidget::triggerStateListsCameras()
{
    TestBandwidthTreeWidget& w = *m_view;
    w.refreshTree();
    QVERIFY(w.EnableCamera(rowOf(w, keyOf(0))));
    QVERIFY(w.EnableCamera(rowOf(w, keyOf(1))));
    QList<QString> software, other;
    QVERIFY(!w.CheckTriggerState(&software, &other));
    GenApi::INodeMap* pMap0 = treeOf(w).m_items[rowOf(w, keyOf(0))].pCamera->GetNodeMap();
    GenApi::INodeMap* pMap1 = treeOf(w).m_items[rowOf(w, keyOf(1))].pCamera->GetNodeMap();
    setEnum(pMap0, "TriggerMode", "On");
    setEnum(pMap0, "TriggerSource", "Software");
    setEnum(pMap1, "TriggerMode", "On");
    setEnum(pMap1, "TriggerSource", "Line1");
    QVERIFY(w.CheckTriggerState(&software, &other));
    QCOMPARE(software, QList<QString>{ itemOf(w, keyOf(0))->text(ColCamera) });
    QCOMPARE(other, QList<QString>{ itemOf(w, keyOf(1))->text(ColCamera) });
    QVERIFY(w.CheckTriggerState(nullptr, nullptr));
}

void tst_BandwidthTreeWidget::destructionDisablesCamerasAndClosesEditors()
{
    auto w = std::make_unique<TestBandwidthTreeWidget>();
    QSettings settings(m_settingsDir.filePath(QStringLiteral("layout2.ini")), QSettings::IniFormat);
    w->restoreLayout(&settings);
    w->setUsableDeviceClasses(emulationOnly());
    w->refreshTree();
    QVERIFY(w->EnableCamera(rowOf(*w, keyOf(0))));
    QVERIFY(w->EnableCamera(rowOf(*w, keyOf(1))));
    w->refreshTree(); // limit editors open on both rows
    w->StartMeasuring();
    w.reset();
    // The devices are free again: another camera can open them at once.
    CBandwidthMeasuringCameraSet set;
    QVERIFY(set.AddDevice(emulatedInfo(0))->IsOpen());
    QVERIFY(set.AddDevice(emulatedInfo(1))->IsOpen());
}

void tst_BandwidthTreeWidget::endToEndMeasuringTwoCamerasAndLimits()
{
    TestBandwidthTreeWidget& w = *m_view;
    // The application's answer to a ticked box.
    connect(&w, &BandwidthTreeWidget::cameraChecked, &w,
            [&w](size_t index, Vorlo::CInstantCamera*, Qt::CheckState state) {
                if (state == Qt::Checked)
                    w.EnableCamera(static_cast<unsigned long>(index));
                else
                    w.DisableCamera(static_cast<unsigned long>(index));
            });
    w.refreshTree();
    w.show();
    QVERIFY(QTest::qWaitForWindowExposed(&w));

    itemOf(w, keyOf(0))->setCheckState(ColCamera, Qt::Checked);
    itemOf(w, keyOf(1))->setCheckState(ColCamera, Qt::Checked);
    QCOMPARE(w.countEnabledCameras(), 2);
    CBandwidthMeasuringCamera* pUsb = treeOf(w).m_items[rowOf(w, keyOf(0))].pCamera;
    CBandwidthMeasuringCamera* pGigE = treeOf(w).m_items[rowOf(w, keyOf(1))].pCamera;
    // Full frames at 50 fps: 65.5 MB/s each.
    configureRate(pUsb->GetNodeMap(), 1280, 1024, 2000);
    configureRate(pGigE->GetNodeMap(), 1280, 1024, 2000);
    // The emulated camera offers its limit only while the limit mode is on; the editor takes
    // over from there.
    setEnum(pUsb->GetNodeMap(), "DeviceLinkThroughputLimitMode", "On");
    w.refreshTree();

    w.StartMeasuring();
    QVERIFY(pUsb->IsGrabbing());
    QVERIFY(pGigE->IsGrabbing());
    sampleFor(w, 15);

    for (unsigned i : { 0u, 1u }) {
        CBandwidthMeasuringCamera* pCamera = treeOf(w).m_items[rowOf(w, keyOf(i))].pCamera;
        QTreeWidgetItem* pItem = itemOf(w, keyOf(i));
        const double rate = getFloat(pCamera->GetNodeMap(), "ResultingFrameRate");
        const double payload = double(getInteger(pCamera->GetNodeMap(), "PayloadSize"));
        // The columns come within 5 % of the camera's own rates; on a machine busy with other
        // work single frames may come late, so sampling goes on until they get there.
        const auto within = [&] {
            w.Sample();
            const double fps = number(pItem->text(ColFpsReceived));
            const double megabytes = number(pItem->text(ColMBs));
            return std::fabs(fps - rate) <= 0.05 * rate
                   && std::fabs(megabytes * 1e6 - payload * rate) <= 0.05 * payload * rate;
        };
        QTRY_VERIFY2_WITH_TIMEOUT(within(),
                                  qPrintable(QStringLiteral("camera %1: fps Received %2 (rate %3), MB/s Received %4 "
                                                            "(payload x rate %5)")
                                                 .arg(i)
                                                 .arg(pItem->text(ColFpsReceived))
                                                 .arg(rate)
                                                 .arg(pItem->text(ColMBs))
                                                 .arg(payload * rate / 1e6)),
                                  15000);
        QCOMPARE(number(pItem->text(ColFpsSent)), std::round(rate * 100.0) / 100.0);
        QVERIFY(number(pItem->text(ColImages)) >= 100);
        QCOMPARE(pItem->text(ColErrors), QStringLiteral("0"));
    }

    // The throughput limit slider to half the present rate: the measured MB/s falls to it.
    DeviceLinkThroughputLimitEditor* pLimit = qobject_cast<DeviceLinkThroughputLimitEditor*>(editorAt(w, keyOf(0), ColLimit));
    QVERIFY(pLimit);
    const int halfMegabytes = int(number(itemOf(w, keyOf(0))->text(ColMBs)) / 2);
    pLimit->findChild<QSlider*>()->setValue(halfMegabytes);
    QCOMPARE(getInteger(pUsb->GetNodeMap(), "DeviceLinkThroughputLimit"), int64_t(halfMegabytes) * 1000000);
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
            w.Sample();
            const double mbs = number(itemOf(w, keyOf(0))->text(ColMBs));
            return std::fabs(mbs - halfMegabytes) <= 0.05 * halfMegabytes;
        }(),
        15000);
    QVERIFY(number(itemOf(w, keyOf(0))->text(ColFpsSent)) < 30.0);

    // The inter-packet delay slider of the GigE-flavoured camera: GevSCBWA and the measured
    // rate follow.
    BandwidthLimiterInterPacketDelay* pDelay =
        qobject_cast<BandwidthLimiterInterPacketDelay*>(editorAt(w, keyOf(1), ColLimit));
    QVERIFY(pDelay);
    const int64_t assignedBefore = getInteger(pGigE->GetNodeMap(), "GevSCBWA");
    pDelay->findChild<QSlider*>()->setValue(30);
    QVERIFY(getInteger(pGigE->GetNodeMap(), "GevSCPD") > 0);
    const int64_t assigned = getInteger(pGigE->GetNodeMap(), "GevSCBWA");
    QVERIFY(assigned < assignedBefore);
    // 30 % of the link, within the packet overhead.
    QVERIFY2(std::fabs(double(assigned) - 0.30 * 125e6) <= 0.05 * 0.30 * 125e6, qPrintable(QString::number(assigned)));
    QCOMPARE(pDelay->findChild<QSpinBox*>()->value(), int(assigned / 1000000));
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
            w.Sample();
            const double mbs = number(itemOf(w, keyOf(1))->text(ColMBs)) * 1e6;
            return std::fabs(mbs - double(assigned)) <= 0.05 * double(assigned);
        }(),
        15000);

    // One camera is unplugged while measuring: sampling goes on without a hang, the row warns
    // once no images come, and the next refresh drops the camera.
    const int64_t gigeImages = pGigE->GetSample().images;
    QVERIFY(Vorlo::CTlFactory::GetInstance().SetCamEmuDeviceUnplugged(serialNumber(0).toStdString().c_str(), true));
    QTRY_VERIFY(pUsb->m_bDeviceRemoved);
    sampleFor(w, 5);
    QVERIFY(treeOf(w).m_items[rowOf(w, keyOf(0))].sample.deviceRemoved);
    QVERIFY(pGigE->GetSample().images > gigeImages);
    w.refreshTree();
    QCOMPARE(rowOf(w, keyOf(0)), 0ul);
    QCOMPARE(w.countEnabledCameras(), 1);
    QCOMPARE(w.cameraSet()->m_cameras.size(), size_t(1));
    const int64_t afterRefresh = pGigE->GetSample().images;
    sampleFor(w, 3);
    QVERIFY(pGigE->GetSample().images > afterRefresh);

    w.StopMeasuring();
    QVERIFY(!pGigE->IsGrabbing());
    QVERIFY(!pGigE->m_bGrabStarted);
}

void tst_BandwidthTreeWidget::pictureOfThreeCamerasMeasuring()
{
    // Pictures on request: VORLO_SCREENSHOT_DIR names the folder.
    const QString folder = qEnvironmentVariable("VORLO_SCREENSHOT_DIR");
    if (folder.isEmpty())
        QSKIP("set VORLO_SCREENSHOT_DIR to save the picture");
    TestBandwidthTreeWidget& w = *m_view;
    w.refreshTree();
    for (unsigned i = 0; i < 3; ++i)
        QVERIFY(w.EnableCamera(rowOf(w, keyOf(i))));
    configureRate(treeOf(w).m_items[rowOf(w, keyOf(0))].pCamera->GetNodeMap(), 1280, 1024, 2000);
    configureRate(treeOf(w).m_items[rowOf(w, keyOf(1))].pCamera->GetNodeMap(), 640, 480, 1000);
    configureRate(treeOf(w).m_items[rowOf(w, keyOf(2))].pCamera->GetNodeMap(), 320, 240, 400);
    setEnum(treeOf(w).m_items[rowOf(w, keyOf(0))].pCamera->GetNodeMap(), "DeviceLinkThroughputLimitMode", "On");
    w.refreshTree();
    w.resize(1100, 200);
    w.show();
    QVERIFY(QTest::qWaitForWindowExposed(&w));
    w.StartMeasuring();
    sampleFor(w, 15);
    const QString file = QDir(folder).filePath(QStringLiteral("bandwidth-three-cameras.png"));
    QVERIFY(w.grab().save(file));
    qInfo("picture saved to %s", qPrintable(file));
    QCOMPARE(w.countEnabledCameras(), 3);
    w.StopMeasuring();
}

QTEST_MAIN(tst_BandwidthTreeWidget)
#include "tst_bandwidthtreewidget.moc"
