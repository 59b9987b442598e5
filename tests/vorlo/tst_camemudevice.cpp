// The emulated camera as a device: its description in the engine, how its registers react,
// its parameter node maps, and removal.
#include <QtTest>

#include <Vorlo/VorloIncludes.h>

#include <atomic>
#include <cmath>
#include <thread>

using namespace Vorlo;
using namespace GenApi;

namespace
{
    // Opens the emulated camera with the given index for one test and destroys it after.
    struct OpenDevice
    {
        explicit OpenDevice(unsigned index)
        {
            CTlFactory& factory = CTlFactory::GetInstance();
            factory.SetCamEmuDeviceCount(std::max(2u, index + 1));
            DeviceInfoList list;
            factory.CreateTl(DeviceClassCamEmu)->EnumerateDevices(list);
            device = factory.CreateDevice(list.at(index));
            device->Open();
            map = device->GetNodeMap();
        }
        ~OpenDevice() { CTlFactory::GetInstance().DestroyDevice(device); }
        IVorloDevice* device = nullptr;
        INodeMap* map = nullptr;
    };

    QString accessName(EAccessMode mode)
    {
        switch (mode)
        {
        case NI: return "NI";
        case NA: return "NA";
        case WO: return "WO";
        case RO: return "RO";
        case RW: return "RW";
        default: return "?";
        }
    }

    struct CallbackCounter
    {
        std::atomic<int> calls{ 0 };
        void onNode(INode*) { ++calls; }
    };
}

class tst_CamEmuDevice : public QObject
{
    Q_OBJECT

private slots:
    void descriptionNamesTheModel();
    void standardFeaturesExist_data();
    void standardFeaturesExist();
    void gigeVariantAddsTransportFeatures_data();
    void gigeVariantAddsTransportFeatures();
    void allFourVisibilityLevels_data();
    void allFourVisibilityLevels();
    void accessModes_data();
    void accessModes();
    void integerRepresentations_data();
    void integerRepresentations();
    void floatWithAndWithoutIncrement();
    void floatsCarryIntegerAliases();
    void deviceStringsMatchTheRecord();
    void userIdIsWritableString();
    void payloadSizeFollowsImageFormat_data();
    void payloadSizeFollowsImageFormat();
    void exposureTimeConvertsToRaw();
    void gainConvertsToRaw();
    void resultingFrameRateBoundByExposure();
    void resultingFrameRateBoundByAcquisitionFrameRateWhenEnabled();
    void throughputLimitIsNotAvailableWhileModeOff();
    void throughputLimitBoundsPayloadTimesRate();
    void throughputLimitChangeFiresResultingFrameRateCallback();
    void bandwidthAssignedFollowsPacketSizeAndDelay_data();
    void bandwidthAssignedFollowsPacketSizeAndDelay();
    void interPacketDelayLowersResultingFrameRate();
    void gigeVariantThroughputLimitNotImplemented();
    void enumerationEntriesUnavailableAndInvisible();
    void triggerSelectorKeepsSettingsPerTrigger();
    void lutValueFollowsSelectorAndIndex();
    void userSetSaveNotAvailableForDefault();
    void userSetSaveAndLoadRoundTrip();
    void frameCountAvailableOnlyInMultiFrame();
    void deviceTemperatureIsPolled();
    void streamGrabberParameterNodeMap();
    void transportLayerParameterNodeMap();
    void unplugMakesRegistersFailAndReportsRemovalOnce();
    void reopenAfterReplugClearsRemoval();
};

void tst_CamEmuDevice::descriptionNamesTheModel()
{
    OpenDevice cam(0);
    CDeviceInfoPtr info(cam.map);
    QVERIFY(info.IsValid());
    QCOMPARE(QString(info->GetModelName().c_str()), QString("Emulation"));
    QCOMPARE(QString(info->GetVendorName().c_str()), QString("Kesdor"));
    OpenDevice gige(1);
    QCOMPARE(QString(CDeviceInfoPtr(gige.map)->GetModelName().c_str()), QString("EmulationGigE"));
}

