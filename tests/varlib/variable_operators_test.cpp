// The operators of CVariable: arithmetic, bitwise / logical / shift, comparison.
//
// Result types are checked as matrices laid out like the operator tables (rows
// L, columns R); values as rows of (L, operator, R, expected). Each failure
// names the row.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <sstream>
#include <string>
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
CVariable OfType(int number) {
    CVariable v;
    v.ResetType(static_cast<eVariableType>(number));
    return v;
}
CVariable Undef() { return CVariable(); }

std::string Describe(const CVariable& v) {
    std::ostringstream out;
    out << CVariable::GetTypeInfo(v.m_eType);
    switch (v.m_eType) {
    case VT_INT: out << ' ' << v.m_nValue; break;
    case VT_DOUBLE: out.precision(17); out << ' ' << v.m_dValue; break;
    case VT_STRING: out << " \"" << v.m_strValue << '"'; break;
    case VT_BYTE: out << ' ' << unsigned{v.m_byteValue}; break;
    case VT_CHAR: out << ' ' << unsigned{v.m_chValue}; break;
    case VT_TIME: out << ' ' << v.m_timeValue.GetTime(); break;
    default: break;
    }
    return out.str();
}

// Type and payload; a double must match bit for bit in sign, and NaN matches NaN.
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

using Binary = std::function<CVariable(const CVariable&, const CVariable&)>;

Binary Plain(char op) {
    switch (op) {
    case '+': return [](const CVariable& a, const CVariable& b) { return a + b; };
    case '-': return [](const CVariable& a, const CVariable& b) { return a - b; };
    case '*': return [](const CVariable& a, const CVariable& b) { return a * b; };
    case '/': return [](const CVariable& a, const CVariable& b) { return a / b; };
    case '%': return [](const CVariable& a, const CVariable& b) { return a % b; };
    case '&': return [](const CVariable& a, const CVariable& b) { return a & b; };
    case '|': return [](const CVariable& a, const CVariable& b) { return a | b; };
    case 'A': return [](const CVariable& a, const CVariable& b) { return a && b; };
    case 'O': return [](const CVariable& a, const CVariable& b) { return a || b; };
    case '<': return [](const CVariable& a, const CVariable& b) { return a << b; };
    default: return [](const CVariable& a, const CVariable& b) { return a >> b; };
    }
}

void InPlace(char op, CVariable& target, const CVariable& r) {
    switch (op) {
    case '+': target += r; break;
    case '-': target -= r; break;
    case '*': target *= r; break;
    case '/': target /= r; break;
    default: target %= r; break;
    }
}

// One operand per row or column of the tables; the last group all fall into "other".
struct Sample {
    CVariable value;
    int column;  // 0 INT, 1 DOUBLE, 2 STRING, 3 BYTE, 4 CHAR, 5 other
};

std::vector<Sample> Samples() {
    return {{Int(6), 0},       {Dbl(2.5), 1},     {Str(u"s"), 2},   {Byte(3), 3},
            {Char(2), 4},      {Time(1000), 5},   {Undef(), 5},     {OfType(VT_ARRAY), 5},
            {OfType(VT_PDU), 5}, {OfType(VT_SNMPVAR), 5}, {OfType(VT_XML), 5},
            {OfType(VT_ARRAY_ELEM), 5}, {OfType(20011), 5}};
}

using TypeMatrix = std::array<std::array<eVariableType, 6>, 6>;
constexpr eVariableType I = VT_INT, D = VT_DOUBLE, S = VT_STRING, B = VT_BYTE, C = VT_CHAR, x = VT_UNDEFINED;

void ExpectResultTypes(char op, const TypeMatrix& expected) {
    const Binary apply = Plain(op);
    for (const Sample& l : Samples())
        for (const Sample& r : Samples()) {
            SCOPED_TRACE(Describe(l.value) + " " + op + " " + Describe(r.value));
            EXPECT_EQ(CVariable::GetTypeInfo(apply(l.value, r.value).m_eType),
                      CVariable::GetTypeInfo(expected[l.column][r.column]));
        }
}

// ---------------------------------------------------------------------------
// Arithmetic
// ---------------------------------------------------------------------------

