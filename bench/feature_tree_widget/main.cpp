// Times the feature tree widget on the emulated camera and on a generated description of
// 3000 features: addNodeMap to the first painted frame, one keystroke in the search box
// (textChanged to the repainted view with its editors) for 1, 3 and 6 typed letters, and a repaint of the
// visible rows. With --screenshots DIR it also saves pictures of the widget at each user
// level and with a search.
//
//   QT_QPA_PLATFORM=offscreen bench_feature_tree_widget [--runs N] [--screenshots DIR]

#include <QAbstractProxyModel>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QStandardPaths>
#include <QTreeView>
#include <QLineEdit>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

#include <GenApi/GenApi.h>
#include <GenApi/MemoryPort.h>
#include <GenApi/NodeMapRef.h>
#include <Vorlo/VorloIncludes.h>
#include <VorloQtWidgets/featuretreewidget.h>

namespace {

// 60 categories of 50 features: integers, floats, enumerations and booleans in turn.
QByteArray generatedDescription(int features)
{
    QByteArray xml =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
        "<RegisterDescription ModelName=\"Generated\" VendorName=\"Kesdor\" ToolTip=\"Generated\" "
        "StandardNameSpace=\"None\" SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" "
        "MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" "
        "ProductGuid=\"11111111-2222-3333-4444-555555555555\" VersionGuid=\"11111111-2222-3333-4444-777777777777\" "
        "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">\n";
    const int perCategory = 50;
    const int categories = (features + perCategory - 1) / perCategory;
    xml += "<Category Name=\"Root\">\n";
    for (int c = 0; c < categories; ++c)
        xml += "  <pFeature>Group" + QByteArray::number(c) + "</pFeature>\n";
    xml += "</Category>\n";
    const char* kinds[] = {"Exposure", "Gain", "Mode", "Enable"};
    for (int c = 0; c < categories; ++c) {
        xml += "<Category Name=\"Group" + QByteArray::number(c) + "\">\n";
        for (int i = c * perCategory; i < qMin(features, (c + 1) * perCategory); ++i)
            xml += QByteArray("  <pFeature>") + kinds[i % 4] + QByteArray::number(i) + "</pFeature>\n";
        xml += "</Category>\n";
    }
    for (int i = 0; i < features; ++i) {
        const QByteArray n = QByteArray::number(i);
        switch (i % 4) {
        case 0:
            xml += "<Integer Name=\"Exposure" + n + "\"><Value>" + n + "</Value><Min>0</Min><Max>100000</Max></Integer>\n";
            break;
        case 1:
            xml += "<Float Name=\"Gain" + n + "\"><Value>1.5</Value><Min>0</Min><Max>24</Max><Unit>dB</Unit></Float>\n";
            break;
        case 2:
            xml += "<Enumeration Name=\"Mode" + n + "\"><EnumEntry Name=\"Off\"><Value>0</Value></EnumEntry>"
                   "<EnumEntry Name=\"On\"><Value>1</Value></EnumEntry><Value>0</Value></Enumeration>\n";
            break;
        default:
            xml += "<Boolean Name=\"Enable" + n + "\"><Value>0</Value></Boolean>\n";
            break;
        }
    }
    xml += "<Port Name=\"Device\"/>\n</RegisterDescription>\n";
    return xml;
}

struct Figures
{
    double firstFrameMs = 0;
    double keystrokeMs[3] = {0, 0, 0};
    double paintMs = 0;
};

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

double elapsedMs(const QElapsedTimer& timer)
{
    return timer.nsecsElapsed() / 1e6;
}

// Repaints the view and then handles what the paint left to do (the editors of rows that
// came into view, and their own first paint), so that a figure ends when the person sees
// the whole result.
void settle(QTreeView* view)
{
    view->viewport()->repaint();
    QApplication::processEvents();
    QApplication::processEvents();
}

// One widget on one node map: the figures of one run.
Figures measure(GenApi::INodeMap* map, const QString& name, const QString& letters, const QString& screenshotDir)
{
    Figures figures;
    auto* widget = new FeatureTreeWidget(QStringLiteral("bench"), nullptr, GenApi::Guru, true);
    widget->resize(520, 800);
    widget->show();
    QApplication::processEvents();
    QTreeView* view = widget->treeView();

    QElapsedTimer timer;
    timer.start();
    widget->addNodeMap(map, name, QStringLiteral("Device"), false);
    settle(view);
    figures.firstFrameMs = elapsedMs(timer);
    widget->expandTree();
    QApplication::processEvents();

    std::vector<double> paints;
    for (int i = 0; i < 10; ++i) {
        timer.restart();
        view->viewport()->repaint();
        paints.push_back(elapsedMs(timer));
    }
    figures.paintMs = median(paints);

    auto* search = widget->findChild<QLineEdit*>(QStringLiteral("filterEdit"));
    const int counts[3] = {1, 3, 6};
    for (int k = 0; k < 3; ++k) {
        search->setText(letters.left(counts[k] - 1));
        QApplication::processEvents();
        timer.restart();
        search->setText(letters.left(counts[k]));
        settle(view);
        figures.keystrokeMs[k] = elapsedMs(timer);
    }

    if (!screenshotDir.isEmpty()) {
        QDir().mkpath(screenshotDir);
        search->setText(letters.left(3));
        QApplication::processEvents();
        widget->grab().save(screenshotDir + "/" + name + "-search.png");
        search->clear();
        auto* combo = widget->findChild<QComboBox*>(QStringLiteral("comboBox"));
        const char* levels[] = {"beginner", "expert", "guru"};
        for (int level = 0; level < 3; ++level) {
            combo->setCurrentIndex(level);
            emit combo->activated(level);
            widget->expandTree();
            QApplication::processEvents();
            widget->grab().save(screenshotDir + "/" + name + "-" + levels[level] + ".png");
        }
    }

    QAbstractItemModel* proxy = view->model();
    QAbstractItemModel* source = qobject_cast<QAbstractProxyModel*>(proxy)->sourceModel();
    delete widget;
    delete proxy;
    delete source;
    return figures;
}

void print(const char* what, const std::vector<Figures>& runs)
{
    auto pick = [&](auto field) {
        std::vector<double> v;
        for (const Figures& f : runs)
            v.push_back(field(f));
        return median(v);
    };
    std::printf("%-28s first frame %8.1f ms | keystroke 1: %7.1f ms, 3: %7.1f ms, 6: %7.1f ms | paint %6.1f ms\n",
                what, pick([](const Figures& f) { return f.firstFrameMs; }),
                pick([](const Figures& f) { return f.keystrokeMs[0]; }),
                pick([](const Figures& f) { return f.keystrokeMs[1]; }),
                pick([](const Figures& f) { return f.keystrokeMs[2]; }),
                pick([](const Figures& f) { return f.paintMs; }));
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    int runs = 3;
    QString screenshots;
    const QStringList args = app.arguments();
    for (int i = 1; i < args.size(); ++i) {
        if (args.at(i) == QLatin1String("--runs") && i + 1 < args.size())
            runs = args.at(++i).toInt();
        else if (args.at(i) == QLatin1String("--screenshots") && i + 1 < args.size())
            screenshots = args.at(++i);
    }

    // The emulated camera.
    {
        Vorlo::CTlFactory& factory = Vorlo::CTlFactory::GetInstance();
        factory.SetCamEmuDeviceCount(1);
        Vorlo::DeviceInfoList list;
        factory.CreateTl(Vorlo::DeviceClassCamEmu)->EnumerateDevices(list);
        if (list.empty()) {
            std::printf("no emulated camera\n");
            return 1;
        }
        Vorlo::IVorloDevice* device = factory.CreateDevice(list.at(0));
        device->Open();
        std::vector<Figures> results;
        for (int r = 0; r < runs; ++r)
            results.push_back(measure(device->GetNodeMap(), QStringLiteral("emulated"), QStringLiteral("Exposu"),
                                      r == 0 ? screenshots : QString()));
        print("emulated camera", results);
        factory.DestroyDevice(device);
    }

    // The generated description.
    {
        const QByteArray xml = generatedDescription(3000);
        std::vector<Figures> results;
        for (int r = 0; r < runs; ++r) {
            GenApi::CMemoryPort port(1024);
            GenApi::CNodeMapRef ref;
            ref._LoadXMLFromString(GenICam::gcstring(xml.constData()));
            ref._Connect(&port, "Device");
            results.push_back(measure(ref._Ptr, QStringLiteral("generated3000"), QStringLiteral("Exposu"),
                                      r == 0 ? screenshots : QString()));
        }
        print("generated, 3000 features", results);
    }
    return 0;
}
