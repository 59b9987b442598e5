// Text forms of feature values: integer representations, float notations with the
// read-back nudge, booleans, commands and registers, both ways.

#include <QtTest>

#include "ValueText.h"

#include <GenICam/GCException.h>

#include <clocale>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <new>
#include <limits>
#include <locale>
#include <random>

// Counts heap allocations so that tests can show that a code path allocates nothing.
static std::atomic<long> g_allocations{0};

void* operator new(std::size_t size)
{
    ++g_allocations;
    if (void* p = std::malloc(size ? size : 1))
        return p;
    throw std::bad_alloc();
}

void operator delete(void* p) noexcept
{
    std::free(p);
}

void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}

using namespace GenApi;
using namespace GenApi::detail;

Q_DECLARE_METATYPE(GenApi::ERepresentation)
Q_DECLARE_METATYPE(GenApi::EDisplayNotation)

namespace
{

// A numeric punctuation with a decimal comma, as German locales have.
class CommaPunct : public std::numpunct<char>
{
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

QByteArray bytes(const std::vector<uint8_t>& v)
{
    return QByteArray(reinterpret_cast<const char*>(v.data()), int(v.size()));
}

} // namespace

class tst_ValueText : public QObject
{
    Q_OBJECT

private slots:
    void integerToString_data();
    void integerToString();
    void integerFromString_data();
    void integerFromString();
    void integerFromStringRejectsInvalidText_data();
    void integerFromStringRejectsInvalidText();
    void integerRoundTripEveryRepresentation_data();
    void integerRoundTripEveryRepresentation();
    void floatToString_data();
    void floatToString();
    void floatNudgedBackIntoRange_data();
    void floatNudgedBackIntoRange();
    void floatReadBackAlwaysInsideRange_data();
    void floatReadBackAlwaysInsideRange();
    void floatFromString_data();
    void floatFromString();
    void floatFromStringRejectsInvalidText_data();
    void floatFromStringRejectsInvalidText();
    void textIgnoresGlobalLocale();
    void conversionsAllocateAtMostTheResult();
    void booleanText_data();
    void booleanText();
    void booleanFromStringRejectsInvalidText_data();
    void booleanFromStringRejectsInvalidText();
    void commandText_data();
    void commandText();
    void commandFromStringRejectsInvalidText();
    void registerToString_data();
    void registerToString();
    void registerFromString_data();
    void registerFromString();
    void registerFromStringRejectsInvalidText_data();
    void registerFromStringRejectsInvalidText();
};

void tst_ValueText::integerToString_data()
{
    QTest::addColumn<qint64>("value");
    QTest::addColumn<ERepresentation>("representation");
    QTest::addColumn<QString>("expected");

    QTest::newRow("PureNumber positive") << qint64(42) << PureNumber << "42";
    QTest::newRow("PureNumber negative") << qint64(-42) << PureNumber << "-42";
    QTest::newRow("PureNumber zero") << qint64(0) << PureNumber << "0";
    QTest::newRow("PureNumber int64 min") << std::numeric_limits<qint64>::min() << PureNumber
                                          << "-9223372036854775808";
    QTest::newRow("PureNumber int64 max") << std::numeric_limits<qint64>::max() << PureNumber
                                          << "9223372036854775807";
    QTest::newRow("Linear decimal") << qint64(1000) << Linear << "1000";
    QTest::newRow("Logarithmic decimal") << qint64(-7) << Logarithmic << "-7";
    QTest::newRow("Boolean decimal") << qint64(1) << Boolean << "1";
    QTest::newRow("undefined representation decimal") << qint64(5) << _UndefinedRepresentation << "5";
    QTest::newRow("HexNumber lower case") << qint64(0xABCDEF) << HexNumber << "0xabcdef";
    QTest::newRow("HexNumber zero") << qint64(0) << HexNumber << "0x0";
    QTest::newRow("HexNumber negative shows 64-bit pattern") << qint64(-1) << HexNumber << "0xffffffffffffffff";
    QTest::newRow("IPV4Address dotted") << qint64(0xC0A80101) << IPV4Address << "192.168.1.1";
    QTest::newRow("IPV4Address zero") << qint64(0) << IPV4Address << "0.0.0.0";
    QTest::newRow("IPV4Address broadcast") << qint64(0xFFFFFFFF) << IPV4Address << "255.255.255.255";
    QTest::newRow("IPV4Address uses low 32 bits only") << qint64(0x7700000000LL | 0x0A000001) << IPV4Address
                                                       << "10.0.0.1";
    QTest::newRow("MACAddress colon pairs lower case") << qint64(0x0030531A2B3CLL) << MACAddress
                                                       << "00:30:53:1a:2b:3c";
    QTest::newRow("MACAddress zero") << qint64(0) << MACAddress << "00:00:00:00:00:00";
    QTest::newRow("MACAddress uses low 48 bits only") << qint64(-1) << MACAddress << "ff:ff:ff:ff:ff:ff";
}

void tst_ValueText::integerToString()
{
    QFETCH(qint64, value);
    QFETCH(ERepresentation, representation);
    QFETCH(QString, expected);
    QCOMPARE(QString::fromStdString(IntegerToString(value, representation)), expected);
}

void tst_ValueText::integerFromString_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<ERepresentation>("representation");
    QTest::addColumn<qint64>("expected");

