#include "featuretreeitem.h"

#include <QBrush>
#include <QHash>
#include <QPalette>

FeatureTreeItem::FeatureTreeItem(const QString& name, IFeatureTreeModelExtension* extension,
                                 bool isDebugNode, const QString& kindLabel,
                                 const QString& fullName, FeatureTreeItem* parent, bool isDeadEnd)
    : QObject(parent)
    , m_description(nullptr)
    , m_name(name)
    , m_visibility(GenApi::_UndefinedVisibility)
    , m_kindLabel(kindLabel)
    , m_fullName(fullName)
    , m_toolTip(nullptr)
    , m_parent(parent)
    , m_editorType(EditorNone)
    , m_childrenLoaded(false)
    , m_childrenAreDeadEnds(false)
    , m_isDebugNode(isDebugNode)
    , m_isFullRowItem(false)
    , m_isDeadEnd(isDeadEnd)
    , m_isSpecialNode(false)
    , m_extension(extension)
{
}

FeatureTreeItem::~FeatureTreeItem()
{
    FeatureTreeItem::clearChildren();
    delete m_description;
    delete m_toolTip;
}

void FeatureTreeItem::clearChildren()
{
    qDeleteAll(m_children);
    m_children.clear();
}

int FeatureTreeItem::childCount()
{
    return m_children.size();
}

QVariant FeatureTreeItem::data(int column, int role) const
{
    if (column == 0 && role == Qt::DisplayRole)
    {
        if (m_isDebugNode)
            return QString("%1 %2").arg(m_kindLabel, m_name);
        return m_name;
    }
    if (role == Qt::ForegroundRole)
    {
        if (column == 0 || column == 1)
            return GetForegroundRole();
        return QVariant();
    }
    if (column == 1 && (role == Qt::DisplayRole || role == Qt::EditRole))
    {
        if (m_isDeadEnd && m_fullName != QLatin1String("Dummy"))
            return QString("<already displayed elsewhere>");
        return QVariant();
    }

    switch (role)
    {
    case Qt::ToolTipRole:
        return GetToolTip();
    case NodeNameRole:
        return m_fullName;
    case NodeToolTipRole:
    case NodeDescriptionRole:
    case NodeDocuUrlRole:
        return QVariant();
    case IsCategoryRole:
        return false;
    case VisibilityRole:
        return static_cast<int>(m_visibility);
    case ItemIdRole:
        return static_cast<unsigned int>(qHash(m_fullName, 0));
    case IsDebugNodeRole:
        return isDebugNode();
    case IsFullRowRole:
        return m_isFullRowItem;
    case IsSpecialNodeRole:
        return m_isSpecialNode;
    case FullNameRole:
        return m_fullName;
    default:
        return QVariant();
    }
}

void FeatureTreeItem::setData(int, const QVariant&, int)
{
}

int FeatureTreeItem::row() const
{
    if (!m_parent)
        return 0;
    return m_parent->m_children.indexOf(const_cast<FeatureTreeItem*>(this));
}

FeatureTreeItem* FeatureTreeItem::parent()
{
    return m_parent;
}

const FeatureTreeItem* FeatureTreeItem::parent() const
{
    return m_parent;
}

IFeatureTreeModelExtension* FeatureTreeItem::getExtension()
{
    return m_extension;
}

const IFeatureTreeModelExtension* FeatureTreeItem::getExtension() const
{
    return m_extension;
}

EFeatureEditorType FeatureTreeItem::editorType() const
{
    return m_editorType;
}

bool FeatureTreeItem::hasChildren() const
{
    if (m_isDeadEnd)
        return false;
    return !m_children.isEmpty();
}

bool FeatureTreeItem::ShowMe(GenApi::EVisibility visibility) const
{
    return m_visibility <= visibility;
}

GenApi::EAccessMode FeatureTreeItem::getAccessMode() const
{
    return GenApi::NA;
}

GenApi::EVisibility FeatureTreeItem::getVisibility() const
{
    return m_visibility;
}

void FeatureTreeItem::setVisibility(GenApi::EVisibility visibility)
{
    m_visibility = visibility;
}

Qt::ItemFlags FeatureTreeItem::flags(int column) const
{
    if (m_fullName == QLatin1String("Dummy"))
        return Qt::NoItemFlags;

    Qt::ItemFlags result;
    if (column == 0)
    {
        result = Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemIsEnabled;
    }
    else if (column == 1)
    {
        const GenApi::EAccessMode mode = getAccessMode();
        if (usePersistentEditor() || mode == GenApi::RW || mode == GenApi::WO)
            result = Qt::ItemIsEditable | Qt::ItemIsEnabled;
        else
            result = Qt::ItemIsEnabled;
    }
    else
    {
        result = Qt::ItemIsEnabled;
    }

    // A dead end repeats a node shown elsewhere: it may be selected, never edited or expanded.
    if (m_isDeadEnd)
        result = Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
    return result;
}

QVariant FeatureTreeItem::GetForegroundRole() const
{
    // Made once per process: every plain row is painted in the disabled text colour.
    static const QVariant s_greyBrush = QVariant(QPalette().brush(QPalette::Disabled, QPalette::Text));
    return s_greyBrush;
}

void FeatureTreeItem::appendChild(FeatureTreeItem* child)
{
    m_children.append(child);
}

