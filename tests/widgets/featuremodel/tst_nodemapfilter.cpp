// The node map filter: picking the filter file, the built-in filters, and every rule and warning.

#include <QCoreApplication>
#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QtTest>

#include <stdexcept>

#include <VorloQtWidgets/nodemapfilter.h>

#include "featuremodeltestsupport.h"

using namespace FeatureModelTest;
using namespace GenApi;

namespace {

// Every feature that a built-in filter names, as plain integers under Root, for a node map
// of the given model name. The port is there so that TestCamera can connect it.
QByteArray filteredDescription(const char* modelName)
{
    const char* names[] = {"MaxNumBuffer", "MaxBufferSize", "ReadTimeout", "WriteTimeout", "HeartbeatTimeout",
                           "MigrationModeEnable", "AcquisitionMode", "ChunkData", "TriggerMode", "DeviceScanType",
                           "ChunkDataControl", "GevSCPHostPort", "GevGVSPExtendedIDMode", "ExposureTime"};
    QByteArray body = "<Category Name=\"Root\">\n";
    for (const char* name : names)
        body += QByteArray("  <pFeature>") + name + "</pFeature>\n";
    body += "</Category>\n";
    for (const char* name : names)
        body += QByteArray("<Integer Name=\"") + name + "\"><Value>1</Value></Integer>\n";
    return descriptionHead(modelName) + body + descriptionTail();
}

QString besideApplication()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/../share/vorlo/viewer/");
}

void writeBesideApplication(const QString& fileName, const QByteArray& content)
{
    QDir().mkpath(besideApplication());
    QFile file(besideApplication() + fileName);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(content);
}

QDomElement rule(QDomDocument& document, const QByteArray& xml)
{
    document.setContent(xml);
    return document.documentElement();
}

// A node map that isn't an IDeviceInfo.
class PlainNodeMap : public INodeMap
{
public:
    void GetNodes(NodeList_t&) const override {}
    INode* GetNode(const gcstring&) const override { return nullptr; }
    void InvalidateNodes() const override {}
    bool Connect(IPort*, const gcstring&) const override { return false; }
    bool Connect(IPort*) const override { return false; }
    gcstring GetDeviceName() override { return "Device"; }
    void Poll(int64_t) override {}
    CLock& GetLock() const override { return m_lock; }
    uint64_t GetNumNodes() const override { return 0; }

private:
    mutable CLock m_lock;
};

// A node whose imposes fail, for the failure texts of processElement.
class FailingNode : public StubNode
{
public:
    FailingNode() : StubNode("Failing") {}

    void ImposeAccessMode(EAccessMode) override { throw ACCESS_EXCEPTION("access mode refused"); }
    void ImposeVisibility(EVisibility) override
    {
        if (failVisibility)
            throw std::runtime_error("visibility refused");
    }
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIInteger; }
    bool IsFeature() const override { return true; }

    bool failVisibility = true;
};

// A node map with device information whose model name can't be read, or that has one node
// whose imposes fail.
class FailingNodeMap : public PlainNodeMap, public IDeviceInfo
{
public:
    enum Failure { None, GenICamFailure, StandardFailure, UnknownFailure };
    explicit FailingNodeMap(Failure failure) : m_failure(failure) {}

    INode* GetNode(const gcstring& name) const override
    {
        return name == "Failing" ? const_cast<FailingNode*>(&node) : nullptr;
    }
    gcstring GetModelName() override
    {
        switch (m_failure)
        {
        case GenICamFailure:
            throw RUNTIME_EXCEPTION("no model name");
        case StandardFailure:
            throw std::runtime_error("no model name");
        case UnknownFailure:
            throw 42;
        default:
            return "FailingCam";
        }
    }
    gcstring GetVendorName() override { return "Kesdor"; }
    gcstring GetToolTip() override { return gcstring(); }
    gcstring GetStandardNameSpace() override { return "None"; }
    void GetGenApiVersion(Version_t&, uint16_t&) override {}
    void GetSchemaVersion(Version_t&) override {}
    void GetDeviceVersion(Version_t&) override {}
    gcstring GetProductGuid() override { return gcstring(); }
    gcstring GetVersionGuid() override { return gcstring(); }

    FailingNode node;

private:
    Failure m_failure;
};

} // namespace

