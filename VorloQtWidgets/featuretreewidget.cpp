#include "featuretreewidget.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QShortcut>
#include <QTextStream>

#include <climits>

#include <VorloQtWidgets/FeatureTreeProxyModel.h>
#include <VorloQtWidgets/featuretreeinodeitem.h>
#include <VorloQtWidgets/featuretreeitem.h>
#include <VorloQtWidgets/featuretreerole.h>
#include <VorloQtWidgets/ifeaturetreemodelextension.h>
#include <VorloQtWidgets/nodemapfilter.h>
#include <VorloQtWidgets/signalblocker.h>

namespace {

// Escape acts in pairs: the first one is passed on (an open editor closes), the second
// one in a row clears the search. Shared by every feature tree widget.
bool s_escapePending = false;

// The user level offered at each combo box index.
const GenApi::EVisibility ComboIndexToVisibility[] = {GenApi::Beginner, GenApi::Expert, GenApi::Guru,
                                                      GenApi::Invisible};
const int ComboLevelCount = 4;

int comboIndexForVisibility(GenApi::EVisibility visibility)
{
    switch (visibility) {
    case GenApi::Expert:
        return 1;
    case GenApi::Guru:
        return 2;
    case GenApi::Invisible:
        return 3;
    default:
        return 0;
    }
}

// The name column is as wide as it takes to put the tab at this character on every level.
const int ClipboardNameField = 40;

void dumpRows(QTextStream& stream, const QAbstractItemModel* model, const QModelIndex& parent, int depth)
{
    const int rows = model->rowCount(parent);
    const QString indent(2 * depth, QLatin1Char(' '));
    for (int row = 0; row < rows; ++row) {
        const QModelIndex nameIndex = model->index(row, 0, parent);
        const QString name = nameIndex.data(Qt::DisplayRole).toString();
        const QString value = model->index(row, 1, parent).data(Qt::DisplayRole).toString();
        stream << indent << qSetFieldWidth(ClipboardNameField - 2 * depth) << Qt::left << name
               << qSetFieldWidth(0) << '\t' << value << '\n';
        dumpRows(stream, model, nameIndex, depth + 1);
    }
}

} // namespace

