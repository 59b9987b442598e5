// Node callbacks around the node map's lock, invalidation, polling and callback lifetime.

#include "testdescriptions.h"

#include <GenApi/GenApi.h>

#include <QtTest>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

using namespace GenApi;
using EngineTest::CountingPort;
using EngineTest::describe;

namespace
{
    //! Records every call with the phase and whether another thread could take the lock then
    struct Recorder
    {
        struct Call
        {
            std::string node;
            ECallbackType type;
            bool lockFreeForOthers;
            std::thread::id thread;
        };
        std::vector<Call> calls;
        CLock* lock = nullptr;

        bool otherThreadCanLock()
        {
            bool ok = false;
            std::thread t([&] {
                ok = lock->TryLock();
                if (ok)
                    lock->Unlock();
            });
            t.join();
            return ok;
        }
        void inside(INode* n) { calls.push_back({std::string(n->GetName()), cbPostInsideLock, otherThreadCanLock(), std::this_thread::get_id()}); }
        void outside(INode* n) { calls.push_back({std::string(n->GetName()), cbPostOutsideLock, otherThreadCanLock(), std::this_thread::get_id()}); }
        int count(const std::string& node, ECallbackType type) const
        {
            int n = 0;
            for (const Call& c : calls)
                if (c.node == node && c.type == type)
                    ++n;
            return n;
        }
    };

    //! A callback that counts Destroy() calls instead of deleting itself
    class DestroyCounter : public CNodeCallback
    {
    public:
        DestroyCounter(INode* node, int& destroyed) : CNodeCallback(node, cbPostInsideLock), m_destroyed(destroyed) {}
        void operator()(ECallbackType) const override { ++fired; }
        void Destroy() override { ++m_destroyed; }
        mutable int fired = 0;

    private:
        int& m_destroyed;
    };

    const char* kXml =
        "<Integer Name=\"Width\"><pValue>WidthReg</pValue></Integer>"
        "<IntReg Name=\"WidthReg\"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode>"
        "<pPort>Device</pPort></IntReg>"
        "<Integer Name=\"Height\"><Value>10</Value></Integer>"
        "<IntSwissKnife Name=\"Payload\"><pVariable Name=\"W\">Width</pVariable><pVariable Name=\"H\">Height</pVariable>"
        "<Formula>W*H</Formula></IntSwissKnife>"
        "<Integer Name=\"Unrelated\"><Value>1</Value></Integer>"
        "<IntReg Name=\"Temperature\"><Address>4</Address><Length>4</Length><AccessMode>RO</AccessMode>"
        "<pPort>Device</pPort><PollingTime>100</PollingTime></IntReg>"
        "<IntReg Name=\"Slow\"><Address>8</Address><Length>4</Length><AccessMode>RO</AccessMode>"
        "<pPort>Device</pPort><PollingTime>1000</PollingTime></IntReg>"
        "<Integer Name=\"Block\"><Value>0</Value></Integer>"
        "<IntReg Name=\"Blocked\"><Address>12</Address><Length>4</Length><AccessMode>RO</AccessMode>"
        "<pPort>Device</pPort><PollingTime>100</PollingTime><pBlockPolling>Block</pBlockPolling></IntReg>"
        "<Command Name=\"Start\"><pValue>StartReg</pValue><CommandValue>1</CommandValue><PollingTime>50</PollingTime></Command>"
        "<IntReg Name=\"StartReg\"><Address>16</Address><Length>4</Length><AccessMode>RW</AccessMode>"
        "<pPort>Device</pPort></IntReg>"
        "<Enumeration Name=\"Mode\"><EnumEntry Name=\"Idle\"><Value>0</Value></EnumEntry>"
        "<EnumEntry Name=\"Once\"><Value>1</Value><IsSelfClearing>Yes</IsSelfClearing></EnumEntry>"
        "<pValue>ModeReg</pValue><PollingTime>50</PollingTime></Enumeration>"
        "<IntReg Name=\"ModeReg\"><Address>20</Address><Length>4</Length><AccessMode>RW</AccessMode>"
        "<pPort>Device</pPort></IntReg>";
}

