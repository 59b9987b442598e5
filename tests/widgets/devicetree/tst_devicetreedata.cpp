// Snapshots of transport layers and devices, built from the SDK's factory with emulated cameras.

#include <QtTest>

#include "devicetreetestsupport.h"

using namespace DeviceTreeTest;

namespace {

const char* const CamEmuClass = "KesdorCamEmu";
const char* const GigEClass = "KesdorGigE";

const DeviceTreeItem* rowOfClass(const DeviceTreeData& data, const char* deviceClass)
{
    for (const DeviceTreeItem& row : data.m_items)
        if (row.GetDeviceClass() == deviceClass)
            return &row;
    return nullptr;
}

QStringList fullNames(const Vorlo::DeviceInfoList& list)
{
    QStringList names;
    for (const Vorlo::CDeviceInfo& info : list)
        names << QString::fromLatin1(info.GetFullName().c_str());
    return names;
}

QStringList layerClasses(const DeviceTreeData& data)
{
    QStringList classes;
    for (const DeviceTreeItem& row : data.m_items)
        classes << QString::fromLatin1(row.GetDeviceClass().c_str());
    return classes;
}

} // namespace

class tst_DeviceTreeData : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void snapshotListsLayersInFactoryOrderWithEmulatedCameras();
    void snapshotFollowsCameraCountBetweenScans();
    void snapshotLeavesOutUnpluggedCamera();
    void gigeOnlyKeepsOnlyTheGigELayer();
    void gigeOnlyWithoutGigELayerGivesEmptySnapshot();
    void skipDevicesCreatesNoTransportLayerAndLeavesListsEmpty();
    void layerThatCannotBeCreatedStaysWithEmptyList();
    void throwingEnumerationLeavesOtherLayersIntact_data();
    void throwingEnumerationLeavesOtherLayersIntact();
    void throwingLayerListingReachesCallerAndLeavesDataUnchanged_data();
    void throwingLayerListingReachesCallerAndLeavesDataUnchanged();
    void dumpResultsWalksEachDeviceList();

private:
    ScopedScanFactory* m_scope = nullptr;
    EmulatedCameras* m_cameras = nullptr;
};

void tst_DeviceTreeData::init()
{
    m_scope = new ScopedScanFactory;
    m_cameras = new EmulatedCameras(2);
}

void tst_DeviceTreeData::cleanup()
{
    delete m_cameras;
    m_cameras = nullptr;
    delete m_scope;
    m_scope = nullptr;
}

void tst_DeviceTreeData::snapshotListsLayersInFactoryOrderWithEmulatedCameras()
{
    DeviceTreeData data;
    DeviceTreeData::refreshDeviceTreeData(data, false, false, false);

    Vorlo::TlInfoList tls;
    Vorlo::CTlFactory::GetInstance().EnumerateTls(tls);
    QStringList expected;
    for (const Vorlo::CTlInfo& info : tls)
        expected << QString::fromLatin1(info.GetDeviceClass().c_str());
    QCOMPARE(layerClasses(data), expected);
    QVERIFY(expected.contains(QLatin1String(CamEmuClass)));

    const DeviceTreeItem* emu = rowOfClass(data, CamEmuClass);
    QVERIFY(emu);
    QCOMPARE(fullNames(emu->m_devices),
             QStringList() << "CamEmu#EMU-0000" << "CamEmu#EMU-0001");
    QCOMPARE(emu->GetFullName(), tls.front().GetFullName());
    // Every layer that was created was given back.
    QCOMPARE(m_scope->factory.createTlCalls.load(), m_scope->factory.releaseTlCalls.load());
}

void tst_DeviceTreeData::snapshotFollowsCameraCountBetweenScans()
{
    DeviceTreeData data;
    m_cameras->set(3);
    DeviceTreeData::refreshDeviceTreeData(data, false, false, false);
    QCOMPARE(rowOfClass(data, CamEmuClass)->m_devices.size(), size_t(3));

    m_cameras->set(1);
    DeviceTreeData::refreshDeviceTreeData(data, false, false, false);
    QCOMPARE(fullNames(rowOfClass(data, CamEmuClass)->m_devices), QStringList() << "CamEmu#EMU-0000");
}

void tst_DeviceTreeData::snapshotLeavesOutUnpluggedCamera()
{
    DeviceTreeData data;
    QVERIFY(EmulatedCameras::unplug("EMU-0000"));
    DeviceTreeData::refreshDeviceTreeData(data, false, false, false);
    QCOMPARE(fullNames(rowOfClass(data, CamEmuClass)->m_devices), QStringList() << "CamEmu#EMU-0001");

    QVERIFY(EmulatedCameras::unplug("EMU-0000", false));
    DeviceTreeData::refreshDeviceTreeData(data, false, false, false);
    QCOMPARE(fullNames(rowOfClass(data, CamEmuClass)->m_devices),
             QStringList() << "CamEmu#EMU-0000" << "CamEmu#EMU-0001");
}

void tst_DeviceTreeData::gigeOnlyKeepsOnlyTheGigELayer()
{
    DeviceTreeData data;
    DeviceTreeData::refreshDeviceTreeData(data, true, false, false);
    QCOMPARE(layerClasses(data), QStringList() << GigEClass);
}

void tst_DeviceTreeData::gigeOnlyWithoutGigELayerGivesEmptySnapshot()
{
    m_scope->factory.hideLayer(GigEClass);
    DeviceTreeData data;
    DeviceTreeData::refreshDeviceTreeData(data, false, false, false);
    QVERIFY(!data.m_items.empty()); // the other layers are still there ...
    DeviceTreeData::refreshDeviceTreeData(data, true, false, false);
    QVERIFY(data.m_items.empty()); // ... and none of them is kept
}

