#pragma once
// Device and transport layer records: property bags with named getters.

#include <utility>
#include <vector>

#include <Vorlo/VorloBase.h>

namespace Vorlo
{
    //! A bag of named string properties, kept in the order of first setting
    class VORLOBASE_EXPORT CInfoBase
    {
    public:
        CInfoBase();
        virtual ~CInfoBase();
        CInfoBase(const CInfoBase&);
        CInfoBase& operator=(const CInfoBase&);

        //! False, and value untouched, when the property is absent
        bool GetPropertyValue(const gcstring& name, gcstring& value) const;
        //! Sets or replaces a property
        CInfoBase& SetPropertyValue(const gcstring& name, const gcstring& value);
        //! Names of all properties present, in order of first setting; returns their count
        size_t GetPropertyNames(gcstring_vector& names) const;
        bool IsPropertyAvailable(const gcstring& name) const;

        //! The unique key of the device or layer
        gcstring GetFullName() const;
        gcstring GetFriendlyName() const;
        gcstring GetDeviceClass() const;
        gcstring GetVendorName() const;
        gcstring GetModelName() const;
        gcstring GetSerialNumber() const;
        gcstring GetUserDefinedName() const;
        gcstring GetDeviceVersion() const;
        gcstring GetTLType() const;

        CInfoBase& SetFullName(const gcstring& v) { return SetPropertyValue("FullName", v); }
        CInfoBase& SetFriendlyName(const gcstring& v) { return SetPropertyValue("FriendlyName", v); }
        CInfoBase& SetDeviceClass(const gcstring& v) { return SetPropertyValue("DeviceClass", v); }
        CInfoBase& SetVendorName(const gcstring& v) { return SetPropertyValue("VendorName", v); }
        CInfoBase& SetModelName(const gcstring& v) { return SetPropertyValue("ModelName", v); }
        CInfoBase& SetSerialNumber(const gcstring& v) { return SetPropertyValue("SerialNumber", v); }
        CInfoBase& SetUserDefinedName(const gcstring& v) { return SetPropertyValue("UserDefinedName", v); }
        CInfoBase& SetDeviceVersion(const gcstring& v) { return SetPropertyValue("DeviceVersion", v); }
        CInfoBase& SetTLType(const gcstring& v) { return SetPropertyValue("TLType", v); }

        //! Equal when the full names are
        bool operator==(const CInfoBase& other) const;
        bool operator!=(const CInfoBase& other) const { return !(*this == other); }

    private:
        gcstring Get(const char* name) const;
        std::vector<std::pair<gcstring, gcstring>> m_properties;
    };

    //! Description of a transport layer
    class VORLOBASE_EXPORT CTlInfo : public CInfoBase
    {
    public:
        CTlInfo();
        ~CTlInfo() override;
        CTlInfo(const CTlInfo&);
        CTlInfo& operator=(const CTlInfo&);
    };

    //! Description of a device, as enumeration finds it
    class VORLOBASE_EXPORT CDeviceInfo : public CInfoBase
    {
    public:
        CDeviceInfo();
        ~CDeviceInfo() override;
        CDeviceInfo(const CDeviceInfo&);
        CDeviceInfo& operator=(const CDeviceInfo&);

        gcstring GetAddress() const;
        gcstring GetMacAddress() const;
        gcstring GetInterface() const;
    };

    typedef std::vector<CTlInfo> TlInfoList;
    typedef std::vector<CDeviceInfo> DeviceInfoList;
}
