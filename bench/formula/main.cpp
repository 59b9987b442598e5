// Measures how long formulas take to compile and to evaluate, and counts heap
// allocations during evaluation. Prints one line per formula.

#include "Formula.h"

#include <GenICam/GCException.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

static std::atomic<long> g_allocations{0};

void* operator new(std::size_t size)
{
    ++g_allocations;
    if (void* p = std::malloc(size ? size : 1))
        return p;
    throw std::bad_alloc();
}

void operator delete(void* p) noexcept
{
    std::free(p);
}

void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}

using GenApi::detail::CFormula;
using GenApi::detail::EFormulaMode;

namespace
{

const char* const kNames[] = {"X", "Y", "SEL", "RAW", "FROM", "TO", "X.Max", "X.Min"};

int Resolve(const std::string& symbol)
{
    for (int i = 0; i < int(sizeof(kNames) / sizeof(*kNames)); ++i)
        if (symbol == kNames[i])
            return i;
    return -1;
}

// Values change with every read so that the compiler cannot fold the loop away.
class CountingSource : public GenApi::detail::IFormulaValueSource
{
public:
    double GetFloat(int slot) override { return static_cast<double>(GetInt(slot)); }
    // Y stays 3 so that the selector chain walks down to the level SEL names.
    int64_t GetInt(int slot) override { return slot == 1 ? 3 : static_cast<int64_t>((m_n++ & 15) + slot); }

private:
    uint64_t m_n = 0;
};

std::string SelectorChain(int levels)
{
    std::string text;
    char buf[96];
    for (int i = 0; i < levels; ++i) {
        std::snprintf(buf, sizeof(buf), "((SEL = %d) && (Y = 3)) ? 0x%X : (", i, 0xD1000 + 0x20 * i);
        text += buf;
    }
    text += "0x0";
    text += std::string(static_cast<std::size_t>(levels), ')');
    return text;
}

struct Case
{
    std::string name;
    std::string text;
    EFormulaMode mode;
};

double Seconds(std::chrono::steady_clock::duration d)
{
    return std::chrono::duration<double>(d).count();
}

} // namespace

int main()
{
    const std::vector<Case> cases = {
        {"int constant", "1", EFormulaMode::Integer},
        {"int variable", "X", EFormulaMode::Integer},
        {"int address", "0x000E0000 + 0x20 * ( ( SEL * 1 ) )", EFormulaMode::Integer},
        {"int sign extension", "(RAW & 0x800) ? (RAW | ~0xFFF) : RAW", EFormulaMode::Integer},
        {"int converter", "(TO * 1000) / 4", EFormulaMode::Integer},
        {"int selector chain 14", SelectorChain(14), EFormulaMode::Integer},
        {"float converter", "FROM * 0.5 + X.Min", EFormulaMode::Float},
        {"float functions", "ROUND(SQRT(X * X + Y * Y) * 100, 2) / LG(X.Max + 10)", EFormulaMode::Float},
        {"float ternary", "X > X.Max ? X.Max : (X < X.Min ? X.Min : X)", EFormulaMode::Float},
    };

    std::printf("%-24s %6s %6s %12s %12s %12s\n", "formula", "instr", "stack", "compile us", "eval ns",
                "eval allocs");
    for (const Case& c : cases) {
        const int compileRuns = 20000;
        CFormula f;
        auto t0 = std::chrono::steady_clock::now();
        for (int i = 0; i < compileRuns; ++i)
            f.Compile(c.text, c.mode, Resolve, c.name);
        auto t1 = std::chrono::steady_clock::now();

        const int evalRuns = 2000000;
        CountingSource source;
        double sink = 0.0;
        const long before = g_allocations.load();
        auto t2 = std::chrono::steady_clock::now();
        for (int i = 0; i < evalRuns; ++i) {
            if (c.mode == EFormulaMode::Integer)
                sink += static_cast<double>(f.EvaluateInt(source));
            else
                sink += f.EvaluateFloat(source);
        }
        auto t3 = std::chrono::steady_clock::now();
        const long allocations = g_allocations.load() - before;

        std::printf("%-24s %6zu %6d %12.2f %12.1f %12ld   (checksum %g)\n", c.name.c_str(), f.GetProgramSize(),
                    f.GetStackDepth(), Seconds(t1 - t0) * 1e6 / compileRuns, Seconds(t3 - t2) * 1e9 / evalRuns,
                    allocations, sink);
    }
    return 0;
}
