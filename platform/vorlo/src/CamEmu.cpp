#include "CamEmu.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "RemovalMonitor.h"
#include "VorloXmlResources.h"

namespace Vorlo
{
namespace Internal
{
    namespace
    {
        // Register addresses of the emulated camera; they match xml/CamEmuCamera.xml.
        enum : int64_t
        {
            RegVendorName = 0x0000,
            RegModelName = 0x0020,
            RegManufacturerInfo = 0x0040,
            RegDeviceVersion = 0x0070,
            RegFirmwareVersion = 0x0090,
            RegSerialNumber = 0x00B0,
            RegUserID = 0x00C0,
            RegTemperature = 0x1000,
            RegDeviceReset = 0x1004,
            RegLinkSelector = 0x1008,
            RegLinkSpeed = 0x1010,
            RegThroughputLimitMode = 0x1018,
            RegThroughputLimit = 0x1020,
            RegScanType = 0x1028,
            RegChecksum = 0x102C,
            RegUnlockKey = 0x1030,
            RegSensorWidth = 0x2000,
            RegSensorHeight = 0x2004,
            RegWidthMax = 0x2008,
            RegHeightMax = 0x200C,
            RegWidth = 0x2010,
            RegHeight = 0x2014,
            RegOffsetX = 0x2018,
            RegOffsetY = 0x201C,
            RegOffsetXMax = 0x2020,
            RegOffsetYMax = 0x2024,
            RegPixelFormat = 0x2028,
            RegReverse = 0x202C,
            RegTestPattern = 0x2030,
            RegColorCapable = 0x2034,
            RegBinningHorizontal = 0x2038,
            RegDigitalShift = 0x2040,
            RegAcquisitionMode = 0x3000,
            RegAcquisitionStart = 0x3004,
            RegAcquisitionStop = 0x3008,
            RegAcquisitionFrameCount = 0x300C,
            RegAcquisitionFrameCountAvailable = 0x3010,
            RegTriggerSelector = 0x3014,
            RegTriggerMode = 0x3018,
            RegTriggerSource = 0x301C,
            RegTriggerActivation = 0x3020,
            RegTriggerSoftware = 0x3024,
            RegTriggerDelay = 0x3028,
            RegExposureMode = 0x3030,
            RegExposureAuto = 0x3034,
            RegExposureTimeRaw = 0x3038,
            RegFrameRateEnable = 0x3048,
            RegFrameRate = 0x3050,
            RegResultingFramePeriod = 0x3058,
            RegExposureAutoActive = 0x3060,
            RegGainRaw = 0x4000,
            RegBlackLevel = 0x4008,
            RegGamma = 0x4010,
            RegGainAuto = 0x4018,
            RegLUTSelector = 0x5000,
            RegLUTEnable = 0x5004,
            RegLUTIndex = 0x5008,
            RegLUTValue = 0x500C,
            RegUserSetSelector = 0x6000,
            RegUserSetLoad = 0x6004,
            RegUserSetSave = 0x6008,
            RegUserSetDefault = 0x600C,
            RegUserSetSaveAvailable = 0x6010,
            RegPayloadSize = 0x7000,
            RegTLParamsLocked = 0x7004,
            RegGevPacketSize = 0x7100,
            RegGevSCPD = 0x7104,
            RegGevSCBWA = 0x7108,
            RegGevLinkSpeed = 0x710C,
            RegGevTickFrequency = 0x7110,
            RegGevCurrentIP = 0x7118,
            RegGevSubnetMask = 0x711C,
            RegGevMAC = 0x7120,
            RegGevHeartbeatTimeout = 0x7128,
            RegGevSCPSFlags = 0x712C,
            RegGevPersistentIP = 0x7130,
            PortSize = 0x8000
        };

        // Transport layer parameters of an emulated camera (xml/CamEmuTLParams.xml)
        enum : int64_t
        {
            TlRegForceFailedBufferCount = 0x0,
            TlRegFrameGeneratorEnable = 0x4,
            TlPortSize = 0x10
        };

        // The settings that a user set stores: the writable registers of the acquisition and
        // image controls.
        const int64_t UserSetBlocks[][2] = {
            { RegWidth, 0x10 },
            { RegPixelFormat, 0x0C },
            { RegDigitalShift, 4 },
            { RegAcquisitionMode, 4 },
            { RegAcquisitionFrameCount, 4 },
            { RegExposureMode, 0x10 },
            { RegFrameRateEnable, 0x10 },
            { RegGainRaw, 0x20 },
            { RegThroughputLimitMode, 0x10 },
        };

        const uint32_t SensorWidth = 1280;
        const uint32_t SensorHeight = 1024;
        const double UsbLinkBytesPerSecond = 350000000.0;
        const double GigELinkBytesPerSecond = 125000000.0;
        const uint64_t GigETickFrequency = 125000000;

        uint32_t IpAddressOf(unsigned int index) { return 0xC0A86400u + 10u + index; } // 192.168.100.(10+i)
        uint64_t MacAddressOf(unsigned int index) { return 0x0030530A0000ull + index; }

        std::string FormatIp(uint32_t ip)
        {
            char text[32];
            std::snprintf(text, sizeof text, "%u.%u.%u.%u", ip >> 24, (ip >> 16) & 0xFF, (ip >> 8) & 0xFF, ip & 0xFF);
            return text;
        }
    }

    // ------------------------------------------------------------------ registry

    CCamEmuRegistry& CCamEmuRegistry::Instance()
    {
        static CCamEmuRegistry instance;
        return instance;
    }

    CCamEmuRegistry::CCamEmuRegistry()
    {
        if (const char* env = std::getenv("VORLO_CAMEMU"))
        {
            const long n = std::strtol(env, nullptr, 10);
            m_count = n > 0 ? static_cast<unsigned int>(std::min(n, 256L)) : 0;
        }
    }

