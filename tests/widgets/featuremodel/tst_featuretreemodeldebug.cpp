// The feature tree model with node debugging switched on in the settings. The switch is
// read once per process, so these tests run in a process of their own.

#include <QSettings>
#include <QtTest>

#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtWidgets/FeatureTreeProxyModel.h>
#include <VorloQtWidgets/featuretreeinodeitem.h>
#include <VorloQtWidgets/featuretreemodel.h>

#include "featuremodeltestsupport.h"

using namespace FeatureModelTest;
using namespace GenApi;

namespace {

QByteArray debugDescription()
{
    return descriptionHead("DebugCam") +
        "<Category Name=\"Root\">\n"
        "  <pFeature>Control</pFeature>\n"
        "</Category>\n"
        "<Category Name=\"Control\">\n"
        "  <pFeature>Exposure</pFeature>\n"
        "  <pFeature>Scaled</pFeature>\n"
        "</Category>\n"
        "<Integer Name=\"Exposure\">\n"
        "  <pValue>ExposureRaw</pValue>\n"
        "  <pMin>ExposureMin</pMin>\n"
        "  <Max>1000</Max>\n"
        "</Integer>\n"
        "<Integer Name=\"ExposureRaw\">\n"
        "  <Value>100</Value>\n"
        "</Integer>\n"
        "<Integer Name=\"ExposureMin\">\n"
        "  <Value>10</Value>\n"
        "</Integer>\n"
        "<Converter Name=\"Scaled\">\n"
        "  <pVariable Name=\"A\">ExposureRaw</pVariable>\n"
        "  <pVariable Name=\"B\">ExposureMin</pVariable>\n"
        "  <FormulaTo>FROM</FormulaTo>\n"
        "  <FormulaFrom>TO</FormulaFrom>\n"
        "  <pValue>ExposureRaw</pValue>\n"
        "</Converter>\n"
        + descriptionTail();
}

// The debug description's node map in a model under a model watch, rows built to the first level.
struct DebugModel
{
    DebugModel()
    {
        model.addNodeMap(camera.map(), QStringLiteral("Camera"), QStringLiteral("dbg"), false);
        watch.watch(&model);
    }

    VorloQtBase::ExceptionRecorder recorder;
    TestCamera camera{debugDescription()};
    FeatureTreeModel model;
    ModelWatch watch{featureModelDepartures()};
};

} // namespace

class TestFeatureTreeModelDebug : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void debugRowsComeFromPointerPropertiesWithLabels();
    void rowsBelowValueNodeAreDeadEnds();
    void propertyAttributesBecomePartOfTheLabel();
    void debugRowsTakeNoPartInASearch();
};

void TestFeatureTreeModelDebug::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QSettings().clear();
    QSettings().setValue(QStringLiteral("EnableNodeDebug"), true);
    QVERIFY(isNodeDebugModeEnabled());
    // Kept for the life of the process.
    QSettings().setValue(QStringLiteral("EnableNodeDebug"), false);
    QVERIFY(isNodeDebugModeEnabled());
}

void TestFeatureTreeModelDebug::debugRowsComeFromPointerPropertiesWithLabels()
{
    DebugModel f;

    const QModelIndex top = f.model.index(0, 0);
    QCOMPARE(f.model.rowCount(top), 1);
    const QModelIndex control = f.model.index(0, 0, top);
    // A pFeature row looks as in normal operation, with its own label.
    FeatureTreeItem* controlItem = f.model.getFeatureTreeItem(control);
    QVERIFY(!controlItem->isDebugNode());
    QCOMPARE(f.model.data(control, FullNameRole).toString(), QStringLiteral("*Control"));
    QCOMPARE(f.model.data(control).toString(), QStringLiteral("Control"));

    const QModelIndex exposure = f.model.index(0, 0, control);
    QCOMPARE(f.model.data(exposure, FullNameRole).toString(), QStringLiteral("dbg*Exposure"));
    QCOMPARE(f.model.rowCount(exposure), 2);
    QStringList labels;
    for (int i = 0; i < f.model.rowCount(exposure); ++i)
    {
        const QModelIndex child = f.model.index(i, 0, exposure);
        QVERIFY(f.model.data(child, IsDebugNodeRole).toBool());
        labels << f.model.data(child).toString();
    }
    QCOMPARE(labels, QStringList({QStringLiteral("<pValue> ExposureRaw"), QStringLiteral("<pMin> ExposureMin")}));
    QVERIFY2(f.watch.unexpected().isEmpty(), qPrintable(f.watch.unexpected().join('\n')));
}