class TestNodeMapFilter : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void fileBesideApplicationOverridesBuiltInFilter();
    void nullMapFailsSilentlyButMapWithoutDeviceInfoWarns();
    void ruleNamingMissingNodeDoesNotStopTheNextRule();
    void lowerCaseGuruIsAnInvalidVisibility();
    void invisibleWithAccessModeRwHidesNodeThenFails();
    void malformedXmlBesideApplicationLeavesMapUnfiltered();
    void twoChunkDataRulesImposeSameValueTwice();

    void builtInFilterForEachModelName_data();
    void builtInFilterForEachModelName();
    void ruleWarnings_data();
    void ruleWarnings();
    void accessModeRules_data();
    void accessModeRules();
    void defaultFilterHasFiftyOneRules();
    void applyingTwiceImposesTheSameAgain();
    void modelNameFailureIsLoggedAndNothingApplied_data();
    void modelNameFailureIsLoggedAndNothingApplied();
    void imposeFailuresAreLoggedAndStopTheRule();
};

void TestNodeMapFilter::cleanup()
{
    QDir(besideApplication()).removeRecursively();
}

void TestNodeMapFilter::fileBesideApplicationOverridesBuiltInFilter()
{
    writeBesideApplication(QStringLiteral("GigETLParams_Filter.xml"),
                           "<Filter><Feature><Name>ExposureTime</Name><Visibility>Expert</Visibility></Feature></Filter>");
    TestCamera camera(filteredDescription("GigETLParams"));
    QVERIFY(NodeMapFilter::applyFilter(camera.map()));
    QCOMPARE(camera.node("ExposureTime")->GetVisibility(), Expert);
    // The built-in file of that name isn't read, so its rules aren't imposed.
    QCOMPARE(camera.node("ReadTimeout")->GetVisibility(), Beginner);
    QCOMPARE(camera.node("Root")->GetVisibility(), Beginner);

    // A default beside the application applies to other model names in place of the built-in one.
    writeBesideApplication(QStringLiteral("Default_Filter.xml"),
                           "<Filter><Feature><Name>ExposureTime</Name><Visibility>Guru</Visibility></Feature></Filter>");
    TestCamera other(filteredDescription("SomeCamera"));
    QVERIFY(NodeMapFilter::applyFilter(other.map()));
    QCOMPARE(other.node("ExposureTime")->GetVisibility(), Guru);
    QCOMPARE(other.node("AcquisitionMode")->GetVisibility(), Beginner);
}

void TestNodeMapFilter::nullMapFailsSilentlyButMapWithoutDeviceInfoWarns()
{
    QVERIFY(!NodeMapFilter::applyFilter(nullptr));
    PlainNodeMap plain;
    QTest::ignoreMessage(QtWarningMsg, "createDocument: nodemap doesn't implement IDeviceInfo interface");
    QVERIFY(!NodeMapFilter::applyFilter(&plain));
    QDomDocument document;
    QTest::ignoreMessage(QtWarningMsg, "createDocument: nodemap doesn't implement IDeviceInfo interface");
    QVERIFY(!NodeMapFilter::createDocument(document, nullptr));
}

void TestNodeMapFilter::ruleNamingMissingNodeDoesNotStopTheNextRule()
{
    writeBesideApplication(QStringLiteral("RuleCam_Filter.xml"),
                           "<Filter>\n"
                           "  <Feature><Name>NoSuchNode</Name><Visibility>Guru</Visibility></Feature>\n"
                           "  <!-- comments are allowed -->\n"
                           "  <Feature><Name>ExposureTime</Name><Visibility>Guru</Visibility></Feature>\n"
                           "</Filter>\n");
    TestCamera camera(filteredDescription("RuleCam"));
    QVERIFY(NodeMapFilter::applyFilter(camera.map()));
    QCOMPARE(camera.node("ExposureTime")->GetVisibility(), Guru);

    QDomDocument document;
    QDomElement missing = rule(document, "<Feature><Name>NoSuchNode</Name></Feature>");
    QVERIFY(!NodeMapFilter::processElement(missing, camera.map()));
}

void TestNodeMapFilter::lowerCaseGuruIsAnInvalidVisibility()
{
    TestCamera camera(filteredDescription("RuleCam"));
    QDomDocument document;
    QDomElement element =
        rule(document, "<Feature><Name>ExposureTime</Name><Visibility>guru</Visibility><AccessMode>RO</AccessMode></Feature>");
    QTest::ignoreMessage(QtWarningMsg, "processElement: invalid visibility: guru");
    QVERIFY(!NodeMapFilter::processElement(element, camera.map()));
    QCOMPARE(camera.node("ExposureTime")->GetVisibility(), Beginner);
    // The access mode isn't looked at after a bad visibility.
    QCOMPARE(camera.node("ExposureTime")->GetAccessMode(), RW);
}

