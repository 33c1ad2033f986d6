// CString: printf forms against C's printf, UTF-8 in and out, editing and comparing.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <utility>

#include "corelib/framework/InvalidArgException.h"
#include "corelib/framework/String.h"

namespace {

// Format with one argument gives what snprintf gives for the same format (%I64d: for %lld).
template <class T>
void SameAsPrintf(const char* format, T value) {
    const std::string narrow = format == std::string("%I64d") ? "%lld" : format;
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, narrow.c_str(), value);
    CString s;
    s.Format(CString::FromUtf8(format), value);
    EXPECT_EQ(s.ToUtf8(), buffer) << format;
}

// Every printf form the libraries use.
TEST(StringFormat, NumbersMatchPrintf) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN(), kInf = std::numeric_limits<double>::infinity();
    for (const char* format : {"%d", "%-5d|", "%+d", "%05d"})
        SameAsPrintf(format, -7);
    for (const char* format : {"%u", "%x", "%08X"})
        for (const unsigned n : {4294967295u, 48879u})
            SameAsPrintf(format, n);
    for (const long long n : {static_cast<long long>(INT64_MIN), static_cast<long long>(INT64_MAX)})
        SameAsPrintf("%I64d", n);
    for (const char* format : {"%f", "%.2f", "%10.3f", "%g", "%e"})
        for (const double d : {1.5, -0.0, 1e300, kNaN, -kInf, 2.675, 3.14159, 1e-7, 12345.678})
            SameAsPrintf(format, d);
    SameAsPrintf("%ld", 123456789L);
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
    // Unpaired surrogates on the way out become U+FFFD, a reversed pair too; lengths count code units.
    const std::pair<std::u16string, std::string> out[] = {
        {{u'a', char16_t(0xDC00), char16_t(0xD800), u'b'}, "a\xEF\xBF\xBD\xEF\xBF\xBD" "b"},
        {{char16_t(0xD83D), char16_t(0xD83D), char16_t(0xDE00)}, "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
        {u"\uffff\U0010FFFF", "\xEF\xBF\xBF\xF4\x8F\xBF\xBF"}};
    for (const auto& [text, utf8] : out)
        EXPECT_EQ(CString(text).ToUtf8(), utf8);
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
