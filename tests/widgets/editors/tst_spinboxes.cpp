// Node-free spin boxes and composites: VorloQtSpinBox, VorloQtDoubleSpinBox,
// SpinBoxEventCatcher, ComboSlider, DoubleComboSlider, DoubleSpinBox.

#include <VorloQtWidgets/comboslider.h>
#include <VorloQtWidgets/doublecomboslider.h>
#include <VorloQtWidgets/doublespinbox.h>
#include <VorloQtWidgets/vorloqtspinbox.h>

#include <QApplication>
#include <QFontMetrics>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QSignalSpy>
#include <QSlider>
#include <QStyle>
#include <QStyleOptionSpinBox>
#include <QTest>

#include <limits>

namespace
{
// Records the key presses that reach it, to tell whether a child let a key through.
class KeyWitness : public QWidget
{
public:
    QList<int> keys;

protected:
    void keyPressEvent(QKeyEvent* e) override
    {
        keys << e->key();
        QWidget::keyPressEvent(e);
    }
};

template<class T>
T* child(QWidget* w)
{
    T* c = w->findChild<T*>();
    Q_ASSERT(c);
    return c;
}

// Reads the update guard, which the composites keep to themselves.
class ProbeDoubleComboSlider : public DoubleComboSlider
{
public:
    using DoubleComboSlider::DoubleComboSlider;
    bool spinBoxHasFocus() const { return m_spinBoxHasFocus; }
    bool updateEnabled() const { return m_enableUpdate; }
};

class ProbeDoubleSpinBox : public DoubleSpinBox
{
public:
    using DoubleSpinBox::DoubleSpinBox;
    bool spinBoxHasFocus() const { return m_spinBoxHasFocus; }
    bool updateEnabled() const { return m_enableUpdate; }
};

void showAndFocus(QWidget* top, QWidget* focus)
{
    top->show();
    QApplication::setActiveWindow(top);
    QVERIFY(QTest::qWaitForWindowActive(top));
    focus->setFocus(Qt::OtherFocusReason);
    QTRY_VERIFY(focus->hasFocus());
}
} // namespace

class TestSpinBoxes : public QObject
{
    Q_OBJECT

private slots:
    // VorloQtSpinBox
    void escapeRestoresTextBeforeTyping_data();
    void escapeRestoresTextBeforeTyping();
    void returnAndEnterAreSwallowed_data();
    void returnAndEnterAreSwallowed();
    void pageUpMovesByPageStepTimesSingleStep();
    void pageDownMovesBackByPageStepTimesSingleStep();
    void arrowStepCommitsAtOnce();
    void doubleSpinBoxStepOnlyReportsTheStep_data();
    void doubleSpinBoxStepOnlyReportsTheStep();
    void doubleSpinBoxTextUsesDecimals();
    void eventCatcherReportsFocus();

    // ComboSlider
    void comboSliderSetValueRoundsDownOntoStepGridSilently();
    void comboSliderTypedValueRoundsDownAndEmitsOnce();
    void comboSliderTypedValueOnCurrentPositionEmitsNothing();
    void comboSliderZeroStepDoesNoRounding();
    void comboSliderTrimValue_data();
    void comboSliderTrimValue();
    void comboSliderDraggingEmitsEachPosition();
    void comboSliderRangeOperationsEmitNoValueChange();
    void comboSliderRangeOperationsKeepUpdateSwitchedOff();
    void comboSliderToolTip_data();
    void comboSliderToolTip();
    void comboSliderPageStepReachesSpinBox();
    void comboSliderEditBoxHoldsTwelveDigits();
    void comboSliderLayout();

    // DoubleComboSlider
    void doubleComboSliderStartState();
    void doubleComboSliderSetMinimumBuildsToolTipFirst();
    void doubleComboSliderSetMaximumBuildsToolTipAfter();
    void doubleComboSliderIntRangeSignals();
    void doubleComboSliderStepsMoveTheSliderOnly_data();
    void doubleComboSliderStepsMoveTheSliderOnly();
    void doubleComboSliderArrowKeyMovesSlider();
    void doubleComboSliderTrimSliderValue_data();
    void doubleComboSliderTrimSliderValue();
    void doubleComboSliderPageStep_data();
    void doubleComboSliderPageStep();
    void doubleComboSliderInitControlsClampsValueToOldRangeFirst();
    void doubleComboSliderCheckIfLimitsChanged();
    void doubleComboSliderFocusGuard();

    // DoubleSpinBox
    void doubleSpinBoxStartState();
    void doubleSpinBoxPureNumberHasNoButtons();
    void doubleSpinBoxToolTipHidesIncrementBelowDecimals();
    void doubleSpinBoxToolTip_data();
    void doubleSpinBoxToolTip();
    void doubleSpinBoxZeroIncrementRemovesButtonsForGood();
    void doubleSpinBoxPageStep();
    void doubleSpinBoxSetMinimumKeepsRangeLimit();
    void doubleSpinBoxCheckIfLimitsChanged();
    void doubleSpinBoxFocusGuard();
    void doubleSpinBoxEscapeKeepsParentOpen();
};

