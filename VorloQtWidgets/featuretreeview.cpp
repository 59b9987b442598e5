#include "featuretreeview.h"

#include <QHeaderView>
#include <QItemSelectionModel>
#include <QPainter>

#include <VorloQtBase/exceptionhandling.h>
#include <VorloQtBase/trace.h>

#include <VorloQtWidgets/FeatureTreeProxyModel.h>
#include <VorloQtWidgets/favoritesdata.h>
#include <VorloQtWidgets/featuretreedelegate.h>
#include <VorloQtWidgets/featuretreeinodeitem.h>
#include <VorloQtWidgets/featuretreemodel.h>
#include <VorloQtWidgets/featuretreerole.h>
#include <VorloQtWidgets/ifeaturetreemodelextension.h>
#include <VorloQtWidgets/signalblocker.h>

QString FeatureTreeView::NoResultsFoundMessage = QStringLiteral("No search results found.");

namespace {

// The model that setVisibility last acted on, shared by every view: with two views on
// different models, a level change in one makes the other act too when it is next asked.
const QAbstractItemModel* s_lastVisibilityModel = nullptr;

bool isAccessible(GenApi::EAccessMode mode)
{
    return mode > GenApi::NA;
}

// Expansion is stored for column 0; rows are walked by their column-1 index, so a
// parent is looked up at column 0 of its row.
QModelIndex rowIndex(const QModelIndex& index)
{
    return index.isValid() && index.column() != 0 ? index.sibling(index.row(), 0) : index;
}

bool isEditableItem(const FeatureTreeItem* item)
{
    if (auto* nodeItem = qobject_cast<const FeatureTreeINodeItem*>(item))
        return nodeItem->isEditable();
    if (auto* favoritesItem = qobject_cast<const FeatureTreeFavoritesItem*>(item))
        return favoritesItem->isEditable();
    return item->isEditable();
}

bool usesPersistentEditor(const FeatureTreeItem* item)
{
    if (auto* favoritesItem = qobject_cast<const FeatureTreeFavoritesItem*>(item))
        return favoritesItem->usePersistentEditor();
    return item->usePersistentEditor();
}

// Walks the rows that the viewport shows, top to bottom.
template <typename Visit>
void forEachRowInView(QTreeView* view, Visit visit)
{
    const int height = view->viewport()->height();
    for (QModelIndex row = view->indexAt(QPoint(0, 0)); row.isValid(); row = view->indexBelow(row)) {
        if (view->visualRect(row).top() >= height)
            break;
        if (!visit(row.sibling(row.row(), 1)))
            break;
    }
}

} // namespace

FeatureTreeView::FeatureTreeView(QWidget* parent)
    : QTreeView(parent)
    , m_visibility(GenApi::Expert)
{
    GetLazyTraceStructInstance()->debug("FeatureTreeView::FeatureTreeView()");

    // A disabled tree keeps the background of an enabled one.
    QPalette pal = palette();
    pal.setBrush(QPalette::Disabled, QPalette::Base, pal.brush(QPalette::Active, QPalette::Base));
    setPalette(pal);

    createModel();

    connect(this, SIGNAL(expanded(QModelIndex)), this, SLOT(onSelfExpanded(QModelIndex)));
    connect(this, SIGNAL(collapsed(QModelIndex)), this, SLOT(onSelfCollapsed(QModelIndex)));

    viewport()->setAcceptDrops(true);
    setDropIndicatorShown(true);

    Q_ASSERT_X(getFeatureExtension() != nullptr, "FeatureTreeView", "getFeatureExtension() != (0L)");
    if (IFeatureTreeModelExtension* extension = getFeatureExtension()) {
        extension->GetFavorites().InitOnce(QStringLiteral("Favorites"));
        extension->GetFavorites().Register(this);
    }
}

