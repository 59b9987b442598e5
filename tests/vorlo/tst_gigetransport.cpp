// The GigE Vision transport against a real protocol peer: aravis's fake GigE Vision camera,
// started in this process on the loopback interface.
// aravis (GLib) first: GLib uses "signals" as a name, which Qt defines as a keyword.
#include <arv.h>

#include <QtTest>

#include <Vorlo/VorloIncludes.h>

#include <atomic>

using namespace Vorlo;
using namespace GenApi;

namespace
{
    const char* const FakeSerial = "GV01";
    const guint32 FakeWidthRegister = 0x100; // WidthRegister of the fake camera's description

    class CountingImageHandler : public CImageEventHandler
    {
    public:
        void OnImageGrabbed(CInstantCamera&, const CGrabResultPtr& result) override
        {
            if (result.GrabSucceeded())
            {
                ++succeeded;
                lastWidth = result.GetWidth();
                lastPayload = result.GetPayloadSize();
            }
            else
                ++failed;
        }
        std::atomic<int> succeeded{ 0 };
        std::atomic<int> failed{ 0 };
        std::atomic<uint32_t> lastWidth{ 0 };
        std::atomic<size_t> lastPayload{ 0 };
    };

    class RemovalRecorder : public CConfigurationEventHandler
    {
    public:
        void OnCameraDeviceRemoved(CInstantCamera&) override { ++removals; }
        std::atomic<int> removals{ 0 };
    };
}

class tst_GigETransport : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void discoversTheFakeCamera();
    void deviceRecordCarriesNetworkProperties();
    void opensAndLoadsDescriptionIntoEngine();
    void writesWidthAndReadsItBackOverGvcp();
    void transportLayerParameters();
    void grabsTwentyFramesOverGvsp();
    void secondOpenOfControlledCameraFails();
    void lostPeerIsReportedAsRemoval();

private:
    CDeviceInfo findFake();
    ArvGvFakeCamera* m_fake = nullptr;
};

void tst_GigETransport::initTestCase()
{
    // Discovery on loopback works with aravis's default interface flags: the fake camera
    // answers the discovery broadcast of the "lo" interface directly.
    m_fake = arv_gv_fake_camera_new("127.0.0.1", FakeSerial);
    QVERIFY(m_fake);
    QVERIFY(arv_gv_fake_camera_is_running(m_fake));
}

void tst_GigETransport::cleanupTestCase()
{
    if (m_fake)
        g_object_unref(m_fake);
    m_fake = nullptr;
}

CDeviceInfo tst_GigETransport::findFake()
{
    ITransportLayer* tl = CTlFactory::GetInstance().CreateTl(DeviceClassGigE);
    DeviceInfoList list;
    tl->EnumerateDevices(list);
    CTlFactory::GetInstance().ReleaseTl(tl);
    for (const CDeviceInfo& info : list)
        if (info.GetSerialNumber() == FakeSerial)
            return info;
    return CDeviceInfo();
}

void tst_GigETransport::discoversTheFakeCamera()
{
    const CDeviceInfo info = findFake();
    QCOMPARE(QString(info.GetSerialNumber().c_str()), QString(FakeSerial));
    QCOMPARE(QString(info.GetDeviceClass().c_str()), QString("KesdorGigE"));
    QCOMPARE(QString(info.GetVendorName().c_str()), QString("Aravis"));
    QCOMPARE(QString(info.GetModelName().c_str()), QString("Fake"));
    QCOMPARE(QString(info.GetTLType().c_str()), QString("GEV"));
    QVERIFY(!info.GetFullName().empty());
    QVERIFY(!info.GetFriendlyName().empty());
}

void tst_GigETransport::deviceRecordCarriesNetworkProperties()
{
    const CDeviceInfo info = findFake();
    QCOMPARE(QString(info.GetAddress().c_str()), QString("127.0.0.1"));
    QCOMPARE(QString(info.GetInterface().c_str()), QString("127.0.0.1"));
    gcstring mask;
    QVERIFY(info.GetPropertyValue("SubnetMask", mask));
    QCOMPARE(QString(mask.c_str()), QString("255.0.0.0"));
    gcstring mac;
    QVERIFY(info.GetPropertyValue("MacAddress", mac));
    QCOMPARE(mac.size(), size_t(12));
}

void tst_GigETransport::opensAndLoadsDescriptionIntoEngine()
{
    IVorloDevice* device = CTlFactory::GetInstance().CreateDevice(findFake());
    device->Open();
    INodeMap* map = device->GetNodeMap();
    QVERIFY(map);
    QCOMPARE(QString(CDeviceInfoPtr(map)->GetModelName().c_str()), QString("Fake"));
    CIntegerPtr sensorWidth = map->GetNode("SensorWidth");
    QVERIFY(sensorWidth.IsValid());
    QVERIFY(sensorWidth->GetValue() > 0);
    QVERIFY(map->GetNode("PayloadSize"));
    QCOMPARE(QString(CDeviceInfoPtr(device->GetStreamGrabberNodeMap())->GetModelName().c_str()), QString("GigEStreamGrabber"));
    CTlFactory::GetInstance().DestroyDevice(device);
}

