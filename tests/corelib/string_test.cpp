// CString: printf forms against C's printf, UTF-8 in and out, editing and comparing.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>

#include "corelib/framework/InvalidArgException.h"
#include "corelib/framework/String.h"

namespace {

// Format with one argument gives what snprintf gives for the narrow format.
template <class T>
void SameAsPrintf(const char16_t* format, const char* narrow, T value) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, narrow, value);
    CString s;
    s.Format(format, value);
    EXPECT_EQ(s.ToUtf8(), buffer) << CString(format);
}

// Every printf form the libraries use.
TEST(StringFormat, NumbersMatchPrintf) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN(), kInf = std::numeric_limits<double>::infinity();
    SameAsPrintf(u"%d", "%d", -42);
    SameAsPrintf(u"%u", "%u", 4294967295u);
    SameAsPrintf(u"%I64d", "%lld", static_cast<long long>(INT64_MIN));
    SameAsPrintf(u"%I64d", "%lld", static_cast<long long>(INT64_MAX));
    for (const double d : {1.5, -0.0, 1e300, kNaN, -kInf})
        SameAsPrintf(u"%f", "%f", d);
    SameAsPrintf(u"%.2f", "%.2f", 2.675);
    SameAsPrintf(u"%10.3f", "%10.3f", 3.14159);
    SameAsPrintf(u"%g", "%g", 1e-7);
    SameAsPrintf(u"%e", "%e", 12345.678);
    SameAsPrintf(u"%x", "%x", 255u);
    SameAsPrintf(u"%08X", "%08X", 48879u);
    SameAsPrintf(u"%-5d|", "%-5d|", 7);
    SameAsPrintf(u"%+d", "%+d", 7);
    SameAsPrintf(u"%05d", "%05d", -7);
    SameAsPrintf(u"%ld", "%ld", 123456789L);
    CString s;
    s.Format(u"%u", -1);
    EXPECT_EQ(s, u"4294967295");
}

TEST(StringFormat, TextCharactersAndPercent) {
    CString s;
    s.Format(u"%s=%s; %c%c %% %d%%", CString(u"name"), u"v\u00e9", u'\u4e2d', u'x', 100);
    EXPECT_EQ(s, u"name=v\u00e9; \u4e2dx % 100%");
    s.Format(u"[%5s|%-5s|%.2s]", CString(u"ab"), u"ab", u"abcdef");
    EXPECT_EQ(s, u"[   ab|ab   |ab]");
    // A 64-bit argument under %d keeps its width; a missing argument writes nothing.
    s.Format(u"%d/%d", int64_t{1} << 40);
    EXPECT_EQ(s, u"1099511627776/");
    s.Format(u"%s", 12);
    EXPECT_EQ(s, u"12");
    s.Format(u"trailing %");
    EXPECT_EQ(s, u"trailing ");
}

// UTF-8 in, UTF-16 out, and back, with surrogate pairs and bad input.
TEST(StringUnicode, Conversions) {
    const struct {
        std::string utf8;
        std::u16string utf16;
        std::string back;  // UTF-8 written from utf16
    } rows[] = {
        {"abc", u"abc", "abc"},
        {"\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80", u"\u00e9\u4e2d\U0001F600", "\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80"},
        {"a\x80z", u"a\uFFFDz", "a\xEF\xBF\xBDz"},              // lone continuation
        {"a\xE4\xB8", u"a\uFFFD", "a\xEF\xBF\xBD"},             // truncated
        {"\xC0\xAF", u"\uFFFD\uFFFD", "\xEF\xBF\xBD\xEF\xBF\xBD"},   // overlong
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},   // encoded surrogate
        {"\xF4\x90\x80\x80\xFF", u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD",   // beyond U+10FFFF, invalid byte
         "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.utf8));
        const CString s(row.utf8.c_str());
        EXPECT_EQ(s.Str(), row.utf16);
        EXPECT_EQ(s.ToUtf8(), row.back);
    }
    // Unpaired surrogates on the way out become U+FFFD; lengths count code units.
    EXPECT_EQ(CString(std::u16string{u'a', char16_t(0xDC00), char16_t(0xD800), u'b'}).ToUtf8(),
              "a\xEF\xBF\xBD\xEF\xBF\xBD" "b");
    EXPECT_EQ(CString(u"\U0001F600").GetLength(), 2);
}

TEST(StringEditing, Operations) {
    const CString s(u"alpha beta alpha");
    EXPECT_EQ(std::to_string(s.Find(u'a')) + " " + std::to_string(s.Find(u'a', 1)) + " " +
                  std::to_string(s.Find(u"alpha", 1)) + " " + std::to_string(s.Find(u"gamma")) + " " +
                  std::to_string(s.Find(u"a", 100)) + " " + std::to_string(s.ReverseFind(u'b')),
              "0 4 11 -1 -1 6");
    EXPECT_EQ(s.Mid(6) + u"|" + s.Mid(6, 4) + u"|" + s.Mid(-3, 2) + u"|" + s.Mid(100) + u"|" + s.Left(5) + u"|" +
                  s.Left(100) + u"|" + s.Right(5) + u"|" + s.Right(-1),
              u"beta alpha|beta|al||alpha|alpha beta alpha|alpha|");
    CString r(s), aa(u"aaa");
    const int replaced[] = {r.Replace(u"alpha", u"x"), r.Replace(u"", u"y"), r.Replace(u'x', u'z')};   // in this order
    EXPECT_EQ(replaced[0] * 100 + replaced[1] * 10 + replaced[2], 202);
    EXPECT_EQ(r, u"z beta z");
    EXPECT_EQ(aa.Replace(u"aa", u"b"), 1);  // non-overlapping, left to right
    EXPECT_EQ(aa, u"ba");

    CString t(u"value;; \t"), u(u"  x  ");
    t.TrimRight();
    EXPECT_EQ(t, u"value;;");
    t.TrimRight(u";");
    EXPECT_EQ(t + u.Trim(), u"valuex");
    u.Empty();
    EXPECT_TRUE(u.IsEmpty());

    const CString cmp(u"abc");
    EXPECT_TRUE(cmp.Compare(u"abd") < 0 && cmp.Compare(u"abc") == 0 && cmp.Compare(u"ab") > 0);
    EXPECT_EQ(cmp.CompareNoCase(u"ABC"), 0);
    EXPECT_TRUE(CString(u"\u00e9") > CString(u"z"));  // code unit order, not locale order
    EXPECT_EQ(CString(u"ab") + u"c" + u'd' + CString(u"e") + CString(u'-', 3), u"abcde---");
    EXPECT_EQ(cmp[2], u'c');
    EXPECT_THROW(cmp.GetAt(3), CInvalidArgException);
    EXPECT_THROW(cmp.GetAt(-1), CInvalidArgException);
}

}  // namespace