FeatureTreeWidget::FeatureTreeWidget(QString name, QWidget* parent, GenApi::EVisibility visibility,
                                     bool showDebugLevel)
    : TreeWidgetBase(parent)
    , m_actionAddToFavourites(nullptr)
    , m_actionMoveFavouriteUp(nullptr)
    , m_actionMoveFavouriteDown(nullptr)
    , m_actionRemoveFavourite(nullptr)
    , m_actionTogglePolling(nullptr)
    , m_name(name)
    , m_firstFilterChange(true)
{
    ui.setupUi(this);
    ui.treeView->header()->resizeSection(0, 200);

    ui.treeView->setEditTriggers(QAbstractItemView::AllEditTriggers);
    ui.treeView->setSelectionBehavior(QAbstractItemView::SelectRows);
    ui.treeView->setSelectionMode(QAbstractItemView::SingleSelection);

    connect(ui.treeView, SIGNAL(onCurrentChanged(QModelIndex)), this, SLOT(onCurrentChanged(QModelIndex)));
    connect(ui.comboBox, SIGNAL(activated(int)), this, SLOT(onVisibilityChanged(int)));

    setContextMenuPolicy(Qt::CustomContextMenu);
    connect(this, SIGNAL(customContextMenuRequested(QPoint)), this, SLOT(contextualMenu(QPoint)));

    connect(ui.filterEdit, SIGNAL(textChanged(QString)), this, SLOT(onFilterTextChanged(QString)));

    if (!showDebugLevel) {
        const int debugIndex = ui.comboBox->findText(QStringLiteral("Debug"), Qt::MatchExactly | Qt::MatchCaseSensitive);
        if (debugIndex >= 0)
            ui.comboBox->removeItem(debugIndex);
    }

    setVisibility(visibility);

    m_actionAddToFavourites = createFavoriteAction("actionAddToFavourites", QKeySequence(QStringLiteral("Ctrl+D")),
                                                   ":/vorloqtwidgets/Resources/Favorite_plus.png",
                                                   tr("Add to Favorites"), SLOT(AddToFavourites_triggered()));
    m_actionMoveFavouriteUp = createFavoriteAction("actionMoveFavouriteUp", QKeySequence(QStringLiteral("Ctrl+Up")),
                                                   ":/vorloqtwidgets/Resources/Move_Up.png", tr("Move Up"),
                                                   SLOT(FavouriteMoveUp_triggered()));
    m_actionMoveFavouriteDown = createFavoriteAction(
        "actionMoveFavouriteDown", QKeySequence(QStringLiteral("Ctrl+Down")),
        ":/vorloqtwidgets/Resources/Move_Down.png", tr("Move Down"), SLOT(FavouriteMoveDown_triggered()));
    m_actionRemoveFavourite = createFavoriteAction("actionRemoveFavourite", QKeySequence(QKeySequence::Delete),
                                                   ":/vorloqtwidgets/Resources/Favorite_minus.png", tr("Remove"),
                                                   SLOT(FavouriteRemove_triggered()));

    ui.treeView->setSelectionBehavior(QAbstractItemView::SelectRows);

    m_actionTogglePolling = new QAction(this);
    m_actionTogglePolling->setObjectName(QStringLiteral("actionTogglePolling"));
    m_actionTogglePolling->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    m_actionTogglePolling->setCheckable(true);
    m_actionTogglePolling->setEnabled(true);
    m_actionTogglePolling->setVisible(true);
    m_actionTogglePolling->setText(tr("Polling"));
    m_actionTogglePolling->setChecked(ui.checkBoxPolling->isChecked());
    connect(m_actionTogglePolling, SIGNAL(triggered()), this, SLOT(TogglePolling_triggered()));

    ui.resetButton->setPopupMode(QToolButton::DelayedPopup);

    new QShortcut(QKeySequence(Qt::Key_F3), ui.filterEdit, SLOT(setFocus()), nullptr, Qt::WindowShortcut);
    auto* searchShortcut = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_F), ui.filterEdit, SLOT(setFocus()),
                                         nullptr, Qt::WindowShortcut);
    new QShortcut(QKeySequence(Qt::CTRL | Qt::ALT | Qt::SHIFT | Qt::Key_Minus), ui.treeView, SLOT(collapseAll()),
                  nullptr, Qt::WindowShortcut);
    new QShortcut(QKeySequence(Qt::CTRL | Qt::ALT | Qt::SHIFT | Qt::Key_Plus), this, SLOT(expandTree()), nullptr,
                  Qt::WindowShortcut);
    QString shadow = tr("Search (%1)").arg(searchShortcut->key().toString(QKeySequence::PortableText));
    ui.filterEdit->setShadowDisplayString(shadow);
}

FeatureTreeWidget::~FeatureTreeWidget() = default;

QAction* FeatureTreeWidget::createFavoriteAction(const char* objectName, const QKeySequence& shortcut,
                                                 const char* icon, const QString& text, const char* slot)
{
    auto* action = new QAction(this);
    action->setObjectName(QLatin1String(objectName));
    action->setShortcut(shortcut);
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    action->setIcon(QIcon(QLatin1String(icon)));
    action->setIconText(text);
    action->setEnabled(false);
    action->setVisible(true);
    connect(action, SIGNAL(triggered()), this, slot);
    addAction(action);
    return action;
}

QTreeView* FeatureTreeWidget::treeView()
{
    return ui.treeView;
}

QTreeView* FeatureTreeWidget::treeView() const
{
    return ui.treeView;
}

IFeatureTreeModelExtension* FeatureTreeWidget::getFeatureExtension()
{
    return qobject_cast<IFeatureTreeModelExtension*>(ui.treeView->model());
}

const IFeatureTreeModelExtension* FeatureTreeWidget::getFeatureExtension() const
{
    return qobject_cast<IFeatureTreeModelExtension*>(ui.treeView->model());
}

