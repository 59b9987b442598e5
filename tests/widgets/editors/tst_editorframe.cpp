// The editor frame: AbstractItemEditor as the delegate reaches it, VorloQt::ControlHelper
// and VorloQt::trimToInt32.

#include "editortestsupport.h"

#include <VorloQtWidgets/abstractitemeditor.h>
#include <VorloQtWidgets/controlhelper.h>
#include <VorloQtWidgets/floateditor.h>

#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <climits>
#include <thread>

using EditorTest::MessageRecorder;
using EditorTest::NodeMap;

namespace
{
const char* const kFeatures = R"(
<Integer Name="Width"><Value>100</Value><Min>0</Min><Max>1000</Max></Integer>
<Integer Name="Height"><Value>50</Value><Min>0</Min><Max>1000</Max></Integer>
<Float Name="Gain"><Value>2.5</Value><Min>0</Min><Max>10</Max><Inc>0.5</Inc><DisplayPrecision>1</DisplayPrecision></Float>
)";

// A receiver that lives in the GUI thread and records from which thread it was called.
class Receiver : public QObject
{
    Q_OBJECT
public:
    int calls = 0;
    QThread* thread = nullptr;
public slots:
    void onNodeUpdated()
    {
        ++calls;
        thread = QThread::currentThread();
    }
};
} // namespace

class TestEditorFrame : public QObject
{
    Q_OBJECT

private slots:
    void trimToInt32_data();
    void trimToInt32();

    void controlHelperWithNullNodeReportsOnceAndNeverEmits();
    void controlHelperSignalsChangesOfItsNode();
    void controlHelperIgnoresNoticesForOtherNodes();
    void controlHelperFromSecondThreadReachesReceiverQueued();
    void controlHelperDestroyedStopsNotices();
    void controlHelperOutlivingItsNodeMap();

    void editorReachedThroughWidgetPointer();
    void nodeMapDestroyedWhileEditorOpenIsReportedAndProcessGoesOn();
};

void TestEditorFrame::trimToInt32_data()
{
    QTest::addColumn<qint64>("value");
    QTest::addColumn<int>("expected");
    QTest::newRow("2147483648 saturates at 2147483647") << Q_INT64_C(2147483648) << INT_MAX;
    QTest::newRow("-2147483649 saturates at -2147483648") << Q_INT64_C(-2147483649) << INT_MIN;
    QTest::newRow("int max passes") << qint64(INT_MAX) << INT_MAX;
    QTest::newRow("int min passes") << qint64(INT_MIN) << INT_MIN;
    QTest::newRow("zero passes") << qint64(0) << 0;
    QTest::newRow("negative passes") << qint64(-17) << -17;
    QTest::newRow("int64 max saturates") << std::numeric_limits<qint64>::max() << INT_MAX;
    QTest::newRow("int64 min saturates") << std::numeric_limits<qint64>::min() << INT_MIN;
}

void TestEditorFrame::trimToInt32()
{
    QFETCH(qint64, value);
    QFETCH(int, expected);
    QCOMPARE(VorloQt::trimToInt32(long(value)), expected);
}

void TestEditorFrame::controlHelperWithNullNodeReportsOnceAndNeverEmits()
{
    NodeMap map(kFeatures);
    MessageRecorder log;
    VorloQt::ControlHelper helper(nullptr, nullptr);
    QSignalSpy updated(&helper, &VorloQt::ControlHelper::nodeUpdated);
    QVERIFY(updated.isValid());
    QCOMPARE(log.count("ControlHelper:ControlHelper: Got NULL pointer as pNode argument????"), 1);

    // Nothing registered, and even a notice handed in by hand is not passed on.
    map.get<GenApi::IInteger>("Width")->SetValue(200, true);
    helper.onUpdateNode(map.node("Width"));
    QCOMPARE(updated.count(), 0);
    QCOMPARE(log.count("ControlHelper:ControlHelper: Got NULL pointer as pNode argument????"), 1);
}

void TestEditorFrame::controlHelperSignalsChangesOfItsNode()
{
    NodeMap map(kFeatures);
    VorloQt::ControlHelper helper(map.node("Width"), nullptr);
    QSignalSpy updated(&helper, &VorloQt::ControlHelper::nodeUpdated);
    map.get<GenApi::IInteger>("Width")->SetValue(300, true);
    QVERIFY(updated.count() >= 1);
    const int afterWidth = updated.count();
    map.get<GenApi::IInteger>("Height")->SetValue(300, true);
    QCOMPARE(updated.count(), afterWidth);
}

