#pragma once

// One opened camera of the viewer: the SDK's instant camera with the viewer's image and
// configuration handlers. Frames arrive on the SDK's grab loop thread; they are turned into
// QImages there and handed to the GUI thread through queued calls, one at a time, so that a
// slow screen drops frames instead of piling them up.

#include <Vorlo/VorloIncludes.h>

#include <QImage>
#include <QObject>
#include <QString>

#include <atomic>

class LiveCamera : public QObject,
                   private Vorlo::CImageEventHandler,
                   private Vorlo::CConfigurationEventHandler
{
    Q_OBJECT

public:
    // Creates the device for the record and opens it; raises what the SDK raises.
    LiveCamera(const Vorlo::CDeviceInfo& info, QObject* parent = nullptr);
    ~LiveCamera() override;

    Vorlo::IVorloDevice* device() const;
    const Vorlo::CDeviceInfo& deviceInfo() const;
    GenApi::INodeMap* nodeMap();
    GenApi::INodeMap* transportLayerNodeMap();
    GenApi::INodeMap* streamGrabberNodeMap();

    void startContinuous();
    void grabFrames(size_t count);
    void stopGrabbing();
    bool isGrabbing() const;
    bool isRemoved() const;

    // Counters of this camera's frames since it was opened.
    quint64 framesGrabbed() const { return m_framesGrabbed.load(); }
    quint64 framesFailed() const { return m_framesFailed.load(); }

    // The picture of one grab result, or a null image for a pixel format the viewer cannot show.
    static QImage toImage(const Vorlo::CGrabResultPtr& result);
    static QString pixelFormatName(Vorlo::EPixelType pixelType);

signals:
    // count is the number of frames grabbed so far, this one included.
    void frameReady(const QImage& image, quint64 count, const QString& pixelFormat);
    void grabFailed(const QString& message);
    void grabbingStopped();
    void deviceRemoved();

private:
    void OnImageGrabbed(Vorlo::CInstantCamera& camera, const Vorlo::CGrabResultPtr& grabResult) override;
    void OnGrabStopped(Vorlo::CInstantCamera& camera) override;
    void OnCameraDeviceRemoved(Vorlo::CInstantCamera& camera) override;

    // The counters come first so that they outlive the camera and its grab loop thread.
    std::atomic<bool> m_framePending{false};
    std::atomic<quint64> m_framesGrabbed{0};
    std::atomic<quint64> m_framesFailed{0};
    Vorlo::CInstantCamera m_camera; // owns the device
};
