#include <VorloQtBase/formatdevicename.h>

#include <Vorlo/InfoBase.h>

namespace
{
    QString decode(const GenICam::gcstring& text, bool utf8)
    {
        return utf8 ? QString::fromUtf8(text.c_str(), int(text.size()))
                    : QString::fromLatin1(text.c_str(), int(text.size()));
    }
}

bool IsUtf8Device(const Vorlo::CDeviceInfo* info)
{
    if (!info)
        return false;
    GenICam::gcstring charset;
    if (info->GetPropertyValue("DeviceCharacterSet", charset)) {
        const QString name = QString::fromLatin1(charset.c_str()).trimmed().toUpper();
        return name == QLatin1String("UTF-8") || name == QLatin1String("UTF8");
    }
    return info->GetDeviceClass() == Vorlo::DeviceClassCamEmu;
}

QString formatDeviceName(const Vorlo::CDeviceInfo* info, QFlags<FormatDeviceNameFlag> flags)
{
    if (!info)
        return QString();
    const bool utf8 = IsUtf8Device(info);

    QString name;
    if (!flags.testFlag(FormatDeviceNameSkipUserDefinedName))
        name = decode(info->GetUserDefinedName(), utf8).trimmed();
    if (name.isEmpty())
        name = decode(info->GetModelName(), utf8).trimmed();
    if (name.isEmpty())
        name = decode(info->GetFriendlyName(), utf8).trimmed();
    if (name.isEmpty())
        name = decode(info->GetFullName(), utf8).trimmed();

    const QString serial = decode(info->GetSerialNumber(), utf8).trimmed();
    if (!flags.testFlag(FormatDeviceNameSkipSerialNumber) && !serial.isEmpty()) {
        if (name.isEmpty())
            return QLatin1Char('(') + serial + QLatin1Char(')');
        name += QLatin1String(" (") + serial + QLatin1Char(')');
    }
    return name;
}
