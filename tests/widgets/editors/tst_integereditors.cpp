// Integer editors: IntEditor, HexValidator, IntSliderEditor and VorloQt::IntSliderControl.

#include "editortestsupport.h"
#include "fakenodes.h"

#include <VorloQtWidgets/inteditor.h>
#include <VorloQtWidgets/intslidereditor.h>
#include <VorloQtWidgets/vorloqtspinbox.h>

#include <QHBoxLayout>
#include <QLineEdit>
#include <QSignalSpy>
#include <QSlider>
#include <QTest>

#include <climits>
#include <memory>
#include <thread>

using EditorTest::MessageRecorder;
using EditorTest::NodeMap;
using VorloQtBase::ExceptionRecorder;

namespace
{
QString integerFeatures(const QString& widthElements = QString())
{
    return EditorTest::accessModeSupport() + QStringLiteral(R"(
<Integer Name="WidthMin"><Value>0</Value></Integer>
<Integer Name="WidthMax"><Value>1000</Value></Integer>
<Integer Name="Width">%1<Value>640</Value><pMin>WidthMin</pMin><pMax>WidthMax</pMax><Inc>8</Inc><Representation>Linear</Representation></Integer>
<Integer Name="Log"><Value>10</Value><Min>1</Min><Max>100</Max><Representation>Logarithmic</Representation></Integer>
<Integer Name="Pure"><Value>42</Value><Min>-5</Min><Max>300</Max><Representation>PureNumber</Representation></Integer>
<Integer Name="Hex"><Value>171</Value><Min>0</Min><Max>255</Max><Representation>HexNumber</Representation></Integer>
<Integer Name="HexNeg"><Value>1</Value><Min>-16</Min><Max>255</Max><Representation>HexNumber</Representation></Integer>
<Integer Name="Bool"><Value>1</Value><Min>0</Min><Max>1</Max><Representation>Boolean</Representation></Integer>
<Integer Name="Ip"><Value>3232235777</Value><Min>0</Min><Max>4294967295</Max><Representation>IPV4Address</Representation></Integer>
<Integer Name="Mac"><Value>207550939136</Value><Min>0</Min><Max>281474976710655</Max><Representation>MACAddress</Representation></Integer>
<Integer Name="Big"><Value>10000000000</Value><Min>-20000000000</Min><Max>20000000000</Max><Representation>PureNumber</Representation></Integer>
<Integer Name="BigSlider"><Value>10000000000</Value><Min>-20000000000</Min><Max>20000000000</Max><Representation>Linear</Representation></Integer>
<Float Name="Gain"><Value>1</Value><Min>0</Min><Max>2</Max></Float>
)")
                                                  .arg(widthElements);
}

int g_notices = 0;
void countNotice(GenApi::INode*)
{
    ++g_notices;
}
} // namespace

class TestIntegerEditors : public QObject
{
    Q_OBJECT

private slots:
    // IntEditor
    void intEditorFrameAndMargins();
    void intEditorRepresentations_data();
    void intEditorRepresentations();
    void unreadableNodeShowsNotReadableAndCommitsThatText_data();
    void unreadableNodeShowsNotReadableAndCommitsThatText();
    void intEditorLeavesEnabledStateAlone();
    void hexNumberRangeZeroTo255GivesToolTip0x0To0xff();
    void hexNumberNegativeLimitHasLeadingMinus();
    void int64RangeCutTo32BitsInToolTipWhileTextShowsFullValue();
    void intEditorRefreshOverwritesTyping();
    void intEditorLimitsChangingWhileOpenFollowAtNextRefresh();
    void intEditorNonIntegerNodeWarns();
    void intEditorNodeMapDestroyedWhileOpen();

    // HexValidator
    void hexValidator_data();
    void hexValidator();

