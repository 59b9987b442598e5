// Node rows and the highlighter.

#include <QSettings>
#include <QBrush>
#include <QPalette>
#include <QSignalSpy>
#include <QtTest>

#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtWidgets/FeatureTreeProxyModel.h>
#include <VorloQtWidgets/featuretreehighlighter.h>
#include <VorloQtWidgets/featuretreeinodeitem.h>
#include <VorloQtWidgets/featuretreemodel.h>

#include "featuremodeltestsupport.h"

using namespace FeatureModelTest;
using namespace GenApi;

namespace {

struct Fixture
{
    Fixture()
        : watch(featureModelDepartures())
    {
        proxy.setDynamicSortFilter(false);
        proxy.setFilterCaseSensitivity(Qt::CaseInsensitive);
        proxy.setFilterKeyColumn(1);
        proxy.setSourceModel(&model);
    }

    void watchModels()
    {
        watch.watch(&model);
        watch.watch(&proxy);
    }

    // A row as the model makes it for a feature.
    std::unique_ptr<FeatureTreeINodeItem> row(const char* name, bool debug = false, bool deadEnd = false)
    {
        return std::unique_ptr<FeatureTreeINodeItem>(new FeatureTreeINodeItem(
            camera.node(name), &model, debug, debug ? QStringLiteral("<pValue>") : QStringLiteral("<pFeature>"),
            QStringLiteral("cam*") + QLatin1String(name), nullptr, deadEnd, false));
    }

    VorloQtBase::ExceptionRecorder recorder;
    TestCamera camera;
    FeatureTreeModel model;
    FeatureTreeProxyModel proxy;
    ModelWatch watch;
};

// A row that claims a float editor for whatever node it shows.
class FloatClaimingRow : public FeatureTreeINodeItem
{
public:
    FloatClaimingRow(INode* node, IFeatureTreeModelExtension* extension)
        : FeatureTreeINodeItem(node, extension, false, QStringLiteral("<pFeature>"), QStringLiteral("cam*x"), nullptr,
                               false, false)
    {
        m_editorType = EditorFloat;
    }
};

} // namespace

class TestFeatureTreeINodeItem : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void writeOnlyCommandIsNotReadableNotEditableButEnabled();
    void categoryShowsNothingButAsDebugRowAlreadyDisplayedElsewhere();
    void notImplementedNodeHasVisibilityThree();
    void rootInNodeNameGivesShortTooltipHead_data();
    void rootInNodeNameGivesShortTooltipHead();
    void floatWithUnitShowsUnitInBracketsAndPlainNodeName();
    void valueOutsideChangedRangeIsClampedWithoutSignal();
    void setDataWithStringOnFloatRowWarnsAndConvertsToDouble();
    void floatRowWithoutFloatNodeFallsBackToFromString();
    void setDataOnColumnZeroOrOtherRoleDoesNothing_data();
    void setDataOnColumnZeroOrOtherRoleDoesNothing();
    void disabledCallbacksSilenceClampingAndSignal();
    void topRowOfNodeMapGetsNoUpdates();
    void emptyFilterLeavesTextUnchanged();
    void oneLetterFilterMarksEachMatchWithItsOwnCapitalisation();
    void filterTextInMarkupIsNotMarkedAgain();
    void unparsableStoredColourIsReplacedSilently();

    void editorTypeByNode_data();
    void editorTypeByNode();
    void valueColumnByAccessMode_data();
    void valueColumnByAccessMode();
    void nameColumnRoles();
    void tooltipHeadIsHighlightedButNotTheNodeText();
    void rowOfDeadNodeAnswersWithoutNode();
    void lazyFillHappensOnFirstChildCount();
    void hasChildrenAtDebugLevelLooksForPointerProperties();
    void showMeByLevel();
    void flagsOfWritableAndReadOnlyRows();
    void foregroundIsGreyForReadOnlyFeaturesOnly();
    void nodeChangedFromAnotherThreadUpdatesRowThroughQueuedSignal();
};

