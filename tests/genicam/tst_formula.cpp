// Formula compiler and evaluator: grammar, precedence, both arithmetic modes, lazy and
// short-circuit evaluation, errors and robustness against arbitrary text.

#include <QtTest>

#include "Formula.h"

#include <GenICam/GCException.h>

#include <QDir>
#include <QFile>
#include <QXmlStreamReader>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <new>
#include <limits>
#include <map>
#include <random>
#include <set>
#include <string>

// Counts heap allocations so that tests can show that a code path allocates nothing.
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
using GenApi::detail::FormulaResolver;
using GenApi::detail::IFormulaValueSource;

namespace
{

enum Slot
{
    SlotX, SlotY, SlotZ, SlotA, SlotB, SlotXMax, SlotSelEntry, SlotVarValue, SlotBad, SlotLowerX, SlotE,
    SlotCount
};

// Named slots with fixed values; reading "BAD" throws as an unavailable node would,
// and every read is counted.
class TestSource : public IFormulaValueSource
{
public:
    TestSource()
    {
        m_int = {10, 3, -4, 0, 1, 100, 17, 42, 0, 7, 5};
        m_float = {10.0, 3.0, -4.0, 0.0, 1.0, 100.5, 17.0, 42.0, 0.0, 7.5, 5.0};
    }

    double GetFloat(int slot) override
    {
        count(slot);
        return m_float.at(static_cast<std::size_t>(slot));
    }

    int64_t GetInt(int slot) override
    {
        count(slot);
        return m_int.at(static_cast<std::size_t>(slot));
    }

    int reads(int slot) const { return m_reads[slot]; }
    int totalReads() const
    {
        int n = 0;
        for (int r : m_reads)
            n += r;
        return n;
    }

    std::vector<int64_t> m_int;
    std::vector<double> m_float;

private:
    void count(int slot)
    {
        ++m_reads[slot];
        if (slot == SlotBad)
            throw ACCESS_EXCEPTION("Node 'BAD' is not available");
    }

    int m_reads[SlotCount] = {};
};

FormulaResolver testResolver(bool withVariableE = false)
{
    return [withVariableE](const std::string& symbol) -> int {
        static const std::map<std::string, int> names = {
            {"X", SlotX}, {"Y", SlotY}, {"Z", SlotZ}, {"A", SlotA}, {"B", SlotB},
            {"X.Max", SlotXMax}, {"SEL.Entry.Mono8", SlotSelEntry}, {"VAR.Value", SlotVarValue},
            {"BAD", SlotBad}, {"x", SlotLowerX}};
        if (withVariableE && symbol == "E")
            return SlotE;
        const auto it = names.find(symbol);
        return it == names.end() ? -1 : it->second;
    };
}

CFormula compiled(const QString& text, EFormulaMode mode, bool withVariableE = false)
{
    CFormula f;
    f.Compile(text.toStdString(), mode, testResolver(withVariableE), "MyNode");
    return f;
}

qint64 evalInt(const QString& text)
{
    TestSource source;
    return compiled(text, EFormulaMode::Integer).EvaluateInt(source);
}

double evalFloat(const QString& text)
{
    TestSource source;
    return compiled(text, EFormulaMode::Float).EvaluateFloat(source);
}

// A ternary chain of the kind that register address formulas use: one level per selector value.
QString selectorChain(int levels)
{
    QString text;
    for (int i = 0; i < levels; ++i)
        text += QStringLiteral("( ( X = %1 ) && ( Y = 3 ) ) ? 0x%2 : ( ").arg(i).arg(0xD1000 + 0x20 * i, 0, 16);
    text += QStringLiteral("0x0");
    for (int i = 0; i < levels; ++i)
        text += QStringLiteral(" )");
    return text;
}

// Every variable reads as zero, the worst case for divisions.
class ZeroSource : public IFormulaValueSource
{
public:
    double GetFloat(int) override { return 0.0; }
    int64_t GetInt(int) override { return 0; }
};

// One formula-bearing node of a description: its symbols and its formula texts.
struct FormulaNode
{
    QString name;
    bool integer = false;
    bool converter = false;
    int depth = 0;
    std::set<std::string> symbols;
    QList<QPair<QString, QString>> formulas; // element name, text
};

// Resolves what a SwissKnife or Converter may refer to: its variables (also with .Min,
// .Max, .Inc, .Value and .Entry.<Name>), its constants and expressions, and for a
// converter FROM and TO.
FormulaResolver nodeResolver(const FormulaNode& node, std::vector<std::string>& slotNames)
{
    return [&node, &slotNames](const std::string& symbol) -> int {
        std::string base = symbol;
        const std::size_t dot = symbol.find('.');
        if (dot != std::string::npos) {
            const std::string suffix = symbol.substr(dot + 1);
            if (suffix != "Min" && suffix != "Max" && suffix != "Inc" && suffix != "Value"
                && suffix.rfind("Entry.", 0) != 0)
                return -1;
            base = symbol.substr(0, dot);
        }
        const bool known = node.symbols.count(base) != 0
                           || (node.converter && (base == "FROM" || base == "TO"));
        if (!known)
            return -1;
        slotNames.push_back(symbol);
        return static_cast<int>(slotNames.size() - 1);
    };
}

QList<FormulaNode> formulaNodesOf(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QByteArray data = file.readAll();
    data = data.mid(data.indexOf('<')); // dump headers and byte-order marks come first
    QXmlStreamReader xml(data);
    static const QStringList kinds = {"SwissKnife", "IntSwissKnife", "Converter", "IntConverter"};
    QList<FormulaNode> done;
    QList<FormulaNode> open;
    int depth = 0;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement()) {
            ++depth;
            const QString tag = xml.name().toString();
            if (kinds.contains(tag)) {
                FormulaNode node;
                node.name = xml.attributes().value("Name").toString();
                node.integer = tag.startsWith("Int");
                node.converter = tag.endsWith("Converter");
                node.depth = depth;
                open << node;
                continue;
            }
            if (open.isEmpty() || depth != open.last().depth + 1)
                continue;
            FormulaNode& node = open.last();
            const QString symbol = xml.attributes().value("Name").toString();
            if (tag == "pVariable" || tag == "Constant")
                node.symbols.insert(symbol.toStdString());
            if (tag == "Expression")
                node.symbols.insert(symbol.toStdString());
            if (tag == "Formula" || tag == "FormulaTo" || tag == "FormulaFrom" || tag == "Expression")
                node.formulas << qMakePair(tag, xml.readElementText());
            if (xml.isEndElement())
                --depth; // readElementText consumed the end element
        } else if (xml.isEndElement()) {
            if (!open.isEmpty() && depth == open.last().depth)
                done << open.takeLast();
            --depth;
        }
    }
    return done;
}

} // namespace

