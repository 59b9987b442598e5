// The node map engine: loading, node types, access modes, caching, text, properties.

#include "testdescriptions.h"

#include <GenApi/GenApi.h>

#include <QtTest>

#include <cfloat>

#include <zip.h>

using namespace GenApi;
using EngineTest::CountingPort;
using EngineTest::describe;

class tst_NodeMap : public QObject
{
    Q_OBJECT

private slots:
    // loading
    void deviceInfoFromDescriptionAttributes();
    void secondLoadRaisesRuntimeException();
    void malformedXmlNamesLine();
    void missingReferenceNamesBothNodes();
    void duplicateNodeNameRaises();
    void textBeforeFirstTagIsSkipped_data();
    void textBeforeFirstTagIsSkipped();
    void loadFromFile();
    void loadFromZipData();
    void zipWithoutXmlRaises();
    void unknownNameGivesNull();
    void groupsAreTransparent();
    void unknownElementsKeptAsProperties();

    // integers
    void integerFloatingValueRoundTrip();
    void integerRangeChecks_data();
    void integerRangeChecks();
    void integerVerifyFalseSkipsRangeCheck();
    void integerImposeMinMaxNarrowRange();
    void integerPValueTakesTargetAccessAndRange();
    void intRegEndianAndSign_data();
    void intRegEndianAndSign();
    void intRegDefaultRangeIsNativeWidth_data();
    void intRegDefaultRangeIsNativeWidth();
    void maskedIntRegFields_data();
    void maskedIntRegFields();
    void maskedIntRegReadModifyWriteKeepsOtherBits();
    void maskedIntRegWriteOnlySkipsRead();
    void structRegExpandsToBitFields();
    void registerAddressSumAndIndex();
    void integerIndexedValues();
    void floatIndexedValuesAndCopies();
    void valueNodeWithoutValueIsRejected();
    void integerToStringByRepresentation_data();
    void integerToStringByRepresentation();
    void fromStringUnparsableRaisesInvalidArgument();

    // floats and formulas
    void floatRegRoundTrip_data();
    void floatRegRoundTrip();
    void floatChecksMinMaxOnly();
    void floatToStringUsesNotationAndPrecision();
    void swissKnifeEvaluatesWithVariableSuffixes();
    void intSwissKnifeIsReadOnly();
    void converterBothDirectionsAndRange_data();
    void converterBothDirectionsAndRange();
    void converterDisplayPropertiesFallBackToTarget();
    void intConverterRoundTrip();
    void swissKnifeDivisionByZeroRaises();
    void formulaSyntaxErrorNamesNode();

    // access modes
    void accessModeRules_data();
    void accessModeRules();
    void imposedAccessModeCombines();
    void imposedVisibilityIsStricter();
    void getValueOnUnreadableRaisesAccess();
    void setValueOnReadOnlyRaisesAccess();
    void minMaxNeedAvailableNode();
    void unconnectedPortMakesRegistersNotAvailable();

    // caching
    void writeThroughCachesWrittenValue();
    void noCacheReadsEveryTime();
    void writeAroundCachesOnlyReads();
    void ignoreCacheAndVerifyReadDevice();
    void writeInvalidatesDependents();
    void invalidatorDeclaresHiddenDependency();
    void cachableUnknownValueMeansNoCache();

    // other node types
    void enumerationEntriesAndLookup();
    void enumerationSetUnavailableEntryIsOutOfRange();
    void enumerationUnknownNameIsInvalidArgument();
    void enumerationEntryNodeNames();
    void booleanOnOffValues();
    void booleanTextForms_data();
    void booleanTextForms();
    void commandExecuteAndIsDone();
    void commandOnWriteOnlyTargetIsDoneAtOnce();
    void commandTextForms();
    void stringFloatingAndRegister();
    void stringRegTooLongIsOutOfRange();
    void registerBytesAndText();
    void zeroLengthRegisterNeverReachesThePort();
    void categoryFeaturesAndIsFeature();
    void selectorsAndSelectedFeatures();
    void pErrorRaisesWithEntryDisplayName();

    // describing nodes
    void propertyNamesAndJoinedValues();
    void propertyAbsentGivesFalse();
    void childrenAndParentsByLinkType();
    void principalInterfaceTypes_data();
    void principalInterfaceTypes();
    void smartPointersCastNodes();

    // malformed input
    void evaluationCycleRaisesNamingNode();
    void deepChainIsBoundedNotOverflowing();
    void veryLongReferenceChainLoadsWithoutDeepRecursion();
    void deeplyNestedGroupsRaise();
    void portFailureNamesNode();
};

// ------------------------------------------------------------------ loading

void tst_NodeMap::deviceInfoFromDescriptionAttributes()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"A\"><Value>1</Value></Integer>").constData());
    IDeviceInfo* info = dynamic_cast<IDeviceInfo*>(map._Ptr);
    QVERIFY(info);
    QCOMPARE(QByteArray(info->GetModelName().c_str()), QByteArray("TestModel"));
    QCOMPARE(QByteArray(info->GetVendorName().c_str()), QByteArray("TestVendor"));
    QCOMPARE(QByteArray(info->GetToolTip().c_str()), QByteArray("A test camera"));
    QCOMPARE(QByteArray(info->GetStandardNameSpace().c_str()), QByteArray("GEV"));
    QCOMPARE(QByteArray(info->GetProductGuid().c_str()), QByteArray("P-GUID"));
    QCOMPARE(QByteArray(info->GetVersionGuid().c_str()), QByteArray("V-GUID"));
    Version_t v{};
    info->GetSchemaVersion(v);
    QCOMPARE(int(v.Major), 1);
    QCOMPARE(int(v.Minor), 1);
    info->GetDeviceVersion(v);
    QCOMPARE(int(v.Major), 2);
    QCOMPARE(int(v.Minor), 3);
    QCOMPARE(int(v.SubMinor), 4);
    QCOMPARE(QByteArray(map._GetDeviceName().c_str()), QByteArray("Device"));
    QCOMPARE(QByteArray(map._Ptr->GetDeviceName().c_str()), QByteArray("Device"));
    QCOMPARE(map._GetNodeMap(), map._Ptr);
}

void tst_NodeMap::secondLoadRaisesRuntimeException()
{
    CNodeMapRef map;
    const QByteArray xml = describe("<Integer Name=\"A\"><Value>1</Value></Integer>");
    map._LoadXMLFromString(xml.constData());
    QVERIFY_EXCEPTION_THROWN(map._LoadXMLFromString(xml.constData()), GenICam::RuntimeException);
    QVERIFY(map._GetNode("A"));
}

void tst_NodeMap::malformedXmlNamesLine()
{
    CNodeMapRef map;
    try
    {
        map._LoadXMLFromString("<?xml version=\"1.0\"?>\n<RegisterDescription>\n<Integer Name=\"A\">\n</Float>\n");
        QFAIL("no exception");
    }
    catch (const GenICam::RuntimeException& e)
    {
        QVERIFY2(QByteArray(e.GetDescription()).contains("line 4"), e.GetDescription());
    }
    QVERIFY(!map._Ptr);
}

void tst_NodeMap::missingReferenceNamesBothNodes()
{
    CNodeMapRef map;
    try
    {
        map._LoadXMLFromString(describe("<Integer Name=\"Gain\"><pValue>GainReg</pValue></Integer>").constData());
        QFAIL("no exception");
    }
    catch (const GenICam::RuntimeException& e)
    {
        const QByteArray d = e.GetDescription();
        QVERIFY2(d.contains("Gain") && d.contains("GainReg"), d.constData());
    }
}

void tst_NodeMap::duplicateNodeNameRaises()
{
    CNodeMapRef map;
    QVERIFY_EXCEPTION_THROWN(map._LoadXMLFromString(describe("<Integer Name=\"A\"><Value>1</Value></Integer>"
                                                             "<Integer Name=\"A\"><Value>2</Value></Integer>")
                                                        .constData()),
                             GenICam::RuntimeException);
}

void tst_NodeMap::textBeforeFirstTagIsSkipped_data()
{
    QTest::addColumn<QByteArray>("prefix");
    QTest::addColumn<bool>("withDeclaration");
    QTest::newRow("dump header line") << QByteArray("Dumped from camera 1234\r\n") << true;
    QTest::newRow("byte-order mark") << QByteArray("\xEF\xBB\xBF") << true;
    QTest::newRow("no XML declaration") << QByteArray() << false;
}

void tst_NodeMap::textBeforeFirstTagIsSkipped()
{
    QFETCH(QByteArray, prefix);
    QFETCH(bool, withDeclaration);
    QByteArray xml = describe("<Integer Name=\"A\"><Value>7</Value></Integer>");
    if (!withDeclaration)
        xml = xml.mid(xml.indexOf("<RegisterDescription"));
    CNodeMapRef map;
    map._LoadXMLFromString(GenICam::gcstring((prefix + xml).constData(), size_t(prefix.size() + xml.size())));
    CIntegerPtr a = map._GetNode("A");
    QCOMPARE(a->GetValue(), int64_t(7));
}

void tst_NodeMap::loadFromFile()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath("camera.xml");
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write(describe("<Integer Name=\"A\"><Value>3</Value></Integer>"));
    f.close();
    CNodeMapRef map;
    map._LoadXMLFromFile(path.toUtf8().constData());
    CIntegerPtr a = map._GetNode("A");
    QCOMPARE(a->GetValue(), int64_t(3));
    CNodeMapRef missing;
    QVERIFY_EXCEPTION_THROWN(missing._LoadXMLFromFile(dir.filePath("nothing.xml").toUtf8().constData()),
                             GenICam::RuntimeException);
}

