// The instant camera on emulated cameras: handlers and their threads, grab rates, bandwidth
// limits, software trigger, removal during a grab, stop/close/destroy from every thread,
// buffers and results, and open/close cycles.
#include <QtTest>

#include <Vorlo/VorloIncludes.h>

#include <atomic>
#include <cmath>
#include <condition_variable>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace Vorlo;
using namespace GenApi;

namespace
{
    IVorloDevice* createEmulated(unsigned index)
    {
        CTlFactory& factory = CTlFactory::GetInstance();
        if (factory.GetCamEmuDeviceCount() < index + 1)
            factory.SetCamEmuDeviceCount(index + 1);
        DeviceInfoList list;
        factory.CreateTl(DeviceClassCamEmu)->EnumerateDevices(list);
        for (const CDeviceInfo& info : list)
            if (info.GetSerialNumber() == QString("EMU-%1").arg(index, 4, 10, QChar('0')).toStdString())
                return factory.CreateDevice(info);
        return nullptr;
    }

    void setInt(CInstantCamera& camera, const char* name, int64_t value)
    {
        CIntegerPtr(camera.GetNodeMap()->GetNode(name))->SetValue(value);
    }
    void setFloat(CInstantCamera& camera, const char* name, double value)
    {
        CFloatPtr(camera.GetNodeMap()->GetNode(name))->SetValue(value);
    }
    void setEnum(CInstantCamera& camera, const char* name, const char* value)
    {
        CEnumerationPtr(camera.GetNodeMap()->GetNode(name))->FromString(value);
    }
    int64_t streamStatistic(CInstantCamera& camera, const char* name)
    {
        return CIntegerPtr(camera.GetStreamGrabberNodeMap()->GetNode(name))->GetValue();
    }

    // A small image, so that frames are cheap to make
    void smallImage(CInstantCamera& camera, int width = 64, int height = 32)
    {
        setInt(camera, "Width", width);
        setInt(camera, "Height", height);
    }

    class RecordingConfiguration : public CConfigurationEventHandler
    {
    public:
        void OnOpen(CInstantCamera&) override { record("OnOpen"); }
        void OnOpened(CInstantCamera&) override { record("OnOpened"); }
        void OnClose(CInstantCamera&) override { record("OnClose"); }
        void OnClosed(CInstantCamera&) override { record("OnClosed"); }
        void OnGrabStart(CInstantCamera&) override { record("OnGrabStart"); }
        void OnGrabStarted(CInstantCamera&) override { record("OnGrabStarted"); }
        void OnGrabStop(CInstantCamera&) override { record("OnGrabStop"); }
        void OnGrabStopped(CInstantCamera&) override { record("OnGrabStopped"); }
        void OnGrabError(CInstantCamera&, const char* message) override
        {
            record("OnGrabError");
            std::lock_guard<std::mutex> lock(m_mutex);
            lastError = message;
        }
        void OnCameraDeviceRemoved(CInstantCamera&) override
        {
            record("OnCameraDeviceRemoved");
            ++removedCalls;
        }
        void OnAttach(CInstantCamera&) override { record("OnAttach"); }
        void OnAttached(CInstantCamera&) override { record("OnAttached"); }
        void OnDestroy(CInstantCamera&) override { record("OnDestroy"); }
        void OnDestroyed(CInstantCamera&) override { record("OnDestroyed"); }

        QStringList events() const
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            return m_events;
        }
        std::thread::id threadOf(const QString& event) const
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            auto it = m_threads.find(event);
            return it == m_threads.end() ? std::thread::id() : it->second;
        }
        bool has(const QString& event) const { return events().contains(event); }

        std::atomic<int> removedCalls{ 0 };
        std::string lastError;

    private:
        void record(const char* event)
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_events << event;
            m_threads[event] = std::this_thread::get_id();
        }
        mutable std::mutex m_mutex;
        QStringList m_events;
        std::map<QString, std::thread::id> m_threads;
    };

    class CountingImageHandler : public CImageEventHandler
    {
    public:
        void OnImageGrabbed(CInstantCamera& camera, const CGrabResultPtr& result) override
        {
            {
                std::lock_guard<std::mutex> lock(mutex);
                thread = std::this_thread::get_id();
                if (result.GrabSucceeded())
                    timestamps.push_back(result.GetTimeStamp());
                else
                    ++failed;
            }
            ++images;
            if (hook)
                hook(camera, result);
        }
        void OnImagesSkipped(CInstantCamera&, size_t count) override { skipped += static_cast<int>(count); }

        std::vector<uint64_t> stamps()
        {
            std::lock_guard<std::mutex> lock(mutex);
            return timestamps;
        }

        std::mutex mutex;
        std::thread::id thread;
        std::vector<uint64_t> timestamps;
        std::atomic<int> images{ 0 };
        std::atomic<int> failed{ 0 };
        std::atomic<int> skipped{ 0 };
        std::function<void(CInstantCamera&, const CGrabResultPtr&)> hook;
    };

    //! Frames per second from the device's own timestamps of consecutive frames
    double rateFromTimestamps(const std::vector<uint64_t>& stamps, size_t count, double ticksPerSecond)
    {
        if (stamps.size() < count || count < 2)
            return -1.0;
        const double span = double(stamps[count - 1] - stamps[0]) / ticksPerSecond;
        return span > 0.0 ? (count - 1) / span : -1.0;
    }

    long residentKilobytes()
    {
        std::ifstream status("/proc/self/status");
        std::string line;
        while (std::getline(status, line))
            if (line.rfind("VmRSS:", 0) == 0)
                return std::stol(line.substr(6));
        return -1;
    }

    int threadCount()
    {
        std::ifstream status("/proc/self/status");
        std::string line;
        while (std::getline(status, line))
            if (line.rfind("Threads:", 0) == 0)
                return std::stoi(line.substr(8));
        return -1;
    }

    class DestructionCountingHandler : public CImageEventHandler
    {
    public:
        explicit DestructionCountingHandler(std::atomic<int>& counter) : m_counter(counter) {}
        ~DestructionCountingHandler() override { ++m_counter; }

    private:
        std::atomic<int>& m_counter;
    };

    class RecordingCameraEventHandler : public CCameraEventHandler
    {
    public:
        void OnCameraEvent(CInstantCamera&, intptr_t userProvidedId, INode* node) override
        {
            std::lock_guard<std::mutex> lock(mutex);
            ids.push_back(userProvidedId);
            nodes << (node ? node->GetName().c_str() : "");
        }
        std::mutex mutex;
        std::vector<intptr_t> ids;
        QStringList nodes;
    };
}

