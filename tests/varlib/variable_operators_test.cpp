// The operators of CVariable: arithmetic, bitwise / logical / shift, comparison.
//
// Result types are checked as matrices laid out like the operator tables (rows
// L, columns R); values as rows of (L, operator, R, expected). Each failure
// names the pair.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "varlib/values/Variable.h"

namespace {

constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

CVariable Int(int64_t n) { return CVariable(n); }
CVariable Dbl(double d) { return CVariable(d); }
CVariable Str(const char16_t* s) { return CVariable(CString(s)); }
CVariable Byte(unsigned n) { return CVariable(static_cast<unsigned char>(n)); }
CVariable Char(unsigned n) { return CVariable(static_cast<char16_t>(n)); }
CVariable Time(int64_t seconds) { return CVariable(CTime(seconds)); }
CVariable Undef() { return CVariable(); }
CVariable OfType(int number) {
    CVariable v;
    v.ResetType(static_cast<eVariableType>(number));
    return v;
}

// Type, every payload field and the fields an in-place operator must keep.
std::string Describe(const CVariable& v) {
    uint64_t bits = 0;
    std::memcpy(&bits, &v.m_dValue, sizeof bits);
    std::ostringstream out;
    out.precision(17);
    out << CVariable::GetTypeInfo(v.m_eType) << " n=" << v.m_nValue << " d=" << v.m_dValue << " (" << bits
        << ") s=\"" << v.m_strValue << "\" b=" << unsigned{v.m_byteValue} << " c=" << unsigned{v.m_chValue}
        << " t=" << v.m_timeValue.GetTime() << " pdu=" << v.m_pduValue.GetVarBindCount() << " name=" << v.GetName();
    return out.str();
}

// Type and payload; a double must match in sign too, and NaN matches NaN.
void ExpectValue(const CVariable& actual, const CVariable& expected) {
    ASSERT_EQ(CVariable::GetTypeInfo(actual.m_eType), CVariable::GetTypeInfo(expected.m_eType));
    switch (expected.m_eType) {
    case VT_INT: EXPECT_EQ(actual.m_nValue, expected.m_nValue); break;
    case VT_DOUBLE:
        if (std::isnan(expected.m_dValue)) {
            EXPECT_TRUE(std::isnan(actual.m_dValue)) << actual.m_dValue;
        } else {
            EXPECT_EQ(actual.m_dValue, expected.m_dValue);
            EXPECT_EQ(std::signbit(actual.m_dValue), std::signbit(expected.m_dValue));
        }
        break;
    case VT_STRING: EXPECT_EQ(actual.m_strValue, expected.m_strValue); break;
    case VT_BYTE: EXPECT_EQ(actual.m_byteValue, expected.m_byteValue); break;
    case VT_CHAR: EXPECT_EQ(actual.m_chValue, expected.m_chValue); break;
    default: break;
    }
}

// Operators by one character: A is &&, O is ||, < is <<, > is >>.
CVariable Apply(char op, const CVariable& a, const CVariable& b) {
    switch (op) {
    case '+': return a + b;
    case '-': return a - b;
    case '*': return a * b;
    case '/': return a / b;
    case '%': return a % b;
    case '&': return a & b;
    case '|': return a | b;
    case 'A': return a && b;
    case 'O': return a || b;
    case '<': return a << b;
    default: return a >> b;
    }
}

void ApplyInPlace(char op, CVariable& target, const CVariable& r) {
    switch (op) {
    case '+': target += r; break;
    case '-': target -= r; break;
    case '*': target *= r; break;
    case '/': target /= r; break;
    default: target %= r; break;
    }
}

struct Sample {
    CVariable value;
    int column;  // 0 INT, 1 DOUBLE, 2 STRING, 3 BYTE, 4 CHAR, 5 other
};

// One operand per row and column of the tables, and every kind of "other".
std::vector<Sample> Samples() {
    return {{Int(6), 0},   {Dbl(2.5), 1},   {Str(u"s"), 2},         {Byte(3), 3},
            {Char(2), 4},  {Time(1000), 5}, {Undef(), 5},           {OfType(VT_ARRAY), 5},
            {OfType(VT_PDU), 5}, {OfType(VT_SNMPVAR), 5}, {OfType(VT_XML), 5},
            {OfType(VT_ARRAY_ELEM), 5}, {OfType(20011), 5}};
}

using TypeMatrix = std::array<std::array<eVariableType, 6>, 6>;
constexpr eVariableType I = VT_INT, D = VT_DOUBLE, S = VT_STRING, B = VT_BYTE, C = VT_CHAR, x = VT_UNDEFINED;

void ExpectResultTypes(char op, const TypeMatrix& expected) {
    for (const Sample& l : Samples())
        for (const Sample& r : Samples()) {
            SCOPED_TRACE(Describe(l.value) + "  " + op + "  " + Describe(r.value));
            EXPECT_EQ(CVariable::GetTypeInfo(Apply(op, l.value, r.value).m_eType),
                      CVariable::GetTypeInfo(expected[l.column][r.column]));
        }
}

struct ValueRow {
    CVariable l;
    char op;
    CVariable r;
    CVariable expected;
};

void ExpectRows(const std::vector<ValueRow>& rows) {
    for (const ValueRow& row : rows) {
        SCOPED_TRACE(Describe(row.l) + "  " + row.op + "  " + Describe(row.r));
        ExpectValue(Apply(row.op, row.l, row.r), row.expected);
    }
}

// ---------------------------------------------------------------------------
// Arithmetic
// ---------------------------------------------------------------------------

TEST(VariableArithmetic, ResultTypesFollowThePairTables) {
    //                     INT DOUBLE STRING BYTE CHAR other
    ExpectResultTypes('+', {{{I, D, x, I, I, x},     // INT
                             {D, D, x, x, x, x},     // DOUBLE
                             {x, x, S, S, S, x},     // STRING
                             {B, x, x, I, I, x},     // BYTE
                             {C, x, x, I, I, x},     // CHAR
                             {x, x, x, x, x, x}}});  // other
    ExpectResultTypes('-', {{{I, D, x, I, I, x},
                             {D, D, x, x, x, x},
                             {x, x, I, x, x, x},
                             {B, x, x, I, B, x},
                             {C, x, x, C, I, x},
                             {x, x, x, x, x, x}}});
    const TypeMatrix multiplyDivide{{{I, D, x, I, I, x},
                                     {D, D, x, x, x, x},
                                     {x, x, x, x, x, x},
                                     {I, x, x, I, I, x},
                                     {I, x, x, I, I, x},
                                     {x, x, x, x, x, x}}};
    ExpectResultTypes('*', multiplyDivide);
    ExpectResultTypes('/', multiplyDivide);
    TypeMatrix remainder{};
    remainder.fill({x, x, x, x, x, x});
    remainder[0][0] = I;
    ExpectResultTypes('%', remainder);
}

TEST(VariableArithmetic, IntegersWrapAndDivisionTruncates) {
    ExpectRows({
        {Int(kMax), '+', Int(1), Int(kMin)}, {Int(kMin), '-', Int(1), Int(kMax)},
        {Int(kMax), '*', Int(2), Int(-2)},   {Int(kMax), '+', Byte(1), Int(kMin)},
        {Int(kMin), '/', Int(-1), Int(kMin)}, {Int(kMin), '%', Int(-1), Int(0)},
        {Int(-7), '/', Int(2), Int(-3)},     {Int(-7), '%', Int(3), Int(-1)},
        {Int(7), '%', Int(-3), Int(1)},      {Int(-1), '+', Char(65535), Int(65534)},
        {Char(65535), '*', Int(65535), Int(4294836225)},  // 64 bits wide where an INT takes part
    });
}

TEST(VariableArithmetic, ByteAndCharKeepTheirWidth) {
    ExpectRows({
        {Byte(200), '+', Byte(100), Int(300)}, {Byte(200), '+', Int(100), Byte(44)},
        {Byte(10), '+', Int(0x1FF), Byte(9)},  {Byte(5), '+', Int(-1), Byte(4)},
        {Byte(1), '-', Byte(2), Int(-1)},      {Byte(1), '-', Int(2), Byte(255)},
        {Byte(1), '-', Char(0x1FF), Byte(2)},  {Char(65535), '+', Int(1), Char(0)},
        {Char(10), '+', Int(0x10005), Char(15)}, {Char(65535), '+', Char(1), Int(65536)},
        {Char(1), '-', Byte(2), Char(65535)},  {Char(1), '-', Char(2), Int(-1)},
        {Char(65535), '*', Char(65535), Int(-131071)},  // the one pair that wraps in 32 bits
        {Byte(255), '*', Byte(255), Int(65025)}, {Byte(7), '/', Char(2), Int(3)},
    });
}

TEST(VariableArithmetic, DoublesStringsAndZeroDivisors) {
    ExpectRows({
        {Int(1), '-', Dbl(0.25), Dbl(0.75)},  {Int(7), '/', Dbl(2.0), Dbl(3.5)},
        {Dbl(7.0), '/', Int(2), Dbl(3.5)},    {Dbl(1.0), '/', Dbl(kNaN), Dbl(kNaN)},
        {Str(u"a"), '+', Byte(233), Str(u"a\u00e9")}, {Str(u"a"), '+', Char(0x263A), Str(u"a\u263A")},
        {Str(u"a"), '+', Str(u"bc"), Str(u"abc")},
        {Int(7), '/', Int(0), Undef()},       {Int(7), '/', Dbl(0.0), Undef()},
        {Dbl(7.0), '/', Int(0), Undef()},     {Dbl(7.0), '/', Dbl(-0.0), Undef()},
        {Byte(7), '/', Char(0), Undef()},     {Int(7), '/', Byte(0), Undef()},
        {Int(7), '%', Int(0), Undef()},
    });
}

TEST(VariableArithmetic, PlainResultCarriesNoMetadata) {
    CVariable a = Int(2), b = Int(3);
    for (CVariable* v : {&a, &b}) {
        v->SetName(u"n");
        v->SetDisplayName(u"d");
        v->SetDescription(u"e");
        v->SetArrayElementInfo(u"i");
    }
    const CVariable sum = a + b;
    EXPECT_EQ(sum.m_nValue, 5);
    EXPECT_TRUE(sum.GetName().IsEmpty() && sum.GetDisplayName().IsEmpty() && sum.GetDescription().IsEmpty());
    EXPECT_TRUE(sum.GetIndex().IsEmpty() && sum.IsArrayElement() == 0);
}

// '*' where the in-place operator changes L, '.' where it leaves L alone.
// Rows: INT DOUBLE STRING BYTE CHAR PDU other; columns: INT DOUBLE STRING BYTE CHAR SNMPVAR other.
using CellMatrix = std::array<const char*, 7>;

void ExpectInPlaceCells(char op, const CellMatrix& expected) {
    const std::vector<std::pair<CVariable, int>> targets{
        {Int(6), 0}, {Dbl(2.5), 1}, {Str(u"s"), 2}, {Byte(3), 3}, {Char(2), 4}, {OfType(VT_PDU), 5},
        {Time(1000), 6}, {Undef(), 6}, {OfType(VT_XML), 6}, {OfType(VT_ARRAY), 6}, {OfType(VT_SNMPVAR), 6}};
    const std::vector<std::pair<CVariable, int>> operands{
        {Int(2), 0}, {Dbl(2.5), 1}, {Str(u"t"), 2}, {Byte(3), 3}, {Char(4), 4}, {OfType(VT_SNMPVAR), 5},
        {Time(1000), 6}, {Undef(), 6}, {OfType(VT_PDU), 6}, {OfType(VT_ARRAY), 6}};
    for (const auto& [l, row] : targets)
        for (const auto& [r, column] : operands) {
            SCOPED_TRACE(Describe(l) + "  " + op + "=  " + Describe(r));
            CVariable target = l;
            target.SetName(u"kept");
            const std::string before = Describe(target);
            ApplyInPlace(op, target, r);
            const std::string after = Describe(target);
            EXPECT_EQ(before != after, expected[row][column] == '*') << after;
            EXPECT_EQ(target.GetType(), l.GetType());
            EXPECT_EQ(target.GetName(), CString(u"kept"));
            EXPECT_EQ(target.m_timeValue.GetTime(), l.m_timeValue.GetTime());
        }
}

TEST(VariableArithmetic, InPlaceCellsFollowTheirOwnTables) {
    //      INT DOUBLE STRING BYTE CHAR SNMPVAR other
    const CellMatrix add{"**.**..",   // INT
                         "**.....",   // DOUBLE
                         "..***..",   // STRING
                         ".......",   // BYTE
                         ".......",   // CHAR
                         ".....*.",   // PDU
                         "......."};  // other
    const CellMatrix apply{"**.**..", "**.....", ".......", ".......", ".......", ".......", "......."};
    const CellMatrix remainder{"**.**..", ".......", ".......", ".......", ".......", ".......", "......."};
    ExpectInPlaceCells('+', add);
    ExpectInPlaceCells('-', apply);
    ExpectInPlaceCells('*', apply);
    ExpectInPlaceCells('/', apply);
    ExpectInPlaceCells('%', remainder);
}

TEST(VariableArithmetic, InPlaceValues) {
    const std::vector<ValueRow> rows{
        {Int(10), '*', Dbl(2.5), Int(20)},  {Int(10), '*', Dbl(0.5), Int(0)},
        {Int(7), '%', Dbl(3.9), Int(1)},    {Int(10), '+', Dbl(-2.7), Int(8)},
        // A double outside 64 bits truncates to the smallest value.
        {Int(0), '+', Dbl(kNaN), Int(kMin)}, {Int(0), '+', Dbl(kInf), Int(kMin)},
        {Int(0), '+', Dbl(9223372036854775808.0), Int(kMin)},
        {Int(0), '+', Dbl(-9223372036854775808.0), Int(kMin)},
        {Int(0), '+', Dbl(9223372036854774784.0), Int(9223372036854774784)},
        {Int(kMax), '+', Int(1), Int(kMin)}, {Int(kMin), '/', Int(-1), Int(kMin)},
        {Int(kMin), '%', Int(-1), Int(0)},   {Int(1), '-', Char(65535), Int(-65534)},
        {Int(-1), '+', Byte(255), Int(254)}, {Int(7), '%', Char(4), Int(3)},
        // An integer zero divisor, also one truncated to zero, leaves the target alone.
        {Int(7), '/', Int(0), Int(7)},      {Int(7), '/', Dbl(0.5), Int(7)},
        {Int(7), '%', Int(0), Int(7)},
        // A DOUBLE target follows IEEE 754.
        {Dbl(1.0), '/', Int(0), Dbl(kInf)}, {Dbl(-1.0), '/', Dbl(0.0), Dbl(-kInf)},
        {Dbl(0.0), '/', Dbl(0.0), Dbl(kNaN)}, {Dbl(1.5), '+', Int(1), Dbl(2.5)},
        {Str(u"a"), '+', Byte(66), Str(u"aB")}, {Str(u"a"), '+', Char(0x263A), Str(u"a\u263A")},
    };
    for (const ValueRow& row : rows) {
        SCOPED_TRACE(Describe(row.l) + "  " + row.op + "=  " + Describe(row.r));
        CVariable target = row.l;
        ApplyInPlace(row.op, target, row.r);
        ExpectValue(target, row.expected);
    }
}

// ---------------------------------------------------------------------------
// Bitwise, logical, shift
// ---------------------------------------------------------------------------

TEST(VariableBitwise, ResultTypesFollowThePairTables) {
    //                    INT DOUBLE STRING BYTE CHAR other
    const TypeMatrix bitwise{{{I, x, x, I, I, x},
                              {x, x, x, x, x, x},
                              {x, x, x, x, x, x},
                              {I, x, x, I, I, x},
                              {I, x, x, I, I, x},
                              {x, x, x, x, x, x}}};
    const TypeMatrix shift{{{I, x, x, x, x, x},
                            {x, x, x, x, x, x},
                            {x, x, x, x, x, x},
                            {I, x, x, x, x, x},
                            {I, x, x, x, x, x},
                            {x, x, x, x, x, x}}};
    TypeMatrix logical{};
    logical.fill({x, x, x, x, x, x});
    logical[0][0] = I;
    for (char op : {'&', '|'}) ExpectResultTypes(op, bitwise);
    for (char op : {'A', 'O'}) ExpectResultTypes(op, logical);
    for (char op : {'<', '>'}) ExpectResultTypes(op, shift);
}

TEST(VariableBitwise, BitsAndTruthValues) {
    ExpectRows({
        {Int(12), '&', Int(10), Int(8)},      {Int(12), '|', Int(3), Int(15)},
        {Byte(240), '&', Char(255), Int(240)}, {Byte(255), '|', Byte(0), Int(255)},
        {Int(-1), '&', Char(65535), Int(65535)}, {Int(-1), '&', Byte(255), Int(255)},
        {Int(kMin), '|', Byte(1), Int(kMin + 1)},
        {Int(2), 'A', Int(5), Int(1)},        {Int(2), 'A', Int(0), Int(0)},
        {Int(kMin), 'A', Int(-1), Int(1)},    {Int(0), 'O', Int(0), Int(0)},
        {Int(0), 'O', Int(7), Int(1)},
    });
}

TEST(VariableBitwise, ShiftCountsAreReduced) {
    ExpectRows({
        // INT: 64 bits, the count is the low 8 bits of R.
        {Int(1), '<', Int(63), Int(kMin)},    {Int(1), '<', Int(64), Int(0)},
        {Int(1), '<', Int(256), Int(1)},      {Int(1), '<', Int(-1), Int(0)},
        {Int(3), '<', Int(62), Int(-4611686018427387904)},
        {Int(-8), '>', Int(1), Int(-4)},      {Int(-8), '>', Int(64), Int(-1)},
        {Int(-8), '>', Int(255), Int(-1)},    {Int(8), '>', Int(64), Int(0)},
        {Int(kMin), '>', Int(63), Int(-1)},   {Int(0x100), '>', Int(264), Int(1)},
        // BYTE and CHAR: 32 bits, the count is the low 5 bits of R.
        {Byte(1), '<', Int(8), Int(256)},     {Byte(1), '<', Int(31), Int(-2147483648)},
        {Byte(3), '<', Int(31), Int(-2147483648)}, {Byte(1), '<', Int(32), Int(1)},
        {Char(65535), '<', Int(16), Int(-65536)}, {Char(65535), '>', Int(8), Int(255)},
        {Byte(255), '>', Int(33), Int(127)},  {Byte(128), '>', Int(-1), Int(0)},
    });
}

// ---------------------------------------------------------------------------
// Comparison
// ---------------------------------------------------------------------------

CVariable NamedArray(const char16_t* name, const char16_t* index) {
    CVariable v = OfType(VT_ARRAY);
    v.SetName(name);
    if (index) v.m_arrayValue.InsertElement(index, new CVariable(Str(u"x")));
    return v;
}

TEST(VariableComparison, SixOperatorsPerPair) {
    constexpr int64_t kNoon = 31579200;  // 1971-01-01 12:00:00 UTC
    CVariable withNames = Int(2);
    withNames.m_enumValues.Add(CIntegerEnumEntry(u"down", u"", 2));
    struct Row {
        CVariable l, r;
        int eq, lt, le, gt, ge;
    };
    const std::vector<Row> rows{
        // S: code units, case-sensitive.
        {Str(u"abc"), Str(u"ABC"), 0, 0, 0, 1, 1}, {Str(u"abc"), Str(u"abd"), 0, 1, 1, 0, 0},
        {Str(u"B"), Str(u"a"), 0, 1, 1, 0, 0},     {Str(u"ab"), Str(u"abc"), 0, 1, 1, 0, 0},
        {Str(u"10"), Str(u"9"), 0, 1, 1, 0, 0},
        // N: exact, zero-extended, signed where an INT takes part.
        {Int(10), Int(9), 0, 0, 0, 1, 1},          {Int(9007199254740993), Int(9007199254740992), 0, 0, 0, 1, 1},
        {Int(5), Byte(5), 1, 0, 1, 0, 1},          {Int(65), Char(65), 1, 0, 1, 0, 1},
        {Int(-1), Byte(255), 0, 1, 1, 0, 0},       {Int(-1), Char(65535), 0, 1, 1, 0, 0},
        {Char(65), Char(66), 0, 1, 1, 0, 0},       {Byte(200), Char(300), 0, 1, 1, 0, 0},
        {Byte(65), Char(65), 1, 0, 1, 0, 1},       // equal by text, ordered by number
        {Time(kNoon), Time(kNoon), 1, 0, 0, 0, 0}, {Time(kNoon), Time(kNoon + 1), 0, 0, 0, 0, 0},
        // D: doubles; a NaN makes everything false.
        {Int(5), Dbl(5.0), 1, 0, 1, 0, 1},         {Int(kMax), Dbl(9223372036854775808.0), 1, 0, 1, 0, 1},
        {Dbl(1.5), Int(2), 0, 1, 1, 0, 0},         {Dbl(0.0), Dbl(-0.0), 1, 0, 1, 0, 1},
        {Dbl(65.0), Char(65), 1, 0, 0, 0, 0},      {Dbl(65.0), Byte(65), 1, 0, 0, 0, 0},
        {Dbl(1.5), Byte(2), 0, 0, 0, 0, 0},        {Dbl(kNaN), Dbl(kNaN), 0, 0, 0, 0, 0},
        {Dbl(kNaN), Dbl(1.0), 0, 0, 0, 0, 0},      {Dbl(kNaN), Int(1), 0, 0, 0, 0, 0},
        // T: the text of both operands, and never an order.
        {Str(u"5"), Int(5), 1, 0, 0, 0, 0},        {Str(u"05"), Int(5), 0, 0, 0, 0, 0},
        {Str(u"10"), Int(9), 0, 0, 0, 0, 0},       {Str(u"5.000000"), Dbl(5.0), 1, 0, 0, 0, 0},
        {Str(u"5"), Dbl(5.0), 0, 0, 0, 0, 0},      {Str(u"A"), Byte(65), 1, 0, 0, 0, 0},
        {Str(u"65"), Byte(65), 0, 0, 0, 0, 0},     {Time(kNoon), Str(u"01.01.1971"), 1, 0, 0, 0, 0},
        {Time(kNoon), Int(kNoon), 0, 0, 0, 0, 0},  {withNames, Str(u"2"), 1, 0, 0, 0, 0},
        {Undef(), Undef(), 1, 0, 0, 0, 0},         {Undef(), Str(u""), 1, 0, 0, 0, 0},
        {Undef(), Int(0), 0, 0, 0, 0, 0},          {OfType(VT_ARRAY_ELEM), OfType(20011), 1, 0, 0, 0, 0},
        {OfType(VT_PDU), OfType(VT_XML), 1, 0, 0, 0, 0}, {NamedArray(u"a", nullptr), Undef(), 1, 0, 0, 0, 0},
        {NamedArray(u"a", nullptr), NamedArray(u"b", nullptr), 1, 0, 0, 0, 0},
        {NamedArray(u"a", u"k"), NamedArray(u"a", u"k"), 1, 0, 0, 0, 0},
        {NamedArray(u"a", u"k"), NamedArray(u"b", u"k"), 0, 0, 0, 0, 0},
        {NamedArray(u"a", u"k"), Str(u"a[k] = x\r\n"), 1, 0, 0, 0, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(Describe(row.l) + "  vs  " + Describe(row.r));
        const std::array<int, 6> forward{row.l == row.r, row.l != row.r, row.l < row.r,
                                         row.l <= row.r, row.l > row.r,  row.l >= row.r};
        // Both tables are symmetric, so swapping the operands mirrors every answer.
        const std::array<int, 6> mirrored{row.r == row.l, row.r != row.l, row.r > row.l,
                                          row.r >= row.l, row.r < row.l,  row.r <= row.l};
        const std::array<int, 6> expected{row.eq, 1 - row.eq, row.lt, row.le, row.gt, row.ge};
        EXPECT_EQ(forward, expected) << "== != < <= > >=";
        EXPECT_EQ(mirrored, expected) << "mirrored";
    }
}

// Arrays compare by their text; nesting this deep must not exhaust the stack.
TEST(VariableComparison, DeeplyNestedArraysCompareByText) {
    auto nest = [](CVariable& top, int leaf) {
        top.ResetType(VT_ARRAY);
        CVariable* level = &top;
        for (int i = 0; i < 100000; ++i) {
            auto* child = new CVariable;
            child->ResetType(VT_ARRAY);
            level->m_arrayValue.InsertElement(u"0", child);
            level = child;
        }
        level->m_arrayValue.InsertElement(u"leaf", new CVariable(Int(leaf)));
    };
    CVariable a, b, c;
    nest(a, 1);
    nest(b, 1);
    nest(c, 2);
    EXPECT_EQ(a == b, 1);
    EXPECT_EQ(a != c, 1);
    EXPECT_EQ(a < b, 0);
}

}  // namespace
