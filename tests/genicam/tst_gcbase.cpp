// Base types of the engine: strings, exceptions, locks, smart pointers, the memory port.

#include <GenApi/GenApi.h>

#include <QtTest>

#include <atomic>
#include <thread>

using namespace GenApi;
using GenICam::gcstring;

class tst_GcBase : public QObject
{
    Q_OBJECT

private slots:
    void gcstringConversions();
    void gcstringComparisons();
    void exceptionRecordsFileAndLine();
    void exceptionFormatsPrintfText();
    void exceptionPlainTextKeepsPercent();
    void exceptionHierarchy_data();
    void exceptionHierarchy();
    void lockIsRecursive();
    void lockTryLockFromOtherThreadFailsWhileHeld();
    void nullPointerDereferenceThrowsLogicalError();
    void accessModeCombine_data();
    void accessModeCombine();
    void memoryPortReadWrite();
    void memoryPortOutOfRange_data();
    void memoryPortOutOfRange();
    void memoryPortWriteHookSeesRange();
    void memoryPortStoreSkipsHook();
};

void tst_GcBase::gcstringConversions()
{
    gcstring s("Width");
    const char* c = s;
    QCOMPARE(QByteArray(c), QByteArray("Width"));
    std::string std = s;
    QCOMPARE(std.size(), size_t(5));
    gcstring fromStd(std::string("Height"));
    QCOMPARE(fromStd.size(), size_t(6));
    QVERIFY(!fromStd.empty());
    gcstring nullString(static_cast<const char*>(nullptr));
    QVERIFY(nullString.empty());
    GenICam::gcstring_vector list;
    list.push_back("a");
    list.push_back(gcstring("b"));
    QCOMPARE(list.size(), size_t(2));
    QCOMPARE(QByteArray(list[1].c_str()), QByteArray("b"));
}

void tst_GcBase::gcstringComparisons()
{
    gcstring a("abc");
    QVERIFY(a == "abc");
    QVERIFY("abc" == a);
    QVERIFY(a != "abd");
    QVERIFY(a == std::string("abc"));
    QVERIFY(a < gcstring("abd"));
    QVERIFY((a + "def") == "abcdef");
}

void tst_GcBase::exceptionRecordsFileAndLine()
{
    const unsigned line = __LINE__ + 3;
    try
    {
        throw RUNTIME_EXCEPTION("node '%s' failed", "Gain");
    }
    catch (const GenICam::GenericException& e)
    {
        QCOMPARE(QByteArray(e.GetDescription()), QByteArray("node 'Gain' failed"));
        QCOMPARE(e.GetSourceLine(), line);
        QVERIFY(QByteArray(e.GetSourceFileName()).endsWith("tst_gcbase.cpp"));
        QVERIFY(QByteArray(e.what()).contains("node 'Gain' failed"));
        QVERIFY(QByteArray(e.what()).contains("RuntimeException"));
        return;
    }
    QFAIL("no exception");
}

void tst_GcBase::exceptionFormatsPrintfText()
{
    std::string longText(2000, 'x');
    GenICam::OutOfRangeException e = OUT_OF_RANGE_EXCEPTION("%d %s", 42, longText.c_str());
    QCOMPARE(std::string(e.GetDescription()), "42 " + longText);
    const gcstring name("ExposureTime");
    GenICam::AccessException a = ACCESS_EXCEPTION("Node '%s' is not writable (%s)", name, std::string("RO"));
    QCOMPARE(QByteArray(a.GetDescription()), QByteArray("Node 'ExposureTime' is not writable (RO)"));
}

void tst_GcBase::exceptionPlainTextKeepsPercent()
{
    GenICam::RuntimeException e = RUNTIME_EXCEPTION("100%");
    QCOMPARE(QByteArray(e.GetDescription()), QByteArray("100%"));
    gcstring text("50% %s");
    GenICam::RuntimeException e2 = RUNTIME_EXCEPTION(text);
    QCOMPARE(QByteArray(e2.GetDescription()), QByteArray("50% %s"));
}