TEST(VariableArithmetic, ResultTypesFollowThePairTables) {
    //                     INT DOUBLE STRING BYTE CHAR other
    ExpectResultTypes('+', {{{I, D, x, I, I, x},    // INT
                             {D, D, x, x, x, x},    // DOUBLE
                             {x, x, S, S, S, x},    // STRING
                             {B, x, x, I, I, x},    // BYTE
                             {C, x, x, I, I, x},    // CHAR
                             {x, x, x, x, x, x}}}); // other
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
    ExpectResultTypes('%', {{{I, x, x, x, x, x},
                             {x, x, x, x, x, x},
                             {x, x, x, x, x, x},
                             {x, x, x, x, x, x},
                             {x, x, x, x, x, x},
                             {x, x, x, x, x, x}}});
}

struct ValueRow {
    CVariable l;
    char op;
    CVariable r;
    CVariable expected;
};

void ExpectRows(const std::vector<ValueRow>& rows) {
    for (const ValueRow& row : rows) {
        SCOPED_TRACE(Describe(row.l) + " " + row.op + " " + Describe(row.r));
        ExpectValue(Plain(row.op)(row.l, row.r), row.expected);
    }
}

TEST(VariableArithmetic, IntegerArithmeticWrapsAndTruncates) {
    ExpectRows({
        {Int(kMax), '+', Int(1), Int(kMin)},
        {Int(kMin), '-', Int(1), Int(kMax)},
        {Int(kMax), '*', Int(2), Int(-2)},
        {Int(kMin), '/', Int(-1), Int(kMin)},
        {Int(kMin), '%', Int(-1), Int(0)},
        {Int(7), '/', Int(2), Int(3)},
        {Int(-7), '/', Int(2), Int(-3)},
        {Int(-7), '%', Int(3), Int(-1)},
        {Int(7), '%', Int(-3), Int(1)},
        {Int(-1), '+', Char(65535), Int(65534)},  // zero-extended, not -1
        {Int(kMax), '+', Byte(1), Int(kMin)},
        {Char(65535), '*', Int(65535), Int(4294836225)},  // 64 bits wide with an INT
    });
}

TEST(VariableArithmetic, ByteAndCharKeepTheirWidth) {
    ExpectRows({
        {Byte(200), '+', Byte(100), Int(300)},
        {Byte(200), '+', Int(100), Byte(44)},
        {Int(200), '+', Byte(100), Int(300)},
        {Byte(10), '+', Int(0x1FF), Byte(9)},  // only the low 8 bits of R count
        {Byte(5), '+', Int(-1), Byte(4)},
        {Byte(1), '-', Byte(2), Int(-1)},
        {Byte(1), '-', Int(2), Byte(255)},
        {Byte(1), '-', Char(2), Byte(255)},
        {Byte(1), '-', Char(0x1FF), Byte(2)},
        {Char(65535), '+', Int(1), Char(0)},
        {Char(10), '+', Int(0x10005), Char(15)},
        {Int(1), '+', Char(65535), Int(65536)},
        {Char(65535), '+', Char(1), Int(65536)},
        {Char(1), '-', Byte(2), Char(65535)},
        {Char(1), '-', Char(2), Int(-1)},
        {Char(65535), '*', Char(65535), Int(-131071)},  // wraps in 32 bits
        {Byte(255), '*', Byte(255), Int(65025)},
        {Byte(2), '*', Int(3), Int(6)},
        {Byte(7), '/', Char(2), Int(3)},
    });
}

TEST(VariableArithmetic, DoublesAndStrings) {
    ExpectRows({
        {Dbl(1.5), '+', Int(1), Dbl(2.5)},
        {Int(1), '-', Dbl(0.25), Dbl(0.75)},
        {Int(7), '/', Dbl(2.0), Dbl(3.5)},
        {Dbl(7.0), '/', Int(2), Dbl(3.5)},
        {Dbl(1.0), '/', Dbl(kNaN), Dbl(kNaN)},  // a NaN is not a zero divisor
        {Str(u"a"), '+', Byte(66), Str(u"aB")},
        {Str(u"a"), '+', Byte(233), Str(u"a\u00e9")},
        {Str(u"a"), '+', Char(0x263A), Str(u"a\u263A")},
        {Str(u"a"), '+', Str(u"bc"), Str(u"abc")},
        {Str(u"a"), '+', Int(66), Undef()},
        {Str(u"abc"), '-', Str(u"abc"), Int(0)},
    });
}