// ---------------------------------------------------------------- VorloQtSpinBox

void TestSpinBoxes::escapeRestoresTextBeforeTyping_data()
{
    QTest::addColumn<bool>("isDouble");
    QTest::newRow("VorloQtSpinBox") << false;
    QTest::newRow("VorloQtDoubleSpinBox") << true;
}

void TestSpinBoxes::escapeRestoresTextBeforeTyping()
{
    QFETCH(bool, isDouble);
    KeyWitness parent;
    auto* layout = new QHBoxLayout(&parent);
    QAbstractSpinBox* box = nullptr;
    if (isDouble) {
        auto* d = new VorloQtDoubleSpinBox(&parent);
        d->setRange(0, 1000);
        d->setDecimals(2);
        d->setValue(12.5);
        box = d;
    } else {
        auto* s = new VorloQtSpinBox(&parent);
        s->setRange(0, 1000);
        s->setValue(12);
        box = s;
    }
    layout->addWidget(box);
    showAndFocus(&parent, box);
    const QString before = box->text();

    QLineEdit* line = child<QLineEdit>(box);
    line->selectAll();
    QTest::keyClicks(box, "987");
    QCOMPARE(box->text(), QStringLiteral("987"));

    QTest::keyClick(box, Qt::Key_Escape);
    QCOMPARE(box->text(), before);
    // The key stopped in the spin box: a delegate above would have closed the editor.
    QVERIFY(!parent.keys.contains(Qt::Key_Escape));
    QVERIFY(box->isVisible());
}

void TestSpinBoxes::returnAndEnterAreSwallowed_data()
{
    QTest::addColumn<bool>("isDouble");
    QTest::addColumn<int>("key");
    QTest::newRow("VorloQtSpinBox Return") << false << int(Qt::Key_Return);
    QTest::newRow("VorloQtSpinBox Enter") << false << int(Qt::Key_Enter);
    QTest::newRow("VorloQtDoubleSpinBox Return") << true << int(Qt::Key_Return);
    QTest::newRow("VorloQtDoubleSpinBox Enter") << true << int(Qt::Key_Enter);
}

void TestSpinBoxes::returnAndEnterAreSwallowed()
{
    QFETCH(bool, isDouble);
    QFETCH(int, key);
    KeyWitness parent;
    auto* layout = new QHBoxLayout(&parent);
    QAbstractSpinBox* box = isDouble ? static_cast<QAbstractSpinBox*>(new VorloQtDoubleSpinBox(&parent))
                                     : static_cast<QAbstractSpinBox*>(new VorloQtSpinBox(&parent));
    layout->addWidget(box);
    showAndFocus(&parent, box);
    QSignalSpy finished(box, &QAbstractSpinBox::editingFinished);
    QVERIFY(finished.isValid());

    QTest::keyClick(box, Qt::Key(key));
    QVERIFY(!parent.keys.contains(key));
    QCOMPARE(finished.count(), 1);
}

void TestSpinBoxes::pageUpMovesByPageStepTimesSingleStep()
{
    VorloQtSpinBox box;
    box.setRange(0, 1000);
    box.setSingleStep(5);
    box.setValue(100);
    QCOMPARE(box.pageStep(), 10);
    QSignalSpy finished(&box, &QAbstractSpinBox::editingFinished);

    QTest::keyClick(&box, Qt::Key_PageUp);
    QCOMPARE(box.value(), 150);
    QCOMPARE(finished.count(), 1);

    // The page flag is used up: the next arrow key is a single step again.
    QTest::keyClick(&box, Qt::Key_Up);
    QCOMPARE(box.value(), 155);
}

void TestSpinBoxes::pageDownMovesBackByPageStepTimesSingleStep()
{
    VorloQtSpinBox box;
    box.setRange(0, 1000);
    box.setSingleStep(2);
    box.setPageStep(7);
    box.setValue(100);
    QTest::keyClick(&box, Qt::Key_PageDown);
    QCOMPARE(box.value(), 86);
}

void TestSpinBoxes::arrowStepCommitsAtOnce()
{
    VorloQtSpinBox box;
    box.setRange(0, 10);
    QSignalSpy finished(&box, &QAbstractSpinBox::editingFinished);
    QTest::keyClick(&box, Qt::Key_Up);
    QCOMPARE(box.value(), 1);
    QCOMPARE(finished.count(), 1);
    box.stepBy(3);
    QCOMPARE(box.value(), 4);
    QCOMPARE(finished.count(), 2);
}

void TestSpinBoxes::doubleSpinBoxStepOnlyReportsTheStep_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("steps");
    QTest::newRow("Up") << int(Qt::Key_Up) << 1;
    QTest::newRow("Down") << int(Qt::Key_Down) << -1;
    QTest::newRow("PageUp") << int(Qt::Key_PageUp) << 10;
    QTest::newRow("PageDown") << int(Qt::Key_PageDown) << -10;
}

