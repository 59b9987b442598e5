#pragma once

#include <QList>
#include <QModelIndex>
#include <QString>
#include <QVariant>

#include <GenApi/GenApi.h>

#include <VorloQtWidgets/featuretreeview.h>
#include <VorloQtWidgets/searchedit.h>
#include <VorloQtWidgets/treewidgetbase.h>
#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include "ui_featuretreewidget.h"

class QAction;
class FeatureTreeItem;
class IFeatureTreeModelExtension;

// The feature tree as an application places it: a search box above the tree, and below
// it the user level, the favorites switch, the polling switch and a refresh button. It
// binds the form, the shortcuts, the context menu and the search flow to the view and
// to the view's model; the model logic itself lives in the model.
class VORLOQTWIDGETS_EXPORT FeatureTreeWidget : public TreeWidgetBase
{
    Q_OBJECT

public:
    // When showDebugLevel is false the "Debug" user level isn't offered.
    FeatureTreeWidget(QString name, QWidget* parent = nullptr,
                      GenApi::EVisibility visibility = GenApi::Beginner, bool showDebugLevel = false);
    ~FeatureTreeWidget() override;

    QTreeView* treeView() override;
    virtual QTreeView* treeView() const;

    IFeatureTreeModelExtension* getFeatureExtension();
    const IFeatureTreeModelExtension* getFeatureExtension() const;

    QSize sizeHint() const override;

    void expandRootNodes();
    void refreshTree();
    void Refresh();
    void deviceIsClosed();
    void setPolling(bool enable);
    bool getPolling() const;
    void setViewAllFavorites(bool viewAll);
    bool getViewAllFavorites() const;
    void EnableGenICamCallbacks(bool enable);
    void setVisibility(GenApi::EVisibility visibility);

    QModelIndex GetCurrentIndex() const;
    FeatureTreeItem* GetCurrentItem() const;
    GenApi::INode* GetCurrentNode() const;
    bool IsCurrentFavorite() const;
    // Whether a global position lies on the current index.
    bool IsOnCurrentItem(const QPoint& globalPosition);

    void saveSelectionStatus();
    void restoreSelectionStatus();
    void saveExpandedStatus();
    void restoreExpandedStatus();

signals:
    void visibilityChanged(GenApi::EVisibility visibility);
    void onCurrentChanged(GenApi::INode* pCurrentNode);
    void onNewText(QString str);
    void pollingStateChanged(bool enabled);
    void viewAllFavoritesStateChanged(bool viewAll);
    // All matches, and those visible only at a higher user level.
    void filterMatchesChanged(int matches, int matchesAtHigherLevel);

public slots:
    void setMonitorMode(bool bMonitorMode);
    void addNodeMap(GenApi::INodeMap* pNodeMap, const QString& rootName, const QString& roleName, bool isUtf8);
    void copyToClipboard();
    void clear();
    void expandTree();

protected slots:
    void onCurrentChanged(const QModelIndex& current);
    void contextualMenu(const QPoint& point);
    void onFilterTextChanged(const QString& newText);

private slots:
    void onVisibilityChanged(int index);
    void on_resetButton_clicked();
    void on_checkBoxPolling_clicked();
    void on_checkBoxViewAllFavorites_clicked();
    void AddToFavourites_triggered();
    void FavouriteMoveUp_triggered();
    void FavouriteMoveDown_triggered();
    void FavouriteRemove_triggered();
    void TogglePolling_triggered();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    bool event(QEvent* event) override;

private:
    QAction* createFavoriteAction(const char* objectName, const QKeySequence& shortcut, const char* icon,
                                  const QString& text, const char* slot);
    void saveExpandedStatus(const QModelIndex& index);
    void restoreExpandedStatus(const QModelIndex& index);

    QList<unsigned long long> m_expandedIds;
    QVariant m_currentId; // invalid when nothing is saved
    Ui_FeatureTreeWidgetClass ui;
    QAction* m_actionAddToFavourites;   // owned by the widget
    QAction* m_actionMoveFavouriteUp;   // owned by the widget
    QAction* m_actionMoveFavouriteDown; // owned by the widget
    QAction* m_actionRemoveFavourite;   // owned by the widget
    QAction* m_actionTogglePolling;     // owned by the widget
    QString m_name;
    bool m_firstFilterChange;
    QString m_filterText;
};
