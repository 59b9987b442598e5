#include <VorloQtWidgets/qipaddressvalidator.h>

#include <QLineEdit>
#include <QtTest>

Q_DECLARE_METATYPE(QValidator::State)

namespace {
const QValidator::State Invalid = QValidator::Invalid;
const QValidator::State Intermediate = QValidator::Intermediate;
const QValidator::State Acceptable = QValidator::Acceptable;
} // namespace

class tst_AddressValidators : public QObject
{
    Q_OBJECT

private slots:
    void ipAddress_data();
    void ipAddress();
    void ipAddressLeavesPos();

    void netmask_data();
    void netmask();
    void netmaskFixup_data();
    void netmaskFixup();

    void addressWithNetmask_data();
    void addressWithNetmask();
    void addressWithNetmaskFlagsStartFalse();
    void addressWithNetmaskFlagsAreProperties();

    void macAddress_data();
    void macAddress();
    void macAddressSeparatorProperty();
    void macAddressCustomSeparators();
};

void tst_AddressValidators::ipAddress_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QValidator::State>("expected");

    QTest::newRow("empty input is intermediate") << "" << Intermediate;
    QTest::newRow("192.168 is intermediate (fewer than 3 dots)") << "192.168" << Intermediate;
    QTest::newRow("1.2.3.4.5 is invalid (more than 3 dots)") << "1.2.3.4.5" << Invalid;
    QTest::newRow("1.2..4 is intermediate (empty part)") << "1.2..4" << Intermediate;
    QTest::newRow("1.2.3. is intermediate (empty last part)") << "1.2.3." << Intermediate;
    QTest::newRow("blank part is intermediate") << "1.2. .4" << Intermediate;
    QTest::newRow("0.0.0.7 is intermediate (upper 24 bits zero)") << "0.0.0.7" << Intermediate;
    QTest::newRow("0.0.0.0 is intermediate") << "0.0.0.0" << Intermediate;
    QTest::newRow("0.0.1.0 is acceptable") << "0.0.1.0" << Acceptable;
    QTest::newRow("1.2.3.300 is invalid (cannot be entered)") << "1.2.3.300" << Invalid;
    QTest::newRow("letters in a part are invalid") << "1.2.3.x" << Invalid;
    QTest::newRow("192.168.0.1 is acceptable") << "192.168.0.1" << Acceptable;
    QTest::newRow("255.255.255.255 is acceptable") << "255.255.255.255" << Acceptable;
    QTest::newRow("IPv6 text is intermediate (no dots)") << "::1" << Intermediate;
}

void tst_AddressValidators::ipAddress()
{
    QFETCH(QString, input);
    QFETCH(QValidator::State, expected);
    QIpAddressValidator validator(nullptr);
    int pos = input.size();
    QCOMPARE(validator.validate(input, pos), expected);
}

void tst_AddressValidators::ipAddressLeavesPos()
{
    QIpAddressValidator validator(nullptr);
    QString input = QStringLiteral("1.2.3.4.5");
    int pos = 3;
    QCOMPARE(validator.validate(input, pos), Invalid);
    QCOMPARE(pos, 3);
}

