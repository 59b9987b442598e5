// The two limit editors: the device link throughput limit editor and the inter-packet delay
// limiter, on node maps written in the test.
#include <QtTest>

#include "bandwidthtestsupport.h"

#include <VorloQtWidgets/bandwidthlimiterinterpacketdelay.h>
#include <VorloQtWidgets/devicelinkthroughputlimiteditor.h>

#include <VorloQtBase/exceptiondisplay.h>

#include <QAbstractSpinBox>
#include <QSlider>
#include <QSpinBox>

#include <memory>

using namespace BandwidthTest;

namespace {

QString limitNodes(qint64 value, qint64 min, qint64 max, qint64 inc, const char* modeAccess = "RW",
                   const char* limitAccess = "RW", bool withSelector = true)
{
    QString xml;
    if (withSelector)
        xml += integer("DeviceLinkSelector", 2, 1, 3, 1);
    xml += QStringLiteral("<Enumeration Name=\"DeviceLinkThroughputLimitMode\">"
                          "<ImposedAccessMode>%1</ImposedAccessMode>"
                          "<EnumEntry Name=\"Off\"><Value>0</Value></EnumEntry>"
                          "<EnumEntry Name=\"On\"><Value>1</Value></EnumEntry>"
                          "<Value>0</Value></Enumeration>\n")
               .arg(QLatin1String(modeAccess));
    xml += integer("DeviceLinkThroughputLimit", value, min, max, inc, limitAccess);
    return xml;
}

QString gigeNodes(qint64 bandwidthAssigned, qint64 scpdMin = 0, qint64 scpdMax = 4000000, const QString& extra = QString())
{
    return integer("GevSCPD", 0, scpdMin, scpdMax, 1) + integer("GevSCBWA", bandwidthAssigned, 0, 4000000000LL, 1, "RO")
           + extra;
}

QSlider* sliderOf(QWidget* editor)
{
    return editor->findChild<QSlider*>();
}

QSpinBox* spinBoxOf(QWidget* editor)
{
    return editor->findChild<QSpinBox*>();
}

// A person moves the slider: the editor reports it as a change.
void moveSlider(QWidget* editor, int position)
{
    sliderOf(editor)->setValue(position);
}

QString modeAccess(const NodeMap& map)
{
    return map.node("DeviceLinkThroughputLimitMode")->GetAccessMode() == GenApi::RW ? QStringLiteral("RW")
                                                                                     : QStringLiteral("not RW");
}

QString exceptionText(const std::function<void()>& body)
{
    try {
        body();
    } catch (const GenICam::GenericException& e) {
        return QString::fromUtf8(e.GetDescription());
    }
    return QString();
}

} // namespace

class tst_BandwidthLimitEditors : public QObject
{
    Q_OBJECT

private slots:
    // Device link throughput limit editor
    void throughputIsSupported_data();
    void throughputIsSupported();
    void throughputRangeOf10To125MegabytesShows10To125Step1();
    void throughputIncrementBelowOneMegabyteGivesStep1AndClampAlignsToGrid();
    void throughputNodeMinimumZeroGivesSliderMinimumOne();
    void throughputLimitRoundsToNearestMegabyte_data();
    void throughputLimitRoundsToNearestMegabyte();
    void throughputLimitAboveIntRangeRaisesIntegralCastFromConstructor();
    void throughputClosingWithSavedModeGivesWriteAccessBackAndValueStays();
    void throughputConstructorSwitchesLimitOnSelectsFirstLinkAndLocksMode();
    void throughputModeNotWritableIsPassedOver();
    void throughputMissingSelectorRaisesNullPointer();
    void throughputSliderMoveWritesAndNodeChangeMovesSlider();
    void throughputEditorSurvivesNodeMapDeath();

    // Inter-packet delay limiter
    void interPacketIsSupported_data();
    void interPacketIsSupported();
    void interPacketWorkedCaseAtHalfWritesDelay1481();
    void interPacketSliderAt98OrAboveWritesZeroOrMinimum_data();
    void interPacketSliderAt98OrAboveWritesZeroOrMinimum();
    void interPacketSliderAt1GivesLargestDelayHeldToMaximum();
    void interPacketDefaultLinkSpeedOnlyWhenNodeMissingOrUnreadable_data();
    void interPacketDefaultLinkSpeedOnlyWhenNodeMissingOrUnreadable();
    void interPacketBandwidthAbove250WidensSpinBoxRange();
    void interPacketSetRangeAndStepKeeps1To100Step1();
    void interPacketInitialPositionFromWholeMegabytesWritesNothing();
    void interPacketWithoutBandwidthAssignedRaisesNullPointer();
    void interPacketSpinBoxIsReadOnlyAndDoesNotFeedBack();

private:
    VorloQtBase::ExceptionRecorder m_recorder; // no message box may block a test
};

