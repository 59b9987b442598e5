// EnumEditor, CheckBoxEditor, ToolButtonEditor and VorloQt::StringControl.

#include "editortestsupport.h"

#include <VorloQtWidgets/checkboxeditor.h>
#include <VorloQtWidgets/enumeditor.h>
#include <VorloQtWidgets/stringcontrol.h>
#include <VorloQtWidgets/toolbuttoneditor.h>

#include <QHBoxLayout>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>

#include <cstring>
#include <memory>
#include <thread>

using EditorTest::MessageRecorder;
using EditorTest::NodeMap;
using VorloQtBase::ExceptionRecorder;

namespace
{
// PixelFormat takes its value from PixelFormatValue, so that a test can give it the value
// of an entry that the combo box does not list.
QString features(const QString& modeElements = QString())
{
    return EditorTest::accessModeSupport() + QStringLiteral(R"(
<Integer Name="PixelFormatValue"><Value>1</Value></Integer>
<Enumeration Name="PixelFormat">%1
  <EnumEntry Name="Mono8"><Value>1</Value></EnumEntry>
  <EnumEntry Name="Mono12"><DisplayName>Mono 12</DisplayName><Value>2</Value></EnumEntry>
  <EnumEntry Name="RGB8"><Visibility>Expert</Visibility><Value>3</Value></EnumEntry>
  <EnumEntry Name="Bayer"><pIsAvailable>Zero</pIsAvailable><Value>4</Value></EnumEntry>
  <EnumEntry Name="Hidden"><pIsImplemented>Zero</pIsImplemented><Value>5</Value></EnumEntry>
  <pValue>PixelFormatValue</pValue>
</Enumeration>
<Boolean Name="Flag">%1<Value>1</Value><OnValue>1</OnValue><OffValue>0</OffValue></Boolean>
<Integer Name="StartValue"><Value>0</Value></Integer>
<Command Name="Start">%1<pValue>StartValue</pValue><CommandValue>1</CommandValue></Command>
<IntReg Name="QuickReg"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><Cachable>NoCache</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
<Command Name="Quick"><pValue>QuickReg</pValue><CommandValue>1</CommandValue></Command>
<String Name="DeviceUserID">%1<Value>camera one</Value></String>
<Integer Name="Count"><Value>3</Value></Integer>
<Port Name="Device"/>
)")
                                                  .arg(modeElements);
}

QStringList itemTexts(const QComboBox& box)
{
    QStringList texts;
    for (int i = 0; i < box.count(); ++i)
        texts << box.itemText(i);
    return texts;
}

// A device whose command finishes as soon as it is written: the register goes back to 0.
struct QuickDevice
{
    explicit QuickDevice(NodeMap& map)
        : port(16)
    {
        port.SetWriteHook([this](int64_t address, int64_t length) {
            ++writes;
            const std::vector<uint8_t> zero(size_t(length), 0);
            port.Store(zero.data(), address, length);
        });
        if (!map.connect(&port))
            qFatal("the test port did not connect");
    }
    GenApi::CMemoryPort port;
    int writes = 0;
};

// What the delegate and the model do with a command button: the click's editorData() goes
// to FromString() of the node, and the node's change comes back as a refresh.
void commitLikeTheModel(ToolButtonEditor* editor, GenApi::INode* node, QObject* context, int* executions)
{
    QObject::connect(editor, &QToolButton::clicked, context, [=] {
        const QVariant v = editor->editorData();
        if (v.isValid()) {
            dynamic_cast<GenApi::IValue*>(node)->FromString(v.toString().toLatin1().constData(), true);
            ++*executions;
        }
        editor->setEditorData(node);
    });
}
} // namespace

