#pragma once
// Text helpers for device properties shown by the widgets.

#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <QString>

// "00-30-53-1A-2B-3C" from a MAC address in any common form; other text as it is.
VORLOQTWIDGETS_EXPORT QString formatMACAddressWithHyphen(const char* text);
// The IP configuration field in full words, e.g. "Persistent IP, DHCP, LLA".
VORLOQTWIDGETS_EXPORT QString formatIPConfigurationFull(const char* text);
// The text decoded as UTF-8; a null pointer gives an empty string.
VORLOQTWIDGETS_EXPORT QString formatFromUtf8(const char* text);
