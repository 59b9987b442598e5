#pragma once
// Row text and string encoding of a device, for the bandwidth units.

#include <Vorlo/VorloIncludes.h>

#include <QString>

#if __has_include(<VorloQtBase/formatdevicename.h>)
#include <VorloQtBase/formatdevicename.h>
#define VORLO_BANDWIDTH_HAS_FORMATDEVICENAME 1
#endif

namespace VorloBandwidth {

// The readable camera name, formatted without flags.
inline QString deviceName(const Vorlo::CDeviceInfo& info)
{
#ifdef VORLO_BANDWIDTH_HAS_FORMATDEVICENAME
    return formatDeviceName(&info, {});
#else
    // The companion library's formatter is not part of this build yet: friendly name, else
    // full name.
    const GenICam::gcstring friendly = info.GetFriendlyName();
    return QString::fromUtf8(friendly.empty() ? info.GetFullName().c_str() : friendly.c_str());
#endif
}

inline bool isUtf8Device(const Vorlo::CDeviceInfo& info)
{
#ifdef VORLO_BANDWIDTH_HAS_FORMATDEVICENAME
    return IsUtf8Device(&info);
#else
    (void)info;
    return true;
#endif
}

} // namespace VorloBandwidth
