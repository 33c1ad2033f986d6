// CString: printf forms against C's printf, UTF-8 in and out, editing and comparing.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "alloc_counter.h"
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
        {{u'x', char16_t(0xD800)}, "x\xEF\xBF\xBD"},   // a high surrogate that ends the text
        {u"\u07ff\u0800", "\xDF\xBF\xE0\xA0\x80"},
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

const char16_t* Text(const CString& s) { return s; }

// Copies share the text and allocate nothing; the empty string holds no buffer.
TEST(StringSharing, Allocations) {
    const CString source(u"shared text");
    const struct {
        const char* what;
        long most;   // allocations
        std::function<CString()> make;
        bool shares;  // the result's text is source's
    } rows[] = {
        {"copy", 0, [&] { return CString(source); }, true},
        {"assignment", 0, [&] { CString s; s = source; return s; }, true},
        {"move of a copy", 0, [&] { CString s(source); return CString(std::move(s)); }, true},
        {"+= to an empty string", 0, [&] { CString s; s += source; return s; }, true},
        {"whole Mid", 0, [&] { return source.Mid(0); }, true},
        {"literal", 1, [] { return CString(u"literal"); }, false},
        {"UTF-8 literal", 1, [] { return CString("literal"); }, false},
        {"1000 appends of a character", 12, [] { CString s; for (int i = 0; i < 1000; ++i) s += u'x'; return s; }, false},
        {"empty", 0, [] { return CString(u""); }, false},
        {"empty from std", 0, [] { return CString(std::u16string()); }, false},
    };
    for (const auto& row : rows) {
        const std::size_t before = bench::AllocationCount();
        const CString s = row.make();
        EXPECT_LE(static_cast<long>(bench::AllocationCount() - before), row.most) << row.what;
        EXPECT_EQ(Text(s) == Text(source), row.shares) << row.what;
    }
    CString edited(u"ab");
    edited.Delete(0, 2);
    for (const CString& empty : {CString(), CString(u""), CString(""), CString(u'x', 0), edited})
        EXPECT_EQ(Text(empty), Text(CString()));
}

// The first change to a copy gives it its own text: the original stays as it was.
// Each change also runs on a string whose own text is its argument.
TEST(StringSharing, CopyOnWrite) {
    const std::u16string kText = u" Mixed, text. ";
    const struct {
        const char* what;
        std::function<void(CString&)> change;
        std::u16string after;   // the copy after the change, and so a string that is its own argument
    } rows[] = {
        {"+= string", [](CString& s) { s += CString(s); }, kText + kText},
        {"+= text", [](CString& s) { s += Text(s) + 8; }, kText + u"text. "},
        {"+= char", [](CString& s) { s += u'!'; }, kText + u"!"},
        {"= text", [](CString& s) { s = Text(s) + 1; }, u"Mixed, text. "},
        {"= char", [](CString& s) { s = u'c'; }, u"c"},
        {"Replace text", [](CString& s) { s.Replace(Text(s) + 8, Text(s) + 1); }, u" Mixed, Mixed, text. "},
        {"Replace char", [](CString& s) { s.Replace(u'x', u'y'); }, u" Miyed, teyt. "},
        {"Remove", [](CString& s) { s.Remove(u' '); }, u"Mixed,text."},
        {"Insert text", [](CString& s) { s.Insert(2, Text(s) + 8); }, u" Mtext. ixed, text. "},
        {"Insert char", [](CString& s) { s.Insert(0, u'>'); }, u">" + kText},
        {"Delete", [](CString& s) { s.Delete(1, 7); }, u" text. "},
        {"SetAt", [](CString& s) { s.SetAt(1, u'm'); }, u" mixed, text. "},
        {"Trim", [](CString& s) { s.Trim(); }, u"Mixed, text."},
        {"TrimRight set", [](CString& s) { s.TrimRight(u" ."); }, u" Mixed, text"},
        {"TrimLeft char", [](CString& s) { s.TrimLeft(u' '); }, u"Mixed, text. "},
        {"MakeUpper", [](CString& s) { s.MakeUpper(); }, u" MIXED, TEXT. "},
        {"MakeLower", [](CString& s) { s.MakeLower(); }, u" mixed, text. "},
        {"Format", [](CString& s) { s.Format(u"%s|%s", s, Text(s) + 8); }, kText + u"|text. "},
        {"AppendFormat", [](CString& s) { s.AppendFormat(u"%d%s", 1, s); }, kText + u"1" + kText},
        {"Empty", [](CString& s) { s.Empty(); }, u""},
    };
    for (const auto& row : rows) {
        const CString original(kText);
        const char16_t* text = original;
        CString copy(original);
        row.change(copy);
        EXPECT_EQ(copy.View(), row.after) << row.what;
        EXPECT_EQ(original.View(), kText) << row.what;
        EXPECT_EQ(Text(original), text) << row.what;
        // Alone in a buffer with room to spare, so that the change could be made in place.
        CString self(kText);
        self += std::u16string(40, u'-').c_str();
        self.Delete(kText.size(), 40);
        row.change(self);
        EXPECT_EQ(self.View(), row.after) << row.what;
    }
}

