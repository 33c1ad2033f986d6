// CVariable: construction, typed assignment, copies, ResetType, predicates, and the
// text forms of values and arrays, reading text back, name rules.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

#include "corelib/framework/InvalidArgException.h"
#include "varlib/values/Variable.h"

namespace {

// A value whose payloads and stamp all differ from zero, to see what an operation clears.
CVariable Dirty() {
    CVariable v;
    v.m_nValue = v.m_byteValue = v.m_chValue = 7;
    v.m_bArrayElement = 1;
    v.m_dValue = 7.5;
    v.m_timeValue = CTime(1);
    v.m_strValue = u"old text";
    v.m_strIndex = u"k";
    v.SetName(u"n");
    v.SetDisplayName(u"dn");
    v.SetDescription(u"ds");
    return v;
}

// Name, display name, description and index, joined by "|".
CString Texts(const CVariable& v) {
    return v.GetName() + u"|" + v.GetDisplayName() + u"|" + v.GetDescription() + u"|" + v.GetIndex();
}

}  // namespace

// Each Construct operation sets type and payload, zeroes the numeric payloads of the other types,
// clears the element flag, keeps names, index and other payloads and renews the stamp.
TEST(Variable, ConstructOperationsTable) {
    CVariableArray array;
    array.InsertElement(u"x", new CVariable(1));
    const std::vector<std::pair<eVariableType, std::function<bool(CVariable&)>>> rows = {
        {VT_INT, [](CVariable& v) { v.ConstructInteger(-3); return v.m_nValue == -3; }},
        {VT_DOUBLE, [](CVariable& v) { v.ConstructDouble(2.5); return v.m_dValue == 2.5; }},
        {VT_STRING, [](CVariable& v) { v.ConstructString(u"s"); return v.m_strValue == u"s"; }},
        {VT_BYTE, [](CVariable& v) { v.ConstructByte(200); return v.m_byteValue == 200; }},
        {VT_CHAR, [](CVariable& v) { v.ConstructChar(u'\xffff'); return v.m_chValue == 0xffff; }},
        {VT_ARRAY, [&](CVariable& v) { v.ConstructArray(array); return v.m_arrayValue.GetCount() == 1; }},
        {VT_TIME, [](CVariable& v) { v.ConstructTime(CTime(86400)); return v.m_timeValue.GetTime() == 86400; }},
    };
    EXPECT_EQ(CVariable(-1L).m_nValue + CVariable(~0UL).m_nValue, -2);   // integer constructors extend by signedness
    EXPECT_EQ(CVariable(uint32_t{4294967295u}).m_nValue, 4294967295LL);
    for (const auto& [type, construct] : rows) {
        SCOPED_TRACE(CVariable::GetTypeInfo(type));
        CVariable v = Dirty();
        EXPECT_TRUE(construct(v));
        EXPECT_EQ(v.GetType(), type);
        EXPECT_TRUE((type == VT_INT || v.m_nValue == 0) && (type == VT_DOUBLE || v.m_dValue == 0.0) &&
                    (type == VT_BYTE || v.m_byteValue == 0) && (type == VT_CHAR || v.m_chValue == 0));
        EXPECT_EQ(Texts(v) + (type == VT_STRING ? CString(u"old text") : v.m_strValue), CString(u"n|dn|ds|kold text"));
        EXPECT_EQ(v.IsArrayElement(), 0);
        EXPECT_TRUE(type == VT_TIME || v.m_timeValue.GetTime() > 1);
    }
}

TEST(Variable, TypedAssignmentKeepsNameCopyReplacesIt) {
    CVariable named = Dirty();
    named = 5;
    EXPECT_EQ(Texts(named) + named.m_strValue + named.ToString(0), CString(u"n|dn|ds|kold text5"));
    EXPECT_EQ(Texts(named + named), CString(u"|||"));   // an operator's result has no name
    CVariable source(2.5);
    source.SetName(u"src");
    source.SetDescription(u"about");
    source.SetArrayElementInfo(u"i");
    source.m_enumValues.Add(CIntegerEnumEntry(u"up", u"", 1));
    named = source;
    EXPECT_EQ(Texts(named) + named.ToString(0), CString(u"src||about|i2.500000"));
    EXPECT_EQ(named.IsArrayElement() + named.m_enumValues.GetSize(), 2);
}

