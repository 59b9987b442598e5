// The node map's packed storage: after loading, every node's properties, link lists and
// texts live in arrays shared by the whole map, and rarely used fields out of line. These
// tests read them back through the public interface.

#include "testdescriptions.h"

#include <GenApi/GenApi.h>

#include <QtTest>

#include <algorithm>
#include <string>
#include <vector>

using namespace GenApi;
using EngineTest::CountingPort;
using EngineTest::describe;

namespace
{
    //! Node names of a list, sorted and comma-separated, so a failed comparison reads at a glance
    QString render(const NodeList_t& nodes)
    {
        QStringList names;
        for (INode* n : nodes)
            names << QString::fromStdString(std::string(n->GetName()));
        names.sort();
        return names.join(',');
    }

    QString render(const FeatureList_t& features)
    {
        QStringList names;
        for (IValue* v : features)
            names << QString::fromStdString(std::string(v->GetNode()->GetName()));
        names.sort();
        return names.join(',');
    }

    //! A callback that counts its calls inside the lock (one a change) and its Destroy()
    //! instead of deleting itself
    class CountingCallback : public CNodeCallback
    {
    public:
        CountingCallback(INode* node, int& destroyed) : CNodeCallback(node, cbPostInsideLock), m_destroyed(destroyed) {}
        void operator()(ECallbackType type) const override
        {
            if (type == cbPostInsideLock)
                ++fired;
        }
        void Destroy() override { ++m_destroyed; }
        mutable int fired = 0;

    private:
        int& m_destroyed;
    };

    // Gain reads its value from GainReg, its minimum from GainMin, is available through
    // GainAvailable, locked through Locked and invalidated by Trigger; Selector selects Gain
    // and Exposure; Doubled is a formula over Gain.
    const char* kLinked =
        "<Integer Name=\"Gain\"><ToolTip>  Amplification  </ToolTip><Description>Gain of the sensor</Description>"
        "<pIsAvailable>GainAvailable</pIsAvailable><pIsLocked>Locked</pIsLocked><pInvalidator>Trigger</pInvalidator>"
        "<pValue>GainReg</pValue><pMin>GainMin</pMin><Max>100</Max><Unit>dB</Unit></Integer>"
        "<IntReg Name=\"GainReg\"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode>"
        "<pPort>Device</pPort></IntReg>"
        "<Integer Name=\"GainMin\"><Value>0</Value></Integer>"
        "<Integer Name=\"GainAvailable\"><Value>1</Value></Integer>"
        "<Integer Name=\"Locked\"><Value>0</Value></Integer>"
        "<Integer Name=\"Trigger\"><Value>0</Value></Integer>"
        "<Integer Name=\"Exposure\"><ToolTip>Amplification</ToolTip><Value>10</Value></Integer>"
        "<Integer Name=\"Selector\"><Value>0</Value><pSelected>Gain</pSelected><pSelected>Exposure</pSelected></Integer>"
        "<IntSwissKnife Name=\"Doubled\"><pVariable Name=\"G\">Gain</pVariable><Formula>G * 2</Formula></IntSwissKnife>";
}

class tst_NodeLayout : public QObject
{
    Q_OBJECT

private slots:
    void linkListsAfterLoad_data();
    void linkListsAfterLoad();
    void selectedAndSelectingFeatures();
    void propertiesAfterLoad_data();
    void propertiesAfterLoad();
    void repeatedPropertyJoinedWithTabs();
    void propertyNamesListedOnce();
    void moreThan256DistinctPropertyNamesAllKept();
    void equalTextsWithDifferentAttributesKeptApart();
    void accessLinksDecideAccessMode();
    void nodeWithMoreThan255LinksKeepsAllOfThem();
    void portWithMoreThan255DependentsNotifiesAll();
    void entrySymbolicsAfterLoad();
    void formulaErrorNamesNodeAndText();
    void rangeImposedOnNodeWithoutOne();
    void registerAddressParts_data();
    void registerAddressParts();
    void everyNodeFoundByName();
    void callbacksRegisteredAndDeregisteredAfterLoad();
    void pollingAndCallbacksShareTheRareFields();
    void nodeMapDestructionDestroysEveryCallbackOnce();
};