void tst_CamEmuDevice::standardFeaturesExist_data()
{
    QTest::addColumn<QString>("name");
    for (const char* name : { "Width", "Height", "OffsetX", "OffsetY", "PixelFormat", "PayloadSize", "AcquisitionMode",
                              "AcquisitionStart", "AcquisitionStop", "AcquisitionFrameRate", "AcquisitionFrameRateEnable",
                              "ResultingFrameRate", "TriggerSelector", "TriggerMode", "TriggerSource", "TriggerSoftware",
                              "DeviceLinkSelector", "DeviceLinkSpeed", "DeviceLinkThroughputLimitMode",
                              "DeviceLinkThroughputLimit", "ExposureTime", "ExposureTimeRaw", "Gain", "GainRaw",
                              "LUTSelector", "UserSetSelector", "DeviceTemperature", "DeviceUserID", "ReverseX" })
        QTest::newRow(name) << name;
}

void tst_CamEmuDevice::standardFeaturesExist()
{
    QFETCH(QString, name);
    OpenDevice cam(0);
    INode* node = cam.map->GetNode(name.toLatin1().constData());
    QVERIFY(node);
    QVERIFY(node->IsFeature());
}

void tst_CamEmuDevice::gigeVariantAddsTransportFeatures_data()
{
    QTest::addColumn<QString>("name");
    for (const char* name : { "GevSCPD", "GevSCBWA", "GevSCPSPacketSize", "GevLinkSpeed", "GevTimestampTickFrequency",
                              "GevCurrentIPAddress", "GevMACAddress" })
        QTest::newRow(name) << name;
}

void tst_CamEmuDevice::gigeVariantAddsTransportFeatures()
{
    QFETCH(QString, name);
    OpenDevice plain(0);
    QVERIFY(plain.map->GetNode(name.toLatin1().constData()) == nullptr);
    OpenDevice gige(1);
    INode* node = gige.map->GetNode(name.toLatin1().constData());
    QVERIFY(node);
    QVERIFY(node->IsFeature());
    QVERIFY(IsReadable(node));
}

void tst_CamEmuDevice::allFourVisibilityLevels_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("visibility");
    QTest::newRow("Beginner: Width") << "Width" << int(Beginner);
    QTest::newRow("Expert: PayloadSize") << "PayloadSize" << int(Expert);
    QTest::newRow("Guru: Gamma") << "Gamma" << int(Guru);
    QTest::newRow("Invisible: ExposureTimeRaw") << "ExposureTimeRaw" << int(Invisible);
}

void tst_CamEmuDevice::allFourVisibilityLevels()
{
    QFETCH(QString, name);
    QFETCH(int, visibility);
    OpenDevice cam(0);
    INode* node = cam.map->GetNode(name.toLatin1().constData());
    QVERIFY(node);
    QCOMPARE(int(node->GetVisibility()), visibility);
}

void tst_CamEmuDevice::accessModes_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("mode");
    QTest::newRow("RW: Width") << "Width" << "RW";
    QTest::newRow("RO: PayloadSize") << "PayloadSize" << "RO";
    QTest::newRow("RO: DeviceModelName") << "DeviceModelName" << "RO";
    QTest::newRow("WO: DeviceUnlockKey") << "DeviceUnlockKey" << "WO";
    QTest::newRow("NI: BinningHorizontal") << "BinningHorizontal" << "NI";
    QTest::newRow("NA: DeviceLinkThroughputLimit with mode Off") << "DeviceLinkThroughputLimit" << "NA";
    QTest::newRow("NA: AcquisitionFrameCount in Continuous") << "AcquisitionFrameCount" << "NA";
    QTest::newRow("RO: DeviceFamilyName by imposed mode") << "DeviceFamilyName" << "RO";
}

