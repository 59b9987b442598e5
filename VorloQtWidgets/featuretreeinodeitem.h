#pragma once

#include <QMetaType>

#include <GenApi/GenApi.h>
#include <internal/GenApiSafePointer.h>

#include <VorloQtWidgets/featuretreehighlighter.h>
#include <VorloQtWidgets/featuretreeitem.h>
#include <VorloQtWidgets/vorloqtwidgets_export.h>

// The row that wraps one GenApi node: it picks the node's editor, turns the node's
// state into the text of the value column, builds the tooltip and the unit suffix,
// writes edited values back and passes the node's change callback on as a signal.
// Its children are made lazily, the first time somebody asks how many it has.
class VORLOQTWIDGETS_EXPORT FeatureTreeINodeItem : public FeatureTreeItem
{
    Q_OBJECT

public:
    FeatureTreeINodeItem(GenApi::INode* node, IFeatureTreeModelExtension* extension, bool isDebugNode,
                         const QString& kindLabel, const QString& fullName, FeatureTreeItem* parent,
                         bool isDeadEnd, bool useUtf8);
    // Takes the row's name from the caller and registers no node callback: the top row
    // of a node map.
    FeatureTreeINodeItem(GenApi::INode* node, const QString& name, IFeatureTreeModelExtension* extension,
                         bool isDebugNode, const QString& kindLabel, const QString& fullName,
                         FeatureTreeItem* parent, bool isDeadEnd, bool useUtf8);
    ~FeatureTreeINodeItem() override;

    using FeatureTreeItem::parent;

    void clearChildren() override;
    int childCount() override;
    QVariant data(int column, int role) const override;
    void setData(int column, const QVariant& value, int role) override;
    int row() const override;
    FeatureTreeItem* parent() override;
    IFeatureTreeModelExtension* getExtension() override;
    const IFeatureTreeModelExtension* getExtension() const override;
    EFeatureEditorType editorType() const override;
    bool hasChildren() const override;
    bool ShowMe(GenApi::EVisibility visibility) const override;
    GenApi::EAccessMode getAccessMode() const override;
    GenApi::EVisibility getVisibility() const override;
    Qt::ItemFlags flags(int column) const override;
    QVariant GetForegroundRole() const override;

    void appendChild(FeatureTreeItem* child);
    FeatureTreeItem* child(int row);
    bool usePersistentEditor() const;
    bool isDebugNode() const;
    bool isDeadEnd() const;
    bool isEditable() const;
    int columnCount() const;
    GenApi::INode* node() const;

    void setHighlighter(FeatureTreeHighlighter* highlighter);

    // The node callback. Runs on the thread that changed the node, inside the node
    // map's lock: it only clamps, tests and signals.
    void onUpdateNode(GenApi::INode* node);

    static EFeatureEditorType editorType(const GenApi::INode* node);
    static EFeatureEditorType editorType(const FeatureTreeINodeItem* item);

signals:
    void nodeUpdated(int row, FeatureTreeINodeItem* item);

private:
    void attachNode(GenApi::INode* node, bool registerCallback);
    void init();
    QVariant valueData(int role) const;
    QVariant toolTipData() const;
    QVariant valueText() const;

protected:
    GenApi::CSafePointer<GenApi::INode, GenApi::IBase> m_node;
    GenApi::CSafePointer<GenApi::IValue, GenApi::IBase> m_value;
    GenApi::CallbackHandleType m_callbackHandle;
    bool m_useUtf8;
    bool m_adjusting;
    FeatureTreeHighlighter* m_highlighter; // not owned
};

Q_DECLARE_METATYPE(FeatureTreeINodeItem*)
