#include "corelib/framework/String.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <type_traits>
#include <functional>
#include <memory_resource>
#include <new>
#include <stdexcept>

#include "corelib/framework/InvalidArgException.h"

namespace {

using Traits = std::char_traits<char16_t>;

constexpr char16_t kReplacement = 0xFFFD;
// Lengths and positions are ints in the interface.
constexpr std::size_t kMaxLength = INT_MAX;

bool IsSpace(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }

bool InSet(char16_t c, const char16_t* set) {
    if (!set) return false;
    for (; *set; ++set)
        if (*set == c) return true;
    return false;
}

char16_t AsciiLower(char16_t c) { return (c >= u'A' && c <= u'Z') ? static_cast<char16_t>(c + 32) : c; }
char16_t AsciiUpper(char16_t c) { return (c >= u'a' && c <= u'z') ? static_cast<char16_t>(c - 32) : c; }

// Clamps a position to [0, size].
std::size_t Clamp(int n, std::size_t size) {
    if (n < 0) return 0;
    return std::min(static_cast<std::size_t>(n), size);
}

// Writes the UTF-8 form of cp at out; returns the end.
char* WriteUtf8(char* out, char32_t cp) {
    if (cp < 0x80) {
        *out++ = static_cast<char>(cp);
    } else if (cp < 0x800) {
        *out++ = static_cast<char>(0xC0 | (cp >> 6));
        *out++ = static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        *out++ = static_cast<char>(0xE0 | (cp >> 12));
        *out++ = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        *out++ = static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        *out++ = static_cast<char>(0xF0 | (cp >> 18));
        *out++ = static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        *out++ = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        *out++ = static_cast<char>(0x80 | (cp & 0x3F));
    }
    return out;
}

bool IsHighSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool IsLowSurrogate(char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

// The number of leading code units (UTF-16 or UTF-8) below 0x80, found
// sixteen bytes at a time: text is nearly all ASCII, and the conversions
// copy such runs by the block.
template <class Unit>
std::size_t AsciiRun(const Unit* p, std::size_t n) {
    constexpr std::size_t kBlock = 16 / sizeof(Unit);
    constexpr uint64_t kHigh = sizeof(Unit) == 2 ? 0xFF80FF80FF80FF80ull : 0x8080808080808080ull;
    std::size_t i = 0;
    for (; i + kBlock <= n; i += kBlock) {
        uint64_t a, b;
        std::memcpy(&a, p + i, 8);
        std::memcpy(&b, p + i + kBlock / 2, 8);
        if ((a | b) & kHigh) break;
    }
    while (i < n && static_cast<std::make_unsigned_t<Unit>>(p[i]) < 0x80) ++i;
    return i;
}

// Decodes UTF-8 after the maximal-subpart rule: each ill-formed sequence (an
// invalid lead byte, or the longest valid prefix of a broken sequence) becomes
// one U+FFFD, as the Unicode standard recommends. Writes at most in.size()
// code units to out; returns how many.
std::size_t DecodeUtf8(std::string_view in, char16_t* out) {
    char16_t* const begin = out;
    std::size_t i = 0;
    const std::size_t n = in.size();
    while (i < n) {
        const unsigned char b0 = static_cast<unsigned char>(in[i]);
        if (b0 < 0x80) {
            // Short texts (names, numbers) go a byte at a time, as before.
            const std::size_t run = n - i < 16 ? 1 : AsciiRun(in.data() + i, n - i);
            for (std::size_t k = 0; k < run; ++k)
                out[k] = static_cast<char16_t>(static_cast<unsigned char>(in[i + k]));
            out += run;
            i += run;
            continue;
        }
        int need = 0;
        char32_t cp = 0;
        unsigned char lo = 0x80, hi = 0xBF;
        if (b0 >= 0xC2 && b0 <= 0xDF) {
            need = 1;
            cp = b0 & 0x1F;
        } else if (b0 >= 0xE0 && b0 <= 0xEF) {
            need = 2;
            cp = b0 & 0x0F;
            if (b0 == 0xE0) lo = 0xA0;
            if (b0 == 0xED) hi = 0x9F;  // no encoded surrogates
        } else if (b0 >= 0xF0 && b0 <= 0xF4) {
            need = 3;
            cp = b0 & 0x07;
            if (b0 == 0xF0) lo = 0x90;
            if (b0 == 0xF4) hi = 0x8F;
        } else {
            *out++ = kReplacement;
            ++i;
            continue;
        }
        std::size_t j = i + 1;
        bool ok = true;
        for (int k = 0; k < need; ++k, ++j) {
            if (j >= n) { ok = false; break; }
            const unsigned char b = static_cast<unsigned char>(in[j]);
            const unsigned char l = (k == 0) ? lo : 0x80;
            const unsigned char h = (k == 0) ? hi : 0xBF;
            if (b < l || b > h) { ok = false; break; }
            cp = (cp << 6) | (b & 0x3F);
        }
        if (!ok) {
            *out++ = kReplacement;
            i = j;  // the valid prefix is consumed as one bad sequence
            continue;
        }
        if (cp >= 0x10000) {
            cp -= 0x10000;
            *out++ = static_cast<char16_t>(0xD800 + (cp >> 10));
            *out++ = static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
        } else {
            *out++ = static_cast<char16_t>(cp);
        }
        i = j;
    }
    return static_cast<std::size_t>(out - begin);
}

// The length of the UTF-8 form: a unit below 0x80 is one byte, below 0x800
// two, a surrogate pair four, anything else (a lone surrogate too, which
// becomes U+FFFD) three.
std::size_t Utf8Length(std::u16string_view in) {
    std::size_t n = in.size();
    for (std::size_t i = 0; i < in.size(); ++i) {
        const char16_t c = in[i];
        if (c < 0x80) {
            i += AsciiRun(in.data() + i, in.size() - i) - 1;
            continue;
        }
        if (c < 0x800) {
            n += 1;
        } else if (IsHighSurrogate(c) && i + 1 < in.size() && IsLowSurrogate(in[i + 1])) {
            n += 2;
            ++i;
        } else {
            n += 2;
        }
    }
    return n;
}

// One pass to size the result, one to write it, behind what out holds.
void EncodeUtf8(std::string& out, std::u16string_view in) {
    const std::size_t start = out.size();
    out.resize(start + Utf8Length(in));
    CString::WriteUtf8(out.data() + start, in);
}

}  // namespace

char* CString::WriteUtf8(char* p, std::u16string_view in) {
    for (std::size_t i = 0; i < in.size(); ++i) {
        const char16_t c = in[i];
        if (c < 0x80) {
            const std::size_t run = in.size() - i < 8 ? 1 : AsciiRun(in.data() + i, in.size() - i);
            for (std::size_t k = 0; k < run; ++k)
                p[k] = static_cast<char>(in[i + k]);
            p += run;
            i += run - 1;
        } else if (IsHighSurrogate(c) && i + 1 < in.size() && IsLowSurrogate(in[i + 1])) {
            const char32_t cp = 0x10000 + ((static_cast<char32_t>(c) - 0xD800) << 10) + (in[i + 1] - 0xDC00);
            p = ::WriteUtf8(p, cp);
            ++i;
        } else if (c >= 0xD800 && c <= 0xDFFF) {
            p = ::WriteUtf8(p, kReplacement);  // unpaired surrogate
        } else {
            p = ::WriteUtf8(p, c);
        }
    }
    return p;
}

namespace {

// The formatter's text: on the stack up to a size that holds nearly every
// result, so that a Format allocates only the string's own buffer.
using FormatText = std::pmr::u16string;

FormatText DecodeUtf8(std::string_view in, std::pmr::memory_resource* memory) {
    FormatText out(in.size(), u'\0', memory);
    out.resize(DecodeUtf8(in, out.data()));
    return out;
}

// One conversion of a format: %[flags][width][.precision][length]conv.
struct Conversion {
    std::string flags;
    int width = -1;          // -1: none; -2: '*' not supported, treated as none
    int precision = -1;
    char conv = 0;
};

// Writes an integer or double through snprintf with the conversion's flags.
std::string Printf(const Conversion& cv, const char* length, char conv, auto value) {
    std::string fmt(1, '%');
    fmt.append(cv.flags);
    if (cv.width >= 0) fmt.append(std::to_string(cv.width));
    if (cv.precision >= 0) {
        fmt.push_back('.');
        fmt.append(std::to_string(cv.precision));
    }
    fmt.append(length);
    fmt.push_back(conv);
    char small[128];
    const int n = std::snprintf(small, sizeof small, fmt.c_str(), value);
    if (n < 0) return {};
    if (static_cast<std::size_t>(n) < sizeof small) return std::string(small, static_cast<std::size_t>(n));
    std::string big(static_cast<std::size_t>(n) + 1, '\0');
    std::snprintf(big.data(), big.size(), fmt.c_str(), value);
    big.resize(static_cast<std::size_t>(n));
    return big;
}

// Pads a text to the conversion's width, left-justified with the '-' flag.
void AppendPadded(FormatText& out, const Conversion& cv, std::u16string_view text) {
    std::size_t len = text.size();
    if (cv.precision >= 0 && static_cast<std::size_t>(cv.precision) < len) len = static_cast<std::size_t>(cv.precision);
    const std::size_t pad = (cv.width > 0 && static_cast<std::size_t>(cv.width) > len)
                                ? static_cast<std::size_t>(cv.width) - len : 0;
    const bool left = cv.flags.find('-') != std::string::npos;
    if (!left) out.append(pad, u' ');
    out.append(text.substr(0, len));
    if (left) out.append(pad, u' ');
}

uint64_t Truncated(uint64_t u, unsigned bytes) {
    return bytes >= 8 ? u : (u & ((uint64_t{1} << (8 * bytes)) - 1));
}

void AppendConversion(FormatText& out, const Conversion& cv, const tw::detail::FormatArg& a) {
    using Kind = tw::detail::FormatArg::Kind;
    switch (cv.conv) {
    case 'd':
    case 'i': {
        int64_t v = a.i;
        if (a.kind == Kind::Double) v = (a.d >= -9.2e18 && a.d <= 9.2e18) ? static_cast<int64_t>(a.d) : 0;
        const std::string s = Printf(cv, "ll", 'd', static_cast<long long>(v));
        out.append(s.begin(), s.end());
        return;
    }
    case 'u':
    case 'x':
    case 'X':
    case 'o': {
        // A negative integer shows as the unsigned value of its own width, as printf does.
        uint64_t v = Truncated(a.u, a.kind == Kind::Signed ? a.bytes : 8);
        if (a.kind == Kind::Double) v = (a.d >= 0 && a.d <= 1.8e19) ? static_cast<uint64_t>(a.d) : 0;
        const std::string s = Printf(cv, "ll", cv.conv, static_cast<unsigned long long>(v));
        out.append(s.begin(), s.end());
        return;
    }
    case 'f':
    case 'F':
    case 'e':
    case 'E':
    case 'g':
    case 'G':
    case 'a':
    case 'A': {
        double d = a.d;
        if (a.kind == Kind::Signed || a.kind == Kind::Char) d = static_cast<double>(a.i);
        if (a.kind == Kind::Unsigned) d = static_cast<double>(a.u);
        const std::string s = Printf(cv, "", cv.conv, d);
        out.append(s.begin(), s.end());
        return;
    }
    case 'c': {
        const char16_t ch = static_cast<char16_t>(a.u);
        AppendPadded(out, Conversion{cv.flags, cv.width, -1, 'c'}, std::u16string_view(&ch, 1));
        return;
    }
    case 's': {
        if (a.kind == Kind::Text16) {
            AppendPadded(out, cv, std::u16string_view(a.text16, a.length));
        } else if (a.kind == Kind::Text8) {
            const FormatText wide = DecodeUtf8(std::string_view(a.text8, a.length), out.get_allocator().resource());
            AppendPadded(out, cv, wide);
        } else if (a.kind == Kind::Char) {
            const char16_t ch = static_cast<char16_t>(a.u);
            AppendPadded(out, cv, std::u16string_view(&ch, 1));
        } else {
            // A number under %s: its plain decimal form.
            Conversion plain;
            plain.conv = a.kind == Kind::Double ? 'g' : (a.kind == Kind::Unsigned ? 'u' : 'd');
            FormatText number(out.get_allocator());
            AppendConversion(number, plain, a);
            AppendPadded(out, cv, number);
        }
        return;
    }
    default:
        return;
    }
}

// Code units at the start (or the end) of text for which keep holds.
template <class Pred>
std::size_t Leading(std::u16string_view text, Pred keep) {
    std::size_t i = 0;
    while (i < text.size() && keep(text[i])) ++i;
    return i;
}
template <class Pred>
std::size_t Trailing(std::u16string_view text, Pred keep) {
    std::size_t i = 0;
    while (i < text.size() && keep(text[text.size() - 1 - i])) ++i;
    return i;
}

int Position(std::size_t p) { return p == std::u16string_view::npos ? -1 : static_cast<int>(p); }

}  // namespace

// ---------------------------------------------------------------------------
// The buffer: every change of the text goes through these.

CString::Buffer* CString::Allocate(std::size_t capacity) {
    if (capacity > kMaxLength) throw std::length_error("CString: text too long");
    void* raw = ::operator new(sizeof(Buffer) + (capacity + 1) * sizeof(char16_t));
    return ::new (raw) Buffer{0, static_cast<uint32_t>(capacity), 1};
}

CString CString::Decimal(unsigned int n) {
    const auto digits = [](unsigned int value, char16_t* end) {
        char16_t* first = end;
        do {
            *--first = static_cast<char16_t>(u'0' + value % 10);
            value /= 10;
        } while (value != 0);
        return first;
    };
    if (n >= kKeptDecimals) {
        char16_t text[10];
        const char16_t* first = digits(n, text + 10);
        return CString(first, static_cast<int>(text + 10 - first));
    }
    // Made at the first call, thread-safely, and never freed: they stay
    // reachable through this table.
    static Buffer* const* const kept = [&digits] {
        Buffer** table = new Buffer*[kKeptDecimals];
        for (unsigned int i = 0; i < kKeptDecimals; ++i) {
            char16_t text[10];
            const char16_t* first = digits(i, text + 10);
            table[i] = Copy(first, static_cast<std::size_t>(text + 10 - first));
            table[i]->refs.store(kKept, std::memory_order_relaxed);
        }
        return table;
    }();
    CString s;
    s.m_p = kept[n];
    return s;
}

CString::Buffer* CString::Copy(const char16_t* text, std::size_t n) {
    Buffer* b = Allocate(n);
    Traits::copy(b->text, text, n);
    b->text[n] = 0;
    b->length = static_cast<uint32_t>(n);
    return b;
}

// Unsized: clang without -fsized-deallocation declares no sized operator delete.
void CString::Free(Buffer* p) noexcept {
    p->~Buffer();
    ::operator delete(p);
}

void CString::Adopt(Buffer* b, std::size_t length) noexcept {
    if (b != m_p) Release(m_p);
    if (length == 0) {
        Release(b);  // the empty string holds no buffer
        m_p = nullptr;
        return;
    }
    b->length = static_cast<uint32_t>(length);
    b->text[length] = 0;
    m_p = b;
}

char16_t* CString::MakeUnique() {
    if (m_p->refs.load(std::memory_order_acquire) != 1) {
        Buffer* b = Copy(m_p->text, m_p->length);
        Release(m_p);
        m_p = b;
    }
    return m_p->text;
}

void CString::Reallocate(std::size_t pos, std::size_t count, const char16_t* text, std::size_t n) {
    Buffer* const old = m_p;
    const std::size_t length = old ? old->length : 0;
    if (n > kMaxLength - (length - count)) throw std::length_error("CString: text too long");
    const std::size_t newLength = length - count + n;
    if (newLength == 0) return Empty();
    if (!old) {
        m_p = Copy(text, n);
        return;
    }
    // A private buffer that grows doubles, so that appending stays amortised O(1).
    std::size_t capacity = newLength;
    if (newLength > old->capacity && old->refs.load(std::memory_order_relaxed) == 1)
        capacity = std::max(newLength, std::min(kMaxLength, 2 * std::size_t{old->capacity}));
    Buffer* b = Allocate(capacity);
    Traits::copy(b->text, old->text, pos);
    Traits::copy(b->text + pos + n, old->text + pos + count, length - pos - count);
    Traits::copy(b->text + pos, text, n);
    b->text[newLength] = 0;
    b->length = static_cast<uint32_t>(newLength);
    m_p = b;
    Release(old);  // after the copy: text may be in it
}

void CString::MapUnits(char16_t (*map)(char16_t)) {
    const std::u16string_view text = View();
    std::size_t i = 0;
    while (i < text.size() && map(text[i]) == text[i]) ++i;
    if (i == text.size()) return;  // nothing changes: a shared buffer stays shared
    char16_t* t = MakeUnique();
    for (; i < text.size(); ++i) t[i] = map(t[i]);
}

// ---------------------------------------------------------------------------

CString::CString(const char16_t* text) : CString(text ? std::u16string_view(text) : std::u16string_view()) {}
CString::CString(const char* utf8) : CString(utf8 ? FromUtf8(utf8) : CString()) {}
CString::CString(const std::u16string& text) : CString(std::u16string_view(text)) {}
CString::CString(std::u16string&& text) : CString(std::u16string_view(text)) {}
CString::CString(std::u16string_view text) : m_p(text.empty() ? nullptr : Copy(text.data(), text.size())) {}
CString::CString(const char16_t* text, int nLength)
    : CString(text && nLength > 0 ? std::u16string_view(text, static_cast<std::size_t>(nLength)) : std::u16string_view()) {}
CString::CString(char16_t ch, int nRepeat) {
    if (nRepeat <= 0) return;
    const auto n = static_cast<std::size_t>(nRepeat);
    Buffer* b = Allocate(n);
    Traits::assign(b->text, n, ch);
    Adopt(b, n);
}

CString& CString::operator=(const char16_t* text) {
    if (text)
        Assign(text, Traits::length(text));
    else
        Empty();
    return *this;
}

CString& CString::operator=(char16_t ch) {
    Assign(&ch, 1);
    return *this;
}

char16_t CString::GetAt(int nIndex) const {
    if (nIndex < 0 || nIndex >= GetLength()) throw CInvalidArgException("CString::GetAt: index out of range");
    return m_p->text[nIndex];
}

void CString::SetAt(int nIndex, char16_t ch) {
    if (nIndex < 0 || nIndex >= GetLength()) throw CInvalidArgException("CString::SetAt: index out of range");
    MakeUnique()[nIndex] = ch;
}

int CString::Compare(const char16_t* other) const {
    const std::u16string_view b = other ? std::u16string_view(other) : std::u16string_view();
    const int c = View().compare(b);
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

int CString::CompareNoCase(const char16_t* other) const {
    const std::u16string_view a = View(), b = other ? std::u16string_view(other) : std::u16string_view();
    const std::size_t n = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < n; ++i) {
        const char16_t x = AsciiLower(a[i]), y = AsciiLower(b[i]);
        if (x != y) return x < y ? -1 : 1;
    }
    return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

bool CString::operator==(const char16_t* other) const {
    return other ? View() == std::u16string_view(other) : IsEmpty();
}

CString& CString::operator+=(const CString& other) {
    if (!m_p)
        *this = other;  // nothing to keep: share
    else if (other.m_p)
        Splice(m_p->length, 0, other.m_p->text, other.m_p->length);
    return *this;
}

CString& CString::operator+=(const char16_t* other) {
    if (other) Splice(static_cast<std::size_t>(GetLength()), 0, other, Traits::length(other));
    return *this;
}

int CString::Find(char16_t ch, int nStart) const {
    return Position(View().find(ch, static_cast<std::size_t>(std::max(nStart, 0))));
}

int CString::Find(const char16_t* sub, int nStart) const {
    if (!sub || nStart < 0 || nStart > GetLength()) return -1;
    return Position(View().find(sub, static_cast<std::size_t>(nStart)));
}

int CString::ReverseFind(char16_t ch) const { return Position(View().rfind(ch)); }

int CString::FindOneOf(const char16_t* charSet) const {
    return charSet ? Position(View().find_first_of(charSet)) : -1;
}

int CString::Replace(const char16_t* oldText, const char16_t* newText) {
    if (!oldText || !*oldText) return 0;
    // Both may point into this string: they are read before the old buffer goes.
    const std::u16string_view text = View(), from(oldText), to(newText ? newText : u"");
    std::size_t count = 0;
    for (std::size_t hit = text.find(from); hit != text.npos; hit = text.find(from, hit + from.size())) ++count;
    if (!count) return 0;
    const std::size_t newLength = text.size() - count * from.size() + count * to.size();
    Buffer* b = Allocate(newLength);
    char16_t* out = b->text;
    std::size_t pos = 0;
    for (std::size_t hit; (hit = text.find(from, pos)) != text.npos; pos = hit + from.size()) {
        out = std::copy(text.data() + pos, text.data() + hit, out);
        out = std::copy(to.begin(), to.end(), out);
    }
    std::copy(text.data() + pos, text.data() + text.size(), out);
    Adopt(b, newLength);
    return static_cast<int>(count);
}

int CString::Replace(char16_t oldCh, char16_t newCh) {
    const std::u16string_view text = View();
    const std::size_t first = text.find(oldCh);
    if (first == text.npos) return 0;
    char16_t* t = MakeUnique();
    int count = 0;
    for (std::size_t i = first; i < text.size(); ++i)
        if (t[i] == oldCh) {
            t[i] = newCh;
            ++count;
        }
    return count;
}

int CString::Remove(char16_t ch) {
    const std::size_t length = static_cast<std::size_t>(GetLength()), first = View().find(ch);
    if (first == std::u16string_view::npos) return 0;
    char16_t* t = MakeUnique();
    const std::size_t kept = static_cast<std::size_t>(std::remove(t + first, t + length, ch) - t);
    Adopt(m_p, kept);
    return static_cast<int>(length - kept);
}

int CString::Insert(int nIndex, const char16_t* text) {
    if (text) Splice(Clamp(nIndex, View().size()), 0, text, Traits::length(text));
    return GetLength();
}

int CString::Insert(int nIndex, char16_t ch) {
    Splice(Clamp(nIndex, View().size()), 0, &ch, 1);
    return GetLength();
}

int CString::Delete(int nIndex, int nCount) {
    const std::size_t length = View().size(), from = Clamp(nIndex, length);
    if (nCount > 0) {
        const std::size_t count = std::min(static_cast<std::size_t>(nCount), length - from);
        if (count) Splice(from, count, nullptr, 0);
    }
    return GetLength();
}

// A sub-string that is the whole string shares its buffer.
CString CString::Mid(int nFirst) const { return Mid(nFirst, INT_MAX); }

CString CString::Mid(int nFirst, int nCount) const {
    const std::u16string_view text = View();
    const std::size_t from = Clamp(nFirst, text.size());
    const std::size_t count = std::min(nCount < 0 ? 0 : static_cast<std::size_t>(nCount), text.size() - from);
    return count == text.size() ? *this : CString(text.substr(from, count));
}

CString CString::Left(int nCount) const { return Mid(0, nCount); }

CString CString::Right(int nCount) const {
    const int n = static_cast<int>(Clamp(nCount, View().size()));
    return Mid(GetLength() - n, n);
}

CString& CString::TrimRight() {
    const std::size_t n = Trailing(View(), IsSpace);
    Delete(GetLength() - static_cast<int>(n), static_cast<int>(n));
    return *this;
}

CString& CString::TrimRight(const char16_t* charSet) {
    const std::size_t n = Trailing(View(), [charSet](char16_t c) { return InSet(c, charSet); });
    Delete(GetLength() - static_cast<int>(n), static_cast<int>(n));
    return *this;
}

CString& CString::TrimRight(char16_t ch) {
    const std::size_t n = Trailing(View(), [ch](char16_t c) { return c == ch; });
    Delete(GetLength() - static_cast<int>(n), static_cast<int>(n));
    return *this;
}

CString& CString::TrimLeft() {
    Delete(0, static_cast<int>(Leading(View(), IsSpace)));
    return *this;
}

CString& CString::TrimLeft(const char16_t* charSet) {
    Delete(0, static_cast<int>(Leading(View(), [charSet](char16_t c) { return InSet(c, charSet); })));
    return *this;
}

CString& CString::TrimLeft(char16_t ch) {
    Delete(0, static_cast<int>(Leading(View(), [ch](char16_t c) { return c == ch; })));
    return *this;
}

CString& CString::Trim() {
    TrimRight();
    return TrimLeft();
}

CString& CString::MakeUpper() {
    MapUnits(AsciiUpper);
    return *this;
}

CString& CString::MakeLower() {
    MapUnits(AsciiLower);
    return *this;
}

std::string CString::ToUtf8() const {
    std::string out;
    EncodeUtf8(out, View());
    return out;
}

void CString::AppendUtf8(std::string& out, std::u16string_view text) { EncodeUtf8(out, text); }

CString CString::FromUtf8(std::string_view utf8) {
    CString s;
    if (utf8.empty()) return s;
    Buffer* b = Allocate(utf8.size());
    s.Adopt(b, DecodeUtf8(utf8, b->text));
    // Text mostly outside ASCII decodes to far fewer code units than bytes: keep only what it needs.
    if (static_cast<std::size_t>(s.GetLength()) * 4 < utf8.size() * 3) s = CString(s.View());
    return s;
}

void CString::FormatList(const char16_t* format, const tw::detail::FormatArg* args, std::size_t count, bool append) {
    char arena[2048];
    std::pmr::monotonic_buffer_resource memory(arena, sizeof arena);
    FormatText out(&memory);
    out.reserve(256);
    std::size_t next = 0;
    const char16_t* p = format ? format : u"";
    while (*p) {
        if (*p != u'%') {
            const char16_t* literal = p;
            while (*p && *p != u'%') ++p;
            out.append(literal, p);
            continue;
        }
        ++p;
        if (*p == u'%') {
            out += u'%';
            ++p;
            continue;
        }
        Conversion cv;
        while (*p == u'-' || *p == u'+' || *p == u' ' || *p == u'#' || *p == u'0') cv.flags += static_cast<char>(*p++);
        if (*p == u'*') {
            ++p;  // a width taken from the arguments is not supported: ignored
        }
        while (*p >= u'0' && *p <= u'9') {
            cv.width = (cv.width < 0 ? 0 : cv.width) * 10 + (*p++ - u'0');
            if (cv.width > 4096) cv.width = 4096;
        }
        if (*p == u'.') {
            ++p;
            cv.precision = 0;
            while (*p >= u'0' && *p <= u'9') {
                cv.precision = cv.precision * 10 + (*p++ - u'0');
                if (cv.precision > 4096) cv.precision = 4096;
            }
        }
        // Length modifiers carry no meaning here: each argument has its own type.
        for (;;) {
            if (*p == u'I' && p[1] == u'6' && p[2] == u'4') p += 3;
            else if (*p == u'I' && p[1] == u'3' && p[2] == u'2') p += 3;
            else if (*p == u'l' || *p == u'h' || *p == u'L' || *p == u'q' || *p == u'j' || *p == u'z' || *p == u't') ++p;
            else break;
        }
        if (!*p) break;
        cv.conv = static_cast<char>(*p < 0x80 ? *p : '?');
        ++p;
        if (next < count) AppendConversion(out, cv, args[next++]);
    }
    // The format and the arguments may point into this string: they are read by now.
    Splice(append ? View().size() : 0, append ? 0 : View().size(), out.data(), out.size());
}

CString operator+(const CString& a, const CString& b) {
    CString r(a);
    r += b;
    return r;
}
CString operator+(const CString& a, const char16_t* b) {
    CString r(a);
    r += b;
    return r;
}
CString operator+(const char16_t* a, const CString& b) {
    CString r(b);
    r.Insert(0, a);
    return r;
}
CString operator+(const CString& a, char16_t b) {
    CString r(a);
    r += b;
    return r;
}
CString operator+(char16_t a, const CString& b) {
    CString r(b);
    r.Insert(0, a);
    return r;
}
CString operator+(CString&& a, const CString& b) {
    a += b;
    return std::move(a);
}
CString operator+(CString&& a, const char16_t* b) {
    a += b;
    return std::move(a);
}
CString operator+(CString&& a, char16_t b) {
    a += b;
    return std::move(a);
}

std::ostream& operator<<(std::ostream& os, const CString& s) { return os << s.ToUtf8(); }
