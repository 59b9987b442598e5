#include <VorloQtBase/formatting.h>

#include <QtTest>

#include <limits>

Q_DECLARE_METATYPE(FormatValueFlags)
Q_DECLARE_METATYPE(FormatMultiplier)

class tst_Formatting : public QObject
{
    Q_OBJECT

private slots:
    void formatDouble_data();
    void formatDouble();
    void formatDoubleParsesBack_data();
    void formatDoubleParsesBack();
    void formatInteger_data();
    void formatInteger();
    void formatUnsignedWithUnits_data();
    void formatUnsignedWithUnits();
    void formatMac_data();
    void formatMac();
    void formatIpConfiguration_data();
    void formatIpConfiguration();
    void nullTextsGiveEmptyStrings();
};

static const QLocale kEnglish(QLocale::English, QLocale::UnitedStates);
static const QLocale kGerman(QLocale::German, QLocale::Germany);

void tst_Formatting::formatDouble_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<int>("precision");
    QTest::addColumn<FormatValueFlags>("flags");
    QTest::addColumn<QLocale>("locale");
    QTest::addColumn<QString>("expected");

    const FormatValueFlags none = FormatValueDefault;
    QTest::newRow("no flag, en: fixed, no grouping") << 1234567.891 << 2 << none << kEnglish << "1234567.89";
    QTest::newRow("no flag, de: decimal comma") << 1234567.891 << 2 << none << kGerman << "1234567,89";
    QTest::newRow("no flag, fps column") << 29.9712 << 2 << none << kEnglish << "29.97";
    QTest::newRow("no flag, negative precision counts as 0") << 2.6 << -3 << none << kEnglish << "3";
    QTest::newRow("no flag, tiny negative is not -0") << -0.001 << 2 << none << kEnglish << "0.00";
    QTest::newRow("no flag, nan") << std::numeric_limits<double>::quiet_NaN() << 2 << none << kEnglish << "nan";
    QTest::newRow("no flag, -inf") << -std::numeric_limits<double>::infinity() << 2 << none << kEnglish << "-inf";

    const FormatValueFlags parsable = FormatValueParsable;
    QTest::newRow("flag 1, en: no group separators") << 1234567.5 << 3 << parsable << kEnglish << "1234567.500";
    QTest::newRow("flag 1, de: no group separators") << 1234567.5 << 3 << parsable << kGerman << "1234567,500";
    QTest::newRow("flag 1, en: large stays fixed") << 1e10 << 0 << parsable << kEnglish << "10000000000";
    QTest::newRow("flag 1, de: negative") << -0.25 << 2 << parsable << kGerman << "-0,25";

    const FormatValueFlags scientific = FormatValueScientificIfLarge;
    QTest::newRow("flag 2, en: huge limit in exponent form") << 1.7976931348623157e308 << 2 << scientific << kEnglish << "1.79769e+308";
    QTest::newRow("flag 2, de: huge limit in exponent form") << 1.7976931348623157e308 << 2 << scientific << kGerman << "1,79769e+308";
    QTest::newRow("flag 2, en: negative huge") << -2.5e12 << 2 << scientific << kEnglish << "-2.5e+12";
    QTest::newRow("flag 2, en: at the threshold") << 1e9 << 2 << scientific << kEnglish << "1e+09";
    QTest::newRow("flag 2, de: below the threshold stays fixed") << 999999.5 << 1 << scientific << kGerman << "999999,5";

    const FormatValueFlags grouped = FormatValueGroupDigits;
    QTest::newRow("flag 4, en: grouped rate") << 12345678.5 << 2 << grouped << kEnglish << "12,345,678.50";
    QTest::newRow("flag 4, de: grouped rate") << 12345678.5 << 2 << grouped << kGerman << "12.345.678,50";
    QTest::newRow("flag 4, en: small value unchanged") << 999.0 << 1 << grouped << kEnglish << "999.0";

    const FormatValueFlags count = FormatValueCount;
    QTest::newRow("flag 8, en: count rounded and grouped") << 1234.6 << 2 << count << kEnglish << "1,235";
    QTest::newRow("flag 8, de: count rounded and grouped") << 1234567.0 << 3 << count << kGerman << "1.234.567";
}

void tst_Formatting::formatDouble()
{
    QFETCH(double, value);
    QFETCH(int, precision);
    QFETCH(FormatValueFlags, flags);
    QFETCH(QLocale, locale);
    QFETCH(QString, expected);
    QCOMPARE(formatDoubleValue(value, precision, flags, locale), expected);
}

