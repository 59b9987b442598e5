#include "toolbuttoneditor.h"

#include "editorsupport_p.h"

ToolButtonEditor::ToolButtonEditor(QWidget* parent)
    : QToolButton(parent)
{
    setAutoRaise(false);
    setText(QStringLiteral("Execute"));
    setCheckable(true);
    setFocusPolicy(Qt::StrongFocus);
    setContentsMargins(0, 0, 0, 0);
}

void ToolButtonEditor::setEditorData(GenApi::INode* pNode)
{
    VorloQtInternal::guardedNamed(
        "setEditorData", "!! Failed to initialize button data for node %s",
        [&] { return VorloQtInternal::nodeName(pNode); },
        [&] {
            if (!dynamic_cast<GenApi::ICommand*>(pNode))
                return;
            m_pCommand = pNode; // attached on every call
            setChecked(!m_pCommand->IsDone(true));
            VorloQtInternal::setEnabledIfChanged(this, VorloQtInternal::isWritable(pNode));
        });
}

QVariant ToolButtonEditor::editorData()
{
    // A click has just toggled the button: what it shows now is the person's request.
    const bool requested = isChecked();
    VorloQtBase::guarded("editorData", QStringLiteral("!! Failed to set button state"), [&] {
        // The button goes back to what the node says.
        if (m_pCommand.IsValid())
            setChecked(!m_pCommand->IsDone(true));
    });
    return requested ? QVariant(QStringLiteral("1")) : QVariant();
}
