// The feature tree delegate: rich-text painting of the name column, the editor chosen for
// each node kind, and the commit path from an editor to the node.

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QImage>
#include <QLineEdit>
#include <QPainter>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QStyle>
#include <QTextDocument>
#include <QTreeView>
#include <QtTest>

#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtWidgets/FeatureTreeProxyModel.h>
#include <VorloQtWidgets/checkboxeditor.h>
#include <VorloQtWidgets/enumeditor.h>
#include <VorloQtWidgets/featuretreedelegate.h>
#include <VorloQtWidgets/featuretreehighlighter.h>
#include <VorloQtWidgets/featuretreemodel.h>
#include <VorloQtWidgets/featuretreerole.h>
#include <VorloQtWidgets/floateditor.h>
#include <VorloQtWidgets/floatslidereditor.h>
#include <VorloQtWidgets/inteditor.h>
#include <VorloQtWidgets/intslidereditor.h>
#include <VorloQtWidgets/toolbuttoneditor.h>

#include "featuretreetestsupport.h"

using namespace FeatureModelTest;
using namespace FeatureTreeTest;

namespace {

const QSize CellSize(160, 23);
const QString LongName = QStringLiteral("AcquisitionFrameRateAbsoluteWithAVeryLongNameThatNeverFits");

// A model of plain rows that answer the roles the delegate reads.
struct PaintFixture
{
    PaintFixture()
        : watch({})
    {
        watch.watch(&model);
        model.setColumnCount(2);
        view.setModel(&model);
        view.resize(400, 200);
    }

    QModelIndex addRow(const QString& text, bool special = false, bool debug = false, bool category = false)
    {
        auto* name = new QStandardItem(text);
        name->setData(special, IsSpecialNodeRole);
        name->setData(debug, IsDebugNodeRole);
        name->setData(category, IsCategoryRole);
        name->setData(QBrush(QColor(10, 20, 30)), Qt::ForegroundRole);
        model.appendRow({name, new QStandardItem(QStringLiteral("value"))});
        return model.index(model.rowCount() - 1, 0);
    }

    QStyleOptionViewItem option() const
    {
        QStyleOptionViewItem option;
        option.initFrom(&view);
        option.rect = QRect(QPoint(0, 0), CellSize);
        option.widget = &view;
        option.features |= QStyleOptionViewItem::HasDisplay;
        return option;
    }

    QImage render(const QAbstractItemDelegate& delegate, const QModelIndex& index) const
    {
        QImage image(CellSize, QImage::Format_ARGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        delegate.paint(&painter, option(), index);
        return image;
    }

    // What the delegate is meant to draw for a body: the panel, then the body in a
    // coloured span, clipped to the text rectangle.
    QImage renderExpected(const QModelIndex& index, const QString& body) const
    {
        QImage image(CellSize, QImage::Format_ARGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        QStyleOptionViewItem initialised = option();
        // initStyleOption is protected; a styled delegate subclass reaches it.
        struct Init : QStyledItemDelegate
        {
            void init(QStyleOptionViewItem* o, const QModelIndex& i) const { initStyleOption(o, i); }
        } init;
        init.init(&initialised, index);
        QStyle* style = view.style();
        const QRect textRect = style->subElementRect(QStyle::SE_ItemViewItemText, &initialised, &view);
        style->drawPrimitive(QStyle::PE_PanelItemViewItem, &initialised, &painter, &view);
        QTextDocument document;
        document.setHtml(QStringLiteral("<span style='color:#0a141e'>") + body + QStringLiteral("</span>"));
        QAbstractTextDocumentLayout::PaintContext context;
        context.cursorPosition = -1;
        painter.save();
        painter.translate(textRect.topLeft());
        painter.setClipRect(QRect(QPoint(0, 0), textRect.size()));
        document.documentLayout()->draw(&painter, context);
        painter.restore();
        return image;
    }

    int textWidth(const QModelIndex& index) const
    {
        struct Init : QStyledItemDelegate
        {
            void init(QStyleOptionViewItem* o, const QModelIndex& i) const { initStyleOption(o, i); }
        } init;
        QStyleOptionViewItem opt = option();
        init.init(&opt, index);
        return view.style()->subElementRect(QStyle::SE_ItemViewItemText, &opt, &view).width();
    }

    QFontMetrics metrics() const { return option().fontMetrics; }

    ModelWatch watch;
    QStandardItemModel model;
    QTreeView view;
    FeatureTreeHighlighter highlighter;
    GenApi::EVisibility visibility = GenApi::Expert;
};

// The feature model of a camera with every editor kind, and a delegate on it.
struct EditorFixture
{
    EditorFixture()
        : camera(editorsDescription())
        , watch({flagsOfTheInvalidIndex(), rowsUnderColumnOneIndexes(), rowAnnouncedAtOneInsertedAtZero()})
        , delegate(&host, &model, &visibility, &highlighter)
    {
        watch.watch(&model);
        model.CreateFavoritesRoot();
        model.addNodeMap(camera.map(), QStringLiteral("Camera"), QStringLiteral("cam"), false);
    }

    QWidget* editorFor(const char* nodeName)
    {
        const QModelIndex index = findByNodeName(&model, QLatin1String(nodeName), 1);
        if (!index.isValid())
            return nullptr;
        QStyleOptionViewItem option;
        return delegate.createEditor(&host, option, index);
    }

    VorloQtBase::ExceptionRecorder recorder;
    TestCamera camera;
    FeatureTreeModel model;
    ModelWatch watch; // destroyed before the model, whose teardown it must not judge
    QWidget host;
    GenApi::EVisibility visibility = GenApi::Guru;
    FeatureTreeHighlighter highlighter;
    FeatureTreeDelegate delegate;
};

} // namespace

class TestFeatureTreeDelegate : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    // Painting
    void emptyFilterElidesOrdinaryRowToFullWidth();
    void filterTextShortensOrdinaryRowByTwiceItsLength();
    void specialRowWithMarkupIsRenderedAsMarkupAndNotElided();
    void debugNodeWithLessThanIsShownLiterally();
    void nullHighlighterPaintsEveryRowByBaseClass();
    void categoryAndValueColumnArePaintedByBaseClass();
    void sizeHintHeightIsAlways23();