void TestNodeMapFilter::invisibleWithAccessModeRwHidesNodeThenFails()
{
    TestCamera camera(filteredDescription("RuleCam"));
    QDomDocument document;
    QDomElement element = rule(
        document, "<Feature><Name>ExposureTime</Name><Visibility>Invisible</Visibility><AccessMode>RW</AccessMode></Feature>");
    QTest::ignoreMessage(QtWarningMsg, "processElement: invalid access mode: RW");
    QVERIFY(!NodeMapFilter::processElement(element, camera.map()));
    QCOMPARE(camera.node("ExposureTime")->GetVisibility(), Invisible);
    QCOMPARE(camera.node("ExposureTime")->GetAccessMode(), RW);
}

void TestNodeMapFilter::malformedXmlBesideApplicationLeavesMapUnfiltered()
{
    writeBesideApplication(QStringLiteral("CamEmuStreamGrabber_Filter.xml"),
                           "<Filter><Feature><Name>MaxNumBuffer</Name></Filter>");
    TestCamera camera(filteredDescription("CamEmuStreamGrabber"));
    const QString file = QDir::cleanPath(besideApplication() + QStringLiteral("CamEmuStreamGrabber_Filter.xml"));
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(QStringLiteral("^createDocument: failed to parse file .*CamEmuStreamGrabber_Filter\\.xml: .+ \\(\\d+, \\d+\\)$")));
    QVERIFY(!NodeMapFilter::applyFilter(camera.map()));
    Q_UNUSED(file);
    // Neither the built-in filter of that name nor the default stepped in.
    QCOMPARE(camera.node("MaxNumBuffer")->GetVisibility(), Beginner);
    QCOMPARE(camera.node("Root")->GetVisibility(), Beginner);
    QCOMPARE(camera.node("AcquisitionMode")->GetVisibility(), Beginner);
}