static QByteArray makeZip(const QByteArray& memberName, const QByteArray& content)
{
    QTemporaryDir dir;
    const QByteArray path = dir.filePath("d.zip").toUtf8();
    int error = 0;
    zip_t* z = zip_open(path.constData(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    if (!z)
        return QByteArray();
    zip_source_t* s = zip_source_buffer(z, content.constData(), zip_uint64_t(content.size()), 0);
    zip_file_add(z, memberName.constData(), s, ZIP_FL_OVERWRITE);
    zip_close(z);
    QFile f(QString::fromUtf8(path));
    if (!f.open(QIODevice::ReadOnly))
        return QByteArray();
    return f.readAll();
}

void tst_NodeMap::loadFromZipData()
{
    const QByteArray zip = makeZip("camera.xml", describe("<Integer Name=\"Zipped\"><Value>11</Value></Integer>"));
    QVERIFY(!zip.isEmpty());
    CNodeMapRef map;
    map._LoadXMLFromZIPData(zip.constData(), size_t(zip.size()));
    CIntegerPtr a = map._GetNode("Zipped");
    QCOMPARE(a->GetValue(), int64_t(11));

    QTemporaryDir dir;
    QFile f(dir.filePath("c.zip"));
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write(zip);
    f.close();
    CNodeMapRef fromFile;
    fromFile._LoadXMLFromZIPFile(dir.filePath("c.zip").toUtf8().constData());
    QVERIFY(fromFile._GetNode("Zipped"));
}

void tst_NodeMap::zipWithoutXmlRaises()
{
    const QByteArray zip = makeZip("readme.txt", "hello");
    CNodeMapRef map;
    QVERIFY_EXCEPTION_THROWN(map._LoadXMLFromZIPData(zip.constData(), size_t(zip.size())), GenICam::RuntimeException);
    const QByteArray garbage("not a zip at all");
    QVERIFY_EXCEPTION_THROWN(map._LoadXMLFromZIPData(garbage.constData(), size_t(garbage.size())),
                             GenICam::RuntimeException);
}

void tst_NodeMap::unknownNameGivesNull()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"A\"><Value>1</Value></Integer>").constData());
    QVERIFY(map._Ptr->GetNode("NoSuchNode") == nullptr);
    QVERIFY(map._GetNode("A") != nullptr);
}

void tst_NodeMap::groupsAreTransparent()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Group Comment=\"outer\"><Group Comment=\"inner\">"
                                    "<Integer Name=\"Deep\"><Value>5</Value></Integer></Group></Group>")
                               .constData());
    CIntegerPtr deep = map._GetNode("Deep");
    QCOMPARE(deep->GetValue(), int64_t(5));
}

void tst_NodeMap::unknownElementsKeptAsProperties()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"A\"><Value>1</Value><FancyVendorThing Kind=\"x\">42"
                                    "</FancyVendorThing><Extension><Anything/></Extension></Integer>")
                               .constData());
    GenICam::gcstring value, attribute;
    QVERIFY(map._GetNode("A")->GetProperty("FancyVendorThing", value, attribute));
    QCOMPARE(QByteArray(value.c_str()), QByteArray("42"));
    QCOMPARE(QByteArray(attribute.c_str()), QByteArray("x"));
    QVERIFY(!map._GetNode("A")->GetProperty("Extension", value, attribute));
}

// ------------------------------------------------------------------ integers

void tst_NodeMap::integerFloatingValueRoundTrip()
{
    CNodeMapRef map;
    map._LoadXMLFromString(
        describe("<Integer Name=\"A\"><Value>10</Value><Min>0</Min><Max>100</Max><Inc>2</Inc>"
                 "<Unit>px</Unit><Representation>Linear</Representation></Integer>")
            .constData());
    CIntegerPtr a = map._GetNode("A");
    QCOMPARE(int(a->GetAccessMode()), int(RW));
    QCOMPARE(a->GetValue(), int64_t(10));
    a->SetValue(42);
    QCOMPARE(a->GetValue(), int64_t(42));
    QCOMPARE(a->GetMin(), int64_t(0));
    QCOMPARE(a->GetMax(), int64_t(100));
    QCOMPARE(a->GetInc(), int64_t(2));
    QCOMPARE(int(a->GetIncMode()), int(fixedIncrement));
    QCOMPARE(QByteArray(a->GetUnit().c_str()), QByteArray("px"));
    QCOMPARE(int(a->GetRepresentation()), int(Linear));
    *a = 44;
    QCOMPARE(**a, int64_t(44));
}

void tst_NodeMap::integerRangeChecks_data()
{
    QTest::addColumn<qint64>("value");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("below Min") << qint64(-2) << false;
    QTest::newRow("at Min") << qint64(0) << true;
    QTest::newRow("on the grid") << qint64(50) << true;
    QTest::newRow("off the Inc grid") << qint64(51) << false;
    QTest::newRow("at Max") << qint64(100) << true;
    QTest::newRow("above Max") << qint64(102) << false;
}

void tst_NodeMap::integerRangeChecks()
{
    QFETCH(qint64, value);
    QFETCH(bool, accepted);
    CNodeMapRef map;
    map._LoadXMLFromString(
        describe("<Integer Name=\"A\"><Value>10</Value><Min>0</Min><Max>100</Max><Inc>2</Inc></Integer>").constData());
    CIntegerPtr a = map._GetNode("A");
    if (accepted)
    {
        a->SetValue(value);
        QCOMPARE(a->GetValue(), int64_t(value));
    }
    else
    {
        QVERIFY_EXCEPTION_THROWN(a->SetValue(value), GenICam::OutOfRangeException);
        QCOMPARE(a->GetValue(), int64_t(10));
    }
}

void tst_NodeMap::integerVerifyFalseSkipsRangeCheck()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"A\"><Value>10</Value><Min>0</Min><Max>100</Max></Integer>").constData());
    CIntegerPtr a = map._GetNode("A");
    a->SetValue(1000, false);
    QCOMPARE(a->GetValue(), int64_t(1000));
    QVERIFY_EXCEPTION_THROWN(a->GetValue(true), GenICam::OutOfRangeException);
}

void tst_NodeMap::integerImposeMinMaxNarrowRange()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"A\"><Value>10</Value><Min>0</Min><Max>100</Max></Integer>").constData());
    CIntegerPtr a = map._GetNode("A");
    a->ImposeMin(5);
    a->ImposeMax(50);
    QCOMPARE(a->GetMin(), int64_t(5));
    QCOMPARE(a->GetMax(), int64_t(50));
    QVERIFY_EXCEPTION_THROWN(a->SetValue(60), GenICam::OutOfRangeException);
    a->ImposeMin(-100);
    QCOMPARE(a->GetMin(), int64_t(0));
}

void tst_NodeMap::integerPValueTakesTargetAccessAndRange()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"Width\"><pValue>WidthReg</pValue><Inc>4</Inc></Integer>"
                                    "<IntReg Name=\"WidthReg\"><Address>0x10</Address><Length>2</Length>"
                                    "<AccessMode>RO</AccessMode><pPort>Device</pPort></IntReg>")
                               .constData());
    CountingPort port;
    QVERIFY(map._Connect(&port));
    port.poke32(0x10, 640);
    CIntegerPtr width = map._GetNode("Width");
    QCOMPARE(int(width->GetAccessMode()), int(RO));
    QCOMPARE(width->GetValue(), int64_t(640));
    QCOMPARE(width->GetMin(), int64_t(0));
    QCOMPARE(width->GetMax(), int64_t(65535));
    QCOMPARE(width->GetInc(), int64_t(4));
}

void tst_NodeMap::intRegEndianAndSign_data()
{
    QTest::addColumn<QByteArray>("endianess");
    QTest::addColumn<QByteArray>("sign");
    QTest::addColumn<int>("length");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<qint64>("expected");
    QTest::newRow("little endian unsigned 4") << QByteArray("LittleEndian") << QByteArray("Unsigned") << 4
                                              << QByteArray("\x78\x56\x34\x12", 4) << qint64(0x12345678);
    QTest::newRow("big endian unsigned 4") << QByteArray("BigEndian") << QByteArray("Unsigned") << 4
                                           << QByteArray("\x12\x34\x56\x78", 4) << qint64(0x12345678);
    QTest::newRow("little endian signed 2 negative") << QByteArray("LittleEndian") << QByteArray("Signed") << 2
                                                     << QByteArray("\xfe\xff", 2) << qint64(-2);
    QTest::newRow("big endian signed 3 negative") << QByteArray("BigEndian") << QByteArray("Signed") << 3
                                                  << QByteArray("\xff\xff\x00", 3) << qint64(-256);
    QTest::newRow("unsigned 1 high bit") << QByteArray("LittleEndian") << QByteArray("Unsigned") << 1
                                         << QByteArray("\x80", 1) << qint64(128);
    QTest::newRow("big endian 8 bytes") << QByteArray("BigEndian") << QByteArray("Unsigned") << 8
                                        << QByteArray("\x01\x02\x03\x04\x05\x06\x07\x08", 8)
                                        << qint64(0x0102030405060708LL);
}

void tst_NodeMap::intRegEndianAndSign()
{
    QFETCH(QByteArray, endianess);
    QFETCH(QByteArray, sign);
    QFETCH(int, length);
    QFETCH(QByteArray, bytes);
    QFETCH(qint64, expected);
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<IntReg Name=\"R\"><Address>0x20</Address><Length>" + QByteArray::number(length)
                                    + "</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><Sign>" + sign
                                    + "</Sign><Endianess>" + endianess + "</Endianess></IntReg>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    port.Store(bytes.constData(), 0x20, bytes.size());
    CIntegerPtr r = map._GetNode("R");
    QCOMPARE(r->GetValue(), int64_t(expected));
    // Writing the value back gives the same bytes
    port.Fill(0);
    r->SetValue(expected);
    QByteArray back(bytes.size(), 0);
    port.Load(back.data(), 0x20, back.size());
    QCOMPARE(back.toHex(), bytes.toHex());
}

void tst_NodeMap::intRegDefaultRangeIsNativeWidth_data()
{
    QTest::addColumn<QByteArray>("sign");
    QTest::addColumn<int>("length");
    QTest::addColumn<qint64>("min");
    QTest::addColumn<qint64>("max");
    QTest::newRow("unsigned 1") << QByteArray("Unsigned") << 1 << qint64(0) << qint64(255);
    QTest::newRow("signed 1") << QByteArray("Signed") << 1 << qint64(-128) << qint64(127);
    QTest::newRow("unsigned 4") << QByteArray("Unsigned") << 4 << qint64(0) << qint64(4294967295LL);
    QTest::newRow("signed 8") << QByteArray("Signed") << 8 << qint64(INT64_MIN) << qint64(INT64_MAX);
}

void tst_NodeMap::intRegDefaultRangeIsNativeWidth()
{
    QFETCH(QByteArray, sign);
    QFETCH(int, length);
    QFETCH(qint64, min);
    QFETCH(qint64, max);
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<IntReg Name=\"R\"><Address>0</Address><Length>" + QByteArray::number(length)
                                    + "</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><Sign>" + sign
                                    + "</Sign></IntReg>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    CIntegerPtr r = map._GetNode("R");
    QCOMPARE(r->GetMin(), int64_t(min));
    QCOMPARE(r->GetMax(), int64_t(max));
}

