#include <Vorlo/TlFactory.h>

#include <map>
#include <mutex>
#include <set>

#include "ArvTransport.h"
#include "CamEmu.h"

namespace Vorlo
{
    ITransportLayer::~ITransportLayer() = default;

    class CTlFactoryPrivate
    {
    public:
        std::recursive_mutex mutex;
        // Layers live as long as the process; CreateTl and ReleaseTl only count their users.
        std::unique_ptr<ITransportLayer> camEmu;
        std::unique_ptr<ITransportLayer> gige;
        std::unique_ptr<ITransportLayer> usb;
        std::map<const ITransportLayer*, int> users;
        std::map<const IVorloDevice*, ITransportLayer*> devices;

        ITransportLayer* Layer(const gcstring& deviceClass)
        {
            std::lock_guard<std::recursive_mutex> lock(mutex);
            if (deviceClass == DeviceClassCamEmu)
            {
                if (!camEmu)
                    camEmu.reset(new Internal::CCamEmuTransportLayer);
                return camEmu.get();
            }
            if (deviceClass == DeviceClassGigE)
            {
                if (!gige)
                    gige.reset(Internal::CreateArvTransportLayer(Internal::ArvKind::GigE));
                return gige.get();
            }
            if (deviceClass == DeviceClassUsb)
            {
                if (!usb)
                    usb.reset(Internal::CreateArvTransportLayer(Internal::ArvKind::Usb));
                return usb.get();
            }
            return nullptr;
        }
    };

    CTlFactory& CTlFactory::GetInstance()
    {
        static CTlFactory instance;
        return instance;
    }

    CTlFactory::CTlFactory()
        : d(new CTlFactoryPrivate)
    {
    }

    CTlFactory::~CTlFactory() = default;

    int CTlFactory::EnumerateTls(TlInfoList& list)
    {
        list.clear();
        list.push_back(Internal::CCamEmuTransportLayer::MakeInfo());
        list.push_back(Internal::ArvTransportLayerInfo(Internal::ArvKind::GigE));
        list.push_back(Internal::ArvTransportLayerInfo(Internal::ArvKind::Usb));
        return static_cast<int>(list.size());
    }

    ITransportLayer* CTlFactory::CreateTl(const CTlInfo& info)
    {
        return CreateTl(info.GetDeviceClass());
    }

    ITransportLayer* CTlFactory::CreateTl(const gcstring& deviceClass)
    {
        std::lock_guard<std::recursive_mutex> lock(d->mutex);
        ITransportLayer* tl = d->Layer(deviceClass);
        if (tl)
            ++d->users[tl];
        return tl;
    }

    void CTlFactory::ReleaseTl(const ITransportLayer* tl)
    {
        std::lock_guard<std::recursive_mutex> lock(d->mutex);
        auto it = d->users.find(tl);
        if (it != d->users.end() && it->second > 0)
            --it->second;
    }

    int CTlFactory::EnumerateDevices(DeviceInfoList& list, bool addToList)
    {
        if (!addToList)
            list.clear();
        int count = 0;
        for (const char* deviceClass : { DeviceClassCamEmu, DeviceClassGigE, DeviceClassUsb })
        {
            ITransportLayer* tl = d->Layer(deviceClass);
            if (tl)
                count += tl->EnumerateDevices(list, true);
        }
        return count;
    }

    IVorloDevice* CTlFactory::CreateDevice(const CDeviceInfo& info)
    {
        ITransportLayer* tl = d->Layer(info.GetDeviceClass());
        if (!tl)
            throw RUNTIME_EXCEPTION("Cannot create a device of the unknown device class '%s'.", info.GetDeviceClass().c_str());
        // Enumeration and device creation of the layers are thread-safe themselves: the
        // factory's lock is not held while a layer talks to the network.
        IVorloDevice* device = tl->CreateDevice(info);
        std::lock_guard<std::recursive_mutex> lock(d->mutex);
        d->devices[device] = tl;
        return device;
    }

    IVorloDevice* CTlFactory::CreateFirstDevice(const CDeviceInfo& filter)
    {
        DeviceInfoList list;
        EnumerateDevices(list);
        gcstring wanted;
        const bool anyName = !filter.GetPropertyValue("FullName", wanted) || wanted.empty();
        gcstring wantedClass = filter.GetDeviceClass();
        for (const CDeviceInfo& info : list)
        {
            if (!wantedClass.empty() && info.GetDeviceClass() != wantedClass)
                continue;
            if (anyName || info.GetFullName() == wanted || info.GetSerialNumber() == wanted
                || (!info.GetUserDefinedName().empty() && info.GetUserDefinedName() == wanted))
                return CreateDevice(info);
        }
        throw RUNTIME_EXCEPTION("No device found that matches '%s'.", wanted.c_str());
    }

    void CTlFactory::DestroyDevice(IVorloDevice* device)
    {
        if (!device)
            return;
        ITransportLayer* tl = nullptr;
        {
            std::lock_guard<std::recursive_mutex> lock(d->mutex);
            auto it = d->devices.find(device);
            if (it != d->devices.end())
            {
                tl = it->second;
                d->devices.erase(it);
            }
        }
        if (tl)
            tl->DestroyDevice(device);
        else
            delete device;
    }

    bool CTlFactory::IsDeviceKnown(const IVorloDevice* device) const
    {
        std::lock_guard<std::recursive_mutex> lock(d->mutex);
        return d->devices.count(device) != 0;
    }

    void CTlFactory::SetCamEmuDeviceCount(unsigned int count)
    {
        Internal::CCamEmuRegistry::Instance().SetCount(count);
    }

    unsigned int CTlFactory::GetCamEmuDeviceCount() const
    {
        return Internal::CCamEmuRegistry::Instance().Count();
    }

    bool CTlFactory::SetCamEmuDeviceUnplugged(const gcstring& serialNumber, bool unplugged)
    {
        return Internal::CCamEmuRegistry::Instance().SetUnplugged(serialNumber, unplugged);
    }
}
