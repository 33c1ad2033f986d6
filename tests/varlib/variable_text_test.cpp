// Text forms of CVariable and CVariableArray, reading text back, name rules.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "corelib/framework/InvalidArgException.h"
#include "varlib/values/Variable.h"

namespace {

// Dates below are written for UTC.
class VariableText : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
    }
};

CVariable WithUpDown(int64_t n) {
    CVariable v(n);
    v.m_enumValues.Add(CIntegerEnumEntry(u"down", u"", 2));
    v.m_enumValues.Add(CIntegerEnumEntry(u"up", u"", 1));
    return v;
}

}  // namespace

TEST_F(VariableText, ToStringByType) {
    struct Row { const char* what; CVariable value; int bEnumText; const char16_t* expected; };
    CVariable xmlEmpty;
    xmlEmpty.ResetType(VT_XML);
    const std::vector<Row> rows = {
        {"INT", CVariable(-5), 0, u"-5"},
        {"INT min", CVariable(std::numeric_limits<int64_t>::min()), 0, u"-9223372036854775808"},
        {"INT enum hit", WithUpDown(2), 1, u"down(2)"},
        {"INT enum miss", WithUpDown(3), 1, u"3"},
        {"INT enum off", WithUpDown(2), 0, u"2"},
        {"DOUBLE", CVariable(1.5), 0, u"1.500000"},
        {"DOUBLE big", CVariable(1e20), 0, u"100000000000000000000.000000"},
        {"STRING", CVariable(CString(u"a b")), 1, u"a b"},
        {"BYTE", CVariable(static_cast<unsigned char>(65)), 0, u"A"},
        {"CHAR", CVariable(u'A'), 0, u"A"},
        {"INT 65", CVariable(65), 0, u"65"},
        {"TIME", CVariable(CTime(86400 * 365)), 0, u"01.01.1971"},
        {"TIME max", CVariable(CTime(32535215999LL)), 0, u"31.12.3000"},
        {"XML empty", xmlEmpty, 0, u""},
        {"UNDEFINED", CVariable(), 0, u""},
        {"ARRAY_ELEM", [] { CVariable v; v.ResetType(VT_ARRAY_ELEM); return v; }(), 0, u""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.value.ToString(row.bEnumText), CString(row.expected));
    }
}

TEST_F(VariableText, TimeOutsideLocalRangeThrows) {
    for (int64_t seconds : {int64_t{-1}, int64_t{32535216000LL}}) {
        SCOPED_TRACE(seconds);
        CVariable v{CTime(seconds)};
        EXPECT_THROW(v.ToString(0), CInvalidArgException);
    }
}

TEST_F(VariableText, SetValueFromStringTable) {
    struct Row {
        const char* what;
        CVariable start;
        const char16_t* text;
        std::function<bool(const CVariable&)> expected;
    };
    const std::vector<Row> rows = {
        {"INT decimal", CVariable(5), u"17", [](const CVariable& v) { return v.m_nValue == 17; }},
        {"INT negative", CVariable(5), u"-42", [](const CVariable& v) { return v.m_nValue == -42; }},
        {"INT entry text", CVariable(5), u"up(1)", [](const CVariable& v) { return v.m_nValue == 1; }},
        {"INT unknown name", CVariable(5), u"whatever(-9)", [](const CVariable& v) { return v.m_nValue == -9; }},
        {"INT unreadable", CVariable(5), u"abc", [](const CVariable& v) { return v.m_nValue == 0; }},
        {"INT 2.5", CVariable(5), u"2.5", [](const CVariable& v) { return v.m_nValue == 2; }},
        {"DOUBLE", CVariable(1.0), u"3.25", [](const CVariable& v) { return v.m_dValue == 3.25; }},
        {"DOUBLE unreadable", CVariable(1.0), u"abc", [](const CVariable& v) { return v.m_dValue == 0.0; }},
        {"STRING", CVariable(CString(u"x")), u"new", [](const CVariable& v) { return v.m_strValue == u"new"; }},
        {"XML", CVariable(CXML(CString(u"a"))), u"<b c=\"1\"/>",
         [](const CVariable& v) { return v.m_xmlValue.GetTagName() == u"b"; }},
        {"BYTE ignores", CVariable(static_cast<unsigned char>(7)), u"9",
         [](const CVariable& v) { return v.m_byteValue == 7 && v.m_nValue == 0; }},
        {"CHAR ignores", CVariable(u'x'), u"9", [](const CVariable& v) { return v.m_chValue == u'x'; }},
        {"TIME ignores", CVariable(CTime(5)), u"9", [](const CVariable& v) { return v.m_timeValue.GetTime() == 5; }},
        {"UNDEFINED stays", CVariable(), u"9",
         [](const CVariable& v) { return v.GetType() == VT_UNDEFINED && v.m_nValue == 0; }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        CVariable v = row.start;
        const eVariableType type = v.GetType();
        v.SetValueFromString(row.text);
        EXPECT_EQ(v.GetType(), type);
        EXPECT_TRUE(row.expected(v));
    }
}

TEST_F(VariableText, NameAndIndexRules) {
    const std::vector<std::pair<const char16_t*, int>> names = {
        {u"", 0},   {u"_", 0},   {u"9lives", 0}, {u"a b", 0}, {u"a-b", 0}, {u"a.b", 0},
        {u"_x", 1}, {u"x9", 1},  {u"x_y", 1},    {u"__", 1},  {u"_1", 1},  {u"\u00e9t\u00e9", 1},
    };
    for (const auto& [name, expected] : names) {
        SCOPED_TRACE(CString(name));
        EXPECT_EQ(CVariable::IsNameValid(name), expected);
    }
    EXPECT_EQ(CVariable::IsIndexValid(CString()), 0);
    EXPECT_EQ(CVariable::IsIndexValid(u" "), 1);
}

TEST_F(VariableText, ArrayLinesCarryEachLevelsOwnName) {
    CVariable a{CVariableArray()};
    a.SetName(u"a");
    EXPECT_EQ(a.ToString(0), CString());
    a.m_arrayValue.InsertElement(u"k", new CVariable(CString(u"x")));
    auto* pNested = new CVariable(CVariableArray());
    pNested->m_arrayValue.InsertElement(u"0", new CVariable(5));
    a.m_arrayValue.InsertElement(u"n", pNested);
    EXPECT_EQ(a.ToString(0), CString(u"a[k] = x\r\na[n] = {\r\n[0] = 5\r\n}\r\n"));

    pNested->SetName(u"inner");
    EXPECT_EQ(a.m_arrayValue.ToString(u"p"), CString(u"p[k] = x\r\np[n] = {\r\ninner[0] = 5\r\n}\r\n"));
}

TEST_F(VariableText, DelimitedStringCutsTrailingDelimiters) {
    struct Row { const char* what; std::vector<CVariable> elements; const char16_t* expected; };
    const std::vector<Row> rows = {
        {"empty", {}, u""},
        {"empty last", {CVariable(CString(u"a")), CVariable(CString(u"b")), CVariable(CString())}, u"a;b"},
        {"own delimiters", {CVariable(CString(u"a;")), CVariable(CString(u"b;"))}, u"a;;b"},
        {"arrays skipped", {CVariable(1), CVariable(CVariableArray()), CVariable(2.0)}, u"1;2.000000"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        CVariableArray array;
        for (size_t i = 0; i < row.elements.size(); ++i)
            array.InsertElement(CString(std::u16string(1, static_cast<char16_t>(u'a' + i))),
                                new CVariable(row.elements[i]));
        EXPECT_EQ(array.ToDelimitedString(), CString(row.expected));
    }
}
