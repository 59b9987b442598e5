#include "checkboxeditor.h"

#include "editorsupport_p.h"

CheckBoxEditor::CheckBoxEditor(QWidget* parent)
    : QCheckBox(parent)
{
}

void CheckBoxEditor::setEditorData(GenApi::INode* pNode)
{
    VorloQtInternal::guardedNamed(
        "setEditorData", "!! Failed to initialize checkbox data for node %s",
        [&] { return VorloQtInternal::nodeName(pNode); },
        [&] {
            // Any other node leaves the box as it is, without a word.
            GenApi::IBoolean* pBoolean = dynamic_cast<GenApi::IBoolean*>(pNode);
            if (!pBoolean)
                return;
            setChecked(pBoolean->GetValue(false, false));
            VorloQtInternal::setEnabledIfChanged(this, VorloQtInternal::isWritable(pNode));
        });
}

QVariant CheckBoxEditor::editorData()
{
    return QVariant(isChecked() ? QStringLiteral("1") : QStringLiteral("0"));
}
