#include "ArvTransport.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>

#include <arv.h>

#include <atomic>
#include <cctype>
#include <cstring>
#include <map>
#include <set>
#include <mutex>
#include <thread>

#include "DeviceBase.h"
#include "ParameterNodeMap.h"
#include "StreamGrabberBase.h"
#include "VorloXmlResources.h"

namespace Vorlo
{
namespace Internal
{
    namespace
    {
        // aravis's interface objects are process-wide singletons that are not safe to update
        // from two threads at once; every discovery and every open goes through this lock.
        std::recursive_mutex& AravisLock()
        {
            static std::recursive_mutex lock;
            return lock;
        }

        const char* const ArvIdProperty = "ArvDeviceId";

        // Devices open in this process, by aravis id: a camera is opened by one object at a time.
        std::set<std::string>& OpenIds()
        {
            static std::set<std::string> ids;
            return ids;
        }

        std::string ErrorText(GError* error, const char* fallback)
        {
            std::string text = error && error->message ? error->message : fallback;
            if (error)
                g_error_free(error);
            return text;
        }

        std::string SafeString(const char* text) { return text ? text : ""; }

        //! The host interface address and netmask on the device's subnet; empty when none fits
        std::pair<std::string, std::string> HostInterfaceFor(const std::string& deviceAddress)
        {
            in_addr device{};
            if (inet_pton(AF_INET, deviceAddress.c_str(), &device) != 1)
                return {};
            ifaddrs* list = nullptr;
            if (getifaddrs(&list) != 0)
                return {};
            std::pair<std::string, std::string> found;
            for (ifaddrs* it = list; it; it = it->ifa_next)
            {
                if (!it->ifa_addr || !it->ifa_netmask || it->ifa_addr->sa_family != AF_INET)
                    continue;
                const in_addr host = reinterpret_cast<sockaddr_in*>(it->ifa_addr)->sin_addr;
                const in_addr mask = reinterpret_cast<sockaddr_in*>(it->ifa_netmask)->sin_addr;
                if ((host.s_addr & mask.s_addr) == (device.s_addr & mask.s_addr))
                {
                    char hostText[INET_ADDRSTRLEN] = {};
                    char maskText[INET_ADDRSTRLEN] = {};
                    inet_ntop(AF_INET, &host, hostText, sizeof hostText);
                    inet_ntop(AF_INET, &mask, maskText, sizeof maskText);
                    found = { hostText, maskText };
                    break;
                }
            }
            freeifaddrs(list);
            return found;
        }

        std::string MacWithoutSeparators(const std::string& physicalId)
        {
            std::string mac;
            for (char c : physicalId)
                if (std::isxdigit(static_cast<unsigned char>(c)))
                    mac += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
            return mac.size() == 12 ? mac : std::string();
        }

        ArvInterface* InterfaceOf(ArvKind kind)
        {
            return kind == ArvKind::GigE ? arv_gv_interface_get_instance() : arv_uv_interface_get_instance();
        }

        const char* DeviceClassOf(ArvKind kind) { return kind == ArvKind::GigE ? DeviceClassGigE : DeviceClassUsb; }
    }

    // ------------------------------------------------------------------ register port

    //! Reads and writes device memory through aravis (GVCP or the USB3 Vision control channel)
    class CArvPort : public GenApi::CPortImpl
    {
    public:
        CArvPort(ArvDevice* device, std::mutex& deviceMutex)
            : m_device(device)
            , m_deviceMutex(deviceMutex)
        {
        }

        void Read(void* pBuffer, int64_t Address, int64_t Length) override
        {
            CheckRemoved();
            std::lock_guard<std::mutex> lock(m_deviceMutex);
            GError* error = nullptr;
            if (!arv_device_read_memory(m_device, static_cast<guint64>(Address), static_cast<guint32>(Length), pBuffer, &error))
                throw RUNTIME_EXCEPTION("Reading %lld bytes at 0x%llx from the device failed: %s", static_cast<long long>(Length),
                                        static_cast<unsigned long long>(Address), ErrorText(error, "unknown error").c_str());
        }

        void Write(const void* pBuffer, int64_t Address, int64_t Length) override
        {
            CheckRemoved();
            std::lock_guard<std::mutex> lock(m_deviceMutex);
            GError* error = nullptr;
            if (!arv_device_write_memory(m_device, static_cast<guint64>(Address), static_cast<guint32>(Length),
                                         const_cast<void*>(pBuffer), &error))
                throw RUNTIME_EXCEPTION("Writing %lld bytes at 0x%llx to the device failed: %s", static_cast<long long>(Length),
                                        static_cast<unsigned long long>(Address), ErrorText(error, "unknown error").c_str());
        }

