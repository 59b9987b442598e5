#include <VorloQtWidgets/devicetreewidget.h>

#include <QApplication>
#include <QDataStream>
#include <QFont>
#include <QMutexLocker>
#include <QTimer>

#include <VorloQtBase/exceptionhandling.h>
#include <VorloQtBase/formatdevicename.h>
#include <VorloQtBase/trace.h>

#include <VorloQtWidgets/autoscanthread.h>
#include <VorloQtWidgets/devicetooltip.h>
#include <VorloQtWidgets/devicetreedata.h>

namespace {

const char* const GigEDeviceClass = "KesdorGigE";
const int ScanIntervalMs = 10000;
const int OpenFontWeight = 75;
const int ClosedFontWeight = 50;

QString keyOf(const Vorlo::CInfoBase& info)
{
    return QString::fromLatin1(info.GetFullName().c_str());
}

} // namespace

DeviceTreeWidget::DeviceTreeWidget(QWidget* parent, bool gigeOnly)
    : TreeWidgetBase(parent)
    , m_deviceTreeData(new DeviceTreeData)
    , m_gigeOnly(gigeOnly)
{
    m_ui.setupUi(this);
    m_ui.treeWidget->header()->hide();
    m_ui.treeWidget->setSortingEnabled(true);
    m_ui.treeWidget->sortByColumn(0, Qt::AscendingOrder);

    setRefreshButtonEnabled(true);

    connect(m_ui.treeWidget, SIGNAL(currentItemChanged(QTreeWidgetItem*, QTreeWidgetItem*)), this,
            SLOT(onCurrentItemChanged(QTreeWidgetItem*, QTreeWidgetItem*)));
    connect(m_ui.treeWidget, SIGNAL(itemActivated(QTreeWidgetItem*, int)), this,
            SLOT(onItemActivated(QTreeWidgetItem*, int)));
    connect(m_ui.toolButton, SIGNAL(clicked()), this, SLOT(onActionRefresh()));
    connect(m_ui.treeWidget, SIGNAL(itemSelectionChanged()), this, SIGNAL(itemSelectionChanged()));

    // Only the transport layers here, so that construction never waits for devices.
    VorloQtBase::guarded("DeviceTreeWidget", QStringLiteral("Failed to enumerate TLs"), [&] {
        DeviceTreeData::refreshDeviceTreeData(*m_deviceTreeData, m_gigeOnly, true, false);
    });
    updateTransportLayers();

    m_scanThread = new AutoScanThread(this);
    connect(m_scanThread, SIGNAL(scanStarted()), this, SLOT(deviceScanStarted()));
    connect(m_scanThread, SIGNAL(scanFinished()), this, SLOT(deviceScanFinished()));
    m_scanThread->start(QThread::InheritPriority);

    // Creates the timer: the first device enumeration runs one interval from now, unless the
    // application asks for a refresh before.
    setAutoScanEnabled(m_autoScanEnabled);
}

DeviceTreeWidget::~DeviceTreeWidget()
{
    setAutoScanEnabled(false);
    if (m_scanThread) {
        if (m_scanThread->isRunning())
            m_scanThread->stop();
        delete m_scanThread;
        m_scanThread = nullptr;
    }
    delete m_deviceTreeData;
    m_deviceTreeData = nullptr;
}

QSize DeviceTreeWidget::sizeHint() const
{
    return QSize(400, 300);
}

QTreeView* DeviceTreeWidget::treeView()
{
    return m_ui.treeWidget;
}

QTreeWidgetItem* DeviceTreeWidget::itemAt(const QPoint& pos) const
{
    QWidget* viewport = m_ui.treeWidget->viewport();
    return m_ui.treeWidget->itemAt(viewport->mapFrom(const_cast<DeviceTreeWidget*>(this), pos));
}

int DeviceTreeWidget::getDeviceTypeAt(const QPoint& pos) const
{
    QTreeWidgetItem* item = itemAt(pos);
    if (dynamic_cast<DeviceTreeWidgetItem*>(item))
        return 1;
    if (dynamic_cast<TLTreeWidgetItem*>(item))
        return 2;
    return 0;
}

