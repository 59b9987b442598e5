#pragma once

#include <QString>

#include <Vorlo/VorloIncludes.h>

#include <VorloQtWidgets/vorloqtformat.h>
#include <VorloQtWidgets/vorloqtwidgets_export.h>

// The plain-text tooltip of a device: its friendly name, a blank line, then one "label value"
// line per known property. Values come from the enumeration's record first and, for an open
// device (device not null), from the device's own features. Rows of detail level 100 show only
// when detailLevel is 100 or more. Exceptions of a device feature reach the caller.
VORLOQTWIDGETS_EXPORT QString formatToolTipFromDevice(const Vorlo::CDeviceInfo& info,
                                                      const Vorlo::IVorloDevice* device,
                                                      unsigned int detailLevel);
