#include "bandwidthmeasuringcamera.h"

#include <VorloQtBase/exceptionhandling.h>

#include <algorithm>
#include <exception>

namespace {

const unsigned StatisticWindowSize = 50;

// Scoped hold of a camera's recursive lock; released on every way out, exceptions included.
class CameraLockHolder
{
public:
    explicit CameraLockHolder(const Vorlo::CInstantCamera& camera)
        : m_lock(camera.GetLock())
    {
        m_lock.Lock();
    }
    ~CameraLockHolder() { m_lock.Unlock(); }
    CameraLockHolder(const CameraLockHolder&) = delete;
    CameraLockHolder& operator=(const CameraLockHolder&) = delete;

private:
    GenApi::CLock& m_lock;
};

template<class Ptr>
bool isReadableNode(const Ptr& ptr)
{
    return ptr.IsValid() && GenApi::IsReadable(ptr->GetAccessMode());
}

} // namespace

CBandwidthMeasuringCamera::CBandwidthMeasuringCamera()
    : m_fpsStatistic(StatisticWindowSize)
    , m_bGrabStarted(false)
    , m_imageCount(0)
    , m_errorCount(0)
    , m_fpsMax(0.0)
    , m_bytesPerSecondMax(0)
    , m_bDeviceRemoved(false)
    , m_bGrabError(false)
    , m_bFrameRateChanged(false)
    , m_lastLostFrameCount(0)
    , m_bandwidthLimit(-1)
{
}

CBandwidthMeasuringCamera::~CBandwidthMeasuringCamera()
{
    // The grab loop calls OnImageGrabbed on this object; it has to end while the statistic and
    // the counters still exist, before the base class would stop it.
    VorloQtBase::guarded("~CBandwidthMeasuringCamera", QStringLiteral("Failed to stop grabbing"),
                         [this] { StopGrabbing(); });
}

void CBandwidthMeasuringCamera::registerOwnHandlers()
{
    RegisterConfiguration(this, Vorlo::RegistrationMode_ReplaceAll, Vorlo::Cleanup_None);
    RegisterImageEventHandler(this, Vorlo::RegistrationMode_ReplaceAll, Vorlo::Cleanup_None);
    // Camera models name their frame rate node differently; both stay registered.
    RegisterCameraEventHandler(this, "ResultingFrameRate", 0, Vorlo::RegistrationMode_ReplaceAll,
                               Vorlo::Cleanup_None, Vorlo::CameraEventAvailability_Optional);
    RegisterCameraEventHandler(this, "ResultingFrameRateAbs", 0, Vorlo::RegistrationMode_Append,
                               Vorlo::Cleanup_None, Vorlo::CameraEventAvailability_Optional);
}

void CBandwidthMeasuringCamera::OnImageGrabbed(Vorlo::CInstantCamera&, const Vorlo::CGrabResultPtr& grabResult)
{
    CameraLockHolder lock(*this);
    // A failed result still occupied the link, so its payload counts too.
    m_fpsStatistic.addSample(static_cast<unsigned long>(grabResult.GetPayloadSize()));
    ++m_imageCount;
    if (!grabResult.GrabSucceeded())
        ++m_errorCount;
}

void CBandwidthMeasuringCamera::OnGrabStart(Vorlo::CInstantCamera&)
{
    CameraLockHolder lock(*this);
    m_grabStartTime = QDateTime::currentDateTime();
    m_bGrabError = false;
    // Refreshes the maxima and settles the lost-frame counter before the images come.
    GetSample();
    GenApi::CEnumerationPtr acquisitionMode(GetNodeMap()->GetNode("AcquisitionMode"));
    acquisitionMode->FromString("Continuous", true);
}

void CBandwidthMeasuringCamera::OnGrabStarted(Vorlo::CInstantCamera&)
{
    // The counter pointer is read by GetSample on the GUI thread; a pointer store is not atomic,
    // so it is made under the camera lock.
    CameraLockHolder lock(*this);
    m_lastLostFrameCount = 0;
    GenApi::INodeMap* pStreamNodeMap = GetStreamGrabberNodeMap();
    if (!pStreamNodeMap)
        return;
    GenApi::CIntegerPtr counter(pStreamNodeMap->GetNode("Statistic_Buffer_Underrun_Count"));
    if (!counter.IsValid())
        counter = pStreamNodeMap->GetNode("Statistic_Missed_Frame_Count");
    m_lostFrameCounter = counter;
}

void CBandwidthMeasuringCamera::OnGrabStop(Vorlo::CInstantCamera&)
{
    CameraLockHolder lock(*this);
    m_lostFrameCounter.Release();
}

void CBandwidthMeasuringCamera::OnGrabError(Vorlo::CInstantCamera&, const char*)
{
    m_bGrabError = true;
}

