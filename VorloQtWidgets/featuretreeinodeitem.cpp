#include "featuretreeinodeitem.h"

#include <VorloQtBase/exceptionhandling.h>

#include <QtGlobal>

using namespace GenApi;

namespace {

QString fromGc(const GenICam::gcstring& text)
{
    return QString::fromLatin1(text.c_str());
}

bool isReadableMode(EAccessMode mode)
{
    return mode == RO || mode == RW;
}

bool isWritableMode(EAccessMode mode)
{
    return mode == WO || mode == RW;
}

bool isCategory(const INode* node)
{
    return node && dynamic_cast<const ICategory*>(node) != nullptr;
}

// The node's name for a failure text; empty when even that cannot be read.
QString nodeNameForLog(const INode* node)
{
    QString name;
    if (node)
        VorloQtBase::guarded("nodeName", QStringLiteral("Failed to get a node's name"),
                             [&] { name = fromGc(node->GetName(false)); });
    return name;
}

} // namespace

FeatureTreeINodeItem::FeatureTreeINodeItem(INode* node, IFeatureTreeModelExtension* extension,
                                           bool isDebugNode, const QString& kindLabel,
                                           const QString& fullName, FeatureTreeItem* parent,
                                           bool isDeadEnd, bool useUtf8)
    : FeatureTreeItem(QString(), extension, isDebugNode, kindLabel, fullName, parent, isDeadEnd)
    , m_callbackHandle(0)
    , m_useUtf8(useUtf8)
    , m_adjusting(false)
    , m_highlighter(nullptr)
{
    attachNode(node, true);
    if (node)
    {
        VorloQtBase::guarded("FeatureTreeINodeItem", QStringLiteral("Failed to get node's display name"),
                             [&] { m_name = QString::fromUtf8(node->GetDisplayName().c_str()); });
    }
    init();
}

FeatureTreeINodeItem::FeatureTreeINodeItem(INode* node, const QString& name,
                                           IFeatureTreeModelExtension* extension, bool isDebugNode,
                                           const QString& kindLabel, const QString& fullName,
                                           FeatureTreeItem* parent, bool isDeadEnd, bool useUtf8)
    : FeatureTreeItem(name, extension, isDebugNode, kindLabel, fullName, parent, isDeadEnd)
    , m_callbackHandle(0)
    , m_useUtf8(useUtf8)
    , m_adjusting(false)
    , m_highlighter(nullptr)
{
    attachNode(node, false);
    init();
}

FeatureTreeINodeItem::~FeatureTreeINodeItem()
{
    if (m_node.IsValid() && m_callbackHandle)
        DeregisterSafe(m_node, m_callbackHandle);
    m_callbackHandle = 0;
    FeatureTreeItem::clearChildren();
}

void FeatureTreeINodeItem::attachNode(INode* node, bool registerCallback)
{
    if (!node)
        return;
    VorloQtBase::guarded("FeatureTreeINodeItem", QStringLiteral("Failed to register callback"), [&] {
        m_node = node;
        m_value = node;
        if (m_isDeadEnd)
            return; // a dead end keeps EditorNone and is not updated by itself
        m_editorType = editorType(node);
        if (registerCallback)
            m_callbackHandle = GenApi::Register(node, *this, &FeatureTreeINodeItem::onUpdateNode, cbPostInsideLock);
    });
}

void FeatureTreeINodeItem::init()
{
    if (m_isDeadEnd)
        m_childrenLoaded = true;
    if (!m_node.IsValid())
        return;
    VorloQtBase::guarded("init", QStringLiteral("Failed to read a node's children"), [&] {
        switch (m_node->GetPrincipalInterfaceType())
        {
        case intfIInteger:
        case intfIBoolean:
        case intfICommand:
        case intfIFloat:
        case intfIString:
        case intfIRegister:
        case intfIEnumeration:
        case intfIEnumEntry:
            // Value nodes only have children in debug mode, and those repeat nodes shown elsewhere.
            m_childrenLoaded = false;
            m_childrenAreDeadEnds = true;
            break;
        default:
            break;
        }
        NodeList_t children;
        m_node->GetChildren(children, ctReadingChildren);
        if (children.empty())
            m_childrenLoaded = true;
    });
}

void FeatureTreeINodeItem::clearChildren()
{
    FeatureTreeItem::clearChildren();
}

int FeatureTreeINodeItem::childCount()
{
    if (!m_childrenLoaded && m_node.IsValid())
    {
        m_childrenLoaded = true;
        if (!m_isDeadEnd)
            getExtension()->addChildren(this, m_childrenAreDeadEnds);
    }
    return FeatureTreeItem::childCount();
}

