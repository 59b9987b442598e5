#pragma once
// A register port over a byte array, for emulated devices and tests.

#include <functional>
#include <vector>

#include <GenApi/PortImpl.h>

namespace GenApi
{
    //! Registers kept in memory at [BaseAddress, BaseAddress + Size)
    class GENAPI_EXPORT CMemoryPort : public CPortImpl
    {
    public:
        //! Called after each Write with the written range, so that a device can react
        typedef std::function<void(int64_t Address, int64_t Length)> WriteHook_t;

        explicit CMemoryPort(int64_t Size, int64_t BaseAddress = 0);
        ~CMemoryPort() override;

        //! Reads bytes; outside the memory: OutOfRangeException
        void Read(void* pBuffer, int64_t Address, int64_t Length) override;
        //! Writes bytes, then calls the write hook; outside the memory: OutOfRangeException
        void Write(const void* pBuffer, int64_t Address, int64_t Length) override;
        EAccessMode GetAccessMode() const override;

        //! Sets or clears (empty function) the write hook
        void SetWriteHook(WriteHook_t Hook);
        //! Writes bytes without calling the write hook (the device's own side)
        void Store(const void* pBuffer, int64_t Address, int64_t Length);
        //! Same as Read; the device's own side
        void Load(void* pBuffer, int64_t Address, int64_t Length) const;
        //! Fills the whole memory with one byte value, without calling the hook
        void Fill(uint8_t Value);

        int64_t GetSize() const;
        int64_t GetBaseAddress() const;
        //! Direct access to the bytes (the caller synchronises with GetLock())
        uint8_t* GetData();
        //! The lock that guards the bytes
        CLock& GetLock() const;

    private:
        void CheckRange(int64_t Address, int64_t Length) const;

        std::vector<uint8_t> m_Memory;
        int64_t m_BaseAddress;
        WriteHook_t m_WriteHook;
        mutable CLock m_Lock;
    };
}
