#include <GenApi/MemoryPort.h>

#include <cstring>

namespace GenApi
{
    CMemoryPort::CMemoryPort(int64_t Size, int64_t BaseAddress)
        : m_BaseAddress(BaseAddress)
    {
        if (Size < 0)
            throw INVALID_ARGUMENT_EXCEPTION("CMemoryPort: negative size %lld", static_cast<long long>(Size));
        m_Memory.assign(static_cast<size_t>(Size), 0);
    }

    CMemoryPort::~CMemoryPort() = default;

    void CMemoryPort::CheckRange(int64_t Address, int64_t Length) const
    {
        const int64_t size = static_cast<int64_t>(m_Memory.size());
        if (Length < 0 || Address < m_BaseAddress || Address - m_BaseAddress > size
            || Length > size - (Address - m_BaseAddress))
        {
            throw OUT_OF_RANGE_EXCEPTION("Memory port access of %lld bytes at address 0x%llx is outside "
                                         "[0x%llx, 0x%llx)",
                                         static_cast<long long>(Length), static_cast<unsigned long long>(Address),
                                         static_cast<unsigned long long>(m_BaseAddress),
                                         static_cast<unsigned long long>(m_BaseAddress + size));
        }
    }

    void CMemoryPort::Read(void* pBuffer, int64_t Address, int64_t Length)
    {
        Load(pBuffer, Address, Length);
    }

    void CMemoryPort::Write(const void* pBuffer, int64_t Address, int64_t Length)
    {
        WriteHook_t hook;
        {
            AutoLock lock(m_Lock);
            Store(pBuffer, Address, Length);
            hook = m_WriteHook;
        }
        // The hook runs without the memory's lock, so that a device reacting to the write
        // may take its own locks (and the node map's) in any order.
        if (hook)
            hook(Address, Length);
    }

    EAccessMode CMemoryPort::GetAccessMode() const { return RW; }

    void CMemoryPort::SetWriteHook(WriteHook_t Hook)
    {
        AutoLock lock(m_Lock);
        m_WriteHook = std::move(Hook);
    }

    void CMemoryPort::Store(const void* pBuffer, int64_t Address, int64_t Length)
    {
        AutoLock lock(m_Lock);
        CheckRange(Address, Length);
        if (Length > 0)
        {
            CHECK_NULL_ARGUMENT(pBuffer);
            std::memcpy(m_Memory.data() + (Address - m_BaseAddress), pBuffer, static_cast<size_t>(Length));
        }
    }

    void CMemoryPort::Load(void* pBuffer, int64_t Address, int64_t Length) const
    {
        AutoLock lock(m_Lock);
        CheckRange(Address, Length);
        if (Length > 0)
        {
            CHECK_NULL_ARGUMENT(pBuffer);
            std::memcpy(pBuffer, m_Memory.data() + (Address - m_BaseAddress), static_cast<size_t>(Length));
        }
    }

    void CMemoryPort::Fill(uint8_t Value)
    {
        AutoLock lock(m_Lock);
        std::memset(m_Memory.data(), Value, m_Memory.size());
    }

    int64_t CMemoryPort::GetSize() const { return static_cast<int64_t>(m_Memory.size()); }
    int64_t CMemoryPort::GetBaseAddress() const { return m_BaseAddress; }
    uint8_t* CMemoryPort::GetData() { return m_Memory.data(); }
    CLock& CMemoryPort::GetLock() const { return m_Lock; }
}
