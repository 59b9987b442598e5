#include <VorloQtBase/trace.h>

#include <log4cpp/Priority.hh>
#include <log4cpp/StringQueueAppender.hh>

#include <QtTest>

#include <string>

class tst_Trace : public QObject
{
    Q_OBJECT

private slots:
    void sameInstanceEveryTime();
    void silentByDefault();
    void debugLinesReachAConfiguredAppender();
    void longLinesAreNotCut();
    void spelledAsGenICamNamespace();
};

void tst_Trace::sameInstanceEveryTime()
{
    LazyTraceStruct* first = GetLazyTraceStructInstance();
    QVERIFY(first);
    QCOMPARE(GetLazyTraceStructInstance(), first);
    QCOMPARE(QString::fromStdString(first->category.getName()), QStringLiteral("VorloQtWidgets"));
}

void tst_Trace::silentByDefault()
{
    QVERIFY(!GetLazyTraceStructInstance()->isDebugEnabled());
    auto* appender = new log4cpp::StringQueueAppender("queue-default");
    log4cpp::Category& category = GetLazyTraceStructInstance()->category;
    category.addAppender(appender); // the category owns it
    GetLazyTraceStructInstance()->debug("not written %d", 1);
    QVERIFY(appender->queueSize() == 0);
    category.removeAppender(appender);
}

void tst_Trace::debugLinesReachAConfiguredAppender()
{
    log4cpp::Category& category = GetLazyTraceStructInstance()->category;
    auto* appender = new log4cpp::StringQueueAppender("queue-debug");
    category.addAppender(appender);
    category.setPriority(log4cpp::Priority::DEBUG);
    QVERIFY(GetLazyTraceStructInstance()->isDebugEnabled());
    GetLazyTraceStructInstance()->debug("FloatEditor %s %d", "created", 7);
    QCOMPARE(int(appender->queueSize()), 1);
    const std::string line = appender->popMessage();
    QVERIFY2(line.find("FloatEditor created 7") != std::string::npos, line.c_str());
    category.setPriority(log4cpp::Priority::NOTSET);
    category.removeAppender(appender);
}

void tst_Trace::longLinesAreNotCut()
{
    log4cpp::Category& category = GetLazyTraceStructInstance()->category;
    auto* appender = new log4cpp::StringQueueAppender("queue-long");
    category.addAppender(appender);
    category.setPriority(log4cpp::Priority::DEBUG);
    const std::string word(1000, 'x');
    GetLazyTraceStructInstance()->debug("%s|end", word.c_str());
    QCOMPARE(int(appender->queueSize()), 1);
    const std::string line = appender->popMessage();
    QVERIFY(line.find(word + "|end") != std::string::npos);
    category.setPriority(log4cpp::Priority::NOTSET);
    category.removeAppender(appender);
}

void tst_Trace::spelledAsGenICamNamespace()
{
    log4cpp_GenICam::Category& category = GetLazyTraceStructInstance()->category;
    auto* appender = new log4cpp::StringQueueAppender("queue-alias");
    category.addAppender(appender);
    category.setPriority(log4cpp_GenICam::Priority::DEBUG);
    category.debug("direct %s", "line");
    QCOMPARE(int(appender->queueSize()), 1);
    category.setPriority(log4cpp::Priority::NOTSET);
    category.removeAppender(appender);
}

QTEST_APPLESS_MAIN(tst_Trace)
#include "tst_trace.moc"
