// Arithmetic operators of CVariable: + - * / % and their in-place forms.
//
// The pair of operand types decides everything, and the pairs follow no
// promotion rule: BYTE + INT stays BYTE while BYTE * INT becomes INT, STRING +
// BYTE appends a character while STRING + INT is refused, DOUBLE + BYTE is
// refused while DOUBLE + INT is not. So each operator reads its pair from a
// table below, written cell by cell, and one routine per result type computes
// the value. The in-place forms have tables of their own: they never change the
// type of the target and they compute some pairs the plain forms refuse.
//
// Integer arithmetic is done on uint64_t / uint32_t and converted back, so that
// overflow wraps as two's complement instead of being undefined behaviour.
#include "varlib/values/Variable.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace {

// The operand types that have a row or a column of their own in some table.
// Everything else (TIME, XML, ARRAY, ARRAY_ELEM, UNDEFINED, unknown numbers,
// and PDU / SNMPVAR outside the one in-place cell that names them) is Other.
enum class Kind : unsigned char { Int, Double, String, Byte, Char, Pdu, VarBind, Other };

Kind KindOf(const CVariable& v) {
    switch (v.m_eType) {
    case VT_INT: return Kind::Int;
    case VT_DOUBLE: return Kind::Double;
    case VT_STRING: return Kind::String;
    case VT_BYTE: return Kind::Byte;
    case VT_CHAR: return Kind::Char;
    case VT_PDU: return Kind::Pdu;
    case VT_SNMPVAR: return Kind::VarBind;
    default: return Kind::Other;
    }
}

// A table over the pairs (L, R) with the rows and columns that it names. A kind
// that the table doesn't name falls into its Other row or column; a table
// without an Other row gives `absent` for a left operand it doesn't name.
template <class Cell, std::size_t Rows, std::size_t Columns>
struct PairTable {
    std::array<Kind, Rows> rows;
    std::array<Kind, Columns> columns;
    std::array<std::array<Cell, Columns>, Rows> cells;
    Cell absent;

    template <std::size_t N>
    static constexpr std::size_t Find(const std::array<Kind, N>& kinds, Kind kind) {
        for (std::size_t i = 0; i < N; ++i)
            if (kinds[i] == kind) return i;
        for (std::size_t i = 0; i < N; ++i)
            if (kinds[i] == Kind::Other) return i;
        return N;
    }

    constexpr Cell At(Kind l, Kind r) const {
        const std::size_t row = Find(rows, l);
        const std::size_t column = Find(columns, r);
        if (row == Rows || column == Columns) return absent;
        return cells[row][column];
    }
};

// ---------------------------------------------------------------------------
// Plain operators: a cell is the type of the result.
// ---------------------------------------------------------------------------

enum class Result : unsigned char {
    None,      // "-": a default-constructed UNDEFINED value
    Int,
    Double,
    String,
    Byte,
    Char,
    TextDiff,  // STRING - STRING: an INT, see TextDifference
};

namespace plain {
constexpr Result x = Result::None, I = Result::Int, D = Result::Double, S = Result::String,
                 B = Result::Byte, C = Result::Char, T = Result::TextDiff;
constexpr std::array<Kind, 6> kKinds{Kind::Int, Kind::Double, Kind::String, Kind::Byte, Kind::Char, Kind::Other};
using Table = PairTable<Result, 6, 6>;

constexpr Table kAdd{kKinds, kKinds, {{
    //           INT DOUBLE STRING BYTE CHAR other
    /* INT    */ {I,  D,     x,     I,   I,   x},
    /* DOUBLE */ {D,  D,     x,     x,   x,   x},
    /* STRING */ {x,  x,     S,     S,   S,   x},
    /* BYTE   */ {B,  x,     x,     I,   I,   x},
    /* CHAR   */ {C,  x,     x,     I,   I,   x},
    /* other  */ {x,  x,     x,     x,   x,   x},
}}, x};

constexpr Table kSubtract{kKinds, kKinds, {{
    //           INT DOUBLE STRING BYTE CHAR other
    /* INT    */ {I,  D,     x,     I,   I,   x},
    /* DOUBLE */ {D,  D,     x,     x,   x,   x},
    /* STRING */ {x,  x,     T,     x,   x,   x},
    /* BYTE   */ {B,  x,     x,     I,   B,   x},
    /* CHAR   */ {C,  x,     x,     C,   I,   x},
    /* other  */ {x,  x,     x,     x,   x,   x},
}}, x};

// operator* and operator/ share this table.
constexpr Table kMultiplyDivide{kKinds, kKinds, {{
    //           INT DOUBLE STRING BYTE CHAR other
    /* INT    */ {I,  D,     x,     I,   I,   x},
    /* DOUBLE */ {D,  D,     x,     x,   x,   x},
    /* STRING */ {x,  x,     x,     x,   x,   x},
    /* BYTE   */ {I,  x,     x,     I,   I,   x},
    /* CHAR   */ {I,  x,     x,     I,   I,   x},
    /* other  */ {x,  x,     x,     x,   x,   x},
}}, x};

constexpr Table kRemainder{kKinds, kKinds, {{
    //           INT DOUBLE STRING BYTE CHAR other
    /* INT    */ {I,  x,     x,     x,   x,   x},
    /* DOUBLE */ {x,  x,     x,     x,   x,   x},
    /* STRING */ {x,  x,     x,     x,   x,   x},
    /* BYTE   */ {x,  x,     x,     x,   x,   x},
    /* CHAR   */ {x,  x,     x,     x,   x,   x},
    /* other  */ {x,  x,     x,     x,   x,   x},
}}, x};
}  // namespace plain

