// CString: the wide string of every interface of the platform.
//
// A value type over UTF-16 code units (char16_t). Lengths, positions and
// comparisons count code units, as the platform always has. An empty string
// allocates nothing. Not thread-safe: one object belongs to one thread at a
// time, copies are independent.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>

namespace tw::detail {

// One argument of CString::Format, reduced to what printf needs to know.
struct FormatArg {
    enum class Kind : unsigned char { Signed, Unsigned, Double, Char, Text16, Text8 };
    Kind kind = Kind::Signed;
    unsigned char bytes = 4;        // width of an integer argument, for %u and %x of negatives
    int64_t i = 0;
    uint64_t u = 0;
    double d = 0.0;
    const char16_t* text16 = nullptr;
    std::size_t length = 0;         // of text16 or text8, in code units
    const char* text8 = nullptr;
};

}  // namespace tw::detail

class CString {
public:
    CString() = default;
    CString(const char16_t* text);            // zero-terminated UTF-16; null is empty
    CString(const char* utf8);                // read as UTF-8; bad sequences become U+FFFD
    CString(const std::u16string& text);
    CString(std::u16string&& text) noexcept;
    CString(std::u16string_view text);
    CString(const char16_t* text, int nLength);
    explicit CString(char16_t ch, int nRepeat = 1);
    CString(const CString&) = default;
    CString(CString&&) noexcept = default;
    ~CString() = default;
    CString& operator=(const CString&) = default;
    CString& operator=(CString&&) noexcept = default;
    CString& operator=(const char16_t* text);
    CString& operator=(char16_t ch);

    // Zero-terminated code units; valid until the string next changes.
    operator const char16_t*() const { return m_str.c_str(); }

    int GetLength() const { return static_cast<int>(m_str.size()); }
    int IsEmpty() const { return m_str.empty() ? 1 : 0; }
    // Out of range: CInvalidArgException.
    char16_t GetAt(int nIndex) const;
    char16_t operator[](int nIndex) const { return GetAt(nIndex); }
    void SetAt(int nIndex, char16_t ch);
    // <0, 0, >0 comparing code unit by code unit.
    int Compare(const char16_t* other) const;
    // The same, with ASCII letters folded to lower case.
    int CompareNoCase(const char16_t* other) const;

    bool operator==(const CString& other) const { return m_str == other.m_str; }
    bool operator==(const char16_t* other) const;
    bool operator!=(const CString& other) const { return m_str != other.m_str; }
    bool operator!=(const char16_t* other) const { return !(*this == other); }
    bool operator<(const CString& other) const { return m_str < other.m_str; }
    bool operator<(const char16_t* other) const { return Compare(other) < 0; }
    bool operator>(const CString& other) const { return other.m_str < m_str; }
    bool operator<=(const CString& other) const { return !(other.m_str < m_str); }
    bool operator>=(const CString& other) const { return !(m_str < other.m_str); }

    CString& operator+=(const CString& other);
    CString& operator+=(const char16_t* other);
    CString& operator+=(char16_t ch);

    // Position of the first match at or after nStart, or -1.
    int Find(char16_t ch, int nStart = 0) const;
    int Find(const char16_t* sub, int nStart = 0) const;
    // Position of the last occurrence of ch, or -1.
    int ReverseFind(char16_t ch) const;
    // Position of the first code unit that is in charSet, or -1.
    int FindOneOf(const char16_t* charSet) const;
    // Replaces every non-overlapping occurrence; returns how many. An empty oldText replaces nothing.
    int Replace(const char16_t* oldText, const char16_t* newText);
    int Replace(char16_t oldCh, char16_t newCh);
    // Removes every occurrence of ch; returns how many.
    int Remove(char16_t ch);
    // Inserts at nIndex (clamped to the string); returns the new length.
    int Insert(int nIndex, const char16_t* text);
    int Insert(int nIndex, char16_t ch);
    // Deletes up to nCount code units from nIndex; returns the new length.
    int Delete(int nIndex, int nCount = 1);
    // Sub-strings; out-of-range arguments are clamped, as the platform does.
    CString Mid(int nFirst) const;
    CString Mid(int nFirst, int nCount) const;
    CString Left(int nCount) const;
    CString Right(int nCount) const;
    // Trimming: without an argument, white space (space, \t \n \v \f \r).
    CString& TrimRight();
    CString& TrimRight(const char16_t* charSet);
    CString& TrimRight(char16_t ch);
    CString& TrimLeft();
    CString& TrimLeft(const char16_t* charSet);
    CString& TrimLeft(char16_t ch);
    CString& Trim();
    // ASCII case mapping; other code units are left alone.
    CString& MakeUpper();
    CString& MakeLower();
    void Empty() { m_str.clear(); m_str.shrink_to_fit(); }

