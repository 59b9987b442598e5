// Prints how long the feature model takes for the emulated camera and for a generated
// description of 3000 features in 100 categories: addNodeMap, building every row, and a
// filter pass of the proxy with a search text that matches 1 % of the features and with
// an empty text; and how many node reads (model data() calls) and register reads a pass makes.
// A filter pass is what the feature tree widget does for a search with the tree expanded:
// set the text, invalidate the proxy, and visit every row the proxy keeps.
//
//   bench_feature_model [repetitions]

#include <QApplication>
#include <QElapsedTimer>
#include <QTextStream>

#include <GenApi/GenApi.h>
#include <Vorlo/VorloIncludes.h>
#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtWidgets/FeatureTreeProxyModel.h>
#include <VorloQtWidgets/featuretreemodel.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace {

QTextStream out(stdout);

// Counts the reads that reach the registers.
class CountingPort : public GenApi::CMemoryPort
{
public:
    using GenApi::CMemoryPort::CMemoryPort;
    void Read(void* buffer, int64_t address, int64_t length) override
    {
        ++reads;
        GenApi::CMemoryPort::Read(buffer, address, length);
    }
    long long reads = 0;
};

// Counts every data() call, each of which reads the row's node.
class CountingModel : public FeatureTreeModel
{
public:
    QVariant data(const QModelIndex& index, int role) const override
    {
        ++reads;
        return FeatureTreeModel::data(index, role);
    }
    mutable long long reads = 0;
};

const int s_categories = 100;
const int s_featuresPerCategory = 30;

// 3000 integer registers in 100 categories; every hundredth feature has "Needle" in its
// display name, so that the search text "needle" matches 1 % of them.
QByteArray generatedDescription()
{
    QByteArray xml =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
        "<RegisterDescription ModelName=\"Generated3000\" VendorName=\"Kesdor\" ToolTip=\"bench\" "
        "StandardNameSpace=\"None\" SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" "
        "MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" "
        "ProductGuid=\"11111111-2222-3333-4444-555555555555\" VersionGuid=\"11111111-2222-3333-4444-777777777777\" "
        "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">\n";
    xml += "<Category Name=\"Root\">\n";
    for (int c = 0; c < s_categories; ++c)
        xml += "  <pFeature>Category" + QByteArray::number(c) + "</pFeature>\n";
    xml += "</Category>\n";
    int feature = 0;
    for (int c = 0; c < s_categories; ++c)
    {
        xml += "<Category Name=\"Category" + QByteArray::number(c) + "\">\n";
        for (int f = 0; f < s_featuresPerCategory; ++f)
            xml += "  <pFeature>Feature" + QByteArray::number(c * s_featuresPerCategory + f) + "</pFeature>\n";
        xml += "</Category>\n";
    }
    for (int c = 0; c < s_categories; ++c)
    {
        for (int f = 0; f < s_featuresPerCategory; ++f, ++feature)
        {
            const QByteArray name = "Feature" + QByteArray::number(feature);
            xml += "<IntReg Name=\"" + name + "\">\n";
            xml += "  <DisplayName>" + (feature % 100 == 0 ? "Needle " + name : "Value " + name) + "</DisplayName>\n";
            xml += "  <ToolTip>Generated feature</ToolTip>\n";
            if (feature % 3 == 0)
                xml += "  <Visibility>Expert</Visibility>\n";
            xml += "  <Address>" + QByteArray::number(feature * 4) + "</Address>\n";
            xml += "  <Length>4</Length>\n  <AccessMode>RW</AccessMode>\n  <pPort>Device</pPort>\n";
            xml += "  <Cachable>WriteThrough</Cachable>\n  <Sign>Unsigned</Sign>\n  <Endianess>LittleEndian</Endianess>\n";
            if (feature % 2 == 0)
                xml += "  <Unit>us</Unit>\n";
            xml += "</IntReg>\n";
        }
    }
    xml += "<Port Name=\"Device\"/>\n</RegisterDescription>\n";
    return xml;
}

