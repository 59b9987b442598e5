#pragma once
// The factory operations a device scan goes through. The scan calls the SDK's factory by way
// of this class so that a test can put faults between the two (a layer that cannot be created,
// an enumeration that throws, a slow scan) while every device still comes from the SDK.

#include <Vorlo/VorloIncludes.h>

#include <VorloQtWidgets/vorloqtwidgets_export.h>

namespace VorloQtWidgetsPrivate {

class VORLOQTWIDGETS_EXPORT DeviceScanFactory
{
public:
    virtual ~DeviceScanFactory();

    // Each forwards to Vorlo::CTlFactory::GetInstance().
    virtual int enumerateTls(Vorlo::TlInfoList& list);
    virtual Vorlo::ITransportLayer* createTl(const Vorlo::CTlInfo& info);
    virtual void releaseTl(const Vorlo::ITransportLayer* tl);
    virtual int enumerateDevices(Vorlo::ITransportLayer* tl, Vorlo::DeviceInfoList& list);

    // The one in use: the installed one, or a plain forwarder.
    static DeviceScanFactory& instance();
    // Installs a replacement (not owned) and returns the one installed before; null restores
    // the plain forwarder. For tests: install before any scan runs, restore after the last.
    static DeviceScanFactory* install(DeviceScanFactory* factory);
};

} // namespace VorloQtWidgetsPrivate