// ---------------------------------------------------------------------------
// In-place operators: a cell is what happens to the payload of L.
// ---------------------------------------------------------------------------

enum class InPlace : unsigned char {
    Nothing,         // "·": L is left exactly as it was
    Apply,           // INT target, INT / BYTE / CHAR operand zero-extended; or DOUBLE with DOUBLE
    ApplyTruncated,  // INT target, DOUBLE operand truncated to 64 bits first
    ApplyAsDouble,   // DOUBLE target, INT operand converted to double
    Append,          // STRING target, STRING operand
    AppendByte,      // STRING target, the byte as one character
    AppendChar,      // STRING target, the character
    AppendVarBind,   // PDU target, a copy of the var-bind
};

namespace inplace {
constexpr InPlace o = InPlace::Nothing, A = InPlace::Apply, T = InPlace::ApplyTruncated,
                  F = InPlace::ApplyAsDouble, S = InPlace::Append, B = InPlace::AppendByte,
                  C = InPlace::AppendChar, V = InPlace::AppendVarBind;

// Rows that a table doesn't name (BYTE, CHAR, TIME, XML, ARRAY, ...) never change.
constexpr PairTable<InPlace, 4, 7> kAdd{
    {Kind::Int, Kind::Double, Kind::String, Kind::Pdu},
    {Kind::Int, Kind::Double, Kind::String, Kind::Byte, Kind::Char, Kind::VarBind, Kind::Other},
    {{
        //           INT DOUBLE STRING BYTE CHAR SNMPVAR other
        /* INT    */ {A,  T,     o,     A,   A,   o,      o},
        /* DOUBLE */ {F,  A,     o,     o,   o,   o,      o},
        /* STRING */ {o,  o,     S,     B,   C,   o,      o},
        /* PDU    */ {o,  o,     o,     o,   o,   V,      o},
    }},
    o};

// operator-=, operator*= and operator/= share this table.
constexpr PairTable<InPlace, 2, 6> kSubtractMultiplyDivide{
    {Kind::Int, Kind::Double},
    {Kind::Int, Kind::Double, Kind::String, Kind::Byte, Kind::Char, Kind::Other},
    {{
        //           INT DOUBLE STRING BYTE CHAR other
        /* INT    */ {A,  T,     o,     A,   A,   o},
        /* DOUBLE */ {F,  A,     o,     o,   o,   o},
    }},
    o};

constexpr PairTable<InPlace, 1, 6> kRemainder{
    {Kind::Int},
    {Kind::Int, Kind::Double, Kind::String, Kind::Byte, Kind::Char, Kind::Other},
    {{
        //           INT DOUBLE STRING BYTE CHAR other
        /* INT    */ {A,  T,     o,     A,   A,   o},
    }},
    o};
}  // namespace inplace

// ---------------------------------------------------------------------------
// Computation
// ---------------------------------------------------------------------------

enum class Op : unsigned char { Add, Subtract, Multiply, Divide, Remainder };

constexpr int64_t kInt64Min = std::numeric_limits<int64_t>::min();