QVariant FeatureTreeINodeItem::valueText() const
{
    const GenICam::gcstring text = m_value->ToString(false, false);
    if (m_useUtf8)
        return QString::fromUtf8(text.c_str());
    return QVariant(text.c_str());
}

QVariant FeatureTreeINodeItem::valueData(int role) const
{
    QVariant result;
    const bool ok = VorloQtBase::guarded("data", QStringLiteral("Exception fired when trying to access a node"), [&] {
        INode* node = m_node.get();
        if (role == Qt::EditRole)
        {
            if (m_isDeadEnd || !node || isCategory(node) || !m_value.IsValid()
                || !isReadableMode(m_value->GetAccessMode()))
            {
                result = QVariant();
                return;
            }
            result = valueText();
            return;
        }

        // Qt::DisplayRole
        if (!m_isDebugNode && (!node || isCategory(node)))
            result = QString("");
        else if (m_isDebugNode && !node)
            result = QString("");
        else if (m_isDebugNode && isCategory(node))
            result = QString("<already displayed elsewhere>");
        else if (!m_value.IsValid())
            result = QString("");
        else
        {
            switch (m_value->GetAccessMode())
            {
            case NI:
                result = QString("<not implemented>");
                break;
            case NA:
                result = QString("<not available>");
                break;
            case RO:
            case RW:
                result = valueText();
                break;
            default:
                result = QString("<not readable>");
                break;
            }
        }
    });
    if (!ok)
        return QString("<error!>");
    return result;
}

QVariant FeatureTreeINodeItem::toolTipData() const
{
    QVariant result;
    VorloQtBase::guarded("data", QStringLiteral("Failed to get node's tooltip"), [&] {
        const QString nodeToolTip = fromGc(m_node->GetToolTip());
        const QString nodeName = fromGc(m_node->GetName(false));
        const bool category = isCategory(m_node.get());
        QString text;
        if (nodeName.contains(QLatin1String("Root"), Qt::CaseInsensitive) || category)
            text = QString("<nobr><b>%1</b></nobr>").arg(m_name);
        else
            text = QString("<nobr><b>%1 (%2)</b></nobr>").arg(m_name, nodeName);
        // Only the head is marked: the node's own tooltip text follows unmarked.
        if (m_highlighter && !category)
            text = m_highlighter->highlightText(text);
        if (!nodeToolTip.isEmpty())
            text += QString("<br><nobr>%1</nobr>").arg(nodeToolTip);
        result = text;
    });
    return result;
}

QVariant FeatureTreeINodeItem::data(int column, int role) const
{
    if (column == 1)
    {
        switch (role)
        {
        case Qt::EditRole:
        case Qt::DisplayRole:
            return valueData(role);
        case Qt::ForegroundRole:
            return GetForegroundRole();
        default:
            return FeatureTreeItem::data(column, role);
        }
    }
    if (column != 0)
        return FeatureTreeItem::data(column, role);

    switch (role)
    {
    case Qt::DisplayRole:
    {
        if (m_isDebugNode)
            return QString("%1 %2").arg(m_kindLabel, m_name);
        INode* node = m_node.get();
        if (IFloat* floatNode = dynamic_cast<IFloat*>(node))
        {
            const QString unit = fromGc(floatNode->GetUnit());
            if (!unit.isEmpty())
                return QString("%1 [%2]").arg(m_name, unit);
        }
        else if (IInteger* intNode = dynamic_cast<IInteger*>(node))
        {
            const QString unit = fromGc(intNode->GetUnit());
            if (!unit.isEmpty())
                return QString("%1 [%2]").arg(m_name, unit);
        }
        return m_name;
    }
    case Qt::ToolTipRole:
        return toolTipData();
    case Qt::ForegroundRole:
        return GetForegroundRole();
    case NodeNameRole:
        return fromGc(m_node->GetName(false));
    case NodeToolTipRole:
        return fromGc(m_node->GetToolTip());
    case NodeDescriptionRole:
        return fromGc(m_node->GetDescription());
    case NodeDocuUrlRole:
        return fromGc(m_node->GetDocuURL());
    case IsCategoryRole:
    case IsFullRowRole:
        // On node rows the full-row flag is deliberately the category test.
        return isCategory(m_node.get());
    case VisibilityRole:
    {
        INode* node = m_node.get();
        if (node)
        {
            const EAccessMode mode = node->GetAccessMode();
            if (mode != NI && mode != NA)
                return static_cast<int>(node->GetVisibility());
        }
        return static_cast<int>(Invisible);
    }
    case ItemIdRole:
        return static_cast<quint64>(reinterpret_cast<quintptr>(m_node.get()));
    default:
        return FeatureTreeItem::data(column, role);
    }
}

