#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtBase/exceptionhandling.h>

#include <QApplication>
#include <QMessageBox>
#include <QTimer>
#include <QtTest>

#include <stdexcept>

namespace {

// Collects what the message handler receives, by type.
struct MessageLog
{
    QStringList debug;
    QStringList warnings;
};
MessageLog* g_log = nullptr;
QtMessageHandler g_previousHandler = nullptr;

void collect(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (!g_log) {
        g_previousHandler(type, context, text);
        return;
    }
    if (type == QtDebugMsg)
        g_log->debug << text;
    else if (type == QtWarningMsg)
        g_log->warnings << text;
}

class LogCapture
{
public:
    LogCapture() { g_log = &log; g_previousHandler = qInstallMessageHandler(collect); }
    ~LogCapture() { qInstallMessageHandler(g_previousHandler); g_log = nullptr; }
    MessageLog log;
};

GenICam::RuntimeException makeGenICamException()
{
    return GenICam::RuntimeException("Node 'Gain' is not writable", "Node.cpp", 42);
}

} // namespace

class tst_ExceptionHandling : public QObject
{
    Q_OBJECT

private slots:
    void printGenICamException();
    void printStdException();
    void guardedReturnsTrueWhenBodyRunsThrough();
    void guardedReturnsTheBodysOwnBool();
    void guardedCatchesGenICamException();
    void guardedCatchesStdException();
    void guardedCatchesAnythingElse();
    void guardedShownShowsGenICamFailure();
    void guardedShownShowsStdFailure();
    void guardedShownShowsUnexpectedFailure();
    void guardedShownShowsNothingOnSuccess();
    void showExceptionPassesTheThreeTexts();
    void recorderRestoresPreviousPresenter();
    void emptyPresenterRestoresDefaultBox();
    void failureFromAnotherThreadIsRecorded();
    void engineThrowMacroCarriesFileAndLine();
};

void tst_ExceptionHandling::printGenICamException()
{
    QString text;
    QDebug(&text).nospace() << makeGenICamException();
    QCOMPARE(text, QStringLiteral("Exception occurred:\nNode 'Gain' is not writable\nNode.cpp:42\n"));
}

void tst_ExceptionHandling::printStdException()
{
    QString text;
    QDebug(&text).nospace() << std::runtime_error("disk full");
    QCOMPARE(text, QStringLiteral("Exception occurred:\ndisk full\n"));
}

void tst_ExceptionHandling::guardedReturnsTrueWhenBodyRunsThrough()
{
    LogCapture capture;
    int runs = 0;
    QVERIFY(VorloQtBase::guarded("run", QStringLiteral("Failed to run"), [&] { ++runs; }));
    QCOMPARE(runs, 1);
    QVERIFY(capture.log.warnings.isEmpty());
    QVERIFY(capture.log.debug.isEmpty());
}

void tst_ExceptionHandling::guardedReturnsTheBodysOwnBool()
{
    QCOMPARE(VorloQtBase::guarded("run", QString(), [] { return false; }), false);
    QCOMPARE(VorloQtBase::guarded("run", QString(), [] { return true; }), true);
}

void tst_ExceptionHandling::guardedCatchesGenICamException()
{
    VorloQtBase::ExceptionRecorder recorder;
    LogCapture capture;
    const bool ok = VorloQtBase::guarded("setNodeValue", QStringLiteral("Failed to set the gain"),
                                         [] { throw makeGenICamException(); });
    QVERIFY(!ok);
    QCOMPARE(capture.log.warnings, QStringList{QStringLiteral("Failed to set the gain")});
    QCOMPARE(capture.log.debug,
             QStringList{QStringLiteral(
                 "setNodeValue: Exception occurred:\nNode 'Gain' is not writable\nNode.cpp:42\n")});
    QCOMPARE(recorder.count(), 0); // guarded() only logs
}

