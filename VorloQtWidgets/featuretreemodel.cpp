#include "featuretreemodel.h"

#include <QDataStream>
#include <QSettings>
#include <QStringList>

#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtBase/exceptionhandling.h>
#include <VorloQtBase/pluginmanager.h>

using namespace GenApi;

const char* const g_magicExtensionPluginSettingsName = "ExtensionPlugin";
const char* const g_NodemapDebugSwitchName = "EnableNodeDebug";
const char* const g_magicLumidexPluginName = "LumidexPlugin";

FavoritesData FeatureTreeModel::m_favorites;

namespace {

const char* const s_featureTreeItemMimeType = "application/x-fti";

QString fromGc(const GenICam::gcstring& text)
{
    return QString::fromLatin1(text.c_str());
}

bool isReadableMode(EAccessMode mode)
{
    return mode == RO || mode == RW;
}

} // namespace

QString getExtensionPluginName()
{
    QSettings settings;
    const QString key = QString::fromLatin1(g_magicExtensionPluginSettingsName);
    if (!settings.contains(key)
        && VorloViewerSdk::PluginManager::isPluginAvailable(QString::fromLatin1(g_magicLumidexPluginName)))
        return QString::fromLatin1(g_magicLumidexPluginName);
    return settings.value(key).toString();
}

bool isExtensionPluginAvailable()
{
    static const bool s_available = VorloViewerSdk::PluginManager::isPluginAvailable(getExtensionPluginName());
    return s_available;
}

bool amILumidex()
{
    static const bool s_lumidex = isExtensionPluginAvailable()
                                  && getExtensionPluginName() == QLatin1String(g_magicLumidexPluginName);
    return s_lumidex;
}

bool isNodeDebugModeEnabled()
{
    static const bool s_enabled = [] {
        QSettings settings;
        if (settings.value(QString::fromLatin1(g_NodemapDebugSwitchName), false).toBool())
            return true;
        return amILumidex();
    }();
    return s_enabled;
}

// ---------------------------------------------------------------------------

FeatureTreeModel::FeatureTreeModel(QObject* parent)
    : QAbstractItemModel(parent)
    , m_rootItem(nullptr)
    , m_favoritesRoot(nullptr)
    , m_searchHelpItem(nullptr)
    , m_dataErrorShown(false)
    , m_visibility(Expert)
    , m_pollInterval(300)
    , m_pollTimer(this)
    , m_polling(false)
    , m_deviceAlive(true)
    , m_monitorMode(false)
    , m_callbacksEnabled(true)
    , m_useUtf8(false)
    , m_highlighter(nullptr)
{
    qRegisterMetaType<FeatureTreeINodeItem*>("FeatureTreeINodeItem*");
    m_rootItem = new FeatureTreeItem(QString(), this, false, QStringLiteral("MasterRoot"), QString(), nullptr, false);
    // Single shot: the next pass is timed from the end of the previous one, however long it took.
    m_pollTimer.setSingleShot(true);
    connect(&m_pollTimer, SIGNAL(timeout()), this, SLOT(onTimerPoll()));
}

FeatureTreeModel::~FeatureTreeModel()
{
    if (m_polling)
        m_pollTimer.stop();
    delete m_rootItem;
    m_rootItem = nullptr;
    m_favoritesRoot = nullptr;
    m_searchHelpItem = nullptr;
    m_favorites.SaveFavorites(m_favorites.getSettingsPath());
}

FeatureTreeItem* FeatureTreeModel::itemFromIndex(const QModelIndex& index) const
{
    if (!index.isValid())
        return m_rootItem;
    return static_cast<FeatureTreeItem*>(index.internalPointer());
}

void FeatureTreeModel::connectRow(FeatureTreeINodeItem* row)
{
    connect(row, SIGNAL(nodeUpdated(int, FeatureTreeINodeItem*)), this,
            SLOT(onNodeUpdated(int, FeatureTreeINodeItem*)));
}

// --- QAbstractItemModel -----------------------------------------------------

QModelIndex FeatureTreeModel::index(int row, int column, const QModelIndex& parent) const
{
    if (row < 0 || column < 0 || column >= 2)
        return QModelIndex();
    FeatureTreeItem* parentItem = itemFromIndex(parent);
    if (!parentItem)
        return QModelIndex();
    FeatureTreeItem* child = parentItem->child(row);
    if (!child)
        return QModelIndex();
    return createIndex(row, column, child);
}