void FeatureTreeINodeItem::setData(int column, const QVariant& value, int role)
{
    if (column != 1 || role != Qt::EditRole || !m_value.IsValid())
        return;
    if (!isWritableMode(m_value->GetAccessMode()))
        return;

    switch (m_editorType)
    {
    case EditorFloat:
    case EditorFloatSlider:
    case EditorFloatReserved:
    case EditorFloatSliderReserved:
    {
        if (value.type() != QVariant::Double)
            qWarning("FeatureTreeItem::setData() float editor, but no double in variant()  (node name = %s )",
                     m_name.toLatin1().constData());
        if (IFloat* floatNode = dynamic_cast<IFloat*>(m_value->GetNode()))
        {
            floatNode->SetValue(value.toDouble(), true);
            return;
        }
        qWarning("Floateditor for node %s, but no GenApi float node??", qPrintable(m_name));
        break;
    }
    default:
        break;
    }

    const QString text = value.toString();
    const QByteArray bytes = m_useUtf8 ? text.toUtf8() : text.toLatin1();
    m_value->FromString(GenICam::gcstring(bytes.constData()), true);
}

int FeatureTreeINodeItem::row() const
{
    return FeatureTreeItem::row();
}

FeatureTreeItem* FeatureTreeINodeItem::parent()
{
    return FeatureTreeItem::parent();
}

IFeatureTreeModelExtension* FeatureTreeINodeItem::getExtension()
{
    return FeatureTreeItem::getExtension();
}

const IFeatureTreeModelExtension* FeatureTreeINodeItem::getExtension() const
{
    return FeatureTreeItem::getExtension();
}

EFeatureEditorType FeatureTreeINodeItem::editorType() const
{
    return FeatureTreeItem::editorType();
}

bool FeatureTreeINodeItem::hasChildren() const
{
    INode* node = m_node.get();
    if (!node || m_isDeadEnd)
        return false;
    if (getExtension()->getVisibility() == Invisible)
    {
        // At the debug level a node has rows when it has any pointer property.
        GenICam::gcstring_vector names;
        node->GetPropertyNames(names);
        for (const GenICam::gcstring& name : names)
        {
            const char* text = name.c_str();
            if (text[0] == 'p' && text[1] != '\0')
                return true;
        }
        return false;
    }
    return isCategory(node);
}

bool FeatureTreeINodeItem::ShowMe(EVisibility visibility) const
{
    if (visibility == Invisible)
        return true;
    bool result = false;
    VorloQtBase::guarded("ShowMe", QStringLiteral("Exception fired when trying to determine whether item is visible"), [&] {
        if (getAccessMode() == NI || m_isDebugNode)
        {
            result = false;
            return;
        }
        result = m_node->GetVisibility() <= visibility;
    });
    return result;
}

EAccessMode FeatureTreeINodeItem::getAccessMode() const
{
    INode* node = m_node.get();
    return node ? node->GetAccessMode() : _UndefinedAccesMode;
}

EVisibility FeatureTreeINodeItem::getVisibility() const
{
    INode* node = m_node.get();
    return node ? node->GetVisibility() : _UndefinedVisibility;
}

Qt::ItemFlags FeatureTreeINodeItem::flags(int column) const
{
    Qt::ItemFlags result = FeatureTreeItem::flags(column);
    INode* node = m_node.get();
    const EAccessMode mode = getAccessMode();
    const bool writable = isWritableMode(mode) && !m_isDeadEnd;
    const bool category = isCategory(node);

    if (writable || category)
    {
        if (column == 0)
            result |= Qt::ItemIsEnabled;
        else if (column == 1 && writable)
            result |= Qt::ItemIsEditable | Qt::ItemIsEnabled;
    }
    // Categories cannot be dragged. A dead node has no interface type to ask: keep the base flags.
    if (column == 0 && node)
    {
        if (node->GetPrincipalInterfaceType() == intfICategory)
            result &= ~Qt::ItemIsDragEnabled;
        else
            result |= Qt::ItemIsDragEnabled;
    }
    if (m_isDebugNode && category)
        result &= Qt::ItemIsEditable;
    if (!isReadableMode(mode))
        result &= ~(Qt::ItemIsEditable | Qt::ItemIsUserCheckable);
    return result;
}

QVariant FeatureTreeINodeItem::GetForegroundRole() const
{
    INode* node = m_node.get();
    const bool greyed = (!isEditable() && node && node->GetPrincipalInterfaceType() != intfICategory)
                        || m_isDebugNode;
    if (greyed)
        return FeatureTreeItem::GetForegroundRole();
    return QVariant();
}

