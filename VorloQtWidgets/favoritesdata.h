#pragma once

#include <QList>
#include <QObject>
#include <QString>

#include <GenApi/GenApi.h>

#include <VorloQtWidgets/vorloqtwidgets_export.h>

// The user's favorite features: one list for the whole process, shared by every model
// and view, stored in the application's settings. A favorite names a node by the name
// of its node map and of the node, so it outlives the camera.
class VORLOQTWIDGETS_EXPORT FavoritesData : public QObject
{
    Q_OBJECT

public:
    struct FavoritesDataItem
    {
        GenICam::gcstring nodeName; // empty marks an item that cannot be stored
        QString displayName;        // what a favorite shows while its camera is absent
        QString nodeMapName;        // the role name the node map was added under
    };

    explicit FavoritesData(QObject* parent = nullptr);
    ~FavoritesData() override;

    int countNodes() const;
    bool isValidIndex(int index) const;
    const FavoritesDataItem* nodeAt(int index) const;
    FavoritesDataItem* nodeAt(int index);
    int indexOfNode(const FavoritesDataItem& item) const;
    bool insertNode(int index, const FavoritesDataItem& item);
    bool appendNode(const FavoritesDataItem& item);
    bool removeNode(int index, FavoritesDataItem* removed);
    bool removeNodeImpl(int index, FavoritesDataItem* removed);
    bool moveNode(int from, int to);

    bool getViewAllFavorites() const;
    void setViewAllFavorites(bool viewAll);
    bool getExpanded() const;
    void setExpanded(bool expanded);
    bool getDeferDataUpdatedSignals() const;
    void setDeferDataUpdatedSignals(bool defer);
    void emitDataUpdatedSignal();

    QString getSettingsPath() const;
    void setSettingsPath(const QString& path);

    void InitOnce(const QString& path);
    bool Register(QObject* listener);
    bool Deregister(QObject* listener);
    bool LoadFavorites(const QString& path);
    bool SaveFavorites(const QString& path);

signals:
    void dataUpdated();
    void expanded(bool expanded);

private:
    static bool isSameFavorite(const FavoritesDataItem& a, const FavoritesDataItem& b);

    bool m_initialized;
    bool m_viewAll;
    bool m_expanded;
    bool m_deferSignals;
    bool m_signalPending;
    QString m_settingsPath;
    QList<FavoritesDataItem> m_items;
};