// The integer payload of an INT, BYTE or CHAR; BYTE and CHAR zero-extended.
int64_t IntegerOf(const CVariable& v) {
    switch (v.m_eType) {
    case VT_BYTE: return v.m_byteValue;
    case VT_CHAR: return v.m_chValue;
    default: return v.m_nValue;
    }
}

// The payload of an INT or DOUBLE as a double.
double DoubleOf(const CVariable& v) {
    return v.m_eType == VT_DOUBLE ? v.m_dValue : static_cast<double>(v.m_nValue);
}

// Truncation toward zero. A double that doesn't fit into 64 bits (NaN and the
// infinities among them) gives the smallest 64-bit value, as the platform's
// conversion instruction does; C++ would leave that case undefined.
int64_t Truncate(double d) {
    // -2^63 is exactly representable; 2^63 is the first double that is too large.
    constexpr double kLow = -9223372036854775808.0;
    constexpr double kHigh = 9223372036854775808.0;
    if (!(d >= kLow && d < kHigh)) return kInt64Min;
    return static_cast<int64_t>(d);
}

bool IsDivision(Op op) { return op == Op::Divide || op == Op::Remainder; }

// 64-bit two's complement; the caller has excluded a zero divisor.
int64_t Apply64(Op op, int64_t a, int64_t b) {
    const auto ua = static_cast<uint64_t>(a);
    const auto ub = static_cast<uint64_t>(b);
    switch (op) {
    case Op::Add: return static_cast<int64_t>(ua + ub);
    case Op::Subtract: return static_cast<int64_t>(ua - ub);
    case Op::Multiply: return static_cast<int64_t>(ua * ub);
    // The one quotient that overflows wraps back to itself; its remainder is 0.
    case Op::Divide: return b == -1 ? static_cast<int64_t>(0 - ua) : a / b;
    case Op::Remainder: return b == -1 ? 0 : a % b;
    }
    return 0;
}

// 32-bit signed arithmetic on two zero-extended BYTE / CHAR values, widened
// with its sign. Only CHAR * CHAR can leave 32 bits, and it wraps there.
int64_t Apply32(Op op, uint32_t a, uint32_t b) {
    uint32_t r = 0;
    switch (op) {
    case Op::Add: r = a + b; break;
    case Op::Subtract: r = a - b; break;
    case Op::Multiply: r = a * b; break;
    // Both operands are below 2^16, so unsigned and signed division agree.
    case Op::Divide: r = a / b; break;
    case Op::Remainder: r = a % b; break;
    }
    return static_cast<int32_t>(r);
}

double ApplyDouble(Op op, double a, double b) {
    switch (op) {
    case Op::Add: return a + b;
    case Op::Subtract: return a - b;
    case Op::Multiply: return a * b;
    case Op::Divide: return a / b;
    case Op::Remainder: break;  // no table has a DOUBLE remainder
    }
    return 0.0;
}

// L combined with the low bits of R, modulo 2^bits (BYTE and CHAR results).
uint32_t ApplyNarrow(Op op, uint32_t a, int64_t b, uint32_t mask) {
    const uint32_t low = static_cast<uint32_t>(static_cast<uint64_t>(b)) & mask;
    return (op == Op::Subtract ? a - low : a + low) & mask;
}