class TestEnumBoolCommandString : public QObject
{
    Q_OBJECT

private slots:
    // EnumEditor
    void enumEditorConstruction();
    void enumEditorListsAvailableEntriesUpToTheVisibility();
    void currentValueWithoutListedEntryShowsEmptyComboAndLogs_data();
    void currentValueWithoutListedEntryShowsEmptyComboAndLogs();
    void enumEditorAccessModes_data();
    void enumEditorAccessModes();
    void refreshDuringOpenPopupChangesNothingUntilItCloses();
    void visibilityChangeTakesEffectAtNextRefresh();
    void enumEditorActivatedGivesSymbolicName();
    void nonEnumerationNodeClearsEnumEditorThenWarns();
    void enumEditorRefusesToAddWhatIsNoEntry();
    void enumEditorNodeMapDestroyedWhileOpen();

    // CheckBoxEditor
    void checkBoxEditorShowsBoolean();
    void checkBoxEditorAccessModes_data();
    void checkBoxEditorAccessModes();
    void checkBoxEditorClickGivesOneOrZero();
    void nonBooleanNodeLeavesCheckBoxAsItWasWithoutLog();
    void checkBoxEditorNodeMapDestroyedWhileOpen();

    // ToolButtonEditor
    void toolButtonEditorConstruction();
    void commandThatFinishesAtOnceLeavesButtonUncheckedAfterClick();
    void runningCommandStandsPressedAndClickAsksForNothing();
    void toolButtonEditorAccessModes_data();
    void toolButtonEditorAccessModes();
    void nonCommandNodeLeavesButtonAlone();
    void toolButtonEditorNodeMapDestroyedWhileOpen();

    // StringControl
    void stringControlShowsBeginningOfText();
    void stringControlWritesWhenEditingFinishes();
    void stringControlFollowsNodeChangedOnOtherThread();
    void stringControlAccessModes_data();
    void stringControlAccessModes();
    void stringControlFailedWriteIsShownToThePerson();
    void stringControlNodeMapDestroyedWhileOpen();
};

// ---------------------------------------------------------------- EnumEditor

void TestEnumBoolCommandString::enumEditorConstruction()
{
    GenApi::EVisibility visibility = GenApi::Beginner;
    EnumEditor editor(nullptr, &visibility);
    QVERIFY(!editor.isEditable());
    QCOMPARE(editor.styleSheet(), QStringLiteral("margin-left:1px; margin-right:1px; margin-top:1px; "
                                                 "margin-bottom:1px; padding-left: 4px;"));
}

void TestEnumBoolCommandString::enumEditorListsAvailableEntriesUpToTheVisibility()
{
    NodeMap map(features());
    GenApi::EVisibility visibility = GenApi::Beginner;
    EnumEditor editor(nullptr, &visibility);
    editor.setEditorData(map.node("PixelFormat"));
    QCOMPARE(itemTexts(editor), (QStringList{"Mono8", "Mono 12"}));
    QCOMPARE(editor.itemData(1, Qt::UserRole), QVariant(QStringLiteral("Mono12")));
    QCOMPARE(editor.currentIndex(), 0);
    QCOMPARE(editor.editorData(), QVariant(QStringLiteral("Mono8")));
    QVERIFY(editor.isEnabled());
}

void TestEnumBoolCommandString::currentValueWithoutListedEntryShowsEmptyComboAndLogs_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<QString>("symbolic");
    QTest::newRow("entry not available") << 4 << "Bayer";
    QTest::newRow("entry above the visibility") << 3 << "RGB8";
}

void TestEnumBoolCommandString::currentValueWithoutListedEntryShowsEmptyComboAndLogs()
{
    QFETCH(int, value);
    QFETCH(QString, symbolic);
    NodeMap map(features());
    map.get<GenApi::IInteger>("PixelFormatValue")->SetValue(value, true);
    GenApi::EVisibility visibility = GenApi::Beginner;
    EnumEditor editor(nullptr, &visibility);
    MessageRecorder log;
    editor.setEditorData(map.node("PixelFormat"));
    QCOMPARE(editor.currentIndex(), -1);
    QCOMPARE(editor.currentText(), QString());
    QVERIFY(!editor.editorData().isValid());
    const QString expected =
        QStringLiteral("setEditorData: PixelFormat. No entry in the combo box matches the current value ") + symbolic;
    QVERIFY2(log.contains(expected), qPrintable(log.joined()));
}