    // IntSliderEditor
    void intSliderEditorFirstRefresh();
    void intSliderEditorAccessModes_data();
    void intSliderEditorAccessModes();
    void intSliderEditorCommitsEachDragPosition();
    void intSliderEditorTypedValueCommittedOnEditingFinished();
    void intSliderEditorRefreshNeverCommits();
    void int64RangeCutTo32BitsForTheSlider();
    void refreshWithUnchangedRangeAndValueStillSetsPageStep();
    void intSliderEditorValueOutOfRangeWarnsAndClamps();
    void intSliderEditorMinimumAboveMaximumWarnsAndGoesOn();
    void intSliderEditorRefreshMovesSliderBeingDragged();
    void intSliderEditorNodeMapDestroyedWhileOpen();

    // IntSliderControl
    void intSliderControlFirstFillWritesNothing();
    void intSliderControlAccessModes_data();
    void intSliderControlAccessModes();
    void intSliderControlWritesPersonsMove();
    void intSliderControlFollowsNodeFromOtherThread();
    void intSliderControlDisabledTakesMoveIntoLastValueAndWritesNothing();
    void intSliderControlFailedWriteIsShownToThePerson();
    void intSliderControlNodeMapDestroyedWhileOpen();
};

// ---------------------------------------------------------------- IntEditor

void TestIntegerEditors::intEditorFrameAndMargins()
{
    IntEditor editor(nullptr);
    QVERIFY(!editor.hasFrame());
    QCOMPARE(editor.contentsMargins(), QMargins(1, 0, 1, 0));
}

void TestIntegerEditors::intEditorRepresentations_data()
{
    QTest::addColumn<QByteArray>("node");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("toolTip");
    QTest::addColumn<bool>("validatorRemoved");
    QTest::newRow("Linear") << QByteArray("Width") << "640" << "Range: 0..1000" << false;
    QTest::newRow("Logarithmic") << QByteArray("Log") << "10" << "Range: 1..100" << false;
    QTest::newRow("PureNumber") << QByteArray("Pure") << "42" << "Range: -5..300" << false;
    QTest::newRow("HexNumber") << QByteArray("Hex") << "0xab" << "Range: 0x0..0xff" << false;
    QTest::newRow("Boolean") << QByteArray("Bool") << "1" << "" << true;
    QTest::newRow("IPV4Address") << QByteArray("Ip") << "192.168.1.1" << "" << true;
    QTest::newRow("MACAddress") << QByteArray("Mac") << "00:30:53:00:00:00" << "" << true;
}

void TestIntegerEditors::intEditorRepresentations()
{
    QFETCH(QByteArray, node);
    QFETCH(QString, text);
    QFETCH(QString, toolTip);
    QFETCH(bool, validatorRemoved);
    NodeMap map(integerFeatures());
    IntEditor editor(nullptr);
    editor.setValidator(new QIntValidator(&editor));
    editor.setToolTip(QStringLiteral("stale"));
    editor.setEditorData(map.node(node.constData()));
    QCOMPARE(editor.text(), text);
    QCOMPARE(editor.toolTip(), toolTip);
    QCOMPARE(editor.validator() == nullptr, validatorRemoved);
    QCOMPARE(editor.editorData(), QVariant(text));
}

void TestIntegerEditors::unreadableNodeShowsNotReadableAndCommitsThatText_data()
{
    QTest::addColumn<int>("mode");
    QTest::newRow("NI") << int(GenApi::NI);
    QTest::newRow("NA") << int(GenApi::NA);
    QTest::newRow("WO") << int(GenApi::WO);
}

void TestIntegerEditors::unreadableNodeShowsNotReadableAndCommitsThatText()
{
    QFETCH(int, mode);
    NodeMap map(integerFeatures(EditorTest::accessModeElements(GenApi::EAccessMode(mode))));
    IntEditor editor(nullptr);
    editor.setToolTip(QStringLiteral("stale"));
    editor.setEditorData(map.node("Width"));
    QCOMPARE(editor.text(), QStringLiteral("<not readable>"));
    QCOMPARE(editor.toolTip(), QString());
    QCOMPARE(editor.editorData(), QVariant(QStringLiteral("<not readable>")));
}