class tst_InstantCamera : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void attachOpenAndDeviceInfo();
    void eventOrderOfOpenGrabAndClose();
    void handlersRunOnTheRightThreads();
    void grabOfHundredFramesAtSetRate();
    void throughputLimitLowersDeliveredRate();
    void interPacketDelayLowersDeliveredRate();
    void softwareTriggerProducesOneFrameEach();
    void unplugDuringGrabReportsRemovalOnceWithoutHang();
    void unplugWhileIdleMakesStartGrabbingFail();
    void openCloseTwoHundredTimesWithoutLeak();
    void stopGrabbingFromImageHandler();
    void closeFromImageHandler();
    void destroyCameraFromImageHandler();
    void stopGrabbingFromOtherThreadWhileHandlerRuns();
    void closeFromOtherThreadWhileHandlerRuns();
    void destroyFromOtherThreadWhileHandlerRuns();
    void closeFromRemovalHandlerDuringGrab();
    void destroyFromRemovalHandlerDuringGrab();
    void registrationModesReplaceOrAppend();
    void cleanupDeleteMakesCameraDeleteHandler();
    void registrationCountsFollowRegistrations();
    void cameraEventHandlerFiresOnFrameRateChange();
    void optionalCameraEventNodeMayBeMissing();
    void mandatoryCameraEventNodeMissingMakesOpenFail();
    void userLoopRetrieveResultAndTimeout();
    void retrieveResultWithoutGrabbing();
    void latestImageOnlyStrategySkipsOlderImages();
    void bufferReturnsToStreamWhenLastResultGoes();
    void failedBuffersAreDeliveredAsFailedResults();
    void grabResultDescribesTheImage();
    void emptyGrabResultPtrThrows();
    void grabOneReturnsOneImage();
    void maxImagesEndsGrabByItself();
    void startGrabbingTwiceThrows();
    void cameraContextRoundTrip();
    void cameraLockIsRecursive();
    void deviceOpenedByOwnerStaysOpenAfterCamera();
    void detachGivesTheDeviceBack();
};

void tst_InstantCamera::initTestCase()
{
    CTlFactory::GetInstance().SetCamEmuDeviceCount(2);
}

void tst_InstantCamera::cleanup()
{
    CTlFactory::GetInstance().SetCamEmuDeviceUnplugged("EMU-0000", false);
    CTlFactory::GetInstance().SetCamEmuDeviceUnplugged("EMU-0001", false);
}

void tst_InstantCamera::attachOpenAndDeviceInfo()
{
    CInstantCamera camera;
    QVERIFY(!camera.IsAttached());
    QVERIFY(camera.GetNodeMap() == nullptr);
    QCOMPARE(QString(camera.GetDeviceInfo().GetFullName().c_str()), QString());
    QVERIFY_EXCEPTION_THROWN(camera.Open(), GenICam::RuntimeException);
    camera.Attach(createEmulated(0));
    QVERIFY(camera.IsAttached());
    QVERIFY(camera.HasOwnership());
    QVERIFY(camera.IsCamEmu());
    QVERIFY(!camera.IsGigE());
    QCOMPARE(QString(camera.GetDeviceInfo().GetSerialNumber().c_str()), QString("EMU-0000"));
    QVERIFY(!camera.IsOpen());
    camera.Open();
    QVERIFY(camera.IsOpen());
    QVERIFY(camera.GetNodeMap());
    QVERIFY(camera.GetTLNodeMap());
    QVERIFY(camera.GetStreamGrabberNodeMap());
    QVERIFY(camera.GetStreamGrabberNodeMap()->GetNode("MaxNumBuffer"));
    camera.Close();
    QVERIFY(!camera.IsOpen());
    QVERIFY(camera.GetNodeMap() == nullptr);
    QVERIFY(camera.GetStreamGrabberNodeMap() == nullptr);
}

void tst_InstantCamera::eventOrderOfOpenGrabAndClose()
{
    RecordingConfiguration configuration;
    CountingImageHandler images;
    {
        CInstantCamera camera;
        camera.RegisterConfiguration(&configuration, RegistrationMode_ReplaceAll, Cleanup_None);
        camera.RegisterImageEventHandler(&images, RegistrationMode_ReplaceAll, Cleanup_None);
        camera.Attach(createEmulated(0));
        camera.Open();
        smallImage(camera);
        camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
        QTRY_VERIFY(images.images.load() >= 3);
        camera.StopGrabbing();
        QVERIFY(!camera.IsGrabbing());
        camera.Close();
        QCOMPARE(configuration.events(), QStringList({ "OnAttach", "OnAttached", "OnOpen", "OnOpened", "OnGrabStart",
                                                       "OnGrabStarted", "OnGrabStop", "OnGrabStopped", "OnClose", "OnClosed" }));
    }
    // The destructor calls no handler: derived classes are gone by then.
    QCOMPARE(configuration.events().size(), 10);
    QCOMPARE(configuration.DebugGetEventHandlerRegistrationCount(), 0L);
}

