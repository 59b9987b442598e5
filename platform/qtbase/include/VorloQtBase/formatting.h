#pragma once
// Number and address texts for the widgets.

#include <VorloQtBase/vorloqtbase_export.h>

#include <QFlags>
#include <QLocale>
#include <QString>
#include <QtGlobal>

// How formatDoubleValue(), formatIntegerValue() and formatUnsignedIntegerValueAndUnits() write
// a number. Without flags (0) the number is written in the locale's digits and decimal point,
// in fixed notation with the given number of decimals, without group separators.
enum FormatValueFlag
{
    FormatValueDefault = 0x0,
    // Text that a spin box in the same locale parses back to the same value: fixed notation,
    // no group separators, never an exponent. Editors and their range tooltips use it.
    FormatValueParsable = 0x1,
    // Keeps very large numbers readable: a magnitude of 1e9 or more is written in exponent
    // form with six significant digits ("1.79769e+308"), smaller ones as FormatValueParsable.
    // Still parsable by a spin box; used for the range tooltip of features with huge limits.
    FormatValueScientificIfLarge = 0x2,
    // Rates: digits grouped in thousands with the locale's group separator ("12,345,678.50").
    FormatValueGroupDigits = 0x4,
    // Counts (images, errors): grouped in thousands like FormatValueGroupDigits, and a double
    // is rounded to whole units (no decimals whatever the precision).
    FormatValueCount = 0x8
};
Q_DECLARE_FLAGS(FormatValueFlags, FormatValueFlag)
Q_DECLARE_OPERATORS_FOR_FLAGS(FormatValueFlags)

// The unit step that formatUnsignedIntegerValueAndUnits() divides by before writing the value.
enum FormatMultiplier
{
    FormatMultiplierNone = 0, // 1
    FormatMultiplierKilo = 1, // 10^3
    FormatMultiplierMega = 2, // 10^6: bytes to megabytes
    FormatMultiplierGiga = 3  // 10^9
};

// The value with `precision` decimals (negative counts as 0) as the flags say. NaN gives "nan",
// infinities "inf" and "-inf".
VORLOQTBASE_EXPORT QString formatDoubleValue(double value, int precision,
                                             FormatValueFlags flags = FormatValueDefault,
                                             const QLocale& locale = QLocale());
// The integer as the flags say (FormatValueScientificIfLarge is ignored: integers are exact).
VORLOQTBASE_EXPORT QString formatIntegerValue(qint64 value, FormatValueFlags flags = FormatValueDefault,
                                              const QLocale& locale = QLocale());
// value / multiplier with `decimals` decimals, then " " and the units when units is not empty:
// (12500000, 2, FormatMultiplierMega, "MB/s") -> "12.50 MB/s".
VORLOQTBASE_EXPORT QString formatUnsignedIntegerValueAndUnits(quint64 value, int decimals,
                                                              FormatMultiplier multiplier,
                                                              const QString& units,
                                                              FormatValueFlags flags = FormatValueDefault,
                                                              const QLocale& locale = QLocale());

// A MAC address of 12 hex digits, with or without separators (blank, ':', '-', '.') between
// them, as six upper-case pairs joined by `separator` ("00-30-53-1A-2B-3C"). Any other text is
// returned as it is; a null text gives an empty string, a null separator joins without one.
VORLOQTBASE_EXPORT QString formatMACAddress(const char* text, const char* separator);

// Bits of the GigE Vision IP configuration field (current or supported procedures).
enum IPConfigurationBit
{
    IPConfigurationPersistentIP = 0x1,
    IPConfigurationDHCP = 0x2,
    IPConfigurationLLA = 0x4
};
// Flags for formatIPConfiguration().
enum IPConfigurationFormatFlag
{
    IPConfigurationFormatFull = 0x0,       // "Persistent IP, DHCP, LLA"
    IPConfigurationFormatAbbreviated = 0x1 // "PIP/DHCP/LLA"
};
// The IP configuration field, given as a decimal or 0x-hex number, in words, in the order
// Persistent IP, DHCP, LLA. A field without any of the three bits gives "None". Text that is not
// a number is returned as it is; a null text gives an empty string.
VORLOQTBASE_EXPORT QString formatIPConfiguration(const char* text, unsigned int flags);