void TestFeatureTreeModelDebug::rowsBelowValueNodeAreDeadEnds()
{
    DebugModel f;
    const QModelIndex exposure = f.model.findItemByFullName(QStringLiteral("dbg*Exposure"), nullptr, 0);
    QVERIFY(f.model.rowCount(exposure) > 0);
    // Below a value node every row is a dead end: it shows no children of its own.
    for (int i = 0; i < f.model.rowCount(exposure); ++i)
    {
        const QModelIndex child = f.model.index(i, 0, exposure);
        FeatureTreeItem* item = f.model.getFeatureTreeItem(child);
        QVERIFY(item->isDeadEnd());
        QCOMPARE(f.model.rowCount(child), 0);
        QCOMPARE(item->flags(1), Qt::ItemIsSelectable | Qt::ItemNeverHasChildren);
    }
    QVERIFY2(f.watch.unexpected().isEmpty(), qPrintable(f.watch.unexpected().join('\n')));
}

void TestFeatureTreeModelDebug::propertyAttributesBecomePartOfTheLabel()
{
    DebugModel f;
    const QModelIndex scaled = f.model.findItemByFullName(QStringLiteral("dbg*Scaled"), nullptr, 0);
    QVERIFY(scaled.isValid());
    QStringList labels;
    for (int i = 0; i < f.model.rowCount(scaled); ++i)
        labels << f.model.data(f.model.index(i, 0, scaled)).toString();
    QVERIFY2(labels.contains(QStringLiteral("<pVariable [A]> ExposureRaw")), qPrintable(labels.join(',')));
    QVERIFY2(labels.contains(QStringLiteral("<pVariable [B]> ExposureMin")), qPrintable(labels.join(',')));
    QVERIFY2(labels.contains(QStringLiteral("<pValue> ExposureRaw")), qPrintable(labels.join(',')));
    QVERIFY2(f.watch.unexpected().isEmpty(), qPrintable(f.watch.unexpected().join('\n')));
}

void TestFeatureTreeModelDebug::debugRowsTakeNoPartInASearch()
{
    VorloQtBase::ExceptionRecorder recorder;
    TestCamera camera(debugDescription());
    FeatureTreeModel model;
    FeatureTreeProxyModel proxy;
    proxy.setDynamicSortFilter(false);
    proxy.setFilterCaseSensitivity(Qt::CaseInsensitive);
    proxy.setFilterKeyColumn(1);
    proxy.setSourceModel(&model);
    ModelWatch watch(featureModelDepartures());
    proxy.addNodeMap(camera.map(), QStringLiteral("Camera"), QStringLiteral("dbg"), false);
    watch.watch(&model);
    watch.watch(&proxy);
    proxy.setVisibility(Invisible);

    // With an empty filter the debug rows under Exposure show.
    proxy.setFilterFixedString(QString());
    proxy.invalidate();
    const QModelIndex exposure = proxy.findItemByFullName(QStringLiteral("dbg*Exposure"), nullptr, 0);
    QVERIFY(exposure.isValid());
    QCOMPARE(proxy.rowCount(exposure), 2);

    // ExposureRaw is only reachable through debug rows: a search for it finds nothing.
    proxy.setFilterFixedString(QStringLiteral("ExposureRaw"));
    proxy.invalidate();
    QCOMPARE(proxy.rowCount(), 0);
    QCOMPARE(proxy.getVisibleMatchCount(), 0);

    // A search for the feature shows it, and the debug rows below it come along.
    proxy.setFilterFixedString(QStringLiteral("Exposure"));
    proxy.invalidate();
    const QModelIndex found = proxy.findItemByFullName(QStringLiteral("dbg*Exposure"), nullptr, 0);
    QVERIFY(found.isValid());
    QCOMPARE(proxy.rowCount(found), 2);
    QVERIFY2(watch.unexpected().isEmpty(), qPrintable(watch.unexpected().join('\n')));
}

QTEST_MAIN(TestFeatureTreeModelDebug)
#include "tst_featuretreemodeldebug.moc"
