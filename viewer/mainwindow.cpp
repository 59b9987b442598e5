#include "mainwindow.h"

#include "bandwidthwindow.h"
#include "imageview.h"
#include "livecamera.h"

#include <VorloQtBase/exceptionhandling.h>
#include <VorloQtBase/formatdevicename.h>
#include <VorloQtWidgets/aboutdialog.h>
#include <VorloQtWidgets/devicetreewidget.h>
#include <VorloQtWidgets/featuretreewidget.h>
#include <VorloQtWidgets/ifeaturetreemodelextension.h>
#include <VorloQtWidgets/ipaddresswidget.h>
#include <VorloQtWidgets/vorloqtstockimage.h>

#include <QAbstractProxyModel>
#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QHostAddress>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QSettings>
#include <QSplitter>
#include <QStatusBar>
#include <QStyle>
#include <QTextBrowser>
#include <QToolBar>
#include <QVBoxLayout>

#ifndef VORLO_VERSION
#define VORLO_VERSION "0.0.0"
#endif

namespace {

const int TreeStateVersion = 1;
const char* const SettingsGroup = "MainWindow";

// The node map names under which the feature tree keeps favorites; they must stay the same
// across runs and must not contain '*'.
const char* const CameraRole = "Camera";
const char* const TransportLayerRole = "TransportLayer";
const char* const StreamGrabberRole = "StreamGrabber";

QString fromGc(const GenICam::gcstring& text)
{
    return QString::fromUtf8(text.c_str());
}

template<class T>
T* findNode(GenApi::INodeMap* nodeMap, const char* name)
{
    if (!nodeMap)
        return nullptr;
    return dynamic_cast<T*>(nodeMap->GetNode(name));
}

// GigE Vision keeps addresses as 32-bit numbers, most significant byte first.
QString addressText(GenApi::INodeMap* nodeMap, const char* name)
{
    auto* node = findNode<GenApi::IInteger>(nodeMap, name);
    if (!GenApi::IsReadable(node))
        return QString();
    return QHostAddress(static_cast<quint32>(node->GetValue(false, false))).toString();
}

QString macText(GenApi::INodeMap* nodeMap)
{
    auto* node = findNode<GenApi::IInteger>(nodeMap, "GevMACAddress");
    if (!GenApi::IsReadable(node))
        return QString();
    const quint64 value = static_cast<quint64>(node->GetValue(false, false));
    QStringList bytes;
    for (int shift = 40; shift >= 0; shift -= 8)
        bytes << QStringLiteral("%1").arg((value >> shift) & 0xff, 2, 16, QLatin1Char('0')).toUpper();
    return bytes.join(QLatin1Char(':'));
}

// Writes one address feature; returns false when the camera has no writable feature of that name.
// The feature tree's filter shows the persistent addresses read-only, so that they change only
// through this dialog: the imposed mode is lifted for the write and put back afterwards.
bool writeAddress(GenApi::INodeMap* nodeMap, const char* name, const QString& text)
{
    auto* value = findNode<GenApi::IInteger>(nodeMap, name);
    auto* node = dynamic_cast<GenApi::INode*>(value);
    if (!value || !node)
        return false;
    const bool imposed = !GenApi::IsWritable(value);
    if (imposed)
        node->ImposeAccessMode(GenApi::RW);
    struct Restore
    {
        GenApi::INode* node;
        bool active;
        ~Restore()
        {
            if (active)
                node->ImposeAccessMode(GenApi::RO);
        }
    } restore{node, imposed};
    if (!GenApi::IsWritable(value))
        return false;
    value->SetValue(static_cast<int64_t>(QHostAddress(text).toIPv4Address()), true);
    return true;
}

QString escaped(const QString& text)
{
    return text.toHtmlEscaped().replace(QLatin1Char('\n'), QStringLiteral("<br>"));
}

} // namespace

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent)
    , m_deviceTree(new DeviceTreeWidget(nullptr, false))
    , m_description(new QTextBrowser)
    , m_imageView(new ImageView)
    , m_mainSplitter(new QSplitter(Qt::Horizontal, this))
    , m_leftSplitter(new QSplitter(Qt::Vertical))
    , m_featureSplitter(new QSplitter(Qt::Vertical))
    , m_frameStatus(new QLabel)
{
    setObjectName(QStringLiteral("mainWindow"));
    setWindowTitle(QCoreApplication::applicationName());
    setWindowIcon(QIcon(getVorloStockImage(StockIcon_Info32)));

    m_deviceTree->setObjectName(QStringLiteral("deviceTree"));
    m_description->setObjectName(QStringLiteral("descriptionPane"));
    m_description->setOpenExternalLinks(true);
    m_description->setPlaceholderText(tr("The description of the selected feature appears here."));
    m_mainSplitter->setObjectName(QStringLiteral("mainSplitter"));
    m_leftSplitter->setObjectName(QStringLiteral("leftSplitter"));
    m_featureSplitter->setObjectName(QStringLiteral("featureSplitter"));
    m_frameStatus->setObjectName(QStringLiteral("frameStatus"));

    m_featureSplitter->addWidget(m_description);
    m_featureSplitter->setStretchFactor(0, 5);
    m_featureSplitter->setStretchFactor(1, 1);
    m_leftSplitter->addWidget(m_deviceTree);
    m_leftSplitter->addWidget(m_featureSplitter);
    m_leftSplitter->setStretchFactor(0, 1);
    m_leftSplitter->setStretchFactor(1, 4);
    m_mainSplitter->addWidget(m_leftSplitter);
    m_mainSplitter->addWidget(m_imageView);
    m_mainSplitter->setStretchFactor(0, 2);
    m_mainSplitter->setStretchFactor(1, 3);
    setCentralWidget(m_mainSplitter);
    statusBar()->addPermanentWidget(m_frameStatus);

    createActions();

    // Opening runs from the event loop: the device tree emits deviceOpenRequest with its
    // snapshot's lock held when it opens a device by name.
    connect(m_deviceTree, &DeviceTreeWidget::deviceOpenRequest, this, &MainWindow::openCurrentDevice,
            Qt::QueuedConnection);
    connect(m_deviceTree, &DeviceTreeWidget::currentDeviceChanged, this, &MainWindow::onCurrentDeviceChanged);
    connect(m_deviceTree, &DeviceTreeWidget::deviceListChanged, this, &MainWindow::updateActions);
    connect(m_imageView, &ImageView::statusChanged, m_frameStatus, &QLabel::setText);
    m_frameStatus->setText(m_imageView->statusText());

    restoreSettings();
    updateActions();
    // Scan at once rather than after the first period of the scan timer.
    m_deviceTree->refresh(false);
}