        void SetRemoved() { m_removed = true; }

    private:
        void CheckRemoved() const
        {
            if (m_removed.load())
                throw RUNTIME_EXCEPTION("The device has been removed.");
        }

        ArvDevice* m_device;
        std::mutex& m_deviceMutex;
        std::atomic<bool> m_removed{ false };
    };

    // ------------------------------------------------------------------ stream grabber

    class CArvDevice;

    class CArvStreamGrabber : public CStreamGrabberBase
    {
    public:
        CArvStreamGrabber(CArvDevice& device, ArvKind kind)
            : CStreamGrabberBase(kind == ArvKind::GigE ? "GigEStreamGrabber" : "UsbStreamGrabber", kind == ArvKind::GigE)
            , m_device(device)
        {
        }

        ~CArvStreamGrabber() override { Close(); }

    protected:
        void DoOpen(size_t numBuffers, size_t bufferSize) override;
        void DoClose() override;
        size_t PayloadSize() override;

    private:
        // Shared with grab results, which give their buffers back to the stream while it is open
        struct Holder
        {
            ~Holder()
            {
                if (stream)
                    g_object_unref(stream);
            }
            std::mutex mutex;
            ArvStream* stream = nullptr;
            bool open = false;
        };

        void Pump();

        CArvDevice& m_device;
        std::shared_ptr<Holder> m_holder;
        std::thread m_pump;
        std::atomic<bool> m_stopPump{ false };
    };

    // ------------------------------------------------------------------ device

    class CArvDevice : public CDeviceBase
    {
    public:
        CArvDevice(ITransportLayer* tl, ArvKind kind, const CDeviceInfo& info)
            : CDeviceBase(info)
            , m_tl(tl)
            , m_kind(kind)
        {
        }

        ~CArvDevice() override { Close(); }

        void Open() override
        {
            std::lock_guard<std::recursive_mutex> lock(m_apiMutex);
            if (m_device)
                return;
            gcstring id;
            m_info.GetPropertyValue(ArvIdProperty, id);
            GError* error = nullptr;
            ArvDevice* device = nullptr;
            {
                std::lock_guard<std::recursive_mutex> arvLock(AravisLock());
                if (OpenIds().count(id))
                    throw RUNTIME_EXCEPTION("Cannot open the device '%s': it is already open by another device object.",
                                            m_info.GetFullName().c_str());
                device = arv_interface_open_device(InterfaceOf(m_kind), id.c_str(), &error);
                if (device && ARV_IS_GV_DEVICE(device) && !arv_gv_device_is_controller(ARV_GV_DEVICE(device)))
                {
                    // aravis falls back to read-only monitoring when another host controls the camera.
                    g_object_unref(device);
                    throw RUNTIME_EXCEPTION("Cannot open the device '%s': another application controls it.",
                                            m_info.GetFullName().c_str());
                }
                if (device)
                    OpenIds().insert(id);
            }
            if (!device)
                throw RUNTIME_EXCEPTION("Cannot open the device '%s': %s", m_info.GetFullName().c_str(),
                                        ErrorText(error, "it is gone or in use by another application").c_str());
            try
            {
                size_t size = 0;
                const char* xml = arv_device_get_genicam_xml(device, &size);
                if (!xml || size == 0)
                    throw RUNTIME_EXCEPTION("The device '%s' gave no GenICam description.", m_info.GetFullName().c_str());
                m_port.reset(new CArvPort(device, m_deviceMutex));
                std::unique_ptr<GenApi::CNodeMapRef> map(new GenApi::CNodeMapRef("Device"));
                map->_LoadXMLFromString(gcstring(xml, size));
                map->_Connect(m_port.get(), "Device");
                std::lock_guard<std::mutex> mapLock(m_mapMutex);
                m_nodeMap = std::move(map);

                if (m_kind == ArvKind::GigE)
                {
                    m_tlParams.reset(new CParameterNodeMap(Xml::Xml_GigETLParams, 0x10, "TLDevice"));
                    m_tlParams->Port().StoreU32(0x0, 500);
                    m_tlParams->Port().StoreU32(0x4, 500);
                    m_tlParams->Port().StoreU32(0x8, 3000);
                    m_tlParams->Port().StoreU32(0xC, 3);
                }
                else
                {
                    m_tlParams.reset(new CParameterNodeMap(Xml::Xml_UsbTLParams, 0x10, "TLDevice"));
                    m_tlParams->Port().StoreU32(0x0, 0);
                    m_tlParams->Port().StoreU32(0x4, 1048576);
                }
                m_tlParams->Port().SetWriteHook([this](int64_t address, int64_t) { OnTlParameterWritten(address); });
            }
            catch (...)
            {
                {
                    std::lock_guard<std::mutex> mapLock(m_mapMutex);
                    if (m_nodeMap)
                        m_nodeMap->_Destroy();
                    m_nodeMap.reset();
                }
                m_port.reset();
                m_tlParams.reset();
                std::lock_guard<std::recursive_mutex> arvLock(AravisLock());
                OpenIds().erase(id);
                g_object_unref(device);
                throw;
            }
            m_device = device;
            ResetRemoved();
            {
                std::lock_guard<std::mutex> lostLock(m_lostMutex);
                m_acceptLoss = true;
            }
            // Heartbeat loss: aravis raises this on its own thread; NotifyRemoved only sets
            // flags and queues the notification for the removal monitor.
            m_controlLostHandler = g_signal_connect(device, "control-lost", G_CALLBACK(&CArvDevice::OnControlLost), this);
            m_stream.reset(new CArvStreamGrabber(*this, m_kind));
        }

