#include <Vorlo/InfoBase.h>

#include <algorithm>

namespace Vorlo
{
    const char* const DeviceClassCamEmu = "KesdorCamEmu";
    const char* const DeviceClassGigE = "KesdorGigE";
    const char* const DeviceClassUsb = "KesdorUsb";

    unsigned BytesPerPixel(EPixelType pixelType)
    {
        switch (pixelType)
        {
        case PixelType_Mono8:
        case PixelType_BayerRG8:
            return 1;
        case PixelType_Mono10:
        case PixelType_Mono12:
        case PixelType_Mono16:
        case PixelType_YUV422packed:
            return 2;
        case PixelType_RGB8packed:
            return 3;
        default:
            return 0;
        }
    }

    CInfoBase::CInfoBase() = default;
    CInfoBase::~CInfoBase() = default;
    CInfoBase::CInfoBase(const CInfoBase&) = default;
    CInfoBase& CInfoBase::operator=(const CInfoBase&) = default;

    bool CInfoBase::GetPropertyValue(const gcstring& name, gcstring& value) const
    {
        for (const auto& property : m_properties)
        {
            if (property.first == name)
            {
                value = property.second;
                return true;
            }
        }
        return false;
    }

    CInfoBase& CInfoBase::SetPropertyValue(const gcstring& name, const gcstring& value)
    {
        for (auto& property : m_properties)
        {
            if (property.first == name)
            {
                property.second = value;
                return *this;
            }
        }
        m_properties.emplace_back(name, value);
        return *this;
    }

    size_t CInfoBase::GetPropertyNames(gcstring_vector& names) const
    {
        names.clear();
        for (const auto& property : m_properties)
            names.push_back(property.first);
        return names.size();
    }

    bool CInfoBase::IsPropertyAvailable(const gcstring& name) const
    {
        return std::any_of(m_properties.begin(), m_properties.end(),
                           [&name](const std::pair<gcstring, gcstring>& p) { return p.first == name; });
    }

    gcstring CInfoBase::Get(const char* name) const
    {
        gcstring value;
        GetPropertyValue(name, value);
        return value;
    }

    gcstring CInfoBase::GetFullName() const { return Get("FullName"); }
    gcstring CInfoBase::GetFriendlyName() const { return Get("FriendlyName"); }
    gcstring CInfoBase::GetDeviceClass() const { return Get("DeviceClass"); }
    gcstring CInfoBase::GetVendorName() const { return Get("VendorName"); }
    gcstring CInfoBase::GetModelName() const { return Get("ModelName"); }
    gcstring CInfoBase::GetSerialNumber() const { return Get("SerialNumber"); }
    gcstring CInfoBase::GetUserDefinedName() const { return Get("UserDefinedName"); }
    gcstring CInfoBase::GetDeviceVersion() const { return Get("DeviceVersion"); }
    gcstring CInfoBase::GetTLType() const { return Get("TLType"); }

    bool CInfoBase::operator==(const CInfoBase& other) const
    {
        return GetFullName() == other.GetFullName();
    }

    CTlInfo::CTlInfo() = default;
    CTlInfo::~CTlInfo() = default;
    CTlInfo::CTlInfo(const CTlInfo&) = default;
    CTlInfo& CTlInfo::operator=(const CTlInfo&) = default;

    CDeviceInfo::CDeviceInfo() = default;
    CDeviceInfo::~CDeviceInfo() = default;
    CDeviceInfo::CDeviceInfo(const CDeviceInfo&) = default;
    CDeviceInfo& CDeviceInfo::operator=(const CDeviceInfo&) = default;

    gcstring CDeviceInfo::GetAddress() const
    {
        gcstring v;
        GetPropertyValue("Address", v);
        return v;
    }
    gcstring CDeviceInfo::GetMacAddress() const
    {
        gcstring v;
        GetPropertyValue("MacAddress", v);
        return v;
    }
    gcstring CDeviceInfo::GetInterface() const
    {
        gcstring v;
        GetPropertyValue("Interface", v);
        return v;
    }
}