void TestIntegerEditors::intEditorLeavesEnabledStateAlone()
{
    NodeMap ro(integerFeatures(EditorTest::accessModeElements(GenApi::RO)));
    IntEditor editor(nullptr);
    editor.setEditorData(ro.node("Width"));
    QVERIFY(editor.isEnabled());
    QCOMPARE(editor.text(), QStringLiteral("640"));

    NodeMap rw(integerFeatures());
    editor.setEnabled(false);
    editor.setEditorData(rw.node("Width"));
    QVERIFY(!editor.isEnabled());
}

void TestIntegerEditors::hexNumberRangeZeroTo255GivesToolTip0x0To0xff()
{
    NodeMap map(integerFeatures());
    IntEditor editor(nullptr);
    editor.setEditorData(map.node("Hex"));
    QCOMPARE(editor.toolTip(), QStringLiteral("Range: 0x0..0xff"));
}

void TestIntegerEditors::hexNumberNegativeLimitHasLeadingMinus()
{
    NodeMap map(integerFeatures());
    IntEditor editor(nullptr);
    editor.setEditorData(map.node("HexNeg"));
    QCOMPARE(editor.toolTip(), QStringLiteral("Range: 0x-10..0xff"));
}

void TestIntegerEditors::int64RangeCutTo32BitsInToolTipWhileTextShowsFullValue()
{
    NodeMap map(integerFeatures());
    IntEditor editor(nullptr);
    editor.setEditorData(map.node("Big"));
    QCOMPARE(editor.text(), QStringLiteral("10000000000"));
    QCOMPARE(editor.toolTip(), QStringLiteral("Range: -2147483648..2147483647"));
}

void TestIntegerEditors::intEditorRefreshOverwritesTyping()
{
    NodeMap map(integerFeatures());
    QWidget top;
    auto* layout = new QHBoxLayout(&top);
    auto* editor = new IntEditor(&top);
    layout->addWidget(editor);
    editor->setEditorData(map.node("Pure"));
    EditorTest::showAndFocus(&top, editor);
    editor->selectAll();
    QTest::keyClicks(editor, "77");
    QCOMPARE(editor->text(), QStringLiteral("77"));
    editor->setEditorData(map.node("Pure")); // no focus guard in this editor
    QCOMPARE(editor->text(), QStringLiteral("42"));
}

void TestIntegerEditors::intEditorLimitsChangingWhileOpenFollowAtNextRefresh()
{
    NodeMap map(integerFeatures());
    IntEditor editor(nullptr);
    editor.setEditorData(map.node("Width"));
    map.get<GenApi::IInteger>("WidthMax")->SetValue(2000, true);
    map.get<GenApi::IInteger>("Width")->SetValue(1600, true);
    QCOMPARE(editor.toolTip(), QStringLiteral("Range: 0..1000"));
    editor.setEditorData(map.node("Width"));
    QCOMPARE(editor.toolTip(), QStringLiteral("Range: 0..2000"));
    QCOMPARE(editor.text(), QStringLiteral("1600"));
}

void TestIntegerEditors::intEditorNonIntegerNodeWarns()
{
    NodeMap map(integerFeatures());
    IntEditor editor(nullptr);
    editor.setText(QStringLiteral("keep"));
    MessageRecorder log;
    editor.setEditorData(map.node("Gain"));
    editor.setEditorData(nullptr);
    QCOMPARE(log.count("setEditorData is called with non-integer node????"), 2);
    QCOMPARE(editor.text(), QStringLiteral("keep"));
}

void TestIntegerEditors::intEditorNodeMapDestroyedWhileOpen()
{
    NodeMap map(integerFeatures());
    IntEditor editor(nullptr);
    editor.setEditorData(map.node("Pure"));
    map.destroy();
    // The line holds no node: it answers with its text, and a refresh without a node warns.
    QCOMPARE(editor.editorData(), QVariant(QStringLiteral("42")));
    MessageRecorder log;
    editor.setEditorData(nullptr);
    QVERIFY(log.contains("setEditorData is called with non-integer node????"));
}