        void Close() override
        {
            std::lock_guard<std::recursive_mutex> lock(m_apiMutex);
            if (!m_device)
                return;
            {
                // A loss reported from now on concerns an object on its way out.
                std::lock_guard<std::mutex> lostLock(m_lostMutex);
                m_acceptLoss = false;
            }
            if (m_controlLostHandler)
                g_signal_handler_disconnect(m_device, m_controlLostHandler);
            m_controlLostHandler = 0;
            m_stream.reset();
            if (m_tlParams)
                m_tlParams->Port().SetWriteHook(nullptr);
            {
                std::lock_guard<std::mutex> mapLock(m_mapMutex);
                m_nodeMap->_Destroy();
                m_nodeMap.reset();
            }
            m_tlParams.reset();
            m_port.reset();
            {
                std::lock_guard<std::recursive_mutex> arvLock(AravisLock());
                g_object_unref(m_device);
                gcstring id;
                m_info.GetPropertyValue(ArvIdProperty, id);
                OpenIds().erase(id);
            }
            m_device = nullptr;
        }

        bool IsOpen() const override
        {
            std::lock_guard<std::recursive_mutex> lock(m_apiMutex);
            return m_device != nullptr;
        }

        GenApi::INodeMap* GetNodeMap() override
        {
            std::lock_guard<std::recursive_mutex> lock(m_apiMutex);
            return m_nodeMap ? m_nodeMap->_Ptr : nullptr;
        }

        GenApi::INodeMap* GetTLNodeMap() override
        {
            std::lock_guard<std::recursive_mutex> lock(m_apiMutex);
            return m_tlParams ? m_tlParams->NodeMap() : nullptr;
        }

        IStreamGrabber* GetStreamGrabber() override
        {
            std::lock_guard<std::recursive_mutex> lock(m_apiMutex);
            return m_stream.get();
        }

        ArvDevice* Device() const { return m_device; }
        std::mutex& DeviceMutex() { return m_deviceMutex; }
        ITransportLayer* TransportLayer() const { return m_tl; }

        size_t CurrentPayloadSize()
        {
            // Called from inside the stream grabber's node map: never m_apiMutex here, which
            // Close holds while it tears that node map down.
            std::lock_guard<std::mutex> lock(m_mapMutex);
            GenApi::INodeMap* map = m_nodeMap ? m_nodeMap->_Ptr : nullptr;
            if (!map)
                return 0;
            GenApi::CIntegerPtr payload = map->GetNode("PayloadSize");
            if (payload.IsValid() && GenApi::IsReadable(payload.GetPtr()))
                return static_cast<size_t>(payload->GetValue());
            return 0;
        }

    private:
        static void OnControlLost(ArvDevice*, gpointer self)
        {
            static_cast<CArvDevice*>(self)->HandleControlLost();
        }

        void HandleControlLost()
        {
            std::lock_guard<std::mutex> lostLock(m_lostMutex);
            if (!m_acceptLoss)
                return;
            NotifyRemoved();
            if (m_port)
                m_port->SetRemoved();
            if (m_stream)
                m_stream->SetRemoved();
        }