class tst_NodeCallbacks : public QObject
{
    Q_OBJECT

private slots:
    void insideThenOutsideLock();
    void callbackRunsOnChangingThread();
    void writeNotifiesDependents();
    void invalidateNodeNotifiesDependentsNotUnrelated();
    void invalidateNodesNotifiesAll();
    void callbackTypeFilters();
    void callbackReceivesItsNode();
    void callbackMayWriteAnotherNodeInsideLock();
    void pollFiresOnlyDueNodes();
    void pollAccumulatesAcrossCalls();
    void pollBlockedByBlockPolling();
    void commandPolledOnlyWhileExecuting();
    void enumerationPolledOnlyWhileSelfClearing();
    void deregisterCallsDestroyOnce();
    void deregisterUnknownHandleGivesFalse();
    void nodeMapDestructionCallsDestroyOnce();
    void freeRegisterAndDeregister();
    void functionCallback();
    void selfDeregisterDuringCallbackIsSafe();
    void selfDeregisterOutsideLockReturnsAtOnce();
    void deregisterWaitsForCallRunningOutsideLockOnAnotherThread();
};

void tst_NodeCallbacks::insideThenOutsideLock()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kXml).constData());
    CountingPort port;
    map._Connect(&port);
    Recorder rec;
    rec.lock = &map._Ptr->GetLock();
    INode* width = map._GetNode("Width");
    Register(width, rec, &Recorder::inside, cbPostInsideLock);
    Register(width, rec, &Recorder::outside, cbPostOutsideLock);
    CIntegerPtr(width)->SetValue(64);
    QCOMPARE(rec.calls.size(), size_t(2));
    QCOMPARE(int(rec.calls[0].type), int(cbPostInsideLock));
    QVERIFY(!rec.calls[0].lockFreeForOthers);
    QCOMPARE(int(rec.calls[1].type), int(cbPostOutsideLock));
    QVERIFY(rec.calls[1].lockFreeForOthers);
}

void tst_NodeCallbacks::callbackRunsOnChangingThread()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kXml).constData());
    CountingPort port;
    map._Connect(&port);
    Recorder rec;
    rec.lock = &map._Ptr->GetLock();
    INode* height = map._GetNode("Height");
    Register(height, rec, &Recorder::inside);
    std::thread::id writer;
    std::thread t([&] {
        writer = std::this_thread::get_id();
        CIntegerPtr(height)->SetValue(5);
    });
    t.join();
    QCOMPARE(rec.calls.size(), size_t(1));
    QVERIFY(rec.calls[0].thread == writer);
    QVERIFY(rec.calls[0].thread != std::this_thread::get_id());
}

void tst_NodeCallbacks::writeNotifiesDependents()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kXml).constData());
    CountingPort port;
    map._Connect(&port);
    Recorder rec;
    rec.lock = &map._Ptr->GetLock();
    for (const char* n : {"Width", "WidthReg", "Payload", "Unrelated"})
        Register(map._GetNode(n), rec, &Recorder::inside);
    CIntegerPtr(map._GetNode("Width"))->SetValue(32);
    QCOMPARE(rec.count("Width", cbPostInsideLock), 1);
    QCOMPARE(rec.count("WidthReg", cbPostInsideLock), 1);
    QCOMPARE(rec.count("Payload", cbPostInsideLock), 1);
    QCOMPARE(rec.count("Unrelated", cbPostInsideLock), 0);
}

void tst_NodeCallbacks::invalidateNodeNotifiesDependentsNotUnrelated()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kXml).constData());
    CountingPort port;
    map._Connect(&port);
    Recorder rec;
    rec.lock = &map._Ptr->GetLock();
    for (const char* n : {"Width", "Height", "Payload", "Unrelated"})
        Register(map._GetNode(n), rec, &Recorder::inside);
    map._GetNode("Height")->InvalidateNode();
    QCOMPARE(rec.count("Height", cbPostInsideLock), 1);
    QCOMPARE(rec.count("Payload", cbPostInsideLock), 1);
    QCOMPARE(rec.count("Width", cbPostInsideLock), 0);
    QCOMPARE(rec.count("Unrelated", cbPostInsideLock), 0);
}

void tst_NodeCallbacks::invalidateNodesNotifiesAll()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kXml).constData());
    CountingPort port;
    map._Connect(&port);
    Recorder rec;
    rec.lock = &map._Ptr->GetLock();
    for (const char* n : {"Width", "Height", "Unrelated"})
        Register(map._GetNode(n), rec, &Recorder::inside);
    CIntegerPtr width = map._GetNode("Width");
    width->GetValue();
    QVERIFY(width->IsValueCacheValid());
    map._InvalidateNodes();
    QVERIFY(!width->IsValueCacheValid());
    QCOMPARE(rec.calls.size(), size_t(3));
}

