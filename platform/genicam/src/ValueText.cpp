#include "ValueText.h"

#include <GenICam/GCException.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace GenApi
{
namespace detail
{

namespace
{

const char kHexDigits[] = "0123456789abcdef";

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

std::string_view Trimmed(std::string_view text)
{
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

int HexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

bool EqualsNoCase(std::string_view a, const char* b)
{
    const std::size_t n = std::strlen(b);
    if (a.size() != n)
        return false;
    for (std::size_t i = 0; i < n; ++i) {
        char c = a[i];
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
        if (c != b[i])
            return false;
    }
    return true;
}

[[noreturn]] void ThrowInvalid(const char* what, std::string_view text)
{
    throw INVALID_ARGUMENT_EXCEPTION("'" + std::string(text) + "' is not " + what);
}

bool HasHexPrefix(std::string_view t)
{
    return t.size() >= 2 && t[0] == '0' && (t[1] == 'x' || t[1] == 'X');
}

// Hex digits only (no prefix), 1 to 16 of them.
bool ParseHex(std::string_view digits, uint64_t& out)
{
    if (digits.empty() || digits.size() > 16)
        return false;
    uint64_t v = 0;
    for (char c : digits) {
        const int h = HexValue(c);
        if (h < 0)
            return false;
        v = (v << 4) | static_cast<uint64_t>(h);
    }
    out = v;
    return true;
}

// Optional sign, then decimal digits or "0x" hex digits.
bool ParseNumber(std::string_view t, int64_t& out)
{
    bool negative = false;
    std::string_view body = t;
    if (!body.empty() && (body.front() == '+' || body.front() == '-')) {
        negative = body.front() == '-';
        body.remove_prefix(1);
    }
    if (body.empty())
        return false;
    if (HasHexPrefix(body)) {
        uint64_t v = 0;
        if (!ParseHex(body.substr(2), v))
            return false;
        out = static_cast<int64_t>(negative ? (0 - v) : v);
        return true;
    }
    for (char c : body)
        if (c < '0' || c > '9')
            return false;
    // from_chars takes a leading '-' but not '+', and checks the int64 range.
    const char* first = negative ? body.data() - 1 : body.data();
    const char* last = body.data() + body.size();
    int64_t v = 0;
    const auto r = std::from_chars(first, last, v, 10);
    if (r.ec != std::errc() || r.ptr != last)
        return false;
    out = v;
    return true;
}

bool ParseDotted(std::string_view t, int64_t& out)
{
    uint64_t v = 0;
    int parts = 0;
    std::size_t i = 0;
    while (parts < 4) {
        std::size_t digits = 0;
        unsigned part = 0;
        while (i < t.size() && t[i] >= '0' && t[i] <= '9' && digits < 3) {
            part = part * 10 + static_cast<unsigned>(t[i] - '0');
            ++i;
            ++digits;
        }
        if (digits == 0 || part > 255)
            return false;
        v = (v << 8) | part;
        ++parts;
        if (parts < 4) {
            if (i >= t.size() || t[i] != '.')
                return false;
            ++i;
        }
    }
    if (i != t.size())
        return false;
    out = static_cast<int64_t>(v);
    return true;
}

bool ParseMac(std::string_view t, int64_t& out)
{
    char separator = 0;
    uint64_t v = 0;
    std::size_t i = 0;
    for (int group = 0; group < 6; ++group) {
        std::size_t digits = 0;
        unsigned part = 0;
        while (i < t.size() && HexValue(t[i]) >= 0 && digits < 2) {
            part = part * 16 + static_cast<unsigned>(HexValue(t[i]));
            ++i;
            ++digits;
        }
        if (digits == 0)
            return false;
        v = (v << 8) | part;
        if (group < 5) {
            if (i >= t.size() || (t[i] != ':' && t[i] != '-'))
                return false;
            if (separator == 0)
                separator = t[i];
            else if (t[i] != separator)
                return false;
            ++i;
        }
    }
    if (i != t.size())
        return false;
    out = static_cast<int64_t>(v);
    return true;
}

// Buffer large enough for a fixed-notation double of any magnitude with the largest
// precision we print.
constexpr int kMaxPrecision = 100;
constexpr std::size_t kBufferSize = 512;

std::size_t Format(char* buffer, double value, EDisplayNotation notation, int precision)
{
    std::chars_format fmt = std::chars_format::general;
    if (notation == fnFixed)
        fmt = std::chars_format::fixed;
    else if (notation == fnScientific)
        fmt = std::chars_format::scientific;
    const auto r = std::to_chars(buffer, buffer + kBufferSize, value, fmt, precision);
    return r.ec == std::errc() ? static_cast<std::size_t>(r.ptr - buffer) : 0;
}

// Shortest text that reads back as exactly `value`.
std::size_t FormatExact(char* buffer, double value, EDisplayNotation notation)
{
    std::chars_format fmt = std::chars_format::general;
    if (notation == fnFixed)
        fmt = std::chars_format::fixed;
    else if (notation == fnScientific)
        fmt = std::chars_format::scientific;
    const auto r = std::to_chars(buffer, buffer + kBufferSize, value, fmt);
    return r.ec == std::errc() ? static_cast<std::size_t>(r.ptr - buffer) : 0;
}

// Decimal exponent of the leading non-zero digit of a number in C notation
// ("123" → 2, "0.001" → -3, "5e-400" → -400); used only to tell overflow from underflow.
long DecimalExponent(std::string_view body)
{
    // Scan the mantissa: digits with at most one point.
    std::size_t end = 0;
    long integerDigits = 0;
    bool seenPoint = false;
    for (; end < body.size(); ++end) {
        const char c = body[end];
        if (c == '.')
            seenPoint = true;
        else if (c >= '0' && c <= '9')
            integerDigits += seenPoint ? 0 : 1;
        else
            break;
    }
    // Position of the first non-zero digit relative to the point.
    long position = 0;
    long digitsSeen = 0;
    long fractionDigits = 0;
    seenPoint = false;
    for (std::size_t k = 0; k < end; ++k) {
        const char c = body[k];
        if (c == '.') {
            seenPoint = true;
            continue;
        }
        if (seenPoint)
            ++fractionDigits;
        else
            ++digitsSeen;
        if (c != '0') {
            position = seenPoint ? -fractionDigits : integerDigits - digitsSeen;
            break;
        }
    }
    if (end < body.size() && (body[end] == 'e' || body[end] == 'E')) {
        std::string_view x = body.substr(end + 1);
        if (!x.empty() && x.front() == '+')
            x.remove_prefix(1);
        long e = 0;
        const auto r = std::from_chars(x.data(), x.data() + x.size(), e);
        if (r.ec == std::errc::result_out_of_range)
            e = (!x.empty() && x.front() == '-') ? -1000000 : 1000000;
        position += e;
    }
    return position;
}

bool ParseFloat(std::string_view t, double& out)
{
    if (!t.empty() && t.front() == '+') {
        t.remove_prefix(1);
        if (!t.empty() && (t.front() == '-' || t.front() == '+'))
            return false;
    }
    if (t.empty())
        return false;
    const bool negative = t.front() == '-';
    std::string_view body = negative ? t.substr(1) : t;
    if (HasHexPrefix(body)) {
        uint64_t v = 0;
        if (!ParseHex(body.substr(2), v))
            return false;
        out = negative ? -static_cast<double>(v) : static_cast<double>(v);
        return true;
    }
    double v = 0.0;
    const char* last = t.data() + t.size();
    const auto r = std::from_chars(t.data(), last, v, std::chars_format::general);
    if (r.ptr != last)
        return false;
    if (r.ec == std::errc::result_out_of_range) {
        // Overflow reads as infinity, underflow as zero, as strtod does.
        v = DecimalExponent(body) < 0 ? 0.0 : std::numeric_limits<double>::infinity();
        if (negative)
            v = -v;
    } else if (r.ec != std::errc()) {
        return false;
    }
    out = v;
    return true;
}

// Value of one unit in the last printed digit of `text` ("1.25" → 0.01, "1.2e+03" → 100).
double LastDigitUnit(std::string_view text)
{
    std::size_t e = text.find_first_of("eE");
    std::string_view mantissa = text.substr(0, e);
    int exponent = 0;
    if (e != std::string_view::npos) {
        std::string_view x = text.substr(e + 1);
        if (!x.empty() && x.front() == '+')
            x.remove_prefix(1);
        std::from_chars(x.data(), x.data() + x.size(), exponent);
    }
    const std::size_t point = mantissa.find('.');
    const int decimals = point == std::string_view::npos ? 0 : static_cast<int>(mantissa.size() - point - 1);
    return std::pow(10.0, exponent - decimals);
}

bool InRange(double v, double min, double max)
{
    return v >= min && v <= max;
}

} // namespace

std::string IntegerToString(int64_t value, ERepresentation representation)
{
    char buffer[32];
    std::size_t n = 0;
    switch (representation) {
    case HexNumber: {
        uint64_t u = static_cast<uint64_t>(value);
        char digits[16];
        int count = 0;
        do {
            digits[count++] = kHexDigits[u & 0xF];
            u >>= 4;
        } while (u != 0);
        buffer[n++] = '0';
        buffer[n++] = 'x';
        while (count > 0)
            buffer[n++] = digits[--count];
        break;
    }
    case IPV4Address: {
        const uint64_t u = static_cast<uint64_t>(value);
        for (int shift = 24; shift >= 0; shift -= 8) {
            const auto r = std::to_chars(buffer + n, buffer + sizeof(buffer), (u >> shift) & 0xFF);
            n = static_cast<std::size_t>(r.ptr - buffer);
            if (shift > 0)
                buffer[n++] = '.';
        }
        break;
    }
    case MACAddress: {
        const uint64_t u = static_cast<uint64_t>(value);
        for (int shift = 40; shift >= 0; shift -= 8) {
            const unsigned byte = static_cast<unsigned>((u >> shift) & 0xFF);
            buffer[n++] = kHexDigits[byte >> 4];
            buffer[n++] = kHexDigits[byte & 0xF];
            if (shift > 0)
                buffer[n++] = ':';
        }
        break;
    }
    default: {
        const auto r = std::to_chars(buffer, buffer + sizeof(buffer), value);
        n = static_cast<std::size_t>(r.ptr - buffer);
        break;
    }
    }
    return std::string(buffer, n);
}

int64_t IntegerFromString(std::string_view text, ERepresentation representation)
{
    const std::string_view t = Trimmed(text);
    int64_t v = 0;
    if (representation == IPV4Address && t.find('.') != std::string_view::npos) {
        if (ParseDotted(t, v))
            return v;
        ThrowInvalid("a valid IPv4 address", text);
    }
    if (representation == MACAddress
        && (t.find(':') != std::string_view::npos || t.find('-', 1) != std::string_view::npos)) {
        if (ParseMac(t, v))
            return v;
        ThrowInvalid("a valid MAC address", text);
    }
    if (ParseNumber(t, v))
        return v;
    ThrowInvalid("a valid integer", text);
}

std::string FloatToString(double value, EDisplayNotation notation, int64_t precision, double min, double max)
{
    if (notation != fnFixed && notation != fnScientific)
        notation = fnAutomatic;
    int p = precision < 0 ? 0 : (precision > kMaxPrecision ? kMaxPrecision : static_cast<int>(precision));
    char buffer[kBufferSize];
    std::size_t n = Format(buffer, value, notation, p);
    const bool mustStayInside = std::isfinite(value) && InRange(value, min, max);
    if (!mustStayInside)
        return std::string(buffer, n);

    double back = 0.0;
    if (ParseFloat(std::string_view(buffer, n), back) && InRange(back, min, max))
        return std::string(buffer, n);

    // Move by one unit of the last printed digit toward the range first, so the
    // requested precision is kept; only when the range is narrower than that unit
    // print more digits.
    for (int extra = 0; extra <= 17 && p + extra <= kMaxPrecision; ++extra) {
        const int q = p + extra;
        n = Format(buffer, value, notation, q);
        if (ParseFloat(std::string_view(buffer, n), back) && InRange(back, min, max))
            return std::string(buffer, n);
        // The general form drops trailing zeros ("3" for 2.9996 at four digits), so its
        // last digit is known from the precision rather than from the text.
        const double unit = (notation == fnAutomatic && value != 0.0)
                                ? std::pow(10.0, std::floor(std::log10(std::fabs(value))) - (q > 0 ? q : 1) + 1)
                                : LastDigitUnit(std::string_view(buffer, n));
        const double candidate = back < min ? back + unit : back - unit;
        n = Format(buffer, candidate, notation, q);
        if (ParseFloat(std::string_view(buffer, n), back) && InRange(back, min, max))
            return std::string(buffer, n);
    }
    n = FormatExact(buffer, value, notation);
    return std::string(buffer, n);
}

double FloatFromString(std::string_view text)
{
    double v = 0.0;
    if (!ParseFloat(Trimmed(text), v))
        ThrowInvalid("a valid floating point number", text);
    return v;
}

std::string BooleanToString(bool value)
{
    return value ? std::string("1") : std::string("0");
}

bool BooleanFromString(std::string_view text)
{
    const std::string_view t = Trimmed(text);
    if (t == "1" || EqualsNoCase(t, "true"))
        return true;
    if (t == "0" || EqualsNoCase(t, "false"))
        return false;
    ThrowInvalid("a valid boolean (1, 0, true or false)", text);
}

std::string CommandToString(bool executing)
{
    return executing ? std::string("1") : std::string("0");
}

bool CommandFromString(std::string_view text)
{
    const std::string_view t = Trimmed(text);
    if (t == "1" || EqualsNoCase(t, "true"))
        return true;
    if (t == "0" || EqualsNoCase(t, "false"))
        return false;
    ThrowInvalid("a valid command value (1, 0, true or false)", text);
}

std::string RegisterToString(const uint8_t* data, std::size_t length)
{
    std::string out;
    out.resize(2 + 2 * length);
    out[0] = '0';
    out[1] = 'x';
    for (std::size_t i = 0; i < length; ++i) {
        out[2 + 2 * i] = kHexDigits[data[i] >> 4];
        out[3 + 2 * i] = kHexDigits[data[i] & 0xF];
    }
    return out;
}

void RegisterFromString(std::string_view text, uint8_t* data, std::size_t length)
{
    const std::string_view t = Trimmed(text);
    if (!HasHexPrefix(t))
        ThrowInvalid("a register value (\"0x\" followed by hex bytes)", text);
    const std::string_view digits = t.substr(2);
    if (digits.size() != 2 * length)
        throw INVALID_ARGUMENT_EXCEPTION("'" + std::string(text) + "' does not hold exactly "
                                         + std::to_string(length) + " bytes");
    for (char c : digits)
        if (HexValue(c) < 0)
            ThrowInvalid("a register value (\"0x\" followed by hex bytes)", text);
    for (std::size_t i = 0; i < length; ++i)
        data[i] = static_cast<uint8_t>((HexValue(digits[2 * i]) << 4) | HexValue(digits[2 * i + 1]));
}

} // namespace detail
} // namespace GenApi