void tst_NodeMap::maskedIntRegFields_data()
{
    QTest::addColumn<QByteArray>("endianess");
    QTest::addColumn<QByteArray>("bits");
    QTest::addColumn<QByteArray>("sign");
    QTest::addColumn<quint32>("registerValue");
    QTest::addColumn<qint64>("expected");
    // Little endian: bit 0 is the least significant bit
    QTest::newRow("little endian LSB 4 MSB 7") << QByteArray("LittleEndian") << QByteArray("<LSB>4</LSB><MSB>7</MSB>")
                                               << QByteArray("Unsigned") << quint32(0x000000a0) << qint64(0xa);
    QTest::newRow("little endian single Bit 31") << QByteArray("LittleEndian") << QByteArray("<Bit>31</Bit>")
                                                 << QByteArray("Unsigned") << quint32(0x80000000u) << qint64(1);
    // Big endian: bit 0 is the most significant bit of the whole register
    QTest::newRow("big endian Bit 0 is the top bit") << QByteArray("BigEndian") << QByteArray("<Bit>0</Bit>")
                                                     << QByteArray("Unsigned") << quint32(0x80000000u) << qint64(1);
    QTest::newRow("big endian LSB 31 MSB 24") << QByteArray("BigEndian") << QByteArray("<LSB>31</LSB><MSB>24</MSB>")
                                              << QByteArray("Unsigned") << quint32(0x000000ab) << qint64(0xab);
    QTest::newRow("signed field sign-extends from its top bit")
        << QByteArray("LittleEndian") << QByteArray("<LSB>8</LSB><MSB>11</MSB>") << QByteArray("Signed")
        << quint32(0x00000f00) << qint64(-1);
}

void tst_NodeMap::maskedIntRegFields()
{
    QFETCH(QByteArray, endianess);
    QFETCH(QByteArray, bits);
    QFETCH(QByteArray, sign);
    QFETCH(quint32, registerValue);
    QFETCH(qint64, expected);
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<MaskedIntReg Name=\"F\"><Address>0x40</Address><Length>4</Length>"
                                    "<AccessMode>RW</AccessMode><pPort>Device</pPort>"
                                    + bits + "<Sign>" + sign + "</Sign><Endianess>" + endianess
                                    + "</Endianess></MaskedIntReg>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    // registerValue is the numeric register value; store it in the register's byte order
    uint8_t b[4];
    for (int i = 0; i < 4; ++i)
        b[endianess == "LittleEndian" ? i : 3 - i] = uint8_t(registerValue >> (8 * i));
    port.Store(b, 0x40, 4);
    CIntegerPtr f = map._GetNode("F");
    QCOMPARE(f->GetValue(), int64_t(expected));
}

void tst_NodeMap::maskedIntRegReadModifyWriteKeepsOtherBits()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<MaskedIntReg Name=\"F\"><Address>0</Address><Length>4</Length>"
                                    "<AccessMode>RW</AccessMode><pPort>Device</pPort><LSB>8</LSB><MSB>15</MSB>"
                                    "</MaskedIntReg>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    port.poke32(0, 0x11223344);
    CIntegerPtr f = map._GetNode("F");
    QCOMPARE(f->GetValue(), int64_t(0x33));
    QCOMPARE(f->GetMax(), int64_t(255));
    f->SetValue(0xee);
    QCOMPARE(port.peek32(0), 0x1122ee44u);
}

void tst_NodeMap::maskedIntRegWriteOnlySkipsRead()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<MaskedIntReg Name=\"F\"><Address>0</Address><Length>4</Length>"
                                    "<AccessMode>WO</AccessMode><pPort>Device</pPort><Bit>0</Bit>"
                                    "</MaskedIntReg>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    port.poke32(0, 0xffff0000u);
    CIntegerPtr f = map._GetNode("F");
    QCOMPARE(int(f->GetAccessMode()), int(WO));
    f->SetValue(1);
    QCOMPARE(port.reads.load(), 0);
    QCOMPARE(port.peek32(0), 1u);
}

void tst_NodeMap::structRegExpandsToBitFields()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<StructReg Comment=\"Control\"><Address>0x8</Address><Length>4</Length>"
                                    "<AccessMode>RW</AccessMode><pPort>Device</pPort><Endianess>LittleEndian</Endianess>"
                                    "<StructEntry Name=\"Enable\"><Bit>0</Bit></StructEntry>"
                                    "<StructEntry Name=\"Mode\"><LSB>4</LSB><MSB>6</MSB><AccessMode>RO</AccessMode></StructEntry>"
                                    "</StructReg>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    port.poke32(8, 0x51);
    CIntegerPtr enable = map._GetNode("Enable");
    CIntegerPtr mode = map._GetNode("Mode");
    QCOMPARE(enable->GetValue(), int64_t(1));
    QCOMPARE(mode->GetValue(), int64_t(5));
    QCOMPARE(int(mode->GetAccessMode()), int(RO));
    QCOMPARE(int(enable->GetAccessMode()), int(RW));
    // Writing one field of the register drops the cached value of its neighbours
    port.poke32(8, 0x31);
    enable->SetValue(0);
    QCOMPARE(mode->GetValue(), int64_t(3));
    QCOMPARE(port.peek32(8), 0x30u);
}

void tst_NodeMap::registerAddressSumAndIndex()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"Base\"><Value>0x100</Value></Integer>"
                                    "<Integer Name=\"Sel\"><Value>2</Value></Integer>"
                                    "<IntReg Name=\"R\"><Address>0x10</Address><Address>0x1</Address>"
                                    "<pAddress>Base</pAddress><pIndex Offset=\"8\">Sel</pIndex><Offset>8</Offset>"
                                    "<Length>1</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>"
                                    "<IntReg Name=\"Embedded\"><IntSwissKnife Name=\"EmbeddedAddr\">"
                                    "<pVariable Name=\"B\">Base</pVariable><Formula>B + 0x20</Formula></IntSwissKnife>"
                                    "<Length>1</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>"
                                    "<IntReg Name=\"LengthStride\"><Address>0x200</Address><pIndex>Sel</pIndex>"
                                    "<Length>2</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    const uint8_t v = 0x5a;
    port.Store(&v, 0x100 + 0x10 + 0x1 + 2 * 8, 1);
    CIntegerPtr r = map._GetNode("R");
    QCOMPARE(r->GetValue(), int64_t(0x5a));
    const uint8_t w = 0x77;
    port.Store(&w, 0x120, 1);
    CIntegerPtr e = map._GetNode("Embedded");
    QCOMPARE(e->GetValue(), int64_t(0x77));
    // Without Offset the register's length is the stride
    const uint16_t x = 0x1234;
    port.Store(&x, 0x200 + 2 * 2, 2);
    CIntegerPtr ls = map._GetNode("LengthStride");
    QCOMPARE(ls->GetValue(), int64_t(0x1234));
    // Changing the index invalidates the register
    CIntegerPtr sel = map._GetNode("Sel");
    sel->SetValue(0);
    const uint8_t y = 0x01;
    port.Store(&y, 0x111, 1);
    QCOMPARE(r->GetValue(), int64_t(1));
}

void tst_NodeMap::integerIndexedValues()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"Sel\"><Value>0</Value></Integer>"
                                    "<Integer Name=\"Other\"><Value>99</Value></Integer>"
                                    "<Integer Name=\"T\"><pIndex>Sel</pIndex>"
                                    "<ValueIndexed Index=\"0\">10</ValueIndexed>"
                                    "<ValueIndexed Index=\"1\">20</ValueIndexed>"
                                    "<pValueIndexed Index=\"2\">Other</pValueIndexed>"
                                    "<ValueDefault>-1</ValueDefault></Integer>")
                               .constData());
    CIntegerPtr sel = map._GetNode("Sel");
    CIntegerPtr t = map._GetNode("T");
    QCOMPARE(t->GetValue(), int64_t(10));
    sel->SetValue(1);
    QCOMPARE(t->GetValue(), int64_t(20));
    sel->SetValue(2);
    QCOMPARE(t->GetValue(), int64_t(99));
    sel->SetValue(7);
    QCOMPARE(t->GetValue(), int64_t(-1));
    sel->SetValue(1);
    t->SetValue(21);
    sel->SetValue(0);
    QCOMPARE(t->GetValue(), int64_t(10));
    sel->SetValue(1);
    QCOMPARE(t->GetValue(), int64_t(21));
}

void tst_NodeMap::floatIndexedValuesAndCopies()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"Sel\"><Value>0</Value></Integer>"
                                    "<Float Name=\"Other\"><Value>9.5</Value></Float>"
                                    "<Float Name=\"Fallback\"><Value>-1.5</Value></Float>"
                                    "<Float Name=\"Copy\"><Value>0</Value></Float>"
                                    "<Float Name=\"T\"><pIndex>Sel</pIndex>"
                                    "<ValueIndexed Index=\"0\">1.25</ValueIndexed>"
                                    "<pValueIndexed Index=\"2\">Other</pValueIndexed>"
                                    "<pValueDefault>Fallback</pValueDefault>"
                                    "<pValueCopy>Copy</pValueCopy></Float>")
                               .constData());
    CIntegerPtr sel = map._GetNode("Sel");
    CFloatPtr t = map._GetNode("T");
    CFloatPtr other = map._GetNode("Other");
    CFloatPtr fallback = map._GetNode("Fallback");
    CFloatPtr copy = map._GetNode("Copy");
    QCOMPARE(t->GetValue(), 1.25);
    sel->SetValue(2);
    QCOMPARE(t->GetValue(), 9.5);
    t->SetValue(3.5);
    QCOMPARE(other->GetValue(), 3.5);
    QCOMPARE(copy->GetValue(), 3.5);
    sel->SetValue(7);
    QCOMPARE(t->GetValue(), -1.5);
    t->SetValue(4.75);
    QCOMPARE(fallback->GetValue(), 4.75);
    QCOMPARE(copy->GetValue(), 4.75);
    sel->SetValue(0);
    t->SetValue(0.5);
    QCOMPARE(t->GetValue(), 0.5);
    QCOMPARE(other->GetValue(), 3.5);
    QCOMPARE(fallback->GetValue(), 4.75);
}

void tst_NodeMap::valueNodeWithoutValueIsRejected()
{
    CNodeMapRef ints;
    try
    {
        ints._LoadXMLFromString(describe("<Integer Name=\"Empty\"><Min>0</Min></Integer>").constData());
        QFAIL("an Integer without a value loaded");
    }
    catch (const GenICam::RuntimeException& e)
    {
        QVERIFY2(QByteArray(e.GetDescription()).contains("'Empty': an Integer needs Value, pValue or pIndex"),
                 e.GetDescription());
    }
    CNodeMapRef floats;
    try
    {
        floats._LoadXMLFromString(describe("<Float Name=\"Empty\"><Min>0</Min></Float>").constData());
        QFAIL("a Float without a value loaded");
    }
    catch (const GenICam::RuntimeException& e)
    {
        QVERIFY2(QByteArray(e.GetDescription()).contains("'Empty': a Float needs Value, pValue or pIndex"),
                 e.GetDescription());
    }
}

