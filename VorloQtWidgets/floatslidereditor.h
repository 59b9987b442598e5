#pragma once

#include <VorloQtWidgets/abstractitemeditor.h>
#include <VorloQtWidgets/doublecomboslider.h>
#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <internal/GenApiSafePointer.h>

// Inline editor of a float feature that has an integer alias: the spin box shows and writes
// the float node, the slider shows and writes the alias, the raw value of the same feature.
// The device keeps the two in step; the editor hears of the float through the model's
// refresh and of the alias through a callback of its own, which may come from any thread.
class VORLOQTWIDGETS_EXPORT FloatSliderEditor : public DoubleComboSlider, public AbstractItemEditor
{
    Q_OBJECT
public:
    explicit FloatSliderEditor(QWidget* parent);
    ~FloatSliderEditor() override;

    void updateToolTip() override;
    void setEditorData(GenApi::INode* pNode) override;
    QVariant editorData() override;

    // The alias's node callback: runs inside the node map's lock on whatever thread changed
    // the alias, touches no widget and hands over to onAliasNodeUpdateImpl().
    void onAliasNodeUpdate(GenApi::INode* pAlias);
    bool initMemberVariables(GenApi::INode* pNode);
    // Clamps v to the float node's present limits.
    double adjustRangeLimits(double v);
    double value();

signals:
    void boxValueChanged();

public slots:
    void onSpinBoxEditingFinished();
    void onSliderValueChanged(int val);
    void onAliasNodeUpdateImpl(GenApi::INode* pAlias);

private:
    bool m_initialized;
    GenApi::CSafeNodePtr m_pNode;                                     // not owned: the float node
    GenApi::CSafeFloatPtr m_pFloat;                                   // not owned: the float node
    GenApi::CSafeNodePtr m_pAlias;                                    // not owned: the alias
    GenApi::CSafePointer<GenApi::IInteger, GenApi::IBase> m_pAliasInteger; // not owned: the alias
    GenApi::CallbackHandleType m_pAliasCallbackHandle;
};
