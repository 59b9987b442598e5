#pragma once

// A run of the viewer without a person: open a device, grab, measure the bandwidth, write
// screenshots and a report, quit. Each step waits for the previous one through a short poll,
// and a time limit ends the run whatever state it is in.

#include <QElapsedTimer>
#include <QObject>
#include <QString>

class MainWindow;
class QTimer;
class QWidget;

struct ScriptOptions
{
    QString openPattern;      // empty: open nothing
    int grabCount = -1;       // -1 nothing, 0 continuous, n frames
    bool bandwidth = false;
    int measureMs = 2000;
    QString screenshotFile;   // empty: no screenshot
    bool report = false;
    int quitAfterMs = -1;     // -1: no limit
    bool quitWhenDone = false;
};

class ScriptedRun : public QObject
{
    Q_OBJECT

public:
    ScriptedRun(MainWindow* window, const ScriptOptions& options, QObject* parent = nullptr);

    void start();
    // 0 when every step was done, 1 when the time limit ended the run first, 2 when a
    // screenshot could not be written.
    int exitCode() const { return m_exitCode; }

private slots:
    void step();
    void timeLimitReached();

private:
    enum class Stage
    {
        Opening,
        Grabbing,
        Measuring,
        Done
    };

    void finish(bool complete);
    void showSampleFeature();
    bool writeScreenshot(QWidget* widget, const QString& file);
    bool writeScreenshots();
    void printReport(bool complete) const;

    MainWindow* m_window; // not owned
    ScriptOptions m_options;
    QTimer* m_poll;       // owned (child)
    Stage m_stage = Stage::Opening;
    QElapsedTimer m_stageClock;
    bool m_finished = false;
    bool m_mainShotWritten = false;
    bool m_shotFailed = false;
    int m_exitCode = 0;
};