QSize FeatureTreeWidget::sizeHint() const
{
    return QSize(400, 500);
}

void FeatureTreeWidget::expandRootNodes()
{
    QAbstractItemModel* model = ui.treeView->model();
    if (!model)
        return;
    const int rows = model->rowCount();
    for (int row = 0; row < rows; ++row)
        ui.treeView->expand(model->index(row, 0));
}

void FeatureTreeWidget::refreshTree()
{
    auto* proxy = qobject_cast<FeatureTreeProxyModel*>(ui.treeView->model());
    if (!proxy)
        return;
    // Setting the same pattern again would not filter anew, so it is emptied first.
    proxy->setFilterFixedString(QString());
    proxy->setFilterFixedString(m_filterText);
    if (!m_filterText.isEmpty())
        expandTree();
    proxy->invalidate();
    proxy->refreshSpecialItems();
}

void FeatureTreeWidget::Refresh()
{
    on_resetButton_clicked();
}

void FeatureTreeWidget::deviceIsClosed()
{
    getFeatureExtension()->SetDeviceAlive(false);
}

void FeatureTreeWidget::setPolling(bool enable)
{
    if (IFeatureTreeModelExtension* extension = getFeatureExtension())
        extension->EnablePolling(enable);
    {
        SignalBlocker blockCheckBox(ui.checkBoxPolling);
        ui.checkBoxPolling->setChecked(enable);
    }
    SignalBlocker blockAction(m_actionTogglePolling);
    m_actionTogglePolling->setChecked(enable);
}

bool FeatureTreeWidget::getPolling() const
{
    const IFeatureTreeModelExtension* extension = getFeatureExtension();
    return extension ? extension->GetPolling() : false;
}

void FeatureTreeWidget::setViewAllFavorites(bool viewAll)
{
    if (IFeatureTreeModelExtension* extension = getFeatureExtension())
        extension->EnableViewAllFavorites(viewAll);
    ui.checkBoxViewAllFavorites->setChecked(viewAll);
}

bool FeatureTreeWidget::getViewAllFavorites() const
{
    const IFeatureTreeModelExtension* extension = getFeatureExtension();
    return extension ? extension->GetViewAllFavorites() : false;
}

void FeatureTreeWidget::EnableGenICamCallbacks(bool enable)
{
    if (IFeatureTreeModelExtension* extension = getFeatureExtension())
        extension->setGenICamCallbacksEnable(enable);
}

void FeatureTreeWidget::setMonitorMode(bool bMonitorMode)
{
    if (IFeatureTreeModelExtension* extension = getFeatureExtension())
        extension->setMonitorMode(bMonitorMode);
}

void FeatureTreeWidget::setVisibility(GenApi::EVisibility visibility)
{
    ui.treeView->setVisibility(visibility);
    getFeatureExtension()->setVisibility(visibility);
    ui.comboBox->setCurrentIndex(comboIndexForVisibility(visibility));
    refreshTree();
}

void FeatureTreeWidget::onVisibilityChanged(int index)
{
    if (index < 0 || index >= ComboLevelCount)
        return;
    const GenApi::EVisibility visibility = ComboIndexToVisibility[index];
    if (visibility == GenApi::_UndefinedVisibility)
        return;
    setVisibility(visibility);
    emit visibilityChanged(visibility);
    refreshTree();
}

void FeatureTreeWidget::addNodeMap(GenApi::INodeMap* pNodeMap, const QString& rootName, const QString& roleName,
                                   bool isUtf8)
{
    NodeMapFilter::applyFilter(pNodeMap);
    IFeatureTreeModelExtension* extension = getFeatureExtension();
    extension->addNodeMap(pNodeMap, rootName, roleName, isUtf8);
    if (auto* proxy = qobject_cast<FeatureTreeProxyModel*>(ui.treeView->model()))
        proxy->invalidate();
    extension->refreshSpecialItems();
    ui.treeView->expand(ui.treeView->model()->index(0, 0));
}

