#include "DeviceBase.h"

#include "RemovalMonitor.h"

namespace Vorlo
{
    IStreamGrabber::~IStreamGrabber() = default;
    IVorloDevice::~IVorloDevice() = default;

    GenApi::INodeMap* IVorloDevice::GetStreamGrabberNodeMap()
    {
        IStreamGrabber* grabber = GetStreamGrabber();
        return grabber ? grabber->GetNodeMap() : nullptr;
    }

namespace Internal
{
    CDeviceBase::CDeviceBase(const CDeviceInfo& info)
        : m_info(info)
        , m_removalCallbacks(std::make_shared<RemovalCallbacks>())
    {
    }

    CDeviceBase::~CDeviceBase() = default;

    const CDeviceInfo& CDeviceBase::GetDeviceInfo() const { return m_info; }

    bool CDeviceBase::IsDeviceRemoved() const { return m_removed.load(); }

    IVorloDevice::RemovalCallbackHandle CDeviceBase::RegisterRemovalCallback(RemovalCallback callback)
    {
        return m_removalCallbacks->Add(std::move(callback));
    }

    bool CDeviceBase::DeregisterRemovalCallback(RemovalCallbackHandle handle)
    {
        return m_removalCallbacks->Remove(handle);
    }

    void CDeviceBase::NotifyRemoved()
    {
        if (m_removed.exchange(true))
            return;
        std::shared_ptr<RemovalCallbacks> callbacks = m_removalCallbacks;
        IVorloDevice* self = this;
        // Callbacks still registered when the task runs belong to a live device: whoever
        // destroys the device deregisters first, and deregistration waits for a running call.
        CRemovalMonitor::Instance().Post([callbacks, self] { callbacks->Invoke(self); });
    }

    void CDeviceBase::ResetRemoved()
    {
        m_removed.store(false);
    }
}
}
