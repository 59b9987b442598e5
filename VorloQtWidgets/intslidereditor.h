#pragma once

#include <VorloQtWidgets/abstractitemeditor.h>
#include <VorloQtWidgets/comboslider.h>
#include <VorloQtWidgets/controlhelper.h>
#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <internal/GenApiSafePointer.h>

// Inline editor of an integer feature with a Linear or Logarithmic representation: a spin
// box bound to a slider. Every position of a drag and every step is committed at once.
class VORLOQTWIDGETS_EXPORT IntSliderEditor : public ComboSlider, public AbstractItemEditor
{
    Q_OBJECT
public:
    explicit IntSliderEditor(QWidget* parent);

    void setEditorData(GenApi::INode* pNode) override;
    QVariant editorData() override;
};

namespace VorloQt
{
// A stand-alone slider bound to one integer node, for use outside the feature tree: it
// writes the node itself and follows the node's changes through ControlHelper.
class VORLOQTWIDGETS_EXPORT IntSliderControl : public ComboSlider
{
    Q_OBJECT
public:
    IntSliderControl(GenApi::IInteger* pInteger, QWidget* parent);
    ~IntSliderControl() override;

public slots:
    void updateWidget();
    void setNodeValue(int newVal);

private:
    GenApi::CSafePointer<GenApi::IInteger, GenApi::IBase> m_pInteger; // not owned
    ControlHelper m_controlHelper;
    // The last value exchanged with the node: the guard against feedback, so that a value
    // that came from the node goes no further and the node's echo changes nothing.
    int m_lastValue;
};
} // namespace VorloQt
