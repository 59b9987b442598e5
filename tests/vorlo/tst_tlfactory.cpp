// The factory: transport layers, enumeration, device creation, emulated camera count and the
// unplug hook, USB3 Vision enumeration on a machine without cameras.
#include <QtTest>

#include <Vorlo/VorloIncludes.h>

#include <atomic>
#include <thread>

using namespace Vorlo;

class tst_TlFactory : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void camEmuCountTakenFromEnvironment();
    void enumerateTlsListsThreeLayersInOrder();
    void createTlOfUnknownClassReturnsNull();
    void createTlByInfoAndByClassGiveTheSameLayer();
    void releaseTlOfUnknownPointerIsHarmless();
    void emulatedDevicesHaveSerialNumbersOfTheirOwn();
    void emulatedDeviceRecordProperties_data();
    void emulatedDeviceRecordProperties();
    void gigeFlavouredRecordCarriesNetworkProperties();
    void enumerationReplacesListUnlessToldToAdd();
    void factoryEnumerationCoversAllLayers();
    void createDeviceOfUnpluggedCameraThrows();
    void replugMakesCameraReturnToEnumeration();
    void unplugOfUnknownSerialReturnsFalse();
    void secondDeviceObjectCannotOpenCameraInUse();
    void createDeviceOfUnknownClassThrows();
    void createFirstDeviceBySerialNumber();
    void destroyDeviceForgetsIt();
    void usbEnumerationWithoutCamerasIsEmpty();
    void enumerationOnScanThreadWhileOpeningOnAnother();
    void cleanup();
};

void tst_TlFactory::initTestCase()
{
    // Read once, when the emulation is first used.
    qputenv("VORLO_CAMEMU", "2");
}

void tst_TlFactory::camEmuCountTakenFromEnvironment()
{
    QCOMPARE(CTlFactory::GetInstance().GetCamEmuDeviceCount(), 2u);
    DeviceInfoList list;
    ITransportLayer* tl = CTlFactory::GetInstance().CreateTl(DeviceClassCamEmu);
    QVERIFY(tl);
    QCOMPARE(tl->EnumerateDevices(list), 2);
    CTlFactory::GetInstance().ReleaseTl(tl);
}

void tst_TlFactory::cleanup()
{
    CTlFactory::GetInstance().SetCamEmuDeviceCount(3);
    for (const char* serial : { "EMU-0000", "EMU-0001", "EMU-0002" })
        CTlFactory::GetInstance().SetCamEmuDeviceUnplugged(serial, false);
}

void tst_TlFactory::enumerateTlsListsThreeLayersInOrder()
{
    TlInfoList list(5);
    QCOMPARE(CTlFactory::GetInstance().EnumerateTls(list), 3);
    QCOMPARE(list.size(), size_t(3));
    QCOMPARE(QString(list[0].GetDeviceClass().c_str()), QString("KesdorCamEmu"));
    QCOMPARE(QString(list[1].GetDeviceClass().c_str()), QString("KesdorGigE"));
    QCOMPARE(QString(list[2].GetDeviceClass().c_str()), QString("KesdorUsb"));
    for (const CTlInfo& info : list)
    {
        QVERIFY(!info.GetFullName().empty());
        QVERIFY(!info.GetFriendlyName().empty());
    }
}

void tst_TlFactory::createTlOfUnknownClassReturnsNull()
{
    QVERIFY(CTlFactory::GetInstance().CreateTl("NoSuchClass") == nullptr);
    CTlInfo info;
    info.SetDeviceClass("NoSuchClass");
    QVERIFY(CTlFactory::GetInstance().CreateTl(info) == nullptr);
}

