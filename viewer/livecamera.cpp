#include "livecamera.h"

#include <QMetaObject>

#include <algorithm>
#include <cstring>

namespace {

inline uchar clampToByte(int v)
{
    return static_cast<uchar>(std::min(255, std::max(0, v)));
}

QImage monoImage(const uchar* data, int width, int height, int bytesPerPixel, int shift)
{
    QImage image(width, height, QImage::Format_Grayscale8);
    for (int y = 0; y < height; ++y) {
        uchar* out = image.scanLine(y);
        if (bytesPerPixel == 1) {
            std::memcpy(out, data + static_cast<size_t>(y) * width, static_cast<size_t>(width));
            continue;
        }
        const uchar* in = data + static_cast<size_t>(y) * width * 2;
        for (int x = 0; x < width; ++x) {
            const unsigned value = unsigned(in[2 * x]) | (unsigned(in[2 * x + 1]) << 8);
            out[x] = clampToByte(static_cast<int>(value >> shift));
        }
    }
    return image;
}

// Bayer RG: each 2x2 cell gives its red, mean green and blue to all four of its pixels.
QImage bayerRgImage(const uchar* data, int width, int height)
{
    QImage image(width, height, QImage::Format_RGB888);
    for (int y = 0; y < height; ++y) {
        const int cellY = y & ~1;
        const uchar* row0 = data + static_cast<size_t>(cellY) * width;
        const uchar* row1 = cellY + 1 < height ? row0 + width : row0;
        uchar* out = image.scanLine(y);
        for (int x = 0; x < width; ++x) {
            const int cellX = x & ~1;
            const int nextX = cellX + 1 < width ? cellX + 1 : cellX;
            out[3 * x] = row0[cellX];
            out[3 * x + 1] = static_cast<uchar>((row0[nextX] + row1[cellX]) / 2);
            out[3 * x + 2] = row1[nextX];
        }
    }
    return image;
}

// YUV 4:2:2 packed in the order U Y V Y, with the coefficients of ITU-R BT.601.
QImage yuv422Image(const uchar* data, int width, int height)
{
    QImage image(width, height, QImage::Format_RGB888);
    for (int y = 0; y < height; ++y) {
        const uchar* in = data + static_cast<size_t>(y) * width * 2;
        uchar* out = image.scanLine(y);
        for (int x = 0; x < width; ++x) {
            const uchar* pair = in + (x & ~1) * 2;
            const int u = pair[0] - 128;
            const int v = pair[2] - 128;
            const int luma = in[2 * x + 1];
            out[3 * x] = clampToByte(luma + (1436 * v) / 1024);
            out[3 * x + 1] = clampToByte(luma - (352 * u + 731 * v) / 1024);
            out[3 * x + 2] = clampToByte(luma + (1815 * u) / 1024);
        }
    }
    return image;
}

} // namespace

LiveCamera::LiveCamera(const Vorlo::CDeviceInfo& info, QObject* parent)
    : QObject(parent)
{
    m_camera.Attach(Vorlo::CTlFactory::GetInstance().CreateDevice(info), Vorlo::Cleanup_Delete);
    m_camera.RegisterImageEventHandler(this, Vorlo::RegistrationMode_Append, Vorlo::Cleanup_None);
    m_camera.RegisterConfiguration(this, Vorlo::RegistrationMode_Append, Vorlo::Cleanup_None);
    try {
        m_camera.Open();
    } catch (...) {
        m_camera.DeregisterConfiguration(this);
        m_camera.DeregisterImageEventHandler(this);
        m_camera.DestroyDevice();
        throw;
    }
}

LiveCamera::~LiveCamera()
{
    // Stop the grab loop before the handlers go: it calls them until it has ended.
    m_camera.StopGrabbing();
    m_camera.Close();
    m_camera.DeregisterConfiguration(this);
    m_camera.DeregisterImageEventHandler(this);
    m_camera.DestroyDevice();
}

Vorlo::IVorloDevice* LiveCamera::device() const
{
    return m_camera.GetDevice();
}

const Vorlo::CDeviceInfo& LiveCamera::deviceInfo() const
{
    return m_camera.GetDeviceInfo();
}

GenApi::INodeMap* LiveCamera::nodeMap()
{
    return m_camera.GetNodeMap();
}

GenApi::INodeMap* LiveCamera::transportLayerNodeMap()
{
    return m_camera.GetTLNodeMap();
}

GenApi::INodeMap* LiveCamera::streamGrabberNodeMap()
{
    return m_camera.GetStreamGrabberNodeMap();
}

void LiveCamera::startContinuous()
{
    if (m_camera.IsGrabbing())
        return;
    m_camera.StartGrabbing(Vorlo::GrabStrategy_LatestImageOnly, Vorlo::GrabLoop_ProvidedByInstantCamera);
}

void LiveCamera::grabFrames(size_t count)
{
    if (m_camera.IsGrabbing())
        return;
    m_camera.StartGrabbing(count, Vorlo::GrabStrategy_OneByOne, Vorlo::GrabLoop_ProvidedByInstantCamera);
}

