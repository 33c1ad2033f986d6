// The operators of CVariable. Result types are checked as matrices laid out like
// the operator tables (rows L, columns R); values as rows of (L, operator, R, expected).
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <sstream>
#include <vector>

#include "test_values.h"

using namespace tv;

namespace {

constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

CVariable Int(int64_t n) { return CVariable(n); }
CVariable Dbl(double d) { return CVariable(d); }
CVariable Byte(unsigned n) { return CVariable(static_cast<unsigned char>(n)); }
CVariable Char(unsigned n) { return CVariable(static_cast<char16_t>(n)); }
CVariable Time(int64_t seconds) { return CVariable(CTime(seconds)); }
CVariable Undef() { return CVariable(); }

// Type, every payload field and the name, so that any change shows.
std::string Describe(const CVariable& v) {
    uint64_t bits = 0;
    std::memcpy(&bits, &v.m_dValue, sizeof bits);
    std::ostringstream out;
    out << CVariable::GetTypeInfo(v.m_eType) << " n=" << v.m_nValue << " d=" << v.m_dValue << " (" << bits
        << ") s=\"" << v.m_strValue << "\" b=" << unsigned{v.m_byteValue} << " c=" << unsigned{v.m_chValue}
        << " t=" << v.m_timeValue.GetTime() << " pdu=" << v.m_pduValue.GetVarBindCount() << " name=" << v.GetName();
    return out.str();
}

// Operators by one character: A is &&, O is ||, < is <<, > is >>.
CVariable Apply(char op, const CVariable& a, const CVariable& b) {
    return op == '+' ? a + b : op == '-' ? a - b : op == '*' ? a * b : op == '/' ? a / b : op == '%' ? a % b
         : op == '&' ? a & b : op == '|' ? a | b : op == 'A' ? (a && b) : op == 'O' ? (a || b)
         : op == '<' ? a << b : a >> b;
}

void ApplyInPlace(char op, CVariable& t, const CVariable& r) {
    op == '+' ? t += r : op == '-' ? t -= r : op == '*' ? t *= r : op == '/' ? t /= r : t %= r;
}

}  // namespace

TEST(VariableOperators, ResultTypesFollowThePairTables) {
    // One operand per row and column (0 INT, 1 DOUBLE, 2 STRING, 3 BYTE, 4 CHAR, 5 other), every kind of other.
    const std::vector<std::pair<CVariable, int>> samples{
        {Int(6), 0}, {Dbl(2.5), 1}, {Str(u"s"), 2}, {Byte(3), 3}, {Char(2), 4}, {Time(1000), 5}, {Undef(), 5},
        {OfType(VT_ARRAY), 5}, {OfType(VT_PDU), 5}, {OfType(VT_SNMPVAR), 5}, {OfType(VT_XML), 5},
        {OfType(VT_ARRAY_ELEM), 5}, {OfType(20011), 5}};
    // Result types I D S B C, '.' for none (UNDEFINED); rows L, columns R as above.
    const auto name = [](char c) {
        return CString(c == 'I' ? u"INT" : c == 'D' ? u"DOUBLE" : c == 'S' ? u"STRING" : c == 'B' ? u"BYTE"
                       : c == 'C' ? u"CHAR" : u"UNDEFINED");
    };
    using Matrix = std::array<const char*, 6>;
    const std::vector<std::pair<const char*, Matrix>> tables{
        //        INT       DOUBLE    STRING    BYTE      CHAR      other
        {"+", {"ID.II.", "DD....", "..SSS.", "B..II.", "C..II.", "......"}},
        {"-", {"ID.II.", "DD....", "..I...", "B..IB.", "C..CI.", "......"}},
        {"*/", {"ID.II.", "DD....", "......", "I..II.", "I..II.", "......"}},
        {"&|", {"I..II.", "......", "......", "I..II.", "I..II.", "......"}},
        {"<>", {"I.....", "......", "......", "I.....", "I.....", "......"}},
        {"%AO", {"I.....", "......", "......", "......", "......", "......"}},
    };
    for (const auto& [ops, expected] : tables)
        for (const char* op = ops; *op; ++op)
            for (const auto& [l, row] : samples)
                for (const auto& [r, column] : samples) {
                    SCOPED_TRACE(Describe(l) + "  " + *op + "  " + Describe(r));
                    EXPECT_EQ(CVariable::GetTypeInfo(Apply(*op, l, r).m_eType), name(expected[row][column]));
                }
}

