#include "FeatureTreeProxyModel.h"

#include <QRegExp>

#include "featuretreemodel.h"

using namespace GenApi;

FeatureTreeProxyModel::FeatureTreeProxyModel(QObject* parent)
    : QSortFilterProxyModel(parent)
    , m_isAddingNodeMap(false)
    , m_visibility(Guru)
{
}

int FeatureTreeProxyModel::getVisibleMatchCount() const
{
    return m_visibleMatches.size();
}

int FeatureTreeProxyModel::getInvisibleMatchCount() const
{
    return m_invisibleMatches.size();
}

FeatureTreeModel* FeatureTreeProxyModel::getFeatureTreeModel()
{
    return qobject_cast<FeatureTreeModel*>(sourceModel());
}

const FeatureTreeModel* FeatureTreeProxyModel::getFeatureTreeModel() const
{
    return qobject_cast<const FeatureTreeModel*>(sourceModel());
}

// --- Filtering ------------------------------------------------------------------

bool FeatureTreeProxyModel::filterAcceptsRowItself(int sourceRow, const QModelIndex& sourceParent) const
{
    const QAbstractItemModel* model = sourceModel();
    if (!model)
        return false;
    const QModelIndex index = model->index(sourceRow, 0, sourceParent);
    if (!index.isValid())
        return false;

    const QRegExp pattern = filterRegExp();
    // Debug rows have no part in a search; they show only with an empty filter.
    if (model->data(index, IsDebugNodeRole).toBool() && !pattern.isEmpty())
        return false;

    const QString text = model->data(index, Qt::DisplayRole).toString();
    const QString name = model->data(index, NodeNameRole).toString();
    const bool isCategory = model->data(index, IsCategoryRole).toBool();
    const int visibility = model->data(index, VisibilityRole).toInt();

    // The top row of a node map never counts by itself.
    if (name == QLatin1String("Root"))
        return false;

    const bool visible = visibility <= static_cast<int>(m_visibility);
    // The display text includes the unit; the technical name is matched though it isn't shown.
    bool matched = (text.indexOf(pattern) >= 0 || name.indexOf(pattern) >= 0) && !isCategory;
    if (matched)
    {
        if (visible)
            m_visibleMatches.insert(name, true);
        else if (visibility < static_cast<int>(Invisible))
            m_invisibleMatches.insert(name, true);
    }

    // The search help row is exempt from the text, not from the user level.
    const FeatureTreeItem* item =
        getFeatureTreeModel() ? static_cast<const FeatureTreeItem*>(index.internalPointer()) : nullptr;
    if (item && item->getFullName() == QLatin1String("Search"))
        matched = true;

    return matched && visible;
}

bool FeatureTreeProxyModel::hasAcceptedChildren(int sourceRow, const QModelIndex& sourceParent, int depth) const
{
    const QAbstractItemModel* model = sourceModel();
    if (!model)
        return false;
    const QModelIndex index = model->index(sourceRow, 0, sourceParent);
    if (!index.isValid())
        return false;
    // rowCount makes the row load its children: the first search builds the whole tree.
    const int rows = model->rowCount(index);
    if (rows == 0)
        return false;
    // The breadth of one level is tried before going down.
    for (int i = 0; i < rows; ++i)
    {
        if (filterAcceptsRowItself(i, index))
            return true;
    }
    for (int i = 0; i < rows; ++i)
    {
        if (hasAcceptedChildren(i, index, depth + 1))
            return true;
    }
    return false;
}

bool FeatureTreeProxyModel::filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const
{
    // A pass begins with top row 0: the counts start afresh.
    if (sourceRow == 0 && !sourceParent.isValid())
    {
        m_visibleMatches.clear();
        m_invisibleMatches.clear();
    }
    if (m_isAddingNodeMap)
        return true;
    if (filterAcceptsRowItself(sourceRow, sourceParent))
        return true;
    // Everything below a matching feature stays visible.
    for (QModelIndex ancestor = sourceParent; ancestor.isValid(); ancestor = ancestor.parent())
    {
        if (filterAcceptsRowItself(ancestor.row(), ancestor.parent()))
            return true;
    }
    // A category shows only through what it holds.
    return hasAcceptedChildren(sourceRow, sourceParent, 0);
}

// --- Forwarding -------------------------------------------------------------------

