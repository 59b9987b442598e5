// The viewer: the main window driven in-process on emulated cameras, and whole runs of the
// program as a person would start them from a script, offscreen.

#include "bandwidthwindow.h"
#include "imageview.h"
#include "livecamera.h"
#include "mainwindow.h"

#include <Vorlo/VorloIncludes.h>
#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtWidgets/bandwidthflattree.h>
#include <VorloQtWidgets/bandwidthtreewidget.h>
#include <VorloQtWidgets/devicetreewidget.h>
#include <VorloQtWidgets/featuretreewidget.h>
#include <VorloQtWidgets/ipaddresswidget.h>

#include <QAbstractProxyModel>
#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <QHostAddress>
#include <QStatusBar>
#include <QImage>
#include <QMap>
#include <QPointer>
#include <QProcess>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBrowser>
#include <QTreeView>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>

#include <functional>
#include <memory>

namespace {

struct RunResult
{
    int exitCode = -1;
    bool finished = false;
    QMap<QString, QString> report;
    QString out;
    QString err;
};

// Runs the program offscreen with a private home, so that its settings stay in the run.
RunResult runViewer(const QStringList& arguments, const QString& home, int timeoutMs = 240000)
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    env.insert(QStringLiteral("HOME"), home);
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
    env.remove(QStringLiteral("VORLO_CAMEMU"));
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(VORLO_VIEWER_EXECUTABLE), arguments);
    RunResult result;
    if (!process.waitForStarted(30000))
        return result;
    result.finished = process.waitForFinished(timeoutMs);
    if (!result.finished) {
        process.kill();
        process.waitForFinished(5000);
    }
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = QString::fromLocal8Bit(process.readAllStandardOutput());
    result.err = QString::fromLocal8Bit(process.readAllStandardError());
    for (const QString& line : result.out.split(QLatin1Char('\n'))) {
        if (!line.startsWith(QLatin1String("report ")))
            continue;
        const int eq = line.indexOf(QLatin1Char('='));
        if (eq > 7)
            result.report.insert(line.mid(7, eq - 7), line.mid(eq + 1));
    }
    return result;
}

// Warnings Qt writes about objects that are leaked, deleted from the wrong thread or given a
// parent they cannot have.
QStringList qtObjectWarnings(const QString& err)
{
    QStringList found;
    for (const QString& line : err.split(QLatin1Char('\n'))) {
        if (line.contains(QLatin1String("QObject")) || line.contains(QLatin1String("QWidget"))
            || line.contains(QLatin1String("QThread")) || line.contains(QLatin1String("QTimer"))
            || line.contains(QLatin1String("QSocketNotifier")) || line.contains(QLatin1String("parent"), Qt::CaseInsensitive)
            || line.contains(QLatin1String("leak"), Qt::CaseInsensitive))
            found << line;
    }
    return found;
}

} // namespace

// Answers the next modal dialog from inside its own event loop. A dialog that is still open
// five seconds after it appeared is closed, so that no run can hang on it.
void answerNextModalDialog(const std::function<void(QWidget*)>& answer)
{
    auto* poll = new QTimer;
    poll->setInterval(20);
    auto waited = std::make_shared<QElapsedTimer>();
    waited->start();
    QObject::connect(poll, &QTimer::timeout, [poll, answer, waited] {
        QWidget* modal = QApplication::activeModalWidget();
        if (!modal && waited->elapsed() < 10000)
            return;
        poll->stop();
        poll->deleteLater();
        if (!modal)
            return;
        QPointer<QWidget> guard(modal);
        QTimer::singleShot(5000, [guard] {
            if (guard)
                guard->close();
        });
        answer(modal);
    });
    poll->start();
}

