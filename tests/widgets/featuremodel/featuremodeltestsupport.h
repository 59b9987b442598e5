#pragma once
// Shared by the feature model tests: node maps written for the tests, and a watch that runs
// QAbstractItemModelTester on the model and the proxy and lets through only the complaints
// about the model's deliberate departures from Qt's item model contract.

#include <QAbstractItemModelTester>
#include <QByteArray>
#include <QList>
#include <QMutex>
#include <QMutexLocker>
#include <QPointer>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>
#include <QString>
#include <QStringList>

#include <memory>

#include <GenApi/GenApi.h>

namespace FeatureModelTest {

// A hand-made node with inert answers: readable and writable, Beginner, no children, no
// callbacks. Tests derive from it and change what they look at.
class StubNode : public GenApi::INode
{
public:
    explicit StubNode(const char* name) : m_name(name) {}

    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    GenICam::gcstring GetName(bool) const override { return m_name; }
    GenApi::ENameSpace GetNameSpace() const override { return GenApi::Custom; }
    GenApi::EVisibility GetVisibility() const override { return GenApi::Beginner; }
    void InvalidateNode() override {}
    bool IsCachable() const override { return false; }
    GenApi::EYesNo IsAccessModeCacheable() const override { return GenApi::No; }
    GenApi::ECachingMode GetCachingMode() const override { return GenApi::NoCache; }
    int64_t GetPollingTime() const override { return -1; }
    GenICam::gcstring GetToolTip() const override { return GenICam::gcstring(); }
    GenICam::gcstring GetDescription() const override { return GenICam::gcstring(); }
    GenICam::gcstring GetDisplayName() const override { return m_name; }
    GenICam::gcstring GetDeviceName() const override { return "Device"; }
    void GetChildren(GenApi::NodeList_t&, GenApi::ELinkType) const override {}
    void GetParents(GenApi::NodeList_t&, GenApi::ELinkType) const override {}
    GenApi::CallbackHandleType RegisterCallback(GenApi::CNodeCallback*) override { return 0; }
    bool DeregisterCallback(GenApi::CallbackHandleType) override { return false; }
    GenApi::INodeMap* GetNodeMap() const override { return nullptr; }
    GenICam::gcstring GetEventID() const override { return GenICam::gcstring(); }
    bool IsStreamable() const override { return false; }
    void GetPropertyNames(GenICam::gcstring_vector&) const override {}
    bool GetProperty(const GenICam::gcstring&, GenICam::gcstring&, GenICam::gcstring&) const override { return false; }
    void ImposeAccessMode(GenApi::EAccessMode) override {}
    void ImposeVisibility(GenApi::EVisibility) override {}
    GenApi::INode* GetAlias() const override { return nullptr; }
    GenApi::INode* GetCastAlias() const override { return nullptr; }
    GenICam::gcstring GetDocuURL() const override { return GenICam::gcstring(); }
    bool IsDeprecated() const override { return false; }
    GenApi::EInterfaceType GetPrincipalInterfaceType() const override { return GenApi::intfIBase; }
    bool IsFeature() const override { return false; }

private:
    GenICam::gcstring m_name;
};

// The GenICam description header with a model name of the test's choosing.
inline QByteArray descriptionHead(const char* modelName)
{
    return QByteArray(
               "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
               "<RegisterDescription ModelName=\"")
           + modelName
           + "\" VendorName=\"Kesdor\" ToolTip=\"Feature model test\" StandardNameSpace=\"None\"\n"
             " SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\"\n"
             " MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\"\n"
             " ProductGuid=\"11111111-2222-3333-4444-555555555555\" VersionGuid=\"11111111-2222-3333-4444-666666666666\"\n"
             " xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">\n";
}

inline QByteArray descriptionTail()
{
    return "<Port Name=\"Device\"/>\n</RegisterDescription>\n";
}

// A small camera: two categories with a feature listed by both, a float with unit and
// Linear representation, an integer register on the memory port, a write-only command,
// a not-implemented integer, a category that is not available, a range that can move.
inline QByteArray cameraDescription(const char* modelName = "FeatureModelCam")
{
    return descriptionHead(modelName) +
        "<Category Name=\"Root\" NameSpace=\"Standard\">\n"
        "  <pFeature>ImageFormat</pFeature>\n"
        "  <pFeature>Analog</pFeature>\n"
        "  <pFeature>Hidden</pFeature>\n"
        "  <pFeature>Expert</pFeature>\n"
        "</Category>\n"
        "<Category Name=\"ImageFormat\">\n"
        "  <DisplayName>Image Format</DisplayName>\n"
        "  <pFeature>Width</pFeature>\n"
        "  <pFeature>Offset</pFeature>\n"
        "  <pFeature>Shared</pFeature>\n"
        "  <pFeature>PixelFormat</pFeature>\n"
        "  <pFeature>TriggerSoftware</pFeature>\n"
        "  <pFeature>Missing</pFeature>\n"
        "  <pFeature>Name</pFeature>\n"
        "  <pFeature>Flag</pFeature>\n"
        "  <pFeature>Region</pFeature>\n"
        "</Category>\n"
        "<Category Name=\"Region\">\n"
        "  <pFeature>RegionOffset</pFeature>\n"
        "</Category>\n"
        "<Integer Name=\"RegionOffset\">\n"
        "  <Value>0</Value>\n"
        "</Integer>\n"
        "<Category Name=\"Analog\">\n"
        "  <pFeature>Gain</pFeature>\n"
        "  <pFeature>SquareRootGain</pFeature>\n"
        "  <pFeature>Shared</pFeature>\n"
        "  <pFeature>OffsetMin</pFeature>\n"
        "</Category>\n"
        "<Category Name=\"Hidden\">\n"
        "  <pIsAvailable>HiddenAvailable</pIsAvailable>\n"
        "  <pFeature>HiddenValue</pFeature>\n"
        "</Category>\n"
        "<Category Name=\"Expert\">\n"
        "  <pFeature>ExpertValue</pFeature>\n"
        "</Category>\n"
        "<IntReg Name=\"Width\">\n"
        "  <ToolTip>Width of the image</ToolTip>\n"
        "  <Address>0x0</Address>\n"
        "  <Length>4</Length>\n"
        "  <AccessMode>RW</AccessMode>\n"
        "  <pPort>Device</pPort>\n"
        "  <Cachable>WriteThrough</Cachable>\n"
        "  <Sign>Unsigned</Sign>\n"
        "  <Endianess>LittleEndian</Endianess>\n"
        "</IntReg>\n"
        "<Integer Name=\"Offset\">\n"
        "  <Value>5</Value>\n"
        "  <pMin>OffsetMin</pMin>\n"
        "  <Max>20</Max>\n"
        "</Integer>\n"
        "<Integer Name=\"OffsetMin\">\n"
        "  <Value>0</Value>\n"
        "</Integer>\n"
        "<Integer Name=\"Shared\">\n"
        "  <DisplayName>Shared Value</DisplayName>\n"
        "  <Value>7</Value>\n"
        "</Integer>\n"
        "<Enumeration Name=\"PixelFormat\">\n"
        "  <EnumEntry Name=\"Mono8\"><Value>1</Value></EnumEntry>\n"
        "  <EnumEntry Name=\"Mono16\"><Value>2</Value></EnumEntry>\n"
        "  <Value>1</Value>\n"
        "</Enumeration>\n"
        "<Command Name=\"TriggerSoftware\">\n"
        "  <ImposedAccessMode>WO</ImposedAccessMode>\n"
        "  <Value>0</Value>\n"
        "  <CommandValue>1</CommandValue>\n"
        "</Command>\n"
        "<Integer Name=\"Missing\">\n"
        "  <pIsImplemented>Zero</pIsImplemented>\n"
        "  <Value>3</Value>\n"
        "</Integer>\n"
        "<Integer Name=\"Zero\">\n"
        "  <Value>0</Value>\n"
        "</Integer>\n"
        "<String Name=\"Name\">\n"
        "  <Value>camera</Value>\n"
        "</String>\n"
        "<Boolean Name=\"Flag\">\n"
        "  <Value>1</Value>\n"
        "</Boolean>\n"
        "<Float Name=\"Gain\">\n"
        "  <DisplayName>Gain Level</DisplayName>\n"
        "  <ToolTip>Amplification</ToolTip>\n"
        "  <Value>1.5</Value>\n"
        "  <Min>0</Min>\n"
        "  <Max>10</Max>\n"
        "  <Unit>dB</Unit>\n"
        "  <Representation>Linear</Representation>\n"
        "</Float>\n"
        "<Float Name=\"SquareRootGain\">\n"
        "  <DisplayName>Root Gain</DisplayName>\n"
        "  <ToolTip>Square root of the gain</ToolTip>\n"
        "  <Value>2</Value>\n"
        "  <Min>0</Min>\n"
        "  <Max>10</Max>\n"
        "</Float>\n"
        "<Integer Name=\"HiddenAvailable\">\n"
        "  <Value>0</Value>\n"
        "</Integer>\n"
        "<Integer Name=\"HiddenValue\">\n"
        "  <Value>1</Value>\n"
        "</Integer>\n"
        "<Integer Name=\"ExpertValue\">\n"
        "  <Visibility>Expert</Visibility>\n"
        "  <Value>4</Value>\n"
        "</Integer>\n"
        + descriptionTail();
}

// A loaded node map with a memory port of 256 bytes behind the port "Device".
// Counts the writes that reach the port.
struct TestCamera
{
    explicit TestCamera(const QByteArray& description = cameraDescription())
        : port(256)
    {
        port.SetWriteHook([this](int64_t, int64_t) { ++writes; });
        ref.reset(new GenApi::CNodeMapRef());
        ref->_LoadXMLFromString(GenICam::gcstring(description.constData()));
        ref->_Connect(&port, "Device");
        const uint32_t width = 640;
        port.Store(&width, 0, 4);
    }