void tst_InstantCamera::handlersRunOnTheRightThreads()
{
    RecordingConfiguration configuration;
    CountingImageHandler images;
    CInstantCamera camera(createEmulated(0));
    camera.RegisterConfiguration(&configuration, RegistrationMode_ReplaceAll, Cleanup_None);
    camera.RegisterImageEventHandler(&images, RegistrationMode_ReplaceAll, Cleanup_None);
    camera.Open();
    smallImage(camera);
    camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
    QTRY_VERIFY(images.images.load() >= 3);
    const std::thread::id self = std::this_thread::get_id();
    const std::thread::id grabThread = images.thread;
    // Removal while the grab thread still runs, so that thread ids cannot be reused meanwhile.
    QVERIFY(CTlFactory::GetInstance().SetCamEmuDeviceUnplugged("EMU-0000", true));
    QTRY_COMPARE(configuration.removedCalls.load(), 1);
    const std::thread::id monitor = configuration.threadOf("OnCameraDeviceRemoved");
    QVERIFY(camera.IsGrabbing());
    camera.StopGrabbing();

    QVERIFY(grabThread != std::thread::id());
    QVERIFY(grabThread != self);
    QVERIFY(configuration.threadOf("OnOpen") == self);
    QVERIFY(configuration.threadOf("OnGrabStart") == grabThread);
    QVERIFY(configuration.threadOf("OnGrabStarted") == grabThread);
    QVERIFY(configuration.threadOf("OnGrabStop") == grabThread);
    QVERIFY(configuration.threadOf("OnGrabStopped") == grabThread);
    QVERIFY(monitor != self);
    QVERIFY(monitor != grabThread);
}

void tst_InstantCamera::grabOfHundredFramesAtSetRate()
{
    CountingImageHandler images;
    CInstantCamera camera(createEmulated(0));
    camera.RegisterImageEventHandler(&images, RegistrationMode_ReplaceAll, Cleanup_None);
    camera.Open();
    smallImage(camera, 160, 120);
    setFloat(camera, "ExposureTime", 1000.0);
    setFloat(camera, "AcquisitionFrameRate", 50.0);
    CBooleanPtr(camera.GetNodeMap()->GetNode("AcquisitionFrameRateEnable"))->SetValue(true);
    QCOMPARE(CFloatPtr(camera.GetNodeMap()->GetNode("ResultingFrameRate"))->GetValue(), 50.0);
    camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
    QTRY_VERIFY_WITH_TIMEOUT(images.stamps().size() >= 100, 20000);
    camera.StopGrabbing();
    const double rate = rateFromTimestamps(images.stamps(), 100, 1e9);
    QVERIFY2(std::fabs(rate - 50.0) <= 50.0 * 0.05, qPrintable(QString("measured %1 fps").arg(rate)));
    QCOMPARE(images.failed.load(), 0);
    QCOMPARE(streamStatistic(camera, "Statistic_Buffer_Underrun_Count"), int64_t(0));
}

void tst_InstantCamera::throughputLimitLowersDeliveredRate()
{
    CountingImageHandler images;
    CInstantCamera camera(createEmulated(0));
    camera.RegisterImageEventHandler(&images, RegistrationMode_ReplaceAll, Cleanup_None);
    camera.Open();
    CBooleanPtr(camera.GetTLNodeMap()->GetNode("FrameGeneratorEnable"))->SetValue(false);
    smallImage(camera, 640, 480);
    setFloat(camera, "ExposureTime", 5000.0);
    const double payload = 640.0 * 480.0;

    camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
    QTRY_VERIFY_WITH_TIMEOUT(images.stamps().size() >= 40, 20000);
    camera.StopGrabbing();
    const double unlimited = rateFromTimestamps(images.stamps(), 40, 1e9);
    QVERIFY2(std::fabs(unlimited - 200.0) <= 10.0, qPrintable(QString("unlimited %1 fps").arg(unlimited)));

    setEnum(camera, "DeviceLinkThroughputLimitMode", "On");
    setInt(camera, "DeviceLinkThroughputLimit", static_cast<int64_t>(payload * 100.0));
    images.timestamps.clear();
    camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
    QTRY_VERIFY_WITH_TIMEOUT(images.stamps().size() >= 40, 20000);
    camera.StopGrabbing();
    const double limited = rateFromTimestamps(images.stamps(), 40, 1e9);
    QVERIFY2(std::fabs(limited - 100.0) <= 5.0, qPrintable(QString("limited %1 fps").arg(limited)));
    QVERIFY(payload * limited <= payload * 100.0 * 1.05);
}

void tst_InstantCamera::interPacketDelayLowersDeliveredRate()
{
    CountingImageHandler images;
    CInstantCamera camera(createEmulated(1));
    QVERIFY(camera.GetDeviceInfo().GetModelName() == "Emulation GigE");
    camera.RegisterImageEventHandler(&images, RegistrationMode_ReplaceAll, Cleanup_None);
    camera.Open();
    CBooleanPtr(camera.GetTLNodeMap()->GetNode("FrameGeneratorEnable"))->SetValue(false);
    smallImage(camera, 640, 480);
    setFloat(camera, "ExposureTime", 5000.0);
    const double ticks = double(CIntegerPtr(camera.GetNodeMap()->GetNode("GevTimestampTickFrequency"))->GetValue());

    camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
    QTRY_VERIFY_WITH_TIMEOUT(images.stamps().size() >= 40, 20000);
    camera.StopGrabbing();
    const double unlimited = rateFromTimestamps(images.stamps(), 40, ticks);
    QVERIFY2(std::fabs(unlimited - 200.0) <= 10.0, qPrintable(QString("unlimited %1 fps").arg(unlimited)));

    setInt(camera, "GevSCPD", 5000); // 40 us after each packet
    const double expected = CFloatPtr(camera.GetNodeMap()->GetNode("ResultingFrameRate"))->GetValue();
    QVERIFY(expected < 100.0);
    images.timestamps.clear();
    camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
    QTRY_VERIFY_WITH_TIMEOUT(images.stamps().size() >= 30, 20000);
    camera.StopGrabbing();
    const double delayed = rateFromTimestamps(images.stamps(), 30, ticks);
    QVERIFY2(std::fabs(delayed - expected) <= expected * 0.05, qPrintable(QString("delayed %1 fps, expected %2").arg(delayed).arg(expected)));
    QVERIFY(delayed < unlimited);
}