void tst_GcBase::exceptionHierarchy_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QByteArray>("typeName");
    QTest::newRow("BadAlloc") << 0 << QByteArray("BadAllocException");
    QTest::newRow("InvalidArgument") << 1 << QByteArray("InvalidArgumentException");
    QTest::newRow("OutOfRange") << 2 << QByteArray("OutOfRangeException");
    QTest::newRow("Property") << 3 << QByteArray("PropertyException");
    QTest::newRow("Runtime") << 4 << QByteArray("RuntimeException");
    QTest::newRow("LogicalError") << 5 << QByteArray("LogicalErrorException");
    QTest::newRow("Access") << 6 << QByteArray("AccessException");
    QTest::newRow("Timeout") << 7 << QByteArray("TimeoutException");
    QTest::newRow("DynamicCast") << 8 << QByteArray("DynamicCastException");
}

void tst_GcBase::exceptionHierarchy()
{
    QFETCH(int, kind);
    QFETCH(QByteArray, typeName);
    try
    {
        switch (kind)
        {
        case 0: throw BAD_ALLOC_EXCEPTION("x");
        case 1: throw INVALID_ARGUMENT_EXCEPTION("x");
        case 2: throw OUT_OF_RANGE_EXCEPTION("x");
        case 3: throw PROPERTY_EXCEPTION("x");
        case 4: throw RUNTIME_EXCEPTION("x");
        case 5: throw LOGICAL_ERROR_EXCEPTION("x");
        case 6: throw ACCESS_EXCEPTION("x");
        case 7: throw TIMEOUT_EXCEPTION("x");
        default: throw DYNAMICCAST_EXCEPTION("x");
        }
    }
    catch (const std::exception& e)
    {
        const GenICam::GenericException* g = dynamic_cast<const GenICam::GenericException*>(&e);
        QVERIFY(g);
        QCOMPARE(QByteArray(g->GetExceptionType()), typeName);
        bool rightClass = false;
        switch (kind)
        {
        case 0: rightClass = dynamic_cast<const GenICam::BadAllocException*>(&e); break;
        case 1: rightClass = dynamic_cast<const GenICam::InvalidArgumentException*>(&e); break;
        case 2: rightClass = dynamic_cast<const GenICam::OutOfRangeException*>(&e); break;
        case 3: rightClass = dynamic_cast<const GenICam::PropertyException*>(&e); break;
        case 4: rightClass = dynamic_cast<const GenICam::RuntimeException*>(&e); break;
        case 5: rightClass = dynamic_cast<const GenICam::LogicalErrorException*>(&e); break;
        case 6: rightClass = dynamic_cast<const GenICam::AccessException*>(&e); break;
        case 7: rightClass = dynamic_cast<const GenICam::TimeoutException*>(&e); break;
        default: rightClass = dynamic_cast<const GenICam::DynamicCastException*>(&e); break;
        }
        QVERIFY(rightClass);
        return;
    }
    QFAIL("no exception");
}

void tst_GcBase::lockIsRecursive()
{
    CLock lock;
    lock.Lock();
    QVERIFY(lock.TryLock());
    {
        AutoLock again(lock);
    }
    lock.Unlock();
    lock.Unlock();
    QVERIFY(lock.TryLock());
    lock.Unlock();
}

void tst_GcBase::lockTryLockFromOtherThreadFailsWhileHeld()
{
    CLock lock;
    std::atomic<int> result{-1};
    {
        AutoLock held(lock);
        std::thread t([&] {
            result = lock.TryLock() ? 1 : 0;
            if (result == 1)
                lock.Unlock();
        });
        t.join();
    }
    QCOMPARE(result.load(), 0);
    std::thread t2([&] {
        result = lock.TryLock() ? 1 : 0;
        if (result == 1)
            lock.Unlock();
    });
    t2.join();
    QCOMPARE(result.load(), 1);
}

void tst_GcBase::nullPointerDereferenceThrowsLogicalError()
{
    CIntegerPtr p;
    QVERIFY(!p.IsValid());
    QVERIFY(!p);
    try
    {
        p->GetValue();
        QFAIL("no exception");
    }
    catch (const GenICam::LogicalErrorException& e)
    {
        QCOMPARE(QByteArray(e.GetDescription()), QByteArray("NULL pointer dereferenced"));
    }
    QVERIFY_EXCEPTION_THROWN(*p, GenICam::LogicalErrorException);
    CNodeMapPtr map;
    QVERIFY_EXCEPTION_THROWN(map->GetNode("x"), GenICam::LogicalErrorException);
    // The access helpers answer false for an empty pointer instead of throwing
    QVERIFY(!IsReadable(p));
    QVERIFY(!IsWritable(p));
    QVERIFY(!IsAvailable(p));
    QVERIFY(!IsImplemented(p));
}