// Decimal gives Format's "%u" text; below kKeptDecimals the text is one kept
// buffer that every call shares and that no change reaches.
TEST(StringDecimal, KeptTextsReadAndChangeLikeAnyOther) {
    for (const unsigned int n : {0u, 7u, 10u, 4095u, 4096u, 65535u, 4294967295u}) {
        CString expected;
        expected.Format(u"%u", n);
        const CString text = CString::Decimal(n);
        EXPECT_EQ(text, expected) << n;
        const bool kept = n < CString::kKeptDecimals;
        EXPECT_EQ(static_cast<const char16_t*>(CString::Decimal(n)) == static_cast<const char16_t*>(text), kept) << n;
        CString changed = CString::Decimal(n);
        changed += u'x';
        changed.Delete(0, 1);
        CString assigned;
        assigned = text;
        assigned.Empty();
        EXPECT_EQ(CString::Decimal(n), expected) << n;
        EXPECT_EQ(changed, expected.Mid(1) + CString(u"x")) << n;
    }
}

// Threads copy one text, compare and read the copies and change their own,
// while the last owner of the text, on any thread, frees it.
TEST(StringConcurrency, CopiesOfOneTextOnManyThreads) {
    constexpr int kThreads = 4, kRounds = 2000;
    const std::u16string expected = u"the cache's value";
    auto original = std::make_unique<CString>(expected);
    // A kept text too, copied and released on every thread at once.
    std::vector<std::thread> keepers;
    for (int t = 0; t < 2; ++t)
        keepers.emplace_back([] {
            for (int r = 0; r < kRounds; ++r) {
                CString copy = CString::Decimal(static_cast<unsigned int>(r % 64));
                CString other(copy);
                other += u'.';
                ASSERT_EQ(copy.GetLength() + 1, other.GetLength());
            }
        });
    std::vector<int> failures(kThreads, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&failures, &expected, t, mine = *original]() mutable {
            const char16_t mark = static_cast<char16_t>(u'a' + t);
            for (int r = 0; r < kRounds; ++r) {
                CString copy(mine);
                const CString other = copy;
                bool ok = copy == other && other == expected.c_str() && copy.Compare(Text(mine)) == 0 &&
                          std::hash<CString>{}(copy) == std::hash<std::u16string>{}(expected);
                copy += mark;
                copy.MakeUpper();
                ok = ok && copy.Right(1) == CString(static_cast<char16_t>(mark - 32)) && other.View() == expected &&
                     mine.Mid(4, 5) == u"cache";
                if (r % 100 == 99) mine = CString(copy.Left(static_cast<int>(expected.size()))).MakeLower();
                failures[t] += ok ? 0 : 1;
            }
            mine += mark;  // in place once the other threads let go
            failures[t] += mine.View() == expected + mark ? 0 : 1;
        });
    original.reset();
    for (std::thread& thread : threads)
        thread.join();
    for (std::thread& thread : keepers)
        thread.join();
    for (int t = 0; t < kThreads; ++t)
        EXPECT_EQ(failures[t], 0) << "thread " << t;
}

}  // namespace