void tst_NodeMap::integerToStringByRepresentation_data()
{
    QTest::addColumn<QByteArray>("representation");
    QTest::addColumn<qint64>("value");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("PureNumber") << QByteArray("PureNumber") << qint64(-42) << QByteArray("-42");
    QTest::newRow("HexNumber") << QByteArray("HexNumber") << qint64(0xbeef) << QByteArray("0xbeef");
    QTest::newRow("IPV4Address") << QByteArray("IPV4Address") << qint64(0xc0a80102) << QByteArray("192.168.1.2");
    QTest::newRow("MACAddress") << QByteArray("MACAddress") << qint64(0x0030531a2b3cLL)
                                << QByteArray("00:30:53:1a:2b:3c");
}

void tst_NodeMap::integerToStringByRepresentation()
{
    QFETCH(QByteArray, representation);
    QFETCH(qint64, value);
    QFETCH(QByteArray, text);
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"A\"><Value>0</Value><Representation>" + representation
                                    + "</Representation></Integer>")
                               .constData());
    CIntegerPtr a = map._GetNode("A");
    a->SetValue(value);
    QCOMPARE(QByteArray(a->ToString().c_str()), text);
    a->SetValue(0);
    a->FromString(text.constData());
    QCOMPARE(a->GetValue(), int64_t(value));
}

void tst_NodeMap::fromStringUnparsableRaisesInvalidArgument()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"A\"><Value>0</Value></Integer>"
                                    "<Float Name=\"F\"><Value>0</Value></Float>")
                               .constData());
    CIntegerPtr a = map._GetNode("A");
    CFloatPtr f = map._GetNode("F");
    QVERIFY_EXCEPTION_THROWN(a->FromString("twelve"), GenICam::InvalidArgumentException);
    QVERIFY_EXCEPTION_THROWN(f->FromString("1.2.3"), GenICam::InvalidArgumentException);
}

// ------------------------------------------------------------------ floats and formulas

void tst_NodeMap::floatRegRoundTrip_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<QByteArray>("endianess");
    QTest::newRow("4 bytes little endian") << 4 << QByteArray("LittleEndian");
    QTest::newRow("4 bytes big endian") << 4 << QByteArray("BigEndian");
    QTest::newRow("8 bytes little endian") << 8 << QByteArray("LittleEndian");
    QTest::newRow("8 bytes big endian") << 8 << QByteArray("BigEndian");
}

void tst_NodeMap::floatRegRoundTrip()
{
    QFETCH(int, length);
    QFETCH(QByteArray, endianess);
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<FloatReg Name=\"F\"><Address>0x30</Address><Length>" + QByteArray::number(length)
                                    + "</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><Endianess>"
                                    + endianess + "</Endianess></FloatReg>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    CFloatPtr f = map._GetNode("F");
    f->SetValue(1.5);
    QCOMPARE(f->GetValue(), 1.5);
    // The bytes are IEEE 754 in the register's byte order
    uint8_t bytes[8] = {};
    port.Load(bytes, 0x30, length);
    const int top = endianess == "BigEndian" ? 0 : length - 1;
    QCOMPARE(int(bytes[top]), 0x3f);
    QCOMPARE(int(f->GetNode()->GetCachingMode()), int(WriteAround));
}

void tst_NodeMap::floatChecksMinMaxOnly()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Float Name=\"F\"><Value>1</Value><Min>0</Min><Max>10</Max><Inc>0.5</Inc>"
                                    "</Float>")
                               .constData());
    CFloatPtr f = map._GetNode("F");
    f->SetValue(1.3); // off the Inc grid, still accepted
    QCOMPARE(f->GetValue(), 1.3);
    QVERIFY(f->HasInc());
    QCOMPARE(f->GetInc(), 0.5);
    QVERIFY_EXCEPTION_THROWN(f->SetValue(10.5), GenICam::OutOfRangeException);
    QVERIFY_EXCEPTION_THROWN(f->SetValue(-0.1), GenICam::OutOfRangeException);
    f->ImposeMax(5);
    QCOMPARE(f->GetMax(), 5.0);
}

void tst_NodeMap::floatToStringUsesNotationAndPrecision()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Float Name=\"Fixed\"><Value>3.14159</Value><DisplayNotation>Fixed</DisplayNotation>"
                                    "<DisplayPrecision>2</DisplayPrecision></Float>"
                                    "<Float Name=\"Plain\"><Value>0.5</Value></Float>")
                               .constData());
    CFloatPtr fixed = map._GetNode("Fixed");
    QCOMPARE(QByteArray(fixed->ToString().c_str()), QByteArray("3.14"));
    QCOMPARE(int(fixed->GetDisplayNotation()), int(fnFixed));
    QCOMPARE(fixed->GetDisplayPrecision(), int64_t(2));
    CFloatPtr plain = map._GetNode("Plain");
    QCOMPARE(int(plain->GetDisplayNotation()), int(fnAutomatic));
    QCOMPARE(plain->GetDisplayPrecision(), int64_t(6));
    plain->FromString("2.5e1");
    QCOMPARE(plain->GetValue(), 25.0);
}

void tst_NodeMap::swissKnifeEvaluatesWithVariableSuffixes()
{
    CNodeMapRef map;
    map._LoadXMLFromString(
        describe("<Integer Name=\"W\"><Value>100</Value><Min>10</Min><Max>1000</Max></Integer>"
                 "<Enumeration Name=\"PF\"><EnumEntry Name=\"Mono8\"><Value>17</Value></EnumEntry>"
                 "<EnumEntry Name=\"Mono16\"><Value>18</Value></EnumEntry><Value>17</Value></Enumeration>"
                 "<SwissKnife Name=\"S\"><pVariable Name=\"X\">W</pVariable><pVariable Name=\"P\">PF</pVariable>"
                 "<Constant Name=\"K\">0.5</Constant><Expression Name=\"E\">X.Max - X.Min</Expression>"
                 "<Formula>(P = P.Entry.Mono8) ? X * K + E : -1</Formula></SwissKnife>")
            .constData());
    CFloatPtr s = map._GetNode("S");
    QCOMPARE(int(s->GetAccessMode()), int(RO));
    QCOMPARE(s->GetValue(), 100 * 0.5 + 990);
    // A write to a variable invalidates the swissknife
    CIntegerPtr w = map._GetNode("W");
    w->SetValue(200);
    QCOMPARE(s->GetValue(), 200 * 0.5 + 990);
    CEnumerationPtr pf = map._GetNode("PF");
    pf->FromString("Mono16");
    QCOMPARE(s->GetValue(), -1.0);
    QVERIFY_EXCEPTION_THROWN(s->SetValue(1.0), GenICam::AccessException);
}

void tst_NodeMap::intSwissKnifeIsReadOnly()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"A\"><Value>7</Value></Integer>"
                                    "<IntSwissKnife Name=\"K\"><pVariable Name=\"A\">A</pVariable>"
                                    "<Formula>A / 2 + 010</Formula></IntSwissKnife>")
                               .constData());
    CIntegerPtr k = map._GetNode("K");
    QCOMPARE(k->GetValue(), int64_t(7 / 2 + 10));
    QCOMPARE(int(k->GetAccessMode()), int(RO));
    QVERIFY_EXCEPTION_THROWN(k->SetValue(1), GenICam::AccessException);
}

void tst_NodeMap::converterBothDirectionsAndRange_data()
{
    QTest::addColumn<QByteArray>("slope");
    QTest::addColumn<QByteArray>("formulaTo");
    QTest::addColumn<QByteArray>("formulaFrom");
    QTest::addColumn<double>("min");
    QTest::addColumn<double>("max");
    QTest::newRow("Increasing") << QByteArray("Increasing") << QByteArray("FROM * 10") << QByteArray("TO / 10")
                                << 1.0 << 100.0;
    QTest::newRow("Decreasing swaps the bounds") << QByteArray("Decreasing") << QByteArray("1000 - FROM * 10")
                                                 << QByteArray("(1000 - TO) / 10") << 0.0 << 99.0;
    QTest::newRow("Automatic takes smaller and larger") << QByteArray("Automatic") << QByteArray("1000 - FROM * 10")
                                                        << QByteArray("(1000 - TO) / 10") << 0.0 << 99.0;
    QTest::newRow("Varying reports the whole range") << QByteArray("Varying") << QByteArray("FROM * 10")
                                                     << QByteArray("TO / 10") << -DBL_MAX << DBL_MAX;
}

void tst_NodeMap::converterBothDirectionsAndRange()
{
    QFETCH(QByteArray, slope);
    QFETCH(QByteArray, formulaTo);
    QFETCH(QByteArray, formulaFrom);
    QFETCH(double, min);
    QFETCH(double, max);
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"Raw\"><Value>500</Value><Min>10</Min><Max>1000</Max></Integer>"
                                    "<Converter Name=\"C\"><FormulaTo>" + formulaTo + "</FormulaTo><FormulaFrom>"
                                    + formulaFrom + "</FormulaFrom><pValue>Raw</pValue><Slope>" + slope
                                    + "</Slope></Converter>")
                               .constData());
    CFloatPtr c = map._GetNode("C");
    CIntegerPtr raw = map._GetNode("Raw");
    QCOMPARE(c->GetMin(), min);
    QCOMPARE(c->GetMax(), max);
    c->SetValue(42);
    QCOMPARE(c->GetValue(), 42.0);
    QVERIFY(raw->GetValue() == 420 || raw->GetValue() == 580);
}

void tst_NodeMap::converterDisplayPropertiesFallBackToTarget()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Float Name=\"T\"><Value>1</Value><Unit>us</Unit><Representation>Logarithmic"
                                    "</Representation><DisplayNotation>Scientific</DisplayNotation>"
                                    "<DisplayPrecision>3</DisplayPrecision></Float>"
                                    "<Converter Name=\"C\"><FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom>"
                                    "<pValue>T</pValue></Converter>"
                                    "<Converter Name=\"Own\"><FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom>"
                                    "<pValue>T</pValue><Unit>ms</Unit><Representation>Linear</Representation>"
                                    "</Converter>")
                               .constData());
    CFloatPtr c = map._GetNode("C");
    QCOMPARE(QByteArray(c->GetUnit().c_str()), QByteArray("us"));
    QCOMPARE(int(c->GetRepresentation()), int(Logarithmic));
    QCOMPARE(int(c->GetDisplayNotation()), int(fnScientific));
    QCOMPARE(c->GetDisplayPrecision(), int64_t(3));
    CFloatPtr own = map._GetNode("Own");
    QCOMPARE(QByteArray(own->GetUnit().c_str()), QByteArray("ms"));
    QCOMPARE(int(own->GetRepresentation()), int(Linear));
}