void FeatureTreeItem::insertChild(FeatureTreeItem* child, int row)
{
    m_children.insert(row, child);
}

FeatureTreeItem* FeatureTreeItem::child(int row)
{
    if (row < 0 || row >= m_children.size())
        return nullptr;
    return m_children.at(row);
}

FeatureTreeItem* FeatureTreeItem::removeChild(int row)
{
    if (row < 0 || row >= m_children.size())
        return nullptr;
    return m_children.takeAt(row);
}

int FeatureTreeItem::columnCount() const
{
    return 2;
}

QString FeatureTreeItem::getName() const
{
    return m_name;
}

void FeatureTreeItem::setName(QString name)
{
    m_name = name;
}

QString FeatureTreeItem::getFullName() const
{
    return m_fullName;
}

bool FeatureTreeItem::isDebugNode() const
{
    return m_isDebugNode;
}

bool FeatureTreeItem::isDeadEnd() const
{
    return m_isDeadEnd;
}

void FeatureTreeItem::SetIsFullRowItem(bool isFullRowItem)
{
    m_isFullRowItem = isFullRowItem;
}

void FeatureTreeItem::SetIsSpecialNode(bool isSpecialNode)
{
    m_isSpecialNode = isSpecialNode;
}

bool FeatureTreeItem::HasDescription() const
{
    return m_description && !m_description->isEmpty();
}

void FeatureTreeItem::SetDescription(QString description)
{
    if (!m_description)
        m_description = new QString(description);
    else
        *m_description = description;
}

QString FeatureTreeItem::GetDescription() const
{
    return m_description ? *m_description : QString();
}

void FeatureTreeItem::SetToolTip(const QString& toolTip)
{
    if (!m_toolTip)
        m_toolTip = new QString(toolTip);
    else
        *m_toolTip = toolTip;
}

QString FeatureTreeItem::GetToolTip() const
{
    return m_toolTip ? *m_toolTip : QString();
}

bool FeatureTreeItem::isEditable() const
{
    return false;
}

bool FeatureTreeItem::usePersistentEditor() const
{
    switch (editorType())
    {
    case EditorInteger:
    case EditorString:
    case EditorFloatReserved:
    case EditorNone:
        return false;
    default:
        return true;
    }
}

bool FeatureTreeItem::findShallow(const FeatureTreeItem* wanted) const
{
    if (this == wanted)
        return true;
    for (const FeatureTreeItem* item : m_children)
    {
        if (item->findShallow(wanted))
            return true;
    }
    return false;
}

FeatureTreeItem* FeatureTreeItem::findByFullNameShallow(const QString& fullName)
{
    if (getFullName() == fullName)
        return this;
    for (FeatureTreeItem* item : qAsConst(m_children))
    {
        if (FeatureTreeItem* found = item->findByFullNameShallow(fullName))
            return found;
    }
    return nullptr;
}

FeatureTreeItem* FeatureTreeItem::findByRoleShallow(int role, const QVariant& value)
{
    if (data(0, role) == value)
        return this;
    for (FeatureTreeItem* item : qAsConst(m_children))
    {
        if (FeatureTreeItem* found = item->findByRoleShallow(role, value))
            return found;
    }
    return nullptr;
}

EFeatureEditorType FeatureTreeItem::editorType(const FeatureTreeItem* item)
{
    if (!item)
        return EditorInvalid;
    if (item->isDeadEnd())
        return EditorNone;
    return EditorInvalid;
}

EFeatureEditorType FeatureTreeItem::editorType(const QModelIndex& index)
{
    if (index.isValid())
        return EditorInvalid;
    return editorType(static_cast<const FeatureTreeItem*>(index.internalPointer()));
}

// ---------------------------------------------------------------------------

FeatureTreeFavoritesItem::FeatureTreeFavoritesItem(const QString& name,
                                                   IFeatureTreeModelExtension* extension,
                                                   const QString& fullName, FeatureTreeItem* parent)
    : FeatureTreeItem(name, extension, false, QStringLiteral("FavoritesTopLevel"), fullName, parent, false)
{
}

QVariant FeatureTreeFavoritesItem::data(int column, int role) const
{
    if (column == 0 && role == IsCategoryRole)
        return true;
    return FeatureTreeItem::data(column, role);
}

EFeatureEditorType FeatureTreeFavoritesItem::editorType() const
{
    return EditorNone;
}

bool FeatureTreeFavoritesItem::ShowMe(GenApi::EVisibility) const
{
    return true;
}

GenApi::EAccessMode FeatureTreeFavoritesItem::getAccessMode() const
{
    return GenApi::RW;
}

GenApi::EVisibility FeatureTreeFavoritesItem::getVisibility() const
{
    return GenApi::Beginner;
}

Qt::ItemFlags FeatureTreeFavoritesItem::flags(int column) const
{
    Qt::ItemFlags result = FeatureTreeItem::flags(column) | Qt::ItemIsEnabled;
    if (column == 0)
        result |= Qt::ItemIsDropEnabled;
    return result;
}

QVariant FeatureTreeFavoritesItem::GetForegroundRole() const
{
    return QVariant();
}

bool FeatureTreeFavoritesItem::isEditable() const
{
    return false;
}

bool FeatureTreeFavoritesItem::usePersistentEditor() const
{
    return false;
}