class tst_Viewer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    // In-process
    void openByNameFillsFeatureTreeAndMarksDeviceOpen();
    void grabTenFramesReachesImageView();
    void descriptionPaneFollowsCurrentFeature();
    void closeDeviceClearsFeatureTreeAndImage();
    void deviceRemovedWhileOpenClosesViewWithMessage();
    void bandwidthWindowMeasuresOpenCameraAsManagedDevice();
    void measuringTriggeredCameraIsLoggedWhenUnattended();
    void measuringTriggeredCameraAsksFirstAndCancelKeepsItStopped();
    void aboutBoxNamesVersionAndCopyrightYears();
    void settingsRememberLastDeviceAndUserLevel();
    void ipConfigurationWritesPersistentAddress();
    void ipConfigurationWithoutGigECameraOnlyTells();
    void imageConversion_data();
    void imageConversion();

    // Whole program
    void smokeRunOpensGrabsMeasuresAndQuitsCleanly();
    void screenshotRunWritesMainAndBandwidthPictures();
    void timeLimitEndsRunWithUnopenableDeviceWithExitCodeOne();
    void badNumberOnCommandLineIsRejected();

private:
    QTemporaryDir m_home;
    VorloQtBase::ExceptionPresenter m_previous;
    QStringList m_shown;
};

void tst_Viewer::initTestCase()
{
    QVERIFY(m_home.isValid());
    QStandardPaths::setTestModeEnabled(true);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_home.path());
    QCoreApplication::setOrganizationName(QStringLiteral("KesdorTest"));
    QCoreApplication::setApplicationName(QStringLiteral("tst_viewer"));
    m_previous = VorloQtBase::setExceptionPresenter(
        [this](const QString& function, const QString& message, const QString&) {
            m_shown << function + QStringLiteral(": ") + message;
        });
    Vorlo::CTlFactory::GetInstance().SetCamEmuDeviceCount(2);
}

void tst_Viewer::init()
{
    QSettings().clear();
    m_shown.clear();
    for (const char* serial : {"EMU-0000", "EMU-0001"})
        Vorlo::CTlFactory::GetInstance().SetCamEmuDeviceUnplugged(serial, false);
}

void tst_Viewer::cleanup()
{
    QVERIFY2(m_shown.isEmpty(), qPrintable(m_shown.join(QLatin1Char('\n'))));
}

void tst_Viewer::openByNameFillsFeatureTreeAndMarksDeviceOpen()
{
    MainWindow w;
    w.setUnattended(true);
    QSignalSpy opened(&w, &MainWindow::deviceOpened);
    QVERIFY(opened.isValid());
    w.openWhenFound(QStringLiteral("*EMU-0001*"));
    QTRY_COMPARE_WITH_TIMEOUT(opened.count(), 1, 30000);
    QVERIFY(opened.at(0).at(0).toString().contains(QLatin1String("EMU-0001")));
    QVERIFY(w.camera());
    QVERIFY(w.openDeviceName().contains(QLatin1String("EMU-0001")));

    // Camera, transport layer and stream parameters each under their own top row of the model
    // (the view may hide a map's row when none of its features is visible at the user level).
    auto* proxy = qobject_cast<QAbstractProxyModel*>(w.featureTree()->treeView()->model());
    QVERIFY(proxy);
    QAbstractItemModel* model = proxy->sourceModel();
    QVERIFY(model);
    QStringList tops;
    for (int row = 0; row < model->rowCount(); ++row)
        tops << model->index(row, 0).data().toString();
    QVERIFY2(tops.filter(QStringLiteral("EMU-0001")).size() == 1, qPrintable(tops.join(QLatin1Char('|'))));
    QVERIFY2(tops.contains(QStringLiteral("Transport Layer")), qPrintable(tops.join(QLatin1Char('|'))));
    QVERIFY2(tops.contains(QStringLiteral("Stream Parameters")), qPrintable(tops.join(QLatin1Char('|'))));
    const int cameraRow = tops.indexOf(tops.filter(QStringLiteral("EMU-0001")).first());
    QVERIFY(model->rowCount(model->index(cameraRow, 0)) > 0);

    // The device tree's row of the open device carries the device pointer.
    auto* deviceTreeView = qobject_cast<QTreeWidget*>(w.deviceTree()->treeView());
    QVERIFY(deviceTreeView);
    bool found = false;
    for (QTreeWidgetItemIterator it(deviceTreeView); *it; ++it) {
        if ((*it)->text(0).contains(QLatin1String("EMU-0001"))) {
            found = true;
            QCOMPARE((*it)->data(0, Qt::UserRole + 2).toBool(), true);
        }
    }
    QVERIFY(found);
    QVERIFY(w.findChild<QAction*>(QStringLiteral("actionClose"))->isEnabled());
    QVERIFY(w.findChild<QAction*>(QStringLiteral("actionIpConfiguration"))->isEnabled());
}