int walk(QAbstractItemModel& model, const QModelIndex& parent)
{
    int rows = model.rowCount(parent);
    int total = rows;
    for (int i = 0; i < rows; ++i)
        total += walk(model, model.index(i, 0, parent));
    return total;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

struct Figures
{
    double addNodeMapMs = 0;
    double buildRowsMs = 0;
    int rows = 0;
    double searchPassMs = 0;
    double emptyPassMs = 0;
    long long searchPassNodeReads = 0;
    long long emptyPassNodeReads = 0;
    long long searchPassRegisterReads = -1;
    long long emptyPassRegisterReads = -1;
    int visibleMatches = 0;
    int invisibleMatches = 0;
};

Figures measure(GenApi::INodeMap* map, const CountingPort* port, const QString& searchText, int repetitions)
{
    Figures figures;
    std::vector<double> addTimes;
    std::vector<double> buildTimes;
    std::vector<double> searchTimes;
    std::vector<double> emptyTimes;
    for (int r = 0; r < repetitions; ++r)
    {
        CountingModel model;
        FeatureTreeProxyModel proxy;
        proxy.setDynamicSortFilter(false);
        proxy.setFilterCaseSensitivity(Qt::CaseInsensitive);
        proxy.setFilterKeyColumn(1);
        proxy.setSourceModel(&model);
        proxy.setVisibility(GenApi::Beginner);

        QElapsedTimer timer;
        timer.start();
        proxy.addNodeMap(map, QStringLiteral("Camera"), QStringLiteral("cam"), false);
        addTimes.push_back(timer.nsecsElapsed() / 1e6);

        timer.restart();
        figures.rows = walk(model, QModelIndex());
        buildTimes.push_back(timer.nsecsElapsed() / 1e6);

        // A first pass caches the values; the measured passes follow.
        proxy.setFilterFixedString(searchText);
        proxy.invalidate();
        walk(proxy, QModelIndex());

        const long long portBefore = port ? port->reads : 0;
        model.reads = 0;
        timer.restart();
        proxy.setFilterFixedString(searchText);
        proxy.invalidate();
        walk(proxy, QModelIndex());
        searchTimes.push_back(timer.nsecsElapsed() / 1e6);
        figures.searchPassNodeReads = model.reads;
        figures.visibleMatches = proxy.getVisibleMatchCount();
        figures.invisibleMatches = proxy.getInvisibleMatchCount();
        if (port)
            figures.searchPassRegisterReads = port->reads - portBefore;

        const long long portBeforeEmpty = port ? port->reads : 0;
        model.reads = 0;
        timer.restart();
        proxy.setFilterFixedString(QString());
        proxy.invalidate();
        walk(proxy, QModelIndex());
        emptyTimes.push_back(timer.nsecsElapsed() / 1e6);
        figures.emptyPassNodeReads = model.reads;
        if (port)
            figures.emptyPassRegisterReads = port->reads - portBeforeEmpty;
    }
    figures.addNodeMapMs = median(addTimes);
    figures.buildRowsMs = median(buildTimes);
    figures.searchPassMs = median(searchTimes);
    figures.emptyPassMs = median(emptyTimes);
    return figures;
}

void print(const char* title, const Figures& figures, const QString& searchText)
{
    out << title << "\n";
    out << "  rows                                 " << figures.rows << "\n";
    out << "  addNodeMap                           " << QString::number(figures.addNodeMapMs, 'f', 2) << " ms\n";
    out << "  build every row (rowCount walk)      " << QString::number(figures.buildRowsMs, 'f', 2) << " ms\n";
    out << "  filter pass, search \"" << searchText << "\""
        << QString(15 - searchText.size(), ' ') << QString::number(figures.searchPassMs, 'f', 2) << " ms, "
        << figures.searchPassNodeReads << " node reads, " << figures.visibleMatches << " visible + "
        << figures.invisibleMatches << " hidden matches";
    if (figures.searchPassRegisterReads >= 0)
        out << ", " << figures.searchPassRegisterReads << " register reads";
    out << "\n";
    out << "  filter pass, empty text              " << QString::number(figures.emptyPassMs, 'f', 2) << " ms, "
        << figures.emptyPassNodeReads << " node reads";
    if (figures.emptyPassRegisterReads >= 0)
        out << ", " << figures.emptyPassRegisterReads << " register reads";
    out << "\n";
    out.flush();
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int repetitions = argc > 1 ? std::max(1, atoi(argv[1])) : 5;
    // Nothing may stop the run with a dialog.
    VorloQtBase::setExceptionPresenter([](const QString& function, const QString& message, const QString& failure) {
        out << "failure in " << function << ": " << message << " " << failure << "\n";
    });
    out << "feature model benchmark, median of " << repetitions << " runs\n\n";

    {
        Vorlo::CTlFactory& factory = Vorlo::CTlFactory::GetInstance();
        factory.SetCamEmuDeviceCount(1);
        Vorlo::CDeviceInfo filter;
        filter.SetDeviceClass(Vorlo::DeviceClassCamEmu);
        Vorlo::IVorloDevice* device = factory.CreateFirstDevice(filter);
        device->Open();
        GenApi::INodeMap* map = device->GetNodeMap();
        GenApi::NodeList_t nodes;
        map->GetNodes(nodes);
        // About 1 % of the emulated camera's features contain "gain".
        const Figures figures = measure(map, nullptr, QStringLiteral("gain"), repetitions);
        print(qPrintable(QStringLiteral("emulated camera (%1 nodes)").arg(nodes.size())), figures, QStringLiteral("gain"));
        device->Close();
        factory.DestroyDevice(device);
    }
    out << "\n";
    {
        CountingPort port(s_categories * s_featuresPerCategory * 4);
        GenApi::CNodeMapRef ref;
        ref._LoadXMLFromString(GenICam::gcstring(generatedDescription().constData()));
        ref._Connect(&port, "Device");
        const Figures figures = measure(ref._Ptr, &port, QStringLiteral("needle"), repetitions);
        print("generated description (3000 features in 100 categories)", figures, QStringLiteral("needle"));
    }
    return 0;
}