void TestSpinBoxes::doubleSpinBoxStepOnlyReportsTheStep()
{
    QFETCH(int, key);
    QFETCH(int, steps);
    VorloQtDoubleSpinBox box;
    box.setRange(-100, 100);
    box.setValue(1.5);
    QSignalSpy stepped(&box, &VorloQtDoubleSpinBox::stepTriggered);
    QVERIFY(stepped.isValid());
    QTest::keyClick(&box, Qt::Key(key));
    QCOMPARE(stepped.count(), 1);
    QCOMPARE(stepped.at(0).at(0).toInt(), steps);
    QCOMPARE(box.value(), 1.5);
}

void TestSpinBoxes::doubleSpinBoxTextUsesDecimals()
{
    VorloQtDoubleSpinBox box;
    box.setLocale(QLocale::c());
    box.setRange(0, 100000);
    box.setDecimals(3);
    box.setValue(12345.5);
    QCOMPARE(box.text(), QStringLiteral("12345.500"));
}

void TestSpinBoxes::eventCatcherReportsFocus()
{
    QWidget top;
    auto* layout = new QHBoxLayout(&top);
    auto* a = new QLineEdit(&top);
    auto* b = new QLineEdit(&top);
    layout->addWidget(a);
    layout->addWidget(b);
    SpinBoxEventCatcher catcher;
    b->installEventFilter(&catcher);
    QSignalSpy focus(&catcher, &SpinBoxEventCatcher::focusEvent);
    QVERIFY(focus.isValid());
    showAndFocus(&top, a);
    focus.clear();

    b->setFocus(Qt::TabFocusReason);
    QTRY_COMPARE(focus.count(), 1);
    QCOMPARE(focus.at(0).at(0).toBool(), true);
    a->setFocus(Qt::TabFocusReason);
    QTRY_COMPARE(focus.count(), 2);
    QCOMPARE(focus.at(1).at(0).toBool(), false);
    // The events go on to the watched widget.
    QVERIFY(a->hasFocus());
}

// ---------------------------------------------------------------- ComboSlider

void TestSpinBoxes::comboSliderSetValueRoundsDownOntoStepGridSilently()
{
    ComboSlider slider;
    slider.setRangeAndStep(0, 10, 3);
    QSignalSpy changed(&slider, &ComboSlider::valueChanged);
    slider.setValue(10);
    QCOMPARE(slider.value(), 9);
    QCOMPARE(child<VorloQtSpinBox>(&slider)->value(), 9);
    QCOMPARE(changed.count(), 0);
}

void TestSpinBoxes::comboSliderTypedValueRoundsDownAndEmitsOnce()
{
    QWidget top;
    auto* layout = new QHBoxLayout(&top);
    auto* other = new QLineEdit(&top);
    auto* slider = new ComboSlider(&top);
    layout->addWidget(slider);
    layout->addWidget(other);
    slider->setRangeAndStep(0, 10, 3);
    slider->setValue(3);
    auto* spin = child<VorloQtSpinBox>(slider);
    showAndFocus(&top, spin);
    QSignalSpy changed(slider, &ComboSlider::valueChanged);

    child<QLineEdit>(spin)->selectAll();
    QTest::keyClicks(spin, "10");
    other->setFocus(Qt::TabFocusReason); // the person leaves the box
    QTRY_VERIFY(!spin->hasFocus());

    QCOMPARE(spin->value(), 9);
    QCOMPARE(slider->value(), 9);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(changed.at(0).at(0).toInt(), 9);
}

void TestSpinBoxes::comboSliderTypedValueOnCurrentPositionEmitsNothing()
{
    ComboSlider slider;
    slider.setRangeAndStep(0, 10, 3);
    slider.setValue(9);
    auto* spin = child<VorloQtSpinBox>(&slider);
    QSignalSpy changed(&slider, &ComboSlider::valueChanged);
    child<QLineEdit>(spin)->selectAll();
    QTest::keyClicks(spin, "10");
    QTest::keyClick(spin, Qt::Key_Return);
    QCOMPARE(spin->value(), 9);
    QCOMPARE(changed.count(), 0);
}

void TestSpinBoxes::comboSliderZeroStepDoesNoRounding()
{
    ComboSlider slider;
    slider.setRangeAndStep(0, 10, 0);
    QCOMPARE(slider.trimValue(7), 7);
    slider.setValue(7);
    QCOMPARE(slider.value(), 7);
    QCOMPARE(child<VorloQtSpinBox>(&slider)->value(), 7);
}

