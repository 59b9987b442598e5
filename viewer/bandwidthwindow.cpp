#include "bandwidthwindow.h"

#include <VorloQtBase/exceptionhandling.h>
#include <VorloQtWidgets/bandwidthflattree.h>
#include <VorloQtWidgets/bandwidthtreewidget.h>
#include <VorloQtWidgets/messageboxcheckable.h>

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSettings>
#include <QSplitter>
#include <QTimer>
#include <QTreeWidgetItemIterator>
#include <QVBoxLayout>

namespace {
const char* const SettingsGroup = "BandwidthWindow";
const int SampleIntervalMs = 500;
}

BandwidthWindow::BandwidthWindow(QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_tree(new BandwidthTreeWidget(this))
    , m_log(new QPlainTextEdit(this))
    , m_startButton(new QPushButton(tr("&Start Measuring"), this))
    , m_stopButton(new QPushButton(tr("S&top Measuring"), this))
    , m_refreshButton(new QPushButton(tr("&Refresh"), this))
    , m_status(new QLabel(this))
    , m_splitter(new QSplitter(Qt::Vertical, this))
    , m_sampleTimer(new QTimer(this))
{
    setObjectName(QStringLiteral("bandwidthWindow"));
    setWindowTitle(tr("Bandwidth Manager"));
    m_tree->setObjectName(QStringLiteral("bandwidthTree"));
    m_log->setObjectName(QStringLiteral("bandwidthLog"));
    m_log->setReadOnly(true);
    m_log->setPlaceholderText(tr("Errors of the measured cameras appear here."));
    m_log->setMaximumBlockCount(1000);
    m_startButton->setObjectName(QStringLiteral("startButton"));
    m_stopButton->setObjectName(QStringLiteral("stopButton"));
    m_refreshButton->setObjectName(QStringLiteral("refreshButton"));
    m_status->setObjectName(QStringLiteral("statusLabel"));

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_startButton);
    buttons->addWidget(m_stopButton);
    buttons->addWidget(m_refreshButton);
    buttons->addSpacing(12);
    buttons->addWidget(m_status, 1);

    m_splitter->addWidget(m_tree);
    m_splitter->addWidget(m_log);
    m_splitter->setStretchFactor(0, 4);
    m_splitter->setStretchFactor(1, 1);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(buttons);
    layout->addWidget(m_splitter, 1);

    QSettings settings;
    settings.beginGroup(QLatin1String(SettingsGroup));
    m_tree->restoreLayout(&settings);
    // Every transport layer of the SDK is measured: USB, GigE Vision (with its network
    // interfaces) and the emulation.
    m_tree->ActivateGigE();
    GenICam::gcstring_vector deviceClasses;
    deviceClasses.push_back(Vorlo::DeviceClassCamEmu);
    deviceClasses.push_back(Vorlo::DeviceClassGigE);
    deviceClasses.push_back(Vorlo::DeviceClassUsb);
    m_tree->setUsableDeviceClasses(deviceClasses);
    const QByteArray geometry = settings.value(QStringLiteral("geometry")).toByteArray();
    if (geometry.isEmpty() || !restoreGeometry(geometry))
        resize(980, 520);
    m_splitter->restoreState(settings.value(QStringLiteral("splitter")).toByteArray());
    settings.endGroup();

    connect(m_tree, &BandwidthTreeWidget::cameraChecked, this, &BandwidthWindow::onCameraChecked);
    connect(m_tree, &BandwidthTreeWidget::errorOccurred, this, &BandwidthWindow::onErrorOccurred);
    connect(m_startButton, &QPushButton::clicked, this, &BandwidthWindow::startMeasuring);
    connect(m_stopButton, &QPushButton::clicked, this, &BandwidthWindow::stopMeasuring);
    connect(m_refreshButton, &QPushButton::clicked, this, &BandwidthWindow::refresh);
    m_sampleTimer->setInterval(SampleIntervalMs);
    connect(m_sampleTimer, &QTimer::timeout, this, &BandwidthWindow::sample);

    refresh();
}

BandwidthWindow::~BandwidthWindow()
{
    m_sampleTimer->stop();
    if (m_measuring)
        m_tree->StopMeasuring();
    QSettings settings;
    settings.beginGroup(QLatin1String(SettingsGroup));
    m_tree->saveLayout(&settings);
    settings.setValue(QStringLiteral("geometry"), saveGeometry());
    settings.setValue(QStringLiteral("splitter"), m_splitter->saveState());
    settings.endGroup();
}

QStringList BandwidthWindow::logLines() const
{
    const QString text = m_log->toPlainText();
    return text.isEmpty() ? QStringList() : text.split(QLatin1Char('\n'));
}

void BandwidthWindow::setManagedDevices(const QVector<Vorlo::IVorloDevice*>& devices)
{
    if (devices == m_managedDevices)
        return;
    m_managedDevices = devices;
    refresh();
}

void BandwidthWindow::releaseManagedDevice(Vorlo::IVorloDevice* device)
{
    if (!m_managedDevices.removeOne(device))
        return;
    VorloQtBase::guarded("releaseManagedDevice", tr("Failed to release a device from the bandwidth view"),
                         [&] { m_tree->RemoveExternallyManagedVorloDevice(device); });
    updateControls();
}