void tst_DeviceTreeData::skipDevicesCreatesNoTransportLayerAndLeavesListsEmpty()
{
    DeviceTreeData data;
    DeviceTreeData::refreshDeviceTreeData(data, false, true, false);
    QCOMPARE(m_scope->factory.createTlCalls.load(), 0);
    QVERIFY(data.m_items.size() >= 3);
    for (const DeviceTreeItem& row : data.m_items)
        QVERIFY2(row.m_devices.empty(), row.GetDeviceClass().c_str());

    // The same cameras are listed as soon as devices are asked for.
    DeviceTreeData::refreshDeviceTreeData(data, false, false, false);
    QVERIFY(m_scope->factory.createTlCalls.load() > 0);
    QCOMPARE(rowOfClass(data, CamEmuClass)->m_devices.size(), size_t(2));
}

void tst_DeviceTreeData::layerThatCannotBeCreatedStaysWithEmptyList()
{
    m_scope->factory.failCreation(CamEmuClass);
    DeviceTreeData data;
    DeviceTreeData::refreshDeviceTreeData(data, false, false, false);
    const DeviceTreeItem* emu = rowOfClass(data, CamEmuClass);
    QVERIFY(emu);
    QVERIFY(emu->m_devices.empty());
    QCOMPARE(emu->GetFriendlyName(), Vorlo::gcstring("Camera Emulation"));
    QVERIFY(rowOfClass(data, GigEClass));
    // Nothing to release for the layer that was not created.
    QCOMPARE(m_scope->factory.releaseTlCalls.load(), m_scope->factory.createTlCalls.load() - 1);
}

void tst_DeviceTreeData::throwingEnumerationLeavesOtherLayersIntact_data()
{
    QTest::addColumn<int>("fault");
    QTest::addColumn<QString>("secondLine");
    QTest::newRow("GenICam exception") << int(GenICamFault)
                                       << "refreshDeviceTreeData: Exception occurred:\ninjected fault in a device enumeration";
    QTest::newRow("std::exception") << int(StdFault)
                                    << "refreshDeviceTreeData: Exception occurred:\ninjected fault in a device enumeration\n";
    QTest::newRow("anything else") << int(UnknownFault)
                                   << "refreshDeviceTreeData: Un";
}

void tst_DeviceTreeData::throwingEnumerationLeavesOtherLayersIntact()
{
    QFETCH(int, fault);
    QFETCH(QString, secondLine);
    MessageCapture messages;
    m_scope->factory.failDeviceEnumeration(CamEmuClass, fault);

    DeviceTreeData data;
    DeviceTreeData::refreshDeviceTreeData(data, false, false, false);

    const DeviceTreeItem* emu = rowOfClass(data, CamEmuClass);
    QVERIFY(emu);
    QVERIFY(emu->m_devices.empty());
    QVERIFY(rowOfClass(data, GigEClass));
    QVERIFY(data.m_items.size() >= 3);
    // The failing layer was given back like the others.
    QCOMPARE(m_scope->factory.releaseTlCalls.load(), m_scope->factory.createTlCalls.load());

    const QStringList lines = messages.messages();
    const int at = lines.indexOf("Failed to enumerate devices for KesdorCamEmu.");
    QVERIFY2(at >= 0, qPrintable(lines.join(" | ")));
    QVERIFY(at + 1 < lines.size());
    QVERIFY2(lines.at(at + 1).startsWith(secondLine), qPrintable(lines.at(at + 1)));
    if (fault == UnknownFault) // the catch-all line names no exception, only its own end
        QVERIFY(lines.at(at + 1).endsWith(QLatin1String("ecified exception occurred.")));
}

void tst_DeviceTreeData::throwingLayerListingReachesCallerAndLeavesDataUnchanged_data()
{
    QTest::addColumn<int>("fault");
    QTest::newRow("GenICam exception") << int(GenICamFault);
    QTest::newRow("std::exception") << int(StdFault);
    QTest::newRow("anything else") << int(UnknownFault);
}

void tst_DeviceTreeData::throwingLayerListingReachesCallerAndLeavesDataUnchanged()
{
    QFETCH(int, fault);
    DeviceTreeData data;
    DeviceTreeData::refreshDeviceTreeData(data, false, false, false);
    const QStringList before = layerClasses(data);
    const QStringList devicesBefore = fullNames(rowOfClass(data, CamEmuClass)->m_devices);

    m_scope->factory.tlListFault = fault;
    m_cameras->set(4);
    bool thrown = false;
    try {
        DeviceTreeData::refreshDeviceTreeData(data, false, false, false);
    } catch (...) {
        thrown = true;
    }
    QVERIFY(thrown);
    QCOMPARE(layerClasses(data), before);
    QCOMPARE(fullNames(rowOfClass(data, CamEmuClass)->m_devices), devicesBefore);
}

void tst_DeviceTreeData::dumpResultsWalksEachDeviceList()
{
    TraceCapture trace;
    DeviceTreeData data;
    DeviceTreeData::refreshDeviceTreeData(data, false, false, false);
    QCOMPARE(trace.countContaining("refreshDeviceTreeData: KesdorCamEmu found"), 0);
    DeviceTreeData::refreshDeviceTreeData(data, false, false, true);
    QCOMPARE(trace.countContaining("refreshDeviceTreeData: KesdorCamEmu found"), 2);
    QCOMPARE(trace.countContaining("'CamEmu#EMU-0001'"), 1);
}

QTEST_GUILESS_MAIN(tst_DeviceTreeData)
#include "tst_devicetreedata.moc"