    QTest::newRow("decimal") << "42" << PureNumber << qint64(42);
    QTest::newRow("decimal with plus") << "+42" << PureNumber << qint64(42);
    QTest::newRow("decimal negative") << "-42" << Linear << qint64(-42);
    QTest::newRow("decimal leading zeros") << "010" << PureNumber << qint64(10);
    QTest::newRow("decimal with blanks") << " \t42 \n" << PureNumber << qint64(42);
    QTest::newRow("decimal int64 max") << "9223372036854775807" << PureNumber << std::numeric_limits<qint64>::max();
    QTest::newRow("decimal int64 min") << "-9223372036854775808" << PureNumber << std::numeric_limits<qint64>::min();
    QTest::newRow("hex in PureNumber") << "0x1F" << PureNumber << qint64(31);
    QTest::newRow("hex upper prefix") << "0X1f" << Logarithmic << qint64(31);
    QTest::newRow("hex negative") << "-0x10" << PureNumber << qint64(-16);
    QTest::newRow("hex 16 digits wraps") << "0xffffffffffffffff" << HexNumber << qint64(-1);
    QTest::newRow("decimal in HexNumber") << "255" << HexNumber << qint64(255);
    QTest::newRow("hex in Boolean") << "0x1" << Boolean << qint64(1);
    QTest::newRow("IPV4Address dotted") << "192.168.1.1" << IPV4Address << qint64(0xC0A80101);
    QTest::newRow("IPV4Address dotted with blanks") << " 10.0.0.1 " << IPV4Address << qint64(0x0A000001);
    QTest::newRow("IPV4Address decimal") << "3232235777" << IPV4Address << qint64(0xC0A80101);
    QTest::newRow("IPV4Address hex") << "0xC0A80101" << IPV4Address << qint64(0xC0A80101);
    QTest::newRow("IPV4Address leading zeros in part") << "010.001.000.009" << IPV4Address << qint64(0x0A010009);
    QTest::newRow("MACAddress colon") << "00:30:53:1a:2b:3c" << MACAddress << qint64(0x0030531A2B3CLL);
    QTest::newRow("MACAddress hyphen") << "00-30-53-1A-2B-3C" << MACAddress << qint64(0x0030531A2B3CLL);
    QTest::newRow("MACAddress single digit groups") << "0:1:2:3:4:5" << MACAddress << qint64(0x000102030405LL);
    QTest::newRow("MACAddress decimal") << "255" << MACAddress << qint64(255);
    QTest::newRow("MACAddress hex") << "0x0030531A2B3C" << MACAddress << qint64(0x0030531A2B3CLL);
    QTest::newRow("MACAddress negative decimal") << "-1" << MACAddress << qint64(-1);
}

