#pragma once

#include <VorloQtWidgets/abstractitemeditor.h>
#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <QCheckBox>

// Inline editor of a boolean feature. editorData() is the text "1" or "0", which the model
// hands to the node's FromString().
class VORLOQTWIDGETS_EXPORT CheckBoxEditor : public QCheckBox, public AbstractItemEditor
{
    Q_OBJECT
public:
    explicit CheckBoxEditor(QWidget* parent);

    void setEditorData(GenApi::INode* pNode) override;
    QVariant editorData() override;
};