        void OnTlParameterWritten(int64_t address)
        {
            if (m_kind != ArvKind::GigE || address != 0x8)
                return;
            // The heartbeat timeout lives in the camera; pass it on when the camera has the feature.
            GenApi::INodeMap* map = m_nodeMap ? m_nodeMap->_Ptr : nullptr;
            if (!map)
                return;
            GenApi::CIntegerPtr timeout = map->GetNode("GevHeartbeatTimeout");
            if (timeout.IsValid() && GenApi::IsWritable(timeout.GetPtr()))
                timeout->SetValue(m_tlParams->Port().LoadU32(0x8));
        }

        ITransportLayer* m_tl;
        ArvKind m_kind;
        mutable std::recursive_mutex m_apiMutex;
        std::mutex m_deviceMutex; // one aravis call on the device at a time
        std::mutex m_mapMutex;    // lifetime of m_nodeMap for the stream grabber's payload query
        ArvDevice* m_device = nullptr;
        gulong m_controlLostHandler = 0;
        std::mutex m_lostMutex; // the heartbeat thread's report against Close
        bool m_acceptLoss = false;
        std::unique_ptr<CArvPort> m_port;
        std::unique_ptr<GenApi::CNodeMapRef> m_nodeMap;
        std::unique_ptr<CParameterNodeMap> m_tlParams;
        std::unique_ptr<CArvStreamGrabber> m_stream;
    };

    void CArvStreamGrabber::DoOpen(size_t numBuffers, size_t bufferSize)
    {
        ArvStream* stream = nullptr;
        {
            std::lock_guard<std::mutex> lock(m_device.DeviceMutex());
            GError* error = nullptr;
            stream = arv_device_create_stream(m_device.Device(), nullptr, nullptr, &error);
            if (!stream)
                throw RUNTIME_EXCEPTION("Cannot create the stream of the device: %s", ErrorText(error, "unknown error").c_str());
        }
        for (size_t i = 0; i < numBuffers; ++i)
            arv_stream_push_buffer(stream, arv_buffer_new_allocate(bufferSize));
        auto holder = std::make_shared<Holder>();
        holder->stream = stream;
        holder->open = true;
        m_holder = holder;
        m_stopPump = false;
        m_pump = std::thread([this] { Pump(); });
    }

    void CArvStreamGrabber::DoClose()
    {
        m_stopPump = true;
        if (m_pump.joinable())
            m_pump.join();
        if (m_holder)
        {
            std::lock_guard<std::mutex> lock(m_holder->mutex);
            m_holder->open = false;
        }
        // The stream (and the buffers queued in it) goes when the last result lets go of it.
        m_holder.reset();
    }

    size_t CArvStreamGrabber::PayloadSize()
    {
        return m_device.CurrentPayloadSize();
    }