class tst_Formula : public QObject
{
    Q_OBJECT

private slots:
    void integerEvaluation_data();
    void integerEvaluation();
    void floatEvaluation_data();
    void floatEvaluation();
    void integerVersusFloatMode_data();
    void integerVersusFloatMode();
    void resultConversionBetweenModes_data();
    void resultConversionBetweenModes();
    void fractionalLiteralInIntegerFormulaRunsInFloat();
    void integralFloatLiteralKeepsIntegerArithmetic();
    void shortCircuitSkipsUnneededSlots_data();
    void shortCircuitSkipsUnneededSlots();
    void neededThrowingSlotPropagatesItsException_data();
    void neededThrowingSlotPropagatesItsException();
    void onlyTheTakenBranchIsRead();
    void parseErrorsNamePositionTextAndNode_data();
    void parseErrorsNamePositionTextAndNode();
    void failedCompileLeavesFormulaEmpty();
    void evaluatingUncompiledFormulaThrows();
    void divisionByZeroRaisesRuntimeException_data();
    void divisionByZeroRaisesRuntimeException();
    void deepNestingRejectedCleanly_data();
    void deepNestingRejectedCleanly();
    void nestingUpToTheLimitIsAccepted();
    void longFlatFormulaNeedsLittleStack();
    void realSelectorChainCompiles();
    void stackDepthComputedAtCompileTime_data();
    void stackDepthComputedAtCompileTime();
    void evaluationDoesNotAllocate();
    void symbolsAreCaseSensitive();
    void variableNamedLikeAConstantWins();
    void usedSlotsListedOnceInOrder();
    void realDescriptionFormulasCompile_data();
    void realDescriptionFormulasCompile();
    void fuzzStyleRandomFormulasRaiseOnlyGenICamExceptions();
    void fuzzEntryAcceptsArbitraryBytes();
};