void tst_AddressValidators::netmask_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QValidator::State>("expected");

    QTest::newRow("255.255.255.0 is acceptable") << "255.255.255.0" << Acceptable;
    QTest::newRow("255.0.255.0 is intermediate (hole)") << "255.0.255.0" << Intermediate;
    QTest::newRow("255.255.255.255 is intermediate (no zero bit)") << "255.255.255.255" << Intermediate;
    QTest::newRow("0.0.0.0 is intermediate") << "0.0.0.0" << Intermediate;
    QTest::newRow("/24 is acceptable") << "/24" << Acceptable;
    QTest::newRow("/0 is acceptable") << "/0" << Acceptable;
    QTest::newRow("/32 is acceptable") << "/32" << Acceptable;
    QTest::newRow("/40 is intermediate") << "/40" << Intermediate;
    QTest::newRow("/33 is intermediate") << "/33" << Intermediate;
    QTest::newRow("/ alone is intermediate") << "/" << Intermediate;
    QTest::newRow("/x is intermediate") << "/x" << Intermediate;
    QTest::newRow(" /8 with blanks is acceptable") << " /8 " << Acceptable;
    QTest::newRow("255.255.255.254 is intermediate (prefix 31)") << "255.255.255.254" << Intermediate;
    QTest::newRow("255.255.255.252 is acceptable (prefix 30)") << "255.255.255.252" << Acceptable;
    QTest::newRow("128.0.0.0 is acceptable (prefix 1)") << "128.0.0.0" << Acceptable;
    QTest::newRow("127.0.0.0 is intermediate (top bit clear)") << "127.0.0.0" << Intermediate;
    QTest::newRow("255.255.0.255 is intermediate (hole)") << "255.255.0.255" << Intermediate;
    QTest::newRow("255.255 is intermediate (entry in progress)") << "255.255" << Intermediate;
    QTest::newRow("255.255.255.0.1 is invalid (address rule)") << "255.255.255.0.1" << Invalid;
    QTest::newRow("255.255.255.300 is invalid") << "255.255.255.300" << Invalid;
}

void tst_AddressValidators::netmask()
{
    QFETCH(QString, input);
    QFETCH(QValidator::State, expected);
    QIpNetmaskValidator validator(nullptr);
    int pos = 0;
    QCOMPARE(validator.validate(input, pos), expected);
}

void tst_AddressValidators::netmaskFixup_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("expected");

    QTest::newRow("/24 becomes 255.255.255.0") << "/24" << "255.255.255.0";
    QTest::newRow("/0 becomes 0.0.0.0") << "/0" << "0.0.0.0";
    QTest::newRow("/x becomes 0.0.0.0") << "/x" << "0.0.0.0";
    QTest::newRow("/40 stays") << "/40" << "/40";
    QTest::newRow("/1234 stays (too long)") << "/1234" << "/1234";
    QTest::newRow("255.0.0.0 stays") << "255.0.0.0" << "255.0.0.0";
    QTest::newRow("/32 becomes 255.255.255.255") << "/32" << "255.255.255.255";
    QTest::newRow("/1 becomes 128.0.0.0") << "/1" << "128.0.0.0";
    QTest::newRow("/16 with blanks becomes 255.255.0.0") << " /16 " << "255.255.0.0";
    QTest::newRow("/-1 stays (negative)") << "/-1" << "/-1";
}

void tst_AddressValidators::netmaskFixup()
{
    QFETCH(QString, input);
    QFETCH(QString, expected);
    QIpNetmaskValidator validator(nullptr);
    validator.fixup(input);
    QCOMPARE(input, expected);
}

