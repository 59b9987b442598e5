#pragma once

#include <VorloQtWidgets/abstractitemeditor.h>
#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <GenApi/Types.h>

#include <QComboBox>

// Inline editor of an enumeration feature: the entries that are available and visible at
// the view's present user level, by display name, with the symbolic name as item data. The
// list is never rebuilt under an open popup.
class VORLOQTWIDGETS_EXPORT EnumEditor : public QComboBox, public AbstractItemEditor
{
    Q_OBJECT
public:
    EnumEditor(QWidget* parent, GenApi::_EVisibility* pVisibility);
    ~EnumEditor() override;

    void setEditorData(GenApi::INode* pNode) override;
    // The symbolic name of the current entry, never its display name.
    QVariant editorData() override;

    void showPopup() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    void addItem(GenApi::INode* pNode);

private:
    QWidget* m_popup;                      // not owned: the combo box's popup while it is open
    GenApi::EVisibility* m_pVisibility;    // not owned: the view's present user level
};