void tst_TlFactory::createTlByInfoAndByClassGiveTheSameLayer()
{
    TlInfoList list;
    CTlFactory::GetInstance().EnumerateTls(list);
    for (const CTlInfo& info : list)
    {
        ITransportLayer* a = CTlFactory::GetInstance().CreateTl(info);
        ITransportLayer* b = CTlFactory::GetInstance().CreateTl(info.GetDeviceClass());
        QVERIFY(a);
        QCOMPARE(a, b);
        QCOMPARE(QString(a->GetTlInfo().GetDeviceClass().c_str()), QString(info.GetDeviceClass().c_str()));
        QVERIFY(a->GetNodeMap() != nullptr);
        QVERIFY(a->GetNodeMap()->GetNode("DeviceDiscoveryCount") != nullptr);
        CTlFactory::GetInstance().ReleaseTl(a);
        CTlFactory::GetInstance().ReleaseTl(b);
    }
}

void tst_TlFactory::releaseTlOfUnknownPointerIsHarmless()
{
    CTlFactory::GetInstance().ReleaseTl(nullptr);
    CTlFactory::GetInstance().ReleaseTl(reinterpret_cast<ITransportLayer*>(this));
    QVERIFY(CTlFactory::GetInstance().CreateTl(DeviceClassCamEmu) != nullptr);
}

void tst_TlFactory::emulatedDevicesHaveSerialNumbersOfTheirOwn()
{
    CTlFactory::GetInstance().SetCamEmuDeviceCount(3);
    ITransportLayer* tl = CTlFactory::GetInstance().CreateTl(DeviceClassCamEmu);
    DeviceInfoList list;
    QCOMPARE(tl->EnumerateDevices(list), 3);
    QStringList serials;
    for (const CDeviceInfo& info : list)
    {
        serials << info.GetSerialNumber().c_str();
        QCOMPARE(QString(info.GetDeviceClass().c_str()), QString("KesdorCamEmu"));
    }
    QCOMPARE(serials, QStringList({ "EMU-0000", "EMU-0001", "EMU-0002" }));
    QCOMPARE(QString(list[0].GetFullName().c_str()) == QString(list[1].GetFullName().c_str()), false);
    CTlFactory::GetInstance().ReleaseTl(tl);
}

void tst_TlFactory::emulatedDeviceRecordProperties_data()
{
    QTest::addColumn<QString>("property");
    QTest::addColumn<QString>("expected");
    QTest::newRow("ModelName") << "ModelName" << "Emulation";
    QTest::newRow("VendorName") << "VendorName" << "Kesdor";
    QTest::newRow("SerialNumber") << "SerialNumber" << "EMU-0000";
    QTest::newRow("DeviceVersion") << "DeviceVersion" << "2.4.1";
    QTest::newRow("TLType") << "TLType" << "CamEmu";
    QTest::newRow("DeviceClass") << "DeviceClass" << "KesdorCamEmu";
    QTest::newRow("DeviceIdx") << "DeviceIdx" << "0";
    QTest::newRow("GTLDeviceID") << "GTLDeviceID" << "EMU-0000";
    QTest::newRow("no Address on the plain variant") << "Address" << "";
}

void tst_TlFactory::emulatedDeviceRecordProperties()
{
    QFETCH(QString, property);
    QFETCH(QString, expected);
    DeviceInfoList list;
    CTlFactory::GetInstance().CreateTl(DeviceClassCamEmu)->EnumerateDevices(list);
    QVERIFY(!list.empty());
    gcstring value;
    const bool present = list[0].GetPropertyValue(property.toLatin1().constData(), value);
    QCOMPARE(present, !expected.isEmpty());
    QCOMPARE(QString(value.c_str()), expected);
}

void tst_TlFactory::gigeFlavouredRecordCarriesNetworkProperties()
{
    DeviceInfoList list;
    CTlFactory::GetInstance().CreateTl(DeviceClassCamEmu)->EnumerateDevices(list);
    QVERIFY(list.size() >= 2);
    const CDeviceInfo& gige = list[1];
    QCOMPARE(QString(gige.GetModelName().c_str()), QString("Emulation GigE"));
    QCOMPARE(QString(gige.GetAddress().c_str()), QString("192.168.100.11"));
    QCOMPARE(QString(gige.GetMacAddress().c_str()), QString("0030530A0001"));
    QCOMPARE(QString(gige.GetInterface().c_str()), QString("192.168.100.1"));
    gcstring value;
    QVERIFY(gige.GetPropertyValue("SubnetMask", value));
    QVERIFY(gige.GetPropertyValue("IpConfigCurrent", value));
}

