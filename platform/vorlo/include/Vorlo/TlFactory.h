#pragma once
// The entry point of the SDK: lists transport layers and makes devices.

#include <memory>

#include <Vorlo/TransportLayer.h>

namespace Vorlo
{
    class CTlFactoryPrivate;

    //! Thread-safe: enumeration may run on one thread while another opens devices
    class VORLOBASE_EXPORT CTlFactory
    {
    public:
        static CTlFactory& GetInstance();

        //! Emulation, GigE Vision and USB3 Vision, in that order; returns the count
        int EnumerateTls(TlInfoList& list);
        //! A transport layer object, shared and counted; null for an unknown layer
        ITransportLayer* CreateTl(const CTlInfo& info);
        ITransportLayer* CreateTl(const gcstring& deviceClass);
        //! Gives back a layer from CreateTl
        void ReleaseTl(const ITransportLayer* tl);

        //! Devices of all transport layers; same list semantics as the layer's
        int EnumerateDevices(DeviceInfoList& list, bool addToList = false);
        //! A closed device object for the record; raises when the device is gone, already in
        //! use, or of an unknown class
        IVorloDevice* CreateDevice(const CDeviceInfo& info);
        //! A closed device object for the first device found whose full name, serial number or
        //! user-defined name equals the text
        IVorloDevice* CreateFirstDevice(const CDeviceInfo& filter = CDeviceInfo());
        void DestroyDevice(IVorloDevice* device);
        //! Is this device object one that the factory made and has not destroyed?
        bool IsDeviceKnown(const IVorloDevice* device) const;

        // Emulated cameras. Their count comes from the environment variable VORLO_CAMEMU
        // (default 0) and may be changed here. Odd-numbered cameras ("EMU-0001", ...) are the
        // GigE-flavoured variant.
        void SetCamEmuDeviceCount(unsigned int count);
        unsigned int GetCamEmuDeviceCount() const;
        //! Test hook: unplugs (true) or replugs (false) the emulated camera with this serial
        //! number. Unplugging fires removal on an open device and hides it from enumeration.
        //! False when no emulated camera has that serial number.
        bool SetCamEmuDeviceUnplugged(const gcstring& serialNumber, bool unplugged);

        CTlFactory(const CTlFactory&) = delete;
        CTlFactory& operator=(const CTlFactory&) = delete;

    private:
        CTlFactory();
        ~CTlFactory();
        std::unique_ptr<CTlFactoryPrivate> d;
    };
}
