// Comparison operators of CVariable: == != < <= > >=.
//
// Equality is total: the pairs it knows go by value, every other pair by the
// text of both operands, so that STRING "5" equals INT 5. Ordering is partial:
// a fixed set of pairs has an order, every other pair answers 0 to all four
// operators, and ordering never formats text (CVariableArray::Sort relies on
// that). The two tables below say which way each pair takes.
//
// Every way yields a std::partial_ordering; "unordered" stands for both a NaN
// in a double comparison and a pair without an order, and makes all four
// ordering operators and operator== answer 0, which is the behaviour wanted.
#include "varlib/values/Variable.h"

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>

namespace {

enum class Kind : unsigned char { Int, Double, String, Byte, Char, Time, Other };

Kind KindOf(const CVariable& v) {
    switch (v.m_eType) {
    case VT_INT: return Kind::Int;
    case VT_DOUBLE: return Kind::Double;
    case VT_STRING: return Kind::String;
    case VT_BYTE: return Kind::Byte;
    case VT_CHAR: return Kind::Char;
    case VT_TIME: return Kind::Time;
    default: return Kind::Other;
    }
}

enum class Way : unsigned char {
    N,     // exact integers: BYTE / CHAR zero-extended, INT signed, TIME its seconds
    D,     // doubles; a NaN on either side makes every comparison false
    S,     // CString::Compare of the two STRING payloads
    T,     // CString::Compare of ToString(0) of each operand
    Zero,  // no order: the answer is 0 whatever the values
};

constexpr Way N = Way::N, D = Way::D, S = Way::S, T = Way::T, O = Way::Zero;

// operator== (and so operator!=). BYTE with CHAR goes by text on purpose: both
// print as the character of their code, so the codes are still compared.
constexpr std::array<std::array<Way, 7>, 7> kEquality{{
    //           INT DOUBLE STRING BYTE CHAR TIME other
    /* INT    */ {N,  D,     T,     N,   N,   T,   T},
    /* DOUBLE */ {D,  D,     T,     D,   D,   T,   T},
    /* STRING */ {T,  T,     S,     T,   T,   T,   T},
    /* BYTE   */ {N,  D,     T,     N,   T,   T,   T},
    /* CHAR   */ {N,  D,     T,     T,   N,   T,   T},
    /* TIME   */ {T,  T,     T,     T,   T,   N,   T},
    /* other  */ {T,  T,     T,     T,   T,   T,   T},
}};

// operator<, operator<=, operator> and operator>=. TIME has no row or column of
// its own here: it is other, so two TIME values have no order.
constexpr std::array<std::array<Way, 6>, 6> kOrdering{{
    //           INT DOUBLE STRING BYTE CHAR other
    /* INT    */ {N,  D,     O,     N,   N,   O},
    /* DOUBLE */ {D,  D,     O,     O,   O,   O},
    /* STRING */ {O,  O,     S,     O,   O,   O},
    /* BYTE   */ {N,  O,     O,     N,   N,   O},
    /* CHAR   */ {N,  O,     O,     N,   N,   O},
    /* other  */ {O,  O,     O,     O,   O,   O},
}};

Way EqualityWay(const CVariable& l, const CVariable& r) {
    return kEquality[static_cast<std::size_t>(KindOf(l))][static_cast<std::size_t>(KindOf(r))];
}

// The ordering table's last row and column, other, take TIME too.
constexpr std::size_t kOrderingOther = 5;

std::size_t OrderingIndex(Kind kind) {
    return kind == Kind::Time || kind == Kind::Other ? kOrderingOther : static_cast<std::size_t>(kind);
}

Way OrderingWay(const CVariable& l, const CVariable& r) {
    return kOrdering[OrderingIndex(KindOf(l))][OrderingIndex(KindOf(r))];
}

// Way N: INT, BYTE, CHAR and TIME all fit into a signed 64-bit number.
int64_t IntegerOf(const CVariable& v) {
    switch (v.m_eType) {
    case VT_BYTE: return v.m_byteValue;
    case VT_CHAR: return v.m_chValue;
    case VT_TIME: return v.m_timeValue.GetTime();
    default: return v.m_nValue;
    }
}

// Way D.
double DoubleOf(const CVariable& v) {
    return v.m_eType == VT_DOUBLE ? v.m_dValue : static_cast<double>(IntegerOf(v));
}

std::partial_ordering TextOrder(const CString& a, const CString& b) { return a.Compare(b) <=> 0; }

std::partial_ordering Compare(Way way, const CVariable& l, const CVariable& r) {
    switch (way) {
    case Way::N: return IntegerOf(l) <=> IntegerOf(r);
    case Way::D: return DoubleOf(l) <=> DoubleOf(r);
    case Way::S: return TextOrder(l.m_strValue, r.m_strValue);
    // The text of an ARRAY is built from an explicit work list, so deep nesting
    // doesn't reach the call stack here. A TIME outside the local-time range
    // throws from ToString, and that passes through to the caller.
    case Way::T: return TextOrder(l.ToString(0), r.ToString(0));
    case Way::Zero: break;
    }
    return std::partial_ordering::unordered;
}

std::partial_ordering Order(const CVariable& l, const CVariable& r) { return Compare(OrderingWay(l, r), l, r); }

}  // namespace

int CVariable::operator==(const CVariable& other) const {
    return Compare(EqualityWay(*this, other), *this, other) == 0 ? 1 : 0;
}

int CVariable::operator!=(const CVariable& other) const { return *this == other ? 0 : 1; }

int CVariable::operator<(const CVariable& other) const { return Order(*this, other) < 0 ? 1 : 0; }

int CVariable::operator<=(const CVariable& other) const { return Order(*this, other) <= 0 ? 1 : 0; }

int CVariable::operator>(const CVariable& other) const { return Order(*this, other) > 0 ? 1 : 0; }

int CVariable::operator>=(const CVariable& other) const { return Order(*this, other) >= 0 ? 1 : 0; }