void tst_Formatting::formatDoubleParsesBack_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<int>("precision");
    QTest::addColumn<int>("flag");
    QTest::addColumn<QLocale>("locale");

    QTest::newRow("flag 1, en") << 1234567.125 << 3 << 1 << kEnglish;
    QTest::newRow("flag 1, de") << 1234567.125 << 3 << 1 << kGerman;
    QTest::newRow("flag 2, en, huge") << 3.0e15 << 2 << 2 << kEnglish;
    QTest::newRow("flag 2, de, huge") << -4.5e20 << 2 << 2 << kGerman;
    QTest::newRow("flag 2, de, small") << 1234.5 << 1 << 2 << kGerman;
}

void tst_Formatting::formatDoubleParsesBack()
{
    QFETCH(double, value);
    QFETCH(int, precision);
    QFETCH(int, flag);
    QFETCH(QLocale, locale);
    const QString text = formatDoubleValue(value, precision, FormatValueFlags(flag), locale);
    bool ok = false;
    const double parsed = locale.toDouble(text, &ok);
    QVERIFY2(ok, qPrintable(text));
    QCOMPARE(parsed, value);
}

void tst_Formatting::formatInteger_data()
{
    QTest::addColumn<qint64>("value");
    QTest::addColumn<int>("flags");
    QTest::addColumn<QLocale>("locale");
    QTest::addColumn<QString>("expected");

    QTest::newRow("no flag, en") << qint64(1234567) << 0 << kEnglish << "1234567";
    QTest::newRow("no flag, de") << qint64(-1234567) << 0 << kGerman << "-1234567";
    QTest::newRow("flag 1, en: parsable") << qint64(1234567) << 1 << kEnglish << "1234567";
    QTest::newRow("flag 2, de: integers stay exact") << qint64(12345678901LL) << 2 << kGerman << "12345678901";
    QTest::newRow("flag 4, en: grouped") << qint64(-1234567) << 4 << kEnglish << "-1,234,567";
    QTest::newRow("flag 4, de: grouped") << qint64(1234567) << 4 << kGerman << "1.234.567";
    QTest::newRow("flag 8, en: image count") << qint64(1000) << 8 << kEnglish << "1,000";
    QTest::newRow("flag 8, de: error count") << qint64(987654321) << 8 << kGerman << "987.654.321";
    QTest::newRow("flag 8, en: zero") << qint64(0) << 8 << kEnglish << "0";
    QTest::newRow("flag 8, en: lowest") << std::numeric_limits<qint64>::min() << 8 << kEnglish << "-9,223,372,036,854,775,808";
}

void tst_Formatting::formatInteger()
{
    QFETCH(qint64, value);
    QFETCH(int, flags);
    QFETCH(QLocale, locale);
    QFETCH(QString, expected);
    QCOMPARE(formatIntegerValue(value, FormatValueFlags(flags), locale), expected);
}

void tst_Formatting::formatUnsignedWithUnits_data()
{
    QTest::addColumn<quint64>("value");
    QTest::addColumn<int>("decimals");
    QTest::addColumn<FormatMultiplier>("multiplier");
    QTest::addColumn<QString>("units");
    QTest::addColumn<int>("flags");
    QTest::addColumn<QLocale>("locale");
    QTest::addColumn<QString>("expected");

    QTest::newRow("mega, en, with units") << quint64(12500000) << 2 << FormatMultiplierMega << "MB/s" << 0 << kEnglish << "12.50 MB/s";
    QTest::newRow("mega, de, with units") << quint64(12500000) << 2 << FormatMultiplierMega << "MB/s" << 0 << kGerman << "12,50 MB/s";
    QTest::newRow("mega, en, no units: interface row") << quint64(125000000) << 0 << FormatMultiplierMega << "" << 0 << kEnglish << "125";
    QTest::newRow("mega, en, below one megabyte") << quint64(999999) << 2 << FormatMultiplierMega << "" << 4 << kEnglish << "1.00";
    QTest::newRow("mega, en, grouped rate") << quint64(1234567890123ULL) << 0 << FormatMultiplierMega << "" << 4 << kEnglish << "1,234,568";
    QTest::newRow("mega, de, grouped rate") << quint64(1234567890123ULL) << 0 << FormatMultiplierMega << "" << 4 << kGerman << "1.234.568";
    QTest::newRow("none, en, exact above 2^53") << quint64(18446744073709551615ULL) << 0 << FormatMultiplierNone << "B" << 4 << kEnglish << "18,446,744,073,709,551,615 B";
    QTest::newRow("none, de, decimals") << quint64(5) << 1 << FormatMultiplierNone << "" << 0 << kGerman << "5,0";
    QTest::newRow("kilo, en") << quint64(1500) << 1 << FormatMultiplierKilo << "kB" << 0 << kEnglish << "1.5 kB";
    QTest::newRow("giga, de") << quint64(2500000000ULL) << 2 << FormatMultiplierGiga << "GB" << 0 << kGerman << "2,50 GB";
}

