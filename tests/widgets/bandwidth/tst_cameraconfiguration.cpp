// The two delegates of the bandwidth view, the "..." button and the feature dialog that it opens:
// which limit editor a camera gets, the dialog's settings travelling through the rows, and the
// dialog's life when its row closes.
#include <QtTest>

#include "bandwidthtestsupport.h"

#include <VorloQtWidgets/bandwidthcameraconfiguredialog.h>
#include <VorloQtWidgets/bandwidthflattree.h>
#include <VorloQtWidgets/bandwidthitemdelegate.h>
#include <VorloQtWidgets/bandwidthlimiterinterpacketdelay.h>
#include <VorloQtWidgets/bandwidthtreewidget.h>
#include <VorloQtWidgets/cameraconfigurationeditor.h>
#include <VorloQtWidgets/devicelinkthroughputlimiteditor.h>
#include <VorloQtWidgets/featuretreewidget.h>

#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtBase/formatdevicename.h>

#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QStandardItemModel>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTimer>
#include <QVBoxLayout>

#include <functional>
#include <memory>

using namespace BandwidthTest;

namespace {

QString keyOf(unsigned index)
{
    return QStringLiteral("CamEmu#") + serialNumber(index);
}

QString limitFeatures()
{
    return integer("DeviceLinkSelector", 0, 0, 0, 1)
           + QStringLiteral("<Enumeration Name=\"DeviceLinkThroughputLimitMode\">"
                            "<EnumEntry Name=\"Off\"><Value>0</Value></EnumEntry>"
                            "<EnumEntry Name=\"On\"><Value>1</Value></EnumEntry><Value>0</Value></Enumeration>\n")
           + integer("DeviceLinkThroughputLimit", 50000000, 10000000, 125000000, 1);
}

QString gigeFeatures()
{
    return integer("GevSCPD", 0, 0, 4000000, 1) + integer("GevSCBWA", 100000000, 0, 4000000000LL, 1, "RO");
}

// The view with its protected index lookup opened for the tests.
class TestBandwidthTreeWidget : public BandwidthTreeWidget
{
public:
    using BandwidthTreeWidget::BandwidthTreeWidget;
    QModelIndex indexOf(QTreeWidgetItem* pItem, int column) const { return indexFromItem(pItem, column); }
};

FlatTree& treeOf(BandwidthTreeWidget& w)
{
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

CameraConfigurationEditor* buttonOf(TestBandwidthTreeWidget& w, const QString& key)
{
    QTreeWidgetItem* pItem = treeOf(w).m_items[rowOf(w, key)].pTreeWidgetItem;
    return pItem ? qobject_cast<CameraConfigurationEditor*>(w.indexWidget(w.indexOf(pItem, 2))) : nullptr;
}

} // namespace

class tst_CameraConfiguration : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void cameraWithBothLimitFeaturesGetsThroughputLimitEditor();
    void cameraWithOnlyInterPacketDelayGetsLimiter();
    void cameraWithNeitherLimitFeatureGetsDefaultLineEdit();
    void throughputRowWritesModelAsNumberText();
    void configDelegateMakesButtonFromRoles();
    void buttonWithoutNodeMapIsInvalidAndClickDoesNothing();
    void dialogHasFeatureTreeAndLayout();
    void dialogOpenedFromRowButtonAndClosed();
    void secondClickWhileDialogOpenDoesNothing();
    void pollingChangedInOneDialogShowsInNextDialogOfOtherRow();
    void closingRowWhileDialogOpenRejectsItAndStillRunsClosingSteps();

private:
    // Runs `inDialog` once the editor's dialog is open (from inside its event loop), then
    // clicks the editor and waits for the dialog to end.
    void clickWithDialog(CameraConfigurationEditor* pEditor, std::function<void(BandwidthCameraConfigureDialog*)> inDialog);
    TestBandwidthTreeWidget& viewWithTwoCameras();

    VorloQtBase::ExceptionRecorder m_recorder; // no message box may block a test
    QTemporaryDir m_settingsDir;
    std::unique_ptr<TestBandwidthTreeWidget> m_view;
};

void tst_CameraConfiguration::initTestCase()
{
    QVERIFY(m_settingsDir.isValid());
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_settingsDir.path());
    QCoreApplication::setOrganizationName(QStringLiteral("KesdorTests"));
    QCoreApplication::setApplicationName(QStringLiteral("tst_cameraconfiguration"));
    Vorlo::CTlFactory::GetInstance().SetCamEmuDeviceCount(3);
}