void tst_CamEmuDevice::accessModes()
{
    QFETCH(QString, name);
    QFETCH(QString, mode);
    OpenDevice cam(0);
    INode* node = cam.map->GetNode(name.toLatin1().constData());
    QVERIFY(node);
    QCOMPARE(accessName(node->GetAccessMode()), mode);
}

void tst_CamEmuDevice::integerRepresentations_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("representation");
    QTest::addColumn<unsigned>("camera");
    QTest::newRow("Linear: Width") << "Width" << int(Linear) << 0u;
    QTest::newRow("PureNumber: PayloadSize") << "PayloadSize" << int(PureNumber) << 0u;
    QTest::newRow("HexNumber: DeviceRegistersChecksum") << "DeviceRegistersChecksum" << int(HexNumber) << 0u;
    QTest::newRow("IPV4Address: GevCurrentIPAddress") << "GevCurrentIPAddress" << int(IPV4Address) << 1u;
    QTest::newRow("MACAddress: GevMACAddress") << "GevMACAddress" << int(MACAddress) << 1u;
}

void tst_CamEmuDevice::integerRepresentations()
{
    QFETCH(QString, name);
    QFETCH(int, representation);
    QFETCH(unsigned, camera);
    OpenDevice cam(camera);
    CIntegerPtr value = cam.map->GetNode(name.toLatin1().constData());
    QVERIFY(value.IsValid());
    QCOMPARE(int(value->GetRepresentation()), representation);
    if (representation == IPV4Address)
        QCOMPARE(QString(value->ToString().c_str()), QString("192.168.100.11"));
    if (representation == MACAddress)
        QCOMPARE(QString(value->ToString().c_str()).toLower(), QString("00:30:53:0a:00:01"));
}

void tst_CamEmuDevice::floatWithAndWithoutIncrement()
{
    OpenDevice cam(0);
    CFloatPtr blackLevel = cam.map->GetNode("BlackLevel");
    CFloatPtr gamma = cam.map->GetNode("Gamma");
    QVERIFY(blackLevel->HasInc());
    QCOMPARE(blackLevel->GetInc(), 0.25);
    QCOMPARE(int(blackLevel->GetRepresentation()), int(Linear));
    QVERIFY(!gamma->HasInc());
    QCOMPARE(int(gamma->GetRepresentation()), int(PureNumber));
}

void tst_CamEmuDevice::floatsCarryIntegerAliases()
{
    OpenDevice cam(0);
    INode* gain = cam.map->GetNode("Gain");
    INode* exposure = cam.map->GetNode("ExposureTime");
    QVERIFY(gain && exposure);
    QVERIFY(gain->GetAlias());
    QCOMPARE(QString(gain->GetAlias()->GetName().c_str()), QString("GainRaw"));
    QVERIFY(exposure->GetAlias());
    QCOMPARE(QString(exposure->GetAlias()->GetName().c_str()), QString("ExposureTimeRaw"));
    QCOMPARE(int(CFloatPtr(gain)->GetRepresentation()), int(Linear));
}

void tst_CamEmuDevice::deviceStringsMatchTheRecord()
{
    OpenDevice cam(1);
    CStringPtr serial = cam.map->GetNode("DeviceSerialNumber");
    CStringPtr model = cam.map->GetNode("DeviceModelName");
    CStringPtr vendor = cam.map->GetNode("DeviceVendorName");
    QCOMPARE(QString(serial->GetValue().c_str()), QString(cam.device->GetDeviceInfo().GetSerialNumber().c_str()));
    QCOMPARE(QString(model->GetValue().c_str()), QString(cam.device->GetDeviceInfo().GetModelName().c_str()));
    QCOMPARE(QString(vendor->GetValue().c_str()), QString("Kesdor"));
}