void tst_NodeMap::intConverterRoundTrip()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"Raw\"><Value>8</Value><Min>0</Min><Max>64</Max></Integer>"
                                    "<IntConverter Name=\"Bytes\"><FormulaTo>FROM / 8</FormulaTo>"
                                    "<FormulaFrom>TO * 8</FormulaFrom><pValue>Raw</pValue></IntConverter>")
                               .constData());
    CIntegerPtr bytes = map._GetNode("Bytes");
    QCOMPARE(bytes->GetValue(), int64_t(64));
    QCOMPARE(bytes->GetMin(), int64_t(0));
    QCOMPARE(bytes->GetMax(), int64_t(512));
    bytes->SetValue(128);
    CIntegerPtr raw = map._GetNode("Raw");
    QCOMPARE(raw->GetValue(), int64_t(16));
    QCOMPARE(int(bytes->GetAccessMode()), int(RW));
}

void tst_NodeMap::swissKnifeDivisionByZeroRaises()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"Z\"><Value>0</Value></Integer>"
                                    "<IntSwissKnife Name=\"K\"><pVariable Name=\"Z\">Z</pVariable>"
                                    "<Formula>10 / Z</Formula></IntSwissKnife>")
                               .constData());
    CIntegerPtr k = map._GetNode("K");
    QVERIFY_EXCEPTION_THROWN(k->GetValue(), GenICam::GenericException);
}

void tst_NodeMap::formulaSyntaxErrorNamesNode()
{
    CNodeMapRef map;
    try
    {
        map._LoadXMLFromString(describe("<IntSwissKnife Name=\"Broken\"><Formula>3 + * 4</Formula></IntSwissKnife>")
                                   .constData());
        QFAIL("no exception");
    }
    catch (const GenICam::RuntimeException& e)
    {
        QVERIFY2(QByteArray(e.GetDescription()).contains("Broken"), e.GetDescription());
    }
}

// ------------------------------------------------------------------ access modes

void tst_NodeMap::accessModeRules_data()
{
    QTest::addColumn<QByteArray>("node");
    QTest::addColumn<int>("expected");
    QTest::newRow("floating value is RW") << QByteArray("<Integer Name=\"N\"><Value>1</Value></Integer>") << int(RW);
    QTest::newRow("pIsImplemented 0 gives NI")
        << QByteArray("<Integer Name=\"N\"><pIsImplemented>Zero</pIsImplemented><Value>1</Value></Integer>") << int(NI);
    QTest::newRow("pIsAvailable 0 gives NA")
        << QByteArray("<Integer Name=\"N\"><pIsAvailable>Zero</pIsAvailable><Value>1</Value></Integer>") << int(NA);
    QTest::newRow("pIsAvailable true keeps RW")
        << QByteArray("<Integer Name=\"N\"><pIsAvailable>One</pIsAvailable><Value>1</Value></Integer>") << int(RW);
    QTest::newRow("pIsLocked makes RW read-only")
        << QByteArray("<Integer Name=\"N\"><pIsLocked>One</pIsLocked><Value>1</Value></Integer>") << int(RO);
    QTest::newRow("pIsLocked makes WO not available")
        << QByteArray("<IntReg Name=\"N\"><pIsLocked>One</pIsLocked><Address>0</Address><Length>4</Length>"
                      "<AccessMode>WO</AccessMode><pPort>Device</pPort></IntReg>")
        << int(NA);
    QTest::newRow("pIsLocked by a Boolean")
        << QByteArray("<Integer Name=\"N\"><pIsLocked>BoolOn</pIsLocked><Value>1</Value></Integer>") << int(RO);
    QTest::newRow("pIsAvailable by a Float")
        << QByteArray("<Integer Name=\"N\"><pIsAvailable>FloatHalf</pIsAvailable><Value>1</Value></Integer>") << int(RW);
    QTest::newRow("ImposedAccessMode RO narrows")
        << QByteArray("<Integer Name=\"N\"><ImposedAccessMode>RO</ImposedAccessMode><Value>1</Value></Integer>") << int(RO);
    QTest::newRow("register without AccessMode is RO")
        << QByteArray("<IntReg Name=\"N\"><Address>0</Address><Length>4</Length><pPort>Device</pPort></IntReg>") << int(RO);
    QTest::newRow("register WO") << QByteArray("<IntReg Name=\"N\"><Address>0</Address><Length>4</Length>"
                                               "<AccessMode>WO</AccessMode><pPort>Device</pPort></IntReg>")
                                 << int(WO);
    QTest::newRow("RO register imposed WO gives NA")
        << QByteArray("<IntReg Name=\"N\"><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode>"
                      "<ImposedAccessMode>WO</ImposedAccessMode><pPort>Device</pPort></IntReg>")
        << int(NA);
    QTest::newRow("category is RO") << QByteArray("<Category Name=\"N\"/>") << int(RO);
    QTest::newRow("swissknife is RO") << QByteArray("<SwissKnife Name=\"N\"><Formula>1</Formula></SwissKnife>") << int(RO);
}

void tst_NodeMap::accessModeRules()
{
    QFETCH(QByteArray, node);
    QFETCH(int, expected);
    CNodeMapRef map;
    map._LoadXMLFromString(describe(node + "<Integer Name=\"Zero\"><Value>0</Value></Integer>"
                                           "<Integer Name=\"One\"><Value>1</Value></Integer>"
                                           "<Boolean Name=\"BoolOn\"><Value>1</Value></Boolean>"
                                           "<Float Name=\"FloatHalf\"><Value>0.5</Value></Float>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    QCOMPARE(int(map._GetNode("N")->GetAccessMode()), expected);
}

void tst_NodeMap::imposedAccessModeCombines()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"A\"><Value>1</Value></Integer>"
                                    "<Integer Name=\"B\"><pValue>A</pValue></Integer>")
                               .constData());
    INode* a = map._GetNode("A");
    INode* b = map._GetNode("B");
    QCOMPARE(int(b->GetAccessMode()), int(RW));
    a->ImposeAccessMode(RO);
    QCOMPARE(int(a->GetAccessMode()), int(RO));
    // The pValue node takes its target's mode, also after an impose
    QCOMPARE(int(b->GetAccessMode()), int(RO));
    a->ImposeAccessMode(NA);
    QCOMPARE(int(b->GetAccessMode()), int(NA));
    a->ImposeAccessMode(RW);
    QCOMPARE(int(b->GetAccessMode()), int(RW));
    b->ImposeAccessMode(NI);
    QCOMPARE(int(b->GetAccessMode()), int(NI));
}

void tst_NodeMap::imposedVisibilityIsStricter()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"A\"><Visibility>Expert</Visibility><Value>1</Value></Integer>").constData());
    INode* a = map._GetNode("A");
    QCOMPARE(int(a->GetVisibility()), int(Expert));
    a->ImposeVisibility(Beginner);
    QCOMPARE(int(a->GetVisibility()), int(Expert));
    a->ImposeVisibility(Invisible);
    QCOMPARE(int(a->GetVisibility()), int(Invisible));
}

void tst_NodeMap::getValueOnUnreadableRaisesAccess()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<IntReg Name=\"W\"><Address>0</Address><Length>4</Length><AccessMode>WO</AccessMode>"
                                    "<pPort>Device</pPort></IntReg>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    CIntegerPtr w = map._GetNode("W");
    // Readability is checked whatever Verify says
    QVERIFY_EXCEPTION_THROWN(w->GetValue(false, false), GenICam::AccessException);
    QVERIFY_EXCEPTION_THROWN(w->ToString(false, false), GenICam::AccessException);
    QCOMPARE(port.reads.load(), 0);
}

void tst_NodeMap::setValueOnReadOnlyRaisesAccess()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<IntReg Name=\"R\"><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode>"
                                    "<pPort>Device</pPort></IntReg>"
                                    "<Integer Name=\"I\"><Value>1</Value></Integer>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    CIntegerPtr r = map._GetNode("R");
    QVERIFY_EXCEPTION_THROWN(r->SetValue(1), GenICam::AccessException);
    QVERIFY_EXCEPTION_THROWN(r->FromString("1"), GenICam::AccessException);
    QCOMPARE(port.writes.load(), 0);
}

void tst_NodeMap::minMaxNeedAvailableNode()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"Off\"><Value>0</Value></Integer>"
                                    "<Integer Name=\"A\"><pIsAvailable>Off</pIsAvailable><Value>1</Value><Min>0</Min>"
                                    "<Max>9</Max></Integer>")
                               .constData());
    CIntegerPtr a = map._GetNode("A");
    QVERIFY_EXCEPTION_THROWN(a->GetMin(), GenICam::AccessException);
    QVERIFY_EXCEPTION_THROWN(a->GetMax(), GenICam::AccessException);
    QVERIFY_EXCEPTION_THROWN(a->GetInc(), GenICam::AccessException);
    CIntegerPtr off = map._GetNode("Off");
    off->SetValue(1);
    QCOMPARE(a->GetMax(), int64_t(9));
}

void tst_NodeMap::unconnectedPortMakesRegistersNotAvailable()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<IntReg Name=\"R\"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode>"
                                    "<pPort>Device</pPort></IntReg>")
                               .constData());
    INode* r = map._GetNode("R");
    QCOMPARE(int(r->GetAccessMode()), int(NA));
    CountingPort port;
    QVERIFY(map._Connect(&port, "Device"));
    QCOMPARE(int(r->GetAccessMode()), int(RW));
    QVERIFY(!map._Connect(&port, "NoSuchPort"));
    QVERIFY(!map._Connect(&port, "R"));
}

// ------------------------------------------------------------------ caching

static const char* kCachingXml =
    "<IntReg Name=\"WT\"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
    "<Cachable>WriteThrough</Cachable></IntReg>"
    "<IntReg Name=\"NC\"><Address>4</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
    "<Cachable>NoCache</Cachable></IntReg>"
    "<IntReg Name=\"WA\"><Address>8</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
    "<Cachable>WriteAround</Cachable></IntReg>"
    "<IntReg Name=\"Odd\"><Address>12</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
    "<Cachable>No</Cachable></IntReg>"
    "<Integer Name=\"OverNC\"><pValue>NC</pValue></Integer>";

