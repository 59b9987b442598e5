// The device tree widget against emulated cameras whose number changes between scans and which
// are unplugged and replugged through the SDK's test hook.

#include <QtTest>

#include <functional>
#include <thread>

#include <QCheckBox>
#include <QLabel>
#include <QToolButton>
#include <QTreeWidget>

#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtBase/formatdevicename.h>
#include <VorloQtWidgets/devicetooltip.h>
#include <VorloQtWidgets/devicetreewidget.h>

#include "devicetreetestsupport.h"

using namespace DeviceTreeTest;

// Signal arguments that the spies record.
Q_DECLARE_METATYPE(const Vorlo::CDeviceInfo*)

namespace {

const char* const CamEmuKey = "CamEmu";

// An emulated camera opened through the SDK, closed and destroyed at the end of the scope.
class OpenCamera
{
public:
    explicit OpenCamera(const Vorlo::gcstring& serialNumber)
    {
        Vorlo::DeviceInfoList list;
        Vorlo::CTlFactory& factory = Vorlo::CTlFactory::GetInstance();
        factory.EnumerateDevices(list);
        for (const Vorlo::CDeviceInfo& info : list) {
            if (info.GetSerialNumber() == serialNumber) {
                device = factory.CreateDevice(info);
                device->Open();
                break;
            }
        }
    }
    ~OpenCamera() { close(); }
    void close()
    {
        if (!device)
            return;
        device->Close();
        Vorlo::CTlFactory::GetInstance().DestroyDevice(device);
        device = nullptr;
    }
    Vorlo::IVorloDevice* device = nullptr;
};

} // namespace

class tst_DeviceTreeWidget : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    // Form and construction
    void formHasItsObjectsTextsAndTips();
    void constructionListsTransportLayersOnly();
    void sizeHintIsFixed();

    // Scans and merging
    void scanAddsDeviceRowsWithKeyTooltipAndScanMark();
    void newDevicesEmitDeviceDetectedAndDeviceListChanged();
    void unchangedScanEmitsNothing();
    void vanishedDeviceIsSweptWithDeviceRemovedByScan();
    void deviceVanishingWhileOpenKeepsRowUntilFirstScanAfterClosing();
    void deviceReturningAfterSweepIsNewRowAndDetectedAgain();
    void twoAdjacentVanishingDevicesTakeTwoScansToGo();
    void deviceRowsSortByFriendlyName();
    void transportLayerRowsAreNeverRemoved();

    // Busy cursor and the timer
    void firstScanShowsBusyCursorLaterTimerScansDoNot();
    void refreshShowsBusyCursorAgain();
    void scanThatThrowsStillTakesBusyCursorAway();
    void timerStartsFirstDeviceScanAfterTenSeconds();
    void autoScanTurnedOffWhileScanRunsDeletesTimerAndScanIsStillMerged();
    void checkBoxClickSwitchesAutoScanAndReportsIt();
    void refreshButtonHidesAndScansWithDump();

    // Selection
    void selectByNameAsyncForDeviceAlreadyInTreeWaitsForScanThatAddsDevice();
    void wildcardSelectsFirstMatchingDeviceRowPassingOverTransportLayerRow();
    void exactMatchSelectsByDisplayTextIgnoringCase();
    void selectByNameWithEmptyNameClearsCurrentItemAndReturnsTrue();
    void selectByNameThatFindsNothingReturnsFalse();
    void userSelectionCancelsPendingAutoOpen();
    void selectByInfoMakesRowCurrent();
    void currentDeviceChangedCarriesRowInfo();
    void scanEndDeliveredWhileAutoOpenProcessesEventsIsMergedAfterwards();

    // Open, close and removal reporting
    void openAndCloseMarkRowAndCount();
    void firstOpenClearsTipUnlessAutoOpenWaits();
    void surpriseRemovalRemovesOpenRow();
    void addDeviceRowIsNotSelectableByNameAndIsSweptUnlessOpen();
    void updateAllToolTipsUsesDevicePointer();

    // Positions, selection and state
    void getDeviceTypeAtOverEmptySpaceGivesZero();
    void selectedDevicesCountsAndAppendsDeviceRows();
    void saveAndRestoreStateCarryAutoScanFlag();
    void gigeOnlyListsOnlyTheKesdorGigELayer();

    // Lifetime
    void destroyingWidgetDuringScanWaitsForScanAndMergesNothing();

    // Picture
    void pictureOfTreeWithOpenDevice();

private:
    DeviceTreeWidget* makeWidget(bool gigeOnly = false, bool autoScan = false);
    QTreeWidget* tree() const { return m_widget->findChild<QTreeWidget*>("treeWidget"); }
    AutoScanThread* thread() const { return m_widget->findChild<AutoScanThread*>(); }
    QTreeWidgetItem* emuLayer() const;
    QStringList emuSerials() const;
    DeviceTreeWidgetItem* rowOf(const char* serial) const;
    bool scan(bool viaTimerSlot = false);
    bool waitUntilThreadWaits();

    std::unique_ptr<VorloQtBase::ExceptionRecorder> m_recorder;
    ScopedScanFactory* m_scope = nullptr;
    EmulatedCameras* m_cameras = nullptr;
    DeviceTreeWidget* m_widget = nullptr;
    ScanWatcher* m_watcher = nullptr;
};

void tst_DeviceTreeWidget::initTestCase()
{
    m_recorder.reset(new VorloQtBase::ExceptionRecorder); // no dialog may block a test
}

void tst_DeviceTreeWidget::init()
{
    m_scope = new ScopedScanFactory;
    m_cameras = new EmulatedCameras(2);
}

void tst_DeviceTreeWidget::cleanup()
{
    m_scope->factory.openGate();
    delete m_watcher;
    m_watcher = nullptr;
    delete m_widget;
    m_widget = nullptr;
    while (QApplication::overrideCursor())
        QApplication::restoreOverrideCursor();
    delete m_cameras;
    m_cameras = nullptr;
    delete m_scope;
    m_scope = nullptr;
}