void tst_CamEmuDevice::userIdIsWritableString()
{
    OpenDevice cam(0);
    CStringPtr userId = cam.map->GetNode("DeviceUserID");
    QVERIFY(IsWritable(userId.GetPtr()));
    userId->SetValue("left camera");
    QCOMPARE(QString(userId->GetValue(false, true).c_str()), QString("left camera"));
    // Enumeration reports the name as the user-defined name, as a real camera's discovery does.
    DeviceInfoList list;
    CTlFactory::GetInstance().CreateTl(DeviceClassCamEmu)->EnumerateDevices(list);
    QCOMPARE(QString(list.at(0).GetUserDefinedName().c_str()), QString("left camera"));
    QVERIFY(!list.at(1).IsPropertyAvailable("UserDefinedName"));
    // It stays in the camera across closing.
    cam.device->Close();
    cam.device->Open();
    QCOMPARE(QString(CStringPtr(cam.device->GetNodeMap()->GetNode("DeviceUserID"))->GetValue().c_str()), QString("left camera"));
    CStringPtr(cam.device->GetNodeMap()->GetNode("DeviceUserID"))->SetValue("");
    CTlFactory::GetInstance().CreateTl(DeviceClassCamEmu)->EnumerateDevices(list);
    QVERIFY(!list.at(0).IsPropertyAvailable("UserDefinedName"));
}

void tst_CamEmuDevice::payloadSizeFollowsImageFormat_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<QString>("format");
    QTest::addColumn<int>("payload");
    QTest::newRow("VGA Mono8") << 640 << 480 << "Mono8" << 640 * 480;
    QTest::newRow("VGA Mono16") << 640 << 480 << "Mono16" << 640 * 480 * 2;
    QTest::newRow("Mono12 takes two bytes") << 64 << 32 << "Mono12" << 64 * 32 * 2;
    QTest::newRow("full sensor") << 1280 << 1024 << "Mono8" << 1280 * 1024;
}

void tst_CamEmuDevice::payloadSizeFollowsImageFormat()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(QString, format);
    QFETCH(int, payload);
    OpenDevice cam(0);
    CIntegerPtr(cam.map->GetNode("Width"))->SetValue(width);
    CIntegerPtr(cam.map->GetNode("Height"))->SetValue(height);
    CEnumerationPtr(cam.map->GetNode("PixelFormat"))->FromString(format.toLatin1().constData());
    QCOMPARE(int(CIntegerPtr(cam.map->GetNode("PayloadSize"))->GetValue()), payload);
}

void tst_CamEmuDevice::exposureTimeConvertsToRaw()
{
    OpenDevice cam(0);
    CFloatPtr exposure = cam.map->GetNode("ExposureTime");
    CIntegerPtr raw = cam.map->GetNode("ExposureTimeRaw");
    exposure->SetValue(5000.0);
    QCOMPARE(raw->GetValue(), int64_t(500));
    raw->SetValue(1234);
    QCOMPARE(exposure->GetValue(), 12340.0);
    QCOMPARE(exposure->GetMin(), 20.0);
    QCOMPARE(exposure->GetMax(), 1000000.0);
}

void tst_CamEmuDevice::gainConvertsToRaw()
{
    OpenDevice cam(0);
    CFloatPtr gain = cam.map->GetNode("Gain");
    gain->SetValue(12.5);
    QCOMPARE(CIntegerPtr(cam.map->GetNode("GainRaw"))->GetValue(), int64_t(125));
    QCOMPARE(gain->GetMax(), 48.0);
}

void tst_CamEmuDevice::resultingFrameRateBoundByExposure()
{
    OpenDevice cam(0);
    CIntegerPtr(cam.map->GetNode("Height"))->SetValue(100);
    CFloatPtr(cam.map->GetNode("ExposureTime"))->SetValue(10000.0);
    QCOMPARE(CFloatPtr(cam.map->GetNode("ResultingFrameRate"))->GetValue(), 100.0);
    CFloatPtr(cam.map->GetNode("ExposureTime"))->SetValue(4000.0);
    QCOMPARE(CFloatPtr(cam.map->GetNode("ResultingFrameRate"))->GetValue(), 250.0);
}

