#pragma once
// Common part of the stream grabbers: the queue of filled buffers waiting for retrieval, the
// statistics and the parameter node map. A transport adds how buffers are made and filled.

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>

#include <Vorlo/Device.h>

#include "GrabResultData.h"
#include "ParameterNodeMap.h"

namespace Vorlo
{
namespace Internal
{
    class CStreamGrabberBase : public IStreamGrabber
    {
    public:
        //! modelName: "CamEmuStreamGrabber", "GigEStreamGrabber" or "UsbStreamGrabber"
        CStreamGrabberBase(const char* modelName, bool gigeStatistics);
        ~CStreamGrabberBase() override;

        void Open() override;
        void Close() override;
        bool IsOpen() const override;
        bool RetrieveResult(unsigned int timeoutMs, CGrabResultPtr& result) override;
        void CancelWait() override;
        void FlushQueue() override;
        size_t NumQueuedResults() const override;
        GenApi::INodeMap* GetNodeMap() override;

        //! Hands a filled buffer to the consumer; dropped (and so given back) when not open
        void Deliver(std::shared_ptr<CGrabResultData> result);
        //! A frame was lost for want of a free buffer
        void CountUnderrun();
        //! Frames the device sent that never arrived
        void CountMissed(uint64_t count);
        void SetPacketStatistics(uint64_t packets, uint64_t resendRequests);
        //! Makes waiting retrievals return false, for good
        void SetRemoved();
        bool IsRemoved() const;

        //! Present MaxNumBuffer and MaxBufferSize
        size_t NumBuffers() const;
        size_t BufferSize() const;

    protected:
        //! Allocates and starts receiving; the base has checked the sizes
        virtual void DoOpen(size_t numBuffers, size_t bufferSize) = 0;
        //! Stops receiving; runs after the queue is emptied
        virtual void DoClose() = 0;
        //! Payload size the device announces now
        virtual size_t PayloadSize() = 0;
        //! Called before the statistics are read through the node map
        virtual void RefreshStatistics() {}

    private:
        void OnParameterRead(int64_t address, int64_t length);

        mutable std::mutex m_mutex;
        std::condition_variable m_readyChanged;
        std::deque<std::shared_ptr<CGrabResultData>> m_ready;
        bool m_open = false;
        bool m_cancel = false;
        bool m_removed = false;

        std::atomic<uint64_t> m_total{ 0 };
        std::atomic<uint64_t> m_failed{ 0 };
        std::atomic<uint64_t> m_underrun{ 0 };
        std::atomic<uint64_t> m_missed{ 0 };
        std::atomic<uint64_t> m_packets{ 0 };
        std::atomic<uint64_t> m_resends{ 0 };

        std::unique_ptr<CParameterNodeMap> m_params;
    };
}
}