    // Type-safe printf: %s %d %i %u %x %X %o %I64d %ld %lld %f %e %g %c %%, with flags,
    // width and precision. Numbers come out as C's printf writes them; an integer
    // argument keeps its own width (a 64-bit value under %d is not cut to 32 bits).
    // A conversion without an argument left writes nothing.
    template <class... Args>
    void Format(const char16_t* format, const Args&... args) {
        const std::array<tw::detail::FormatArg, sizeof...(Args)> list{MakeFormatArg(args)...};
        FormatList(format, list.data(), list.size());
    }
    template <class... Args>
    void AppendFormat(const char16_t* format, const Args&... args) {
        CString tail;
        tail.Format(format, args...);
        *this += tail;
    }

    // Access to the code units for modern code.
    const std::u16string& Str() const { return m_str; }
    std::u16string_view View() const { return m_str; }
    // The text as UTF-8; an unpaired surrogate becomes U+FFFD.
    std::string ToUtf8() const;
    // Reads UTF-8; each bad sequence becomes one U+FFFD.
    static CString FromUtf8(std::string_view utf8);

private:
    void FormatList(const char16_t* format, const tw::detail::FormatArg* args, std::size_t count);

    static tw::detail::FormatArg MakeFormatArg(const CString& s) {
        tw::detail::FormatArg a;
        a.kind = tw::detail::FormatArg::Kind::Text16;
        a.text16 = s.m_str.c_str();
        a.length = s.m_str.size();
        return a;
    }
    static tw::detail::FormatArg MakeFormatArg(const std::u16string& s) {
        tw::detail::FormatArg a;
        a.kind = tw::detail::FormatArg::Kind::Text16;
        a.text16 = s.c_str();
        a.length = s.size();
        return a;
    }
    static tw::detail::FormatArg MakeFormatArg(const char16_t* s) {
        tw::detail::FormatArg a;
        a.kind = tw::detail::FormatArg::Kind::Text16;
        a.text16 = s ? s : u"";
        a.length = std::char_traits<char16_t>::length(a.text16);
        return a;
    }
    static tw::detail::FormatArg MakeFormatArg(const char* s) {
        tw::detail::FormatArg a;
        a.kind = tw::detail::FormatArg::Kind::Text8;
        a.text8 = s ? s : "";
        a.length = std::char_traits<char>::length(a.text8);
        return a;
    }
    static tw::detail::FormatArg MakeFormatArg(const std::string& s) {
        tw::detail::FormatArg a;
        a.kind = tw::detail::FormatArg::Kind::Text8;
        a.text8 = s.c_str();
        a.length = s.size();
        return a;
    }
    template <std::size_t N>
    static tw::detail::FormatArg MakeFormatArg(const char16_t (&s)[N]) {
        return MakeFormatArg(static_cast<const char16_t*>(s));
    }
    template <std::size_t N>
    static tw::detail::FormatArg MakeFormatArg(const char (&s)[N]) {
        return MakeFormatArg(static_cast<const char*>(s));
    }
    template <class T>
        requires std::is_arithmetic_v<T> || std::is_enum_v<T>
    static tw::detail::FormatArg MakeFormatArg(const T& value) {
        using tw::detail::FormatArg;
        FormatArg a;
        if constexpr (std::is_enum_v<T>) {
            return MakeFormatArg(static_cast<std::underlying_type_t<T>>(value));
        } else if constexpr (std::is_same_v<T, char16_t> || std::is_same_v<T, char> ||
                             std::is_same_v<T, wchar_t>) {
            a.kind = FormatArg::Kind::Char;
            a.u = static_cast<uint64_t>(static_cast<std::make_unsigned_t<T>>(value));
            a.i = static_cast<int64_t>(a.u);
        } else if constexpr (std::is_floating_point_v<T>) {
            a.kind = FormatArg::Kind::Double;
            a.d = static_cast<double>(value);
        } else if constexpr (std::is_signed_v<T>) {
            a.kind = FormatArg::Kind::Signed;
            a.i = static_cast<int64_t>(value);
            a.u = static_cast<uint64_t>(a.i);
            a.bytes = static_cast<unsigned char>(sizeof(T));
        } else {
            a.kind = FormatArg::Kind::Unsigned;
            a.u = static_cast<uint64_t>(value);
            a.i = static_cast<int64_t>(a.u);
            a.bytes = static_cast<unsigned char>(sizeof(T));
        }
        return a;
    }

    std::u16string m_str;
};

CString operator+(const CString& a, const CString& b);
CString operator+(const CString& a, const char16_t* b);
CString operator+(const char16_t* a, const CString& b);
CString operator+(const CString& a, char16_t b);
CString operator+(char16_t a, const CString& b);
CString operator+(CString&& a, const CString& b);
CString operator+(CString&& a, const char16_t* b);
CString operator+(CString&& a, char16_t b);
// Writes the text as UTF-8.
std::ostream& operator<<(std::ostream& os, const CString& s);

template <>
struct std::hash<CString> {
    std::size_t operator()(const CString& s) const noexcept { return std::hash<std::u16string>{}(s.Str()); }
};