void tst_Viewer::grabTenFramesReachesImageView()
{
    MainWindow w;
    w.setUnattended(true);
    w.openWhenFound(QStringLiteral("*EMU-0000*"));
    QTRY_VERIFY_WITH_TIMEOUT(w.camera(), 30000);
    QSignalSpy frames(w.imageView(), &ImageView::statusChanged);
    w.grabFrames(10);
    QTRY_COMPARE_WITH_TIMEOUT(w.imageView()->frameCount(), quint64(10), 30000);
    QVERIFY(!w.imageView()->image().isNull());
    QVERIFY(w.imageView()->framesShown() >= 1);
    QCOMPARE(w.camera()->framesGrabbed(), quint64(10));
    QTRY_VERIFY_WITH_TIMEOUT(!w.camera()->isGrabbing(), 10000);
    QVERIFY(w.imageView()->statusText().contains(QLatin1String("frame 10")));
    QVERIFY(frames.count() > 0);
}

void tst_Viewer::descriptionPaneFollowsCurrentFeature()
{
    MainWindow w;
    w.setUnattended(true);
    w.openWhenFound(QStringLiteral("*EMU-0000*"));
    QTRY_VERIFY_WITH_TIMEOUT(w.camera(), 30000);
    GenApi::INode* node = w.camera()->nodeMap()->GetNode("Width");
    QVERIFY(node);
    emit w.featureTree()->onCurrentChanged(node);
    const QString text = w.descriptionPane()->toPlainText();
    QVERIFY2(text.contains(QString::fromUtf8(node->GetDisplayName().c_str())), qPrintable(text));
    if (!node->GetToolTip().empty())
        QVERIFY2(text.contains(QString::fromUtf8(node->GetToolTip().c_str())), qPrintable(text));
    emit w.featureTree()->onNewText(QStringLiteral("A row without a node"));
    QCOMPARE(w.descriptionPane()->toPlainText(), QStringLiteral("A row without a node"));
    emit w.featureTree()->onCurrentChanged(static_cast<GenApi::INode*>(nullptr));
    QVERIFY(w.descriptionPane()->toPlainText().isEmpty());
}

void tst_Viewer::closeDeviceClearsFeatureTreeAndImage()
{
    MainWindow w;
    w.setUnattended(true);
    w.openWhenFound(QStringLiteral("*EMU-0000*"));
    QTRY_VERIFY_WITH_TIMEOUT(w.camera(), 30000);
    w.grabFrames(2);
    QTRY_COMPARE_WITH_TIMEOUT(w.imageView()->frameCount(), quint64(2), 30000);
    QSignalSpy closed(&w, &MainWindow::deviceClosed);
    w.closeDevice();
    QCOMPARE(closed.count(), 1);
    QVERIFY(!w.camera());
    QVERIFY(w.imageView()->image().isNull());
    QCOMPARE(w.imageView()->frameCount(), quint64(0));
    QVERIFY(w.openDeviceName().isEmpty());
    QVERIFY(!w.findChild<QAction*>(QStringLiteral("actionClose"))->isEnabled());
    auto* deviceTreeView = qobject_cast<QTreeWidget*>(w.deviceTree()->treeView());
    for (QTreeWidgetItemIterator it(deviceTreeView); *it; ++it)
        QCOMPARE((*it)->data(0, Qt::UserRole + 2).toBool(), false);
}

