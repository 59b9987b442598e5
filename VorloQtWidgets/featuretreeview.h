#pragma once

#include <QPersistentModelIndex>
#include <QSet>
#include <QString>
#include <QTreeView>

#include <GenApi/GenApi.h>

#include <VorloQtWidgets/featuretreehighlighter.h>
#include <VorloQtWidgets/vorloqtwidgets_export.h>

class IFeatureTreeModelExtension;

// The tree view of the feature tree. It builds its own model stack (model, filtering proxy)
// and delegate, keeps hidden rows and persistent value editors in step with the user level
// and with each row's node, follows the shared favorites' expansion and carries the
// selection across rebuilds of the favorites rows. It talks to its model only through
// IFeatureTreeModelExtension.
class VORLOQTWIDGETS_EXPORT FeatureTreeView : public QTreeView
{
    Q_OBJECT

public:
    explicit FeatureTreeView(QWidget* parent = nullptr);
    ~FeatureTreeView() override;

    // Painted on an empty tree.
    static QString NoResultsFoundMessage;

    IFeatureTreeModelExtension* getFeatureExtension();
    const IFeatureTreeModelExtension* getFeatureExtension() const;

    void setSettingsPath(const QString& path);
    QString getSettingsPath() const;

    FeatureTreeHighlighter* getHightlighter();

    void updateRows(const QModelIndex& parent);
    void openPersistentEditor(const QModelIndex& index);
    void openPersistentEditorsForChildren(const QModelIndex& parent);
    // Shows the tree as expandToDepth(depth) does, expanding only rows that have rows below them.
    void expandBranchesToDepth(int depth);

signals:
    void onCurrentChanged(const QModelIndex& current);

public slots:
    void setVisibility(GenApi::EVisibility visibility);
    void onSelfExpanded(const QModelIndex& index);
    void onSelfCollapsed(const QModelIndex& index);
    void onFavoriteDataUpdated();
    void onFavoriteDataExpanded(bool bExpand);

protected:
    void paintEvent(QPaintEvent* event) override;
    void dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight,
                     const QVector<int>& roles = QVector<int>()) override;
    void rowsInserted(const QModelIndex& parent, int start, int end) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    QStyleOptionViewItem viewOptions() const override;
    void drawRow(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    // Builds the model stack and the delegate; a derived view may build another stack.
    virtual void createModel();

private:
    void hideRow(int row, const QModelIndex& parent);
    void updateRowState(const QModelIndex& index);
    bool isRowInView(const QModelIndex& index);
    // The value indexes of rows in view that should show an editor and have none; with
    // firstOnly, at most the first of them.
    QModelIndexList rowsInViewLackingEditors(bool firstOnly);
    void openEditorsInView();
    void expandBranches(const QModelIndex& parent, int level, int depth);

    GenApi::EVisibility m_visibility;
    QSet<QPersistentModelIndex> m_persistentIndexes; // kept for layout compatibility; unused
    FeatureTreeHighlighter m_highlighter;
    bool m_editorsInViewQueued = false;
};