void tst_NodeCallbacks::callbackTypeFilters()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kXml).constData());
    Recorder rec;
    rec.lock = &map._Ptr->GetLock();
    Register(map._GetNode("Height"), rec, &Recorder::outside, cbPostOutsideLock);
    CIntegerPtr(map._GetNode("Height"))->SetValue(3);
    QCOMPARE(rec.count("Height", cbPostInsideLock), 0);
    QCOMPARE(rec.count("Height", cbPostOutsideLock), 1);
}

void tst_NodeCallbacks::callbackReceivesItsNode()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kXml).constData());
    CountingPort port;
    map._Connect(&port);
    std::vector<INode*> seen;
    INode* payload = map._GetNode("Payload");
    Register(payload, [&](INode* n) { seen.push_back(n); });
    CIntegerPtr(map._GetNode("Height"))->SetValue(4);
    QCOMPARE(seen.size(), size_t(1));
    QCOMPARE(seen[0], payload);
}

void tst_NodeCallbacks::callbackMayWriteAnotherNodeInsideLock()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kXml).constData());
    CountingPort port;
    map._Connect(&port);
    INode* height = map._GetNode("Height");
    INode* unrelated = map._GetNode("Unrelated");
    int unrelatedCalls = 0;
    Register(height, [&](INode*) { CIntegerPtr(unrelated)->SetValue(99); });
    Register(unrelated, [&](INode*) { ++unrelatedCalls; });
    CIntegerPtr(height)->SetValue(6);
    QCOMPARE(CIntegerPtr(unrelated)->GetValue(), int64_t(99));
    QCOMPARE(unrelatedCalls, 1);
}

void tst_NodeCallbacks::pollFiresOnlyDueNodes()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kXml).constData());
    CountingPort port;
    map._Connect(&port);
    Recorder rec;
    rec.lock = &map._Ptr->GetLock();
    for (const char* n : {"Temperature", "Slow", "Width"})
        Register(map._GetNode(n), rec, &Recorder::inside);
    CIntegerPtr temperature = map._GetNode("Temperature");
    QCOMPARE(temperature->GetValue(), int64_t(0));
    port.poke32(4, 42);
    QCOMPARE(temperature->GetValue(), int64_t(0)); // cached
    map._Poll(100);
    QCOMPARE(rec.count("Temperature", cbPostInsideLock), 1);
    QCOMPARE(rec.count("Slow", cbPostInsideLock), 0);
    QCOMPARE(rec.count("Width", cbPostInsideLock), 0);
    QCOMPARE(temperature->GetValue(), int64_t(42));
    QCOMPARE(map._GetNode("Temperature")->GetPollingTime(), int64_t(100));
    QCOMPARE(map._GetNode("Width")->GetPollingTime(), int64_t(-1));
}

void tst_NodeCallbacks::pollAccumulatesAcrossCalls()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kXml).constData());
    CountingPort port;
    map._Connect(&port);
    Recorder rec;
    rec.lock = &map._Ptr->GetLock();
    Register(map._GetNode("Temperature"), rec, &Recorder::inside);
    map._Poll(40);
    map._Poll(40);
    QCOMPARE(rec.count("Temperature", cbPostInsideLock), 0);
    map._Poll(40);
    QCOMPARE(rec.count("Temperature", cbPostInsideLock), 1);
    map._Poll(60);
    QCOMPARE(rec.count("Temperature", cbPostInsideLock), 1);
}

void tst_NodeCallbacks::pollBlockedByBlockPolling()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kXml).constData());
    CountingPort port;
    map._Connect(&port);
    Recorder rec;
    rec.lock = &map._Ptr->GetLock();
    Register(map._GetNode("Blocked"), rec, &Recorder::inside);
    CIntegerPtr(map._GetNode("Block"))->SetValue(1);
    rec.calls.clear();
    map._Poll(100);
    QCOMPARE(rec.count("Blocked", cbPostInsideLock), 0);
    CIntegerPtr(map._GetNode("Block"))->SetValue(0);
    rec.calls.clear();
    map._Poll(100);
    QCOMPARE(rec.count("Blocked", cbPostInsideLock), 1);
}