// Each rule of computation by a row that breaks with it. "op=" rows apply the in-place form to L.
TEST(VariableOperators, ValuesPerRule) {
    struct Row { CVariable l; const char* op; CVariable r; CVariable expected; };
    const std::vector<Row> rows{
        // INT: 64-bit two's complement, division truncates toward zero.
        {Int(kMax), "+", Int(1), Int(kMin)}, {Int(kMin), "-", Int(1), Int(kMax)}, {Int(kMax), "*", Int(2), Int(-2)},
        {Int(kMin), "/", Int(-1), Int(kMin)}, {Int(kMin), "%", Int(-1), Int(0)}, {Int(-7), "/", Int(2), Int(-3)},
        {Int(-7), "%", Int(3), Int(-1)}, {Int(7), "%", Int(-3), Int(1)}, {Int(kMax), "+", Byte(1), Int(kMin)},
        {Int(-1), "+", Char(65535), Int(65534)}, {Char(65535), "*", Int(65535), Int(4294836225)},
        // BYTE and CHAR: a BYTE or CHAR result keeps its width, pairs of them compute in 32 bits.
        {Byte(200), "+", Byte(100), Int(300)}, {Byte(200), "+", Int(100), Byte(44)}, {Byte(10), "+", Int(0x1FF), Byte(9)},
        {Byte(1), "-", Int(2), Byte(255)}, {Byte(1), "-", Char(0x1FF), Byte(2)}, {Char(65535), "+", Int(1), Char(0)},
        {Char(10), "+", Int(0x10005), Char(15)}, {Char(1), "-", Byte(2), Char(65535)}, {Char(1), "-", Char(2), Int(-1)},
        {Char(65535), "*", Char(65535), Int(-131071)}, {Byte(7), "/", Char(2), Int(3)},
        // DOUBLE, STRING, and zero divisors, which give no value.
        {Int(1), "-", Dbl(0.25), Dbl(0.75)}, {Int(7), "/", Dbl(2.0), Dbl(3.5)}, {Dbl(1.0), "/", Dbl(kNaN), Dbl(kNaN)},
        {Str(u"a"), "+", Byte(233), Str(u"a\u00e9")}, {Str(u"a"), "+", Char(0x263A), Str(u"a\u263A")},
        {Str(u"a"), "+", Str(u"bc"), Str(u"abc")}, {Int(7), "/", Int(0), Undef()}, {Int(7), "/", Dbl(0.0), Undef()},
        {Dbl(7.0), "/", Dbl(-0.0), Undef()}, {Byte(7), "/", Char(0), Undef()}, {Int(7), "%", Int(0), Undef()},
        // In place, a DOUBLE operand is truncated first; one outside 64 bits (NaN too) gives the smallest value.
        {Int(10), "*=", Dbl(2.5), Int(20)}, {Int(7), "%=", Dbl(3.9), Int(1)}, {Int(10), "+=", Dbl(-2.7), Int(8)},
        {Int(0), "+=", Dbl(kNaN), Int(kMin)}, {Int(0), "+=", Dbl(9223372036854775808.0), Int(kMin)},
        {Int(0), "+=", Dbl(9223372036854774784.0), Int(9223372036854774784)},
        {Int(kMax), "+=", Int(1), Int(kMin)}, {Int(kMin), "/=", Int(-1), Int(kMin)}, {Int(1), "-=", Char(65535), Int(-65534)},
        // An integer zero divisor, also one truncated to zero, leaves the target alone.
        {Int(7), "/=", Int(0), Int(7)}, {Int(7), "/=", Dbl(0.5), Int(7)}, {Int(7), "%=", Int(0), Int(7)},
        // A DOUBLE target divides as IEEE 754 does.
        {Dbl(1.0), "/=", Int(0), Dbl(kInf)}, {Dbl(-1.0), "/=", Dbl(0.0), Dbl(-kInf)}, {Dbl(0.0), "/=", Dbl(0.0), Dbl(kNaN)},
        {Str(u"a"), "+=", Byte(66), Str(u"aB")}, {Str(u"a"), "+=", Char(0x263A), Str(u"a\u263A")},
        // BYTE and CHAR take part zero-extended; && and || look at all 64 bits.
        {Int(12), "&", Int(10), Int(8)}, {Int(12), "|", Int(3), Int(15)}, {Byte(240), "&", Char(255), Int(240)},
        {Int(-1), "&", Char(65535), Int(65535)}, {Int(kMin), "|", Byte(1), Int(kMin + 1)},
        {Int(2), "A", Int(5), Int(1)}, {Int(2), "A", Int(0), Int(0)}, {Int(kMin), "A", Int(-1), Int(1)},
        {Int(0), "O", Int(0), Int(0)}, {Int(0), "O", Int(7), Int(1)},
        // INT shifts 64 bits by the low 8 bits of the count, >> keeps the sign.
        {Int(1), "<", Int(63), Int(kMin)}, {Int(1), "<", Int(64), Int(0)}, {Int(1), "<", Int(256), Int(1)},
        {Int(1), "<", Int(-1), Int(0)}, {Int(-8), ">", Int(1), Int(-4)}, {Int(-8), ">", Int(64), Int(-1)},
        {Int(8), ">", Int(64), Int(0)}, {Int(0x100), ">", Int(264), Int(1)},
        // BYTE and CHAR shift 32 bits by the low 5 bits; << gives a signed 32-bit result, >> is logical.
        {Byte(1), "<", Int(31), Int(-2147483648)}, {Byte(1), "<", Int(32), Int(1)},
        {Char(65535), "<", Int(16), Int(-65536)}, {Char(65535), ">", Int(8), Int(255)},
        {Byte(255), ">", Int(33), Int(127)}, {Byte(128), ">", Int(-1), Int(0)},
    };
    // The result's type and payload: INT, STRING, BYTE and CHAR by their text, a double in sign too, NaN as any NaN.
    for (const Row& row : rows) {
        SCOPED_TRACE(Describe(row.l) + "  " + row.op + "  " + Describe(row.r));
        CVariable actual = row.l;
        if (row.op[1] == '=')
            ApplyInPlace(row.op[0], actual, row.r);
        else
            actual = Apply(row.op[0], row.l, row.r);
        const double a = actual.m_dValue, e = row.expected.m_dValue;
        ASSERT_EQ(CVariable::GetTypeInfo(actual.m_eType), CVariable::GetTypeInfo(row.expected.m_eType));
        if (row.expected.m_eType != VT_DOUBLE)
            EXPECT_EQ(actual.ToString(0), row.expected.ToString(0));
        else
            EXPECT_TRUE(std::isnan(e) ? std::isnan(a) : a == e && std::signbit(a) == std::signbit(e)) << a;
    }
}