// ---------------------------------------------------------------- HexValidator

void TestIntegerEditors::hexValidator_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<int>("expected");
    QTest::newRow("0xff is Acceptable") << "0xff" << int(QValidator::Acceptable);
    QTest::newRow("ff without prefix is Invalid") << "ff" << int(QValidator::Invalid);
    QTest::newRow("0x alone is Intermediate") << "0x" << int(QValidator::Intermediate);
    QTest::newRow("empty is Intermediate") << "" << int(QValidator::Intermediate);
    QTest::newRow("0x with blanks is Intermediate") << " 0x " << int(QValidator::Intermediate);
    QTest::newRow("decimal 255 is Acceptable") << "255" << int(QValidator::Acceptable);
    QTest::newRow("0x0 is Acceptable") << "0x0" << int(QValidator::Acceptable);
    QTest::newRow("0xg is Invalid") << "0xg" << int(QValidator::Invalid);
    QTest::newRow("upper-case prefix is decimal and Invalid") << "0XFF" << int(QValidator::Invalid);
}

void TestIntegerEditors::hexValidator()
{
    QFETCH(QString, input);
    QFETCH(int, expected);
    HexValidator validator(0, 255, nullptr);
    int pos = input.size();
    QCOMPARE(int(validator.validate(input, pos)), expected);
}

// ---------------------------------------------------------------- IntSliderEditor

void TestIntegerEditors::intSliderEditorFirstRefresh()
{
    NodeMap map(integerFeatures());
    IntSliderEditor editor(nullptr);
    editor.setEditorData(map.node("Width"));
    QCOMPARE(editor.minimum(), 0);
    QCOMPARE(editor.maximum(), 1000);
    QCOMPARE(editor.singleStep(), 8);
    QCOMPARE(editor.value(), 640);
    QCOMPARE(editor.findChild<VorloQtSpinBox*>()->value(), 640);
    QCOMPARE(editor.pageStep(), 50); // max(2 * 8, 1000 / 20)
    QCOMPARE(editor.findChild<VorloQtSpinBox*>()->pageStep(), 50);
    QCOMPARE(editor.toolTip(), QStringLiteral("Range: 0..1000 (Increment: 8)"));
    QCOMPARE(editor.editorData(), QVariant(640));
    QVERIFY(editor.isEnabled());
}

void TestIntegerEditors::intSliderEditorAccessModes_data()
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

void TestIntegerEditors::intSliderEditorAccessModes()
{
    QFETCH(int, mode);
    QFETCH(bool, filled);
    QFETCH(bool, enabled);
    NodeMap map(integerFeatures(EditorTest::accessModeElements(GenApi::EAccessMode(mode))));
    IntSliderEditor editor(nullptr);
    MessageRecorder log;
    editor.setEditorData(map.node("Width"));
    QCOMPARE(editor.isEnabled(), enabled);
    if (filled) {
        QCOMPARE(editor.value(), 640);
    } else {
        QCOMPARE(editor.value(), 0);
        QVERIFY2(log.contains("Non-readable slider: Width??????"), qPrintable(log.joined()));
    }
}

void TestIntegerEditors::intSliderEditorCommitsEachDragPosition()
{
    NodeMap map(integerFeatures());
    IntSliderEditor editor(nullptr);
    editor.resize(400, 30);
    editor.setEditorData(map.node("Width"));
    QSignalSpy commits(&editor, &ComboSlider::valueChanged);
    auto* slider = editor.findChild<QSlider*>();
    slider->setSliderDown(true);
    slider->setSliderPosition(800);
    slider->setSliderPosition(805); // between steps: rounded down, no second commit
    slider->setSliderPosition(96);
    slider->setSliderDown(false);
    // Every position is committed; one between two steps is committed as the rounded one.
    QList<int> committed;
    for (const auto& args : commits)
        committed << args.at(0).toInt();
    QCOMPARE(committed, (QList<int>{800, 800, 96}));
    QCOMPARE(editor.editorData(), QVariant(96));
}

