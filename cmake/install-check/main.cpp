#include <VorloQtWidgets/VorloQtWidgets.h>
#include <VorloQtBase/VorloQtBase.h>
#include <GenApi/GenApi.h>
#include <QApplication>
#include <QFile>
#include <cstdio>
int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    IpAddressWidget dialog;
    dialog.setIpAddress(QStringLiteral("192.168.0.2"));
    const bool resources = QFile::exists(QStringLiteral(":/vorloqtwidgets/Resources/info.png"));
    const QString mac = formatMACAddressWithHyphen("0030531a2b3c");
    std::printf("%s %s %s\n", qPrintable(dialog.subnetFromAddress(dialog.ipAddress()).toString()),
                resources ? "resources" : "no-resources", qPrintable(mac));
    return (resources && mac == QStringLiteral("00-30-53-1A-2B-3C")) ? 0 : 1;
}