void tst_NodeMap::writeThroughCachesWrittenValue()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kCachingXml).constData());
    CountingPort port;
    map._Connect(&port);
    CIntegerPtr wt = map._GetNode("WT");
    QCOMPARE(int(wt->GetNode()->GetCachingMode()), int(WriteThrough));
    wt->SetValue(5);
    const int readsBefore = port.reads;
    QCOMPARE(wt->GetValue(), int64_t(5));
    QCOMPARE(port.reads.load(), readsBefore);
    QVERIFY(wt->IsValueCacheValid());
    // The device changes behind the engine's back: the cache still answers
    port.poke32(0, 9);
    QCOMPARE(wt->GetValue(), int64_t(5));
    wt->GetNode()->InvalidateNode();
    QCOMPARE(wt->GetValue(), int64_t(9));
}

void tst_NodeMap::noCacheReadsEveryTime()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kCachingXml).constData());
    CountingPort port;
    map._Connect(&port);
    CIntegerPtr nc = map._GetNode("NC");
    CIntegerPtr over = map._GetNode("OverNC");
    // A value node inherits NoCache from its child
    QCOMPARE(int(over->GetNode()->GetCachingMode()), int(NoCache));
    QVERIFY(!over->GetNode()->IsCachable());
    nc->GetValue();
    const int r1 = port.reads;
    nc->GetValue();
    QCOMPARE(port.reads.load(), r1 + 1);
    port.poke32(4, 77);
    QCOMPARE(over->GetValue(), int64_t(77));
}

void tst_NodeMap::writeAroundCachesOnlyReads()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kCachingXml).constData());
    CountingPort port;
    map._Connect(&port);
    CIntegerPtr wa = map._GetNode("WA");
    wa->SetValue(3);
    const int r1 = port.reads;
    QCOMPARE(wa->GetValue(), int64_t(3));
    QCOMPARE(port.reads.load(), r1 + 1);
    QCOMPARE(wa->GetValue(), int64_t(3));
    QCOMPARE(port.reads.load(), r1 + 1);
}

void tst_NodeMap::ignoreCacheAndVerifyReadDevice()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kCachingXml).constData());
    CountingPort port;
    map._Connect(&port);
    CIntegerPtr wt = map._GetNode("WT");
    wt->SetValue(1);
    port.poke32(0, 2);
    QCOMPARE(wt->GetValue(false, true), int64_t(2));
    port.poke32(0, 3);
    QCOMPARE(wt->GetValue(true, false), int64_t(3));
}

void tst_NodeMap::writeInvalidatesDependents()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"Width\"><pValue>WidthReg</pValue></Integer>"
                                    "<IntReg Name=\"WidthReg\"><Address>0</Address><Length>4</Length>"
                                    "<AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>"
                                    "<Integer Name=\"Height\"><Value>10</Value></Integer>"
                                    "<IntSwissKnife Name=\"Payload\"><pVariable Name=\"W\">Width</pVariable>"
                                    "<pVariable Name=\"H\">Height</pVariable><Formula>W*H</Formula></IntSwissKnife>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    CIntegerPtr width = map._GetNode("Width");
    CIntegerPtr payload = map._GetNode("Payload");
    width->SetValue(100);
    QCOMPARE(payload->GetValue(), int64_t(1000));
    QVERIFY(payload->IsValueCacheValid());
    width->SetValue(200);
    QVERIFY(!payload->IsValueCacheValid());
    QCOMPARE(payload->GetValue(), int64_t(2000));
    CIntegerPtr height = map._GetNode("Height");
    height->SetValue(3);
    QCOMPARE(payload->GetValue(), int64_t(600));
}

void tst_NodeMap::invalidatorDeclaresHiddenDependency()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<IntReg Name=\"Status\"><Address>0</Address><Length>4</Length>"
                                    "<AccessMode>RO</AccessMode><pPort>Device</pPort><pInvalidator>Trigger</pInvalidator>"
                                    "</IntReg>"
                                    "<Integer Name=\"Trigger\"><Value>0</Value></Integer>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    CIntegerPtr status = map._GetNode("Status");
    QCOMPARE(status->GetValue(), int64_t(0));
    port.poke32(0, 4);
    QCOMPARE(status->GetValue(), int64_t(0));
    CIntegerPtr trigger = map._GetNode("Trigger");
    trigger->SetValue(1);
    QCOMPARE(status->GetValue(), int64_t(4));
    NodeList_t list;
    status->GetNode()->GetChildren(list, ctInvalidatingChildren);
    QCOMPARE(list.size(), size_t(1));
    QCOMPARE(list[0], trigger->GetNode());
}

void tst_NodeMap::cachableUnknownValueMeansNoCache()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kCachingXml).constData());
    QCOMPARE(int(map._GetNode("Odd")->GetCachingMode()), int(NoCache));
}

// ------------------------------------------------------------------ other node types

static const char* kEnumXml =
    "<Integer Name=\"Avail\"><Value>0</Value></Integer>"
    "<Enumeration Name=\"PixelFormat\"><DisplayName>Pixel Format</DisplayName>"
    "<EnumEntry Name=\"Mono8\"><Value>0x01080001</Value><DisplayName>Mono 8</DisplayName></EnumEntry>"
    "<EnumEntry Name=\"Mono12\"><pIsAvailable>Avail</pIsAvailable><Value>0x01100005</Value></EnumEntry>"
    "<EnumEntry Name=\"Mono16\"><Value>0x01100007</Value><NumericValue>16.5</NumericValue>"
    "<IsSelfClearing>Yes</IsSelfClearing></EnumEntry>"
    "<pValue>PixelFormatReg</pValue></Enumeration>"
    "<IntReg Name=\"PixelFormatReg\"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode>"
    "<pPort>Device</pPort></IntReg>";

void tst_NodeMap::enumerationEntriesAndLookup()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kEnumXml).constData());
    CountingPort port;
    map._Connect(&port);
    port.poke32(0, 0x01080001);
    CEnumerationPtr pf = map._GetNode("PixelFormat");
    NodeList_t entries;
    pf->GetEntries(entries);
    QCOMPARE(entries.size(), size_t(3));
    QCOMPARE(QByteArray(entries[0]->GetName().c_str()), QByteArray("EnumEntry_PixelFormat_Mono8"));
    QCOMPARE(QByteArray(entries[2]->GetName().c_str()), QByteArray("EnumEntry_PixelFormat_Mono16"));
    StringList_t symbolics;
    pf->GetSymbolics(symbolics);
    QCOMPARE(symbolics.size(), size_t(2)); // Mono12 is not available
    QCOMPARE(QByteArray(pf->ToString().c_str()), QByteArray("Mono8"));
    QCOMPARE(QByteArray(pf->GetCurrentEntry()->GetSymbolic().c_str()), QByteArray("Mono8"));
    IEnumEntry* mono16 = pf->GetEntryByName("Mono16");
    QVERIFY(mono16);
    QCOMPARE(mono16->GetValue(), int64_t(0x01100007));
    QCOMPARE(mono16->GetNumericValue(), 16.5);
    QVERIFY(mono16->IsSelfClearing());
    QCOMPARE(pf->GetEntry(0x01080001)->GetNumericValue(), double(0x01080001));
    QVERIFY(pf->GetEntry(12345) == nullptr);
    QVERIFY(pf->GetEntryByName("Nope") == nullptr);
    pf->SetIntValue(0x01100007);
    QCOMPARE(port.peek32(0), 0x01100007u);
    *pf = "Mono8";
    QCOMPARE(pf->GetIntValue(), int64_t(0x01080001));
    QCOMPARE(QByteArray(entries[0]->GetDisplayName().c_str()), QByteArray("Mono 8"));
    QCOMPARE(QByteArray(entries[2]->GetDisplayName().c_str()), QByteArray("Mono16"));
}

void tst_NodeMap::enumerationSetUnavailableEntryIsOutOfRange()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kEnumXml).constData());
    CountingPort port;
    map._Connect(&port);
    CEnumerationPtr pf = map._GetNode("PixelFormat");
    QCOMPARE(int(pf->GetEntryByName("Mono12")->GetNode()->GetAccessMode()), int(NA));
    QVERIFY_EXCEPTION_THROWN(pf->FromString("Mono12"), GenICam::OutOfRangeException);
    QVERIFY_EXCEPTION_THROWN(pf->SetIntValue(0x01100005), GenICam::OutOfRangeException);
    QVERIFY_EXCEPTION_THROWN(pf->SetIntValue(42), GenICam::OutOfRangeException);
    // The entry becomes available when its condition changes
    CIntegerPtr avail = map._GetNode("Avail");
    avail->SetValue(1);
    pf->FromString("Mono12");
    QCOMPARE(port.peek32(0), 0x01100005u);
}

void tst_NodeMap::enumerationUnknownNameIsInvalidArgument()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kEnumXml).constData());
    CountingPort port;
    map._Connect(&port);
    CEnumerationPtr pf = map._GetNode("PixelFormat");
    QVERIFY_EXCEPTION_THROWN(pf->FromString("RGB8"), GenICam::InvalidArgumentException);
}

void tst_NodeMap::enumerationEntryNodeNames()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe(kEnumXml).constData());
    INode* entry = map._GetNode("EnumEntry_PixelFormat_Mono16");
    QVERIFY(entry);
    CEnumEntryPtr e = entry;
    QCOMPARE(QByteArray(e->GetSymbolic().c_str()), QByteArray("Mono16"));
    QCOMPARE(QByteArray(e->ToString().c_str()), QByteArray("Mono16"));
    QCOMPARE(int(entry->GetPrincipalInterfaceType()), int(intfIEnumEntry));
    QVERIFY(map._GetNode("Mono16") == nullptr);
}

void tst_NodeMap::booleanOnOffValues()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Boolean Name=\"B\"><pValue>R</pValue><OnValue>5</OnValue><OffValue>2</OffValue></Boolean>"
                                    "<IntReg Name=\"R\"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode>"
                                    "<pPort>Device</pPort></IntReg>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    CBooleanPtr b = map._GetNode("B");
    b->SetValue(true);
    QCOMPARE(port.peek32(0), 5u);
    QVERIFY(b->GetValue());
    b->SetValue(false);
    QCOMPARE(port.peek32(0), 2u);
    QVERIFY(!b->GetValue());
    port.poke32(0, 5);
    b->GetNode()->InvalidateNode();
    QVERIFY(b->GetValue());
}

void tst_NodeMap::booleanTextForms_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("value");
    QTest::newRow("1") << QByteArray("1") << true;
    QTest::newRow("0") << QByteArray("0") << false;
    QTest::newRow("true") << QByteArray("true") << true;
    QTest::newRow("FALSE") << QByteArray("FALSE") << false;
    QTest::newRow("True") << QByteArray("True") << true;
}