void tst_BandwidthLimitEditors::throughputIsSupported_data()
{
    QTest::addColumn<QString>("access");
    QTest::addColumn<bool>("supported");
    QTest::newRow("RW") << "RW" << true;
    QTest::newRow("WO") << "WO" << true;
    QTest::newRow("RO is not enough") << "RO" << false;
}

void tst_BandwidthLimitEditors::throughputIsSupported()
{
    QFETCH(QString, access);
    QFETCH(bool, supported);
    NodeMap map(limitNodes(50000000, 10000000, 125000000, 1, "RW", access.toLatin1().constData()));
    QCOMPARE(DeviceLinkThroughputLimitEditor::isSupported(map.map()), supported);
    QVERIFY(!DeviceLinkThroughputLimitEditor::isSupported(nullptr));
    NodeMap without(integer("Other", 1));
    QVERIFY(!DeviceLinkThroughputLimitEditor::isSupported(without.map()));
}

void tst_BandwidthLimitEditors::throughputRangeOf10To125MegabytesShows10To125Step1()
{
    NodeMap map(limitNodes(50000000, 10000000, 125000000, 1));
    DeviceLinkThroughputLimitEditor editor(map.map(), nullptr);
    QCOMPARE(editor.minimum(), 10);
    QCOMPARE(editor.maximum(), 125);
    QCOMPARE(editor.singleStep(), 1);
    QCOMPARE(editor.ComboSlider::value(), 50);
    QCOMPARE(editor.value(), 50000000);
}

void tst_BandwidthLimitEditors::throughputIncrementBelowOneMegabyteGivesStep1AndClampAlignsToGrid()
{
    NodeMap map(limitNodes(10000000, 10000000, 125000000, 300000));
    DeviceLinkThroughputLimitEditor editor(map.map(), nullptr);
    QCOMPARE(editor.singleStep(), 1);
    moveSlider(&editor, 11);
    // 11 MB/s lies off the node's grid of 300000 from 10 MB/s: the write takes the grid point below.
    QCOMPARE(getInteger(map.map(), "DeviceLinkThroughputLimit"), int64_t(10900000));
    // The node's echo puts the slider on the rounded position, which is where it already is.
    QCOMPARE(editor.ComboSlider::value(), 11);
}

void tst_BandwidthLimitEditors::throughputNodeMinimumZeroGivesSliderMinimumOne()
{
    NodeMap map(limitNodes(5000000, 0, 125000000, 1));
    DeviceLinkThroughputLimitEditor editor(map.map(), nullptr);
    QCOMPARE(editor.minimum(), 1);
    editor.setValue(0);
    QCOMPARE(editor.ComboSlider::value(), 1);
}

void tst_BandwidthLimitEditors::throughputLimitRoundsToNearestMegabyte_data()
{
    QTest::addColumn<qint64>("limit");
    QTest::addColumn<int>("shown");
    QTest::newRow("just below 1.5 MB/s shows 1") << qint64(1499999) << 1;
    QTest::newRow("exactly 1.5 MB/s shows 2") << qint64(1500000) << 2;
    QTest::newRow("2.4 MB/s shows 2") << qint64(2400000) << 2;
}

void tst_BandwidthLimitEditors::throughputLimitRoundsToNearestMegabyte()
{
    QFETCH(qint64, limit);
    QFETCH(int, shown);
    NodeMap map(limitNodes(limit, 1000000, 125000000, 1));
    DeviceLinkThroughputLimitEditor editor(map.map(), nullptr);
    QCOMPARE(editor.ComboSlider::value(), shown);
    // Showing wrote nothing back.
    QCOMPARE(getInteger(map.map(), "DeviceLinkThroughputLimit"), int64_t(limit));
}

void tst_BandwidthLimitEditors::throughputLimitAboveIntRangeRaisesIntegralCastFromConstructor()
{
    // A limit node whose value and maximum exceed the int range.
    NodeMap big(limitNodes(3000000000LL, 10000000, 4000000000LL, 1));
    const QString text = exceptionText([&] { DeviceLinkThroughputLimitEditor editor(big.map(), nullptr); });
    QCOMPARE(text, QStringLiteral("INTEGRAL_CAST failed"));
    // The failed construction left no lock behind.
    QCOMPARE(modeAccess(big), QStringLiteral("RW"));
}