void tst_InstantCamera::softwareTriggerProducesOneFrameEach()
{
    CInstantCamera camera(createEmulated(0));
    camera.Open();
    smallImage(camera);
    setEnum(camera, "TriggerSelector", "FrameStart");
    setEnum(camera, "TriggerMode", "On");
    setEnum(camera, "TriggerSource", "Software");
    camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByUser);
    CGrabResultPtr result;
    QVERIFY(!camera.RetrieveResult(200, result, TimeoutHandling_Return));
    uint64_t lastBlock = 0;
    for (int i = 0; i < 3; ++i)
    {
        camera.ExecuteSoftwareTrigger();
        QVERIFY(camera.RetrieveResult(2000, result, TimeoutHandling_Return));
        QVERIFY(result.GrabSucceeded());
        QVERIFY(result.GetBlockID() > lastBlock);
        lastBlock = result.GetBlockID();
        QVERIFY(!camera.RetrieveResult(100, result, TimeoutHandling_Return));
    }
    camera.StopGrabbing();
    QCOMPARE(streamStatistic(camera, "Statistic_Total_Buffer_Count"), int64_t(3));
}

void tst_InstantCamera::unplugDuringGrabReportsRemovalOnceWithoutHang()
{
    RecordingConfiguration configuration;
    CountingImageHandler images;
    {
        CInstantCamera camera(createEmulated(0));
        camera.RegisterConfiguration(&configuration, RegistrationMode_ReplaceAll, Cleanup_None);
        camera.RegisterImageEventHandler(&images, RegistrationMode_ReplaceAll, Cleanup_None);
        camera.Open();
        smallImage(camera);
        camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
        QTRY_VERIFY(images.images.load() >= 3);
        QVERIFY(CTlFactory::GetInstance().SetCamEmuDeviceUnplugged("EMU-0000", true));
        QTRY_COMPARE(configuration.removedCalls.load(), 1);
        QVERIFY(camera.IsCameraDeviceRemoved());
        QTRY_VERIFY(configuration.has("OnGrabError"));
        QVERIFY(QString(configuration.lastError.c_str()).contains("removed"));
        const int seen = images.images.load();
        QTest::qWait(100);
        QCOMPARE(images.images.load(), seen);
        camera.StopGrabbing();
        QVERIFY(!camera.IsGrabbing());
        camera.Close();
    }
    QCOMPARE(configuration.removedCalls.load(), 1);
    QVERIFY(configuration.has("OnGrabStopped"));
}

void tst_InstantCamera::unplugWhileIdleMakesStartGrabbingFail()
{
    CInstantCamera camera(createEmulated(0));
    camera.Open();
    CTlFactory::GetInstance().SetCamEmuDeviceUnplugged("EMU-0000", true);
    QTRY_VERIFY(camera.IsCameraDeviceRemoved());
    QVERIFY_EXCEPTION_THROWN(camera.StartGrabbing(), GenICam::RuntimeException);
    QVERIFY(!camera.IsGrabbing());
}

void tst_InstantCamera::openCloseTwoHundredTimesWithoutLeak()
{
    CInstantCamera camera(createEmulated(0));
    // Warm up allocator pools and the process-wide threads first.
    for (int i = 0; i < 20; ++i)
    {
        camera.Open();
        camera.Close();
    }
    const long rssBefore = residentKilobytes();
    const int threadsBefore = threadCount();
    for (int i = 0; i < 200; ++i)
    {
        camera.Open();
        QVERIFY(camera.GetNodeMap()->GetNode("Width"));
        camera.Close();
    }
    const long rssAfter = residentKilobytes();
    QCOMPARE(threadCount(), threadsBefore);
    QVERIFY2(rssAfter - rssBefore < 4096, qPrintable(QString("resident memory grew by %1 kB").arg(rssAfter - rssBefore)));
}

void tst_InstantCamera::stopGrabbingFromImageHandler()
{
    CountingImageHandler images;
    CInstantCamera camera(createEmulated(0));
    images.hook = [](CInstantCamera& c, const CGrabResultPtr&) { c.StopGrabbing(); };
    camera.RegisterImageEventHandler(&images, RegistrationMode_ReplaceAll, Cleanup_None);
    camera.Open();
    smallImage(camera);
    camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
    QTRY_VERIFY(!camera.IsGrabbing());
    QCOMPARE(images.images.load(), 1);
    // A new grab collects the finished thread and runs again.
    images.hook = nullptr;
    camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
    QTRY_VERIFY(images.images.load() >= 3);
    camera.StopGrabbing();
}

void tst_InstantCamera::closeFromImageHandler()
{
    RecordingConfiguration configuration;
    CountingImageHandler images;
    CInstantCamera camera(createEmulated(0));
    images.hook = [](CInstantCamera& c, const CGrabResultPtr&) { c.Close(); };
    camera.RegisterConfiguration(&configuration, RegistrationMode_ReplaceAll, Cleanup_None);
    camera.RegisterImageEventHandler(&images, RegistrationMode_ReplaceAll, Cleanup_None);
    camera.Open();
    smallImage(camera);
    camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
    QTRY_VERIFY(!camera.IsGrabbing());
    QVERIFY(!camera.IsOpen());
    QCOMPARE(images.images.load(), 1);
    QVERIFY(configuration.has("OnClosed"));
    images.hook = nullptr;
    camera.Open();
    QVERIFY(camera.IsOpen());
}