void tst_AddressValidators::addressWithNetmask_data()
{
    QTest::addColumn<QString>("mask");
    QTest::addColumn<QString>("flags"); // letters: L loopback, N null, B broadcast, M multicast, E experimental
    QTest::addColumn<bool>("withMaskEdit");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QValidator::State>("expected");

    const QString c = QStringLiteral("255.255.255.0");
    QTest::newRow("mask C, 192.168.0.1 is acceptable") << c << "" << true << "192.168.0.1" << Acceptable;
    QTest::newRow("mask C, network address 192.168.0.0 is intermediate") << c << "" << true << "192.168.0.0" << Intermediate;
    QTest::newRow("mask C, broadcast address 192.168.0.255 is intermediate") << c << "" << true << "192.168.0.255" << Intermediate;
    QTest::newRow("mask C, loopback 127.0.0.1 is intermediate") << c << "" << true << "127.0.0.1" << Intermediate;
    QTest::newRow("mask C, multicast 224.0.0.1 is intermediate") << c << "" << true << "224.0.0.1" << Intermediate;
    QTest::newRow("mask C, empty input is intermediate") << c << "" << true << "" << Intermediate;
    QTest::newRow("mask C, blank input is intermediate") << c << "" << true << "   " << Intermediate;
    QTest::newRow("loopback allowed: 127.0.0.1 acceptable with empty mask line") << "" << "L" << true << "127.0.0.1" << Acceptable;
    QTest::newRow("empty mask line: ordinary address is intermediate") << "" << "" << true << "192.168.0.1" << Intermediate;
    QTest::newRow("empty mask line: 10.0.0.5 is intermediate") << "" << "" << true << "10.0.0.5" << Intermediate;
    QTest::newRow("null allowed: empty input acceptable") << c << "N" << true << "" << Acceptable;
    QTest::newRow("null allowed: 0.0.0.0 acceptable") << c << "N" << true << "0.0.0.0" << Acceptable;
    QTest::newRow("null not allowed: 0.0.0.0 intermediate") << c << "" << true << "0.0.0.0" << Intermediate;
    QTest::newRow("1.2.3.300 is intermediate (typing not blocked)") << c << "" << true << "1.2.3.300" << Intermediate;
    QTest::newRow("1.2.3.4.5 is intermediate (unparsable before the address rule)") << c << "" << true << "1.2.3.4.5" << Intermediate;
    QTest::newRow("0.0.0.7 is intermediate (address rule)") << c << "" << true << "0.0.0.7" << Intermediate;
    QTest::newRow("multicast allowed: 224.0.0.1 acceptable") << c << "M" << true << "224.0.0.1" << Acceptable;
    QTest::newRow("experimental not allowed: 240.0.0.1 intermediate") << c << "" << true << "240.0.0.1" << Intermediate;
    QTest::newRow("experimental allowed: 240.0.0.1 acceptable") << c << "E" << true << "240.0.0.1" << Acceptable;
    QTest::newRow("255.255.255.255 with broadcast only is intermediate") << c << "B" << true << "255.255.255.255" << Intermediate;
    QTest::newRow("255.255.255.255 with experimental only is intermediate") << c << "E" << true << "255.255.255.255" << Intermediate;
    QTest::newRow("255.255.255.255 with broadcast and experimental is acceptable") << c << "BE" << true << "255.255.255.255" << Acceptable;
    QTest::newRow("broadcast allowed: host part all ones acceptable") << c << "B" << true << "192.168.0.255" << Acceptable;
    QTest::newRow("broadcast allowed: host part zero acceptable") << c << "B" << true << "192.168.0.0" << Acceptable;
    QTest::newRow("no mask edit: ordinary address acceptable") << "" << "" << false << "192.168.0.0" << Acceptable;
    QTest::newRow("mask with hole makes address intermediate") << "255.0.255.0" << "" << true << "192.168.0.1" << Intermediate;
    QTest::newRow("mask /24 counts as mask 0: ordinary address acceptable") << "/24" << "" << true << "192.168.0.1" << Acceptable;
    QTest::newRow("mask /24 with broadcast allowed is acceptable") << "/24" << "B" << true << "192.168.0.1" << Acceptable;
    QTest::newRow("mask B: 172.16.0.1 acceptable") << "255.255.0.0" << "" << true << "172.16.0.1" << Acceptable;
    QTest::newRow("mask B: 172.16.255.255 intermediate") << "255.255.0.0" << "" << true << "172.16.255.255" << Intermediate;
    QTest::newRow("mask /30 dotted: 10.0.0.1 acceptable") << "255.255.255.252" << "" << true << "10.0.0.1" << Acceptable;
    QTest::newRow("mask /30 dotted: 10.0.0.3 intermediate") << "255.255.255.252" << "" << true << "10.0.0.3" << Intermediate;
}

void tst_AddressValidators::addressWithNetmask()
{
    QFETCH(QString, mask);
    QFETCH(QString, flags);
    QFETCH(bool, withMaskEdit);
    QFETCH(QString, input);
    QFETCH(QValidator::State, expected);

    QLineEdit maskEdit;
    maskEdit.setText(mask);
    QIpAddressWithNetmaskValidator validator(withMaskEdit ? &maskEdit : nullptr, nullptr);
    validator.setAllowLoopbackAddress(flags.contains(QLatin1Char('L')));
    validator.setAllowNullAddress(flags.contains(QLatin1Char('N')));
    validator.setAllowBroadcastAddress(flags.contains(QLatin1Char('B')));
    validator.setAllowMulticastAddress(flags.contains(QLatin1Char('M')));
    validator.setAllowExperimentalPurposeAddress(flags.contains(QLatin1Char('E')));
    int pos = 0;
    QCOMPARE(validator.validate(input, pos), expected);
}

