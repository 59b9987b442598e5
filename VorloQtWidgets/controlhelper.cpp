#include "controlhelper.h"

#include <VorloQtBase/exceptionhandling.h>
#include <VorloQtBase/trace.h>

#include <climits>
#include <memory>

namespace VorloQt
{
int trimToInt32(long value)
{
    if (value >= long(INT_MAX) + 1)
        return INT_MAX;
    if (value <= long(INT_MIN) - 1)
        return INT_MIN;
    return int(value);
}

ControlHelper::ControlHelper(GenApi::INode* pNode, QObject* parent)
    : QObject(parent)
    , m_hCallback(0)
{
    if (!pNode) {
        qCritical("ControlHelper:ControlHelper: Got NULL pointer as pNode argument????");
        return;
    }
    // The safe pointer's own registration lasts for the node's lifetime; the member
    // callback registered next is the one that carries change notices.
    m_pNode = pNode;
    VorloQtBase::guarded("ControlHelper", QStringLiteral("Failed to register callback"), [&] {
        using Callback = GenApi::Member_NodeCallback<ControlHelper, void (ControlHelper::*)(GenApi::INode*)>;
        std::unique_ptr<Callback> callback(
            new Callback(pNode, *this, &ControlHelper::onUpdateNode, GenApi::cbPostInsideLock));
        m_hCallback = m_pNode->RegisterCallback(callback.get());
        callback.release(); // the node owns it now
    });
}

ControlHelper::~ControlHelper()
{
    if (m_pNode.IsValid() && m_hCallback != 0) {
        const void* node = m_pNode.get();
        VorloQtBase::guarded("~ControlHelper", QStringLiteral("Failed to deregister the callback:"),
                             [&] { GenApi::DeregisterSafe(m_pNode, m_hCallback); });
        GetLazyTraceStructInstance()->debug("ControlHelper::~ControlHelper() DeRegisterCallback %x",
                                            static_cast<unsigned int>(reinterpret_cast<quintptr>(node)));
    }
    m_hCallback = 0;
}

void ControlHelper::onUpdateNode(GenApi::INode* pNode)
{
    // Runs inside the node map's lock on the thread that changed the node: no widget is
    // touched here, and nothing may be thrown back into the engine.
    VorloQtBase::guarded("onUpdateNode", QStringLiteral("Failed to forward a node change"), [&] {
        GenApi::INode* guardedNode = &*m_pNode;
        if (pNode == guardedNode)
            emit nodeUpdated();
    });
}
} // namespace VorloQt
