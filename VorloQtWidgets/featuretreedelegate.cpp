#include "featuretreedelegate.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QPainter>
#include <QStyle>
#include <QTextDocument>

#include <VorloQtWidgets/abstractitemeditor.h>
#include <VorloQtWidgets/checkboxeditor.h>
#include <VorloQtWidgets/enumeditor.h>
#include <VorloQtWidgets/featuretreehighlighter.h>
#include <VorloQtWidgets/featuretreeinodeitem.h>
#include <VorloQtWidgets/featuretreerole.h>
#include <VorloQtWidgets/floateditor.h>
#include <VorloQtWidgets/floatslidereditor.h>
#include <VorloQtWidgets/ifeaturetreemodelextension.h>
#include <VorloQtWidgets/inteditor.h>
#include <VorloQtWidgets/intslidereditor.h>
#include <VorloQtWidgets/toolbuttoneditor.h>

namespace {

const int RowHeight = 23;

bool isSliderRepresentation(GenApi::ERepresentation representation)
{
    return representation == GenApi::Linear || representation == GenApi::Logarithmic;
}

} // namespace

FeatureTreeDelegate::FeatureTreeDelegate(QObject* parent, IFeatureTreeModelExtension* extension,
                                         GenApi::_EVisibility* visibility, FeatureTreeHighlighter* highlighter)
    : QStyledItemDelegate(parent)
    , m_visibility(visibility)
    , m_extension(extension)
    , m_highlighter(highlighter)
{
}

FeatureTreeDelegate::~FeatureTreeDelegate() = default;

void FeatureTreeDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const bool isCategory = index.data(IsCategoryRole).toBool();
    if (index.column() != 0 || !m_highlighter || isCategory) {
        QStyledItemDelegate::paint(painter, option, index);
        return;
    }

    QStyleOptionViewItem opt(option);
    initStyleOption(&opt, index);
    QStyle* style = option.widget ? option.widget->style() : QApplication::style();
    const QRect textRect = style->subElementRect(QStyle::SE_ItemViewItemText, &opt, option.widget);
    const int width = textRect.width();

    const bool isSpecial = index.data(IsSpecialNodeRole).toBool();
    const QString text = index.data(Qt::DisplayRole).toString();
    const bool isDebug = index.data(IsDebugNodeRole).toBool();
    const QVariant foreground = index.data(Qt::ForegroundRole);
    QBrush brush;
    if (foreground.canConvert<QBrush>())
        brush = qvariant_cast<QBrush>(foreground);
    const QString colourName = brush.color().name();

    QString body;
    if (isSpecial) {
        // Special rows (the search summary) carry their own markup and are shown whole.
        body = text;
    } else if (isDebug) {
        // Debug rows show node properties that may hold "<" and are never highlighted.
        body = opt.fontMetrics.elidedText(text, Qt::ElideRight, width).toHtmlEscaped();
    } else {
        // The highlight markup widens the text; the room kept for it is the filter length
        // counted as pixels, twice.
        const int room = width - 2 * m_highlighter->getTextToHighlightLength();
        body = m_highlighter->highlightText(opt.fontMetrics.elidedText(text, Qt::ElideRight, room));
    }
    const QString html = QStringLiteral("<span style='color:") + colourName + QStringLiteral("'>") + body
                         + QStringLiteral("</span>");

    // The style draws the panel (selection, hover, branch background) but not the text.
    QWidget* parentWidget = qobject_cast<QWidget*>(parent());
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &opt, painter, parentWidget);

    QTextDocument document;
    document.setHtml(html);
    QAbstractTextDocumentLayout::PaintContext context;
    context.cursorPosition = -1;

    painter->save();
    painter->translate(textRect.topLeft());
    painter->setClipRect(QRect(QPoint(0, 0), textRect.size()));
    document.documentLayout()->draw(painter, context);
    painter->restore();
}

QSize FeatureTreeDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    // A fixed height serves the view's uniform row heights and fits every inline editor.
    return QSize(QStyledItemDelegate::sizeHint(option, index).width(), RowHeight);
}

QWidget* FeatureTreeDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                           const QModelIndex& index) const
{
    FeatureTreeItem* item = m_extension ? m_extension->getFeatureTreeItem(index) : nullptr;
    auto* nodeItem = qobject_cast<FeatureTreeINodeItem*>(item);
    if (!index.isValid() || !nodeItem)
        return nullptr;

    GenApi::INode* node = nodeItem->node();
    switch (nodeItem->editorType()) {
    case EditorInteger:
    case EditorIntegerSlider:
        return createIntEditor(parent, option, dynamic_cast<GenApi::IInteger*>(node));
    case EditorFloat:
    case EditorFloatSlider:
        if (QWidget* editor = createFloatEditor(parent, option, dynamic_cast<GenApi::IFloat*>(node)))
            return editor;
        return QStyledItemDelegate::createEditor(parent, option, index);
    case EditorEnumeration:
        return createEnumEditor(parent, option, dynamic_cast<GenApi::IEnumeration*>(node));
    case EditorBoolean:
        return createCheckBoxEditor(parent, option, dynamic_cast<GenApi::IBoolean*>(node));
    case EditorCommand:
        return createToolButtonEditor(parent, option, dynamic_cast<GenApi::ICommand*>(node));
    case EditorString:
    default:
        return QStyledItemDelegate::createEditor(parent, option, index);
    }
}

