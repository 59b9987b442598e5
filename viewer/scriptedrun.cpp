#include "scriptedrun.h"

#include "bandwidthwindow.h"
#include "imageview.h"
#include "livecamera.h"
#include "mainwindow.h"

#include <VorloQtWidgets/bandwidthflattree.h>
#include <VorloQtWidgets/bandwidthtreewidget.h>
#include <VorloQtWidgets/featuretreewidget.h>

#include <QAbstractItemModel>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QTextBrowser>
#include <QTimer>
#include <QTreeView>

#include <cstdio>

namespace {

// Continuous grabbing runs this long before the next step, so that the frame rate settles.
const qint64 ContinuousSettleMs = 1500;

int countRows(const QAbstractItemModel* model, const QModelIndex& parent, int depth)
{
    int count = 0;
    const int rows = model->rowCount(parent);
    for (int row = 0; row < rows; ++row) {
        ++count;
        if (depth > 0)
            count += countRows(model, model->index(row, 0, parent), depth - 1);
    }
    return count;
}

QString withSuffix(const QString& file, const QString& suffix)
{
    const QFileInfo info(file);
    const QString ext = info.suffix().isEmpty() ? QStringLiteral("png") : info.suffix();
    return info.dir().filePath(info.completeBaseName() + suffix + QLatin1Char('.') + ext);
}

} // namespace

ScriptedRun::ScriptedRun(MainWindow* window, const ScriptOptions& options, QObject* parent)
    : QObject(parent)
    , m_window(window)
    , m_options(options)
    , m_poll(new QTimer(this))
{
    m_poll->setInterval(100);
    connect(m_poll, &QTimer::timeout, this, &ScriptedRun::step);
}

void ScriptedRun::start()
{
    if (!m_options.openPattern.isEmpty())
        m_window->openWhenFound(m_options.openPattern);
    if (m_options.quitAfterMs >= 0)
        QTimer::singleShot(m_options.quitAfterMs, this, &ScriptedRun::timeLimitReached);
    m_stage = m_options.openPattern.isEmpty() ? Stage::Done : Stage::Opening;
    m_stageClock.start();
    m_poll->start();
}

void ScriptedRun::step()
{
    switch (m_stage) {
    case Stage::Opening:
        if (!m_window->camera())
            return;
        if (!m_options.screenshotFile.isEmpty())
            showSampleFeature();
        if (m_options.grabCount == 0)
            m_window->startContinuous();
        else if (m_options.grabCount > 0)
            m_window->grabFrames(m_options.grabCount);
        m_stage = Stage::Grabbing;
        m_stageClock.restart();
        return;
    case Stage::Grabbing: {
        if (m_options.grabCount > 0 && m_window->imageView()->frameCount() < quint64(m_options.grabCount))
            return;
        if (m_options.grabCount == 0 && m_stageClock.elapsed() < ContinuousSettleMs)
            return;
        // The main window is pictured while it grabs; the measurement stops the live view.
        if (!m_options.screenshotFile.isEmpty()) {
            m_mainShotWritten = true;
            if (!writeScreenshot(m_window, m_options.screenshotFile))
                m_shotFailed = true;
        }
        if (m_options.bandwidth) {
            BandwidthWindow* bandwidth = m_window->showBandwidthWindow();
            bandwidth->checkAllCameras();
            bandwidth->startMeasuring();
        }
        m_stage = Stage::Measuring;
        m_stageClock.restart();
        return;
    }
    case Stage::Measuring:
        if (m_options.bandwidth && m_stageClock.elapsed() < m_options.measureMs)
            return;
        m_stage = Stage::Done;
        return;
    case Stage::Done:
        if (m_options.quitWhenDone)
            finish(true);
        else
            m_poll->stop();
        return;
    }
}

