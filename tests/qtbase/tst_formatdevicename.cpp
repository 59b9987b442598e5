// The readable camera name and the encoding of a device record's texts.
#include <QtTest>

#include <VorloQtBase/formatdevicename.h>

#include <Vorlo/InfoBase.h>

class tst_FormatDeviceName : public QObject
{
    Q_OBJECT

private slots:
    void formatDeviceName_data();
    void formatDeviceName();
    void nullRecordGivesEmptyName();
    void utf8UserDefinedNameOfUtf8Device();
    void nonUtf8DeviceIsReadAsLatin1();
    void isUtf8Device_data();
    void isUtf8Device();
};

void tst_FormatDeviceName::formatDeviceName_data()
{
    QTest::addColumn<QString>("userDefinedName");
    QTest::addColumn<QString>("modelName");
    QTest::addColumn<QString>("friendlyName");
    QTest::addColumn<QString>("serialNumber");
    QTest::addColumn<int>("flags");
    QTest::addColumn<QString>("expected");

    QTest::newRow("model and serial") << "" << "Emulation" << "Kesdor Emulation (EMU-0000)" << "EMU-0000" << 0 << "Emulation (EMU-0000)";
    QTest::newRow("user-defined name wins") << "Left" << "Emulation" << "x" << "EMU-0001" << 0 << "Left (EMU-0001)";
    QTest::newRow("blank user-defined name counts as unset") << "  " << "Emulation" << "x" << "EMU-0001" << 0 << "Emulation (EMU-0001)";
    QTest::newRow("skip serial number") << "" << "Emulation" << "x" << "EMU-0000" << int(FormatDeviceNameSkipSerialNumber) << "Emulation";
    QTest::newRow("skip user-defined name") << "Left" << "Emulation" << "x" << "EMU-0002" << int(FormatDeviceNameSkipUserDefinedName) << "Emulation (EMU-0002)";
    QTest::newRow("both flags") << "Left" << "Fake" << "x" << "GV01" << int(FormatDeviceNameSkipSerialNumber | FormatDeviceNameSkipUserDefinedName) << "Fake";
    QTest::newRow("no serial number, no brackets") << "" << "Fake" << "x" << "" << 0 << "Fake";
    QTest::newRow("no model name: friendly name") << "" << "" << "Aravis Fake" << "GV01" << 0 << "Aravis Fake (GV01)";
    QTest::newRow("nothing but full name and serial") << "" << "" << "" << "GV01" << 0 << "Full#Name (GV01)";
}

void tst_FormatDeviceName::formatDeviceName()
{
    QFETCH(QString, userDefinedName);
    QFETCH(QString, modelName);
    QFETCH(QString, friendlyName);
    QFETCH(QString, serialNumber);
    QFETCH(int, flags);
    QFETCH(QString, expected);
    Vorlo::CDeviceInfo info;
    info.SetFullName("Full#Name");
    if (!userDefinedName.isEmpty())
        info.SetUserDefinedName(userDefinedName.toUtf8().constData());
    if (!modelName.isEmpty())
        info.SetModelName(modelName.toUtf8().constData());
    if (!friendlyName.isEmpty())
        info.SetFriendlyName(friendlyName.toUtf8().constData());
    if (!serialNumber.isEmpty())
        info.SetSerialNumber(serialNumber.toUtf8().constData());
    QCOMPARE(::formatDeviceName(&info, QFlags<FormatDeviceNameFlag>(flags)), expected);
}

void tst_FormatDeviceName::nullRecordGivesEmptyName()
{
    QCOMPARE(::formatDeviceName(nullptr), QString());
    QVERIFY(!IsUtf8Device(nullptr));
}

void tst_FormatDeviceName::utf8UserDefinedNameOfUtf8Device()
{
    Vorlo::CDeviceInfo info;
    info.SetPropertyValue("DeviceCharacterSet", "UTF-8");
    info.SetUserDefinedName("Kamera \xC3\xBC" "ber Band");
    info.SetSerialNumber("123");
    QCOMPARE(::formatDeviceName(&info), QString::fromUtf8("Kamera \xC3\xBC" "ber Band (123)"));
}

void tst_FormatDeviceName::nonUtf8DeviceIsReadAsLatin1()
{
    Vorlo::CDeviceInfo info;
    info.SetDeviceClass(Vorlo::DeviceClassGigE);
    info.SetModelName("M\xE4");
    QCOMPARE(::formatDeviceName(&info), QString::fromLatin1("M\xE4"));
}

void tst_FormatDeviceName::isUtf8Device_data()
{
    QTest::addColumn<QString>("deviceClass");
    QTest::addColumn<QString>("charset");
    QTest::addColumn<bool>("expected");
    QTest::newRow("emulated camera") << "KesdorCamEmu" << "" << true;
    QTest::newRow("GigE without character set") << "KesdorGigE" << "" << false;
    QTest::newRow("USB without character set") << "KesdorUsb" << "" << false;
    QTest::newRow("GigE with UTF-8") << "KesdorGigE" << "UTF-8" << true;
    QTest::newRow("GigE with utf8, lower case") << "KesdorGigE" << "utf8" << true;
    QTest::newRow("emulated with ASCII character set") << "KesdorCamEmu" << "ASCII" << false;
}

void tst_FormatDeviceName::isUtf8Device()
{
    QFETCH(QString, deviceClass);
    QFETCH(QString, charset);
    QFETCH(bool, expected);
    Vorlo::CDeviceInfo info;
    info.SetDeviceClass(deviceClass.toLatin1().constData());
    if (!charset.isEmpty())
        info.SetPropertyValue("DeviceCharacterSet", charset.toLatin1().constData());
    QCOMPARE(IsUtf8Device(&info), expected);
}

QTEST_GUILESS_MAIN(tst_FormatDeviceName)
#include "tst_formatdevicename.moc"