void tst_CamEmuDevice::resultingFrameRateBoundByAcquisitionFrameRateWhenEnabled()
{
    OpenDevice cam(0);
    CIntegerPtr(cam.map->GetNode("Height"))->SetValue(100);
    CFloatPtr(cam.map->GetNode("ExposureTime"))->SetValue(1000.0);
    CFloatPtr(cam.map->GetNode("AcquisitionFrameRate"))->SetValue(40.0);
    CFloatPtr rate = cam.map->GetNode("ResultingFrameRate");
    QCOMPARE(rate->GetValue(), 1000.0); // the exposure of 1 ms bounds it
    CBooleanPtr(cam.map->GetNode("AcquisitionFrameRateEnable"))->SetValue(true);
    QCOMPARE(rate->GetValue(), 40.0);
}

void tst_CamEmuDevice::throughputLimitIsNotAvailableWhileModeOff()
{
    OpenDevice cam(0);
    CIntegerPtr limit = cam.map->GetNode("DeviceLinkThroughputLimit");
    QVERIFY(!IsAvailable(limit.GetPtr()));
    CEnumerationPtr(cam.map->GetNode("DeviceLinkThroughputLimitMode"))->FromString("On");
    QVERIFY(IsWritable(limit.GetPtr()));
    QCOMPARE(limit->GetMax(), CIntegerPtr(cam.map->GetNode("DeviceLinkSpeed"))->GetValue());
}

void tst_CamEmuDevice::throughputLimitBoundsPayloadTimesRate()
{
    OpenDevice cam(0);
    CIntegerPtr(cam.map->GetNode("Width"))->SetValue(640);
    CIntegerPtr(cam.map->GetNode("Height"))->SetValue(480);
    CFloatPtr(cam.map->GetNode("ExposureTime"))->SetValue(100.0);
    CFloatPtr rate = cam.map->GetNode("ResultingFrameRate");
    const double unlimited = rate->GetValue();
    CEnumerationPtr(cam.map->GetNode("DeviceLinkThroughputLimitMode"))->FromString("On");
    CIntegerPtr(cam.map->GetNode("DeviceLinkThroughputLimit"))->SetValue(10000000);
    const double limited = rate->GetValue();
    const double payload = double(CIntegerPtr(cam.map->GetNode("PayloadSize"))->GetValue());
    QVERIFY2(limited < unlimited, qPrintable(QString("%1 vs %2").arg(limited).arg(unlimited)));
    QVERIFY(payload * limited <= 10000000.0 * 1.0001);
    QVERIFY(payload * limited >= 10000000.0 * 0.99);
    CEnumerationPtr(cam.map->GetNode("DeviceLinkThroughputLimitMode"))->FromString("Off");
    QCOMPARE(rate->GetValue(), unlimited);
}

void tst_CamEmuDevice::throughputLimitChangeFiresResultingFrameRateCallback()
{
    OpenDevice cam(0);
    CallbackCounter counter;
    INode* rate = cam.map->GetNode("ResultingFrameRate");
    CallbackHandleType handle = Register(rate, counter, &CallbackCounter::onNode);
    CEnumerationPtr(cam.map->GetNode("DeviceLinkThroughputLimitMode"))->FromString("On");
    QVERIFY(counter.calls.load() > 0);
    const int before = counter.calls.load();
    CFloatPtr(cam.map->GetNode("ExposureTime"))->SetValue(3000.0);
    QVERIFY(counter.calls.load() > before);
    rate->DeregisterCallback(handle);
}