FeatureTreeView::~FeatureTreeView()
{
    GetLazyTraceStructInstance()->debug("FeatureTreeView::~FeatureTreeView()");
    if (IFeatureTreeModelExtension* extension = getFeatureExtension())
        extension->GetFavorites().Deregister(this);
    // The model usually dies soon after its view, and a new model may be made at the same
    // address; it must not count as the one already seen.
    if (s_lastVisibilityModel == model())
        s_lastVisibilityModel = nullptr;
}

void FeatureTreeView::createModel()
{
    // Neither has a parent and the view never deletes them: the application may keep
    // using the model after the view has gone.
    auto* model = new FeatureTreeModel();
    auto* proxy = new FeatureTreeProxyModel();
    proxy->setSourceModel(model);
    setModel(proxy);

    proxy->setDynamicSortFilter(false);
    proxy->setFilterCaseSensitivity(Qt::CaseInsensitive);
    proxy->setFilterKeyColumn(1);
    proxy->setHighlighter(&m_highlighter);

    setItemDelegate(new FeatureTreeDelegate(this, getFeatureExtension(), &m_visibility, &m_highlighter));
}

IFeatureTreeModelExtension* FeatureTreeView::getFeatureExtension()
{
    return qobject_cast<IFeatureTreeModelExtension*>(model());
}

const IFeatureTreeModelExtension* FeatureTreeView::getFeatureExtension() const
{
    return qobject_cast<IFeatureTreeModelExtension*>(const_cast<QAbstractItemModel*>(model()));
}

void FeatureTreeView::setSettingsPath(const QString& path)
{
    if (IFeatureTreeModelExtension* extension = getFeatureExtension())
        extension->GetFavorites().setSettingsPath(path);
}

QString FeatureTreeView::getSettingsPath() const
{
    // GetFavorites() is not const on the interface; the favorites object is shared anyway.
    auto* extension = const_cast<FeatureTreeView*>(this)->getFeatureExtension();
    return extension ? extension->GetFavorites().getSettingsPath() : QString();
}

FeatureTreeHighlighter* FeatureTreeView::getHightlighter()
{
    return &m_highlighter;
}

void FeatureTreeView::openPersistentEditor(const QModelIndex& index)
{
    IFeatureTreeModelExtension* extension = getFeatureExtension();
    if (!extension)
        return;
    FeatureTreeItem* item = extension->getFeatureTreeItem(index);
    if (!item || !extension->findItem(item, nullptr, 0).isValid())
        return;
    if (!usesPersistentEditor(item) || item->getVisibility() > m_visibility || !isAccessible(item->getAccessMode()))
        return;
    // Every editor is a widget of its own, and each one makes every later change of the rows
    // slower (the view tracks its index). A search over thousands of features would build
    // thousands of them, nearly all out of sight. So only rows in view get theirs now; the
    // others get it when they come into view (see paintEvent).
    if (isRowInView(index))
        QAbstractItemView::openPersistentEditor(index);
}

void FeatureTreeView::expandBranchesToDepth(int depth)
{
    // The view keeps a persistent index for every expanded row, and each of them makes every
    // later insertion or removal of rows slower; a search removes rows in many small runs.
    // Expanding a row with nothing below it changes nothing a person sees, so such rows are
    // left alone, where expandToDepth would expand thousands of features.
    if (model())
        expandBranches(QModelIndex(), 0, depth);
}

void FeatureTreeView::expandBranches(const QModelIndex& parent, int level, int depth)
{
    QAbstractItemModel* itemModel = model();
    const int rows = itemModel->rowCount(parent);
    for (int row = 0; row < rows; ++row) {
        if (isRowHidden(row, parent))
            continue; // as expandToDepth, which walks the rows in view only
        const QModelIndex index = itemModel->index(row, 0, parent);
        if (level <= depth) {
            if (itemModel->hasChildren(index)) {
                expand(index);
                expandBranches(index, level + 1, depth);
            }
        } else if (isExpanded(index)) {
            // Deeper rows end up collapsed, as with expandToDepth.
            expandBranches(index, level + 1, depth);
            collapse(index);
        }
    }
}

