// Real cameras' descriptions load, and walking their feature trees never crashes or hangs.

#include <GenApi/GenApi.h>

#include <QtTest>

#include <set>

using namespace GenApi;

class tst_RealDescriptions : public QObject
{
    Q_OBJECT

private slots:
    void allFilesArePresent();
    void loadsAndWalks_data();
    void loadsAndWalks();

private:
    static QStringList files();
};

QStringList tst_RealDescriptions::files()
{
    QDir dir(QStringLiteral(VORLO_GENICAM_XML_DIR));
    return dir.entryList(QStringList() << "*.xml", QDir::Files, QDir::Name);
}

void tst_RealDescriptions::allFilesArePresent()
{
    QCOMPARE(files().size(), 23);
}

void tst_RealDescriptions::loadsAndWalks_data()
{
    QTest::addColumn<QString>("path");
    const QDir dir(QStringLiteral(VORLO_GENICAM_XML_DIR));
    for (const QString& f : files())
        QTest::newRow(qPrintable(f)) << dir.filePath(f);
}

namespace
{
    struct WalkStats
    {
        int features = 0;
        int valuesRead = 0;
        int genicamExceptions = 0;
    };

    void walk(INode* node, WalkStats& stats, std::set<INode*>& seen)
    {
        if (!node || !seen.insert(node).second)
            return;
        ++stats.features;
        try
        {
            const EAccessMode mode = node->GetAccessMode();
            QVERIFY(mode >= NI && mode <= RW);
            const EVisibility vis = node->GetVisibility();
            QVERIFY(vis == Beginner || vis == Expert || vis == Guru || vis == Invisible);
            node->GetDisplayName();
            node->GetToolTip();
            if (IsReadable(mode))
            {
                if (IValue* value = dynamic_cast<IValue*>(node))
                {
                    value->ToString();
                    ++stats.valuesRead;
                }
            }
        }
        catch (const GenICam::GenericException&)
        {
            ++stats.genicamExceptions;
        }
        if (ICategory* category = dynamic_cast<ICategory*>(node))
        {
            FeatureList_t features;
            category->GetFeatures(features);
            for (IValue* v : features)
                walk(v->GetNode(), stats, seen);
        }
    }
}

void tst_RealDescriptions::loadsAndWalks()
{
    QFETCH(QString, path);
    CNodeMapRef map;
    map._LoadXMLFromFile(path.toUtf8().constData());
    QVERIFY(map._Ptr);
    // A zero-filled memory port; registers beyond it raise OutOfRangeException, which is fine
    CMemoryPort port(16 * 1024 * 1024);
    QVERIFY(map._Connect(&port));

    NodeList_t nodes;
    map._Ptr->GetNodes(nodes);
    QVERIFY(!nodes.empty());
    for (INode* n : nodes)
        QCOMPARE(map._GetNode(n->GetName()), n);

    INode* root = map._GetNode("Root");
    QVERIFY(root);
    QVERIFY(root->IsFeature());
    WalkStats stats;
    std::set<INode*> seen;
    walk(root, stats, seen);
    QVERIFY(stats.features > 1);

    // Every node, not just features: access mode and properties
    int exceptions = 0;
    for (INode* n : nodes)
    {
        try
        {
            n->GetAccessMode();
            gcstring_vector names;
            n->GetPropertyNames(names);
            QVERIFY(!names.empty());
        }
        catch (const GenICam::GenericException&)
        {
            ++exceptions;
        }
    }
    // Polling and invalidation over the whole map terminate
    map._Poll(1000);
    map._InvalidateNodes();

    qInfo("%s: %zu nodes loaded, %d features walked, %d values read, %d GenICam exceptions in the walk, "
          "%d in the node pass",
          qPrintable(QFileInfo(path).fileName()), nodes.size(), stats.features, stats.valuesRead,
          stats.genicamExceptions, exceptions);
}

QTEST_GUILESS_MAIN(tst_RealDescriptions)
#include "tst_realdescriptions.moc"