void tst_NodeLayout::linkListsAfterLoad_data()
{
    QTest::addColumn<QString>("node");
    QTest::addColumn<bool>("parents");
    QTest::addColumn<int>("linkType");
    QTest::addColumn<QString>("expected");

    QTest::newRow("reading children") << "Gain" << false << int(ctReadingChildren)
                                      << "GainAvailable,GainMin,GainReg,Locked";
    QTest::newRow("writing children") << "Gain" << false << int(ctWritingChildren) << "GainReg";
    QTest::newRow("value children") << "Gain" << false << int(ctValueChildren) << "GainReg";
    QTest::newRow("invalidating children") << "Gain" << false << int(ctInvalidatingChildren) << "Trigger";
    QTest::newRow("depending nodes of a register") << "GainReg" << false << int(ctDependingNodes) << "Gain";
    QTest::newRow("depending nodes of an invalidator") << "Trigger" << false << int(ctDependingNodes) << "Gain";
    QTest::newRow("depending nodes of a selector") << "Selector" << false << int(ctDependingNodes) << "Exposure,Gain";
    QTest::newRow("depending nodes of a formula variable") << "Gain" << false << int(ctDependingNodes) << "Doubled";
    QTest::newRow("parent nodes") << "GainReg" << false << int(ctParentNodes) << "Gain";
    QTest::newRow("terminal nodes") << "Gain" << false << int(ctTerminalNodes) << "GainReg";
    QTest::newRow("no children") << "GainMin" << false << int(ctReadingChildren) << "";
    QTest::newRow("port's dependents") << "Device" << false << int(ctDependingNodes) << "GainReg";
    QTest::newRow("reading parents of a register") << "GainReg" << true << int(ctReadingChildren) << "Gain";
    QTest::newRow("writing parents of a register") << "GainReg" << true << int(ctWritingChildren) << "Gain";
    QTest::newRow("reading parents of a minimum") << "GainMin" << true << int(ctReadingChildren) << "Gain";
    QTest::newRow("no writing parents of a minimum") << "GainMin" << true << int(ctWritingChildren) << "";
    QTest::newRow("reading parents of a formula variable") << "Gain" << true << int(ctReadingChildren) << "Doubled";
    QTest::newRow("reading parents of a port") << "Device" << true << int(ctReadingChildren) << "GainReg";
}

void tst_NodeLayout::linkListsAfterLoad()
{
    QFETCH(QString, node);
    QFETCH(bool, parents);
    QFETCH(int, linkType);
    QFETCH(QString, expected);

    CNodeMapRef map;
    map._LoadXMLFromString(describe(kLinked).constData());
    INode* n = map._GetNode(node.toStdString());
    QVERIFY(n);
    NodeList_t linked;
    if (parents)
        n->GetParents(linked, ELinkType(linkType));
    else
        n->GetChildren(linked, ELinkType(linkType));
    QCOMPARE(render(linked), expected);
}

void tst_NodeLayout::selectedAndSelectingFeatures()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kLinked).constData());
    CIntegerPtr selector = map._GetNode("Selector");
    CIntegerPtr gain = map._GetNode("Gain");
    CIntegerPtr exposure = map._GetNode("Exposure");
    ISelector* selectorNode = dynamic_cast<ISelector*>(selector->GetNode());
    ISelector* gainNode = dynamic_cast<ISelector*>(gain->GetNode());
    QVERIFY(selectorNode && gainNode);

    QVERIFY(selectorNode->IsSelector());
    QVERIFY(!gainNode->IsSelector());
    FeatureList_t features;
    selectorNode->GetSelectedFeatures(features);
    QCOMPARE(render(features), QString("Exposure,Gain"));
    gainNode->GetSelectingFeatures(features);
    QCOMPARE(render(features), QString("Selector"));
    dynamic_cast<ISelector*>(exposure->GetNode())->GetSelectingFeatures(features);
    QCOMPARE(render(features), QString("Selector"));
    selectorNode->GetSelectingFeatures(features);
    QCOMPARE(render(features), QString());
}

