#pragma once

#include <GenApi/IValue.h>

namespace GenApi
{
    //! A boolean feature
    class GENAPI_EXPORT IBoolean : virtual public IValue
    {
    public:
        ~IBoolean() override;

        virtual void SetValue(bool Value, bool Verify = true) = 0;
        virtual bool GetValue(bool Verify = false, bool IgnoreCache = false) const = 0;

        IBoolean& operator=(bool Value) { SetValue(Value); return *this; }
        bool operator()() const { return GetValue(); }
        bool operator*() const { return GetValue(); }
    };
}