void tst_Formula::integerEvaluation_data()
{
    QTest::addColumn<QString>("formula");
    QTest::addColumn<qint64>("expected");

    // Literals
    QTest::newRow("decimal literal") << "42" << qint64(42);
    QTest::newRow("leading zero is decimal") << "010" << qint64(10);
    QTest::newRow("hex literal lower") << "0xff" << qint64(255);
    QTest::newRow("hex literal upper") << "0XFF" << qint64(255);
    QTest::newRow("hex plus leading-zero decimal") << "0x10 + 010" << qint64(26);
    QTest::newRow("hex all ones wraps to -1") << "0xFFFFFFFFFFFFFFFF" << qint64(-1);
    QTest::newRow("largest int64 literal") << "9223372036854775807" << std::numeric_limits<qint64>::max();
    QTest::newRow("whitespace everywhere") << " \t( 1\n+\r2 ) *  3 " << qint64(9);
    QTest::newRow("no whitespace") << "(1+2)*3" << qint64(9);

    // Variables and identifiers with dots
    QTest::newRow("variable") << "X" << qint64(10);
    QTest::newRow("variable arithmetic") << "X * Y - Z" << qint64(34);
    QTest::newRow("dotted Max") << "X.Max - X" << qint64(90);
    QTest::newRow("dotted enum entry") << "SEL.Entry.Mono8" << qint64(17);
    QTest::newRow("dotted Value") << "VAR.Value + 1" << qint64(43);

    // Every operator alone
    QTest::newRow("add") << "7 + 5" << qint64(12);
    QTest::newRow("subtract") << "7 - 5" << qint64(2);
    QTest::newRow("multiply") << "7 * 5" << qint64(35);
    QTest::newRow("divide truncates") << "7 / 2" << qint64(3);
    QTest::newRow("divide negative truncates toward zero") << "-7 / 2" << qint64(-3);
    QTest::newRow("modulo") << "7 % 3" << qint64(1);
    QTest::newRow("modulo negative dividend") << "-7 % 2" << qint64(-1);
    QTest::newRow("modulo negative divisor") << "7 % -2" << qint64(1);
    QTest::newRow("power") << "2 ** 10" << qint64(1024);
    QTest::newRow("power 62") << "2 ** 62" << qint64(4611686018427387904LL);
    QTest::newRow("power negative exponent") << "2 ** -1" << qint64(0);
    QTest::newRow("power one negative exponent") << "1 ** -5" << qint64(1);
    QTest::newRow("power minus one odd negative exponent") << "(-1) ** -3" << qint64(-1);
    QTest::newRow("shift left") << "1 << 4" << qint64(16);
    QTest::newRow("shift right") << "256 >> 4" << qint64(16);
    QTest::newRow("shift right negative is arithmetic") << "-8 >> 1" << qint64(-4);
    QTest::newRow("shift left by 64 or more gives 0") << "1 << 64" << qint64(0);
    QTest::newRow("shift right negative by 70 gives -1") << "-1 >> 70" << qint64(-1);
    QTest::newRow("bit and") << "12 & 10" << qint64(8);
    QTest::newRow("bit or") << "12 | 3" << qint64(15);
    QTest::newRow("bit xor") << "12 ^ 10" << qint64(6);
    QTest::newRow("bit not") << "~0" << qint64(-1);
    QTest::newRow("bit not of variable") << "~X & 0xF" << qint64(5);
    QTest::newRow("logical not of zero") << "!0" << qint64(1);
    QTest::newRow("logical not of non-zero") << "!5" << qint64(0);
    QTest::newRow("unary minus") << "-X" << qint64(-10);
    QTest::newRow("unary plus") << "+X" << qint64(10);
    QTest::newRow("double unary minus") << "- -3" << qint64(3);
    QTest::newRow("equality single =") << "X = 10" << qint64(1);
    QTest::newRow("equality double ==") << "X == 10" << qint64(1);
    QTest::newRow("equality false") << "X = 11" << qint64(0);
    QTest::newRow("not equal <>") << "X <> 10" << qint64(0);
    QTest::newRow("not equal !=") << "X != 9" << qint64(1);
    QTest::newRow("less") << "3 < 4" << qint64(1);
    QTest::newRow("greater") << "3 > 4" << qint64(0);
    QTest::newRow("less or equal") << "4 <= 4" << qint64(1);
    QTest::newRow("greater or equal") << "3 >= 4" << qint64(0);
    QTest::newRow("logical and gives 0 or 1") << "5 && 3" << qint64(1);
    QTest::newRow("logical or gives 0 or 1") << "0 || 7" << qint64(1);
    QTest::newRow("logical and false") << "5 && 0" << qint64(0);
    QTest::newRow("logical or false") << "0 || 0" << qint64(0);
    QTest::newRow("ternary true") << "1 ? 2 : 3" << qint64(2);
    QTest::newRow("ternary false") << "0 ? 2 : 3" << qint64(3);
    QTest::newRow("XML-encoded and and") << "X &amp;&amp; Y" << qint64(1);
    QTest::newRow("XML-encoded less than") << "Y &lt; X" << qint64(1);
    QTest::newRow("XML-encoded shift right") << "X &gt;&gt; 1" << qint64(5);

    // Precedence: each row tells the neighbouring levels apart
    QTest::newRow("prec ternary below or") << "1 || 0 ? 5 : 6" << qint64(5);
    QTest::newRow("prec ternary else takes whole sum") << "0 ? 2 : 3 + 4" << qint64(7);
    QTest::newRow("prec or below and") << "1 || 0 && 0" << qint64(1);
    QTest::newRow("prec and below bit or") << "0 && 0 | 1" << qint64(0);
    QTest::newRow("prec bit or below xor") << "1 | 1 ^ 1" << qint64(1);
    QTest::newRow("prec xor below bit and") << "2 ^ 3 & 1" << qint64(3);
    QTest::newRow("prec bit and below equality") << "1 & 2 = 2" << qint64(1);
    QTest::newRow("prec equality below relational") << "2 = 1 < 3" << qint64(0);
    QTest::newRow("prec relational below shift") << "1 < 1 << 1" << qint64(1);
    QTest::newRow("prec shift below additive") << "1 << 1 + 1" << qint64(4);
    QTest::newRow("prec additive below multiplicative") << "2 + 3 * 4" << qint64(14);
    QTest::newRow("prec multiplicative below power") << "2 * 3 ** 2" << qint64(18);
    QTest::newRow("prec power below unary minus") << "-2 ** 2" << qint64(4);
    QTest::newRow("prec parentheses override") << "(2 + 3) * 4" << qint64(20);

    // Associativity
    QTest::newRow("assoc subtraction left") << "10 - 4 - 3" << qint64(3);
    QTest::newRow("assoc division left") << "100 / 10 / 5" << qint64(2);
    QTest::newRow("assoc modulo left") << "100 % 7 % 3" << qint64(2);
    QTest::newRow("assoc shift left") << "1 << 2 << 3" << qint64(32);
    QTest::newRow("assoc shift right left") << "64 >> 2 >> 1" << qint64(8);
    QTest::newRow("assoc power right") << "2 ** 3 ** 2" << qint64(512);
    QTest::newRow("assoc ternary right") << "0 ? 1 : 1 ? 2 : 3" << qint64(2);
    QTest::newRow("assoc ternary right last") << "0 ? 2 : 0 ? 3 : 4" << qint64(4);
    QTest::newRow("ternary inside then branch") << "1 ? 0 ? 5 : 6 : 7" << qint64(6);

    // Wrapping int64 arithmetic
    QTest::newRow("overflow wraps") << "9223372036854775807 + 1" << std::numeric_limits<qint64>::min();
    QTest::newRow("min divided by -1 wraps") << "(-9223372036854775807 - 1) / -1" << std::numeric_limits<qint64>::min();
    QTest::newRow("min modulo -1 is 0") << "(-9223372036854775807 - 1) % -1" << qint64(0);

    // Functions in integer formulas
    QTest::newRow("fn SGN negative") << "SGN(-5)" << qint64(-1);
    QTest::newRow("fn SGN zero") << "SGN(0)" << qint64(0);
    QTest::newRow("fn SGN positive") << "SGN(X)" << qint64(1);
    QTest::newRow("fn NEG") << "NEG(3)" << qint64(-3);
    QTest::newRow("fn ABS") << "ABS(Z)" << qint64(4);
    QTest::newRow("fn TRUNC") << "TRUNC(7)" << qint64(7);
    QTest::newRow("fn FLOOR") << "FLOOR(-7)" << qint64(-7);
    QTest::newRow("fn CEIL") << "CEIL(7)" << qint64(7);
    QTest::newRow("fn ROUND one argument") << "ROUND(7)" << qint64(7);
    QTest::newRow("fn ROUND to hundreds") << "ROUND(1234, -2)" << qint64(1200);
    QTest::newRow("fn ROUND half away from zero") << "ROUND(1250, -2)" << qint64(1300);
    QTest::newRow("fn ROUND negative half away from zero") << "ROUND(-1250, -2)" << qint64(-1300);
    QTest::newRow("fn SQRT truncates") << "SQRT(17)" << qint64(4);
    QTest::newRow("fn LG") << "LG(1000)" << qint64(3);
    QTest::newRow("fn LN") << "LN(1)" << qint64(0);
    QTest::newRow("fn EXP") << "EXP(0)" << qint64(1);
    QTest::newRow("fn COS") << "COS(0)" << qint64(1);
    QTest::newRow("fn SIN") << "SIN(0)" << qint64(0);
    QTest::newRow("fn TAN") << "TAN(0)" << qint64(0);
    QTest::newRow("fn ATAN") << "ATAN(0)" << qint64(0);
    QTest::newRow("fn ASIN") << "ASIN(0)" << qint64(0);
    QTest::newRow("fn ACOS") << "ACOS(1)" << qint64(0);
    QTest::newRow("fn name case-insensitive") << "abs(-2)" << qint64(2);
    QTest::newRow("fn nested") << "ABS(NEG(ABS(-3)))" << qint64(3);
    QTest::newRow("fn argument is full expression") << "ABS(0 ? 1 : -5)" << qint64(5);
}

