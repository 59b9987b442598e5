#pragma once

#include <GenApi/IValue.h>

namespace GenApi
{
    //! One entry of an enumeration
    class GENAPI_EXPORT IEnumEntry : virtual public IValue
    {
    public:
        ~IEnumEntry() override;

        //! The entry's integer value
        virtual int64_t GetValue() = 0;
        //! The entry's symbolic name (without the "EnumEntry_..._" prefix of its node name)
        virtual gcstring GetSymbolic() const = 0;
        //! The entry's numeric value (defaults to the integer value)
        virtual double GetNumericValue() = 0;
        virtual bool IsSelfClearing() = 0;
    };
}