void tst_NodeLayout::propertiesAfterLoad_data()
{
    QTest::addColumn<QString>("node");
    QTest::addColumn<QString>("property");
    QTest::addColumn<bool>("found");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("attribute");

    QTest::newRow("trimmed text") << "Gain" << "ToolTip" << true << "Amplification" << "";
    QTest::newRow("reference") << "Gain" << "pValue" << true << "GainReg" << "";
    QTest::newRow("name attribute") << "Gain" << "Name" << true << "Gain" << "";
    QTest::newRow("attribute of an element") << "Doubled" << "pVariable" << true << "Gain" << "G";
    QTest::newRow("formula") << "Doubled" << "Formula" << true << "G * 2" << "";
    QTest::newRow("absent property") << "Gain" << "DisplayName" << false << "" << "";
    QTest::newRow("same text on another node") << "Exposure" << "ToolTip" << true << "Amplification" << "";
    QTest::newRow("enumeration entry reference") << "Mode" << "pEnumEntry" << true
                                                 << "EnumEntry_Mode_Off\tEnumEntry_Mode_On" << "\t";
}

void tst_NodeLayout::propertiesAfterLoad()
{
    QFETCH(QString, node);
    QFETCH(QString, property);
    QFETCH(bool, found);
    QFETCH(QString, value);
    QFETCH(QString, attribute);

    CNodeMapRef map;
    map._LoadXMLFromString(describe(QByteArray(kLinked)
                                    + "<Enumeration Name=\"Mode\"><EnumEntry Name=\"Off\"><Value>0</Value></EnumEntry>"
                                      "<EnumEntry Name=\"On\"><Value>1</Value></EnumEntry><Value>0</Value></Enumeration>")
                               .constData());
    INode* n = map._GetNode(node.toStdString());
    QVERIFY(n);
    gcstring v = "stale", a = "stale";
    QCOMPARE(n->GetProperty(gcstring(property.toStdString()), v, a), found);
    QCOMPARE(QString::fromStdString(v), value);
    QCOMPARE(QString::fromStdString(a), attribute);
}

void tst_NodeLayout::repeatedPropertyJoinedWithTabs()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kLinked).constData());
    INode* selector = map._GetNode("Selector");
    gcstring value, attribute;
    QVERIFY(selector->GetProperty("pSelected", value, attribute));
    QCOMPARE(std::string(value), std::string("Gain\tExposure"));
    QCOMPARE(std::string(attribute), std::string("\t"));
}

void tst_NodeLayout::propertyNamesListedOnce()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kLinked).constData());
    gcstring_vector names;
    map._GetNode("Selector")->GetPropertyNames(names);
    QStringList list;
    for (const gcstring& n : names)
        list << QString::fromStdString(n);
    QCOMPARE(list.join(','), QString("Name,Value,pSelected"));
}

void tst_NodeLayout::moreThan256DistinctPropertyNamesAllKept()
{
    // Properties take four bytes while a description names at most 256 distinct ones; one
    // with more keeps them in the wider layout, and every property must still come back
    QByteArray body = "<Integer Name=\"Wide\"><Value>7</Value>";
    for (int i = 0; i < 300; ++i)
        body += "<Vendor" + QByteArray::number(i) + ">v" + QByteArray::number(i) + "</Vendor" + QByteArray::number(i) + ">";
    body += "</Integer><Integer Name=\"Other\"><Value>3</Value><Min>1</Min></Integer>";
    CNodeMapRef map;
    map._LoadXMLFromString(describe(body).constData());
    INode* wide = map._GetNode("Wide");
    QVERIFY(wide);
    for (int i : {0, 1, 255, 256, 299})
    {
        gcstring value, attribute;
        QVERIFY2(wide->GetProperty(gcstring("Vendor" + std::to_string(i)), value, attribute), qPrintable(QString::number(i)));
        QCOMPARE(std::string(value), "v" + std::to_string(i));
    }
    gcstring_vector names;
    wide->GetPropertyNames(names);
    QCOMPARE(int(names.size()), 302); // Name, Value and the 300 vendor elements
    CIntegerPtr w = wide;
    QCOMPARE(w->GetValue(), int64_t(7));
    CIntegerPtr other = map._GetNode("Other");
    QCOMPARE(other->GetValue(), int64_t(3));
    QCOMPARE(other->GetMin(), int64_t(1));
}

