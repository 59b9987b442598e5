#pragma once

#include <GenApi/IEnumEntry.h>

namespace GenApi
{
    //! An enumeration feature
    class GENAPI_EXPORT IEnumeration : virtual public IValue
    {
    public:
        ~IEnumeration() override;

        //! Symbolic names of the available entries
        virtual void GetSymbolics(StringList_t& Symbolics) = 0;
        //! All entry nodes, in document order
        virtual void GetEntries(NodeList_t& Entries) = 0;
        virtual void SetIntValue(int64_t Value, bool Verify = true) = 0;
        virtual int64_t GetIntValue(bool Verify = false, bool IgnoreCache = false) = 0;
        //! The entry of that symbolic name, or null
        virtual IEnumEntry* GetEntryByName(const gcstring& Symbolic) = 0;
        //! The entry of that integer value, or null
        virtual IEnumEntry* GetEntry(const int64_t IntValue) = 0;
        virtual IEnumEntry* GetCurrentEntry(bool Verify = false, bool IgnoreCache = false) = 0;

        IEnumeration& operator=(const gcstring& ValueStr) { FromString(ValueStr); return *this; }
        IEnumeration& operator=(const char* pValueStr) { FromString(pValueStr); return *this; }
        gcstring operator*() { return ToString(); }
    };
}
