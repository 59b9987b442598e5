#pragma once
// Row text and string encoding of a device, for the bandwidth units.

#include <Vorlo/VorloIncludes.h>
#include <VorloQtBase/formatdevicename.h>

#include <QString>

namespace VorloBandwidth {

// The readable camera name, formatted without flags.
inline QString deviceName(const Vorlo::CDeviceInfo& info)
{
    return formatDeviceName(&info, FormatDeviceNameDefault);
}

inline bool isUtf8Device(const Vorlo::CDeviceInfo& info)
{
    return IsUtf8Device(&info);
}

} // namespace VorloBandwidth