void tst_NodeLayout::equalTextsWithDifferentAttributesKeptApart()
{
    // The text pool stores a value with its attribute: equal values with different
    // attributes, and an equal text as a value and as a name, must each come back as given
    CNodeMapRef map;
    map._LoadXMLFromString(
        describe("<Integer Name=\"A\"><Value>1</Value></Integer>"
                 "<Integer Name=\"B\"><Value>2</Value></Integer>"
                 "<IntSwissKnife Name=\"X\"><pVariable Name=\"A\">A</pVariable><pVariable Name=\"B\">A</pVariable>"
                 "<Constant Name=\"A\">A</Constant><Formula>A + B</Formula></IntSwissKnife>")
            .constData());
    gcstring value, attribute;
    QVERIFY(map._GetNode("X")->GetProperty("pVariable", value, attribute));
    QCOMPARE(std::string(value), std::string("A\tA"));
    QCOMPARE(std::string(attribute), std::string("A\tB"));
    QVERIFY(map._GetNode("X")->GetProperty("Constant", value, attribute));
    QCOMPARE(std::string(value), std::string("A"));
    QCOMPARE(std::string(attribute), std::string("A"));
    CIntegerPtr x = map._GetNode("X");
    QCOMPARE(x->GetValue(), int64_t(2));
}

void tst_NodeLayout::accessLinksDecideAccessMode()
{
    CountingPort port;
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kLinked).constData());
    map._Connect(&port);
    CIntegerPtr gain = map._GetNode("Gain");
    CIntegerPtr available = map._GetNode("GainAvailable");
    CIntegerPtr locked = map._GetNode("Locked");
    QCOMPARE(gain->GetAccessMode(), RW);
    locked->SetValue(1);
    QCOMPARE(gain->GetAccessMode(), RO);
    locked->SetValue(0);
    available->SetValue(0);
    QCOMPARE(gain->GetAccessMode(), NA);
    available->SetValue(1);
    QCOMPARE(gain->GetAccessMode(), RW);
}

void tst_NodeLayout::nodeWithMoreThan255LinksKeepsAllOfThem()
{
    // Link counts are packed in bytes; a node with more links keeps its bounds out of line
    QByteArray body = "<IntSwissKnife Name=\"Sum\">";
    QByteArray formula;
    for (int i = 0; i < 300; ++i)
    {
        body += "<pVariable Name=\"V" + QByteArray::number(i) + "\">N" + QByteArray::number(i) + "</pVariable>";
        formula += (i ? "+V" : "V") + QByteArray::number(i);
    }
    body += "<pInvalidator>Extra</pInvalidator><Formula>" + formula + "</Formula></IntSwissKnife>"
            "<Integer Name=\"Extra\"><Value>0</Value></Integer>";
    for (int i = 0; i < 300; ++i)
        body += "<Integer Name=\"N" + QByteArray::number(i) + "\"><Value>" + QByteArray::number(i) + "</Value></Integer>";

    CNodeMapRef map;
    map._LoadXMLFromString(describe(body).constData());
    INode* sum = map._GetNode("Sum");
    NodeList_t children;
    sum->GetChildren(children, ctReadingChildren);
    QCOMPARE(children.size(), size_t(300));
    QCOMPARE(std::string(children.front()->GetName()), std::string("N0"));
    QCOMPARE(std::string(children.back()->GetName()), std::string("N299"));
    sum->GetChildren(children, ctInvalidatingChildren);
    QCOMPARE(render(children), QString("Extra"));
    NodeList_t parents;
    map._GetNode("N7")->GetParents(parents);
    QCOMPARE(render(parents), QString("Sum"));
    CIntegerPtr value = sum;
    QCOMPARE(value->GetValue(), int64_t(299 * 300 / 2));
}