void TestNodeMapFilter::twoChunkDataRulesImposeSameValueTwice()
{
    TestCamera camera(filteredDescription("SomeCamera"));
    QVERIFY(NodeMapFilter::applyFilter(camera.map()));
    QCOMPARE(camera.node("ChunkData")->GetVisibility(), Invisible);
    QFile file(QStringLiteral(":/vorloqtwidgets/Resources/Default_Filter.xml"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(QString::fromUtf8(file.readAll()).count(QStringLiteral("<Name>ChunkData</Name>")), 2);
}

void TestNodeMapFilter::builtInFilterForEachModelName_data()
{
    QTest::addColumn<QString>("modelName");
    QTest::addColumn<QString>("node");
    QTest::addColumn<int>("visibility");
    QTest::addColumn<int>("accessMode");
    QTest::newRow("emulated stream grabber: root") << QStringLiteral("CamEmuStreamGrabber") << QStringLiteral("Root") << int(Guru) << -1;
    QTest::newRow("emulated stream grabber: buffers") << QStringLiteral("CamEmuStreamGrabber") << QStringLiteral("MaxNumBuffer") << int(Invisible) << int(RW);
    QTest::newRow("emulated stream grabber: buffer size") << QStringLiteral("CamEmuStreamGrabber") << QStringLiteral("MaxBufferSize") << int(Invisible) << int(RW);
    QTest::newRow("GigE stream grabber: root") << QStringLiteral("GigEStreamGrabber") << QStringLiteral("Root") << int(Guru) << -1;
    QTest::newRow("GigE stream grabber: buffers") << QStringLiteral("GigEStreamGrabber") << QStringLiteral("MaxNumBuffer") << int(Invisible) << int(RW);
    QTest::newRow("GigE transport layer: root") << QStringLiteral("GigETLParams") << QStringLiteral("Root") << int(Guru) << -1;
    QTest::newRow("GigE transport layer: read timeout") << QStringLiteral("GigETLParams") << QStringLiteral("ReadTimeout") << int(Guru) << int(RW);
    QTest::newRow("GigE transport layer: heartbeat") << QStringLiteral("GigETLParams") << QStringLiteral("HeartbeatTimeout") << int(Guru) << int(RW);
    QTest::newRow("GigE transport layer: other features untouched") << QStringLiteral("GigETLParams") << QStringLiteral("AcquisitionMode") << int(Beginner) << int(RW);
    QTest::newRow("IIDC stream grabber: root") << QStringLiteral("IIDC1394StreamGrabber") << QStringLiteral("Root") << int(Invisible) << -1;
    QTest::newRow("USB transport layer: migration mode") << QStringLiteral("UsbTLParams") << QStringLiteral("MigrationModeEnable") << int(Invisible) << int(RW);
    QTest::newRow("default: acquisition mode") << QStringLiteral("SomeCamera") << QStringLiteral("AcquisitionMode") << int(Invisible) << int(RW);
    QTest::newRow("default: trigger mode") << QStringLiteral("SomeCamera") << QStringLiteral("TriggerMode") << int(Expert) << int(RW);
    QTest::newRow("default: scan type") << QStringLiteral("SomeCamera") << QStringLiteral("DeviceScanType") << int(Expert) << int(RO);
    QTest::newRow("default: chunk data control") << QStringLiteral("SomeCamera") << QStringLiteral("ChunkDataControl") << int(Guru) << int(RW);
    QTest::newRow("default: host port") << QStringLiteral("SomeCamera") << QStringLiteral("GevSCPHostPort") << int(Beginner) << int(RO);
    QTest::newRow("default: name alone") << QStringLiteral("SomeCamera") << QStringLiteral("GevGVSPExtendedIDMode") << int(Beginner) << int(RW);
    QTest::newRow("default: not named") << QStringLiteral("SomeCamera") << QStringLiteral("ExposureTime") << int(Beginner) << int(RW);
    QTest::newRow("default applies to a stream grabber name it doesn't know") << QStringLiteral("OtherStreamGrabber") << QStringLiteral("MaxNumBuffer") << int(Beginner) << int(RW);
}

void TestNodeMapFilter::builtInFilterForEachModelName()
{
    QFETCH(QString, modelName);
    QFETCH(QString, node);
    QFETCH(int, visibility);
    QFETCH(int, accessMode);
    const QByteArray model = modelName.toLatin1();
    TestCamera camera(filteredDescription(model.constData()));
    QVERIFY(NodeMapFilter::applyFilter(camera.map()));
    const QByteArray name = node.toLatin1();
    QCOMPARE(int(camera.node(name.constData())->GetVisibility()), visibility);
    if (accessMode >= 0)
        QCOMPARE(int(camera.node(name.constData())->GetAccessMode()), accessMode);
}

void TestNodeMapFilter::ruleWarnings_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("warning");
    QTest::newRow("rule without Name") << QByteArray("<Feature><Visibility>Guru</Visibility></Feature>")
                                       << QStringLiteral("processElement: failed to get the name of a filter item");
    QTest::newRow("empty Name") << QByteArray("<Feature><Name></Name></Feature>") << QStringLiteral("processElement: empty name found");
    QTest::newRow("unknown visibility") << QByteArray("<Feature><Name>ExposureTime</Name><Visibility>Hidden</Visibility></Feature>")
                                       << QStringLiteral("processElement: invalid visibility: Hidden");
    QTest::newRow("write-only access mode") << QByteArray("<Feature><Name>ExposureTime</Name><AccessMode>WO</AccessMode></Feature>")
                                       << QStringLiteral("processElement: invalid access mode: WO");
    QTest::newRow("lower-case access mode") << QByteArray("<Feature><Name>ExposureTime</Name><AccessMode>ro</AccessMode></Feature>")
                                       << QStringLiteral("processElement: invalid access mode: ro");
}

void TestNodeMapFilter::ruleWarnings()
{
    QFETCH(QByteArray, xml);
    QFETCH(QString, warning);
    TestCamera camera(filteredDescription("RuleCam"));
    QDomDocument document;
    QDomElement element = rule(document, xml);
    QTest::ignoreMessage(QtWarningMsg, warning.toLatin1().constData());
    QVERIFY(!NodeMapFilter::processElement(element, camera.map()));
}

void TestNodeMapFilter::accessModeRules_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<int>("expected");
    QTest::newRow("read only") << QStringLiteral("RO") << int(RO);
    QTest::newRow("not available") << QStringLiteral("NA") << int(NA);
    QTest::newRow("not implemented") << QStringLiteral("NI") << int(NI);
}

