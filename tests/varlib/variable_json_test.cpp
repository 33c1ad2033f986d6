// CVariable::ToJSON and NormalizeJsonString: escaping, the text of each type,
// the array layout (array or object, indentation, closing column), failure at
// any depth and the untouched cursor.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "varlib/values/Variable.h"
#include "varlib/values/VariableArray.h"

namespace {

using Members = std::vector<std::pair<CString, CVariable>>;

// An ARRAY value holding the members in this order.
CVariable Arr(const Members& members) {
    CVariableArray array;
    for (const auto& [index, value] : members)
        array.InsertElement(index, new CVariable(value));
    return CVariable(array);
}

CVariable OfType(eVariableType type) {
    CVariable v;
    v.ResetType(type);
    return v;
}

CVariable XmlValue() { return CVariable(CXML(CString(u"node"))); }

CString Json(const CVariable& v, int nIndent = 0) {
    int bSuccess = -1;
    CString text = v.ToJSON(bSuccess, nIndent);
    EXPECT_EQ(bSuccess, 1);
    return text;
}

class VariableJson : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
    }
};

}  // namespace

TEST_F(VariableJson, NormalizeJsonStringTable) {
    struct Row { const char* what; std::u16string input; std::u16string expected; };
    const std::vector<Row> rows = {
        {"empty", u"", u""},
        {"plain", u"abc", u"abc"},
        {"backslash", u"a\\b", u"a\\\\b"},
        {"quote", u"say \"hi\"", u"say \\\"hi\\\""},
        {"backslash before quote", u"\\\"", u"\\\\\\\""},
        {"backspace", u"\b", u"\\b"},
        {"form feed", u"\f", u"\\f"},
        {"line feed", u"a\nb", u"a\\nb"},
        {"carriage return", u"\r\n", u"\\r\\n"},
        {"tab", u"\t", u"\\t"},
        {"escaped letters stay", u"\\n", u"\\\\n"},
        {"slash stays", u"a/b", u"a/b"},
        {"other controls raw", std::u16string{u'\x01', u'\x0b', u'\x1f', u'\x7f'},
         std::u16string{u'\x01', u'\x0b', u'\x1f', u'\x7f'}},
        {"NUL raw", std::u16string(1, u'\0') + u"x", std::u16string(1, u'\0') + u"x"},
        {"above 127 raw", u"\u00e9\u20ac\U0001F600", u"\u00e9\u20ac\U0001F600"},
        {"all in a row", u"\\\"\b\f\n\r\t", u"\\\\\\\"\\b\\f\\n\\r\\t"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        CString text(row.input);
        CVariable::NormalizeJsonString(text);
        EXPECT_EQ(text.Str(), row.expected);
    }
}

TEST_F(VariableJson, TypeTable) {
    CVariable named(42);
    named.SetName(u"n");
    named.SetDisplayName(u"Display");
    named.SetDescription(u"Description");
    CVariable withEnum(2);
    withEnum.m_enumValues.Add(CIntegerEnumEntry(u"down", u"", 2));
    CSnmpPdu pdu;
    CSnmpVarBind vb(CString(u"1.3.6.1.2.1.1.1.0"));

    struct Row { const char* what; CVariable value; CString expected; };
    const std::vector<Row> rows = {
        {"STRING", CVariable(CString(u"a\\b\"c\td")), u"\"a\\\\b\\\"c\\td\""},
        {"STRING empty", CVariable(CString()), u"\"\""},
        {"STRING raw control", CVariable(CString(std::u16string{u'x', u'\x01'})), std::u16string{u'"', u'x', u'\x01', u'"'}},
        {"DOUBLE", CVariable(1.5), u"1.500000"},
        {"DOUBLE negative", CVariable(-0.25), u"-0.250000"},
        {"DOUBLE big", CVariable(1e20), u"100000000000000000000.000000"},
        {"INT", CVariable(-5), u"-5"},
        {"INT min", CVariable(std::numeric_limits<int64_t>::min()), u"-9223372036854775808"},
        {"INT with a name", named, u"42"},
        {"INT with an enumeration", withEnum, u"2"},
        {"CHAR as its code", CVariable(u'A'), u"65"},
        {"CHAR 0", CVariable(u'\0'), u"0"},
        {"CHAR surrogate", CVariable(static_cast<char16_t>(0xD800)), u"55296"},
        {"BYTE as its code", CVariable(static_cast<unsigned char>(200)), u"200"},
        {"TIME as its date", CVariable(CTime(86400 * 365 + 3600)), u"\"01.01.1971\""},
        {"PDU", CVariable(pdu), pdu.ToJSON()},
        {"SNMPVAR", CVariable(vb), vb.ToJSON()},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        // A scalar ignores the indentation: the caller writes the line's spaces.
        for (int nIndent : {0, 8}) {
            EXPECT_EQ(Json(row.value, nIndent), row.expected);
        }
    }
}

TEST_F(VariableJson, TypesWithoutJsonFormFail) {
    const std::vector<std::pair<const char*, CVariable>> rows = {
        {"UNDEFINED", CVariable()},
        {"ARRAY_ELEM", OfType(VT_ARRAY_ELEM)},
        {"XML", XmlValue()},
        {"XML empty", OfType(VT_XML)},
        {"unknown number", OfType(static_cast<eVariableType>(12345))},
    };
    for (const auto& [what, value] : rows) {
        SCOPED_TRACE(what);
        int bSuccess = 1;
        EXPECT_EQ(value.ToJSON(bSuccess, 0), CString());
        EXPECT_EQ(bSuccess, 0);
    }
}

// The "%f" digits, compared with the C library's printf over ties, extremes and random bits.
TEST_F(VariableJson, DoubleDigitsAreThoseOfPrintf) {
    std::vector<double> values = {0.0, -0.0, 0.0078125, 0.0234375, 2.5, 0.5e-6, 1.5e-6, 2.5e-6, 1e-7,
                                  0.1, 1.0 / 3.0, 123456.7890125, 9007199254740993.0, 1e300,
                                  std::numeric_limits<double>::max(), -std::numeric_limits<double>::max(),
                                  std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::infinity(),
                                  -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()};
    // k / 128 for odd k ends in a 5 at the seventh decimal: an exact tie for the rounding.
    for (int k = 1; k < 256; k += 2)
        values.push_back(k / 128.0);
    std::mt19937_64 random(12345);
    for (int i = 0; i < 2000; ++i) {
        const double magnitude = std::ldexp(1.0, static_cast<int>(random() % 80) - 40);
        values.push_back((static_cast<double>(random() % 2000000) - 1000000.0) / 7.0 * magnitude);
    }
    for (double d : values) {
        SCOPED_TRACE(d);
        char expected[512];
        std::snprintf(expected, sizeof expected, "%f", d);
        EXPECT_EQ(Json(CVariable(d)), CString(expected));
    }
}

TEST_F(VariableJson, ArrayLayoutTable) {
    CVariable named = Arr({{u"0", CVariable(1)}});
    named.SetName(u"ignored");
    named.SetDisplayName(u"ignored too");
    const CVariable empty = Arr({});

    struct Row { const char* what; CVariable value; int nIndent; CString expected; };
    const std::vector<Row> rows = {
        {"numeric first index: array", Arr({{u"0", CVariable(1)}, {u"1", CVariable(2)}}), 0,
         u"[\n    1,\n    2\n]"},
        {"text first index: object", Arr({{u"a", CVariable(CString(u"x"))}}), 0,
         u"{\n    \"a\" : \"x\"\n}"},
        {"later text index dropped", Arr({{u"0", CVariable(1)}, {u"name", CVariable(2)}}), 0,
         u"[\n    1,\n    2\n]"},
        {"later numeric index kept", Arr({{u"name", CVariable(1)}, {u"0", CVariable(2)}}), 0,
         u"{\n    \"name\" : 1,\n    \"0\" : 2\n}"},
        {"signed and decimal indexes are numbers", Arr({{u"-1.5", CVariable(1)}, {u"x", CVariable(2)}}), 0,
         u"[\n    1,\n    2\n]"},
        {"+ index is a number", Arr({{u"+7", CVariable(1)}}), 0, u"[\n    1\n]"},
        {"exponent index is text", Arr({{u"1e3", CVariable(1)}}), 0, u"{\n    \"1e3\" : 1\n}"},
        {"blank in index is text", Arr({{u" 1", CVariable(1)}}), 0, u"{\n    \" 1\" : 1\n}"},
        {"index escaped", Arr({{u"a\"b\\c", CVariable(1)}}), 0, u"{\n    \"a\\\"b\\\\c\" : 1\n}"},
        {"insertion order, not index order", Arr({{u"5", CVariable(5)}, {u"1", CVariable(1)}}), 0,
         u"[\n    5,\n    1\n]"},
        {"nested array closes in its items' column", Arr({{u"0", Arr({{u"0", CVariable(1)}})}, {u"1", CVariable(2)}}), 0,
         u"[\n    [\n        1\n        ],\n    2\n]"},
        {"nested object in object",
         Arr({{u"o", Arr({{u"k", CVariable(CString(u"v"))}, {u"n", CVariable(2.0)}})}}), 0,
         u"{\n    \"o\" : {\n        \"k\" : \"v\",\n        \"n\" : 2.000000\n        }\n}"},
        {"three levels, last element nested",
         Arr({{u"0", CVariable(1)}, {u"1", Arr({{u"a", Arr({{u"0", CVariable(2)}})}})}}), 0,
         u"[\n    1,\n    {\n        \"a\" : [\n            2\n            ]\n        }\n]"},
        {"indented start closes at nIndent + 4", Arr({{u"0", CVariable(1)}}), 4,
         u"[\n        1\n        ]"},
        {"negative start writes no spaces", Arr({{u"0", CVariable(1)}}), -8, u"[\n1\n]"},
        {"name and display name not written", named, 0, u"[\n    1\n]"},
        {"trailing comma text in a string survives", Arr({{u"0", CVariable(CString(u"a,\n"))}}), 0,
         u"[\n    \"a,\\n\"\n]"},
        {"empty at the top", empty, 0, u""},
        {"empty nested, middle", Arr({{u"e", empty}, {u"n", CVariable(1)}}), 0,
         u"{\n    \"e\" : [],\n    \"n\" : 1\n}"},
        {"empty nested, last", Arr({{u"0", CVariable(1)}, {u"1", empty}}), 0, u"[\n    1,\n    []\n]"},
        {"empty nested, first and only", Arr({{u"0", empty}}), 0, u"[\n    []\n]"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(Json(row.value, row.nIndent), row.expected);
    }
}

TEST_F(VariableJson, FailsOnValueWithoutJsonFormAtAnyDepth) {
    const CVariable bad = XmlValue();
    const CVariable one(1);
    struct Row { const char* what; CVariable value; };
    const std::vector<Row> rows = {
        {"XML first", Arr({{u"0", bad}, {u"1", one}, {u"2", one}})},
        {"XML middle", Arr({{u"0", one}, {u"1", bad}, {u"2", one}})},
        {"XML last", Arr({{u"0", one}, {u"1", one}, {u"2", bad}})},
        {"XML two levels down", Arr({{u"0", one}, {u"1", Arr({{u"a", Arr({{u"0", one}, {u"1", bad}})}})}, {u"2", one}})},
        {"XML in an object", Arr({{u"a", one}, {u"b", bad}})},
        {"UNDEFINED nested", Arr({{u"0", Arr({{u"0", CVariable()}})}})},
        {"ARRAY_ELEM nested", Arr({{u"k", Arr({{u"0", one}, {u"1", OfType(VT_ARRAY_ELEM)}})}})},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        for (int nIndent : {0, 4}) {
            int bSuccess = 1;
            EXPECT_EQ(row.value.ToJSON(bSuccess, nIndent), CString());
            EXPECT_EQ(bSuccess, 0);
        }
    }
    // The flag is set again by each call, not only cleared.
    int bSuccess = 0;
    EXPECT_EQ(one.ToJSON(bSuccess, 0), CString(u"1"));
    EXPECT_EQ(bSuccess, 1);
    bSuccess = 0;
    EXPECT_EQ(Arr({}).ToJSON(bSuccess, 0), CString());
    EXPECT_EQ(bSuccess, 1);
}

TEST_F(VariableJson, WalkInProgressContinues) {
    CVariable value = Arr({{u"a", CVariable(1)}, {u"b", Arr({{u"0", CVariable(2)}, {u"1", CVariable(3)}})},
                           {u"c", CVariable(4)}});
    CString index;
    CVariable* pElement = nullptr;
    ASSERT_TRUE(value.m_arrayValue.GetFirstVariable(index, pElement));
    ASSERT_TRUE(value.m_arrayValue.GetNextVariable(index, pElement));
    ASSERT_EQ(index, CString(u"b"));
    CVariable* pNested = pElement;
    CString nestedIndex;
    CVariable* pNestedElement = nullptr;
    ASSERT_TRUE(pNested->m_arrayValue.GetFirstVariable(nestedIndex, pNestedElement));

    const CString expected = u"{\n    \"a\" : 1,\n    \"b\" : [\n        2,\n        3\n        ],\n    \"c\" : 4\n}";
    EXPECT_EQ(Json(value), expected);
    EXPECT_EQ(Json(value), expected);

    ASSERT_TRUE(value.m_arrayValue.GetNextVariable(index, pElement));
    EXPECT_EQ(index, CString(u"c"));
    ASSERT_TRUE(pNested->m_arrayValue.GetNextVariable(nestedIndex, pNestedElement));
    EXPECT_EQ(nestedIndex, CString(u"1"));
}

// Deep nesting goes on the heap, and every level keeps the layout rules.
TEST_F(VariableJson, DeepNestingKeepsColumns) {
    constexpr int kDepth = 600;
    // Built top-down in place: wrapping a value by copy would cost a copy per level.
    CVariable value;
    value.ConstructArray(CVariableArray());
    CVariable* pLevel = &value;
    for (int level = 1; level <= kDepth; ++level) {
        auto pChild = std::make_unique<CVariable>();
        if (level == kDepth)
            *pChild = 7;
        else
            pChild->ConstructArray(CVariableArray());
        CVariable* pNext = pChild.get();
        pLevel->m_arrayValue.InsertElement(u"0", pChild.release());
        pLevel = pNext;
    }
    const std::u16string text = Json(value).Str();

    std::vector<std::u16string> lines;
    for (std::size_t start = 0;;) {
        const std::size_t end = text.find(u'\n', start);
        lines.push_back(text.substr(start, end == std::u16string::npos ? std::u16string::npos : end - start));
        if (end == std::u16string::npos)
            break;
        start = end + 1;
    }
    ASSERT_EQ(lines.size(), static_cast<std::size_t>(2 * kDepth + 1));
    // Opening lines: level k starts at 4k; the innermost value at 4 * kDepth.
    for (int k = 0; k < kDepth; ++k)
        ASSERT_EQ(lines[k], std::u16string(4 * k, u' ') + u"[") << "line " << k;
    EXPECT_EQ(lines[kDepth], std::u16string(4 * kDepth, u' ') + u"7");
    // Closing lines: a nested level closes at its own items' column, the outermost at 0.
    for (int k = kDepth - 1; k >= 1; --k) {
        // Each level is its parent's last element, so no comma follows a bracket.
        ASSERT_EQ(lines[2 * kDepth - k], std::u16string(4 * (k + 1), u' ') + u"]") << "level " << k;
    }
    EXPECT_EQ(lines.back(), u"]");
}
