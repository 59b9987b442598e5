// vorloviewer: the camera viewer. Lists the cameras, opens one, shows and edits its features,
// shows its live image, and measures the bandwidth of several cameras.
//
//   vorloviewer [--emulated N] [--open NAME] [--grab N] [--bandwidth] [--measure MS]
//               [--screenshot FILE] [--quit-after MS] [--report]

#include "mainwindow.h"
#include "scriptedrun.h"

#include <Vorlo/VorloIncludes.h>
#include <VorloQtBase/exceptiondisplay.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QTimer>

#include <cstdio>

#ifndef VORLO_VERSION
#define VORLO_VERSION "0.0.0"
#endif

namespace {

bool parseCount(const QCommandLineParser& parser, const QCommandLineOption& option, int* value)
{
    if (!parser.isSet(option))
        return true;
    bool ok = false;
    const int number = parser.value(option).toInt(&ok);
    if (!ok || number < 0) {
        std::fprintf(stderr, "vorloviewer: --%s needs a number that is not negative\n",
                     qPrintable(option.names().constFirst()));
        return false;
    }
    *value = number;
    return true;
}

// Emulated cameras stand in when nothing real is connected, so that the viewer always has
// something to show; an explicit count or VORLO_CAMEMU wins.
void setUpEmulatedCameras(int requested)
{
    Vorlo::CTlFactory& factory = Vorlo::CTlFactory::GetInstance();
    if (requested >= 0) {
        factory.SetCamEmuDeviceCount(static_cast<unsigned>(requested));
        return;
    }
    if (qEnvironmentVariableIsSet("VORLO_CAMEMU"))
        return;
    Vorlo::DeviceInfoList devices;
    try {
        factory.EnumerateDevices(devices);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "vorloviewer: device enumeration failed: %s\n", e.what());
    }
    if (devices.empty())
        factory.SetCamEmuDeviceCount(3);
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Kesdor"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("kesdor.com"));
    QCoreApplication::setApplicationName(QStringLiteral("Vorlo Viewer"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VORLO_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Camera viewer: devices, features, live image, bandwidth."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption emulatedOption(
        QStringLiteral("emulated"),
        QStringLiteral("Offer <n> emulated cameras (default: 3 when no camera is found and VORLO_CAMEMU is unset)."),
        QStringLiteral("n"));
    const QCommandLineOption openOption(
        QStringLiteral("open"),
        QStringLiteral("Open the first device whose name matches <name> (wildcards allowed) as soon as it is found."),
        QStringLiteral("name"));
    const QCommandLineOption grabOption(
        QStringLiteral("grab"), QStringLiteral("After opening, grab <n> images (0: grab continuously)."),
        QStringLiteral("n"));
    const QCommandLineOption bandwidthOption(
        QStringLiteral("bandwidth"),
        QStringLiteral("Open the bandwidth manager, enable every camera and measure (after --open and --grab)."));
    const QCommandLineOption measureOption(
        QStringLiteral("measure"), QStringLiteral("Measure the bandwidth for <ms> milliseconds (default 2000)."),
        QStringLiteral("ms"));
    const QCommandLineOption screenshotOption(
        QStringLiteral("screenshot"),
        QStringLiteral("Open a camera, grab, measure, write the main window to <file> and the bandwidth "
                       "window to <file>-bandwidth, and quit."),
        QStringLiteral("file"));
    const QCommandLineOption quitAfterOption(
        QStringLiteral("quit-after"),
        QStringLiteral("Quit after <ms> milliseconds, done or not (exit code 1 when steps are left)."),
        QStringLiteral("ms"));
    const QCommandLineOption reportOption(
        QStringLiteral("report"), QStringLiteral("Print what the run did, one key=value per line, when it ends."));
    parser.addOptions({emulatedOption, openOption, grabOption, bandwidthOption, measureOption, screenshotOption,
                       quitAfterOption, reportOption});
    parser.process(app);

    int emulated = -1;
    ScriptOptions script;
    if (!parseCount(parser, emulatedOption, &emulated) || !parseCount(parser, grabOption, &script.grabCount)
        || !parseCount(parser, measureOption, &script.measureMs)
        || !parseCount(parser, quitAfterOption, &script.quitAfterMs))
        return 2;
    script.openPattern = parser.value(openOption);
    script.bandwidth = parser.isSet(bandwidthOption);
    script.screenshotFile = parser.value(screenshotOption);
    script.report = parser.isSet(reportOption);

    const bool unattended = !script.screenshotFile.isEmpty() || script.quitAfterMs >= 0 || script.report;
    if (!script.screenshotFile.isEmpty()) {
        // A screenshot shows the product at work: a camera open and grabbing, and the bandwidth
        // manager measuring, unless the command line says otherwise.
        if (script.openPattern.isEmpty())
            script.openPattern = QStringLiteral("*");
        if (!parser.isSet(grabOption))
            script.grabCount = 0;
        script.bandwidth = true;
    }
    script.quitWhenDone = unattended;
    if (unattended) {
        // Nobody is there to close a message box: failures are written instead.
        VorloQtBase::setExceptionPresenter(
            [](const QString& function, const QString& message, const QString& failure) {
                std::fprintf(stderr, "vorloviewer: %s: %s %s\n", qPrintable(function), qPrintable(message),
                             qPrintable(failure));
            });
    }

    setUpEmulatedCameras(emulated);

    int exitCode = 0;
    {
        MainWindow window;
        window.setUnattended(unattended);
        window.show();
        ScriptedRun run(&window, script);
        run.start();
        exitCode = app.exec();
        if (exitCode == 0)
            exitCode = run.exitCode();
        window.close();
    }
    return exitCode;
}
