#pragma once

#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <QVariant>

namespace GenApi
{
class INode;
}

// The interface through which the feature tree's delegate talks to an inline editor. Each
// editor derives first from a Qt widget and then from this interface; the delegate holds a
// QWidget* and reaches the interface by dynamic_cast.
//
// Rules every editor keeps: setEditorData() takes a null or wrongly typed node without
// failing; no exception leaves setEditorData(), a slot or editorData(); the widget is
// enabled exactly when the node is writable, and setEnabled() is called only on a change.
class VORLOQTWIDGETS_EXPORT AbstractItemEditor
{
public:
    // Shows the node's current state. Called at every refresh of the editor's row.
    virtual void setEditorData(GenApi::INode* pNode) = 0;
    // The value to hand to the model on commit.
    virtual QVariant editorData() = 0;
    virtual ~AbstractItemEditor();
};
