#include "bandwidthtreewidget.h"

#include "bandwidthdevicename_p.h"
#include "bandwidthflattree.h"
#include "bandwidthitemdelegate.h"
#include "bandwidthmeasuringcamera.h"
#include "vorloqtstockimage.h"

#include <VorloQtBase/exceptionhandling.h>
#include <VorloQtBase/formatting.h>
#include <VorloQtBase/persistence.h>

#include <QApplication>
#include <QHeaderView>
#include <QSettings>
#include <QSpinBox>
#include <QTreeWidgetItemIterator>

#include <algorithm>
#include <cassert>
#include <stdexcept>

namespace {

const int HeaderLayoutVersion = 7;
const int AlignLeftVCenter = Qt::AlignLeft | Qt::AlignVCenter;   // 129
const int AlignRightVCenter = Qt::AlignRight | Qt::AlignVCenter; // 130

// The wait cursor for the length of a scope, restored on every way out.
class WaitCursor
{
public:
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
};

// Runs body and turns a GenICam or standard exception into false, without a message: the
// caller reports the failure in the row and by signal.
template<class Body>
bool runQuietly(Body&& body)
{
    try {
        return body();
    } catch (const GenICam::GenericException&) {
        return false;
    } catch (const std::exception&) {
        return false;
    }
}

FlatTreeItem& rowAt(FlatTree* pTree, unsigned long row)
{
    if (row >= pTree->m_items.size())
        throw std::out_of_range("vector::_M_range_check");
    return pTree->m_items[row];
}

// Writing only what changed keeps itemChanged quiet on the periodic refresh.
void setCellText(QTreeWidgetItem* pItem, int column, const QString& text)
{
    if (pItem->data(column, Qt::DisplayRole).toString() != text || !pItem->data(column, Qt::DisplayRole).isValid())
        pItem->setData(column, Qt::DisplayRole, text);
}

void setCellIcon(QTreeWidgetItem* pItem, int column, const QIcon& icon)
{
    const QVariant present = pItem->data(column, Qt::DecorationRole);
    if (icon.isNull()) {
        if (present.isValid() && !present.value<QIcon>().isNull())
            pItem->setIcon(column, QIcon());
        return;
    }
    if (!present.isValid() || present.value<QIcon>().cacheKey() != icon.cacheKey())
        pItem->setIcon(column, icon);
}

bool isEditableDeviceClass(const FlatTreeItem& row)
{
    if (!row.isDevice)
        return false;
    const GenICam::gcstring deviceClass = row.deviceInfo.GetDeviceClass();
    return deviceClass == "KesdorUsb" || deviceClass == "KesdorGigE";
}

bool isCameraDeviceLost(CBandwidthMeasuringCamera* pCamera)
{
    return pCamera->m_bDeviceRemoved || pCamera->IsCameraDeviceRemoved();
}

} // namespace

BandwidthTreeWidget::BandwidthTreeWidget(QWidget* parent)
    : QTreeWidget(parent)
    , m_pFlatTree(new FlatTree())
    , m_pCameraSet(new CBandwidthMeasuringCameraSet())
    , m_boldFont(font())
    , m_warningIcon(getVorloStockImage(StockIcon_Exclamation, 19, 19))
    , m_errorIcon(getVorloStockImage(StockIcon_Error, 19, 19))
    , m_genicamVisibility(GenApi::Beginner)
    , m_pollingActive(false)
    , m_viewAllFavoritesActive(false)
{
    m_boldFont.setWeight(75);
    // Queued connections and signal spies need the signals' argument types.
    qRegisterMetaType<size_t>("size_t");
    qRegisterMetaType<Vorlo::CInstantCamera*>("Vorlo::CInstantCamera*");
    qRegisterMetaType<Qt::CheckState>("Qt::CheckState");
    connect(this, SIGNAL(itemChanged(QTreeWidgetItem*, int)), this, SLOT(onItemChanged(QTreeWidgetItem*, int)));
}

