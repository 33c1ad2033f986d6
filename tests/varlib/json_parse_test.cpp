// CJSON: tokens, the value each text gives, the leniency rules, the failure
// results, escapes, positions outside the text and the nesting guard.
#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "varlib/formats/JSON.h"

namespace {

// 12 (INT), d1.5 (DOUBLE), 'ab' (STRING), null (type 0), [index:value,...] (ARRAY in walk order).
std::string Describe(const CVariable& v) {
    char text[40];
    switch (v.GetType()) {
    case VT_UNDEFINED: return "null";
    case VT_INT: return std::to_string(v.m_nValue);
    case VT_STRING: return "'" + v.m_strValue.ToUtf8() + "'";
    case VT_DOUBLE: std::snprintf(text, sizeof text, "d%.17g", v.m_dValue); return text;
    case VT_ARRAY: break;
    default: return "type " + std::to_string(v.GetType());
    }
    std::string out = "[";
    for (int k = 0; k < static_cast<int>(v.m_arrayValue.GetCount()); ++k) {
        const CString index = v.m_arrayValue.GetIndex(k);
        CVariable* pElement = nullptr;
        if (!v.m_arrayValue.Lookup(index, pElement)) return "broken order map";
        EXPECT_TRUE(pElement->GetIndex() == index && pElement->IsArrayElement() == 1);
        out += (k ? "," : "") + index.ToUtf8() + ":" + Describe(*pElement);
    }
    return out + "]";
}

// The UTF-8 door reads bytes as their conversion to a CString would be read.
void ExpectUtf8DoorAgrees(const std::string& bytes) {
    SCOPED_TRACE(testing::PrintToString(bytes));
    int bConverted = -1, bDirect = -1;
    const std::string converted = Describe(CJSON::Parse(CString::FromUtf8(bytes), bConverted));
    EXPECT_EQ(Describe(CJSON::Parse(std::string_view(bytes), bDirect)), converted);
    EXPECT_EQ(bDirect, bConverted);
}

}  // namespace

// Token codes (0 none, 1 { 2 } 3 [ 4 ] 5 : 6 , 7 " 8 number 9 true 10 false 11 null),
// the position after the token, the last character of a number and the position after white space.
TEST(JsonParse, TokensNumberScanAndWhitespace) {
    struct Row { const char16_t* text; int start, code, after, lastDigit, afterWhite; };
    const Row rows[] = {
        {u"", 0, 0, 0, -1, 0}, {u" \t\r\n{", 0, 1, 5, -1, 4}, {u"}", 0, 2, 1, -1, 0}, {u"[", 0, 3, 1, -1, 0},
        {u"]", 0, 4, 1, -1, 0}, {u":", 0, 5, 1, -1, 0}, {u",", 0, 6, 1, -1, 0}, {u"\"abc\"", 0, 7, 1, -1, 0},
        {u"-1", 0, 8, 1, 1, 0}, {u"1-2e+.E5x", 0, 8, 1, 7, 0}, {u"+1", 0, 0, 0, 1, 0}, {u"truex", 0, 9, 4, -1, 0},
        {u"tru", 0, 0, 0, -1, 0}, {u"false", 0, 10, 5, -1, 0}, {u"null", 0, 11, 4, -1, 0}, {u"\v1", 0, 0, 0, -1, 0},
        {u"ab12", 2, 8, 3, 3, 2}, {u"{", 5, 0, 5, 4, 5}, {u"{", -1, 0, -1, -2, -1},   // outside the text: nothing
        {u"{", INT_MIN, 0, INT_MIN, INT_MIN, INT_MIN}, {u"{", INT_MAX, 0, INT_MAX, INT_MAX - 1, INT_MAX},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(CString(row.text).ToUtf8() + " at " + std::to_string(row.start));
        int index = row.start, white = row.start;
        EXPECT_EQ(CJSON::CheckNextToken(row.text, row.start), row.code);
        EXPECT_EQ(CJSON::NextToken(row.text, index), row.code);
        CJSON::SkipWhitespace(row.text, white);
        EXPECT_EQ(index, row.after);
        EXPECT_EQ(CJSON::LastIndexOfNumber(row.text, row.start), row.lastDigit);
        EXPECT_EQ(white, row.afterWhite);
    }
}

