// bench_grab: frames per second delivered to an image handler, and CPU time per frame.
//
//   bench_grab [seconds]     (default 5)
//
// 1. An emulated camera with a small payload, as fast as it can.
// 2. aravis's fake GigE Vision camera on 127.0.0.1, first through this SDK's GigE transport and
//    instant camera, then through plain aravis, with the same settings; the ratio of the two.
#include <arv.h>

#include <Vorlo/VorloIncludes.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <thread>
#include <vector>

using namespace Vorlo;

namespace
{
    // CPU time of the whole process, all threads (glibc's clock() counts them all)
    double processCpuSeconds()
    {
        return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
    }

    class Counter : public CImageEventHandler
    {
    public:
        void OnImageGrabbed(CInstantCamera&, const CGrabResultPtr& result) override
        {
            if (result.GrabSucceeded())
                ++succeeded;
            else
                ++failed;
        }
        std::atomic<long> succeeded{ 0 };
        std::atomic<long> failed{ 0 };
    };

    struct Figures
    {
        double fps = 0.0;
        double cpuPerFrameUs = 0.0;
        long frames = 0;
        long failed = 0;
    };

    //! Grabs on the camera's own loop for the given time, after a short warm-up
    Figures grabFor(CInstantCamera& camera, double seconds)
    {
        Counter counter;
        camera.RegisterImageEventHandler(&counter, RegistrationMode_ReplaceAll, Cleanup_None);
        camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        const long frames0 = counter.succeeded.load();
        const long failed0 = counter.failed.load();
        const double cpu0 = processCpuSeconds();
        const auto t0 = std::chrono::steady_clock::now();
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
        const long frames1 = counter.succeeded.load();
        const long failed1 = counter.failed.load();
        const double cpu1 = processCpuSeconds();
        const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
        camera.StopGrabbing();
        camera.DeregisterImageEventHandler(&counter);
        Figures f;
        f.frames = frames1 - frames0;
        f.failed = failed1 - failed0;
        f.fps = f.frames / elapsed;
        f.cpuPerFrameUs = f.frames ? (cpu1 - cpu0) / f.frames * 1e6 : 0.0;
        return f;
    }

    const int FakeWidth = 256;
    const int FakeHeight = 256;
    const double FakeRate = 1000.0; // the fake camera's fastest frame period is 1 ms

    Figures plainAravis(const char* deviceId, double seconds)
    {
        Figures f;
        GError* error = nullptr;
        ArvCamera* camera = arv_camera_new(deviceId, &error);
        if (!camera)
        {
            std::fprintf(stderr, "plain aravis: cannot open %s: %s\n", deviceId, error ? error->message : "?");
            return f;
        }
        arv_camera_set_region(camera, 0, 0, FakeWidth, FakeHeight, nullptr);
        arv_camera_set_frame_rate(camera, FakeRate, nullptr);
        const gint payload = arv_camera_get_payload(camera, nullptr);
        ArvStream* stream = arv_camera_create_stream(camera, nullptr, nullptr, &error);
        if (!stream)
        {
            std::fprintf(stderr, "plain aravis: no stream: %s\n", error ? error->message : "?");
            g_object_unref(camera);
            return f;
        }
        for (int i = 0; i < 10; ++i)
            arv_stream_push_buffer(stream, arv_buffer_new_allocate(payload));
        arv_camera_start_acquisition(camera, nullptr);

        auto runFor = [&](double s, long& ok, long& bad) {
            const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(s);
            while (std::chrono::steady_clock::now() < end)
            {
                ArvBuffer* buffer = arv_stream_timeout_pop_buffer(stream, 100000);
                if (!buffer)
                    continue;
                if (arv_buffer_get_status(buffer) == ARV_BUFFER_STATUS_SUCCESS)
                    ++ok;
                else
                    ++bad;
                arv_stream_push_buffer(stream, buffer);
            }
        };
        long ok = 0, bad = 0;
        runFor(0.5, ok, bad);
        ok = bad = 0;
        const double cpu0 = processCpuSeconds();
        const auto t0 = std::chrono::steady_clock::now();
        runFor(seconds, ok, bad);
        const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
        const double cpu1 = processCpuSeconds();
        arv_camera_stop_acquisition(camera, nullptr);
        g_object_unref(stream);
        g_object_unref(camera);
        f.frames = ok;
        f.failed = bad;
        f.fps = ok / elapsed;
        f.cpuPerFrameUs = ok ? (cpu1 - cpu0) / ok * 1e6 : 0.0;
        return f;
    }
}

