#pragma once
// The readable name of a camera, and how the texts of its record are encoded.

#include <QFlags>
#include <QString>

#include <VorloQtBase/vorloqtbase_export.h>

namespace Vorlo
{
    class CDeviceInfo;
}

enum FormatDeviceNameFlag
{
    FormatDeviceNameDefault = 0x0,             // "Left camera (EMU-0000)" or "Emulation (EMU-0000)"
    FormatDeviceNameSkipSerialNumber = 0x1,    // without the bracketed serial number
    FormatDeviceNameSkipUserDefinedName = 0x2  // the model name even when a user-defined name is set
};
Q_DECLARE_FLAGS(FormatDeviceNameFlags, FormatDeviceNameFlag)
Q_DECLARE_OPERATORS_FOR_FLAGS(FormatDeviceNameFlags)

// The user-defined name when one is set, else the model name, followed by a blank and the
// serial number in round brackets. Without a model name the friendly name stands in, and without
// that the full name. A null record gives an empty string.
VORLOQTBASE_EXPORT QString formatDeviceName(const Vorlo::CDeviceInfo* info,
                                            QFlags<FormatDeviceNameFlag> flags = FormatDeviceNameDefault);

// True when the texts of the record are UTF-8: the property "DeviceCharacterSet" says so when
// present ("UTF-8" or "UTF8", in any case); without it, emulated cameras, whose texts are ours,
// are UTF-8 and others are taken as ASCII. False for a null record.
VORLOQTBASE_EXPORT bool IsUtf8Device(const Vorlo::CDeviceInfo* info);
