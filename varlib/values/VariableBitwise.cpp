// Bitwise, logical and shift operators of CVariable: & | && || << >>.
//
// As in the arithmetic, the pair of operand types decides, cell by cell in the
// tables below; every supported pair gives an INT. The set is complete as it
// stands: no exclusive or, no complement, no not, no in-place forms.
//
// Shifts are done on unsigned integers with the count reduced first, so that
// no count reaches the width of the shifted type and nothing is undefined.
#include "varlib/values/Variable.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace {

// Rows and columns of the tables; DOUBLE, STRING and every other type are Other.
enum class Kind : unsigned char { Int, Byte, Char, Other };
constexpr std::size_t kKinds = 4;

Kind KindOf(const CVariable& v) {
    switch (v.m_eType) {
    case VT_INT: return Kind::Int;
    case VT_BYTE: return Kind::Byte;
    case VT_CHAR: return Kind::Char;
    default: return Kind::Other;
    }
}

// A cell says whether the pair gives an INT or a default-constructed UNDEFINED.
enum class Cell : unsigned char { None, Int };
using Table = std::array<std::array<Cell, kKinds>, kKinds>;

constexpr Cell x = Cell::None, I = Cell::Int;

// operator& and operator|.
constexpr Table kBitwise{{
    //          INT BYTE CHAR other
    /* INT   */ {I,  I,   I,   x},
    /* BYTE  */ {I,  I,   I,   x},
    /* CHAR  */ {I,  I,   I,   x},
    /* other */ {x,  x,   x,   x},
}};

// operator&& and operator||: INT with INT only; BYTE and CHAR count as other.
constexpr Table kLogical{{
    //          INT BYTE CHAR other
    /* INT   */ {I,  x,   x,   x},
    /* BYTE  */ {x,  x,   x,   x},
    /* CHAR  */ {x,  x,   x,   x},
    /* other */ {x,  x,   x,   x},
}};

// operator<< and operator>>: the count must be an INT.
constexpr Table kShift{{
    //          INT BYTE CHAR other
    /* INT   */ {I,  x,   x,   x},
    /* BYTE  */ {I,  x,   x,   x},
    /* CHAR  */ {I,  x,   x,   x},
    /* other */ {x,  x,   x,   x},
}};

bool Supported(const Table& table, const CVariable& l, const CVariable& r) {
    return table[static_cast<std::size_t>(KindOf(l))][static_cast<std::size_t>(KindOf(r))] == Cell::Int;
}

// The payload of an INT, BYTE or CHAR as 64 bits; BYTE and CHAR zero-extended.
// Zero-extension makes the 64-bit and the narrow bit operations agree, so one
// routine serves every cell of & and |.
uint64_t BitsOf(const CVariable& v) {
    switch (v.m_eType) {
    case VT_BYTE: return v.m_byteValue;
    case VT_CHAR: return v.m_chValue;
    default: return static_cast<uint64_t>(v.m_nValue);
    }
}

enum class Direction : unsigned char { Left, Right };

// An INT shifts over 64 bits by the low 8 bits of the count (0 to 255); from
// 64 on, every bit has gone out.
int64_t ShiftInt(int64_t value, int64_t count, Direction direction) {
    const unsigned n = static_cast<unsigned>(static_cast<uint64_t>(count) & 0xFFu);
    if (direction == Direction::Left)
        return n < 64 ? static_cast<int64_t>(static_cast<uint64_t>(value) << n) : 0;
    if (n < 64) return value >> n;  // arithmetic: C++20 defines >> on negative values
    return value < 0 ? -1 : 0;
}

// A BYTE or CHAR shifts over 32 bits by the low 5 bits of the count. Left, the
// 32-bit result is taken as signed, so bit 31 makes it negative; right, the
// shift is logical on the zero-extended value.
int64_t ShiftNarrow(uint32_t value, int64_t count, Direction direction) {
    const unsigned n = static_cast<unsigned>(static_cast<uint64_t>(count) & 0x1Fu);
    if (direction == Direction::Left) return static_cast<int32_t>(value << n);
    return value >> n;
}

CVariable Shift(const CVariable& l, const CVariable& r, Direction direction) {
    CVariable result;
    if (!Supported(kShift, l, r)) return result;
    if (l.m_eType == VT_INT)
        result.ConstructInteger(ShiftInt(l.m_nValue, r.m_nValue, direction));
    else
        result.ConstructInteger(ShiftNarrow(static_cast<uint32_t>(BitsOf(l)), r.m_nValue, direction));
    return result;
}

}  // namespace

CVariable CVariable::operator&(const CVariable& other) const {
    CVariable result;
    if (Supported(kBitwise, *this, other)) result.ConstructInteger(static_cast<int64_t>(BitsOf(*this) & BitsOf(other)));
    return result;
}

CVariable CVariable::operator|(const CVariable& other) const {
    CVariable result;
    if (Supported(kBitwise, *this, other)) result.ConstructInteger(static_cast<int64_t>(BitsOf(*this) | BitsOf(other)));
    return result;
}

CVariable CVariable::operator&&(const CVariable& other) const {
    CVariable result;
    if (Supported(kLogical, *this, other)) result.ConstructInteger(m_nValue != 0 && other.m_nValue != 0 ? 1 : 0);
    return result;
}

CVariable CVariable::operator||(const CVariable& other) const {
    CVariable result;
    if (Supported(kLogical, *this, other)) result.ConstructInteger(m_nValue != 0 || other.m_nValue != 0 ? 1 : 0);
    return result;
}

CVariable CVariable::operator<<(const CVariable& other) const { return Shift(*this, other, Direction::Left); }

CVariable CVariable::operator>>(const CVariable& other) const { return Shift(*this, other, Direction::Right); }