const Vorlo::CDeviceInfo* DeviceTreeWidget::getDeviceInfoAt(const QPoint& pos) const
{
    DeviceTreeWidgetItem* item = dynamic_cast<DeviceTreeWidgetItem*>(itemAt(pos));
    return item ? &item->deviceInfo() : nullptr;
}

Vorlo::IVorloDevice* DeviceTreeWidget::getDevicePointerAt(const QPoint& pos) const
{
    DeviceTreeWidgetItem* item = dynamic_cast<DeviceTreeWidgetItem*>(itemAt(pos));
    return item ? item->devicePointer() : nullptr;
}

int DeviceTreeWidget::selectedDevices(Vorlo::DeviceInfoList* list) const
{
    int count = 0;
    const QList<QTreeWidgetItem*> selected = m_ui.treeWidget->selectedItems();
    for (QTreeWidgetItem* item : selected) {
        const DeviceTreeWidgetItem* device = dynamic_cast<const DeviceTreeWidgetItem*>(item);
        if (!device)
            continue;
        ++count;
        if (list)
            list->push_back(device->deviceInfo());
    }
    return count;
}

bool DeviceTreeWidget::HasTL() const
{
    return m_ui.treeWidget->topLevelItemCount() > 0;
}

void DeviceTreeWidget::setInfoText(const QString& text)
{
    m_ui.lblStatus->setText(text);
}

void DeviceTreeWidget::onActionRefresh()
{
    refresh(true);
}

void DeviceTreeWidget::refresh(bool dumpResults)
{
    if (!m_scanThread)
        return;
    m_showBusyCursor = true;
    m_scanThread->doScanAsync(dumpResults);
}

void DeviceTreeWidget::startAutoScan()
{
    if (m_scanThread)
        m_scanThread->doScanAsync(false);
}

void DeviceTreeWidget::deviceScanStarted()
{
    if (m_showBusyCursor)
        QApplication::setOverrideCursor(Qt::BusyCursor);
}

void DeviceTreeWidget::deviceScanFinished()
{
    // selectByName() processes events while a merge holds the snapshot's mutex. A scan end that
    // is delivered there would lock the non-recursive mutex a second time in this thread, so it
    // is handed back to the event loop and merged once the outer merge has let go.
    if (!m_deviceTreeData->m_mutex.tryLock()) {
        QMetaObject::invokeMethod(this, "deviceScanFinished", Qt::QueuedConnection);
        return;
    }
    m_deviceTreeData->m_mutex.unlock();

    updateTransportLayers();
    if (m_showBusyCursor) {
        QApplication::restoreOverrideCursor();
        m_showBusyCursor = false;
    }
}

void DeviceTreeWidget::setRefreshButtonEnabled(bool enable)
{
    m_refreshButtonEnabled = enable;
    m_ui.toolButton->setVisible(enable);
    m_ui.toolButton->setEnabled(enable);
}

void DeviceTreeWidget::setAutoScanEnabled(bool enable)
{
    if (!enable && m_scanTimer) {
        m_scanTimer->stop();
        delete m_scanTimer;
        m_scanTimer = nullptr;
        m_autoScanEnabled = false;
        m_ui.checkBoxPolling->setChecked(false);
    } else if (enable && !m_scanTimer) {
        m_scanTimer = new QTimer;
        connect(m_scanTimer, SIGNAL(timeout()), this, SLOT(startAutoScan()));
        m_scanTimer->start(ScanIntervalMs);
        m_autoScanEnabled = true;
        m_ui.checkBoxPolling->setChecked(true);
    } else {
        m_ui.checkBoxPolling->setChecked(m_autoScanEnabled);
    }
}

void DeviceTreeWidget::on_checkBoxPolling_clicked()
{
    const bool checked = m_ui.checkBoxPolling->isChecked();
    setAutoScanEnabled(checked);
    emit pollingStateChanged(checked);
}