void tst_ValueText::integerFromString()
{
    QFETCH(QString, text);
    QFETCH(ERepresentation, representation);
    QFETCH(qint64, expected);
    QCOMPARE(IntegerFromString(text.toStdString(), representation), expected);
}

void tst_ValueText::integerFromStringRejectsInvalidText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<ERepresentation>("representation");

    QTest::newRow("empty") << "" << PureNumber;
    QTest::newRow("blank") << "   " << PureNumber;
    QTest::newRow("letters") << "abc" << PureNumber;
    QTest::newRow("trailing letters") << "12abc" << PureNumber;
    QTest::newRow("float text") << "1.5" << PureNumber;
    QTest::newRow("sign only") << "-" << PureNumber;
    QTest::newRow("double sign") << "--5" << PureNumber;
    QTest::newRow("blank after sign") << "- 5" << PureNumber;
    QTest::newRow("decimal overflow") << "9223372036854775808" << PureNumber;
    QTest::newRow("decimal underflow") << "-9223372036854775809" << PureNumber;
    QTest::newRow("hex prefix only") << "0x" << HexNumber;
    QTest::newRow("hex bad digit") << "0xg" << HexNumber;
    QTest::newRow("hex 17 digits") << "0x1ffffffffffffffff" << HexNumber;
    QTest::newRow("dotted form in PureNumber") << "192.168.1.1" << PureNumber;
    QTest::newRow("colon form in HexNumber") << "00:11:22:33:44:55" << HexNumber;
    QTest::newRow("IPV4Address part above 255") << "256.1.1.1" << IPV4Address;
    QTest::newRow("IPV4Address three parts") << "1.2.3" << IPV4Address;
    QTest::newRow("IPV4Address five parts") << "1.2.3.4.5" << IPV4Address;
    QTest::newRow("IPV4Address empty part") << "1..2.3" << IPV4Address;
    QTest::newRow("IPV4Address four digits") << "1.2.3.0004" << IPV4Address;
    QTest::newRow("IPV4Address letters") << "1.2.3.a" << IPV4Address;
    QTest::newRow("MACAddress five groups") << "00:11:22:33:44" << MACAddress;
    QTest::newRow("MACAddress seven groups") << "00:11:22:33:44:55:66" << MACAddress;
    QTest::newRow("MACAddress mixed separators") << "00:11-22:33:44:55" << MACAddress;
    QTest::newRow("MACAddress bad digit") << "00:11:22:33:44:gg" << MACAddress;
    QTest::newRow("MACAddress three digit group") << "001:11:22:33:44:55" << MACAddress;
    QTest::newRow("MACAddress trailing separator") << "00:11:22:33:44:55:" << MACAddress;
}

void tst_ValueText::integerFromStringRejectsInvalidText()
{
    QFETCH(QString, text);
    QFETCH(ERepresentation, representation);
    try {
        IntegerFromString(text.toStdString(), representation);
        QFAIL("the text was accepted");
    } catch (const GenICam::InvalidArgumentException& e) {
        QVERIFY2(QString::fromUtf8(e.GetDescription()).contains("'" + text + "'"), e.GetDescription());
    }
}

void tst_ValueText::integerRoundTripEveryRepresentation_data()
{
    QTest::addColumn<ERepresentation>("representation");
    QTest::addColumn<qint64>("mask");
    QTest::newRow("Linear") << Linear << qint64(-1);
    QTest::newRow("Logarithmic") << Logarithmic << qint64(-1);
    QTest::newRow("Boolean") << Boolean << qint64(-1);
    QTest::newRow("PureNumber") << PureNumber << qint64(-1);
    QTest::newRow("HexNumber") << HexNumber << qint64(-1);
    QTest::newRow("IPV4Address") << IPV4Address << qint64(0xFFFFFFFFLL);
    QTest::newRow("MACAddress") << MACAddress << qint64(0xFFFFFFFFFFFFLL);
}