void tst_GigETransport::writesWidthAndReadsItBackOverGvcp()
{
    IVorloDevice* device = CTlFactory::GetInstance().CreateDevice(findFake());
    device->Open();
    CIntegerPtr width = device->GetNodeMap()->GetNode("Width");
    width->SetValue(256);
    QCOMPARE(width->GetValue(false, true), int64_t(256));
    // The write reached the peer's register.
    guint32 value = 0;
    QVERIFY(arv_fake_camera_read_register(arv_gv_fake_camera_get_fake_camera(m_fake), FakeWidthRegister, &value));
    QCOMPARE(value, guint32(256));
    width->SetValue(512);
    QCOMPARE(width->GetValue(false, true), int64_t(512));
    CTlFactory::GetInstance().DestroyDevice(device);
}

void tst_GigETransport::transportLayerParameters()
{
    IVorloDevice* device = CTlFactory::GetInstance().CreateDevice(findFake());
    device->Open();
    INodeMap* params = device->GetTLNodeMap();
    QVERIFY(params);
    QCOMPARE(QString(CDeviceInfoPtr(params)->GetModelName().c_str()), QString("GigETLParams"));
    for (const char* name : { "ReadTimeout", "WriteTimeout", "HeartbeatTimeout" })
        QVERIFY2(IsWritable(params->GetNode(name)), name);
    CTlFactory::GetInstance().DestroyDevice(device);
}

void tst_GigETransport::grabsTwentyFramesOverGvsp()
{
    CountingImageHandler images;
    {
        CInstantCamera camera(CTlFactory::GetInstance().CreateDevice(findFake()));
        camera.RegisterImageEventHandler(&images, RegistrationMode_ReplaceAll, Cleanup_None);
        camera.Open();
        QVERIFY(camera.IsGigE());
        CIntegerPtr(camera.GetNodeMap()->GetNode("Width"))->SetValue(320);
        CIntegerPtr(camera.GetNodeMap()->GetNode("Height"))->SetValue(240);
        camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
        QTRY_VERIFY_WITH_TIMEOUT(images.succeeded.load() >= 20, 30000);
        camera.StopGrabbing();
        QCOMPARE(images.lastWidth.load(), 320u);
        QCOMPARE(images.lastPayload.load(), size_t(320 * 240));
        INodeMap* stream = camera.GetStreamGrabberNodeMap();
        QVERIFY(CIntegerPtr(stream->GetNode("Statistic_Total_Buffer_Count"))->GetValue() >= 20);
        QVERIFY(CIntegerPtr(stream->GetNode("Statistic_Total_Packet_Count"))->GetValue() > 0);
    }
    QCOMPARE(images.DebugGetEventHandlerRegistrationCount(), 0L);
}

void tst_GigETransport::secondOpenOfControlledCameraFails()
{
    IVorloDevice* first = CTlFactory::GetInstance().CreateDevice(findFake());
    first->Open();
    IVorloDevice* second = CTlFactory::GetInstance().CreateDevice(findFake());
    bool failed = false;
    try
    {
        second->Open();
    }
    catch (const GenICam::GenericException& e)
    {
        failed = true;
        QVERIFY2(QString(e.GetDescription()).contains("Cannot open"), e.GetDescription());
    }
    QVERIFY(failed);
    CTlFactory::GetInstance().DestroyDevice(second);
    CTlFactory::GetInstance().DestroyDevice(first);
}

void tst_GigETransport::lostPeerIsReportedAsRemoval()
{
    RemovalRecorder recorder;
    CInstantCamera camera(CTlFactory::GetInstance().CreateDevice(findFake()));
    camera.RegisterConfiguration(&recorder, RegistrationMode_ReplaceAll, Cleanup_None);
    camera.Open();
    // The peer goes away: the heartbeat fails and aravis reports the loss of control.
    g_object_unref(m_fake);
    m_fake = nullptr;
    QTRY_VERIFY_WITH_TIMEOUT(recorder.removals.load() == 1, 30000);
    QVERIFY(camera.IsCameraDeviceRemoved());
    QVERIFY_EXCEPTION_THROWN(CIntegerPtr(camera.GetNodeMap()->GetNode("Width"))->GetValue(false, true), GenICam::GenericException);
    camera.Close();
    QCOMPARE(recorder.removals.load(), 1);
}

QTEST_GUILESS_MAIN(tst_GigETransport)
#include "tst_gigetransport.moc"