void DeviceTreeWidget::updateTransportLayers()
{
    QMutexLocker locker(&m_deviceTreeData->m_mutex);

    bool listChanged = false;
    for (const DeviceTreeItem& row : m_deviceTreeData->m_items) {
        if (m_gigeOnly && row.GetDeviceClass() != GigEDeviceClass)
            continue;

        const QString key = keyOf(row);
        TLTreeWidgetItem* tlItem = findTlItem(key);
        if (!tlItem) {
            tlItem = new TLTreeWidgetItem(m_ui.treeWidget);
            tlItem->setText(0, QString::fromLatin1(row.GetFriendlyName().c_str()));
            tlItem->setData(0, DeviceTreeKeyRole, key);
            tlItem->setSizeHint(0, QSize(19, 19));
            tlItem->setExpanded(true);
        }

        const int added = addDevices(row.m_devices, tlItem);
        const int removed = removeTaggedItems(tlItem);

        if (added > 0) {
            if (!m_pendingSelection.isEmpty()
                && selectByName(m_pendingSelection, m_pendingExactMatch)) {
                m_pendingSelection.clear();
                setInfoText(QString());
            }
            listChanged = true;
        } else if (!listChanged) {
            listChanged = removed > 0;
        }
    }

    if (listChanged)
        emit deviceListChanged();
}

DeviceTreeWidgetItem* DeviceTreeWidget::createDeviceItem(TLTreeWidgetItem* tlItem,
                                                         const Vorlo::CDeviceInfo& info)
{
    DeviceTreeWidgetItem* item = new DeviceTreeWidgetItem(tlItem, info, nullptr);
    item->setText(0, formatDeviceName(&info, {}));
    item->setData(0, DeviceTreeKeyRole, keyOf(info));
    return item;
}

int DeviceTreeWidget::addDevices(const Vorlo::DeviceInfoList& list, TLTreeWidgetItem* tlItem)
{
    if (!tlItem)
        return 0;

    for (int i = 0; i < tlItem->childCount(); ++i)
        tlItem->child(i)->setData(0, DeviceTreeSweepTagRole, true);

    int added = 0;
    for (const Vorlo::CDeviceInfo& info : list) {
        DeviceTreeWidgetItem* item = findDeviceItem(keyOf(info), tlItem);
        if (!item) {
            item = createDeviceItem(tlItem, info);
            item->setData(0, DeviceTreeScannedRole, 1);
            item->setToolTip(0, formatToolTipFromDevice(info, nullptr, m_toolTipDetailLevel));
            ++added;
            emit deviceDetected(&info);
        }
        item->setData(0, DeviceTreeSweepTagRole, false);
    }
    return added;
}

int DeviceTreeWidget::removeTaggedItems(TLTreeWidgetItem* tlItem)
{
    int removed = 0;
    // The index moves on by one after a removal as well, so the row that moves up into the freed
    // place is passed over in this merge and caught by the next scan.
    for (int i = 0; i < tlItem->childCount(); ++i) {
        QTreeWidgetItem* child = tlItem->child(i);
        if (child->data(0, DeviceTreeSweepTagRole).toBool()
            && !child->data(0, DeviceTreeOpenRole).toBool()) {
            removeItem(child, true);
            ++removed;
        }
    }
    return removed;
}

void DeviceTreeWidget::removeItem(QTreeWidgetItem* item, bool byScan)
{
    QTreeWidgetItem* parent = item ? item->parent() : nullptr;
    if (!parent)
        return;
    parent->removeChild(item);
    // The taken row stays alive: receivers may still read the record it carries.
    if (DeviceTreeWidgetItem* device = dynamic_cast<DeviceTreeWidgetItem*>(item))
        emit deviceRemoved(&device->deviceInfo(), byScan);
}