void tst_CameraConfiguration::init()
{
    QSettings().remove(QStringLiteral("BandwidthCameraConfigureDialog"));
}

void tst_CameraConfiguration::cleanup()
{
    m_view.reset();
}

TestBandwidthTreeWidget& tst_CameraConfiguration::viewWithTwoCameras()
{
    m_view = std::make_unique<TestBandwidthTreeWidget>();
    QSettings settings(m_settingsDir.filePath(QStringLiteral("layout.ini")), QSettings::IniFormat);
    m_view->restoreLayout(&settings);
    m_view->ActivateGigE();
    GenICam::gcstring_vector classes;
    classes.push_back("KesdorCamEmu");
    m_view->setUsableDeviceClasses(classes);
    m_view->refreshTree();
    m_view->EnableCamera(rowOf(*m_view, keyOf(0)));
    m_view->EnableCamera(rowOf(*m_view, keyOf(2)));
    m_view->resize(900, 250);
    m_view->show();
    return *m_view;
}

void tst_CameraConfiguration::clickWithDialog(CameraConfigurationEditor* pEditor,
                                              std::function<void(BandwidthCameraConfigureDialog*)> inDialog)
{
    bool ran = false;
    QTimer poll;
    poll.setInterval(20);
    connect(&poll, &QTimer::timeout, pEditor, [&] {
        BandwidthCameraConfigureDialog* pDialog = pEditor->dialog();
        if (ran || !pDialog || !pDialog->isVisible())
            return;
        ran = true;
        poll.stop();
        inDialog(pDialog);
    });
    poll.start();
    pEditor->setFocus();
    pEditor->click();
    // click() returns when the dialog's own loop has ended.
    QVERIFY(ran);
}

namespace {

// One camera row of the bandwidth view over a node map of the given features (and further
// rows without a camera), with the limit column's delegate.
struct DelegateRow
{
    explicit DelegateRow(const QString& features, int rows = 1)
        : map(features)
        , model(rows, 3)
        , delegate(nullptr)
    {
        camera.m_pNodeMap = map.map();
        row.isDevice = true;
        row.pCamera = &camera;
        model.setData(model.index(0, 1), QVariant::fromValue(static_cast<void*>(&row)), Qt::UserRole + 1);
    }
    ~DelegateRow() { camera.m_pNodeMap = nullptr; }

    std::unique_ptr<QWidget> createEditor()
    {
        return std::unique_ptr<QWidget>(delegate.createEditor(&parent, QStyleOptionViewItem(), model.index(0, 1)));
    }

    NodeMap map;
    XmlCamera camera;
    FlatTreeItem row;
    QStandardItemModel model;
    BandwidthItemDelegate delegate;
    QWidget parent;
};

} // namespace

void tst_CameraConfiguration::cameraWithBothLimitFeaturesGetsThroughputLimitEditor()
{
    DelegateRow f(limitFeatures() + gigeFeatures());
    std::unique_ptr<QWidget> editor = f.createEditor();
    QVERIFY(qobject_cast<DeviceLinkThroughputLimitEditor*>(editor.get()));
    // The editor follows its node; setEditorData leaves it alone.
    f.model.setData(f.model.index(0, 1), QStringLiteral("7"), Qt::DisplayRole);
    f.delegate.setEditorData(editor.get(), f.model.index(0, 1));
    QCOMPARE(static_cast<DeviceLinkThroughputLimitEditor*>(editor.get())->value(), 50000000);
    // Closing through the delegate gives the mode its write access back.
    QVERIFY(!GenApi::IsWritable(f.map.node("DeviceLinkThroughputLimitMode")->GetAccessMode()));
    f.delegate.emitCloseEditorForPersistenEditor(editor.get());
    QVERIFY(GenApi::IsWritable(f.map.node("DeviceLinkThroughputLimitMode")->GetAccessMode()));
    editor.reset();
}

void tst_CameraConfiguration::cameraWithOnlyInterPacketDelayGetsLimiter()
{
    DelegateRow f(gigeFeatures());
    std::unique_ptr<QWidget> editor = f.createEditor();
    QVERIFY(qobject_cast<BandwidthLimiterInterPacketDelay*>(editor.get()));
    // The delegate's close passes over this editor: its callback stays until it dies.
    f.delegate.emitCloseEditorForPersistenEditor(editor.get());
    editor.reset();
}

