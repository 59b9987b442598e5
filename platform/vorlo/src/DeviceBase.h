#pragma once
// Common part of the devices of all transports: the record, removal state and its callbacks.

#include <atomic>
#include <memory>

#include <Vorlo/Device.h>

#include "CallbackList.h"

namespace Vorlo
{
namespace Internal
{
    class CDeviceBase : public IVorloDevice
    {
    public:
        explicit CDeviceBase(const CDeviceInfo& info);
        ~CDeviceBase() override;

        const CDeviceInfo& GetDeviceInfo() const override;
        bool IsDeviceRemoved() const override;
        RemovalCallbackHandle RegisterRemovalCallback(RemovalCallback callback) override;
        bool DeregisterRemovalCallback(RemovalCallbackHandle handle) override;

    protected:
        //! Marks the device removed and has the callbacks run on the removal monitor thread,
        //! once per loss. Callable from any thread.
        void NotifyRemoved();
        //! Clears the removed state when the device is opened again
        void ResetRemoved();

        CDeviceInfo m_info;

    private:
        typedef CCallbackList<IVorloDevice*> RemovalCallbacks;
        std::atomic<bool> m_removed{ false };
        // Shared with queued notifications, which may run after the device is gone
        std::shared_ptr<RemovalCallbacks> m_removalCallbacks;
    };
}
}
