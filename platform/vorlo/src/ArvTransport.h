#pragma once
// GigE Vision and USB3 Vision through aravis. Only the .cpp includes aravis and GLib.

#include <Vorlo/TransportLayer.h>

namespace Vorlo
{
namespace Internal
{
    enum class ArvKind
    {
        GigE,
        Usb
    };

    ITransportLayer* CreateArvTransportLayer(ArvKind kind);
    CTlInfo ArvTransportLayerInfo(ArvKind kind);
}
}
