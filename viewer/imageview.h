#pragma once

// The live picture of the open camera: the newest frame scaled to fit, with the frame rate,
// the frame count, the size and the pixel format written over its lower edge.

#include <QElapsedTimer>
#include <QImage>
#include <QString>
#include <QVector>
#include <QWidget>

class QTimer;

class ImageView : public QWidget
{
    Q_OBJECT

public:
    explicit ImageView(QWidget* parent = nullptr);
    ~ImageView() override;

    QSize sizeHint() const override;

    const QImage& image() const { return m_image; }
    // Frames grabbed by the camera, as the newest frame reported; frames shown on screen.
    quint64 frameCount() const { return m_frameCount; }
    quint64 framesShown() const { return m_framesShown; }
    // Frames per second over the last two seconds; 0 when no frame came in that time.
    double frameRate() const { return m_frameRate; }
    QString statusText() const;

public slots:
    void showFrame(const QImage& image, quint64 count, const QString& pixelFormat);
    void setMessage(const QString& message);
    // Forgets the picture and the counters.
    void clear();

signals:
    void statusChanged(const QString& text);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void updateFrameRate();

    struct RateSample
    {
        qint64 ms;
        quint64 count;
    };

    QImage m_image;
    QString m_pixelFormat;
    QString m_message;
    quint64 m_frameCount = 0;
    quint64 m_framesShown = 0;
    double m_frameRate = 0.0;
    QElapsedTimer m_clock;
    QVector<RateSample> m_rateSamples;
    QTimer* m_rateTimer; // owned (child)
};
