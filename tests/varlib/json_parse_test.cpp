// CJSON: tokens, the value each text gives, the leniency rules, the failure
// results, escapes, number conversion against the runtime, positions outside
// the text and the nesting guard.
#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "corelib/framework/Runtime.h"
#include "varlib/formats/JSON.h"

namespace {

// A compact picture of a value: 12 (INT), d1.5 (DOUBLE), 'ab' (STRING), null
// (type 0), [index:value,...] (ARRAY in walk order).
std::string Describe(const CVariable& v) {
    switch (v.GetType()) {
    case VT_UNDEFINED: return "null";
    case VT_INT: return std::to_string(v.m_nValue);
    case VT_STRING: {
        std::string out = "'";
        out += v.m_strValue.ToUtf8();
        return out + "'";
    }
    case VT_DOUBLE: {
        char text[40];
        std::snprintf(text, sizeof text, "d%.17g", v.m_dValue);
        return text;
    }
    case VT_ARRAY: {
        std::string out = "[";
        for (int k = 0; k < static_cast<int>(v.m_arrayValue.GetCount()); ++k) {
            const CString index = v.m_arrayValue.GetIndex(k);
            CVariable* pElement = nullptr;
            if (!v.m_arrayValue.Lookup(index, pElement)) return "broken order map";
            EXPECT_EQ(pElement->GetIndex(), index);
            EXPECT_EQ(pElement->IsArrayElement(), 1);
            if (k) out += ',';
            out += index.ToUtf8();
            out += ':';
            out += Describe(*pElement);
        }
        return out + "]";
    }
    default: return "type " + std::to_string(v.GetType());
    }
}

std::string Parsed(const CString& json, int& bSuccess) { return Describe(CJSON::Parse(json, bSuccess)); }

}  // namespace

TEST(JsonParse, TokensAndLookAhead) {
    struct Row { const char16_t* text; int start; int code; int after; };
    const Row rows[] = {
        {u"", 0, 0, 0}, {u"   ", 0, 0, 3}, {u" \t\r\n{", 0, 1, 5}, {u"}", 0, 2, 1}, {u"[", 0, 3, 1},
        {u"]", 0, 4, 1}, {u":", 0, 5, 1}, {u",", 0, 6, 1}, {u"\"abc\"", 0, 7, 1}, {u"-1", 0, 8, 1},
        {u"7", 0, 8, 1}, {u"+1", 0, 0, 0}, {u".5", 0, 0, 0}, {u"truex", 0, 9, 4}, {u"tru", 0, 0, 0},
        {u"True", 0, 0, 0}, {u"false", 0, 10, 5}, {u"fals", 0, 0, 0}, {u"null", 0, 11, 4},
        {u"nul", 0, 0, 0}, {u"\v1", 0, 0, 0}, {u"  x", 0, 0, 2}, {u"ab{", 2, 1, 3},
        // Positions outside the text hold nothing and never move.
        {u"{", 5, 0, 5}, {u"{", -1, 0, -1}, {u"{", INT_MIN, 0, INT_MIN}, {u"{", INT_MAX, 0, INT_MAX},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(CString(row.text).ToUtf8() + " at " + std::to_string(row.start));
        const CString json(row.text);
        EXPECT_EQ(CJSON::CheckNextToken(json, row.start), row.code);
        int index = row.start;
        EXPECT_EQ(CJSON::NextToken(json, index), row.code);
        EXPECT_EQ(index, row.after);
    }
}

TEST(JsonParse, NumberScanAndWhitespace) {
    struct Row { const char16_t* text; int start; int lastDigit; int afterWhite; };
    const Row rows[] = {
        {u"123", 0, 2, 0}, {u"1-2e+.E5x", 0, 7, 0}, {u"x", 0, -1, 0}, {u"12 3", 0, 1, 0},
        {u"ab12", 2, 3, 2}, {u"", 0, -1, 0}, {u" \t\n\r7", 0, -1, 4}, {u"\v 7", 0, -1, 0},
        {u"12", 5, 4, 5}, {u"12", -3, -4, -3}, {u"12", INT_MIN, INT_MIN, INT_MIN},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(CString(row.text).ToUtf8() + " at " + std::to_string(row.start));
        const CString json(row.text);
        EXPECT_EQ(CJSON::LastIndexOfNumber(json, row.start), row.lastDigit);
        int index = row.start;
        CJSON::SkipWhitespace(json, index);
        EXPECT_EQ(index, row.afterWhite);
    }
}