void tst_NodeMap::booleanTextForms()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, value);
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Boolean Name=\"B\"><Value>0</Value></Boolean>").constData());
    CBooleanPtr b = map._GetNode("B");
    b->SetValue(!value);
    b->FromString(text.constData());
    QCOMPARE(b->GetValue(), value);
    QCOMPARE(QByteArray(b->ToString().c_str()), QByteArray(value ? "1" : "0"));
    QVERIFY_EXCEPTION_THROWN(b->FromString("maybe"), GenICam::InvalidArgumentException);
}

void tst_NodeMap::commandExecuteAndIsDone()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Command Name=\"Start\"><pValue>StartReg</pValue><CommandValue>1</CommandValue></Command>"
                                    "<IntReg Name=\"StartReg\"><Address>0</Address><Length>4</Length>"
                                    "<AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    CCommandPtr start = map._GetNode("Start");
    QVERIFY(start->IsDone());
    start->Execute();
    QCOMPARE(port.peek32(0), 1u);
    QVERIFY(!start->IsDone());
    QCOMPARE(QByteArray(start->ToString().c_str()), QByteArray("1"));
    // The device clears the register when the command completes; IsDone reads past the cache
    port.poke32(0, 0);
    QVERIFY(start->IsDone());
    QCOMPARE(QByteArray(start->ToString().c_str()), QByteArray("0"));
}

void tst_NodeMap::commandOnWriteOnlyTargetIsDoneAtOnce()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Command Name=\"Trig\"><pValue>TrigReg</pValue><CommandValue>7</CommandValue></Command>"
                                    "<IntReg Name=\"TrigReg\"><Address>0</Address><Length>4</Length>"
                                    "<AccessMode>WO</AccessMode><pPort>Device</pPort></IntReg>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    CCommandPtr trig = map._GetNode("Trig");
    QCOMPARE(int(trig->GetAccessMode()), int(WO));
    trig->Execute();
    QCOMPARE(port.peek32(0), 7u);
    QVERIFY(trig->IsDone());
}

void tst_NodeMap::commandTextForms()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Command Name=\"C\"><pValue>R</pValue><CommandValue>1</CommandValue></Command>"
                                    "<IntReg Name=\"R\"><Address>0</Address><Length>4</Length>"
                                    "<AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    CCommandPtr c = map._GetNode("C");
    c->FromString("0");
    QCOMPARE(port.writes.load(), 0);
    c->FromString("true");
    QCOMPARE(port.writes.load(), 1);
    QVERIFY_EXCEPTION_THROWN(c->FromString("go"), GenICam::InvalidArgumentException);
}

void tst_NodeMap::stringFloatingAndRegister()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<String Name=\"S\"><Value>hello</Value></String>"
                                    "<StringReg Name=\"SR\"><Address>0x10</Address><Length>8</Length>"
                                    "<AccessMode>RW</AccessMode><pPort>Device</pPort></StringReg>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    CStringPtr s = map._GetNode("S");
    QCOMPARE(QByteArray(s->GetValue().c_str()), QByteArray("hello"));
    s->SetValue("world");
    QCOMPARE(QByteArray(s->ToString().c_str()), QByteArray("world"));
    CStringPtr sr = map._GetNode("SR");
    port.Store("ABC\0xyz", 0x10, 7);
    QCOMPARE(QByteArray(sr->GetValue().c_str()), QByteArray("ABC"));
    QCOMPARE(sr->GetMaxLength(), int64_t(8));
    sr->SetValue("12345678");
    char back[9] = {};
    port.Load(back, 0x10, 8);
    QCOMPARE(QByteArray(back), QByteArray("12345678"));
    sr->GetNode()->InvalidateNode();
    QCOMPARE(QByteArray(sr->GetValue().c_str()), QByteArray("12345678"));
}

void tst_NodeMap::stringRegTooLongIsOutOfRange()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<StringReg Name=\"SR\"><Address>0</Address><Length>4</Length>"
                                    "<AccessMode>RW</AccessMode><pPort>Device</pPort></StringReg>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    CStringPtr sr = map._GetNode("SR");
    QVERIFY_EXCEPTION_THROWN(sr->SetValue("too long"), GenICam::OutOfRangeException);
    QCOMPARE(port.writes.load(), 0);
}

void tst_NodeMap::registerBytesAndText()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Register Name=\"Raw\"><Address>0x20</Address><Length>4</Length>"
                                    "<AccessMode>RW</AccessMode><pPort>Device</pPort></Register>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    CRegisterPtr raw = map._GetNode("Raw");
    QCOMPARE(raw->GetLength(), int64_t(4));
    QCOMPARE(raw->GetAddress(), int64_t(0x20));
    const uint8_t bytes[4] = {0xde, 0xad, 0xbe, 0xef};
    raw->Set(bytes, 4);
    uint8_t back[4] = {};
    raw->Get(back, 4);
    QCOMPARE(QByteArray(reinterpret_cast<char*>(back), 4).toHex(), QByteArray("deadbeef"));
    QCOMPARE(QByteArray(raw->ToString().c_str()), QByteArray("0xdeadbeef"));
    raw->FromString("0x01020304");
    QCOMPARE(port.peek32(0x20), 0x04030201u);
    uint8_t tooMany[5] = {};
    QVERIFY_EXCEPTION_THROWN(raw->Get(tooMany, 5), GenICam::OutOfRangeException);
}

namespace
{
    //! Fails the test on an empty transfer: its buffer may be null, which a port need not expect
    class StrictPort : public EngineTest::CountingPort
    {
    public:
        void Read(void* pBuffer, int64_t Address, int64_t Length) override
        {
            if (Length <= 0 || !pBuffer)
                ++emptyTransfers;
            CountingPort::Read(pBuffer, Address, Length);
        }
        void Write(const void* pBuffer, int64_t Address, int64_t Length) override
        {
            if (Length <= 0 || !pBuffer)
                ++emptyTransfers;
            CountingPort::Write(pBuffer, Address, Length);
        }
        int emptyTransfers = 0;
    };
}

void tst_NodeMap::zeroLengthRegisterNeverReachesThePort()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Register Name=\"Empty\"><Address>0x20</Address><Length>0</Length>"
                                    "<AccessMode>RW</AccessMode><pPort>Device</pPort></Register>")
                               .constData());
    StrictPort port;
    map._Connect(&port);
    CRegisterPtr empty = map._GetNode("Empty");
    QCOMPARE(empty->GetLength(), int64_t(0));
    empty->Get(nullptr, 0);
    empty->Set(nullptr, 0);
    QCOMPARE(QByteArray(empty->ToString().c_str()), QByteArray("0x"));
    QCOMPARE(port.emptyTransfers, 0);
    QCOMPARE(port.reads.load(), 0);
}

void tst_NodeMap::categoryFeaturesAndIsFeature()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Category Name=\"Root\"><pFeature>ImageFormat</pFeature><pFeature>Loose</pFeature></Category>"
                                    "<Category Name=\"ImageFormat\"><pFeature>Width</pFeature><pFeature>Height</pFeature>"
                                    "</Category>"
                                    "<Integer Name=\"Width\"><Value>1</Value></Integer>"
                                    "<Integer Name=\"Height\"><Value>1</Value></Integer>"
                                    "<Integer Name=\"Loose\"><Value>1</Value></Integer>"
                                    "<Integer Name=\"Hidden\"><Value>1</Value></Integer>")
                               .constData());
    CCategoryPtr root = map._GetNode("Root");
    FeatureList_t features;
    root->GetFeatures(features);
    QCOMPARE(features.size(), size_t(2));
    QCOMPARE(QByteArray(features[0]->GetNode()->GetName().c_str()), QByteArray("ImageFormat"));
    CCategoryPtr imageFormat = map._GetNode("ImageFormat");
    imageFormat->GetFeatures(features);
    QCOMPARE(QByteArray(features[1]->GetNode()->GetName().c_str()), QByteArray("Height"));
    QVERIFY(map._GetNode("Width")->IsFeature());
    QVERIFY(map._GetNode("ImageFormat")->IsFeature());
    QVERIFY(!map._GetNode("Hidden")->IsFeature());
    NodeList_t children;
    imageFormat->GetNode()->GetChildren(children, ctReadingChildren);
    QCOMPARE(children.size(), size_t(2));
    QCOMPARE(QByteArray(root->ToString().c_str()), QByteArray(""));
}

void tst_NodeMap::selectorsAndSelectedFeatures()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"GainSelector\"><Value>0</Value><pSelected>Gain</pSelected>"
                                    "<pSelected>BlackLevel</pSelected></Integer>"
                                    "<Integer Name=\"Gain\"><pIndex>GainSelector</pIndex>"
                                    "<ValueIndexed Index=\"0\">1</ValueIndexed><ValueIndexed Index=\"1\">2</ValueIndexed>"
                                    "<ValueDefault>0</ValueDefault></Integer>"
                                    "<Integer Name=\"BlackLevel\"><Value>0</Value></Integer>")
                               .constData());
    CSelectorPtr sel = map._GetNode("GainSelector");
    QVERIFY(sel->IsSelector());
    FeatureList_t selected;
    sel->GetSelectedFeatures(selected);
    QCOMPARE(selected.size(), size_t(2));
    CSelectorPtr gainSel = map._GetNode("Gain");
    QVERIFY(!gainSel->IsSelector());
    FeatureList_t selecting;
    gainSel->GetSelectingFeatures(selecting);
    QCOMPARE(selecting.size(), size_t(1));
    QCOMPARE(QByteArray(selecting[0]->GetNode()->GetName().c_str()), QByteArray("GainSelector"));
    CIntegerPtr black = map._GetNode("BlackLevel");
    black->GetValue();
    QVERIFY(black->IsValueCacheValid());
    CIntegerPtr s = map._GetNode("GainSelector");
    s->SetValue(1);
    // A selector change invalidates what it selects
    QVERIFY(!black->IsValueCacheValid());
    CIntegerPtr gain = map._GetNode("Gain");
    QCOMPARE(gain->GetValue(), int64_t(2));
}

void tst_NodeMap::pErrorRaisesWithEntryDisplayName()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"A\"><Value>0</Value><pError>Err</pError></Integer>"
                                    "<Enumeration Name=\"Err\"><EnumEntry Name=\"NoError\"><Value>0</Value></EnumEntry>"
                                    "<EnumEntry Name=\"TooBig\"><Value>1</Value><ToolTip>Reduce the value</ToolTip>"
                                    "<DisplayName>Value too big</DisplayName></EnumEntry><pValue>ErrReg</pValue>"
                                    "</Enumeration>"
                                    "<IntReg Name=\"ErrReg\"><Address>0</Address><Length>4</Length>"
                                    "<AccessMode>RO</AccessMode><pPort>Device</pPort></IntReg>")
                               .constData());
    CountingPort port;
    map._Connect(&port);
    CIntegerPtr a = map._GetNode("A");
    a->SetValue(1);
    port.poke32(0, 1);
    try
    {
        a->SetValue(2);
        QFAIL("no exception");
    }
    catch (const GenICam::GenericException& e)
    {
        const QByteArray d = e.GetDescription();
        QVERIFY2(d.contains("Value too big") && d.contains("Reduce the value"), d.constData());
    }
}