void tst_ExceptionHandling::guardedCatchesStdException()
{
    LogCapture capture;
    const bool ok = VorloQtBase::guarded("load", QStringLiteral("Failed to load"),
                                         [] { throw std::out_of_range("index 7"); });
    QVERIFY(!ok);
    QCOMPARE(capture.log.warnings, QStringList{QStringLiteral("Failed to load")});
    QCOMPARE(capture.log.debug, QStringList{QStringLiteral("load: Exception occurred:\nindex 7\n")});
}

void tst_ExceptionHandling::guardedCatchesAnythingElse()
{
    LogCapture capture;
    const bool ok = VorloQtBase::guarded("poll", QStringLiteral("Failed to poll"), [] { throw 17; });
    QVERIFY(!ok);
    QCOMPARE(capture.log.warnings, QStringList{QStringLiteral("Failed to poll")});
    QCOMPARE(capture.log.debug, QStringList{QStringLiteral("poll: Unspecified exception occurred.")});
}

void tst_ExceptionHandling::guardedShownShowsGenICamFailure()
{
    VorloQtBase::ExceptionRecorder recorder;
    LogCapture capture;
    QVERIFY(!VorloQtBase::guardedShown("setNodeValue", QStringLiteral("Failed"),
                                       QStringLiteral("Failed to set integer value"), nullptr,
                                       [] { throw makeGenICamException(); }));
    QCOMPARE(recorder.count(), 1);
    QCOMPARE(recorder.last().function, QStringLiteral("setNodeValue"));
    QCOMPARE(recorder.last().message, QStringLiteral("Failed to set integer value"));
    QCOMPARE(recorder.last().failure, QStringLiteral("Node 'Gain' is not writable\nNode.cpp:42"));
}

void tst_ExceptionHandling::guardedShownShowsStdFailure()
{
    VorloQtBase::ExceptionRecorder recorder;
    LogCapture capture;
    QVERIFY(!VorloQtBase::guardedShown("updateNode", QStringLiteral("Failed"),
                                       QStringLiteral("Failed to set value"), nullptr,
                                       [] { throw std::runtime_error("bad text"); }));
    QCOMPARE(recorder.count(), 1);
    QCOMPARE(recorder.last().function, QStringLiteral("updateNode"));
    QCOMPARE(recorder.last().failure, QStringLiteral("bad text"));
}

void tst_ExceptionHandling::guardedShownShowsUnexpectedFailure()
{
    VorloQtBase::ExceptionRecorder recorder;
    LogCapture capture;
    QVERIFY(!VorloQtBase::guardedShown("data", QStringLiteral("Failed"),
                                       QStringLiteral("Failed to get a feature value"), nullptr,
                                       [] { throw 3.5; }));
    QCOMPARE(recorder.count(), 1);
    QCOMPARE(recorder.last().message, QStringLiteral("Failed to get a feature value"));
    QVERIFY(recorder.last().failure.isEmpty());
    QCOMPARE(capture.log.debug, QStringList{QStringLiteral("data: Unspecified exception occurred.")});
}

void tst_ExceptionHandling::guardedShownShowsNothingOnSuccess()
{
    VorloQtBase::ExceptionRecorder recorder;
    QVERIFY(VorloQtBase::guardedShown("x", QString(), QString(), nullptr, [] {}));
    QCOMPARE(recorder.count(), 0);
}

void tst_ExceptionHandling::showExceptionPassesTheThreeTexts()
{
    VorloQtBase::ExceptionRecorder recorder;
    LogCapture capture;
    showException(QStringLiteral("addNodeMap"), makeGenICamException(),
                  QStringLiteral("Failed to get the node 'Root' from the node map"), nullptr);
    showException(QStringLiteral("f"), std::logic_error("oops"), QStringLiteral("m"), nullptr);
    showUnexpectedException(QStringLiteral("g"), QStringLiteral("n"), nullptr);
    const auto calls = recorder.calls();
    QCOMPARE(calls.size(), 3);
    QCOMPARE(calls[0].function, QStringLiteral("addNodeMap"));
    QCOMPARE(calls[0].message, QStringLiteral("Failed to get the node 'Root' from the node map"));
    QCOMPARE(calls[0].failure, QStringLiteral("Node 'Gain' is not writable\nNode.cpp:42"));
    QCOMPARE(calls[1].failure, QStringLiteral("oops"));
    QCOMPARE(calls[2].function, QStringLiteral("g"));
    QCOMPARE(calls[2].failure, QString());
    // Each showing also leaves a warning in the log.
    QCOMPARE(capture.log.warnings.size(), 3);
    QVERIFY(capture.log.warnings[0].contains(QStringLiteral("Failed to get the node 'Root'")));
    recorder.clear();
    QCOMPARE(recorder.count(), 0);
}

