// The C runtime's conversions and clock on UTF-16 text.
//
// Each gives what the C runtime gives for ASCII input; letters beyond ASCII
// count as letters (iswalpha, iswalnum follow Unicode's letter classes).
// The underscore names (_wtoi64, _wtof, _time64, _localtime64_s) are global,
// as on the platform; the ones whose names the C library already has
// (wcstol, iswalpha, wcsftime, ...) live in namespace tw, since overloading
// the C library's own names would break code that takes their address.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>

// Leading white space, an optional sign, decimal digits; saturates at the
// 64-bit limits on overflow (errno ERANGE), 0 when no digits.
int64_t _wtoi64(const char16_t* text);
// strtod in the "C" locale on the ASCII prefix of the text; 0.0 when no number.
double _wtof(const char16_t* text);
// Seconds since 1970-01-01 00:00:00 UTC; also stored in *t when t is not null.
int64_t _time64(int64_t* t);
// Local time of *t; 0 on success, EINVAL (and *out zeroed) for a null pointer
// or a time outside 0..32535215999.
int _localtime64_s(struct tm* out, const int64_t* t);

namespace tw {

// strtol (32-bit long, as the platform's) with end pointer; saturates on overflow.
int32_t wcstol(const char16_t* text, char16_t** end, int base);
// strtoll with end pointer.
int64_t wcstoll(const char16_t* text, char16_t** end, int base);
// strtod with end pointer, "C" locale.
double wcstod(const char16_t* text, char16_t** end);
int iswalpha(char16_t ch);
int iswalnum(char16_t ch);
int iswdigit(char16_t ch);
int iswspace(char16_t ch);
// strftime on UTF-16: the format's ASCII directives as C's strftime; returns the
// number of code units written without the terminator, 0 if it does not fit.
std::size_t wcsftime(char16_t* buffer, std::size_t max, const char16_t* format, const struct tm* time);

}  // namespace tw
