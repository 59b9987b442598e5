#include <Vorlo/EventHandlers.h>

#include <cassert>
#include <cstdio>

namespace Vorlo
{
    CEventHandlerRegistrationCount::CEventHandlerRegistrationCount()
        : m_registrationCount(0)
    {
    }
    CEventHandlerRegistrationCount::~CEventHandlerRegistrationCount() = default;
    // A copy is a new handler: it is registered nowhere.
    CEventHandlerRegistrationCount::CEventHandlerRegistrationCount(const CEventHandlerRegistrationCount&)
        : m_registrationCount(0)
    {
    }
    CEventHandlerRegistrationCount& CEventHandlerRegistrationCount::operator=(const CEventHandlerRegistrationCount&)
    {
        return *this;
    }

    void CEventHandlerRegistrationCount::CheckNotRegistered() const
    {
        if (m_registrationCount.load() != 0)
        {
            std::fprintf(stderr, "Error: The event handler must not be destroyed while it is registered.\n");
            assert(m_registrationCount.load() == 0 && "Error: The event handler must not be destroyed while it is registered.");
        }
    }

    CImageEventHandler::CImageEventHandler() = default;
    CImageEventHandler::~CImageEventHandler() { CheckNotRegistered(); }
    CImageEventHandler::CImageEventHandler(const CImageEventHandler&) = default;
    CImageEventHandler& CImageEventHandler::operator=(const CImageEventHandler&) = default;
    void CImageEventHandler::OnImageEventHandlerRegistered(CInstantCamera&) {}
    void CImageEventHandler::OnImageEventHandlerDeregistered(CInstantCamera&) {}
    void CImageEventHandler::OnImagesSkipped(CInstantCamera&, size_t) {}
    void CImageEventHandler::OnImageGrabbed(CInstantCamera&, const CGrabResultPtr&) {}
    void CImageEventHandler::DestroyImageEventHandler() { delete this; }

    CConfigurationEventHandler::CConfigurationEventHandler() = default;
    CConfigurationEventHandler::~CConfigurationEventHandler() { CheckNotRegistered(); }
    CConfigurationEventHandler::CConfigurationEventHandler(const CConfigurationEventHandler&) = default;
    CConfigurationEventHandler& CConfigurationEventHandler::operator=(const CConfigurationEventHandler&) = default;
    void CConfigurationEventHandler::OnAttach(CInstantCamera&) {}
    void CConfigurationEventHandler::OnAttached(CInstantCamera&) {}
    void CConfigurationEventHandler::OnDetach(CInstantCamera&) {}
    void CConfigurationEventHandler::OnDetached(CInstantCamera&) {}
    void CConfigurationEventHandler::OnDestroy(CInstantCamera&) {}
    void CConfigurationEventHandler::OnDestroyed(CInstantCamera&) {}
    void CConfigurationEventHandler::OnOpen(CInstantCamera&) {}
    void CConfigurationEventHandler::OnOpened(CInstantCamera&) {}
    void CConfigurationEventHandler::OnClose(CInstantCamera&) {}
    void CConfigurationEventHandler::OnClosed(CInstantCamera&) {}
    void CConfigurationEventHandler::OnGrabStart(CInstantCamera&) {}
    void CConfigurationEventHandler::OnGrabStarted(CInstantCamera&) {}
    void CConfigurationEventHandler::OnGrabStop(CInstantCamera&) {}
    void CConfigurationEventHandler::OnGrabStopped(CInstantCamera&) {}
    void CConfigurationEventHandler::OnGrabError(CInstantCamera&, const char*) {}
    void CConfigurationEventHandler::OnCameraDeviceRemoved(CInstantCamera&) {}
    void CConfigurationEventHandler::OnConfigurationRegistered(CInstantCamera&) {}
    void CConfigurationEventHandler::OnConfigurationDeregistered(CInstantCamera&) {}
    void CConfigurationEventHandler::DestroyConfiguration() { delete this; }

    CCameraEventHandler::CCameraEventHandler() = default;
    CCameraEventHandler::~CCameraEventHandler() { CheckNotRegistered(); }
    CCameraEventHandler::CCameraEventHandler(const CCameraEventHandler&) = default;
    CCameraEventHandler& CCameraEventHandler::operator=(const CCameraEventHandler&) = default;
    void CCameraEventHandler::OnCameraEventHandlerRegistered(CInstantCamera&, const gcstring&, intptr_t) {}
    void CCameraEventHandler::OnCameraEventHandlerDeregistered(CInstantCamera&, const gcstring&, intptr_t) {}
    void CCameraEventHandler::OnCameraEvent(CInstantCamera&, intptr_t, GenApi::INode*) {}
    void CCameraEventHandler::DestroyCameraEventHandler() { delete this; }
}