    void CArvStreamGrabber::Pump()
    {
        std::shared_ptr<Holder> holder = m_holder;
        guint64 lastUnderruns = 0;
        guint64 lastMissing = 0;
        // Not every stream type has these counters; look them up once.
        int missingInfo = -1;
        int packetsInfo = -1;
        int resendsInfo = -1;
        const guint infos = arv_stream_get_n_infos(holder->stream);
        for (guint i = 0; i < infos; ++i)
        {
            const char* name = arv_stream_get_info_name(holder->stream, i);
            if (!name || arv_stream_get_info_type(holder->stream, i) != G_TYPE_UINT64)
                continue;
            if (std::strcmp(name, "n_missing_frames") == 0)
                missingInfo = static_cast<int>(i);
            else if (std::strcmp(name, "n_received_packets") == 0)
                packetsInfo = static_cast<int>(i);
            else if (std::strcmp(name, "n_resend_requests") == 0)
                resendsInfo = static_cast<int>(i);
        }
        while (!m_stopPump.load())
        {
            ArvBuffer* buffer = arv_stream_timeout_pop_buffer(holder->stream, 100000);
            guint64 completed = 0, failures = 0, underruns = 0;
            arv_stream_get_statistics(holder->stream, &completed, &failures, &underruns);
            if (underruns > lastUnderruns)
            {
                for (guint64 i = lastUnderruns; i < underruns; ++i)
                    CountUnderrun();
                lastUnderruns = underruns;
            }
            const guint64 missing = missingInfo >= 0 ? arv_stream_get_info_uint64(holder->stream, static_cast<guint>(missingInfo)) : 0;
            if (missing > lastMissing)
            {
                CountMissed(missing - lastMissing);
                lastMissing = missing;
            }
            SetPacketStatistics(packetsInfo >= 0 ? arv_stream_get_info_uint64(holder->stream, static_cast<guint>(packetsInfo)) : 0,
                                resendsInfo >= 0 ? arv_stream_get_info_uint64(holder->stream, static_cast<guint>(resendsInfo)) : 0);
            if (!buffer)
                continue;
            auto result = std::make_shared<CGrabResultData>();
            const ArvBufferStatus status = arv_buffer_get_status(buffer);
            size_t size = 0;
            const void* data = arv_buffer_get_data(buffer, &size);
            result->buffer = data;
            result->bufferSize = size;
            result->blockId = arv_buffer_get_frame_id(buffer);
            result->timeStamp = arv_buffer_get_timestamp(buffer);
            if (status == ARV_BUFFER_STATUS_SUCCESS)
            {
                result->succeeded = true;
                result->payloadSize = size;
                if (arv_buffer_get_payload_type(buffer) == ARV_BUFFER_PAYLOAD_TYPE_IMAGE
                    || arv_buffer_get_payload_type(buffer) == ARV_BUFFER_PAYLOAD_TYPE_EXTENDED_CHUNK_DATA
                    || arv_buffer_get_payload_type(buffer) == ARV_BUFFER_PAYLOAD_TYPE_CHUNK_DATA)
                {
                    gint x = 0, y = 0, w = 0, h = 0;
                    arv_buffer_get_image_region(buffer, &x, &y, &w, &h);
                    result->offsetX = static_cast<uint32_t>(x);
                    result->offsetY = static_cast<uint32_t>(y);
                    result->width = static_cast<uint32_t>(w);
                    result->height = static_cast<uint32_t>(h);
                    result->pixelType = static_cast<EPixelType>(arv_buffer_get_image_pixel_format(buffer));
                }
            }
            else
            {
                result->succeeded = false;
                result->errorCode = GrabError_Incomplete + static_cast<uint32_t>(status);
                switch (status)
                {
                case ARV_BUFFER_STATUS_MISSING_PACKETS: result->errorDescription = "Packets of the frame are missing."; break;
                case ARV_BUFFER_STATUS_TIMEOUT: result->errorDescription = "The frame did not complete in time."; break;
                case ARV_BUFFER_STATUS_SIZE_MISMATCH: result->errorDescription = "The frame does not fit into the buffer."; break;
                case ARV_BUFFER_STATUS_ABORTED: result->errorDescription = "The frame was aborted."; break;
                default: result->errorDescription = "The frame was not received intact."; break;
                }
            }
            result->release = [holder, buffer] {
                std::lock_guard<std::mutex> lock(holder->mutex);
                if (holder->open)
                    arv_stream_push_buffer(holder->stream, buffer);
                else
                    g_object_unref(buffer);
            };
            Deliver(std::move(result));
        }
    }

    // ------------------------------------------------------------------ transport layer

    CTlInfo ArvTransportLayerInfo(ArvKind kind)
    {
        CTlInfo info;
        if (kind == ArvKind::GigE)
        {
            info.SetFullName("GigEVision");
            info.SetFriendlyName("GigE Vision");
            info.SetTLType("GEV");
        }
        else
        {
            info.SetFullName("USB3Vision");
            info.SetFriendlyName("USB3 Vision");
            info.SetTLType("U3V");
        }
        info.SetDeviceClass(DeviceClassOf(kind));
        info.SetVendorName("Kesdor");
        info.SetModelName(info.GetFriendlyName());
        info.SetDeviceVersion(ARAVIS_VERSION);
        return info;
    }

    class CArvTransportLayer : public ITransportLayer
    {
    public:
        explicit CArvTransportLayer(ArvKind kind)
            : m_kind(kind)
            , m_info(ArvTransportLayerInfo(kind))
        {
        }

        const CTlInfo& GetTlInfo() const override { return m_info; }

        int EnumerateDevices(DeviceInfoList& list, bool addToList) override
        {
            DeviceInfoList found;
            {
                std::lock_guard<std::recursive_mutex> lock(AravisLock());
                ArvInterface* iface = InterfaceOf(m_kind);
                arv_interface_update_device_list(iface);
                const unsigned n = arv_interface_get_n_devices(iface);
                for (unsigned i = 0; i < n; ++i)
                    found.push_back(MakeInfo(iface, i));
            }
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                m_lastSeen.clear();
                for (const CDeviceInfo& info : found)
                    m_lastSeen[info.GetFullName()] = info;
            }
            if (!addToList)
                list.clear();
            list.insert(list.end(), found.begin(), found.end());
            GetNodeMap();
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                m_params->Port().StoreU32(0, static_cast<uint32_t>(found.size()));
            }
            return static_cast<int>(found.size());
        }