BandwidthTreeWidget::~BandwidthTreeWidget()
{
    // The persistent editors close here, before their cameras die.
    if (countEnabledCameras() > 0) {
        const QVector<unsigned long> enabled = enabledCameras();
        for (unsigned long row : enabled)
            DisableCamera(row);
    }
    delete m_pFlatTree;
    m_pFlatTree = nullptr;
    delete m_pCameraSet; // deletes the cameras still in it
    m_pCameraSet = nullptr;
}

bool BandwidthTreeWidget::restoreLayout(const QSettings* settings)
{
    header()->setDefaultAlignment(Qt::AlignLeft);
    header()->setDefaultSectionSize(80);
    setColumnCount(ColumnCount);
    setItemDelegateForColumn(ColumnBandwidth, new BandwidthItemDelegate(this));
    setItemDelegateForColumn(ColumnConfiguration, new BandwidthCameraConfigItemDelegate(this));

    static const char* const headerTexts[ColumnCount] = {
        "Camera", "Bandwidth (MB/s)", "", "MB/s Received", "fps Sent", "fps Received", "Images", "Errors"
    };
    QTreeWidgetItem* pHeader = headerItem();
    for (int column = 0; column < ColumnCount; ++column) {
        pHeader->setText(column, QString::fromLatin1(headerTexts[column]));
        pHeader->setTextAlignment(column, AlignLeftVCenter);
    }
    header()->setSectionResizeMode(ColumnConfiguration, QHeaderView::Fixed);

    const bool found = restoreHeaderLayout(settings, HeaderLayoutVersion, header());
    if (!found) {
        // The button column is narrower than the style's smallest section.
        header()->setMinimumSectionSize(std::min(header()->minimumSectionSize(), 20));
        header()->resizeSection(ColumnCamera, 240);
        header()->resizeSection(ColumnBandwidth, 160);
        header()->resizeSection(ColumnConfiguration, 20);
    }
    return found;
}

void BandwidthTreeWidget::saveLayout(QSettings* settings) const
{
    saveHeaderLayout(settings, HeaderLayoutVersion, header());
}

void BandwidthTreeWidget::clear()
{
    for (FlatTreeItem& row : m_pFlatTree->m_items) {
        if (row.pCamera && row.pTreeWidgetItem) {
            closePersistentEditor(row.pTreeWidgetItem, ColumnConfiguration);
            closePersistentEditor(row.pTreeWidgetItem, ColumnBandwidth);
        }
    }
    QTreeWidget::clear();
    // The items are gone; no row may point at them any more.
    for (FlatTreeItem& row : m_pFlatTree->m_items)
        row.pTreeWidgetItem = nullptr;
}

void BandwidthTreeWidget::refreshTree()
{
    // Cameras whose device is lost leave their rows first.
    const std::vector<CBandwidthMeasuringCamera*> cameras = m_pCameraSet->m_cameras;
    for (CBandwidthMeasuringCamera* pCamera : cameras) {
        VorloQtBase::guarded("refreshTree", QStringLiteral("Failed to release a lost camera"), [&] {
            if (!isCameraDeviceLost(pCamera))
                return;
            for (unsigned long row = 1; row < m_pFlatTree->m_items.size(); ++row) {
                FlatTreeItem& item = m_pFlatTree->m_items[row];
                if (item.pCamera != pCamera)
                    continue;
                if (item.pManagedDevice)
                    RemoveExternallyManagedVorloDevice(item.pManagedDevice);
                else
                    DisableCamera(row);
                break;
            }
        });
    }

    clear();

    std::vector<CBandwidthMeasuringCamera*>& set = m_pCameraSet->m_cameras;
    for (auto it = set.begin(); it != set.end();) {
        if (isCameraDeviceLost(*it)) {
            delete *it;
            it = set.erase(it);
        } else {
            ++it;
        }
    }

    QVector<Vorlo::IVorloDevice*> managed;
    managed.reserve(static_cast<int>(m_preopenedDevices.size()));
    for (Vorlo::IVorloDevice* pDevice : m_preopenedDevices)
        managed.append(pDevice);
    m_pFlatTree->refreshTree(m_pCameraSet, managed);
    populateTreeFromFlatTreeData();
}