void tst_ValueText::integerRoundTripEveryRepresentation()
{
    QFETCH(ERepresentation, representation);
    QFETCH(qint64, mask);
    std::mt19937_64 rng(99);
    QList<qint64> values = {0, 1, -1, 255, 256, std::numeric_limits<qint64>::min(),
                            std::numeric_limits<qint64>::max()};
    for (int i = 0; i < 500; ++i)
        values << static_cast<qint64>(rng());
    for (qint64 v : values) {
        const std::string text = IntegerToString(v, representation);
        QCOMPARE(IntegerFromString(text, representation), v & mask);
    }
}

void tst_ValueText::floatToString_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<EDisplayNotation>("notation");
    QTest::addColumn<qint64>("precision");
    QTest::addColumn<QString>("expected");

    QTest::newRow("Automatic short value") << 1.5 << fnAutomatic << qint64(6) << "1.5";
    QTest::newRow("Automatic tenth") << 0.1 << fnAutomatic << qint64(6) << "0.1";
    QTest::newRow("Automatic integral value") << 100.0 << fnAutomatic << qint64(6) << "100";
    QTest::newRow("Automatic rounds to precision") << 3.14159265 << fnAutomatic << qint64(4) << "3.142";
    QTest::newRow("Automatic switches to exponent for large") << 1234567.0 << fnAutomatic << qint64(6)
                                                              << "1.23457e+06";
    QTest::newRow("Automatic switches to exponent for small") << 1e-5 << fnAutomatic << qint64(6) << "1e-05";
    QTest::newRow("Automatic negative") << -2.25 << fnAutomatic << qint64(6) << "-2.25";
    QTest::newRow("Automatic precision zero acts as one") << 3.7 << fnAutomatic << qint64(0) << "4";
    QTest::newRow("Fixed two digits") << 1.5 << fnFixed << qint64(2) << "1.50";
    QTest::newRow("Fixed zero digits") << 2.5001 << fnFixed << qint64(0) << "3";
    QTest::newRow("Fixed large value") << 1234567.891 << fnFixed << qint64(1) << "1234567.9";
    QTest::newRow("Fixed negative") << -0.125 << fnFixed << qint64(3) << "-0.125";
    QTest::newRow("Fixed negative precision clamps to zero") << 7.4 << fnFixed << qint64(-3) << "7";
    QTest::newRow("Scientific three digits") << 1234.56 << fnScientific << qint64(3) << "1.235e+03";
    QTest::newRow("Scientific small") << 0.00025 << fnScientific << qint64(1) << "2.5e-04";
    QTest::newRow("Scientific zero digits") << 5.0 << fnScientific << qint64(0) << "5e+00";
    QTest::newRow("undefined notation is Automatic") << 1.5 << _UndefinedEDisplayNotation << qint64(6) << "1.5";
    QTest::newRow("infinity") << std::numeric_limits<double>::infinity() << fnFixed << qint64(2) << "inf";
    QTest::newRow("negative infinity") << -std::numeric_limits<double>::infinity() << fnAutomatic << qint64(2)
                                       << "-inf";
    QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN() << fnAutomatic << qint64(6) << "nan";
}

void tst_ValueText::floatToString()
{
    QFETCH(double, value);
    QFETCH(EDisplayNotation, notation);
    QFETCH(qint64, precision);
    QFETCH(QString, expected);
    const double lowest = std::numeric_limits<double>::lowest();
    const double highest = std::numeric_limits<double>::max();
    QCOMPARE(QString::fromStdString(FloatToString(value, notation, precision, lowest, highest)), expected);
}