void tst_AddressValidators::addressWithNetmaskFlagsStartFalse()
{
    QIpAddressWithNetmaskValidator validator(nullptr, nullptr);
    QVERIFY(!validator.allowLoopbackAddress());
    QVERIFY(!validator.allowNullAddress());
    QVERIFY(!validator.allowBroadcastAddress());
    QVERIFY(!validator.allowMulticastAddress());
    QVERIFY(!validator.allowExperimentalPurposeAddress());
}

void tst_AddressValidators::addressWithNetmaskFlagsAreProperties()
{
    QIpAddressWithNetmaskValidator validator(nullptr, nullptr);
    const char* names[] = {"allowLoopbackAddress", "allowNullAddress", "allowBroadcastAddress",
                           "allowMulticastAddress", "allowExperimentalPurposeAddress"};
    for (const char* name : names) {
        QVERIFY2(validator.setProperty(name, true), name);
        QCOMPARE(validator.property(name).toBool(), true);
    }
    QVERIFY(validator.allowExperimentalPurposeAddress());
    QVERIFY(validator.allowLoopbackAddress());
}

void tst_AddressValidators::macAddress_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QValidator::State>("expected");
    QTest::addColumn<int>("expectedPos"); // -1: pos untouched

    QTest::newRow("00:11:22:33:44:55 is acceptable") << "00:11:22:33:44:55" << Acceptable << -1;
    QTest::newRow("001122334455 is acceptable") << "001122334455" << Acceptable << -1;
    QTest::newRow("00-11 2233:4455 is acceptable (separators anywhere)") << "00-11 2233:4455" << Acceptable << -1;
    QTest::newRow("00:11:22 is intermediate") << "00:11:22" << Intermediate << -1;
    QTest::newRow("00:11:22:33:44:55:66 is invalid (too many digits)") << "00:11:22:33:44:55:66" << Invalid << -1;
    QTest::newRow("00:1G is invalid at pos 4") << "00:1G" << Invalid << 4;
    QTest::newRow("empty is acceptable") << "" << Acceptable << -1;
    QTest::newRow("lower-case hex is acceptable") << "aa:bb:cc:dd:ee:ff" << Acceptable << -1;
    QTest::newRow("dot is not a separator by default, pos 2") << "00.11" << Invalid << 2;
    QTest::newRow("separators only is intermediate") << "::--  " << Intermediate << -1;
}

void tst_AddressValidators::macAddress()
{
    QFETCH(QString, input);
    QFETCH(QValidator::State, expected);
    QFETCH(int, expectedPos);
    QMacAddressValidator validator(nullptr);
    const int before = 99;
    int pos = before;
    QCOMPARE(validator.validate(input, pos), expected);
    QCOMPARE(pos, expectedPos == -1 ? before : expectedPos);
}

void tst_AddressValidators::macAddressSeparatorProperty()
{
    QMacAddressValidator validator(nullptr);
    QCOMPARE(validator.allowedSeperators(), QStringLiteral(" :-"));
    QCOMPARE(validator.property("allowedSeperators").toString(), QStringLiteral(" :-"));
}

void tst_AddressValidators::macAddressCustomSeparators()
{
    QMacAddressValidator validator(nullptr);
    validator.setAllowedSeperators(QStringLiteral("."));
    QString dotted = QStringLiteral("0011.2233.4455");
    int pos = 0;
    QCOMPARE(validator.validate(dotted, pos), Acceptable);
    QString colons = QStringLiteral("00:11");
    QCOMPARE(validator.validate(colons, pos), Invalid);
    QCOMPARE(pos, 2);
}

QTEST_MAIN(tst_AddressValidators)
#include "tst_addressvalidators.moc"
