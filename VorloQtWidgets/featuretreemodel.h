#pragma once

#include <QAbstractItemModel>
#include <QList>
#include <QMimeData>
#include <QString>
#include <QTimer>

#include <GenApi/GenApi.h>
#include <internal/GenApiSafePointer.h>

#include <VorloQtWidgets/favoritesdata.h>
#include <VorloQtWidgets/featuretreehighlighter.h>
#include <VorloQtWidgets/featuretreeinodeitem.h>
#include <VorloQtWidgets/featuretreeitem.h>
#include <VorloQtWidgets/featuretreerole.h>
#include <VorloQtWidgets/ifeaturetreemodelextension.h>
#include <VorloQtWidgets/vorloqtwidgets_export.h>

// Names of the application settings and plugin that decide whether debug rows show.
VORLOQTWIDGETS_EXPORT extern const char* const g_magicExtensionPluginSettingsName; // "ExtensionPlugin"
VORLOQTWIDGETS_EXPORT extern const char* const g_NodemapDebugSwitchName;           // "EnableNodeDebug"
VORLOQTWIDGETS_EXPORT extern const char* const g_magicLumidexPluginName;           // "LumidexPlugin"

// The extension plugin the application names in its settings, or the Lumidex plugin when
// none is named and that one can be loaded.
VORLOQTWIDGETS_EXPORT QString getExtensionPluginName();
// Worked out once per process.
VORLOQTWIDGETS_EXPORT bool isExtensionPluginAvailable();
// Worked out once per process.
VORLOQTWIDGETS_EXPORT bool amILumidex();
// Whether node rows are built from node properties (debug rows); worked out once per process.
VORLOQTWIDGETS_EXPORT bool isNodeDebugModeEnabled();

// The two-column tree model of one or more GenApi node maps: column 0 the feature,
// column 1 its value. Rows are built one level at a time as the view asks for them;
// the node maps are polled on a single-shot timer, and node changes reach the view
// through each row's nodeUpdated signal.
class VORLOQTWIDGETS_EXPORT FeatureTreeModel : public QAbstractItemModel, public IFeatureTreeModelExtension
{
    Q_OBJECT
    Q_INTERFACES(IFeatureTreeModelExtension)

public:
    struct NodemapListEntry
    {
        QString name;
        GenApi::CSafePointer<GenApi::INodeMap, GenApi::INodeMap> nodeMap; // empties when the map dies
    };

    explicit FeatureTreeModel(QObject* parent = nullptr);
    ~FeatureTreeModel() override;

    // QAbstractItemModel
    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    bool hasChildren(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;
    Qt::DropActions supportedDropActions() const override;

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
    QString GetNodeMapName(GenApi::INodeMap* pNodeMap) const override;
    void replaceFavoritesZombies(GenApi::INodeMap* pNodeMap, const QString& nodeMapName) override;
    int getFavoritesIndexFromFeatureTreeItem(const FeatureTreeItem* item) const override;
    int getFavoritesIndexFromModelIndex(QModelIndex index) const override;

    // One favorites list for the whole process, shared by every model and view.
    static FavoritesData m_favorites;

public slots:
    void clear() override;
    void onNodeUpdated(int row, FeatureTreeINodeItem* nodeItem) override;
    void onTimerPoll() override;

private:
    FeatureTreeItem* itemFromIndex(const QModelIndex& index) const;
    void connectRow(FeatureTreeINodeItem* row);
    void refreshSpecialIndex(const QModelIndex& index);

    FeatureTreeItem* m_rootItem;                // owned
    FeatureTreeFavoritesItem* m_favoritesRoot;  // child of m_rootItem
    FeatureTreeItem* m_searchHelpItem;          // child of m_rootItem
    QList<NodemapListEntry> m_nodeMaps;
    mutable bool m_dataErrorShown;
    GenApi::EVisibility m_visibility;
    qint64 m_pollInterval;
    QTimer m_pollTimer;
    bool m_polling;
    bool m_deviceAlive;
    bool m_monitorMode;
    bool m_callbacksEnabled;
    bool m_useUtf8;
    FeatureTreeHighlighter* m_highlighter;      // not owned
};