    GenApi::INodeMap* map() const { return ref->_Ptr; }
    GenApi::INode* node(const char* name) const { return ref->_GetNode(name); }
    // Destroys the node map with all its nodes.
    void destroy() { ref.reset(); }

    GenApi::CMemoryPort port;
    std::unique_ptr<GenApi::CNodeMapRef> ref;
    int writes = 0;
};

// The complaints of QAbstractItemModelTester (category "qt.modeltest") about departures
// that the feature model makes on purpose. Each has a name, so that a test says which
// departure it allows.
struct Departure
{
    QString name;
    QStringList patterns;
};

inline Departure flagsOfTheInvalidIndex()
{
    // flags(QModelIndex()) is ItemIsEnabled, so that a drop on the empty area is possible.
    return {QStringLiteral("flags of the invalid index"),
            {QStringLiteral("flags == Qt::ItemIsDropEnabled || flags == 0")}};
}

inline Departure rowsUnderColumnOneIndexes()
{
    // Column 1 of a row has the same children as column 0, and their parent() is column 0;
    // through the proxy the two columns' children get separate mappings.
    return {QStringLiteral("rows under column-1 indexes"),
            {QStringLiteral("childIndex != childIndex1"), QStringLiteral("Inconsistent parent() implementation detected"),
             QStringLiteral("    index= QModelIndex("), QStringLiteral("    row= "), QStringLiteral("    data for child "),
             QStringLiteral("    data for parent "), QStringLiteral("Actual (model->parent(index))")}};
}

inline Departure rowAnnouncedAtOneInsertedAtZero()
{
    // The search help row and the favorites placeholder are announced as row 1 and go in at row 0.
    // The value changes announced for the new row then name a row that a proxy hasn't mapped.
    return {QStringLiteral("a row announced at 1 and inserted at 0"),
            {QStringLiteral("c.last"), QStringLiteral("c.next"), QStringLiteral("model->index(start - 1"),
             QStringLiteral("model->index(end + 1"), QStringLiteral("bottomRight.row() < rowCount")}};
}

inline Departure favoritesRootPutInByLayoutChange()
{
    // CreateFavoritesRoot puts the favorites root in at row 0 between layoutAboutToBeChanged
    // and layoutChanged, without moving persistent indexes of the rows below it.
    return {QStringLiteral("favorites root put in at row 0 by a layout change"),
            {QStringLiteral("model->index(p.row(), p.column(), p.parent())")}};
}

inline QList<Departure> featureModelDepartures()
{
    return {flagsOfTheInvalidIndex(), rowsUnderColumnOneIndexes(), rowAnnouncedAtOneInsertedAtZero(),
            favoritesRootPutInByLayoutChange()};
}

// Runs QAbstractItemModelTester in warning mode on the given models and records every
// complaint that none of the allowed departures explains.
class ModelWatch
{
public:
    explicit ModelWatch(const QList<Departure>& allowed)
        : m_allowed(allowed)
    {
        QMutexLocker lock(&mutex());
        m_outer = current();
        current() = this;
        const QtMessageHandler installed = qInstallMessageHandler(&ModelWatch::handler);
        // A watch nested in another forwards to the handler the outer one replaced, never to
        // its own handler, which would call itself without end.
        m_previous = m_outer ? m_outer->m_previous : installed;
    }

