#include "corelib/framework/String.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "corelib/framework/InvalidArgException.h"

namespace {

using Traits = std::char_traits<char16_t>;

constexpr char16_t kReplacement = 0xFFFD;

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

void AppendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

// Decodes UTF-8 after the maximal-subpart rule: each ill-formed sequence (an
// invalid lead byte, or the longest valid prefix of a broken sequence) becomes
// one U+FFFD, as the Unicode standard recommends.
std::u16string DecodeUtf8(std::string_view in) {
    std::u16string out;
    out.reserve(in.size());
    std::size_t i = 0;
    const std::size_t n = in.size();
    while (i < n) {
        const unsigned char b0 = static_cast<unsigned char>(in[i]);
        if (b0 < 0x80) {
            out += static_cast<char16_t>(b0);
            ++i;
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
            out += kReplacement;
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
            out += kReplacement;
            i = j;  // the valid prefix is consumed as one bad sequence
            continue;
        }
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out += static_cast<char16_t>(0xD800 + (cp >> 10));
            out += static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
        } else {
            out += static_cast<char16_t>(cp);
        }
        i = j;
    }
    return out;
}

std::string EncodeUtf8(std::u16string_view in) {
    std::string out;
    out.reserve(in.size());
    for (std::size_t i = 0; i < in.size(); ++i) {
        const char16_t c = in[i];
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < in.size() && in[i + 1] >= 0xDC00 && in[i + 1] <= 0xDFFF) {
            const char32_t cp = 0x10000 + ((static_cast<char32_t>(c) - 0xD800) << 10) + (in[i + 1] - 0xDC00);
            AppendUtf8(out, cp);
            ++i;
        } else if (c >= 0xD800 && c <= 0xDFFF) {
            AppendUtf8(out, kReplacement);  // unpaired surrogate
        } else {
            AppendUtf8(out, c);
        }
    }
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
void AppendPadded(std::u16string& out, const Conversion& cv, std::u16string_view text) {
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

void AppendConversion(std::u16string& out, const Conversion& cv, const tw::detail::FormatArg& a) {
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
            const std::u16string wide = DecodeUtf8(std::string_view(a.text8, a.length));
            AppendPadded(out, cv, wide);
        } else if (a.kind == Kind::Char) {
            const char16_t ch = static_cast<char16_t>(a.u);
            AppendPadded(out, cv, std::u16string_view(&ch, 1));
        } else {
            // A number under %s: its plain decimal form.
            Conversion plain;
            plain.conv = a.kind == Kind::Double ? 'g' : (a.kind == Kind::Unsigned ? 'u' : 'd');
            std::u16string number;
            AppendConversion(number, plain, a);
            AppendPadded(out, cv, number);
        }
        return;
    }
    default:
        return;
    }
}

}  // namespace

CString::CString(const char16_t* text) : m_str(text ? text : u"") {}
CString::CString(const char* utf8) : m_str(utf8 ? DecodeUtf8(utf8) : std::u16string()) {}
CString::CString(const std::u16string& text) : m_str(text) {}
CString::CString(std::u16string&& text) noexcept : m_str(std::move(text)) {}
CString::CString(std::u16string_view text) : m_str(text) {}
CString::CString(const char16_t* text, int nLength)
    : m_str(text && nLength > 0 ? std::u16string(text, static_cast<std::size_t>(nLength)) : std::u16string()) {}
CString::CString(char16_t ch, int nRepeat) : m_str(nRepeat > 0 ? static_cast<std::size_t>(nRepeat) : 0, ch) {}

CString& CString::operator=(const char16_t* text) {
    if (!text) {
        m_str.clear();
    } else {
        m_str.assign(text);  // safe when text points into this string
    }
    return *this;
}

CString& CString::operator=(char16_t ch) {
    m_str.assign(1, ch);
    return *this;
}

char16_t CString::GetAt(int nIndex) const {
    if (nIndex < 0 || static_cast<std::size_t>(nIndex) >= m_str.size())
        throw CInvalidArgException("CString::GetAt: index out of range");
    return m_str[static_cast<std::size_t>(nIndex)];
}

void CString::SetAt(int nIndex, char16_t ch) {
    if (nIndex < 0 || static_cast<std::size_t>(nIndex) >= m_str.size())
        throw CInvalidArgException("CString::SetAt: index out of range");
    m_str[static_cast<std::size_t>(nIndex)] = ch;
}

