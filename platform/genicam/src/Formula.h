#pragma once

// Compiler and evaluator for the arithmetic formulas of SwissKnife, IntSwissKnife,
// Converter and IntConverter nodes.
//
// A formula is compiled once, when the description is loaded, into a compact postfix
// program. Evaluation runs that program on a fixed-size stack inside the call (no heap
// allocation) and asks its value source only for the variables that the chosen path
// actually needs: `a ? b : c` reads `b` or `c`, never both, and `&&`/`||` short-circuit.
// That matters because a description often guards a read of an unavailable node with
// a condition.

#include <GenApi/GenApiExport.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace GenApi
{
namespace detail
{

//! Arithmetic a formula is compiled for.
enum class EFormulaMode
{
    Integer, //!< int64 arithmetic; '/' and '%' truncate toward zero
    Float    //!< double arithmetic
};

//! Maps a symbol of the formula (`X`, `X.Max`, `SEL.Entry.Mono8`) to a slot index,
//! or -1 when the symbol is unknown (a compile error).
using FormulaResolver = std::function<int(const std::string& symbol)>;

//! Where an evaluation takes its variables from. Only the slots that the evaluated
//! path needs are read, each at most once per occurrence in that path.
class GENAPI_EXPORT IFormulaValueSource
{
public:
    virtual ~IFormulaValueSource() = default;
    //! Value of a slot in a float formula.
    virtual double GetFloat(int slot) = 0;
    //! Value of a slot in an integer formula.
    virtual int64_t GetInt(int slot) = 0;
};

class GENAPI_EXPORT CFormula
{
public:
    //! Deepest nesting of parentheses, function calls, unary operators and
    //! right-associative chains that a formula may have. Deeper text is rejected at
    //! compile time, so arbitrary input can never exhaust the parser's stack.
    static constexpr int MaxNesting = 100;
    //! Largest evaluation stack a compiled program may need.
    static constexpr int MaxStackDepth = 256;

    CFormula() = default;
    CFormula(const CFormula& other) { *this = other; }
    CFormula& operator=(const CFormula& other);
    CFormula(CFormula&&) noexcept = default;
    CFormula& operator=(CFormula&&) noexcept = default;

    //! Compiles `text`. `context` names the formula's owner (a node name) in error
    //! messages. Throws GenICam::RuntimeException naming the position and the text
    //! when the formula does not parse or uses an unknown symbol. On failure the
    //! object is left empty.
    void Compile(const std::string& text, EFormulaMode mode, const FormulaResolver& resolver,
                 const std::string& context = std::string());
    //! Compiles like Compile, for NUL-terminated texts that outlive the formula (a node map's
    //! text pool): the formula refers to them instead of keeping copies.
    void CompileKept(const char* text, EFormulaMode mode, const FormulaResolver& resolver, const char* context);

    //! Evaluates the program and returns the result as an integer (a float result is
    //! truncated toward zero, saturating at the int64 limits; NaN gives 0).
    int64_t EvaluateInt(IFormulaValueSource& source) const;
    //! Evaluates the program and returns the result as a double.
    double EvaluateFloat(IFormulaValueSource& source) const;

    bool IsCompiled() const { return !m_code.empty(); }
    EFormulaMode GetMode() const { return m_mode; }
    //! Arithmetic the program actually runs in. An integer formula that contains a
    //! fractional literal (`X * 0.5`) runs in float arithmetic and is truncated at the
    //! end, because truncating the literal would silently change its meaning.
    EFormulaMode GetEvaluationMode() const { return m_evalMode; }
    std::string GetText() const { return m_text; }
    std::string GetContext() const { return m_context; }
    //! The distinct slots the formula refers to, in order of first appearance.
    std::vector<int> GetUsedSlots() const;
    //! Evaluation stack entries the program needs (computed at compile time).
    int GetStackDepth() const { return m_stackDepth; }
    //! Number of instructions of the compiled program.
    std::size_t GetProgramSize() const { return m_code.size(); }

    enum EOpCode : uint8_t
    {
        opConst, opSlot,
        opNeg, opPlus, opBitNot, opLogNot,
        opAdd, opSub, opMul, opDiv, opMod, opPow,
        opShl, opShr, opBitAnd, opBitOr, opBitXor,
        opEq, opNe, opLt, opGt, opLe, opGe,
        opToBool,
        opJumpIfZero,       // pops the condition; jumps when it is zero
        opJump,
        opAndJump,          // pops; when zero pushes 0 and jumps (short-circuit &&)
        opOrJump,           // pops; when non-zero pushes 1 and jumps (short-circuit ||)
        opSgn, opAbs, opTrunc, opFloor, opCeil, opRound, opRound2,
        opAtan, opCos, opSin, opTan, opExp, opLn, opLg, opSqrt, opAsin, opAcos
    };

    struct Instruction
    {
        EOpCode op;
        int32_t arg;        // slot, jump target, or text position for messages
        union
        {
            int64_t i;
            double f;
        } value;
    };

private:
    friend class CFormulaParser;

    template <typename T>
    T Run(IFormulaValueSource& source) const;
    [[noreturn]] void ThrowDivisionByZero(int32_t position) const;
    [[noreturn]] void ThrowNotCompiled() const;
    void CompileText(EFormulaMode mode, const FormulaResolver& resolver);
    //! Keeps copies of the text and the context in m_ownedText, which the views then show
    void KeepCopies(std::string_view text, std::string_view context);

    std::vector<Instruction> m_code;
    std::unique_ptr<char[]> m_ownedText; // text NUL context NUL; null when the caller keeps them
    const char* m_text = "";
    const char* m_context = "";
    EFormulaMode m_mode = EFormulaMode::Integer;
    EFormulaMode m_evalMode = EFormulaMode::Integer;
    int m_stackDepth = 0;
};

//! Compiles `text` in both modes with every symbol bound to a constant slot and
//! evaluates it. Any GenICam exception is an accepted outcome; anything else (a crash,
//! another exception type) is a defect. Entry point for fuzz targets; returns the
//! number of modes in which the text compiled and evaluated.
GENAPI_EXPORT int FuzzFormulaText(const char* data, std::size_t size);

} // namespace detail
} // namespace GenApi