DeviceTreeWidget* tst_DeviceTreeWidget::makeWidget(bool gigeOnly, bool autoScan)
{
    m_widget = new DeviceTreeWidget(nullptr, gigeOnly);
    if (!autoScan)
        m_widget->setAutoScanEnabled(false);
    m_watcher = new ScanWatcher(thread());
    return m_widget;
}

QTreeWidgetItem* tst_DeviceTreeWidget::emuLayer() const
{
    for (int i = 0; i < tree()->topLevelItemCount(); ++i)
        if (tree()->topLevelItem(i)->data(0, DeviceTreeKeyRole).toString() == CamEmuKey)
            return tree()->topLevelItem(i);
    return nullptr;
}

QStringList tst_DeviceTreeWidget::emuSerials() const
{
    QStringList serials;
    QTreeWidgetItem* layer = emuLayer();
    for (int i = 0; layer && i < layer->childCount(); ++i) {
        DeviceTreeWidgetItem* row = dynamic_cast<DeviceTreeWidgetItem*>(layer->child(i));
        serials << (row ? QString::fromLatin1(row->deviceInfo().GetSerialNumber().c_str())
                        : QStringLiteral("?"));
    }
    return serials;
}

DeviceTreeWidgetItem* tst_DeviceTreeWidget::rowOf(const char* serial) const
{
    QTreeWidgetItem* layer = emuLayer();
    for (int i = 0; layer && i < layer->childCount(); ++i) {
        DeviceTreeWidgetItem* row = dynamic_cast<DeviceTreeWidgetItem*>(layer->child(i));
        if (row && row->deviceInfo().GetSerialNumber() == serial)
            return row;
    }
    return nullptr;
}

bool tst_DeviceTreeWidget::waitUntilThreadWaits()
{
    return QTest::qWaitFor([this] { return thread()->isWaiting(); }, 10000);
}

// One real scan, merged: the watcher's queued call runs after the widget's own.
bool tst_DeviceTreeWidget::scan(bool viaTimerSlot)
{
    if (!waitUntilThreadWaits())
        return false;
    const int before = m_watcher->finished;
    if (viaTimerSlot)
        QMetaObject::invokeMethod(m_widget, "startAutoScan");
    else
        m_widget->refresh(false);
    return QTest::qWaitFor([&] { return m_watcher->finished == before + 1; }, 20000);
}

// ---------------------------------------------------------------- form and construction