void tst_NodeLayout::portWithMoreThan255DependentsNotifiesAll()
{
    QByteArray body;
    for (int i = 0; i < 300; ++i)
        body += "<IntReg Name=\"R" + QByteArray::number(i) + "\"><Address>" + QByteArray::number(4 * i)
                + "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>";
    CountingPort port(0x1000);
    CNodeMapRef map;
    map._LoadXMLFromString(describe(body).constData());
    map._Connect(&port);
    INode* device = map._GetNode("Device");
    NodeList_t dependents;
    device->GetChildren(dependents, ctDependingNodes);
    QCOMPARE(dependents.size(), size_t(300));

    CIntegerPtr last = map._GetNode("R299");
    QCOMPARE(last->GetValue(), int64_t(0));
    int destroyed = 0;
    CountingCallback* callback = new CountingCallback(last->GetNode(), destroyed);
    last->GetNode()->RegisterCallback(callback);
    device->InvalidateNode();
    QCOMPARE(callback->fired, 1);
    port.poke32(4 * 299, 42);
    QCOMPARE(last->GetValue(), int64_t(42)); // the cache went with the invalidation
    last->GetNode()->DeregisterCallback(reinterpret_cast<CallbackHandleType>(callback));
    QCOMPARE(destroyed, 1);
    delete callback;
}

void tst_NodeLayout::entrySymbolicsAfterLoad()
{
    // Entry symbolics are the end of the entries' node names; underscores on both sides
    CNodeMapRef map;
    map._LoadXMLFromString(
        describe("<Enumeration Name=\"Pixel_Format\"><EnumEntry Name=\"Mono_8\"><Value>1</Value></EnumEntry>"
                 "<EnumEntry Name=\"B\"><Value>2</Value><DisplayName>Bee</DisplayName></EnumEntry>"
                 "<Value>2</Value></Enumeration>")
            .constData());
    CEnumerationPtr format = map._GetNode("Pixel_Format");
    StringList_t symbolics;
    format->GetSymbolics(symbolics);
    QCOMPARE(symbolics.size(), size_t(2));
    QCOMPARE(std::string(symbolics[0]), std::string("Mono_8"));
    QCOMPARE(std::string(symbolics[1]), std::string("B"));
    QCOMPARE(std::string(format->ToString()), std::string("B"));
    IEnumEntry* mono = format->GetEntryByName("Mono_8");
    QVERIFY(mono);
    QCOMPARE(std::string(mono->GetSymbolic()), std::string("Mono_8"));
    QCOMPARE(std::string(mono->GetNode()->GetName()), std::string("EnumEntry_Pixel_Format_Mono_8"));
    QCOMPARE(std::string(mono->GetNode()->GetDisplayName()), std::string("Mono_8"));
    QCOMPARE(std::string(format->GetEntry(2)->GetNode()->GetDisplayName()), std::string("Bee"));
    format->FromString("Mono_8");
    QCOMPARE(format->GetIntValue(), int64_t(1));
}

void tst_NodeLayout::formulaErrorNamesNodeAndText()
{
    // Formulas refer to their text and their node's name in the text pool
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"Zero\"><Value>0</Value></Integer>"
                                    "<IntSwissKnife Name=\"RatioOfTwoIntegers\"><pVariable Name=\"Z\">Zero</pVariable>"
                                    "<Formula>10 / Z</Formula></IntSwissKnife>")
                               .constData());
    CIntegerPtr ratio = map._GetNode("RatioOfTwoIntegers");
    try
    {
        ratio->GetValue();
        QFAIL("division by zero did not raise");
    }
    catch (const GenICam::GenericException& e)
    {
        const QString what = QString::fromUtf8(e.GetDescription());
        QVERIFY2(what.contains("RatioOfTwoIntegers"), qPrintable(what));
        QVERIFY2(what.contains("10 / Z"), qPrintable(what));
    }
}

