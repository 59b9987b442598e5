#pragma once
// A transport layer: enumerates devices of one kind and makes device objects for them.

#include <Vorlo/Device.h>

namespace Vorlo
{
    class VORLOBASE_EXPORT ITransportLayer
    {
    public:
        virtual ~ITransportLayer();

        virtual const CTlInfo& GetTlInfo() const = 0;
        //! Fills the list with the devices found now and returns their count. Replaces what the
        //! list held unless addToList is set, then appends.
        virtual int EnumerateDevices(DeviceInfoList& list, bool addToList = false) = 0;
        //! Makes a closed device object; raises when the device is gone or already in use
        virtual IVorloDevice* CreateDevice(const CDeviceInfo& info) = 0;
        //! Closes and deletes a device made by this layer
        virtual void DestroyDevice(IVorloDevice* device) = 0;
        //! Parameters of the transport layer itself
        virtual GenApi::INodeMap* GetNodeMap() = 0;
    };
}