void tst_DeviceTreeWidget::formHasItsObjectsTextsAndTips()
{
    makeWidget(false, true);
    QCOMPARE(m_widget->windowTitle(), QStringLiteral("DeviceTreeWidget"));
    QVERIFY(tree());
    QVERIFY(tree()->isHeaderHidden());
    QVERIFY(tree()->isSortingEnabled());
    QVERIFY(tree()->uniformRowHeights());
    QCOMPARE(tree()->columnCount(), 1);
    QCOMPARE(tree()->headerItem()->text(0), QStringLiteral("0"));
    QCOMPARE(int(tree()->editTriggers()),
             int(QAbstractItemView::DoubleClicked | QAbstractItemView::SelectedClicked
                 | QAbstractItemView::EditKeyPressed));

    QLabel* status = m_widget->findChild<QLabel*>("lblStatus");
    QVERIFY(status);
    QCOMPARE(status->textFormat(), Qt::RichText);
    QCOMPARE(status->text(), QStringLiteral("Tip: <i>Double-click a camera to open it.</i>"));

    QCheckBox* polling = m_widget->findChild<QCheckBox*>("checkBoxPolling");
    QVERIFY(polling);
    QCOMPARE(polling->text(), QStringLiteral("Auto-&Scan"));
    QCOMPARE(polling->statusTip(), QStringLiteral("Scans periodically for new devices."));
    QVERIFY(polling->toolTip().isEmpty());
    QVERIFY(polling->isChecked());

    QToolButton* button = m_widget->findChild<QToolButton*>("toolButton");
    QVERIFY(button);
    QCOMPARE(button->text(), QStringLiteral("..."));
    QCOMPARE(button->toolTip(), QStringLiteral("Refresh"));
    QCOMPARE(button->statusTip(), QStringLiteral("Refreshes the device tree."));
    QCOMPARE(button->shortcut(), QKeySequence(QStringLiteral("Ctrl+F5")));
    QVERIFY(!button->icon().isNull());
    QVERIFY(button->isEnabled());

    QVBoxLayout* vbox = m_widget->findChild<QVBoxLayout*>("vboxLayout");
    QVERIFY(vbox);
    QCOMPARE(vbox->spacing(), 6);
    QCOMPARE(vbox->contentsMargins(), QMargins(9, 9, 9, 9));
    QHBoxLayout* hbox = m_widget->findChild<QHBoxLayout*>("hboxLayout");
    QVERIFY(hbox);
    QCOMPARE(hbox->spacing(), 6);
    QCOMPARE(hbox->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(hbox->count(), 4);
    QCOMPARE(hbox->itemAt(0)->widget(), static_cast<QWidget*>(status));
    QVERIFY(hbox->itemAt(1)->spacerItem());
    QCOMPARE(hbox->itemAt(2)->widget(), static_cast<QWidget*>(polling));
    QCOMPARE(hbox->itemAt(3)->widget(), static_cast<QWidget*>(button));
    QCOMPARE(m_widget->treeView(), static_cast<QTreeView*>(tree()));
}

void tst_DeviceTreeWidget::constructionListsTransportLayersOnly()
{
    makeWidget();
    // The layers, in the factory's order of listing, sorted by the tree; no device yet although
    // two cameras are plugged in: construction never waits for devices.
    Vorlo::TlInfoList tls;
    Vorlo::CTlFactory::GetInstance().EnumerateTls(tls);
    QCOMPARE(tree()->topLevelItemCount(), int(tls.size()));
    QVERIFY(m_widget->HasTL());
    QCOMPARE(m_scope->factory.createTlCalls.load(), 0);
    for (int i = 0; i < tree()->topLevelItemCount(); ++i) {
        QTreeWidgetItem* layer = tree()->topLevelItem(i);
        QVERIFY(dynamic_cast<TLTreeWidgetItem*>(layer));
        QCOMPARE(layer->childCount(), 0);
        QVERIFY(layer->isExpanded());
        QCOMPARE(layer->sizeHint(0), QSize(19, 19));
    }
    QVERIFY(emuLayer());
    QCOMPARE(emuLayer()->text(0), QStringLiteral("Camera Emulation"));
    QVERIFY(!QApplication::overrideCursor());
    QCOMPARE(m_watcher->started, 0);
}

void tst_DeviceTreeWidget::sizeHintIsFixed()
{
    makeWidget();
    QCOMPARE(m_widget->sizeHint(), QSize(400, 300));
}

// ---------------------------------------------------------------- scans and merging

void tst_DeviceTreeWidget::scanAddsDeviceRowsWithKeyTooltipAndScanMark()
{
    makeWidget();
    QVERIFY(scan());
    QCOMPARE(emuSerials().size(), 2);
    DeviceTreeWidgetItem* row = rowOf("EMU-0001");
    QVERIFY(row);
    const Vorlo::CDeviceInfo& info = row->deviceInfo();
    QCOMPARE(row->text(0), formatDeviceName(&info, {}));
    QCOMPARE(row->data(0, DeviceTreeKeyRole).toString(), QStringLiteral("CamEmu#EMU-0001"));
    QCOMPARE(row->data(0, DeviceTreeScannedRole).toInt(), 1);
    QCOMPARE(row->data(0, DeviceTreeSweepTagRole).toBool(), false);
    QVERIFY(!row->data(0, DeviceTreeOpenRole).toBool());
    QCOMPARE(row->toolTip(0), formatToolTipFromDevice(info, nullptr, 0));
    QVERIFY(row->toolTip(0).contains("Serial Number:\tEMU-0001"));
    QVERIFY(!row->devicePointer());
}

void tst_DeviceTreeWidget::newDevicesEmitDeviceDetectedAndDeviceListChanged()
{
    makeWidget();
    QStringList detected;
    connect(m_widget, &DeviceTreeWidget::deviceDetected, this,
            [&](const Vorlo::CDeviceInfo* info) { detected << QString::fromLatin1(info->GetFullName().c_str()); });
    QSignalSpy listChanged(m_widget, &DeviceTreeWidget::deviceListChanged);
    QVERIFY(scan());
    QCOMPARE(detected, QStringList() << "CamEmu#EMU-0000" << "CamEmu#EMU-0001");
    QCOMPARE(listChanged.count(), 1);

    m_cameras->set(3);
    QVERIFY(scan());
    QCOMPARE(detected.size(), 3);
    QCOMPARE(detected.last(), QStringLiteral("CamEmu#EMU-0002"));
    QCOMPARE(listChanged.count(), 2);
}

void tst_DeviceTreeWidget::unchangedScanEmitsNothing()
{
    makeWidget();
    QVERIFY(scan());
    QSignalSpy listChanged(m_widget, &DeviceTreeWidget::deviceListChanged);
    QSignalSpy detected(m_widget, &DeviceTreeWidget::deviceDetected);
    QSignalSpy removed(m_widget, &DeviceTreeWidget::deviceRemoved);
    QTreeWidgetItem* before = rowOf("EMU-0000");
    QVERIFY(scan());
    QCOMPARE(listChanged.count(), 0);
    QCOMPARE(detected.count(), 0);
    QCOMPARE(removed.count(), 0);
    QCOMPARE(static_cast<QTreeWidgetItem*>(rowOf("EMU-0000")), before); // the row stays in place
}

void tst_DeviceTreeWidget::vanishedDeviceIsSweptWithDeviceRemovedByScan()
{
    makeWidget();
    QVERIFY(scan());
    QStringList removed;
    QList<bool> byScan;
    connect(m_widget, &DeviceTreeWidget::deviceRemoved, this,
            [&](const Vorlo::CDeviceInfo* info, bool flag) {
                removed << QString::fromLatin1(info->GetFullName().c_str());
                byScan << flag;
            });
    QSignalSpy listChanged(m_widget, &DeviceTreeWidget::deviceListChanged);
    m_cameras->set(1);
    QVERIFY(scan());
    QCOMPARE(removed, QStringList() << "CamEmu#EMU-0001");
    QCOMPARE(byScan, QList<bool>() << true);
    QCOMPARE(emuSerials(), QStringList() << "EMU-0000");
    QCOMPARE(listChanged.count(), 1);
}

void tst_DeviceTreeWidget::deviceVanishingWhileOpenKeepsRowUntilFirstScanAfterClosing()
{
    makeWidget();
    QVERIFY(scan());
    OpenCamera camera("EMU-0000");
    QVERIFY(camera.device);
    m_widget->onOpenDevice(camera.device);

    QSignalSpy removed(m_widget, &DeviceTreeWidget::deviceRemoved);
    QVERIFY(EmulatedCameras::unplug("EMU-0000"));
    QVERIFY(scan());
    QVERIFY(scan());
    QCOMPARE(removed.count(), 0);
    QVERIFY(rowOf("EMU-0000"));
    QVERIFY(rowOf("EMU-0000")->data(0, DeviceTreeOpenRole).toBool());

    m_widget->onCloseDevice(camera.device);
    camera.close();
    QVERIFY(rowOf("EMU-0000")); // closing alone does not remove it
    QVERIFY(scan());
    QCOMPARE(removed.count(), 1);
    QVERIFY(!rowOf("EMU-0000"));
    QCOMPARE(removed.at(0).at(1).toBool(), true);
}

void tst_DeviceTreeWidget::deviceReturningAfterSweepIsNewRowAndDetectedAgain()
{
    makeWidget();
    QSignalSpy detected(m_widget, &DeviceTreeWidget::deviceDetected);
    QVERIFY(scan());
    QCOMPARE(detected.count(), 2);
    DeviceTreeWidgetItem* first = rowOf("EMU-0001");
    QVERIFY(first);

    QVERIFY(EmulatedCameras::unplug("EMU-0001"));
    QVERIFY(scan());
    QVERIFY(!rowOf("EMU-0001"));

    QVERIFY(EmulatedCameras::unplug("EMU-0001", false));
    QVERIFY(scan());
    DeviceTreeWidgetItem* second = rowOf("EMU-0001");
    QVERIFY(second);
    QVERIFY(second != first); // the swept row was taken out and kept; this one is new
    QCOMPARE(first->parent(), static_cast<QTreeWidgetItem*>(nullptr));
    QCOMPARE(detected.count(), 3);
    QCOMPARE(second->data(0, DeviceTreeKeyRole).toString(), QStringLiteral("CamEmu#EMU-0001"));
}

void tst_DeviceTreeWidget::twoAdjacentVanishingDevicesTakeTwoScansToGo()
{
    m_cameras->set(4);
    makeWidget();
    QVERIFY(scan());
    const QStringList order = emuSerials();
    QCOMPARE(order.size(), 4);

    // The first two rows in the tree's order, next to each other, vanish together.
    QVERIFY(EmulatedCameras::unplug(order.at(0).toLatin1().constData()));
    QVERIFY(EmulatedCameras::unplug(order.at(1).toLatin1().constData()));
    QSignalSpy removed(m_widget, &DeviceTreeWidget::deviceRemoved);

    QVERIFY(scan());
    // The second moved up into the place of the first and was passed over.
    QCOMPARE(removed.count(), 1);
    QCOMPARE(emuSerials(), QStringList() << order.at(1) << order.at(2) << order.at(3));

    QVERIFY(scan());
    QCOMPARE(removed.count(), 2);
    QCOMPARE(emuSerials(), QStringList() << order.at(2) << order.at(3));
}

void tst_DeviceTreeWidget::deviceRowsSortByFriendlyName()
{
    m_cameras->set(4);
    makeWidget();
    QVERIFY(scan());
    QStringList friendly;
    QTreeWidgetItem* layer = emuLayer();
    for (int i = 0; i < layer->childCount(); ++i)
        friendly << QString::fromLatin1(
            static_cast<DeviceTreeWidgetItem*>(layer->child(i))->deviceInfo().GetFriendlyName().c_str());
    QStringList sorted = friendly;
    std::sort(sorted.begin(), sorted.end(), [](const QString& a, const QString& b) {
        return a.toStdString() < b.toStdString();
    });
    QCOMPARE(friendly, sorted);

    DeviceTreeWidgetItem* a = rowOf("EMU-0000");
    DeviceTreeWidgetItem* b = rowOf("EMU-0001");
    QCOMPARE(*a < *b, a->deviceInfo().GetFriendlyName() < b->deviceInfo().GetFriendlyName());
    QCOMPARE(*b < *a, b->deviceInfo().GetFriendlyName() < a->deviceInfo().GetFriendlyName());
}

void tst_DeviceTreeWidget::transportLayerRowsAreNeverRemoved()
{
    makeWidget();
    const int layers = tree()->topLevelItemCount();
    QVERIFY(scan());
    m_scope->factory.hideLayer("KesdorCamEmu");
    QVERIFY(scan());
    QCOMPARE(tree()->topLevelItemCount(), layers);
    QVERIFY(emuLayer());
    QCOMPARE(emuLayer()->childCount(), 2); // not in the snapshot: its rows are not swept either
}

// ---------------------------------------------------------------- busy cursor and the timer

void tst_DeviceTreeWidget::firstScanShowsBusyCursorLaterTimerScansDoNot()
{
    makeWidget();
    QVERIFY(waitUntilThreadWaits());
    m_scope->factory.closeGate();
    QMetaObject::invokeMethod(m_widget, "startAutoScan"); // as the timer does
    QTRY_COMPARE(m_watcher->started, 1);
    QVERIFY(QApplication::overrideCursor());
    QCOMPARE(QApplication::overrideCursor()->shape(), Qt::BusyCursor);
    m_scope->factory.openGate();
    QTRY_COMPARE(m_watcher->finished, 1);
    QVERIFY(!QApplication::overrideCursor());

    QVERIFY(waitUntilThreadWaits());
    m_scope->factory.closeGate();
    QMetaObject::invokeMethod(m_widget, "startAutoScan");
    QTRY_COMPARE(m_watcher->started, 2);
    QVERIFY(!QApplication::overrideCursor());
    m_scope->factory.openGate();
    QTRY_COMPARE(m_watcher->finished, 2);
    QVERIFY(!QApplication::overrideCursor());
}

void tst_DeviceTreeWidget::refreshShowsBusyCursorAgain()
{
    makeWidget();
    QVERIFY(scan(true));
    QVERIFY(!QApplication::overrideCursor());
    QVERIFY(waitUntilThreadWaits());
    m_scope->factory.closeGate();
    m_widget->refresh(false);
    QTRY_COMPARE(m_watcher->started, 2);
    QVERIFY(QApplication::overrideCursor());
    m_scope->factory.openGate();
    QTRY_COMPARE(m_watcher->finished, 2);
    QVERIFY(!QApplication::overrideCursor());
}

void tst_DeviceTreeWidget::scanThatThrowsStillTakesBusyCursorAway()
{
    MessageCapture messages;
    makeWidget();
    m_scope->factory.tlListFault = StdFault;
    QVERIFY(waitUntilThreadWaits());
    m_scope->factory.closeGate();
    m_widget->refresh(false);
    QTRY_COMPARE(m_watcher->started, 1);
    QVERIFY(QApplication::overrideCursor());
    m_scope->factory.openGate();
    QTRY_COMPARE(m_watcher->finished, 1);
    QVERIFY(!QApplication::overrideCursor());
    QCOMPARE(messages.count("DeviceScanThread: Failed to enumerate devices"), 1);
    QCOMPARE(emuLayer()->childCount(), 0);

    // The thread lives on.
    m_scope->factory.tlListFault = NoFault;
    QVERIFY(scan());
    QCOMPARE(emuLayer()->childCount(), 2);
}

void tst_DeviceTreeWidget::timerStartsFirstDeviceScanAfterTenSeconds()
{
    makeWidget(false, true);
    QCOMPARE(m_watcher->started, 0);
    QTRY_COMPARE_WITH_TIMEOUT(m_watcher->finished, 1, 20000);
    QCOMPARE(emuLayer()->childCount(), 2);
}

void tst_DeviceTreeWidget::autoScanTurnedOffWhileScanRunsDeletesTimerAndScanIsStillMerged()
{
    makeWidget(false, true);
    QCheckBox* polling = m_widget->findChild<QCheckBox*>("checkBoxPolling");
    QVERIFY(waitUntilThreadWaits());
    m_scope->factory.closeGate();
    m_widget->refresh(false);
    QTRY_VERIFY(m_scope->factory.isScanHeldAtGate());

    m_widget->setAutoScanEnabled(false);
    QVERIFY(!polling->isChecked());
    m_cameras->set(3);
    m_scope->factory.openGate();
    QTRY_COMPARE(m_watcher->finished, 1);
    QCOMPARE(emuLayer()->childCount(), 3);

    // With the timer gone no scan starts by itself, not even after a full interval.
    QTest::qWait(11000);
    QCOMPARE(m_watcher->started, 1);
    QCOMPARE(m_scope->factory.enumerateTlsCalls.load(), 2); // construction and the one scan
}

void tst_DeviceTreeWidget::checkBoxClickSwitchesAutoScanAndReportsIt()
{
    makeWidget(false, true);
    QCheckBox* polling = m_widget->findChild<QCheckBox*>("checkBoxPolling");
    QSignalSpy pollingChanged(m_widget, &DeviceTreeWidget::pollingStateChanged);
    QVERIFY(polling->isChecked());
    polling->click();
    QCOMPARE(pollingChanged.count(), 1);
    QCOMPARE(pollingChanged.at(0).at(0).toBool(), false);
    QVERIFY(!polling->isChecked());
    polling->click();
    QCOMPARE(pollingChanged.count(), 2);
    QCOMPARE(pollingChanged.at(1).at(0).toBool(), true);

    // Switching on twice keeps the one timer and the check box in step.
    m_widget->setAutoScanEnabled(true);
    QVERIFY(polling->isChecked());
    m_widget->setAutoScanEnabled(false);
    m_widget->setAutoScanEnabled(false);
    QVERIFY(!polling->isChecked());
    QCOMPARE(pollingChanged.count(), 2); // only a click reports
}

void tst_DeviceTreeWidget::refreshButtonHidesAndScansWithDump()
{
    TraceCapture trace;
    makeWidget();
    m_widget->show();
    QToolButton* button = m_widget->findChild<QToolButton*>("toolButton");
    QVERIFY(button->isVisible());
    m_widget->setRefreshButtonEnabled(false);
    QVERIFY(!button->isVisible());
    QVERIFY(!button->isEnabled());
    m_widget->setRefreshButtonEnabled(true);
    QVERIFY(button->isVisible());
    QVERIFY(button->isEnabled());

    QVERIFY(waitUntilThreadWaits());
    button->click(); // onActionRefresh: a scan with its results dumped
    QTRY_COMPARE(m_watcher->finished, 1);
    QCOMPARE(emuLayer()->childCount(), 2);
    QCOMPARE(trace.countContaining("refreshDeviceTreeData: KesdorCamEmu found"), 2);
}

// ---------------------------------------------------------------- selection

void tst_DeviceTreeWidget::selectByNameAsyncForDeviceAlreadyInTreeWaitsForScanThatAddsDevice()
{
    makeWidget();
    QVERIFY(scan());
    const QString name = rowOf("EMU-0000")->text(0);
    QSignalSpy openRequest(m_widget, &DeviceTreeWidget::deviceOpenRequest);
    QLabel* status = m_widget->findChild<QLabel*>("lblStatus");

    m_widget->selectByNameAsync(name, true);
    QCOMPARE(status->text(), QStringLiteral("Autoopen: \"%1\"").arg(name));
    QVERIFY(scan()); // nothing added: the selection waits
    QCOMPARE(openRequest.count(), 0);
    QVERIFY(tree()->currentItem() != rowOf("EMU-0000"));

    m_cameras->set(3);
    QVERIFY(scan()); // a device is added: the waiting selection is tried and found
    QCOMPARE(openRequest.count(), 1);
    QCOMPARE(tree()->currentItem(), static_cast<QTreeWidgetItem*>(rowOf("EMU-0000")));
    QVERIFY(rowOf("EMU-0000")->isSelected());
    QVERIFY(status->text().isEmpty());

    m_cameras->set(4);
    QVERIFY(scan()); // done: not selected again
    QCOMPARE(openRequest.count(), 1);
}

void tst_DeviceTreeWidget::wildcardSelectsFirstMatchingDeviceRowPassingOverTransportLayerRow()
{
    makeWidget();
    QVERIFY(scan());
    QSignalSpy openRequest(m_widget, &DeviceTreeWidget::deviceOpenRequest);
    QSignalSpy current(m_widget, &DeviceTreeWidget::currentDeviceChanged);
    // "Camera Emulation" (the layer row) matches as well, and comes first in the tree.
    const QList<QTreeWidgetItem*> all =
        tree()->findItems("*EMULATION*", Qt::MatchWildcard | Qt::MatchRecursive);
    QVERIFY(all.size() >= 2);
    QVERIFY(dynamic_cast<TLTreeWidgetItem*>(all.first()));

    QTreeWidgetItem* firstDevice = nullptr;
    for (QTreeWidgetItem* item : all)
        if (!firstDevice && dynamic_cast<DeviceTreeWidgetItem*>(item))
            firstDevice = item;
    QVERIFY(m_widget->selectByName("*EMULATION*", false));
    QCOMPARE(tree()->currentItem(), firstDevice);
    QCOMPARE(openRequest.count(), 1);
    QCOMPARE(current.count(), 1);
}

void tst_DeviceTreeWidget::exactMatchSelectsByDisplayTextIgnoringCase()
{
    makeWidget();
    QVERIFY(scan());
    DeviceTreeWidgetItem* row = rowOf("EMU-0001");
    QVERIFY(m_widget->selectByName(row->text(0).toUpper(), true));
    QCOMPARE(tree()->currentItem(), static_cast<QTreeWidgetItem*>(row));
    // The full name is not the display text and finds nothing.
    QVERIFY(!m_widget->selectByName("CamEmu#EMU-0001", true));
}

void tst_DeviceTreeWidget::selectByNameWithEmptyNameClearsCurrentItemAndReturnsTrue()
{
    makeWidget();
    QVERIFY(scan());
    tree()->setCurrentItem(rowOf("EMU-0000"));
    QVERIFY(tree()->currentItem());
    QSignalSpy current(m_widget, &DeviceTreeWidget::currentDeviceChanged);
    QVERIFY(m_widget->selectByName(QString()));
    QVERIFY(!tree()->currentItem());
    QCOMPARE(current.count(), 1);
    QCOMPARE(current.at(0).at(0).value<const Vorlo::CDeviceInfo*>(), static_cast<const Vorlo::CDeviceInfo*>(nullptr));
}

void tst_DeviceTreeWidget::selectByNameThatFindsNothingReturnsFalse()
{
    makeWidget();
    QVERIFY(scan());
    QSignalSpy openRequest(m_widget, &DeviceTreeWidget::deviceOpenRequest);
    QVERIFY(!m_widget->selectByName("No such camera", true));
    QVERIFY(!m_widget->selectByName("Camera Emulation", true)); // a layer row only
    QCOMPARE(openRequest.count(), 0);
    QVERIFY(!tree()->currentItem());
}

void tst_DeviceTreeWidget::userSelectionCancelsPendingAutoOpen()
{
    makeWidget();
    QVERIFY(scan());
    tree()->setCurrentItem(rowOf("EMU-0000"));
    QLabel* status = m_widget->findChild<QLabel*>("lblStatus");
    QSignalSpy openRequest(m_widget, &DeviceTreeWidget::deviceOpenRequest);

    m_cameras->set(3);
    m_widget->selectByNameAsync("*EMU-0002*", false);
    tree()->setCurrentItem(rowOf("EMU-0001")); // the user picks another row
    QVERIFY(scan());
    QCOMPARE(openRequest.count(), 0);
    QCOMPARE(tree()->currentItem(), static_cast<QTreeWidgetItem*>(rowOf("EMU-0001")));
    QCOMPARE(status->text(), QStringLiteral("Autoopen: \"*EMU-0002*\"")); // the text stays
}

void tst_DeviceTreeWidget::selectByInfoMakesRowCurrent()
{
    makeWidget();
    QVERIFY(scan());
    Vorlo::CDeviceInfo info = rowOf("EMU-0001")->deviceInfo();
    QSignalSpy current(m_widget, &DeviceTreeWidget::currentDeviceChanged);
    m_widget->selectByInfo(info);
    QCOMPARE(tree()->currentItem(), static_cast<QTreeWidgetItem*>(rowOf("EMU-0001")));
    QCOMPARE(current.count(), 1);

    Vorlo::CDeviceInfo unknown;
    unknown.SetFullName("CamEmu#EMU-9999");
    m_widget->selectByInfo(unknown);
    QVERIFY(!tree()->currentItem());
}

void tst_DeviceTreeWidget::currentDeviceChangedCarriesRowInfo()
{
    makeWidget();
    QVERIFY(scan());
    QStringList seen;
    connect(m_widget, &DeviceTreeWidget::currentDeviceChanged, this,
            [&](const Vorlo::CDeviceInfo* info) {
                seen << (info ? QString::fromLatin1(info->GetFullName().c_str()) : QStringLiteral("null"));
            });
    tree()->setCurrentItem(rowOf("EMU-0001"));
    tree()->setCurrentItem(emuLayer());
    QCOMPARE(seen, QStringList() << "CamEmu#EMU-0001" << "null");

    QSignalSpy openRequest(m_widget, &DeviceTreeWidget::deviceOpenRequest);
    emit tree()->itemActivated(emuLayer(), 0); // whatever the row is
    QCOMPARE(openRequest.count(), 1);
}

void tst_DeviceTreeWidget::scanEndDeliveredWhileAutoOpenProcessesEventsIsMergedAfterwards()
{
    makeWidget();
    QVERIFY(scan());
    // The auto-open runs inside a merge, which holds the snapshot's mutex, and processes events.
    // A scan end that arrives there must not lock the mutex a second time (it would hang).
    bool deliveredInside = false;
    connect(m_widget, &DeviceTreeWidget::deviceOpenRequest, this, [&] {
        QMetaObject::invokeMethod(m_widget, "deviceScanFinished", Qt::QueuedConnection);
        QMetaObject::invokeMethod(this, [&] { deliveredInside = true; }, Qt::QueuedConnection);
    });
    QSignalSpy listChanged(m_widget, &DeviceTreeWidget::deviceListChanged);
    m_widget->selectByNameAsync("*EMU-0002*", false);
    m_cameras->set(3);
    QVERIFY(scan());
    QVERIFY(deliveredInside);
    QCOMPARE(tree()->currentItem(), static_cast<QTreeWidgetItem*>(rowOf("EMU-0002")));
    QCOMPARE(listChanged.count(), 1);
    // The handed-back scan end merged the same snapshot once more, which changed nothing.
    QCOMPARE(emuSerials().size(), 3);
    QTRY_VERIFY(!QApplication::overrideCursor());
}

// ---------------------------------------------------------------- open, close, removal

void tst_DeviceTreeWidget::openAndCloseMarkRowAndCount()
{
    makeWidget();
    QVERIFY(scan());
    OpenCamera camera("EMU-0001");
    QVERIFY(camera.device);
    DeviceTreeWidgetItem* row = rowOf("EMU-0001");

    m_widget->onOpenDevice(camera.device);
    QVERIFY(row->data(0, DeviceTreeOpenRole).toBool());
    QCOMPARE(row->devicePointer(), camera.device);
    QCOMPARE(row->font(0).weight(), 75);
    const QString openTip = row->toolTip(0);
    QCOMPARE(openTip, formatToolTipFromDevice(camera.device->GetDeviceInfo(), camera.device, 0));
    QVERIFY(openTip.contains("FW Version:\t")); // a node of the open device

    m_widget->onCloseDevice(camera.device);
    QVERIFY(!row->data(0, DeviceTreeOpenRole).toBool());
    QVERIFY(!row->devicePointer());
    QCOMPARE(row->font(0).weight(), 50);
    QCOMPARE(row->toolTip(0), openTip); // the tooltip stays as it was
}

void tst_DeviceTreeWidget::firstOpenClearsTipUnlessAutoOpenWaits()
{
    makeWidget();
    QVERIFY(scan());
    QLabel* status = m_widget->findChild<QLabel*>("lblStatus");
    {
        OpenCamera camera("EMU-0000");
        m_widget->selectByNameAsync("*EMU-0005*", false);
        m_widget->onOpenDevice(camera.device);
        QCOMPARE(status->text(), QStringLiteral("Autoopen: \"*EMU-0005*\""));
        m_widget->onCloseDevice(camera.device);
    }
    {
        m_widget->selectByNameAsync(QString(), false); // nothing waits any more
        m_widget->setInfoText("Tip");
        OpenCamera camera("EMU-0001");
        m_widget->onOpenDevice(camera.device); // not the first open: the text stays
        QCOMPARE(status->text(), QStringLiteral("Tip"));
        m_widget->onCloseDevice(camera.device);
    }

    // A fresh widget: the first open takes the tip away.
    delete m_watcher;
    m_watcher = nullptr;
    delete m_widget;
    m_widget = nullptr;
    makeWidget();
    QVERIFY(scan());
    status = m_widget->findChild<QLabel*>("lblStatus");
    QVERIFY(!status->text().isEmpty());
    OpenCamera camera("EMU-0000");
    m_widget->onOpenDevice(camera.device);
    QVERIFY(status->text().isEmpty());
    m_widget->onCloseDevice(camera.device);
}

void tst_DeviceTreeWidget::surpriseRemovalRemovesOpenRow()
{
    makeWidget();
    QVERIFY(scan());
    OpenCamera camera("EMU-0000");
    m_widget->onOpenDevice(camera.device);
    QList<bool> flags;
    QStringList names;
    connect(m_widget, &DeviceTreeWidget::deviceRemoved, this,
            [&](const Vorlo::CDeviceInfo* info, bool byScan) {
                names << QString::fromLatin1(info->GetFullName().c_str());
                flags << byScan;
            });
    QVERIFY(EmulatedCameras::unplug("EMU-0000"));
    QTRY_VERIFY(camera.device->IsDeviceRemoved());
    m_widget->onSurpriseRemoved("CamEmu#EMU-0000", "ignored");
    QVERIFY(!rowOf("EMU-0000"));
    QCOMPARE(names, QStringList() << "CamEmu#EMU-0000");
    QCOMPARE(flags, QList<bool>() << false);

    m_widget->onSurpriseRemoved("CamEmu#EMU-0000", QString()); // gone already: nothing more
    QCOMPARE(names.size(), 1);
}

void tst_DeviceTreeWidget::addDeviceRowIsNotSelectableByNameAndIsSweptUnlessOpen()
{
    TraceCapture trace;
    m_cameras->set(3);
    makeWidget();
    QVERIFY(scan());
    // A record the application knows of that no scan reports: a camera unplugged since.
    Vorlo::CDeviceInfo info = rowOf("EMU-0002")->deviceInfo();
    QVERIFY(EmulatedCameras::unplug("EMU-0002"));
    QVERIFY(scan());
    QVERIFY(!rowOf("EMU-0002"));

    QSignalSpy detected(m_widget, &DeviceTreeWidget::deviceDetected);
    m_widget->addDevice(info);
    DeviceTreeWidgetItem* row = rowOf("EMU-0002");
    QVERIFY(row);
    QCOMPARE(detected.count(), 0);
    QVERIFY(!row->data(0, DeviceTreeScannedRole).isValid());
    QCOMPARE(row->text(0), formatDeviceName(&info, {}));
    QCOMPARE(trace.countContaining("DeviceTreeWidget::addDevice 'CamEmu#EMU-0002'"), 1);
    QVERIFY(!m_widget->selectByName(row->text(0), true));

    m_widget->addDevice(info); // already there: no second row
    QCOMPARE(emuSerials().count("EMU-0002"), 1);

    QVERIFY(scan()); // not reported and not open: swept
    QVERIFY(!rowOf("EMU-0002"));
}

void tst_DeviceTreeWidget::updateAllToolTipsUsesDevicePointer()
{
    makeWidget();
    QVERIFY(scan());
    OpenCamera camera("EMU-0000");
    DeviceTreeWidgetItem* row = rowOf("EMU-0000");
    row->setToolTip(0, "stale");
    rowOf("EMU-0001")->setToolTip(0, "stale");
    row->setDevicePointer(camera.device);
    m_widget->updateAllToolTips();
    QCOMPARE(row->toolTip(0), formatToolTipFromDevice(row->deviceInfo(), camera.device, 0));
    QVERIFY(row->toolTip(0).contains("FW Version:\t"));
    QCOMPARE(rowOf("EMU-0001")->toolTip(0),
             formatToolTipFromDevice(rowOf("EMU-0001")->deviceInfo(), nullptr, 0));
    row->setDevicePointer(nullptr);
}

// ---------------------------------------------------------------- positions and state

void tst_DeviceTreeWidget::getDeviceTypeAtOverEmptySpaceGivesZero()
{
    makeWidget();
    m_widget->resize(400, 300);
    m_widget->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_widget));
    QVERIFY(scan());
    OpenCamera camera("EMU-0000");
    m_widget->onOpenDevice(camera.device);

    QWidget* viewport = tree()->viewport();
    auto toWidget = [&](const QPoint& p) { return viewport->mapTo(m_widget, p); };

    const QPoint empty = toWidget(QPoint(5, viewport->height() - 3));
    QVERIFY(!tree()->itemAt(viewport->mapFrom(m_widget, empty)));
    QCOMPARE(m_widget->getDeviceTypeAt(empty), 0);
    QVERIFY(!m_widget->getDeviceInfoAt(empty));
    QVERIFY(!m_widget->getDevicePointerAt(empty));

    const QPoint layerPoint = toWidget(tree()->visualItemRect(emuLayer()).center());
    QCOMPARE(m_widget->getDeviceTypeAt(layerPoint), 2);
    QVERIFY(!m_widget->getDeviceInfoAt(layerPoint));

    DeviceTreeWidgetItem* row = rowOf("EMU-0000");
    const QPoint devicePoint = toWidget(tree()->visualItemRect(row).center());
    QCOMPARE(m_widget->getDeviceTypeAt(devicePoint), 1);
    QCOMPARE(m_widget->getDeviceInfoAt(devicePoint), &row->deviceInfo());
    QCOMPARE(m_widget->getDevicePointerAt(devicePoint), camera.device);
    m_widget->onCloseDevice(camera.device);
}

