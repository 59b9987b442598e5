// FloatSliderEditor: a float feature in a spin box, its integer alias on a slider.

#include "editortestsupport.h"
#include "fakenodes.h"

#include <VorloQtWidgets/floatslidereditor.h>
#include <VorloQtWidgets/vorloqtspinbox.h>

#include <QHBoxLayout>
#include <QLineEdit>
#include <QPointer>
#include <QSignalSpy>
#include <QSlider>
#include <QTest>

#include <thread>

using EditorTest::MessageRecorder;
using EditorTest::NodeMap;

namespace
{
// The device links Gain and its raw alias GainRaw: Gain = GainRaw / 10. The raw limits and
// increment sit behind writable nodes so that a test can move them.
QString gainFeatures(const QString& gainElements = QString())
{
    return EditorTest::accessModeSupport() + QStringLiteral(R"(
<Integer Name="GainRawMin"><Value>0</Value></Integer>
<Integer Name="GainRawMax"><Value>100</Value></Integer>
<Integer Name="GainRawInc"><Value>4</Value></Integer>
<Integer Name="GainRaw"><Value>40</Value><pMin>GainRawMin</pMin><pMax>GainRawMax</pMax><pInc>GainRawInc</pInc><Representation>Linear</Representation></Integer>
<Converter Name="Gain">%1<pAlias>GainRaw</pAlias><FormulaTo>FROM*10</FormulaTo><FormulaFrom>TO/10</FormulaFrom><pValue>GainRaw</pValue><Representation>Linear</Representation><DisplayPrecision>1</DisplayPrecision></Converter>
<Integer Name="HugeRaw"><Value>4294967301</Value><Min>0</Min><Max>4294967312</Max><Representation>Linear</Representation></Integer>
<Converter Name="Huge"><pAlias>HugeRaw</pAlias><FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom><pValue>HugeRaw</pValue><Representation>Linear</Representation><DisplayPrecision>0</DisplayPrecision></Converter>
<Integer Name="Count"><Value>3</Value></Integer>
)")
                                                  .arg(gainElements);
}

struct Fixture
{
    explicit Fixture(const QString& features = gainFeatures())
        : map(features)
    {
        auto* layout = new QHBoxLayout(&top);
        other = new QLineEdit(&top);
        editor = new FloatSliderEditor(&top);
        layout->addWidget(editor);
        layout->addWidget(other);
        editor->setLocale(QLocale::c());
        spin = editor->findChild<VorloQtDoubleSpinBox*>();
        spin->setLocale(QLocale::c());
        slider = editor->findChild<QSlider*>();
        top.resize(500, 40);
    }
    GenApi::IFloat* gain() const { return map.get<GenApi::IFloat>("Gain"); }
    GenApi::IInteger* raw() const { return map.get<GenApi::IInteger>("GainRaw"); }
    void refresh() { editor->setEditorData(map.node("Gain")); }
    // A person drags the slider through the given positions.
    void drag(std::initializer_list<int> positions)
    {
        slider->setSliderDown(true);
        for (int p : positions)
            slider->setSliderPosition(p);
        slider->setSliderDown(false);
    }

    NodeMap map;
    QWidget top;
    QLineEdit* other = nullptr;
    FloatSliderEditor* editor = nullptr;
    VorloQtDoubleSpinBox* spin = nullptr;
    QSlider* slider = nullptr;
};
} // namespace

class TestFloatSliderEditor : public QObject
{
    Q_OBJECT

private slots:
    void firstRefreshFillsSpinBoxAndSlider();
    void accessModes_data();
    void accessModes();
    void nonFloatNodeIsRefusedWithWarning();