QWidget* FeatureTreeDelegate::createIntEditor(QWidget* parent, const QStyleOptionViewItem& /*option*/,
                                              const GenApi::IInteger* node) const
{
    if (!node)
        return nullptr;
    const GenApi::ERepresentation representation = const_cast<GenApi::IInteger*>(node)->GetRepresentation();
    if (isSliderRepresentation(representation)) {
        auto* editor = new IntSliderEditor(parent);
        connect(editor, SIGNAL(valueChanged(int)), this, SLOT(emitCommitData()));
        return editor;
    }
    // The line edit commits through the delegate's event filter when editing ends
    // (Return, Tab, focus loss), so nothing is connected here.
    return new IntEditor(parent);
}

QWidget* FeatureTreeDelegate::createFloatEditor(QWidget* parent, const QStyleOptionViewItem& /*option*/,
                                                const GenApi::IFloat* node) const
{
    if (!node)
        return nullptr;
    auto* floatNode = const_cast<GenApi::IFloat*>(node);
    const GenApi::ERepresentation representation = floatNode->GetRepresentation();
    bool hasIntegerAlias = false;
    if (isSliderRepresentation(representation)) {
        // The slider editor moves over the integer alias's raw steps; without one it
        // would have nothing to step, so the plain editor is used.
        GenApi::INode* self = floatNode->GetNode();
        GenApi::INode* alias = self ? self->GetAlias() : nullptr;
        hasIntegerAlias = dynamic_cast<GenApi::IInteger*>(alias) != nullptr;
    }
    QWidget* editor = nullptr;
    if (hasIntegerAlias)
        editor = new FloatSliderEditor(parent);
    else
        editor = new FloatEditor(parent, representation);
    connect(editor, SIGNAL(boxValueChanged()), this, SLOT(emitCommitData()));
    return editor;
}

QWidget* FeatureTreeDelegate::createEnumEditor(QWidget* parent, const QStyleOptionViewItem& /*option*/,
                                               const GenApi::IEnumeration* node) const
{
    if (!node)
        return nullptr;
    auto* editor = new EnumEditor(parent, m_visibility);
    connect(editor, SIGNAL(activated(int)), this, SLOT(emitCommitData()));
    return editor;
}

QWidget* FeatureTreeDelegate::createToolButtonEditor(QWidget* parent, const QStyleOptionViewItem& /*option*/,
                                                     const GenApi::ICommand* node) const
{
    if (!node)
        return nullptr;
    auto* editor = new ToolButtonEditor(parent);
    connect(editor, SIGNAL(clicked(bool)), this, SLOT(emitCommitData()));
    return editor;
}

QWidget* FeatureTreeDelegate::createCheckBoxEditor(QWidget* parent, const QStyleOptionViewItem& /*option*/,
                                                   const GenApi::IBoolean* node) const
{
    if (!node)
        return nullptr;
    auto* editor = new CheckBoxEditor(parent);
    connect(editor, SIGNAL(clicked(bool)), this, SLOT(emitCommitData()));
    return editor;
}

void FeatureTreeDelegate::destroyEditor(QWidget* editor, const QModelIndex& /*index*/) const
{
    editor->deleteLater();
}

void FeatureTreeDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    if (index.column() != 1) {
        QStyledItemDelegate::setEditorData(editor, index);
        return;
    }
    FeatureTreeItem* item = m_extension ? m_extension->getFeatureTreeItem(index) : nullptr;
    if (!item)
        return;
    auto* itemEditor = dynamic_cast<AbstractItemEditor*>(editor);
    auto* nodeItem = qobject_cast<FeatureTreeINodeItem*>(item);
    if (itemEditor && nodeItem) {
        itemEditor->setEditorData(nodeItem->node());
        return;
    }
    // A refresh must not overwrite what the person is typing.
    if (!editor->hasFocus())
        QStyledItemDelegate::setEditorData(editor, index);
}

void FeatureTreeDelegate::setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const
{
    auto* itemEditor = dynamic_cast<AbstractItemEditor*>(editor);
    if (index.column() == 1 && itemEditor) {
        model->setData(index, itemEditor->editorData(), Qt::EditRole);
        return;
    }
    QStyledItemDelegate::setModelData(editor, model, index);
}

void FeatureTreeDelegate::emitCommitData()
{
    QWidget* editor = qobject_cast<QWidget*>(sender());
    emit commitData(editor);
}