void tst_TlFactory::enumerationReplacesListUnlessToldToAdd()
{
    ITransportLayer* tl = CTlFactory::GetInstance().CreateTl(DeviceClassCamEmu);
    DeviceInfoList list(4);
    QCOMPARE(tl->EnumerateDevices(list), 3);
    QCOMPARE(list.size(), size_t(3));
    QCOMPARE(tl->EnumerateDevices(list, true), 3);
    QCOMPARE(list.size(), size_t(6));
    CTlFactory::GetInstance().ReleaseTl(tl);
}

void tst_TlFactory::factoryEnumerationCoversAllLayers()
{
    DeviceInfoList list(1);
    const int count = CTlFactory::GetInstance().EnumerateDevices(list);
    QCOMPARE(count, int(list.size()));
    QVERIFY(count >= 3);
    int emulated = 0;
    for (const CDeviceInfo& info : list)
        emulated += info.GetDeviceClass() == DeviceClassCamEmu ? 1 : 0;
    QCOMPARE(emulated, 3);
}

void tst_TlFactory::createDeviceOfUnpluggedCameraThrows()
{
    DeviceInfoList list;
    CTlFactory::GetInstance().CreateTl(DeviceClassCamEmu)->EnumerateDevices(list);
    QVERIFY(CTlFactory::GetInstance().SetCamEmuDeviceUnplugged("EMU-0002", true));
    bool thrown = false;
    try
    {
        CTlFactory::GetInstance().CreateDevice(list[2]);
    }
    catch (const GenICam::RuntimeException& e)
    {
        thrown = true;
        QVERIFY2(QString(e.GetDescription()).contains("not connected"), e.GetDescription());
    }
    QVERIFY(thrown);
    DeviceInfoList after;
    CTlFactory::GetInstance().CreateTl(DeviceClassCamEmu)->EnumerateDevices(after);
    QCOMPARE(after.size(), size_t(2));
}

void tst_TlFactory::replugMakesCameraReturnToEnumeration()
{
    QVERIFY(CTlFactory::GetInstance().SetCamEmuDeviceUnplugged("EMU-0001", true));
    DeviceInfoList list;
    CTlFactory::GetInstance().CreateTl(DeviceClassCamEmu)->EnumerateDevices(list);
    QCOMPARE(list.size(), size_t(2));
    QVERIFY(CTlFactory::GetInstance().SetCamEmuDeviceUnplugged("EMU-0001", false));
    CTlFactory::GetInstance().CreateTl(DeviceClassCamEmu)->EnumerateDevices(list);
    QCOMPARE(list.size(), size_t(3));
    QCOMPARE(QString(list[1].GetSerialNumber().c_str()), QString("EMU-0001"));
}

void tst_TlFactory::unplugOfUnknownSerialReturnsFalse()
{
    QVERIFY(!CTlFactory::GetInstance().SetCamEmuDeviceUnplugged("EMU-0999", true));
    QVERIFY(!CTlFactory::GetInstance().SetCamEmuDeviceUnplugged("", true));
}

void tst_TlFactory::secondDeviceObjectCannotOpenCameraInUse()
{
    DeviceInfoList list;
    CTlFactory::GetInstance().CreateTl(DeviceClassCamEmu)->EnumerateDevices(list);
    IVorloDevice* first = CTlFactory::GetInstance().CreateDevice(list[0]);
    IVorloDevice* second = CTlFactory::GetInstance().CreateDevice(list[0]);
    first->Open();
    QVERIFY(first->IsOpen());
    QVERIFY_EXCEPTION_THROWN(second->Open(), GenICam::RuntimeException);
    QVERIFY(!second->IsOpen());
    first->Close();
    second->Open();
    QVERIFY(second->IsOpen());
    CTlFactory::GetInstance().DestroyDevice(first);
    CTlFactory::GetInstance().DestroyDevice(second);
}