int BandwidthTreeWidget::populateTreeFromFlatTreeData()
{
    const int count = addChildItems(&m_pFlatTree->m_items[0], invisibleRootItem());
    sortItems(ColumnCamera, Qt::AscendingOrder);
    if (QTreeWidgetItem* pFirst = topLevelItem(0)) {
        // Rows as high as a spin box, so that the persistent editors fit.
        QSpinBox spinBox;
        pFirst->setSizeHint(ColumnCamera, QSize(pFirst->sizeHint(ColumnCamera).width(), spinBox.sizeHint().height()));
    }
    return count;
}

int BandwidthTreeWidget::addChildItems(const FlatTreeItem* pFlatTreeItemParent, QTreeWidgetItem* pTreeWidgetItemParent)
{
    assert(pFlatTreeItemParent && "arg must not be NULL");
    assert(pTreeWidgetItemParent && "arg must not be NULL");

    int count = 0;
    for (unsigned long index : pFlatTreeItemParent->children) {
        FlatTreeItem& row = m_pFlatTree->m_items[index];
        QTreeWidgetItem* pItem = new QTreeWidgetItem();
        row.pTreeWidgetItem = pItem;

        Qt::ItemFlags flags = pItem->flags() | Qt::ItemIsSelectable;
        if (isEditableDeviceClass(row))
            flags |= Qt::ItemIsEditable;
        pItem->setFlags(flags);

        for (int column : { ColumnCamera, ColumnBandwidth })
            pItem->setTextAlignment(column, AlignLeftVCenter);
        for (int column : { ColumnBytesReceived, ColumnFpsSent, ColumnFpsReceived, ColumnErrors, ColumnImages,
                            ColumnConfiguration })
            pItem->setTextAlignment(column, AlignRightVCenter);

        pItem->setText(ColumnCamera, row.displayName);
        UpdateSampleDataViewRow(index);
        if (row.isDevice)
            pItem->setCheckState(ColumnCamera, row.pCamera ? Qt::Checked : Qt::Unchecked);

        const QVariant rowPointer = QVariant::fromValue(static_cast<void*>(&row));
        for (int column : { ColumnCamera, ColumnBandwidth, ColumnConfiguration }) {
            pItem->setData(column, FlatTreeItemRole, rowPointer);
            if (row.isDevice)
                pItem->setData(column, BandwidthCameraRowRole, 1);
        }
        if (row.isDevice) {
            pItem->setData(ColumnConfiguration, BandwidthVisibilityRole, static_cast<int>(m_genicamVisibility));
            pItem->setData(ColumnConfiguration, BandwidthPollingRole, m_pollingActive);
            pItem->setData(ColumnConfiguration, BandwidthViewAllFavoritesRole, m_viewAllFavoritesActive);
        }

        pTreeWidgetItemParent->addChild(pItem);

        if (row.isEnabledCamera()) {
            // Regardless of the editable flag: a camera enabled before the refresh keeps its editor.
            openPersistentEditor(pItem, ColumnBandwidth);
            openPersistentEditor(pItem, ColumnConfiguration);
        }

        ++count;
        if (!row.children.empty())
            count += addChildItems(&row, pItem);
    }

    if (pTreeWidgetItemParent->treeWidget())
        pTreeWidgetItemParent->setExpanded(true);
    return count;
}