TLTreeWidgetItem* DeviceTreeWidget::findTlItem(const QString& key) const
{
    for (int i = 0; i < m_ui.treeWidget->topLevelItemCount(); ++i) {
        QTreeWidgetItem* item = m_ui.treeWidget->topLevelItem(i);
        const QVariant itemKey = item->data(0, DeviceTreeKeyRole);
        if (itemKey.isValid() && itemKey.toString() == key)
            return dynamic_cast<TLTreeWidgetItem*>(item);
    }
    return nullptr;
}

DeviceTreeWidgetItem* DeviceTreeWidget::findDeviceItem(const QString& key,
                                                       TLTreeWidgetItem* tlItem) const
{
    if (!tlItem)
        return nullptr;
    for (int i = 0; i < tlItem->childCount(); ++i) {
        QTreeWidgetItem* item = tlItem->child(i);
        const QVariant itemKey = item->data(0, DeviceTreeKeyRole);
        if (itemKey.isValid() && itemKey.toString() == key)
            return dynamic_cast<DeviceTreeWidgetItem*>(item);
    }
    return nullptr;
}

DeviceTreeWidgetItem* DeviceTreeWidget::findDeviceItem(const QString& key) const
{
    for (int i = 0; i < m_ui.treeWidget->topLevelItemCount(); ++i) {
        TLTreeWidgetItem* tlItem = dynamic_cast<TLTreeWidgetItem*>(m_ui.treeWidget->topLevelItem(i));
        if (DeviceTreeWidgetItem* item = findDeviceItem(key, tlItem))
            return item;
    }
    return nullptr;
}

void DeviceTreeWidget::addDevice(const Vorlo::CDeviceInfo& info)
{
    QMutexLocker locker(&m_deviceTreeData->m_mutex);

    bool foundTL = false;
    const QString key = keyOf(info);
    for (const DeviceTreeItem& row : m_deviceTreeData->m_items) {
        if (row.GetDeviceClass() != info.GetDeviceClass())
            continue;
        foundTL = true;
        TLTreeWidgetItem* tli = findTlItem(keyOf(row));
        Q_ASSERT(tli != (0L));
        if (!tli)
            continue;
        if (!findDeviceItem(key)) {
            DeviceTreeWidgetItem* ti = createDeviceItem(tli, info);
            ti->setToolTip(0, formatToolTipFromDevice(info, nullptr, m_toolTipDetailLevel));
            GetLazyTraceStructInstance()->debug("DeviceTreeWidget::addDevice '%s'",
                                                info.GetFullName().c_str());
            Q_ASSERT(ti != (0L));
        }
    }
    Q_ASSERT((foundTL) && "Transport layer not found");
    Q_UNUSED(foundTL);
}

bool DeviceTreeWidget::selectByName(const QString& itemName, bool exactMatch)
{
    if (itemName.isEmpty()) {
        m_currentChangeByProgram = true;
        m_ui.treeWidget->setCurrentItem(nullptr);
        return true;
    }

    const Qt::MatchFlags flags =
        Qt::MatchRecursive | (exactMatch ? Qt::MatchFixedString : Qt::MatchWildcard);
    const QList<QTreeWidgetItem*> found = m_ui.treeWidget->findItems(itemName, flags, 0);
    for (QTreeWidgetItem* item : found) {
        if (item->data(0, DeviceTreeScannedRole).toInt() != 1)
            continue;
        item->setSelected(true);
        m_currentChangeByProgram = true;
        m_ui.treeWidget->setCurrentItem(item);
        onItemActivated(item, 0);
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
        return true;
    }
    return false;
}

void DeviceTreeWidget::selectByNameAsync(const QString& itemName, bool exactMatch)
{
    m_pendingSelection = itemName;
    m_pendingExactMatch = exactMatch;
    setInfoText(QStringLiteral("Autoopen: \"%1\"").arg(itemName));
}