    void draggingSliderWithSpinBoxFocusedWritesAliasAtEachPosition();
    void sliderPositionBetweenIncrementsIsWrittenRoundedDown();
    void aliasRangeChangeMovesSliderRangeAtTheCallback();
    void aliasValuesBeyond32BitsAreCutToLow32Bits();
    void aliasIncrementZeroLogsAndLeavesWidget();
    void typedValueBeyondLimitsIsClampedInBoxBeforeCommit();
    void spinBoxStepKeysMoveSliderAndWriteAlias();
    void floatLimitsChangingWhileOpenFollowAtNextRefresh();

    void aliasCallbackFromSecondThreadReachesSliderQueued();
    void destroyedEditorDropsQueuedAliasCall();
    void nodeMapDestroyedWhileOpen();
};

void TestFloatSliderEditor::firstRefreshFillsSpinBoxAndSlider()
{
    Fixture f;
    f.refresh();
    QCOMPARE(f.spin->value(), 4.0);
    QCOMPARE(f.spin->minimum(), 0.0);
    QCOMPARE(f.spin->maximum(), 10.0);
    QCOMPARE(f.spin->decimals(), 1);
    QCOMPARE(f.slider->value(), 40);
    QCOMPARE(f.slider->minimum(), 0);
    QCOMPARE(f.slider->maximum(), 100);
    QCOMPARE(f.slider->singleStep(), 4);
    QCOMPARE(f.editor->intIncrement(), 4);
    QCOMPARE(f.slider->pageStep(), 8); // max(100 / 20, 2 * 4), on the grid of 4
    QVERIFY2(f.editor->toolTip().startsWith(QStringLiteral("Range: 0.0..10.0")), qPrintable(f.editor->toolTip()));
    QCOMPARE(f.slider->toolTip(), f.editor->toolTip());
    QCOMPARE(f.spin->toolTip(), f.editor->toolTip());
    QCOMPARE(f.editor->editorData().toDouble(), 4.0);
    QVERIFY(f.editor->isEnabled());
}

void TestFloatSliderEditor::accessModes_data()
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

void TestFloatSliderEditor::accessModes()
{
    QFETCH(int, mode);
    QFETCH(bool, filled);
    QFETCH(bool, enabled);
    Fixture f(gainFeatures(EditorTest::accessModeElements(GenApi::EAccessMode(mode))));
    QCOMPARE(int(f.map.node("Gain")->GetAccessMode()), mode);
    MessageRecorder log;
    f.refresh();
    QCOMPARE(f.editor->isEnabled(), enabled);
    if (filled) {
        QCOMPARE(f.spin->value(), 4.0);
        QCOMPARE(f.slider->value(), 40);
    } else {
        QVERIFY2(log.contains("Non-readable comboBox: Gain??????"), qPrintable(log.joined()));
        QCOMPARE(f.slider->value(), 0);
    }
}

void TestFloatSliderEditor::nonFloatNodeIsRefusedWithWarning()
{
    Fixture f;
    MessageRecorder log;
    f.editor->setEditorData(f.map.node("Count"));
    f.editor->setEditorData(nullptr);
    QCOMPARE(log.count("setEditorData is called with non-float node????"), 2);
}

void TestFloatSliderEditor::draggingSliderWithSpinBoxFocusedWritesAliasAtEachPosition()
{
    Fixture f;
    f.refresh();
    EditorTest::showAndFocus(&f.top, f.spin);

    QList<qint64> written;
    QObject context;
    QObject::connect(f.slider, &QSlider::valueChanged, &context, [&] { written << f.raw()->GetValue(); });
    f.drag({48, 52, 60});
    QCOMPARE(written, (QList<qint64>{48, 52, 60}));
    QCOMPARE(f.raw()->GetValue(), Q_INT64_C(60));
    QCOMPARE(f.spin->value(), 4.0); // the float comes through the model's refresh only

    f.refresh(); // the write opened the guard once
    QCOMPARE(f.spin->value(), 6.0);

    f.spin->findChild<QLineEdit*>()->selectAll();
    QTest::keyClicks(f.spin, "1");
    f.refresh(); // closed again: what the person types stays
    QCOMPARE(f.spin->text(), QStringLiteral("1"));

    f.drag({80});
    f.refresh();
    QCOMPARE(f.spin->value(), 8.0);
    QVERIFY(f.spin->hasFocus());
}