void TestEditorFrame::controlHelperIgnoresNoticesForOtherNodes()
{
    NodeMap map(kFeatures);
    VorloQt::ControlHelper helper(map.node("Width"), nullptr);
    QSignalSpy updated(&helper, &VorloQt::ControlHelper::nodeUpdated);
    helper.onUpdateNode(map.node("Height"));
    QCOMPARE(updated.count(), 0);
    helper.onUpdateNode(map.node("Width"));
    QCOMPARE(updated.count(), 1);
}

void TestEditorFrame::controlHelperFromSecondThreadReachesReceiverQueued()
{
    NodeMap map(kFeatures);
    VorloQt::ControlHelper helper(map.node("Width"), nullptr);
    Receiver receiver;
    QObject::connect(&helper, SIGNAL(nodeUpdated()), &receiver, SLOT(onNodeUpdated()));

    std::thread writer([&] { map.get<GenApi::IInteger>("Width")->SetValue(400, true); });
    writer.join();
    // Emitted on the writer's thread: the receiver in the GUI thread gets it queued.
    QCOMPARE(receiver.calls, 0);
    QTRY_VERIFY(receiver.calls >= 1);
    QCOMPARE(receiver.thread, QThread::currentThread());
}

void TestEditorFrame::controlHelperDestroyedStopsNotices()
{
    NodeMap map(kFeatures);
    Receiver receiver;
    {
        VorloQt::ControlHelper helper(map.node("Width"), nullptr);
        QObject::connect(&helper, SIGNAL(nodeUpdated()), &receiver, SLOT(onNodeUpdated()));
        map.get<GenApi::IInteger>("Width")->SetValue(10, true);
        QVERIFY(receiver.calls >= 1);
    }
    const int before = receiver.calls;
    // The callback was deregistered: a later change reaches nobody and does not crash.
    map.get<GenApi::IInteger>("Width")->SetValue(11, true);
    QCOMPARE(receiver.calls, before);
}

void TestEditorFrame::controlHelperOutlivingItsNodeMap()
{
    auto map = std::make_unique<NodeMap>(kFeatures);
    auto helper = std::make_unique<VorloQt::ControlHelper>(map->node("Width"), nullptr);
    QSignalSpy updated(helper.get(), &VorloQt::ControlHelper::nodeUpdated);
    map.reset();
    MessageRecorder log;
    // The node went away and took the callback with it; the destructor neither deregisters
    // nor fails.
    helper.reset();
    QVERIFY2(!log.contains("Failed to deregister the callback:"), qPrintable(log.joined()));
    QCOMPARE(updated.count(), 0);
}

void TestEditorFrame::editorReachedThroughWidgetPointer()
{
    NodeMap map(kFeatures);
    QWidget* widget = new FloatEditor(nullptr, GenApi::Linear);
    std::unique_ptr<QWidget> owner(widget);
    AbstractItemEditor* editor = dynamic_cast<AbstractItemEditor*>(widget);
    QVERIFY(editor);
    editor->setEditorData(map.node("Gain"));
    QCOMPARE(editor->editorData().toDouble(), 2.5);
}

void TestEditorFrame::nodeMapDestroyedWhileEditorOpenIsReportedAndProcessGoesOn()
{
    auto map = std::make_unique<NodeMap>(kFeatures);
    FloatEditor editor(nullptr, GenApi::Linear);
    editor.setEditorData(map->node("Gain"));
    map->destroy();

    MessageRecorder log;
    QTest::keyClick(editor.findChild<QAbstractSpinBox*>(), Qt::Key_Up);
    QVERIFY2(log.contains("NULL pointer dereferenced"), qPrintable(log.joined()));
    QVERIFY2(log.contains("onSpinBoxStepTriggered: "), qPrintable(log.joined()));
    // The process goes on, and the editor still answers.
    QCOMPARE(editor.editorData().toDouble(), 2.5);
}

QTEST_MAIN(TestEditorFrame)
#include "tst_editorframe.moc"
