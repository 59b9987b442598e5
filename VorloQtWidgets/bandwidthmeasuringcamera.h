#pragma once
// A camera that counts its own traffic while it grabs, and the set that owns all cameras under
// measurement.

#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <Vorlo/VorloIncludes.h>
#include <VorloQtBase/fpsstatistic.h>

#include <QDateTime>

#include <atomic>
#include <cstdint>
#include <vector>

// One snapshot of what a camera could send and what actually arrived. An fps below zero means
// that nothing is measured yet.
struct VORLOQTWIDGETS_EXPORT BandwidthSample
{
    int64_t images = 0;
    int64_t errors = 0;
    double fps = -1.0;
    double fpsMax = 0.0;
    uint64_t bytesPerSecond = 0;
    uint64_t bytesPerSecondMax = 0;
    bool deviceRemoved = false;
    bool grabError = false;
    QDateTime grabStartTime;
    int64_t bandwidthLimit = -1;
};

// An instant camera that is its own image, configuration and camera event handler. The grab loop
// thread feeds the statistic and the counters; the GUI thread reads them through GetSample().
// Both sides meet under the camera's own recursive lock (GetLock()).
class VORLOQTWIDGETS_EXPORT CBandwidthMeasuringCamera
    : public Vorlo::CImageEventHandler
    , public Vorlo::CConfigurationEventHandler
    , public Vorlo::CCameraEventHandler
    , public Vorlo::CInstantCamera
{
public:
    CBandwidthMeasuringCamera();
    ~CBandwidthMeasuringCamera() override;

    // Image event handler
    void OnImageGrabbed(Vorlo::CInstantCamera& camera, const Vorlo::CGrabResultPtr& grabResult) override;

    // Configuration event handler
    void OnGrabStart(Vorlo::CInstantCamera& camera) override;
    void OnGrabStarted(Vorlo::CInstantCamera& camera) override;
    void OnGrabStop(Vorlo::CInstantCamera& camera) override;
    void OnGrabError(Vorlo::CInstantCamera& camera, const char* errorMessage) override;
    void OnCameraDeviceRemoved(Vorlo::CInstantCamera& camera) override;

    // Camera event handler
    void OnCameraEvent(Vorlo::CInstantCamera& camera, intptr_t userProvidedId, GenApi::INode* pNode) override;

    BandwidthSample GetSample();
    double GetFpsMax();
    uint64_t GetBytesPerSecondMax();
    int64_t GetBandwidthLimitValue();
    bool IsTriggerModeOn();
    bool IsSoftwareTiggerActive();

    // Registers the handlers on the camera itself (steps shared by every way of making one).
    void registerOwnHandlers();

    FpsStatistic m_fpsStatistic;
    bool m_bGrabStarted;
    int64_t m_imageCount;
    int64_t m_errorCount;
    double m_fpsMax;
    uint64_t m_bytesPerSecondMax;
    // Set by handlers on the removal monitor thread, the grab loop thread or whatever thread
    // changed a node, without the camera lock: atomic, so that the store needs none.
    std::atomic<bool> m_bDeviceRemoved;
    std::atomic<bool> m_bGrabError;
    std::atomic<bool> m_bFrameRateChanged;
    QDateTime m_grabStartTime;
    int64_t m_lastLostFrameCount;
    GenApi::CPointer<GenApi::IInteger> m_lostFrameCounter;
    int64_t m_bandwidthLimit;

private:
    // Walks the trigger selector's entries; with software, also TriggerSource must be "Software".
    bool findTriggerOn(bool software);
};

// Owner of all cameras under measurement, and the flag that says whether measuring is on.
class VORLOQTWIDGETS_EXPORT CBandwidthMeasuringCameraSet
{
public:
    CBandwidthMeasuringCameraSet();
    ~CBandwidthMeasuringCameraSet();
    CBandwidthMeasuringCameraSet(const CBandwidthMeasuringCameraSet&) = delete;
    CBandwidthMeasuringCameraSet& operator=(const CBandwidthMeasuringCameraSet&) = delete;

    // Creates the device through the factory, opens it and appends the camera. Exceptions pass
    // through after the half-built camera has been deleted.
    CBandwidthMeasuringCamera* AddDevice(const Vorlo::CDeviceInfo& deviceInfo);
    // Builds a camera on a device that the application manages (not destroyed by the camera).
    CBandwidthMeasuringCamera* AddManagedDevice(Vorlo::IVorloDevice* pDevice);
    // Closes (when the set made the device), erases and deletes; does nothing for a stranger.
    void RemoveDevice(CBandwidthMeasuringCamera* pCamera);

    bool m_bMeasuring;
    std::vector<CBandwidthMeasuringCamera*> m_cameras; // owned

private:
    CBandwidthMeasuringCamera* addCamera(Vorlo::IVorloDevice* pDevice, bool created);
};

// The device is fit for measuring: not removed, and its stream grabber has "MaxNumBuffer".
// Takes the camera lock for the test.
VORLOQTWIDGETS_EXPORT bool isBandwidthCameraReadyToGrab(CBandwidthMeasuringCamera* pCamera);
// Starts the camera's own grab loop and marks it started, with its limit unknown.
VORLOQTWIDGETS_EXPORT void startBandwidthCameraGrabbing(CBandwidthMeasuringCamera* pCamera);
