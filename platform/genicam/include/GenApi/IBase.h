#pragma once

#include <GenApi/Types.h>

namespace GenApi
{
    //! Base of every node interface: the access mode
    class GENAPI_EXPORT IBase
    {
    public:
        virtual ~IBase();
        //! The node's current access mode
        virtual EAccessMode GetAccessMode() const = 0;
    };

    //! Combines two access modes: the result allows only what both allow
    inline EAccessMode Combine(EAccessMode Peter, EAccessMode Paul)
    {
        if (Peter == NI || Paul == NI)
            return NI;
        if (Peter == _UndefinedAccesMode || Paul == _UndefinedAccesMode)
            return _UndefinedAccesMode;
        if (Peter == NA || Paul == NA)
            return NA;
        if ((Peter == RO && Paul == WO) || (Peter == WO && Paul == RO))
            return NA;
        if (Peter == WO || Paul == WO)
            return WO;
        if (Peter == RO || Paul == RO)
            return RO;
        return RW;
    }

    //! The stricter of two visibilities
    inline EVisibility Combine(EVisibility Peter, EVisibility Paul)
    {
        if (Peter == _UndefinedVisibility)
            return Paul;
        if (Paul == _UndefinedVisibility)
            return Peter;
        return Peter > Paul ? Peter : Paul;
    }

    inline bool IsReadable(EAccessMode AccessMode) { return AccessMode == RO || AccessMode == RW; }
    inline bool IsWritable(EAccessMode AccessMode) { return AccessMode == WO || AccessMode == RW; }
    inline bool IsImplemented(EAccessMode AccessMode) { return AccessMode != NI; }
    inline bool IsAvailable(EAccessMode AccessMode) { return !(AccessMode == NA || AccessMode == NI); }

    inline bool IsReadable(const IBase* p) { return p && IsReadable(p->GetAccessMode()); }
    inline bool IsWritable(const IBase* p) { return p && IsWritable(p->GetAccessMode()); }
    inline bool IsImplemented(const IBase* p) { return p && IsImplemented(p->GetAccessMode()); }
    inline bool IsAvailable(const IBase* p) { return p && IsAvailable(p->GetAccessMode()); }

    //! True when a node of visibility ItemVisibility is shown at user level MaxVisiblity
    inline bool IsVisible(EVisibility ItemVisibility, EVisibility MaxVisiblity)
    {
        return ItemVisibility <= MaxVisiblity;
    }
}
