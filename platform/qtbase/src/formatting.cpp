#include <VorloQtBase/formatting.h>

#include <QByteArray>
#include <QStringList>

#include <cmath>
#include <cstring>

namespace {

QLocale withGrouping(const QLocale& locale, bool group)
{
    QLocale result(locale);
    QLocale::NumberOptions options = result.numberOptions();
    if (group)
        options &= ~QLocale::OmitGroupSeparator;
    else
        options |= QLocale::OmitGroupSeparator;
    result.setNumberOptions(options);
    return result;
}

bool groups(FormatValueFlags flags)
{
    return flags & (FormatValueGroupDigits | FormatValueCount);
}

const double kLargeMagnitude = 1e9;

} // namespace

QString formatDoubleValue(double value, int precision, FormatValueFlags flags, const QLocale& locale)
{
    if (std::isnan(value))
        return QStringLiteral("nan");
    if (std::isinf(value))
        return value < 0 ? QStringLiteral("-inf") : QStringLiteral("inf");
    if (precision < 0)
        precision = 0;
    if (flags & FormatValueCount)
        precision = 0;
    if (value == 0.0)
        value = 0.0; // no "-0"

    if ((flags & FormatValueScientificIfLarge) && std::fabs(value) >= kLargeMagnitude)
        return withGrouping(locale, false).toString(value, 'g', 6);

    // A value that rounds to zero at this precision must not come out as "-0.00".
    const double scale = std::pow(10.0, precision);
    if (std::isfinite(scale) && value < 0 && std::round(-value * scale) == 0.0)
        value = 0.0;

    return withGrouping(locale, groups(flags)).toString(value, 'f', precision);
}

QString formatIntegerValue(qint64 value, FormatValueFlags flags, const QLocale& locale)
{
    return withGrouping(locale, groups(flags)).toString(static_cast<qlonglong>(value));
}

QString formatUnsignedIntegerValueAndUnits(quint64 value, int decimals, FormatMultiplier multiplier,
                                           const QString& units, FormatValueFlags flags,
                                           const QLocale& locale)
{
    QString text;
    double divisor = 1.0;
    switch (multiplier) {
    case FormatMultiplierKilo: divisor = 1e3; break;
    case FormatMultiplierMega: divisor = 1e6; break;
    case FormatMultiplierGiga: divisor = 1e9; break;
    case FormatMultiplierNone: break;
    }
    if (divisor == 1.0 && (decimals <= 0 || (flags & FormatValueCount))) {
        // Whole units: written exactly, also above 2^53.
        text = withGrouping(locale, groups(flags)).toString(static_cast<qulonglong>(value));
    } else {
        text = formatDoubleValue(static_cast<double>(value) / divisor, decimals,
                                 flags & ~FormatValueFlags(FormatValueScientificIfLarge), locale);
    }
    if (!units.isEmpty())
        text += QLatin1Char(' ') + units;
    return text;
}

QString formatMACAddress(const char* text, const char* separator)
{
    if (!text)
        return QString();
    const QString original = QString::fromUtf8(text);
    QString digits;
    for (const QChar c : original) {
        if ((c >= QLatin1Char('0') && c <= QLatin1Char('9'))
            || (c >= QLatin1Char('a') && c <= QLatin1Char('f'))
            || (c >= QLatin1Char('A') && c <= QLatin1Char('F'))) {
            digits += c.toUpper();
        } else if (c != QLatin1Char(':') && c != QLatin1Char('-') && c != QLatin1Char(' ')
                   && c != QLatin1Char('.')) {
            return original;
        }
    }
    if (digits.size() != 12)
        return original;
    QStringList pairs;
    for (int i = 0; i < 12; i += 2)
        pairs << digits.mid(i, 2);
    return pairs.join(separator ? QString::fromUtf8(separator) : QString());
}

QString formatIPConfiguration(const char* text, unsigned int flags)
{
    if (!text)
        return QString();
    const QString original = QString::fromUtf8(text);
    const QString trimmed = original.trimmed();
    bool ok = false;
    uint bits = 0;
    if (trimmed.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
        bits = trimmed.mid(2).toUInt(&ok, 16);
    else
        bits = trimmed.toUInt(&ok, 10);
    if (!ok)
        return original;

    const bool abbreviated = flags & IPConfigurationFormatAbbreviated;
    QStringList words;
    if (bits & IPConfigurationPersistentIP)
        words << (abbreviated ? QStringLiteral("PIP") : QStringLiteral("Persistent IP"));
    if (bits & IPConfigurationDHCP)
        words << QStringLiteral("DHCP");
    if (bits & IPConfigurationLLA)
        words << QStringLiteral("LLA");
    if (words.isEmpty())
        return QStringLiteral("None");
    return words.join(abbreviated ? QStringLiteral("/") : QStringLiteral(", "));
}
