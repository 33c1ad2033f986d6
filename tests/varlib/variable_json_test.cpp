// CVariable::ToJSON and NormalizeJsonString: escaping, the text of each type,
// the array layout (array or object, indentation, closing column), failure at
// any depth and the untouched cursor.
#include <gtest/gtest.h>

#include <limits>
#include <utility>

#include "test_values.h"

using namespace tv;

namespace {

CString Json(const CVariable& v, int nIndent = 0) {
    int bSuccess = -1;   // each call sets the flag, not only clears it
    CString text = v.ToJSON(bSuccess, nIndent);
    EXPECT_EQ(bSuccess, 1);
    // The UTF-8 writer gives the same text's bytes.
    int bUtf8 = -1;
    EXPECT_EQ(v.ToJSONUtf8(bUtf8, nIndent), text.ToUtf8());
    EXPECT_EQ(bUtf8, 1);
    return text;
}

}  // namespace

TEST(VariableJson, NormalizeJsonStringTable) {
    const std::u16string raw{u'\0', u'\x01', u'\x0b', u'\x1f', u'\x7f', u'/', u'\u00e9', u'\u20ac', 0xD83D, 0xDE00};
    const std::pair<std::u16string, std::u16string> rows[] = {
        {u"", u""}, {u"say \"hi\"", u"say \\\"hi\\\""}, {u"\\\"\b\f\n\r\t", u"\\\\\\\"\\b\\f\\n\\r\\t"},
        {u"\\n", u"\\\\n"},   // escaped letters are escaped again
        {raw, raw},   // other controls, "/" and everything above 127 stay raw
    };
    for (const auto& [input, expected] : rows) {
        SCOPED_TRACE(CString(input).ToUtf8());
        CString text(input);
        CVariable::NormalizeJsonString(text);
        EXPECT_EQ(text.Str(), expected);
    }
}

TEST(VariableJson, TypeTable) {
    CVariable withEnum(2);
    withEnum.m_enumValues.Add(CIntegerEnumEntry(u"down", u"", 2));
    withEnum.SetName(u"n");
    CSnmpPdu pdu;
    CSnmpVarBind vb(CString(u"1.3.6.1.2.1.1.1.0"));
    const std::pair<CVariable, CString> rows[] = {
        {Str(u"a\\b\"c\td\x01"), u"\"a\\\\b\\\"c\\td\x01\""}, {Str(u""), u"\"\""},
        {Str(u"\u00e9\U0001F600"), u"\"\u00e9\U0001F600\""},
        {CVariable(CString(std::u16string{u'a', char16_t(0xD800), u'\n', char16_t(0xDC00)})),   // lone surrogates
         CString(std::u16string{u'"', u'a', char16_t(0xD800), u'\\', u'n', char16_t(0xDC00), u'"'})},
        {CVariable(-0.25), u"-0.250000"},
        {CVariable(1e20), u"100000000000000000000.000000"},
        {CVariable(-std::numeric_limits<double>::infinity()), u"-inf"},   // as printf writes it
        {CVariable(std::numeric_limits<int64_t>::min()), u"-9223372036854775808"}, {withEnum, u"2"},   // not the name
        {CVariable(static_cast<char16_t>(0xD800)), u"55296"}, {CVariable(static_cast<unsigned char>(200)), u"200"},
        {CVariable(CTime(86400 * 365 + 3600)), u"\"01.01.1971\""}, {CVariable(pdu), pdu.ToJSON()},
        {CVariable(vb), vb.ToJSON()},
    };
    for (const auto& [value, expected] : rows) {
        SCOPED_TRACE(expected.ToUtf8());
        // A scalar ignores the indentation: the caller writes the line's spaces.
        EXPECT_EQ(Json(value, 0), expected);
        EXPECT_EQ(Json(value, 8), expected);
    }
}