bool FeatureTreeView::isRowInView(const QModelIndex& index)
{
    // Empty for a row below a collapsed branch or a hidden row.
    const QRect rect = visualRect(index);
    return rect.isValid() && rect.intersects(viewport()->rect());
}

QModelIndexList FeatureTreeView::rowsInViewLackingEditors(bool firstOnly)
{
    QModelIndexList lacking;
    IFeatureTreeModelExtension* extension = getFeatureExtension();
    if (!extension)
        return lacking;
    forEachRowInView(this, [&](const QModelIndex& valueIndex) {
        FeatureTreeItem* item = extension->getFeatureTreeItem(valueIndex);
        if (item && !indexWidget(valueIndex) && usesPersistentEditor(item) && item->ShowMe(m_visibility))
            lacking.append(valueIndex);
        return !(firstOnly && !lacking.isEmpty());
    });
    return lacking;
}

void FeatureTreeView::openEditorsInView()
{
    m_editorsInViewQueued = false;
    // Kept as persistent indexes: opening an editor announces a change of its row, which may
    // lay the rows out again.
    QList<QPersistentModelIndex> wanted;
    for (const QModelIndex& valueIndex : rowsInViewLackingEditors(false))
        wanted.append(valueIndex);
    for (const QPersistentModelIndex& valueIndex : qAsConst(wanted)) {
        if (valueIndex.isValid() && !indexWidget(valueIndex))
            openPersistentEditor(valueIndex);
    }
}

void FeatureTreeView::openPersistentEditorsForChildren(const QModelIndex& parent)
{
    const QModelIndex parentRow = rowIndex(parent);
    if (!isExpanded(parentRow))
        return;
    IFeatureTreeModelExtension* extension = getFeatureExtension();
    if (!extension || !model())
        return;
    const int rows = model()->rowCount(parentRow);
    for (int row = 0; row < rows; ++row) {
        const QModelIndex valueIndex = model()->index(row, 1, parentRow);
        FeatureTreeItem* item = extension->getFeatureTreeItem(valueIndex);
        if (item && item->ShowMe(m_visibility) && !indexWidget(valueIndex) && usesPersistentEditor(item))
            openPersistentEditor(valueIndex);
    }
}

void FeatureTreeView::hideRow(int row, const QModelIndex& parent)
{
    const QModelIndex current = currentIndex();
    setRowHidden(row, parent, true);
    if (current.isValid() && current.row() == row && current.parent() == parent)
        emit onCurrentChanged(QModelIndex());
}

void FeatureTreeView::updateRows(const QModelIndex& parent)
{
    const QModelIndex parentRow = rowIndex(parent);
    if (!isExpanded(parentRow))
        return;
    IFeatureTreeModelExtension* extension = getFeatureExtension();
    if (!extension || !model())
        return;
    const int rows = model()->rowCount(parentRow);
    for (int row = 0; row < rows; ++row) {
        const QModelIndex valueIndex = model()->index(row, 1, parentRow);
        if (FeatureTreeItem* item = extension->getFeatureTreeItem(valueIndex)) {
            if (!item->ShowMe(m_visibility)) {
                if (!isRowHidden(row, parentRow))
                    hideRow(row, parentRow);
            } else {
                if (isRowHidden(row, parentRow))
                    setRowHidden(row, parentRow, false);
                if (!indexWidget(valueIndex) && usesPersistentEditor(item))
                    openPersistentEditor(valueIndex);
            }
        }
        updateRows(valueIndex);
    }
}

void FeatureTreeView::onSelfExpanded(const QModelIndex& index)
{
    updateRows(index);
    IFeatureTreeModelExtension* extension = getFeatureExtension();
    if (extension && index == extension->GetFavoritesRootIndex())
        extension->GetFavorites().setExpanded(true);
    openPersistentEditorsForChildren(index);
}

