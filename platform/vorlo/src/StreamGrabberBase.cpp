#include "StreamGrabberBase.h"

#include <chrono>

#include "VorloXmlResources.h"

namespace Vorlo
{
namespace Internal
{
    namespace
    {
        enum : int64_t
        {
            AddrMaxNumBuffer = 0x00,
            AddrMaxBufferSize = 0x04,
            AddrTotal = 0x08,
            AddrFailed = 0x10,
            AddrUnderrun = 0x18,
            AddrMissed = 0x20,
            AddrResend = 0x28,
            AddrPackets = 0x30,
            AddrPacketTimeout = 0x38,
            PortSize = 0x40
        };
        const unsigned DefaultNumBuffers = 10;
    }

    CStreamGrabberBase::CStreamGrabberBase(const char* modelName, bool gigeStatistics)
    {
        std::string xml = ReplaceAll(Xml::Xml_StreamGrabber, "@@MODEL@@", modelName);
        if (gigeStatistics)
        {
            xml = ReplaceAll(xml, "@@EXTRA_FEATURES@@", "</pFeature>\n    <pFeature>PacketTimeout");
            xml = ReplaceAll(xml, "@@EXTRA_STATISTICS@@",
                             "</pFeature>\n    <pFeature>Statistic_Resend_Request_Count</pFeature>\n"
                             "    <pFeature>Statistic_Total_Packet_Count");
            xml = ReplaceAll(xml, "@@EXTRA_NODES@@", Xml::Xml_StreamGrabberGigE);
        }
        else
        {
            xml = ReplaceAll(xml, "@@EXTRA_FEATURES@@", "");
            xml = ReplaceAll(xml, "@@EXTRA_STATISTICS@@", "");
            xml = ReplaceAll(xml, "@@EXTRA_NODES@@", "");
        }
        m_params.reset(new CParameterNodeMap(xml, PortSize, "StreamGrabber"));
        CLivePort& port = m_params->Port();
        port.StoreU32(AddrMaxNumBuffer, DefaultNumBuffers);
        port.StoreU32(AddrMaxBufferSize, 0);
        port.StoreU32(AddrPacketTimeout, 40);
        port.SetReadHook([this](int64_t address, int64_t length) { OnParameterRead(address, length); });
    }

    CStreamGrabberBase::~CStreamGrabberBase()
    {
        m_params->Port().SetReadHook(nullptr);
    }

    void CStreamGrabberBase::OnParameterRead(int64_t address, int64_t length)
    {
        CLivePort& port = m_params->Port();
        if (address < AddrTotal + 48 && address + length > AddrTotal)
        {
            RefreshStatistics();
            port.StoreU64(AddrTotal, m_total.load());
            port.StoreU64(AddrFailed, m_failed.load());
            port.StoreU64(AddrUnderrun, m_underrun.load());
            port.StoreU64(AddrMissed, m_missed.load());
            port.StoreU64(AddrResend, m_resends.load());
            port.StoreU64(AddrPackets, m_packets.load());
        }
        if (address <= AddrMaxBufferSize && address + length > AddrMaxBufferSize && port.LoadU32(AddrMaxBufferSize) == 0)
        {
            // Until someone sets it, the buffer size follows the payload.
            size_t payload = 0;
            try
            {
                payload = PayloadSize();
            }
            catch (...)
            {
            }
            port.StoreU32(AddrMaxBufferSize, static_cast<uint32_t>(payload ? payload : 1));
        }
    }

    size_t CStreamGrabberBase::NumBuffers() const
    {
        const uint32_t n = m_params->Port().LoadU32(AddrMaxNumBuffer);
        return n ? n : 1;
    }

    size_t CStreamGrabberBase::BufferSize() const
    {
        return m_params->Port().LoadU32(AddrMaxBufferSize);
    }

    void CStreamGrabberBase::Open()
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_open)
                return;
            if (m_removed)
                throw RUNTIME_EXCEPTION("The stream cannot be opened: the device has been removed.");
        }
        const size_t payload = PayloadSize();
        size_t bufferSize = BufferSize();
        if (bufferSize < payload)
        {
            bufferSize = payload;
            m_params->Port().StoreU32(AddrMaxBufferSize, static_cast<uint32_t>(bufferSize));
        }
        m_total = 0;
        m_failed = 0;
        m_underrun = 0;
        m_missed = 0;
        m_packets = 0;
        m_resends = 0;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_open = true;
            m_cancel = false;
        }
        try
        {
            DoOpen(NumBuffers(), bufferSize);
        }
        catch (...)
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_open = false;
            throw;
        }
    }

    void CStreamGrabberBase::Close()
    {
        std::deque<std::shared_ptr<CGrabResultData>> dropped;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (!m_open)
                return;
            m_open = false;
            dropped.swap(m_ready);
        }
        m_readyChanged.notify_all();
        dropped.clear(); // gives the buffers back before the transport tears down
        DoClose();
    }

    bool CStreamGrabberBase::IsOpen() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_open;
    }

    bool CStreamGrabberBase::RetrieveResult(unsigned int timeoutMs, CGrabResultPtr& result)
    {
        std::shared_ptr<CGrabResultData> data;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_readyChanged.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                    [this] { return !m_ready.empty() || m_cancel || !m_open || m_removed; });
            if (m_cancel)
            {
                m_cancel = false;
                return false;
            }
            if (m_ready.empty())
                return false;
            data = std::move(m_ready.front());
            m_ready.pop_front();
        }
        result = CGrabResultPtr(std::move(data));
        return true;
    }

    void CStreamGrabberBase::CancelWait()
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_cancel = true;
        }
        m_readyChanged.notify_all();
    }

    void CStreamGrabberBase::FlushQueue()
    {
        std::deque<std::shared_ptr<CGrabResultData>> dropped;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            dropped.swap(m_ready);
        }
    }

    size_t CStreamGrabberBase::NumQueuedResults() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_ready.size();
    }

    GenApi::INodeMap* CStreamGrabberBase::GetNodeMap()
    {
        return m_params->NodeMap();
    }

    void CStreamGrabberBase::Deliver(std::shared_ptr<CGrabResultData> result)
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (!m_open)
                return; // the result dies outside the lock and gives its buffer back
            ++m_total;
            if (!result->succeeded)
                ++m_failed;
            m_ready.push_back(std::move(result));
        }
        m_readyChanged.notify_all();
    }

    void CStreamGrabberBase::CountUnderrun() { ++m_underrun; }
    void CStreamGrabberBase::CountMissed(uint64_t count) { m_missed += count; }

    void CStreamGrabberBase::SetPacketStatistics(uint64_t packets, uint64_t resendRequests)
    {
        m_packets = packets;
        m_resends = resendRequests;
    }

    void CStreamGrabberBase::SetRemoved()
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_removed = true;
        }
        m_readyChanged.notify_all();
    }

    bool CStreamGrabberBase::IsRemoved() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_removed;
    }
}
}