void tst_Formula::integerEvaluation()
{
    QFETCH(QString, formula);
    QFETCH(qint64, expected);
    QCOMPARE(evalInt(formula), expected);
}

void tst_Formula::floatEvaluation_data()
{
    QTest::addColumn<QString>("formula");
    QTest::addColumn<double>("expected");

    const double pi = 3.14159265358979323846;
    const double e = 2.71828182845904523536;

    QTest::newRow("float literal") << "1.5" << 1.5;
    QTest::newRow("literal with exponent") << "1.5e3" << 1500.0;
    QTest::newRow("literal with negative exponent") << "2.5E-1" << 0.25;
    QTest::newRow("literal with explicit plus exponent") << "2e+2" << 200.0;
    QTest::newRow("literal starting with point") << ".5" << 0.5;
    QTest::newRow("literal ending with point") << "5." << 5.0;
    QTest::newRow("leading zero decimal") << "010.5" << 10.5;
    QTest::newRow("hex literal") << "0x10" << 16.0;
    QTest::newRow("hex all ones is unsigned in float") << "0xFFFFFFFFFFFFFFFF" << 18446744073709551615.0;
    QTest::newRow("constant PI") << "PI" << pi;
    QTest::newRow("constant E") << "E" << e;
    QTest::newRow("division") << "7 / 2" << 3.5;
    QTest::newRow("variable division") << "X / 4" << 2.5;
    QTest::newRow("modulo is fmod") << "5 % 3.5" << 1.5;
    QTest::newRow("power fractional") << "2 ** 0.5" << std::sqrt(2.0);
    QTest::newRow("power negative exponent") << "2 ** -1" << 0.5;
    QTest::newRow("power right associative") << "2 ** 3 ** 2" << 512.0;
    QTest::newRow("unary minus binds tighter than power") << "-2 ** 2" << 4.0;
    QTest::newRow("comparison gives 1") << "1 < 2.5" << 1.0;
    QTest::newRow("equality single =") << "X = 10" << 1.0;
    QTest::newRow("equality double ==") << "X == 10.5" << 0.0;
    QTest::newRow("bit and on truncated values") << "3.7 & 6" << 2.0;
    QTest::newRow("bit not") << "~0" << -1.0;
    QTest::newRow("shift") << "1.9 << 3" << 8.0;
    QTest::newRow("logical and") << "0.5 && 2" << 1.0;
    QTest::newRow("ternary") << "X > 5 ? 0.25 : 0.75" << 0.25;
    QTest::newRow("dotted Max") << "X.Max / 2" << 50.25;
    QTest::newRow("precedence sum of products") << "1.5 + 2 * 3" << 7.5;

    QTest::newRow("fn SGN") << "SGN(-0.5)" << -1.0;
    QTest::newRow("fn NEG") << "NEG(1.5)" << -1.5;
    QTest::newRow("fn ATAN") << "ATAN(1)" << pi / 4;
    QTest::newRow("fn COS") << "COS(PI)" << -1.0;
    QTest::newRow("fn SIN") << "SIN(PI / 2)" << 1.0;
    QTest::newRow("fn TAN") << "TAN(PI / 4)" << std::tan(pi / 4);
    QTest::newRow("fn ABS") << "ABS(-2.5)" << 2.5;
    QTest::newRow("fn EXP") << "EXP(1)" << e;
    QTest::newRow("fn LN") << "LN(E)" << 1.0;
    QTest::newRow("fn LG") << "LG(100)" << 2.0;
    QTest::newRow("fn SQRT") << "SQRT(2.25)" << 1.5;
    QTest::newRow("fn TRUNC") << "TRUNC(-2.7)" << -2.0;
    QTest::newRow("fn FLOOR") << "FLOOR(-2.5)" << -3.0;
    QTest::newRow("fn CEIL") << "CEIL(-2.5)" << -2.0;
    QTest::newRow("fn ROUND half away from zero") << "ROUND(2.5)" << 3.0;
    QTest::newRow("fn ROUND negative half") << "ROUND(-2.5)" << -3.0;
    QTest::newRow("fn ROUND with digits") << "ROUND(3.14159, 2)" << 3.14;
    QTest::newRow("fn ROUND with negative digits") << "ROUND(1234.5, -2)" << 1200.0;
    QTest::newRow("fn ASIN") << "ASIN(1)" << pi / 2;
    QTest::newRow("fn ACOS") << "ACOS(1)" << 0.0;
    QTest::newRow("fn lower-case name") << "sqrt(16)" << 4.0;
}

void tst_Formula::floatEvaluation()
{
    QFETCH(QString, formula);
    QFETCH(double, expected);
    const double actual = evalFloat(formula);
    if (expected == 0.0)
        QVERIFY2(std::fabs(actual) < 1e-12, qPrintable(QString::number(actual, 'g', 17)));
    else
        QCOMPARE(actual, expected);
}

void tst_Formula::integerVersusFloatMode_data()
{
    QTest::addColumn<QString>("formula");
    QTest::addColumn<qint64>("integerResult");
    QTest::addColumn<double>("floatResult");

    QTest::newRow("division truncates only in integer") << "7 / 2" << qint64(3) << 3.5;
    QTest::newRow("negative division") << "-7 / 2" << qint64(-3) << -3.5;
    QTest::newRow("modulo") << "-7 % 2" << qint64(-1) << -1.0;
    QTest::newRow("negative power") << "2 ** -2" << qint64(0) << 0.25;
    QTest::newRow("sqrt") << "SQRT(2)" << qint64(1) << std::sqrt(2.0);
    QTest::newRow("variables read by mode") << "X.Max * 2" << qint64(200) << 201.0;
    QTest::newRow("lower-case variable") << "x + 0" << qint64(7) << 7.5;
}

void tst_Formula::integerVersusFloatMode()
{
    QFETCH(QString, formula);
    QFETCH(qint64, integerResult);
    QFETCH(double, floatResult);
    const CFormula i = compiled(formula, EFormulaMode::Integer);
    const CFormula f = compiled(formula, EFormulaMode::Float);
    QCOMPARE(i.GetEvaluationMode(), EFormulaMode::Integer);
    QCOMPARE(f.GetEvaluationMode(), EFormulaMode::Float);
    TestSource source;
    QCOMPARE(i.EvaluateInt(source), integerResult);
    QCOMPARE(f.EvaluateFloat(source), floatResult);
}