QModelIndex FeatureTreeModel::parent(const QModelIndex& index) const
{
    if (!index.isValid())
        return QModelIndex();
    FeatureTreeItem* item = static_cast<FeatureTreeItem*>(index.internalPointer());
    if (!item)
        return QModelIndex();
    FeatureTreeItem* parentItem = item->parent();
    if (!parentItem || parentItem == m_rootItem)
        return QModelIndex();
    return createIndex(parentItem->row(), 0, parentItem);
}

int FeatureTreeModel::rowCount(const QModelIndex& parent) const
{
    FeatureTreeItem* item = itemFromIndex(parent);
    if (!item)
        return 0;
    // May build the rows of a lazy node.
    return item->childCount();
}

int FeatureTreeModel::columnCount(const QModelIndex&) const
{
    return 2;
}

bool FeatureTreeModel::hasChildren(const QModelIndex& parent) const
{
    FeatureTreeItem* item = parent.isValid() ? static_cast<FeatureTreeItem*>(parent.internalPointer()) : nullptr;
    if (!item || item == m_rootItem)
        return true;
    return item->hasChildren();
}

QVariant FeatureTreeModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || !index.internalPointer())
        return QVariant();
    FeatureTreeItem* item = static_cast<FeatureTreeItem*>(index.internalPointer());
    // A row that keeps failing while the view repaints is reported once, until a read succeeds.
    try
    {
        const QVariant result = item->data(index.column(), role);
        m_dataErrorShown = false;
        return result;
    }
    catch (const GenICam::GenericException& e)
    {
        if (!m_dataErrorShown)
        {
            m_dataErrorShown = true;
            showException(QStringLiteral("data"), e, tr("Failed to get a feature value"));
        }
    }
    catch (const std::exception& e)
    {
        if (!m_dataErrorShown)
        {
            m_dataErrorShown = true;
            showException(QStringLiteral("data"), e, tr("Failed to get a feature value"));
        }
    }
    catch (...)
    {
        if (!m_dataErrorShown)
        {
            m_dataErrorShown = true;
            showUnexpectedException(QStringLiteral("data"), tr("Failed to get a feature value"));
        }
    }
    return QVariant();
}

bool FeatureTreeModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (!index.isValid() || role != Qt::EditRole || index.column() != 1 || !value.isValid() || !m_deviceAlive)
        return false;
    FeatureTreeItem* item = static_cast<FeatureTreeItem*>(index.internalPointer());
    if (!item)
        return false;
    // No dataChanged here: the node's own callback brings it.
    try
    {
        if (item->data(1, Qt::EditRole) != value)
            item->setData(1, value, Qt::EditRole);
        return true;
    }
    catch (const GenICam::GenericException& e)
    {
        if (m_deviceAlive)
            showException(QStringLiteral("setData"), e, tr("Failed to set a feature value."));
    }
    catch (const std::exception& e)
    {
        if (m_deviceAlive)
            showException(QStringLiteral("setData"), e, tr("Failed to set a feature value."));
    }
    catch (...)
    {
        if (m_deviceAlive)
            showUnexpectedException(QStringLiteral("setData"), tr("Failed to set a feature value."));
    }
    return false;
}

Qt::ItemFlags FeatureTreeModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::ItemIsEnabled;
    FeatureTreeItem* item = static_cast<FeatureTreeItem*>(index.internalPointer());
    if (!item)
        return Qt::ItemIsEnabled;
    return item->flags(index.column());
}

QVariant FeatureTreeModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QVariant();
    switch (section)
    {
    case 0:
        return tr("Feature");
    case 1:
        return tr("Value");
    default:
        return QVariant();
    }
}

QMimeData* FeatureTreeModel::mimeData(const QModelIndexList& indexes) const
{
    QMimeData* mime = QAbstractItemModel::mimeData(indexes);
    if (!mime)
        mime = new QMimeData;
    // Row pointers: only good within this process.
    QByteArray encoded;
    QDataStream stream(&encoded, QIODevice::WriteOnly);
    for (const QModelIndex& index : indexes)
    {
        if (index.isValid())
            stream << static_cast<qint64>(reinterpret_cast<quintptr>(index.internalPointer()));
    }
    mime->setData(QString::fromLatin1(s_featureTreeItemMimeType), encoded);
    return mime;
}