void tst_CamEmuDevice::bandwidthAssignedFollowsPacketSizeAndDelay_data()
{
    QTest::addColumn<int>("packetSize");
    QTest::addColumn<int>("delayTicks");
    QTest::newRow("1500 bytes, no delay") << 1500 << 0;
    QTest::newRow("1500 bytes, 1000 ticks") << 1500 << 1000;
    QTest::newRow("9000 bytes, no delay") << 9000 << 0;
    QTest::newRow("576 bytes, 25000 ticks") << 576 << 25000;
}

void tst_CamEmuDevice::bandwidthAssignedFollowsPacketSizeAndDelay()
{
    QFETCH(int, packetSize);
    QFETCH(int, delayTicks);
    OpenDevice cam(1);
    CIntegerPtr(cam.map->GetNode("GevSCPSPacketSize"))->SetValue(packetSize);
    CIntegerPtr(cam.map->GetNode("GevSCPD"))->SetValue(delayTicks);
    const double link = CIntegerPtr(cam.map->GetNode("GevLinkSpeed"))->GetValue() * 1e6 / 8.0;
    const double tick = double(CIntegerPtr(cam.map->GetNode("GevTimestampTickFrequency"))->GetValue());
    const double expected = (packetSize - 36.0) / ((packetSize + 38.0) / link + delayTicks / tick);
    const double assigned = double(CIntegerPtr(cam.map->GetNode("GevSCBWA"))->GetValue());
    QVERIFY2(std::fabs(assigned - expected) <= 1.0, qPrintable(QString("%1 vs %2").arg(assigned).arg(expected)));
}

void tst_CamEmuDevice::interPacketDelayLowersResultingFrameRate()
{
    OpenDevice cam(1);
    CIntegerPtr(cam.map->GetNode("Width"))->SetValue(640);
    CIntegerPtr(cam.map->GetNode("Height"))->SetValue(480);
    CFloatPtr(cam.map->GetNode("ExposureTime"))->SetValue(100.0);
    CFloatPtr rate = cam.map->GetNode("ResultingFrameRate");
    const double before = rate->GetValue();
    CIntegerPtr(cam.map->GetNode("GevSCPD"))->SetValue(2000);
    const double after = rate->GetValue();
    QVERIFY2(after < before, qPrintable(QString("%1 vs %2").arg(after).arg(before)));
    const double payload = double(CIntegerPtr(cam.map->GetNode("PayloadSize"))->GetValue());
    const double assigned = double(CIntegerPtr(cam.map->GetNode("GevSCBWA"))->GetValue());
    QVERIFY(payload * after <= assigned * 1.001);
}

void tst_CamEmuDevice::gigeVariantThroughputLimitNotImplemented()
{
    OpenDevice cam(1);
    QCOMPARE(accessName(cam.map->GetNode("DeviceLinkThroughputLimit")->GetAccessMode()), QString("NI"));
    QCOMPARE(accessName(cam.map->GetNode("DeviceLinkThroughputLimitMode")->GetAccessMode()), QString("NI"));
}

void tst_CamEmuDevice::enumerationEntriesUnavailableAndInvisible()
{
    OpenDevice cam(0);
    CEnumerationPtr format = cam.map->GetNode("PixelFormat");
    StringList_t symbolics;
    format->GetSymbolics(symbolics);
    QStringList names;
    for (const auto& s : symbolics)
        names << s.c_str();
    QVERIFY(names.contains("Mono8"));
    QVERIFY(!names.contains("RGB8"));
    IEnumEntry* rgb = format->GetEntryByName("RGB8");
    QVERIFY(rgb);
    QVERIFY(!IsAvailable(rgb));
    IEnumEntry* ycbcr = format->GetEntryByName("YCbCr422_8");
    QVERIFY(ycbcr);
    QCOMPARE(int(ycbcr->GetNode()->GetVisibility()), int(Invisible));
    QVERIFY_EXCEPTION_THROWN(format->FromString("RGB8"), GenICam::GenericException);
}