void FeatureTreeINodeItem::appendChild(FeatureTreeItem* child)
{
    FeatureTreeItem::appendChild(child);
}

FeatureTreeItem* FeatureTreeINodeItem::child(int row)
{
    return FeatureTreeItem::child(row);
}

bool FeatureTreeINodeItem::usePersistentEditor() const
{
    return FeatureTreeItem::usePersistentEditor();
}

bool FeatureTreeINodeItem::isDebugNode() const
{
    return FeatureTreeItem::isDebugNode();
}

bool FeatureTreeINodeItem::isDeadEnd() const
{
    return FeatureTreeItem::isDeadEnd();
}

bool FeatureTreeINodeItem::isEditable() const
{
    if (!m_node.IsValid() || m_isDeadEnd)
        return false;
    if (m_editorType == EditorNone || m_editorType == EditorInvalid)
        return false;
    return isWritableMode(getAccessMode());
}

int FeatureTreeINodeItem::columnCount() const
{
    return 2;
}

INode* FeatureTreeINodeItem::node() const
{
    return m_node.get();
}

void FeatureTreeINodeItem::setHighlighter(FeatureTreeHighlighter* highlighter)
{
    m_highlighter = highlighter;
}

void FeatureTreeINodeItem::onUpdateNode(INode* node)
{
    if (node != m_node.get())
        return;
    if (!getExtension()->getGenICamCallbackEnable())
        return;
    if (m_adjusting)
        return; // our own write of a clamped value below

    const QString failure = QString::asprintf("Failed to adjust a node: %s", qPrintable(nodeNameForLog(node)));
    VorloQtBase::guarded("onUpdateNode", failure, [&] {
        if (!isWritableMode(node->GetAccessMode()))
            return;
        // A value that a changed range left outside is pulled to the nearer bound.
        if (IInteger* intNode = dynamic_cast<IInteger*>(node))
        {
            const int64_t value = intNode->GetValue(false, false);
            const int64_t minimum = intNode->GetMin();
            const int64_t maximum = intNode->GetMax();
            if (value < minimum)
            {
                m_adjusting = true;
                intNode->SetValue(minimum, true);
            }
            else if (value > maximum)
            {
                m_adjusting = true;
                intNode->SetValue(maximum, true);
            }
        }
        else if (IFloat* floatNode = dynamic_cast<IFloat*>(node))
        {
            const double value = floatNode->GetValue(false, false);
            const double minimum = floatNode->GetMin();
            const double maximum = floatNode->GetMax();
            if (value < minimum)
            {
                m_adjusting = true;
                floatNode->SetValue(minimum, true);
            }
            else if (value > maximum)
            {
                m_adjusting = true;
                floatNode->SetValue(maximum, true);
            }
        }
    });

    if (!m_adjusting)
        emit nodeUpdated(row(), this);
    m_adjusting = false;
}

EFeatureEditorType FeatureTreeINodeItem::editorType(const INode* node)
{
    if (!node)
        return EditorInvalid;
    EFeatureEditorType result = EditorInvalid;
    const bool ok = VorloQtBase::guarded(
        "editorType",
        QString::asprintf("Error getting editor type for node: '%s'", qPrintable(nodeNameForLog(node))), [&] {
            // Representations below 2 are Linear and Logarithmic: those get a slider.
            INode* mutableNode = const_cast<INode*>(node);
            if (IInteger* intNode = dynamic_cast<IInteger*>(mutableNode))
                result = static_cast<int>(intNode->GetRepresentation()) < 2 ? EditorIntegerSlider : EditorInteger;
            else if (IFloat* floatNode = dynamic_cast<IFloat*>(mutableNode))
                result = static_cast<int>(floatNode->GetRepresentation()) < 2 ? EditorFloatSlider : EditorFloat;
            else if (dynamic_cast<const IEnumeration*>(node))
                result = EditorEnumeration;
            else if (dynamic_cast<const ICommand*>(node))
                result = EditorCommand;
            else if (dynamic_cast<const IBoolean*>(node))
                result = EditorBoolean;
            else if (dynamic_cast<const IString*>(node))
                result = EditorString;
            else
                result = EditorNone;
        });
    return ok ? result : EditorInvalid;
}

EFeatureEditorType FeatureTreeINodeItem::editorType(const FeatureTreeINodeItem* item)
{
    if (!item)
        return EditorInvalid;
    if (item->isDeadEnd())
        return EditorNone;
    return editorType(item->node());
}
