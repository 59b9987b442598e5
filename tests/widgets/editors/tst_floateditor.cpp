// FloatEditor: a float feature in one double spin box.

#include "editortestsupport.h"

#include <VorloQtWidgets/floateditor.h>
#include <VorloQtWidgets/vorloqtspinbox.h>

#include <QHBoxLayout>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>

using EditorTest::MessageRecorder;
using EditorTest::NodeMap;

namespace
{
// Gain 0..10 with its limits behind the writable nodes GainMin and GainMax, so that a test
// can move them under an open editor.
QString gainFeatures(const QString& extra = QString(), const QString& gainElements = QString())
{
    return EditorTest::accessModeSupport()
           + QStringLiteral(R"(
<Float Name="GainMin"><Value>0</Value></Float>
<Float Name="GainMax"><Value>10</Value></Float>
<Float Name="Gain">%1<Value>2.5</Value><pMin>GainMin</pMin><pMax>GainMax</pMax><Inc>0.5</Inc><DisplayPrecision>2</DisplayPrecision></Float>
<Float Name="NoInc"><Value>1.25</Value><Min>0</Min><Max>5</Max><DisplayPrecision>2</DisplayPrecision></Float>
<Float Name="FineInc"><Value>1</Value><Min>0</Min><Max>5</Max><Inc>0.001</Inc><DisplayPrecision>2</DisplayPrecision></Float>
<Float Name="Huge"><Value>0</Value><Min>-1e12</Min><Max>1e12</Max><Inc>1</Inc><DisplayPrecision>0</DisplayPrecision></Float>
<Integer Name="Count"><Value>3</Value></Integer>
%2
)")
                 .arg(gainElements, extra);
}

// Counts the change notices of a node; a plain function, as node callbacks take one.
int g_notices = 0;
void countNotice(GenApi::INode*)
{
    ++g_notices;
}

// What the delegate does: a commit signal leads to editorData(), which goes to the model.
// The connection ends with the recorder, so that an editor that outlives it (and commits
// once more when its window closes) reaches nothing.
struct CommitRecorder
{
    explicit CommitRecorder(FloatEditor* editor)
    {
        QObject::connect(editor, &FloatEditor::boxValueChanged, &context,
                         [this, editor] { values << editor->editorData(); });
    }
    QObject context;
    QList<QVariant> values;
};

struct Fixture
{
    explicit Fixture(const QString& features = gainFeatures())
        : map(features)
    {
        auto* layout = new QHBoxLayout(&top);
        other = new QLineEdit(&top);
        editor = new FloatEditor(&top, GenApi::Linear);
        layout->addWidget(editor);
        layout->addWidget(other);
        top.setLocale(QLocale::c());
        editor->setLocale(QLocale::c());
        spin = editor->findChild<VorloQtDoubleSpinBox*>();
        spin->setLocale(QLocale::c());
    }
    GenApi::IFloat* gain() const { return map.get<GenApi::IFloat>("Gain"); }

    NodeMap map;
    QWidget top;
    QLineEdit* other = nullptr;
    FloatEditor* editor = nullptr;
    VorloQtDoubleSpinBox* spin = nullptr;
};
} // namespace

class TestFloatEditor : public QObject
{
    Q_OBJECT

private slots:
    void construction_data();
    void construction();
    void firstRefreshFillsTheEditor();
    void accessModes_data();
    void accessModes();
    void nonFloatNodeIsRefusedWithWarning();
    void enabledStateChangesOnlyOnDifference();

    void nodeWithoutIncrementHasNoButtonsNoStepsNoIncrementInToolTip();
    void limitsChangingWhileOpenWithoutFocusFollowAtNextRefresh();
    void focusedUncommittedTypingBlocksRefreshEvenOfLimits();
    void ownCommitLetsOneRefreshThroughDespiteFocus();
    void committedValueBeyondLimitsReachesModelClamped();
    void typedValueCommittedOnReturnAndOnFocusLoss();
    void stepGoesStraightToTheNode();
    void pageStepGoesStraightToTheNode();
    void stepDropsUncommittedTyping();
    void stepFromMaximumStaysAtMaximumAndWritesIt();
    void incrementBelowDisplayPrecisionShowsNoIncrementButSteps();
    void nodeValueOutsideLimitsLeavesWidgetAndLogsOutOfRange();
    void minimumAboveMaximumLeavesWidgetAndLogs();
    void hugeLimitsUseExponentInToolTip();
    void nodeMapDestroyedWhileOpen();
};