void BandwidthTreeWidget::UpdateSampleDataViewRow(unsigned long rowIndex)
{
    const FlatTreeItem& row = rowAt(m_pFlatTree, rowIndex);
    QTreeWidgetItem* pItem = row.pTreeWidgetItem;
    if (!pItem || (!row.isDevice && !row.isInterface))
        return;
    const QLocale locale;
    const BandwidthSample& sample = row.sample;

    if (row.isInterface) {
        if (sample.bytesPerSecondMax == 0) {
            setCellText(pItem, ColumnBandwidth, QString());
        } else {
            setCellText(pItem, ColumnBandwidth,
                        QStringLiteral("~")
                            + formatUnsignedIntegerValueAndUnits(sample.bytesPerSecondMax, 0, FormatMultiplierMega,
                                                                 QString(), FormatValueDefault, locale));
        }
        setCellText(pItem, ColumnConfiguration, QString());
        return;
    }

    if (!row.isEnabledCamera()) {
        for (int column : { ColumnBandwidth, ColumnBytesReceived, ColumnFpsSent, ColumnFpsReceived, ColumnErrors,
                            ColumnImages, ColumnConfiguration })
            setCellText(pItem, column, QString());
        setCellIcon(pItem, ColumnFpsReceived, QIcon());
        setCellIcon(pItem, ColumnErrors, QIcon());
        return;
    }

    setCellText(pItem, ColumnBandwidth, QString()); // the persistent editor lies over it
    const int decimals = sample.bytesPerSecond < 1000000 ? 2 : 0;
    setCellText(pItem, ColumnBytesReceived,
                formatUnsignedIntegerValueAndUnits(sample.bytesPerSecond, decimals, FormatMultiplierMega, QString(),
                                                   FormatValueGroupDigits, locale));
    setCellText(pItem, ColumnFpsSent, formatDoubleValue(sample.fpsMax, 2, FormatValueDefault, locale));
    setCellText(pItem, ColumnFpsReceived,
                sample.fps < 0.0 ? QStringLiteral("--")
                                 : formatDoubleValue(sample.fps, 2, FormatValueDefault, locale));
    setCellText(pItem, ColumnErrors, formatIntegerValue(sample.errors, FormatValueCount, locale));
    setCellText(pItem, ColumnImages, formatIntegerValue(sample.images, FormatValueCount, locale));
    setCellText(pItem, ColumnConfiguration, QString());

    // Nothing for the time of three frames (two seconds when the rate is unknown) is a warning.
    const double threshold = sample.fpsMax == 0.0 ? 2.0 : 3.0 / sample.fpsMax;
    const bool stalled = sample.fps == 0.0 && sample.grabStartTime.isValid()
                         && sample.grabStartTime.secsTo(QDateTime::currentDateTime()) > threshold;
    setCellIcon(pItem, ColumnFpsReceived, stalled ? m_warningIcon : QIcon());
    setCellIcon(pItem, ColumnErrors, sample.errors >= 1 ? m_errorIcon : QIcon());
}

void BandwidthTreeWidget::UpdateSampleDataView()
{
    for (unsigned long row = 0; row < m_pFlatTree->m_items.size(); ++row)
        UpdateSampleDataViewRow(row);
}

void BandwidthTreeWidget::Sample()
{
    m_pFlatTree->Sample();
    UpdateSampleDataView();
}

void BandwidthTreeWidget::ResetSamples()
{
    for (CBandwidthMeasuringCamera* pCamera : m_pCameraSet->m_cameras) {
        GenApi::CLock& lock = pCamera->GetLock();
        lock.Lock();
        VorloQtBase::guarded("ResetSamples", QStringLiteral("Failed to reset the counters"), [&] {
            pCamera->m_fpsStatistic.reset();
            pCamera->m_imageCount = 0;
            pCamera->m_errorCount = 0;
            // Frames lost before now do not count.
            if (pCamera->m_lostFrameCounter.IsValid()
                && GenApi::IsReadable(pCamera->m_lostFrameCounter->GetAccessMode()))
                pCamera->m_lastLostFrameCount = pCamera->m_lostFrameCounter->GetValue(false, false);
            pCamera->m_grabStartTime = pCamera->IsGrabbing() ? QDateTime::currentDateTime() : QDateTime();
            pCamera->m_bandwidthLimit = -1;
        });
        lock.Unlock();
    }
    Sample();
}

void BandwidthTreeWidget::StartMeasuring()
{
    m_pFlatTree->ResetSamples();
    UpdateSampleDataView();
    m_pCameraSet->m_bMeasuring = true;
    for (CBandwidthMeasuringCamera* pCamera : m_pCameraSet->m_cameras) {
        if (pCamera->m_bGrabStarted)
            continue;
        VorloQtBase::guarded("StartMeasuring", QStringLiteral("Failed to start grabbing"), [&] {
            if (isBandwidthCameraReadyToGrab(pCamera))
                startBandwidthCameraGrabbing(pCamera);
        });
    }
}