void TestEnumBoolCommandString::enumEditorAccessModes_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("currentIndex");
    QTest::addColumn<bool>("enabled");
    QTest::newRow("NI") << int(GenApi::NI) << -1 << false;
    QTest::newRow("NA") << int(GenApi::NA) << -1 << false;
    QTest::newRow("WO") << int(GenApi::WO) << -1 << true;
    QTest::newRow("RO") << int(GenApi::RO) << 0 << false;
    QTest::newRow("RW") << int(GenApi::RW) << 0 << true;
}

void TestEnumBoolCommandString::enumEditorAccessModes()
{
    QFETCH(int, mode);
    QFETCH(int, currentIndex);
    QFETCH(bool, enabled);
    NodeMap map(features(EditorTest::accessModeElements(GenApi::EAccessMode(mode))));
    QCOMPARE(int(map.node("PixelFormat")->GetAccessMode()), mode);
    GenApi::EVisibility visibility = GenApi::Beginner;
    EnumEditor editor(nullptr, &visibility);
    editor.setEditorData(map.node("PixelFormat"));
    QCOMPARE(editor.currentIndex(), currentIndex);
    QCOMPARE(editor.isEnabled(), enabled);
}

void TestEnumBoolCommandString::refreshDuringOpenPopupChangesNothingUntilItCloses()
{
    NodeMap map(features());
    GenApi::EVisibility visibility = GenApi::Beginner;
    QWidget top;
    auto* layout = new QHBoxLayout(&top);
    auto* editor = new EnumEditor(&top, &visibility);
    layout->addWidget(editor);
    editor->setEditorData(map.node("PixelFormat"));
    EditorTest::showAndFocus(&top, editor);

    editor->showPopup();
    QTRY_VERIFY(QApplication::activePopupWidget() != nullptr);
    visibility = GenApi::Expert;
    map.get<GenApi::IInteger>("PixelFormatValue")->SetValue(2, true);
    editor->setEditorData(map.node("PixelFormat"));
    QCOMPARE(itemTexts(*editor), (QStringList{"Mono8", "Mono 12"}));
    QCOMPARE(editor->currentIndex(), 0);

    editor->hidePopup();
    QTRY_VERIFY(QApplication::activePopupWidget() == nullptr);
    editor->setEditorData(map.node("PixelFormat"));
    QCOMPARE(itemTexts(*editor), (QStringList{"Mono8", "Mono 12", "RGB8"}));
    QCOMPARE(editor->editorData(), QVariant(QStringLiteral("Mono12")));
}

void TestEnumBoolCommandString::visibilityChangeTakesEffectAtNextRefresh()
{
    NodeMap map(features());
    GenApi::EVisibility visibility = GenApi::Beginner;
    EnumEditor editor(nullptr, &visibility);
    editor.setEditorData(map.node("PixelFormat"));
    QCOMPARE(editor.count(), 2);
    visibility = GenApi::Guru;
    QCOMPARE(editor.count(), 2);
    editor.setEditorData(map.node("PixelFormat"));
    QCOMPARE(itemTexts(editor), (QStringList{"Mono8", "Mono 12", "RGB8"}));
    visibility = GenApi::Beginner;
    editor.setEditorData(map.node("PixelFormat"));
    QCOMPARE(editor.count(), 2);
}

void TestEnumBoolCommandString::enumEditorActivatedGivesSymbolicName()
{
    NodeMap map(features());
    GenApi::EVisibility visibility = GenApi::Beginner;
    QWidget top;
    auto* layout = new QHBoxLayout(&top);
    auto* editor = new EnumEditor(&top, &visibility);
    layout->addWidget(editor);
    editor->setEditorData(map.node("PixelFormat"));
    EditorTest::showAndFocus(&top, editor);
    QSignalSpy activated(editor, QOverload<int>::of(&QComboBox::activated));
    QTest::keyClick(editor, Qt::Key_Down); // a person picks the next entry
    QCOMPARE(activated.count(), 1);
    QCOMPARE(editor->currentText(), QStringLiteral("Mono 12"));
    QCOMPARE(editor->editorData(), QVariant(QStringLiteral("Mono12")));
}