// '*' where the in-place operator changes L, '.' where it leaves L alone; L keeps its type and name.
TEST(VariableOperators, InPlaceCellsFollowTheirOwnTables) {
    // Rows L: INT DOUBLE STRING BYTE CHAR PDU other; columns R: INT DOUBLE STRING BYTE CHAR SNMPVAR other.
    const std::vector<std::pair<const char*, std::array<const char*, 7>>> tables{
        //     INT        DOUBLE     STRING     BYTE       CHAR       PDU        other
        {"+", {"**.**..", "**.....", "..***..", ".......", ".......", ".....*.", "......."}},
        {"-*/", {"**.**..", "**.....", ".......", ".......", ".......", ".......", "......."}},
        {"%", {"**.**..", ".......", ".......", ".......", ".......", ".......", "......."}},
    };
    const std::vector<std::pair<CVariable, int>> targets{
        {Int(6), 0}, {Dbl(2.5), 1}, {Str(u"s"), 2}, {Byte(3), 3}, {Char(2), 4}, {OfType(VT_PDU), 5},
        {Time(1000), 6}, {Undef(), 6}, {OfType(VT_XML), 6}, {OfType(VT_ARRAY), 6}, {OfType(VT_SNMPVAR), 6}};
    const std::vector<std::pair<CVariable, int>> operands{
        {Int(2), 0}, {Dbl(2.5), 1}, {Str(u"t"), 2}, {Byte(3), 3}, {Char(4), 4}, {OfType(VT_SNMPVAR), 5},
        {Time(1000), 6}, {Undef(), 6}, {OfType(VT_PDU), 6}, {OfType(VT_ARRAY), 6}};
    for (const auto& [ops, cells] : tables)
        for (const char* op = ops; *op; ++op)
            for (const auto& [l, row] : targets)
                for (const auto& [r, column] : operands) {
                    SCOPED_TRACE(Describe(l) + "  " + *op + "=  " + Describe(r));
                    CVariable target = l;
                    target.SetName(u"kept");
                    const std::string before = Describe(target);
                    ApplyInPlace(*op, target, r);
                    EXPECT_EQ(before != Describe(target), cells[row][column] == '*') << Describe(target);
                    EXPECT_EQ(target.GetType(), l.GetType());
                    EXPECT_EQ(target.GetName(), CString(u"kept"));
                }
}