void TestFloatEditor::construction_data()
{
    QTest::addColumn<int>("representation");
    QTest::addColumn<int>("buttons");
    QTest::newRow("Linear") << int(GenApi::Linear) << int(QAbstractSpinBox::UpDownArrows);
    QTest::newRow("PureNumber") << int(GenApi::PureNumber) << int(QAbstractSpinBox::NoButtons);
}

void TestFloatEditor::construction()
{
    QFETCH(int, representation);
    QFETCH(int, buttons);
    FloatEditor editor(nullptr, GenApi::_ERepresentation(representation));
    QCOMPARE(int(editor.findChild<VorloQtDoubleSpinBox*>()->buttonSymbols()), buttons);
}

void TestFloatEditor::firstRefreshFillsTheEditor()
{
    Fixture f;
    f.editor->setEditorData(f.map.node("Gain"));
    QCOMPARE(f.spin->value(), 2.5);
    QCOMPARE(f.spin->decimals(), 2);
    QCOMPARE(f.spin->minimum(), 0.0);
    QCOMPARE(f.spin->maximum(), 10.0);
    QCOMPARE(f.editor->increment(), 0.5);
    QCOMPARE(f.spin->pageStep(), 1.0); // max(2 * 0.5, 10 / 20)
    QCOMPARE(f.editor->toolTip(), QStringLiteral("Range: 0.00..10.00 (Increment: 0.50)"));
    QCOMPARE(f.spin->toolTip(), f.editor->toolTip());
    QCOMPARE(f.spin->text(), QStringLiteral("2.50"));
    QVERIFY(f.editor->isEnabled());
    QCOMPARE(f.editor->editorData().toDouble(), 2.5);
}

void TestFloatEditor::accessModes_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("filled");
    QTest::addColumn<bool>("enabled");
    QTest::newRow("NI") << int(GenApi::NI) << false << true;
    QTest::newRow("NA") << int(GenApi::NA) << false << true;
    QTest::newRow("WO") << int(GenApi::WO) << false << true;
    QTest::newRow("RO") << int(GenApi::RO) << true << false;
    QTest::newRow("RW") << int(GenApi::RW) << true << true;
}

void TestFloatEditor::accessModes()
{
    QFETCH(int, mode);
    QFETCH(bool, filled);
    QFETCH(bool, enabled);
    Fixture f(gainFeatures(QString(), EditorTest::accessModeElements(GenApi::EAccessMode(mode))));
    QCOMPARE(int(f.map.node("Gain")->GetAccessMode()), mode);
    const double before = f.spin->value();

    MessageRecorder log;
    f.editor->setEditorData(f.map.node("Gain"));
    QCOMPARE(f.editor->isEnabled(), enabled);
    if (filled) {
        QCOMPARE(f.spin->value(), 2.5);
        QVERIFY(!log.contains("Non-readable comboBox"));
    } else {
        QCOMPARE(f.spin->value(), before);
        QVERIFY2(log.contains("Non-readable comboBox: Gain"), qPrintable(log.joined()));
    }
}

void TestFloatEditor::nonFloatNodeIsRefusedWithWarning()
{
    Fixture f;
    MessageRecorder log;
    f.editor->setEditorData(f.map.node("Count"));
    f.editor->setEditorData(nullptr);
    QCOMPARE(log.count("setEditorData is called with non-float node"), 2);
    QVERIFY(!log.contains("Failed to update"));
}