void DeviceTreeWidget::selectByInfo(const Vorlo::CDeviceInfo& info)
{
    GetLazyTraceStructInstance()->debug("DeviceTreeWidget selecting '%s'",
                                        info.GetFullName().c_str());
    m_currentChangeByProgram = true;
    m_ui.treeWidget->setCurrentItem(findDeviceItem(keyOf(info)));
}

void DeviceTreeWidget::onCurrentItemChanged(QTreeWidgetItem* current, QTreeWidgetItem* previous)
{
    if (m_currentChangeByProgram) {
        m_currentChangeByProgram = false;
    } else if (current && previous && !m_pendingSelection.isEmpty()) {
        // A choice of the user cancels the auto-open; the text in the status label stays.
        m_pendingSelection.clear();
    }
    DeviceTreeWidgetItem* device = dynamic_cast<DeviceTreeWidgetItem*>(current);
    emit currentDeviceChanged(device ? &device->deviceInfo() : nullptr);
}

void DeviceTreeWidget::onItemActivated(QTreeWidgetItem* item, int column)
{
    Q_UNUSED(item);
    Q_UNUSED(column);
    emit deviceOpenRequest();
}

void DeviceTreeWidget::onOpenDevice(Vorlo::IVorloDevice* device)
{
    if (!device)
        return;
    const Vorlo::CDeviceInfo info = device->GetDeviceInfo();
    DeviceTreeWidgetItem* item = findDeviceItem(keyOf(info));
    if (!item)
        return;

    item->setData(0, DeviceTreeOpenRole, true);
    item->setDeviceInfo(info);
    item->setDevicePointer(device);
    VorloQtBase::guarded("onOpenDevice", QStringLiteral("Failed to build the tooltip of a device"), [&] {
        item->setToolTip(0, formatToolTipFromDevice(info, device, m_toolTipDetailLevel));
    });
    QFont font = item->font(0);
    font.setWeight(OpenFontWeight);
    item->setFont(0, font);
    // The tip goes away with the first open, unless it shows a waiting auto-open.
    if (m_openedCount == 0 && m_pendingSelection.isEmpty())
        setInfoText(QString());
    ++m_openedCount;
}

void DeviceTreeWidget::onCloseDevice(Vorlo::IVorloDevice* device)
{
    if (!device)
        return;
    DeviceTreeWidgetItem* item = findDeviceItem(keyOf(device->GetDeviceInfo()));
    if (!item)
        return;

    item->setData(0, DeviceTreeOpenRole, false);
    item->setDevicePointer(nullptr);
    QFont font = item->font(0);
    font.setWeight(ClosedFontWeight);
    item->setFont(0, font);
    ++m_closedCount;
}

void DeviceTreeWidget::onSurpriseRemoved(QString fullName, QString unused)
{
    Q_UNUSED(unused);
    // Open or not, the row goes: the device is gone.
    if (DeviceTreeWidgetItem* item = findDeviceItem(fullName))
        removeItem(item, false);
}

void DeviceTreeWidget::updateAllToolTips()
{
    for (int i = 0; i < m_ui.treeWidget->topLevelItemCount(); ++i) {
        QTreeWidgetItem* tlItem = m_ui.treeWidget->topLevelItem(i);
        for (int j = 0; j < tlItem->childCount(); ++j) {
            DeviceTreeWidgetItem* item = dynamic_cast<DeviceTreeWidgetItem*>(tlItem->child(j));
            if (!item)
                continue;
            VorloQtBase::guarded("updateAllToolTips",
                                 QStringLiteral("Failed to build the tooltip of a device"), [&] {
                                     item->setToolTip(0, formatToolTipFromDevice(
                                                             item->deviceInfo(),
                                                             item->devicePointer(),
                                                             m_toolTipDetailLevel));
                                 });
        }
    }
}

void DeviceTreeWidget::onSaveState(QDataStream& stream)
{
    stream << m_autoScanEnabled;
}

void DeviceTreeWidget::onRestoreState(QDataStream& stream)
{
    bool autoScan = m_autoScanEnabled;
    stream >> autoScan;
    setAutoScanEnabled(autoScan);
}