// What each accepted text gives, the lenient forms included.
TEST(JsonParse, ValuesAndLeniency) {
    struct Row { const char16_t* text; const char* value; };
    const Row rows[] = {
        {u"[1, 2, 3]", "[0:1,1:2,2:3]"},
        {u"{\"b\": 1, \"a\": 2}", "[b:1,a:2]"},
        {u"{\"a\": 1, \"b\": 2, \"a\": 3}", "[a:3,b:2]"},   // a repeated name keeps its place
        {u"[,1,,2,]", "[0:1,1:2]"},
        {u"[1 2]", "[0:1,1:2]"},
        {u"[\"x\" \"y\"]", "[0:'x',1:'y']"},
        {u"{\"a\":1 \"b\":2}", "[a:1,b:2]"},
        {u"{,\"a\":1,}", "[a:1]"},
        {u"{}", "[]"}, {u"[]", "[]"}, {u"[,,,]", "[]"}, {u"{ , }", "[]"},
        {u"true", "1"}, {u"false", "0"}, {u"null", "null"},
        {u"[true,false,null]", "[0:1,1:0,2:null]"},
        {u"1.5", "d1.5"}, {u"1", "1"}, {u"-7", "-7"}, {u"1e3", "d1000"}, {u"1.5E3", "d1500"},
        {u"-.5", "d-0.5"}, {u"-0", "0"}, {u"0012", "12"},
        {u"1-2", "1"}, {u"1.2.3", "d1.2"}, {u"-", "0"}, {u"-e", "d0"}, {u"1e+2", "d100"},
        {u"1234567890123456789", "1234567890123456789"}, {u"9223372036854775807", "9223372036854775807"},
        {u"9223372036854775808", "9223372036854775807"}, {u"-9223372036854775809", "-9223372036854775808"},
        {u"1e400", "dinf"}, {u"-1e400", "d-inf"}, {u"1e-400", "d0"},
        {u"1 2", "1"}, {u"[1]] x", "[0:1]"},                // text after the value is ignored
        {u"  \"ab\"  ", "'ab'"}, {u"[[[]],[[1]]]", "[0:[0:[]],1:[0:[0:1]]]"},
        {u"{\"a\":[1,{\"b\":null}],\"c\":{}}", "[a:[0:1,1:[b:null]],c:[]]"},
        {u"{\"\":1}", "[:1]"}, {u"{1\":1}", "[:1]"}, {u"{true\":1}", "[rue:1]"},   // a token opens a name, unexamined
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(CString(row.text).ToUtf8());
        int bSuccess = 0;
        EXPECT_EQ(Parsed(row.text, bSuccess), row.value);
        EXPECT_EQ(bSuccess, 1);
    }
}