void TestNodeMapFilter::accessModeRules()
{
    QFETCH(QString, mode);
    QFETCH(int, expected);
    TestCamera camera(filteredDescription("RuleCam"));
    QDomDocument document;
    // Any tag works for a rule, and the elements are found anywhere below it.
    QDomElement element = rule(document, QByteArray("<Anything><Name>ExposureTime</Name><Deeper><AccessMode>")
                                             + mode.toLatin1() + "</AccessMode></Deeper></Anything>");
    QVERIFY(NodeMapFilter::processElement(element, camera.map()));
    QCOMPARE(int(camera.node("ExposureTime")->GetAccessMode()), expected);
}

void TestNodeMapFilter::defaultFilterHasFiftyOneRules()
{
    QDomDocument document;
    QFile file(QStringLiteral(":/vorloqtwidgets/Resources/Default_Filter.xml"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(document.setContent(&file));
    QCOMPARE(document.documentElement().tagName(), QStringLiteral("Filter"));
    QCOMPARE(document.documentElement().elementsByTagName(QStringLiteral("Feature")).size(), 51);
    for (const char* name : {"CamEmuStreamGrabber", "GigEStreamGrabber", "GigETLParams", "IIDC1394StreamGrabber", "UsbTLParams"})
        QVERIFY(QFile::exists(QStringLiteral(":/vorloqtwidgets/Resources/") + QLatin1String(name) + QStringLiteral("_Filter.xml")));
}

void TestNodeMapFilter::applyingTwiceImposesTheSameAgain()
{
    TestCamera camera(filteredDescription("GigETLParams"));
    QVERIFY(NodeMapFilter::applyFilter(camera.map()));
    QVERIFY(NodeMapFilter::applyFilter(camera.map()));
    QCOMPARE(camera.node("WriteTimeout")->GetVisibility(), Guru);
}

void TestNodeMapFilter::modelNameFailureIsLoggedAndNothingApplied_data()
{
    QTest::addColumn<int>("failure");
    QTest::addColumn<QString>("secondLine");
    QTest::newRow("GenICam exception") << int(FailingNodeMap::GenICamFailure)
                                       << QStringLiteral("^createDocument: Exception occurred:\\n.*no model name");
    QTest::newRow("standard exception") << int(FailingNodeMap::StandardFailure)
                                        << QStringLiteral("^createDocument: Exception occurred:\\nno model name");
    QTest::newRow("unknown exception") << int(FailingNodeMap::UnknownFailure)
                                       << QStringLiteral("^createDocument: Unspecified exception occurred\\.$");
}

void TestNodeMapFilter::modelNameFailureIsLoggedAndNothingApplied()
{
    QFETCH(int, failure);
    QFETCH(QString, secondLine);
    FailingNodeMap map{FailingNodeMap::Failure(failure)};
    QTest::ignoreMessage(QtWarningMsg, "Failed to call GenApi::INodeMap::GetModelName()");
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression(secondLine, QRegularExpression::DotMatchesEverythingOption));
    QVERIFY(!NodeMapFilter::applyFilter(&map));
}

void TestNodeMapFilter::imposeFailuresAreLoggedAndStopTheRule()
{
    FailingNodeMap map{FailingNodeMap::None};
    QDomDocument document;
    QDomElement both = rule(document, "<Feature><Name>Failing</Name><Visibility>Guru</Visibility><AccessMode>RO</AccessMode></Feature>");
    QTest::ignoreMessage(QtWarningMsg, "Failed to impose the visibility of node Failing");
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^processElement: Exception occurred:\\nvisibility refused"));
    QVERIFY(!NodeMapFilter::processElement(both, &map));

    map.node.failVisibility = false;
    QDomDocument second;
    QDomElement accessOnly = rule(second, "<Feature><Name>Failing</Name><AccessMode>RO</AccessMode></Feature>");
    QTest::ignoreMessage(QtWarningMsg, "Failed to impose the access mode of node Failing");
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^processElement: Exception occurred:\\n.*access mode refused",
                                                        QRegularExpression::DotMatchesEverythingOption));
    QVERIFY(!NodeMapFilter::processElement(accessOnly, &map));

    // applyFilter goes through the built-in default for this model name, and a failing rule
    // doesn't make it fail.
    QVERIFY(NodeMapFilter::applyFilter(&map));
}

QTEST_MAIN(TestNodeMapFilter)
#include "tst_nodemapfilter.moc"
