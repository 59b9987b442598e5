#pragma once
// Node maps over memory: a memory port whose reads can be refreshed just in time (live
// statistics, a sensor temperature) and whose accesses fail once the device is gone, and a node
// map loaded from one of the SDK's own descriptions over such a port.

#include <atomic>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <GenApi/GenApi.h>

namespace Vorlo
{
namespace Internal
{
    class CLivePort : public GenApi::CMemoryPort
    {
    public:
        typedef std::function<void(int64_t address, int64_t length)> ReadHook;

        explicit CLivePort(int64_t size);
        ~CLivePort() override;

        void Read(void* pBuffer, int64_t Address, int64_t Length) override;
        void Write(const void* pBuffer, int64_t Address, int64_t Length) override;

        //! Runs before each read, without the port's lock, so that it may Store fresh values
        void SetReadHook(ReadHook hook);
        //! Once set, every access raises a RuntimeException with this text
        void SetFailing(const char* reason);
        void ClearFailing();

        // Little-endian register helpers for the device side; they bypass the hooks.
        void StoreU32(int64_t address, uint32_t value) { Store(&value, address, 4); }
        void StoreU64(int64_t address, uint64_t value) { Store(&value, address, 8); }
        void StoreF32(int64_t address, float value) { Store(&value, address, 4); }
        void StoreF64(int64_t address, double value) { Store(&value, address, 8); }
        void StoreString(int64_t address, int64_t length, const char* text);
        uint32_t LoadU32(int64_t address) const { uint32_t v = 0; Load(&v, address, 4); return v; }
        uint64_t LoadU64(int64_t address) const { uint64_t v = 0; Load(&v, address, 8); return v; }
        double LoadF64(int64_t address) const { double v = 0; Load(&v, address, 8); return v; }

    private:
        void CheckFailing() const;
        std::mutex m_hookMutex;
        ReadHook m_readHook;
        std::atomic<bool> m_failing{ false };
        const char* m_reason = "";
    };

    //! A node map of the SDK's own, owning its port
    class CParameterNodeMap
    {
    public:
        //! Loads the description and connects it to a zeroed port of portSize bytes
        CParameterNodeMap(const std::string& xml, int64_t portSize, const char* deviceName = "Device");
        ~CParameterNodeMap();

        GenApi::INodeMap* NodeMap() const { return m_ref._Ptr; }
        CLivePort& Port() { return *m_port; }

    private:
        std::unique_ptr<CLivePort> m_port;
        GenApi::CNodeMapRef m_ref;
    };

    //! Replaces every occurrence of a marker in a description
    std::string ReplaceAll(std::string text, const std::string& marker, const std::string& replacement);
}
}