void FeatureTreeWidget::clear()
{
    // The model drops its rows without announcing it, while the proxy and the view still hold
    // indexes into them. So the proxy lets go of its source first, which resets the proxy and
    // the view while the rows still exist, and takes it back once they are gone.
    auto* proxy = qobject_cast<FeatureTreeProxyModel*>(ui.treeView->model());
    QAbstractItemModel* source = proxy ? proxy->sourceModel() : nullptr;
    auto* sourceExtension = dynamic_cast<IFeatureTreeModelExtension*>(source);
    if (!sourceExtension) {
        getFeatureExtension()->clear();
        return;
    }
    proxy->setSourceModel(nullptr);
    sourceExtension->clear();
    proxy->setSourceModel(source);
}

void FeatureTreeWidget::expandTree()
{
    ui.treeView->expandBranchesToDepth(2);
}

void FeatureTreeWidget::onFilterTextChanged(const QString& newText)
{
    m_filterText = newText;
    if (m_firstFilterChange) {
        // The first search loads every level of the tree, which takes a moment.
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
        QCoreApplication::processEvents();
    }

    auto* proxy = qobject_cast<FeatureTreeProxyModel*>(ui.treeView->model());
    if (proxy) {
        const QString previousPattern = proxy->filterRegExp().pattern();
        if (previousPattern.isEmpty() && !newText.isEmpty()) {
            saveExpandedStatus();
            saveSelectionStatus();
        }
        proxy->setFilterFixedString(newText);
        if (!previousPattern.isEmpty() && newText.isEmpty()) {
            restoreExpandedStatus();
            restoreSelectionStatus();
        }
    }

    ui.treeView->getHightlighter()->setTextToHighlight(newText);

    IFeatureTreeModelExtension* extension = getFeatureExtension();
    FeatureTreeItem* helpItem = extension ? extension->getSearchHelpItem() : nullptr;
    if (newText.isEmpty()) {
        emit filterMatchesChanged(0, 0);
        if (helpItem) {
            helpItem->setName(QString());
            helpItem->SetToolTip(QString());
            helpItem->setVisibility(GenApi::Invisible);
        }
        if (extension)
            extension->refreshSpecialItems();
    } else {
        // The proxy counts matches while the view pulls rows, so the tree is expanded and
        // painted before the counts are read.
        expandTree();
        ui.treeView->repaint();
        const int invisible = proxy ? proxy->getInvisibleMatchCount() : 0;
        const int visible = proxy ? proxy->getVisibleMatchCount() : 0;
        const int total = invisible + visible;
        emit filterMatchesChanged(total, invisible);
        const QString summary =
            tr("<B>%1 search results (%2 of them visible at higher user level)</B>").arg(total).arg(invisible);
        if (helpItem) {
            helpItem->setName(QStringLiteral("<HTML>") + summary);
            helpItem->SetToolTip(summary);
            helpItem->setVisibility(invisible >= 1 ? GenApi::Beginner : GenApi::Invisible);
        }
        if (extension)
            extension->refreshSpecialItems();
    }

    QGuiApplication::restoreOverrideCursor();
    QCoreApplication::processEvents();
    m_firstFilterChange = false;
    if (proxy) {
        proxy->invalidate();
        proxy->refreshSpecialItems();
        proxy->setFilterFixedString(newText);
    }
}

void FeatureTreeWidget::saveExpandedStatus()
{
    m_expandedIds.clear();
    QAbstractItemModel* model = ui.treeView->model();
    if (!model)
        return;
    const int rows = model->rowCount();
    for (int row = 0; row < rows; ++row)
        saveExpandedStatus(model->index(row, 0));
}

void FeatureTreeWidget::saveExpandedStatus(const QModelIndex& index)
{
    if (!ui.treeView->isExpanded(index))
        return;
    const QVariant id = index.data(ItemIdRole);
    if (id.isValid())
        m_expandedIds.append(id.toULongLong());
    const QAbstractItemModel* model = index.model();
    const int rows = model->rowCount(index);
    for (int row = 0; row < rows; ++row)
        saveExpandedStatus(model->index(row, 0, index));
}