void tst_NodeCallbacks::commandPolledOnlyWhileExecuting()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kXml).constData());
    CountingPort port;
    map._Connect(&port);
    Recorder rec;
    rec.lock = &map._Ptr->GetLock();
    Register(map._GetNode("Start"), rec, &Recorder::inside);
    map._Poll(50);
    QCOMPARE(rec.count("Start", cbPostInsideLock), 0);
    CCommandPtr start = map._GetNode("Start");
    start->Execute();
    QCOMPARE(rec.count("Start", cbPostInsideLock), 1);
    map._Poll(50);
    QCOMPARE(rec.count("Start", cbPostInsideLock), 2);
    // Completion detected by IsDone fires the callbacks once more
    port.poke32(16, 0);
    QVERIFY(start->IsDone());
    QCOMPARE(rec.count("Start", cbPostInsideLock), 3);
    map._Poll(50);
    QCOMPARE(rec.count("Start", cbPostInsideLock), 3);
}

void tst_NodeCallbacks::enumerationPolledOnlyWhileSelfClearing()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kXml).constData());
    CountingPort port;
    map._Connect(&port);
    Recorder rec;
    rec.lock = &map._Ptr->GetLock();
    Register(map._GetNode("Mode"), rec, &Recorder::inside);
    map._Poll(50);
    QCOMPARE(rec.count("Mode", cbPostInsideLock), 0);
    CEnumerationPtr mode = map._GetNode("Mode");
    mode->FromString("Once");
    rec.calls.clear();
    map._Poll(50);
    QCOMPARE(rec.count("Mode", cbPostInsideLock), 1);
    port.poke32(20, 0); // the device clears it
    map._Poll(50);
    QCOMPARE(QByteArray(mode->ToString().c_str()), QByteArray("Idle"));
    rec.calls.clear();
    map._Poll(50);
    QCOMPARE(rec.count("Mode", cbPostInsideLock), 0);
}

void tst_NodeCallbacks::deregisterCallsDestroyOnce()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kXml).constData());
    int destroyed = 0;
    INode* height = map._GetNode("Height");
    DestroyCounter cb(height, destroyed);
    CallbackHandleType h = height->RegisterCallback(&cb);
    QCOMPARE(h, reinterpret_cast<CallbackHandleType>(&cb));
    CIntegerPtr(height)->SetValue(2);
    QCOMPARE(cb.fired, 2); // once per phase
    QVERIFY(height->DeregisterCallback(h));
    QCOMPARE(destroyed, 1);
    QVERIFY(!height->DeregisterCallback(h));
    QCOMPARE(destroyed, 1);
    CIntegerPtr(height)->SetValue(3);
    QCOMPARE(cb.fired, 2);
    map._Destroy();
    QCOMPARE(destroyed, 1);
}

void tst_NodeCallbacks::deregisterUnknownHandleGivesFalse()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kXml).constData());
    QVERIFY(!map._GetNode("Height")->DeregisterCallback(0));
    QVERIFY(!Deregister(0));
}

void tst_NodeCallbacks::nodeMapDestructionCallsDestroyOnce()
{
    int destroyedA = 0, destroyedB = 0;
    DestroyCounter* a = nullptr;
    DestroyCounter* b = nullptr;
    {
        CNodeMapRef map;
        map._LoadXMLFromString(describe(kXml).constData());
        INode* height = map._GetNode("Height");
        a = new DestroyCounter(height, destroyedA);
        b = new DestroyCounter(map._GetNode("Width"), destroyedB);
        height->RegisterCallback(a);
        map._GetNode("Width")->RegisterCallback(b);
        // A copy shares the node map: the map dies with the last one
        CNodeMapRef copy(map);
        map._Destroy();
        QCOMPARE(destroyedA, 0);
    }
    QCOMPARE(destroyedA, 1);
    QCOMPARE(destroyedB, 1);
    delete a;
    delete b;
}