void tst_Formula::resultConversionBetweenModes_data()
{
    QTest::addColumn<QString>("formula");
    QTest::addColumn<qint64>("asInteger");

    QTest::newRow("positive truncates") << "7 / 2" << qint64(3);
    QTest::newRow("negative truncates toward zero") << "-7 / 2" << qint64(-3);
    QTest::newRow("huge saturates high") << "1e300" << std::numeric_limits<qint64>::max();
    QTest::newRow("huge negative saturates low") << "-1e300" << std::numeric_limits<qint64>::min();
    QTest::newRow("nan gives zero") << "SQRT(-1)" << qint64(0);
}

void tst_Formula::resultConversionBetweenModes()
{
    QFETCH(QString, formula);
    QFETCH(qint64, asInteger);
    TestSource source;
    QCOMPARE(compiled(formula, EFormulaMode::Float).EvaluateInt(source), asInteger);
    // An integer program read as a float gives its integer result.
    QCOMPARE(compiled("7 / 2", EFormulaMode::Integer).EvaluateFloat(source), 3.0);
}

void tst_Formula::fractionalLiteralInIntegerFormulaRunsInFloat()
{
    const CFormula f = compiled("X * 0.25 + Y * 0.5", EFormulaMode::Integer);
    QCOMPARE(f.GetMode(), EFormulaMode::Integer);
    QCOMPARE(f.GetEvaluationMode(), EFormulaMode::Float);
    TestSource source;
    // 10 * 0.25 + 3 * 0.5 = 4.0: truncating the literals first would give 0.
    QCOMPARE(f.EvaluateInt(source), qint64(4));
    const CFormula pi = compiled("PI * 100", EFormulaMode::Integer);
    QCOMPARE(pi.EvaluateInt(source), qint64(314));
}

void tst_Formula::integralFloatLiteralKeepsIntegerArithmetic()
{
    // Written like a converter formula in a real description: "TO / 4.0".
    const CFormula f = compiled("X / 4.0", EFormulaMode::Integer);
    QCOMPARE(f.GetEvaluationMode(), EFormulaMode::Integer);
    TestSource source;
    QCOMPARE(f.EvaluateInt(source), qint64(2));
}

void tst_Formula::shortCircuitSkipsUnneededSlots_data()
{
    QTest::addColumn<QString>("formula");
    QTest::addColumn<qint64>("expected");

    QTest::newRow("ternary true skips else") << "1 ? X : BAD" << qint64(10);
    QTest::newRow("ternary false skips then") << "0 ? BAD : X" << qint64(10);
    QTest::newRow("ternary on variable condition") << "A ? BAD : Y" << qint64(3);
    QTest::newRow("nested ternary chain") << "A ? BAD : B ? X : BAD" << qint64(10);
    QTest::newRow("and with false left") << "A && BAD" << qint64(0);
    QTest::newRow("and chain") << "A && BAD && BAD" << qint64(0);
    QTest::newRow("or with true left") << "B || BAD" << qint64(1);
    QTest::newRow("or chain") << "X || BAD || BAD" << qint64(1);
    QTest::newRow("or inside condition") << "(B || BAD) ? X : BAD" << qint64(10);
    QTest::newRow("and inside sum") << "5 + (A && BAD)" << qint64(5);
    QTest::newRow("short circuit in function argument") << "ABS(A ? BAD : Z)" << qint64(4);
}

void tst_Formula::shortCircuitSkipsUnneededSlots()
{
    QFETCH(QString, formula);
    QFETCH(qint64, expected);
    for (EFormulaMode mode : {EFormulaMode::Integer, EFormulaMode::Float}) {
        TestSource source;
        const CFormula f = compiled(formula, mode);
        if (mode == EFormulaMode::Integer)
            QCOMPARE(f.EvaluateInt(source), expected);
        else
            QCOMPARE(f.EvaluateFloat(source), double(expected));
        QCOMPARE(source.reads(SlotBad), 0);
    }
}

void tst_Formula::neededThrowingSlotPropagatesItsException_data()
{
    QTest::addColumn<QString>("formula");
    QTest::newRow("ternary takes the bad branch") << "B ? BAD : X";
    QTest::newRow("and needs its right side") << "B && BAD";
    QTest::newRow("or needs its right side") << "A || BAD";
    QTest::newRow("plain read") << "BAD + 1";
}

void tst_Formula::neededThrowingSlotPropagatesItsException()
{
    QFETCH(QString, formula);
    TestSource source;
    const CFormula f = compiled(formula, EFormulaMode::Integer);
    QVERIFY_EXCEPTION_THROWN(f.EvaluateInt(source), GenICam::AccessException);
    QCOMPARE(source.reads(SlotBad), 1);
}

void tst_Formula::onlyTheTakenBranchIsRead()
{
    const CFormula f = compiled("X > 0 ? Y : Z", EFormulaMode::Integer);
    TestSource source;
    QCOMPARE(f.EvaluateInt(source), qint64(3));
    QCOMPARE(source.reads(SlotX), 1);
    QCOMPARE(source.reads(SlotY), 1);
    QCOMPARE(source.reads(SlotZ), 0);
    QCOMPARE(source.totalReads(), 2);

    // Each occurrence is a read of its own; nothing is read twice per occurrence.
    TestSource again;
    QCOMPARE(compiled("X + X * X", EFormulaMode::Integer).EvaluateInt(again), qint64(110));
    QCOMPARE(again.reads(SlotX), 3);
}