void tst_DeviceTreeWidget::selectedDevicesCountsAndAppendsDeviceRows()
{
    makeWidget();
    QVERIFY(scan());
    tree()->setSelectionMode(QAbstractItemView::MultiSelection);
    rowOf("EMU-0000")->setSelected(true);
    rowOf("EMU-0001")->setSelected(true);
    emuLayer()->setSelected(true);
    QCOMPARE(m_widget->selectedDevices(nullptr), 2);
    Vorlo::DeviceInfoList list(1); // appended to, not replaced
    QCOMPARE(m_widget->selectedDevices(&list), 2);
    QCOMPARE(list.size(), size_t(3));
    QStringList serials;
    serials << QString::fromLatin1(list[1].GetSerialNumber().c_str())
            << QString::fromLatin1(list[2].GetSerialNumber().c_str());
    serials.sort();
    QCOMPARE(serials, QStringList() << "EMU-0000" << "EMU-0001");
}

void tst_DeviceTreeWidget::saveAndRestoreStateCarryAutoScanFlag()
{
    makeWidget(false, true);
    QCheckBox* polling = m_widget->findChild<QCheckBox*>("checkBoxPolling");
    m_widget->setAutoScanEnabled(false);
    const QByteArray off = m_widget->saveState(3);
    m_widget->setAutoScanEnabled(true);
    const QByteArray on = m_widget->saveState(3);
    QVERIFY(off != on);

    QVERIFY(m_widget->restoreState(off, 3));
    QVERIFY(!polling->isChecked());
    QVERIFY(m_widget->restoreState(on, 3));
    QVERIFY(polling->isChecked());
    QVERIFY(!m_widget->restoreState(off, 4)); // another version changes nothing
    QVERIFY(polling->isChecked());

    // The tail is the flag as a bool after the header part.
    QDataStream stream(off);
    int version = 0, count = 0, size = 0;
    stream >> version >> count;
    QCOMPARE(version, 3);
    QCOMPARE(count, 1);
    stream >> size;
    bool flag = true;
    stream >> flag;
    QCOMPARE(stream.status(), QDataStream::Ok);
    QVERIFY(!flag);
    QVERIFY(stream.atEnd());
}