void tst_CameraConfiguration::cameraWithNeitherLimitFeatureGetsDefaultLineEdit()
{
    DelegateRow f(integer("PayloadSize", 100), 2);
    std::unique_ptr<QWidget> editor = f.createEditor();
    QVERIFY(qobject_cast<QLineEdit*>(editor.get()));
    // A row without a camera, or without a row pointer, gets the same.
    std::unique_ptr<QWidget> plain(f.delegate.createEditor(&f.parent, QStyleOptionViewItem(), f.model.index(1, 1)));
    QVERIFY(qobject_cast<QLineEdit*>(plain.get()));
}

void tst_CameraConfiguration::throughputRowWritesModelAsNumberText()
{
    DelegateRow f(limitFeatures());
    std::unique_ptr<QWidget> editor = f.createEditor();
    f.delegate.setModelData(editor.get(), &f.model, f.model.index(0, 1));
    QCOMPARE(f.model.data(f.model.index(0, 1), Qt::DisplayRole).toString(), QStringLiteral("5e+07"));
}

void tst_CameraConfiguration::configDelegateMakesButtonFromRoles()
{
    TestBandwidthTreeWidget& w = viewWithTwoCameras();
    CameraConfigurationEditor* pButton = buttonOf(w, keyOf(0));
    QVERIFY(pButton);
    QCOMPARE(pButton->text(), QStringLiteral("..."));
    QCOMPARE(pButton->toolTip(), QStringLiteral("Configure Camera"));
    QCOMPARE(pButton->getGenicamVisibilty(), GenApi::Beginner);
    QVERIFY(!pButton->getPollingActive());
    // Roles written into the row reach the button through setEditorData.
    w.setGenicamVisibility(GenApi::Expert);
    w.setViewAllFavoritesActive(true);
    QCOMPARE(pButton->getGenicamVisibilty(), GenApi::Expert);
    QVERIFY(pButton->getViewAllFavoritesActive());
    QVERIFY(buttonOf(w, keyOf(1)) == nullptr);
}

void tst_CameraConfiguration::buttonWithoutNodeMapIsInvalidAndClickDoesNothing()
{
    CameraConfigurationEditor button(nullptr, nullptr, GenApi::Beginner, false, false, nullptr);
    QCOMPARE(button.text(), QStringLiteral("Invalid!"));
    QSignalSpy closed(&button, &CameraConfigurationEditor::configureDialogClosed);
    button.click();
    QCOMPARE(closed.count(), 0);
    QVERIFY(button.dialog() == nullptr);
    QVERIFY(!QSettings().childGroups().contains(QStringLiteral("BandwidthCameraConfigureDialog")));
    button.setPollingActive(true);
    QVERIFY(button.getPollingActive());
}

void tst_CameraConfiguration::dialogHasFeatureTreeAndLayout()
{
    NodeMap map(integer("PayloadSize", 100) + integer("Width", 640));
    Vorlo::CDeviceInfo info = emulatedInfo(0);
    BandwidthCameraConfigureDialog dialog(nullptr, map.map(), &info, GenApi::Expert, true, false);
    QCOMPARE(dialog.objectName(), QStringLiteral("BandwidthConfigurationDialog"));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Features ") + formatDeviceName(&info));
    QCOMPARE(dialog.size(), QSize(400, 400));
    QVERIFY(dialog.isModal());
    QCOMPARE(dialog.windowModality(), Qt::WindowModal);
    QVERIFY(dialog.isSizeGripEnabled());
    QVERIFY(dialog.windowFlags() & Qt::WindowMaximizeButtonHint);
    QVERIFY(!(dialog.windowFlags() & Qt::WindowContextHelpButtonHint));
    QVERIFY(dialog.findChild<QVBoxLayout*>(QStringLiteral("vbExtendedContainer")));
    QTabWidget* pTabs = dialog.findChild<QTabWidget*>(QStringLiteral("tabWidget"));
    QVERIFY(pTabs);
    QCOMPARE(pTabs->tabText(0), QStringLiteral("Configuration"));
    QCOMPARE(pTabs->widget(0), static_cast<QWidget*>(dialog.featureTreeWidget()));
    QCOMPARE(dialog.getVisiblity(), GenApi::Expert);
    QVERIFY(dialog.getPolling());
    QVERIFY(!dialog.getViewAllFavorites());
    dialog.setViewAllFavorites(true);
    QVERIFY(dialog.getViewAllFavorites());
    dialog.setVisiblity(GenApi::Guru);
    QCOMPARE(dialog.getVisiblity(), GenApi::Guru);

    // A null node map raises the logical error.
    bool thrown = false;
    try {
        BandwidthCameraConfigureDialog broken(nullptr, nullptr, &info, GenApi::Beginner, false, false);
    } catch (const GenICam::GenericException& e) {
        thrown = QString::fromLatin1(e.GetDescription()) == QStringLiteral("NULL pointer dereferenced");
    }
    QVERIFY(thrown);
}