MainWindow::~MainWindow()
{
    if (m_bandwidthWindow)
        delete m_bandwidthWindow.data();
    tearDownCamera(false);
}

void MainWindow::createActions()
{
    QStyle* s = style();
    auto make = [this](const char* name, const QIcon& icon, const QString& text, const QKeySequence& key,
                       const QString& tip) {
        auto* action = new QAction(icon, text, this);
        action->setObjectName(QLatin1String(name));
        action->setShortcut(key);
        action->setStatusTip(tip);
        return action;
    };
    m_actionOpen = make("actionOpen", s->standardIcon(QStyle::SP_DialogOpenButton), tr("&Open Device"),
                        QKeySequence(Qt::CTRL | Qt::Key_O), tr("Opens the selected device."));
    m_actionClose = make("actionClose", s->standardIcon(QStyle::SP_DialogCloseButton), tr("&Close Device"),
                         QKeySequence(Qt::CTRL | Qt::Key_W), tr("Closes the open device."));
    m_actionSingle = make("actionSingleShot", s->standardIcon(QStyle::SP_MediaSeekForward), tr("&Single Shot"),
                          QKeySequence(Qt::Key_F6), tr("Grabs one image."));
    m_actionContinuous = make("actionContinuousShot", s->standardIcon(QStyle::SP_MediaPlay),
                              tr("C&ontinuous Shot"), QKeySequence(Qt::Key_F7), tr("Grabs images until stopped."));
    m_actionStop = make("actionStopGrab", s->standardIcon(QStyle::SP_MediaStop), tr("S&top Grab"),
                        QKeySequence(Qt::Key_F8), tr("Stops grabbing."));
    m_actionBandwidth = make("actionBandwidthManager", s->standardIcon(QStyle::SP_ComputerIcon),
                             tr("&Bandwidth Manager..."), QKeySequence(Qt::CTRL | Qt::Key_B),
                             tr("Measures and limits the bandwidth of the cameras."));
    m_actionIp = make("actionIpConfiguration", s->standardIcon(QStyle::SP_DriveNetIcon),
                      tr("&IP Configuration..."), QKeySequence(),
                      tr("Sets the persistent IP configuration of the open GigE Vision camera."));
    m_actionRefresh = make("actionRefreshDevices", s->standardIcon(QStyle::SP_BrowserReload),
                           tr("&Refresh Devices"), QKeySequence(Qt::CTRL | Qt::Key_F5),
                           tr("Scans for devices now."));
    m_actionAbout = make("actionAbout", s->standardIcon(QStyle::SP_MessageBoxInformation), tr("&About..."),
                         QKeySequence(), tr("Shows the version of the viewer."));
    m_actionQuit = make("actionQuit", QIcon(), tr("&Quit"), QKeySequence::Quit, tr("Quits the viewer."));

    connect(m_actionOpen, &QAction::triggered, this, &MainWindow::openCurrentDevice);
    connect(m_actionClose, &QAction::triggered, this, &MainWindow::closeDevice);
    connect(m_actionSingle, &QAction::triggered, this, &MainWindow::singleShot);
    connect(m_actionContinuous, &QAction::triggered, this, &MainWindow::startContinuous);
    connect(m_actionStop, &QAction::triggered, this, &MainWindow::stopGrabbing);
    connect(m_actionBandwidth, &QAction::triggered, this, &MainWindow::showBandwidthWindow);
    connect(m_actionIp, &QAction::triggered, this, &MainWindow::showIpConfiguration);
    connect(m_actionRefresh, &QAction::triggered, m_deviceTree, &DeviceTreeWidget::onActionRefresh);
    connect(m_actionAbout, &QAction::triggered, this, &MainWindow::showAbout);
    connect(m_actionQuit, &QAction::triggered, this, &QWidget::close);

    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->addAction(m_actionOpen);
    file->addAction(m_actionClose);
    file->addAction(m_actionRefresh);
    file->addSeparator();
    file->addAction(m_actionQuit);
    QMenu* camera = menuBar()->addMenu(tr("&Camera"));
    camera->addAction(m_actionSingle);
    camera->addAction(m_actionContinuous);
    camera->addAction(m_actionStop);
    QMenu* tools = menuBar()->addMenu(tr("&Tools"));
    tools->addAction(m_actionBandwidth);
    tools->addAction(m_actionIp);
    QMenu* help = menuBar()->addMenu(tr("&Help"));
    help->addAction(m_actionAbout);

    QToolBar* bar = addToolBar(tr("Camera"));
    bar->setObjectName(QStringLiteral("cameraToolBar"));
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    bar->addAction(m_actionOpen);
    bar->addAction(m_actionClose);
    bar->addSeparator();
    bar->addAction(m_actionSingle);
    bar->addAction(m_actionContinuous);
    bar->addAction(m_actionStop);
    bar->addSeparator();
    bar->addAction(m_actionBandwidth);
    bar->addAction(m_actionIp);
}