TEST(VariableArithmetic, ZeroDivisorGivesUndefined) {
    ExpectRows({
        {Int(7), '/', Int(0), Undef()},
        {Int(7), '/', Dbl(0.0), Undef()},
        {Dbl(7.0), '/', Int(0), Undef()},
        {Dbl(7.0), '/', Dbl(-0.0), Undef()},
        {Byte(7), '/', Char(0), Undef()},
        {Char(7), '/', Byte(0), Undef()},
        {Int(7), '/', Byte(0), Undef()},
        {Int(7), '%', Int(0), Undef()},
    });
}

TEST(VariableArithmetic, PlainResultCarriesNoMetadata) {
    CVariable a = Int(2), b = Int(3);
    for (CVariable* v : {&a, &b}) {
        v->SetName(u"n");
        v->SetDisplayName(u"d");
        v->SetDescription(u"desc");
        v->SetArrayElementInfo(u"i");
    }
    const CVariable sum = a + b;
    EXPECT_EQ(sum.m_nValue, 5);
    EXPECT_TRUE(sum.GetName().IsEmpty() && sum.GetDisplayName().IsEmpty() && sum.GetDescription().IsEmpty() &&
                sum.GetIndex().IsEmpty());
    EXPECT_EQ(sum.IsArrayElement(), 0);
    EXPECT_EQ(a.m_nValue, 2);
    EXPECT_EQ(b.m_nValue, 3);
}