bool FeatureTreeModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int,
                                    const QModelIndex&)
{
    if (action == Qt::IgnoreAction)
        return true;
    if (!data || !data->hasFormat(QString::fromLatin1(s_featureTreeItemMimeType)))
        return false;
    // The drop always concerns the favorites; -1 counts the top rows, and AddFavorite appends
    // when the position lies past the end of the list.
    if (row == -1)
        row = rowCount(QModelIndex());

    m_favorites.setDeferDataUpdatedSignals(true);

    QByteArray encoded = data->data(QString::fromLatin1(s_featureTreeItemMimeType));
    QDataStream stream(&encoded, QIODevice::ReadOnly);
    QList<FeatureTreeItem*> items;
    while (!stream.atEnd())
    {
        qint64 pointer = 0;
        stream >> pointer;
        if (pointer)
            items.append(reinterpret_cast<FeatureTreeItem*>(static_cast<quintptr>(pointer)));
    }

    // Last to first, so that the rows land in their dragged order at one position.
    for (int i = items.size() - 1; i >= 0; --i)
    {
        FeatureTreeItem* item = items.at(i);
        if (IsFavoriteTreeItem(item))
        {
            m_favorites.moveNode(getFavoritesIndexFromFeatureTreeItem(item), row);
        }
        else if (FeatureTreeINodeItem* nodeItem = qobject_cast<FeatureTreeINodeItem*>(item))
        {
            VorloQtBase::guarded("dropMimeData", QStringLiteral("Failed to add a favorite"),
                                 [&] { AddFavorite(nodeItem->node(), row); });
        }
    }

    m_favorites.setDeferDataUpdatedSignals(false);
    return true;
}

Qt::DropActions FeatureTreeModel::supportedDropActions() const
{
    return Qt::MoveAction;
}

// --- Tree and lookups -------------------------------------------------------

QModelIndex FeatureTreeModel::indexForItem(FeatureTreeItem* item, int column) const
{
    if (!item)
        return QModelIndex();
    return createIndex(item->row(), column, item);
}

FeatureTreeItem* FeatureTreeModel::getFeatureTreeItem(const QModelIndex& index) const
{
    return static_cast<FeatureTreeItem*>(index.internalPointer());
}

QModelIndex FeatureTreeModel::findItem(const FeatureTreeItem* wanted, const FeatureTreeItem* start, int column) const
{
    const FeatureTreeItem* from = start ? start : m_rootItem;
    if (from->findShallow(wanted))
        return indexForItem(const_cast<FeatureTreeItem*>(wanted), column);
    return QModelIndex();
}

QModelIndex FeatureTreeModel::findItemByFullName(const QString& fullName, FeatureTreeItem* start, int column) const
{
    FeatureTreeItem* from = start ? start : m_rootItem;
    if (FeatureTreeItem* found = from->findByFullNameShallow(fullName))
        return indexForItem(found, column);
    return QModelIndex();
}

QModelIndex FeatureTreeModel::findItemByRole(int role, const QVariant& value, FeatureTreeItem* start, int column) const
{
    FeatureTreeItem* from = start ? start : m_rootItem;
    if (FeatureTreeItem* found = from->findByRoleShallow(role, value))
        return indexForItem(found, column);
    return QModelIndex();
}

QString FeatureTreeModel::GetNodeMapName(INodeMap* pNodeMap) const
{
    // A dead entry holds no map any more, so it doesn't answer for null.
    if (!pNodeMap)
        return QString();
    for (const NodemapListEntry& entry : m_nodeMaps)
    {
        if (entry.nodeMap.get() == pNodeMap)
            return entry.name;
    }
    return QString();
}

// --- Settings of the model ----------------------------------------------------

void FeatureTreeModel::EnablePolling(bool enable)
{
    if (enable == m_polling)
        return;
    m_polling = enable;
    if (m_polling)
        m_pollTimer.start(static_cast<int>(m_pollInterval));
}