// Each device gets a fresh widget. Clearing the old one would empty its rows, but its model
// keeps an entry for every node map it was ever given; a fresh model starts with none. The old
// widget goes together with its model and proxy, which the view leaves to the application.
// This runs while the old device is still open, so that the rows can deregister their node
// callbacks.
void MainWindow::replaceFeatureTree()
{
    const int index = m_featureSplitter->indexOf(m_featureTree);
    if (m_featureTree) {
        rememberFeatureTreeSettings();
        QAbstractItemModel* proxy = m_featureTree->treeView()->model();
        auto* filter = qobject_cast<QAbstractProxyModel*>(proxy);
        QAbstractItemModel* model = filter ? filter->sourceModel() : nullptr;
        delete m_featureTree;
        m_featureTree = nullptr;
        delete proxy;
        delete model;
    }
    m_featureTree = new FeatureTreeWidget(QStringLiteral("CameraFeatures"), nullptr, m_visibility, false);
    m_featureTree->setObjectName(QStringLiteral("featureTree"));
    m_featureSplitter->insertWidget(index >= 0 ? index : 0, m_featureTree);
    if (!m_featureTreeState.isEmpty())
        m_featureTree->restoreState(m_featureTreeState, TreeStateVersion);
    m_featureTree->setVisibility(m_visibility);
    m_featureTree->setPolling(m_polling);
    connect(m_featureTree, QOverload<GenApi::INode*>::of(&FeatureTreeWidget::onCurrentChanged), this,
            &MainWindow::onCurrentNodeChanged);
    connect(m_featureTree, &FeatureTreeWidget::onNewText, this, &MainWindow::onNewText);
    // The widget only reports the switch; the application decides.
    connect(m_featureTree, &FeatureTreeWidget::pollingStateChanged, this, [this](bool enabled) {
        m_polling = enabled;
        m_featureTree->setPolling(enabled);
    });
    connect(m_featureTree, &FeatureTreeWidget::visibilityChanged, this,
            [this](GenApi::EVisibility visibility) { m_visibility = visibility; });
}