TEST(Variable, CopiesAreDeep) {
    CVariable holder{CVariableArray()};
    holder.m_arrayValue.InsertElement(u"a", new CVariable(1));
    CVariable* pElement = nullptr;
    ASSERT_TRUE(holder.m_arrayValue.Lookup(u"a", pElement));
    CVariable(holder).m_arrayValue.InsertElement(u"a", new CVariable(2));
    const CVariable loose(*pElement);   // a copy keeps flag and index, in no array
    *pElement = 9;                      // a typed assignment clears the flag, keeps the index
    EXPECT_TRUE(loose.IsArrayElement() == 1 && loose.GetIndex() == u"a" && loose.m_nValue == 1);
    EXPECT_TRUE(pElement->IsArrayElement() == 0 && pElement->GetIndex() == u"a");
    // An invalid XML payload copies as an empty one, whatever the target held.
    CVariable target{CXML(CString(u"old"))};
    target = CVariable(1);
    target.m_xmlValue = CXML(CString(u"stale"));
    target = CVariable(2);
    EXPECT_EQ(target.m_xmlValue.IsValid(), 0);
}

TEST(Variable, ResetTypeAndCleanArray) {
    CVariable v = Dirty();
    v.m_arrayValue.InsertElement(u"a", new CVariable(1));
    v.m_enumValues.Add(CIntegerEnumEntry(u"up", u"", 1));
    v.ResetType(VT_STRING);
    EXPECT_EQ(Texts(v) + v.m_strValue + CVariable::GetTypeInfo(v.GetType()), CString(u"|dn|ds|STRING"));
    EXPECT_TRUE(v.m_nValue == 0 && v.m_byteValue == 0 && v.IsArrayElement() == 0);
    EXPECT_EQ(v.m_arrayValue.GetCount() + v.m_enumValues.GetSize(), 0);
    EXPECT_EQ(CVariable().IsValid(), 0);
    v.ResetType(static_cast<eVariableType>(42));   // unknown numbers are taken as they are
    EXPECT_EQ(v.IsValid(), 1);
    // CleanArray empties an ARRAY; on another type it only drops a stale array payload.
    CVariable holder{CVariableArray()};
    holder.m_arrayValue.InsertElement(u"x", new CVariable(1));
    CVariable stale = holder;
    holder.CleanArray();
    (stale = 4).CleanArray();
    EXPECT_TRUE(holder.IsArray() && holder.m_arrayValue.GetCount() == 0);
    EXPECT_TRUE(stale.IsInteger() && stale.m_nValue == 4 && stale.m_arrayValue.GetCount() == 0);
}

TEST(Variable, IsZeroTable) {
    for (const auto& [v, expected] : std::vector<std::pair<CVariable, int>>{
             {CVariable(0), 1}, {CVariable(-0.0), 1}, {CVariable(std::nan("")), 0}, {CVariable(u'\1'), 0},
             {CVariable(static_cast<unsigned char>(0)), 1}, {CVariable(CString(u"0")), 0},
             {CVariable(CVariableArray()), 0}, {CVariable(CTime(0)), 0}, {CVariable(), 0}}) {
        EXPECT_EQ(v.IsZero(), expected) << CVariable::GetTypeInfo(v.GetType());
    }
}

