#pragma once

#include <VorloQtWidgets/controlhelper.h>
#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <internal/GenApiSafePointer.h>

#include <QLineEdit>

namespace VorloQt
{
// A frameless line bound to any node with a value, for use outside the feature tree: it
// shows the node's text, writes what the person typed when editing finishes, and follows
// the node's changes through ControlHelper.
class VORLOQTWIDGETS_EXPORT StringControl : public QLineEdit
{
    Q_OBJECT
public:
    StringControl(GenApi::INode* pNode, QWidget* parent);
    ~StringControl() override;

public slots:
    void updateWidget();
    void updateNode();

private:
    ControlHelper m_controlHelper;
    GenApi::CSafeNodePtr m_pNode; // not owned
};
} // namespace VorloQt