bool FeatureTreeModel::GetPolling() const
{
    return m_polling;
}

void FeatureTreeModel::SetDeviceAlive(bool alive)
{
    m_deviceAlive = alive;
}

void FeatureTreeModel::setMonitorMode(bool monitorMode)
{
    m_monitorMode = monitorMode;
}

void FeatureTreeModel::setGenICamCallbacksEnable(bool enable)
{
    m_callbacksEnabled = enable;
}

bool FeatureTreeModel::getGenICamCallbackEnable() const
{
    return m_callbacksEnabled;
}

void FeatureTreeModel::setVisibility(EVisibility visibility)
{
    m_visibility = visibility;
}

EVisibility FeatureTreeModel::getVisibility() const
{
    return m_visibility;
}

void FeatureTreeModel::setHighlighter(FeatureTreeHighlighter* highlighter)
{
    m_highlighter = highlighter;
}

FeatureTreeItem* FeatureTreeModel::getSearchHelpItem() const
{
    return m_searchHelpItem;
}

void FeatureTreeModel::refresh()
{
    for (int i = 0; i < m_nodeMaps.size(); ++i)
    {
        const NodemapListEntry entry = m_nodeMaps.at(i);
        if (entry.nodeMap.IsValid())
            entry.nodeMap->InvalidateNodes();
    }
}

void FeatureTreeModel::clear()
{
    m_rootItem->clearChildren();
    // The favorites root and the search help row were children of the master root and are
    // gone with it; forget them so that CreateFavoritesRoot makes them anew.
    m_favoritesRoot = nullptr;
    m_searchHelpItem = nullptr;
}

// --- Building rows ------------------------------------------------------------

void FeatureTreeModel::addNodeMap(INodeMap* pNodeMap, const QString& rootName, const QString& roleName, bool isUtf8)
{
    if (!pNodeMap)
        return;
    m_useUtf8 = isUtf8;

    INode* rootNode = nullptr;
    const bool found = VorloQtBase::guardedShown(
        "addNodeMap", QStringLiteral("Failed to get the node 'Root' from the node map"),
        tr("Failed to get the node 'Root' from the node map"), nullptr,
        [&] { rootNode = pNodeMap->GetNode("Root"); });
    if (!found)
        return;

    FeatureTreeINodeItem* top = new FeatureTreeINodeItem(rootNode, rootName, this, false, QStringLiteral("Root"),
                                                         roleName + QStringLiteral("*Root"), m_rootItem, false, false);
    top->setHighlighter(m_highlighter);
    top->SetIsFullRowItem(true);
    top->SetIsSpecialNode(false);
    connectRow(top);

    emit layoutAboutToBeChanged();
    m_rootItem->appendChild(top);
    emit layoutChanged();

    replaceFavoritesZombies(pNodeMap, roleName);

    // The map's entry doesn't exist yet, so this first level gets full names without the
    // map's name before the '*'; deeper levels have it. Favorites rely on this order.
    top->childCount();

    NodemapListEntry entry;
    entry.name = roleName;
    entry.nodeMap = pNodeMap;
    m_nodeMaps.append(entry);

    pNodeMap->InvalidateNodes();
    refreshSpecialItems();
}

