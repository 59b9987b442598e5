#include "Formula.h"

#include <GenICam/GCException.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

namespace GenApi
{
namespace detail
{

namespace
{

enum class Tok
{
    End, Number, Ident, LParen, RParen, Comma, Question, Colon,
    OrOr, AndAnd, Or, Xor, And, Eq, Ne, Lt, Gt, Le, Ge, Shl, Shr,
    Plus, Minus, Star, Slash, Percent, Pow, Tilde, Bang
};

struct Token
{
    Tok kind = Tok::End;
    std::size_t pos = 0;   // offset of the first character in the formula text
    std::size_t end = 0;   // offset just past the token
    bool isFloat = false;  // a number written with a point or an exponent
    bool isHex = false;
    int64_t i = 0;         // integer literals (hex wraps into int64)
    double f = 0.0;        // every literal, as a double
    bool intOverflow = false;
};

// Thrown inside the parser when an integer formula meets a fractional literal; the
// formula is then compiled again for float arithmetic.
struct RestartInFloat
{
};

bool IsIdentStart(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool IsIdentChar(char c)
{
    return IsIdentStart(c) || (c >= '0' && c <= '9') || c == '.';
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

int HexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

char ToUpper(char c)
{
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

// Saturating, truncating conversion; NaN gives 0.
int64_t ToInt64(double v)
{
    if (std::isnan(v))
        return 0;
    if (v >= 9223372036854775807.0)
        return std::numeric_limits<int64_t>::max();
    if (v <= -9223372036854775808.0)
        return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(v);
}

int64_t WrapAdd(int64_t a, int64_t b)
{
    return static_cast<int64_t>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}

int64_t WrapSub(int64_t a, int64_t b)
{
    return static_cast<int64_t>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
}

int64_t WrapMul(int64_t a, int64_t b)
{
    return static_cast<int64_t>(static_cast<uint64_t>(a) * static_cast<uint64_t>(b));
}

int64_t ShiftLeft(int64_t a, int64_t n)
{
    if (n < 0 || n >= 64)
        return 0;
    return static_cast<int64_t>(static_cast<uint64_t>(a) << n);
}

int64_t ShiftRight(int64_t a, int64_t n)
{
    if (n < 0 || n >= 64)
        return a < 0 ? -1 : 0;
    // Arithmetic shift written out, so it does not rely on implementation-defined
    // behaviour for negative values.
    if (a >= 0)
        return a >> n;
    return ~(~a >> n);
}

struct FunctionInfo
{
    const char* name;
    CFormula::EOpCode op;
};

const FunctionInfo kFunctions[] = {
    {"SGN", CFormula::opSgn},     {"NEG", CFormula::opNeg},     {"ABS", CFormula::opAbs},
    {"TRUNC", CFormula::opTrunc}, {"FLOOR", CFormula::opFloor}, {"CEIL", CFormula::opCeil},
    {"ROUND", CFormula::opRound}, {"ATAN", CFormula::opAtan},   {"COS", CFormula::opCos},
    {"SIN", CFormula::opSin},     {"TAN", CFormula::opTan},     {"EXP", CFormula::opExp},
    {"LN", CFormula::opLn},       {"LG", CFormula::opLg},       {"SQRT", CFormula::opSqrt},
    {"ASIN", CFormula::opAsin},   {"ACOS", CFormula::opAcos},
};

} // namespace

// Recursive-descent parser with precedence climbing that emits the postfix program
// directly. It tracks the evaluation stack depth as it emits, so the evaluator can
// run on a fixed array.
class CFormulaParser
{
public:
    CFormulaParser(const std::string& text, EFormulaMode mode, const FormulaResolver& resolver,
                   const std::string& context)
        : m_text(text), m_mode(mode), m_resolver(resolver), m_context(context)
    {
    }

    void Parse(std::vector<CFormula::Instruction>& code, std::vector<int>& slots, int& stackDepth)
    {
        Next();
        if (m_tok.kind == Tok::End)
            Fail(m_tok.pos, "the formula is empty");
        ParseTernary(0);
        if (m_tok.kind != Tok::End)
            Fail(m_tok.pos, "unexpected " + Describe(m_tok) + " after a complete expression");
        code = std::move(m_code);
        slots = std::move(m_slots);
        stackDepth = m_maxDepth;
    }

private:
    [[noreturn]] void Fail(std::size_t pos, const std::string& what) const
    {
        std::string msg = "Formula error";
        if (!m_context.empty())
            msg += " in node '" + m_context + "'";
        msg += ": " + what + " at position " + std::to_string(pos) + " in '" + m_text + "'";
        throw RUNTIME_EXCEPTION(msg);
    }

    std::string Describe(const Token& t) const
    {
        if (t.kind == Tok::End)
            return "end of formula";
        return "'" + m_text.substr(t.pos, t.end - t.pos) + "'";
    }

    // Reads one character at `p`, decoding the XML entities &amp; &lt; &gt; so that a
    // formula copied from undecoded XML text still reads as written.
    char CharAt(std::size_t p, std::size_t& len) const
    {
        len = 1;
        if (p >= m_text.size())
            return '\0';
        char c = m_text[p];
        if (c == '&') {
            if (m_text.compare(p, 5, "&amp;") == 0) {
                len = 5;
                return '&';
            }
            if (m_text.compare(p, 4, "&lt;") == 0) {
                len = 4;
                return '<';
            }
            if (m_text.compare(p, 4, "&gt;") == 0) {
                len = 4;
                return '>';
            }
        }
        return c;
    }

    void Next()
    {
        const std::size_t n = m_text.size();
        while (m_pos < n) {
            char c = m_text[m_pos];
            if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v')
                ++m_pos;
            else
                break;
        }
        m_tok = Token();
        m_tok.pos = m_pos;
        if (m_pos >= n) {
            m_tok.kind = Tok::End;
            m_tok.end = m_pos;
            return;
        }
        const char c = m_text[m_pos];
        if (IsDigit(c) || (c == '.' && m_pos + 1 < n && IsDigit(m_text[m_pos + 1]))) {
            LexNumber();
            return;
        }
        if (IsIdentStart(c)) {
            std::size_t e = m_pos + 1;
            while (e < n && IsIdentChar(m_text[e]))
                ++e;
            m_tok.kind = Tok::Ident;
            m_pos = e;
            m_tok.end = e;
            return;
        }
        std::size_t l1 = 1, l2 = 1;
        const char c1 = CharAt(m_pos, l1);
        const char c2 = CharAt(m_pos + l1, l2);
        Tok kind = Tok::End;
        std::size_t len = l1;
        auto two = [&](Tok k) {
            kind = k;
            len = l1 + l2;
        };
        switch (c1) {
        case '(': kind = Tok::LParen; break;
        case ')': kind = Tok::RParen; break;
        case ',': kind = Tok::Comma; break;
        case '?': kind = Tok::Question; break;
        case ':': kind = Tok::Colon; break;
        case '+': kind = Tok::Plus; break;
        case '-': kind = Tok::Minus; break;
        case '/': kind = Tok::Slash; break;
        case '%': kind = Tok::Percent; break;
        case '~': kind = Tok::Tilde; break;
        case '^': kind = Tok::Xor; break;
        case '*':
            if (c2 == '*') two(Tok::Pow); else kind = Tok::Star;
            break;
        case '|':
            if (c2 == '|') two(Tok::OrOr); else kind = Tok::Or;
            break;
        case '&':
            if (c2 == '&') two(Tok::AndAnd); else kind = Tok::And;
            break;
        case '=':
            if (c2 == '=') two(Tok::Eq); else kind = Tok::Eq;
            break;
        case '!':
            if (c2 == '=') two(Tok::Ne); else kind = Tok::Bang;
            break;
        case '<':
            if (c2 == '>') two(Tok::Ne);
            else if (c2 == '=') two(Tok::Le);
            else if (c2 == '<') two(Tok::Shl);
            else kind = Tok::Lt;
            break;
        case '>':
            if (c2 == '=') two(Tok::Ge);
            else if (c2 == '>') two(Tok::Shr);
            else kind = Tok::Gt;
            break;
        default:
            m_tok.end = m_pos + 1;
            Fail(m_pos, "unexpected character '" + m_text.substr(m_pos, 1) + "'");
        }
        m_tok.kind = kind;
        m_pos += len;
        m_tok.end = m_pos;
    }

    void LexNumber()
    {
        const std::size_t n = m_text.size();
        const std::size_t start = m_pos;
        m_tok.kind = Tok::Number;
        if (m_text[start] == '0' && start + 1 < n && (m_text[start + 1] == 'x' || m_text[start + 1] == 'X')) {
            std::size_t e = start + 2;
            uint64_t v = 0;
            int digits = 0;
            while (e < n && HexDigit(m_text[e]) >= 0) {
                if (v > (std::numeric_limits<uint64_t>::max() >> 4))
                    Fail(start, "hexadecimal literal out of range");
                v = (v << 4) | static_cast<uint64_t>(HexDigit(m_text[e]));
                ++e;
                ++digits;
            }
            if (digits == 0)
                Fail(start, "hexadecimal literal without digits");
            if (e < n && IsIdentChar(m_text[e]))
                Fail(start, "malformed number '" + m_text.substr(start, e + 1 - start) + "'");
            m_tok.isHex = true;
            m_tok.i = static_cast<int64_t>(v);
            m_tok.f = static_cast<double>(v);
            m_pos = e;
            m_tok.end = e;
            return;
        }
        std::size_t e = start;
        while (e < n && IsDigit(m_text[e]))
            ++e;
        bool isFloat = false;
        if (e < n && m_text[e] == '.') {
            isFloat = true;
            ++e;
            while (e < n && IsDigit(m_text[e]))
                ++e;
        }
        if (e < n && (m_text[e] == 'e' || m_text[e] == 'E')) {
            std::size_t x = e + 1;
            if (x < n && (m_text[x] == '+' || m_text[x] == '-'))
                ++x;
            if (x < n && IsDigit(m_text[x])) {
                isFloat = true;
                e = x;
                while (e < n && IsDigit(m_text[e]))
                    ++e;
            }
        }
        if (e < n && IsIdentChar(m_text[e]))
            Fail(start, "malformed number '" + m_text.substr(start, e + 1 - start) + "'");
        const char* first = m_text.data() + start;
        const char* last = m_text.data() + e;
        double f = 0.0;
        auto rf = std::from_chars(first, last, f);
        if (rf.ec == std::errc::result_out_of_range)
            f = std::numeric_limits<double>::infinity();
        else if (rf.ec != std::errc() || rf.ptr != last)
            Fail(start, "malformed number '" + m_text.substr(start, e - start) + "'");
        m_tok.f = f;
        m_tok.isFloat = isFloat;
        if (!isFloat) {
            // Leading zeros do not make a literal octal: "010" is ten.
            int64_t v = 0;
            auto ri = std::from_chars(first, last, v, 10);
            if (ri.ec != std::errc() || ri.ptr != last)
                m_tok.intOverflow = true;
            m_tok.i = v;
        }
        m_pos = e;
        m_tok.end = e;
    }

    void Emit(CFormula::EOpCode op, int32_t arg = 0, int stackChange = 0)
    {
        CFormula::Instruction in;
        in.op = op;
        in.arg = arg;
        in.value.i = 0;
        m_code.push_back(in);
        AdjustDepth(stackChange);
    }

    void AdjustDepth(int change)
    {
        m_depth += change;
        if (m_depth > m_maxDepth) {
            m_maxDepth = m_depth;
            if (m_maxDepth > CFormula::MaxStackDepth)
                Fail(m_tok.pos, "the formula is too complex to evaluate");
        }
    }

    void EmitInt(int64_t v)
    {
        Emit(CFormula::opConst, 0, +1);
        if (m_mode == EFormulaMode::Integer)
            m_code.back().value.i = v;
        else
            m_code.back().value.f = static_cast<double>(v);
    }

    void EmitFloat(double v)
    {
        Emit(CFormula::opConst, 0, +1);
        m_code.back().value.f = v;
    }

    void PatchJump(std::size_t at)
    {
        m_code[at].arg = static_cast<int32_t>(m_code.size());
    }

    void Enter(int depth)
    {
        if (depth > CFormula::MaxNesting)
            Fail(m_tok.pos, "the formula is nested too deeply");
    }

    void Expect(Tok kind, const char* what)
    {
        if (m_tok.kind != kind)
            Fail(m_tok.pos, std::string("expected ") + what + " but found " + Describe(m_tok));
        Next();
    }

    // cond ? a : b, right-associative.
    void ParseTernary(int depth)
    {
        Enter(depth);
        ParseBinary(1, depth);
        if (m_tok.kind != Tok::Question)
            return;
        Next();
        const std::size_t jz = m_code.size();
        Emit(CFormula::opJumpIfZero, 0, -1);
        const int depthAtBranch = m_depth;
        ParseTernary(depth + 1);
        const std::size_t jmp = m_code.size();
        Emit(CFormula::opJump);
        Expect(Tok::Colon, "':'");
        PatchJump(jz);
        m_depth = depthAtBranch; // the else branch starts where the then branch did
        ParseTernary(depth + 1);
        PatchJump(jmp);
    }

    static int Precedence(Tok kind)
    {
        switch (kind) {
        case Tok::OrOr: return 1;
        case Tok::AndAnd: return 2;
        case Tok::Or: return 3;
        case Tok::Xor: return 4;
        case Tok::And: return 5;
        case Tok::Eq: case Tok::Ne: return 6;
        case Tok::Lt: case Tok::Gt: case Tok::Le: case Tok::Ge: return 7;
        case Tok::Shl: case Tok::Shr: return 8;
        case Tok::Plus: case Tok::Minus: return 9;
        case Tok::Star: case Tok::Slash: case Tok::Percent: return 10;
        case Tok::Pow: return 11;
        default: return 0;
        }
    }

    static CFormula::EOpCode BinaryOp(Tok kind)
    {
        switch (kind) {
        case Tok::Or: return CFormula::opBitOr;
        case Tok::Xor: return CFormula::opBitXor;
        case Tok::And: return CFormula::opBitAnd;
        case Tok::Eq: return CFormula::opEq;
        case Tok::Ne: return CFormula::opNe;
        case Tok::Lt: return CFormula::opLt;
        case Tok::Gt: return CFormula::opGt;
        case Tok::Le: return CFormula::opLe;
        case Tok::Ge: return CFormula::opGe;
        case Tok::Shl: return CFormula::opShl;
        case Tok::Shr: return CFormula::opShr;
        case Tok::Plus: return CFormula::opAdd;
        case Tok::Minus: return CFormula::opSub;
        case Tok::Star: return CFormula::opMul;
        case Tok::Slash: return CFormula::opDiv;
        case Tok::Percent: return CFormula::opMod;
        case Tok::Pow: return CFormula::opPow;
        default: return CFormula::opAdd;
        }
    }

    // Precedence climbing over the binary operators. Left-associative operators loop
    // here; only '**' recurses at the same level, and that recursion counts as nesting.
    void ParseBinary(int minPrec, int depth)
    {
        ParseUnary(depth);
        for (;;) {
            const Tok kind = m_tok.kind;
            const int prec = Precedence(kind);
            if (prec == 0 || prec < minPrec)
                return;
            const std::size_t opPos = m_tok.pos;
            Next();
            if (kind == Tok::AndAnd || kind == Tok::OrOr) {
                const std::size_t j = m_code.size();
                Emit(kind == Tok::AndAnd ? CFormula::opAndJump : CFormula::opOrJump, 0, -1);
                ParseBinary(prec + 1, depth);
                Emit(CFormula::opToBool);
                PatchJump(j);
                continue;
            }
            if (kind == Tok::Pow) {
                Enter(depth + 1);
                ParseBinary(prec, depth + 1);
            } else {
                ParseBinary(prec + 1, depth);
            }
            Emit(BinaryOp(kind), static_cast<int32_t>(opPos), -1);
        }
    }

    void ParseUnary(int depth)
    {
        Enter(depth);
        CFormula::EOpCode op;
        switch (m_tok.kind) {
        case Tok::Minus: op = CFormula::opNeg; break;
        case Tok::Plus: op = CFormula::opPlus; break;
        case Tok::Tilde: op = CFormula::opBitNot; break;
        case Tok::Bang: op = CFormula::opLogNot; break;
        default:
            ParsePrimary(depth);
            return;
        }
        Next();
        ParseUnary(depth + 1);
        if (op != CFormula::opPlus)
            Emit(op);
    }

    void ParsePrimary(int depth)
    {
        const Token t = m_tok;
        switch (t.kind) {
        case Tok::Number:
            Next();
            if (t.isFloat || t.intOverflow) {
                if (m_mode == EFormulaMode::Integer) {
                    if (t.intOverflow && !t.isFloat)
                        Fail(t.pos, "integer literal out of range");
                    const double r = std::trunc(t.f);
                    if (r != t.f || !(std::fabs(r) < 9.2e18))
                        throw RestartInFloat();
                    EmitInt(static_cast<int64_t>(r));
                } else {
                    EmitFloat(t.f);
                }
            } else if (t.isHex) {
                if (m_mode == EFormulaMode::Integer)
                    EmitInt(t.i);
                else
                    EmitFloat(t.f);
            } else {
                EmitInt(t.i);
            }
            return;
        case Tok::LParen:
            Next();
            ParseTernary(depth + 1);
            Expect(Tok::RParen, "')'");
            return;
        case Tok::Ident:
            ParseIdentifier(depth);
            return;
        default:
            Fail(t.pos, "expected an operand but found " + Describe(t));
        }
    }

    void ParseIdentifier(int depth)
    {
        const Token t = m_tok;
        const std::string name = m_text.substr(t.pos, t.end - t.pos);
        Next();
        if (m_tok.kind == Tok::LParen) {
            std::string upper = name;
            for (char& c : upper)
                c = ToUpper(c);
            const FunctionInfo* fn = nullptr;
            for (const FunctionInfo& f : kFunctions) {
                if (upper == f.name) {
                    fn = &f;
                    break;
                }
            }
            if (!fn)
                Fail(t.pos, "unknown function '" + name + "'");
            Next();
            ParseTernary(depth + 1);
            CFormula::EOpCode op = fn->op;
            if (op == CFormula::opRound && m_tok.kind == Tok::Comma) {
                Next();
                ParseTernary(depth + 1);
                op = CFormula::opRound2;
                Expect(Tok::RParen, "')'");
                Emit(op, 0, -1);
                return;
            }
            if (m_tok.kind == Tok::Comma)
                Fail(m_tok.pos, "function '" + name + "' takes one argument");
            Expect(Tok::RParen, "')'");
            Emit(op);
            return;
        }
        // Variables win over the built-in constants, so a description that names a
        // variable "E" gets its variable.
        const int slot = m_resolver ? m_resolver(name) : -1;
        if (slot >= 0) {
            Emit(CFormula::opSlot, slot, +1);
            bool known = false;
            for (int s : m_slots)
                known = known || s == slot;
            if (!known)
                m_slots.push_back(slot);
            return;
        }
        if (name == "PI") {
            EmitFloatOrTruncated(3.14159265358979323846);
            return;
        }
        if (name == "E") {
            EmitFloatOrTruncated(2.71828182845904523536);
            return;
        }
        Fail(t.pos, "unknown symbol '" + name + "'");
    }

    void EmitFloatOrTruncated(double v)
    {
        if (m_mode == EFormulaMode::Integer)
            throw RestartInFloat();
        EmitFloat(v);
    }

    const std::string& m_text;
    EFormulaMode m_mode;
    const FormulaResolver& m_resolver;
    const std::string& m_context;
    std::size_t m_pos = 0;
    Token m_tok;
    std::vector<CFormula::Instruction> m_code;
    std::vector<int> m_slots;
    int m_depth = 0;
    int m_maxDepth = 0;
};

CFormula& CFormula::operator=(const CFormula& other)
{
    if (this == &other)
        return *this;
    m_code = other.m_code;
    if (other.m_ownedText)
        KeepCopies(other.m_text, other.m_context);
    else {
        m_ownedText.reset();
        m_text = other.m_text;
        m_context = other.m_context;
    }
    m_mode = other.m_mode;
    m_evalMode = other.m_evalMode;
    m_stackDepth = other.m_stackDepth;
    return *this;
}

void CFormula::KeepCopies(std::string_view text, std::string_view context)
{
    std::unique_ptr<char[]> owned(new char[text.size() + context.size() + 2]);
    char* p = owned.get();
    std::copy(text.begin(), text.end(), p);
    p[text.size()] = '\0';
    std::copy(context.begin(), context.end(), p + text.size() + 1);
    p[text.size() + 1 + context.size()] = '\0';
    m_ownedText = std::move(owned);
    m_text = p;
    m_context = p + text.size() + 1;
}

void CFormula::Compile(const std::string& text, EFormulaMode mode, const FormulaResolver& resolver,
                       const std::string& context)
{
    KeepCopies(text, context);
    CompileText(mode, resolver);
}

void CFormula::CompileKept(const char* text, EFormulaMode mode, const FormulaResolver& resolver, const char* context)
{
    m_ownedText.reset();
    m_text = text;
    m_context = context;
    CompileText(mode, resolver);
}

void CFormula::CompileText(EFormulaMode mode, const FormulaResolver& resolver)
{
    m_code.clear();
    m_stackDepth = 0;
    m_mode = mode;
    m_evalMode = mode;

    // The parser works on strings; the copies live only while compiling
    const std::string text(m_text);
    const std::string context(m_context);
    std::vector<Instruction> code;
    std::vector<int> slots;
    int depth = 0;
    try {
        CFormulaParser parser(text, mode, resolver, context);
        parser.Parse(code, slots, depth);
    } catch (const RestartInFloat&) {
        m_evalMode = EFormulaMode::Float;
        CFormulaParser parser(text, EFormulaMode::Float, resolver, context);
        parser.Parse(code, slots, depth);
    }
    code.shrink_to_fit();
    m_code = std::move(code);
    m_stackDepth = depth;
}

std::vector<int> CFormula::GetUsedSlots() const
{
    // The program reads the slots in the order the parser met them
    std::vector<int> slots;
    for (const Instruction& in : m_code)
        if (in.op == opSlot && std::find(slots.begin(), slots.end(), in.arg) == slots.end())
            slots.push_back(in.arg);
    return slots;
}

void CFormula::ThrowDivisionByZero(int32_t position) const
{
    std::string msg = "Division by zero";
    if (*m_context)
        msg += " in node '" + std::string(m_context) + "'";
    msg += " at position " + std::to_string(position) + " of formula '" + std::string(m_text) + "'";
    throw RUNTIME_EXCEPTION(msg);
}

namespace
{

// Arithmetic of one evaluation mode. The program is the same; only the meaning of
// the operators differs.
struct IntArith
{
    using T = int64_t;
    static T Read(IFormulaValueSource& s, int slot) { return s.GetInt(slot); }
    static T Const(const CFormula::Instruction& in) { return in.value.i; }
    static T FromBool(bool b) { return b ? 1 : 0; }
    static bool IsZero(T v) { return v == 0; }
    static T Neg(T a) { return WrapSub(0, a); }
    static T Add(T a, T b) { return WrapAdd(a, b); }
    static T Sub(T a, T b) { return WrapSub(a, b); }
    static T Mul(T a, T b) { return WrapMul(a, b); }
    static T Div(T a, T b)
    {
        if (b == -1)
            return WrapSub(0, a); // INT64_MIN / -1 would trap
        return a / b;
    }
    static T Mod(T a, T b) { return b == -1 ? 0 : a % b; }
    static bool PowDividesByZero(T a, T b) { return a == 0 && b < 0; }
    static T Pow(T base, T exp)
    {
        if (exp < 0) {
            if (base == 1)
                return 1;
            if (base == -1)
                return (exp & 1) ? -1 : 1;
            return 0;
        }
        uint64_t r = 1;
        uint64_t b = static_cast<uint64_t>(base);
        uint64_t e = static_cast<uint64_t>(exp);
        while (e) {
            if (e & 1)
                r *= b;
            b *= b;
            e >>= 1;
        }
        return static_cast<int64_t>(r);
    }
    static int64_t AsInt(T v) { return v; }
    static T FromInt(int64_t v) { return v; }
    static T Sgn(T a) { return a > 0 ? 1 : (a < 0 ? -1 : 0); }
    static T Abs(T a) { return a < 0 ? WrapSub(0, a) : a; }
    static T Trunc(T a) { return a; }
    static T Floor(T a) { return a; }
    static T Ceil(T a) { return a; }
    static T Round(T a) { return a; }
    static T Round2(T a, T digits)
    {
        if (digits >= 0)
            return a;
        if (digits <= -19)
            return 0;
        int64_t p = 1;
        for (T i = 0; i < -digits; ++i)
            p *= 10;
        const int64_t q = a / p;
        const int64_t r = a % p;
        int64_t result = q;
        if (r >= (p + 1) / 2 && r > 0)
            result = q + 1;
        else if (r <= -(p + 1) / 2 && r < 0)
            result = q - 1;
        return WrapMul(result, p);
    }
    template <typename F>
    static T Real(T a, F f) { return ToInt64(f(static_cast<double>(a))); }
};

struct FloatArith
{
    using T = double;
    static T Read(IFormulaValueSource& s, int slot) { return s.GetFloat(slot); }
    static T Const(const CFormula::Instruction& in) { return in.value.f; }
    static T FromBool(bool b) { return b ? 1.0 : 0.0; }
    static bool IsZero(T v) { return v == 0.0; }
    static T Neg(T a) { return -a; }
    static T Add(T a, T b) { return a + b; }
    static T Sub(T a, T b) { return a - b; }
    static T Mul(T a, T b) { return a * b; }
    static T Div(T a, T b) { return a / b; }
    static T Mod(T a, T b) { return std::fmod(a, b); }
    static bool PowDividesByZero(T a, T b) { return a == 0.0 && b < 0.0; }
    static T Pow(T a, T b) { return std::pow(a, b); }
    static int64_t AsInt(T v) { return ToInt64(v); }
    static T FromInt(int64_t v) { return static_cast<double>(v); }
    static T Sgn(T a) { return a > 0 ? 1.0 : (a < 0 ? -1.0 : 0.0); }
    static T Abs(T a) { return std::fabs(a); }
    static T Trunc(T a) { return std::trunc(a); }
    static T Floor(T a) { return std::floor(a); }
    static T Ceil(T a) { return std::ceil(a); }
    static T Round(T a) { return std::round(a); }
    static T Round2(T a, T digits)
    {
        if (std::isnan(digits))
            return a;
        const double d = std::trunc(digits);
        if (d > 300 || d < -300)
            return d > 0 ? a : 0.0;
        const double p = std::pow(10.0, d);
        const double scaled = a * p;
        if (!std::isfinite(scaled))
            return a;
        return std::round(scaled) / p;
    }
    template <typename F>
    static T Real(T a, F f) { return f(a); }
};

double Lg(double v) { return std::log10(v); }

} // namespace

template <typename T>
T CFormula::Run(IFormulaValueSource& source) const
{
    using A = std::conditional_t<std::is_same<T, int64_t>::value, IntArith, FloatArith>;
    T stack[MaxStackDepth];
    int sp = 0; // number of entries
    const Instruction* code = m_code.data();
    const std::size_t n = m_code.size();
    std::size_t pc = 0;
    while (pc < n) {
        const Instruction& in = code[pc++];
        switch (in.op) {
        case opConst: stack[sp++] = A::Const(in); break;
        case opSlot: stack[sp++] = A::Read(source, in.arg); break;
        case opNeg: stack[sp - 1] = A::Neg(stack[sp - 1]); break;
        case opPlus: break;
        case opBitNot: stack[sp - 1] = A::FromInt(~A::AsInt(stack[sp - 1])); break;
        case opLogNot: stack[sp - 1] = A::FromBool(A::IsZero(stack[sp - 1])); break;
        case opToBool: stack[sp - 1] = A::FromBool(!A::IsZero(stack[sp - 1])); break;
        case opJumpIfZero:
            --sp;
            if (A::IsZero(stack[sp]))
                pc = static_cast<std::size_t>(in.arg);
            break;
        case opJump: pc = static_cast<std::size_t>(in.arg); break;
        case opAndJump:
            if (A::IsZero(stack[sp - 1])) {
                stack[sp - 1] = A::FromBool(false);
                pc = static_cast<std::size_t>(in.arg);
            } else {
                --sp;
            }
            break;
        case opOrJump:
            if (!A::IsZero(stack[sp - 1])) {
                stack[sp - 1] = A::FromBool(true);
                pc = static_cast<std::size_t>(in.arg);
            } else {
                --sp;
            }
            break;
        case opSgn: stack[sp - 1] = A::Sgn(stack[sp - 1]); break;
        case opAbs: stack[sp - 1] = A::Abs(stack[sp - 1]); break;
        case opTrunc: stack[sp - 1] = A::Trunc(stack[sp - 1]); break;
        case opFloor: stack[sp - 1] = A::Floor(stack[sp - 1]); break;
        case opCeil: stack[sp - 1] = A::Ceil(stack[sp - 1]); break;
        case opRound: stack[sp - 1] = A::Round(stack[sp - 1]); break;
        case opAtan: stack[sp - 1] = A::Real(stack[sp - 1], [](double v) { return std::atan(v); }); break;
        case opCos: stack[sp - 1] = A::Real(stack[sp - 1], [](double v) { return std::cos(v); }); break;
        case opSin: stack[sp - 1] = A::Real(stack[sp - 1], [](double v) { return std::sin(v); }); break;
        case opTan: stack[sp - 1] = A::Real(stack[sp - 1], [](double v) { return std::tan(v); }); break;
        case opExp: stack[sp - 1] = A::Real(stack[sp - 1], [](double v) { return std::exp(v); }); break;
        case opLn: stack[sp - 1] = A::Real(stack[sp - 1], [](double v) { return std::log(v); }); break;
        case opLg: stack[sp - 1] = A::Real(stack[sp - 1], Lg); break;
        case opSqrt: stack[sp - 1] = A::Real(stack[sp - 1], [](double v) { return std::sqrt(v); }); break;
        case opAsin: stack[sp - 1] = A::Real(stack[sp - 1], [](double v) { return std::asin(v); }); break;
        case opAcos: stack[sp - 1] = A::Real(stack[sp - 1], [](double v) { return std::acos(v); }); break;
// Binary operators: b on top, a below it; the result replaces a.
#define VORLO_FORMULA_BINARY(expression)                                                             \
    {                                                                                                \
        const T b = stack[--sp];                                                                     \
        const T a = stack[sp - 1];                                                                   \
        stack[sp - 1] = (expression);                                                                \
        break;                                                                                       \
    }
        case opAdd: VORLO_FORMULA_BINARY(A::Add(a, b))
        case opSub: VORLO_FORMULA_BINARY(A::Sub(a, b))
        case opMul: VORLO_FORMULA_BINARY(A::Mul(a, b))
        case opDiv: VORLO_FORMULA_BINARY(A::IsZero(b) ? (ThrowDivisionByZero(in.arg), a) : A::Div(a, b))
        case opMod: VORLO_FORMULA_BINARY(A::IsZero(b) ? (ThrowDivisionByZero(in.arg), a) : A::Mod(a, b))
        case opPow:
            VORLO_FORMULA_BINARY(A::PowDividesByZero(a, b) ? (ThrowDivisionByZero(in.arg), a) : A::Pow(a, b))
        case opShl: VORLO_FORMULA_BINARY(A::FromInt(ShiftLeft(A::AsInt(a), A::AsInt(b))))
        case opShr: VORLO_FORMULA_BINARY(A::FromInt(ShiftRight(A::AsInt(a), A::AsInt(b))))
        case opBitAnd: VORLO_FORMULA_BINARY(A::FromInt(A::AsInt(a) & A::AsInt(b)))
        case opBitOr: VORLO_FORMULA_BINARY(A::FromInt(A::AsInt(a) | A::AsInt(b)))
        case opBitXor: VORLO_FORMULA_BINARY(A::FromInt(A::AsInt(a) ^ A::AsInt(b)))
        case opEq: VORLO_FORMULA_BINARY(A::FromBool(a == b))
        case opNe: VORLO_FORMULA_BINARY(A::FromBool(a != b))
        case opLt: VORLO_FORMULA_BINARY(A::FromBool(a < b))
        case opGt: VORLO_FORMULA_BINARY(A::FromBool(a > b))
        case opLe: VORLO_FORMULA_BINARY(A::FromBool(a <= b))
        case opGe: VORLO_FORMULA_BINARY(A::FromBool(a >= b))
        case opRound2: VORLO_FORMULA_BINARY(A::Round2(a, b))
#undef VORLO_FORMULA_BINARY
        }
    }
    return stack[0];
}

void CFormula::ThrowNotCompiled() const
{
    std::string msg = "Evaluation of a formula that was not compiled";
    if (*m_context)
        msg += " in node '" + std::string(m_context) + "'";
    throw LOGICAL_ERROR_EXCEPTION(msg);
}

int64_t CFormula::EvaluateInt(IFormulaValueSource& source) const
{
    if (m_code.empty())
        ThrowNotCompiled();
    if (m_evalMode == EFormulaMode::Integer)
        return Run<int64_t>(source);
    return ToInt64(Run<double>(source));
}

double CFormula::EvaluateFloat(IFormulaValueSource& source) const
{
    if (m_code.empty())
        ThrowNotCompiled();
    if (m_evalMode == EFormulaMode::Integer)
        return static_cast<double>(Run<int64_t>(source));
    return Run<double>(source);
}

namespace
{

// Every symbol gets a slot whose value is derived from the slot number, so fuzzed
// text exercises variables as well as literals.
class CFuzzSource : public IFormulaValueSource
{
public:
    double GetFloat(int slot) override { return static_cast<double>(slot % 7) - 2.5; }
    int64_t GetInt(int slot) override { return static_cast<int64_t>(slot % 7) - 2; }
};

} // namespace

int FuzzFormulaText(const char* data, std::size_t size)
{
    const std::string text(data, size);
    std::vector<std::string> names;
    const FormulaResolver resolver = [&names](const std::string& symbol) -> int {
        if (symbol == "E" || symbol == "PI")
            return -1;
        for (std::size_t i = 0; i < names.size(); ++i)
            if (names[i] == symbol)
                return static_cast<int>(i);
        names.push_back(symbol);
        return static_cast<int>(names.size() - 1);
    };
    int ok = 0;
    CFuzzSource source;
    for (EFormulaMode mode : {EFormulaMode::Integer, EFormulaMode::Float}) {
        try {
            CFormula f;
            f.Compile(text, mode, resolver, "Fuzz");
            (void)f.EvaluateInt(source);
            (void)f.EvaluateFloat(source);
            ++ok;
        } catch (const GenICam::GenericException&) {
            // A rejected or failing formula is a valid outcome.
        }
    }
    return ok;
}

} // namespace detail
} // namespace GenApi