#define FEATURE_TREE_MODEL_OR(fallback)   \
    FeatureTreeModel* pModel = const_cast<FeatureTreeModel*>(getFeatureTreeModel()); \
    Q_ASSERT(pModel != (0L));             \
    if (!pModel)                          \
        return fallback

bool FeatureTreeProxyModel::IsFavoriteTreeItem(const FeatureTreeItem* item) const
{
    FEATURE_TREE_MODEL_OR(false);
    return pModel->IsFavoriteTreeItem(item);
}

bool FeatureTreeProxyModel::IsFavoriteTreeRoot(const FeatureTreeItem* item) const
{
    FEATURE_TREE_MODEL_OR(false);
    return pModel->IsFavoriteTreeRoot(item);
}

QModelIndex FeatureTreeProxyModel::indexForItem(FeatureTreeItem* item, int column) const
{
    FEATURE_TREE_MODEL_OR(QModelIndex());
    return mapFromSource(pModel->indexForItem(item, column));
}

QModelIndex FeatureTreeProxyModel::GetFavoritesRootIndex()
{
    FEATURE_TREE_MODEL_OR(QModelIndex());
    return mapFromSource(pModel->GetFavoritesRootIndex());
}

void FeatureTreeProxyModel::EnablePolling(bool enable)
{
    FEATURE_TREE_MODEL_OR();
    pModel->EnablePolling(enable);
}

bool FeatureTreeProxyModel::GetPolling() const
{
    FEATURE_TREE_MODEL_OR(false);
    return pModel->GetPolling();
}

void FeatureTreeProxyModel::EnableViewAllFavorites(bool enable)
{
    FEATURE_TREE_MODEL_OR();
    pModel->EnableViewAllFavorites(enable);
}

bool FeatureTreeProxyModel::GetViewAllFavorites() const
{
    FEATURE_TREE_MODEL_OR(false);
    return pModel->GetViewAllFavorites();
}

void FeatureTreeProxyModel::SetDeviceAlive(bool alive)
{
    FEATURE_TREE_MODEL_OR();
    pModel->SetDeviceAlive(alive);
}

QModelIndex FeatureTreeProxyModel::findItem(const FeatureTreeItem* wanted, const FeatureTreeItem* start, int column) const
{
    FEATURE_TREE_MODEL_OR(QModelIndex());
    return mapFromSource(pModel->findItem(wanted, start, column));
}

QModelIndex FeatureTreeProxyModel::findItemByFullName(const QString& fullName, FeatureTreeItem* start, int column) const
{
    FEATURE_TREE_MODEL_OR(QModelIndex());
    return mapFromSource(pModel->findItemByFullName(fullName, start, column));
}

QModelIndex FeatureTreeProxyModel::findItemByRole(int role, const QVariant& value, FeatureTreeItem* start, int column) const
{
    FEATURE_TREE_MODEL_OR(QModelIndex());
    return mapFromSource(pModel->findItemByRole(role, value, start, column));
}

void FeatureTreeProxyModel::addNodeMap(INodeMap* pNodeMap, const QString& rootName, const QString& roleName, bool isUtf8)
{
    FEATURE_TREE_MODEL_OR();
    // While the rows go in, the filter accepts them all without reading a node.
    m_isAddingNodeMap = true;
    pModel->addNodeMap(pNodeMap, rootName, roleName, isUtf8);
    m_isAddingNodeMap = false;
}

void FeatureTreeProxyModel::rebuildFavoriteItems()
{
    FEATURE_TREE_MODEL_OR();
    pModel->rebuildFavoriteItems();
}

void FeatureTreeProxyModel::CreateFavoritesRoot()
{
    FEATURE_TREE_MODEL_OR();
    pModel->CreateFavoritesRoot();
}

bool FeatureTreeProxyModel::RemoveFavorite(QModelIndex index)
{
    FEATURE_TREE_MODEL_OR(false);
    return pModel->RemoveFavorite(mapToSource(index));
}

bool FeatureTreeProxyModel::AddFavorite(INode* node, int row)
{
    FEATURE_TREE_MODEL_OR(false);
    return pModel->AddFavorite(node, row);
}

FavoritesData& FeatureTreeProxyModel::GetFavorites()
{
    FeatureTreeModel* pModel = getFeatureTreeModel();
    Q_ASSERT(pModel != (0L));
    if (!pModel)
        return FeatureTreeModel::m_favorites;
    return pModel->GetFavorites();
}