void FeatureTreeWidget::restoreExpandedStatus()
{
    QAbstractItemModel* model = ui.treeView->model();
    if (!model)
        return;
    ui.treeView->setUpdatesEnabled(false);
    const int rows = model->rowCount();
    for (int row = 0; row < rows; ++row)
        restoreExpandedStatus(model->index(row, 0));
    ui.treeView->setUpdatesEnabled(true);
}

void FeatureTreeWidget::restoreExpandedStatus(const QModelIndex& index)
{
    const unsigned long long id = index.data(ItemIdRole).toULongLong();
    // Each saved identifier opens one row only.
    if (m_expandedIds.removeOne(id))
        ui.treeView->setExpanded(index, true);
    else
        ui.treeView->setExpanded(index, false);
    const QAbstractItemModel* model = index.model();
    const int rows = model->rowCount(index);
    for (int row = 0; row < rows; ++row)
        restoreExpandedStatus(model->index(row, 0, index));
}

void FeatureTreeWidget::saveSelectionStatus()
{
    m_currentId = QVariant();
    if (QItemSelectionModel* selection = ui.treeView->selectionModel())
        m_currentId = selection->currentIndex().data(ItemIdRole);
}

void FeatureTreeWidget::restoreSelectionStatus()
{
    if (m_currentId.isValid()) {
        if (IFeatureTreeModelExtension* extension = getFeatureExtension()) {
            const QModelIndex found = extension->findItemByRole(ItemIdRole, m_currentId, nullptr, 0);
            if (found.isValid())
                ui.treeView->setCurrentIndex(found);
        }
    }
    m_currentId = QVariant();
}

void FeatureTreeWidget::on_resetButton_clicked()
{
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    if (IFeatureTreeModelExtension* extension = getFeatureExtension())
        extension->refresh();
    QGuiApplication::restoreOverrideCursor();
}

void FeatureTreeWidget::on_checkBoxPolling_clicked()
{
    // The application answers with setPolling, which puts the action in step.
    emit pollingStateChanged(ui.checkBoxPolling->isChecked());
}

void FeatureTreeWidget::TogglePolling_triggered()
{
    emit pollingStateChanged(m_actionTogglePolling->isChecked());
}

void FeatureTreeWidget::on_checkBoxViewAllFavorites_clicked()
{
    emit viewAllFavoritesStateChanged(ui.checkBoxViewAllFavorites->isChecked());
    refreshTree();
}

QModelIndex FeatureTreeWidget::GetCurrentIndex() const
{
    return ui.treeView->currentIndex();
}

FeatureTreeItem* FeatureTreeWidget::GetCurrentItem() const
{
    const IFeatureTreeModelExtension* extension = getFeatureExtension();
    return extension ? extension->getFeatureTreeItem(GetCurrentIndex()) : nullptr;
}

GenApi::INode* FeatureTreeWidget::GetCurrentNode() const
{
    auto* nodeItem = qobject_cast<FeatureTreeINodeItem*>(GetCurrentItem());
    return nodeItem ? nodeItem->node() : nullptr;
}

bool FeatureTreeWidget::IsCurrentFavorite() const
{
    const IFeatureTreeModelExtension* extension = getFeatureExtension();
    return extension ? extension->IsFavoriteTreeItem(GetCurrentItem()) : false;
}

bool FeatureTreeWidget::IsOnCurrentItem(const QPoint& globalPosition)
{
    const QPoint local = ui.treeView->viewport()->mapFromGlobal(globalPosition);
    const QModelIndex under = ui.treeView->indexAt(local);
    const QModelIndex current = ui.treeView->currentIndex();
    return under.row() == current.row() && under.column() == current.column() && under.parent() == current.parent()
           && under.model() == current.model();
}

