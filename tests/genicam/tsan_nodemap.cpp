// Built with ThreadSanitizer together with the engine's sources: two threads write and read
// features of one node map while a third polls and invalidates it and a fourth registers
// callbacks. ThreadSanitizer makes the program fail on any data race; the program
// itself checks that the values stay consistent.

#include <GenApi/GenApi.h>

#include <atomic>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

using namespace GenApi;

namespace
{
    const char* kDescription = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Threads" VendorName="Test" StandardNameSpace="None" SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0" SubMinorVersion="0" ProductGuid="x" VersionGuid="y">
  <Category Name="Root"><pFeature>Width</pFeature><pFeature>Height</pFeature><pFeature>Payload</pFeature>
    <pFeature>Gain</pFeature><pFeature>Temperature</pFeature><pFeature>Mode</pFeature></Category>
  <Integer Name="Width"><pValue>WidthReg</pValue><Min>8</Min><Max>4096</Max></Integer>
  <IntReg Name="WidthReg"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>
  <Integer Name="Height"><pValue>HeightReg</pValue><Min>8</Min><Max>4096</Max></Integer>
  <IntReg Name="HeightReg"><Address>4</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>
  <IntSwissKnife Name="Payload"><pVariable Name="W">Width</pVariable><pVariable Name="H">Height</pVariable><Formula>W*H</Formula></IntSwissKnife>
  <Converter Name="Gain"><FormulaTo>FROM*10</FormulaTo><FormulaFrom>TO/10</FormulaFrom><pValue>GainReg</pValue></Converter>
  <IntReg Name="GainReg"><Address>8</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>
  <IntReg Name="Temperature"><Address>12</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>Device</pPort><PollingTime>10</PollingTime></IntReg>
  <Enumeration Name="Mode"><EnumEntry Name="A"><Value>0</Value></EnumEntry><EnumEntry Name="B"><Value>1</Value></EnumEntry><pValue>ModeReg</pValue></Enumeration>
  <IntReg Name="ModeReg"><Address>16</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>
  <Port Name="Device"/>
</RegisterDescription>
)";

    struct Counter
    {
        std::atomic<int> inside{0};
        std::atomic<int> outside{0};
        void onInside(INode*) { ++inside; }
        void onOutside(INode*) { ++outside; }
        void onAny(INode*) {}
    };
}

int main()
{
    CNodeMapRef map;
    map._LoadXMLFromString(kDescription);
    CMemoryPort port(64);
    map._Connect(&port);
    CIntegerPtr width = map._GetNode("Width");
    CIntegerPtr height = map._GetNode("Height");
    CIntegerPtr payload = map._GetNode("Payload");
    CFloatPtr gain = map._GetNode("Gain");
    CEnumerationPtr mode = map._GetNode("Mode");
    width->SetValue(64);
    height->SetValue(64);

    Counter counter;
    Register(payload->GetNode(), counter, &Counter::onInside, cbPostInsideLock);
    Register(payload->GetNode(), counter, &Counter::onOutside, cbPostOutsideLock);

    std::atomic<bool> stop{false};
    std::atomic<int> failures{0};
    const int rounds = 2000;

    std::thread writer([&] {
        try
        {
            for (int i = 0; i < rounds; ++i)
            {
                width->SetValue(8 + (i % 100) * 8);
                gain->SetValue(double(i % 50));
                mode->FromString(i % 2 ? "A" : "B");
            }
        }
        catch (const GenICam::GenericException& e)
        {
            std::fprintf(stderr, "writer: %s\n", e.what());
            ++failures;
        }
        stop = true;
    });

    // Nodes that get callbacks registered and deregistered while the others read them: a node
    // keeps its callbacks with its rarely used fields, which the first registration creates
    INode* const registered[] = {width->GetNode(), height->GetNode(), gain->GetNode(), map._GetNode("Temperature")};

    std::thread reader([&] {
        try
        {
            while (!stop)
            {
                for (INode* n : registered)
                {
                    if (n->GetPollingTime() == 0 || n->GetAlias() || n->GetCastAlias())
                        ++failures;
                }
                // Width and Payload are read under one hold of the lock, so they must agree
                AutoLock lock(map._Ptr->GetLock());
                const int64_t w = width->GetValue();
                const int64_t h = height->GetValue();
                if (payload->GetValue() != w * h)
                    ++failures;
                gain->ToString();
                mode->ToString();
            }
        }
        catch (const GenICam::GenericException& e)
        {
            std::fprintf(stderr, "reader: %s\n", e.what());
            ++failures;
        }
    });

    std::thread poller([&] {
        try
        {
            int n = 0;
            while (!stop)
            {
                map._Poll(10);
                if (++n % 10 == 0)
                    map._InvalidateNodes();
                uint32_t t = uint32_t(n);
                port.Write(&t, 12, 4);
            }
        }
        catch (const GenICam::GenericException& e)
        {
            std::fprintf(stderr, "poller: %s\n", e.what());
            ++failures;
        }
    });

    // The first registration on a node creates the node's rarely used fields while the reader
    // asks the same nodes for them. Then callbacks come and go while the writer's changes are
    // dispatched to them outside the lock: a deregistered callback is destroyed only once a
    // call running on another thread has returned.
    std::vector<CallbackHandleType> handles;
    std::thread registrar([&] {
        try
        {
            for (INode* n : registered)
                handles.push_back(Register(n, counter, &Counter::onAny));
            for (int round = 0; round < 200; ++round)
            {
                std::vector<CallbackHandleType> passing;
                for (INode* n : registered)
                    passing.push_back(Register(n, counter, &Counter::onAny, cbPostOutsideLock));
                for (CallbackHandleType handle : passing)
                    if (!Deregister(handle))
                        ++failures;
            }
        }
        catch (const GenICam::GenericException& e)
        {
            std::fprintf(stderr, "registrar: %s\n", e.what());
            ++failures;
        }
    });

    writer.join();
    reader.join();
    poller.join();
    registrar.join();
    for (CallbackHandleType handle : handles)
        if (!Deregister(handle))
            ++failures;

    if (counter.inside < rounds || counter.outside < rounds)
    {
        std::fprintf(stderr, "callbacks: %d inside, %d outside, expected at least %d each\n", counter.inside.load(),
                     counter.outside.load(), rounds);
        ++failures;
    }
    std::printf("%d writes, %d inside and %d outside callbacks on Payload, %d failures\n", rounds,
                counter.inside.load(), counter.outside.load(), failures.load());
    return failures == 0 ? 0 : 1;
}