// What each accepted text gives, the lenient forms included.
TEST(JsonParse, ValuesAndLeniency) {
    const std::pair<const char16_t*, const char*> rows[] = {
        {u"", "null"}, {u"{\"b\": 1, \"a\": 2}", "[b:1,a:2]"},
        {u"{\"a\": 1, \"b\": 2, \"a\": 3}", "[a:3,b:2]"},   // a repeated name keeps its place
        {u"[,1,,2,]", "[0:1,1:2]"}, {u"[1 2]", "[0:1,1:2]"}, {u"{\"a\":1 \"b\":2}", "[a:1,b:2]"},
        {u"{,\"a\":1,}", "[a:1]"}, {u"[,,,]", "[]"}, {u"{ , }", "[]"}, {u"[true,false,null]", "[0:1,1:0,2:null]"},
        {u"1.5", "d1.5"}, {u"-7", "-7"}, {u"1e3", "d1000"}, {u"-.5", "d-0.5"}, {u"0012", "12"}, {u"1-2", "1"},
        {u"1.2.3", "d1.2"}, {u"-", "0"}, {u"-e", "d0"}, {u"9223372036854775807", "9223372036854775807"},
        {u"9223372036854775808", "9223372036854775807"}, {u"-9223372036854775809", "-9223372036854775808"},
        {u"1e400", "dinf"}, {u"1e-400", "d0"}, {u"1 2", "1"}, {u"[1]] x", "[0:1]"},   // what follows is ignored
        {u"  \"ab\"  ", "'ab'"}, {u"{\"a\":[1,{\"b\":null}],\"c\":{}}", "[a:[0:1,1:[b:null]],c:[]]"},
        {u"{\"\":1}", "[:1]"}, {u"{1\":1}", "[:1]"}, {u"{true\":1}", "[rue:1]"},   // a token opens a name, unexamined
        // Escapes: an unknown one drops both characters, \u takes four characters as wcstol reads them in base 16.
        {u"\"a\\\"b\\\\c\\/d\"", "'a\"b\\c/d'"}, {u"\"\\b\\f\\n\\r\\t\"", "'\b\f\n\r\t'"}, {u"\"a\\qb\"", "'ab'"},
        {u"\"\\u0041\\u00E9\"", "'A\u00e9'"}, {u"\"\\ud83d\\ude00\"", "'\U0001F600'"}, {u"\"\\u-001\"", "'\uffff'"},
        {u"\"\\u 41x\"", "'A'"}, {u"\"\\u004\"\"", "'\x04'"}, {u"\"a\nb\x01\"", "'a\nb\x01'"},
        // Names met before are shared, never confused with a like one: same length, an escape, a prefix.
        {u"[{\"ab\":1,\"ba\":2},{\"ba\":3,\"ab\":4,\"a\\u0062\":5},{\"a\":6,\"abc\":7,\"ab\":8}]",
         "[0:[ab:1,ba:2],1:[ba:3,ab:5],2:[a:6,abc:7,ab:8]]"},
    };
    for (const auto& [text, value] : rows) {
        SCOPED_TRACE(CString(text).ToUtf8());
        int bSuccess = 0;
        EXPECT_EQ(Describe(CJSON::Parse(text, bSuccess)), value);
        EXPECT_EQ(bSuccess, 1);
        ExpectUtf8DoorAgrees(CString(text).ToUtf8());
    }
}

// No value where one is expected, or a string that never ends, at the top level:
// type 0. Anything going wrong inside an object or array: an empty ARRAY.
TEST(JsonParse, FailureResults) {
    const std::pair<const char*, std::vector<const char16_t*>> groups[] = {
        {"null", {u"   ", u"}", u",", u"+1", u"tru", u"\"abc", u"\"abc\\", u"\"\\u123"}},
        {"[]", {u"[", u"[1,2", u"{\"a\":1", u"[[1],[2", u"{\"a\" 1}", u"{\"a\"}", u"{\"a\":}", u"[1:2]", u"{1:2}",
                u"{\"a\":1]", u"{a\":1}", u"[\"abc]", u"[1,[2,[3,x]]]", u"[{\"a\":\"\\u12\"}]"}},
    };
    for (const auto& [value, texts] : groups)
        for (const char16_t* text : texts) {
            SCOPED_TRACE(CString(text).ToUtf8());
            int bSuccess = 1;
            EXPECT_EQ(Describe(CJSON::Parse(text, bSuccess)), value);
            EXPECT_EQ(bSuccess, 0);
            ExpectUtf8DoorAgrees(CString(text).ToUtf8());
        }
}

