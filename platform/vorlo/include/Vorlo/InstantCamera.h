#pragma once
// The instant camera: a device with its grab loop, handlers and a recursive lock for its users.

#include <cstdint>
#include <memory>

#include <Vorlo/Device.h>
#include <Vorlo/EventHandlers.h>

namespace Vorlo
{
    class CInstantCameraPrivate;

    //! Threads: OnImageGrabbed and the grab events run on the camera's grab loop thread,
    //! OnCameraDeviceRemoved on the removal monitor thread. StopGrabbing, Close and the destructor
    //! may be called from any thread, a handler included, and never wait for a handler that is
    //! waiting for them. The destructor stops, closes and deregisters without calling handlers:
    //! by then the classes derived from the camera are gone.
    class VORLOBASE_EXPORT CInstantCamera
    {
    public:
        CInstantCamera();
        explicit CInstantCamera(IVorloDevice* device, ECleanup cleanup = Cleanup_Delete);
        virtual ~CInstantCamera();
        CInstantCamera(const CInstantCamera&) = delete;
        CInstantCamera& operator=(const CInstantCamera&) = delete;

        //! Attaches a device (destroying or detaching one attached before); a null device detaches
        virtual void Attach(IVorloDevice* device, ECleanup cleanup = Cleanup_Delete);
        virtual bool IsAttached() const;
        //! Closes the device and gives it back without destroying it; null when none
        virtual IVorloDevice* DetachDevice();
        //! Closes and destroys the device, whoever owns it
        virtual void DestroyDevice();
        virtual bool HasOwnership() const;
        //! The attached device, or null
        IVorloDevice* GetDevice() const;

        virtual void Open();
        //! Stops grabbing first; harmless when closed
        virtual void Close();
        virtual bool IsOpen() const;

        //! Opens the camera if needed, opens the stream, starts the acquisition and, with loop 0,
        //! the grab loop thread
        virtual void StartGrabbing(EGrabStrategy strategy = GrabStrategy_OneByOne,
                                   EGrabLoop grabLoopType = GrabLoop_ProvidedByUser);
        //! As above, stopping by itself after maxImages images
        virtual void StartGrabbing(size_t maxImages, EGrabStrategy strategy = GrabStrategy_OneByOne,
                                   EGrabLoop grabLoopType = GrabLoop_ProvidedByUser);
        virtual void StopGrabbing();
        virtual bool IsGrabbing() const;
        //! For the user's own loop: the next result, passed through the image handlers first.
        //! False on timeout with TimeoutHandling_Return.
        virtual bool RetrieveResult(unsigned int timeoutMs, CGrabResultPtr& result,
                                    ETimeoutHandling timeoutHandling = TimeoutHandling_ThrowException);
        //! Starts, retrieves one image and stops
        virtual bool GrabOne(unsigned int timeoutMs, CGrabResultPtr& result,
                             ETimeoutHandling timeoutHandling = TimeoutHandling_ThrowException);
        //! Executes the node "TriggerSoftware"
        virtual void ExecuteSoftwareTrigger();

        //! True once the attached device is lost; false again after another device is attached
        virtual bool IsCameraDeviceRemoved() const;

        void SetCameraContext(intptr_t context);
        intptr_t GetCameraContext() const;

        //! The device's node map; null while the camera is not open
        virtual GenApi::INodeMap* GetNodeMap();
        //! The device's transport layer parameters; null while not open
        virtual GenApi::INodeMap* GetTLNodeMap();
        //! The stream grabber's parameters; null while not open
        virtual GenApi::INodeMap* GetStreamGrabberNodeMap();
        //! The attached device's record; an empty record when nothing is attached
        virtual const CDeviceInfo& GetDeviceInfo() const;
        //! True when the attached device is a GigE Vision device
        bool IsGigE() const;
        bool IsUsb() const;
        bool IsCamEmu() const;

        //! The camera's recursive lock, for its users; the SDK never holds it while calling a handler
        GenApi::CLock& GetLock() const;

        virtual void RegisterConfiguration(CConfigurationEventHandler* handler, ERegistrationMode mode, ECleanup cleanup);
        virtual bool DeregisterConfiguration(CConfigurationEventHandler* handler);
        virtual void RegisterImageEventHandler(CImageEventHandler* handler, ERegistrationMode mode, ECleanup cleanup);
        virtual bool DeregisterImageEventHandler(CImageEventHandler* handler);
        //! The handler is called when the node changes. The node is looked up when the camera
        //! opens; with CameraEventAvailability_Mandatory a missing node makes Open fail.
        virtual void RegisterCameraEventHandler(CCameraEventHandler* handler, const gcstring& nodeName,
                                                intptr_t userProvidedId, ERegistrationMode mode, ECleanup cleanup,
                                                ECameraEventAvailability availability = CameraEventAvailability_Mandatory);
        virtual bool DeregisterCameraEventHandler(CCameraEventHandler* handler, const gcstring& nodeName);

    private:
        friend class CInstantCameraPrivate;
        std::shared_ptr<CInstantCameraPrivate> d; // shared with the grab loop thread
    };
}