// ------------------------------------------------------------------ describing nodes

void tst_NodeMap::propertyNamesAndJoinedValues()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"NodeA\"><Value>1</Value></Integer>"
                                    "<Integer Name=\"NodeB\"><Value>2</Value></Integer>"
                                    "<SwissKnife Name=\"S\" NameSpace=\"Standard\"><ToolTip>Sum</ToolTip>"
                                    "<pVariable Name=\"A\">NodeA</pVariable><pVariable Name=\"B\">NodeB</pVariable>"
                                    "<Formula>A+B</Formula></SwissKnife>")
                               .constData());
    INode* s = map._GetNode("S");
    gcstring_vector names;
    s->GetPropertyNames(names);
    QStringList list;
    for (const auto& n : names)
        list << QString::fromUtf8(n.c_str());
    QVERIFY2(list.contains("Name") && list.contains("ToolTip") && list.contains("pVariable")
                 && list.contains("Formula") && list.contains("NameSpace"),
             qPrintable(list.join(",")));
    QCOMPARE(list.count("pVariable"), 1);
    GenICam::gcstring value, attribute;
    QVERIFY(s->GetProperty("pVariable", value, attribute));
    QCOMPARE(QByteArray(value.c_str()), QByteArray("NodeA\tNodeB"));
    QCOMPARE(QByteArray(attribute.c_str()), QByteArray("A\tB"));
    QVERIFY(s->GetProperty("Name", value, attribute));
    QCOMPARE(QByteArray(value.c_str()), QByteArray("S"));
    QCOMPARE(QByteArray(s->GetName(true).c_str()), QByteArray("Std::S"));
    QCOMPARE(QByteArray(s->GetToolTip().c_str()), QByteArray("Sum"));
    QCOMPARE(QByteArray(s->GetDisplayName().c_str()), QByteArray("S"));
}

void tst_NodeMap::propertyAbsentGivesFalse()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"A\"><Value>1</Value></Integer>").constData());
    GenICam::gcstring value("x"), attribute("y");
    QVERIFY(!map._GetNode("A")->GetProperty("Unit", value, attribute));
    QVERIFY(value.empty());
    QVERIFY(attribute.empty());
}

void tst_NodeMap::childrenAndParentsByLinkType()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"Top\"><pValue>Reg</pValue><pMax>MaxNode</pMax></Integer>"
                                    "<Integer Name=\"MaxNode\"><Value>9</Value></Integer>"
                                    "<IntReg Name=\"Reg\"><Address>0</Address><Length>4</Length>"
                                    "<AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>")
                               .constData());
    INode* top = map._GetNode("Top");
    NodeList_t list;
    top->GetChildren(list, ctReadingChildren);
    QCOMPARE(list.size(), size_t(2));
    top->GetChildren(list, ctWritingChildren);
    QCOMPARE(list.size(), size_t(1));
    QCOMPARE(QByteArray(list[0]->GetName().c_str()), QByteArray("Reg"));
    top->GetChildren(list, ctTerminalNodes);
    QCOMPARE(list.size(), size_t(1));
    map._GetNode("Reg")->GetParents(list, ctReadingChildren);
    QCOMPARE(list.size(), size_t(1));
    QCOMPARE(list[0], top);
    map._GetNode("MaxNode")->GetParents(list, ctWritingChildren);
    QVERIFY(list.empty());
    NodeList_t all;
    map._Ptr->GetNodes(all);
    QCOMPARE(all.size(), size_t(4));
    QCOMPARE(map._Ptr->GetNumNodes(), uint64_t(4));
}

void tst_NodeMap::principalInterfaceTypes_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("type");
    QTest::newRow("Integer") << QByteArray("I") << int(intfIInteger);
    QTest::newRow("Float") << QByteArray("F") << int(intfIFloat);
    QTest::newRow("Boolean") << QByteArray("B") << int(intfIBoolean);
    QTest::newRow("Command") << QByteArray("C") << int(intfICommand);
    QTest::newRow("String") << QByteArray("S") << int(intfIString);
    QTest::newRow("Register") << QByteArray("R") << int(intfIRegister);
    QTest::newRow("Category") << QByteArray("Cat") << int(intfICategory);
    QTest::newRow("Enumeration") << QByteArray("E") << int(intfIEnumeration);
    QTest::newRow("EnumEntry") << QByteArray("EnumEntry_E_X") << int(intfIEnumEntry);
    QTest::newRow("Port") << QByteArray("Device") << int(intfIPort);
    QTest::newRow("bare Node") << QByteArray("N") << int(intfIBase);
}

void tst_NodeMap::principalInterfaceTypes()
{
    QFETCH(QByteArray, name);
    QFETCH(int, type);
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"I\"><Value>1</Value></Integer><Float Name=\"F\"><Value>1</Value></Float>"
                                    "<Boolean Name=\"B\"><Value>1</Value></Boolean><Command Name=\"C\"><Value>0</Value></Command>"
                                    "<String Name=\"S\"><Value>x</Value></String>"
                                    "<Register Name=\"R\"><Address>0</Address><Length>2</Length><pPort>Device</pPort></Register>"
                                    "<Category Name=\"Cat\"/><Enumeration Name=\"E\"><EnumEntry Name=\"X\"><Value>0</Value>"
                                    "</EnumEntry><Value>0</Value></Enumeration><Node Name=\"N\"/>")
                               .constData());
    INode* n = map._GetNode(name.constData());
    QVERIFY(n);
    QCOMPARE(int(n->GetPrincipalInterfaceType()), type);
}

void tst_NodeMap::smartPointersCastNodes()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"I\"><Value>1</Value></Integer>").constData());
    CNodeMapPtr nodeMap(map._Ptr);
    QVERIFY(nodeMap.IsValid());
    CIntegerPtr i = nodeMap->GetNode("I");
    QVERIFY(i.IsValid());
    CFloatPtr f = nodeMap->GetNode("I");
    QVERIFY(!f.IsValid());
    CValuePtr v = i;
    QVERIFY(v.IsValid());
    CNodePtr n = nodeMap->GetNode("I");
    QVERIFY(n == i);
    CDeviceInfoPtr info(map._Ptr);
    QCOMPARE(QByteArray(info->GetModelName().c_str()), QByteArray("TestModel"));
    QCOMPARE(n->GetNodeMap(), map._Ptr);
}

// ------------------------------------------------------------------ malformed input

void tst_NodeMap::evaluationCycleRaisesNamingNode()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<Integer Name=\"A\"><pValue>B</pValue></Integer>"
                                    "<Integer Name=\"B\"><pValue>A</pValue></Integer>")
                               .constData());
    CIntegerPtr a = map._GetNode("A");
    try
    {
        a->GetValue();
        QFAIL("no exception");
    }
    catch (const GenICam::RuntimeException& e)
    {
        const QByteArray d = e.GetDescription();
        QVERIFY2(d.contains("'A'") || d.contains("'B'"), d.constData());
    }
    // Invalidation of a cycle terminates
    a->GetNode()->InvalidateNode();
    map._InvalidateNodes();
}

void tst_NodeMap::deepChainIsBoundedNotOverflowing()
{
    QByteArray body;
    const int depth = 5000;
    for (int i = 0; i < depth; ++i)
        body += "<Integer Name=\"N" + QByteArray::number(i) + "\"><pValue>N" + QByteArray::number(i + 1)
                + "</pValue></Integer>";
    body += "<Integer Name=\"N" + QByteArray::number(depth) + "\"><Value>3</Value></Integer>";
    CNodeMapRef map;
    map._LoadXMLFromString(describe(body).constData());
    CIntegerPtr top = map._GetNode("N0");
    QVERIFY_EXCEPTION_THROWN(top->GetValue(), GenICam::RuntimeException);
    // A short chain below the bound works
    CIntegerPtr near = map._GetNode(("N" + QByteArray::number(depth - 20)).constData());
    QCOMPARE(near->GetValue(), int64_t(3));
}

void tst_NodeMap::veryLongReferenceChainLoadsWithoutDeepRecursion()
{
    // Loading walks the references without recursion, so even a huge chain loads
    QByteArray body;
    const int length = 100000;
    body.reserve(length * 64);
    for (int i = 0; i < length; ++i)
        body += "<Integer Name=\"C" + QByteArray::number(i) + "\"><pValue>C" + QByteArray::number(i + 1)
                + "</pValue></Integer>";
    body += "<Integer Name=\"C" + QByteArray::number(length) + "\"><Value>1</Value></Integer>";
    CNodeMapRef map;
    map._LoadXMLFromString(describe(body).constData());
    QCOMPARE(map._Ptr->GetNumNodes(), uint64_t(length + 2));
    QVERIFY_EXCEPTION_THROWN(CIntegerPtr(map._GetNode("C0"))->GetValue(), GenICam::RuntimeException);
    map._GetNode(("C" + QByteArray::number(length)).constData())->InvalidateNode();
}

void tst_NodeMap::deeplyNestedGroupsRaise()
{
    QByteArray body;
    for (int i = 0; i < 1000; ++i)
        body += "<Group Comment=\"g\">";
    body += "<Integer Name=\"A\"><Value>1</Value></Integer>";
    for (int i = 0; i < 1000; ++i)
        body += "</Group>";
    CNodeMapRef map;
    QVERIFY_EXCEPTION_THROWN(map._LoadXMLFromString(describe(body).constData()), GenICam::RuntimeException);
}

void tst_NodeMap::portFailureNamesNode()
{
    CNodeMapRef map;
    map._LoadXMLFromString(describe("<IntReg Name=\"FarAway\"><Address>0x100000</Address><Length>4</Length>"
                                    "<AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>")
                               .constData());
    CountingPort port(16);
    map._Connect(&port);
    CIntegerPtr far = map._GetNode("FarAway");
    try
    {
        far->GetValue();
        QFAIL("no exception");
    }
    catch (const GenICam::OutOfRangeException& e)
    {
        QVERIFY2(QByteArray(e.GetDescription()).contains("FarAway"), e.GetDescription());
    }
    QVERIFY_EXCEPTION_THROWN(far->SetValue(1), GenICam::OutOfRangeException);
}

QTEST_GUILESS_MAIN(tst_NodeMap)
#include "tst_nodemap.moc"