void tst_CameraConfiguration::dialogOpenedFromRowButtonAndClosed()
{
    TestBandwidthTreeWidget& w = viewWithTwoCameras();
    CameraConfigurationEditor* pButton = buttonOf(w, keyOf(0));
    QSignalSpy closed(pButton, &CameraConfigurationEditor::configureDialogClosed);
    QString title;
    clickWithDialog(pButton, [&](BandwidthCameraConfigureDialog* pDialog) {
        title = pDialog->windowTitle();
        QVERIFY(pDialog->featureTreeWidget());
        pDialog->findChild<QPushButton*>(QStringLiteral("closeButton"))->click();
    });
    QVERIFY(title.startsWith(QStringLiteral("Features ")));
    QCOMPARE(closed.count(), 1);
    QVERIFY(pButton->dialog() == nullptr);
    QVERIFY(QSettings().childGroups().contains(QStringLiteral("BandwidthCameraConfigureDialog")));
}

void tst_CameraConfiguration::secondClickWhileDialogOpenDoesNothing()
{
    TestBandwidthTreeWidget& w = viewWithTwoCameras();
    CameraConfigurationEditor* pButton = buttonOf(w, keyOf(0));
    QSignalSpy closed(pButton, &CameraConfigurationEditor::configureDialogClosed);
    int dialogsDuring = 0;
    bool sameDialog = false;
    clickWithDialog(pButton, [&](BandwidthCameraConfigureDialog* pDialog) {
        pButton->click(); // returns at once: a dialog is open
        sameDialog = pButton->dialog() == pDialog;
        dialogsDuring = w.findChildren<BandwidthCameraConfigureDialog*>().size();
        pDialog->reject();
    });
    QVERIFY(sameDialog);
    QCOMPARE(dialogsDuring, 1);
    QCOMPARE(closed.count(), 1);
}

void tst_CameraConfiguration::pollingChangedInOneDialogShowsInNextDialogOfOtherRow()
{
    TestBandwidthTreeWidget& w = viewWithTwoCameras();
    QVERIFY(!w.getPollingActive());
    clickWithDialog(buttonOf(w, keyOf(0)), [&](BandwidthCameraConfigureDialog* pDialog) {
        QVERIFY(!pDialog->getPolling());
        pDialog->setPolling(true);
        pDialog->close();
    });
    // The dialog's values went through the row's roles to the view and all rows.
    QTRY_VERIFY(w.getPollingActive());
    QCOMPARE(treeOf(w).m_items[rowOf(w, keyOf(2))].pTreeWidgetItem->data(2, Qt::UserRole + 4).toBool(), true);
    bool pollingInNext = false;
    clickWithDialog(buttonOf(w, keyOf(2)), [&](BandwidthCameraConfigureDialog* pDialog) {
        pollingInNext = pDialog->getPolling();
        pDialog->close();
    });
    QVERIFY(pollingInNext);
}

void tst_CameraConfiguration::closingRowWhileDialogOpenRejectsItAndStillRunsClosingSteps()
{
    TestBandwidthTreeWidget& w = viewWithTwoCameras();
    QVERIFY(QTest::qWaitForWindowActive(&w));
    CameraConfigurationEditor* pButton = buttonOf(w, keyOf(0));
    QSignalSpy closed(pButton, &CameraConfigurationEditor::configureDialogClosed);
    QPointer<BandwidthCameraConfigureDialog> dialog;
    int result = -1;
    clickWithDialog(pButton, [&](BandwidthCameraConfigureDialog* pDialog) {
        dialog = pDialog;
        connect(pDialog, &QDialog::finished, pDialog, [&](int r) { result = r; });
        pDialog->setPolling(true);
        // The row closes while the dialog is open.
        w.DisableCamera(rowOf(w, keyOf(0)));
    });
    QCOMPARE(result, int(QDialog::Rejected));
    // Steps after the dialog ran: values read back, signal, settings, dialog deleted.
    QCOMPARE(closed.count(), 1);
    QVERIFY(dialog.isNull());
    QVERIFY(QSettings().childGroups().contains(QStringLiteral("BandwidthCameraConfigureDialog")));
    QCOMPARE(w.countEnabledCameras(), 1);
}

QTEST_MAIN(tst_CameraConfiguration)
#include "tst_cameraconfiguration.moc"