void CBandwidthMeasuringCamera::OnCameraDeviceRemoved(Vorlo::CInstantCamera&)
{
    m_bDeviceRemoved = true;
}

void CBandwidthMeasuringCamera::OnCameraEvent(Vorlo::CInstantCamera&, intptr_t, GenApi::INode*)
{
    // Runs inside the node map's lock on whatever thread changed the rate: only a flag here,
    // the new rate is read by the next GetSample.
    m_bFrameRateChanged = true;
}

BandwidthSample CBandwidthMeasuringCamera::GetSample()
{
    CameraLockHolder lock(*this);
    BandwidthSample sample;

    if (!m_bDeviceRemoved) {
        if (!IsGrabbing()) {
            m_fpsMax = GetFpsMax();
            m_bytesPerSecondMax = GetBytesPerSecondMax();
        } else {
            if (m_bFrameRateChanged) {
                // The old rate must not linger in the window.
                m_fpsStatistic.removeAllButLastTwoSamples(nullptr);
                m_fpsMax = GetFpsMax();
                m_bFrameRateChanged = false;
            }
            m_bandwidthLimit = GetBandwidthLimitValue();
        }
    }

    int64_t delta = 0;
    if (isReadableNode(m_lostFrameCounter)) {
        const int64_t lost = m_lostFrameCounter->GetValue(false, false);
        const int64_t previous = m_lastLostFrameCount;
        m_lastLostFrameCount = lost;
        // A counter that fell (a device reset) only sets the new reference.
        delta = lost > previous ? lost - previous : 0;
    }
    // A lost frame is an image that should have come and an error at once.
    m_errorCount += delta;
    m_imageCount += delta;

    sample.images = m_imageCount;
    sample.errors = m_errorCount;
    unsigned long bytesPerSecond = 0;
    if (m_fpsStatistic.computeResult(&sample.fps, &bytesPerSecond)) {
        sample.bytesPerSecond = bytesPerSecond;
    } else {
        sample.fps = -1.0;
        sample.bytesPerSecond = 0;
    }
    sample.fpsMax = m_fpsMax;
    sample.bytesPerSecondMax = m_bytesPerSecondMax;
    sample.deviceRemoved = m_bDeviceRemoved;
    sample.grabError = m_bGrabError;
    sample.grabStartTime = m_grabStartTime;
    sample.bandwidthLimit = m_bandwidthLimit;
    return sample;
}

double CBandwidthMeasuringCamera::GetFpsMax()
{
    CameraLockHolder lock(*this);
    GenApi::INodeMap* pNodeMap = GetNodeMap();
    if (!pNodeMap)
        return 0.0;
    GenApi::CFloatPtr rate(pNodeMap->GetNode("ResultingFrameRate"));
    if (isReadableNode(rate))
        return rate->GetValue(false, false);
    rate = pNodeMap->GetNode("ResultingFrameRateAbs");
    if (isReadableNode(rate))
        return rate->GetValue(false, false);
    return 0.0;
}

uint64_t CBandwidthMeasuringCamera::GetBytesPerSecondMax()
{
    CameraLockHolder lock(*this);
    GenApi::INodeMap* pNodeMap = GetNodeMap();
    if (!pNodeMap)
        return 0;
    GenApi::CIntegerPtr payloadSize(pNodeMap->GetNode("PayloadSize"));
    if (!isReadableNode(payloadSize))
        return 0;
    const double bytesPerSecond = static_cast<double>(payloadSize->GetValue(false, false)) * GetFpsMax();
    if (!(bytesPerSecond > 0.0))
        return 0;
    // 2^64 itself does not fit; everything below keeps its full range.
    if (bytesPerSecond >= 18446744073709551616.0)
        return UINT64_MAX;
    return static_cast<uint64_t>(bytesPerSecond);
}

int64_t CBandwidthMeasuringCamera::GetBandwidthLimitValue()
{
    CameraLockHolder lock(*this);
    GenApi::INodeMap* pNodeMap = GetNodeMap();
    if (!pNodeMap)
        return -1;
    GenApi::CIntegerPtr limit(pNodeMap->GetNode("DeviceLinkThroughputLimit"));
    if (isReadableNode(limit))
        return limit->GetValue(false, false);
    return -1;
}