void TestIntegerEditors::intSliderEditorTypedValueCommittedOnEditingFinished()
{
    NodeMap map(integerFeatures());
    QWidget top;
    auto* layout = new QHBoxLayout(&top);
    auto* editor = new IntSliderEditor(&top);
    auto* other = new QLineEdit(&top);
    layout->addWidget(editor);
    layout->addWidget(other);
    editor->setEditorData(map.node("Width"));
    auto* spin = editor->findChild<VorloQtSpinBox*>();
    EditorTest::showAndFocus(&top, spin);
    QSignalSpy commits(editor, &ComboSlider::valueChanged);
    spin->findChild<QLineEdit*>()->selectAll();
    QTest::keyClicks(spin, "100");
    QCOMPARE(commits.count(), 0);
    QTest::keyClick(spin, Qt::Key_Return);
    QCOMPARE(commits.count(), 1);
    QCOMPARE(commits.at(0).at(0).toInt(), 96);
    QTest::keyClick(spin, Qt::Key_Up); // a step commits at once
    QCOMPARE(commits.count(), 2);
    QCOMPARE(commits.at(1).at(0).toInt(), 104);
}

void TestIntegerEditors::intSliderEditorRefreshNeverCommits()
{
    NodeMap map(integerFeatures());
    IntSliderEditor editor(nullptr);
    QSignalSpy commits(&editor, &ComboSlider::valueChanged);
    editor.setEditorData(map.node("Width"));
    map.get<GenApi::IInteger>("Width")->SetValue(320, true);
    map.get<GenApi::IInteger>("WidthMax")->SetValue(400, true);
    editor.setEditorData(map.node("Width"));
    QCOMPARE(editor.value(), 320);
    QCOMPARE(editor.maximum(), 400);
    QCOMPARE(commits.count(), 0);
}

void TestIntegerEditors::int64RangeCutTo32BitsForTheSlider()
{
    NodeMap map(integerFeatures());
    IntSliderEditor editor(nullptr);
    MessageRecorder log;
    editor.setEditorData(map.node("BigSlider"));
    QCOMPARE(editor.minimum(), INT_MIN);
    QCOMPARE(editor.maximum(), INT_MAX);
    QCOMPARE(editor.value(), INT_MAX);
    QCOMPARE(editor.toolTip(), QStringLiteral("Range: -2147483648..2147483647"));
    QVERIFY2(!log.contains("out of range"), qPrintable(log.joined()));
}

void TestIntegerEditors::refreshWithUnchangedRangeAndValueStillSetsPageStep()
{
    NodeMap map(integerFeatures());
    IntSliderEditor editor(nullptr);
    editor.setEditorData(map.node("Width"));
    editor.setPageStep(3);
    QCOMPARE(editor.pageStep(), 3);
    editor.setEditorData(map.node("Width"));
    QCOMPARE(editor.pageStep(), 50);
    QCOMPARE(editor.findChild<VorloQtSpinBox*>()->pageStep(), 50);
}

void TestIntegerEditors::intSliderEditorValueOutOfRangeWarnsAndClamps()
{
    NodeMap map(integerFeatures());
    IntSliderEditor editor(nullptr);
    editor.setEditorData(map.node("Width"));
    map.get<GenApi::IInteger>("WidthMax")->SetValue(500, true);
    MessageRecorder log;
    QSignalSpy commits(&editor, &ComboSlider::valueChanged);
    editor.setEditorData(map.node("Width"));
    QVERIFY2(log.contains("setEditorData: Feature Width: value 640 out of range??? min = 0, max = 500"),
             qPrintable(log.joined()));
    QCOMPARE(editor.maximum(), 500);
    QCOMPARE(editor.value(), 496); // clamped, then rounded down onto the grid of 8
    QCOMPARE(commits.count(), 0);
}

