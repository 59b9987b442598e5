// The device tooltip: records of emulated cameras from the SDK, records made here for the rows
// that no emulated camera fills, and an open emulated camera for the rows read from nodes.

#include <QtTest>

#include <VorloQtWidgets/devicetooltip.h>

#include "devicetreetestsupport.h"

using namespace DeviceTreeTest;

namespace {

struct Row
{
    const char* property;
    const char* label;
    unsigned int level;
};

// The rows filled from the record, in the order of the tooltip.
const Row RecordRows[] = {
    {"ModelName", "Model Name:\t", 0},
    {"VendorName", "Vendor:\t\t", 100},
    {"SerialNumber", "Serial Number:\t", 0},
    {"DeviceVersion", "Version:\t\t", 0},
    {"XMLSource", "XML Source:\t", 100},
    {"XMLExtensionSource_1", "XML Source Ext 1:\t", 100},
    {"XMLExtensionSource_2", "XML Source Ext 2:\t", 100},
    {"XMLExtensionSource_3", "XML Source Ext 3:\t", 100},
    {"XMLExtensionSource_4", "XML Source Ext 4:\t", 100},
    {"XMLExtensionSource_5", "XML Source Ext 5:\t", 100},
    {"XMLExtensionSource_6", "XML Source Ext 6:\t", 100},
    {"XMLExtensionSource_7", "XML Source Ext 7:\t", 100},
    {"XMLExtensionSource_8", "XML Source Ext 8:\t", 100},
    {"Address", "IP Address:\t", 0},
    {"SubnetMask", "Subnet Mask:\t", 0},
    {"DefaultGateway", "Gateway:\t", 100},
    {"MacAddress", "MAC:\t\t", 100},
    {"Interface", "Host IF:\t\t", 0},
    {"IpConfigCurrent", "IP Config:\t", 0},
    {"TLType", "TL Type:\t\t", 0},
    {"GTLInterfaceID", "Interface ID:\t", 0},
    {"GTLDeviceID", "GTL DeviceID:\t", 0},
    {"DeviceGUID", "Device GUID:\t", 0},
    {"ManufacturerInfo", "Manuf. Info:\t", 0},
    {"DeviceIdx", "Device Index:\t", 100},
    {"VendorId", "Vendor ID:\t", 100},
    {"ProductId", "Product ID:\t", 100},
    {"DriverKeyName", "Driver Key:\t", 100},
    {"UsbDriverTypeName", "USB Driver:\t", 100},
};

Vorlo::CDeviceInfo fullRecord()
{
    Vorlo::CDeviceInfo info;
    info.SetFriendlyName("Test Camera (T-1)");
    info.SetFullName("Test#T-1");
    for (const Row& row : RecordRows)
        info.SetPropertyValue(row.property, (QByteArray("v-") + row.property).constData());
    return info;
}

Vorlo::CDeviceInfo emulatedRecord(const char* serial)
{
    Vorlo::DeviceInfoList list;
    Vorlo::CTlFactory::GetInstance().EnumerateDevices(list);
    for (const Vorlo::CDeviceInfo& info : list)
        if (info.GetSerialNumber() == serial)
            return info;
    return Vorlo::CDeviceInfo();
}

class OpenCamera
{
public:
    explicit OpenCamera(const Vorlo::CDeviceInfo& info)
    {
        device = Vorlo::CTlFactory::GetInstance().CreateDevice(info);
        device->Open();
    }
    ~OpenCamera()
    {
        device->Close();
        Vorlo::CTlFactory::GetInstance().DestroyDevice(device);
    }
    QString nodeText(const char* name) const
    {
        GenApi::IValue* value = dynamic_cast<GenApi::IValue*>(device->GetNodeMap()->GetNode(name));
        return value ? QString::fromUtf8(value->ToString(false, false).c_str()) : QString();
    }
    Vorlo::IVorloDevice* device = nullptr;
};

} // namespace

class tst_DeviceToolTip : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void deviceWithNoPropertiesGivesFriendlyNameAlone();
    void rowsAppearInTableOrderWithTheirLabels();
    void detailLevelZeroNeverShowsLevel100Rows_data();
    void detailLevelZeroNeverShowsLevel100Rows();
    void detailLevel100ShowsAllRows();
    void emptyValueOfPresentPropertyFallsThroughToNode();
    void emptyValueWithoutDeviceLosesRow();
    void firmwareRowShowsNothingForClosedDevice();
    void firmwareRowShowsNodeValueForOpenDevice();
    void recordValueWinsOverNodeValue();
    void macAddressIsShownWithHyphens_data();
    void macAddressIsShownWithHyphens();
    void ipConfigurationIsShownInWords();
    void emulatedGigECameraShowsAddressRows();
    void valuesAreReadAsUtf8();