void tst_Viewer::deviceRemovedWhileOpenClosesViewWithMessage()
{
    MainWindow w;
    w.setUnattended(true);
    w.openWhenFound(QStringLiteral("*EMU-0000*"));
    QTRY_VERIFY_WITH_TIMEOUT(w.camera(), 30000);
    w.startContinuous();
    QTRY_VERIFY_WITH_TIMEOUT(w.imageView()->frameCount() > 0, 30000);
    QSignalSpy closed(&w, &MainWindow::deviceClosed);
    QVERIFY(Vorlo::CTlFactory::GetInstance().SetCamEmuDeviceUnplugged("EMU-0000", true));
    QTRY_COMPARE_WITH_TIMEOUT(closed.count(), 1, 30000);
    QVERIFY(!w.camera());
    QVERIFY2(w.imageView()->statusText().contains(QLatin1String("removed")), qPrintable(w.imageView()->statusText()));
    // The removed device's row is gone from the device tree.
    auto* deviceTreeView = qobject_cast<QTreeWidget*>(w.deviceTree()->treeView());
    for (QTreeWidgetItemIterator it(deviceTreeView); *it; ++it)
        QVERIFY(!(*it)->text(0).contains(QLatin1String("EMU-0000")));
}

void tst_Viewer::bandwidthWindowMeasuresOpenCameraAsManagedDevice()
{
    MainWindow w;
    w.setUnattended(true);
    w.openWhenFound(QStringLiteral("*EMU-0001*"));
    QTRY_VERIFY_WITH_TIMEOUT(w.camera(), 30000);
    BandwidthWindow* bandwidth = w.showBandwidthWindow();
    QVERIFY(bandwidth);
    BandwidthTreeWidget* tree = bandwidth->treeWidget();
    QCOMPARE(tree->countCameras(), 2);
    QSignalSpy checked(tree, &BandwidthTreeWidget::cameraChecked);
    bandwidth->checkAllCameras();
    QCOMPARE(checked.count(), 2);
    QCOMPARE(tree->countEnabledCameras(), 2);
    QVERIFY(bandwidth->startMeasuring());
    QVERIFY(bandwidth->isMeasuring());
    QTRY_VERIFY_WITH_TIMEOUT(bandwidth->sampleCount() >= 3, 30000);
    bool measuredManaged = false;
    for (const FlatTreeItem& item : tree->flatTree()->m_items) {
        if (item.isDevice && item.pManagedDevice == w.camera()->device())
            measuredManaged = item.pCamera != nullptr;
    }
    QVERIFY(measuredManaged);
    // Closing the device in the main window takes it out of the measurement first.
    w.closeDevice();
    QCOMPARE(tree->countEnabledCameras(), 1);
    bandwidth->stopMeasuring();
    QVERIFY(!bandwidth->isMeasuring());
}

namespace {

// The first emulated camera open and waiting for a trigger, with every camera ticked in the
// bandwidth window; the trigger is switched off again at the end.
struct TriggeredCamera
{
    void open()
    {
        window.setUnattended(true);
        window.openWhenFound(QStringLiteral("*EMU-0000*"));
        QTRY_VERIFY_WITH_TIMEOUT(window.camera(), 30000);
        triggerMode = dynamic_cast<GenApi::IValue*>(window.camera()->nodeMap()->GetNode("TriggerMode"));
        QVERIFY(triggerMode);
        triggerMode->FromString("On", true);
        bandwidth = window.showBandwidthWindow();
        bandwidth->checkAllCameras();
    }
    ~TriggeredCamera()
    {
        if (bandwidth)
            bandwidth->stopMeasuring();
        if (triggerMode)
            triggerMode->FromString("Off", true);
    }