void tst_BandwidthLimitEditors::throughputClosingWithSavedModeGivesWriteAccessBackAndValueStays()
{
    NodeMap map(limitNodes(50000000, 10000000, 125000000, 1));
    DeviceLinkThroughputLimitEditor editor(map.map(), nullptr);
    QCOMPARE(modeAccess(map), QStringLiteral("not RW"));
    moveSlider(&editor, 30);
    QCOMPARE(getInteger(map.map(), "DeviceLinkThroughputLimit"), int64_t(30000000));
    editor.onEditorClosed();
    QCOMPARE(modeAccess(map), QStringLiteral("RW"));
    QCOMPARE(getEnum(map.map(), "DeviceLinkThroughputLimitMode"), QStringLiteral("On"));
    QCOMPARE(getInteger(map.map(), "DeviceLinkThroughputLimit"), int64_t(30000000));
    // Closed: the slider no longer writes, and a second close is harmless.
    moveSlider(&editor, 40);
    QCOMPARE(getInteger(map.map(), "DeviceLinkThroughputLimit"), int64_t(30000000));
    editor.onEditorClosed();
    QCOMPARE(modeAccess(map), QStringLiteral("RW"));
}

void tst_BandwidthLimitEditors::throughputConstructorSwitchesLimitOnSelectsFirstLinkAndLocksMode()
{
    NodeMap map(limitNodes(50000000, 10000000, 125000000, 1));
    QCOMPARE(getInteger(map.map(), "DeviceLinkSelector"), int64_t(2));
    {
        DeviceLinkThroughputLimitEditor editor(map.map(), nullptr);
        QCOMPARE(getInteger(map.map(), "DeviceLinkSelector"), int64_t(1));
        QCOMPARE(getEnum(map.map(), "DeviceLinkThroughputLimitMode"), QStringLiteral("On"));
        QCOMPARE(map.node("DeviceLinkThroughputLimitMode")->GetAccessMode(), GenApi::RO);
        QCOMPARE(editor.value(), 50000000);
    }
    // The destructor lifts the lock.
    QCOMPARE(modeAccess(map), QStringLiteral("RW"));
}

void tst_BandwidthLimitEditors::throughputModeNotWritableIsPassedOver()
{
    NodeMap map(limitNodes(50000000, 10000000, 125000000, 1, "RO"));
    DeviceLinkThroughputLimitEditor editor(map.map(), nullptr);
    QCOMPARE(getEnum(map.map(), "DeviceLinkThroughputLimitMode"), QStringLiteral("Off"));
    QCOMPARE(editor.ComboSlider::value(), 50);
    moveSlider(&editor, 60);
    QCOMPARE(getInteger(map.map(), "DeviceLinkThroughputLimit"), int64_t(60000000));
    editor.onEditorClosed();
    QCOMPARE(map.node("DeviceLinkThroughputLimitMode")->GetAccessMode(), GenApi::RO);
}

void tst_BandwidthLimitEditors::throughputMissingSelectorRaisesNullPointer()
{
    NodeMap map(limitNodes(50000000, 10000000, 125000000, 1, "RW", "RW", false));
    QVERIFY(DeviceLinkThroughputLimitEditor::isSupported(map.map()));
    const QString text = exceptionText([&] { DeviceLinkThroughputLimitEditor editor(map.map(), nullptr); });
    QCOMPARE(text, QStringLiteral("NULL pointer dereferenced"));
}

void tst_BandwidthLimitEditors::throughputSliderMoveWritesAndNodeChangeMovesSlider()
{
    NodeMap map(limitNodes(50000000, 10000000, 125000000, 1));
    DeviceLinkThroughputLimitEditor editor(map.map(), nullptr);
    QSignalSpy spy(&editor, &ComboSlider::valueChanged);
    moveSlider(&editor, 80);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(getInteger(map.map(), "DeviceLinkThroughputLimit"), int64_t(80000000));
    // A change made elsewhere reaches the slider through the callback, without a write back.
    setInteger(map.map(), "DeviceLinkThroughputLimit", 20000000);
    QCOMPARE(editor.ComboSlider::value(), 20);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(getInteger(map.map(), "DeviceLinkThroughputLimit"), int64_t(20000000));
}