void LiveCamera::stopGrabbing()
{
    m_camera.StopGrabbing();
}

bool LiveCamera::isGrabbing() const
{
    return m_camera.IsGrabbing();
}

bool LiveCamera::isRemoved() const
{
    return m_camera.IsCameraDeviceRemoved();
}

QString LiveCamera::pixelFormatName(Vorlo::EPixelType pixelType)
{
    switch (pixelType) {
    case Vorlo::PixelType_Mono8: return QStringLiteral("Mono8");
    case Vorlo::PixelType_Mono10: return QStringLiteral("Mono10");
    case Vorlo::PixelType_Mono12: return QStringLiteral("Mono12");
    case Vorlo::PixelType_Mono16: return QStringLiteral("Mono16");
    case Vorlo::PixelType_BayerRG8: return QStringLiteral("BayerRG8");
    case Vorlo::PixelType_RGB8packed: return QStringLiteral("RGB8");
    case Vorlo::PixelType_YUV422packed: return QStringLiteral("YUV422");
    case Vorlo::PixelType_Undefined: break;
    }
    return QStringLiteral("0x%1").arg(static_cast<quint32>(pixelType), 8, 16, QLatin1Char('0'));
}

QImage LiveCamera::toImage(const Vorlo::CGrabResultPtr& result)
{
    const int width = static_cast<int>(result.GetWidth());
    const int height = static_cast<int>(result.GetHeight());
    const Vorlo::EPixelType type = result.GetPixelType();
    const auto* data = static_cast<const uchar*>(result.GetBuffer());
    if (width <= 0 || height <= 0 || !data)
        return QImage();
    size_t bytesPerPixel = 0;
    switch (type) {
    case Vorlo::PixelType_Mono8:
    case Vorlo::PixelType_BayerRG8: bytesPerPixel = 1; break;
    case Vorlo::PixelType_Mono10:
    case Vorlo::PixelType_Mono12:
    case Vorlo::PixelType_Mono16:
    case Vorlo::PixelType_YUV422packed: bytesPerPixel = 2; break;
    case Vorlo::PixelType_RGB8packed: bytesPerPixel = 3; break;
    case Vorlo::PixelType_Undefined: return QImage();
    }
    if (bytesPerPixel == 0 || result.GetPayloadSize() < static_cast<size_t>(width) * height * bytesPerPixel)
        return QImage();
    switch (type) {
    case Vorlo::PixelType_Mono8: return monoImage(data, width, height, 1, 0);
    case Vorlo::PixelType_Mono10: return monoImage(data, width, height, 2, 2);
    case Vorlo::PixelType_Mono12: return monoImage(data, width, height, 2, 4);
    case Vorlo::PixelType_Mono16: return monoImage(data, width, height, 2, 8);
    case Vorlo::PixelType_BayerRG8: return bayerRgImage(data, width, height);
    case Vorlo::PixelType_YUV422packed: return yuv422Image(data, width, height);
    case Vorlo::PixelType_RGB8packed: {
        QImage image(width, height, QImage::Format_RGB888);
        for (int y = 0; y < height; ++y)
            std::memcpy(image.scanLine(y), data + static_cast<size_t>(y) * width * 3, static_cast<size_t>(width) * 3);
        return image;
    }
    case Vorlo::PixelType_Undefined: break;
    }
    return QImage();
}

void LiveCamera::OnImageGrabbed(Vorlo::CInstantCamera&, const Vorlo::CGrabResultPtr& grabResult)
{
    if (!grabResult.IsValid())
        return;
    if (!grabResult.GrabSucceeded()) {
        ++m_framesFailed;
        const QString message = QStringLiteral("Frame %1 failed: %2 (0x%3)")
                                    .arg(grabResult.GetBlockID())
                                    .arg(QString::fromStdString(std::string(grabResult.GetErrorDescription().c_str())))
                                    .arg(grabResult.GetErrorCode(), 0, 16);
        QMetaObject::invokeMethod(this, [this, message] { emit grabFailed(message); }, Qt::QueuedConnection);
        return;
    }
    const quint64 count = ++m_framesGrabbed;
    // Only one frame travels to the GUI thread at a time; the ones in between are counted only.
    if (m_framePending.exchange(true))
        return;
    const QImage image = toImage(grabResult);
    const QString format = pixelFormatName(grabResult.GetPixelType());
    QMetaObject::invokeMethod(this, [this, image, count, format] {
        m_framePending = false;
        emit frameReady(image, count, format);
    }, Qt::QueuedConnection);
}

void LiveCamera::OnGrabStopped(Vorlo::CInstantCamera&)
{
    QMetaObject::invokeMethod(this, [this] { emit grabbingStopped(); }, Qt::QueuedConnection);
}

void LiveCamera::OnCameraDeviceRemoved(Vorlo::CInstantCamera&)
{
    QMetaObject::invokeMethod(this, [this] { emit deviceRemoved(); }, Qt::QueuedConnection);
}