    MainWindow window;
    GenApi::IValue* triggerMode = nullptr;
    BandwidthWindow* bandwidth = nullptr;
};

} // namespace

void tst_Viewer::measuringTriggeredCameraIsLoggedWhenUnattended()
{
    TriggeredCamera camera;
    camera.open();
    if (QTest::currentTestFailed())
        return;
    QVERIFY(camera.bandwidth->startMeasuring());
    const QStringList log = camera.bandwidth->logLines();
    QVERIFY2(log.size() == 1 && log.first().contains(QLatin1String("EMU-0000")), qPrintable(log.join(QLatin1Char('\n'))));
    QVERIFY(log.first().startsWith(QLatin1String("Measuring triggered cameras")));
}

void tst_Viewer::measuringTriggeredCameraAsksFirstAndCancelKeepsItStopped()
{
    TriggeredCamera camera;
    camera.open();
    if (QTest::currentTestFailed())
        return;
    BandwidthWindow* bandwidth = camera.bandwidth;
    bandwidth->setUnattended(false); // a person at the screen gets the question
    QSignalSpy measuring(bandwidth, &BandwidthWindow::measuringChanged);

    QString question;
    answerNextModalDialog([&question](QWidget* modal) {
        auto* box = qobject_cast<QMessageBox*>(modal);
        if (!box)
            return modal->close(), void();
        question = box->text();
        box->button(QMessageBox::Cancel)->click();
    });
    QVERIFY(!bandwidth->startMeasuring());
    QVERIFY2(question.contains(QLatin1String("EMU-0000")), qPrintable(question));
    QVERIFY(question.endsWith(QLatin1String("Measure anyway?")));
    QCOMPARE(measuring.count(), 0);
    QVERIFY(bandwidth->logLines().isEmpty());

    answerNextModalDialog([](QWidget* modal) {
        if (auto* box = qobject_cast<QMessageBox*>(modal))
            box->button(QMessageBox::Ok)->click();
        else
            modal->close();
    });
    QVERIFY(bandwidth->startMeasuring());
    QCOMPARE(measuring.count(), 1);
}

void tst_Viewer::aboutBoxNamesVersionAndCopyrightYears()
{
    MainWindow w;
    w.setUnattended(true);
    QString dialogName;
    QString title;
    QStringList texts;
    answerNextModalDialog([&](QWidget* modal) {
        dialogName = modal->objectName();
        title = modal->windowTitle();
        for (const QLabel* label : modal->findChildren<QLabel*>())
            texts << label->text();
        modal->close();
    });
    w.showAbout();
    QCOMPARE(dialogName, QStringLiteral("AboutDialog"));
    QCOMPARE(title, QStringLiteral("About tst_viewer"));
    const QString all = texts.join(QLatin1Char('\n'));
    QVERIFY2(all.contains(QStringLiteral(VORLO_VERSION)), qPrintable(all));
    QVERIFY2(all.contains(QLatin1String("2024-2026")), qPrintable(all));
}

void tst_Viewer::settingsRememberLastDeviceAndUserLevel()
{
    {
        MainWindow w;
        w.setUnattended(true);
        w.openWhenFound(QStringLiteral("*EMU-0001*"));
        QTRY_VERIFY_WITH_TIMEOUT(w.camera(), 30000);
        w.featureTree()->setVisibility(GenApi::Expert);
        w.close();
    }
    QSettings settings;
    QVERIFY(settings.value(QStringLiteral("MainWindow/lastDevice")).toString().contains(QLatin1String("EMU-0001")));
    QCOMPARE(settings.value(QStringLiteral("MainWindow/userLevel")).toInt(), int(GenApi::Expert));
    QVERIFY(!settings.value(QStringLiteral("MainWindow/geometry")).toByteArray().isEmpty());
    QVERIFY(!settings.value(QStringLiteral("MainWindow/featureTree")).toByteArray().isEmpty());

    // The next start opens the last device by itself.
    MainWindow again;
    again.setUnattended(true);
    QTRY_VERIFY_WITH_TIMEOUT(again.camera(), 30000);
    QVERIFY(again.openDeviceName().contains(QLatin1String("EMU-0001")));
}