void tst_ValueText::floatNudgedBackIntoRange_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<EDisplayNotation>("notation");
    QTest::addColumn<qint64>("precision");
    QTest::addColumn<double>("min");
    QTest::addColumn<double>("max");
    QTest::addColumn<QString>("expected");

    QTest::newRow("in range: printed as is") << 0.5 << fnFixed << qint64(2) << 0.0 << 1.0 << "0.50";
    QTest::newRow("rounded below min: nudged up") << 0.123456 << fnFixed << qint64(2) << 0.123 << 1.0 << "0.13";
    QTest::newRow("rounded above max: nudged down") << 9.996 << fnFixed << qint64(2) << 0.0 << 9.996 << "9.99";
    QTest::newRow("Automatic below min: nudged up") << 1.23461 << fnAutomatic << qint64(3) << 1.2346 << 2.0 << "1.24";
    QTest::newRow("Automatic above max: nudged down") << 2.9996 << fnAutomatic << qint64(4) << 0.0 << 2.9996
                                                      << "2.999";
    QTest::newRow("Scientific below min: nudged up") << 12.46 << fnScientific << qint64(1) << 12.46 << 100.0
                                                     << "1.3e+01";
    QTest::newRow("Scientific above max: nudged down") << 0.0789 << fnScientific << qint64(0) << 0.0 << 0.0789
                                                       << "7e-02";
    QTest::newRow("negative below min: nudged toward zero") << -1.06 << fnFixed << qint64(1) << -1.06 << -1.0
                                                           << "-1.0";
    QTest::newRow("range narrower than one digit: more digits") << 0.123 << fnFixed << qint64(1) << 0.121 << 0.124
                                                                << "0.123";
    QTest::newRow("precision zero: more digits") << 0.4 << fnFixed << qint64(0) << 0.4 << 0.45 << "0.4";
    QTest::newRow("value outside range is not moved") << 5.0 << fnFixed << qint64(1) << 0.0 << 1.0 << "5.0";
    QTest::newRow("value exactly at max stays") << 1.0 << fnFixed << qint64(3) << 0.0 << 1.0 << "1.000";
    QTest::newRow("single-point range") << 0.3 << fnFixed << qint64(0) << 0.3 << 0.3 << "0.3";
}

void tst_ValueText::floatNudgedBackIntoRange()
{
    QFETCH(double, value);
    QFETCH(EDisplayNotation, notation);
    QFETCH(qint64, precision);
    QFETCH(double, min);
    QFETCH(double, max);
    QFETCH(QString, expected);
    const std::string text = FloatToString(value, notation, precision, min, max);
    QCOMPARE(QString::fromStdString(text), expected);
    if (value >= min && value <= max) {
        const double back = FloatFromString(text);
        QVERIFY2(back >= min && back <= max, text.c_str());
    }
}

void tst_ValueText::floatReadBackAlwaysInsideRange_data()
{
    QTest::addColumn<EDisplayNotation>("notation");
    QTest::newRow("Automatic") << fnAutomatic;
    QTest::newRow("Fixed") << fnFixed;
    QTest::newRow("Scientific") << fnScientific;
}

void tst_ValueText::floatReadBackAlwaysInsideRange()
{
    QFETCH(EDisplayNotation, notation);
    std::mt19937_64 rng(1234);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::uniform_int_distribution<int> exponent(-12, 12);
    std::uniform_int_distribution<int> digits(0, 8);
    int nudged = 0;
    for (int i = 0; i < 4000; ++i) {
        const double scale = std::pow(10.0, exponent(rng));
        double a = (unit(rng) - 0.5) * scale;
        double b = a + unit(rng) * scale * std::pow(10.0, -digits(rng));
        const double value = a + (b - a) * unit(rng);
        const int precision = digits(rng);
        const std::string text = FloatToString(value, notation, precision, a, b);
        const double back = FloatFromString(text);
        QVERIFY2(back >= a && back <= b,
                 qPrintable(QStringLiteral("%1 in [%2, %3] printed as %4")
                                .arg(value, 0, 'g', 17).arg(a, 0, 'g', 17).arg(b, 0, 'g', 17)
                                .arg(QString::fromStdString(text))));
        const std::string plain = FloatToString(value, notation, precision, std::numeric_limits<double>::lowest(),
                                                std::numeric_limits<double>::max());
        if (plain != text)
            ++nudged;
    }
    // The ranges are drawn narrow enough that the nudge is really exercised.
    QVERIFY2(nudged > 100, qPrintable(QString::number(nudged)));
}