void tst_ExceptionHandling::recorderRestoresPreviousPresenter()
{
    QStringList outer;
    auto previous = VorloQtBase::setExceptionPresenter(
        [&outer](const QString& f, const QString&, const QString&) { outer << f; });
    {
        VorloQtBase::ExceptionRecorder recorder;
        LogCapture capture;
        showUnexpectedException(QStringLiteral("inner"), QString(), nullptr);
        QCOMPARE(recorder.count(), 1);
    }
    LogCapture capture;
    showUnexpectedException(QStringLiteral("outer"), QString(), nullptr);
    QCOMPARE(outer, QStringList{QStringLiteral("outer")});
    VorloQtBase::setExceptionPresenter(previous);
}

void tst_ExceptionHandling::emptyPresenterRestoresDefaultBox()
{
    // With no presenter installed the default critical box appears; close it from a timer so
    // that it cannot block.
    auto previous = VorloQtBase::setExceptionPresenter({});
    bool sawBox = false;
    QTimer::singleShot(0, this, [&sawBox] {
        for (QWidget* w : QApplication::topLevelWidgets()) {
            if (auto* box = qobject_cast<QMessageBox*>(w)) {
                sawBox = box->text().contains(QStringLiteral("visible message"))
                         && box->icon() == QMessageBox::Critical;
                box->close();
            }
        }
    });
    LogCapture capture;
    showException(QStringLiteral("f"), std::runtime_error("why"), QStringLiteral("visible message"),
                  nullptr);
    QVERIFY(sawBox);
    VorloQtBase::setExceptionPresenter(previous);
}

void tst_ExceptionHandling::failureFromAnotherThreadIsRecorded()
{
    VorloQtBase::ExceptionRecorder recorder;
    LogCapture capture;
    QThread* thread = QThread::create([] {
        VorloQtBase::guardedShown("grab", QStringLiteral("Failed"), QStringLiteral("Grab failed"),
                                  nullptr, [] { throw std::runtime_error("lost"); });
    });
    thread->start();
    QVERIFY(thread->wait(10000));
    delete thread;
    QCOMPARE(recorder.count(), 1);
    QCOMPARE(recorder.last().failure, QStringLiteral("lost"));
}

void tst_ExceptionHandling::engineThrowMacroCarriesFileAndLine()
{
    VorloQtBase::ExceptionRecorder recorder;
    LogCapture capture;
    int line = 0;
    QVERIFY(!VorloQtBase::guardedShown("setValue", QStringLiteral("Failed to set"),
                                       QStringLiteral("Failed to set value"), nullptr, [&line] {
                                           line = __LINE__ + 1;
                                           throw OUT_OF_RANGE_EXCEPTION("Value %d above maximum %d", 12, 10);
                                       }));
    QCOMPARE(recorder.count(), 1);
    const QString expectedFailure = QStringLiteral("Value 12 above maximum 10\n%1:%2")
                                        .arg(QString::fromUtf8(__FILE__))
                                        .arg(line);
    QCOMPARE(recorder.last().failure, expectedFailure);
    QCOMPARE(capture.log.debug.size(), 1);
    QVERIFY(capture.log.debug[0].startsWith(QStringLiteral("setValue: Exception occurred:\nValue 12 above maximum 10\n")));
}

QTEST_MAIN(tst_ExceptionHandling)
#include "tst_exceptionhandling.moc"
