#pragma once

// Text forms of feature values: what ToString prints and FromString accepts for
// integers, floats, booleans, commands and registers.
//
// Everything here is independent of the global C and C++ locales (a program that
// switched to a locale with a decimal comma still prints "1.5" and reads "1.5"), and
// allocates nothing beyond the returned string.

#include <GenApi/GenApiExport.h>
#include <GenApi/Types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace GenApi
{
namespace detail
{

//! Integer text by representation: decimal for PureNumber, Linear, Logarithmic and
//! Boolean (and anything unknown); "0x" and lower-case hex digits of the 64-bit
//! pattern for HexNumber; dotted decimal of the low 32 bits for IPV4Address; six
//! colon-separated lower-case hex pairs of the low 48 bits for MACAddress.
GENAPI_EXPORT std::string IntegerToString(int64_t value, ERepresentation representation);

//! Reads an integer. Decimal (optionally signed) and "0x" hex are accepted for every
//! representation; IPV4Address also takes "a.b.c.d", MACAddress also takes six hex
//! pairs separated by ':' or '-'. Surrounding blanks are ignored. Anything else, or a
//! decimal value outside int64, raises GenICam::InvalidArgumentException.
GENAPI_EXPORT int64_t IntegerFromString(std::string_view text, ERepresentation representation);

//! Float text. fnFixed prints fixed notation and fnScientific scientific notation with
//! `precision` digits after the point; fnAutomatic (and anything unknown) prints the
//! shortest general form with `precision` significant digits. When `value` lies in
//! [min, max] but the printed text would read back outside it, the text is moved to
//! the nearest printable value inside, so that reading the text back is accepted.
GENAPI_EXPORT std::string FloatToString(double value, EDisplayNotation notation, int64_t precision,
                          double min, double max);

//! Reads a float in C notation: optional sign, digits with an optional '.', an optional
//! exponent ("1e-3", "2.5E+02"), "inf" and "nan"; "0x" hex integers are accepted too.
//! Surrounding blanks are ignored. Anything else raises InvalidArgumentException.
GENAPI_EXPORT double FloatFromString(std::string_view text);

//! "1" or "0".
GENAPI_EXPORT std::string BooleanToString(bool value);
//! Accepts 1, 0, true and false (any case); anything else raises InvalidArgumentException.
GENAPI_EXPORT bool BooleanFromString(std::string_view text);

//! "1" while the command is executing, "0" once it is done.
GENAPI_EXPORT std::string CommandToString(bool executing);
//! True when the text asks for execution (1 or true); false for 0 or false, which do
//! nothing. Anything else raises InvalidArgumentException.
GENAPI_EXPORT bool CommandFromString(std::string_view text);

//! "0x" followed by the bytes in memory order, two lower-case hex digits each.
GENAPI_EXPORT std::string RegisterToString(const uint8_t* data, std::size_t length);
//! Reads the form RegisterToString prints into `data`. The text must hold exactly
//! `length` bytes; otherwise InvalidArgumentException is raised and `data` is untouched.
GENAPI_EXPORT void RegisterFromString(std::string_view text, uint8_t* data, std::size_t length);

} // namespace detail
} // namespace GenApi