void FeatureTreeModel::addChildren(FeatureTreeINodeItem* item, bool deadEnd)
{
    INode* node = item ? item->node() : nullptr;
    if (!node)
        return;
    const QString mapName = GetNodeMapName(node->GetNodeMap());
    QList<FeatureTreeINodeItem*> rows;

    if (!isNodeDebugModeEnabled())
    {
        // Decided once: a category that is unavailable at the first fill stays empty.
        ICategory* category = dynamic_cast<ICategory*>(node);
        if (category && isReadableMode(node->GetAccessMode()))
        {
            FeatureList_t features;
            category->GetFeatures(features);
            for (IValue* value : features)
            {
                INode* featureNode = value ? value->GetNode() : nullptr;
                if (!featureNode || !featureNode->IsFeature())
                    continue;
                rows.append(new FeatureTreeINodeItem(featureNode, this, false, QStringLiteral("<pFeature>"),
                                                     mapName + QLatin1Char('*') + fromGc(featureNode->GetName(false)),
                                                     item, false, m_useUtf8));
            }
        }
    }
    else
    {
        // Debug rows: one for each node that a pointer property of this node names.
        gcstring_vector propertyNames;
        node->GetPropertyNames(propertyNames);
        INodeMap* nodeMap = node->GetNodeMap();
        for (const gcstring& propertyName : propertyNames)
        {
            if (propertyName.empty() || propertyName[0] != 'p')
                continue;
            gcstring valueText;
            gcstring attributeText;
            node->GetProperty(propertyName, valueText, attributeText);
            const QStringList values = fromGc(valueText).split(QLatin1Char('\t'), Qt::SkipEmptyParts);
            const QStringList attributes = fromGc(attributeText).split(QLatin1Char('\t'), Qt::SkipEmptyParts);
            const QString property = fromGc(propertyName);
            const bool isDebug = property != QLatin1String("pFeature");
            const bool isDead = deadEnd || property == QLatin1String("pDependent")
                                || property == QLatin1String("pTerminal") || property == QLatin1String("pSelecting");
            int attributeIndex = 0;
            for (const QString& value : values)
            {
                INode* target = nodeMap ? nodeMap->GetNode(gcstring(value.toLatin1().constData())) : nullptr;
                QString label;
                if (attributeIndex >= attributes.size())
                    label = QString("<%1>").arg(property);
                else
                    label = QString("<%1 [%2]>").arg(property, attributes.at(attributeIndex++));
                if (!target)
                    throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
                rows.append(new FeatureTreeINodeItem(target, this, isDebug, label,
                                                     mapName + QLatin1Char('*') + fromGc(target->GetName(false)),
                                                     item, isDead, m_useUtf8));
            }
        }
    }

    for (FeatureTreeINodeItem* row : qAsConst(rows))
    {
        row->setHighlighter(m_highlighter);
        row->SetIsFullRowItem(false);
        row->SetIsSpecialNode(false);
        connectRow(row);
    }
    if (rows.isEmpty())
        return;
    beginInsertRows(indexForItem(item, 0), 0, rows.size() - 1);
    for (FeatureTreeINodeItem* row : qAsConst(rows))
        item->FeatureTreeItem::appendChild(row);
    endInsertRows();
}

void FeatureTreeModel::refreshSpecialIndex(const QModelIndex& index)
{
    if (data(index, IsFullRowRole).toBool())
        emit dataChanged(index, index);
}

void FeatureTreeModel::refreshSpecialItems()
{
    // Three levels: enough to bring the full-row spans of categories into force in the view.
    const int topRows = rowCount(QModelIndex());
    for (int i = 0; i < topRows; ++i)
    {
        const QModelIndex first = index(i, 0, QModelIndex());
        refreshSpecialIndex(first);
        const int secondRows = rowCount(first);
        for (int j = 0; j < secondRows; ++j)
        {
            const QModelIndex second = index(j, 0, first);
            refreshSpecialIndex(second);
            const int thirdRows = rowCount(second);
            for (int k = 0; k < thirdRows; ++k)
                refreshSpecialIndex(index(k, 0, second));
        }
    }
}

// --- Polling and node updates ---------------------------------------------------

void FeatureTreeModel::onTimerPoll()
{
    // After a tick with a dead device the timer stays stopped until polling is switched off and on.
    if (!m_deviceAlive)
        return;
    for (int i = 0; i < m_nodeMaps.size(); ++i)
    {
        const NodemapListEntry entry = m_nodeMaps.at(i); // a pointer of its own for this pass
        if (!entry.nodeMap.IsValid())
            continue;
        VorloQtBase::guarded("onTimerPoll", QStringLiteral("Failed to run feature polling."), [&] {
            if (m_monitorMode)
                entry.nodeMap->InvalidateNodes();
            else
                entry.nodeMap->Poll(m_pollInterval);
        });
    }
    if (m_polling)
        m_pollTimer.start(static_cast<int>(m_pollInterval));
}

void FeatureTreeModel::onNodeUpdated(int row, FeatureTreeINodeItem* nodeItem)
{
    if (!m_deviceAlive || !nodeItem || row < 0)
        return;
    const QModelIndex nameIndex = createIndex(row, 0, nodeItem);
    emit dataChanged(nameIndex, nameIndex);
    const QModelIndex valueIndex = createIndex(row, 1, nodeItem);
    emit dataChanged(valueIndex, valueIndex);
}

