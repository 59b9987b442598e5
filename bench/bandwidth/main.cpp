// bench_bandwidth: what measuring costs and how well it measures.
//
//   bench_bandwidth [seconds per rate]     (default 3; 10 fps always runs at least 7 s)
//
// 1. The cost of CBandwidthMeasuringCamera::OnImageGrabbed per image: the statistic and the
//    counters under the camera's lock, once without contention and once while another thread
//    asks for samples without pause.
// 2. The accuracy of the measured rates against an emulated camera's true rates at 10, 100 and
//    1000 frames per second: the camera's own grab loop feeds the statistic, GetSample() runs
//    every 200 ms as an application would call it, and the samples taken after the first full
//    window are compared with ResultingFrameRate and payload x rate.
#include <VorloQtWidgets/bandwidthmeasuringcamera.h>

#include <Vorlo/VorloIncludes.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

using Clock = std::chrono::steady_clock;

namespace {

Vorlo::CDeviceInfo emulatedCamera(unsigned index)
{
    Vorlo::CTlFactory& factory = Vorlo::CTlFactory::GetInstance();
    if (factory.GetCamEmuDeviceCount() < index + 1)
        factory.SetCamEmuDeviceCount(index + 1);
    Vorlo::DeviceInfoList list;
    Vorlo::ITransportLayer* tl = factory.CreateTl(Vorlo::DeviceClassCamEmu);
    tl->EnumerateDevices(list);
    factory.ReleaseTl(tl);
    return list.at(index);
}

void setInt(GenApi::INodeMap* map, const char* name, int64_t value)
{
    GenApi::CIntegerPtr(map->GetNode(name))->SetValue(value, true);
}

// One real grab result of a small image, taken with the user's own loop.
Vorlo::CGrabResultPtr grabOne(Vorlo::CInstantCamera& camera)
{
    Vorlo::CGrabResultPtr result;
    camera.GrabOne(5000, result, Vorlo::TimeoutHandling_ThrowException);
    return result;
}

double nanosecondsPerCall(CBandwidthMeasuringCamera& camera, const Vorlo::CGrabResultPtr& result, long calls)
{
    const auto start = Clock::now();
    for (long i = 0; i < calls; ++i)
        camera.OnImageGrabbed(camera, result);
    const auto end = Clock::now();
    return std::chrono::duration<double, std::nano>(end - start).count() / calls;
}

void handlerCost()
{
    CBandwidthMeasuringCameraSet set;
    CBandwidthMeasuringCamera* source = set.AddDevice(emulatedCamera(0));
    setInt(source->GetNodeMap(), "Width", 64);
    setInt(source->GetNodeMap(), "Height", 32);
    const Vorlo::CGrabResultPtr result = grabOne(*source);

    // A camera of its own, so that only the handler's work is timed.
    CBandwidthMeasuringCamera camera;
    const long calls = 2000000;
    nanosecondsPerCall(camera, result, calls / 10); // warm up
    const double alone = nanosecondsPerCall(camera, result, calls);

    std::atomic<bool> stop(false);
    std::atomic<long> samples(0);
    std::thread reader([&] {
        while (!stop.load()) {
            camera.GetSample();
            ++samples;
        }
    });
    const double contended = nanosecondsPerCall(camera, result, calls);
    stop = true;
    reader.join();

    std::printf("OnImageGrabbed per image (statistic window 50, %ld calls):\n", calls);
    std::printf("  uncontended:                       %8.1f ns\n", alone);
    std::printf("  while another thread samples:      %8.1f ns  (%ld samples taken meanwhile)\n", contended,
                samples.load());
    std::printf("  images counted: %lld, errors: %lld\n\n", static_cast<long long>(camera.GetSample().images),
                static_cast<long long>(camera.GetSample().errors));
}

struct Accuracy
{
    double targetFps = 0.0;
    double trueFps = 0.0;
    double payload = 0.0;
    int samplesCompared = 0;
    double meanFps = 0.0;
    double worstFpsError = 0.0;
    double meanBytes = 0.0;
    double worstBytesError = 0.0;
    double countedRate = 0.0;
};

Accuracy measureAt(double fps, double seconds)
{
    Accuracy a;
    a.targetFps = fps;
    CBandwidthMeasuringCameraSet set;
    CBandwidthMeasuringCamera* camera = set.AddDevice(emulatedCamera(0));
    GenApi::INodeMap* map = camera->GetNodeMap();
    setInt(map, "Width", 64);
    setInt(map, "Height", 32);
    setInt(map, "ExposureTimeRaw", 10); // 100 us: the frame rate control sets the pace
    GenApi::CBooleanPtr(map->GetNode("AcquisitionFrameRateEnable"))->SetValue(true, true);
    GenApi::CFloatPtr(map->GetNode("AcquisitionFrameRate"))->SetValue(fps, true);
    a.trueFps = GenApi::CFloatPtr(map->GetNode("ResultingFrameRate"))->GetValue(false, false);
    a.payload = double(GenApi::CIntegerPtr(map->GetNode("PayloadSize"))->GetValue(false, false));

    startBandwidthCameraGrabbing(camera);
    const auto start = Clock::now();
    // The first samples come before the window is full; they are not compared.
    const double settle = 50.0 / a.trueFps + 0.2;
    std::vector<BandwidthSample> samples;
    auto next = start;
    while (Clock::now() - start < std::chrono::duration<double>(seconds + settle)) {
        next += std::chrono::milliseconds(200);
        std::this_thread::sleep_until(next);
        const BandwidthSample s = camera->GetSample();
        if (Clock::now() - start >= std::chrono::duration<double>(settle) && s.fps > 0.0)
            samples.push_back(s);
    }
    const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    const BandwidthSample last = camera->GetSample();
    camera->StopGrabbing();

    a.countedRate = last.images / elapsed;
    a.samplesCompared = int(samples.size());
    const double trueBytes = a.payload * a.trueFps;
    for (const BandwidthSample& s : samples) {
        a.meanFps += s.fps;
        a.meanBytes += double(s.bytesPerSecond);
        a.worstFpsError = std::max(a.worstFpsError, std::fabs(s.fps - a.trueFps) / a.trueFps);
        a.worstBytesError = std::max(a.worstBytesError, std::fabs(double(s.bytesPerSecond) - trueBytes) / trueBytes);
    }
    if (!samples.empty()) {
        a.meanFps /= samples.size();
        a.meanBytes /= samples.size();
    }
    return a;
}

} // namespace

int main(int argc, char** argv)
{
    const double seconds = argc > 1 ? std::max(1.0, std::atof(argv[1])) : 3.0;

    handlerCost();

    std::printf("Measured against true rates (emulated camera, 64x32 Mono8, GetSample every 200 ms):\n");
    std::printf("%8s %10s %8s %12s %10s %14s %12s %12s\n", "target", "true fps", "samples", "mean fps",
                "worst err", "mean B/s", "worst err", "count/s");
    for (double fps : { 10.0, 100.0, 1000.0 }) {
        const Accuracy a = measureAt(fps, fps < 50.0 ? std::max(seconds, 2.0) : seconds);
        std::printf("%8.0f %10.2f %8d %12.2f %9.2f%% %14.0f %11.2f%% %12.2f\n", a.targetFps, a.trueFps,
                    a.samplesCompared, a.meanFps, a.worstFpsError * 100.0, a.meanBytes, a.worstBytesError * 100.0,
                    a.countedRate);
    }
    return 0;
}
