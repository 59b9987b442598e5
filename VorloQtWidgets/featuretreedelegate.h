#pragma once

#include <QStyledItemDelegate>

#include <GenApi/GenApi.h>

#include <VorloQtWidgets/vorloqtwidgets_export.h>

class FeatureTreeHighlighter;
class IFeatureTreeModelExtension;

// Item delegate of the feature tree. Paints the name column as rich text with the search
// matches marked, and creates, fills and commits the inline value editors of the value
// column (column 1), choosing the editor by the row's node type and representation.
class VORLOQTWIDGETS_EXPORT FeatureTreeDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    // The parent is the view: paint hands it to the style as the widget.
    FeatureTreeDelegate(QObject* parent, IFeatureTreeModelExtension* extension,
                        GenApi::_EVisibility* visibility, FeatureTreeHighlighter* highlighter);
    ~FeatureTreeDelegate() override;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void destroyEditor(QWidget* editor, const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;

    // Each returns the new editor, or null for a null node.
    QWidget* createIntEditor(QWidget* parent, const QStyleOptionViewItem& option,
                             const GenApi::IInteger* node) const;
    QWidget* createFloatEditor(QWidget* parent, const QStyleOptionViewItem& option,
                               const GenApi::IFloat* node) const;
    QWidget* createEnumEditor(QWidget* parent, const QStyleOptionViewItem& option,
                              const GenApi::IEnumeration* node) const;
    QWidget* createToolButtonEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                    const GenApi::ICommand* node) const;
    QWidget* createCheckBoxEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                  const GenApi::IBoolean* node) const;

public slots:
    // Editors' change signals end here; the view answers commitData with setModelData.
    void emitCommitData();

private:
    GenApi::_EVisibility* m_visibility;         // not owned: the view's user level
    IFeatureTreeModelExtension* m_extension;    // not owned
    FeatureTreeHighlighter* m_highlighter;      // not owned; null paints no rich text
};
