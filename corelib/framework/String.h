// CString: the wide string of every interface of the platform.
//
// A value type over UTF-16 code units (char16_t). Lengths, positions and
// comparisons count code units, as the platform always has. One pointer wide:
// copies share one counted buffer and the first change to a copy gives it a
// private one (copy on write). An empty string holds no buffer. One object
// belongs to one thread at a time, but copies of one text may be read and
// changed on different threads at once.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
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

// The text of a non-empty CString: one block, the code units after the counts.
struct StringBuffer {
    uint32_t length;                 // code units, without the terminator
    uint32_t capacity;               // code units the tail holds, without the terminator
    std::atomic<uint32_t> refs;      // CString objects sharing this block
    char16_t text[];                 // length code units, then 0
};

}  // namespace tw::detail

class CString {
public:
    CString() = default;
    CString(const char16_t* text);            // zero-terminated UTF-16; null is empty
    CString(const char* utf8);                // read as UTF-8; bad sequences become U+FFFD
    CString(const std::u16string& text);
    CString(std::u16string&& text);
    CString(std::u16string_view text);
    CString(const char16_t* text, int nLength);
    explicit CString(char16_t ch, int nRepeat = 1);
    // Copies share the buffer: no allocation, no copy of the text.
    CString(const CString& other) noexcept : m_p(other.m_p) { AddRef(m_p); }
    CString(CString&& other) noexcept : m_p(other.m_p) { other.m_p = nullptr; }
    ~CString() { Release(m_p); }
    CString& operator=(const CString& other) noexcept {
        AddRef(other.m_p);
        Release(m_p);
        m_p = other.m_p;
        return *this;
    }
    CString& operator=(CString&& other) noexcept {
        if (this != &other) {
            Release(m_p);
            m_p = other.m_p;
            other.m_p = nullptr;
        }
        return *this;
    }
    CString& operator=(const char16_t* text);
    CString& operator=(char16_t ch);

    // Zero-terminated code units; valid until the string next changes.
    operator const char16_t*() const { return m_p ? m_p->text : u""; }

    int GetLength() const { return m_p ? static_cast<int>(m_p->length) : 0; }
    int IsEmpty() const { return m_p ? 0 : 1; }
    // Out of range: CInvalidArgException.
    char16_t GetAt(int nIndex) const;
    char16_t operator[](int nIndex) const { return GetAt(nIndex); }
    void SetAt(int nIndex, char16_t ch);
    // <0, 0, >0 comparing code unit by code unit.
    int Compare(const char16_t* other) const;
    // The same, with ASCII letters folded to lower case.
    int CompareNoCase(const char16_t* other) const;

    bool operator==(const CString& other) const { return m_p == other.m_p || View() == other.View(); }
    bool operator==(const char16_t* other) const;
    bool operator!=(const CString& other) const { return !(*this == other); }
    bool operator!=(const char16_t* other) const { return !(*this == other); }
    bool operator<(const CString& other) const { return View() < other.View(); }
    bool operator<(const char16_t* other) const { return Compare(other) < 0; }
    bool operator>(const CString& other) const { return other.View() < View(); }
    bool operator<=(const CString& other) const { return !(other.View() < View()); }
    bool operator>=(const CString& other) const { return !(View() < other.View()); }

    CString& operator+=(const CString& other);
    CString& operator+=(const char16_t* other);
    CString& operator+=(char16_t ch) {
        Splice(static_cast<std::size_t>(GetLength()), 0, &ch, 1);
        return *this;
    }

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
    void Empty() {
        Release(m_p);
        m_p = nullptr;
    }

    // Type-safe printf: %s %d %i %u %x %X %o %I64d %ld %lld %f %e %g %c %%, with flags,
    // width and precision. Numbers come out as C's printf writes them; an integer
    // argument keeps its own width (a 64-bit value under %d is not cut to 32 bits).
    // A conversion without an argument left writes nothing.
    template <class... Args>
    void Format(const char16_t* format, const Args&... args) {
        const std::array<tw::detail::FormatArg, sizeof...(Args)> list{MakeFormatArg(args)...};
        FormatList(format, list.data(), list.size(), false);
    }
    template <class... Args>
    void AppendFormat(const char16_t* format, const Args&... args) {
        const std::array<tw::detail::FormatArg, sizeof...(Args)> list{MakeFormatArg(args)...};
        FormatList(format, list.data(), list.size(), true);
    }

    // Appends nLength code units of text, which may lie in this string: how a
    // writer builds a long text piece by piece, without a terminator per piece.
    void Append(const char16_t* text, int nLength) {
        if (text && nLength > 0) Splice(static_cast<std::size_t>(GetLength()), 0, text, static_cast<std::size_t>(nLength));
    }
    void Append(std::u16string_view text) {
        if (!text.empty()) Splice(static_cast<std::size_t>(GetLength()), 0, text.data(), text.size());
    }

