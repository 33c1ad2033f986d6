#include "corelib/framework/Runtime.h"

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwctype>
#include <limits>
#include <locale.h>
#include <string>
#include <time.h>

#include "corelib/framework/String.h"
#include "corelib/framework/Time.h"

namespace {

bool IsAsciiSpace(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }

// The ASCII prefix of a text as a narrow string: one byte per code unit, so
// offsets in it are offsets in the text.
std::string AsciiPrefix(const char16_t* text) {
    std::string out;
    if (!text) return out;
    for (; *text && *text < 0x80; ++text) out += static_cast<char>(*text);
    return out;
}

// A "C" locale for number parsing, whatever the process's locale is.
locale_t CLocale() {
    static const locale_t loc = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return loc;
}

// A UTF-8 character-class locale for letters beyond ASCII; null if the system has none.
locale_t UnicodeLocale() {
    static const locale_t loc = [] {
        locale_t l = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(nullptr));
        if (!l) l = newlocale(LC_CTYPE_MASK, "en_US.UTF-8", static_cast<locale_t>(nullptr));
        return l;
    }();
    return loc;
}

bool IsSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDFFF; }

}  // namespace

int64_t _wtoi64(const char16_t* text) {
    if (!text) return 0;
    while (IsAsciiSpace(*text)) ++text;
    bool negative = false;
    if (*text == u'+' || *text == u'-') negative = *text++ == u'-';
    uint64_t magnitude = 0;
    bool overflow = false;
    const uint64_t limit = negative ? uint64_t{1} << 63 : (uint64_t{1} << 63) - 1;
    for (; *text >= u'0' && *text <= u'9'; ++text) {
        const uint64_t digit = static_cast<uint64_t>(*text - u'0');
        if (magnitude > (limit - digit) / 10) {
            overflow = true;
            magnitude = limit;
        } else if (!overflow) {
            magnitude = magnitude * 10 + digit;
        }
    }
    if (overflow) errno = ERANGE;
    if (negative) return magnitude == (uint64_t{1} << 63) ? std::numeric_limits<int64_t>::min()
                                                          : -static_cast<int64_t>(magnitude);
    return static_cast<int64_t>(magnitude);
}

double _wtof(const char16_t* text) { return tw::wcstod(text, nullptr); }

namespace tw {

double wcstod(const char16_t* text, char16_t** end) {
    const std::string narrow = AsciiPrefix(text);
    char* stop = nullptr;
    const double value = strtod_l(narrow.c_str(), &stop, CLocale());
    if (end) *end = const_cast<char16_t*>(text) + (text ? (stop - narrow.c_str()) : 0);
    return value;
}

int64_t wcstoll(const char16_t* text, char16_t** end, int base) {
    const std::string narrow = AsciiPrefix(text);
    char* stop = nullptr;
    const long long value = strtoll_l(narrow.c_str(), &stop, base, CLocale());
    if (end) *end = const_cast<char16_t*>(text) + (text ? (stop - narrow.c_str()) : 0);
    return value;
}

int32_t wcstol(const char16_t* text, char16_t** end, int base) {
    errno = 0;
    const int64_t value = wcstoll(text, end, base);
    if (value > std::numeric_limits<int32_t>::max()) {
        errno = ERANGE;
        return std::numeric_limits<int32_t>::max();
    }
    if (value < std::numeric_limits<int32_t>::min()) {
        errno = ERANGE;
        return std::numeric_limits<int32_t>::min();
    }
    return static_cast<int32_t>(value);
}

int iswalpha(char16_t ch) {
    if (ch < 0x80) return ((ch | 0x20) >= u'a' && (ch | 0x20) <= u'z') ? 1 : 0;
    if (IsSurrogate(ch)) return 0;
    if (locale_t loc = UnicodeLocale()) return iswalpha_l(static_cast<wint_t>(ch), loc) ? 1 : 0;
    // No Unicode tables on this system: Latin-1 letters and everything past it but punctuation blocks.
    if (ch < 0xC0) return ch == 0xAA || ch == 0xB5 || ch == 0xBA;
    return (ch == 0xD7 || ch == 0xF7 || (ch >= 0x2000 && ch <= 0x2BFF) || (ch >= 0x3000 && ch <= 0x303F)) ? 0 : 1;
}

int iswdigit(char16_t ch) { return (ch >= u'0' && ch <= u'9') ? 1 : 0; }

int iswalnum(char16_t ch) {
    if (iswdigit(ch)) return 1;
    if (ch >= 0x80 && !IsSurrogate(ch))
        if (locale_t loc = UnicodeLocale()) return iswalnum_l(static_cast<wint_t>(ch), loc) ? 1 : 0;
    return iswalpha(ch);
}

int iswspace(char16_t ch) {
    if (ch < 0x80) return IsAsciiSpace(ch) ? 1 : 0;
    if (IsSurrogate(ch)) return 0;
    if (locale_t loc = UnicodeLocale()) return iswspace_l(static_cast<wint_t>(ch), loc) ? 1 : 0;
    return (ch == 0x85 || ch == 0xA0 || ch == 0x3000 || (ch >= 0x2000 && ch <= 0x200A)) ? 1 : 0;
}

}  // namespace tw

int64_t _time64(int64_t* t) {
    const int64_t now = static_cast<int64_t>(::time(nullptr));
    if (t) *t = now;
    return now;
}

int _localtime64_s(struct tm* out, const int64_t* t) {
    if (!out) return EINVAL;
    if (!t || *t < CTime::MIN_LOCAL || *t > CTime::MAX_LOCAL) {
        std::memset(out, 0, sizeof *out);
        return EINVAL;
    }
    const time_t value = static_cast<time_t>(*t);
    if (!localtime_r(&value, out)) {
        std::memset(out, 0, sizeof *out);
        return EINVAL;
    }
    return 0;
}

namespace tw {

std::size_t wcsftime(char16_t* buffer, std::size_t max, const char16_t* format, const struct tm* time) {
    if (!buffer || max == 0 || !format || !time) return 0;
    const std::string narrowFormat = CString(format).ToUtf8();
    if (narrowFormat.empty()) {
        buffer[0] = 0;
        return 0;
    }
    // strftime's output is at most a few times its format; grow until it fits.
    std::string narrow(narrowFormat.size() * 8 + 64, '\0');
    std::size_t n = 0;
    for (int tries = 0; tries < 6; ++tries) {
        n = ::strftime(narrow.data(), narrow.size(), narrowFormat.c_str(), time);
        if (n) break;
        narrow.resize(narrow.size() * 4);
    }
    const CString wide = CString::FromUtf8(std::string_view(narrow.data(), n));
    const std::size_t len = static_cast<std::size_t>(wide.GetLength());
    if (len + 1 > max) {
        buffer[0] = 0;
        return 0;
    }
    std::memcpy(buffer, static_cast<const char16_t*>(wide), (len + 1) * sizeof(char16_t));
    return len;
}

}  // namespace tw
