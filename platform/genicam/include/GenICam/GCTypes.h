#pragma once
// Basic integer types shared by the GenICam and GenApi headers.

#include <cstddef>
#include <cstdint>

#include <GenApi/GenApiExport.h>

namespace GenICam
{
    //! Version of a description or of the engine: major.minor.subminor
    struct Version_t
    {
        uint16_t Major;
        uint16_t Minor;
        uint16_t SubMinor;
    };
}