// Bytes that are no UTF-8, NUL bytes, and escapes followed by more than ASCII,
// where a byte is not a code unit: the door still agrees with the conversion.
TEST(JsonParse, Utf8DoorOnBytes) {
    const std::string rows[] = {
        "\"\xC3\xA9t\xC3\xA9\"", "[\"a\xFF\", \"\xE4\xB8\"]", "{\"\xF0\x9F\x98\x80\":\"\xED\xA0\x80\"}",
        "[1,\xC3\xA9]", "\xEF\xBB\xBF[1]", std::string("[1,\0,2]", 7), std::string("\"a\0b\"", 5),
        "\"\\\xC3\xA9x\"", "\"\\\xF0\x9F\x98\x80x\"", "\"\\u00\xC3\xA9\"", "\"\\u0\xF0\x9F\x98\x80\"\"",
        "[\"\\u\xE4\xB8\xAD\xE4\xB8\xAD\"]", "\"\\u12\"", "\"a\\q\xC3\xA9\"", "{\"k\":\"\xC3\"}",
    };
    for (const std::string& bytes : rows)
        ExpectUtf8DoorAgrees(bytes);
    int bSuccess = 0;
    EXPECT_EQ(Describe(CJSON::Parse("{\"n\":[1,2.5]}", bSuccess)), "[n:[0:1,1:d2.5]]");   // a literal takes the door
    EXPECT_EQ(bSuccess, 1);
    EXPECT_EQ(Describe(CJSON::Parse(static_cast<const char*>(nullptr))), "null");
}

// A stray token fails without consuming anything; a position outside the text reads as its end,
// so nothing is read or touched, no arithmetic overflows and the flag is lowered.
TEST(JsonParse, EntryPoints) {
    int bSuccess = 1, index = 0;
    const auto at = [&](const CVariable& v) { return Describe(v) + "@" + std::to_string(index); };
    EXPECT_EQ(at(CJSON::ParseValue(u"  [1] 2", index, bSuccess)), "[0:1]@5");
    EXPECT_EQ(at(CJSON::ParseValue(u"  }", index = 0, bSuccess)), "null@0");
    const CString json(u"[1]");
    for (const int start : {-1, INT_MIN, 3, INT_MAX}) {
        const std::string s = "@" + std::to_string(start);
        bSuccess = 1;
        index = start;
        EXPECT_EQ(at(CJSON::ParseValue(json, index, bSuccess)) + at(CJSON::ParseString(json, index, bSuccess)) +
                      at(CJSON::ParseObject(json, index, bSuccess)) + at(CJSON::ParseArray(json, index, bSuccess)) +
                      at(CJSON::ParseNumber(json, index)),
                  "null" + s + "null" + s + "[]" + s + "[]" + s + "0" + s);
        EXPECT_EQ(bSuccess, 0);
    }
}

TEST(JsonParse, NestingDepth) {
    const int limit = CJSON::MAX_NESTING_DEPTH;
    const auto nested = [](int depth, const std::u16string& open, const std::u16string& close) {
        std::u16string text;
        for (int k = 0; k < depth; ++k) text += open;
        for (int k = 0; k < depth; ++k) text += close;
        return CString(text);
    };
    const std::pair<CString, int> rows[] = {   // text, depth built (0: fails as an empty ARRAY)
        {nested(1000000, u"[", u""), 0}, {nested(1000000, u"[", u"]"), 0}, {nested(1000000, u"{\"a\":", u"}"), 0},
        {nested(limit, u"[", u"]"), limit}, {nested(limit + 1, u"[", u"]"), 0},
        {nested(limit / 2, u"{\"a\":[", u"]}"), limit}, {nested(limit / 2 + 1, u"[{\"a\":", u"}]"), 0},
    };
    for (const auto& [text, expectedDepth] : rows) {
        SCOPED_TRACE(text.GetLength());
        int bSuccess = -1;
        const CVariable value = CJSON::Parse(text, bSuccess);
        EXPECT_EQ(bSuccess, expectedDepth ? 1 : 0);
        ASSERT_EQ(value.GetType(), VT_ARRAY);
        int depth = 1;   // levels actually built
        for (const CVariable* p = &value; p->m_arrayValue.GetCount() == 1; ++depth) {
            CVariable* pChild = nullptr;
            ASSERT_TRUE(p->m_arrayValue.Lookup(p->m_arrayValue.GetIndex(0), pChild));
            p = pChild;
        }
        EXPECT_EQ(depth, expectedDepth ? expectedDepth : 1);
    }
}