void tst_NodeLayout::rangeImposedOnNodeWithoutOne()
{
    // Nodes without a described range share a default one until something is imposed
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"Plain\"><Value>5</Value></Integer>"
                                    "<Integer Name=\"Other\"><Value>5</Value></Integer>"
                                    "<Float Name=\"Ratio\"><Value>0.5</Value></Float>")
                               .constData());
    CIntegerPtr plain = map._GetNode("Plain");
    CIntegerPtr other = map._GetNode("Other");
    CFloatPtr ratio = map._GetNode("Ratio");
    QCOMPARE(plain->GetMin(), INT64_MIN);
    QCOMPARE(plain->GetMax(), INT64_MAX);
    plain->ImposeMin(2);
    plain->ImposeMax(8);
    QCOMPARE(plain->GetMin(), int64_t(2));
    QCOMPARE(plain->GetMax(), int64_t(8));
    QCOMPARE(other->GetMin(), INT64_MIN); // the default is not changed for the others
    QCOMPARE(other->GetMax(), INT64_MAX);
    QVERIFY_EXCEPTION_THROWN(plain->SetValue(9), GenICam::OutOfRangeException);
    ratio->ImposeMax(0.75);
    QCOMPARE(ratio->GetMax(), 0.75);
    QVERIFY_EXCEPTION_THROWN(ratio->SetValue(1.0), GenICam::OutOfRangeException);
    QCOMPARE(std::string(plain->GetUnit()), std::string());
}

void tst_NodeLayout::registerAddressParts_data()
{
    QTest::addColumn<QByteArray>("parts");
    QTest::addColumn<qint64>("address");

    QTest::newRow("one address") << QByteArray("<Address>0x20</Address>") << qint64(0x20);
    QTest::newRow("addresses summed") << QByteArray("<Address>0x20</Address><Address>0x4</Address>") << qint64(0x24);
    QTest::newRow("address and pAddress") << QByteArray("<Address>0x20</Address><pAddress>Base</pAddress>")
                                          << qint64(0x120);
    QTest::newRow("index times offset") << QByteArray("<Address>0x20</Address><pIndex>Index</pIndex><Offset>8</Offset>")
                                        << qint64(0x20 + 3 * 8);
    QTest::newRow("index times pOffset")
        << QByteArray("<Address>0x20</Address><pIndex>Index</pIndex><pOffset>Stride</pOffset>") << qint64(0x20 + 3 * 16);
    QTest::newRow("index times length") << QByteArray("<Address>0x20</Address><pIndex>Index</pIndex>")
                                        << qint64(0x20 + 3 * 4);
}

void tst_NodeLayout::registerAddressParts()
{
    QFETCH(QByteArray, parts);
    QFETCH(qint64, address);

    CountingPort port;
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"Base\"><Value>0x100</Value></Integer>"
                                    "<Integer Name=\"Index\"><Value>3</Value></Integer>"
                                    "<Integer Name=\"Stride\"><Value>16</Value></Integer>"
                                    "<Register Name=\"Reg\">"
                                    + parts + "<Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></Register>")
                               .constData());
    map._Connect(&port);
    CRegisterPtr reg = map._GetNode("Reg");
    QCOMPARE(reg->GetAddress(), int64_t(address));
    QCOMPARE(reg->GetLength(), int64_t(4));
}

void tst_NodeLayout::everyNodeFoundByName()
{
    // Names that share beginnings, and enough nodes for the name table to grow several times
    QByteArray body;
    for (int i = 0; i < 2000; ++i)
        body += "<Integer Name=\"Node" + QByteArray::number(i) + "\"><Value>" + QByteArray::number(i)
                + "</Value></Integer>";
    body += "<Integer Name=\"Nod\"><Value>-1</Value></Integer>";
    CNodeMapRef map;
    map._LoadXMLFromString(describe(body).constData());
    QCOMPARE(map._Ptr->GetNumNodes(), uint64_t(2002));
    for (int i = 0; i < 2000; ++i)
    {
        const std::string name = "Node" + std::to_string(i);
        CIntegerPtr node = map._GetNode(name);
        QVERIFY2(node.IsValid(), name.c_str());
        QCOMPARE(node->GetValue(), int64_t(i));
    }
    CIntegerPtr nod = map._GetNode("Nod");
    QCOMPARE(nod->GetValue(), int64_t(-1));
    QVERIFY(!map._GetNode("No"));
    QVERIFY(!map._GetNode("Node2000"));
    QVERIFY(!map._GetNode("Node1x"));
    QVERIFY(!map._GetNode(""));
}