void tst_ValueText::floatFromString_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("expected");

    QTest::newRow("plain") << "1.5" << 1.5;
    QTest::newRow("blanks") << "  2.5\t" << 2.5;
    QTest::newRow("integer") << "-3" << -3.0;
    QTest::newRow("explicit plus") << "+4" << 4.0;
    QTest::newRow("exponent") << "1e3" << 1000.0;
    QTest::newRow("exponent upper with sign") << "1.5E-3" << 0.0015;
    QTest::newRow("exponent with plus") << "2.5e+2" << 250.0;
    QTest::newRow("leading point") << ".5" << 0.5;
    QTest::newRow("trailing point") << "5." << 5.0;
    QTest::newRow("hex integer") << "0x10" << 16.0;
    QTest::newRow("negative hex integer") << "-0x10" << -16.0;
    QTest::newRow("infinity") << "inf" << std::numeric_limits<double>::infinity();
    QTest::newRow("negative infinity") << "-inf" << -std::numeric_limits<double>::infinity();
    QTest::newRow("overflow reads as infinity") << "1e400" << std::numeric_limits<double>::infinity();
    QTest::newRow("negative overflow") << "-1e400" << -std::numeric_limits<double>::infinity();
    QTest::newRow("underflow reads as zero") << "1e-400" << 0.0;
    QTest::newRow("long fraction underflow reads as zero")
        << "0." + QString(400, '0') + "1" << 0.0;
    QTest::newRow("long integer overflow reads as infinity")
        << "1" + QString(400, '0') << std::numeric_limits<double>::infinity();
    QTest::newRow("small mantissa with large exponent overflows") << "0.001e312" << std::numeric_limits<double>::infinity();
    QTest::newRow("printed scientific reads back") << "1.23457e+06" << 1234570.0;
}

void tst_ValueText::floatFromString()
{
    QFETCH(QString, text);
    QFETCH(double, expected);
    QCOMPARE(FloatFromString(text.toStdString()), expected);
}

void tst_ValueText::floatFromStringRejectsInvalidText_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << "";
    QTest::newRow("letters") << "abc";
    QTest::newRow("decimal comma") << "1,5";
    QTest::newRow("trailing garbage") << "1.5x";
    QTest::newRow("double sign") << "--1";
    QTest::newRow("sign and plus") << "+-1";
    QTest::newRow("exponent without digits") << "1e";
    QTest::newRow("hex prefix only") << "0x";
    QTest::newRow("two points") << "1.2.3";
    QTest::newRow("inner blank") << "1 5";
}

void tst_ValueText::floatFromStringRejectsInvalidText()
{
    QFETCH(QString, text);
    QVERIFY_EXCEPTION_THROWN(FloatFromString(text.toStdString()), GenICam::InvalidArgumentException);
}