void TestEnumBoolCommandString::nonEnumerationNodeClearsEnumEditorThenWarns()
{
    NodeMap map(features());
    GenApi::EVisibility visibility = GenApi::Beginner;
    EnumEditor editor(nullptr, &visibility);
    editor.setEditorData(map.node("PixelFormat"));
    QCOMPARE(editor.count(), 2);
    MessageRecorder log;
    editor.setEditorData(map.node("Flag"));
    QCOMPARE(editor.count(), 0);
    QCOMPARE(log.count("setEditorData is called with non-enumeration node????"), 1);
}

void TestEnumBoolCommandString::enumEditorRefusesToAddWhatIsNoEntry()
{
    struct Probe : EnumEditor
    {
        using EnumEditor::EnumEditor;
        using EnumEditor::addItem;
    };
    NodeMap map(features());
    GenApi::EVisibility visibility = GenApi::Beginner;
    Probe editor(nullptr, &visibility);
    MessageRecorder log;
    editor.addItem(map.node("Flag"));
    editor.addItem(static_cast<GenApi::INode*>(nullptr));
    QCOMPARE(editor.count(), 0);
    QCOMPARE(log.count("addItem: Tried to add item which is not an IEnumEntry"), 2);
}

void TestEnumBoolCommandString::enumEditorNodeMapDestroyedWhileOpen()
{
    NodeMap map(features());
    GenApi::EVisibility visibility = GenApi::Beginner;
    EnumEditor editor(nullptr, &visibility);
    editor.setEditorData(map.node("PixelFormat"));
    map.destroy();
    // The editor holds no node: it answers from its items.
    QCOMPARE(editor.editorData(), QVariant(QStringLiteral("Mono8")));
    MessageRecorder log;
    editor.setEditorData(nullptr);
    QCOMPARE(editor.count(), 0);
    QVERIFY(log.contains("setEditorData is called with non-enumeration node????"));
}

// ---------------------------------------------------------------- CheckBoxEditor

void TestEnumBoolCommandString::checkBoxEditorShowsBoolean()
{
    NodeMap map(features());
    CheckBoxEditor editor(nullptr);
    editor.setEditorData(map.node("Flag"));
    QVERIFY(editor.isChecked());
    QCOMPARE(editor.editorData(), QVariant(QStringLiteral("1")));
    map.get<GenApi::IBoolean>("Flag")->SetValue(false, true);
    editor.setEditorData(map.node("Flag"));
    QVERIFY(!editor.isChecked());
    QCOMPARE(editor.editorData(), QVariant(QStringLiteral("0")));
}

void TestEnumBoolCommandString::checkBoxEditorAccessModes_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("checked");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<bool>("failure");
    QTest::newRow("NI") << int(GenApi::NI) << false << true << true;
    QTest::newRow("NA") << int(GenApi::NA) << false << true << true;
    QTest::newRow("WO") << int(GenApi::WO) << false << true << true;
    QTest::newRow("RO") << int(GenApi::RO) << true << false << false;
    QTest::newRow("RW") << int(GenApi::RW) << true << true << false;
}

void TestEnumBoolCommandString::checkBoxEditorAccessModes()
{
    QFETCH(int, mode);
    QFETCH(bool, checked);
    QFETCH(bool, enabled);
    QFETCH(bool, failure);
    NodeMap map(features(EditorTest::accessModeElements(GenApi::EAccessMode(mode))));
    CheckBoxEditor editor(nullptr);
    MessageRecorder log;
    editor.setEditorData(map.node("Flag"));
    QCOMPARE(editor.isChecked(), checked);
    QCOMPARE(editor.isEnabled(), enabled);
    // An unreadable value fails to read; the three-way catch reports it.
    QCOMPARE(log.contains("!! Failed to initialize checkbox data for node Flag"), failure);
}

