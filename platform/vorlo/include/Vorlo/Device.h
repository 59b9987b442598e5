#pragma once
// A camera as the SDK drives it: open/close, node maps, stream grabber, removal notification.

#include <cstdint>
#include <functional>

#include <Vorlo/GrabResultPtr.h>
#include <Vorlo/InfoBase.h>

namespace Vorlo
{
    class IVorloDevice;

    //! The stream of one device: buffers, retrieval of filled buffers, statistics
    class VORLOBASE_EXPORT IStreamGrabber
    {
    public:
        virtual ~IStreamGrabber();

        //! Allocates MaxNumBuffer buffers of MaxBufferSize (at least the payload size) and starts
        //! receiving; the device still has to be told to start its acquisition.
        virtual void Open() = 0;
        //! Stops receiving; buffers still held by results come back when those are released
        virtual void Close() = 0;
        virtual bool IsOpen() const = 0;
        //! Waits up to timeoutMs for the next filled buffer. False on timeout, after Close or
        //! CancelWait, and when the device is removed.
        virtual bool RetrieveResult(unsigned int timeoutMs, CGrabResultPtr& result) = 0;
        //! Wakes a thread waiting in RetrieveResult; the wait returns false
        virtual void CancelWait() = 0;
        //! Drops the results that wait for retrieval and gives their buffers back
        virtual void FlushQueue() = 0;
        //! Number of results that wait for retrieval
        virtual size_t NumQueuedResults() const = 0;
        //! Parameters and statistics ("MaxNumBuffer", "Statistic_..."); never null
        virtual GenApi::INodeMap* GetNodeMap() = 0;
    };

    //! A device made by a transport layer. Created closed.
    class VORLOBASE_EXPORT IVorloDevice
    {
    public:
        typedef std::function<void(IVorloDevice*)> RemovalCallback;
        typedef intptr_t RemovalCallbackHandle;

        virtual ~IVorloDevice();

        virtual const CDeviceInfo& GetDeviceInfo() const = 0;
        //! Connects to the device and loads its description; raises when the device is gone or
        //! open elsewhere
        virtual void Open() = 0;
        //! Closes the stream and the connection; harmless when closed
        virtual void Close() = 0;
        virtual bool IsOpen() const = 0;
        //! The device's own features, connected to its registers; null while closed
        virtual GenApi::INodeMap* GetNodeMap() = 0;
        //! Transport layer parameters of this device; null while closed
        virtual GenApi::INodeMap* GetTLNodeMap() = 0;
        //! The stream grabber; null while closed
        virtual IStreamGrabber* GetStreamGrabber() = 0;
        //! Parameters of the stream grabber; null while closed
        GenApi::INodeMap* GetStreamGrabberNodeMap();

        //! True once the device is lost (unplugged, heartbeat lost); stays true until reopened
        virtual bool IsDeviceRemoved() const = 0;
        //! The callback runs once per loss on the SDK's removal monitor thread
        virtual RemovalCallbackHandle RegisterRemovalCallback(RemovalCallback callback) = 0;
        //! Waits for a running call of that callback to end, unless called from within it
        virtual bool DeregisterRemovalCallback(RemovalCallbackHandle handle) = 0;
    };
}
