#include "stringcontrol.h"

#include "editorsupport_p.h"

namespace VorloQt
{
StringControl::StringControl(GenApi::INode* pNode, QWidget* parent)
    : QLineEdit(parent)
    , m_controlHelper(pNode, nullptr)
{
    m_pNode = pNode;
    setFrame(false);
    updateWidget();
    setCursorPosition(0); // a long text shows its beginning
    connect(this, SIGNAL(editingFinished()), this, SLOT(updateNode()));
    connect(&m_controlHelper, SIGNAL(nodeUpdated()), this, SLOT(updateWidget()));
}

StringControl::~StringControl() = default;

void StringControl::updateWidget()
{
    VorloQtBase::guarded("updateWidget", QStringLiteral("Failed to update string control widget"), [&] {
        GenApi::IValue* pValue = dynamic_cast<GenApi::IValue*>(m_pNode.get());
        if (!pValue)
            return;
        setText(QString::fromUtf8(pValue->ToString(false, false).c_str()));
        setReadOnly(!VorloQtInternal::isWritable(m_pNode.get()));
    });
}

void StringControl::updateNode()
{
    VorloQtBase::guardedShown("updateNode", QStringLiteral("Failed to set value"), QStringLiteral("Failed to set value"),
                              nullptr, [&] {
                                  GenApi::IValue* pValue = dynamic_cast<GenApi::IValue*>(m_pNode.get());
                                  if (!pValue || !VorloQtInternal::isWritable(m_pNode.get()))
                                      return;
                                  pValue->FromString(text().toLatin1().constData(), true);
                              });
}
} // namespace VorloQt