// The user level can change without a signal (setVisibility from the program), so it is read
// back from the model.
void MainWindow::rememberFeatureTreeSettings()
{
    m_featureTreeState = m_featureTree->saveState(TreeStateVersion);
    if (const IFeatureTreeModelExtension* extension = m_featureTree->getFeatureExtension()) {
        const GenApi::EVisibility visibility = extension->getVisibility();
        if (visibility >= GenApi::Beginner && visibility <= GenApi::Guru)
            m_visibility = visibility;
    }
    m_polling = m_featureTree->getPolling();
}

void MainWindow::restoreSettings()
{
    QSettings settings;
    settings.beginGroup(QLatin1String(SettingsGroup));
    const QByteArray geometry = settings.value(QStringLiteral("geometry")).toByteArray();
    if (geometry.isEmpty() || !restoreGeometry(geometry))
        resize(1200, 800);
    restoreState(settings.value(QStringLiteral("windowState")).toByteArray());
    if (!m_mainSplitter->restoreState(settings.value(QStringLiteral("mainSplitter")).toByteArray()))
        m_mainSplitter->setSizes({460, 740});
    if (!m_leftSplitter->restoreState(settings.value(QStringLiteral("leftSplitter")).toByteArray()))
        m_leftSplitter->setSizes({160, 560});
    if (!m_featureSplitter->restoreState(settings.value(QStringLiteral("featureSplitter")).toByteArray()))
        m_featureSplitter->setSizes({440, 120});
    m_deviceTree->restoreState(settings.value(QStringLiteral("deviceTree")).toByteArray(), TreeStateVersion);
    m_featureTreeState = settings.value(QStringLiteral("featureTree")).toByteArray();
    const int level = settings.value(QStringLiteral("userLevel"), int(GenApi::Beginner)).toInt();
    if (level >= GenApi::Beginner && level <= GenApi::Guru)
        m_visibility = static_cast<GenApi::EVisibility>(level);
    m_polling = settings.value(QStringLiteral("polling"), true).toBool();
    replaceFeatureTree();
    const QString lastDevice = settings.value(QStringLiteral("lastDevice")).toString();
    settings.endGroup();
    if (!lastDevice.isEmpty())
        m_deviceTree->selectByNameAsync(lastDevice, true);
}