void tst_Formatting::formatUnsignedWithUnits()
{
    QFETCH(quint64, value);
    QFETCH(int, decimals);
    QFETCH(FormatMultiplier, multiplier);
    QFETCH(QString, units);
    QFETCH(int, flags);
    QFETCH(QLocale, locale);
    QFETCH(QString, expected);
    QCOMPARE(formatUnsignedIntegerValueAndUnits(value, decimals, multiplier, units,
                                                FormatValueFlags(flags), locale),
             expected);
}

void tst_Formatting::formatMac_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("separator");
    QTest::addColumn<QString>("expected");

    QTest::newRow("bare digits, hyphen") << QByteArray("0030531a2b3c") << QByteArray("-") << "00-30-53-1A-2B-3C";
    QTest::newRow("colons to hyphens") << QByteArray("00:30:53:1a:2b:3c") << QByteArray("-") << "00-30-53-1A-2B-3C";
    QTest::newRow("hyphens to colons") << QByteArray("00-30-53-1A-2B-3C") << QByteArray(":") << "00:30:53:1A:2B:3C";
    QTest::newRow("odd grouping") << QByteArray("0030.531a.2b3c") << QByteArray("-") << "00-30-53-1A-2B-3C";
    QTest::newRow("empty separator") << QByteArray("00:30:53:1a:2b:3c") << QByteArray("") << "0030531A2B3C";
    QTest::newRow("too few digits stays") << QByteArray("00:30:53") << QByteArray("-") << "00:30:53";
    QTest::newRow("too many digits stays") << QByteArray("0030531a2b3c4d") << QByteArray("-") << "0030531a2b3c4d";
    QTest::newRow("not hex stays") << QByteArray("00:30:53:1g:2b:3c") << QByteArray("-") << "00:30:53:1g:2b:3c";
    QTest::newRow("empty stays empty") << QByteArray("") << QByteArray("-") << "";
}

void tst_Formatting::formatMac()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, separator);
    QFETCH(QString, expected);
    QCOMPARE(formatMACAddress(text.constData(), separator.constData()), expected);
}

void tst_Formatting::formatIpConfiguration_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<uint>("flags");
    QTest::addColumn<QString>("expected");

    QTest::newRow("all three") << QByteArray("7") << 0u << "Persistent IP, DHCP, LLA";
    QTest::newRow("DHCP and LLA") << QByteArray("6") << 0u << "DHCP, LLA";
    QTest::newRow("persistent only") << QByteArray("1") << 0u << "Persistent IP";
    QTest::newRow("hex") << QByteArray("0x5") << 0u << "Persistent IP, LLA";
    QTest::newRow("upper bits ignored") << QByteArray("0x80000004") << 0u << "LLA";
    QTest::newRow("none") << QByteArray("0") << 0u << "None";
    QTest::newRow("abbreviated") << QByteArray("7") << 1u << "PIP/DHCP/LLA";
    QTest::newRow("blanks around the number") << QByteArray(" 2 ") << 0u << "DHCP";
    QTest::newRow("words stay") << QByteArray("DHCP") << 0u << "DHCP";
    QTest::newRow("empty stays") << QByteArray("") << 0u << "";
}

void tst_Formatting::formatIpConfiguration()
{
    QFETCH(QByteArray, text);
    QFETCH(uint, flags);
    QFETCH(QString, expected);
    QCOMPARE(formatIPConfiguration(text.constData(), flags), expected);
}

void tst_Formatting::nullTextsGiveEmptyStrings()
{
    QCOMPARE(formatMACAddress(nullptr, "-"), QString());
    QCOMPARE(formatMACAddress("0030531a2b3c", nullptr), QStringLiteral("0030531A2B3C"));
    QCOMPARE(formatIPConfiguration(nullptr, 0), QString());
}

QTEST_APPLESS_MAIN(tst_Formatting)
#include "tst_formatting.moc"