void TestIntegerEditors::intSliderEditorMinimumAboveMaximumWarnsAndGoesOn()
{
    NodeMap map(integerFeatures());
    IntSliderEditor editor(nullptr);
    editor.setEditorData(map.node("Width"));
    map.get<GenApi::IInteger>("WidthMin")->SetValue(2000, true);
    MessageRecorder log;
    editor.setEditorData(map.node("Width"));
    QVERIFY2(log.contains("setEditorData: Feature Width: min value  2000 > max value 1000???"), qPrintable(log.joined()));
    QVERIFY2(!log.contains("Failed to update the integer value editor"), qPrintable(log.joined()));
}

void TestIntegerEditors::intSliderEditorRefreshMovesSliderBeingDragged()
{
    NodeMap map(integerFeatures());
    IntSliderEditor editor(nullptr);
    editor.setEditorData(map.node("Width"));
    auto* slider = editor.findChild<QSlider*>();
    slider->setSliderDown(true);
    slider->setSliderPosition(800);
    map.get<GenApi::IInteger>("Width")->SetValue(200, true);
    editor.setEditorData(map.node("Width"));
    QCOMPARE(slider->value(), 200);
    slider->setSliderDown(false);
}

void TestIntegerEditors::intSliderEditorNodeMapDestroyedWhileOpen()
{
    NodeMap map(integerFeatures());
    IntSliderEditor editor(nullptr);
    editor.setEditorData(map.node("Width"));
    map.destroy();
    QCOMPARE(editor.editorData(), QVariant(640));
    MessageRecorder log;
    editor.setEditorData(nullptr);
    QVERIFY(log.contains("setEditorData is called with non-integer node????"));
    QCOMPARE(editor.value(), 640);
}

// ---------------------------------------------------------------- IntSliderControl

void TestIntegerEditors::intSliderControlFirstFillWritesNothing()
{
    NodeMap map(integerFeatures());
    g_notices = 0;
    GenApi::Register(map.node("Width"), &countNotice, GenApi::cbPostOutsideLock);
    VorloQt::IntSliderControl control(map.get<GenApi::IInteger>("Width"), nullptr);
    QCOMPARE(control.value(), 640);
    QCOMPARE(control.minimum(), 0);
    QCOMPARE(control.maximum(), 1000);
    QCOMPARE(control.singleStep(), 8);
    QVERIFY(control.isEnabled());
    QCOMPARE(g_notices, 0);
}

void TestIntegerEditors::intSliderControlAccessModes_data()
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

void TestIntegerEditors::intSliderControlAccessModes()
{
    QFETCH(int, mode);
    QFETCH(bool, filled);
    QFETCH(bool, enabled);
    NodeMap map(integerFeatures(EditorTest::accessModeElements(GenApi::EAccessMode(mode))));
    MessageRecorder log;
    VorloQt::IntSliderControl control(map.get<GenApi::IInteger>("Width"), nullptr);
    QCOMPARE(control.isEnabled(), enabled);
    if (filled) {
        QCOMPARE(control.value(), 640);
        QCOMPARE(control.maximum(), 1000);
    } else {
        // Reading the node fails; the three-way catch reports it and the widget stays empty.
        QVERIFY2(log.contains("Failed to update the integer value editor"), qPrintable(log.joined()));
        QCOMPARE(control.value(), 0);
    }
}

void TestIntegerEditors::intSliderControlWritesPersonsMove()
{
    NodeMap map(integerFeatures());
    VorloQt::IntSliderControl control(map.get<GenApi::IInteger>("Width"), nullptr);
    control.resize(400, 30);
    auto* slider = control.findChild<QSlider*>();
    slider->setSliderDown(true);
    slider->setSliderPosition(96);
    slider->setSliderPosition(104);
    slider->setSliderDown(false);
    QCOMPARE(map.get<GenApi::IInteger>("Width")->GetValue(), Q_INT64_C(104));
    QCOMPARE(control.value(), 104);
}

