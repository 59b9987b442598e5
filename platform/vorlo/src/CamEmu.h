#pragma once
// The emulation transport: emulated cameras in-process, each with its register memory, a
// description of our own loaded into the engine, and a frame generator thread.

#include <chrono>
#include <condition_variable>
#include <map>
#include <string>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include <Vorlo/TransportLayer.h>

#include "DeviceBase.h"
#include "ParameterNodeMap.h"
#include "StreamGrabberBase.h"

namespace Vorlo
{
namespace Internal
{
    class CCamEmuDevice;

    //! Which emulated cameras exist, which are unplugged, and which device object has each open
    class CCamEmuRegistry
    {
    public:
        static CCamEmuRegistry& Instance();

        void SetCount(unsigned int count);
        unsigned int Count() const;
        //! Records of the cameras that are plugged in, in order of serial number
        void Enumerate(DeviceInfoList& list) const;
        bool SetUnplugged(const std::string& serialNumber, bool unplugged);
        //! Index of a plugged camera with this full name; -1 if none
        int Find(const std::string& fullName) const;
        //! Marks the camera as open by this device; raises when it is gone or open elsewhere
        void ClaimOpen(unsigned int index, CCamEmuDevice* device);
        void ReleaseOpen(unsigned int index, CCamEmuDevice* device);
        //! The name a user gave the camera (DeviceUserID); it survives closing, like flash would
        void SetUserDefinedName(unsigned int index, const std::string& name);
        std::string UserDefinedName(unsigned int index) const;

        //! The record as enumeration reports it
        CDeviceInfo Info(unsigned int index) const;
        static CDeviceInfo MakeInfo(unsigned int index);
        static std::string SerialNumber(unsigned int index);
        static bool IsGigEFlavoured(unsigned int index) { return (index % 2) == 1; }

    private:
        CCamEmuRegistry();
        mutable std::mutex m_mutex;
        unsigned int m_count = 0;
        std::map<unsigned int, bool> m_unplugged;
        std::map<unsigned int, CCamEmuDevice*> m_openBy;
        std::map<unsigned int, std::string> m_userNames;
    };

    class CCamEmuStreamGrabber : public CStreamGrabberBase
    {
    public:
        explicit CCamEmuStreamGrabber(CCamEmuDevice& device);
        ~CCamEmuStreamGrabber() override;

        struct Pool
        {
            std::mutex mutex;
            std::vector<std::unique_ptr<uint8_t[]>> storage;
            std::vector<uint8_t*> free;
            size_t bufferSize = 0;
        };
        //! A free buffer and the pool it belongs to; null buffer when none is free or not open
        uint8_t* AcquireBuffer(std::shared_ptr<Pool>& pool);

    protected:
        void DoOpen(size_t numBuffers, size_t bufferSize) override;
        void DoClose() override;
        size_t PayloadSize() override;

    private:
        CCamEmuDevice& m_device;
        std::mutex m_poolMutex;
        std::shared_ptr<Pool> m_pool;
    };

    class CCamEmuDevice : public CDeviceBase
    {
    public:
        CCamEmuDevice(ITransportLayer* tl, unsigned int index);
        ~CCamEmuDevice() override;

        void Open() override;
        void Close() override;
        bool IsOpen() const override;
        GenApi::INodeMap* GetNodeMap() override;
        GenApi::INodeMap* GetTLNodeMap() override;
        IStreamGrabber* GetStreamGrabber() override;

        unsigned int Index() const { return m_index; }
        ITransportLayer* TransportLayer() const { return m_tl; }
        //! Payload size in bytes from the present register values
        size_t CurrentPayloadSize() const;
        //! Called by the registry when the camera is unplugged; any thread
        void SimulateRemoval();

    private:
        struct Settings;
        void InitRegisters();
        void ReleaseStreamAndPort();
        void OnRegisterWritten(int64_t address, int64_t length);
        void OnRegisterRead(int64_t address, int64_t length);
        void Recompute();
        Settings ReadSettings() const;
        void StartAcquisition();
        void StopAcquisition();
        void GeneratorLoop();
        void ProduceFrame(const Settings& s, uint64_t timeStampNs);
        void SaveUserSet(unsigned int set);
        void LoadUserSet(unsigned int set);

        ITransportLayer* m_tl;
        const unsigned int m_index;
        const bool m_gige;

        mutable std::recursive_mutex m_apiMutex; // Open and Close
        mutable std::mutex m_removalMutex;        // lifetime of m_port and m_stream for other threads
        bool m_open = false;
        std::unique_ptr<CLivePort> m_port;
        std::unique_ptr<GenApi::CNodeMapRef> m_nodeMap;
        std::unique_ptr<CParameterNodeMap> m_tlParams;
        std::unique_ptr<CCamEmuStreamGrabber> m_stream;

        // Device state behind the registers, guarded by m_stateMutex
        std::mutex m_stateMutex;
        std::condition_variable m_stateChanged;
        bool m_acquiring = false;
        bool m_stopGenerator = false;
        uint64_t m_pendingTriggers = 0;
        std::thread m_generator;
        uint64_t m_blockId = 0;
        uint32_t m_triggerSelector = 0;
        struct TriggerSlot
        {
            uint32_t mode = 0;
            uint32_t source = 0;
            uint32_t activation = 0;
            double delay = 0.0;
        } m_triggers[3];
        std::vector<uint16_t> m_lut[2];
        uint32_t m_lutEnable[2] = { 0, 0 };
        std::map<unsigned int, std::vector<uint8_t>> m_userSets;
        std::chrono::steady_clock::time_point m_epoch;
    };

    class CCamEmuTransportLayer : public ITransportLayer
    {
    public:
        CCamEmuTransportLayer();
        ~CCamEmuTransportLayer() override;

        const CTlInfo& GetTlInfo() const override;
        int EnumerateDevices(DeviceInfoList& list, bool addToList) override;
        IVorloDevice* CreateDevice(const CDeviceInfo& info) override;
        void DestroyDevice(IVorloDevice* device) override;
        GenApi::INodeMap* GetNodeMap() override;

        static CTlInfo MakeInfo();

    private:
        CTlInfo m_info;
        std::mutex m_mutex;
        std::unique_ptr<CParameterNodeMap> m_params;
    };
}
}