void tst_BandwidthLimitEditors::throughputEditorSurvivesNodeMapDeath()
{
    auto map = std::make_unique<NodeMap>(limitNodes(50000000, 10000000, 125000000, 1, "RW", "RW"));
    // Without a saved mode nothing needs the mode node at close.
    auto unlocked = std::make_unique<NodeMap>(limitNodes(50000000, 10000000, 125000000, 1, "RO"));
    auto editor = std::make_unique<DeviceLinkThroughputLimitEditor>(unlocked->map(), nullptr);
    unlocked->destroy();
    editor->onEditorClosed();
    editor.reset();
    // With a saved mode the close of a dead map raises, and the destructor catches it.
    auto editor2 = std::make_unique<DeviceLinkThroughputLimitEditor>(map->map(), nullptr);
    map->destroy();
    QCOMPARE(exceptionText([&] { editor2->onEditorClosed(); }), QStringLiteral("NULL pointer dereferenced"));
    editor2.reset();
}

void tst_BandwidthLimitEditors::interPacketIsSupported_data()
{
    QTest::addColumn<QString>("access");
    QTest::addColumn<bool>("supported");
    QTest::newRow("RW") << "RW" << true;
    QTest::newRow("WO") << "WO" << true;
    QTest::newRow("readable alone is not enough") << "RO" << false;
}

void tst_BandwidthLimitEditors::interPacketIsSupported()
{
    QFETCH(QString, access);
    QFETCH(bool, supported);
    NodeMap map(integer("GevSCPD", 0, 0, 1000, 1, access.toLatin1().constData()));
    QCOMPARE(BandwidthLimiterInterPacketDelay::isSupported(map.map()), supported);
    QVERIFY(!BandwidthLimiterInterPacketDelay::isSupported(nullptr));
}

void tst_BandwidthLimitEditors::interPacketWorkedCaseAtHalfWritesDelay1481()
{
    NodeMap map(gigeNodes(125000000));
    BandwidthLimiterInterPacketDelay editor(map.map(), nullptr);
    moveSlider(&editor, 50);
    QCOMPARE(getInteger(map.map(), "GevSCPD"), int64_t(1481));
    QCOMPARE(editor.value(), 50);
}

void tst_BandwidthLimitEditors::interPacketSliderAt98OrAboveWritesZeroOrMinimum_data()
{
    QTest::addColumn<int>("position");
    QTest::addColumn<qint64>("minimum");
    QTest::addColumn<qint64>("expected");
    QTest::newRow("98, minimum 0") << 98 << qint64(0) << qint64(0);
    QTest::newRow("100, minimum 0") << 100 << qint64(0) << qint64(0);
    QTest::newRow("99, minimum 20") << 99 << qint64(20) << qint64(20);
    QTest::newRow("97 still delays") << 97 << qint64(0) << qint64(-1);
}

void tst_BandwidthLimitEditors::interPacketSliderAt98OrAboveWritesZeroOrMinimum()
{
    QFETCH(int, position);
    QFETCH(qint64, minimum);
    QFETCH(qint64, expected);
    NodeMap map(integer("GevSCPD", 500, minimum, 4000000, 1) + integer("GevSCBWA", 50000000, 0, 4000000000LL, 1, "RO"));
    BandwidthLimiterInterPacketDelay editor(map.map(), nullptr);
    moveSlider(&editor, position);
    if (expected >= 0)
        QCOMPARE(getInteger(map.map(), "GevSCPD"), int64_t(expected));
    else
        QVERIFY(getInteger(map.map(), "GevSCPD") > 0);
}

void tst_BandwidthLimitEditors::interPacketSliderAt1GivesLargestDelayHeldToMaximum()
{
    NodeMap unbounded(gigeNodes(125000000, 0, 4000000));
    BandwidthLimiterInterPacketDelay free(unbounded.map(), nullptr);
    moveSlider(&free, 1);
    const int64_t largest = getInteger(unbounded.map(), "GevSCPD");
    moveSlider(&free, 2);
    QVERIFY(getInteger(unbounded.map(), "GevSCPD") < largest);
    QVERIFY(largest > 100000);

    NodeMap bounded(gigeNodes(125000000, 0, 50000));
    BandwidthLimiterInterPacketDelay held(bounded.map(), nullptr);
    moveSlider(&held, 1);
    QCOMPARE(getInteger(bounded.map(), "GevSCPD"), int64_t(50000));
}