// What the in-place forms leave in the target: type, name and time stamp always
// stay, and exactly the payload of the table's cell changes.
TEST(VariableArithmetic, InPlaceFormsFollowTheirOwnTables) {
    struct Row {
        CVariable target;
        char op;
        CVariable r;
        CVariable expected;  // the target unchanged where the cell is a dot
    };
    const std::vector<Row> rows{
        {Int(10), '*', Dbl(2.5), Int(20)},
        {Int(10), '*', Dbl(0.5), Int(0)},
        {Int(7), '%', Dbl(3.9), Int(1)},
        {Int(10), '+', Dbl(-2.7), Int(8)},
        {Int(0), '+', Dbl(kNaN), Int(kMin)},
        {Int(0), '+', Dbl(kInf), Int(kMin)},
        {Int(0), '+', Dbl(1e19), Int(kMin)},
        {Int(0), '+', Dbl(-9223372036854775808.0), Int(kMin)},
        {Int(0), '+', Dbl(9223372036854774784.0), Int(9223372036854774784)},
        {Int(kMax), '+', Int(1), Int(kMin)},
        {Int(kMin), '/', Int(-1), Int(kMin)},
        {Int(kMin), '%', Int(-1), Int(0)},
        {Int(-1), '+', Byte(255), Int(254)},
        {Int(1), '-', Char(65535), Int(-65534)},
        {Int(7), '%', Byte(4), Int(3)},
        {Int(7), '%', Char(4), Int(3)},
        // An integer zero divisor, also after truncation, leaves the target alone.
        {Int(7), '/', Int(0), Int(7)},
        {Int(7), '/', Dbl(0.5), Int(7)},
        {Int(7), '%', Int(0), Int(7)},
        {Dbl(1.0), '/', Int(0), Dbl(kInf)},
        {Dbl(-1.0), '/', Dbl(0.0), Dbl(-kInf)},
        {Dbl(0.0), '/', Dbl(0.0), Dbl(kNaN)},
        {Dbl(1.5), '+', Int(1), Dbl(2.5)},
        {Dbl(1.0), '-', Dbl(0.25), Dbl(0.75)},
        {Str(u"a"), '+', Byte(66), Str(u"aB")},
        {Str(u"a"), '+', Char(0x263A), Str(u"a\u263A")},
        {Str(u"a"), '+', Str(u"bc"), Str(u"abc")},
        // Dots.
        {Byte(1), '+', Byte(1), Byte(1)},
        {Char(1), '-', Int(1), Char(1)},
        {Str(u"a"), '+', Int(1), Str(u"a")},
        {Str(u"a"), '-', Str(u"a"), Str(u"a")},
        {Undef(), '+', Int(1), Undef()},
        {Time(1000), '+', Int(1), Time(1000)},
        {Dbl(7.5), '%', Dbl(2.0), Dbl(7.5)},
        {Dbl(1.5), '+', Byte(1), Dbl(1.5)},
        {Int(5), '+', Str(u"1"), Int(5)},
        {Int(5), '*', OfType(VT_SNMPVAR), Int(5)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(Describe(row.target) + " " + row.op + "= " + Describe(row.r));
        CVariable target = row.target;
        target.SetName(u"kept");
        target.m_timeValue = row.target.m_eType == VT_TIME ? row.target.m_timeValue : CTime(42);
        const CTime stamp = target.m_timeValue;
        InPlace(row.op, target, row.r);
        ExpectValue(target, row.expected);
        EXPECT_EQ(target.GetName(), CString(u"kept"));
        EXPECT_EQ(target.m_timeValue.GetTime(), stamp.GetTime());
    }
}

TEST(VariableArithmetic, PduAppendsACopyOfTheVarBind) {
    CVariable pdu = OfType(VT_PDU);
    const CVariable vb = OfType(VT_SNMPVAR);
    pdu += vb;
    pdu += vb;
    EXPECT_EQ(pdu.m_pduValue.GetVarBindCount(), 2);
    EXPECT_EQ(pdu.GetType(), VT_PDU);
    EXPECT_EQ((pdu + vb).GetType(), VT_UNDEFINED);
    for (char op : {'-', '*', '/', '%'}) {
        InPlace(op, pdu, vb);
        EXPECT_EQ(pdu.m_pduValue.GetVarBindCount(), 2) << op;
    }
}

// ---------------------------------------------------------------------------
// Bitwise, logical, shift
// ---------------------------------------------------------------------------

TEST(VariableBitwise, ResultTypesFollowThePairTables) {
    //                              INT DOUBLE STRING BYTE CHAR other
    const TypeMatrix bitwise{{{I, x, x, I, I, x},
                              {x, x, x, x, x, x},
                              {x, x, x, x, x, x},
                              {I, x, x, I, I, x},
                              {I, x, x, I, I, x},
                              {x, x, x, x, x, x}}};
    const TypeMatrix logical{{{I, x, x, x, x, x},
                              {x, x, x, x, x, x},
                              {x, x, x, x, x, x},
                              {x, x, x, x, x, x},
                              {x, x, x, x, x, x},
                              {x, x, x, x, x, x}}};
    const TypeMatrix shift{{{I, x, x, x, x, x},
                            {x, x, x, x, x, x},
                            {x, x, x, x, x, x},
                            {I, x, x, x, x, x},
                            {I, x, x, x, x, x},
                            {x, x, x, x, x, x}}};
    ExpectResultTypes('&', bitwise);
    ExpectResultTypes('|', bitwise);
    ExpectResultTypes('A', logical);  // &&
    ExpectResultTypes('O', logical);  // ||
    ExpectResultTypes('<', shift);    // <<
    ExpectResultTypes('>', shift);    // >>
}

TEST(VariableBitwise, BitsAndTruthValues) {
    ExpectRows({
        {Int(12), '&', Int(10), Int(8)},
        {Int(12), '|', Int(3), Int(15)},
        {Byte(240), '&', Char(255), Int(240)},
        {Byte(255), '|', Byte(0), Int(255)},
        {Int(-1), '&', Char(65535), Int(65535)},
        {Int(-1), '&', Byte(255), Int(255)},
        {Int(kMin), '|', Byte(1), Int(kMin + 1)},
        {Int(2), 'A', Int(5), Int(1)},
        {Int(2), 'A', Int(0), Int(0)},
        {Int(kMin), 'A', Int(-1), Int(1)},
        {Int(0), 'O', Int(0), Int(0)},
        {Int(0), 'O', Int(7), Int(1)},
    });
}

TEST(VariableBitwise, ShiftCountsAreReduced) {
    ExpectRows({
        // INT: 64 bits, count = low 8 bits of R.
        {Int(1), '<', Int(63), Int(kMin)},
        {Int(1), '<', Int(64), Int(0)},
        {Int(1), '<', Int(256), Int(1)},
        {Int(1), '<', Int(-1), Int(0)},
        {Int(3), '<', Int(62), Int(-4611686018427387904)},
        {Int(-8), '>', Int(1), Int(-4)},
        {Int(-8), '>', Int(64), Int(-1)},
        {Int(-8), '>', Int(255), Int(-1)},
        {Int(8), '>', Int(64), Int(0)},
        {Int(kMin), '>', Int(63), Int(-1)},
        {Int(0x100), '>', Int(264), Int(1)},
        // BYTE and CHAR: 32 bits, count = low 5 bits of R.
        {Byte(1), '<', Int(8), Int(256)},
        {Byte(1), '<', Int(31), Int(-2147483648)},
        {Byte(3), '<', Int(31), Int(-2147483648)},
        {Byte(1), '<', Int(32), Int(1)},
        {Char(65535), '<', Int(16), Int(-65536)},
        {Char(65535), '>', Int(8), Int(255)},
        {Byte(255), '>', Int(33), Int(127)},
        {Byte(128), '>', Int(-1), Int(0)},
    });
}

// ---------------------------------------------------------------------------
// Comparison
// ---------------------------------------------------------------------------

CVariable NamedArray(const char16_t* name, const char16_t* index, const CVariable& element) {
    CVariable v = OfType(VT_ARRAY);
    v.SetName(name);
    if (index) v.m_arrayValue.InsertElement(index, new CVariable(element));
    return v;
}

CVariable EnumInt(int64_t n) {
    CVariable v = Int(n);
    v.m_enumValues.Add(CIntegerEnumEntry(u"down", u"", 2));
    return v;
}

TEST(VariableComparison, SixOperatorsPerPair) {
    // 1971-01-01 12:00:00 UTC.
    constexpr int64_t kNoon = 31579200;
    struct Row {
        CVariable l, r;
        int eq, lt, le, gt, ge;
    };
    const std::vector<Row> rows{
        // S: code units, case-sensitive.
        {Str(u"abc"), Str(u"ABC"), 0, 0, 0, 1, 1},
        {Str(u"abc"), Str(u"abd"), 0, 1, 1, 0, 0},
        {Str(u"B"), Str(u"a"), 0, 1, 1, 0, 0},
        {Str(u"ab"), Str(u"abc"), 0, 1, 1, 0, 0},
        {Str(u"10"), Str(u"9"), 0, 1, 1, 0, 0},
        // N: exact, zero-extended, signed where an INT takes part.
        {Int(10), Int(9), 0, 0, 0, 1, 1},
        {Int(9007199254740993), Int(9007199254740992), 0, 0, 0, 1, 1},
        {Int(5), Byte(5), 1, 0, 1, 0, 1},
        {Int(65), Char(65), 1, 0, 1, 0, 1},
        {Int(-1), Byte(255), 0, 1, 1, 0, 0},
        {Int(-1), Byte(0), 0, 1, 1, 0, 0},
        {Int(-1), Char(65535), 0, 1, 1, 0, 0},
        {Char(65), Char(66), 0, 1, 1, 0, 0},
        {Byte(200), Char(300), 0, 1, 1, 0, 0},
        {Byte(65), Char(65), 1, 0, 1, 0, 1},  // == by text, ordered by number
        {Time(kNoon), Time(kNoon), 1, 0, 0, 0, 0},
        {Time(kNoon), Time(kNoon + 1), 0, 0, 0, 0, 0},  // same date text, still unequal
        // D: doubles, NaN false everywhere.
        {Int(5), Dbl(5.0), 1, 0, 1, 0, 1},
        {Int(kMax), Dbl(9223372036854775808.0), 1, 0, 1, 0, 1},
        {Dbl(1.5), Int(2), 0, 1, 1, 0, 0},
        {Dbl(0.0), Dbl(-0.0), 1, 0, 1, 0, 1},
        {Dbl(65.0), Char(65), 1, 0, 0, 0, 0},
        {Dbl(65.0), Byte(65), 1, 0, 0, 0, 0},
        {Dbl(1.5), Byte(2), 0, 0, 0, 0, 0},
        {Dbl(kNaN), Dbl(kNaN), 0, 0, 0, 0, 0},
        {Dbl(kNaN), Dbl(1.0), 0, 0, 0, 0, 0},
        {Dbl(kNaN), Int(1), 0, 0, 0, 0, 0},
        // T: text of both sides; never an order.
        {Str(u"5"), Int(5), 1, 0, 0, 0, 0},
        {Str(u"05"), Int(5), 0, 0, 0, 0, 0},
        {Str(u"10"), Int(9), 0, 0, 0, 0, 0},
        {Str(u"5.000000"), Dbl(5.0), 1, 0, 0, 0, 0},
        {Str(u"5"), Dbl(5.0), 0, 0, 0, 0, 0},
        {Str(u"A"), Byte(65), 1, 0, 0, 0, 0},
        {Str(u"65"), Byte(65), 0, 0, 0, 0, 0},
        {Time(kNoon), Str(u"01.01.1971"), 1, 0, 0, 0, 0},
        {Time(kNoon), Int(kNoon), 0, 0, 0, 0, 0},
        {EnumInt(2), Str(u"2"), 1, 0, 0, 0, 0},
        {Undef(), Undef(), 1, 0, 0, 0, 0},
        {Undef(), Str(u""), 1, 0, 0, 0, 0},
        {Undef(), Int(0), 0, 0, 0, 0, 0},
        {OfType(VT_ARRAY_ELEM), OfType(20011), 1, 0, 0, 0, 0},
        {OfType(VT_PDU), OfType(VT_XML), 1, 0, 0, 0, 0},
        {NamedArray(u"a", nullptr, Int(0)), Undef(), 1, 0, 0, 0, 0},
        {NamedArray(u"a", nullptr, Int(0)), NamedArray(u"b", nullptr, Int(0)), 1, 0, 0, 0, 0},
        {NamedArray(u"a", u"k", Str(u"x")), NamedArray(u"a", u"k", Str(u"x")), 1, 0, 0, 0, 0},
        {NamedArray(u"a", u"k", Str(u"x")), NamedArray(u"b", u"k", Str(u"x")), 0, 0, 0, 0, 0},
        {NamedArray(u"a", u"k", Str(u"x")), Str(u"a[k] = x\r\n"), 1, 0, 0, 0, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(Describe(row.l) + " vs " + Describe(row.r));
        EXPECT_EQ(row.l == row.r, row.eq);
        EXPECT_EQ(row.l != row.r, 1 - row.eq);
        EXPECT_EQ(row.l < row.r, row.lt);
        EXPECT_EQ(row.l <= row.r, row.le);
        EXPECT_EQ(row.l > row.r, row.gt);
        EXPECT_EQ(row.l >= row.r, row.ge);
        // Both tables are symmetric, so swapping the operands mirrors every answer.
        EXPECT_EQ(row.r == row.l, row.eq);
        EXPECT_EQ(row.r > row.l, row.lt);
        EXPECT_EQ(row.r >= row.l, row.le);
        EXPECT_EQ(row.r < row.l, row.gt);
        EXPECT_EQ(row.r <= row.l, row.ge);
    }
}

// Arrays compare by their text; nesting as deep as this must not exhaust the stack.
TEST(VariableComparison, DeeplyNestedArraysCompareByText) {
    constexpr int kDepth = 100000;
    auto nest = [](CVariable& top, int leaf) {
        top.ResetType(VT_ARRAY);
        CVariable* level = &top;
        for (int i = 0; i < kDepth; ++i) {
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
    EXPECT_EQ(a == c, 0);
    EXPECT_EQ(a != c, 1);
    EXPECT_EQ(a < b, 0);
}

}  // namespace