// --- Favorites -------------------------------------------------------------------

FavoritesData& FeatureTreeModel::GetFavorites()
{
    return m_favorites;
}

QModelIndex FeatureTreeModel::GetFavoritesRootIndex()
{
    return indexForItem(m_favoritesRoot, 0);
}

void FeatureTreeModel::EnableViewAllFavorites(bool enable)
{
    m_favorites.setViewAllFavorites(enable);
}

bool FeatureTreeModel::GetViewAllFavorites() const
{
    return m_favorites.getViewAllFavorites();
}

bool FeatureTreeModel::IsFavoriteTreeRoot(const FeatureTreeItem* item) const
{
    if (!item)
        return false;
    return qobject_cast<const FeatureTreeFavoritesItem*>(item) == m_favoritesRoot;
}

bool FeatureTreeModel::IsFavoriteTreeItem(const FeatureTreeItem* item) const
{
    if (!item)
        return false;
    return IsFavoriteTreeRoot(item->parent());
}

void FeatureTreeModel::CreateFavoritesRoot()
{
    if (!m_favoritesRoot)
    {
        emit layoutAboutToBeChanged();
        m_favoritesRoot = new FeatureTreeFavoritesItem(tr("Favorites"), this, QStringLiteral("Favorites"), m_rootItem);
        m_rootItem->insertChild(m_favoritesRoot, 0);
        m_favoritesRoot->SetDescription(tr(
            "<h1>Favorites</h1><b>This node contains a list of features selected by the user</b><br><br>To add a "
            "feature, right-click the feature and choose 'Add to Favorites' from the context menu. You can also use "
            "drag and drop to add features to your favorites.<br>Favorites can be moved up and down within the list "
            "as well as removed from the list by right-clicking an item and choosing the appropriate option from the "
            "context menu."));
        m_favoritesRoot->setVisibility(Beginner);
        m_favoritesRoot->SetIsFullRowItem(true);
        m_favoritesRoot->SetIsSpecialNode(true);
        emit layoutChanged();
        const QModelIndex masterIndex = indexForItem(m_rootItem, 0);
        emit dataChanged(masterIndex, masterIndex);
        const QModelIndex favoritesIndex = indexForItem(m_favoritesRoot, 0);
        emit dataChanged(favoritesIndex, favoritesIndex);
    }
    if (!m_searchHelpItem)
    {
        // Announced as row 1 and inserted at row 0, so that it stands above the favorites.
        beginInsertRows(indexForItem(m_rootItem, 0), 1, 1);
        m_searchHelpItem = new FeatureTreeItem(
            QStringLiteral("<HTML><B>X search results found (Y of them visible at higher user level)</B>"), this,
            false, QStringLiteral("Search"), QStringLiteral("Search"), m_rootItem, false);
        m_searchHelpItem->setVisibility(Invisible);
        m_searchHelpItem->SetIsFullRowItem(true);
        m_searchHelpItem->SetIsSpecialNode(true);
        m_rootItem->insertChild(m_searchHelpItem, 0);
        const QModelIndex searchIndex = indexForItem(m_searchHelpItem, 0);
        emit dataChanged(searchIndex, searchIndex);
        endInsertRows();
    }
}

