#pragma once
// Helpers shared by the engine's tests: descriptions written in the tests, and ports that
// count what the engine does with them.

#include <GenApi/GenApi.h>

#include <QByteArray>

#include <atomic>
#include <cstring>

namespace EngineTest
{
    //! Wraps node elements into a complete description with a port named "Device"
    inline QByteArray describe(const QByteArray& body, const QByteArray& extraAttributes = QByteArray())
    {
        return QByteArray("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                          "<RegisterDescription ModelName=\"TestModel\" VendorName=\"TestVendor\" "
                          "ToolTip=\"A test camera\" StandardNameSpace=\"GEV\" SchemaMajorVersion=\"1\" "
                          "SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" MajorVersion=\"2\" "
                          "MinorVersion=\"3\" SubMinorVersion=\"4\" ProductGuid=\"P-GUID\" VersionGuid=\"V-GUID\" ")
            + extraAttributes + ">\n" + body + "\n<Port Name=\"Device\"/>\n</RegisterDescription>\n";
    }

    //! A memory port that counts reads and writes
    class CountingPort : public GenApi::CMemoryPort
    {
    public:
        explicit CountingPort(int64_t size = 0x1000) : GenApi::CMemoryPort(size) {}

        void Read(void* pBuffer, int64_t Address, int64_t Length) override
        {
            ++reads;
            GenApi::CMemoryPort::Read(pBuffer, Address, Length);
        }
        void Write(const void* pBuffer, int64_t Address, int64_t Length) override
        {
            ++writes;
            GenApi::CMemoryPort::Write(pBuffer, Address, Length);
        }

        void poke32(int64_t address, uint32_t value) { Store(&value, address, 4); }
        uint32_t peek32(int64_t address) const
        {
            uint32_t v = 0;
            Load(&v, address, 4);
            return v;
        }

        std::atomic<int> reads{0};
        std::atomic<int> writes{0};
    };
}