void tst_Formula::parseErrorsNamePositionTextAndNode_data()
{
    QTest::addColumn<QString>("formula");
    QTest::addColumn<int>("position");
    QTest::addColumn<QString>("reason");

    QTest::newRow("empty formula") << "" << 0 << "empty";
    QTest::newRow("blank formula") << "   " << 3 << "empty";
    QTest::newRow("missing right operand") << "1 +" << 3 << "expected an operand";
    QTest::newRow("two operators in a row") << "1 + * 2" << 4 << "expected an operand";
    QTest::newRow("unclosed parenthesis") << "(1 + 2" << 6 << "expected ')'";
    QTest::newRow("extra closing parenthesis") << "1 + 2)" << 5 << "after a complete expression";
    QTest::newRow("two operands in a row") << "1 2" << 2 << "after a complete expression";
    QTest::newRow("ternary without colon") << "1 ? 2" << 5 << "expected ':'";
    QTest::newRow("colon without ternary") << "1 : 2" << 2 << "after a complete expression";
    QTest::newRow("unknown symbol") << "UNKNOWN + 1" << 0 << "unknown symbol 'UNKNOWN'";
    QTest::newRow("unknown symbol later") << "X + Q.Max" << 4 << "unknown symbol 'Q.Max'";
    QTest::newRow("unknown function") << "FOO(1)" << 0 << "unknown function 'FOO'";
    QTest::newRow("function with two arguments") << "SGN(1, 2)" << 5 << "takes one argument";
    QTest::newRow("ROUND with three arguments") << "ROUND(1, 2, 3)" << 10 << "expected ')'";
    QTest::newRow("function without closing parenthesis") << "ABS(1" << 5 << "expected ')'";
    QTest::newRow("unexpected character") << "1 $ 2" << 2 << "unexpected character '$'";
    QTest::newRow("hex without digits") << "0x + 1" << 0 << "hexadecimal literal without digits";
    QTest::newRow("hex with bad digit") << "0x1G" << 0 << "malformed number";
    QTest::newRow("hex too long") << "0x1FFFFFFFFFFFFFFFF" << 0 << "out of range";
    QTest::newRow("number glued to letters") << "12abc" << 0 << "malformed number";
    QTest::newRow("integer literal out of range") << "99999999999999999999" << 0 << "out of range";
    QTest::newRow("incomplete XML entity") << "1 &am; 2" << 5 << "unexpected character ';'";
}

void tst_Formula::parseErrorsNamePositionTextAndNode()
{
    QFETCH(QString, formula);
    QFETCH(int, position);
    QFETCH(QString, reason);
    try {
        compiled(formula, EFormulaMode::Integer);
        QFAIL("the formula compiled");
    } catch (const GenICam::RuntimeException& e) {
        const QString text = QString::fromUtf8(e.GetDescription());
        QVERIFY2(text.contains(reason), qPrintable(text));
        QVERIFY2(text.contains(QStringLiteral("at position %1 ").arg(position)), qPrintable(text));
        QVERIFY2(text.contains(QStringLiteral("'%1'").arg(formula)), qPrintable(text));
        QVERIFY2(text.contains(QStringLiteral("node 'MyNode'")), qPrintable(text));
    }
}

void tst_Formula::failedCompileLeavesFormulaEmpty()
{
    CFormula f;
    f.Compile("X + 1", EFormulaMode::Integer, testResolver(), "MyNode");
    QVERIFY(f.IsCompiled());
    QVERIFY_EXCEPTION_THROWN(f.Compile("X +", EFormulaMode::Integer, testResolver(), "MyNode"),
                             GenICam::RuntimeException);
    QVERIFY(!f.IsCompiled());
    QVERIFY(f.GetUsedSlots().empty());
}

void tst_Formula::evaluatingUncompiledFormulaThrows()
{
    CFormula f;
    TestSource source;
    QVERIFY_EXCEPTION_THROWN(f.EvaluateInt(source), GenICam::LogicalErrorException);
    QVERIFY_EXCEPTION_THROWN(f.EvaluateFloat(source), GenICam::LogicalErrorException);
}

void tst_Formula::divisionByZeroRaisesRuntimeException_data()
{
    QTest::addColumn<QString>("formula");
    QTest::addColumn<bool>("floatMode");
    QTest::addColumn<int>("position");

    QTest::newRow("integer divide by literal zero") << "1 / 0" << false << 2;
    QTest::newRow("integer modulo by zero variable") << "X % A" << false << 2;
    QTest::newRow("integer divide by computed zero") << "1 / (Y - 3)" << false << 2;
    QTest::newRow("integer zero to negative power") << "A ** -1" << false << 2;
    QTest::newRow("float divide by zero") << "1.5 / 0" << true << 4;
    QTest::newRow("float modulo by zero") << "X % A" << true << 2;
    QTest::newRow("float zero to negative power") << "0 ** -0.5" << true << 2;
    QTest::newRow("division inside taken branch") << "B ? X / A : 1" << false << 6;
}

void tst_Formula::divisionByZeroRaisesRuntimeException()
{
    QFETCH(QString, formula);
    QFETCH(bool, floatMode);
    QFETCH(int, position);
    const CFormula f = compiled(formula, floatMode ? EFormulaMode::Float : EFormulaMode::Integer);
    TestSource source;
    try {
        if (floatMode)
            f.EvaluateFloat(source);
        else
            f.EvaluateInt(source);
        QFAIL("no exception");
    } catch (const GenICam::RuntimeException& e) {
        const QString text = QString::fromUtf8(e.GetDescription());
        QVERIFY2(text.contains("Division by zero"), qPrintable(text));
        QVERIFY2(text.contains("node 'MyNode'"), qPrintable(text));
        QVERIFY2(text.contains(QStringLiteral("position %1 ").arg(position)), qPrintable(text));
        QVERIFY2(text.contains(formula), qPrintable(text));
    }
    // The branch that is not taken does not divide.
    QCOMPARE(compiled("A ? X / A : 1", EFormulaMode::Integer).EvaluateInt(source), qint64(1));
}

void tst_Formula::deepNestingRejectedCleanly_data()
{
    QTest::addColumn<QString>("formula");
    const int n = 20000;
    QTest::newRow("deep parentheses") << QString(n, '(') + "1" + QString(n, ')');
    QTest::newRow("deep unclosed parentheses") << QString(n, '(');
    QTest::newRow("deep unary minus") << QString(n, '-') + "1";
    QTest::newRow("deep unary not") << QString(n, '~') + "1";
    QString pow;
    for (int i = 0; i < n; ++i)
        pow += "2**";
    QTest::newRow("long power chain") << pow + "1";
    QString ternary;
    for (int i = 0; i < n; ++i)
        ternary += "1?1:";
    QTest::newRow("long ternary chain") << ternary + "1";
    QString calls;
    for (int i = 0; i < n; ++i)
        calls += "ABS(";
    QTest::newRow("deep function calls") << calls + "1" + QString(n, ')');
    QString stacked;
    for (int i = 0; i < 60; ++i)
        stacked += "1||1&&1|1^1&1=1<1<<1+1*(";
    QTest::newRow("many pending operands per level") << stacked + "1" + QString(60, ')');
}