void FeatureTreeModel::rebuildFavoriteItems()
{
    CreateFavoritesRoot();
    const QModelIndex favoritesIndex = indexForItem(m_favoritesRoot, 0);

    const int oldRows = m_favoritesRoot->FeatureTreeItem::childCount();
    if (oldRows > 0)
    {
        beginRemoveRows(favoritesIndex, 0, oldRows - 1);
        m_favoritesRoot->clearChildren();
        endRemoveRows();
    }

    QList<FeatureTreeItem*> zombies;
    const EVisibility zombieVisibility = m_favorites.getViewAllFavorites() ? Beginner : Invisible;
    for (int i = 0; i < m_favorites.countNodes(); ++i)
    {
        const FavoritesData::FavoritesDataItem* favorite = m_favorites.nodeAt(i);
        if (!favorite || favorite->nodeName.empty())
            continue;
        FeatureTreeItem* zombie = new FeatureTreeItem(
            favorite->displayName, this, false, QStringLiteral("NAFav"),
            QStringLiteral("Fav*") + favorite->nodeMapName + QLatin1Char('*') + fromGc(favorite->nodeName),
            m_favoritesRoot, false);
        zombie->setVisibility(zombieVisibility);
        zombies.append(zombie);
    }

    if (zombies.isEmpty())
    {
        beginInsertRows(favoritesIndex, 1, 1);
        FeatureTreeItem* placeholder = new FeatureTreeItem(
            tr("Add favorites by right-clicking a feature below."), this, false, QStringLiteral("Dummy"),
            QStringLiteral("Dummy"), m_favoritesRoot, true);
        placeholder->SetDescription(tr(
            "To add a feature, right-click the feature and choose 'Add to Favorites' from the context menu. You can "
            "also use drag and drop to add features to your favorites."));
        placeholder->setVisibility(Beginner);
        placeholder->SetIsFullRowItem(true);
        placeholder->SetIsSpecialNode(true);
        m_favoritesRoot->appendChild(placeholder);
        endInsertRows();
        const QModelIndex placeholderIndex = indexForItem(placeholder, 0);
        emit dataChanged(placeholderIndex, placeholderIndex);
    }
    else
    {
        beginInsertRows(favoritesIndex, 0, zombies.size() - 1);
        for (FeatureTreeItem* zombie : qAsConst(zombies))
            m_favoritesRoot->appendChild(zombie);
        endInsertRows();
    }

    for (int i = 0; i < m_nodeMaps.size(); ++i)
    {
        const NodemapListEntry entry = m_nodeMaps.at(i);
        if (entry.nodeMap.IsValid() && !entry.name.isEmpty())
            replaceFavoritesZombies(entry.nodeMap.get(), entry.name);
    }
    refreshSpecialItems();
}

void FeatureTreeModel::replaceFavoritesZombies(INodeMap* pNodeMap, const QString& nodeMapName)
{
    if (!pNodeMap || !m_favoritesRoot)
        return;
    const QModelIndex favoritesIndex = indexForItem(m_favoritesRoot, 0);

    for (int i = 0; i < m_favorites.countNodes(); ++i)
    {
        const FavoritesData::FavoritesDataItem* favorite = m_favorites.nodeAt(i);
        if (!favorite || favorite->nodeMapName != nodeMapName)
            continue;
        INode* node = pNodeMap->GetNode(favorite->nodeName);
        if (!node)
            continue;
        FeatureTreeItem* existing = m_favoritesRoot->child(i);
        if (!existing)
            continue;
        if (FeatureTreeINodeItem* nodeRow = qobject_cast<FeatureTreeINodeItem*>(existing))
        {
            nodeRow->SetIsFullRowItem(false);
            nodeRow->SetIsSpecialNode(false);
            continue;
        }

        FeatureTreeINodeItem* real = new FeatureTreeINodeItem(node, this, false, QStringLiteral("pFeature"),
                                                              existing->getFullName(), m_favoritesRoot, false,
                                                              m_useUtf8);
        real->setHighlighter(m_highlighter);
        real->SetIsFullRowItem(false);
        real->SetIsSpecialNode(false);

        beginRemoveRows(favoritesIndex, i, i);
        m_favoritesRoot->removeChild(i);
        endRemoveRows();
        delete existing;

        beginInsertRows(favoritesIndex, i, i);
        m_favoritesRoot->insertChild(real, i);
        endInsertRows();

        const QModelIndex firstFavorite = index(0, 0, favoritesIndex);
        emit dataChanged(firstFavorite, firstFavorite);
        connectRow(real);
    }

    int missing = 0;
    for (int i = 0; i < m_favoritesRoot->FeatureTreeItem::childCount(); ++i)
    {
        FeatureTreeItem* row = m_favoritesRoot->child(i);
        if (!qobject_cast<FeatureTreeINodeItem*>(row) && row->getFullName() != QLatin1String("Dummy"))
            ++missing;
    }
    const int total = m_favorites.countNodes();
    if (missing == 0 && total >= 1)
    {
        m_favoritesRoot->SetToolTip(
            QString("%1 Favorite%2").arg(total).arg(total == 1 ? QString() : QStringLiteral("s")));
    }
    else if (missing > 0)
    {
        m_favoritesRoot->SetToolTip(QString("%1 Favorite%3 (%2 %4 unavailable for the current camera)")
                                        .arg(total)
                                        .arg(missing)
                                        .arg(total >= 2 ? QStringLiteral("s") : QString())
                                        .arg(missing == 1 ? QStringLiteral("is") : QStringLiteral("are")));
    }
    refreshSpecialItems();
}

