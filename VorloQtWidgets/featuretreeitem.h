#pragma once

#include <QList>
#include <QModelIndex>
#include <QObject>
#include <QString>
#include <QVariant>

#include <GenApi/GenApi.h>

#include <VorloQtWidgets/featureeditortype.h>
#include <VorloQtWidgets/featuretreerole.h>
#include <VorloQtWidgets/ifeaturetreemodelextension.h>
#include <VorloQtWidgets/vorloqtwidgets_export.h>

// One row of the feature tree, and the concrete class of every row without a GenApi
// node behind it: the master root, the search help row, the placeholder of an empty
// favorites list and a favorite whose camera is absent. The tree of these objects is
// the model's storage; a row owns its children, and its QObject parent is its tree parent.
class VORLOQTWIDGETS_EXPORT FeatureTreeItem : public QObject
{
    Q_OBJECT

public:
    FeatureTreeItem(const QString& name, IFeatureTreeModelExtension* extension, bool isDebugNode,
                    const QString& kindLabel, const QString& fullName, FeatureTreeItem* parent,
                    bool isDeadEnd);
    ~FeatureTreeItem() override;

    virtual void clearChildren();
    virtual int childCount();
    virtual QVariant data(int column, int role) const;
    virtual void setData(int column, const QVariant& value, int role);
    virtual int row() const;
    virtual FeatureTreeItem* parent();
    virtual const FeatureTreeItem* parent() const;
    virtual IFeatureTreeModelExtension* getExtension();
    virtual const IFeatureTreeModelExtension* getExtension() const;
    virtual EFeatureEditorType editorType() const;
    virtual bool hasChildren() const;
    virtual bool ShowMe(GenApi::EVisibility visibility) const;
    virtual GenApi::EAccessMode getAccessMode() const;
    virtual GenApi::EVisibility getVisibility() const;
    virtual void setVisibility(GenApi::EVisibility visibility);
    virtual Qt::ItemFlags flags(int column) const;
    virtual QVariant GetForegroundRole() const;

    // Tree. The creator links a new row with appendChild or insertChild; removeChild
    // detaches a child without deleting it. None of these tell the model anything.
    void appendChild(FeatureTreeItem* child);
    void insertChild(FeatureTreeItem* child, int row);
    FeatureTreeItem* child(int row);
    FeatureTreeItem* removeChild(int row);
    int columnCount() const;

    QString getName() const;
    void setName(QString name);
    QString getFullName() const;
    bool isDebugNode() const;
    bool isDeadEnd() const;
    void SetIsFullRowItem(bool isFullRowItem);
    void SetIsSpecialNode(bool isSpecialNode);

    bool HasDescription() const;
    void SetDescription(QString description);
    QString GetDescription() const;
    void SetToolTip(const QString& toolTip);
    QString GetToolTip() const;

    bool isEditable() const;
    bool usePersistentEditor() const;

    // Searches over the rows that exist: they never make a lazy row load its children.
    bool findShallow(const FeatureTreeItem* wanted) const;
    FeatureTreeItem* findByFullNameShallow(const QString& fullName);
    FeatureTreeItem* findByRoleShallow(int role, const QVariant& value);

    // Crude classification for code that holds no item.
    static EFeatureEditorType editorType(const FeatureTreeItem* item);
    static EFeatureEditorType editorType(const QModelIndex& index);

protected:
    QString* m_description;              // owned
    QString m_name;
    GenApi::EVisibility m_visibility;
    QString m_kindLabel;
    QString m_fullName;
    QString* m_toolTip;                  // owned
    FeatureTreeItem* m_parent;           // not owned
    QList<FeatureTreeItem*> m_children;  // owned
    EFeatureEditorType m_editorType;
    bool m_childrenLoaded;
    bool m_childrenAreDeadEnds;
    bool m_isDebugNode;
    bool m_isFullRowItem;
    bool m_isDeadEnd;
    bool m_isSpecialNode;
    IFeatureTreeModelExtension* m_extension; // not owned
};

// The top-level row of the favorites: a drop target that reports itself as a category.
class VORLOQTWIDGETS_EXPORT FeatureTreeFavoritesItem : public FeatureTreeItem
{
    Q_OBJECT

public:
    FeatureTreeFavoritesItem(const QString& name, IFeatureTreeModelExtension* extension,
                             const QString& fullName, FeatureTreeItem* parent);

    QVariant data(int column, int role) const override;
    EFeatureEditorType editorType() const override;
    bool ShowMe(GenApi::EVisibility visibility) const override;
    GenApi::EAccessMode getAccessMode() const override;
    GenApi::EVisibility getVisibility() const override;
    Qt::ItemFlags flags(int column) const override;
    QVariant GetForegroundRole() const override;

    bool isEditable() const;
    bool usePersistentEditor() const;
};