void tst_Viewer::ipConfigurationWritesPersistentAddress()
{
    MainWindow w;
    w.setUnattended(true);
    w.openWhenFound(QStringLiteral("*EMU-0001*"));
    QTRY_VERIFY_WITH_TIMEOUT(w.camera(), 30000);
    QVERIFY(w.findChild<QAction*>(QStringLiteral("actionIpConfiguration"))->isEnabled());
    w.showIpConfiguration();
    auto* dialog = w.findChild<IpAddressWidget*>();
    QVERIFY(dialog);
    QVERIFY(dialog->isVisible());
    QVERIFY(!dialog->ipAddress().isEmpty());
    dialog->setIpAddress(QStringLiteral("192.168.7.42"));
    dialog->setSubnetMask(QStringLiteral("255.255.255.0"));
    dialog->setDefaultGateway(QStringLiteral("0.0.0.0"));
    dialog->accept();
    auto* node = dynamic_cast<GenApi::IInteger*>(w.camera()->nodeMap()->GetNode("GevPersistentIPAddress"));
    QVERIFY(node);
    QCOMPARE(QHostAddress(static_cast<quint32>(node->GetValue(false, false))).toString(),
             QStringLiteral("192.168.7.42"));
    QVERIFY(w.statusBar()->currentMessage().startsWith(QLatin1String("Written: GevPersistentIPAddress")));
    // The feature tree still shows the address read-only.
    QCOMPARE(node->GetAccessMode(), GenApi::RO);
}

void tst_Viewer::ipConfigurationWithoutGigECameraOnlyTells()
{
    MainWindow w;
    w.setUnattended(true);
    w.openWhenFound(QStringLiteral("*EMU-0000*"));
    QTRY_VERIFY_WITH_TIMEOUT(w.camera(), 30000);
    QVERIFY(!w.findChild<QAction*>(QStringLiteral("actionIpConfiguration"))->isEnabled());
    w.showIpConfiguration();
    QVERIFY(!w.findChild<IpAddressWidget*>());
}

void tst_Viewer::imageConversion_data()
{
    QTest::addColumn<int>("pixelType");
    QTest::addColumn<QString>("name");
    QTest::newRow("mono8") << int(Vorlo::PixelType_Mono8) << QStringLiteral("Mono8");
    QTest::newRow("mono12") << int(Vorlo::PixelType_Mono12) << QStringLiteral("Mono12");
    QTest::newRow("rgb8") << int(Vorlo::PixelType_RGB8packed) << QStringLiteral("RGB8");
    QTest::newRow("bayer rg8") << int(Vorlo::PixelType_BayerRG8) << QStringLiteral("BayerRG8");
    QTest::newRow("yuv422") << int(Vorlo::PixelType_YUV422packed) << QStringLiteral("YUV422");
    QTest::newRow("unknown format shows its number") << 0x01234567 << QStringLiteral("0x01234567");
}

void tst_Viewer::imageConversion()
{
    QFETCH(int, pixelType);
    QFETCH(QString, name);
    QCOMPARE(LiveCamera::pixelFormatName(static_cast<Vorlo::EPixelType>(pixelType)), name);
}