bool CBandwidthMeasuringCamera::findTriggerOn(bool software)
{
    CameraLockHolder lock(*this);
    if (m_bDeviceRemoved)
        return false;
    GenApi::INodeMap* pNodeMap = GetNodeMap();
    if (!pNodeMap)
        return false;
    GenApi::CEnumerationPtr selector(pNodeMap->GetNode("TriggerSelector"));
    GenApi::CEnumerationPtr mode(pNodeMap->GetNode("TriggerMode"));
    GenApi::CEnumerationPtr source;
    if (software)
        source = pNodeMap->GetNode("TriggerSource");
    if (!isReadableNode(selector))
        return false;

    const GenICam::gcstring savedEntry = selector->ToString(false, false);
    // Puts the selector back on every way out of the walk.
    struct SelectorRestorer
    {
        GenApi::CEnumerationPtr& selector;
        const GenICam::gcstring& entry;
        ~SelectorRestorer() noexcept(false)
        {
            if (!std::uncaught_exceptions())
                selector->FromString(entry, true);
            else
                VorloQtBase::guarded("IsTriggerModeOn", QStringLiteral("Failed to restore the trigger selector"),
                                     [this] { selector->FromString(entry, true); });
        }
    } restorer{selector, savedEntry};

    GenApi::NodeList_t entries;
    selector->GetEntries(entries);
    for (GenApi::INode* pEntryNode : entries) {
        GenApi::CEnumEntryPtr entry(pEntryNode);
        if (!entry.IsValid() || !GenApi::IsAvailable(entry->GetAccessMode()))
            continue;
        selector->SetIntValue(entry->GetValue(), true);
        if (!isReadableNode(mode))
            continue;
        const bool on = mode->ToString(false, false) == "On";
        if (!software) {
            if (on)
                return true;
            continue;
        }
        // An entry that is on with another source does not end the walk.
        if (on && isReadableNode(source) && source->ToString(false, false) == "Software")
            return true;
    }
    return false;
}

bool CBandwidthMeasuringCamera::IsTriggerModeOn()
{
    return findTriggerOn(false);
}

bool CBandwidthMeasuringCamera::IsSoftwareTiggerActive()
{
    return findTriggerOn(true);
}

bool isBandwidthCameraReadyToGrab(CBandwidthMeasuringCamera* pCamera)
{
    CameraLockHolder lock(*pCamera);
    if (pCamera->IsCameraDeviceRemoved() || pCamera->m_bDeviceRemoved)
        return false;
    GenApi::INodeMap* pStreamNodeMap = pCamera->GetStreamGrabberNodeMap();
    return pStreamNodeMap && pStreamNodeMap->GetNode("MaxNumBuffer") != nullptr;
}

void startBandwidthCameraGrabbing(CBandwidthMeasuringCamera* pCamera)
{
    pCamera->StartGrabbing(Vorlo::GrabStrategy_OneByOne, Vorlo::GrabLoop_ProvidedByInstantCamera);
    CameraLockHolder lock(*pCamera);
    pCamera->m_bGrabStarted = true;
    pCamera->m_bandwidthLimit = -1;
}

CBandwidthMeasuringCameraSet::CBandwidthMeasuringCameraSet()
    : m_bMeasuring(false)
{
}

CBandwidthMeasuringCameraSet::~CBandwidthMeasuringCameraSet()
{
    for (CBandwidthMeasuringCamera* pCamera : m_cameras)
        delete pCamera;
    m_cameras.clear();
}

CBandwidthMeasuringCamera* CBandwidthMeasuringCameraSet::addCamera(Vorlo::IVorloDevice* pDevice, bool created)
{
    CBandwidthMeasuringCamera* pCamera = new CBandwidthMeasuringCamera();
    try {
        pCamera->registerOwnHandlers();
        pCamera->Attach(pDevice, created ? Vorlo::Cleanup_Delete : Vorlo::Cleanup_None);
        pDevice = nullptr; // the camera has it now
        pCamera->SetCameraContext(created ? 1 : 0);
        pCamera->Open();
        m_cameras.push_back(pCamera);
    } catch (...) {
        delete pCamera;
        if (created && pDevice)
            Vorlo::CTlFactory::GetInstance().DestroyDevice(pDevice);
        throw;
    }
    return pCamera;
}

CBandwidthMeasuringCamera* CBandwidthMeasuringCameraSet::AddDevice(const Vorlo::CDeviceInfo& deviceInfo)
{
    Vorlo::IVorloDevice* pDevice = Vorlo::CTlFactory::GetInstance().CreateDevice(deviceInfo);
    return addCamera(pDevice, true);
}

CBandwidthMeasuringCamera* CBandwidthMeasuringCameraSet::AddManagedDevice(Vorlo::IVorloDevice* pDevice)
{
    return addCamera(pDevice, false);
}

void CBandwidthMeasuringCameraSet::RemoveDevice(CBandwidthMeasuringCamera* pCamera)
{
    auto it = std::find(m_cameras.begin(), m_cameras.end(), pCamera);
    if (it == m_cameras.end())
        return;
    if (pCamera->GetCameraContext() != 0)
        pCamera->Close();
    m_cameras.erase(it);
    delete pCamera;
}