void tst_DeviceTreeWidget::gigeOnlyListsOnlyTheKesdorGigELayer()
{
    makeWidget(true);
    QCOMPARE(tree()->topLevelItemCount(), 1);
    Vorlo::TlInfoList tls;
    Vorlo::CTlFactory::GetInstance().EnumerateTls(tls);
    QString gigeKey;
    for (const Vorlo::CTlInfo& info : tls)
        if (info.GetDeviceClass() == "KesdorGigE")
            gigeKey = QString::fromLatin1(info.GetFullName().c_str());
    QCOMPARE(tree()->topLevelItem(0)->data(0, DeviceTreeKeyRole).toString(), gigeKey);
    QVERIFY(scan());
    QCOMPARE(tree()->topLevelItemCount(), 1);
    QVERIFY(!emuLayer()); // the emulated cameras are not listed
}

// ---------------------------------------------------------------- lifetime

void tst_DeviceTreeWidget::destroyingWidgetDuringScanWaitsForScanAndMergesNothing()
{
    makeWidget();
    QPointer<AutoScanThread> scanThread = thread();
    QSignalSpy finished(scanThread.data(), &AutoScanThread::scanFinished);
    QVERIFY(waitUntilThreadWaits());
    m_scope->factory.closeGate();
    m_widget->refresh(false);
    QTRY_VERIFY(m_scope->factory.isScanHeldAtGate());

    std::atomic<bool> destroying{false};
    std::thread network([&] {
        while (!destroying)
            std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        m_scope->factory.openGate();
    });
    delete m_watcher;
    m_watcher = nullptr;
    destroying = true;
    delete m_widget; // stops the thread, which finishes its scan first
    m_widget = nullptr;
    network.join();

    QVERIFY(scanThread.isNull());
    QCOMPARE(finished.count(), 1);
    // The queued calls for the dead widget are gone with it; delivering the rest is harmless.
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

// ---------------------------------------------------------------- picture

void tst_DeviceTreeWidget::pictureOfTreeWithOpenDevice()
{
    m_cameras->set(4);
    makeWidget();
    m_widget->resize(400, 300);
    m_widget->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_widget));
    QVERIFY(scan());
    OpenCamera camera("EMU-0001");
    m_widget->onOpenDevice(camera.device);
    tree()->setCurrentItem(rowOf("EMU-0001"));

    const QPixmap picture = m_widget->grab();
    QVERIFY(!picture.isNull());
    QCOMPARE(picture.size(), m_widget->size() * picture.devicePixelRatio());
    QVERIFY(rowOf("EMU-0001")->font(0).bold());
    QVERIFY(!rowOf("EMU-0000")->font(0).bold());

    const QByteArray dir = qgetenv("VORLO_SCREENSHOT_DIR");
    if (!dir.isEmpty())
        QVERIFY(picture.save(QString::fromLocal8Bit(dir) + "/devicetreewidget.png"));
    m_widget->onCloseDevice(camera.device);
}

QTEST_MAIN(tst_DeviceTreeWidget)
#include "tst_devicetreewidget.moc"
