#pragma once

#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <GenApi/GenApi.h>
#include <internal/GenApiSafePointer.h>

#include <QObject>

namespace VorloQt
{
// Brings GenApi's 64-bit values into the 32-bit range of Qt's widgets by saturation.
VORLOQTWIDGETS_EXPORT int trimToInt32(long value);

// Turns a node's change callback into the Qt signal nodeUpdated(). The callback runs on
// whatever thread changed the node, inside the node map's lock, so it only tests and
// signals; receivers connect with the default connection type and are called queued when
// they live in another thread.
class VORLOQTWIDGETS_EXPORT ControlHelper : public QObject
{
    Q_OBJECT
public:
    ControlHelper(GenApi::INode* pNode, QObject* parent);
    ~ControlHelper() override;

    virtual void onUpdateNode(GenApi::INode* pNode);

signals:
    void nodeUpdated();

private:
    GenApi::CSafeNodePtr m_pNode;            // not owned; cleared when the node goes away
    GenApi::CallbackHandleType m_hCallback;  // the change callback, 0 when none
};
} // namespace VorloQt
