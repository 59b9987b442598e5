// Device and transport layer records: a property bag with named getters.
#include <QtTest>

#include <Vorlo/VorloIncludes.h>

using namespace Vorlo;

class tst_VorloInfo : public QObject
{
    Q_OBJECT

private slots:
    void absentPropertyLeavesValueUntouched();
    void namedGetters_data();
    void namedGetters();
    void setPropertyReplacesValue();
    void propertyNamesKeepOrderOfFirstSetting();
    void equalityComparesFullNamesOnly();
    void listsAreVectorsOfRecords();
};

void tst_VorloInfo::absentPropertyLeavesValueUntouched()
{
    CDeviceInfo info;
    gcstring value = "untouched";
    QVERIFY(!info.GetPropertyValue("ModelName", value));
    QCOMPARE(QString(value.c_str()), QString("untouched"));
    QVERIFY(!info.IsPropertyAvailable("ModelName"));
    QCOMPARE(QString(info.GetModelName().c_str()), QString());
}

void tst_VorloInfo::namedGetters_data()
{
    QTest::addColumn<QString>("property");
    QTest::newRow("FullName") << "FullName";
    QTest::newRow("FriendlyName") << "FriendlyName";
    QTest::newRow("DeviceClass") << "DeviceClass";
    QTest::newRow("VendorName") << "VendorName";
    QTest::newRow("ModelName") << "ModelName";
    QTest::newRow("SerialNumber") << "SerialNumber";
    QTest::newRow("UserDefinedName") << "UserDefinedName";
    QTest::newRow("DeviceVersion") << "DeviceVersion";
    QTest::newRow("TLType") << "TLType";
}

static gcstring callGetter(const CInfoBase& info, const QString& property)
{
    if (property == "FullName") return info.GetFullName();
    if (property == "FriendlyName") return info.GetFriendlyName();
    if (property == "DeviceClass") return info.GetDeviceClass();
    if (property == "VendorName") return info.GetVendorName();
    if (property == "ModelName") return info.GetModelName();
    if (property == "SerialNumber") return info.GetSerialNumber();
    if (property == "UserDefinedName") return info.GetUserDefinedName();
    if (property == "DeviceVersion") return info.GetDeviceVersion();
    if (property == "TLType") return info.GetTLType();
    return gcstring("<no getter>");
}

void tst_VorloInfo::namedGetters()
{
    QFETCH(QString, property);
    CDeviceInfo info;
    const QByteArray name = property.toLatin1();
    const QByteArray value = "value of " + name;
    info.SetPropertyValue(name.constData(), value.constData());
    QCOMPARE(QString(callGetter(info, property).c_str()), QString(value));
    // The getter reads that property only.
    CDeviceInfo other;
    other.SetPropertyValue("Unrelated", "x");
    QCOMPARE(QString(callGetter(other, property).c_str()), QString());
}

void tst_VorloInfo::setPropertyReplacesValue()
{
    CTlInfo info;
    info.SetPropertyValue("Address", "10.0.0.1");
    info.SetPropertyValue("Address", "10.0.0.2");
    gcstring value;
    QVERIFY(info.GetPropertyValue("Address", value));
    QCOMPARE(QString(value.c_str()), QString("10.0.0.2"));
    gcstring_vector names;
    QCOMPARE(info.GetPropertyNames(names), size_t(1));
}

void tst_VorloInfo::propertyNamesKeepOrderOfFirstSetting()
{
    CDeviceInfo info;
    info.SetSerialNumber("S1").SetModelName("M").SetPropertyValue("MacAddress", "0030530A0001");
    info.SetSerialNumber("S2");
    gcstring_vector names;
    QCOMPARE(info.GetPropertyNames(names), size_t(3));
    QCOMPARE(QString(names[0].c_str()), QString("SerialNumber"));
    QCOMPARE(QString(names[1].c_str()), QString("ModelName"));
    QCOMPARE(QString(names[2].c_str()), QString("MacAddress"));
}

void tst_VorloInfo::equalityComparesFullNamesOnly()
{
    CDeviceInfo a;
    a.SetFullName("CamEmu#EMU-0000").SetModelName("A");
    CDeviceInfo b;
    b.SetFullName("CamEmu#EMU-0000").SetModelName("B");
    CDeviceInfo c;
    c.SetFullName("CamEmu#EMU-0001");
    QVERIFY(a == b);
    QVERIFY(a != c);
}

void tst_VorloInfo::listsAreVectorsOfRecords()
{
    DeviceInfoList devices(2);
    devices[1].SetFullName("second");
    DeviceInfoList copy = devices;
    QCOMPARE(QString(copy[1].GetFullName().c_str()), QString("second"));
    TlInfoList layers;
    layers.push_back(CTlInfo());
    QCOMPARE(layers.size(), size_t(1));
}

QTEST_GUILESS_MAIN(tst_VorloInfo)
#include "tst_vorloinfo.moc"
