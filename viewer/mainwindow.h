#pragma once

// The viewer's main window. It owns the library's top widgets and joins them by signals: the
// device tree offers a device, the window opens it through the SDK and reports it back, hands
// its node maps to the feature tree, and shows its frames in the image view.

#include <Vorlo/VorloIncludes.h>

#include <QMainWindow>
#include <QPointer>
#include <QString>

#include <memory>

class BandwidthWindow;
class DeviceTreeWidget;
class FeatureTreeWidget;
class ImageView;
class LiveCamera;
class QAction;
class QLabel;
class QSplitter;
class QTextBrowser;

class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    DeviceTreeWidget* deviceTree() const { return m_deviceTree; }
    FeatureTreeWidget* featureTree() const { return m_featureTree; }
    ImageView* imageView() const { return m_imageView; }
    QTextBrowser* descriptionPane() const { return m_description; }
    // The bandwidth window once it has been opened, else null.
    BandwidthWindow* bandwidthWindow() const;
    LiveCamera* camera() const { return m_camera.get(); }
    // The display name of the open device, empty when none is open.
    QString openDeviceName() const;

    // When set, failures and questions go to the log instead of waiting for a person.
    void setUnattended(bool unattended);
    // Selects and opens the first device whose name matches as soon as a scan shows it.
    void openWhenFound(const QString& pattern);

public slots:
    void openCurrentDevice();
    void closeDevice();
    void singleShot();
    void startContinuous();
    void grabFrames(int count);
    void stopGrabbing();
    BandwidthWindow* showBandwidthWindow();
    void showIpConfiguration();
    void showAbout();

signals:
    void deviceOpened(const QString& name);
    void deviceClosed();

protected:
    void closeEvent(QCloseEvent* event) override;

private slots:
    void onCurrentDeviceChanged(const Vorlo::CDeviceInfo* info);
    void onCurrentNodeChanged(GenApi::INode* node);
    void onNewText(const QString& text);
    void onDeviceRemoved();
    void onGrabbingStopped();
    void onBandwidthMeasuringChanged(bool measuring);
    void updateActions();

private:
    void createActions();
    void restoreSettings();
    void saveSettings();
    void tearDownCamera(bool removed);
    void replaceFeatureTree();
    void rememberFeatureTreeSettings();
    void showMessage(const QString& title, const QString& text, bool warning);

    DeviceTreeWidget* m_deviceTree;    // owned (child)
    FeatureTreeWidget* m_featureTree = nullptr; // owned (child); replaced for each device
    QTextBrowser* m_description;       // owned (child)
    ImageView* m_imageView;            // owned (child)
    QSplitter* m_mainSplitter;         // owned (child)
    QSplitter* m_leftSplitter;         // owned (child)
    QSplitter* m_featureSplitter;      // owned (child)
    QLabel* m_frameStatus;             // owned (status bar)
    QPointer<BandwidthWindow> m_bandwidthWindow; // owned (child window), made on first use
    std::unique_ptr<LiveCamera> m_camera;
    std::unique_ptr<Vorlo::CDeviceInfo> m_currentInfo; // the device row that is current
    GenApi::EVisibility m_visibility = GenApi::Beginner;
    bool m_polling = true;
    QByteArray m_featureTreeState;
    bool m_unattended = false;

    QAction* m_actionOpen = nullptr;
    QAction* m_actionClose = nullptr;
    QAction* m_actionSingle = nullptr;
    QAction* m_actionContinuous = nullptr;
    QAction* m_actionStop = nullptr;
    QAction* m_actionBandwidth = nullptr;
    QAction* m_actionIp = nullptr;
    QAction* m_actionRefresh = nullptr;
    QAction* m_actionAbout = nullptr;
    QAction* m_actionQuit = nullptr;
};