void TestSpinBoxes::comboSliderTrimValue_data()
{
    QTest::addColumn<int>("minimum");
    QTest::addColumn<int>("maximum");
    QTest::addColumn<int>("step");
    QTest::addColumn<int>("value");
    QTest::addColumn<int>("expected");
    QTest::newRow("on grid") << 0 << 10 << 3 << 6 << 6;
    QTest::newRow("between grid points rounds down") << 0 << 10 << 3 << 8 << 6;
    QTest::newRow("maximum off grid unreachable") << 0 << 10 << 3 << 10 << 9;
    QTest::newRow("above maximum clamps first") << 0 << 10 << 3 << 50 << 9;
    QTest::newRow("below minimum clamps") << 0 << 10 << 3 << -5 << 0;
    QTest::newRow("grid counted from minimum") << 1 << 20 << 4 << 8 << 5;
    QTest::newRow("negative minimum") << -7 << 7 << 5 << 0 << -2;
    QTest::newRow("step one") << -3 << 3 << 1 << 2 << 2;
    QTest::newRow("full int range") << std::numeric_limits<int>::min() << std::numeric_limits<int>::max() << 2
                                    << std::numeric_limits<int>::max() << std::numeric_limits<int>::max() - 1;
}

void TestSpinBoxes::comboSliderTrimValue()
{
    QFETCH(int, minimum);
    QFETCH(int, maximum);
    QFETCH(int, step);
    QFETCH(int, value);
    QFETCH(int, expected);
    ComboSlider slider;
    slider.setRangeAndStep(minimum, maximum, step);
    QCOMPARE(slider.trimValue(value), expected);
}

void TestSpinBoxes::comboSliderDraggingEmitsEachPosition()
{
    ComboSlider slider;
    slider.setRangeAndStep(0, 100, 5);
    slider.resize(400, 30);
    auto* qslider = child<QSlider>(&slider);
    QSignalSpy changed(&slider, &ComboSlider::valueChanged);

    // The person drags: the slider moves through positions, some off the grid.
    qslider->setSliderDown(true);
    qslider->setSliderPosition(10);
    qslider->setSliderPosition(23);
    qslider->setSliderPosition(40);
    qslider->setSliderDown(false);

    QCOMPARE(slider.value(), 40);
    QCOMPARE(child<VorloQtSpinBox>(&slider)->value(), 40);
    QList<int> emitted;
    for (const auto& args : changed)
        emitted << args.at(0).toInt();
    QCOMPARE(emitted, (QList<int>{10, 20, 40}));
}

void TestSpinBoxes::comboSliderRangeOperationsEmitNoValueChange()
{
    ComboSlider slider;
    slider.setRangeAndStep(0, 100, 1);
    slider.setValue(80);
    QSignalSpy changed(&slider, &ComboSlider::valueChanged);
    QSignalSpy range(&slider, &ComboSlider::rangeChanged);

    slider.setMaximum(50);
    QCOMPARE(slider.value(), 50);
    QCOMPARE(range.count(), 1);
    QCOMPARE(range.at(0), (QList<QVariant>{0, 50}));

    slider.setMinimum(60);
    QCOMPARE(slider.value(), 60);
    QCOMPARE(range.last(), (QList<QVariant>{60, 60}));

    slider.setRange(0, 20);
    QCOMPARE(slider.value(), 20);
    QCOMPARE(range.last(), (QList<QVariant>{0, 20}));

    slider.setRangeAndStep(5, 10, 2);
    QCOMPARE(slider.value(), 9);
    QCOMPARE(range.last(), (QList<QVariant>{5, 10}));
    QCOMPARE(range.count(), 4);
    QCOMPARE(changed.count(), 0);

    // The guard is open again afterwards: a person's move emits.
    child<QSlider>(&slider)->setValue(7);
    QCOMPARE(changed.count(), 1);
}

void TestSpinBoxes::comboSliderRangeOperationsKeepUpdateSwitchedOff()
{
    ComboSlider slider;
    slider.setRangeAndStep(0, 100, 1);
    slider.enableUpdate(false);
    QSignalSpy changed(&slider, &ComboSlider::valueChanged);
    slider.setRange(0, 50);
    slider.setValue(10);
    child<QSlider>(&slider)->setValue(30);
    QCOMPARE(slider.value(), 30);
    QCOMPARE(changed.count(), 0);
    slider.enableUpdate(true);
    child<QSlider>(&slider)->setValue(31);
    QCOMPARE(changed.count(), 1);
}

void TestSpinBoxes::comboSliderToolTip_data()
{
    QTest::addColumn<int>("step");
    QTest::addColumn<QString>("toolTip");
    QTest::newRow("step one") << 1 << "Range: -5..300";
    QTest::newRow("step five") << 5 << "Range: -5..300 (Increment: 5)";
    QTest::newRow("step zero") << 0 << "Range: -5..300 (Increment: 0)";
}

void TestSpinBoxes::comboSliderToolTip()
{
    QFETCH(int, step);
    QFETCH(QString, toolTip);
    ComboSlider slider;
    slider.setRangeAndStep(-5, 300, step);
    QCOMPARE(slider.toolTip(), toolTip);
    // Only the composite carries it.
    QVERIFY(child<QSlider>(&slider)->toolTip().isEmpty());
    QVERIFY(child<VorloQtSpinBox>(&slider)->toolTip().isEmpty());
}

void TestSpinBoxes::comboSliderPageStepReachesSpinBox()
{
    ComboSlider slider;
    slider.setRangeAndStep(0, 1000, 2);
    slider.setPageStep(25);
    QCOMPARE(slider.pageStep(), 25);
    QCOMPARE(child<QSlider>(&slider)->pageStep(), 25);
    QCOMPARE(child<VorloQtSpinBox>(&slider)->pageStep(), 25);
    QCOMPARE(slider.singleStep(), 2);
}

