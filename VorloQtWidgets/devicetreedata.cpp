#include <VorloQtWidgets/devicetreedata.h>
#include <VorloQtWidgets/devicetreedata_p.h>

#include <atomic>

#include <QString>

#include <VorloQtBase/exceptionhandling.h>
#include <VorloQtBase/trace.h>

namespace {
const char* const GigEDeviceClass = "KesdorGigE";
}

DeviceTreeItem::DeviceTreeItem() = default;

DeviceTreeItem::DeviceTreeItem(const Vorlo::CTlInfo& info)
    : Vorlo::CTlInfo(info)
{
}

DeviceTreeItem::~DeviceTreeItem() = default;
DeviceTreeItem::DeviceTreeItem(const DeviceTreeItem&) = default;
DeviceTreeItem& DeviceTreeItem::operator=(const DeviceTreeItem&) = default;

DeviceTreeData::DeviceTreeData() = default;
DeviceTreeData::~DeviceTreeData() = default;

void DeviceTreeData::refreshDeviceTreeData(DeviceTreeData& data, bool gigeOnly, bool skipDevices,
                                           bool dumpResults)
{
    using VorloQtWidgetsPrivate::DeviceScanFactory;
    DeviceScanFactory& factory = DeviceScanFactory::instance();

    DeviceTreeData fresh;
    fresh.m_items.reserve(5);

    Vorlo::TlInfoList tls;
    factory.enumerateTls(tls);

    for (const Vorlo::CTlInfo& tlInfo : tls) {
        if (gigeOnly && tlInfo.GetDeviceClass() != GigEDeviceClass)
            continue;

        DeviceTreeItem item(tlInfo);
        if (!skipDevices) {
            item.m_devices.reserve(3);
            Vorlo::ITransportLayer* tl = factory.createTl(tlInfo);
            if (tl) {
                const Vorlo::gcstring deviceClass = tlInfo.GetDeviceClass();
                VorloQtBase::guarded(
                    "refreshDeviceTreeData",
                    QString::asprintf("Failed to enumerate devices for %s.", deviceClass.c_str()),
                    [&] {
                        factory.enumerateDevices(tl, item.m_devices);
                        if (dumpResults) {
                            for (const Vorlo::CDeviceInfo& device : item.m_devices)
                                GetLazyTraceStructInstance()->debug(
                                    "refreshDeviceTreeData: %s found '%s'", deviceClass.c_str(),
                                    device.GetFullName().c_str());
                        }
                    });
                factory.releaseTl(tl);
            }
        }
        // A layer whose enumeration failed stays, with what its list held at that moment.
        fresh.m_items.push_back(std::move(item));
    }

    // Three pointers change hands; the old rows die with the local object.
    data.m_items.swap(fresh.m_items);
}

namespace VorloQtWidgetsPrivate {

namespace {
std::atomic<DeviceScanFactory*> s_installedFactory{nullptr};
}

DeviceScanFactory::~DeviceScanFactory() = default;

int DeviceScanFactory::enumerateTls(Vorlo::TlInfoList& list)
{
    return Vorlo::CTlFactory::GetInstance().EnumerateTls(list);
}

Vorlo::ITransportLayer* DeviceScanFactory::createTl(const Vorlo::CTlInfo& info)
{
    return Vorlo::CTlFactory::GetInstance().CreateTl(info);
}

void DeviceScanFactory::releaseTl(const Vorlo::ITransportLayer* tl)
{
    Vorlo::CTlFactory::GetInstance().ReleaseTl(tl);
}

int DeviceScanFactory::enumerateDevices(Vorlo::ITransportLayer* tl, Vorlo::DeviceInfoList& list)
{
    return tl->EnumerateDevices(list);
}

DeviceScanFactory& DeviceScanFactory::instance()
{
    static DeviceScanFactory forwarder;
    DeviceScanFactory* installed = s_installedFactory.load();
    return installed ? *installed : forwarder;
}

DeviceScanFactory* DeviceScanFactory::install(DeviceScanFactory* factory)
{
    return s_installedFactory.exchange(factory);
}

} // namespace VorloQtWidgetsPrivate