private:
    EmulatedCameras* m_cameras = nullptr;
};

void tst_DeviceToolTip::init()
{
    m_cameras = new EmulatedCameras(2);
}

void tst_DeviceToolTip::cleanup()
{
    delete m_cameras;
    m_cameras = nullptr;
}

void tst_DeviceToolTip::deviceWithNoPropertiesGivesFriendlyNameAlone()
{
    Vorlo::CDeviceInfo info;
    info.SetFriendlyName("Lonely Camera");
    QCOMPARE(formatToolTipFromDevice(info, nullptr, 0), QStringLiteral("Lonely Camera"));
    QCOMPARE(formatToolTipFromDevice(info, nullptr, 100), QStringLiteral("Lonely Camera"));
    QCOMPARE(formatToolTipFromDevice(Vorlo::CDeviceInfo(), nullptr, 100), QString());
}

void tst_DeviceToolTip::rowsAppearInTableOrderWithTheirLabels()
{
    QString expected = QStringLiteral("Test Camera (T-1)\n");
    for (const Row& row : RecordRows)
        expected += QLatin1Char('\n') + QString::fromLatin1(row.label) + "v-" + row.property;
    // Two rows pass their values through formatters that leave text that is no address or
    // number as it is.
    QCOMPARE(formatToolTipFromDevice(fullRecord(), nullptr, 100), expected);
}

void tst_DeviceToolTip::detailLevelZeroNeverShowsLevel100Rows_data()
{
    QTest::addColumn<QString>("property");
    QTest::addColumn<QString>("label");
    QTest::addColumn<bool>("detailed");
    for (const Row& row : RecordRows)
        QTest::newRow(row.property) << QString::fromLatin1(row.property) << QString::fromLatin1(row.label)
                                    << (row.level == 100);
}

void tst_DeviceToolTip::detailLevelZeroNeverShowsLevel100Rows()
{
    QFETCH(QString, property);
    QFETCH(QString, label);
    QFETCH(bool, detailed);
    Vorlo::CDeviceInfo info;
    info.SetFriendlyName("Cam");
    info.SetPropertyValue(property.toLatin1().constData(), "value");
    const QString line = label + "value";
    QCOMPARE(formatToolTipFromDevice(info, nullptr, 0).contains(line), !detailed);
    QCOMPARE(formatToolTipFromDevice(info, nullptr, 99).contains(line), !detailed);
    QVERIFY(formatToolTipFromDevice(info, nullptr, 100).contains(line));
}

void tst_DeviceToolTip::detailLevel100ShowsAllRows()
{
    const Vorlo::CDeviceInfo info = emulatedRecord("EMU-0001");
    Vorlo::CDeviceInfo full = fullRecord();
    OpenCamera camera(info);
    // Every row of the table, the one read from a node included.
    const QString tip = formatToolTipFromDevice(full, camera.device, 100);
    QCOMPARE(tip.count(QLatin1Char('\n')), 1 + 30);
    for (const Row& row : RecordRows)
        QVERIFY2(tip.contains(QString::fromLatin1(row.label) + "v-" + row.property), row.property);
    QVERIFY(tip.contains("FW Version:\t" + camera.nodeText("DeviceFirmwareVersion")));
    // At level 0 the 17 rows of level 100 are gone.
    QCOMPARE(formatToolTipFromDevice(full, camera.device, 0).count(QLatin1Char('\n')), 1 + 30 - 17);
}

void tst_DeviceToolTip::emptyValueOfPresentPropertyFallsThroughToNode()
{
    Vorlo::CDeviceInfo info = emulatedRecord("EMU-0000");
    OpenCamera camera(info);
    const QString nodeVersion = camera.nodeText("DeviceVersion");
    QVERIFY(!nodeVersion.isEmpty());
    info.SetPropertyValue("DeviceVersion", "");
    QVERIFY(info.IsPropertyAvailable("DeviceVersion"));
    QVERIFY(formatToolTipFromDevice(info, camera.device, 0).contains("Version:\t\t" + nodeVersion + "\n"));
}

void tst_DeviceToolTip::emptyValueWithoutDeviceLosesRow()
{
    Vorlo::CDeviceInfo info;
    info.SetFriendlyName("Cam");
    info.SetPropertyValue("SerialNumber", "");
    info.SetPropertyValue("DeviceVersion", "");
    QCOMPARE(formatToolTipFromDevice(info, nullptr, 100), QStringLiteral("Cam"));
}