void TestSpinBoxes::comboSliderEditBoxHoldsTwelveDigits()
{
    ComboSlider slider;
    auto* spin = child<VorloQtSpinBox>(&slider);
    QStyleOptionSpinBox option;
    option.initFrom(spin);
    option.subControls = QStyle::SC_SpinBoxUp | QStyle::SC_SpinBoxDown | QStyle::SC_SpinBoxFrame;
    const QFontMetrics fm(spin->font());
    const int expected = spin->style()
                             ->sizeFromContents(QStyle::CT_SpinBox, &option,
                                                QSize(fm.horizontalAdvance("999999999999"), fm.height()), spin)
                             .width();
    QCOMPARE(slider.editBoxWidth(), expected);
    QCOMPARE(spin->minimumWidth(), expected);
    QVERIFY(expected > fm.horizontalAdvance("999999999999"));
    slider.setEditBoxWidth(50);
    QCOMPARE(spin->minimumWidth(), 50);
}

void TestSpinBoxes::comboSliderLayout()
{
    ComboSlider slider;
    auto* layout = qobject_cast<QHBoxLayout*>(slider.layout());
    QVERIFY(layout);
    QCOMPARE(layout->contentsMargins(), QMargins(0, 1, 0, 1));
    QCOMPARE(layout->count(), 3);
    QCOMPARE(layout->itemAt(0)->widget(), static_cast<QWidget*>(child<VorloQtSpinBox>(&slider)));
    QCOMPARE(layout->itemAt(1)->widget(), static_cast<QWidget*>(child<QSlider>(&slider)));
    QVERIFY(layout->itemAt(2)->spacerItem());
    QCOMPARE(layout->itemAt(2)->sizeHint().width(), 4);
    auto* qslider = child<QSlider>(&slider);
    QCOMPARE(qslider->orientation(), Qt::Horizontal);
    QCOMPARE(qslider->sizePolicy().horizontalPolicy(), QSizePolicy::Preferred);
    QCOMPARE(qslider->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);
    QCOMPARE(qslider->sizePolicy().horizontalStretch(), 10);
    QCOMPARE(child<VorloQtSpinBox>(&slider)->sizePolicy().horizontalPolicy(), QSizePolicy::Fixed);
    QVERIFY(!child<VorloQtSpinBox>(&slider)->isAccelerated());
}

// ---------------------------------------------------------------- DoubleComboSlider

void TestSpinBoxes::doubleComboSliderStartState()
{
    DoubleComboSlider slider;
    QCOMPARE(slider.intMinimum(), std::numeric_limits<int>::min());
    QCOMPARE(slider.intMaximum(), std::numeric_limits<int>::max());
    QCOMPARE(slider.intIncrement(), 0);
    QVERIFY(child<VorloQtDoubleSpinBox>(&slider)->isAccelerated());
    QVERIFY(slider.editBoxWidth() > 0);
    QCOMPARE(slider.layout()->contentsMargins(), QMargins(0, 1, 0, 1));
}

void TestSpinBoxes::doubleComboSliderSetMinimumBuildsToolTipFirst()
{
    DoubleComboSlider slider;
    slider.setLocale(QLocale::c());
    slider.setDecimals(1);
    slider.setRange(0.0, 10.0);
    QCOMPARE(slider.toolTip(), QStringLiteral("Range: 0.0..10.0"));
    slider.setMinimum(2.0);
    // Built before the spin box had its new minimum: the old one stays until the next rebuild.
    QCOMPARE(slider.toolTip(), QStringLiteral("Range: 0.0..10.0"));
    QCOMPARE(slider.minimum(), 2.0);
    slider.setMaximum(8.0);
    QCOMPARE(slider.toolTip(), QStringLiteral("Range: 2.0..8.0"));
    QCOMPARE(child<QSlider>(&slider)->toolTip(), slider.toolTip());
    QCOMPARE(child<VorloQtDoubleSpinBox>(&slider)->toolTip(), slider.toolTip());
}

void TestSpinBoxes::doubleComboSliderSetMaximumBuildsToolTipAfter()
{
    DoubleComboSlider slider;
    slider.setLocale(QLocale::c());
    slider.setDecimals(2);
    slider.setRange(-1.0, 1.0);
    slider.setMaximum(3.5);
    QCOMPARE(slider.toolTip(), QStringLiteral("Range: -1.00..3.50"));
}

void TestSpinBoxes::doubleComboSliderIntRangeSignals()
{
    DoubleComboSlider slider;
    QSignalSpy range(&slider, &DoubleComboSlider::rangeChanged);
    slider.setIntRange(-10, 10);
    slider.setIntMinimum(-5);
    slider.setIntMaximum(20);
    QCOMPARE(range.count(), 3);
    QCOMPARE(range.at(0), (QList<QVariant>{-10, 10}));
    QCOMPARE(range.at(1), (QList<QVariant>{-5, 10}));
    QCOMPARE(range.at(2), (QList<QVariant>{-5, 20}));
    QCOMPARE(slider.intMinimum(), -5);
    QCOMPARE(slider.intMaximum(), 20);
}