bool FeatureTreeProxyModel::MoveFavorite(QModelIndex index, bool up)
{
    FEATURE_TREE_MODEL_OR(false);
    return pModel->MoveFavorite(mapToSource(index), up);
}

bool FeatureTreeProxyModel::CanMoveFavorite(QModelIndex index, bool up) const
{
    FEATURE_TREE_MODEL_OR(false);
    return pModel->CanMoveFavorite(mapToSource(index), up);
}

bool FeatureTreeProxyModel::CanAddAsFavorite(QModelIndex index) const
{
    FEATURE_TREE_MODEL_OR(false);
    return pModel->CanAddAsFavorite(mapToSource(index));
}

void FeatureTreeProxyModel::refresh()
{
    FEATURE_TREE_MODEL_OR();
    pModel->refresh();
}

void FeatureTreeProxyModel::addChildren(FeatureTreeINodeItem* item, bool deadEnd)
{
    FEATURE_TREE_MODEL_OR();
    pModel->addChildren(item, deadEnd);
}

void FeatureTreeProxyModel::setVisibility(EVisibility visibility)
{
    m_visibility = visibility;
    FEATURE_TREE_MODEL_OR();
    pModel->setVisibility(visibility);
}

EVisibility FeatureTreeProxyModel::getVisibility() const
{
    FEATURE_TREE_MODEL_OR(_UndefinedVisibility);
    return pModel->getVisibility();
}

void FeatureTreeProxyModel::setMonitorMode(bool monitorMode)
{
    FEATURE_TREE_MODEL_OR();
    pModel->setMonitorMode(monitorMode);
}

void FeatureTreeProxyModel::setGenICamCallbacksEnable(bool enable)
{
    FEATURE_TREE_MODEL_OR();
    pModel->setGenICamCallbacksEnable(enable);
}

bool FeatureTreeProxyModel::getGenICamCallbackEnable() const
{
    FEATURE_TREE_MODEL_OR(false);
    return pModel->getGenICamCallbackEnable();
}

FeatureTreeItem* FeatureTreeProxyModel::getFeatureTreeItem(const QModelIndex& index) const
{
    return static_cast<FeatureTreeItem*>(mapToSource(index).internalPointer());
}

void FeatureTreeProxyModel::setHighlighter(FeatureTreeHighlighter* highlighter)
{
    FEATURE_TREE_MODEL_OR();
    pModel->setHighlighter(highlighter);
}

FeatureTreeItem* FeatureTreeProxyModel::getSearchHelpItem() const
{
    FEATURE_TREE_MODEL_OR(nullptr);
    return pModel->getSearchHelpItem();
}

void FeatureTreeProxyModel::refreshSpecialItems()
{
    FEATURE_TREE_MODEL_OR();
    pModel->refreshSpecialItems();
}

void FeatureTreeProxyModel::clear()
{
    FEATURE_TREE_MODEL_OR();
    pModel->clear();
}

void FeatureTreeProxyModel::onNodeUpdated(int row, FeatureTreeINodeItem* nodeItem)
{
    FEATURE_TREE_MODEL_OR();
    pModel->onNodeUpdated(row, nodeItem);
}

void FeatureTreeProxyModel::onTimerPoll()
{
    FEATURE_TREE_MODEL_OR();
    pModel->onTimerPoll();
}

QString FeatureTreeProxyModel::GetNodeMapName(INodeMap* pNodeMap) const
{
    FEATURE_TREE_MODEL_OR(QStringLiteral("unknown NodeMap name"));
    return pModel->GetNodeMapName(pNodeMap);
}

void FeatureTreeProxyModel::replaceFavoritesZombies(INodeMap* pNodeMap, const QString& nodeMapName)
{
    FEATURE_TREE_MODEL_OR();
    pModel->replaceFavoritesZombies(pNodeMap, nodeMapName);
}

int FeatureTreeProxyModel::getFavoritesIndexFromFeatureTreeItem(const FeatureTreeItem* item) const
{
    FEATURE_TREE_MODEL_OR(-1);
    return pModel->getFavoritesIndexFromFeatureTreeItem(item);
}

int FeatureTreeProxyModel::getFavoritesIndexFromModelIndex(QModelIndex index) const
{
    FEATURE_TREE_MODEL_OR(-1);
    return pModel->getFavoritesIndexFromModelIndex(mapToSource(index));
}