void tst_GcBase::accessModeCombine_data()
{
    QTest::addColumn<int>("a");
    QTest::addColumn<int>("b");
    QTest::addColumn<int>("expected");
    QTest::newRow("NI wins over RW") << int(NI) << int(RW) << int(NI);
    QTest::newRow("NA wins over RO") << int(RO) << int(NA) << int(NA);
    QTest::newRow("RO with WO gives NA") << int(RO) << int(WO) << int(NA);
    QTest::newRow("RW with WO gives WO") << int(RW) << int(WO) << int(WO);
    QTest::newRow("RW with RO gives RO") << int(RW) << int(RO) << int(RO);
    QTest::newRow("RW with RW gives RW") << int(RW) << int(RW) << int(RW);
}

void tst_GcBase::accessModeCombine()
{
    QFETCH(int, a);
    QFETCH(int, b);
    QFETCH(int, expected);
    QCOMPARE(int(Combine(EAccessMode(a), EAccessMode(b))), expected);
    QCOMPARE(int(Combine(EAccessMode(b), EAccessMode(a))), expected);
}

void tst_GcBase::memoryPortReadWrite()
{
    CMemoryPort port(16, 0x1000);
    const uint32_t v = 0x11223344;
    port.Write(&v, 0x1004, 4);
    uint32_t back = 0;
    port.Read(&back, 0x1004, 4);
    QCOMPARE(back, v);
    QCOMPARE(port.GetData()[4], uint8_t(0x44));
    QCOMPARE(int(port.GetAccessMode()), int(RW));
    uint8_t last = 0xaa;
    port.Write(&last, 0x100f, 1);
    port.Read(&back, 0x100c, 4);
    QCOMPARE(back >> 24, 0xaau);
}

void tst_GcBase::memoryPortOutOfRange_data()
{
    QTest::addColumn<qint64>("address");
    QTest::addColumn<qint64>("length");
    QTest::newRow("below base") << qint64(0xfff) << qint64(1);
    QTest::newRow("past end") << qint64(0x100d) << qint64(4);
    QTest::newRow("start at end") << qint64(0x1010) << qint64(1);
    QTest::newRow("negative length") << qint64(0x1000) << qint64(-1);
    QTest::newRow("huge address") << qint64(0x7fffffffffffffffLL) << qint64(4);
}

void tst_GcBase::memoryPortOutOfRange()
{
    QFETCH(qint64, address);
    QFETCH(qint64, length);
    CMemoryPort port(16, 0x1000);
    uint8_t buffer[8] = {};
    QVERIFY_EXCEPTION_THROWN(port.Read(buffer, address, length), GenICam::OutOfRangeException);
    QVERIFY_EXCEPTION_THROWN(port.Write(buffer, address, length), GenICam::OutOfRangeException);
}

void tst_GcBase::memoryPortWriteHookSeesRange()
{
    CMemoryPort port(64);
    int64_t seenAddress = -1, seenLength = -1;
    uint8_t seenByte = 0;
    port.SetWriteHook([&](int64_t a, int64_t l) {
        seenAddress = a;
        seenLength = l;
        port.Load(&seenByte, a, 1);
    });
    const uint8_t bytes[3] = {7, 8, 9};
    port.Write(bytes, 10, 3);
    QCOMPARE(seenAddress, int64_t(10));
    QCOMPARE(seenLength, int64_t(3));
    QCOMPARE(seenByte, uint8_t(7));
}

void tst_GcBase::memoryPortStoreSkipsHook()
{
    CMemoryPort port(8);
    int calls = 0;
    port.SetWriteHook([&](int64_t, int64_t) { ++calls; });
    const uint8_t b = 5;
    port.Store(&b, 0, 1);
    QCOMPARE(calls, 0);
    port.Write(&b, 1, 1);
    QCOMPARE(calls, 1);
    port.Fill(0xff);
    uint8_t r = 0;
    port.Read(&r, 7, 1);
    QCOMPARE(r, uint8_t(0xff));
}

QTEST_GUILESS_MAIN(tst_GcBase)
#include "tst_gcbase.moc"