void TestEnumBoolCommandString::checkBoxEditorClickGivesOneOrZero()
{
    NodeMap map(features());
    QWidget top;
    auto* layout = new QHBoxLayout(&top);
    auto* editor = new CheckBoxEditor(&top);
    layout->addWidget(editor);
    editor->setEditorData(map.node("Flag"));
    EditorTest::showAndFocus(&top, editor);
    QList<QVariant> commits;
    QObject context;
    QObject::connect(editor, &QCheckBox::clicked, &context, [&] { commits << editor->editorData(); });
    QTest::mouseClick(editor, Qt::LeftButton, {}, editor->rect().center());
    QTest::keyClick(editor, Qt::Key_Space);
    QCOMPARE(commits, (QList<QVariant>{QStringLiteral("0"), QStringLiteral("1")}));
}

void TestEnumBoolCommandString::nonBooleanNodeLeavesCheckBoxAsItWasWithoutLog()
{
    NodeMap map(features());
    CheckBoxEditor editor(nullptr);
    editor.setChecked(true);
    editor.setEnabled(false);
    MessageRecorder log;
    editor.setEditorData(map.node("Count"));
    editor.setEditorData(nullptr);
    QVERIFY(editor.isChecked());
    QVERIFY(!editor.isEnabled());
    QVERIFY2(log.messages().isEmpty(), qPrintable(log.joined()));
}

void TestEnumBoolCommandString::checkBoxEditorNodeMapDestroyedWhileOpen()
{
    NodeMap map(features());
    CheckBoxEditor editor(nullptr);
    editor.setEditorData(map.node("Flag"));
    map.destroy();
    // The box holds no node: it answers from its own state, and a refresh without a node
    // leaves it alone.
    QCOMPARE(editor.editorData(), QVariant(QStringLiteral("1")));
    editor.setEditorData(nullptr);
    QVERIFY(editor.isChecked());
}

// ---------------------------------------------------------------- ToolButtonEditor

void TestEnumBoolCommandString::toolButtonEditorConstruction()
{
    ToolButtonEditor editor(nullptr);
    QCOMPARE(editor.text(), QStringLiteral("Execute"));
    QVERIFY(editor.isCheckable());
    QVERIFY(!editor.autoRaise());
    QCOMPARE(editor.focusPolicy(), Qt::StrongFocus);
    QCOMPARE(editor.contentsMargins(), QMargins(0, 0, 0, 0));
}

void TestEnumBoolCommandString::commandThatFinishesAtOnceLeavesButtonUncheckedAfterClick()
{
    NodeMap map(features());
    QuickDevice device(map);
    QWidget top;
    auto* layout = new QHBoxLayout(&top);
    auto* editor = new ToolButtonEditor(&top);
    layout->addWidget(editor);
    editor->setEditorData(map.node("Quick"));
    QVERIFY(!editor->isChecked());
    EditorTest::showAndFocus(&top, editor);

    QObject context;
    int executions = 0;
    commitLikeTheModel(editor, map.node("Quick"), &context, &executions);
    QTest::mouseClick(editor, Qt::LeftButton, {}, editor->rect().center());
    QCOMPARE(executions, 1);
    QCOMPARE(device.writes, 1);
    QVERIFY(!editor->isChecked());
}