void BandwidthTreeWidget::StopMeasuring()
{
    m_pCameraSet->m_bMeasuring = false;
    for (CBandwidthMeasuringCamera* pCamera : m_pCameraSet->m_cameras) {
        if (!pCamera->m_bGrabStarted)
            continue;
        VorloQtBase::guarded("StopMeasuring", QStringLiteral("Failed to stop grabbing"),
                             [&] { pCamera->StopGrabbing(); });
        pCamera->m_bGrabStarted = false;
    }
}

bool BandwidthTreeWidget::EnableCamera(unsigned long rowIndex)
{
    WaitCursor waitCursor;
    const bool result = runQuietly([&] { return m_pFlatTree->enableCamera(rowIndex, m_pCameraSet); });
    FlatTreeItem& row = rowAt(m_pFlatTree, rowIndex);
    QTreeWidgetItem* pItem = row.pTreeWidgetItem;

    if (pItem && !result) {
        pItem->setCheckState(ColumnCamera, Qt::Unchecked);
        pItem->setIcon(ColumnCamera, m_errorIcon);
        const QString text = QStringLiteral("Error accessing camera!");
        pItem->setToolTip(ColumnCamera, text);
        // The reason goes only into the signal, so that the tooltip stays short.
        QString message = text;
        if (!m_pFlatTree->m_lastError.isEmpty())
            message += QStringLiteral(" (") + m_pFlatTree->m_lastError + QStringLiteral(")");
        emit errorOccurred(VorloBandwidth::deviceName(row.deviceInfo), message, QDateTime::currentDateTime());
        return result;
    }
    if (pItem && result) {
        pItem->setCheckState(ColumnCamera, Qt::Checked);
        pItem->setIcon(ColumnCamera, QIcon());
        pItem->setToolTip(ColumnCamera, m_emptyText);
        if (row.isEnabledCamera()) {
            if (pItem->flags() & Qt::ItemIsEditable)
                openPersistentEditor(pItem, ColumnBandwidth);
            openPersistentEditor(pItem, ColumnConfiguration);
        }
        pItem->setFont(ColumnCamera, m_boldFont);
    }
    if (result && m_pCameraSet->m_bMeasuring)
        UpdateSampleDataViewRow(rowIndex);
    return result;
}

bool BandwidthTreeWidget::EnableCamera(const QString& key)
{
    const unsigned long row = findRowByKey(key);
    if (row == 0)
        return false;
    return EnableCamera(row);
}

bool BandwidthTreeWidget::DisableCamera(unsigned long rowIndex)
{
    FlatTreeItem& row = rowAt(m_pFlatTree, rowIndex);
    QTreeWidgetItem* pItem = row.pTreeWidgetItem;
    if (row.isEnabledCamera() && pItem) {
        if (pItem->flags() & Qt::ItemIsEditable)
            closePersistentEditor(pItem, ColumnBandwidth);
        closePersistentEditor(pItem, ColumnConfiguration);
    }
    {
        WaitCursor waitCursor;
        runQuietly([&] { return m_pFlatTree->disableCamera(rowIndex, m_pCameraSet); });
    }
    if (pItem) {
        pItem->setCheckState(ColumnCamera, Qt::Unchecked);
        pItem->setFont(ColumnCamera, font());
    }
    return false;
}

bool BandwidthTreeWidget::DisableCamera(const QString& key)
{
    const unsigned long row = findRowByKey(key);
    if (row == 0)
        return false;
    return DisableCamera(row);
}

unsigned long BandwidthTreeWidget::findRowByKey(const QString& key) const
{
    const std::vector<FlatTreeItem>& items = m_pFlatTree->m_items;
    const auto it = std::find(items.begin(), items.end(), key);
    return it == items.end() ? 0 : static_cast<unsigned long>(it - items.begin());
}

int BandwidthTreeWidget::countCameras() const
{
    return static_cast<int>(std::count_if(m_pFlatTree->m_items.begin(), m_pFlatTree->m_items.end(),
                                          [](const FlatTreeItem& row) { return row.isDevice; }));
}

int BandwidthTreeWidget::countEnabledCameras() const
{
    return static_cast<int>(std::count_if(m_pFlatTree->m_items.begin(), m_pFlatTree->m_items.end(),
                                          [](const FlatTreeItem& row) { return row.isEnabledCamera(); }));
}