void TestIntegerEditors::intSliderControlFollowsNodeFromOtherThread()
{
    NodeMap map(integerFeatures());
    VorloQt::IntSliderControl control(map.get<GenApi::IInteger>("Width"), nullptr);
    ExceptionRecorder shown;
    std::thread device([&] {
        map.get<GenApi::IInteger>("WidthMax")->SetValue(2000, true);
        map.get<GenApi::IInteger>("Width")->SetValue(1600, true);
    });
    device.join();
    QTRY_COMPARE(control.value(), 1600);
    QCOMPARE(control.maximum(), 2000);
    // The echo went no further: the node still holds what the device wrote.
    QCOMPARE(map.get<GenApi::IInteger>("Width")->GetValue(), Q_INT64_C(1600));
    QCOMPARE(shown.count(), 0);
}

void TestIntegerEditors::intSliderControlDisabledTakesMoveIntoLastValueAndWritesNothing()
{
    NodeMap map(integerFeatures(EditorTest::accessModeElements(GenApi::RO)));
    VorloQt::IntSliderControl control(map.get<GenApi::IInteger>("Width"), nullptr);
    QVERIFY(!control.isEnabled());
    ExceptionRecorder shown;
    control.findChild<QSlider*>()->setValue(800);
    QCOMPARE(control.value(), 800);
    QCOMPARE(map.get<GenApi::IInteger>("Width")->GetValue(), Q_INT64_C(640));
    QCOMPARE(shown.count(), 0);

    // The move went into the last value: the next notice of the unchanged node differs
    // from it, and the slider goes back to the node's value.
    map.node("Width")->InvalidateNode();
    QTRY_COMPARE(control.value(), 640);
}

void TestIntegerEditors::intSliderControlFailedWriteIsShownToThePerson()
{
    // A device that turns a write down while the node still reports itself writable.
    EditorTest::FakeInteger level("Level");
    level.value = 10;
    level.max = 100;
    VorloQt::IntSliderControl control(&level, nullptr);
    QCOMPARE(control.value(), 10);
    level.refuseWrites = true;

    ExceptionRecorder shown;
    MessageRecorder log;
    control.findChild<QSlider*>()->setValue(80);
    QCOMPARE(shown.count(), 1);
    QCOMPARE(shown.last().function, QStringLiteral("setNodeValue"));
    QCOMPARE(shown.last().message, QStringLiteral("Failed to set integer value"));
    QVERIFY2(shown.last().failure.contains(QStringLiteral("The device refused the value 80")),
             qPrintable(shown.last().failure));
    QCOMPARE(level.value, Q_INT64_C(10));
    // m_lastValue keeps the new value: the same value once more writes nothing.
    control.setNodeValue(80);
    QCOMPARE(shown.count(), 1);
}

void TestIntegerEditors::intSliderControlNodeMapDestroyedWhileOpen()
{
    auto map = std::make_unique<NodeMap>(integerFeatures());
    auto control = std::make_unique<VorloQt::IntSliderControl>(map->get<GenApi::IInteger>("Width"), nullptr);
    map.reset();
    ExceptionRecorder shown;
    control->findChild<QSlider*>()->setValue(96);
    QCOMPARE(shown.count(), 1);
    QCOMPARE(shown.last().function, QStringLiteral("setNodeValue"));
    QVERIFY2(shown.last().failure.contains(QStringLiteral("NULL pointer dereferenced")), qPrintable(shown.last().failure));
    MessageRecorder log;
    control->updateWidget();
    QVERIFY2(log.contains("Failed to update the integer value editor"), qPrintable(log.joined()));
    control.reset();
}

QTEST_MAIN(TestIntegerEditors)
#include "tst_integereditors.moc"