void TestEnumBoolCommandString::runningCommandStandsPressedAndClickAsksForNothing()
{
    NodeMap map(features());
    QWidget top;
    auto* layout = new QHBoxLayout(&top);
    auto* editor = new ToolButtonEditor(&top);
    layout->addWidget(editor);
    editor->setEditorData(map.node("Start"));
    EditorTest::showAndFocus(&top, editor);
    QObject context;
    int executions = 0;
    commitLikeTheModel(editor, map.node("Start"), &context, &executions);

    QTest::mouseClick(editor, Qt::LeftButton, {}, editor->rect().center());
    QCOMPARE(executions, 1);
    QVERIFY(editor->isChecked()); // the command runs: the button stands pressed

    QTest::mouseClick(editor, Qt::LeftButton, {}, editor->rect().center());
    QCOMPARE(executions, 1); // a click on a pressed button asks for nothing
    QVERIFY(editor->isChecked());

    map.get<GenApi::IInteger>("StartValue")->SetValue(0, true); // the device finishes
    editor->setEditorData(map.node("Start"));
    QVERIFY(!editor->isChecked());
}

void TestEnumBoolCommandString::toolButtonEditorAccessModes_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("enabled");
    QTest::newRow("NI") << int(GenApi::NI) << true;
    QTest::newRow("NA") << int(GenApi::NA) << true;
    QTest::newRow("WO") << int(GenApi::WO) << true;
    QTest::newRow("RO") << int(GenApi::RO) << false;
    QTest::newRow("RW") << int(GenApi::RW) << true;
}

void TestEnumBoolCommandString::toolButtonEditorAccessModes()
{
    QFETCH(int, mode);
    QFETCH(bool, enabled);
    NodeMap map(features(EditorTest::accessModeElements(GenApi::EAccessMode(mode))));
    ToolButtonEditor editor(nullptr);
    MessageRecorder log;
    editor.setEditorData(map.node("Start"));
    QCOMPARE(editor.isEnabled(), enabled);
    QVERIFY(!editor.isChecked());
    if (mode == GenApi::NI || mode == GenApi::NA) {
        QVERIFY2(log.contains("!! Failed to initialize button data for node Start"), qPrintable(log.joined()));
        // A click then cannot read the command back: reported, and the request still stands.
        editor.setChecked(true);
        QCOMPARE(editor.editorData(), QVariant(QStringLiteral("1")));
        QVERIFY2(log.contains("!! Failed to set button state"), qPrintable(log.joined()));
    }
}

void TestEnumBoolCommandString::nonCommandNodeLeavesButtonAlone()
{
    NodeMap map(features());
    ToolButtonEditor editor(nullptr);
    editor.setChecked(true);
    MessageRecorder log;
    editor.setEditorData(map.node("Flag"));
    QVERIFY(editor.isChecked());
    QVERIFY(log.messages().isEmpty());
    // Without a command the click's request is answered from the button alone.
    QCOMPARE(editor.editorData(), QVariant(QStringLiteral("1")));
    QVERIFY(editor.isChecked());
}

void TestEnumBoolCommandString::toolButtonEditorNodeMapDestroyedWhileOpen()
{
    auto map = std::make_unique<NodeMap>(features());
    ToolButtonEditor editor(nullptr);
    editor.setEditorData(map->node("Start"));
    map.reset();
    editor.setChecked(true); // a click on the resting button
    QCOMPARE(editor.editorData(), QVariant(QStringLiteral("1")));
    editor.setChecked(false);
    QVERIFY(!editor.editorData().isValid());
}

// ---------------------------------------------------------------- StringControl

void TestEnumBoolCommandString::stringControlShowsBeginningOfText()
{
    NodeMap map(features());
    VorloQt::StringControl control(map.node("DeviceUserID"), nullptr);
    QCOMPARE(control.text(), QStringLiteral("camera one"));
    QCOMPARE(control.cursorPosition(), 0);
    QVERIFY(!control.hasFrame());
    QVERIFY(!control.isReadOnly());
}

