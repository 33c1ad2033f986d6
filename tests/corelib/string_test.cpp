#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>

#include "corelib/framework/InvalidArgException.h"
#include "corelib/framework/String.h"

namespace {

std::string Narrow(const CString& s) { return s.ToUtf8(); }

template <class T>
std::string Printf(const char* format, T value) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, value);
    return buffer;
}

// Every printf form the libraries use, against C's own printf.
TEST(StringFormat, NumbersMatchPrintf) {
    struct Row {
        const char16_t* format;
        std::string expected;
        CString actual;
    };
    auto fmt = [](const char16_t* f, auto value) {
        CString s;
        s.Format(f, value);
        return s;
    };
    const Row rows[] = {
        {u"%d", Printf("%d", -42), fmt(u"%d", -42)},
        {u"%d", Printf("%d", 2147483647), fmt(u"%d", 2147483647)},
        {u"%u", Printf("%u", 4294967295u), fmt(u"%u", 4294967295u)},
        {u"%u of -1", Printf("%u", static_cast<unsigned>(-1)), fmt(u"%u", -1)},
        {u"%I64d", Printf("%lld", -9223372036854775807LL - 1), fmt(u"%I64d", INT64_MIN)},
        {u"%I64d", Printf("%lld", 9223372036854775807LL), fmt(u"%I64d", INT64_MAX)},
        {u"%f", Printf("%f", 1.5), fmt(u"%f", 1.5)},
        {u"%f", Printf("%f", -0.0), fmt(u"%f", -0.0)},
        {u"%f", Printf("%f", 1e300), fmt(u"%f", 1e300)},
        {u"%f", Printf("%f", 0.1 + 0.2), fmt(u"%f", 0.1 + 0.2)},
        {u"%f nan", Printf("%f", std::numeric_limits<double>::quiet_NaN()),
         fmt(u"%f", std::numeric_limits<double>::quiet_NaN())},
        {u"%f inf", Printf("%f", -std::numeric_limits<double>::infinity()),
         fmt(u"%f", -std::numeric_limits<double>::infinity())},
        {u"%.2f", Printf("%.2f", 2.675), fmt(u"%.2f", 2.675)},
        {u"%10.3f", Printf("%10.3f", 3.14159), fmt(u"%10.3f", 3.14159)},
        {u"%g", Printf("%g", 1e-7), fmt(u"%g", 1e-7)},
        {u"%e", Printf("%e", 12345.678), fmt(u"%e", 12345.678)},
        {u"%x", Printf("%x", 255u), fmt(u"%x", 255)},
        {u"%08X", Printf("%08X", 48879u), fmt(u"%08X", 48879)},
        {u"%-5d|", Printf("%-5d|", 7), fmt(u"%-5d|", 7)},
        {u"%+d", Printf("%+d", 7), fmt(u"%+d", 7)},
        {u"%05d", Printf("%05d", -7), fmt(u"%05d", -7)},
        {u"%ld", Printf("%ld", 123456789L), fmt(u"%ld", 123456789L)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(Narrow(CString(row.format)));
        EXPECT_EQ(row.expected, Narrow(row.actual));
    }
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
    struct Row {
        const char* name;
        std::string utf8;
        std::u16string utf16;
        std::string back;  // UTF-8 written from utf16
    };
    const Row rows[] = {
        {"ascii", "abc", u"abc", "abc"},
        {"two-byte", "\xC3\xA9", u"\u00e9", "\xC3\xA9"},
        {"three-byte", "\xE4\xB8\xAD", u"\u4e2d", "\xE4\xB8\xAD"},
        {"surrogate pair", "\xF0\x9F\x98\x80", u"\U0001F600", "\xF0\x9F\x98\x80"},
        {"lone continuation", "a\x80z", u"a\uFFFDz", "a\xEF\xBF\xBDz"},
        {"truncated three-byte", "a\xE4\xB8", u"a\uFFFD", "a\xEF\xBF\xBD"},
        {"overlong", "\xC0\xAF", u"\uFFFD\uFFFD", "\xEF\xBF\xBD\xEF\xBF\xBD"},
        {"encoded surrogate", "\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
        {"beyond U+10FFFF", "\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD",
         "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
        {"invalid byte", "\xFF", u"\uFFFD", "\xEF\xBF\xBD"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const CString s(row.utf8.c_str());
        EXPECT_EQ(s.Str(), row.utf16);
        EXPECT_EQ(s.ToUtf8(), row.back);
    }
    // Unpaired surrogates on the way out become U+FFFD.
    EXPECT_EQ(CString(std::u16string{u'a', char16_t(0xD800)}).ToUtf8(), "a\xEF\xBF\xBD");
    EXPECT_EQ(CString(std::u16string{char16_t(0xDC00), u'b'}).ToUtf8(), "\xEF\xBF\xBD" "b");
    EXPECT_EQ(CString(u"\U0001F600").GetLength(), 2);  // lengths count code units
}

TEST(StringEditing, Operations) {
    CString s(u"alpha beta alpha");
    EXPECT_EQ(s.Find(u'a'), 0);
    EXPECT_EQ(s.Find(u'a', 1), 4);
    EXPECT_EQ(s.Find(u"alpha", 1), 11);
    EXPECT_EQ(s.Find(u"gamma"), -1);
    EXPECT_EQ(s.Find(u"a", 100), -1);
    EXPECT_EQ(s.ReverseFind(u'b'), 6);
    EXPECT_EQ(s.Mid(6), u"beta alpha");
    EXPECT_EQ(s.Mid(6, 4), u"beta");
    EXPECT_EQ(s.Mid(-3, 2), u"al");
    EXPECT_EQ(s.Mid(100), u"");
    EXPECT_EQ(s.Left(5), u"alpha");
    EXPECT_EQ(s.Left(100), s);
    EXPECT_EQ(s.Right(5), u"alpha");
    EXPECT_EQ(s.Right(-1), u"");
    EXPECT_EQ(s.Replace(u"alpha", u"x"), 2);
    EXPECT_EQ(s, u"x beta x");
    EXPECT_EQ(s.Replace(u"", u"y"), 0);
    EXPECT_EQ(s.Replace(u'x', u'z'), 2);
    EXPECT_EQ(s, u"z beta z");
    CString aa(u"aaa");
    EXPECT_EQ(aa.Replace(u"aa", u"b"), 1);  // non-overlapping, left to right
    EXPECT_EQ(aa, u"ba");

    CString t(u"value;; \t");
    t.TrimRight();
    EXPECT_EQ(t, u"value;;");
    t.TrimRight(u";");
    EXPECT_EQ(t, u"value");
    CString u(u"  x  ");
    EXPECT_EQ(u.Trim(), u"x");
    u.Empty();
    EXPECT_TRUE(u.IsEmpty());

    CString cmp(u"abc");
    EXPECT_LT(cmp.Compare(u"abd"), 0);
    EXPECT_EQ(cmp.Compare(u"abc"), 0);
    EXPECT_GT(cmp.Compare(u"ab"), 0);
    EXPECT_EQ(cmp.CompareNoCase(u"ABC"), 0);
    EXPECT_TRUE(CString(u"\u00e9") > CString(u"z"));  // code unit order, not locale order
    EXPECT_EQ(CString(u"ab") + u"c" + u'd' + CString(u"e"), u"abcde");
    EXPECT_EQ(CString(u'-', 3), u"---");
    EXPECT_THROW(cmp.GetAt(3), CInvalidArgException);
    EXPECT_THROW(cmp.GetAt(-1), CInvalidArgException);
    EXPECT_EQ(cmp[2], u'c');
}

}  // namespace