void tst_InstantCamera::destroyCameraFromImageHandler()
{
    CountingImageHandler images;
    std::atomic<bool> deleted{ false };
    auto* camera = new CInstantCamera(createEmulated(0));
    images.hook = [&](CInstantCamera& c, const CGrabResultPtr&) {
        if (!deleted.exchange(true))
            delete &c;
    };
    camera->RegisterImageEventHandler(&images, RegistrationMode_ReplaceAll, Cleanup_None);
    camera->Open();
    smallImage(*camera);
    camera->StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
    QTRY_VERIFY(deleted.load());
    QTRY_COMPARE(images.DebugGetEventHandlerRegistrationCount(), 0L);
    QTest::qWait(50);
    QCOMPARE(images.images.load(), 1);
    // The camera let go of the emulated camera: another object may open it.
    IVorloDevice* device = createEmulated(0);
    device->Open();
    QVERIFY(device->IsOpen());
    CTlFactory::GetInstance().DestroyDevice(device);
}

namespace
{
    // Makes the image handler wait inside its call until the test lets it go.
    struct Gate
    {
        std::mutex mutex;
        std::condition_variable changed;
        bool entered = false;
        bool open = false;
        std::atomic<bool> handlerReturned{ false };
        void enterAndWait()
        {
            std::unique_lock<std::mutex> lock(mutex);
            entered = true;
            changed.notify_all();
            changed.wait(lock, [this] { return open; });
        }
        void release()
        {
            std::lock_guard<std::mutex> lock(mutex);
            open = true;
            changed.notify_all();
        }
        bool hasEntered()
        {
            std::lock_guard<std::mutex> lock(mutex);
            return entered;
        }
    };

    // Runs an operation on another thread while the handler is held inside its call, and checks
    // that the operation returns only after the handler did.
    void runWhileHandlerRuns(const std::function<void(CInstantCamera*&)>& operation, bool destroys)
    {
        Gate gate;
        CountingImageHandler images;
        images.hook = [&gate](CInstantCamera&, const CGrabResultPtr&) {
            if (!gate.hasEntered())
            {
                gate.enterAndWait();
                gate.handlerReturned = true;
            }
        };
        CInstantCamera* camera = new CInstantCamera(createEmulated(0));
        camera->RegisterImageEventHandler(&images, RegistrationMode_ReplaceAll, Cleanup_None);
        camera->Open();
        smallImage(*camera);
        camera->StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
        QTRY_VERIFY(gate.hasEntered());
        std::atomic<bool> operationReturned{ false };
        std::atomic<bool> returnedBeforeHandler{ false };
        std::thread other([&] {
            operation(camera);
            if (!gate.handlerReturned.load())
                returnedBeforeHandler = true;
            operationReturned = true;
        });
        // The operation must wait for the handler; let the handler go once it had time to try.
        QTest::qWait(50);
        QVERIFY(!operationReturned.load());
        gate.release();
        QTRY_VERIFY(operationReturned.load());
        other.join();
        QVERIFY(!returnedBeforeHandler.load());
        if (!destroys)
        {
            QVERIFY(!camera->IsGrabbing());
            delete camera;
        }
        QCOMPARE(images.DebugGetEventHandlerRegistrationCount(), 0L);
    }
}

void tst_InstantCamera::stopGrabbingFromOtherThreadWhileHandlerRuns()
{
    runWhileHandlerRuns([](CInstantCamera*& c) { c->StopGrabbing(); }, false);
}

void tst_InstantCamera::closeFromOtherThreadWhileHandlerRuns()
{
    runWhileHandlerRuns([](CInstantCamera*& c) { c->Close(); }, false);
}

void tst_InstantCamera::destroyFromOtherThreadWhileHandlerRuns()
{
    runWhileHandlerRuns([](CInstantCamera*& c) {
        delete c;
        c = nullptr;
    }, true);
}

namespace
{
    // Runs an action of the camera from inside OnCameraDeviceRemoved, on the removal monitor thread.
    class ActingRemovalHandler : public CConfigurationEventHandler
    {
    public:
        void OnCameraDeviceRemoved(CInstantCamera& camera) override
        {
            if (action)
                action(camera);
            ++calls;
        }
        std::function<void(CInstantCamera&)> action;
        std::atomic<int> calls{ 0 };
    };
}

void tst_InstantCamera::closeFromRemovalHandlerDuringGrab()
{
    ActingRemovalHandler removal;
    CountingImageHandler images;
    CInstantCamera camera(createEmulated(0));
    removal.action = [](CInstantCamera& c) { c.Close(); };
    camera.RegisterConfiguration(&removal, RegistrationMode_ReplaceAll, Cleanup_None);
    camera.RegisterImageEventHandler(&images, RegistrationMode_ReplaceAll, Cleanup_None);
    camera.Open();
    smallImage(camera);
    camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
    QTRY_VERIFY(images.images.load() >= 2);
    CTlFactory::GetInstance().SetCamEmuDeviceUnplugged("EMU-0000", true);
    QTRY_COMPARE(removal.calls.load(), 1);
    QVERIFY(!camera.IsGrabbing());
    QVERIFY(!camera.IsOpen());
}

void tst_InstantCamera::destroyFromRemovalHandlerDuringGrab()
{
    ActingRemovalHandler removal;
    CountingImageHandler images;
    auto* camera = new CInstantCamera(createEmulated(0));
    removal.action = [](CInstantCamera& c) { delete &c; };
    camera->RegisterConfiguration(&removal, RegistrationMode_ReplaceAll, Cleanup_None);
    camera->RegisterImageEventHandler(&images, RegistrationMode_ReplaceAll, Cleanup_None);
    camera->Open();
    smallImage(*camera);
    camera->StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
    QTRY_VERIFY(images.images.load() >= 2);
    CTlFactory::GetInstance().SetCamEmuDeviceUnplugged("EMU-0000", true);
    QTRY_COMPARE(removal.calls.load(), 1);
    QCOMPARE(removal.DebugGetEventHandlerRegistrationCount(), 0L);
    QCOMPARE(images.DebugGetEventHandlerRegistrationCount(), 0L);
    // The emulated camera is free for a new object once it is back.
    CTlFactory::GetInstance().SetCamEmuDeviceUnplugged("EMU-0000", false);
    IVorloDevice* device = createEmulated(0);
    device->Open();
    QVERIFY(device->IsOpen());
    CTlFactory::GetInstance().DestroyDevice(device);
}