void FeatureTreeView::onSelfCollapsed(const QModelIndex& index)
{
    IFeatureTreeModelExtension* extension = getFeatureExtension();
    if (extension && index == extension->GetFavoritesRootIndex())
        extension->GetFavorites().setExpanded(false);
}

void FeatureTreeView::onFavoriteDataExpanded(bool bExpand)
{
    IFeatureTreeModelExtension* extension = getFeatureExtension();
    if (!extension)
        return;
    const QModelIndex root = extension->GetFavoritesRootIndex();
    if (bExpand && !isExpanded(root))
        expand(root);
    else if (!bExpand && isExpanded(root))
        collapse(root);
}

void FeatureTreeView::onFavoriteDataUpdated()
{
    IFeatureTreeModelExtension* extension = getFeatureExtension();
    if (!extension)
        return;

    // Rebuilding the favorite rows invalidates their indexes: remember current row and
    // selection by full name and find them again afterwards.
    QString currentName;
    int currentColumn = 0;
    const QModelIndex current = currentIndex();
    if (current.isValid()) {
        currentName = current.data(FullNameRole).toString();
        currentColumn = current.column();
    }
    QStringList selectedNames;
    const QModelIndexList selected = selectedIndexes();
    for (const QModelIndex& index : selected)
        selectedNames << index.data(FullNameRole).toString();

    extension->rebuildFavoriteItems();

    for (const QString& name : qAsConst(selectedNames)) {
        if (name.isEmpty())
            continue;
        const QModelIndex found = extension->findItemByFullName(name, nullptr, currentColumn);
        if (found.isValid() && selectionModel())
            selectionModel()->select(found, QItemSelectionModel::Select);
    }
    if (!currentName.isEmpty()) {
        const QModelIndex found = extension->findItemByFullName(currentName, nullptr, 0);
        if (found.isValid())
            setCurrentIndex(found);
    }

    updateRows(extension->GetFavoritesRootIndex());
    if (extension->GetFavorites().getExpanded())
        expand(extension->GetFavoritesRootIndex());
}

void FeatureTreeView::setVisibility(GenApi::EVisibility visibility)
{
    if (visibility == m_visibility && model() == s_lastVisibilityModel)
        return;
    m_visibility = visibility;
    s_lastVisibilityModel = model();
    if (model()) {
        onFavoriteDataUpdated();
        if (IFeatureTreeModelExtension* extension = getFeatureExtension())
            extension->refresh();
    }
}

void FeatureTreeView::rowsInserted(const QModelIndex& parent, int start, int end)
{
    QTreeView::rowsInserted(parent, start, end);
    openPersistentEditorsForChildren(parent);
}

void FeatureTreeView::currentChanged(const QModelIndex& current, const QModelIndex& previous)
{
    emit onCurrentChanged(current);
    QTreeView::currentChanged(current, previous);
}

void FeatureTreeView::updateRowState(const QModelIndex& index)
{
    IFeatureTreeModelExtension* extension = getFeatureExtension();
    FeatureTreeItem* item = extension ? extension->getFeatureTreeItem(index) : nullptr;
    if (!item)
        return;

    const int row = index.row();
    const QModelIndex parent = index.parent();
    bool wasHiddenAlready = false;
    if (!item->ShowMe(m_visibility)) {
        if (isRowHidden(row, parent))
            wasHiddenAlready = true;
        else
            hideRow(row, parent);
    } else if (isRowHidden(row, parent)) {
        setRowHidden(row, parent, false);
    }

    const bool accessible = isAccessible(item->getAccessMode());
    const bool hidden = isRowHidden(row, parent);
    const bool editable = isEditableItem(item);
    QWidget* widget = indexWidget(index);
    if (!widget) {
        if (!hidden && accessible && usesPersistentEditor(item))
            openPersistentEditor(index);
    } else if (!wasHiddenAlready) {
        if (usesPersistentEditor(item)) {
            if (hidden || !accessible)
                closePersistentEditor(index);
        } else if (!editable || hidden) {
            closeEditor(widget, QAbstractItemDelegate::NoHint);
        }
    }
}