void TestFloatEditor::enabledStateChangesOnlyOnDifference()
{
    Fixture f(gainFeatures(QString(), EditorTest::accessModeElements(GenApi::RO)));
    int enabledChanges = 0;
    struct Filter : QObject
    {
        int* count;
        bool eventFilter(QObject*, QEvent* e) override
        {
            if (e->type() == QEvent::EnabledChange)
                ++*count;
            return false;
        }
    } filter;
    filter.count = &enabledChanges;
    f.editor->installEventFilter(&filter);
    f.editor->setEditorData(f.map.node("Gain"));
    QCOMPARE(enabledChanges, 1);
    f.editor->setEditorData(f.map.node("Gain"));
    f.editor->setEditorData(f.map.node("Gain"));
    QCOMPARE(enabledChanges, 1);
    QVERIFY(!f.editor->isEnabled());
}

void TestFloatEditor::nodeWithoutIncrementHasNoButtonsNoStepsNoIncrementInToolTip()
{
    Fixture f;
    QCOMPARE(f.spin->buttonSymbols(), QAbstractSpinBox::UpDownArrows);
    f.editor->setEditorData(f.map.node("NoInc"));
    QCOMPARE(f.editor->increment(), 0.0);
    QCOMPARE(f.spin->buttonSymbols(), QAbstractSpinBox::NoButtons);
    QCOMPARE(f.editor->toolTip(), QStringLiteral("Range: 0.00..5.00"));

    QTest::keyClick(f.spin, Qt::Key_Up);
    QTest::keyClick(f.spin, Qt::Key_PageUp);
    QCOMPARE(f.map.get<GenApi::IFloat>("NoInc")->GetValue(), 1.25);
}

void TestFloatEditor::limitsChangingWhileOpenWithoutFocusFollowAtNextRefresh()
{
    Fixture f;
    f.editor->setEditorData(f.map.node("Gain"));
    f.map.get<GenApi::IFloat>("GainMax")->SetValue(20.0, true);
    f.map.get<GenApi::IFloat>("GainMin")->SetValue(-20.0, true);
    f.gain()->SetValue(-15.0, true);
    // Nothing moves before the refresh.
    QCOMPARE(f.spin->maximum(), 10.0);

    f.editor->setEditorData(f.map.node("Gain"));
    QCOMPARE(f.spin->minimum(), -20.0);
    QCOMPARE(f.spin->maximum(), 20.0);
    QCOMPARE(f.spin->pageStep(), 2.0); // 40 / 20
    QCOMPARE(f.editor->toolTip(), QStringLiteral("Range: -20.00..20.00 (Increment: 0.50)"));
    QCOMPARE(f.spin->value(), -15.0);
}

void TestFloatEditor::focusedUncommittedTypingBlocksRefreshEvenOfLimits()
{
    Fixture f;
    f.editor->setEditorData(f.map.node("Gain"));
    EditorTest::showAndFocus(&f.top, f.spin);
    f.spin->findChild<QLineEdit*>()->selectAll();
    QTest::keyClicks(f.spin, "7.25");

    f.map.get<GenApi::IFloat>("GainMax")->SetValue(50.0, true);
    f.gain()->SetValue(4.0, true);
    f.editor->setEditorData(f.map.node("Gain"));

    QCOMPARE(f.spin->text(), QStringLiteral("7.25"));
    QCOMPARE(f.spin->maximum(), 10.0);
    QCOMPARE(f.editor->toolTip(), QStringLiteral("Range: 0.00..10.00 (Increment: 0.50)"));
}

void TestFloatEditor::ownCommitLetsOneRefreshThroughDespiteFocus()
{
    Fixture f;
    CommitRecorder commits(f.editor);
    f.editor->setEditorData(f.map.node("Gain"));
    EditorTest::showAndFocus(&f.top, f.spin);
    f.spin->findChild<QLineEdit*>()->selectAll();
    QTest::keyClicks(f.spin, "6");
    QTest::keyClick(f.spin, Qt::Key_Return);
    QCOMPARE(commits.values.size(), 1);
    QCOMPARE(commits.values.at(0).toDouble(), 6.0);
    QVERIFY(f.spin->hasFocus());

    // The model writes the value; the node's echo and one later change come back.
    f.gain()->SetValue(6.5, true); // the node rounds or adjusts: its answer is shown
    f.editor->setEditorData(f.map.node("Gain"));
    QCOMPARE(f.spin->value(), 6.5);
    f.gain()->SetValue(8.0, true);
    f.editor->setEditorData(f.map.node("Gain"));
    QCOMPARE(f.spin->value(), 6.5); // the guard is closed again
}