    ~ModelWatch()
    {
        m_testers.clear();
        QMutexLocker lock(&mutex());
        if (!m_outer)
            qInstallMessageHandler(m_previous);
        current() = m_outer;
    }

    // Attach after the node maps are in: the tester walks the whole tree, which would build
    // the lazy rows while addNodeMap is still running and change their full names.
    void watch(QAbstractItemModel* model)
    {
        m_testers.emplace_back(new QAbstractItemModelTester(
            model, QAbstractItemModelTester::FailureReportingMode::Warning));
    }

    void allow(const Departure& departure) { m_allowed.append(departure); }

    QStringList unexpected() const { return m_unexpected; }
    QSet<QString> seenDepartures() const { return m_seen; }

private:
    static QMutex& mutex()
    {
        static QMutex s_mutex;
        return s_mutex;
    }
    static ModelWatch*& current()
    {
        static ModelWatch* s_current = nullptr;
        return s_current;
    }

    static void handler(QtMsgType type, const QMessageLogContext& context, const QString& message)
    {
        ModelWatch* self = current();
        if (self && context.category && QByteArray(context.category) == "qt.modeltest")
        {
            for (const Departure& departure : qAsConst(self->m_allowed))
            {
                for (const QString& pattern : departure.patterns)
                {
                    if (message.contains(pattern))
                    {
                        self->m_seen.insert(departure.name);
                        return;
                    }
                }
            }
            self->m_unexpected.append(message);
        }
        if (self && self->m_previous)
            self->m_previous(type, context, message);
    }

    QList<Departure> m_allowed;
    std::vector<std::unique_ptr<QAbstractItemModelTester>> m_testers;
    QtMessageHandler m_previous = nullptr;
    ModelWatch* m_outer = nullptr; // the watch that was current before this one; it gets the messages back
    QStringList m_unexpected;
    QSet<QString> m_seen;
};

} // namespace FeatureModelTest