// For the picture: a category open and one feature current, so that the description pane shows
// what it is for.
void ScriptedRun::showSampleFeature()
{
    QTreeView* view = m_window->featureTree()->treeView();
    QAbstractItemModel* model = view->model();
    if (!model)
        return;
    const QModelIndexList categories = model->match(model->index(0, 0), Qt::DisplayRole,
                                                    QStringLiteral("ImageFormatControl"), 1,
                                                    Qt::MatchExactly | Qt::MatchRecursive);
    if (categories.isEmpty())
        return;
    view->expand(categories.first());
    const QModelIndexList features = model->match(model->index(0, 0, categories.first()), Qt::DisplayRole,
                                                  QStringLiteral("Width"), 1, Qt::MatchStartsWith);
    if (!features.isEmpty())
        view->setCurrentIndex(features.first());
}

void ScriptedRun::timeLimitReached()
{
    finish(m_stage == Stage::Done);
}

void ScriptedRun::finish(bool complete)
{
    if (m_finished)
        return;
    m_finished = true;
    m_poll->stop();
    m_exitCode = complete ? 0 : 1;
    if (!m_options.screenshotFile.isEmpty() && !writeScreenshots())
        m_exitCode = 2;
    if (m_options.report)
        printReport(complete);
    if (!complete)
        std::fprintf(stderr, "vorloviewer: the time limit ended the run before all steps were done\n");
    QCoreApplication::exit(m_exitCode);
}

bool ScriptedRun::writeScreenshot(QWidget* widget, const QString& file)
{
    QDir().mkpath(QFileInfo(file).absolutePath());
    if (widget->grab().save(file)) {
        std::printf("vorloviewer: screenshot written to %s\n", qPrintable(file));
        std::fflush(stdout);
        return true;
    }
    std::fprintf(stderr, "vorloviewer: cannot write %s\n", qPrintable(file));
    return false;
}

bool ScriptedRun::writeScreenshots()
{
    bool ok = !m_shotFailed;
    if (!m_mainShotWritten)
        ok = writeScreenshot(m_window, m_options.screenshotFile) && ok;
    if (BandwidthWindow* bandwidth = m_window->bandwidthWindow())
        ok = writeScreenshot(bandwidth, withSuffix(m_options.screenshotFile, QStringLiteral("-bandwidth"))) && ok;
    return ok;
}

// One "key=value" per line, for the smoke test and for a person reading a CI log.
void ScriptedRun::printReport(bool complete) const
{
    auto line = [](const char* key, const QString& value) {
        std::printf("report %s=%s\n", key, qPrintable(value));
    };
    line("complete", complete ? QStringLiteral("1") : QStringLiteral("0"));
    line("device", m_window->openDeviceName());
    QTreeView* view = m_window->featureTree()->treeView();
    line("feature-rows", QString::number(view->model() ? countRows(view->model(), QModelIndex(), 2) : 0));
    LiveCamera* camera = m_window->camera();
    line("frames-grabbed", QString::number(camera ? camera->framesGrabbed() : 0));
    line("frames-failed", QString::number(camera ? camera->framesFailed() : 0));
    line("view-frame-count", QString::number(m_window->imageView()->frameCount()));
    line("view-frames-shown", QString::number(m_window->imageView()->framesShown()));
    line("view-image", QStringLiteral("%1x%2").arg(m_window->imageView()->image().width()).arg(m_window->imageView()->image().height()));
    BandwidthWindow* bandwidth = m_window->bandwidthWindow();
    if (!bandwidth)
        return;
    BandwidthTreeWidget* tree = bandwidth->treeWidget();
    line("bandwidth-cameras", QString::number(tree->countCameras()));
    line("bandwidth-enabled", QString::number(tree->countEnabledCameras()));
    line("bandwidth-measuring", bandwidth->isMeasuring() ? QStringLiteral("1") : QStringLiteral("0"));
    line("bandwidth-samples", QString::number(bandwidth->sampleCount()));
    int measured = 0;
    for (const FlatTreeItem& item : tree->flatTree()->m_items) {
        if (item.isDevice && item.pCamera && item.sample.images > 0)
            ++measured;
    }
    line("bandwidth-cameras-with-images", QString::number(measured));
    line("bandwidth-log-lines", QString::number(bandwidth->logLines().size()));
}
