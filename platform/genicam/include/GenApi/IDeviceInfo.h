#pragma once

#include <GenApi/Types.h>

namespace GenApi
{
    //! What a description says about its device (implemented by the node map)
    class GENAPI_EXPORT IDeviceInfo
    {
    public:
        virtual ~IDeviceInfo();

        virtual gcstring GetModelName() = 0;
        virtual gcstring GetVendorName() = 0;
        virtual gcstring GetToolTip() = 0;
        virtual gcstring GetStandardNameSpace() = 0;
        //! Version of this engine
        virtual void GetGenApiVersion(Version_t& Version, uint16_t& Build) = 0;
        virtual void GetSchemaVersion(Version_t& Version) = 0;
        virtual void GetDeviceVersion(Version_t& Version) = 0;
        virtual gcstring GetProductGuid() = 0;
        virtual gcstring GetVersionGuid() = 0;
    };
}