void tst_InstantCamera::registrationModesReplaceOrAppend()
{
    CountingImageHandler a, b, c;
    CInstantCamera camera(createEmulated(0));
    camera.RegisterImageEventHandler(&a, RegistrationMode_Append, Cleanup_None);
    camera.RegisterImageEventHandler(&b, RegistrationMode_Append, Cleanup_None);
    QCOMPARE(a.DebugGetEventHandlerRegistrationCount(), 1L);
    QCOMPARE(b.DebugGetEventHandlerRegistrationCount(), 1L);
    camera.RegisterImageEventHandler(&c, RegistrationMode_ReplaceAll, Cleanup_None);
    QCOMPARE(a.DebugGetEventHandlerRegistrationCount(), 0L);
    QCOMPARE(b.DebugGetEventHandlerRegistrationCount(), 0L);
    QCOMPARE(c.DebugGetEventHandlerRegistrationCount(), 1L);
    camera.RegisterImageEventHandler(&a, RegistrationMode_Append, Cleanup_None);
    camera.Open();
    smallImage(camera);
    camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
    QTRY_VERIFY(a.images.load() >= 2 && c.images.load() >= 2);
    camera.StopGrabbing();
    QCOMPARE(b.images.load(), 0);
    QVERIFY(camera.DeregisterImageEventHandler(&a));
    QVERIFY(!camera.DeregisterImageEventHandler(&a));
    QCOMPARE(a.DebugGetEventHandlerRegistrationCount(), 0L);
}

void tst_InstantCamera::cleanupDeleteMakesCameraDeleteHandler()
{
    std::atomic<int> destroyed{ 0 };
    {
        CInstantCamera camera;
        camera.RegisterImageEventHandler(new DestructionCountingHandler(destroyed), RegistrationMode_Append, Cleanup_Delete);
        camera.RegisterImageEventHandler(new DestructionCountingHandler(destroyed), RegistrationMode_Append, Cleanup_Delete);
        camera.RegisterImageEventHandler(new DestructionCountingHandler(destroyed), RegistrationMode_ReplaceAll, Cleanup_Delete);
        QCOMPARE(destroyed.load(), 2);
    }
    QCOMPARE(destroyed.load(), 3);
    DestructionCountingHandler kept(destroyed);
    {
        CInstantCamera camera;
        camera.RegisterImageEventHandler(&kept, RegistrationMode_Append, Cleanup_None);
    }
    QCOMPARE(destroyed.load(), 3);
    QCOMPARE(kept.DebugGetEventHandlerRegistrationCount(), 0L);
}

void tst_InstantCamera::registrationCountsFollowRegistrations()
{
    RecordingConfiguration configuration;
    CInstantCamera first;
    CInstantCamera second;
    first.RegisterConfiguration(&configuration, RegistrationMode_Append, Cleanup_None);
    second.RegisterConfiguration(&configuration, RegistrationMode_Append, Cleanup_None);
    QCOMPARE(configuration.DebugGetEventHandlerRegistrationCount(), 2L);
    QVERIFY(first.DeregisterConfiguration(&configuration));
    QCOMPARE(configuration.DebugGetEventHandlerRegistrationCount(), 1L);
    second.RegisterConfiguration(nullptr, RegistrationMode_ReplaceAll, Cleanup_None);
    QCOMPARE(configuration.DebugGetEventHandlerRegistrationCount(), 0L);
}

void tst_InstantCamera::cameraEventHandlerFiresOnFrameRateChange()
{
    RecordingCameraEventHandler handler;
    CInstantCamera camera(createEmulated(0));
    camera.RegisterCameraEventHandler(&handler, "ResultingFrameRate", 7, RegistrationMode_ReplaceAll, Cleanup_None,
                                      CameraEventAvailability_Optional);
    camera.RegisterCameraEventHandler(&handler, "ResultingFrameRateAbs", 8, RegistrationMode_Append, Cleanup_None,
                                      CameraEventAvailability_Optional);
    QCOMPARE(handler.DebugGetEventHandlerRegistrationCount(), 2L);
    camera.Open();
    setFloat(camera, "ExposureTime", 3000.0);
    {
        std::lock_guard<std::mutex> lock(handler.mutex);
        QVERIFY(!handler.ids.empty());
        QCOMPARE(handler.ids.front(), intptr_t(7));
        QCOMPARE(handler.nodes.front(), QString("ResultingFrameRate"));
    }
    camera.Close();
    const size_t seen = handler.ids.size();
    camera.Open();
    setFloat(camera, "ExposureTime", 4000.0);
    QVERIFY(handler.ids.size() > seen);
    QVERIFY(camera.DeregisterCameraEventHandler(&handler, "ResultingFrameRate"));
    const size_t afterDeregistration = handler.ids.size();
    setFloat(camera, "ExposureTime", 5000.0);
    QCOMPARE(handler.ids.size(), afterDeregistration);
    QVERIFY(camera.DeregisterCameraEventHandler(&handler, "ResultingFrameRateAbs"));
}

void tst_InstantCamera::optionalCameraEventNodeMayBeMissing()
{
    RecordingCameraEventHandler handler;
    CInstantCamera camera(createEmulated(0));
    camera.Open();
    camera.RegisterCameraEventHandler(&handler, "NoSuchNode", 1, RegistrationMode_ReplaceAll, Cleanup_None,
                                      CameraEventAvailability_Optional);
    QCOMPARE(handler.DebugGetEventHandlerRegistrationCount(), 1L);
    QVERIFY_EXCEPTION_THROWN(camera.RegisterCameraEventHandler(&handler, "NoSuchNode", 2, RegistrationMode_Append, Cleanup_None,
                                                               CameraEventAvailability_Mandatory),
                             GenICam::RuntimeException);
    QCOMPARE(handler.DebugGetEventHandlerRegistrationCount(), 1L);
    camera.RegisterCameraEventHandler(nullptr, "", 0, RegistrationMode_ReplaceAll, Cleanup_None);
    QCOMPARE(handler.DebugGetEventHandlerRegistrationCount(), 0L);
}

