// aravis's fake camera: its description loads into the engine, and through a port over the
// fake device the engine reads and writes the same values that aravis itself sees.

// aravis (GLib) first: Qt's keyword macros would break GLib's headers
#include <arv.h>

#include <GenApi/GenApi.h>

#include <QtTest>

using namespace GenApi;

namespace
{
    //! Register access through an aravis device
    class AravisPort : public CPortImpl
    {
    public:
        explicit AravisPort(ArvDevice* device) : m_device(device) {}

        void Read(void* pBuffer, int64_t Address, int64_t Length) override
        {
            GError* error = nullptr;
            if (!arv_device_read_memory(m_device, guint64(Address), guint32(Length), pBuffer, &error))
            {
                const std::string text = error ? error->message : "unknown error";
                g_clear_error(&error);
                throw RUNTIME_EXCEPTION("aravis read at 0x%llx failed: %s", static_cast<unsigned long long>(Address),
                                        text.c_str());
            }
        }
        void Write(const void* pBuffer, int64_t Address, int64_t Length) override
        {
            GError* error = nullptr;
            if (!arv_device_write_memory(m_device, guint64(Address), guint32(Length), const_cast<void*>(pBuffer),
                                         &error))
            {
                const std::string text = error ? error->message : "unknown error";
                g_clear_error(&error);
                throw RUNTIME_EXCEPTION("aravis write at 0x%llx failed: %s", static_cast<unsigned long long>(Address),
                                        text.c_str());
            }
        }

    private:
        ArvDevice* m_device;
    };
}

class tst_AravisFakeCamera : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void descriptionLoads();
    void readsMatchAravis();
    void writesAreSeenByAravis();
    void aravisWritesAreSeenAfterInvalidation();

private:
    ArvDevice* m_device = nullptr;
    QByteArray m_xml;
    CNodeMapRef m_map;
    AravisPort* m_port = nullptr;
};

void tst_AravisFakeCamera::initTestCase()
{
    ArvFakeCamera* camera = arv_fake_camera_new("ENGINE0");
    QVERIFY(camera);
    size_t size = 0;
    const char* xml = arv_fake_camera_get_genicam_xml(camera, &size);
    QVERIFY(xml && size > 0);
    m_xml = QByteArray(xml, int(size));
    g_object_unref(camera);

    GError* error = nullptr;
    m_device = arv_fake_device_new("ENGINE0", &error);
    QVERIFY2(m_device, error ? error->message : "no device");
    m_port = new AravisPort(m_device);
}

void tst_AravisFakeCamera::cleanupTestCase()
{
    m_map._Destroy();
    delete m_port;
    if (m_device)
        g_object_unref(m_device);
}

void tst_AravisFakeCamera::descriptionLoads()
{
    m_map._LoadXMLFromString(GenICam::gcstring(m_xml.constData(), size_t(m_xml.size())));
    QVERIFY(m_map._Connect(m_port));
    for (const char* name : {"Width", "Height", "GainRaw", "ExposureTimeAbs", "PixelFormat", "Root"})
        QVERIFY2(m_map._GetNode(name), name);
    NodeList_t nodes;
    m_map._Ptr->GetNodes(nodes);
    qInfo("aravis fake camera: %zu nodes", nodes.size());
}

void tst_AravisFakeCamera::readsMatchAravis()
{
    QVERIFY(m_map._Ptr);
    GError* error = nullptr;
    for (const char* name : {"Width", "Height", "GainRaw"})
    {
        const gint64 theirs = arv_device_get_integer_feature_value(m_device, name, &error);
        QVERIFY2(!error, name);
        CIntegerPtr ours = m_map._GetNode(name);
        QCOMPARE(ours->GetValue(false, true), int64_t(theirs));
    }
    const double exposure = arv_device_get_float_feature_value(m_device, "ExposureTimeAbs", &error);
    QVERIFY(!error);
    CFloatPtr ourExposure = m_map._GetNode("ExposureTimeAbs");
    QCOMPARE(ourExposure->GetValue(false, true), exposure);
    const char* pixelFormat = arv_device_get_string_feature_value(m_device, "PixelFormat", &error);
    QVERIFY(!error && pixelFormat);
    CEnumerationPtr ourPixelFormat = m_map._GetNode("PixelFormat");
    QCOMPARE(QByteArray(ourPixelFormat->ToString(false, true).c_str()), QByteArray(pixelFormat));
}

void tst_AravisFakeCamera::writesAreSeenByAravis()
{
    QVERIFY(m_map._Ptr);
    GError* error = nullptr;
    CIntegerPtr width = m_map._GetNode("Width");
    const int64_t newWidth = width->GetValue() == 320 ? 256 : 320;
    width->SetValue(newWidth);
    QCOMPARE(arv_device_get_integer_feature_value(m_device, "Width", &error), gint64(newWidth));
    CIntegerPtr height = m_map._GetNode("Height");
    height->SetValue(200);
    QCOMPARE(arv_device_get_integer_feature_value(m_device, "Height", &error), gint64(200));
    CIntegerPtr gain = m_map._GetNode("GainRaw");
    gain->SetValue(3);
    QCOMPARE(arv_device_get_integer_feature_value(m_device, "GainRaw", &error), gint64(3));
    CFloatPtr exposure = m_map._GetNode("ExposureTimeAbs");
    exposure->SetValue(2000.0);
    QCOMPARE(arv_device_get_float_feature_value(m_device, "ExposureTimeAbs", &error), 2000.0);
    CEnumerationPtr pixelFormat = m_map._GetNode("PixelFormat");
    StringList_t symbolics;
    pixelFormat->GetSymbolics(symbolics);
    QVERIFY(!symbolics.empty());
    const GenICam::gcstring target = symbolics.back();
    pixelFormat->FromString(target);
    QCOMPARE(QByteArray(arv_device_get_string_feature_value(m_device, "PixelFormat", &error)),
             QByteArray(target.c_str()));
    QVERIFY(!error);
}

void tst_AravisFakeCamera::aravisWritesAreSeenAfterInvalidation()
{
    QVERIFY(m_map._Ptr);
    GError* error = nullptr;
    CIntegerPtr height = m_map._GetNode("Height");
    height->GetValue();
    arv_device_set_integer_feature_value(m_device, "Height", 240, &error);
    QVERIFY(!error);
    m_map._InvalidateNodes();
    QCOMPARE(height->GetValue(), int64_t(240));
    arv_device_set_float_feature_value(m_device, "ExposureTimeAbs", 1500.0, &error);
    QVERIFY(!error);
    m_map._InvalidateNodes();
    CFloatPtr exposure = m_map._GetNode("ExposureTimeAbs");
    QCOMPARE(exposure->GetValue(), 1500.0);
}

QTEST_GUILESS_MAIN(tst_AravisFakeCamera)
#include "tst_aravisfakecamera.moc"