// Dates are local time, which the tests run as UTC.
TEST(VariableText, ToStringByType) {
    CVariable down(2), miss(3);
    down.m_enumValues.Add(CIntegerEnumEntry(u"down", u"", 2));
    miss.m_enumValues = down.m_enumValues;
    struct Row { CVariable value; int bEnumText; const char16_t* expected; };
    const std::vector<Row> rows = {
        {CVariable(std::numeric_limits<int64_t>::min()), 0, u"-9223372036854775808"}, {down, 1, u"down(2)"},
        {miss, 1, u"3"}, {down, 0, u"2"}, {CVariable(1e20), 0, u"100000000000000000000.000000"},
        {CVariable(static_cast<unsigned char>(65)), 0, u"A"}, {CVariable(u'A'), 0, u"A"},
        {CVariable(CTime(86400 * 365)), 0, u"01.01.1971"}, {CVariable(CTime(32535215999LL)), 0, u"31.12.3000"},
        {CVariable(), 0, u""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(CString(row.expected));
        EXPECT_EQ(row.value.ToString(row.bEnumText), CString(row.expected));
    }
    for (int64_t seconds : {int64_t{-1}, int64_t{32535216000LL}})   // outside the local-time range
        EXPECT_THROW(CVariable(CTime(seconds)).ToString(0), CInvalidArgException) << seconds;
}

// The text goes into the payload of the value's own type; other types ignore it.
TEST(VariableText, SetValueFromStringTable) {
    struct Row { CVariable start; const char16_t* text; const char16_t* expected; };
    const std::vector<Row> rows = {
        {CVariable(5), u"-42", u"-42"}, {CVariable(5), u"up(1)", u"1"}, {CVariable(5), u"whatever(-9)", u"-9"},
        {CVariable(5), u"abc", u"0"}, {CVariable(5), u"2.5", u"2"}, {CVariable(1.0), u"3.25", u"3.250000"},
        {CVariable(1.0), u"abc", u"0.000000"}, {CVariable(CString(u"x")), u"new", u"new"},
        {CVariable(CXML(CString(u"a"))), u"<b/>", u"<b/>"}, {CVariable(u'x'), u"9", u"x"},
        {CVariable(static_cast<unsigned char>(65)), u"9", u"A"}, {CVariable(CTime(5)), u"9", u"01.01.1970"},
        {CVariable(), u"9", u""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(CString(row.text));
        CVariable v = row.start;
        v.SetValueFromString(row.text);
        EXPECT_EQ(v.GetType(), row.start.GetType());
        EXPECT_EQ(v.ToString(0).Trim(), CString(row.expected));
    }
}

TEST(VariableText, NameAndIndexRules) {
    for (const auto& [name, expected] : std::vector<std::pair<const char16_t*, int>>{
             {u"", 0}, {u"_", 0}, {u"9lives", 0}, {u"a b", 0}, {u"a.b", 0}, {u"_x", 1}, {u"x9", 1}, {u"__", 1},
             {u"\u00e9t\u00e9", 1}}) {
        EXPECT_EQ(CVariable::IsNameValid(name), expected) << CString(name);
    }
    EXPECT_EQ(CVariable::IsIndexValid(CString()) + 2 * CVariable::IsIndexValid(u" "), 2);
}

// Lines carry each level's own name; the delimited form joins the non-array texts by ";" and cuts
// trailing delimiters.
TEST(VariableText, ArrayTextForms) {
    CVariable a{CVariableArray()};
    a.SetName(u"a");
    a.m_arrayValue.InsertElement(u"k", new CVariable(CString(u"x;")));
    auto* pNested = new CVariable(CVariableArray());
    pNested->m_arrayValue.InsertElement(u"0", new CVariable(5));
    a.m_arrayValue.InsertElement(u"n", pNested);
    EXPECT_EQ(a.ToString(0), CString(u"a[k] = x;\r\na[n] = {\r\n[0] = 5\r\n}\r\n"));
    pNested->SetName(u"inner");
    EXPECT_EQ(a.m_arrayValue.ToString(u"p"), CString(u"p[k] = x;\r\np[n] = {\r\ninner[0] = 5\r\n}\r\n"));
    EXPECT_EQ(a.m_arrayValue.ToDelimitedString(), CString(u"x"));
    for (const CVariable& element : {CVariable(1), CVariable(2.0), CVariable(CString(u";")), CVariable(CString())})
        a.m_arrayValue.InsertElement(CString(static_cast<char16_t>(u'a' + a.m_arrayValue.GetCount()), 1),
                                     new CVariable(element));
    EXPECT_EQ(a.m_arrayValue.ToDelimitedString(), CString(u"x;;1;2.000000"));
    EXPECT_EQ(CVariableArray().ToDelimitedString(), CString());
}