void TestSpinBoxes::doubleComboSliderStepsMoveTheSliderOnly_data()
{
    QTest::addColumn<int>("steps");
    QTest::addColumn<int>("expected");
    QTest::newRow("one up") << 1 << 104;
    QTest::newRow("three down") << -3 << 88;
    QTest::newRow("page up") << 10 << 148;
    QTest::newRow("page down") << -10 << 52;
}

void TestSpinBoxes::doubleComboSliderStepsMoveTheSliderOnly()
{
    QFETCH(int, steps);
    QFETCH(int, expected);
    DoubleComboSlider slider;
    slider.initControls(0.0, 10.0, 100, 0, 1000, 4);
    // A twentieth of the span, 50, rounded down onto the grid of 4.
    QCOMPARE(child<QSlider>(&slider)->pageStep(), 48);
    slider.setValue(5.0);
    slider.enableUpdate(false);
    slider.onSpinBoxStepTriggered(steps);
    QCOMPARE(slider.intValue(), expected);
    QCOMPARE(slider.value(), 5.0);
    QVERIFY(slider.property("intValue").toInt() == expected);
}

void TestSpinBoxes::doubleComboSliderArrowKeyMovesSlider()
{
    DoubleComboSlider slider;
    slider.initControls(0.0, 10.0, 100, 0, 1000, 4);
    slider.setValue(5.0);
    auto* spin = child<VorloQtDoubleSpinBox>(&slider);
    QTest::keyClick(spin, Qt::Key_Up);
    QCOMPARE(slider.intValue(), 104);
    QTest::keyClick(spin, Qt::Key_PageDown);
    QCOMPARE(slider.intValue(), 56);
    QCOMPARE(slider.value(), 5.0);
}

void TestSpinBoxes::doubleComboSliderTrimSliderValue_data()
{
    QTest::addColumn<int>("minimum");
    QTest::addColumn<int>("increment");
    QTest::addColumn<int>("singleStep");
    QTest::addColumn<int>("value");
    QTest::addColumn<int>("expected");
    QTest::newRow("on grid") << 0 << 4 << 4 << 8 << 8;
    QTest::newRow("rounds down from minimum") << 2 << 4 << 4 << 9 << 6;
    QTest::newRow("no clamping") << 0 << 4 << 4 << 5000 << 5000;
    QTest::newRow("zero increment passes") << 0 << 0 << 4 << 7 << 7;
    QTest::newRow("zero single step passes") << 0 << 4 << 0 << 7 << 7;
}

void TestSpinBoxes::doubleComboSliderTrimSliderValue()
{
    QFETCH(int, minimum);
    QFETCH(int, increment);
    QFETCH(int, singleStep);
    QFETCH(int, value);
    QFETCH(int, expected);
    DoubleComboSlider slider;
    slider.setIntRange(minimum, 1000);
    slider.setIntIncrement(increment);
    child<QSlider>(&slider)->setSingleStep(singleStep);
    QCOMPARE(slider.trimSliderValue(value), expected);
}

void TestSpinBoxes::doubleComboSliderPageStep_data()
{
    QTest::addColumn<int>("minimum");
    QTest::addColumn<int>("maximum");
    QTest::addColumn<int>("increment");
    QTest::addColumn<int>("pageStep");
    QTest::newRow("twentieth of the span") << 0 << 1000 << 4 << 48; // 50 rounded down onto the grid of 4
    QTest::newRow("twice the increment wins") << 0 << 100 << 10 << 20;
    QTest::newRow("counted from the minimum") << 3 << 1003 << 4 << 47; // 50 - (50 - 3) % 4
}

void TestSpinBoxes::doubleComboSliderPageStep()
{
    QFETCH(int, minimum);
    QFETCH(int, maximum);
    QFETCH(int, increment);
    QFETCH(int, pageStep);
    DoubleComboSlider slider;
    child<QSlider>(&slider)->setSingleStep(1);
    slider.setRangeStepAndIncrement(minimum, maximum, increment);
    QCOMPARE(child<QSlider>(&slider)->pageStep(), pageStep);
}

void TestSpinBoxes::doubleComboSliderInitControlsClampsValueToOldRangeFirst()
{
    DoubleComboSlider slider;
    slider.setIntRange(0, 100);
    // 500 lies outside the old range: it is clamped to 100 before the new range arrives.
    slider.initControls(1.0, 2.0, 500, 0, 1000, 1);
    QCOMPARE(slider.intValue(), 100);
    QCOMPARE(slider.intMaximum(), 1000);
    QCOMPARE(slider.minimum(), 1.0);
    QCOMPARE(slider.maximum(), 2.0);
    QCOMPARE(child<QSlider>(&slider)->singleStep(), 1);
    QCOMPARE(slider.intIncrement(), 1);
}

