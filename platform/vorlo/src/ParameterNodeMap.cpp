#include "ParameterNodeMap.h"

namespace Vorlo
{
namespace Internal
{
    CLivePort::CLivePort(int64_t size)
        : GenApi::CMemoryPort(size)
    {
    }

    CLivePort::~CLivePort() = default;

    void CLivePort::CheckFailing() const
    {
        if (m_failing.load())
            throw RUNTIME_EXCEPTION("%s", m_reason);
    }

    void CLivePort::Read(void* pBuffer, int64_t Address, int64_t Length)
    {
        CheckFailing();
        ReadHook hook;
        {
            std::lock_guard<std::mutex> lock(m_hookMutex);
            hook = m_readHook;
        }
        if (hook)
            hook(Address, Length);
        GenApi::CMemoryPort::Read(pBuffer, Address, Length);
    }

    void CLivePort::Write(const void* pBuffer, int64_t Address, int64_t Length)
    {
        CheckFailing();
        GenApi::CMemoryPort::Write(pBuffer, Address, Length);
    }

    void CLivePort::SetReadHook(ReadHook hook)
    {
        std::lock_guard<std::mutex> lock(m_hookMutex);
        m_readHook = std::move(hook);
    }

    void CLivePort::SetFailing(const char* reason)
    {
        m_reason = reason;
        m_failing.store(true);
    }

    void CLivePort::ClearFailing()
    {
        m_failing.store(false);
    }

    void CLivePort::StoreString(int64_t address, int64_t length, const char* text)
    {
        std::vector<char> bytes(static_cast<size_t>(length), '\0');
        std::strncpy(bytes.data(), text, bytes.size() - 1);
        Store(bytes.data(), address, length);
    }

    CParameterNodeMap::CParameterNodeMap(const std::string& xml, int64_t portSize, const char* deviceName)
        : m_port(new CLivePort(portSize))
        , m_ref(deviceName)
    {
        m_ref._LoadXMLFromString(xml);
        m_ref._Connect(m_port.get(), "Device");
    }

    CParameterNodeMap::~CParameterNodeMap()
    {
        // The nodes refer to the port: the map goes first.
        m_ref._Destroy();
    }

    std::string ReplaceAll(std::string text, const std::string& marker, const std::string& replacement)
    {
        size_t pos = 0;
        while ((pos = text.find(marker, pos)) != std::string::npos)
        {
            text.replace(pos, marker.size(), replacement);
            pos += replacement.size();
        }
        return text;
    }
}
}