void BandwidthWindow::refresh()
{
    const bool wasMeasuring = m_measuring;
    if (wasMeasuring)
        stopMeasuring();
    VorloQtBase::guarded("refresh", tr("Failed to refresh the bandwidth view"), [&] {
        m_tree->setPreopenedDevices(&m_managedDevices);
        m_tree->refreshTree();
    });
    fitCameraColumn();
    updateControls();
    if (wasMeasuring)
        startMeasuring();
}

bool BandwidthWindow::startMeasuring()
{
    if (m_measuring)
        return true;
    QList<QString> softwareTriggered;
    QList<QString> otherTriggered;
    if (m_tree->CheckTriggerState(&softwareTriggered, &otherTriggered)) {
        QStringList names = softwareTriggered;
        names += otherTriggered;
        const QString text =
            tr("These cameras wait for a trigger, so the bandwidth they use depends on the trigger rate "
               "and the measurement may show no frames:\n\n%1\n\nMeasure anyway?")
                .arg(names.join(QLatin1Char('\n')));
        if (m_unattended) {
            appendLog(tr("Measuring triggered cameras: %1").arg(names.join(QStringLiteral(", "))));
        } else {
            MessageBoxCheckable box(QStringLiteral("BandwidthMeasureTriggeredCameras"), QMessageBox::Warning,
                                    tr("Bandwidth Manager"), text, QMessageBox::Ok | QMessageBox::Cancel, this);
            box.setSaveResultOnButton(QMessageBox::Ok);
            if (box.exec() != QMessageBox::Ok)
                return false;
        }
    }
    emit aboutToStartMeasuring();
    const bool ok = VorloQtBase::guarded("startMeasuring", tr("Failed to start measuring"),
                                         [&] { m_tree->StartMeasuring(); });
    if (!ok)
        return false;
    m_measuring = true;
    m_sampleCount = 0;
    m_sampleTimer->start();
    updateControls();
    emit measuringChanged(true);
    return true;
}

void BandwidthWindow::stopMeasuring()
{
    if (!m_measuring)
        return;
    m_sampleTimer->stop();
    VorloQtBase::guarded("stopMeasuring", tr("Failed to stop measuring"), [&] { m_tree->StopMeasuring(); });
    m_measuring = false;
    updateControls();
    emit measuringChanged(false);
}

void BandwidthWindow::checkAllCameras()
{
    QList<QTreeWidgetItem*> rows;
    for (QTreeWidgetItemIterator it(m_tree); *it; ++it) {
        if ((*it)->data(BandwidthTreeWidget::ColumnCamera, Qt::CheckStateRole).isValid())
            rows.append(*it);
    }
    // Each tick rebuilds nothing, but the answer may change items, so the list is taken first.
    for (QTreeWidgetItem* item : rows)
        item->setCheckState(BandwidthTreeWidget::ColumnCamera, Qt::Checked);
}

void BandwidthWindow::onCameraChecked(size_t index, Vorlo::CInstantCamera*, Qt::CheckState state)
{
    const auto row = static_cast<unsigned long>(index);
    VorloQtBase::guarded("onCameraChecked", tr("Failed to change a camera of the bandwidth view"), [&] {
        if (state == Qt::Checked)
            m_tree->EnableCamera(row);
        else
            m_tree->DisableCamera(row);
    });
    fitCameraColumn();
    updateControls();
}

void BandwidthWindow::onErrorOccurred(const QString& deviceName, const QString& message, const QDateTime& time)
{
    appendLog(QStringLiteral("%1  %2: %3").arg(time.toString(Qt::ISODate), deviceName, message));
}

void BandwidthWindow::sample()
{
    VorloQtBase::guarded("sample", tr("Failed to sample the bandwidth"), [&] { m_tree->Sample(); });
    ++m_sampleCount;
}

void BandwidthWindow::appendLog(const QString& line)
{
    m_log->appendPlainText(line);
}

// Enabled cameras are written in bold; the column grows so that their names stay whole.
void BandwidthWindow::fitCameraColumn()
{
    const int before = m_tree->columnWidth(BandwidthTreeWidget::ColumnCamera);
    m_tree->resizeColumnToContents(BandwidthTreeWidget::ColumnCamera);
    if (m_tree->columnWidth(BandwidthTreeWidget::ColumnCamera) < before)
        m_tree->setColumnWidth(BandwidthTreeWidget::ColumnCamera, before);
}

void BandwidthWindow::updateControls()
{
    m_startButton->setEnabled(!m_measuring);
    m_stopButton->setEnabled(m_measuring);
    const int cameras = m_tree->countCameras();
    const int enabled = m_tree->countEnabledCameras();
    m_status->setText(m_measuring ? tr("Measuring %1 of %2 cameras every %3 ms")
                                        .arg(enabled)
                                        .arg(cameras)
                                        .arg(SampleIntervalMs)
                                  : tr("%1 of %2 cameras enabled").arg(enabled).arg(cameras));
}

void BandwidthWindow::closeEvent(QCloseEvent* event)
{
    stopMeasuring();
    QWidget::closeEvent(event);
}