void TestFloatSliderEditor::sliderPositionBetweenIncrementsIsWrittenRoundedDown()
{
    Fixture f;
    f.refresh();
    f.drag({63});
    QCOMPARE(f.raw()->GetValue(), Q_INT64_C(60));
    QCOMPARE(f.slider->value(), 60);
    QCOMPARE(f.gain()->GetValue(), 6.0);
}

void TestFloatSliderEditor::aliasRangeChangeMovesSliderRangeAtTheCallback()
{
    Fixture f;
    f.refresh();
    f.map.get<GenApi::IInteger>("GainRawMax")->SetValue(200, true);
    QCOMPARE(f.slider->maximum(), 200);
    QCOMPARE(f.slider->pageStep(), 8); // max(200 / 20, 8) = 10, on the grid of 4
    // The float's range has not been refreshed yet.
    QCOMPARE(f.spin->maximum(), 10.0);
    f.refresh();
    QCOMPARE(f.spin->maximum(), 20.0);
}

void TestFloatSliderEditor::aliasValuesBeyond32BitsAreCutToLow32Bits()
{
    Fixture f;
    f.editor->setEditorData(f.map.node("Huge"));
    // 4294967301 = 2^32 + 5, 4294967312 = 2^32 + 16: the slider takes them as they stand.
    QCOMPARE(f.slider->maximum(), 16);
    QCOMPARE(f.slider->value(), 5);
}

void TestFloatSliderEditor::aliasIncrementZeroLogsAndLeavesWidget()
{
    // A node map never reports an increment of 0, so hand-made nodes stand in for it.
    EditorTest::FakeInteger raw("GainRaw");
    raw.value = 40;
    raw.max = 100;
    raw.inc = 4;
    EditorTest::FakeFloat gain("Gain");
    gain.value = 4.0;
    gain.max = 10.0;
    gain.precision = 1;
    gain.alias = &raw;

    FloatSliderEditor editor(nullptr);
    editor.setEditorData(&gain);
    QCOMPARE(editor.findChild<QSlider*>()->value(), 40);
    QCOMPARE(editor.intIncrement(), 4);

    raw.inc = 0;
    MessageRecorder log;
    raw.fire(); // the alias's callback
    QVERIFY2(log.contains("GainRaw: Failed to update the float value editor slider!"), qPrintable(log.joined()));
    QVERIFY2(log.contains("The alias increment cannot be '0'!"), qPrintable(log.joined()));
    log.clear();
    gain.value = 6.0;
    editor.setEditorData(&gain); // the model's refresh
    QVERIFY2(log.contains("Gain: Failed to update the float value editor comboBox!"), qPrintable(log.joined()));
    QVERIFY2(log.contains("The alias increment cannot be '0'!"), qPrintable(log.joined()));

    QCOMPARE(editor.findChild<QSlider*>()->value(), 40);
    QCOMPARE(editor.findChild<QSlider*>()->singleStep(), 4);
    QCOMPARE(editor.intIncrement(), 4);
    QCOMPARE(editor.findChild<VorloQtDoubleSpinBox*>()->value(), 4.0);
}

void TestFloatSliderEditor::typedValueBeyondLimitsIsClampedInBoxBeforeCommit()
{
    Fixture f;
    f.refresh();
    EditorTest::showAndFocus(&f.top, f.spin);
    f.map.get<GenApi::IInteger>("GainRawMax")->SetValue(50, true); // Gain's maximum is now 5

    QList<double> boxAtCommit;
    QList<double> committed;
    QObject context; // ends the connection before the lists go
    QObject::connect(f.editor, &FloatSliderEditor::boxValueChanged, &context, [&] {
        boxAtCommit << f.spin->value();
        committed << f.editor->editorData().toDouble();
    });
    f.spin->findChild<QLineEdit*>()->selectAll();
    QTest::keyClicks(f.spin, "9");
    QTest::keyClick(f.spin, Qt::Key_Return);
    QCOMPARE(boxAtCommit, (QList<double>{5.0}));
    QCOMPARE(committed, (QList<double>{5.0}));
}