void FeatureTreeWidget::onCurrentChanged(const QModelIndex& current)
{
    IFeatureTreeModelExtension* extension = getFeatureExtension();
    if (current.isValid() && extension) {
        if (FeatureTreeItem* item = extension->getFeatureTreeItem(current)) {
            auto* nodeItem = qobject_cast<FeatureTreeINodeItem*>(item);
            GenApi::INode* node = nodeItem ? nodeItem->node() : nullptr;
            emit onCurrentChanged(node);
            // A row without a node can still fill a description pane.
            if (!node && item->HasDescription())
                emit onNewText(item->GetDescription());
        }
    }
    if (extension) {
        m_actionAddToFavourites->setEnabled(extension->CanAddAsFavorite(current));
        m_actionRemoveFavourite->setEnabled(extension->IsFavoriteTreeItem(extension->getFeatureTreeItem(current)));
        m_actionMoveFavouriteUp->setEnabled(extension->CanMoveFavorite(current, true));
        m_actionMoveFavouriteDown->setEnabled(extension->CanMoveFavorite(current, false));
    }
}

void FeatureTreeWidget::AddToFavourites_triggered()
{
    IFeatureTreeModelExtension* extension = getFeatureExtension();
    if (!extension || !extension->CanAddAsFavorite(GetCurrentIndex()))
        return;
    extension->AddFavorite(GetCurrentNode(), INT_MAX);
    if (auto* proxy = qobject_cast<FeatureTreeProxyModel*>(ui.treeView->model()))
        proxy->invalidate();
    extension->refreshSpecialItems();
}

void FeatureTreeWidget::FavouriteMoveUp_triggered()
{
    IFeatureTreeModelExtension* extension = getFeatureExtension();
    const QModelIndex current = GetCurrentIndex();
    if (current.isValid() && extension)
        extension->MoveFavorite(current, true);
}

void FeatureTreeWidget::FavouriteMoveDown_triggered()
{
    IFeatureTreeModelExtension* extension = getFeatureExtension();
    const QModelIndex current = GetCurrentIndex();
    if (current.isValid() && extension)
        extension->MoveFavorite(current, false);
}

void FeatureTreeWidget::FavouriteRemove_triggered()
{
    IFeatureTreeModelExtension* extension = getFeatureExtension();
    const QModelIndex current = GetCurrentIndex();
    if (!current.isValid() || !extension)
        return;
    QModelIndex neighbour = ui.treeView->indexBelow(current);
    if (!neighbour.isValid())
        neighbour = ui.treeView->indexAbove(current);
    ui.treeView->clearSelection();
    ui.treeView->setCurrentIndex(neighbour);
    extension->RemoveFavorite(current);
    refreshTree();
}

void FeatureTreeWidget::contextualMenu(const QPoint& point)
{
    if (!GetCurrentIndex().isValid())
        return;
    // The menu follows the current row, not the row under the pointer.
    auto* menu = new QMenu();
    if (!IsCurrentFavorite()) {
        menu->addAction(m_actionAddToFavourites);
    } else {
        if (getFeatureExtension()) {
            menu->addAction(m_actionMoveFavouriteUp);
            menu->addAction(m_actionMoveFavouriteDown);
        }
        menu->addSeparator();
        menu->addAction(m_actionRemoveFavourite);
    }
    menu->exec(mapToGlobal(point));
}

void FeatureTreeWidget::copyToClipboard()
{
    if (!getFeatureExtension())
        return;
    QString text;
    QTextStream stream(&text);
    dumpRows(stream, ui.treeView->model(), QModelIndex(), 0);
    stream.flush();
    QApplication::clipboard()->setText(text, QClipboard::Clipboard);
}

void FeatureTreeWidget::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape) {
        if (!s_escapePending) {
            s_escapePending = true;
        } else {
            ui.filterEdit->clear();
            s_escapePending = false;
        }
    } else {
        s_escapePending = false;
    }
    QWidget::keyPressEvent(event);
}

bool FeatureTreeWidget::event(QEvent* event)
{
    const bool result = TreeWidgetBase::event(event);
    if (event->type() == QEvent::FontChange) {
        // Children with their own font settings (the search box's shadow text) follow too.
        const QList<QWidget*> children = findChildren<QWidget*>();
        for (QWidget* child : children)
            QCoreApplication::sendEvent(child, event);
    }
    return result;
}
