// vorloviewer: shows the dialogs of the widget library.
//
//   vorloviewer [--screenshot FILE] [--quit-after MS]
//
// --screenshot FILE  opens the IP address dialog and the about box beside the main window,
//                    writes one picture of all three to FILE and quits.
// --quit-after MS    quits after MS milliseconds (for smoke runs).

#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtWidgets/aboutdialog.h>
#include <VorloQtWidgets/aboutdialogimpl.h>
#include <VorloQtWidgets/ipaddresswidget.h>
#include <VorloQtWidgets/messageboxcheckable.h>
#include <VorloQtWidgets/vorloqtstockimage.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QDialog>
#include <QDir>
#include <QFileInfo>
#include <QFont>
#include <QHBoxLayout>
#include <QLabel>
#include <QMainWindow>
#include <QPainter>
#include <QPushButton>
#include <QStatusBar>
#include <QTimer>
#include <QVBoxLayout>

#include <cstdio>

namespace {

class DemoWindow : public QMainWindow
{
public:
    DemoWindow()
    {
        setWindowTitle(QStringLiteral("Vorlo Viewer"));
        auto* central = new QWidget(this);
        auto* layout = new QVBoxLayout(central);
        layout->setContentsMargins(16, 16, 16, 16);
        layout->setSpacing(10);

        auto* header = new QHBoxLayout;
        auto* icon = new QLabel(central);
        icon->setPixmap(getVorloStockImage(StockIcon_Info32));
        header->addWidget(icon);
        auto* intro = new QLabel(
            QStringLiteral("<b>Vorlo Viewer</b><br>Dialogs of the widget library."), central);
        header->addWidget(intro, 1);
        layout->addLayout(header);

        auto* ipButton = new QPushButton(QStringLiteral("Set &IP Address..."), central);
        auto* messageButton = new QPushButton(QStringLiteral("Show &Message..."), central);
        auto* aboutButton = new QPushButton(QStringLiteral("&About..."), central);
        layout->addWidget(ipButton);
        layout->addWidget(messageButton);
        layout->addWidget(aboutButton);
        layout->addStretch(1);
        setCentralWidget(central);
        statusBar()->showMessage(QStringLiteral("Ready"));

        connect(ipButton, &QPushButton::clicked, this, &DemoWindow::askForAddress);
        connect(messageButton, &QPushButton::clicked, this, &DemoWindow::showMessage);
        connect(aboutButton, &QPushButton::clicked, this, &DemoWindow::showAbout);
    }

    void askForAddress()
    {
        IpAddressWidget dialog(this);
        dialog.setShowMacAddress(false);
        dialog.setHeaderText(QStringLiteral("Please specify the IP address of the camera."));
        if (dialog.exec() == QDialog::Accepted) {
            statusBar()->showMessage(QStringLiteral("IP %1, mask %2, gateway %3")
                                         .arg(dialog.ipAddress(), dialog.subnetMask(),
                                              dialog.defaultGateway()));
        }
    }

    void showMessage()
    {
        MessageBoxCheckable box(QStringLiteral("DemoMessage"), QMessageBox::Information,
                                QStringLiteral("Vorlo Viewer"),
                                QStringLiteral("The camera list is refreshed every ten seconds."),
                                QMessageBox::Ok, this);
        box.setSaveResultOnButton(QMessageBox::Ok);
        box.exec();
    }

    void showAbout()
    {
        AboutDialog about(this);
        about.setProductVersion(QStringLiteral(VORLO_VERSION));
        about.setCopyrightTimeRange(QStringLiteral("2024-2026"));
        about.exec();
    }
};

// One picture: the main window, the IP address dialog (filled in) and the about box.
QImage composeScreenshot(QWidget* window, QWidget* ipDialog, QWidget* aboutDialog)
{
    const QPixmap shots[] = {window->grab(), ipDialog->grab(), aboutDialog->grab()};
    const int margin = 24;
    int width = margin;
    int height = 0;
    for (const QPixmap& shot : shots) {
        width += shot.width() + margin;
        height = qMax(height, shot.height());
    }
    QImage image(width, height + 2 * margin, QImage::Format_RGB32);
    image.fill(QColor(0x5b, 0x66, 0x75));
    QPainter p(&image);
    int x = margin;
    for (const QPixmap& shot : shots) {
        p.fillRect(QRect(x + 3, margin + 3, shot.width(), shot.height()), QColor(0, 0, 0, 60));
        p.drawPixmap(x, margin, shot);
        x += shot.width() + margin;
    }
    p.end();
    return image;
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
    parser.setApplicationDescription(QStringLiteral("Shows the dialogs of the widget library."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption screenshotOption(
        QStringLiteral("screenshot"), QStringLiteral("Write a picture of the dialogs to <file> and quit."),
        QStringLiteral("file"));
    const QCommandLineOption quitAfterOption(
        QStringLiteral("quit-after"), QStringLiteral("Quit after <ms> milliseconds."), QStringLiteral("ms"));
    parser.addOption(screenshotOption);
    parser.addOption(quitAfterOption);
    parser.process(app);

    DemoWindow window;
    window.resize(360, 300);
    window.show();

    if (parser.isSet(quitAfterOption)) {
        bool ok = false;
        const int ms = parser.value(quitAfterOption).toInt(&ok);
        if (!ok || ms < 0) {
            std::fprintf(stderr, "vorloviewer: --quit-after needs a number of milliseconds\n");
            return 2;
        }
        QTimer::singleShot(ms, &app, &QCoreApplication::quit);
    }

    if (parser.isSet(screenshotOption)) {
        // A screenshot run must never wait for a person: failures are written, not shown.
        VorloQtBase::setExceptionPresenter(
            [](const QString& function, const QString& message, const QString& failure) {
                std::fprintf(stderr, "%s: %s %s\n", qPrintable(function), qPrintable(message),
                             qPrintable(failure));
            });
        const QString file = parser.value(screenshotOption);
        auto* ipDialog = new IpAddressWidget(&window);
        ipDialog->setShowMacAddress(true);
        ipDialog->setMacAddress(QStringLiteral("00:30:53:1A:2B:3C"));
        ipDialog->setIpAddress(QStringLiteral("192.168.0.10"));
        ipDialog->setSubnetMask(QStringLiteral("255.255.255.0"));
        ipDialog->setDefaultGateway(QStringLiteral("192.168.0.1"));
        ipDialog->show();
        auto* about = new AboutDialog(&window);
        about->setProductVersion(QStringLiteral(VORLO_VERSION));
        about->setCopyrightTimeRange(QStringLiteral("2024-2026"));
        about->impl()->dialog()->show();

        int status = 0;
        QTimer::singleShot(500, &app, [&] {
            QDir().mkpath(QFileInfo(file).absolutePath());
            const QImage image = composeScreenshot(&window, ipDialog, about->impl()->dialog());
            if (image.save(file)) {
                std::printf("vorloviewer: screenshot written to %s\n", qPrintable(file));
            } else {
                std::fprintf(stderr, "vorloviewer: cannot write %s\n", qPrintable(file));
                status = 1;
            }
            delete about;
            app.quit();
        });
        app.exec();
        return status;
    }

    return app.exec();
}