void TestSpinBoxes::doubleComboSliderCheckIfLimitsChanged()
{
    DoubleComboSlider slider;
    slider.setRangeStepAndIncrement(1.5, 2.5, 3);
    QVERIFY(!slider.checkIfLimitsChanged(1.5, 2.5, 3));
    QVERIFY(slider.checkIfLimitsChanged(1.5, 2.6, 3));
    QVERIFY(slider.checkIfLimitsChanged(1.4, 2.5, 3));
    QVERIFY(slider.checkIfLimitsChanged(1.5, 2.5, 4));
    slider.setRangeStepAndIncrement(-10, 10, 3);
    QVERIFY(!slider.checkIfLimitsChanged(-10, 10, 3));
    QVERIFY(slider.checkIfLimitsChanged(-10, 11, 3));
    QVERIFY(slider.checkIfLimitsChanged(-9, 10, 3));
    QVERIFY(slider.checkIfLimitsChanged(-10, 10, 2));
}

void TestSpinBoxes::doubleComboSliderFocusGuard()
{
    QWidget top;
    auto* layout = new QHBoxLayout(&top);
    auto* other = new QLineEdit(&top);
    auto* slider = new ProbeDoubleComboSlider(&top);
    layout->addWidget(other);
    layout->addWidget(slider);
    QVERIFY(!slider->spinBoxHasFocus());
    QVERIFY(!slider->updateEnabled());
    showAndFocus(&top, other);

    auto* spin = child<VorloQtDoubleSpinBox>(slider);
    spin->setFocus(Qt::MouseFocusReason);
    QTRY_VERIFY(slider->spinBoxHasFocus());
    QVERIFY(!slider->updateEnabled());

    // A step opens the guard while the focus stays.
    slider->onSpinBoxStepTriggered(1);
    QVERIFY(slider->spinBoxHasFocus());
    QVERIFY(slider->updateEnabled());
    slider->enableUpdate(false);
    QVERIFY(!slider->updateEnabled());

    other->setFocus(Qt::MouseFocusReason);
    QTRY_VERIFY(!slider->spinBoxHasFocus());
    QVERIFY(slider->updateEnabled());
}

// ---------------------------------------------------------------- DoubleSpinBox

void TestSpinBoxes::doubleSpinBoxStartState()
{
    DoubleSpinBox box(nullptr, GenApi::Linear);
    QCOMPARE(box.minimum(), std::numeric_limits<double>::lowest());
    QCOMPARE(box.maximum(), std::numeric_limits<double>::max());
    QCOMPARE(box.increment(), 0.0);
    QCOMPARE(box.editBoxWidth(), 0);
    QCOMPARE(box.contentsMargins(), QMargins(1, 0, 1, 0));
    QCOMPARE(box.layout()->contentsMargins(), QMargins(0, 0, 0, 0));
    auto* spin = child<VorloQtDoubleSpinBox>(&box);
    QVERIFY(spin->isAccelerated());
    QCOMPARE(spin->buttonSymbols(), QAbstractSpinBox::UpDownArrows);
}

void TestSpinBoxes::doubleSpinBoxPureNumberHasNoButtons()
{
    DoubleSpinBox box(nullptr, GenApi::PureNumber);
    QCOMPARE(child<VorloQtDoubleSpinBox>(&box)->buttonSymbols(), QAbstractSpinBox::NoButtons);
}

void TestSpinBoxes::doubleSpinBoxToolTipHidesIncrementBelowDecimals()
{
    DoubleSpinBox box(nullptr, GenApi::Linear);
    box.setLocale(QLocale::c());
    box.setDecimals(2);
    box.setRangeStepAndIncrement(0.0, 10.0, 0.001);
    box.updateToolTip();
    QCOMPARE(box.toolTip(), QStringLiteral("Range: 0.00..10.00"));
    QCOMPARE(child<VorloQtDoubleSpinBox>(&box)->toolTip(), box.toolTip());
}

void TestSpinBoxes::doubleSpinBoxToolTip_data()
{
    QTest::addColumn<QLocale>("locale");
    QTest::addColumn<int>("decimals");
    QTest::addColumn<double>("increment");
    QTest::addColumn<QString>("toolTip");
    QTest::newRow("increment shown") << QLocale::c() << 2 << 0.25 << "Range: 0.00..10.00 (Increment: 0.25)";
    QTest::newRow("zero increment") << QLocale::c() << 1 << 0.0 << "Range: 0.0..10.0";
    QTest::newRow("decimal comma hides increment")
        << QLocale(QLocale::German, QLocale::Germany) << 2 << 0.25 << "Range: 0,00..10,00";
    QTest::newRow("whole increment under a decimal comma")
        << QLocale(QLocale::German, QLocale::Germany) << 0 << 2.0 << "Range: 0..10 (Increment: 2)";
}