bool FeatureTreeModel::AddFavorite(INode* node, int row)
{
    if (!node || row < 0)
        return false;
    INodeMap* nodeMap = node->GetNodeMap();
    if (!nodeMap)
        return false;
    FavoritesData::FavoritesDataItem item;
    item.nodeMapName = QString::fromLatin1(GetNodeMapName(nodeMap).toLocal8Bit());
    item.displayName = fromGc(node->GetDisplayName());
    item.nodeName = node->GetName(false);
    // The rows follow through dataUpdated and rebuildFavoriteItems.
    if (row < m_favorites.countNodes())
        return m_favorites.insertNode(row, item);
    return m_favorites.appendNode(item);
}

bool FeatureTreeModel::RemoveFavorite(QModelIndex index)
{
    const int favoriteIndex = getFavoritesIndexFromModelIndex(index);
    if (favoriteIndex < 0)
        return false;
    return m_favorites.removeNode(favoriteIndex, nullptr);
}

bool FeatureTreeModel::MoveFavorite(QModelIndex index, bool up)
{
    const int favoriteIndex = getFavoritesIndexFromModelIndex(index);
    if (favoriteIndex < 0)
        return false;
    // The target is the position before which the favorite goes, in the list before the move.
    if (up)
        return m_favorites.moveNode(favoriteIndex, favoriteIndex - 1);
    return m_favorites.moveNode(favoriteIndex, favoriteIndex + 2);
}

bool FeatureTreeModel::CanMoveFavorite(QModelIndex index, bool up) const
{
    const int favoriteIndex = getFavoritesIndexFromModelIndex(index);
    if (favoriteIndex < 0)
        return false;
    if (up)
        return favoriteIndex > 0;
    return favoriteIndex < m_favorites.countNodes() - 1;
}

bool FeatureTreeModel::CanAddAsFavorite(QModelIndex index) const
{
    if (!index.isValid())
        return false;
    FeatureTreeINodeItem* item = qobject_cast<FeatureTreeINodeItem*>(static_cast<FeatureTreeItem*>(index.internalPointer()));
    if (!item || item->isDeadEnd() || item->isDebugNode())
        return false;
    INode* node = item->node();
    if (!node)
        return false;
    switch (node->GetPrincipalInterfaceType())
    {
    case intfIInteger:
    case intfIBoolean:
    case intfICommand:
    case intfIFloat:
    case intfIString:
    case intfIEnumeration:
        break;
    default:
        return false;
    }
    return getFavoritesIndexFromModelIndex(index) < 0;
}

int FeatureTreeModel::getFavoritesIndexFromModelIndex(QModelIndex index) const
{
    if (!index.isValid())
        return -1;
    return getFavoritesIndexFromFeatureTreeItem(static_cast<const FeatureTreeItem*>(index.internalPointer()));
}

int FeatureTreeModel::getFavoritesIndexFromFeatureTreeItem(const FeatureTreeItem* item) const
{
    if (!item)
        return -1;
    const QStringList parts = item->getFullName().split(QLatin1Char('*'), Qt::KeepEmptyParts);
    QString nodeMapName;
    QString nodeName;
    if (parts.size() == 2)
    {
        nodeMapName = parts.at(0);
        nodeName = parts.at(1);
    }
    else if (parts.size() > 2)
    {
        if (parts.at(0) == QLatin1String("Fav"))
        {
            nodeMapName = parts.at(1);
            nodeName = parts.at(2);
        }
        else
        {
            nodeMapName = parts.at(0);
            nodeName = parts.at(1);
        }
    }
    FavoritesData::FavoritesDataItem probe;
    probe.nodeMapName = nodeMapName;
    probe.nodeName = gcstring(nodeName.toLatin1().constData());
    return m_favorites.indexOfNode(probe);
}