    // Editors
    void editorKindFollowsNodeType_data();
    void editorKindFollowsNodeType();
    void linearFloatWithoutIntegerAliasGetsFloatEditorNotSlider();
    void stringNodeGetsBaseClassDefaultEditor();
    void rowWithoutNodeGetsNoEditor();
    void nullNodeGivesNullFromEachEditorFunction();

    // Commit path
    void editorSignalEmitsCommitDataForTheEditor();
    void setModelDataWritesEditorValueToNode();
    void setEditorDataFillsEditorFromNode();
};

void TestFeatureTreeDelegate::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QSettings().clear();
}

void TestFeatureTreeDelegate::emptyFilterElidesOrdinaryRowToFullWidth()
{
    PaintFixture f;
    const QModelIndex index = f.addRow(LongName);
    FeatureTreeDelegate delegate(&f.view, nullptr, &f.visibility, &f.highlighter);
    f.highlighter.setTextToHighlight(QString());

    const int width = f.textWidth(index);
    const QString elided = f.metrics().elidedText(LongName, Qt::ElideRight, width);
    QVERIFY2(elided != LongName, "the name must be too long for the cell");
    QCOMPARE(f.render(delegate, index), f.renderExpected(index, elided));
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeDelegate::filterTextShortensOrdinaryRowByTwiceItsLength()
{
    PaintFixture f;
    const QModelIndex index = f.addRow(LongName);
    FeatureTreeDelegate delegate(&f.view, nullptr, &f.visibility, &f.highlighter);
    const QString filter = QStringLiteral("NeverFitsAtAllReallyNot"); // matches nothing visible; 23 characters
    f.highlighter.setTextToHighlight(filter);

    const int width = f.textWidth(index);
    const QString elided = f.metrics().elidedText(LongName, Qt::ElideRight, width - 2 * filter.length());
    QVERIFY(elided != f.metrics().elidedText(LongName, Qt::ElideRight, width));
    QCOMPARE(f.render(delegate, index), f.renderExpected(index, f.highlighter.highlightText(elided)));
}

void TestFeatureTreeDelegate::specialRowWithMarkupIsRenderedAsMarkupAndNotElided()
{
    PaintFixture f;
    const QString summary = QStringLiteral("<HTML><B>3 search results (1 of them visible at higher user level)</B>");
    const QModelIndex index = f.addRow(summary, true);
    FeatureTreeDelegate delegate(&f.view, nullptr, &f.visibility, &f.highlighter);
    f.highlighter.setTextToHighlight(QStringLiteral("gain"));

    const QImage painted = f.render(delegate, index);
    QCOMPARE(painted, f.renderExpected(index, summary));
    // Taken as text, the tags would show.
    QVERIFY(painted != f.renderExpected(index, summary.toHtmlEscaped()));
}

void TestFeatureTreeDelegate::debugNodeWithLessThanIsShownLiterally()
{
    PaintFixture f;
    const QString name = QStringLiteral("a<b c");
    const QModelIndex index = f.addRow(name, false, true);
    FeatureTreeDelegate delegate(&f.view, nullptr, &f.visibility, &f.highlighter);
    f.highlighter.setTextToHighlight(QStringLiteral("a"));

    const QImage painted = f.render(delegate, index);
    QCOMPARE(painted, f.renderExpected(index, name.toHtmlEscaped()));
    // Taken as markup, "<b c" would open a tag and hide the rest.
    QVERIFY(painted != f.renderExpected(index, name));
}

void TestFeatureTreeDelegate::nullHighlighterPaintsEveryRowByBaseClass()
{
    PaintFixture f;
    QStyledItemDelegate base;
    FeatureTreeDelegate delegate(&f.view, nullptr, &f.visibility, nullptr);
    const QList<QModelIndex> rows = {f.addRow(QStringLiteral("<b>bold?</b>")), f.addRow(LongName, true),
                                     f.addRow(QStringLiteral("a<b"), false, true)};
    for (const QModelIndex& index : rows)
        QCOMPARE(f.render(delegate, index), f.render(base, index));
}

void TestFeatureTreeDelegate::categoryAndValueColumnArePaintedByBaseClass()
{
    PaintFixture f;
    QStyledItemDelegate base;
    FeatureTreeDelegate delegate(&f.view, nullptr, &f.visibility, &f.highlighter);
    const QModelIndex category = f.addRow(QStringLiteral("<i>Category</i>"), false, false, true);
    const QModelIndex value = f.addRow(QStringLiteral("<i>Name</i>")).sibling(1, 1);
    QCOMPARE(f.render(delegate, category), f.render(base, category));
    QCOMPARE(f.render(delegate, value), f.render(base, value));
    // An ordinary name is rich text and differs from the plain painting.
    const QModelIndex plain = value.sibling(value.row(), 0);
    QVERIFY(f.render(delegate, plain) != f.render(base, plain));
}

void TestFeatureTreeDelegate::sizeHintHeightIsAlways23()
{
    PaintFixture f;
    FeatureTreeDelegate delegate(&f.view, nullptr, &f.visibility, &f.highlighter);
    QStyledItemDelegate base;
    const QModelIndex index = f.addRow(LongName);
    QFont big = f.view.font();
    big.setPointSize(40);
    QStyleOptionViewItem option = f.option();
    option.font = big;
    QCOMPARE(delegate.sizeHint(option, index).height(), 23);
    QCOMPARE(delegate.sizeHint(option, index).width(), base.sizeHint(option, index).width());
    QCOMPARE(delegate.sizeHint(f.option(), index.sibling(index.row(), 1)).height(), 23);
}

void TestFeatureTreeDelegate::editorKindFollowsNodeType_data()
{
    QTest::addColumn<QString>("node");
    QTest::addColumn<QString>("editorClass");
    QTest::newRow("integer, plain representation") << "Width" << "IntEditor";
    QTest::newRow("integer, linear representation") << "Height" << "IntSliderEditor";
    QTest::newRow("float, plain representation") << "ExposureTime" << "FloatEditor";
    QTest::newRow("float, linear with integer alias") << "BlackLevel" << "FloatSliderEditor";
    QTest::newRow("enumeration") << "PixelFormat" << "EnumEditor";
    QTest::newRow("boolean") << "ReverseX" << "CheckBoxEditor";
    QTest::newRow("command") << "TriggerSoftware" << "ToolButtonEditor";
}

void TestFeatureTreeDelegate::editorKindFollowsNodeType()
{
    QFETCH(QString, node);
    QFETCH(QString, editorClass);
    EditorFixture f;
    QWidget* editor = f.editorFor(node.toLatin1().constData());
    QVERIFY(editor);
    QCOMPARE(QString::fromLatin1(editor->metaObject()->className()), editorClass);
    QCOMPARE(editor->parentWidget(), &f.host);
    QVERIFY(f.watch.unexpected().isEmpty());
}

void TestFeatureTreeDelegate::linearFloatWithoutIntegerAliasGetsFloatEditorNotSlider()
{
    EditorFixture f;
    QWidget* editor = f.editorFor("Gain");
    QVERIFY(editor);
    QVERIFY(qobject_cast<FloatEditor*>(editor));
    QVERIFY(!qobject_cast<FloatSliderEditor*>(editor));
}

void TestFeatureTreeDelegate::stringNodeGetsBaseClassDefaultEditor()
{
    EditorFixture f;
    QWidget* editor = f.editorFor("DeviceUserID");
    QVERIFY(editor);
    QVERIFY(dynamic_cast<AbstractItemEditor*>(editor) == nullptr);
    QVERIFY(qobject_cast<QLineEdit*>(editor));
    // The base class fills it from the edit role.
    const QModelIndex index = findByNodeName(&f.model, QStringLiteral("DeviceUserID"), 1);
    f.delegate.setEditorData(editor, index);
    QCOMPARE(qobject_cast<QLineEdit*>(editor)->text(), index.data(Qt::EditRole).toString());
}

void TestFeatureTreeDelegate::rowWithoutNodeGetsNoEditor()
{
    EditorFixture f;
    QStyleOptionViewItem option;
    // The master root's first rows: the search help row has no node.
    const QModelIndex help = f.model.indexForItem(f.model.getSearchHelpItem(), 1);
    QVERIFY(help.isValid());
    QVERIFY(f.delegate.createEditor(&f.host, option, help) == nullptr);
    QVERIFY(f.delegate.createEditor(&f.host, option, QModelIndex()) == nullptr);
}

void TestFeatureTreeDelegate::nullNodeGivesNullFromEachEditorFunction()
{
    EditorFixture f;
    QStyleOptionViewItem option;
    QVERIFY(!f.delegate.createIntEditor(&f.host, option, nullptr));
    QVERIFY(!f.delegate.createFloatEditor(&f.host, option, nullptr));
    QVERIFY(!f.delegate.createEnumEditor(&f.host, option, nullptr));
    QVERIFY(!f.delegate.createToolButtonEditor(&f.host, option, nullptr));
    QVERIFY(!f.delegate.createCheckBoxEditor(&f.host, option, nullptr));
}

void TestFeatureTreeDelegate::editorSignalEmitsCommitDataForTheEditor()
{
    EditorFixture f;
    QSignalSpy commits(&f.delegate, &QAbstractItemDelegate::commitData);
    QVERIFY(commits.isValid());
    auto* checkBox = qobject_cast<CheckBoxEditor*>(f.editorFor("ReverseX"));
    QVERIFY(checkBox);
    checkBox->click();
    QCOMPARE(commits.count(), 1);
    QCOMPARE(commits.at(0).at(0).value<QWidget*>(), static_cast<QWidget*>(checkBox));

    // A direct call has no sender widget and commits a null editor.
    commits.clear();
    f.delegate.emitCommitData();
    QCOMPARE(commits.count(), 1);
    QCOMPARE(commits.at(0).at(0).value<QWidget*>(), static_cast<QWidget*>(nullptr));
}

void TestFeatureTreeDelegate::setModelDataWritesEditorValueToNode()
{
    EditorFixture f;
    const QModelIndex index = findByNodeName(&f.model, QStringLiteral("PixelFormat"), 1);
    auto* combo = qobject_cast<EnumEditor*>(f.editorFor("PixelFormat"));
    QVERIFY(combo);
    f.delegate.setEditorData(combo, index);
    const int mono16 = combo->findText(QStringLiteral("Mono16"));
    QVERIFY(mono16 >= 0);
    combo->setCurrentIndex(mono16);
    f.delegate.setModelData(combo, &f.model, index);
    GenApi::CEnumerationPtr pixelFormat(f.camera.node("PixelFormat"));
    QCOMPARE(QString::fromLatin1(pixelFormat->ToString().c_str()), QStringLiteral("Mono16"));
}

void TestFeatureTreeDelegate::setEditorDataFillsEditorFromNode()
{
    EditorFixture f;
    const QModelIndex index = findByNodeName(&f.model, QStringLiteral("ReverseX"), 1);
    auto* checkBox = qobject_cast<CheckBoxEditor*>(f.editorFor("ReverseX"));
    QVERIFY(checkBox);
    GenApi::CBooleanPtr reverse(f.camera.node("ReverseX"));
    reverse->SetValue(true);
    f.delegate.setEditorData(checkBox, index);
    QVERIFY(checkBox->isChecked());
    reverse->SetValue(false);
    f.delegate.setEditorData(checkBox, index);
    QVERIFY(!checkBox->isChecked());
}

QTEST_MAIN(TestFeatureTreeDelegate)
#include "tst_featuretreedelegate.moc"