void MainWindow::saveSettings()
{
    QSettings settings;
    settings.beginGroup(QLatin1String(SettingsGroup));
    settings.setValue(QStringLiteral("geometry"), saveGeometry());
    settings.setValue(QStringLiteral("windowState"), saveState());
    settings.setValue(QStringLiteral("mainSplitter"), m_mainSplitter->saveState());
    settings.setValue(QStringLiteral("leftSplitter"), m_leftSplitter->saveState());
    settings.setValue(QStringLiteral("featureSplitter"), m_featureSplitter->saveState());
    settings.setValue(QStringLiteral("deviceTree"), m_deviceTree->saveState(TreeStateVersion));
    rememberFeatureTreeSettings();
    settings.setValue(QStringLiteral("featureTree"), m_featureTreeState);
    settings.setValue(QStringLiteral("userLevel"), int(m_visibility));
    settings.setValue(QStringLiteral("polling"), m_polling);
    // The last device is written when it opens, so that a closed one is still opened next time.
    settings.endGroup();
}

BandwidthWindow* MainWindow::bandwidthWindow() const
{
    return m_bandwidthWindow.data();
}

QString MainWindow::openDeviceName() const
{
    return m_camera ? formatDeviceName(&m_camera->deviceInfo()) : QString();
}

void MainWindow::setUnattended(bool unattended)
{
    m_unattended = unattended;
    if (m_bandwidthWindow)
        m_bandwidthWindow->setUnattended(unattended);
}

void MainWindow::openWhenFound(const QString& pattern)
{
    m_deviceTree->selectByNameAsync(pattern, false);
    m_deviceTree->refresh(false);
}

void MainWindow::onCurrentDeviceChanged(const Vorlo::CDeviceInfo* info)
{
    if (info)
        m_currentInfo = std::make_unique<Vorlo::CDeviceInfo>(*info);
    else
        m_currentInfo.reset();
    updateActions();
}

void MainWindow::openCurrentDevice()
{
    if (!m_currentInfo)
        return;
    const Vorlo::CDeviceInfo info = *m_currentInfo;
    if (m_camera && m_camera->deviceInfo() == info)
        return;
    tearDownCamera(false);

    const QString name = formatDeviceName(&info);
    statusBar()->showMessage(tr("Opening %1...").arg(name));
    QApplication::setOverrideCursor(Qt::WaitCursor);
    std::unique_ptr<LiveCamera> camera;
    const QString failure = tr("Failed to open the device %1.").arg(name);
    const bool opened = m_unattended
        ? VorloQtBase::guarded("openCurrentDevice", failure, [&] { camera = std::make_unique<LiveCamera>(info); })
        : VorloQtBase::guardedShown("openCurrentDevice", failure, failure, this,
                                    [&] { camera = std::make_unique<LiveCamera>(info); });
    QApplication::restoreOverrideCursor();
    if (!opened || !camera) {
        statusBar()->showMessage(failure, 10000);
        return;
    }
    m_camera = std::move(camera);
    connect(m_camera.get(), &LiveCamera::frameReady, m_imageView, &ImageView::showFrame);
    connect(m_camera.get(), &LiveCamera::grabFailed, this,
            [this](const QString& message) { statusBar()->showMessage(message, 5000); });
    connect(m_camera.get(), &LiveCamera::grabbingStopped, this, &MainWindow::onGrabbingStopped);
    connect(m_camera.get(), &LiveCamera::deviceRemoved, this, &MainWindow::onDeviceRemoved);

    m_deviceTree->onOpenDevice(m_camera->device());
    const Vorlo::CDeviceInfo& openInfo = m_camera->deviceInfo();
    const bool utf8 = IsUtf8Device(&openInfo);
    m_featureTree->addNodeMap(m_camera->nodeMap(), name, QLatin1String(CameraRole), utf8);
    if (GenApi::INodeMap* tl = m_camera->transportLayerNodeMap())
        m_featureTree->addNodeMap(tl, tr("Transport Layer"), QLatin1String(TransportLayerRole), utf8);
    if (GenApi::INodeMap* stream = m_camera->streamGrabberNodeMap())
        m_featureTree->addNodeMap(stream, tr("Stream Parameters"), QLatin1String(StreamGrabberRole), utf8);
    m_featureTree->expandRootNodes();

    m_imageView->clear();
    m_imageView->setMessage(tr("%1 is open. Press Single Shot or Continuous Shot.").arg(name));
    setWindowTitle(QStringLiteral("%1 - %2").arg(name, QCoreApplication::applicationName()));
    statusBar()->showMessage(tr("Opened %1").arg(name), 5000);

    QSettings settings;
    settings.setValue(QStringLiteral("%1/lastDevice").arg(QLatin1String(SettingsGroup)),
                      formatDeviceName(&openInfo, FormatDeviceNameDefault));

    if (m_bandwidthWindow)
        m_bandwidthWindow->setManagedDevices({m_camera->device()});
    updateActions();
    emit deviceOpened(name);
}