TEST(JsonParse, FailureResults) {
    struct Row { const char16_t* text; const char* value; };
    const Row rows[] = {
        // No value where one is expected: type 0.
        {u"   ", "null"}, {u"}", "null"}, {u"]", "null"}, {u":", "null"}, {u",", "null"},
        {u"x", "null"}, {u"+1", "null"}, {u".5", "null"}, {u"True", "null"}, {u"tru", "null"},
        // A string that never ends, at the top level: type 0.
        {u"\"abc", "null"}, {u"\"abc\\", "null"}, {u"\"\\u12", "null"}, {u"\"\\u123", "null"},
        // Anything going wrong inside an object or array: an empty ARRAY.
        {u"[", "[]"}, {u"{", "[]"}, {u"[1,2", "[]"}, {u"{\"a\":1", "[]"}, {u"[[1],[2", "[]"},
        {u"{\"a\" 1}", "[]"}, {u"{\"a\"}", "[]"}, {u"{\"a\":}", "[]"},
        {u"[1:2]", "[]"}, {u"[}", "[]"}, {u"{1:2}", "[]"}, {u"{\"a\":1]", "[]"},
        {u"{a\":1}", "[]"}, {u"{1\"y\":1}", "[]"},
        {u"[\"abc]", "[]"}, {u"[1,[2,[3,x]]]", "[]"}, {u"{\"a\":{\"b\":[True]}}", "[]"},
        {u"[{\"a\":\"\\u12\"}]", "[]"}, {u"{\"a\":1,\"b\":2,\"c\"", "[]"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(CString(row.text).ToUtf8());
        int bSuccess = 1;
        EXPECT_EQ(Parsed(row.text, bSuccess), row.value);
        EXPECT_EQ(bSuccess, 0);
    }

    int bSuccess = 0;
    EXPECT_EQ(Parsed(CString(), bSuccess), "null");
    EXPECT_EQ(bSuccess, 1);   // empty text is no failure
    EXPECT_EQ(Describe(CJSON::Parse(u"[1,")), "[]");
}

TEST(JsonParse, StringEscapes) {
    struct Row { std::u16string text; std::u16string value; };
    const Row rows[] = {
        {u"\"a\\\"b\\\\c\\/d\"", u"a\"b\\c/d"}, {u"\"\\b\\f\\n\\r\\t\"", u"\b\f\n\r\t"},
        {u"\"a\\qb\"", u"ab"},                                  // unknown escape: both characters go
        {u"\"\\u0041\\u00e9\\u00E9\"", u"A\u00e9\u00e9"},
        {u"\"\\ud83d\\ude00\"", u"\xd83d\xde00"},               // a pair stays two code units
        {u"\"\\u00zz\"", std::u16string(1, u'\0')},             // read as wcstol reads base 16
        {u"\"\\u+041\"", u"A"}, {u"\"\\u-001\"", u"\xffff"}, {u"\"\\u 41x\"", u"A"}, {u"\"\\u0x4F\"", u"O"},
        {u"\"\\u004\"\"", u"\x04"},                             // four characters, whatever they are
        {u"\"a\nb\x01\"", u"a\nb\x01"},                         // raw control characters stay
        {u"\"\"", u""}, {u"\"\u00e9\u20ac\"", u"\u00e9\u20ac"},
        {std::u16string(u"\"a\0b\"", 5), std::u16string(u"a\0b", 3)},
        {u"\"" + std::u16string(100, u'x') + u"\\n\"", std::u16string(100, u'x') + u"\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(CString(row.text).ToUtf8());
        int bSuccess = 0;
        const CVariable value = CJSON::Parse(CString(row.text), bSuccess);
        EXPECT_EQ(bSuccess, 1);
        EXPECT_EQ(value.GetType(), VT_STRING);
        EXPECT_EQ(value.m_strValue.Str(), row.value);
    }
}

// Every number text is converted exactly as the runtime's _wtoi64 and _wtof
// convert it, whatever mix of signs, points and exponents it holds.
TEST(JsonParse, NumbersConvertAsTheRuntime) {
    // Every text of up to four characters of the number set, and up to six of a
    // smaller set that still mixes signs, points and exponents.
    const std::u16string all = u"0123456789+-.eE";
    const std::u16string few = u"01.e-+";
    std::vector<std::u16string> texts;
    std::vector<std::u16string> level = {u""};
    for (int length = 1; length <= 6; ++length) {
        const std::u16string& alphabet = length <= 4 ? all : few;
        std::vector<std::u16string> next;
        for (const std::u16string& prefix : level) {
            if (prefix.find_first_not_of(alphabet) != std::u16string::npos) continue;
            for (char16_t c : alphabet) next.push_back(prefix + c);
        }
        texts.insert(texts.end(), next.begin(), next.end());
        level = std::move(next);
    }
    // Overflow, underflow, subnormals, long mantissas and texts that are no number.
    texts.push_back(u"17976931348623157" + std::u16string(292, u'0') + u".0");
    texts.push_back(u"0." + std::u16string(400, u'0') + u"1");
    for (const char16_t* text : {u"1e309", u"-1e309", u"4.9e-324", u"2e-324", u"2.2250738585072011e-308",
                                 u"0.1000000000000000055511151231257827", u"+.5", u"+-1", u"-+1", u"1.e5",
                                 u"00.5e+0010", u"1e", u"1e+", u".e1", u"99999999999999999999999",
                                 u"-99999999999999999999999", u"+99999999999999999999"})
        texts.push_back(text);

    int nChecked = 0;
    for (const std::u16string& text : texts) {
        const CString json(text);
        int index = 0;
        const CVariable value = CJSON::ParseNumber(json, index);
        ASSERT_EQ(index, json.GetLength()) << json;
        if (text.find_first_of(u".eE") != std::u16string::npos) {
            ASSERT_EQ(value.GetType(), VT_DOUBLE) << json;
            const double expected = _wtof(json);
            ASSERT_EQ(std::memcmp(&value.m_dValue, &expected, sizeof expected), 0)
                << json << ": " << value.m_dValue << " instead of " << expected;
        } else {
            ASSERT_EQ(value.GetType(), VT_INT) << json;
            ASSERT_EQ(value.m_nValue, _wtoi64(json)) << json;
        }
        ++nChecked;
    }
    EXPECT_GT(nChecked, 100000);
}

// Each public function called on its own: where it leaves the position, and
// that the flag is only ever lowered.
TEST(JsonParse, EntryPoints) {
    int bSuccess = 1;
    int index = 0;
    const CString two(u"  [1] 2");
    EXPECT_EQ(Describe(CJSON::ParseValue(two, index, bSuccess)), "[0:1]");
    EXPECT_EQ(index, 5);
    EXPECT_EQ(Describe(CJSON::ParseValue(two, index, bSuccess)), "2");
    EXPECT_EQ(index, 7);
    // The opening token of an object or array, and the quote of a string, are taken unexamined.
    index = 0;
    EXPECT_EQ(Describe(CJSON::ParseObject(u"[\"a\":1}", index, bSuccess)), "[a:1]");
    EXPECT_EQ(index, 7);
    index = 0;
    EXPECT_EQ(Describe(CJSON::ParseString(u" x ab\"c", index, bSuccess)), "' ab'");
    EXPECT_EQ(index, 6);
    EXPECT_EQ(bSuccess, 1);

    // A stray token fails without consuming anything.
    index = 0;
    EXPECT_EQ(Describe(CJSON::ParseValue(u"  }", index, bSuccess)), "null");
    EXPECT_EQ(index, 0);
    // Under a flag already at 0 a value still reads, but a container fails at its
    // first element, since it checks the flag after each.
    index = 0;
    EXPECT_EQ(Describe(CJSON::ParseValue(u"1", index, bSuccess)), "1");
    index = 0;
    EXPECT_EQ(Describe(CJSON::ParseArray(u"[1]", index, bSuccess)), "[]");
    EXPECT_EQ(bSuccess, 0);

    struct NumberRow { const char16_t* text; const char* value; int after; };
    const NumberRow numbers[] = {
        {u"  12.5x", "d12.5", 6}, {u"x", "0", 0}, {u"+5", "5", 2}, {u".5", "d0.5", 2}, {u"e5", "d0", 2},
    };
    for (const NumberRow& row : numbers) {
        SCOPED_TRACE(CString(row.text).ToUtf8());
        index = 0;
        EXPECT_EQ(Describe(CJSON::ParseNumber(row.text, index)), row.value);
        EXPECT_EQ(index, row.after);
    }

    // A position outside the text reads as its end: nothing is read, nothing
    // outside the buffer is touched and no position arithmetic overflows.
    for (const int start : {-1, INT_MIN, 3, INT_MAX}) {
        SCOPED_TRACE(start);
        const CString json(u"[1]");
        index = start;
        bSuccess = 1;
        EXPECT_EQ(Describe(CJSON::ParseValue(json, index, bSuccess)) + Describe(CJSON::ParseString(json, index, bSuccess)),
                  "nullnull");
        EXPECT_EQ(Describe(CJSON::ParseObject(json, index, bSuccess)) + Describe(CJSON::ParseArray(json, index, bSuccess)),
                  "[][]");
        EXPECT_EQ(Describe(CJSON::ParseNumber(json, index)), "0");
        EXPECT_EQ(index, start);
        EXPECT_EQ(bSuccess, 0);
    }
}

TEST(JsonParse, NestingDepth) {
    const int limit = CJSON::MAX_NESTING_DEPTH;
    const auto nested = [](int depth, const std::u16string& open, const std::u16string& close) {
        std::u16string text;
        text.reserve((open.size() + close.size()) * static_cast<size_t>(depth));
        for (int k = 0; k < depth; ++k) text += open;
        for (int k = 0; k < depth; ++k) text += close;
        return CString(std::move(text));
    };
    struct Row { const char* name; CString text; int bSuccess; };
    const Row rows[] = {
        {"a million [ unclosed", CString(std::u16string(1000000, u'[')), 0},
        {"a million [ closed", nested(1000000, u"[", u"]"), 0},
        {"a million objects", nested(1000000, u"{\"a\":", u"}"), 0},
        {"arrays at the limit", nested(limit, u"[", u"]"), 1},
        {"arrays past the limit", nested(limit + 1, u"[", u"]"), 0},
        {"objects and arrays at the limit", nested(limit / 2, u"{\"a\":[", u"]}"), 1},
        {"objects and arrays past the limit", nested(limit / 2 + 1, u"[{\"a\":", u"}]"), 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        int bSuccess = -1;
        const CVariable value = CJSON::Parse(row.text, bSuccess);
        EXPECT_EQ(bSuccess, row.bSuccess);
        ASSERT_EQ(value.GetType(), VT_ARRAY);
        if (row.bSuccess == 0) {
            EXPECT_EQ(value.m_arrayValue.GetCount(), 0);
            continue;
        }
        // Count the levels actually built.
        int depth = 1;
        const CVariable* p = &value;
        while (p->m_arrayValue.GetCount() == 1) {
            CVariable* pChild = nullptr;
            ASSERT_TRUE(p->m_arrayValue.Lookup(p->m_arrayValue.GetIndex(0), pChild));
            p = pChild;
            ++depth;
        }
        EXPECT_EQ(depth, limit);
    }
}
