#include <Vorlo/InstantCamera.h>

#include <Vorlo/TlFactory.h>

#include "GrabResultData.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace Vorlo
{
    // Locking, in brief:
    // - m_api serializes the operations that change the camera's state (attach, open, close,
    //   start). It is never held while waiting for the grab loop thread, and that thread never
    //   takes it, so a handler may call any operation of the camera.
    // - m_handlersMutex guards the handler lists. It is never held while a handler runs; a
    //   deregistration from another thread waits for running dispatches to end instead.
    // - The user lock (GetLock) belongs to the camera's users; the SDK never takes it.
    class CInstantCameraPrivate : public std::enable_shared_from_this<CInstantCameraPrivate>
    {
    public:
        explicit CInstantCameraPrivate(CInstantCamera* camera) : q(camera) {}

        struct ConfigEntry
        {
            CConfigurationEventHandler* handler;
            ECleanup cleanup;
        };
        struct ImageEntry
        {
            CImageEventHandler* handler;
            ECleanup cleanup;
        };
        //! Target of the engine's node callback; it outlives its registration
        struct CameraEventForwarder
        {
            std::weak_ptr<CInstantCameraPrivate> camera;
            intptr_t id;
            void OnNodeChanged(GenApi::INode* node)
            {
                if (auto self = camera.lock())
                    self->DispatchCameraEvent(id, node);
            }
        };

        struct CameraEventEntry
        {
            intptr_t id;
            CCameraEventHandler* handler;
            gcstring nodeName;
            intptr_t userProvidedId;
            ECleanup cleanup;
            ECameraEventAvailability availability;
            GenApi::CallbackHandleType callback;
            std::shared_ptr<CameraEventForwarder> forwarder;
        };

        CInstantCamera* q;
        mutable GenApi::CLock userLock;
        std::recursive_mutex m_api;

        std::atomic<IVorloDevice*> device{ nullptr };
        ECleanup deviceCleanup = Cleanup_None;
        std::atomic<bool> open{ false };
        bool openedByCamera = false; // false for a device that was open when it was attached
        std::atomic<GenApi::INodeMap*> nodeMap{ nullptr };
        std::atomic<intptr_t> context{ 0 };
        std::atomic<bool> removed{ false };
        IVorloDevice::RemovalCallbackHandle removalHandle = 0;
        std::atomic<bool> silent{ false }; // the camera is being destroyed: no handler calls

        // Grabbing
        std::mutex m_grabMutex;
        std::condition_variable m_grabChanged;
        std::thread m_grabThread;
        std::atomic<std::thread::id> grabThreadId{ std::thread::id() };
        std::atomic<bool> grabbing{ false };
        std::atomic<bool> stopRequested{ false };
        bool finishDone = true;
        EGrabStrategy strategy = GrabStrategy_OneByOne;
        EGrabLoop loop = GrabLoop_ProvidedByUser;
        size_t maxImages = 0;
        size_t imagesDone = 0;
        IStreamGrabber* stream = nullptr; // stable while grabbing

        // Handlers
        std::mutex m_handlersMutex;
        std::condition_variable m_handlersIdle;
        std::vector<std::thread::id> m_dispatchers;
        std::vector<ConfigEntry> configs;
        std::vector<ImageEntry> images;
        std::vector<CameraEventEntry> cameraEvents;
        intptr_t nextCameraEventId = 1;

        bool OnGrabThread() const { return grabThreadId.load() == std::this_thread::get_id(); }

        // ---------------------------------------------------------------- dispatch

        class DispatchScope
        {
        public:
            explicit DispatchScope(CInstantCameraPrivate& p) : m_p(p)
            {
                std::lock_guard<std::mutex> lock(m_p.m_handlersMutex);
                m_p.m_dispatchers.push_back(std::this_thread::get_id());
            }
            ~DispatchScope()
            {
                {
                    std::lock_guard<std::mutex> lock(m_p.m_handlersMutex);
                    m_p.m_dispatchers.erase(std::find(m_p.m_dispatchers.begin(), m_p.m_dispatchers.end(), std::this_thread::get_id()));
                }
                m_p.m_handlersIdle.notify_all();
            }

        private:
            CInstantCameraPrivate& m_p;
        };

        //! Waits until no other thread runs a handler; the caller holds m_handlersMutex
        void WaitForOtherDispatchers(std::unique_lock<std::mutex>& lock)
        {
            const std::thread::id self = std::this_thread::get_id();
            m_handlersIdle.wait(lock, [&] {
                return std::all_of(m_dispatchers.begin(), m_dispatchers.end(), [&](std::thread::id t) { return t == self; });
            });
        }

        template <class F>
        void ForEachConfiguration(F f)
        {
            if (silent.load())
                return;
            std::vector<CConfigurationEventHandler*> snapshot;
            DispatchScope scope(*this);
            {
                std::lock_guard<std::mutex> lock(m_handlersMutex);
                for (const ConfigEntry& e : configs)
                    snapshot.push_back(e.handler);
            }
            for (CConfigurationEventHandler* h : snapshot)
            {
                {
                    // Skip handlers deregistered by an earlier handler of this round.
                    std::lock_guard<std::mutex> lock(m_handlersMutex);
                    if (std::none_of(configs.begin(), configs.end(), [h](const ConfigEntry& e) { return e.handler == h; }))
                        continue;
                }
                f(h);
            }
        }

        void DispatchImage(const CGrabResultPtr& result, size_t skipped)
        {
            if (silent.load())
                return;
            std::vector<CImageEventHandler*> snapshot;
            DispatchScope scope(*this);
            {
                std::lock_guard<std::mutex> lock(m_handlersMutex);
                snapshot.reserve(images.size());
                for (const ImageEntry& e : images)
                    snapshot.push_back(e.handler);
            }
            for (CImageEventHandler* h : snapshot)
            {
                if (skipped)
                    h->OnImagesSkipped(*q, skipped);
                h->OnImageGrabbed(*q, result);
            }
        }

        void DispatchCameraEvent(intptr_t id, GenApi::INode* node)
        {
            if (silent.load())
                return;
            DispatchScope scope(*this);
            CCameraEventHandler* handler = nullptr;
            intptr_t userId = 0;
            {
                std::lock_guard<std::mutex> lock(m_handlersMutex);
                auto it = std::find_if(cameraEvents.begin(), cameraEvents.end(), [id](const CameraEventEntry& e) { return e.id == id; });
                if (it == cameraEvents.end())
                    return;
                handler = it->handler;
                userId = it->userProvidedId;
            }
            try
            {
                handler->OnCameraEvent(*q, userId, node);
            }
            catch (...)
            {
                // A node callback must not throw into the engine.
            }
        }

        void ReportGrabError(const char* message)
        {
            try
            {
                ForEachConfiguration([&](CConfigurationEventHandler* h) { h->OnGrabError(*q, message); });
            }
            catch (...)
            {
            }
        }

        // ---------------------------------------------------------------- camera events

        //! Registers the node callback of one entry on the open node map; false if the node is missing
        bool ConnectCameraEvent(CameraEventEntry& entry)
        {
            GenApi::INodeMap* map = nodeMap.load();
            if (!map)
                return true;
            GenApi::INode* node = map->GetNode(entry.nodeName);
            if (!node)
                return false;
            if (!entry.forwarder)
                entry.forwarder = std::make_shared<CameraEventForwarder>(CameraEventForwarder{ shared_from_this(), entry.id });
            entry.callback = GenApi::Register(node, *entry.forwarder, &CameraEventForwarder::OnNodeChanged, GenApi::cbPostOutsideLock);
            return true;
        }

        //! Takes the node callback out of the entry; deregister it with Disconnect after
        //! releasing m_handlersMutex, since the engine may be calling it meanwhile
        static GenApi::CallbackHandleType TakeCallback(CameraEventEntry& entry)
        {
            GenApi::CallbackHandleType handle = entry.callback;
            entry.callback = 0;
            return handle;
        }

        static void Disconnect(const std::vector<GenApi::CallbackHandleType>& handles)
        {
            for (GenApi::CallbackHandleType handle : handles)
            {
                if (!handle)
                    continue;
                try
                {
                    GenApi::Deregister(handle);
                }
                catch (...)
                {
                }
            }
        }

        // ---------------------------------------------------------------- acquisition

        void ExecuteIfPresent(const char* name)
        {
            GenApi::INodeMap* map = nodeMap.load();
            if (!map)
                return;
            GenApi::CCommandPtr command = map->GetNode(name);
            if (command.IsValid() && GenApi::IsWritable(command.GetPtr()))
                command->Execute();
        }

        void SetTLParamsLocked(int64_t value)
        {
            GenApi::INodeMap* map = nodeMap.load();
            if (!map)
                return;
            GenApi::CIntegerPtr locked = map->GetNode("TLParamsLocked");
            if (locked.IsValid() && GenApi::IsWritable(locked.GetPtr()))
                locked->SetValue(value);
        }

        void StartAcquisition()
        {
            SetTLParamsLocked(1);
            ExecuteIfPresent("AcquisitionStart");
        }

        //! The end of a grab: runs once per grab, on whichever thread ends it
        void FinishGrab()
        {
            {
                std::lock_guard<std::mutex> lock(m_grabMutex);
                if (finishDone)
                    return;
                finishDone = true;
            }
            try
            {
                ForEachConfiguration([&](CConfigurationEventHandler* h) { h->OnGrabStop(*q); });
            }
            catch (...)
            {
            }
            IVorloDevice* dev = device.load();
            if (!removed.load() && !(dev && dev->IsDeviceRemoved()))
            {
                try
                {
                    ExecuteIfPresent("AcquisitionStop");
                    SetTLParamsLocked(0);
                }
                catch (...)
                {
                    // A device that stopped answering is stopped enough.
                }
            }
            if (stream)
                stream->Close();
            try
            {
                ForEachConfiguration([&](CConfigurationEventHandler* h) { h->OnGrabStopped(*q); });
            }
            catch (...)
            {
            }
        }

        void SetGrabbingEnded()
        {
            {
                std::lock_guard<std::mutex> lock(m_grabMutex);
                grabbing = false;
            }
            m_grabChanged.notify_all();
        }

        void GrabLoop()
        {
            grabThreadId = std::this_thread::get_id();
            try
            {
                ForEachConfiguration([&](CConfigurationEventHandler* h) { h->OnGrabStart(*q); });
                StartAcquisition();
                ForEachConfiguration([&](CConfigurationEventHandler* h) { h->OnGrabStarted(*q); });
            }
            catch (const GenICam::GenericException& e)
            {
                ReportGrabError(e.GetDescription());
                stopRequested = true;
            }
            catch (const std::exception& e)
            {
                ReportGrabError(e.what());
                stopRequested = true;
            }
            catch (...)
            {
                ReportGrabError("Unknown exception while starting to grab.");
                stopRequested = true;
            }

            bool removalReported = false;
            while (!stopRequested.load())
            {
                IVorloDevice* dev = device.load();
                if (removed.load() || (dev && dev->IsDeviceRemoved()))
                {
                    if (!removalReported)
                    {
                        removalReported = true;
                        ReportGrabError("The camera device has been removed.");
                    }
                    std::unique_lock<std::mutex> lock(m_grabMutex);
                    m_grabChanged.wait(lock, [this] { return stopRequested.load(); });
                    break;
                }
                CGrabResultPtr result;
                if (!stream->RetrieveResult(500, result))
                    continue;
                size_t skipped = 0;
                if (strategy == GrabStrategy_LatestImageOnly)
                {
                    CGrabResultPtr newer;
                    while (stream->RetrieveResult(0, newer))
                    {
                        result = std::move(newer);
                        ++skipped;
                    }
                    result.m_data->skippedImages = skipped;
                }
                try
                {
                    DispatchImage(result, skipped);
                }
                catch (const GenICam::GenericException& e)
                {
                    ReportGrabError(e.GetDescription());
                }
                catch (const std::exception& e)
                {
                    ReportGrabError(e.what());
                }
                catch (...)
                {
                    ReportGrabError("Unknown exception in an image event handler.");
                }
                result.Release();
                if (maxImages && ++imagesDone >= maxImages)
                    break;
            }
            FinishGrab();
            SetGrabbingEnded();
        }

        void CollectFinishedThread()
        {
            std::thread finished;
            {
                std::lock_guard<std::mutex> lock(m_grabMutex);
                if (grabbing.load() || !m_grabThread.joinable() || m_grabThread.get_id() == std::this_thread::get_id())
                    return;
                finished = std::move(m_grabThread);
            }
            finished.join();
        }

        void StopGrabbing()
        {
            if (!grabbing.load())
            {
                CollectFinishedThread();
                return;
            }
            stopRequested = true;
            m_grabChanged.notify_all();
            if (stream)
                stream->CancelWait();
            if (loop == GrabLoop_ProvidedByUser)
            {
                FinishGrab();
                SetGrabbingEnded();
                return;
            }
            if (OnGrabThread())
                return; // the loop ends when the handler returns
            {
                std::unique_lock<std::mutex> lock(m_grabMutex);
                m_grabChanged.wait(lock, [this] { return !grabbing.load(); });
            }
            CollectFinishedThread();
        }

        //! Close without the grab-thread check; m_api is held by the caller
        void CloseDevice()
        {
            if (!open.load())
                return;
            ForEachConfiguration([&](CConfigurationEventHandler* h) { h->OnClose(*q); });
            std::vector<GenApi::CallbackHandleType> handles;
            {
                std::lock_guard<std::mutex> lock(m_handlersMutex);
                for (CameraEventEntry& e : cameraEvents)
                    handles.push_back(TakeCallback(e));
            }
            Disconnect(handles);
            nodeMap = nullptr;
            IVorloDevice* dev = device.load();
            if (removalHandle)
            {
                dev->DeregisterRemovalCallback(removalHandle);
                removalHandle = 0;
            }
            if (openedByCamera)
                dev->Close();
            openedByCamera = false;
            open = false;
            ForEachConfiguration([&](CConfigurationEventHandler* h) { h->OnClosed(*q); });
        }

        void OnDeviceRemoved()
        {
            removed = true;
            m_grabChanged.notify_all();
            if (IStreamGrabber* s = stream)
                s->CancelWait();
            ForEachConfiguration([&](CConfigurationEventHandler* h) { h->OnCameraDeviceRemoved(*q); });
        }

        // ---------------------------------------------------------------- handler removal

        void RemoveConfiguration(std::unique_lock<std::mutex>& lock, size_t index, std::vector<std::pair<CConfigurationEventHandler*, ECleanup>>& removedOut)
        {
            removedOut.emplace_back(configs[index].handler, configs[index].cleanup);
            configs.erase(configs.begin() + static_cast<std::ptrdiff_t>(index));
            (void)lock;
        }

        void FinishConfigurationRemoval(std::vector<std::pair<CConfigurationEventHandler*, ECleanup>>& list)
        {
            for (auto& r : list)
            {
                --r.first->m_registrationCount;
                if (!silent.load())
                    r.first->OnConfigurationDeregistered(*q);
                if (r.second == Cleanup_Delete)
                    r.first->DestroyConfiguration();
            }
        }

        void FinishImageRemoval(std::vector<ImageEntry>& list)
        {
            for (ImageEntry& r : list)
            {
                --r.handler->m_registrationCount;
                if (!silent.load())
                    r.handler->OnImageEventHandlerDeregistered(*q);
                if (r.cleanup == Cleanup_Delete)
                    r.handler->DestroyImageEventHandler();
            }
        }

        void FinishCameraEventRemoval(std::vector<CameraEventEntry>& list)
        {
            for (CameraEventEntry& r : list)
            {
                --r.handler->m_registrationCount;
                if (!silent.load())
                    r.handler->OnCameraEventHandlerDeregistered(*q, r.nodeName, r.userProvidedId);
                if (r.cleanup == Cleanup_Delete)
                    r.handler->DestroyCameraEventHandler();
            }
        }

        void DeregisterAll()
        {
            std::vector<std::pair<CConfigurationEventHandler*, ECleanup>> c;
            std::vector<ImageEntry> i;
            std::vector<CameraEventEntry> e;
            std::vector<GenApi::CallbackHandleType> handles;
            {
                std::unique_lock<std::mutex> lock(m_handlersMutex);
                for (const ConfigEntry& x : configs)
                    c.emplace_back(x.handler, x.cleanup);
                configs.clear();
                i.swap(images);
                e.swap(cameraEvents);
                for (CameraEventEntry& x : e)
                    handles.push_back(TakeCallback(x));
            }
            Disconnect(handles);
            {
                std::unique_lock<std::mutex> lock(m_handlersMutex);
                WaitForOtherDispatchers(lock);
            }
            FinishConfigurationRemoval(c);
            FinishImageRemoval(i);
            FinishCameraEventRemoval(e);
        }
    };

    namespace
    {
        const CDeviceInfo& EmptyDeviceInfo()
        {
            static const CDeviceInfo empty;
            return empty;
        }

        void DestroyThroughFactory(IVorloDevice* device)
        {
            CTlFactory::GetInstance().DestroyDevice(device);
        }
    }

    CInstantCamera::CInstantCamera()
        : d(std::make_shared<CInstantCameraPrivate>(this))
    {
    }

    CInstantCamera::CInstantCamera(IVorloDevice* device, ECleanup cleanup)
        : d(std::make_shared<CInstantCameraPrivate>(this))
    {
        Attach(device, cleanup);
    }

    CInstantCamera::~CInstantCamera()
    {
        // Derived classes, often handlers of this camera themselves, are gone already:
        // everything below runs without calling a handler.
        d->silent = true;
        if (d->OnGrabThread())
        {
            d->stopRequested = true;
            d->FinishGrab();
            std::lock_guard<std::mutex> lock(d->m_grabMutex);
            if (d->m_grabThread.joinable())
                d->m_grabThread.detach(); // the loop holds its own reference to the private part
        }
        else
        {
            d->StopGrabbing();
        }
        {
            std::lock_guard<std::recursive_mutex> lock(d->m_api);
            try
            {
                d->CloseDevice();
            }
            catch (...)
            {
            }
            IVorloDevice* dev = d->device.exchange(nullptr);
            if (dev && d->deviceCleanup == Cleanup_Delete)
                DestroyThroughFactory(dev);
        }
        d->DeregisterAll();
        d->q = nullptr;
    }

    void CInstantCamera::Attach(IVorloDevice* device, ECleanup cleanup)
    {
        std::lock_guard<std::recursive_mutex> lock(d->m_api);
        if (device && device == d->device.load())
            return;
        if (d->device.load())
        {
            if (d->deviceCleanup == Cleanup_Delete)
                DestroyDevice();
            else
                DetachDevice();
        }
        if (!device)
            return;
        d->ForEachConfiguration([&](CConfigurationEventHandler* h) { h->OnAttach(*this); });
        d->device = device;
        d->deviceCleanup = cleanup;
        d->removed = false;
        d->open = device->IsOpen();
        d->openedByCamera = false;
        if (d->open.load())
        {
            // A device opened by its owner: the camera uses it as it is.
            d->nodeMap = device->GetNodeMap();
            std::weak_ptr<CInstantCameraPrivate> weak = d;
            d->removalHandle = device->RegisterRemovalCallback([weak](IVorloDevice*) {
                if (auto self = weak.lock())
                    self->OnDeviceRemoved();
            });
            std::lock_guard<std::mutex> handlersLock(d->m_handlersMutex);
            for (auto& e : d->cameraEvents)
                d->ConnectCameraEvent(e);
        }
        d->ForEachConfiguration([&](CConfigurationEventHandler* h) { h->OnAttached(*this); });
    }

    bool CInstantCamera::IsAttached() const { return d->device.load() != nullptr; }
    IVorloDevice* CInstantCamera::GetDevice() const { return d->device.load(); }
    bool CInstantCamera::HasOwnership() const { return d->device.load() && d->deviceCleanup == Cleanup_Delete; }

    IVorloDevice* CInstantCamera::DetachDevice()
    {
        Close();
        std::lock_guard<std::recursive_mutex> lock(d->m_api);
        if (!d->device.load())
            return nullptr;
        d->ForEachConfiguration([&](CConfigurationEventHandler* h) { h->OnDetach(*this); });
        IVorloDevice* dev = d->device.exchange(nullptr);
        d->removed = false;
        d->ForEachConfiguration([&](CConfigurationEventHandler* h) { h->OnDetached(*this); });
        return dev;
    }

    void CInstantCamera::DestroyDevice()
    {
        Close();
        std::lock_guard<std::recursive_mutex> lock(d->m_api);
        if (!d->device.load())
            return;
        d->ForEachConfiguration([&](CConfigurationEventHandler* h) { h->OnDestroy(*this); });
        IVorloDevice* dev = d->device.exchange(nullptr);
        d->removed = false;
        DestroyThroughFactory(dev);
        d->ForEachConfiguration([&](CConfigurationEventHandler* h) { h->OnDestroyed(*this); });
    }

    void CInstantCamera::Open()
    {
        std::lock_guard<std::recursive_mutex> lock(d->m_api);
        IVorloDevice* dev = d->device.load();
        if (!dev)
            throw RUNTIME_EXCEPTION("Cannot open the camera: no device is attached.");
        if (d->open.load())
            return;
        d->ForEachConfiguration([&](CConfigurationEventHandler* h) { h->OnOpen(*this); });
        dev->Open();
        d->openedByCamera = true;
        d->removed = false;
        d->nodeMap = dev->GetNodeMap();
        std::weak_ptr<CInstantCameraPrivate> weak = d;
        d->removalHandle = dev->RegisterRemovalCallback([weak](IVorloDevice*) {
            if (auto self = weak.lock())
                self->OnDeviceRemoved();
        });
        gcstring missing;
        {
            std::lock_guard<std::mutex> handlersLock(d->m_handlersMutex);
            for (auto& e : d->cameraEvents)
            {
                if (!d->ConnectCameraEvent(e) && e.availability == CameraEventAvailability_Mandatory && missing.empty())
                    missing = e.nodeName;
            }
        }
        d->open = true;
        if (!missing.empty())
        {
            d->CloseDevice();
            throw RUNTIME_EXCEPTION("The node '%s' that a camera event handler needs does not exist.", missing.c_str());
        }
        d->ForEachConfiguration([&](CConfigurationEventHandler* h) { h->OnOpened(*this); });
    }

    void CInstantCamera::Close()
    {
        if (d->OnGrabThread() && d->grabbing.load())
        {
            // From a handler on the grab loop thread: end the grab here, the loop then leaves.
            d->stopRequested = true;
            d->FinishGrab();
        }
        else
        {
            d->StopGrabbing();
        }
        std::lock_guard<std::recursive_mutex> lock(d->m_api);
        d->CloseDevice();
    }

    bool CInstantCamera::IsOpen() const { return d->open.load(); }

    void CInstantCamera::StartGrabbing(EGrabStrategy strategy, EGrabLoop grabLoopType)
    {
        StartGrabbing(0, strategy, grabLoopType);
    }

    void CInstantCamera::StartGrabbing(size_t maxImages, EGrabStrategy strategy, EGrabLoop grabLoopType)
    {
        std::lock_guard<std::recursive_mutex> lock(d->m_api);
        if (d->grabbing.load())
            throw RUNTIME_EXCEPTION("Grabbing is already active.");
        if (d->OnGrabThread())
            throw RUNTIME_EXCEPTION("Grabbing cannot be started again from the grab loop thread.");
        d->CollectFinishedThread();
        if (!d->open.load())
            Open();
        if (IsCameraDeviceRemoved())
            throw RUNTIME_EXCEPTION("Cannot start grabbing: the camera device has been removed.");
        IVorloDevice* dev = d->device.load();
        IStreamGrabber* stream = dev->GetStreamGrabber();
        if (!stream)
            throw RUNTIME_EXCEPTION("The device has no stream grabber.");
        stream->Open();
        {
            std::lock_guard<std::mutex> grabLock(d->m_grabMutex);
            d->stream = stream;
            d->strategy = strategy;
            d->loop = grabLoopType;
            d->maxImages = maxImages;
            d->imagesDone = 0;
            d->stopRequested = false;
            d->finishDone = false;
            d->grabbing = true;
        }
        if (grabLoopType == GrabLoop_ProvidedByUser)
        {
            try
            {
                d->ForEachConfiguration([&](CConfigurationEventHandler* h) { h->OnGrabStart(*this); });
                d->StartAcquisition();
                d->ForEachConfiguration([&](CConfigurationEventHandler* h) { h->OnGrabStarted(*this); });
            }
            catch (...)
            {
                d->FinishGrab();
                d->SetGrabbingEnded();
                throw;
            }
            return;
        }
        std::shared_ptr<CInstantCameraPrivate> self = d;
        std::lock_guard<std::mutex> grabLock(d->m_grabMutex);
        d->m_grabThread = std::thread([self] { self->GrabLoop(); });
    }

    void CInstantCamera::StopGrabbing() { d->StopGrabbing(); }

    bool CInstantCamera::IsGrabbing() const { return d->grabbing.load(); }

    bool CInstantCamera::RetrieveResult(unsigned int timeoutMs, CGrabResultPtr& result, ETimeoutHandling timeoutHandling)
    {
        result.Release();
        if (!d->grabbing.load() || d->stopRequested.load())
        {
            if (timeoutHandling == TimeoutHandling_ThrowException)
                throw RUNTIME_EXCEPTION("Cannot retrieve a result: grabbing is not active.");
            return false;
        }
        if (d->loop == GrabLoop_ProvidedByInstantCamera)
            throw RUNTIME_EXCEPTION("Cannot retrieve a result: the camera's grab loop thread hands out the images.");
        IStreamGrabber* stream = d->stream;
        CGrabResultPtr grabbed;
        if (!stream->RetrieveResult(timeoutMs, grabbed))
        {
            if (IsCameraDeviceRemoved())
                throw RUNTIME_EXCEPTION("Cannot retrieve a result: the camera device has been removed.");
            if (timeoutHandling == TimeoutHandling_ThrowException)
                throw TIMEOUT_EXCEPTION("No image arrived within %u ms.", timeoutMs);
            return false;
        }
        size_t skipped = 0;
        if (d->strategy == GrabStrategy_LatestImageOnly)
        {
            CGrabResultPtr newer;
            while (stream->RetrieveResult(0, newer))
            {
                grabbed = std::move(newer);
                ++skipped;
            }
            grabbed.m_data->skippedImages = skipped;
        }
        d->DispatchImage(grabbed, skipped);
        result = std::move(grabbed);
        if (d->maxImages && ++d->imagesDone >= d->maxImages)
            StopGrabbing();
        return true;
    }

    bool CInstantCamera::GrabOne(unsigned int timeoutMs, CGrabResultPtr& result, ETimeoutHandling timeoutHandling)
    {
        StartGrabbing(1, GrabStrategy_OneByOne, GrabLoop_ProvidedByUser);
        bool ok = false;
        try
        {
            ok = RetrieveResult(timeoutMs, result, timeoutHandling);
        }
        catch (...)
        {
            StopGrabbing();
            throw;
        }
        StopGrabbing();
        return ok;
    }

    void CInstantCamera::ExecuteSoftwareTrigger()
    {
        GenApi::INodeMap* map = d->nodeMap.load();
        if (!map)
            throw RUNTIME_EXCEPTION("Cannot trigger: the camera is not open.");
        GenApi::CCommandPtr trigger = map->GetNode("TriggerSoftware");
        trigger->Execute();
    }

    bool CInstantCamera::IsCameraDeviceRemoved() const
    {
        if (d->removed.load())
            return true;
        IVorloDevice* dev = d->device.load();
        return dev && d->open.load() && dev->IsDeviceRemoved();
    }

    void CInstantCamera::SetCameraContext(intptr_t context) { d->context = context; }
    intptr_t CInstantCamera::GetCameraContext() const { return d->context.load(); }

    GenApi::INodeMap* CInstantCamera::GetNodeMap() { return d->nodeMap.load(); }

    GenApi::INodeMap* CInstantCamera::GetTLNodeMap()
    {
        IVorloDevice* dev = d->device.load();
        return dev && d->open.load() ? dev->GetTLNodeMap() : nullptr;
    }

    GenApi::INodeMap* CInstantCamera::GetStreamGrabberNodeMap()
    {
        IVorloDevice* dev = d->device.load();
        return dev && d->open.load() ? dev->GetStreamGrabberNodeMap() : nullptr;
    }

    const CDeviceInfo& CInstantCamera::GetDeviceInfo() const
    {
        IVorloDevice* dev = d->device.load();
        return dev ? dev->GetDeviceInfo() : EmptyDeviceInfo();
    }

    bool CInstantCamera::IsGigE() const { return GetDeviceInfo().GetDeviceClass() == DeviceClassGigE; }
    bool CInstantCamera::IsUsb() const { return GetDeviceInfo().GetDeviceClass() == DeviceClassUsb; }
    bool CInstantCamera::IsCamEmu() const { return GetDeviceInfo().GetDeviceClass() == DeviceClassCamEmu; }

    GenApi::CLock& CInstantCamera::GetLock() const { return d->userLock; }

    void CInstantCamera::RegisterConfiguration(CConfigurationEventHandler* handler, ERegistrationMode mode, ECleanup cleanup)
    {
        std::vector<std::pair<CConfigurationEventHandler*, ECleanup>> removed;
        {
            std::unique_lock<std::mutex> lock(d->m_handlersMutex);
            if (mode == RegistrationMode_ReplaceAll)
            {
                while (!d->configs.empty())
                    d->RemoveConfiguration(lock, d->configs.size() - 1, removed);
                std::reverse(removed.begin(), removed.end());
                if (!removed.empty())
                    d->WaitForOtherDispatchers(lock);
            }
            if (handler)
            {
                d->configs.push_back({ handler, cleanup });
                ++handler->m_registrationCount;
            }
        }
        d->FinishConfigurationRemoval(removed);
        if (handler)
            handler->OnConfigurationRegistered(*this);
    }

    bool CInstantCamera::DeregisterConfiguration(CConfigurationEventHandler* handler)
    {
        std::vector<std::pair<CConfigurationEventHandler*, ECleanup>> removed;
        {
            std::unique_lock<std::mutex> lock(d->m_handlersMutex);
            auto it = std::find_if(d->configs.begin(), d->configs.end(), [handler](const CInstantCameraPrivate::ConfigEntry& e) { return e.handler == handler; });
            if (it == d->configs.end())
                return false;
            d->RemoveConfiguration(lock, static_cast<size_t>(it - d->configs.begin()), removed);
            d->WaitForOtherDispatchers(lock);
        }
        d->FinishConfigurationRemoval(removed);
        return true;
    }

    void CInstantCamera::RegisterImageEventHandler(CImageEventHandler* handler, ERegistrationMode mode, ECleanup cleanup)
    {
        std::vector<CInstantCameraPrivate::ImageEntry> removed;
        {
            std::unique_lock<std::mutex> lock(d->m_handlersMutex);
            if (mode == RegistrationMode_ReplaceAll)
            {
                removed.swap(d->images);
                if (!removed.empty())
                    d->WaitForOtherDispatchers(lock);
            }
            if (handler)
            {
                d->images.push_back({ handler, cleanup });
                ++handler->m_registrationCount;
            }
        }
        d->FinishImageRemoval(removed);
        if (handler)
            handler->OnImageEventHandlerRegistered(*this);
    }

    bool CInstantCamera::DeregisterImageEventHandler(CImageEventHandler* handler)
    {
        std::vector<CInstantCameraPrivate::ImageEntry> removed;
        {
            std::unique_lock<std::mutex> lock(d->m_handlersMutex);
            auto it = std::find_if(d->images.begin(), d->images.end(), [handler](const CInstantCameraPrivate::ImageEntry& e) { return e.handler == handler; });
            if (it == d->images.end())
                return false;
            removed.push_back(*it);
            d->images.erase(it);
            d->WaitForOtherDispatchers(lock);
        }
        d->FinishImageRemoval(removed);
        return true;
    }

    void CInstantCamera::RegisterCameraEventHandler(CCameraEventHandler* handler, const gcstring& nodeName, intptr_t userProvidedId,
                                                    ERegistrationMode mode, ECleanup cleanup, ECameraEventAvailability availability)
    {
        std::vector<CInstantCameraPrivate::CameraEventEntry> removed;
        std::vector<GenApi::CallbackHandleType> handles;
        bool missing = false;
        {
            std::unique_lock<std::mutex> lock(d->m_handlersMutex);
            if (mode == RegistrationMode_ReplaceAll)
            {
                removed.swap(d->cameraEvents);
                for (auto& e : removed)
                    handles.push_back(CInstantCameraPrivate::TakeCallback(e));
            }
            if (handler)
            {
                CInstantCameraPrivate::CameraEventEntry entry{ d->nextCameraEventId++, handler, nodeName, userProvidedId, cleanup, availability, 0, nullptr };
                if (!d->ConnectCameraEvent(entry) && availability == CameraEventAvailability_Mandatory)
                    missing = true;
                else
                {
                    d->cameraEvents.push_back(entry);
                    ++handler->m_registrationCount;
                }
            }
        }
        CInstantCameraPrivate::Disconnect(handles);
        if (!removed.empty())
        {
            std::unique_lock<std::mutex> lock(d->m_handlersMutex);
            d->WaitForOtherDispatchers(lock);
        }
        d->FinishCameraEventRemoval(removed);
        if (missing)
            throw RUNTIME_EXCEPTION("The node '%s' that the camera event handler needs does not exist.", nodeName.c_str());
        if (handler)
            handler->OnCameraEventHandlerRegistered(*this, nodeName, userProvidedId);
    }

    bool CInstantCamera::DeregisterCameraEventHandler(CCameraEventHandler* handler, const gcstring& nodeName)
    {
        std::vector<CInstantCameraPrivate::CameraEventEntry> removed;
        {
            std::unique_lock<std::mutex> lock(d->m_handlersMutex);
            auto it = std::find_if(d->cameraEvents.begin(), d->cameraEvents.end(), [&](const CInstantCameraPrivate::CameraEventEntry& e) {
                return e.handler == handler && e.nodeName == nodeName;
            });
            if (it == d->cameraEvents.end())
                return false;
            const GenApi::CallbackHandleType handle = CInstantCameraPrivate::TakeCallback(*it);
            removed.push_back(*it);
            d->cameraEvents.erase(it);
            lock.unlock();
            CInstantCameraPrivate::Disconnect({ handle });
            lock.lock();
            d->WaitForOtherDispatchers(lock);
        }
        d->FinishCameraEventRemoval(removed);
        return true;
    }
}
