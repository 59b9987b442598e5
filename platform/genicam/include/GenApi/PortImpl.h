#pragma once
// Convenience base for port implementations.

#include <GenApi/IPort.h>

namespace GenApi
{
    //! A port that is read/write unless the implementation says otherwise
    class GENAPI_EXPORT CPortImpl : public IPort
    {
    public:
        CPortImpl();
        ~CPortImpl() override;

        EAccessMode GetAccessMode() const override;
    };
}