void tst_Formula::deepNestingRejectedCleanly()
{
    QFETCH(QString, formula);
    try {
        compiled(formula, EFormulaMode::Integer);
        QFAIL("the formula compiled");
    } catch (const GenICam::RuntimeException& e) {
        const QString text = QString::fromUtf8(e.GetDescription());
        QVERIFY2(text.contains("nested too deeply") || text.contains("too complex"), qPrintable(text.left(200)));
    }
}

void tst_Formula::nestingUpToTheLimitIsAccepted()
{
    const int n = CFormula::MaxNesting - 1;
    const QString text = QString(n, '(') + "X" + QString(n, ')');
    QCOMPARE(evalInt(text), qint64(10));
    QString unary = QString(40, '-') + "X";
    QCOMPARE(evalInt(unary), qint64(10));
}

void tst_Formula::longFlatFormulaNeedsLittleStack()
{
    QString text = "1";
    for (int i = 1; i < 10000; ++i)
        text += "+1";
    const CFormula f = compiled(text, EFormulaMode::Integer);
    QCOMPARE(f.GetStackDepth(), 2);
    TestSource source;
    QCOMPARE(f.EvaluateInt(source), qint64(10000));
}

void tst_Formula::realSelectorChainCompiles()
{
    // Address formulas in real descriptions chain a dozen and more selector cases.
    const CFormula f = compiled(selectorChain(14), EFormulaMode::Integer);
    TestSource source;
    source.m_int[SlotX] = 5;
    QCOMPARE(f.EvaluateInt(source), qint64(0xD1000 + 0x20 * 5));
    source.m_int[SlotX] = 99;
    QCOMPARE(f.EvaluateInt(source), qint64(0));
    QCOMPARE(f.GetUsedSlots(), std::vector<int>({SlotX, SlotY}));
}

void tst_Formula::stackDepthComputedAtCompileTime_data()
{
    QTest::addColumn<QString>("formula");
    QTest::addColumn<int>("depth");
    QTest::newRow("single operand") << "X" << 1;
    QTest::newRow("left-associative sum") << "1 + 2 + 3" << 2;
    QTest::newRow("product inside sum") << "1 + 2 * 3" << 3;
    QTest::newRow("right-associative power") << "2 ** 2 ** 2" << 3;
    QTest::newRow("ternary branches share depth") << "X ? 1 + 2 : 3" << 2;
    QTest::newRow("short-circuit and") << "X && Y" << 1;
    QTest::newRow("round with digits") << "ROUND(X, 2)" << 2;
}

void tst_Formula::stackDepthComputedAtCompileTime()
{
    QFETCH(QString, formula);
    QFETCH(int, depth);
    QCOMPARE(compiled(formula, EFormulaMode::Integer).GetStackDepth(), depth);
}

void tst_Formula::evaluationDoesNotAllocate()
{
    const CFormula i = compiled(selectorChain(14) + " + ROUND(X.Max, -1) * SGN(Z) ** 2", EFormulaMode::Integer);
    const CFormula f = compiled("X > 5 && Y < 4 ? SQRT(X.Max) * PI + ROUND(Z / 3, 2) : 1 / (Y - 3)",
                                EFormulaMode::Float);
    TestSource source;
    source.m_int[SlotX] = 13;
    int64_t intSum = 0;
    double floatSum = 0.0;
    const long before = g_allocations.load();
    for (int n = 0; n < 1000; ++n) {
        intSum += i.EvaluateInt(source);
        floatSum += f.EvaluateFloat(source);
    }
    const long after = g_allocations.load();
    QCOMPARE(after - before, 0L);
    QCOMPARE(intSum, int64_t(1000) * (0xD1000 + 0x20 * 13 + 100));
    QVERIFY(std::fabs(floatSum - 1000 * (std::sqrt(100.5) * 3.14159265358979323846 - 1.33)) < 1e-6);
}

void tst_Formula::symbolsAreCaseSensitive()
{
    QCOMPARE(evalInt("X"), qint64(10));
    QCOMPARE(evalInt("x"), qint64(7));
    QVERIFY_EXCEPTION_THROWN(compiled("y", EFormulaMode::Integer), GenICam::RuntimeException);
    QVERIFY_EXCEPTION_THROWN(compiled("x.max", EFormulaMode::Integer), GenICam::RuntimeException);
    QVERIFY_EXCEPTION_THROWN(compiled("pi", EFormulaMode::Float), GenICam::RuntimeException);
}

void tst_Formula::variableNamedLikeAConstantWins()
{
    const CFormula f = compiled("E * 2", EFormulaMode::Float, true);
    TestSource source;
    QCOMPARE(f.EvaluateFloat(source), 10.0);
    QCOMPARE(source.reads(SlotE), 1);
}

void tst_Formula::usedSlotsListedOnceInOrder()
{
    const CFormula f = compiled("Y + X * Y - (A ? X.Max : Y)", EFormulaMode::Integer);
    QCOMPARE(f.GetUsedSlots(), std::vector<int>({SlotY, SlotX, SlotA, SlotXMax}));
    QCOMPARE(f.GetText(), std::string("Y + X * Y - (A ? X.Max : Y)"));
    QCOMPARE(f.GetContext(), std::string("MyNode"));
    QVERIFY(compiled("1 + 2", EFormulaMode::Integer).GetUsedSlots().empty());
}

void tst_Formula::realDescriptionFormulasCompile_data()
{
    QTest::addColumn<QString>("path");
    const QDir dir(QStringLiteral(VORLO_GENICAM_XML_DIR));
    const QStringList files = dir.entryList({"*.xml"}, QDir::Files, QDir::Name);
    if (files.isEmpty())
        QSKIP("no real descriptions found");
    for (const QString& file : files)
        QTest::newRow(qPrintable(file)) << dir.filePath(file);
}