void tst_NodeCallbacks::freeRegisterAndDeregister()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kXml).constData());
    Recorder rec;
    rec.lock = &map._Ptr->GetLock();
    INode* height = map._GetNode("Height");
    CallbackHandleType h = Register(height, rec, &Recorder::inside);
    QVERIFY(h != 0);
    QCOMPARE(reinterpret_cast<CNodeCallback*>(h)->GetNode(), height);
    QVERIFY(Deregister(h));
    CIntegerPtr(height)->SetValue(8);
    QVERIFY(rec.calls.empty());
    QVERIFY_EXCEPTION_THROWN(Register(static_cast<INode*>(nullptr), rec, &Recorder::inside), GenICam::LogicalErrorException);
}

void tst_NodeCallbacks::functionCallback()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kXml).constData());
    static int calls = 0;
    calls = 0;
    struct Local
    {
        static void onChange(INode*) { ++calls; }
    };
    INode* height = map._GetNode("Height");
    CallbackHandleType h = Register(height, &Local::onChange, cbPostOutsideLock);
    CIntegerPtr(height)->SetValue(9);
    QCOMPARE(calls, 1);
    Deregister(h);
}

void tst_NodeCallbacks::selfDeregisterDuringCallbackIsSafe()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kXml).constData());
    INode* height = map._GetNode("Height");
    CallbackHandleType self = 0;
    int calls = 0, later = 0;
    self = Register(height, [&](INode* n) {
        ++calls;
        n->DeregisterCallback(self);
    });
    Register(height, [&](INode*) { ++later; });
    CIntegerPtr(height)->SetValue(1);
    CIntegerPtr(height)->SetValue(2);
    QCOMPARE(calls, 1);
    QCOMPARE(later, 2);
}

void tst_NodeCallbacks::selfDeregisterOutsideLockReturnsAtOnce()
{
    // The callback runs outside the lock on this thread; it must not wait for itself.
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kXml).constData());
    INode* height = map._GetNode("Height");
    CallbackHandleType self = 0;
    int calls = 0;
    bool deregistered = false;
    self = Register(height, [&](INode* n) {
        ++calls;
        deregistered = n->DeregisterCallback(self);
    }, cbPostOutsideLock);
    CIntegerPtr(height)->SetValue(1);
    CIntegerPtr(height)->SetValue(2);
    QCOMPARE(calls, 1);
    QVERIFY(deregistered);
}

namespace
{
    //! A callback that records its calls and its end in one log, and holds a call open until
    //! it is released
    class HeldCallback : public CNodeCallback
    {
    public:
        explicit HeldCallback(INode* node) : CNodeCallback(node, cbPostOutsideLock) {}
        void operator()(ECallbackType type) const override
        {
            // Every callback hears both phases; this one acts on the phase it was made for
            if (type != cbPostOutsideLock)
                return;
            note("enter");
            entered = true;
            // Bounded, so that a broken engine fails the test instead of hanging it
            for (int i = 0; i < 500 && !released; ++i)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            note("leave");
        }
        void Destroy() override { note("destroy"); }

        void note(const char* what) const
        {
            std::lock_guard<std::mutex> guard(logMutex);
            log.push_back(what);
        }
        std::vector<std::string> events() const
        {
            std::lock_guard<std::mutex> guard(logMutex);
            return log;
        }

        mutable std::atomic<bool> entered{false};
        std::atomic<bool> released{false};

    private:
        mutable std::mutex logMutex;
        mutable std::vector<std::string> log;
    };
}

void tst_NodeCallbacks::deregisterWaitsForCallRunningOutsideLockOnAnotherThread()
{
    // A writer thread runs the callback outside the lock while this thread deregisters it:
    // Destroy() may only come once the running call has returned, since the owner frees the
    // callback right after deregistering.
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kXml).constData());
    INode* height = map._GetNode("Height");
    HeldCallback callback(height);
    const CallbackHandleType handle = height->RegisterCallback(&callback);

    std::thread writer([&] { CIntegerPtr(height)->SetValue(3); });
    QTRY_VERIFY(callback.entered);
    std::atomic<bool> deregistering{false};
    std::thread owner([&] {
        deregistering = true;
        height->DeregisterCallback(handle);
    });
    QTRY_VERIFY(deregistering);
    // Give the owner time to reach the wait; the order below holds however long this is.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    callback.released = true;
    owner.join();
    writer.join();
    QCOMPARE(callback.events(), (std::vector<std::string>{"enter", "leave", "destroy"}));
}

QTEST_GUILESS_MAIN(tst_NodeCallbacks)
#include "tst_nodecallbacks.moc"