void tst_InstantCamera::mandatoryCameraEventNodeMissingMakesOpenFail()
{
    RecordingCameraEventHandler handler;
    CInstantCamera camera(createEmulated(0));
    camera.RegisterCameraEventHandler(&handler, "NoSuchNode", 1, RegistrationMode_ReplaceAll, Cleanup_None,
                                      CameraEventAvailability_Mandatory);
    QVERIFY_EXCEPTION_THROWN(camera.Open(), GenICam::RuntimeException);
    QVERIFY(!camera.IsOpen());
    QVERIFY(camera.DeregisterCameraEventHandler(&handler, "NoSuchNode"));
    camera.Open();
    QVERIFY(camera.IsOpen());
}

void tst_InstantCamera::userLoopRetrieveResultAndTimeout()
{
    CountingImageHandler images;
    CInstantCamera camera(createEmulated(0));
    camera.RegisterImageEventHandler(&images, RegistrationMode_ReplaceAll, Cleanup_None);
    camera.Open();
    smallImage(camera);
    camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByUser);
    CGrabResultPtr result;
    for (int i = 0; i < 5; ++i)
    {
        QVERIFY(camera.RetrieveResult(2000, result));
        QVERIFY(result.GrabSucceeded());
    }
    QVERIFY(images.images.load() >= 5);
    QVERIFY(images.thread == std::this_thread::get_id());
    camera.StopGrabbing();
    // Triggered and never triggered: nothing arrives.
    setEnum(camera, "TriggerMode", "On");
    camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByUser);
    QVERIFY(!camera.RetrieveResult(50, result, TimeoutHandling_Return));
    QVERIFY(!result.IsValid());
    QVERIFY_EXCEPTION_THROWN(camera.RetrieveResult(50, result, TimeoutHandling_ThrowException), GenICam::TimeoutException);
    camera.StopGrabbing();
}

void tst_InstantCamera::retrieveResultWithoutGrabbing()
{
    CInstantCamera camera(createEmulated(0));
    camera.Open();
    CGrabResultPtr result;
    QVERIFY(!camera.RetrieveResult(10, result, TimeoutHandling_Return));
    QVERIFY_EXCEPTION_THROWN(camera.RetrieveResult(10, result, TimeoutHandling_ThrowException), GenICam::RuntimeException);
    camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
    QVERIFY_EXCEPTION_THROWN(camera.RetrieveResult(10, result, TimeoutHandling_Return), GenICam::RuntimeException);
    camera.StopGrabbing();
}

void tst_InstantCamera::latestImageOnlyStrategySkipsOlderImages()
{
    CountingImageHandler images;
    CInstantCamera camera(createEmulated(0));
    camera.RegisterImageEventHandler(&images, RegistrationMode_ReplaceAll, Cleanup_None);
    camera.Open();
    smallImage(camera);
    setFloat(camera, "ExposureTime", 2000.0);
    camera.StartGrabbing(GrabStrategy_LatestImageOnly, GrabLoop_ProvidedByUser);
    QTRY_VERIFY(streamStatistic(camera, "Statistic_Total_Buffer_Count") >= 4);
    CGrabResultPtr result;
    QVERIFY(camera.RetrieveResult(1000, result));
    QVERIFY(result.GetNumberOfSkippedImages() >= 3);
    QCOMPARE(images.skipped.load(), int(result.GetNumberOfSkippedImages()));
    QCOMPARE(images.images.load(), 1);
    camera.StopGrabbing();
}

void tst_InstantCamera::bufferReturnsToStreamWhenLastResultGoes()
{
    CInstantCamera camera(createEmulated(0));
    camera.Open();
    smallImage(camera);
    setFloat(camera, "ExposureTime", 2000.0);
    CIntegerPtr(camera.GetStreamGrabberNodeMap()->GetNode("MaxNumBuffer"))->SetValue(2);
    camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByUser);
    CGrabResultPtr first, second;
    QVERIFY(camera.RetrieveResult(1000, first));
    QVERIFY(camera.RetrieveResult(1000, second));
    CGrabResultPtr copy = first;
    QCOMPARE(first.UseCount(), 2L);
    // Both buffers are held: the camera's frames find no buffer.
    QTRY_VERIFY(streamStatistic(camera, "Statistic_Buffer_Underrun_Count") >= 2);
    first.Release();
    second.Release();
    QTRY_VERIFY(streamStatistic(camera, "Statistic_Buffer_Underrun_Count") >= 3);
    copy.Release();
    CGrabResultPtr next;
    QVERIFY(camera.RetrieveResult(1000, next));
    QVERIFY(next.GrabSucceeded());
    camera.StopGrabbing();
    // A result outlives the stream it came from.
    QVERIFY(next.GetBuffer() != nullptr);
    QCOMPARE(next.GetWidth(), 64u);
}

void tst_InstantCamera::failedBuffersAreDeliveredAsFailedResults()
{
    CInstantCamera camera(createEmulated(0));
    camera.Open();
    smallImage(camera);
    setFloat(camera, "ExposureTime", 2000.0);
    CIntegerPtr(camera.GetTLNodeMap()->GetNode("ForceFailedBufferCount"))->SetValue(2);
    camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByUser);
    int failed = 0;
    int succeeded = 0;
    CGrabResultPtr result;
    for (int i = 0; i < 10; ++i)
    {
        QVERIFY(camera.RetrieveResult(1000, result));
        if (result.GrabSucceeded())
            ++succeeded;
        else
        {
            ++failed;
            QVERIFY(result.GetErrorCode() != 0);
            QVERIFY(!result.GetErrorDescription().empty());
            QCOMPARE(result.GetBlockID() % 2, uint64_t(0));
        }
    }
    QCOMPARE(failed, 5);
    QCOMPARE(succeeded, 5);
    camera.StopGrabbing();
    QCOMPARE(streamStatistic(camera, "Statistic_Failed_Buffer_Count"), int64_t(5));
}