void tst_CamEmuDevice::triggerSelectorKeepsSettingsPerTrigger()
{
    OpenDevice cam(0);
    CEnumerationPtr selector = cam.map->GetNode("TriggerSelector");
    CEnumerationPtr mode = cam.map->GetNode("TriggerMode");
    selector->FromString("FrameStart");
    mode->FromString("On");
    selector->FromString("AcquisitionStart");
    QCOMPARE(QString(mode->ToString().c_str()), QString("Off"));
    selector->FromString("FrameStart");
    QCOMPARE(QString(mode->ToString().c_str()), QString("On"));
    QVERIFY(!IsAvailable(selector->GetEntryByName("FrameBurstStart")));
}

void tst_CamEmuDevice::lutValueFollowsSelectorAndIndex()
{
    OpenDevice cam(0);
    CIntegerPtr index = cam.map->GetNode("LUTIndex");
    CIntegerPtr value = cam.map->GetNode("LUTValue");
    index->SetValue(10);
    QCOMPARE(value->GetValue(), int64_t(10));
    value->SetValue(4000);
    index->SetValue(11);
    QCOMPARE(value->GetValue(), int64_t(11));
    index->SetValue(10);
    QCOMPARE(value->GetValue(), int64_t(4000));
}

void tst_CamEmuDevice::userSetSaveNotAvailableForDefault()
{
    OpenDevice cam(0);
    CEnumerationPtr selector = cam.map->GetNode("UserSetSelector");
    INode* save = cam.map->GetNode("UserSetSave");
    selector->FromString("Default");
    QVERIFY(!IsAvailable(save));
    selector->FromString("UserSet1");
    QVERIFY(IsWritable(save));
}

void tst_CamEmuDevice::userSetSaveAndLoadRoundTrip()
{
    OpenDevice cam(0);
    CIntegerPtr width = cam.map->GetNode("Width");
    CEnumerationPtr(cam.map->GetNode("UserSetSelector"))->FromString("UserSet2");
    width->SetValue(320);
    CCommandPtr(cam.map->GetNode("UserSetSave"))->Execute();
    width->SetValue(640);
    CCommandPtr(cam.map->GetNode("UserSetLoad"))->Execute();
    QCOMPARE(width->GetValue(false, true), int64_t(320));
    CEnumerationPtr(cam.map->GetNode("UserSetSelector"))->FromString("Default");
    CCommandPtr(cam.map->GetNode("UserSetLoad"))->Execute();
    QCOMPARE(width->GetValue(false, true), int64_t(1280));
}

void tst_CamEmuDevice::frameCountAvailableOnlyInMultiFrame()
{
    OpenDevice cam(0);
    INode* count = cam.map->GetNode("AcquisitionFrameCount");
    QVERIFY(!IsAvailable(count));
    CEnumerationPtr(cam.map->GetNode("AcquisitionMode"))->FromString("MultiFrame");
    QVERIFY(IsWritable(count));
}

void tst_CamEmuDevice::deviceTemperatureIsPolled()
{
    OpenDevice cam(0);
    CFloatPtr temperature = cam.map->GetNode("DeviceTemperature");
    QVERIFY(IsReadable(temperature.GetPtr()));
    const double celsius = temperature->GetValue();
    QVERIFY(celsius > 30.0 && celsius < 50.0);
    CallbackCounter counter;
    CallbackHandleType handle = Register(temperature->GetNode(), counter, &CallbackCounter::onNode);
    cam.map->Poll(500);
    QCOMPARE(counter.calls.load(), 0);
    cam.map->Poll(600);
    QVERIFY(counter.calls.load() >= 1);
    temperature->GetNode()->DeregisterCallback(handle);
}

