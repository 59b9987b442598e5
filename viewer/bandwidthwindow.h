#pragma once

// The bandwidth manager window: the library's bandwidth view with Start and Stop, a sample
// every 500 ms while measuring, and a log of what went wrong. Ticking a camera's box asks this
// window, which enables or disables the camera. Devices that the main window has open are given
// to the view as managed devices, so that they are measured through the same device object.

#include <Vorlo/VorloIncludes.h>

#include <QDateTime>
#include <QVector>
#include <QWidget>

class BandwidthTreeWidget;
class QLabel;
class QPlainTextEdit;
class QPushButton;
class QSplitter;
class QTimer;

class BandwidthWindow : public QWidget
{
    Q_OBJECT

public:
    explicit BandwidthWindow(QWidget* parent = nullptr);
    ~BandwidthWindow() override;

    BandwidthTreeWidget* treeWidget() const { return m_tree; }
    bool isMeasuring() const { return m_measuring; }
    // Samples taken since measuring last started.
    int sampleCount() const { return m_sampleCount; }
    // When set, questions are answered with their default instead of being asked.
    void setUnattended(bool unattended) { m_unattended = unattended; }
    QStringList logLines() const;

    // The devices the application keeps open; the view measures them without opening them again.
    void setManagedDevices(const QVector<Vorlo::IVorloDevice*>& devices);
    void releaseManagedDevice(Vorlo::IVorloDevice* device);

public slots:
    void refresh();
    bool startMeasuring();
    void stopMeasuring();
    // Ticks every camera row; the view asks back through cameraChecked as for a person's click.
    void checkAllCameras();

signals:
    // Before the cameras start: whoever grabs from a measured device stops now.
    void aboutToStartMeasuring();
    void measuringChanged(bool measuring);

protected:
    void closeEvent(QCloseEvent* event) override;

private slots:
    void onCameraChecked(size_t index, Vorlo::CInstantCamera* camera, Qt::CheckState state);
    void onErrorOccurred(const QString& deviceName, const QString& message, const QDateTime& time);
    void sample();

private:
    void appendLog(const QString& line);
    void fitCameraColumn();
    void updateControls();

    BandwidthTreeWidget* m_tree;  // owned (child)
    QPlainTextEdit* m_log;        // owned (child)
    QPushButton* m_startButton;   // owned (child)
    QPushButton* m_stopButton;    // owned (child)
    QPushButton* m_refreshButton; // owned (child)
    QLabel* m_status;             // owned (child)
    QSplitter* m_splitter;        // owned (child)
    QTimer* m_sampleTimer;        // owned (child)
    QVector<Vorlo::IVorloDevice*> m_managedDevices; // not owned: the main window's
    bool m_measuring = false;
    bool m_unattended = false;
    int m_sampleCount = 0;
};
