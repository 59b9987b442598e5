#include "imageview.h"

#include <QFontMetrics>
#include <QPainter>
#include <QTimer>

namespace {
const qint64 RateWindowMs = 2000;
}

ImageView::ImageView(QWidget* parent)
    : QWidget(parent)
    , m_rateTimer(new QTimer(this))
{
    setObjectName(QStringLiteral("imageView"));
    setMinimumSize(160, 120);
    setAttribute(Qt::WA_OpaquePaintEvent);
    m_clock.start();
    m_rateTimer->setInterval(500);
    connect(m_rateTimer, &QTimer::timeout, this, &ImageView::updateFrameRate);
    m_rateTimer->start();
    m_message = tr("No camera open. Double-click a camera in the device list.");
}

ImageView::~ImageView() = default;

QSize ImageView::sizeHint() const
{
    return QSize(640, 480);
}

QString ImageView::statusText() const
{
    if (m_frameCount == 0)
        return m_message;
    return tr("%1 fps   frame %2   %3 x %4 %5")
        .arg(m_frameRate, 0, 'f', 1)
        .arg(m_frameCount)
        .arg(m_image.width())
        .arg(m_image.height())
        .arg(m_pixelFormat);
}

void ImageView::showFrame(const QImage& image, quint64 count, const QString& pixelFormat)
{
    if (!image.isNull())
        m_image = image;
    else
        m_message = tr("Pixel format %1 cannot be shown.").arg(pixelFormat);
    m_pixelFormat = pixelFormat;
    m_frameCount = count;
    ++m_framesShown;
    if (m_rateSamples.isEmpty())
        m_rateSamples.append({m_clock.elapsed(), count});
    update();
    emit statusChanged(statusText());
}

void ImageView::setMessage(const QString& message)
{
    m_message = message;
    update();
    emit statusChanged(statusText());
}

void ImageView::clear()
{
    m_image = QImage();
    m_pixelFormat.clear();
    m_frameCount = 0;
    m_framesShown = 0;
    m_frameRate = 0.0;
    m_rateSamples.clear();
    update();
    emit statusChanged(statusText());
}

void ImageView::updateFrameRate()
{
    const qint64 now = m_clock.elapsed();
    if (m_frameCount == 0)
        return;
    m_rateSamples.append({now, m_frameCount});
    while (m_rateSamples.size() > 2 && now - m_rateSamples.at(1).ms >= RateWindowMs)
        m_rateSamples.removeFirst();
    const RateSample& first = m_rateSamples.first();
    const double seconds = (now - first.ms) / 1000.0;
    const double rate = seconds > 0.0 ? (m_frameCount - first.count) / seconds : 0.0;
    if (!qFuzzyCompare(rate + 1.0, m_frameRate + 1.0)) {
        m_frameRate = rate;
        update();
        emit statusChanged(statusText());
    }
}

void ImageView::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.fillRect(rect(), QColor(0x20, 0x22, 0x26));
    if (m_image.isNull()) {
        p.setPen(QColor(0xc8, 0xcc, 0xd2));
        p.drawText(rect().adjusted(12, 12, -12, -12), Qt::AlignCenter | Qt::TextWordWrap, m_message);
        return;
    }
    const QSize scaled = m_image.size().scaled(size(), Qt::KeepAspectRatio);
    const QRect target(QPoint((width() - scaled.width()) / 2, (height() - scaled.height()) / 2), scaled);
    p.setRenderHint(QPainter::SmoothPixmapTransform, scaled.width() < m_image.width());
    p.drawImage(target, m_image);

    const QString text = statusText();
    const QFontMetrics metrics(font());
    const QRect box(8, height() - metrics.height() - 14, metrics.horizontalAdvance(text) + 16, metrics.height() + 8);
    p.fillRect(box, QColor(0, 0, 0, 150));
    p.setPen(Qt::white);
    p.drawText(box, Qt::AlignCenter, text);
}