void tst_CamEmuDevice::streamGrabberParameterNodeMap()
{
    OpenDevice cam(0);
    INodeMap* params = cam.device->GetStreamGrabberNodeMap();
    QVERIFY(params);
    QCOMPARE(QString(CDeviceInfoPtr(params)->GetModelName().c_str()), QString("CamEmuStreamGrabber"));
    for (const char* name : { "MaxNumBuffer", "MaxBufferSize", "Statistic_Total_Buffer_Count", "Statistic_Failed_Buffer_Count",
                              "Statistic_Buffer_Underrun_Count", "Statistic_Missed_Frame_Count" })
        QVERIFY2(params->GetNode(name), name);
    CIntegerPtr maxBuffers = params->GetNode("MaxNumBuffer");
    QCOMPARE(maxBuffers->GetValue(), int64_t(10));
    maxBuffers->SetValue(4);
    QCOMPARE(maxBuffers->GetValue(), int64_t(4));
    // Until someone sets it, the buffer size is the payload.
    QCOMPARE(CIntegerPtr(params->GetNode("MaxBufferSize"))->GetValue(),
             CIntegerPtr(cam.map->GetNode("PayloadSize"))->GetValue());
}

void tst_CamEmuDevice::transportLayerParameterNodeMap()
{
    OpenDevice cam(0);
    INodeMap* params = cam.device->GetTLNodeMap();
    QVERIFY(params);
    QCOMPARE(QString(CDeviceInfoPtr(params)->GetModelName().c_str()), QString("CamEmuTLParams"));
    QVERIFY(params->GetNode("ForceFailedBufferCount"));
}

void tst_CamEmuDevice::unplugMakesRegistersFailAndReportsRemovalOnce()
{
    OpenDevice cam(0);
    std::atomic<int> calls{ 0 };
    std::atomic<bool> onCallerThread{ false };
    std::atomic<bool> wrongDevice{ false };
    const std::thread::id self = std::this_thread::get_id();
    IVorloDevice::RemovalCallbackHandle handle = cam.device->RegisterRemovalCallback([&](IVorloDevice* d) {
        ++calls;
        if (std::this_thread::get_id() == self)
            onCallerThread = true;
        if (d != cam.device)
            wrongDevice = true;
    });
    QVERIFY(CTlFactory::GetInstance().SetCamEmuDeviceUnplugged("EMU-0000", true));
    QVERIFY(CTlFactory::GetInstance().SetCamEmuDeviceUnplugged("EMU-0000", true));
    QTRY_COMPARE(calls.load(), 1);
    QVERIFY(!onCallerThread.load());
    QVERIFY(!wrongDevice.load());
    QVERIFY(cam.device->IsDeviceRemoved());
    QVERIFY_EXCEPTION_THROWN(CIntegerPtr(cam.map->GetNode("Width"))->GetValue(false, true), GenICam::GenericException);
    QTest::qWait(50);
    QCOMPARE(calls.load(), 1);
    QVERIFY(cam.device->DeregisterRemovalCallback(handle));
    QVERIFY(!cam.device->DeregisterRemovalCallback(handle));
    CTlFactory::GetInstance().SetCamEmuDeviceUnplugged("EMU-0000", false);
}

void tst_CamEmuDevice::reopenAfterReplugClearsRemoval()
{
    OpenDevice cam(0);
    CTlFactory::GetInstance().SetCamEmuDeviceUnplugged("EMU-0000", true);
    QVERIFY(cam.device->IsDeviceRemoved());
    cam.device->Close();
    QVERIFY_EXCEPTION_THROWN(cam.device->Open(), GenICam::RuntimeException);
    CTlFactory::GetInstance().SetCamEmuDeviceUnplugged("EMU-0000", false);
    cam.device->Open();
    QVERIFY(!cam.device->IsDeviceRemoved());
    QCOMPARE(CIntegerPtr(cam.device->GetNodeMap()->GetNode("Width"))->GetValue(), int64_t(1280));
}

QTEST_GUILESS_MAIN(tst_CamEmuDevice)
#include "tst_camemudevice.moc"