void tst_ValueText::textIgnoresGlobalLocale()
{
    const std::locale previous = std::locale::global(std::locale(std::locale::classic(), new CommaPunct));
    // The C locale changes too where the machine has a German locale installed.
    const char* cPrevious = std::setlocale(LC_NUMERIC, nullptr);
    const std::string cSaved = cPrevious ? cPrevious : "C";
    std::setlocale(LC_NUMERIC, "de_DE.UTF-8");

    const std::string fixed = FloatToString(1234.5, fnFixed, 2, 0.0, 1e6);
    const std::string automatic = FloatToString(0.25, fnAutomatic, 6, 0.0, 1.0);
    const double parsed = FloatFromString("2.75");
    const std::string integer = IntegerToString(1234567, PureNumber);
    bool commaRejected = false;
    try {
        FloatFromString("2,75");
    } catch (const GenICam::InvalidArgumentException&) {
        commaRejected = true;
    }

    std::setlocale(LC_NUMERIC, cSaved.c_str());
    std::locale::global(previous);

    QCOMPARE(QString::fromStdString(fixed), QStringLiteral("1234.50"));
    QCOMPARE(QString::fromStdString(automatic), QStringLiteral("0.25"));
    QCOMPARE(parsed, 2.75);
    QCOMPARE(QString::fromStdString(integer), QStringLiteral("1234567"));
    QVERIFY(commaRejected);
}

void tst_ValueText::conversionsAllocateAtMostTheResult()
{
    // Parsing allocates nothing; printing allocates at most the returned string.
    const std::string intText = "  -0x7fffffffffffffff ";
    const std::string floatText = "1.2345678901234567e-300";
    const std::string macText = "00:30:53:1a:2b:3c";
    long before = g_allocations.load();
    const int64_t a = IntegerFromString(intText, PureNumber);
    const double b = FloatFromString(floatText);
    const int64_t c = IntegerFromString(macText, MACAddress);
    const bool d = BooleanFromString("TRUE");
    uint8_t reg[4];
    RegisterFromString("0x01020304", reg, sizeof(reg));
    QCOMPARE(g_allocations.load() - before, 0L);
    QCOMPARE(a, -std::numeric_limits<qint64>::max());
    QCOMPARE(b, 1.2345678901234567e-300);
    QCOMPARE(c, qint64(0x0030531A2B3CLL));
    QVERIFY(d);
    QCOMPARE(int(reg[3]), 4);

    struct Case
    {
        const char* name;
        std::string (*print)();
    };
    const Case cases[] = {
        {"decimal", [] { return IntegerToString(std::numeric_limits<int64_t>::min(), PureNumber); }},
        {"hex", [] { return IntegerToString(-1, HexNumber); }},
        {"mac", [] { return IntegerToString(0x0030531A2B3CLL, MACAddress); }},
        {"ip", [] { return IntegerToString(0xC0A80101, IPV4Address); }},
        {"fixed", [] { return FloatToString(1e300, fnFixed, 20, 0.0, 1e301); }},
        {"nudged", [] { return FloatToString(0.123, fnFixed, 1, 0.121, 0.124); }},
        {"scientific", [] { return FloatToString(-1.5e-200, fnScientific, 30, -1.0, 1.0); }},
    };
    for (const Case& k : cases) {
        before = g_allocations.load();
        const std::string text = k.print();
        const long used = g_allocations.load() - before;
        QVERIFY2(used <= 1, qPrintable(QStringLiteral("%1: %2 allocations for '%3'")
                                           .arg(k.name).arg(used).arg(QString::fromStdString(text))));
    }
}

void tst_ValueText::booleanText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("expected");
    QTest::newRow("1") << "1" << true;
    QTest::newRow("0") << "0" << false;
    QTest::newRow("true lower") << "true" << true;
    QTest::newRow("false lower") << "false" << false;
    QTest::newRow("TRUE upper") << "TRUE" << true;
    QTest::newRow("False mixed") << "False" << false;
    QTest::newRow("blanks around") << " true " << true;
}

void tst_ValueText::booleanText()
{
    QFETCH(QString, text);
    QFETCH(bool, expected);
    QCOMPARE(BooleanFromString(text.toStdString()), expected);
    QCOMPARE(QString::fromStdString(BooleanToString(expected)), expected ? QStringLiteral("1") : QStringLiteral("0"));
    QCOMPARE(BooleanFromString(BooleanToString(expected)), expected);
}

