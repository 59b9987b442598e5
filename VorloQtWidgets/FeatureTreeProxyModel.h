#pragma once

#include <QHash>
#include <QSortFilterProxyModel>
#include <QString>

#include <GenApi/GenApi.h>

#include <VorloQtWidgets/ifeaturetreemodelextension.h>
#include <VorloQtWidgets/vorloqtwidgets_export.h>

class FeatureTreeModel;

// Stands between FeatureTreeModel and the view: hides the rows that the user level
// doesn't show, applies the search text, keeps the ancestors and descendants of
// matches in view and counts the matches. It forwards IFeatureTreeModelExtension to
// the model, translating indexes on the way. It never sorts.
class VORLOQTWIDGETS_EXPORT FeatureTreeProxyModel : public QSortFilterProxyModel, public IFeatureTreeModelExtension
{
    Q_OBJECT
    Q_INTERFACES(IFeatureTreeModelExtension)

public:
    explicit FeatureTreeProxyModel(QObject* parent = nullptr);

    int getVisibleMatchCount() const;
    int getInvisibleMatchCount() const;
    FeatureTreeModel* getFeatureTreeModel();
    const FeatureTreeModel* getFeatureTreeModel() const;

    bool filterAcceptsRowItself(int sourceRow, const QModelIndex& sourceParent) const;
    bool hasAcceptedChildren(int sourceRow, const QModelIndex& sourceParent, int depth) const;

    // IFeatureTreeModelExtension
    bool IsFavoriteTreeItem(const FeatureTreeItem* item) const override;
    bool IsFavoriteTreeRoot(const FeatureTreeItem* item) const override;
    QModelIndex indexForItem(FeatureTreeItem* item, int column) const override;
    QModelIndex GetFavoritesRootIndex() override;
    void EnablePolling(bool enable) override;
    bool GetPolling() const override;
    void EnableViewAllFavorites(bool enable) override;
    bool GetViewAllFavorites() const override;
    void SetDeviceAlive(bool alive) override;
    QModelIndex findItem(const FeatureTreeItem* wanted, const FeatureTreeItem* start, int column) const override;
    QModelIndex findItemByFullName(const QString& fullName, FeatureTreeItem* start, int column) const override;
    QModelIndex findItemByRole(int role, const QVariant& value, FeatureTreeItem* start, int column) const override;
    void addNodeMap(GenApi::INodeMap* pNodeMap, const QString& rootName, const QString& roleName,
                    bool isUtf8) override;
    void rebuildFavoriteItems() override;
    void CreateFavoritesRoot() override;
    bool RemoveFavorite(QModelIndex index) override;
    bool AddFavorite(GenApi::INode* node, int row) override;
    FavoritesData& GetFavorites() override;
    bool MoveFavorite(QModelIndex index, bool up) override;
    bool CanMoveFavorite(QModelIndex index, bool up) const override;
    bool CanAddAsFavorite(QModelIndex index) const override;
    void refresh() override;
    void addChildren(FeatureTreeINodeItem* item, bool deadEnd) override;
    void setVisibility(GenApi::EVisibility visibility) override;
    GenApi::EVisibility getVisibility() const override;
    void setMonitorMode(bool monitorMode) override;
    void setGenICamCallbacksEnable(bool enable) override;
    bool getGenICamCallbackEnable() const override;
    FeatureTreeItem* getFeatureTreeItem(const QModelIndex& index) const override;
    void setHighlighter(FeatureTreeHighlighter* highlighter) override;
    FeatureTreeItem* getSearchHelpItem() const override;
    void refreshSpecialItems() override;
    void clear() override;
    void onNodeUpdated(int row, FeatureTreeINodeItem* nodeItem) override;
    void onTimerPoll() override;
    QString GetNodeMapName(GenApi::INodeMap* pNodeMap) const override;
    void replaceFavoritesZombies(GenApi::INodeMap* pNodeMap, const QString& nodeMapName) override;
    int getFavoritesIndexFromFeatureTreeItem(const FeatureTreeItem* item) const override;
    int getFavoritesIndexFromModelIndex(QModelIndex index) const override;

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;

private:
    bool m_isAddingNodeMap;
    GenApi::EVisibility m_visibility;
    // Used as sets of node names (true is the only value). The filter functions are const
    // in form but count the matches of the pass as they go.
    mutable QHash<QString, bool> m_visibleMatches;
    mutable QHash<QString, bool> m_invisibleMatches;
};
