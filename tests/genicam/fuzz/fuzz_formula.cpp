// libFuzzer target: arbitrary text as a formula, compiled and evaluated in both modes.

#include "Formula.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    GenApi::detail::FuzzFormulaText(reinterpret_cast<const char*>(data), size);
    return 0;
}