void TestFloatEditor::committedValueBeyondLimitsReachesModelClamped()
{
    Fixture f;
    CommitRecorder commits(f.editor);
    f.editor->setEditorData(f.map.node("Gain"));
    EditorTest::showAndFocus(&f.top, f.spin);
    // The node's maximum drops while the person types; the box still allows 10.
    f.map.get<GenApi::IFloat>("GainMax")->SetValue(5.0, true);
    f.spin->findChild<QLineEdit*>()->selectAll();
    QTest::keyClicks(f.spin, "9");
    QTest::keyClick(f.spin, Qt::Key_Return);
    QCOMPARE(commits.values.size(), 1);
    QCOMPARE(commits.values.at(0).toDouble(), 5.0);
}

void TestFloatEditor::typedValueCommittedOnReturnAndOnFocusLoss()
{
    Fixture f;
    CommitRecorder commits(f.editor);
    f.editor->setEditorData(f.map.node("Gain"));
    EditorTest::showAndFocus(&f.top, f.spin);
    f.spin->findChild<QLineEdit*>()->selectAll();
    QTest::keyClicks(f.spin, "3.5");
    QCOMPARE(commits.values.size(), 0); // typing alone commits nothing
    f.other->setFocus(Qt::TabFocusReason);
    QTRY_COMPARE(commits.values.size(), 1);
    QCOMPARE(commits.values.at(0).toDouble(), 3.5);
    // The node itself is written only by the model.
    QCOMPARE(f.gain()->GetValue(), 2.5);
}

void TestFloatEditor::stepGoesStraightToTheNode()
{
    Fixture f;
    CommitRecorder commits(f.editor);
    f.editor->setEditorData(f.map.node("Gain"));
    QTest::keyClick(f.spin, Qt::Key_Up);
    QCOMPARE(f.gain()->GetValue(), 3.0);
    QCOMPARE(commits.values.size(), 0);
    // The box shows it when the change comes back through the refresh.
    QCOMPARE(f.spin->value(), 2.5);
    f.editor->setEditorData(f.map.node("Gain"));
    QCOMPARE(f.spin->value(), 3.0);
    QTest::keyClick(f.spin, Qt::Key_Down);
    QTest::keyClick(f.spin, Qt::Key_Down);
    QCOMPARE(f.gain()->GetValue(), 2.0);
}

void TestFloatEditor::pageStepGoesStraightToTheNode()
{
    Fixture f;
    f.editor->setEditorData(f.map.node("Gain"));
    QTest::keyClick(f.spin, Qt::Key_PageUp);
    QCOMPARE(f.gain()->GetValue(), 3.5); // 2.5 + max(2 * 0.5, 10 / 20)
    QTest::keyClick(f.spin, Qt::Key_PageDown);
    QTest::keyClick(f.spin, Qt::Key_PageDown);
    QCOMPARE(f.gain()->GetValue(), 1.5);
}

void TestFloatEditor::stepDropsUncommittedTyping()
{
    Fixture f;
    f.editor->setEditorData(f.map.node("Gain"));
    EditorTest::showAndFocus(&f.top, f.spin);
    f.spin->findChild<QLineEdit*>()->selectAll();
    QTest::keyClicks(f.spin, "8");
    QTest::keyClick(f.spin, Qt::Key_Up);
    QCOMPARE(f.gain()->GetValue(), 3.0); // from the node's 2.5, not from the typed 8
    // The step opened the guard: the refresh shows the node's value despite the focus.
    f.editor->setEditorData(f.map.node("Gain"));
    QCOMPARE(f.spin->value(), 3.0);
}

