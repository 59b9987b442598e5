#pragma once

#include <VorloQtWidgets/abstractitemeditor.h>
#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <internal/GenApiSafePointer.h>

#include <QToolButton>

// Inline editor of a command feature: a checkable "Execute" button that stands pressed for
// as long as the command runs. A click on a resting button asks for execution; a click on a
// pressed one asks for nothing.
class VORLOQTWIDGETS_EXPORT ToolButtonEditor : public QToolButton, public AbstractItemEditor
{
    Q_OBJECT
public:
    explicit ToolButtonEditor(QWidget* parent);

    void setEditorData(GenApi::INode* pNode) override;
    QVariant editorData() override;

private:
    GenApi::CSafePointer<GenApi::ICommand, GenApi::IBase> m_pCommand; // not owned
};