void TestFloatSliderEditor::spinBoxStepKeysMoveSliderAndWriteAlias()
{
    Fixture f;
    f.refresh();
    QTest::keyClick(f.spin, Qt::Key_Up);
    QCOMPARE(f.slider->value(), 44);
    QCOMPARE(f.raw()->GetValue(), Q_INT64_C(44));
    QTest::keyClick(f.spin, Qt::Key_PageDown);
    QCOMPARE(f.raw()->GetValue(), Q_INT64_C(36));
    QCOMPARE(f.spin->value(), 4.0); // the float follows through the refresh
    f.refresh();
    QCOMPARE(f.spin->value(), 3.6);
}

void TestFloatSliderEditor::floatLimitsChangingWhileOpenFollowAtNextRefresh()
{
    Fixture f;
    f.refresh();
    f.map.get<GenApi::IInteger>("GainRawMin")->SetValue(20, true);
    f.map.get<GenApi::IInteger>("GainRawMax")->SetValue(60, true);
    QCOMPARE(f.slider->minimum(), 20);
    QCOMPARE(f.slider->maximum(), 60);
    f.refresh();
    QCOMPARE(f.spin->minimum(), 2.0);
    QCOMPARE(f.spin->maximum(), 6.0);
    QVERIFY2(f.editor->toolTip().startsWith(QStringLiteral("Range: 2.0..6.0")), qPrintable(f.editor->toolTip()));
}

void TestFloatSliderEditor::aliasCallbackFromSecondThreadReachesSliderQueued()
{
    Fixture f;
    f.refresh();
    std::thread device([&] { f.raw()->SetValue(84, true); });
    device.join();
    // The callback ran on the device's thread and only queued the update.
    QCOMPARE(f.slider->value(), 40);
    QTRY_COMPARE(f.slider->value(), 84);
    // The slider's move reads the alias and writes nothing back.
    QCOMPARE(f.raw()->GetValue(), Q_INT64_C(84));
}

void TestFloatSliderEditor::destroyedEditorDropsQueuedAliasCall()
{
    Fixture f;
    f.refresh();
    QPointer<FloatSliderEditor> editor(f.editor);
    std::thread device([&] { f.raw()->SetValue(88, true); });
    device.join();
    QCOMPARE(f.slider->value(), 40); // the call is still queued

    MessageRecorder log;
    delete f.editor;
    f.editor = nullptr;
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    QVERIFY(editor.isNull());
    // The alias callback went with the editor: later changes reach nobody.
    std::thread again([&] { f.raw()->SetValue(92, true); });
    again.join();
    QCoreApplication::processEvents();
    QCOMPARE(f.raw()->GetValue(), Q_INT64_C(92));
    QVERIFY2(log.messages().isEmpty(), qPrintable(log.joined()));
}

void TestFloatSliderEditor::nodeMapDestroyedWhileOpen()
{
    Fixture f;
    f.refresh();
    f.map.destroy();
    MessageRecorder log;
    f.drag({52});
    QVERIFY2(log.contains("NULL pointer dereferenced"), qPrintable(log.joined()));
    QVERIFY2(log.contains("Failed to retrieve a node's name"), qPrintable(log.joined()));
    QCOMPARE(f.slider->value(), 52); // stands where it was dragged
    QCOMPARE(f.editor->editorData().toDouble(), 4.0);
    delete f.editor; // the alias callback went with the nodes; nothing is deregistered
    f.editor = nullptr;
}

QTEST_MAIN(TestFloatSliderEditor)
#include "tst_floatslidereditor.moc"
