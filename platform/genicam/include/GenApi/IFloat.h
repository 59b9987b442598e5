#pragma once

#include <GenApi/IValue.h>

namespace GenApi
{
    //! A floating-point feature
    class GENAPI_EXPORT IFloat : virtual public IValue
    {
    public:
        ~IFloat() override;

        virtual void SetValue(double Value, bool Verify = true) = 0;
        virtual double GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
        virtual double GetMin() = 0;
        virtual double GetMax() = 0;
        virtual bool HasInc() = 0;
        virtual EIncMode GetIncMode() = 0;
        virtual double GetInc() = 0;
        virtual double_autovector_t GetListOfValidValues(bool bounded = true) = 0;
        virtual ERepresentation GetRepresentation() = 0;
        virtual gcstring GetUnit() const = 0;
        virtual EDisplayNotation GetDisplayNotation() const = 0;
        virtual int64_t GetDisplayPrecision() const = 0;
        virtual void ImposeMin(double Value) = 0;
        virtual void ImposeMax(double Value) = 0;

        IFloat& operator=(double Value) { SetValue(Value); return *this; }
        double operator()() { return GetValue(); }
        double operator*() { return GetValue(); }
    };
}