    // Access to the code units for modern code; the view lives as long as the pointer above.
    std::u16string Str() const { return std::u16string(View()); }
    std::u16string_view View() const {
        return m_p ? std::u16string_view(m_p->text, m_p->length) : std::u16string_view();
    }
    // The text as UTF-8; an unpaired surrogate becomes U+FFFD.
    std::string ToUtf8() const;
    // Appends the UTF-8 form of text to out, as ToUtf8 writes it: a lone
    // surrogate becomes U+FFFD.
    static void AppendUtf8(std::string& out, std::u16string_view text);
    // Writes the same UTF-8 form at out, which has room for three bytes a
    // code unit; returns the end of what it wrote.
    static char* WriteUtf8(char* out, std::u16string_view text);
    // Reads UTF-8; each bad sequence becomes one U+FFFD.
    static CString FromUtf8(std::string_view utf8);
    // The decimal text of n >= 0, as Format(u"%u", n) writes it: the index
    // of an array's element n. Below kKeptDecimals each n has one text kept
    // for the life of the process, so that the many elements stored under
    // "0", "1", ... share it and their copies and releases count nothing.
    static constexpr unsigned int kKeptDecimals = 4096;
    static CString Decimal(unsigned int n);

private:
    using Buffer = tw::detail::StringBuffer;

    // A count with this bit is a kept text (Decimal): never counted, never
    // freed, and never 1, so every change copies it first.
    static constexpr uint32_t kKept = 0x80000000u;
    static void AddRef(Buffer* p) noexcept {
        if (p && !(p->refs.load(std::memory_order_relaxed) & kKept)) p->refs.fetch_add(1, std::memory_order_relaxed);
    }
    // The last owner frees the block; a count of 1 is ours alone, so no one can
    // raise it meanwhile and the decrement can be skipped.
    static void Release(Buffer* p) noexcept {
        if (!p) return;
        const uint32_t refs = p->refs.load(std::memory_order_acquire);
        if (!(refs & kKept) && (refs == 1 || p->refs.fetch_sub(1, std::memory_order_acq_rel) == 1)) Free(p);
    }
    static void Free(Buffer* p) noexcept;
    static Buffer* Allocate(std::size_t capacity);
    // A new buffer holding just the n code units of text (n > 0).
    static Buffer* Copy(const char16_t* text, std::size_t n);
    // Takes over b, holding length code units (0: b is freed and the string is empty).
    void Adopt(Buffer* b, std::size_t length) noexcept;
    // The text, private to this object (copied first when shared); not for an empty string.
    char16_t* MakeUnique();
    // Replaces count code units at pos by n code units of text: every edit of the
    // length goes through here. Text may point into this string. Inline, so that
    // appending a character costs a few instructions.
    void Splice(std::size_t pos, std::size_t count, const char16_t* text, std::size_t n) {
        Buffer* const old = m_p;
        const std::size_t length = old ? old->length : 0, newLength = length - count + n;
        // In place when the buffer is ours, the result fits and is not empty (newLength - 1
        // wraps at 0), and the text is not from this buffer (an edit in place could
        // overwrite it before reading it).
        const std::less_equal<const char16_t*> le{};
        if (old && newLength - 1 < old->capacity && old->refs.load(std::memory_order_acquire) == 1 &&
            !(n && le(old->text, text) && le(text, old->text + old->capacity))) {
            char16_t* t = old->text;
            if (pos + count != length && n != count)
                std::char_traits<char16_t>::move(t + pos + n, t + pos + count, length - pos - count);
            if (n == 1)
                t[pos] = *text;
            else
                std::char_traits<char16_t>::copy(t + pos, text, n);
            t[newLength] = 0;
            old->length = static_cast<uint32_t>(newLength);
        } else if (count || n) {  // no change: a shared buffer stays shared
            Reallocate(pos, count, text, n);
        }
    }
    // Splice into a new buffer, the old one released after the copy.
    void Reallocate(std::size_t pos, std::size_t count, const char16_t* text, std::size_t n);
    // Maps each code unit, making the buffer private only when one changes.
    void MapUnits(char16_t (*map)(char16_t));
    void Assign(const char16_t* text, std::size_t n) { Splice(0, static_cast<std::size_t>(GetLength()), text, n); }
    void FormatList(const char16_t* format, const tw::detail::FormatArg* args, std::size_t count, bool append);

    static tw::detail::FormatArg MakeFormatArg(const CString& s) {
        tw::detail::FormatArg a;
        a.kind = tw::detail::FormatArg::Kind::Text16;
        a.text16 = s;
        a.length = static_cast<std::size_t>(s.GetLength());
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

    Buffer* m_p = nullptr;
};

// Every value of the library holds several strings: one pointer keeps them small.
static_assert(sizeof(CString) == sizeof(void*));

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
    std::size_t operator()(const CString& s) const noexcept { return std::hash<std::u16string_view>{}(s.View()); }
};