int CString::Compare(const char16_t* other) const {
    const std::u16string_view b = other ? std::u16string_view(other) : std::u16string_view();
    const int c = std::u16string_view(m_str).compare(b);
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

int CString::CompareNoCase(const char16_t* other) const {
    const std::u16string_view b = other ? std::u16string_view(other) : std::u16string_view();
    const std::size_t n = std::min(m_str.size(), b.size());
    for (std::size_t i = 0; i < n; ++i) {
        const char16_t x = AsciiLower(m_str[i]), y = AsciiLower(b[i]);
        if (x != y) return x < y ? -1 : 1;
    }
    return m_str.size() == b.size() ? 0 : (m_str.size() < b.size() ? -1 : 1);
}

bool CString::operator==(const char16_t* other) const {
    return other ? std::u16string_view(m_str) == std::u16string_view(other) : m_str.empty();
}

CString& CString::operator+=(const CString& other) {
    m_str += other.m_str;
    return *this;
}

CString& CString::operator+=(const char16_t* other) {
    if (other) m_str.append(other);
    return *this;
}

CString& CString::operator+=(char16_t ch) {
    m_str += ch;
    return *this;
}

int CString::Find(char16_t ch, int nStart) const {
    if (nStart < 0) nStart = 0;
    const std::size_t p = m_str.find(ch, static_cast<std::size_t>(nStart));
    return p == std::u16string::npos ? -1 : static_cast<int>(p);
}

int CString::Find(const char16_t* sub, int nStart) const {
    if (!sub || nStart < 0 || static_cast<std::size_t>(nStart) > m_str.size()) return -1;
    const std::size_t p = m_str.find(sub, static_cast<std::size_t>(nStart));
    return p == std::u16string::npos ? -1 : static_cast<int>(p);
}

int CString::ReverseFind(char16_t ch) const {
    const std::size_t p = m_str.rfind(ch);
    return p == std::u16string::npos ? -1 : static_cast<int>(p);
}

int CString::FindOneOf(const char16_t* charSet) const {
    if (!charSet) return -1;
    const std::size_t p = m_str.find_first_of(charSet);
    return p == std::u16string::npos ? -1 : static_cast<int>(p);
}

int CString::Replace(const char16_t* oldText, const char16_t* newText) {
    if (!oldText || !*oldText) return 0;
    const std::u16string from(oldText);
    const std::u16string to(newText ? newText : u"");
    int count = 0;
    std::u16string result;
    std::size_t pos = 0;
    for (std::size_t hit; (hit = m_str.find(from, pos)) != std::u16string::npos; pos = hit + from.size()) {
        result.append(m_str, pos, hit - pos);
        result += to;
        ++count;
    }
    if (count) {
        result.append(m_str, pos, std::u16string::npos);
        m_str.swap(result);
    }
    return count;
}

int CString::Replace(char16_t oldCh, char16_t newCh) {
    int count = 0;
    for (char16_t& c : m_str)
        if (c == oldCh) {
            c = newCh;
            ++count;
        }
    return count;
}

int CString::Remove(char16_t ch) {
    const auto end = std::remove(m_str.begin(), m_str.end(), ch);
    const int count = static_cast<int>(m_str.end() - end);
    m_str.erase(end, m_str.end());
    return count;
}

int CString::Insert(int nIndex, const char16_t* text) {
    if (text) m_str.insert(Clamp(nIndex, m_str.size()), text);
    return GetLength();
}

int CString::Insert(int nIndex, char16_t ch) {
    m_str.insert(Clamp(nIndex, m_str.size()), 1, ch);
    return GetLength();
}

int CString::Delete(int nIndex, int nCount) {
    const std::size_t from = Clamp(nIndex, m_str.size());
    if (nCount > 0) m_str.erase(from, static_cast<std::size_t>(nCount));
    return GetLength();
}

CString CString::Mid(int nFirst) const { return CString(std::u16string_view(m_str).substr(Clamp(nFirst, m_str.size()))); }

CString CString::Mid(int nFirst, int nCount) const {
    const std::size_t from = Clamp(nFirst, m_str.size());
    const std::size_t count = nCount < 0 ? 0 : static_cast<std::size_t>(nCount);
    return CString(std::u16string_view(m_str).substr(from, count));
}

CString CString::Left(int nCount) const { return CString(std::u16string_view(m_str).substr(0, Clamp(nCount, m_str.size()))); }

CString CString::Right(int nCount) const {
    const std::size_t n = Clamp(nCount, m_str.size());
    return CString(std::u16string_view(m_str).substr(m_str.size() - n));
}

CString& CString::TrimRight() {
    while (!m_str.empty() && IsSpace(m_str.back())) m_str.pop_back();
    return *this;
}

CString& CString::TrimRight(const char16_t* charSet) {
    while (!m_str.empty() && InSet(m_str.back(), charSet)) m_str.pop_back();
    return *this;
}

CString& CString::TrimRight(char16_t ch) {
    while (!m_str.empty() && m_str.back() == ch) m_str.pop_back();
    return *this;
}

CString& CString::TrimLeft() {
    std::size_t i = 0;
    while (i < m_str.size() && IsSpace(m_str[i])) ++i;
    m_str.erase(0, i);
    return *this;
}

CString& CString::TrimLeft(const char16_t* charSet) {
    std::size_t i = 0;
    while (i < m_str.size() && InSet(m_str[i], charSet)) ++i;
    m_str.erase(0, i);
    return *this;
}

CString& CString::TrimLeft(char16_t ch) {
    std::size_t i = 0;
    while (i < m_str.size() && m_str[i] == ch) ++i;
    m_str.erase(0, i);
    return *this;
}

CString& CString::Trim() {
    TrimRight();
    return TrimLeft();
}

CString& CString::MakeUpper() {
    for (char16_t& c : m_str) c = AsciiUpper(c);
    return *this;
}

CString& CString::MakeLower() {
    for (char16_t& c : m_str) c = AsciiLower(c);
    return *this;
}

std::string CString::ToUtf8() const { return EncodeUtf8(m_str); }

CString CString::FromUtf8(std::string_view utf8) { return CString(DecodeUtf8(utf8)); }

void CString::FormatList(const char16_t* format, const tw::detail::FormatArg* args, std::size_t count) {
    std::u16string out;
    std::size_t next = 0;
    const char16_t* p = format ? format : u"";
    while (*p) {
        if (*p != u'%') {
            out += *p++;
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
    m_str.swap(out);
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
    CString r(a);
    r += b;
    return r;
}
CString operator+(const CString& a, char16_t b) {
    CString r(a);
    r += b;
    return r;
}
CString operator+(char16_t a, const CString& b) {
    CString r(a);
    r += b;
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