void tst_Viewer::smokeRunOpensGrabsMeasuresAndQuitsCleanly()
{
    QTemporaryDir home;
    QVERIFY(home.isValid());
    const RunResult r = runViewer({QStringLiteral("--emulated"), QStringLiteral("2"), QStringLiteral("--open"),
                                   QStringLiteral("*EMU-0001*"), QStringLiteral("--grab"), QStringLiteral("10"),
                                   QStringLiteral("--bandwidth"), QStringLiteral("--measure"), QStringLiteral("2000"),
                                   QStringLiteral("--report"), QStringLiteral("--quit-after"), QStringLiteral("120000")},
                                  home.path());
    QVERIFY2(r.finished, qPrintable(r.err));
    QVERIFY2(r.exitCode == 0, qPrintable(r.out + r.err));
    QCOMPARE(r.report.value(QStringLiteral("complete")), QStringLiteral("1"));
    QVERIFY(r.report.value(QStringLiteral("device")).contains(QLatin1String("EMU-0001")));
    QVERIFY2(r.report.value(QStringLiteral("feature-rows")).toInt() > 5, qPrintable(r.out));
    QCOMPARE(r.report.value(QStringLiteral("frames-grabbed")), QStringLiteral("10"));
    QCOMPARE(r.report.value(QStringLiteral("view-frame-count")), QStringLiteral("10"));
    QVERIFY(r.report.value(QStringLiteral("view-image")) != QLatin1String("0x0"));
    QCOMPARE(r.report.value(QStringLiteral("bandwidth-cameras")), QStringLiteral("2"));
    QCOMPARE(r.report.value(QStringLiteral("bandwidth-enabled")), QStringLiteral("2"));
    QCOMPARE(r.report.value(QStringLiteral("bandwidth-measuring")), QStringLiteral("1"));
    // Two seconds at one sample every 500 ms.
    QVERIFY2(r.report.value(QStringLiteral("bandwidth-samples")).toInt() >= 3, qPrintable(r.out));
    QVERIFY2(r.report.value(QStringLiteral("bandwidth-cameras-with-images")).toInt() >= 1, qPrintable(r.out));
    const QStringList warnings = qtObjectWarnings(r.err);
    QVERIFY2(warnings.isEmpty(), qPrintable(warnings.join(QLatin1Char('\n'))));
}

void tst_Viewer::screenshotRunWritesMainAndBandwidthPictures()
{
    QTemporaryDir home;
    QVERIFY(home.isValid());
    const QString file = home.filePath(QStringLiteral("shots/viewer.png"));
    const RunResult r = runViewer({QStringLiteral("--emulated"), QStringLiteral("2"), QStringLiteral("--screenshot"),
                                   file, QStringLiteral("--quit-after"), QStringLiteral("120000")},
                                  home.path());
    QVERIFY2(r.finished && r.exitCode == 0, qPrintable(r.out + r.err));
    const QImage main(file);
    const QImage bandwidth(home.filePath(QStringLiteral("shots/viewer-bandwidth.png")));
    QVERIFY(!main.isNull());
    QVERIFY(!bandwidth.isNull());
    QVERIFY(main.width() > 600 && main.height() > 400);
    QVERIFY(bandwidth.width() > 400);
}

void tst_Viewer::timeLimitEndsRunWithUnopenableDeviceWithExitCodeOne()
{
    QTemporaryDir home;
    QVERIFY(home.isValid());
    const RunResult r = runViewer({QStringLiteral("--emulated"), QStringLiteral("1"), QStringLiteral("--open"),
                                   QStringLiteral("NoSuchCamera"), QStringLiteral("--report"),
                                   QStringLiteral("--quit-after"), QStringLiteral("3000")},
                                  home.path());
    QVERIFY(r.finished);
    QCOMPARE(r.exitCode, 1);
    QCOMPARE(r.report.value(QStringLiteral("complete")), QStringLiteral("0"));
    QVERIFY(r.report.value(QStringLiteral("device")).isEmpty());
}

void tst_Viewer::badNumberOnCommandLineIsRejected()
{
    QTemporaryDir home;
    QVERIFY(home.isValid());
    const RunResult r = runViewer({QStringLiteral("--grab"), QStringLiteral("many")}, home.path());
    QVERIFY(r.finished);
    QCOMPARE(r.exitCode, 2);
    QVERIFY(r.err.contains(QLatin1String("--grab")));
}

QTEST_MAIN(tst_Viewer)
#include "tst_viewer.moc"