void tst_DeviceToolTip::firmwareRowShowsNothingForClosedDevice()
{
    Vorlo::CDeviceInfo info = fullRecord();
    // A record property of that name is not read: the row has no property.
    info.SetPropertyValue("DeviceFirmwareVersion", "1.2.3");
    QVERIFY(!formatToolTipFromDevice(info, nullptr, 100).contains("FW Version:"));
    QVERIFY(!formatToolTipFromDevice(emulatedRecord("EMU-0000"), nullptr, 100).contains("FW Version:"));
}

void tst_DeviceToolTip::firmwareRowShowsNodeValueForOpenDevice()
{
    const Vorlo::CDeviceInfo info = emulatedRecord("EMU-0000");
    OpenCamera camera(info);
    const QString firmware = camera.nodeText("DeviceFirmwareVersion");
    QVERIFY(!firmware.isEmpty());
    const QString tip = formatToolTipFromDevice(info, camera.device, 0);
    QVERIFY(tip.contains("Version:\t\t2.4.1\nFW Version:\t" + firmware + "\n"));
}

void tst_DeviceToolTip::recordValueWinsOverNodeValue()
{
    Vorlo::CDeviceInfo info = emulatedRecord("EMU-0000");
    OpenCamera camera(info);
    info.SetPropertyValue("DeviceVersion", "from the record");
    const QString tip = formatToolTipFromDevice(info, camera.device, 0);
    QVERIFY(tip.contains("Version:\t\tfrom the record\n"));
    QCOMPARE(tip.count("Version:\t\t"), 1);
}

void tst_DeviceToolTip::macAddressIsShownWithHyphens_data()
{
    QTest::addColumn<QString>("mac");
    QTest::addColumn<QString>("shown");
    QTest::newRow("bare digits") << "0030531a2b3c" << "00-30-53-1A-2B-3C";
    QTest::newRow("colons") << "00:30:53:1A:2B:3C" << "00-30-53-1A-2B-3C";
    QTest::newRow("not an address") << "unknown" << "unknown";
}

void tst_DeviceToolTip::macAddressIsShownWithHyphens()
{
    QFETCH(QString, mac);
    QFETCH(QString, shown);
    Vorlo::CDeviceInfo info;
    info.SetFriendlyName("Cam");
    info.SetPropertyValue("MacAddress", mac.toLatin1().constData());
    QCOMPARE(formatToolTipFromDevice(info, nullptr, 100), "Cam\n\nMAC:\t\t" + shown);
    QCOMPARE(formatToolTipFromDevice(info, nullptr, 0), QStringLiteral("Cam"));
}

void tst_DeviceToolTip::ipConfigurationIsShownInWords()
{
    Vorlo::CDeviceInfo info;
    info.SetFriendlyName("Cam");
    info.SetPropertyValue("IpConfigCurrent", "6");
    QCOMPARE(formatToolTipFromDevice(info, nullptr, 0), QStringLiteral("Cam\n\nIP Config:\tDHCP, LLA"));
}

void tst_DeviceToolTip::emulatedGigECameraShowsAddressRows()
{
    const Vorlo::CDeviceInfo info = emulatedRecord("EMU-0001");
    Vorlo::gcstring address, mac;
    QVERIFY(info.GetPropertyValue("Address", address));
    QVERIFY(info.GetPropertyValue("MacAddress", mac));
    const QString tip = formatToolTipFromDevice(info, nullptr, 100);
    QVERIFY(tip.startsWith(QString::fromUtf8(info.GetFriendlyName().c_str()) + "\n\n"));
    QVERIFY(tip.contains("IP Address:\t" + QString::fromLatin1(address.c_str()) + "\n"));
    QVERIFY(tip.contains("MAC:\t\t" + formatMACAddressWithHyphen(mac.c_str()) + "\n"));
    QVERIFY(formatMACAddressWithHyphen(mac.c_str()).count('-') == 5);
    QVERIFY(tip.contains("Serial Number:\tEMU-0001\n"));
}

void tst_DeviceToolTip::valuesAreReadAsUtf8()
{
    Vorlo::CDeviceInfo info;
    info.SetFriendlyName("Cam");
    info.SetPropertyValue("ModelName", "K\xc3\xa4mera");
    QCOMPARE(formatToolTipFromDevice(info, nullptr, 0), QString::fromUtf8("Cam\n\nModel Name:\tK\xc3\xa4mera"));
}

QTEST_MAIN(tst_DeviceToolTip)
#include "tst_devicetooltip.moc"