void FeatureTreeView::dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight, const QVector<int>& roles)
{
    if (topLeft == bottomRight) {
        const QModelIndex& index = topLeft;
        bool spanCheck = true;
        if (index.row() >= 0 && index.column() >= 0 && index.model() && index.column() == 0) {
            setFirstColumnSpanned(index.row(), index.parent(), index.data(IsFullRowRole).toBool());
        } else if (index.isValid() && index.model() && index.column() == 1) {
            spanCheck = false;
            // ShowMe, the access mode and editability read the node, which may fail.
            VorloQtBase::guarded("dataChanged", QStringLiteral("Failed to access the node"),
                                 [&] { updateRowState(index); });
        }
        if (spanCheck) {
            IFeatureTreeModelExtension* extension = getFeatureExtension();
            FeatureTreeItem* item = extension ? extension->getFeatureTreeItem(index) : nullptr;
            // The placeholder of an empty favorites list spans both columns.
            if (item && item->getFullName() == QLatin1String("Dummy"))
                setFirstColumnSpanned(0, index.parent(), true);
        }
    }
    executeDelayedItemsLayout();
    QTreeView::dataChanged(topLeft, bottomRight, roles);
}

QStyleOptionViewItem FeatureTreeView::viewOptions() const
{
    // Selection paints no fill, and selected text keeps the colour of plain text.
    QStyleOptionViewItem option = QTreeView::viewOptions();
    const QColor transparent(0, 0, 0, 0);
    QColor activeText = option.palette.color(QPalette::Active, QPalette::Text);
    activeText.setAlpha(128);
    option.palette.setColor(QPalette::Active, QPalette::HighlightedText, activeText);
    option.palette.setColor(QPalette::Active, QPalette::Highlight, transparent);
    option.palette.setColor(QPalette::Disabled, QPalette::HighlightedText,
                            option.palette.color(QPalette::Disabled, QPalette::Text));
    option.palette.setColor(QPalette::Disabled, QPalette::Highlight, transparent);
    option.palette.setColor(QPalette::Inactive, QPalette::HighlightedText,
                            option.palette.color(QPalette::Inactive, QPalette::Text));
    option.palette.setColor(QPalette::Inactive, QPalette::Highlight, transparent);
    return option;
}

void FeatureTreeView::drawRow(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    // The row is drawn as unselected; the selection model's observers never learn of the
    // round trip because its signals are blocked meanwhile.
    QItemSelectionModel* selection = selectionModel();
    SignalBlocker blocker(selection);
    const bool selected = selection && selection->isSelected(index);
    if (selected)
        selection->select(index, QItemSelectionModel::Deselect);
    QTreeView::drawRow(painter, option, index);
    if (selected)
        selection->select(index, QItemSelectionModel::Select);
}

void FeatureTreeView::paintEvent(QPaintEvent* event)
{
    // Rows that came into view (scrolled, or moved up by rows that went away) get their
    // editors right after this paint; creating widgets while the viewport paints is not safe.
    if (!m_editorsInViewQueued && !rowsInViewLackingEditors(true).isEmpty()) {
        m_editorsInViewQueued = true;
        QMetaObject::invokeMethod(this, [this] { openEditorsInView(); }, Qt::QueuedConnection);
    }
    QTreeView::paintEvent(event);
    if (model() && model()->rowCount() == 0) {
        QPainter painter(viewport());
        painter.setPen(palette().color(QPalette::Active, QPalette::Text));
        painter.drawText(QRect(QPoint(0, 0), size()), Qt::AlignHCenter | Qt::AlignTop, NoResultsFoundMessage);
    }
}