// The number of STRING - STRING. Nothing in the system reads it; we give the
// sign of the code-unit comparison (-1, 0 or 1), which at least says whether
// the texts differ and how they order.
int64_t TextDifference(const CString& a, const CString& b) {
    const int c = a.Compare(b);
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

// The text that STRING + R appends: a STRING's text, or one character for a
// BYTE (its code, 0 to 255) or a CHAR. Numbers are never turned into text.
CString AppendedText(const CVariable& r) {
    switch (r.m_eType) {
    case VT_BYTE: return CString(static_cast<char16_t>(r.m_byteValue));
    case VT_CHAR: return CString(r.m_chValue);
    default: return r.m_strValue;
    }
}

CVariable Plain(const plain::Table& table, Op op, const CVariable& l, const CVariable& r) {
    CVariable result;
    const Kind kl = KindOf(l);
    const Kind kr = KindOf(r);
    switch (table.At(kl, kr)) {
    case Result::None:
        break;
    case Result::Double: {
        const double b = DoubleOf(r);
        // -0.0 is a zero divisor, a NaN is not.
        if (IsDivision(op) && b == 0.0) break;
        result.ConstructDouble(ApplyDouble(op, DoubleOf(l), b));
        break;
    }
    case Result::Int: {
        const int64_t b = IntegerOf(r);
        if (IsDivision(op) && b == 0) break;
        if (kl == Kind::Int || kr == Kind::Int)
            result.ConstructInteger(Apply64(op, IntegerOf(l), b));
        else
            result.ConstructInteger(
                Apply32(op, static_cast<uint32_t>(IntegerOf(l)), static_cast<uint32_t>(b)));
        break;
    }
    case Result::Byte:
        result.ConstructByte(static_cast<unsigned char>(ApplyNarrow(op, l.m_byteValue, IntegerOf(r), 0xFFu)));
        break;
    case Result::Char:
        result.ConstructChar(static_cast<char16_t>(ApplyNarrow(op, l.m_chValue, IntegerOf(r), 0xFFFFu)));
        break;
    case Result::String:
        result.ConstructString(l.m_strValue + AppendedText(r));
        break;
    case Result::TextDiff:
        result.ConstructInteger(TextDifference(l.m_strValue, r.m_strValue));
        break;
    }
    return result;
}

// Changes exactly one payload field of l, or nothing; type, name, flags and
// m_timeValue stay as they were.
template <std::size_t Rows, std::size_t Columns>
void InPlaceApply(const PairTable<InPlace, Rows, Columns>& table, Op op, CVariable& l, const CVariable& r) {
    switch (table.At(KindOf(l), KindOf(r))) {
    case InPlace::Nothing:
        break;
    case InPlace::Apply:
    case InPlace::ApplyTruncated:
    case InPlace::ApplyAsDouble:
        if (l.m_eType == VT_DOUBLE) {
            // IEEE 754 throughout: a zero divisor gives an infinity or a NaN.
            l.m_dValue = ApplyDouble(op, l.m_dValue, DoubleOf(r));
        } else {
            const int64_t b = r.m_eType == VT_DOUBLE ? Truncate(r.m_dValue) : IntegerOf(r);
            // An integer zero divisor leaves the target alone: the plain form
            // refuses the pair, and in place a refusal leaves L unchanged.
            if (IsDivision(op) && b == 0) break;
            l.m_nValue = Apply64(op, l.m_nValue, b);
        }
        break;
    case InPlace::Append:
    case InPlace::AppendByte:
    case InPlace::AppendChar:
        l.m_strValue += AppendedText(r);
        break;
    case InPlace::AppendVarBind: {
        // CSnmpPdu::operator+= takes a non-const var-bind; R must not change.
        CSnmpVarBind vb = r.m_vbValue;
        l.m_pduValue += vb;
        break;
    }
    }
}

}  // namespace

CVariable CVariable::operator+(const CVariable& other) const { return Plain(plain::kAdd, Op::Add, *this, other); }

CVariable CVariable::operator-(const CVariable& other) const {
    return Plain(plain::kSubtract, Op::Subtract, *this, other);
}

CVariable CVariable::operator*(const CVariable& other) const {
    return Plain(plain::kMultiplyDivide, Op::Multiply, *this, other);
}

CVariable CVariable::operator/(const CVariable& other) const {
    return Plain(plain::kMultiplyDivide, Op::Divide, *this, other);
}

CVariable CVariable::operator%(const CVariable& other) const {
    return Plain(plain::kRemainder, Op::Remainder, *this, other);
}

CVariable& CVariable::operator+=(const CVariable& other) {
    InPlaceApply(inplace::kAdd, Op::Add, *this, other);
    return *this;
}

CVariable& CVariable::operator-=(const CVariable& other) {
    InPlaceApply(inplace::kSubtractMultiplyDivide, Op::Subtract, *this, other);
    return *this;
}

CVariable& CVariable::operator*=(const CVariable& other) {
    InPlaceApply(inplace::kSubtractMultiplyDivide, Op::Multiply, *this, other);
    return *this;
}

CVariable& CVariable::operator/=(const CVariable& other) {
    InPlaceApply(inplace::kSubtractMultiplyDivide, Op::Divide, *this, other);
    return *this;
}

CVariable& CVariable::operator%=(const CVariable& other) {
    InPlaceApply(inplace::kRemainder, Op::Remainder, *this, other);
    return *this;
}