int main(int argc, char** argv)
{
    const double seconds = argc > 1 ? std::atof(argv[1]) : 5.0;
    std::printf("bench_grab: %.1f s per run\n\n", seconds);

    // 1. Emulated camera, smallest frames, shortest exposure: the rate is what the SDK delivers.
    {
        CTlFactory::GetInstance().SetCamEmuDeviceCount(1);
        DeviceInfoList list;
        CTlFactory::GetInstance().CreateTl(DeviceClassCamEmu)->EnumerateDevices(list);
        CInstantCamera camera(CTlFactory::GetInstance().CreateDevice(list.at(0)));
        camera.Open();
        GenApi::INodeMap* map = camera.GetNodeMap();
        GenApi::CIntegerPtr(map->GetNode("Width"))->SetValue(64);
        GenApi::CIntegerPtr(map->GetNode("Height"))->SetValue(16);
        GenApi::CFloatPtr exposure = map->GetNode("ExposureTime");
        exposure->SetValue(exposure->GetMin());
        const double resulting = GenApi::CFloatPtr(map->GetNode("ResultingFrameRate"))->GetValue();
        const Figures f = grabFor(camera, seconds);
        std::printf("emulated camera, 64 x 16 Mono8 (%lld bytes), resulting frame rate %.0f fps:\n",
                    static_cast<long long>(GenApi::CIntegerPtr(map->GetNode("PayloadSize"))->GetValue()), resulting);
        std::printf("  delivered to the handler: %.0f fps (%ld frames, %ld failed)\n", f.fps, f.frames, f.failed);
        std::printf("  CPU time per frame:       %.1f us (process, all threads)\n\n", f.cpuPerFrameUs);
    }

    // 2. aravis's fake GigE Vision camera on loopback.
    ArvGvFakeCamera* fake = arv_gv_fake_camera_new("127.0.0.1", "BENCH01");
    if (!fake || !arv_gv_fake_camera_is_running(fake))
    {
        std::printf("fake GigE Vision camera did not start; skipping the GigE figures\n");
        return 0;
    }
    CDeviceInfo found;
    bool have = false;
    {
        ITransportLayer* tl = CTlFactory::GetInstance().CreateTl(DeviceClassGigE);
        DeviceInfoList list;
        tl->EnumerateDevices(list);
        CTlFactory::GetInstance().ReleaseTl(tl);
        for (const CDeviceInfo& info : list)
            if (info.GetSerialNumber() == "BENCH01")
            {
                found = info;
                have = true;
            }
    }
    if (!have)
    {
        std::printf("fake GigE Vision camera not discovered; skipping the GigE figures\n");
        g_object_unref(fake);
        return 0;
    }
    gcstring arvId;
    found.GetPropertyValue("ArvDeviceId", arvId);

    // The fake camera makes its frames in this process, so the machine's load moves both
    // figures; the two ways take turns, and the medians are compared.
    const int rounds = 3;
    std::vector<double> oursFps, plainFps, oursCpu, plainCpu;
    for (int round = 0; round < rounds; ++round)
    {
        {
            CInstantCamera camera(CTlFactory::GetInstance().CreateDevice(found));
            camera.Open();
            GenApi::INodeMap* map = camera.GetNodeMap();
            GenApi::CIntegerPtr(map->GetNode("Width"))->SetValue(FakeWidth);
            GenApi::CIntegerPtr(map->GetNode("Height"))->SetValue(FakeHeight);
            GenApi::CFloatPtr(map->GetNode("AcquisitionFrameRate"))->SetValue(FakeRate);
            const Figures f = grabFor(camera, seconds);
            oursFps.push_back(f.fps);
            oursCpu.push_back(f.cpuPerFrameUs);
            std::printf("  round %d, this SDK:   %.1f fps (%ld frames, %ld failed), CPU %.1f us per frame\n", round + 1, f.fps,
                        f.frames, f.failed, f.cpuPerFrameUs);
        }
        const Figures p = plainAravis(arvId.c_str(), seconds);
        plainFps.push_back(p.fps);
        plainCpu.push_back(p.cpuPerFrameUs);
        std::printf("  round %d, plain aravis: %.1f fps (%ld frames, %ld failed), CPU %.1f us per frame\n", round + 1, p.fps,
                    p.frames, p.failed, p.cpuPerFrameUs);
    }
    auto median = [](std::vector<double> v) {
        std::sort(v.begin(), v.end());
        return v.empty() ? 0.0 : v[v.size() / 2];
    };
    std::printf("fake GigE Vision camera on 127.0.0.1, %d x %d Mono8, asked for %.0f fps, medians of %d rounds:\n", FakeWidth,
                FakeHeight, FakeRate, rounds);
    std::printf("  this SDK:     %.1f fps, CPU %.1f us per frame\n", median(oursFps), median(oursCpu));
    std::printf("  plain aravis: %.1f fps, CPU %.1f us per frame\n", median(plainFps), median(plainCpu));
    if (median(plainFps) > 0.0)
        std::printf("  ratio SDK / aravis: %.3f frames per second (target: at least 0.95), %.3f CPU per frame\n",
                    median(oursFps) / median(plainFps), median(plainCpu) > 0.0 ? median(oursCpu) / median(plainCpu) : 0.0);
    g_object_unref(fake);
    return 0;
}