void TestFeatureTreeINodeItem::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void TestFeatureTreeINodeItem::init()
{
    QSettings().clear();
}

void TestFeatureTreeINodeItem::cleanup()
{
}

void TestFeatureTreeINodeItem::writeOnlyCommandIsNotReadableNotEditableButEnabled()
{
    Fixture f;
    f.watchModels();
    auto row = f.row("TriggerSoftware");
    QCOMPARE(row->getAccessMode(), WO);
    QCOMPARE(row->editorType(), EditorCommand);
    QCOMPARE(row->data(1, Qt::DisplayRole).toString(), QStringLiteral("<not readable>"));
    QVERIFY(!row->data(1, Qt::EditRole).isValid());
    const Qt::ItemFlags flags = row->flags(1);
    QVERIFY(!flags.testFlag(Qt::ItemIsEditable));
    QVERIFY(flags.testFlag(Qt::ItemIsEnabled));
    QVERIFY(row->isEditable());
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::categoryShowsNothingButAsDebugRowAlreadyDisplayedElsewhere()
{
    Fixture f;
    f.watchModels();
    auto category = f.row("ImageFormat");
    QCOMPARE(category->data(1, Qt::DisplayRole).toString(), QString());
    QVERIFY(!category->data(1, Qt::EditRole).isValid());
    QCOMPARE(category->editorType(), EditorNone);
    auto debugCategory = f.row("ImageFormat", true);
    QCOMPARE(debugCategory->data(1, Qt::DisplayRole).toString(), QStringLiteral("<already displayed elsewhere>"));
    QCOMPARE(debugCategory->data(0, Qt::DisplayRole).toString(), QStringLiteral("<pValue> Image Format"));
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::notImplementedNodeHasVisibilityThree()
{
    Fixture f;
    f.watchModels();
    auto row = f.row("Missing");
    QCOMPARE(row->getAccessMode(), NI);
    QCOMPARE(f.camera.node("Missing")->GetVisibility(), Beginner);
    QCOMPARE(row->data(0, VisibilityRole).toInt(), int(Invisible));
    QCOMPARE(row->data(1, Qt::DisplayRole).toString(), QStringLiteral("<not implemented>"));
    QVERIFY(!row->ShowMe(Guru));
    QVERIFY(row->ShowMe(Invisible));
    auto visible = f.row("Shared");
    QCOMPARE(visible->data(0, VisibilityRole).toInt(), int(Beginner));
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::rootInNodeNameGivesShortTooltipHead_data()
{
    QTest::addColumn<QString>("node");
    QTest::addColumn<QString>("tooltip");
    QTest::newRow("root inside the name, mixed case")
        << QStringLiteral("SquareRootGain")
        << QStringLiteral("<nobr><b>Root Gain</b></nobr><br><nobr>Square root of the gain</nobr>");
    QTest::newRow("ordinary feature") << QStringLiteral("Gain")
                                      << QStringLiteral("<nobr><b>Gain Level (Gain)</b></nobr><br><nobr>Amplification</nobr>");
    QTest::newRow("category") << QStringLiteral("ImageFormat") << QStringLiteral("<nobr><b>Image Format</b></nobr>");
    QTest::newRow("the node Root") << QStringLiteral("Root") << QStringLiteral("<nobr><b>Root</b></nobr>");
}

void TestFeatureTreeINodeItem::rootInNodeNameGivesShortTooltipHead()
{
    QFETCH(QString, node);
    QFETCH(QString, tooltip);
    Fixture f;
    f.watchModels();
    auto row = f.row(node.toLatin1().constData());
    QCOMPARE(row->data(0, Qt::ToolTipRole).toString(), tooltip);
    // The value column has no tooltip of its own.
    QCOMPARE(row->data(1, Qt::ToolTipRole).toString(), QString());
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::floatWithUnitShowsUnitInBracketsAndPlainNodeName()
{
    Fixture f;
    f.watchModels();
    auto gain = f.row("Gain");
    QCOMPARE(gain->data(0, Qt::DisplayRole).toString(), QStringLiteral("Gain Level [dB]"));
    QCOMPARE(gain->data(0, NodeNameRole).toString(), QStringLiteral("Gain"));
    QCOMPARE(gain->getName(), QStringLiteral("Gain Level"));
    auto withoutUnit = f.row("SquareRootGain");
    QCOMPARE(withoutUnit->data(0, Qt::DisplayRole).toString(), QStringLiteral("Root Gain"));
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::valueOutsideChangedRangeIsClampedWithoutSignal()
{
    Fixture f;
    f.watchModels();
    auto offset = f.row("Offset");
    IInteger* offsetNode = dynamic_cast<IInteger*>(f.camera.node("Offset"));
    QCOMPARE(offsetNode->GetValue(), int64_t(5));
    QSignalSpy spy(offset.get(), &FeatureTreeINodeItem::nodeUpdated);
    QVERIFY(spy.isValid());

    // Move the range while the rows don't listen, then deliver the node's callback.
    f.model.setGenICamCallbacksEnable(false);
    dynamic_cast<IInteger*>(f.camera.node("OffsetMin"))->SetValue(10);
    QCOMPARE(offsetNode->GetValue(), int64_t(5));
    f.model.setGenICamCallbacksEnable(true);
    offset->onUpdateNode(f.camera.node("Offset"));
    QCOMPARE(offsetNode->GetValue(), int64_t(10));
    QCOMPARE(spy.count(), 0);

    // Through the engine's own callbacks the value is pulled in as well.
    dynamic_cast<IInteger*>(f.camera.node("OffsetMin"))->SetValue(15);
    QCOMPARE(offsetNode->GetValue(), int64_t(15));

    // A change that leaves the value inside the range is passed on, once.
    spy.clear();
    offsetNode->SetValue(17);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toInt(), offset->row());
    QCOMPARE(qvariant_cast<FeatureTreeINodeItem*>(spy.at(0).at(1)), offset.get());
    // A callback for another node is ignored.
    offset->onUpdateNode(f.camera.node("Shared"));
    QCOMPARE(spy.count(), 1);
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::setDataWithStringOnFloatRowWarnsAndConvertsToDouble()
{
    Fixture f;
    f.watchModels();
    auto gain = f.row("Gain");
    QCOMPARE(gain->editorType(), EditorFloatSlider);
    QTest::ignoreMessage(QtWarningMsg,
                         "FeatureTreeItem::setData() float editor, but no double in variant()  (node name = Gain Level )");
    gain->setData(1, QVariant(QStringLiteral("2.5")), Qt::EditRole);
    QCOMPARE(dynamic_cast<IFloat*>(f.camera.node("Gain"))->GetValue(), 2.5);
    gain->setData(1, QVariant(3.25), Qt::EditRole);
    QCOMPARE(dynamic_cast<IFloat*>(f.camera.node("Gain"))->GetValue(), 3.25);
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::floatRowWithoutFloatNodeFallsBackToFromString()
{
    Fixture f;
    f.watchModels();
    FloatClaimingRow row(f.camera.node("Shared"), &f.model);
    row.setName(QStringLiteral("Shared Value"));
    QTest::ignoreMessage(QtWarningMsg, "Floateditor for node Shared Value, but no GenApi float node??");
    row.setData(1, QVariant(9.0), Qt::EditRole);
    QCOMPARE(dynamic_cast<IInteger*>(f.camera.node("Shared"))->GetValue(), int64_t(9));
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::setDataOnColumnZeroOrOtherRoleDoesNothing_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("role");
    QTest::newRow("column 0, edit role") << 0 << int(Qt::EditRole);
    QTest::newRow("column 1, display role") << 1 << int(Qt::DisplayRole);
    QTest::newRow("column 1, user role") << 1 << int(Qt::UserRole);
    QTest::newRow("column 2, edit role") << 2 << int(Qt::EditRole);
}

void TestFeatureTreeINodeItem::setDataOnColumnZeroOrOtherRoleDoesNothing()
{
    QFETCH(int, column);
    QFETCH(int, role);
    Fixture f;
    f.watchModels();
    auto width = f.row("Width");
    width->setData(column, QVariant(QStringLiteral("800")), role);
    QCOMPARE(f.camera.writes, 0);
    QCOMPARE(width->data(1, Qt::DisplayRole).toString(), QStringLiteral("640"));
    width->setData(1, QVariant(QStringLiteral("800")), Qt::EditRole);
    QCOMPARE(f.camera.writes, 1);
    QCOMPARE(width->data(1, Qt::DisplayRole).toString(), QStringLiteral("800"));
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::disabledCallbacksSilenceClampingAndSignal()
{
    Fixture f;
    f.watchModels();
    auto offset = f.row("Offset");
    QSignalSpy spy(offset.get(), &FeatureTreeINodeItem::nodeUpdated);
    f.model.setGenICamCallbacksEnable(false);
    QVERIFY(!f.model.getGenICamCallbackEnable());
    dynamic_cast<IInteger*>(f.camera.node("OffsetMin"))->SetValue(10);
    QCOMPARE(dynamic_cast<IInteger*>(f.camera.node("Offset"))->GetValue(false, true), int64_t(5));
    f.camera.node("Offset")->InvalidateNode();
    QCOMPARE(spy.count(), 0);

    f.model.setGenICamCallbacksEnable(true);
    f.camera.node("Offset")->InvalidateNode();
    QCOMPARE(dynamic_cast<IInteger*>(f.camera.node("Offset"))->GetValue(), int64_t(10));
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::topRowOfNodeMapGetsNoUpdates()
{
    Fixture f;
    f.model.addNodeMap(f.camera.map(), QStringLiteral("Camera"), QStringLiteral("cam"), false);
    f.watchModels();
    const QModelIndex top = f.model.index(0, 0);
    auto* topRow = qobject_cast<FeatureTreeINodeItem*>(f.model.getFeatureTreeItem(top));
    QVERIFY(topRow);
    QCOMPARE(topRow->node(), f.camera.node("Root"));
    QCOMPARE(topRow->getName(), QStringLiteral("Camera"));
    auto* firstLevel = qobject_cast<FeatureTreeINodeItem*>(topRow->child(0));
    QVERIFY(firstLevel);
    QSignalSpy topSpy(topRow, &FeatureTreeINodeItem::nodeUpdated);
    QSignalSpy childSpy(firstLevel, &FeatureTreeINodeItem::nodeUpdated);
    f.camera.map()->InvalidateNodes();
    QCOMPARE(topSpy.count(), 0);
    QVERIFY(childSpy.count() >= 1);
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::emptyFilterLeavesTextUnchanged()
{
    FeatureTreeHighlighter highlighter;
    QCOMPARE(highlighter.getTextToHighlightLength(), 0);
    const QString text = QStringLiteral("<b>Gain & Offset</b>");
    QCOMPARE(highlighter.highlightText(text), text);
}

void TestFeatureTreeINodeItem::oneLetterFilterMarksEachMatchWithItsOwnCapitalisation()
{
    FeatureTreeHighlighter highlighter;
    highlighter.setTextToHighlight(QStringLiteral("a"));
    QCOMPARE(highlighter.getTextToHighlightLength(), 1);
    const QString open = QStringLiteral("<span style='background-color: #ffff50; font-weight:bold'>");
    const QString close = QStringLiteral("</span>");
    QCOMPARE(highlighter.highlightText(QStringLiteral("Area")),
             open + QStringLiteral("A") + close + QStringLiteral("re") + open + QStringLiteral("a") + close);
}

void TestFeatureTreeINodeItem::filterTextInMarkupIsNotMarkedAgain()
{
    FeatureTreeHighlighter highlighter;
    highlighter.setTextToHighlight(QStringLiteral("span"));
    const QString open = QStringLiteral("<span style='background-color: #ffff50; font-weight:bold'>");
    const QString close = QStringLiteral("</span>");
    QCOMPARE(highlighter.highlightText(QStringLiteral("Wingspan Span")),
             QStringLiteral("Wing") + open + QStringLiteral("span") + close + QStringLiteral(" ") + open
                 + QStringLiteral("Span") + close);
    highlighter.setTextToHighlight(QStringLiteral("bold"));
    QCOMPARE(highlighter.highlightText(QStringLiteral("bold")), open + QStringLiteral("bold") + close);
}

void TestFeatureTreeINodeItem::unparsableStoredColourIsReplacedSilently()
{
    {
        QSettings settings;
        settings.setValue(QStringLiteral("FeatureTree/HighlightColor"), QStringLiteral("no colour at all"));
    }
    FeatureTreeHighlighter highlighter;
    highlighter.setTextToHighlight(QStringLiteral("x"));
    QVERIFY(highlighter.highlightText(QStringLiteral("x")).contains(QStringLiteral("#ffff50")));
    QCOMPARE(QSettings().value(QStringLiteral("FeatureTree/HighlightColor")).toString(), QStringLiteral("#ffff50"));

    // A valid stored colour is used, and written back in its normal form.
    QSettings().setValue(QStringLiteral("FeatureTree/HighlightColor"), QStringLiteral("red"));
    FeatureTreeHighlighter red;
    red.setTextToHighlight(QStringLiteral("x"));
    QVERIFY(red.highlightText(QStringLiteral("x")).contains(QStringLiteral("#ff0000")));
    QCOMPARE(QSettings().value(QStringLiteral("FeatureTree/HighlightColor")).toString(), QStringLiteral("#ff0000"));

    // A first run stores the default.
    QSettings().clear();
    FeatureTreeHighlighter fresh;
    QCOMPARE(QSettings().value(QStringLiteral("FeatureTree/HighlightColor")).toString(), QStringLiteral("#ffff50"));
}

void TestFeatureTreeINodeItem::editorTypeByNode_data()
{
    QTest::addColumn<QString>("node");
    QTest::addColumn<int>("editorType");
    QTest::newRow("integer register") << QStringLiteral("Width") << int(EditorInteger);
    QTest::newRow("linear float") << QStringLiteral("Gain") << int(EditorFloatSlider);
    QTest::newRow("plain float") << QStringLiteral("SquareRootGain") << int(EditorFloat);
    QTest::newRow("enumeration") << QStringLiteral("PixelFormat") << int(EditorEnumeration);
    QTest::newRow("command") << QStringLiteral("TriggerSoftware") << int(EditorCommand);
    QTest::newRow("boolean") << QStringLiteral("Flag") << int(EditorBoolean);
    QTest::newRow("string") << QStringLiteral("Name") << int(EditorString);
    QTest::newRow("category") << QStringLiteral("ImageFormat") << int(EditorNone);
}

void TestFeatureTreeINodeItem::editorTypeByNode()
{
    QFETCH(QString, node);
    QFETCH(int, editorType);
    Fixture f;
    f.watchModels();
    INode* n = f.camera.node(node.toLatin1().constData());
    QCOMPARE(int(FeatureTreeINodeItem::editorType(n)), editorType);
    auto row = f.row(node.toLatin1().constData());
    QCOMPARE(int(row->editorType()), editorType);
    QCOMPARE(int(FeatureTreeINodeItem::editorType(row.get())), editorType);
    auto deadEnd = f.row(node.toLatin1().constData(), true, true);
    QCOMPARE(deadEnd->editorType(), EditorNone);
    QCOMPARE(FeatureTreeINodeItem::editorType(deadEnd.get()), EditorNone);
    QCOMPARE(FeatureTreeINodeItem::editorType(static_cast<const INode*>(nullptr)), EditorInvalid);
    QCOMPARE(FeatureTreeINodeItem::editorType(static_cast<const FeatureTreeINodeItem*>(nullptr)), EditorInvalid);
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::valueColumnByAccessMode_data()
{
    QTest::addColumn<QString>("node");
    QTest::addColumn<QString>("display");
    QTest::addColumn<QVariant>("edit");
    QTest::newRow("read-write integer") << QStringLiteral("Width") << QStringLiteral("640") << QVariant(QStringLiteral("640"));
    QTest::newRow("not implemented") << QStringLiteral("Missing") << QStringLiteral("<not implemented>") << QVariant();
    QTest::newRow("not available category") << QStringLiteral("Hidden") << QString() << QVariant();
    QTest::newRow("enumeration") << QStringLiteral("PixelFormat") << QStringLiteral("Mono8") << QVariant(QStringLiteral("Mono8"));
    QTest::newRow("string") << QStringLiteral("Name") << QStringLiteral("camera") << QVariant(QStringLiteral("camera"));
}

void TestFeatureTreeINodeItem::valueColumnByAccessMode()
{
    QFETCH(QString, node);
    QFETCH(QString, display);
    QFETCH(QVariant, edit);
    Fixture f;
    f.watchModels();
    auto row = f.row(node.toLatin1().constData());
    QCOMPARE(row->data(1, Qt::DisplayRole).toString(), display);
    QCOMPARE(row->data(1, Qt::EditRole).toString(), edit.toString());
    QCOMPARE(row->data(1, Qt::EditRole).isValid(), edit.isValid());
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::nameColumnRoles()
{
    Fixture f;
    f.watchModels();
    auto width = f.row("Width");
    QCOMPARE(width->data(0, Qt::DisplayRole).toString(), QStringLiteral("Width"));
    QCOMPARE(width->data(0, NodeToolTipRole).toString(), QStringLiteral("Width of the image"));
    QCOMPARE(width->data(0, NodeDescriptionRole).toString(), QString());
    QCOMPARE(width->data(0, NodeDocuUrlRole).toString(), QString());
    QCOMPARE(width->data(0, IsCategoryRole).toBool(), false);
    QCOMPARE(width->data(0, IsFullRowRole).toBool(), false);
    QCOMPARE(width->data(0, ItemIdRole).value<quint64>(), quint64(reinterpret_cast<quintptr>(f.camera.node("Width"))));
    QCOMPARE(width->data(0, FullNameRole).toString(), QStringLiteral("cam*Width"));
    auto category = f.row("ImageFormat");
    category->SetIsFullRowItem(false);
    // On node rows the full-row flag is the category test.
    QCOMPARE(category->data(0, IsFullRowRole).toBool(), true);
    QCOMPARE(category->data(0, IsCategoryRole).toBool(), true);
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::tooltipHeadIsHighlightedButNotTheNodeText()
{
    Fixture f;
    f.watchModels();
    FeatureTreeHighlighter highlighter;
    highlighter.setTextToHighlight(QStringLiteral("gain"));
    auto gain = f.row("Gain");
    gain->setHighlighter(&highlighter);
    const QString open = QStringLiteral("<span style='background-color: #ffff50; font-weight:bold'>");
    QCOMPARE(gain->data(0, Qt::ToolTipRole).toString(),
             QStringLiteral("<nobr><b>") + open + QStringLiteral("Gain</span> Level (") + open
                 + QStringLiteral("Gain</span>)</b></nobr><br><nobr>Amplification</nobr>"));
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::rowOfDeadNodeAnswersWithoutNode()
{
    Fixture f;
    f.watchModels();
    auto width = f.row("Width");
    auto category = f.row("ImageFormat");
    f.camera.destroy();
    QVERIFY(width->node() == nullptr);
    QCOMPARE(width->data(1, Qt::DisplayRole).toString(), QString());
    QVERIFY(!width->data(1, Qt::EditRole).isValid());
    QCOMPARE(width->data(0, Qt::DisplayRole).toString(), QStringLiteral("Width"));
    QCOMPARE(width->data(0, VisibilityRole).toInt(), int(Invisible));
    QCOMPARE(width->data(0, IsCategoryRole).toBool(), false);
    QVERIFY(!width->data(0, Qt::ToolTipRole).isValid());
    QVERIFY_EXCEPTION_THROWN(width->data(0, NodeNameRole), GenICam::LogicalErrorException);
    QCOMPARE(width->getAccessMode(), _UndefinedAccesMode);
    QCOMPARE(width->getVisibility(), _UndefinedVisibility);
    QVERIFY(!width->hasChildren());
    QVERIFY(!width->isEditable());
    QVERIFY(!width->ShowMe(Guru));
    QCOMPARE(width->flags(0), Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemIsEnabled);
    width->setData(1, QVariant(QStringLiteral("1")), Qt::EditRole);
    QCOMPARE(category->childCount(), 0);
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::lazyFillHappensOnFirstChildCount()
{
    Fixture f;
    // The proxy's filter would load every level it looks at; it joins at the end.
    f.proxy.setSourceModel(nullptr);
    f.model.addNodeMap(f.camera.map(), QStringLiteral("Camera"), QStringLiteral("cam"), false);
    FeatureTreeItem* region =
        f.model.getFeatureTreeItem(f.model.findItemByFullName(QStringLiteral("cam*Region"), nullptr, 0));
    QVERIFY(region);
    QSignalSpy inserted(&f.model, &QAbstractItemModel::rowsInserted);
    QCOMPARE(region->FeatureTreeItem::childCount(), 0);
    QCOMPARE(region->childCount(), 1);
    QCOMPARE(inserted.count(), 1);
    QCOMPARE(inserted.at(0).at(0).toModelIndex(), f.model.indexForItem(region, 0));
    QCOMPARE(region->childCount(), 1);
    QCOMPARE(inserted.count(), 1);
    QCOMPARE(region->child(0)->getFullName(), QStringLiteral("cam*RegionOffset"));
    f.proxy.setSourceModel(&f.model);
    f.watchModels();
    // Rows that were cleared aren't made again.
    region->clearChildren();
    QCOMPARE(region->childCount(), 0);
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::hasChildrenAtDebugLevelLooksForPointerProperties()
{
    Fixture f;
    f.watchModels();
    auto offset = f.row("Offset");
    auto category = f.row("ImageFormat");
    auto shared = f.row("Shared");
    QVERIFY(!offset->hasChildren());
    QVERIFY(category->hasChildren());
    f.model.setVisibility(Invisible);
    QVERIFY(offset->hasChildren()); // pMin
    QVERIFY(category->hasChildren()); // pFeature
    QVERIFY(!shared->hasChildren());
    auto deadEnd = f.row("ImageFormat", true, true);
    QVERIFY(!deadEnd->hasChildren());
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::showMeByLevel()
{
    Fixture f;
    f.watchModels();
    auto expert = f.row("ExpertValue");
    QVERIFY(!expert->ShowMe(Beginner));
    QVERIFY(expert->ShowMe(Expert));
    QVERIFY(expert->ShowMe(Guru));
    auto debugRow = f.row("Width", true);
    QVERIFY(!debugRow->ShowMe(Guru));
    QVERIFY(debugRow->ShowMe(Invisible));
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::flagsOfWritableAndReadOnlyRows()
{
    Fixture f;
    f.watchModels();
    auto width = f.row("Width");
    QCOMPARE(width->flags(0), Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemIsEnabled);
    QCOMPARE(width->flags(1), Qt::ItemIsEditable | Qt::ItemIsEnabled);
    auto category = f.row("ImageFormat");
    QCOMPARE(category->flags(0), Qt::ItemIsSelectable | Qt::ItemIsEnabled);
    auto debugCategory = f.row("ImageFormat", true);
    QCOMPARE(debugCategory->flags(0), Qt::ItemFlags());
    f.camera.node("Width")->ImposeAccessMode(RO);
    QCOMPARE(width->flags(1), Qt::ItemFlags(Qt::ItemIsEnabled));
    QVERIFY(!width->isEditable());
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::foregroundIsGreyForReadOnlyFeaturesOnly()
{
    Fixture f;
    f.watchModels();
    const QVariant grey = QVariant(QPalette().brush(QPalette::Disabled, QPalette::Text));
    auto width = f.row("Width");
    QVERIFY(!width->data(0, Qt::ForegroundRole).isValid());
    QVERIFY(!width->data(1, Qt::ForegroundRole).isValid());
    auto category = f.row("ImageFormat");
    QVERIFY(!category->data(0, Qt::ForegroundRole).isValid());
    auto debugRow = f.row("Width", true);
    QCOMPARE(debugRow->data(0, Qt::ForegroundRole), grey);
    f.camera.node("Width")->ImposeAccessMode(RO);
    QCOMPARE(width->data(1, Qt::ForegroundRole), grey);
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeINodeItem::nodeChangedFromAnotherThreadUpdatesRowThroughQueuedSignal()
{
    Fixture f;
    f.model.addNodeMap(f.camera.map(), QStringLiteral("Camera"), QStringLiteral("cam"), false);
    f.watchModels();
    const QModelIndex imageFormat = f.model.findItemByFullName(QStringLiteral("*ImageFormat"), nullptr, 0);
    QVERIFY(f.model.rowCount(imageFormat) > 0);
    const QModelIndex shared = f.model.findItemByFullName(QStringLiteral("cam*Shared"), nullptr, 1);
    QVERIFY(shared.isValid());
    auto* row = qobject_cast<FeatureTreeINodeItem*>(f.model.getFeatureTreeItem(shared));
    QVERIFY(row);

    QSignalSpy rowSpy(row, &FeatureTreeINodeItem::nodeUpdated);
    QSignalSpy changed(&f.model, &QAbstractItemModel::dataChanged);
    Qt::HANDLE callbackThread = nullptr;
    QObject::connect(row, &FeatureTreeINodeItem::nodeUpdated, row,
                     [&callbackThread](int, FeatureTreeINodeItem*) { callbackThread = QThread::currentThreadId(); },
                     Qt::DirectConnection);

    std::unique_ptr<QThread> writer(QThread::create([&f] {
        dynamic_cast<IInteger*>(f.camera.node("Shared"))->SetValue(42);
    }));
    writer->start();
    QVERIFY(writer->wait(5000));
    // The signal was emitted on the writer's thread; the model hears of it only when the
    // GUI thread's event loop delivers the queued call.
    QCOMPARE(rowSpy.count(), 1);
    QVERIFY(callbackThread != QThread::currentThreadId());
    QCOMPARE(changed.count(), 0);
    const QModelIndex nameIndex = f.model.index(shared.row(), 0, shared.parent());
    const QModelIndex valueIndex = f.model.index(shared.row(), 1, shared.parent());
    auto delivered = [&changed](const QModelIndex& index) {
        for (const QList<QVariant>& arguments : qAsConst(changed))
        {
            if (arguments.at(0).toModelIndex() == index && arguments.at(1).toModelIndex() == index)
                return true;
        }
        return false;
    };
    QTRY_VERIFY(delivered(nameIndex) && delivered(valueIndex));
    QCOMPARE(f.model.data(shared, Qt::DisplayRole).toString(), QStringLiteral("42"));
    QVERIFY(f.watch.unexpected().isEmpty());
}

QTEST_MAIN(TestFeatureTreeINodeItem)
#include "tst_featuretreeinodeitem.moc"