    void CCamEmuRegistry::SetCount(unsigned int count)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_count = std::min(count, 256u);
    }

    unsigned int CCamEmuRegistry::Count() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_count;
    }

    std::string CCamEmuRegistry::SerialNumber(unsigned int index)
    {
        char text[16];
        std::snprintf(text, sizeof text, "EMU-%04u", index);
        return text;
    }

    CDeviceInfo CCamEmuRegistry::MakeInfo(unsigned int index)
    {
        const std::string serial = SerialNumber(index);
        const bool gige = IsGigEFlavoured(index);
        const std::string model = gige ? "Emulation GigE" : "Emulation";
        CDeviceInfo info;
        info.SetFullName(("CamEmu#" + serial).c_str());
        info.SetFriendlyName(("Kesdor " + model + " (" + serial + ")").c_str());
        info.SetDeviceClass(DeviceClassCamEmu);
        info.SetVendorName("Kesdor");
        info.SetModelName(model.c_str());
        info.SetSerialNumber(serial.c_str());
        info.SetDeviceVersion("2.4.1");
        info.SetTLType("CamEmu");
        info.SetPropertyValue("XMLSource", "Compiled into the emulation transport");
        info.SetPropertyValue("ManufacturerInfo", "Emulated camera, frames made in software");
        info.SetPropertyValue("DeviceIdx", std::to_string(index).c_str());
        char guid[64];
        std::snprintf(guid, sizeof guid, "CAMEMU-%08u", index);
        info.SetPropertyValue("DeviceGUID", guid);
        info.SetPropertyValue("GTLInterfaceID", "CamEmuInterface");
        info.SetPropertyValue("GTLDeviceID", serial.c_str());
        if (gige)
        {
            info.SetPropertyValue("Address", FormatIp(IpAddressOf(index)).c_str());
            info.SetPropertyValue("SubnetMask", "255.255.255.0");
            info.SetPropertyValue("DefaultGateway", "0.0.0.0");
            char mac[16];
            std::snprintf(mac, sizeof mac, "%012llX", static_cast<unsigned long long>(MacAddressOf(index)));
            info.SetPropertyValue("MacAddress", mac);
            info.SetPropertyValue("Interface", "192.168.100.1");
            info.SetPropertyValue("IpConfigCurrent", "6");
        }
        return info;
    }

    void CCamEmuRegistry::Enumerate(DeviceInfoList& list) const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (unsigned int i = 0; i < m_count; ++i)
        {
            auto it = m_unplugged.find(i);
            if (it != m_unplugged.end() && it->second)
                continue;
            CDeviceInfo info = MakeInfo(i);
            auto name = m_userNames.find(i);
            if (name != m_userNames.end() && !name->second.empty())
                info.SetUserDefinedName(name->second.c_str());
            list.push_back(info);
        }
    }

    CDeviceInfo CCamEmuRegistry::Info(unsigned int index) const
    {
        CDeviceInfo info = MakeInfo(index);
        std::lock_guard<std::mutex> lock(m_mutex);
        auto name = m_userNames.find(index);
        if (name != m_userNames.end() && !name->second.empty())
            info.SetUserDefinedName(name->second.c_str());
        return info;
    }

    void CCamEmuRegistry::SetUserDefinedName(unsigned int index, const std::string& name)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_userNames[index] = name;
    }

    std::string CCamEmuRegistry::UserDefinedName(unsigned int index) const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto it = m_userNames.find(index);
        return it == m_userNames.end() ? std::string() : it->second;
    }

    int CCamEmuRegistry::Find(const std::string& fullName) const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const std::string prefix = "CamEmu#EMU-";
        if (fullName.compare(0, prefix.size(), prefix) != 0)
            return -1;
        const unsigned long index = std::strtoul(fullName.c_str() + prefix.size(), nullptr, 10);
        if (index >= m_count || SerialNumber(static_cast<unsigned int>(index)) != fullName.substr(7))
            return -1;
        auto it = m_unplugged.find(static_cast<unsigned int>(index));
        if (it != m_unplugged.end() && it->second)
            return -1;
        return static_cast<int>(index);
    }

    bool CCamEmuRegistry::SetUnplugged(const std::string& serialNumber, bool unplugged)
    {
        CCamEmuDevice* victim = nullptr;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            unsigned int index = 0;
            for (; index < m_count; ++index)
                if (SerialNumber(index) == serialNumber)
                    break;
            if (index == m_count)
                return false;
            m_unplugged[index] = unplugged;
            if (unplugged)
            {
                auto it = m_openBy.find(index);
                if (it != m_openBy.end())
                {
                    victim = it->second;
                    // The device object stays until its owner closes it; the camera itself is gone.
                    m_openBy.erase(it);
                }
            }
        }
        if (victim)
            victim->SimulateRemoval();
        return true;
    }

    void CCamEmuRegistry::ClaimOpen(unsigned int index, CCamEmuDevice* device)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const std::string serial = SerialNumber(index);
        auto unplugged = m_unplugged.find(index);
        if (index >= m_count || (unplugged != m_unplugged.end() && unplugged->second))
            throw RUNTIME_EXCEPTION("The emulated camera %s is not connected.", serial.c_str());
        auto it = m_openBy.find(index);
        if (it != m_openBy.end() && it->second != device)
            throw RUNTIME_EXCEPTION("The emulated camera %s is already open by another device object.", serial.c_str());
        m_openBy[index] = device;
    }

    void CCamEmuRegistry::ReleaseOpen(unsigned int index, CCamEmuDevice* device)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto it = m_openBy.find(index);
        if (it != m_openBy.end() && it->second == device)
            m_openBy.erase(it);
    }

    // ------------------------------------------------------------------ stream grabber

    CCamEmuStreamGrabber::CCamEmuStreamGrabber(CCamEmuDevice& device)
        : CStreamGrabberBase("CamEmuStreamGrabber", false)
        , m_device(device)
    {
    }

    CCamEmuStreamGrabber::~CCamEmuStreamGrabber()
    {
        Close();
    }

    void CCamEmuStreamGrabber::DoOpen(size_t numBuffers, size_t bufferSize)
    {
        auto pool = std::make_shared<Pool>();
        pool->bufferSize = bufferSize;
        for (size_t i = 0; i < numBuffers; ++i)
        {
            pool->storage.emplace_back(new uint8_t[bufferSize ? bufferSize : 1]);
            pool->free.push_back(pool->storage.back().get());
        }
        std::lock_guard<std::mutex> lock(m_poolMutex);
        m_pool = std::move(pool);
    }

    void CCamEmuStreamGrabber::DoClose()
    {
        // Results still held keep the old pool alive; its buffers die with the last of them.
        std::lock_guard<std::mutex> lock(m_poolMutex);
        m_pool.reset();
    }

    size_t CCamEmuStreamGrabber::PayloadSize()
    {
        return m_device.CurrentPayloadSize();
    }

    uint8_t* CCamEmuStreamGrabber::AcquireBuffer(std::shared_ptr<Pool>& pool)
    {
        {
            std::lock_guard<std::mutex> lock(m_poolMutex);
            pool = m_pool;
        }
        if (!pool)
            return nullptr;
        std::lock_guard<std::mutex> lock(pool->mutex);
        if (pool->free.empty())
            return nullptr;
        uint8_t* buffer = pool->free.back();
        pool->free.pop_back();
        return buffer;
    }

    // ------------------------------------------------------------------ device

    struct CCamEmuDevice::Settings
    {
        uint32_t width = 0;
        uint32_t height = 0;
        uint32_t offsetX = 0;
        uint32_t offsetY = 0;
        uint32_t pixelFormat = 0;
        uint32_t reverse = 0;
        uint32_t testPattern = 0;
        uint32_t digitalShift = 0;
        uint32_t acquisitionMode = 0;
        uint32_t frameCount = 1;
        bool triggered = false;
        uint64_t periodNs = 0;
        uint32_t forceFailedEvery = 0;
        bool fillFrames = true;
    };

    CCamEmuDevice::CCamEmuDevice(ITransportLayer* tl, unsigned int index)
        : CDeviceBase(CCamEmuRegistry::Instance().Info(index))
        , m_tl(tl)
        , m_index(index)
        , m_gige(CCamEmuRegistry::IsGigEFlavoured(index))
    {
    }

    CCamEmuDevice::~CCamEmuDevice()
    {
        Close();
    }

    void CCamEmuDevice::Open()
    {
        std::lock_guard<std::recursive_mutex> lock(m_apiMutex);
        if (m_open)
            return;
        CCamEmuRegistry::Instance().ClaimOpen(m_index, this);
        try
        {
            {
                std::lock_guard<std::mutex> removalLock(m_removalMutex);
                m_port.reset(new CLivePort(PortSize));
            }
            InitRegisters();

            std::string xml = Xml::Xml_CamEmuCamera;
            xml = ReplaceAll(xml, "@@MODEL@@", m_gige ? "EmulationGigE" : "Emulation");
            xml = ReplaceAll(xml, "@@GUIDSUFFIX@@", m_gige ? "02" : "01");
            xml = ReplaceAll(xml, "@@THROUGHPUT_IMPL@@", m_gige ? "0" : "1");
            if (m_gige)
            {
                xml = ReplaceAll(xml, "@@GIGE_FEATURES@@",
                                 "</pFeature>\n    <pFeature>GevSCPSPacketSize</pFeature>\n    <pFeature>GevSCPD</pFeature>\n"
                                 "    <pFeature>GevSCBWA</pFeature>\n    <pFeature>GevLinkSpeed</pFeature>\n"
                                 "    <pFeature>GevTimestampTickFrequency</pFeature>\n    <pFeature>GevCurrentIPAddress</pFeature>\n"
                                 "    <pFeature>GevCurrentSubnetMask</pFeature>\n    <pFeature>GevPersistentIPAddress</pFeature>\n"
                                 "    <pFeature>GevMACAddress</pFeature>\n    <pFeature>GevHeartbeatTimeout</pFeature>\n"
                                 "    <pFeature>GevSCPSDoNotFragment</pFeature>\n    <pFeature>GevSCPSBigEndian");
                xml = ReplaceAll(xml, "@@GIGE_INVALIDATORS@@",
                                 "</pInvalidator>\n    <pInvalidator>GevSCPDReg</pInvalidator>\n    <pInvalidator>GevSCPSPacketSizeReg");
                xml = ReplaceAll(xml, "@@GIGE_NODES@@", Xml::Xml_CamEmuGigEFragment);
            }
            else
            {
                xml = ReplaceAll(xml, "@@GIGE_FEATURES@@", "");
                xml = ReplaceAll(xml, "@@GIGE_INVALIDATORS@@", "");
                xml = ReplaceAll(xml, "@@GIGE_NODES@@", "");
            }
            m_nodeMap.reset(new GenApi::CNodeMapRef("Device"));
            m_nodeMap->_LoadXMLFromString(xml);
            m_nodeMap->_Connect(m_port.get(), "Device");

            m_tlParams.reset(new CParameterNodeMap(Xml::Xml_CamEmuTLParams, TlPortSize, "TLDevice"));
            m_tlParams->Port().StoreU32(TlRegFrameGeneratorEnable, 1);
            {
                // Built outside the lock: loading its node map takes the map's own lock.
                std::unique_ptr<CCamEmuStreamGrabber> stream(new CCamEmuStreamGrabber(*this));
                std::lock_guard<std::mutex> removalLock(m_removalMutex);
                m_stream = std::move(stream);
            }

            m_port->SetWriteHook([this](int64_t address, int64_t length) { OnRegisterWritten(address, length); });
            m_port->SetReadHook([this](int64_t address, int64_t length) { OnRegisterRead(address, length); });
        }
        catch (...)
        {
            if (m_nodeMap)
                m_nodeMap->_Destroy();
            m_nodeMap.reset();
            ReleaseStreamAndPort();
            m_tlParams.reset();
            CCamEmuRegistry::Instance().ReleaseOpen(m_index, this);
            throw;
        }
        ResetRemoved();
        m_open = true;
    }

    void CCamEmuDevice::Close()
    {
        std::lock_guard<std::recursive_mutex> lock(m_apiMutex);
        if (!m_open)
            return;
        StopAcquisition();
        if (m_stream)
            m_stream->Close();
        m_port->SetWriteHook(nullptr);
        m_port->SetReadHook(nullptr);
        m_nodeMap->_Destroy();
        m_nodeMap.reset();
        ReleaseStreamAndPort();
        m_tlParams.reset();
        m_open = false;
        CCamEmuRegistry::Instance().ReleaseOpen(m_index, this);
    }

    bool CCamEmuDevice::IsOpen() const
    {
        std::lock_guard<std::recursive_mutex> lock(m_apiMutex);
        return m_open;
    }

    GenApi::INodeMap* CCamEmuDevice::GetNodeMap()
    {
        std::lock_guard<std::recursive_mutex> lock(m_apiMutex);
        return m_nodeMap ? m_nodeMap->_Ptr : nullptr;
    }

    GenApi::INodeMap* CCamEmuDevice::GetTLNodeMap()
    {
        std::lock_guard<std::recursive_mutex> lock(m_apiMutex);
        return m_tlParams ? m_tlParams->NodeMap() : nullptr;
    }

    IStreamGrabber* CCamEmuDevice::GetStreamGrabber()
    {
        std::lock_guard<std::recursive_mutex> lock(m_apiMutex);
        return m_stream.get();
    }

    void CCamEmuDevice::SimulateRemoval()
    {
        // The registers stop answering and the stream ends; the owner still closes the object.
        // Marked removed first, so that a consumer woken by the stream finds the reason.
        NotifyRemoved();
        {
            std::lock_guard<std::mutex> lock(m_stateMutex);
            m_stopGenerator = true;
        }
        m_stateChanged.notify_all();
        {
            // Not m_apiMutex: this may run inside a register write (a device reset) while
            // another thread closes the device and waits for the node map's lock.
            std::lock_guard<std::mutex> lock(m_removalMutex);
            if (m_port)
                m_port->SetFailing("The device has been removed.");
            if (m_stream)
                m_stream->SetRemoved();
        }
    }

    size_t CCamEmuDevice::CurrentPayloadSize() const
    {
        // Called from inside the stream grabber's node map: never m_apiMutex here, which Open
        // and Close hold while they build and tear down that node map.
        std::lock_guard<std::mutex> lock(m_removalMutex);
        if (!m_port)
            return 0;
        return m_port->LoadU32(RegPayloadSize);
    }

    void CCamEmuDevice::ReleaseStreamAndPort()
    {
        std::unique_ptr<CCamEmuStreamGrabber> stream;
        std::unique_ptr<CLivePort> port;
        {
            std::lock_guard<std::mutex> lock(m_removalMutex);
            stream = std::move(m_stream);
            port = std::move(m_port);
        }
        // Destroyed outside the lock: the grabber's node map takes its own lock on the way out.
        stream.reset();
        port.reset();
    }

    void CCamEmuDevice::InitRegisters()
    {
        CLivePort& p = *m_port;
        const std::string serial = CCamEmuRegistry::SerialNumber(m_index);
        p.StoreString(RegVendorName, 32, "Kesdor");
        p.StoreString(RegModelName, 32, m_gige ? "Emulation GigE" : "Emulation");
        p.StoreString(RegManufacturerInfo, 48, "Emulated camera, frames made in software");
        p.StoreString(RegDeviceVersion, 32, "2.4.1");
        p.StoreString(RegFirmwareVersion, 32, "EMU 2.4.1 build 7");
        p.StoreString(RegSerialNumber, 16, serial.c_str());
        p.StoreString(RegUserID, 16, CCamEmuRegistry::Instance().UserDefinedName(m_index).c_str());
        p.StoreU32(RegLinkSelector, 0);
        const double link = m_gige ? GigELinkBytesPerSecond : UsbLinkBytesPerSecond;
        p.StoreU64(RegLinkSpeed, static_cast<uint64_t>(link));
        p.StoreU32(RegThroughputLimitMode, 0);
        p.StoreU64(RegThroughputLimit, static_cast<uint64_t>(link));
        p.StoreU32(RegScanType, 0);
        p.StoreU32(RegSensorWidth, SensorWidth);
        p.StoreU32(RegSensorHeight, SensorHeight);
        p.StoreU32(RegWidth, SensorWidth);
        p.StoreU32(RegHeight, SensorHeight);
        p.StoreU32(RegOffsetX, 0);
        p.StoreU32(RegOffsetY, 0);
        p.StoreU32(RegPixelFormat, PixelType_Mono8);
        p.StoreU32(RegReverse, 0);
        p.StoreU32(RegTestPattern, 1);
        p.StoreU32(RegColorCapable, 0);
        p.StoreU32(RegBinningHorizontal, 1);
        p.StoreU32(RegDigitalShift, 0);
        p.StoreU32(RegAcquisitionMode, 0);
        p.StoreU32(RegAcquisitionFrameCount, 1);
        p.StoreU32(RegTriggerSelector, 0);
        p.StoreU32(RegTriggerMode, 0);
        p.StoreU32(RegTriggerSource, 0);
        p.StoreU32(RegTriggerActivation, 0);
        p.StoreF64(RegTriggerDelay, 0.0);
        p.StoreU32(RegExposureMode, 1);
        p.StoreU32(RegExposureAuto, 0);
        p.StoreU32(RegExposureTimeRaw, 2000); // 20 ms
        p.StoreU32(RegFrameRateEnable, 0);
        p.StoreF64(RegFrameRate, 30.0);
        p.StoreU32(RegGainRaw, 0);
        p.StoreF64(RegBlackLevel, 0.0);
        p.StoreF64(RegGamma, 1.0);
        p.StoreU32(RegGainAuto, 0);
        p.StoreU32(RegLUTSelector, 0);
        p.StoreU32(RegLUTIndex, 0);
        p.StoreU32(RegUserSetSelector, 0);
        p.StoreU32(RegUserSetDefault, 0);
        p.StoreU32(RegTLParamsLocked, 0);
        if (m_gige)
        {
            p.StoreU32(RegGevPacketSize, 1500);
            p.StoreU32(RegGevSCPD, 0);
            p.StoreU32(RegGevLinkSpeed, 1000);
            p.StoreU64(RegGevTickFrequency, GigETickFrequency);
            p.StoreU32(RegGevCurrentIP, IpAddressOf(m_index));
            p.StoreU32(RegGevSubnetMask, 0xFFFFFF00u);
            p.StoreU64(RegGevMAC, MacAddressOf(m_index));
            p.StoreU32(RegGevHeartbeatTimeout, 3000);
            p.StoreU32(RegGevSCPSFlags, 1);
            p.StoreU32(RegGevPersistentIP, IpAddressOf(m_index));
        }
        {
            std::lock_guard<std::mutex> lock(m_stateMutex);
            m_triggerSelector = 0;
            for (TriggerSlot& slot : m_triggers)
                slot = TriggerSlot();
            for (int s = 0; s < 2; ++s)
            {
                m_lut[s].resize(4096);
                for (uint16_t i = 0; i < 4096; ++i)
                    m_lut[s][i] = i;
                m_lutEnable[s] = 0;
            }
            m_userSets.clear();
            m_epoch = std::chrono::steady_clock::now();
            m_blockId = 0;
        }
        p.StoreU32(RegLUTValue, 0);
        p.StoreU32(RegLUTEnable, 0);
        Recompute();
    }

    void CCamEmuDevice::Recompute()
    {
        CLivePort& p = *m_port;
        const uint32_t width = p.LoadU32(RegWidth);
        const uint32_t height = p.LoadU32(RegHeight);
        const uint32_t offsetX = p.LoadU32(RegOffsetX);
        const uint32_t offsetY = p.LoadU32(RegOffsetY);
        p.StoreU32(RegWidthMax, SensorWidth - std::min(offsetX, SensorWidth - 16));
        p.StoreU32(RegHeightMax, SensorHeight - std::min(offsetY, SensorHeight - 2));
        p.StoreU32(RegOffsetXMax, SensorWidth - std::min(width, SensorWidth));
        p.StoreU32(RegOffsetYMax, SensorHeight - std::min(height, SensorHeight));

        const unsigned bpp = std::max(1u, BytesPerPixel(static_cast<EPixelType>(p.LoadU32(RegPixelFormat))));
        const uint64_t payload = static_cast<uint64_t>(width) * height * bpp;
        p.StoreU32(RegPayloadSize, static_cast<uint32_t>(payload));

        // The frame period is the longest of what the sensor, the exposure, the frame rate
        // control and the link allow.
        double periodUs = 20.0 + height * 2.5; // sensor readout
        periodUs = std::max(periodUs, p.LoadU32(RegExposureTimeRaw) * 10.0);
        if (p.LoadU32(RegFrameRateEnable) != 0)
        {
            const double fps = p.LoadF64(RegFrameRate);
            if (fps > 0.0)
                periodUs = std::max(periodUs, 1e6 / fps);
        }
        if (m_gige)
        {
            // One packet of P bytes occupies P + 38 bytes on the wire and carries P - 36 bytes
            // of payload; the inter-packet delay adds GevSCPD ticks after each packet.
            const double packetSize = std::max<uint32_t>(p.LoadU32(RegGevPacketSize), 576);
            const double linkBytes = p.LoadU32(RegGevLinkSpeed) * 1e6 / 8.0;
            const double wire = (packetSize + 38.0) / linkBytes;
            const double delay = p.LoadU32(RegGevSCPD) / static_cast<double>(GigETickFrequency);
            const double perPacket = wire + delay;
            const double bandwidth = (packetSize - 36.0) / perPacket;
            p.StoreU32(RegGevSCBWA, static_cast<uint32_t>(std::min(bandwidth, 4294967295.0)));
            const double packets = std::ceil(payload / (packetSize - 36.0));
            periodUs = std::max(periodUs, packets * perPacket * 1e6);
        }
        else
        {
            double linkLimit = static_cast<double>(p.LoadU64(RegLinkSpeed));
            if (p.LoadU32(RegThroughputLimitMode) != 0)
                linkLimit = std::min(linkLimit, static_cast<double>(p.LoadU64(RegThroughputLimit)));
            if (linkLimit > 0.0)
                periodUs = std::max(periodUs, payload / linkLimit * 1e6);
        }
        p.StoreU64(RegResultingFramePeriod, static_cast<uint64_t>(std::llround(periodUs * 1000.0)));

        p.StoreU32(RegAcquisitionFrameCountAvailable, p.LoadU32(RegAcquisitionMode) == 2 ? 1 : 0);
        p.StoreU32(RegExposureAutoActive, p.LoadU32(RegExposureAuto) == 2 ? 1 : 0);
        p.StoreU32(RegUserSetSaveAvailable, p.LoadU32(RegUserSetSelector) != 0 ? 1 : 0);

        uint32_t checksum = 0;
        for (int64_t a = RegWidth; a < RegDigitalShift + 4; a += 4)
            checksum = (checksum << 5 | checksum >> 27) ^ p.LoadU32(a);
        p.StoreU32(RegChecksum, checksum);
    }

    void CCamEmuDevice::OnRegisterRead(int64_t address, int64_t length)
    {
        if (address <= RegTemperature && address + length > RegTemperature)
        {
            // Warms up over the first minutes after opening, with a little ripple.
            const double t = std::chrono::duration<double>(std::chrono::steady_clock::now() - m_epoch).count();
            const double celsius = 38.0 + 6.0 * (1.0 - std::exp(-t / 120.0)) + 0.3 * std::sin(t / 7.0);
            m_port->StoreF32(RegTemperature, static_cast<float>(celsius));
        }
    }

    void CCamEmuDevice::OnRegisterWritten(int64_t address, int64_t length)
    {
        CLivePort& p = *m_port;
        auto touches = [address, length](int64_t reg, int64_t size = 4) { return address < reg + size && address + length > reg; };

        if (touches(RegAcquisitionStart) && p.LoadU32(RegAcquisitionStart) != 0)
            StartAcquisition();
        if (touches(RegAcquisitionStop) && p.LoadU32(RegAcquisitionStop) != 0)
            StopAcquisition();
        if (touches(RegUserID, 16))
        {
            char name[17] = {};
            p.Load(name, RegUserID, 16);
            CCamEmuRegistry::Instance().SetUserDefinedName(m_index, name);
        }
        if (touches(RegDeviceReset) && p.LoadU32(RegDeviceReset) != 0)
        {
            // A reset drops the connection; the camera is back on the bus at once.
            const std::string serial = CCamEmuRegistry::SerialNumber(m_index);
            CCamEmuRegistry::Instance().SetUnplugged(serial, true);
            CCamEmuRegistry::Instance().SetUnplugged(serial, false);
            return;
        }

        {
            std::lock_guard<std::mutex> lock(m_stateMutex);
            if (touches(RegTriggerSelector))
            {
                const uint32_t selector = std::min<uint32_t>(p.LoadU32(RegTriggerSelector), 2);
                m_triggerSelector = selector;
                const TriggerSlot& slot = m_triggers[selector];
                p.StoreU32(RegTriggerMode, slot.mode);
                p.StoreU32(RegTriggerSource, slot.source);
                p.StoreU32(RegTriggerActivation, slot.activation);
                p.StoreF64(RegTriggerDelay, slot.delay);
            }
            if (touches(RegTriggerMode) || touches(RegTriggerSource) || touches(RegTriggerActivation) || touches(RegTriggerDelay, 8))
            {
                TriggerSlot& slot = m_triggers[m_triggerSelector];
                slot.mode = p.LoadU32(RegTriggerMode);
                slot.source = p.LoadU32(RegTriggerSource);
                slot.activation = p.LoadU32(RegTriggerActivation);
                slot.delay = p.LoadF64(RegTriggerDelay);
            }
            if (touches(RegTriggerSoftware) && p.LoadU32(RegTriggerSoftware) != 0)
            {
                const TriggerSlot& frameStart = m_triggers[0];
                if (m_acquiring && m_triggerSelector == 0 && frameStart.mode == 1 && frameStart.source == 0)
                    ++m_pendingTriggers;
            }
            if (touches(RegLUTSelector) || touches(RegLUTIndex))
            {
                const uint32_t selector = std::min<uint32_t>(p.LoadU32(RegLUTSelector), 1);
                const uint32_t index = std::min<uint32_t>(p.LoadU32(RegLUTIndex), 4095);
                p.StoreU32(RegLUTValue, m_lut[selector][index]);
                p.StoreU32(RegLUTEnable, m_lutEnable[selector]);
            }
            else if (touches(RegLUTValue))
            {
                const uint32_t selector = std::min<uint32_t>(p.LoadU32(RegLUTSelector), 1);
                const uint32_t index = std::min<uint32_t>(p.LoadU32(RegLUTIndex), 4095);
                m_lut[selector][index] = static_cast<uint16_t>(std::min<uint32_t>(p.LoadU32(RegLUTValue), 4095));
            }
            if (touches(RegLUTEnable))
                m_lutEnable[std::min<uint32_t>(p.LoadU32(RegLUTSelector), 1)] = p.LoadU32(RegLUTEnable);
        }
        if (touches(RegUserSetSave) && p.LoadU32(RegUserSetSave) != 0)
            SaveUserSet(p.LoadU32(RegUserSetSelector));
        if (touches(RegUserSetLoad) && p.LoadU32(RegUserSetLoad) != 0)
            LoadUserSet(p.LoadU32(RegUserSetSelector));

        Recompute();
        m_stateChanged.notify_all();
    }

    void CCamEmuDevice::SaveUserSet(unsigned int set)
    {
        if (set == 0)
            return; // the default set is read-only
        std::vector<uint8_t> image;
        for (const auto& block : UserSetBlocks)
        {
            const size_t at = image.size();
            image.resize(at + static_cast<size_t>(block[1]));
            m_port->Load(image.data() + at, block[0], block[1]);
        }
        std::lock_guard<std::mutex> lock(m_stateMutex);
        m_userSets[set] = std::move(image);
    }

    void CCamEmuDevice::LoadUserSet(unsigned int set)
    {
        std::vector<uint8_t> image;
        {
            std::lock_guard<std::mutex> lock(m_stateMutex);
            auto it = m_userSets.find(set);
            if (it != m_userSets.end())
                image = it->second;
        }
        if (image.empty())
        {
            // The default set, or a set never saved: the factory settings.
            CLivePort& p = *m_port;
            p.StoreU32(RegWidth, SensorWidth);
            p.StoreU32(RegHeight, SensorHeight);
            p.StoreU32(RegOffsetX, 0);
            p.StoreU32(RegOffsetY, 0);
            p.StoreU32(RegPixelFormat, PixelType_Mono8);
            p.StoreU32(RegExposureTimeRaw, 2000);
            p.StoreU32(RegFrameRateEnable, 0);
            p.StoreF64(RegFrameRate, 30.0);
            p.StoreU32(RegGainRaw, 0);
            p.StoreF64(RegBlackLevel, 0.0);
            p.StoreF64(RegGamma, 1.0);
            p.StoreU32(RegThroughputLimitMode, 0);
            return;
        }
        size_t at = 0;
        for (const auto& block : UserSetBlocks)
        {
            m_port->Store(image.data() + at, block[0], block[1]);
            at += static_cast<size_t>(block[1]);
        }
        // The device's own values go back in after a load: a user set does not hold them.
        Recompute();
    }

    CCamEmuDevice::Settings CCamEmuDevice::ReadSettings() const
    {
        const CLivePort& p = *m_port;
        Settings s;
        s.width = p.LoadU32(RegWidth);
        s.height = p.LoadU32(RegHeight);
        s.offsetX = p.LoadU32(RegOffsetX);
        s.offsetY = p.LoadU32(RegOffsetY);
        s.pixelFormat = p.LoadU32(RegPixelFormat);
        s.reverse = p.LoadU32(RegReverse);
        s.testPattern = p.LoadU32(RegTestPattern);
        s.digitalShift = p.LoadU32(RegDigitalShift);
        s.acquisitionMode = p.LoadU32(RegAcquisitionMode);
        s.frameCount = std::max<uint32_t>(1, p.LoadU32(RegAcquisitionFrameCount));
        s.periodNs = p.LoadU64(RegResultingFramePeriod);
        if (m_tlParams)
        {
            s.forceFailedEvery = m_tlParams->Port().LoadU32(TlRegForceFailedBufferCount);
            s.fillFrames = m_tlParams->Port().LoadU32(TlRegFrameGeneratorEnable) != 0;
        }
        return s;
    }

    void CCamEmuDevice::StartAcquisition()
    {
        std::thread finished;
        {
            std::lock_guard<std::mutex> lock(m_stateMutex);
            if (m_acquiring)
                return;
            // A generator that ended by itself (single frame) is collected here.
            finished = std::move(m_generator);
            m_acquiring = true;
            m_stopGenerator = false;
            m_pendingTriggers = 0;
        }
        if (finished.joinable())
            finished.join();
        std::lock_guard<std::mutex> lock(m_stateMutex);
        m_generator = std::thread([this] { GeneratorLoop(); });
    }

    void CCamEmuDevice::StopAcquisition()
    {
        std::thread generator;
        {
            std::lock_guard<std::mutex> lock(m_stateMutex);
            m_stopGenerator = true;
            m_acquiring = false;
            generator = std::move(m_generator);
        }
        m_stateChanged.notify_all();
        if (generator.joinable() && generator.get_id() != std::this_thread::get_id())
            generator.join();
        else if (generator.joinable())
            generator.detach();
    }

    void CCamEmuDevice::GeneratorLoop()
    {
        using Clock = std::chrono::steady_clock;
        Clock::time_point next = Clock::now();
        uint32_t produced = 0;
        for (;;)
        {
            Settings s;
            {
                std::unique_lock<std::mutex> lock(m_stateMutex);
                if (m_stopGenerator)
                    break;
                s = ReadSettings();
                const TriggerSlot& frameStart = m_triggers[0];
                s.triggered = frameStart.mode == 1;
                if (s.triggered)
                {
                    m_stateChanged.wait(lock, [this] { return m_stopGenerator || m_pendingTriggers > 0 || m_triggers[0].mode != 1; });
                    if (m_stopGenerator)
                        break;
                    if (m_pendingTriggers == 0)
                        continue; // trigger mode was switched off while waiting
                    --m_pendingTriggers;
                }
                else if (m_stateChanged.wait_until(lock, next, [this] { return m_stopGenerator; }))
                {
                    break;
                }
            }
            const Clock::time_point now = Clock::now();
            const uint64_t sinceOpenNs =
                static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now - m_epoch).count());
            ProduceFrame(s, sinceOpenNs);
            ++produced;

            const std::chrono::nanoseconds period(s.periodNs ? s.periodNs : 1000000);
            if (s.triggered)
                next = now + period;
            else
            {
                next += period;
                // After a long stall start afresh rather than deliver a burst.
                if (now - next > std::chrono::seconds(1))
                    next = now;
            }
            if ((s.acquisitionMode == 1 && produced >= 1) || (s.acquisitionMode == 2 && produced >= s.frameCount))
            {
                std::lock_guard<std::mutex> lock(m_stateMutex);
                m_acquiring = false;
                break;
            }
        }
    }

    void CCamEmuDevice::ProduceFrame(const Settings& s, uint64_t timeStampNs)
    {
        CCamEmuStreamGrabber* stream = m_stream.get();
        uint64_t blockId;
        {
            std::lock_guard<std::mutex> lock(m_stateMutex);
            blockId = ++m_blockId;
        }
        if (!stream || !stream->IsOpen())
            return; // sent into the void: nobody listens
        std::shared_ptr<CCamEmuStreamGrabber::Pool> pool;
        uint8_t* buffer = stream->AcquireBuffer(pool);
        if (!buffer)
        {
            stream->CountUnderrun();
            return;
        }
        const unsigned bpp = std::max(1u, BytesPerPixel(static_cast<EPixelType>(s.pixelFormat)));
        const size_t payload = static_cast<size_t>(s.width) * s.height * bpp;

        auto result = std::make_shared<CGrabResultData>();
        std::shared_ptr<CCamEmuStreamGrabber::Pool> owner = pool;
        result->release = [owner, buffer] {
            std::lock_guard<std::mutex> lock(owner->mutex);
            owner->free.push_back(buffer);
        };
        result->buffer = buffer;
        result->bufferSize = pool->bufferSize;
        result->width = s.width;
        result->height = s.height;
        result->offsetX = s.offsetX;
        result->offsetY = s.offsetY;
        result->pixelType = static_cast<EPixelType>(s.pixelFormat);
        result->blockId = blockId;
        result->timeStamp = m_gige ? timeStampNs / 8 : timeStampNs; // GigE flavour: 125 MHz ticks
        result->payloadSize = payload;

        if (payload > pool->bufferSize)
        {
            result->succeeded = false;
            result->errorCode = GrabError_BufferTooSmall;
            result->errorDescription = "The buffer is smaller than the payload.";
            result->payloadSize = 0;
        }
        else if (s.forceFailedEvery != 0 && blockId % s.forceFailedEvery == 0)
        {
            result->succeeded = false;
            result->errorCode = GrabError_Incomplete;
            result->errorDescription = "The buffer was incompletely grabbed.";
        }
        else
        {
            result->succeeded = true;
            if (s.fillFrames)
            {
                // A pattern that moves by one step per frame: one source line, copied with a
                // shifting start into every row, is cheap enough for high rates.
                const uint32_t shift = static_cast<uint32_t>(blockId);
                const uint32_t w = s.width;
                const uint32_t h = s.height;
                if (bpp == 1)
                {
                    std::vector<uint8_t> line(w + 512);
                    for (size_t x = 0; x < line.size(); ++x)
                    {
                        switch (s.testPattern)
                        {
                        case 2: line[x] = static_cast<uint8_t>((x % (w ? w : 1)) * 255 / (w ? w : 1)); break;
                        case 3: line[x] = ((x / 32) & 1) ? 255 : 0; break;
                        default: line[x] = static_cast<uint8_t>(x); break;
                        }
                        line[x] = static_cast<uint8_t>(line[x] << s.digitalShift);
                    }
                    for (uint32_t y = 0; y < h; ++y)
                    {
                        const uint32_t row = (s.reverse & 2) ? h - 1 - y : y;
                        uint32_t start;
                        switch (s.testPattern)
                        {
                        case 0: start = y & 0xFF; break;                          // still
                        case 2: start = 0; break;                                 // ramp
                        case 3: start = ((y / 32 + shift) & 1) * 32; break;       // blinking squares
                        default: start = (y + shift) & 0xFF; break;               // moving diagonal
                        }
                        std::memcpy(buffer + static_cast<size_t>(row) * w, line.data() + start, w);
                        if (s.reverse & 1)
                            std::reverse(buffer + static_cast<size_t>(row) * w, buffer + static_cast<size_t>(row + 1) * w);
                    }
                    if (s.testPattern == 2)
                    {
                        // The ramp moves by rotating the rows' content.
                        for (uint32_t y = 0; y < h; ++y)
                            std::rotate(buffer + static_cast<size_t>(y) * w,
                                        buffer + static_cast<size_t>(y) * w + (shift % (w ? w : 1)),
                                        buffer + static_cast<size_t>(y + 1) * w);
                    }
                }
                else
                {
                    const uint16_t maxValue = s.pixelFormat == PixelType_Mono12 ? 0x0FFF : 0xFFFF;
                    uint16_t* pixels = reinterpret_cast<uint16_t*>(buffer);
                    for (uint32_t y = 0; y < h; ++y)
                        for (uint32_t x = 0; x < w; ++x)
                            pixels[static_cast<size_t>(y) * w + x] =
                                static_cast<uint16_t>(((x + y + shift) * 64u) & maxValue);
                }
            }
        }
        stream->Deliver(std::move(result));
    }

    // ------------------------------------------------------------------ transport layer

    CTlInfo CCamEmuTransportLayer::MakeInfo()
    {
        CTlInfo info;
        info.SetFullName("CamEmu");
        info.SetFriendlyName("Camera Emulation");
        info.SetDeviceClass(DeviceClassCamEmu);
        info.SetVendorName("Kesdor");
        info.SetModelName("Camera Emulation");
        info.SetTLType("CamEmu");
        info.SetDeviceVersion("2.4.1");
        return info;
    }

    CCamEmuTransportLayer::CCamEmuTransportLayer()
        : m_info(MakeInfo())
    {
    }

    CCamEmuTransportLayer::~CCamEmuTransportLayer() = default;

    const CTlInfo& CCamEmuTransportLayer::GetTlInfo() const { return m_info; }

    int CCamEmuTransportLayer::EnumerateDevices(DeviceInfoList& list, bool addToList)
    {
        DeviceInfoList found;
        CCamEmuRegistry::Instance().Enumerate(found);
        if (!addToList)
            list.clear();
        list.insert(list.end(), found.begin(), found.end());
        GetNodeMap();
        m_params->Port().StoreU32(0, static_cast<uint32_t>(found.size()));
        return static_cast<int>(found.size());
    }

    IVorloDevice* CCamEmuTransportLayer::CreateDevice(const CDeviceInfo& info)
    {
        const int index = CCamEmuRegistry::Instance().Find(info.GetFullName());
        if (index < 0)
            throw RUNTIME_EXCEPTION("The emulated camera '%s' is not connected.", info.GetFullName().c_str());
        return new CCamEmuDevice(this, static_cast<unsigned int>(index));
    }

    void CCamEmuTransportLayer::DestroyDevice(IVorloDevice* device)
    {
        delete device;
    }

    GenApi::INodeMap* CCamEmuTransportLayer::GetNodeMap()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_params)
            m_params.reset(new CParameterNodeMap(ReplaceAll(Xml::Xml_TransportLayer, "@@MODEL@@", "CamEmuTransportLayer"), 0x10, "TL"));
        return m_params->NodeMap();
    }
}
}
