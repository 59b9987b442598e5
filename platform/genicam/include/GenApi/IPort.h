#pragma once

#include <GenApi/IBase.h>

namespace GenApi
{
    //! Register access to a device
    class GENAPI_EXPORT IPort : virtual public IBase
    {
    public:
        ~IPort() override;

        //! Reads Length bytes at Address into pBuffer
        virtual void Read(void* pBuffer, int64_t Address, int64_t Length) = 0;
        //! Writes Length bytes from pBuffer to Address
        virtual void Write(const void* pBuffer, int64_t Address, int64_t Length) = 0;
    };
}