void tst_BandwidthLimitEditors::interPacketDefaultLinkSpeedOnlyWhenNodeMissingOrUnreadable_data()
{
    QTest::addColumn<QString>("linkSpeedNode");
    QTest::addColumn<qint64>("expectedDelay");
    // At 50 %: 1481 ticks with the default 1000 Mbit/s.
    QTest::newRow("missing: default") << QString() << qint64(1481);
    QTest::newRow("unreadable: default") << integer("GevLinkSpeed", 100, 0, 100000, 1, "WO") << qint64(1481);
    QTest::newRow("readable 1000") << integer("GevLinkSpeed", 1000) << qint64(1481);
    QTest::newRow("readable 100") << integer("GevLinkSpeed", 100) << qint64(14812);
    // 8 Mbit/s is the smallest speed that the placing of the slider survives: it divides by speed / 8.
    QTest::newRow("readable 8, smallest survivable") << integer("GevLinkSpeed", 8) << qint64(184128);
}

void tst_BandwidthLimitEditors::interPacketDefaultLinkSpeedOnlyWhenNodeMissingOrUnreadable()
{
    QFETCH(QString, linkSpeedNode);
    QFETCH(qint64, expectedDelay);
    NodeMap map(gigeNodes(1000000, 0, 4000000, linkSpeedNode));
    BandwidthLimiterInterPacketDelay editor(map.map(), nullptr);
    moveSlider(&editor, 50);
    QVERIFY2(std::llabs(getInteger(map.map(), "GevSCPD") - expectedDelay) <= 1,
             qPrintable(QString::number(getInteger(map.map(), "GevSCPD"))));
}

void tst_BandwidthLimitEditors::interPacketBandwidthAbove250WidensSpinBoxRange()
{
    NodeMap small(gigeNodes(100000000));
    BandwidthLimiterInterPacketDelay normal(small.map(), nullptr);
    QCOMPARE(spinBoxOf(&normal)->maximum(), 250);
    QCOMPARE(spinBoxOf(&normal)->minimum(), 0);
    QCOMPARE(spinBoxOf(&normal)->value(), 100);

    NodeMap large(gigeNodes(300500000));
    BandwidthLimiterInterPacketDelay wide(large.map(), nullptr);
    QCOMPARE(spinBoxOf(&wide)->maximum(), 301);
    QCOMPARE(spinBoxOf(&wide)->value(), 300);
}

void tst_BandwidthLimitEditors::interPacketSetRangeAndStepKeeps1To100Step1()
{
    NodeMap map(gigeNodes(100000000));
    BandwidthLimiterInterPacketDelay editor(map.map(), nullptr);
    editor.setRangeAndStep(5, 50, 5);
    QCOMPARE(editor.minimum(), 1);
    QCOMPARE(editor.maximum(), 100);
    QCOMPARE(editor.singleStep(), 1);
}

void tst_BandwidthLimitEditors::interPacketInitialPositionFromWholeMegabytesWritesNothing()
{
    // 62.9 MB/s assigned: whole megabytes give 62, and 62 * 100 / 125 = 49 %.
    NodeMap map(integer("GevSCPD", 1234, 0, 4000000, 1) + integer("GevSCBWA", 62900000, 0, 4000000000LL, 1, "RO"));
    BandwidthLimiterInterPacketDelay editor(map.map(), nullptr);
    QCOMPARE(editor.value(), 49);
    QCOMPARE(getInteger(map.map(), "GevSCPD"), int64_t(1234));
    QCOMPARE(editor.toolTip(), QStringLiteral("MB/s"));
}

void tst_BandwidthLimitEditors::interPacketWithoutBandwidthAssignedRaisesNullPointer()
{
    NodeMap map(integer("GevSCPD", 0, 0, 4000000, 1));
    QVERIFY(BandwidthLimiterInterPacketDelay::isSupported(map.map()));
    const QString text = exceptionText([&] { BandwidthLimiterInterPacketDelay editor(map.map(), nullptr); });
    QCOMPARE(text, QStringLiteral("NULL pointer dereferenced"));
}

void tst_BandwidthLimitEditors::interPacketSpinBoxIsReadOnlyAndDoesNotFeedBack()
{
    NodeMap map(gigeNodes(80000000));
    BandwidthLimiterInterPacketDelay editor(map.map(), nullptr);
    QSpinBox* pSpinBox = spinBoxOf(&editor);
    QVERIFY(pSpinBox->isReadOnly());
    QCOMPARE(pSpinBox->buttonSymbols(), QAbstractSpinBox::NoButtons);
    const int position = editor.value();
    emit pSpinBox->editingFinished();
    QCOMPARE(editor.value(), position);
    QCOMPARE(getInteger(map.map(), "GevSCPD"), int64_t(0));
}

QTEST_MAIN(tst_BandwidthLimitEditors)
#include "tst_bandwidthlimiteditors.moc"