void MainWindow::closeDevice()
{
    if (!m_camera)
        return;
    const QString name = openDeviceName();
    tearDownCamera(false);
    statusBar()->showMessage(tr("Closed %1").arg(name), 5000);
}

// Everything that refers to the device lets go of it before the device goes: the bandwidth
// view's managed camera, the feature tree's nodes, the device tree's pointer.
void MainWindow::tearDownCamera(bool removed)
{
    if (!m_camera)
        return;
    Vorlo::IVorloDevice* device = m_camera->device();
    const QString fullName = fromGc(m_camera->deviceInfo().GetFullName());
    VorloQtBase::guarded("tearDownCamera", tr("Failed to stop grabbing"), [&] { m_camera->stopGrabbing(); });
    if (m_bandwidthWindow)
        m_bandwidthWindow->releaseManagedDevice(device);
    m_featureTree->deviceIsClosed();
    replaceFeatureTree();
    m_description->clear();
    m_deviceTree->onCloseDevice(device);
    m_camera->disconnect(this);
    m_camera->disconnect(m_imageView);
    VorloQtBase::guarded("tearDownCamera", tr("Failed to close the device"), [&] { m_camera.reset(); });
    m_camera.reset();
    if (removed)
        m_deviceTree->onSurpriseRemoved(fullName, QString());
    m_imageView->clear();
    setWindowTitle(QCoreApplication::applicationName());
    updateActions();
    emit deviceClosed();
}

void MainWindow::onDeviceRemoved()
{
    if (!m_camera)
        return;
    const QString name = openDeviceName();
    tearDownCamera(true);
    const QString text = tr("The device %1 has been removed. Its view was closed.").arg(name);
    m_imageView->setMessage(text);
    statusBar()->showMessage(text);
    showMessage(tr("Device Removed"), text, true);
}