void TestEnumBoolCommandString::stringControlWritesWhenEditingFinishes()
{
    NodeMap map(features());
    QWidget top;
    auto* layout = new QHBoxLayout(&top);
    auto* control = new VorloQt::StringControl(map.node("DeviceUserID"), &top);
    auto* other = new QLineEdit(&top);
    layout->addWidget(control);
    layout->addWidget(other);
    EditorTest::showAndFocus(&top, control);
    control->selectAll();
    QTest::keyClicks(control, "left camera");
    QCOMPARE(QString::fromLatin1(map.get<GenApi::IString>("DeviceUserID")->GetValue().c_str()),
             QStringLiteral("camera one"));
    QTest::keyClick(control, Qt::Key_Return);
    QCOMPARE(QString::fromLatin1(map.get<GenApi::IString>("DeviceUserID")->GetValue().c_str()),
             QStringLiteral("left camera"));
    control->selectAll();
    QTest::keyClicks(control, "right");
    other->setFocus(Qt::TabFocusReason);
    QTRY_COMPARE(QString::fromLatin1(map.get<GenApi::IString>("DeviceUserID")->GetValue().c_str()),
                 QStringLiteral("right"));
}

void TestEnumBoolCommandString::stringControlFollowsNodeChangedOnOtherThread()
{
    NodeMap map(features());
    VorloQt::StringControl control(map.node("DeviceUserID"), nullptr);
    std::thread device([&] { map.get<GenApi::IString>("DeviceUserID")->SetValue("renamed", true); });
    device.join();
    QCOMPARE(control.text(), QStringLiteral("camera one")); // queued to the GUI thread
    QTRY_COMPARE(control.text(), QStringLiteral("renamed"));
}

void TestEnumBoolCommandString::stringControlAccessModes_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("readOnly");
    QTest::newRow("NI") << int(GenApi::NI) << "" << false;
    QTest::newRow("NA") << int(GenApi::NA) << "" << false;
    QTest::newRow("WO") << int(GenApi::WO) << "" << false;
    QTest::newRow("RO") << int(GenApi::RO) << "camera one" << true;
    QTest::newRow("RW") << int(GenApi::RW) << "camera one" << false;
}

void TestEnumBoolCommandString::stringControlAccessModes()
{
    QFETCH(int, mode);
    QFETCH(QString, text);
    QFETCH(bool, readOnly);
    NodeMap map(features(EditorTest::accessModeElements(GenApi::EAccessMode(mode))));
    MessageRecorder log;
    ExceptionRecorder shown;
    VorloQt::StringControl control(map.node("DeviceUserID"), nullptr);
    QCOMPARE(control.text(), text);
    QCOMPARE(control.isReadOnly(), readOnly);
    if (text.isEmpty())
        QVERIFY2(log.contains("Failed to update string control widget"), qPrintable(log.joined()));
    // A line that is not writable writes nothing when editing finishes.
    if (mode != GenApi::RW && mode != GenApi::WO) {
        control.setText(QStringLiteral("typed"));
        control.updateNode();
        QCOMPARE(shown.count(), 0);
    }
}

void TestEnumBoolCommandString::stringControlFailedWriteIsShownToThePerson()
{
    NodeMap map(features());
    VorloQt::StringControl control(map.node("Count"), nullptr);
    QCOMPARE(control.text(), QStringLiteral("3"));
    ExceptionRecorder shown;
    MessageRecorder log;
    control.setText(QStringLiteral("three"));
    emit control.editingFinished();
    QCOMPARE(shown.count(), 1);
    QCOMPARE(shown.last().function, QStringLiteral("updateNode"));
    QCOMPARE(shown.last().message, QStringLiteral("Failed to set value"));
    QCOMPARE(map.get<GenApi::IInteger>("Count")->GetValue(), Q_INT64_C(3));
}

void TestEnumBoolCommandString::stringControlNodeMapDestroyedWhileOpen()
{
    auto map = std::make_unique<NodeMap>(features());
    auto control = std::make_unique<VorloQt::StringControl>(map->node("DeviceUserID"), nullptr);
    map.reset();
    ExceptionRecorder shown;
    control->setText(QStringLiteral("after"));
    control->updateNode();
    control->updateWidget();
    QCOMPARE(shown.count(), 0);
    QCOMPARE(control->text(), QStringLiteral("after"));
    control.reset();
}

QTEST_MAIN(TestEnumBoolCommandString)
#include "tst_enumboolcommandstring.moc"