int BandwidthTreeWidget::countEnabledGigECameras() const
{
    return static_cast<int>(std::count_if(m_pFlatTree->m_items.begin(), m_pFlatTree->m_items.end(),
                                          [](const FlatTreeItem& row) { return row.isEnabledGigECamera(); }));
}

QVector<unsigned long> BandwidthTreeWidget::enabledCameras() const
{
    QVector<unsigned long> rows;
    for (unsigned long row = 0; row < m_pFlatTree->m_items.size(); ++row) {
        if (m_pFlatTree->m_items[row].isEnabledCamera())
            rows.append(row);
    }
    return rows;
}

void BandwidthTreeWidget::closePersistentEditor(QTreeWidgetItem* item, int column)
{
    if (item && (column == ColumnBandwidth || column == ColumnConfiguration)) {
        // The editor deregisters its node callbacks before the view drops it.
        const QModelIndex index = indexFromItem(item, column);
        QWidget* pEditor = indexWidget(index);
        QAbstractItemDelegate* pDelegate = itemDelegateForColumn(column);
        if (column == ColumnBandwidth) {
            if (BandwidthItemDelegate* pBandwidthDelegate = qobject_cast<BandwidthItemDelegate*>(pDelegate))
                pBandwidthDelegate->emitCloseEditorForPersistenEditor(pEditor, QAbstractItemDelegate::NoHint);
        } else {
            if (BandwidthCameraConfigItemDelegate* pConfigDelegate =
                    qobject_cast<BandwidthCameraConfigItemDelegate*>(pDelegate))
                pConfigDelegate->emitCloseEditorForPersistenEditor(pEditor, QAbstractItemDelegate::NoHint);
        }
    }
    QTreeWidget::closePersistentEditor(item, column);
}

void BandwidthTreeWidget::ActivateGigE()
{
    m_pFlatTree->ActivateGigE();
}

bool BandwidthTreeWidget::IsActivateGigE() const
{
    return m_pFlatTree->IsActivateGigE();
}

int BandwidthTreeWidget::getSelectedItemType() const
{
    QTreeWidgetItem* pItem = currentItem();
    if (!pItem)
        return 0;
    const FlatTreeItem* pRow = static_cast<const FlatTreeItem*>(pItem->data(ColumnCamera, FlatTreeItemRole).value<void*>());
    if (!pRow)
        return 0;
    if (pRow->isDevice)
        return 2;
    if (pRow->isInterface)
        return 3;
    return 0;
}

bool BandwidthTreeWidget::getSelectedItemFeatureValue(long long& value) const
{
    QTreeWidgetItem* pItem = currentItem();
    if (!pItem)
        return false;
    const FlatTreeItem* pRow = static_cast<const FlatTreeItem*>(pItem->data(ColumnCamera, FlatTreeItemRole).value<void*>());
    if (!pRow || !pRow->isDevice)
        return false;
    value = pRow->sample.bandwidthLimit;
    return true;
}

QString BandwidthTreeWidget::getSelectedItemDisplayName() const
{
    QTreeWidgetItem* pItem = currentItem();
    return pItem ? pItem->text(ColumnCamera) : QString();
}

GenApi::_EVisibility BandwidthTreeWidget::getGenicamVisibility() const
{
    return m_genicamVisibility;
}

void BandwidthTreeWidget::writeSharedRole(int role, const QVariant& value)
{
    for (QTreeWidgetItemIterator it(this); *it; ++it) {
        if ((*it)->data(ColumnConfiguration, BandwidthCameraRowRole).toInt() == 1)
            (*it)->setData(ColumnConfiguration, role, value);
    }
}

void BandwidthTreeWidget::setGenicamVisibility(GenApi::_EVisibility visibility)
{
    m_genicamVisibility = visibility;
    writeSharedRole(BandwidthVisibilityRole, static_cast<int>(visibility));
}

bool BandwidthTreeWidget::getPollingActive() const
{
    return m_pollingActive;
}

