#pragma once

#include <VorloQtWidgets/abstractitemeditor.h>
#include <VorloQtWidgets/doublespinbox.h>
#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <internal/GenApiSafePointer.h>

// Inline editor of a float feature in one double spin box. A typed value is committed
// through the delegate and the model (boxValueChanged() on Return, Enter or focus loss);
// steps of the spin box write straight to the node. While the person types, refreshes are
// held back by the update guard of DoubleSpinBox.
class VORLOQTWIDGETS_EXPORT FloatEditor : public DoubleSpinBox, public AbstractItemEditor
{
    Q_OBJECT
public:
    FloatEditor(QWidget* parent, GenApi::_ERepresentation representation);
    ~FloatEditor() override;

    void updateToolTip() override;
    void setEditorData(GenApi::INode* pNode) override;
    QVariant editorData() override;

    bool initMemberVariables(GenApi::INode* pNode);
    // Clamps v to the node's present limits, asked from the node each time.
    double adjustRangeLimits(double v);
    double value();

signals:
    void boxValueChanged();

public slots:
    void onSpinBoxEditingFinished();
    void onSpinBoxStepTriggered(int steps);

private:
    GenApi::CSafeFloatPtr m_pFloat; // not owned; cleared when the node goes away
    GenApi::CSafeNodePtr m_pNode;   // not owned; the same node as INode
    bool m_initialized;
};