void tst_TlFactory::createDeviceOfUnknownClassThrows()
{
    CDeviceInfo info;
    info.SetDeviceClass("NoSuchClass");
    QVERIFY_EXCEPTION_THROWN(CTlFactory::GetInstance().CreateDevice(info), GenICam::RuntimeException);
}

void tst_TlFactory::createFirstDeviceBySerialNumber()
{
    CDeviceInfo filter;
    filter.SetFullName("EMU-0002");
    IVorloDevice* device = CTlFactory::GetInstance().CreateFirstDevice(filter);
    QVERIFY(device);
    QCOMPARE(QString(device->GetDeviceInfo().GetSerialNumber().c_str()), QString("EMU-0002"));
    CTlFactory::GetInstance().DestroyDevice(device);
}

void tst_TlFactory::destroyDeviceForgetsIt()
{
    DeviceInfoList list;
    CTlFactory::GetInstance().CreateTl(DeviceClassCamEmu)->EnumerateDevices(list);
    IVorloDevice* device = CTlFactory::GetInstance().CreateDevice(list[0]);
    QVERIFY(CTlFactory::GetInstance().IsDeviceKnown(device));
    device->Open();
    CTlFactory::GetInstance().DestroyDevice(device);
    QVERIFY(!CTlFactory::GetInstance().IsDeviceKnown(device));
    // The camera is free again for another object.
    IVorloDevice* again = CTlFactory::GetInstance().CreateDevice(list[0]);
    again->Open();
    QVERIFY(again->IsOpen());
    CTlFactory::GetInstance().DestroyDevice(again);
}

void tst_TlFactory::usbEnumerationWithoutCamerasIsEmpty()
{
    ITransportLayer* tl = CTlFactory::GetInstance().CreateTl(DeviceClassUsb);
    QVERIFY(tl);
    DeviceInfoList list(2);
    int count = -1;
    try
    {
        count = tl->EnumerateDevices(list);
    }
    catch (const GenICam::GenericException& e)
    {
        QFAIL(e.GetDescription());
    }
    QCOMPARE(count, 0);
    QVERIFY(list.empty());
    CTlFactory::GetInstance().ReleaseTl(tl);
}

void tst_TlFactory::enumerationOnScanThreadWhileOpeningOnAnother()
{
    std::atomic<bool> stop{ false };
    std::atomic<int> scans{ 0 };
    std::atomic<int> failures{ 0 };
    std::thread scanner([&] {
        while (!stop.load())
        {
            try
            {
                TlInfoList tls;
                CTlFactory::GetInstance().EnumerateTls(tls);
                ITransportLayer* tl = CTlFactory::GetInstance().CreateTl(tls[0]);
                DeviceInfoList devices;
                if (tl->EnumerateDevices(devices) != 3)
                    ++failures;
                CTlFactory::GetInstance().ReleaseTl(tl);
                ++scans;
            }
            catch (...)
            {
                ++failures;
            }
        }
    });
    DeviceInfoList list;
    CTlFactory::GetInstance().CreateTl(DeviceClassCamEmu)->EnumerateDevices(list);
    for (int i = 0; i < 20; ++i)
    {
        IVorloDevice* device = CTlFactory::GetInstance().CreateDevice(list[i % 3]);
        device->Open();
        QVERIFY(device->GetNodeMap() != nullptr);
        CTlFactory::GetInstance().DestroyDevice(device);
    }
    QTRY_VERIFY(scans.load() > 5);
    stop = true;
    scanner.join();
    QCOMPARE(failures.load(), 0);
}

QTEST_GUILESS_MAIN(tst_TlFactory)
#include "tst_tlfactory.moc"