        IVorloDevice* CreateDevice(const CDeviceInfo& info) override
        {
            CDeviceInfo known;
            bool seen = false;
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                auto it = m_lastSeen.find(info.GetFullName());
                if (it != m_lastSeen.end())
                {
                    known = it->second;
                    seen = true;
                }
            }
            if (!seen)
            {
                // Not in the last enumeration: look again before giving up.
                DeviceInfoList list;
                EnumerateDevices(list, false);
                std::lock_guard<std::mutex> lock(m_mutex);
                auto it = m_lastSeen.find(info.GetFullName());
                if (it == m_lastSeen.end())
                    throw RUNTIME_EXCEPTION("The device '%s' is not connected.", info.GetFullName().c_str());
                known = it->second;
            }
            return new CArvDevice(this, m_kind, known);
        }

        void DestroyDevice(IVorloDevice* device) override { delete device; }

        GenApi::INodeMap* GetNodeMap() override
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (!m_params)
                m_params.reset(new CParameterNodeMap(
                    ReplaceAll(Xml::Xml_TransportLayer, "@@MODEL@@", m_kind == ArvKind::GigE ? "GigETransportLayer" : "UsbTransportLayer"),
                    0x10, "TL"));
            return m_params->NodeMap();
        }

    private:
        CDeviceInfo MakeInfo(ArvInterface* iface, unsigned index) const
        {
            const std::string id = SafeString(arv_interface_get_device_id(iface, index));
            const std::string vendor = SafeString(arv_interface_get_device_vendor(iface, index));
            const std::string model = SafeString(arv_interface_get_device_model(iface, index));
            const std::string serial = SafeString(arv_interface_get_device_serial_nbr(iface, index));
            const std::string address = SafeString(arv_interface_get_device_address(iface, index));
            const std::string physical = SafeString(arv_interface_get_device_physical_id(iface, index));
            const std::string manufacturerInfo = SafeString(arv_interface_get_device_manufacturer_info(iface, index));

            CDeviceInfo info;
            info.SetPropertyValue(ArvIdProperty, id.c_str());
            info.SetFullName(((m_kind == ArvKind::GigE ? "GigE#" : "Usb#") + id).c_str());
            info.SetFriendlyName((vendor + " " + model + " (" + serial + ")").c_str());
            info.SetDeviceClass(DeviceClassOf(m_kind));
            info.SetVendorName(vendor.c_str());
            info.SetModelName(model.c_str());
            info.SetSerialNumber(serial.c_str());
            info.SetTLType(m_kind == ArvKind::GigE ? "GEV" : "U3V");
            info.SetPropertyValue("GTLDeviceID", id.c_str());
            info.SetPropertyValue("DeviceIdx", std::to_string(index).c_str());
            if (!manufacturerInfo.empty())
                info.SetPropertyValue("ManufacturerInfo", manufacturerInfo.c_str());
            if (m_kind == ArvKind::GigE)
            {
                info.SetPropertyValue("Address", address.c_str());
                const std::string mac = MacWithoutSeparators(physical);
                if (!mac.empty())
                    info.SetPropertyValue("MacAddress", mac.c_str());
                const auto host = HostInterfaceFor(address);
                if (!host.first.empty())
                {
                    info.SetPropertyValue("Interface", host.first.c_str());
                    info.SetPropertyValue("GTLInterfaceID", host.first.c_str());
                    info.SetPropertyValue("SubnetMask", host.second.c_str());
                }
            }
            else
            {
                info.SetPropertyValue("GTLInterfaceID", "USB3Vision");
                info.SetPropertyValue("UsbDriverTypeName", "libusb");
                if (!physical.empty())
                    info.SetPropertyValue("DeviceGUID", physical.c_str());
            }
            return info;
        }

        ArvKind m_kind;
        CTlInfo m_info;
        std::mutex m_mutex;
        std::map<std::string, CDeviceInfo> m_lastSeen;
        std::unique_ptr<CParameterNodeMap> m_params;
    };

    ITransportLayer* CreateArvTransportLayer(ArvKind kind)
    {
        return new CArvTransportLayer(kind);
    }
}
}
