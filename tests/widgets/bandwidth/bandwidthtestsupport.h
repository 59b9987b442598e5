#pragma once
// Shared pieces of the bandwidth tests: node maps written as GenICam XML, a measuring camera
// whose node maps come from such XML instead of a device, and emulated cameras by serial number.

#include <VorloQtWidgets/bandwidthmeasuringcamera.h>

#include <GenApi/GenApi.h>
#include <Vorlo/VorloIncludes.h>

#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <memory>

namespace BandwidthTest
{
inline QString description(const QString& features, const QString& modelName = QStringLiteral("BandwidthTest"))
{
    return QStringLiteral(
               "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
               "<RegisterDescription ModelName=\"%1\" VendorName=\"Kesdor\" ToolTip=\"Bandwidth tests\" "
               "StandardNameSpace=\"None\" SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" "
               "SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" "
               "ProductGuid=\"11111111-2222-3333-4444-555555555555\" "
               "VersionGuid=\"66666666-7777-8888-9999-000000000000\" "
               "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">\n"
               "<Category Name=\"Root\"></Category>\n%2\n</RegisterDescription>\n")
        .arg(modelName, features);
}

// An integer feature with its own value.
inline QString integer(const char* name, qint64 value, qint64 min = 0, qint64 max = 4000000000LL, qint64 inc = 1,
                       const char* accessMode = "RW")
{
    return QStringLiteral("<Integer Name=\"%1\"><ImposedAccessMode>%6</ImposedAccessMode><Value>%2</Value>"
                          "<Min>%3</Min><Max>%4</Max><Inc>%5</Inc></Integer>\n")
        .arg(QLatin1String(name))
        .arg(value)
        .arg(min)
        .arg(max)
        .arg(inc)
        .arg(QLatin1String(accessMode));
}

inline QString floatFeature(const char* name, double value)
{
    return QStringLiteral("<Float Name=\"%1\"><Value>%2</Value><Min>0</Min><Max>100000</Max></Float>\n")
        .arg(QLatin1String(name))
        .arg(value, 0, 'g', 17);
}

// Owns one node map loaded from XML text.
class NodeMap
{
public:
    explicit NodeMap(const QString& features)
    {
        m_ref._LoadXMLFromString(description(features).toUtf8().constData());
    }
    GenApi::INodeMap* map() const { return m_ref._Ptr; }
    GenApi::INode* node(const char* name) const { return m_ref._GetNode(name); }
    template<class T>
    T* get(const char* name) const
    {
        T* t = dynamic_cast<T*>(node(name));
        if (!t)
            qFatal("test node map has no node %s of that interface", name);
        return t;
    }
    void destroy() { m_ref._Destroy(); }

private:
    GenApi::CNodeMapRef m_ref;
};

// A measuring camera without a device: its node maps are test node maps, and whether it grabs
// is the test's word.
class XmlCamera : public CBandwidthMeasuringCamera
{
public:
    GenApi::INodeMap* GetNodeMap() override { return m_pNodeMap; }
    GenApi::INodeMap* GetStreamGrabberNodeMap() override { return m_pStreamNodeMap; }
    bool IsGrabbing() const override { return m_grabbing; }

    GenApi::INodeMap* m_pNodeMap = nullptr;
    GenApi::INodeMap* m_pStreamNodeMap = nullptr;
    bool m_grabbing = false;
};

inline QString serialNumber(unsigned index)
{
    return QStringLiteral("EMU-%1").arg(index, 4, 10, QLatin1Char('0'));
}

// The record of an emulated camera; makes sure that enough of them exist.
inline Vorlo::CDeviceInfo emulatedInfo(unsigned index)
{
    Vorlo::CTlFactory& factory = Vorlo::CTlFactory::GetInstance();
    if (factory.GetCamEmuDeviceCount() < index + 1)
        factory.SetCamEmuDeviceCount(index + 1);
    Vorlo::DeviceInfoList list;
    Vorlo::ITransportLayer* pTl = factory.CreateTl(Vorlo::DeviceClassCamEmu);
    pTl->EnumerateDevices(list);
    factory.ReleaseTl(pTl);
    for (const Vorlo::CDeviceInfo& info : list) {
        if (QString::fromLatin1(info.GetSerialNumber().c_str()) == serialNumber(index))
            return info;
    }
    qFatal("no emulated camera %u", index);
    return Vorlo::CDeviceInfo();
}

inline void setInteger(GenApi::INodeMap* pMap, const char* name, int64_t value)
{
    GenApi::CIntegerPtr(pMap->GetNode(name))->SetValue(value, true);
}

inline int64_t getInteger(GenApi::INodeMap* pMap, const char* name)
{
    return GenApi::CIntegerPtr(pMap->GetNode(name))->GetValue(false, false);
}

inline double getFloat(GenApi::INodeMap* pMap, const char* name)
{
    return GenApi::CFloatPtr(pMap->GetNode(name))->GetValue(false, false);
}

inline void setEnum(GenApi::INodeMap* pMap, const char* name, const char* entry)
{
    GenApi::CEnumerationPtr(pMap->GetNode(name))->FromString(entry, true);
}

inline QString getEnum(GenApi::INodeMap* pMap, const char* name)
{
    return QString::fromLatin1(GenApi::CEnumerationPtr(pMap->GetNode(name))->ToString(false, false).c_str());
}

// A small image and a known frame rate: exposure sets the period when the image is small.
inline void configureRate(GenApi::INodeMap* pMap, int64_t width, int64_t height, int64_t exposureRaw)
{
    setInteger(pMap, "Width", width);
    setInteger(pMap, "Height", height);
    setInteger(pMap, "ExposureTimeRaw", exposureRaw);
}
}