TEST(VariableOperators, ComparisonSixOperatorsPerPair) {
    constexpr int64_t kNoon = 31579200;  // 1971-01-01 12:00:00 UTC
    CVariable withNames = Int(2);
    withNames.m_enumValues.Add(CIntegerEnumEntry(u"down", u"", 2));
    CVariable holder = OfType(VT_ARRAY);   // its text carries its name
    holder.SetName(u"a");
    holder.m_arrayValue.InsertElement(u"k", new CVariable(Str(u"x")));
    struct Row { CVariable l, r; const char* answers; };   // == < <= > >=
    const std::vector<Row> rows{
        // STRING with STRING: code units, case-sensitive.
        {Str(u"abc"), Str(u"ABC"), "00011"}, {Str(u"ab"), Str(u"abc"), "01100"}, {Str(u"10"), Str(u"9"), "01100"},
        // Exact integers, zero-extended, signed where an INT takes part; TIME has equality only.
        {Int(9007199254740993), Int(9007199254740992), "00011"}, {Int(5), Byte(5), "10101"},
        {Int(-1), Byte(255), "01100"}, {Int(-1), Char(65535), "01100"}, {Byte(200), Char(300), "01100"},
        {Byte(65), Char(65), "10101"}, {Time(kNoon), Time(kNoon), "10000"}, {Time(kNoon), Time(kNoon + 1), "00000"},
        // Doubles; a NaN makes everything false.
        {Int(5), Dbl(5.0), "10101"}, {Int(kMax), Dbl(9223372036854775808.0), "10101"}, {Dbl(0.0), Dbl(-0.0), "10101"},
        {Dbl(65.0), Char(65), "10000"}, {Dbl(1.5), Byte(2), "00000"}, {Dbl(kNaN), Dbl(kNaN), "00000"},
        {Dbl(kNaN), Int(1), "00000"},
        // Every other pair: equal when the texts are, never ordered.
        {Str(u"5"), Int(5), "10000"}, {Str(u"05"), Int(5), "00000"}, {Str(u"5.000000"), Dbl(5.0), "10000"},
        {Str(u"5"), Dbl(5.0), "00000"}, {Str(u"A"), Byte(65), "10000"}, {Time(kNoon), Int(kNoon), "00000"},
        {Time(kNoon), Str(u"01.01.1971"), "10000"}, {withNames, Str(u"2"), "10000"}, {Undef(), Str(u""), "10000"},
        {Undef(), Int(0), "00000"}, {OfType(VT_PDU), OfType(VT_XML), "10000"},
        {holder, Str(u"a[k] = x\r\n"), "10000"}, {holder, Str(u"[k] = x\r\n"), "00000"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(Describe(row.l) + "  vs  " + Describe(row.r));
        const std::array<int, 6> forward{row.l == row.r, row.l != row.r, row.l < row.r,
                                         row.l <= row.r, row.l > row.r,  row.l >= row.r};
        // Both tables are symmetric, so swapping the operands mirrors every answer.
        const std::array<int, 6> mirrored{row.r == row.l, row.r != row.l, row.r > row.l,
                                          row.r >= row.l, row.r < row.l,  row.r <= row.l};
        const auto at = [&](int i) { return row.answers[i] - '0'; };
        const std::array<int, 6> expected{at(0), 1 - at(0), at(1), at(2), at(3), at(4)};
        EXPECT_EQ(forward, expected) << "== != < <= > >=";
        EXPECT_EQ(mirrored, expected) << "mirrored";
    }
}