void tst_ValueText::booleanFromStringRejectsInvalidText_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << "";
    QTest::newRow("yes") << "yes";
    QTest::newRow("2") << "2";
    QTest::newRow("truncated true") << "tru";
    QTest::newRow("on") << "on";
    QTest::newRow("true with suffix") << "truex";
}

void tst_ValueText::booleanFromStringRejectsInvalidText()
{
    QFETCH(QString, text);
    QVERIFY_EXCEPTION_THROWN(BooleanFromString(text.toStdString()), GenICam::InvalidArgumentException);
}

void tst_ValueText::commandText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("executes");
    QTest::newRow("1 executes") << "1" << true;
    QTest::newRow("true executes") << "True" << true;
    QTest::newRow("0 does nothing") << "0" << false;
    QTest::newRow("false does nothing") << "FALSE" << false;
}

void tst_ValueText::commandText()
{
    QFETCH(QString, text);
    QFETCH(bool, executes);
    QCOMPARE(CommandFromString(text.toStdString()), executes);
    QCOMPARE(QString::fromStdString(CommandToString(true)), QStringLiteral("1"));
    QCOMPARE(QString::fromStdString(CommandToString(false)), QStringLiteral("0"));
}

void tst_ValueText::commandFromStringRejectsInvalidText()
{
    QVERIFY_EXCEPTION_THROWN(CommandFromString("execute"), GenICam::InvalidArgumentException);
    QVERIFY_EXCEPTION_THROWN(CommandFromString(""), GenICam::InvalidArgumentException);
}

void tst_ValueText::registerToString_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("expected");
    QTest::newRow("bytes in memory order") << bytes({0x01, 0x02, 0xab, 0xff}) << "0x0102abff";
    QTest::newRow("single zero byte") << bytes({0x00}) << "0x00";
    QTest::newRow("empty register") << QByteArray() << "0x";
}

void tst_ValueText::registerToString()
{
    QFETCH(QByteArray, data);
    QFETCH(QString, expected);
    QCOMPARE(QString::fromStdString(RegisterToString(reinterpret_cast<const uint8_t*>(data.constData()),
                                                     std::size_t(data.size()))),
             expected);
}

void tst_ValueText::registerFromString_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("lower case") << "0x0102abff" << bytes({0x01, 0x02, 0xab, 0xff});
    QTest::newRow("upper case digits and prefix") << "0X0102ABFF" << bytes({0x01, 0x02, 0xab, 0xff});
    QTest::newRow("blanks around") << " 0x00ff " << bytes({0x00, 0xff});
    QTest::newRow("empty register") << "0x" << QByteArray();
}

void tst_ValueText::registerFromString()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, expected);
    QByteArray data(expected.size(), char(0x55));
    RegisterFromString(text.toStdString(), reinterpret_cast<uint8_t*>(data.data()), std::size_t(data.size()));
    QCOMPARE(data, expected);
    // And back again.
    QCOMPARE(QString::fromStdString(RegisterToString(reinterpret_cast<const uint8_t*>(data.constData()),
                                                     std::size_t(data.size()))),
             text.trimmed().toLower());
}

void tst_ValueText::registerFromStringRejectsInvalidText_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("too few bytes") << "0x0102";
    QTest::newRow("too many bytes") << "0x0102030405";
    QTest::newRow("odd digit count") << "0x0102030";
    QTest::newRow("missing prefix") << "01020304";
    QTest::newRow("bad digit") << "0x010203zz";
    QTest::newRow("empty") << "";
}

void tst_ValueText::registerFromStringRejectsInvalidText()
{
    QFETCH(QString, text);
    uint8_t data[4] = {9, 9, 9, 9};
    QVERIFY_EXCEPTION_THROWN(RegisterFromString(text.toStdString(), data, sizeof(data)),
                             GenICam::InvalidArgumentException);
    // A rejected text leaves the buffer untouched.
    for (uint8_t b : data)
        QCOMPARE(int(b), 9);
}

QTEST_APPLESS_MAIN(tst_ValueText)
#include "tst_valuetext.moc"