void MainWindow::showMessage(const QString& title, const QString& text, bool warning)
{
    if (m_unattended) {
        qInfo("%s: %s", qPrintable(title), qPrintable(text));
        return;
    }
    // Not modal: the viewer goes on updating while the message stands.
    auto* box = new QMessageBox(warning ? QMessageBox::Warning : QMessageBox::Information, title, text,
                                QMessageBox::Ok, this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

void MainWindow::singleShot()
{
    grabFrames(1);
}

void MainWindow::grabFrames(int count)
{
    if (!m_camera || count <= 0)
        return;
    if (m_bandwidthWindow && m_bandwidthWindow->isMeasuring())
        m_bandwidthWindow->stopMeasuring();
    VorloQtBase::guardedShown("grabFrames", tr("Failed to grab"), tr("Failed to grab images."), this,
                              [&] { m_camera->grabFrames(static_cast<size_t>(count)); });
    updateActions();
}

void MainWindow::startContinuous()
{
    if (!m_camera)
        return;
    if (m_bandwidthWindow && m_bandwidthWindow->isMeasuring())
        m_bandwidthWindow->stopMeasuring();
    VorloQtBase::guardedShown("startContinuous", tr("Failed to start grabbing"), tr("Failed to start grabbing."),
                              this, [&] { m_camera->startContinuous(); });
    updateActions();
}

void MainWindow::stopGrabbing()
{
    if (!m_camera)
        return;
    VorloQtBase::guarded("stopGrabbing", tr("Failed to stop grabbing"), [&] { m_camera->stopGrabbing(); });
    updateActions();
}

void MainWindow::onGrabbingStopped()
{
    updateActions();
}

void MainWindow::onBandwidthMeasuringChanged(bool measuring)
{
    Q_UNUSED(measuring)
    updateActions();
}

BandwidthWindow* MainWindow::showBandwidthWindow()
{
    if (!m_bandwidthWindow) {
        m_bandwidthWindow = new BandwidthWindow(this);
        m_bandwidthWindow->setUnattended(m_unattended);
        connect(m_bandwidthWindow.data(), &BandwidthWindow::aboutToStartMeasuring, this, [this] {
            // The live view and the measurement cannot share the device's stream.
            if (m_camera && m_camera->isGrabbing()) {
                stopGrabbing();
                statusBar()->showMessage(tr("Live view stopped: the bandwidth manager measures the cameras."), 10000);
            }
        });
        connect(m_bandwidthWindow.data(), &BandwidthWindow::measuringChanged, this,
                &MainWindow::onBandwidthMeasuringChanged);
        if (m_camera)
            m_bandwidthWindow->setManagedDevices({m_camera->device()});
    }
    m_bandwidthWindow->show();
    m_bandwidthWindow->raise();
    m_bandwidthWindow->activateWindow();
    return m_bandwidthWindow;
}

void MainWindow::showIpConfiguration()
{
    GenApi::INodeMap* nodeMap = m_camera ? m_camera->nodeMap() : nullptr;
    if (!nodeMap || !nodeMap->GetNode("GevPersistentIPAddress")) {
        showMessage(tr("IP Configuration"), tr("The IP configuration needs an open GigE Vision camera."), false);
        return;
    }
    auto* dialog = new IpAddressWidget(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setShowMacAddress(true);
    dialog->setHeaderText(tr("Persistent IP configuration of %1").arg(openDeviceName()));
    VorloQtBase::guarded("showIpConfiguration", tr("Failed to read the IP configuration"), [&] {
        QString ip = addressText(nodeMap, "GevPersistentIPAddress");
        if (ip.isEmpty() || ip == QLatin1String("0.0.0.0"))
            ip = addressText(nodeMap, "GevCurrentIPAddress");
        QString mask = addressText(nodeMap, "GevPersistentSubnetMask");
        if (mask.isEmpty() || mask == QLatin1String("0.0.0.0"))
            mask = addressText(nodeMap, "GevCurrentSubnetMask");
        QString gateway = addressText(nodeMap, "GevPersistentDefaultGateway");
        if (gateway.isEmpty())
            gateway = addressText(nodeMap, "GevCurrentDefaultGateway");
        dialog->setMacAddress(macText(nodeMap));
        dialog->setIpAddress(ip);
        if (!mask.isEmpty())
            dialog->setSubnetMask(mask);
        if (!gateway.isEmpty())
            dialog->setDefaultGateway(gateway);
    });
    Vorlo::IVorloDevice* device = m_camera->device();
    connect(dialog, &QDialog::accepted, this, [this, dialog, device] {
        // The camera may have been closed or replaced while the dialog was open.
        if (!m_camera || m_camera->device() != device)
            return;
        GenApi::INodeMap* map = m_camera->nodeMap();
        QStringList written;
        QStringList missing;
        const bool ok = VorloQtBase::guardedShown(
            "showIpConfiguration", tr("Failed to write the IP configuration"),
            tr("Failed to write the IP configuration."), this, [&] {
                const struct
                {
                    const char* feature;
                    QString value;
                } entries[] = {{"GevPersistentIPAddress", dialog->ipAddress()},
                               {"GevPersistentSubnetMask", dialog->subnetMask()},
                               {"GevPersistentDefaultGateway", dialog->defaultGateway()}};
                for (const auto& entry : entries)
                    (writeAddress(map, entry.feature, entry.value) ? written : missing)
                        << QLatin1String(entry.feature);
                auto* usePersistent = findNode<GenApi::IBoolean>(map, "GevCurrentIPConfigurationPersistentIP");
                if (GenApi::IsWritable(usePersistent)) {
                    usePersistent->SetValue(true, true);
                    written << QStringLiteral("GevCurrentIPConfigurationPersistentIP");
                }
            });
        if (!ok)
            return;
        QString text = tr("Written: %1.").arg(written.join(QStringLiteral(", ")));
        if (!missing.isEmpty())
            text += QLatin1Char(' ') + tr("This camera has no writable %1.").arg(missing.join(QStringLiteral(", ")));
        statusBar()->showMessage(text, 10000);
        m_featureTree->Refresh();
    });
    dialog->open();
}

void MainWindow::showAbout()
{
    AboutDialog about(this);
    about.setProductVersion(QStringLiteral(VORLO_VERSION));
    about.setCopyrightTimeRange(QStringLiteral("2024-2026"));
    about.exec();
}

void MainWindow::onCurrentNodeChanged(GenApi::INode* node)
{
    if (!node) {
        m_description->clear();
        return;
    }
    QString html;
    VorloQtBase::guarded("onCurrentNodeChanged", tr("Failed to read the description of a feature"), [&] {
        const QString display = fromGc(node->GetDisplayName());
        const QString name = fromGc(node->GetName());
        const QString toolTip = fromGc(node->GetToolTip());
        const QString description = fromGc(node->GetDescription());
        const QString docu = fromGc(node->GetDocuURL());
        html = QStringLiteral("<b>%1</b>").arg(escaped(display.isEmpty() ? name : display));
        if (!display.isEmpty() && display != name)
            html += QStringLiteral(" <span style=\"color:gray\">(%1)</span>").arg(escaped(name));
        if (!toolTip.isEmpty())
            html += QStringLiteral("<p>%1</p>").arg(escaped(toolTip));
        if (!description.isEmpty() && description != toolTip)
            html += QStringLiteral("<p>%1</p>").arg(escaped(description));
        if (!docu.isEmpty())
            html += QStringLiteral("<p><a href=\"%1\">%2</a></p>").arg(docu.toHtmlEscaped(), tr("Documentation"));
    });
    m_description->setHtml(html);
}

void MainWindow::onNewText(const QString& text)
{
    m_description->setHtml(QStringLiteral("<p>%1</p>").arg(escaped(text)));
}

void MainWindow::updateActions()
{
    const bool open = m_camera != nullptr;
    const bool grabbing = open && m_camera->isGrabbing();
    m_actionOpen->setEnabled(m_currentInfo != nullptr && !(open && m_camera->deviceInfo() == *m_currentInfo));
    m_actionClose->setEnabled(open);
    m_actionSingle->setEnabled(open && !grabbing);
    m_actionContinuous->setEnabled(open && !grabbing);
    m_actionStop->setEnabled(grabbing);
    m_actionIp->setEnabled(open && m_camera->nodeMap() && m_camera->nodeMap()->GetNode("GevPersistentIPAddress"));
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    saveSettings();
    if (m_bandwidthWindow)
        m_bandwidthWindow->close();
    tearDownCamera(false);
    QMainWindow::closeEvent(event);
}
