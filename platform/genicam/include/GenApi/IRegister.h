#pragma once

#include <GenApi/IValue.h>

namespace GenApi
{
    //! A register: raw bytes at an address of a port
    class GENAPI_EXPORT IRegister : virtual public IValue
    {
    public:
        ~IRegister() override;

        virtual void Set(const uint8_t* pBuffer, int64_t Length, bool Verify = true) = 0;
        virtual void Get(uint8_t* pBuffer, int64_t Length, bool Verify = false, bool IgnoreCache = false) = 0;
        virtual int64_t GetLength() = 0;
        virtual int64_t GetAddress() = 0;
    };
}
