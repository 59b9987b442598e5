#pragma once

#include <GenApi/INode.h>

namespace GenApi
{
    //! A node that has a value that can be shown as text
    class GENAPI_EXPORT IValue : virtual public IBase
    {
    public:
        ~IValue() override;

        //! The node behind this value
        virtual INode* GetNode() = 0;
        virtual gcstring ToString(bool Verify = false, bool IgnoreCache = false) = 0;
        virtual void FromString(const gcstring& ValueStr, bool Verify = true) = 0;
        virtual bool IsValueCacheValid() const = 0;
    };
}