void tst_Formula::realDescriptionFormulasCompile()
{
    QFETCH(QString, path);
    const QList<FormulaNode> nodes = formulaNodesOf(path);
    int formulas = 0, evaluated = 0, raised = 0;
    for (const FormulaNode& node : nodes) {
        for (const auto& formula : node.formulas) {
            std::vector<std::string> slotNames;
            CFormula f;
            try {
                f.Compile(formula.second.toStdString(), node.integer ? EFormulaMode::Integer : EFormulaMode::Float,
                          nodeResolver(node, slotNames), node.name.toStdString());
            } catch (const GenICam::GenericException& e) {
                QFAIL(e.GetDescription());
            }
            ++formulas;
            ZeroSource zero;
            try {
                if (node.integer)
                    f.EvaluateInt(zero);
                else
                    f.EvaluateFloat(zero);
                ++evaluated;
            } catch (const GenICam::RuntimeException&) {
                ++raised; // division by a variable that reads zero
            }
        }
    }
    qInfo("%s: %d formulas in %d nodes compiled; with all variables zero %d evaluated, %d divided by zero",
          qPrintable(QFileInfo(path).fileName()), formulas, int(nodes.size()), evaluated, raised);
    QCOMPARE(evaluated + raised, formulas);
}

void tst_Formula::fuzzStyleRandomFormulasRaiseOnlyGenICamExceptions()
{
    std::mt19937 rng(20261122u);
    auto pick = [&rng](int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); };
    static const char* const atoms[] = {"X", "Y", "Z", "A", "B", "X.Max", "SEL.Entry.Mono8", "0", "1", "-1",
                                        "0x7FFFFFFFFFFFFFFF", "9223372036854775807", "2.5", "1e308", "PI",
                                        "E", "010", "0xFF", "63", "64", "BAD"};
    static const char* const ops[] = {"+", "-", "*", "/", "%", "**", "<<", ">>", "&", "|", "^", "&&",
                                      "||", "=", "==", "<>", "<", ">", "<=", ">="};
    static const char* const fns[] = {"SGN", "NEG", "ATAN", "COS", "SIN", "TAN", "ABS", "EXP", "LN",
                                       "LG", "SQRT", "TRUNC", "FLOOR", "CEIL", "ROUND", "ASIN", "ACOS"};
    static const char* const junk[] = {"(", ")", "?", ":", ",", "$", "0x", "..", " "};

    std::function<std::string(int)> gen = [&](int depth) -> std::string {
        const int choice = depth > 6 ? 0 : pick(10);
        switch (choice) {
        case 0: case 1: return atoms[pick(int(sizeof(atoms) / sizeof(*atoms)))];
        case 2: case 3: case 4:
            return gen(depth + 1) + " " + ops[pick(int(sizeof(ops) / sizeof(*ops)))] + " " + gen(depth + 1);
        case 5: return gen(depth + 1) + " ? " + gen(depth + 1) + " : " + gen(depth + 1);
        case 6: return std::string(pick(2) ? "-" : "~") + gen(depth + 1);
        case 7: return "(" + gen(depth + 1) + ")";
        case 8: {
            const char* fn = fns[pick(int(sizeof(fns) / sizeof(*fns)))];
            if (std::string(fn) == "ROUND" && pick(2))
                return std::string(fn) + "(" + gen(depth + 1) + ", " + gen(depth + 1) + ")";
            return std::string(fn) + "(" + gen(depth + 1) + ")";
        }
        default: return gen(depth + 1) + junk[pick(int(sizeof(junk) / sizeof(*junk)))];
        }
    };

    int compiledCount = 0, evaluatedCount = 0, rejectedCount = 0, failedCount = 0;
    for (int i = 0; i < 4000; ++i) {
        const std::string text = gen(0);
        for (EFormulaMode mode : {EFormulaMode::Integer, EFormulaMode::Float}) {
            CFormula f;
            try {
                f.Compile(text, mode, testResolver(), "Fuzz");
            } catch (const GenICam::GenericException&) {
                ++rejectedCount;
                continue;
            } catch (...) {
                QFAIL(qPrintable("non-GenICam exception compiling: " + QString::fromStdString(text)));
            }
            ++compiledCount;
            QVERIFY(f.GetStackDepth() >= 1 && f.GetStackDepth() <= CFormula::MaxStackDepth);
            try {
                TestSource source;
                if (mode == EFormulaMode::Integer)
                    f.EvaluateInt(source);
                else
                    f.EvaluateFloat(source);
                ++evaluatedCount;
            } catch (const GenICam::GenericException&) {
                ++failedCount;
            } catch (...) {
                QFAIL(qPrintable("non-GenICam exception evaluating: " + QString::fromStdString(text)));
            }
        }
    }
    qInfo("random formulas: %d compiled (%d evaluated, %d raised), %d rejected", compiledCount, evaluatedCount,
          failedCount, rejectedCount);
    // The generator must exercise all outcomes, or the test proves nothing.
    QVERIFY(evaluatedCount > 1000);
    QVERIFY(failedCount > 10);
    QVERIFY(rejectedCount > 100);
}

void tst_Formula::fuzzEntryAcceptsArbitraryBytes()
{
    std::mt19937 rng(7u);
    static const char alphabet[] = "0123456789xXaAeE.()?:,+-*/%<>=!&|^~ \tABCFILMNOPQRSTUVXYZ_;\xff";
    int accepted = 0;
    for (int i = 0; i < 3000; ++i) {
        std::string bytes;
        const int len = static_cast<int>(rng() % 40);
        for (int k = 0; k < len; ++k) {
            if (rng() % 16 == 0)
                bytes += static_cast<char>(rng() % 256);
            else
                bytes += alphabet[rng() % (sizeof(alphabet) - 1)];
        }
        try {
            accepted += GenApi::detail::FuzzFormulaText(bytes.data(), bytes.size());
        } catch (...) {
            QFAIL(qPrintable("exception escaped the fuzz entry for: " + QString::fromLatin1(bytes.data(), int(bytes.size()))));
        }
    }
    // A plain valid formula goes through both modes.
    QCOMPARE(GenApi::detail::FuzzFormulaText("A + B * 2", 9), 2);
    QCOMPARE(GenApi::detail::FuzzFormulaText("1 / 0", 5), 0);
    QVERIFY(accepted > 0);
}

QTEST_APPLESS_MAIN(tst_Formula)
#include "tst_formula.moc"