void TestSpinBoxes::doubleSpinBoxToolTip()
{
    QFETCH(QLocale, locale);
    QFETCH(int, decimals);
    QFETCH(double, increment);
    QFETCH(QString, toolTip);
    DoubleSpinBox box(nullptr, GenApi::Linear);
    box.setLocale(locale);
    box.setDecimals(decimals);
    box.setRangeStepAndIncrement(0.0, 10.0, increment);
    box.updateToolTip();
    QCOMPARE(box.toolTip(), toolTip);
}

void TestSpinBoxes::doubleSpinBoxZeroIncrementRemovesButtonsForGood()
{
    DoubleSpinBox box(nullptr, GenApi::Linear);
    auto* spin = child<VorloQtDoubleSpinBox>(&box);
    box.setRangeStepAndIncrement(0.0, 10.0, 0.5);
    QCOMPARE(spin->buttonSymbols(), QAbstractSpinBox::UpDownArrows);
    box.setRangeStepAndIncrement(0.0, 10.0, 0.0);
    QCOMPARE(spin->buttonSymbols(), QAbstractSpinBox::NoButtons);
    box.setRangeStepAndIncrement(0.0, 10.0, 0.5);
    QCOMPARE(spin->buttonSymbols(), QAbstractSpinBox::NoButtons);
    box.initControls(0.0, 20.0, 3.0, 1.0);
    QCOMPARE(spin->buttonSymbols(), QAbstractSpinBox::NoButtons);
}

void TestSpinBoxes::doubleSpinBoxPageStep()
{
    DoubleSpinBox box(nullptr, GenApi::Linear);
    auto* spin = child<VorloQtDoubleSpinBox>(&box);
    box.setRangeStepAndIncrement(0.0, 100.0, 1.0);
    QCOMPARE(spin->pageStep(), 5.0);
    box.setRangeStepAndIncrement(0.0, 100.0, 4.0);
    QCOMPARE(spin->pageStep(), 8.0);
}

void TestSpinBoxes::doubleSpinBoxSetMinimumKeepsRangeLimit()
{
    DoubleSpinBox box(nullptr, GenApi::Linear);
    box.setRangeStepAndIncrement(0.0, 100.0, 1.0);
    box.setMinimum(10.0);
    box.setMaximum(50.0);
    QCOMPARE(box.minimum(), 10.0);
    QCOMPARE(box.maximum(), 50.0);
    // The limits used for the change check stay those of the last setRange.
    QVERIFY(!box.checkIfLimitsChanged(0.0, 100.0, 1.0));
}

void TestSpinBoxes::doubleSpinBoxCheckIfLimitsChanged()
{
    DoubleSpinBox box(nullptr, GenApi::Linear);
    box.initControls(-1.0, 1.0, 0.5, 0.1);
    QCOMPARE(child<VorloQtDoubleSpinBox>(&box)->value(), 0.5);
    QVERIFY(!box.checkIfLimitsChanged(-1.0, 1.0, 0.1));
    QVERIFY(box.checkIfLimitsChanged(-1.0, 1.5, 0.1));
    QVERIFY(box.checkIfLimitsChanged(-2.0, 1.0, 0.1));
    QVERIFY(box.checkIfLimitsChanged(-1.0, 1.0, 0.2));
}

void TestSpinBoxes::doubleSpinBoxFocusGuard()
{
    QWidget top;
    auto* layout = new QHBoxLayout(&top);
    auto* other = new QLineEdit(&top);
    auto* box = new ProbeDoubleSpinBox(&top, GenApi::Linear);
    layout->addWidget(other);
    layout->addWidget(box);
    QVERIFY(!box->spinBoxHasFocus());
    QVERIFY(!box->updateEnabled());
    showAndFocus(&top, other);
    auto* spin = child<VorloQtDoubleSpinBox>(box);

    spin->setFocus(Qt::TabFocusReason);
    QTRY_VERIFY(box->spinBoxHasFocus());
    QVERIFY(!box->updateEnabled());
    box->enableUpdate(true);
    QVERIFY(box->spinBoxHasFocus());
    QVERIFY(box->updateEnabled());

    other->setFocus(Qt::TabFocusReason);
    QTRY_VERIFY(!box->spinBoxHasFocus());
    QVERIFY(box->updateEnabled());
}

void TestSpinBoxes::doubleSpinBoxEscapeKeepsParentOpen()
{
    KeyWitness top;
    auto* layout = new QHBoxLayout(&top);
    auto* box = new DoubleSpinBox(&top, GenApi::Linear);
    layout->addWidget(box);
    box->setLocale(QLocale::c());
    box->setDecimals(1);
    box->initControls(0.0, 100.0, 4.5, 0.5);
    auto* spin = child<VorloQtDoubleSpinBox>(box);
    showAndFocus(&top, spin);
    child<QLineEdit>(spin)->selectAll();
    QTest::keyClicks(spin, "77");
    QCOMPARE(spin->text(), QStringLiteral("77"));
    QTest::keyClick(spin, Qt::Key_Escape);
    QCOMPARE(spin->text(), QStringLiteral("4.5"));
    QVERIFY(!top.keys.contains(Qt::Key_Escape));
}

QTEST_MAIN(TestSpinBoxes)
#include "tst_spinboxes.moc"