void BandwidthTreeWidget::setPollingActive(bool polling)
{
    m_pollingActive = polling;
    writeSharedRole(BandwidthPollingRole, polling);
}

bool BandwidthTreeWidget::getViewAllFavoritesActive() const
{
    return m_viewAllFavoritesActive;
}

void BandwidthTreeWidget::setViewAllFavoritesActive(bool viewAll)
{
    m_viewAllFavoritesActive = viewAll;
    writeSharedRole(BandwidthViewAllFavoritesRole, viewAll);
}

bool BandwidthTreeWidget::setPreopenedDevices(const QVector<Vorlo::IVorloDevice*>* pDevices)
{
    m_preopenedDevices.clear();
    if (pDevices)
        m_preopenedDevices.assign(pDevices->begin(), pDevices->end());
    return true;
}

void BandwidthTreeWidget::RemoveExternallyManagedVorloDevice(Vorlo::IVorloDevice* pDevice)
{
    m_preopenedDevices.erase(std::remove(m_preopenedDevices.begin(), m_preopenedDevices.end(), pDevice),
                             m_preopenedDevices.end());
    std::vector<FlatTreeItem>& items = m_pFlatTree->m_items;
    for (unsigned long row = 1; row < items.size(); ++row) {
        if (items[row].pManagedDevice == pDevice) {
            DisableCamera(row);
            items[row].pManagedDevice = nullptr;
            return;
        }
    }
}

void BandwidthTreeWidget::RemoveExternallyManagedVorloDevice(const QString& key)
{
    const unsigned long row = findRowByKey(key);
    if (row == 0)
        return;
    if (Vorlo::IVorloDevice* pDevice = m_pFlatTree->m_items[row].pManagedDevice)
        RemoveExternallyManagedVorloDevice(pDevice);
}

bool BandwidthTreeWidget::CheckTriggerState(QList<QString>* pSoftwareTriggerList, QList<QString>* pOtherTriggerList)
{
    bool anyTriggerOn = false;
    for (CBandwidthMeasuringCamera* pCamera : m_pCameraSet->m_cameras) {
        if (!pCamera->IsTriggerModeOn())
            continue;
        anyTriggerOn = true;
        const QString name = VorloBandwidth::deviceName(pCamera->GetDeviceInfo());
        if (pCamera->IsSoftwareTiggerActive()) {
            if (pSoftwareTriggerList)
                pSoftwareTriggerList->append(name);
        } else if (pOtherTriggerList) {
            pOtherTriggerList->append(name);
        }
    }
    return anyTriggerOn;
}

bool BandwidthTreeWidget::setUsableDeviceClasses(const GenICam::gcstring_vector& deviceClasses)
{
    if (!m_pFlatTree)
        return false;
    m_pFlatTree->setUsableTLNames(deviceClasses);
    return true;
}

void BandwidthTreeWidget::onItemChanged(QTreeWidgetItem* pItem, int column)
{
    if (!pItem)
        return;
    if (column == ColumnCamera) {
        const FlatTreeItem* pRow = static_cast<const FlatTreeItem*>(pItem->data(ColumnCamera, FlatTreeItemRole).value<void*>());
        if (!pRow || !pRow->isDevice)
            return;
        const Qt::CheckState state = pItem->checkState(ColumnCamera);
        const Qt::CheckState expected = pRow->isEnabledCamera() ? Qt::Checked : Qt::Unchecked;
        if (state == expected)
            return;
        // Only a signal: the application decides and calls EnableCamera or DisableCamera.
        emit cameraChecked(findRowByKey(pRow->key), pRow->pCamera, state);
        return;
    }
    if (column == ColumnConfiguration && pItem->data(ColumnConfiguration, BandwidthCameraRowRole).toInt() == 1) {
        // A change made in one camera's dialog reaches all rows.
        setGenicamVisibility(static_cast<GenApi::_EVisibility>(pItem->data(ColumnConfiguration, BandwidthVisibilityRole).toInt()));
        setPollingActive(pItem->data(ColumnConfiguration, BandwidthPollingRole).toBool());
        setViewAllFavoritesActive(pItem->data(ColumnConfiguration, BandwidthViewAllFavoritesRole).toBool());
    }
}