TEST(VariableJson, ArrayLayoutTable) {
    const CVariable one(1), two(2), empty = Array({});
    const struct {
        CVariable value;
        int nIndent;
        CString expected;
    } rows[] = {
        // The first index decides array or object, whatever the later ones are.
        {Array({{"0", one}, {"name", two}}), 0, u"[\n    1,\n    2\n]"},
        {Array({{"a", CVariable(CString(u"x"))}, {"0", two}}), 0, u"{\n    \"a\" : \"x\",\n    \"0\" : 2\n}"},
        {Array({{"-1.5", one}}), 0, u"[\n    1\n]"},
        {Array({{"1e3", one}}), 0, u"{\n    \"1e3\" : 1\n}"},
        {Array({{"a\"b\\c", one}}), 0, u"{\n    \"a\\\"b\\\\c\" : 1\n}"},
        {Array({{"5", one}, {"1", two}}), 0, u"[\n    1,\n    2\n]"},   // insertion order
        // A nested array closes in the column of its own items.
        {Array({{"0", Array({{"0", one}})}, {"1", two}}), 0, u"[\n    [\n        1\n        ],\n    2\n]"},
        {Array({{"o", Array({{"k", CVariable(CString(u"v"))}, {"n", CVariable(2.0)}})}}), 0,
         u"{\n    \"o\" : {\n        \"k\" : \"v\",\n        \"n\" : 2.000000\n        }\n}"},
        {Array({{"0", one}, {"1", Array({{"a", Array({{"0", two}})}})}}), 0,
         u"[\n    1,\n    {\n        \"a\" : [\n            2\n            ]\n        }\n]"},
        {Array({{"0", one}}), 4, u"[\n        1\n        ]"},
        {Array({{"0", one}}), -8, u"[\n1\n]"},
        {Array({{"0", CVariable(CString(u"a,\n"))}}), 0, u"[\n    \"a,\\n\"\n]"},
        {empty, 0, u""},
        {Array({{"e", empty}, {"n", one}}), 0, u"{\n    \"e\" : [],\n    \"n\" : 1\n}"},
        {Array({{"0", one}, {"1", empty}}), 0, u"[\n    1,\n    []\n]"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.expected.ToUtf8());
        EXPECT_EQ(Json(row.value, row.nIndent), row.expected);
    }
}

TEST(VariableJson, FailsOnValueWithoutJsonFormAtAnyDepth) {
    const CVariable bad(CXML(CString(u"node"))), one(1);
    const std::pair<const char*, CVariable> rows[] = {
        {"UNDEFINED", CVariable()}, {"ARRAY_ELEM", OfType(VT_ARRAY_ELEM)}, {"XML", bad}, {"XML empty", OfType(VT_XML)},
        {"unknown number", OfType(12345)}, {"XML first", Array({{"0", bad}, {"1", one}})},
        {"XML last", Array({{"0", one}, {"1", one}, {"2", bad}})},
        {"XML two levels down", Array({{"0", one}, {"1", Array({{"a", Array({{"0", one}, {"1", bad}})}})}, {"2", one}})},
        {"XML in an object", Array({{"a", one}, {"b", bad}})},
        {"UNDEFINED nested", Array({{"0", Array({{"0", CVariable()}})}})},
    };
    for (const auto& [what, value] : rows) {
        SCOPED_TRACE(what);
        for (int nIndent : {0, 4}) {
            int bSuccess = 1;
            EXPECT_EQ(value.ToJSON(bSuccess, nIndent), CString());
            EXPECT_EQ(bSuccess, 0);
            bSuccess = 1;
            EXPECT_EQ(value.ToJSONUtf8(bSuccess, nIndent), "");
            EXPECT_EQ(bSuccess, 0);
        }
    }
}

// ToJSON leaves the walks in progress, the array's and a nested one's, where they were.
TEST(VariableJson, WalkInProgressContinues) {
    CVariable value = Array({{"a", CVariable(1)}, {"b", Array({{"0", CVariable(2)}, {"1", CVariable(3)}})},
                           {"c", CVariable(4)}});
    CString index, nestedIndex;
    CVariable *pElement = nullptr, *pNestedElement = nullptr;
    ASSERT_TRUE(value.m_arrayValue.GetFirstVariable(index, pElement) && value.m_arrayValue.GetNextVariable(index, pElement));
    CVariable* pNested = pElement;
    ASSERT_TRUE(pNested->m_arrayValue.GetFirstVariable(nestedIndex, pNestedElement));
    const CString expected = u"{\n    \"a\" : 1,\n    \"b\" : [\n        2,\n        3\n        ],\n    \"c\" : 4\n}";
    EXPECT_EQ(Json(value), expected);
    EXPECT_EQ(Json(value), expected);
    ASSERT_TRUE(value.m_arrayValue.GetNextVariable(index, pElement) &&
                pNested->m_arrayValue.GetNextVariable(nestedIndex, pNestedElement));
    EXPECT_EQ(index + u"|" + nestedIndex, CString(u"c|1"));
}
