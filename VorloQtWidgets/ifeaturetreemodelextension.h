#pragma once

#include <QModelIndex>
#include <QObject>
#include <QString>
#include <QVariant>

#include <GenApi/GenApi.h>

#include <VorloQtWidgets/vorloqtwidgets_export.h>

class FavoritesData;
class FeatureTreeHighlighter;
class FeatureTreeINodeItem;
class FeatureTreeItem;

// What the widgets above the feature model may ask of it. FeatureTreeModel implements
// it, and FeatureTreeProxyModel forwards it with the index translation, so that views,
// delegates and rows work alike on either. Reach it from a QAbstractItemModel* with
// qobject_cast<IFeatureTreeModelExtension*>().
class VORLOQTWIDGETS_EXPORT IFeatureTreeModelExtension
{
public:
    virtual bool IsFavoriteTreeItem(const FeatureTreeItem* item) const = 0;
    virtual bool IsFavoriteTreeRoot(const FeatureTreeItem* item) const = 0;
    virtual QModelIndex indexForItem(FeatureTreeItem* item, int column) const = 0;
    virtual QModelIndex GetFavoritesRootIndex() = 0;
    virtual void EnablePolling(bool enable) = 0;
    virtual bool GetPolling() const = 0;
    virtual void EnableViewAllFavorites(bool enable) = 0;
    virtual bool GetViewAllFavorites() const = 0;
    virtual void SetDeviceAlive(bool alive) = 0;
    virtual QModelIndex findItem(const FeatureTreeItem* wanted, const FeatureTreeItem* start, int column) const = 0;
    virtual QModelIndex findItemByFullName(const QString& fullName, FeatureTreeItem* start, int column) const = 0;
    virtual QModelIndex findItemByRole(int role, const QVariant& value, FeatureTreeItem* start, int column) const = 0;
    virtual void addNodeMap(GenApi::INodeMap* pNodeMap, const QString& rootName, const QString& roleName, bool isUtf8) = 0;
    virtual void rebuildFavoriteItems() = 0;
    virtual void CreateFavoritesRoot() = 0;
    virtual bool RemoveFavorite(QModelIndex index) = 0;
    virtual bool AddFavorite(GenApi::INode* node, int row) = 0;
    virtual FavoritesData& GetFavorites() = 0;
    virtual bool MoveFavorite(QModelIndex index, bool up) = 0;
    virtual bool CanMoveFavorite(QModelIndex index, bool up) const = 0;
    virtual bool CanAddAsFavorite(QModelIndex index) const = 0;
    virtual void refresh() = 0;
    virtual void addChildren(FeatureTreeINodeItem* item, bool deadEnd) = 0;
    virtual void setVisibility(GenApi::EVisibility visibility) = 0;
    virtual GenApi::EVisibility getVisibility() const = 0;
    virtual void setMonitorMode(bool monitorMode) = 0;
    virtual void setGenICamCallbacksEnable(bool enable) = 0;
    virtual bool getGenICamCallbackEnable() const = 0;
    virtual FeatureTreeItem* getFeatureTreeItem(const QModelIndex& index) const = 0;
    virtual void setHighlighter(FeatureTreeHighlighter* highlighter) = 0;
    virtual FeatureTreeItem* getSearchHelpItem() const = 0;
    virtual void refreshSpecialItems() = 0;
    virtual void clear() = 0;
    virtual void onNodeUpdated(int row, FeatureTreeINodeItem* nodeItem) = 0;
    virtual void onTimerPoll() = 0;
    virtual QString GetNodeMapName(GenApi::INodeMap* pNodeMap) const = 0;
    virtual void replaceFavoritesZombies(GenApi::INodeMap* pNodeMap, const QString& nodeMapName) = 0;
    virtual int getFavoritesIndexFromFeatureTreeItem(const FeatureTreeItem* item) const = 0;
    virtual int getFavoritesIndexFromModelIndex(QModelIndex index) const = 0;
};

Q_DECLARE_INTERFACE(IFeatureTreeModelExtension, "IFeatureTreeModelExtension")