void tst_InstantCamera::grabResultDescribesTheImage()
{
    CInstantCamera camera(createEmulated(0));
    camera.Open();
    smallImage(camera, 96, 40);
    setInt(camera, "OffsetX", 32);
    setEnum(camera, "PixelFormat", "Mono16");
    camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByUser);
    CGrabResultPtr a, b;
    QVERIFY(camera.RetrieveResult(1000, a));
    QVERIFY(camera.RetrieveResult(1000, b));
    camera.StopGrabbing();
    QCOMPARE(a.GetWidth(), 96u);
    QCOMPARE(a.GetHeight(), 40u);
    QCOMPARE(a.GetOffsetX(), 32u);
    QCOMPARE(a.GetPixelType(), PixelType_Mono16);
    QCOMPARE(a.GetPayloadSize(), size_t(96 * 40 * 2));
    QVERIFY(a.GetBufferSize() >= a.GetPayloadSize());
    QVERIFY(b.GetBlockID() == a.GetBlockID() + 1);
    QVERIFY(b.GetTimeStamp() > a.GetTimeStamp());
    // The test pattern moves from one frame to the next.
    QVERIFY(std::memcmp(a.GetBuffer(), b.GetBuffer(), a.GetPayloadSize()) != 0);
}

void tst_InstantCamera::emptyGrabResultPtrThrows()
{
    CGrabResultPtr empty;
    QVERIFY(!empty.IsValid());
    QVERIFY(!empty);
    QVERIFY_EXCEPTION_THROWN(empty.GrabSucceeded(), GenICam::LogicalErrorException);
    QVERIFY_EXCEPTION_THROWN(empty.GetPayloadSize(), GenICam::LogicalErrorException);
}

void tst_InstantCamera::grabOneReturnsOneImage()
{
    CInstantCamera camera(createEmulated(0));
    camera.Open();
    smallImage(camera);
    CGrabResultPtr result;
    QVERIFY(camera.GrabOne(2000, result));
    QVERIFY(result.GrabSucceeded());
    QVERIFY(!camera.IsGrabbing());
}

void tst_InstantCamera::maxImagesEndsGrabByItself()
{
    CountingImageHandler images;
    CInstantCamera camera(createEmulated(0));
    camera.RegisterImageEventHandler(&images, RegistrationMode_ReplaceAll, Cleanup_None);
    camera.Open();
    smallImage(camera);
    setFloat(camera, "ExposureTime", 2000.0);
    camera.StartGrabbing(5, GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
    QTRY_VERIFY(!camera.IsGrabbing());
    QCOMPARE(images.images.load(), 5);
}

void tst_InstantCamera::startGrabbingTwiceThrows()
{
    CInstantCamera camera(createEmulated(0));
    camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
    QVERIFY(camera.IsOpen()); // opened by the start
    QVERIFY_EXCEPTION_THROWN(camera.StartGrabbing(), GenICam::RuntimeException);
    camera.StopGrabbing();
    camera.StopGrabbing(); // harmless the second time
    QVERIFY(!camera.IsGrabbing());
}

void tst_InstantCamera::cameraContextRoundTrip()
{
    CInstantCamera camera;
    QCOMPARE(camera.GetCameraContext(), intptr_t(0));
    camera.SetCameraContext(1);
    QCOMPARE(camera.GetCameraContext(), intptr_t(1));
}

void tst_InstantCamera::cameraLockIsRecursive()
{
    CInstantCamera camera;
    camera.GetLock().Lock();
    QVERIFY(camera.GetLock().TryLock());
    bool otherGotIt = true;
    std::thread other([&] { otherGotIt = camera.GetLock().TryLock(); });
    other.join();
    QVERIFY(!otherGotIt);
    camera.GetLock().Unlock();
    camera.GetLock().Unlock();
    std::thread again([&] {
        otherGotIt = camera.GetLock().TryLock();
        if (otherGotIt)
            camera.GetLock().Unlock();
    });
    again.join();
    QVERIFY(otherGotIt);
}

void tst_InstantCamera::deviceOpenedByOwnerStaysOpenAfterCamera()
{
    IVorloDevice* device = createEmulated(0);
    device->Open();
    {
        CInstantCamera camera;
        camera.Attach(device, Cleanup_None);
        QVERIFY(camera.IsOpen());
        smallImage(camera);
        CGrabResultPtr result;
        QVERIFY(camera.GrabOne(2000, result));
    }
    QVERIFY(device->IsOpen());
    QVERIFY(device->GetNodeMap()->GetNode("Width"));
    CTlFactory::GetInstance().DestroyDevice(device);
}

void tst_InstantCamera::detachGivesTheDeviceBack()
{
    RecordingConfiguration configuration;
    CInstantCamera camera(createEmulated(0));
    camera.RegisterConfiguration(&configuration, RegistrationMode_ReplaceAll, Cleanup_None);
    camera.Open();
    IVorloDevice* device = camera.DetachDevice();
    QVERIFY(device);
    QVERIFY(!device->IsOpen());
    QVERIFY(!camera.IsAttached());
    QVERIFY(configuration.has("OnClosed"));
    camera.Attach(device, Cleanup_Delete);
    camera.DestroyDevice();
    QVERIFY(!camera.IsAttached());
    QVERIFY(configuration.has("OnDestroyed"));
    QVERIFY(!CTlFactory::GetInstance().IsDeviceKnown(device));
}

QTEST_GUILESS_MAIN(tst_InstantCamera)
#include "tst_instantcamera.moc"