void TestFloatEditor::stepFromMaximumStaysAtMaximumAndWritesIt()
{
    Fixture f;
    f.gain()->SetValue(10.0, true);
    f.editor->setEditorData(f.map.node("Gain"));
    g_notices = 0;
    GenApi::Register(f.map.node("Gain"), &countNotice, GenApi::cbPostOutsideLock);

    f.spin->stepBy(1);
    QCOMPARE(f.gain()->GetValue(), 10.0);
    QVERIFY(g_notices >= 1); // the node was written, with the same value
    f.spin->stepBy(10);
    QCOMPARE(f.gain()->GetValue(), 10.0);
}

void TestFloatEditor::incrementBelowDisplayPrecisionShowsNoIncrementButSteps()
{
    Fixture f;
    f.editor->setEditorData(f.map.node("FineInc"));
    QCOMPARE(f.editor->toolTip(), QStringLiteral("Range: 0.00..5.00"));
    QCOMPARE(f.spin->buttonSymbols(), QAbstractSpinBox::UpDownArrows);
    QTest::keyClick(f.spin, Qt::Key_Up);
    QCOMPARE(f.map.get<GenApi::IFloat>("FineInc")->GetValue(), 1.001);
}

void TestFloatEditor::nodeValueOutsideLimitsLeavesWidgetAndLogsOutOfRange()
{
    Fixture f;
    f.gain()->SetValue(8.0, true);
    f.editor->setEditorData(f.map.node("Gain"));
    QCOMPARE(f.spin->value(), 8.0);
    f.map.get<GenApi::IFloat>("GainMax")->SetValue(5.0, true);

    MessageRecorder log;
    f.editor->setEditorData(f.map.node("Gain"));
    QVERIFY2(log.contains("Gain: Failed to update the float value editor comboBox!"), qPrintable(log.joined()));
    QVERIFY2(log.contains("The minimum value is larger than the to be set node value or the maximum value is smaller "
                          "than the to be set node value!"),
             qPrintable(log.joined()));
    QCOMPARE(f.spin->value(), 8.0);
    QCOMPARE(f.spin->maximum(), 10.0);
}

void TestFloatEditor::minimumAboveMaximumLeavesWidgetAndLogs()
{
    Fixture f;
    f.editor->setEditorData(f.map.node("Gain"));
    f.map.get<GenApi::IFloat>("GainMin")->SetValue(12.0, true);
    MessageRecorder log;
    f.editor->setEditorData(f.map.node("Gain"));
    QVERIFY2(log.contains("The minimum value is larger than the maximum value!"), qPrintable(log.joined()));
    QCOMPARE(f.spin->minimum(), 0.0);
}

void TestFloatEditor::hugeLimitsUseExponentInToolTip()
{
    Fixture f;
    f.editor->setEditorData(f.map.node("Huge"));
    const QString tip = f.editor->toolTip();
    QVERIFY2(tip.startsWith(QStringLiteral("Range: ")), qPrintable(tip));
    QVERIFY2(tip.contains(QStringLiteral("e+12")), qPrintable(tip));
}

void TestFloatEditor::nodeMapDestroyedWhileOpen()
{
    Fixture f;
    f.editor->setEditorData(f.map.node("Gain"));
    f.map.destroy();

    MessageRecorder log;
    f.spin->stepBy(1);
    QVERIFY2(log.contains("NULL pointer dereferenced"), qPrintable(log.joined()));
    QVERIFY2(log.contains("Failed to retrieve a node's name"), qPrintable(log.joined()));
    log.clear();
    // A commit hands on what the box shows, unclamped, and reports the failed clamp.
    QCOMPARE(f.editor->editorData().toDouble(), 2.5);
    QVERIFY2(log.contains("adjustRangeLimits: "), qPrintable(log.joined()));
    f.editor->setEditorData(nullptr);
    QVERIFY(log.contains("setEditorData is called with non-float node"));
}

QTEST_MAIN(TestFloatEditor)
#include "tst_floateditor.moc"
