#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <string>
#include <utility>

#include "corelib/framework/Runtime.h"
#include "corelib/framework/String.h"
#include "corelib/framework/Time.h"

namespace {

// For ASCII input each conversion gives what the C runtime gives.
TEST(Runtime, NumberConversionsMatchTheCRuntime) {
    const char* inputs[] = {"0", "42", "-42", "+7", "  \t12abc", "abc", "", "9223372036854775807",
                            "9223372036854775808", "-9223372036854775808", "-9223372036854775809",
                            "99999999999999999999999", "1.5", "-2.5e3", "1e400", "0x1A", "  -0", "inf",
                            "nan", "12 34", "2147483648", "-2147483649"};
    for (const char* in : inputs) {
        SCOPED_TRACE(in);
        const CString wide(in);
        EXPECT_EQ(_wtoi64(wide), std::strtoll(in, nullptr, 10));
        const double expected = std::strtod(in, nullptr);
        const double actual = _wtof(wide);
        EXPECT_TRUE(std::isnan(expected) ? std::isnan(actual) : actual == expected) << actual;
        for (int base : {0, 10, 16}) {
            char* narrowEnd = nullptr;
            const long long full = std::strtoll(in, &narrowEnd, base);
            char16_t* wideEnd = nullptr;
            const int32_t value = tw::wcstol(wide, &wideEnd, base);
            const long long clamped = full > INT32_MAX ? INT32_MAX : (full < INT32_MIN ? INT32_MIN : full);
            EXPECT_EQ(value, clamped) << "base " << base;
            EXPECT_EQ(wideEnd - static_cast<const char16_t*>(wide), narrowEnd - in) << "base " << base;
        }
    }
    // Past the first non-ASCII code unit nothing more is read.
    EXPECT_EQ(_wtoi64(u"12\u0663"), 12);
    EXPECT_EQ(_wtof(u"1.5\u00e9"), 1.5);
    EXPECT_EQ(_wtoi64(nullptr), 0);
}

TEST(Runtime, CharacterClasses) {
    // Letters, then digits, then neither.
    const std::u16string letters = u"aZ\u00e9\u0416\u4e2d", digits = u"5", others{u'_', u' ', u'.', u'\u00d7', u'\u2014', 0xD83D};
    for (const char16_t ch : letters + digits + others) {
        const bool letter = letters.find(ch) != std::u16string::npos, digit = ch == u'5';
        EXPECT_EQ(tw::iswalpha(ch) != 0, letter) << static_cast<int>(ch);
        EXPECT_EQ(tw::iswalnum(ch) != 0, letter || digit) << static_cast<int>(ch);
    }
}

TEST(Runtime, LocalTimeRange) {
    const std::pair<int64_t, int> rows[] = {{0, 0}, {32535215999LL, 0}, {-1, EINVAL}, {32535216000LL, EINVAL}, {INT64_MIN, EINVAL}};
    for (const auto& [t, result] : rows) {
        struct tm out {};
        EXPECT_EQ(_localtime64_s(&out, &t), result) << t;
        EXPECT_EQ(CTime(t).GetLocalTm(&out), result == 0 ? 1 : 0) << t;
    }
    // Tests run with TZ=UTC: the last accepted second is 3000-12-31 23:59:59.
    struct tm last {};
    ASSERT_EQ(CTime(32535215999LL).GetLocalTm(&last), 1);
    char16_t text[64];
    EXPECT_EQ(tw::wcsftime(text, 64, u"%Y-%m-%d %H:%M:%S", &last), 19u);
    EXPECT_EQ(CString(text), u"3000-12-31 23:59:59");
    EXPECT_EQ(tw::wcsftime(text, 5, u"%Y-%m-%d", &last), 0u);  // does not fit

    int64_t stored = 0;
    const int64_t now = _time64(&stored);
    EXPECT_TRUE(now == stored && CTime::GetCurrentTime().GetTime() >= now);
}

}  // namespace
