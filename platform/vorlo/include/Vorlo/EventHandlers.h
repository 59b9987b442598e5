#pragma once
// Handler bases of the instant camera. Each counts its registrations and must not be destroyed
// while it is registered anywhere.

#include <atomic>
#include <cstdint>

#include <Vorlo/GrabResultPtr.h>

namespace Vorlo
{
    class CInstantCamera;

    //! Counts registrations; the camera adjusts the count
    class VORLOBASE_EXPORT CEventHandlerRegistrationCount
    {
    public:
        CEventHandlerRegistrationCount();
        virtual ~CEventHandlerRegistrationCount();
        CEventHandlerRegistrationCount(const CEventHandlerRegistrationCount&);
        CEventHandlerRegistrationCount& operator=(const CEventHandlerRegistrationCount&);

        long DebugGetEventHandlerRegistrationCount() const { return m_registrationCount.load(); }

    protected:
        //! Writes the error and asserts when the count is not 0; every handler base calls it
        void CheckNotRegistered() const;

    private:
        friend class CInstantCamera;
        friend class CInstantCameraPrivate;
        std::atomic<long> m_registrationCount;
    };

    //! Receives grabbed images on the grab loop thread
    class VORLOBASE_EXPORT CImageEventHandler : public CEventHandlerRegistrationCount
    {
    public:
        CImageEventHandler();
        ~CImageEventHandler() override;
        CImageEventHandler(const CImageEventHandler&);
        CImageEventHandler& operator=(const CImageEventHandler&);

        virtual void OnImageEventHandlerRegistered(CInstantCamera& camera);
        virtual void OnImageEventHandlerDeregistered(CInstantCamera& camera);
        //! Images that the latest-image strategy dropped before the next one was handed out
        virtual void OnImagesSkipped(CInstantCamera& camera, size_t countOfSkippedImages);
        virtual void OnImageGrabbed(CInstantCamera& camera, const CGrabResultPtr& grabResult);
        //! Called instead of deleting when the camera owns the handler
        virtual void DestroyImageEventHandler();
    };

    //! Receives the stages of the camera's life. Grab events run on the grab loop thread,
    //! OnCameraDeviceRemoved on the SDK's removal monitor thread, the others on the calling thread.
    class VORLOBASE_EXPORT CConfigurationEventHandler : public CEventHandlerRegistrationCount
    {
    public:
        CConfigurationEventHandler();
        ~CConfigurationEventHandler() override;
        CConfigurationEventHandler(const CConfigurationEventHandler&);
        CConfigurationEventHandler& operator=(const CConfigurationEventHandler&);

        virtual void OnAttach(CInstantCamera& camera);
        virtual void OnAttached(CInstantCamera& camera);
        virtual void OnDetach(CInstantCamera& camera);
        virtual void OnDetached(CInstantCamera& camera);
        virtual void OnDestroy(CInstantCamera& camera);
        virtual void OnDestroyed(CInstantCamera& camera);
        virtual void OnOpen(CInstantCamera& camera);
        virtual void OnOpened(CInstantCamera& camera);
        virtual void OnClose(CInstantCamera& camera);
        virtual void OnClosed(CInstantCamera& camera);
        virtual void OnGrabStart(CInstantCamera& camera);
        virtual void OnGrabStarted(CInstantCamera& camera);
        virtual void OnGrabStop(CInstantCamera& camera);
        virtual void OnGrabStopped(CInstantCamera& camera);
        virtual void OnGrabError(CInstantCamera& camera, const char* errorMessage);
        virtual void OnCameraDeviceRemoved(CInstantCamera& camera);
        virtual void OnConfigurationRegistered(CInstantCamera& camera);
        virtual void OnConfigurationDeregistered(CInstantCamera& camera);
        //! Called instead of deleting when the camera owns the handler
        virtual void DestroyConfiguration();
    };

    //! Receives changes of a named node of the camera's node map, on the thread that changed it
    class VORLOBASE_EXPORT CCameraEventHandler : public CEventHandlerRegistrationCount
    {
    public:
        CCameraEventHandler();
        ~CCameraEventHandler() override;
        CCameraEventHandler(const CCameraEventHandler&);
        CCameraEventHandler& operator=(const CCameraEventHandler&);

        virtual void OnCameraEventHandlerRegistered(CInstantCamera& camera, const gcstring& nodeName, intptr_t userProvidedId);
        virtual void OnCameraEventHandlerDeregistered(CInstantCamera& camera, const gcstring& nodeName, intptr_t userProvidedId);
        virtual void OnCameraEvent(CInstantCamera& camera, intptr_t userProvidedId, GenApi::INode* pNode);
        //! Called instead of deleting when the camera owns the handler
        virtual void DestroyCameraEventHandler();
    };
}