void tst_NodeLayout::callbacksRegisteredAndDeregisteredAfterLoad()
{
    CountingPort port;
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kLinked).constData());
    map._Connect(&port);
    CIntegerPtr gain = map._GetNode("Gain");
    CIntegerPtr trigger = map._GetNode("Trigger");

    int destroyed = 0;
    CountingCallback* first = new CountingCallback(gain->GetNode(), destroyed);
    CountingCallback* second = new CountingCallback(gain->GetNode(), destroyed);
    const CallbackHandleType h1 = gain->GetNode()->RegisterCallback(first);
    const CallbackHandleType h2 = gain->GetNode()->RegisterCallback(second);
    trigger->SetValue(1);
    QCOMPARE(first->fired, 1);
    QCOMPARE(second->fired, 1);

    QVERIFY(gain->GetNode()->DeregisterCallback(h1));
    QCOMPARE(destroyed, 1);
    QVERIFY(!gain->GetNode()->DeregisterCallback(h1));
    trigger->SetValue(2);
    QCOMPARE(first->fired, 1);
    QCOMPARE(second->fired, 2);

    // Registering again after a deregistration reuses the list
    CountingCallback* third = new CountingCallback(gain->GetNode(), destroyed);
    const CallbackHandleType h3 = gain->GetNode()->RegisterCallback(third);
    trigger->SetValue(3);
    QCOMPARE(second->fired, 3);
    QCOMPARE(third->fired, 1);

    QVERIFY(gain->GetNode()->DeregisterCallback(h2));
    QVERIFY(gain->GetNode()->DeregisterCallback(h3));
    QCOMPARE(destroyed, 3);
    // A node that never had a callback has nothing to deregister
    QVERIFY(!trigger->GetNode()->DeregisterCallback(h2));
    delete first;
    delete second;
    delete third;
}

void tst_NodeLayout::pollingAndCallbacksShareTheRareFields()
{
    // A polled node keeps its polling time with its callbacks out of line
    CountingPort port;
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<IntReg Name=\"Temperature\"><Address>0</Address><Length>4</Length>"
                                    "<AccessMode>RO</AccessMode><pPort>Device</pPort><PollingTime>100</PollingTime>"
                                    "</IntReg>")
                               .constData());
    map._Connect(&port);
    INode* temperature = map._GetNode("Temperature");
    QCOMPARE(temperature->GetPollingTime(), int64_t(100));
    QCOMPARE(map._GetNode("Device")->GetPollingTime(), int64_t(-1));
    int destroyed = 0;
    CountingCallback* callback = new CountingCallback(temperature, destroyed);
    const CallbackHandleType handle = temperature->RegisterCallback(callback);
    map._Poll(50);
    QCOMPARE(callback->fired, 0);
    map._Poll(50);
    QCOMPARE(callback->fired, 1);
    QCOMPARE(temperature->GetPollingTime(), int64_t(100));
    QVERIFY(temperature->DeregisterCallback(handle));
    map._Poll(100);
    QCOMPARE(callback->fired, 1);
    QCOMPARE(destroyed, 1);
    delete callback;
}

void tst_NodeLayout::nodeMapDestructionDestroysEveryCallbackOnce()
{
    int destroyed = 0;
    std::vector<CountingCallback*> callbacks;
    {
        CNodeMapRef map;
        map._LoadXMLFromString(describe(kLinked).constData());
        for (const char* name : {"Gain", "GainReg", "Selector", "Doubled", "Device"})
        {
            INode* node = map._GetNode(name);
            for (int i = 0; i < 2; ++i)
            {
                callbacks.push_back(new CountingCallback(node, destroyed));
                node->RegisterCallback(callbacks.back());
            }
        }
        QCOMPARE(destroyed, 0);
    }
    QCOMPARE(destroyed, 10);
    for (CountingCallback* c : callbacks)
        delete c;
}

QTEST_GUILESS_MAIN(tst_NodeLayout)
#include "tst_nodelayout.moc"
