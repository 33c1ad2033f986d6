// CVariable: construction, typed assignment, Copy, ResetType, predicates.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "corelib/framework/Runtime.h"
#include "varlib/values/Variable.h"

namespace {

CVariable* NewInt(int64_t n) { return new CVariable(n); }

// A value whose numeric payloads and stamp all differ from zero, to see what a
// Construct operation clears.
CVariable Dirty() {
    CVariable v;
    v.m_nValue = 7;
    v.m_dValue = 7.5;
    v.m_byteValue = 7;
    v.m_chValue = 7;
    v.m_timeValue = CTime(1);
    v.m_strValue = u"old text";
    v.m_bArrayElement = 1;
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

TEST(Variable, DefaultIsUndefinedAndStamped) {
    const int64_t before = _time64(nullptr);
    CVariable v;
    EXPECT_EQ(v.GetType(), VT_UNDEFINED);
    EXPECT_EQ(v.IsValid(), 0);
    EXPECT_EQ(v.IsZero(), 0);
    EXPECT_GE(v.m_timeValue.GetTime(), before);
}

TEST(Variable, IntegerConstructorsExtendBySignedness) {
    const std::vector<std::pair<CVariable, int64_t>> rows = {
        {CVariable(-1), -1}, {CVariable(-1L), -1}, {CVariable(-1LL), -1},
        {CVariable(uint32_t{4294967295u}), 4294967295LL}, {CVariable(~0UL), -1},
    };
    for (size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(rows[i].first.GetType(), VT_INT);
        EXPECT_EQ(rows[i].first.m_nValue, rows[i].second);
    }
}

// Each Construct operation: its type, predicate and payload, the numeric
// payloads of other types zeroed (m_nValue stands for them), names and other
// payloads untouched, the element flag cleared, the stamp renewed.
TEST(Variable, ConstructOperationsTable) {
    using Check = std::function<bool(const CVariable&)>;
    struct Row { std::function<void(CVariable&)> construct; eVariableType type; int (CVariable::*is)() const; Check ok; };
    CVariableArray array;
    array.InsertElement(u"x", NewInt(1));
    const std::vector<Row> rows = {
        {[](CVariable& v) { v.ConstructInteger(-3); }, VT_INT, &CVariable::IsInteger,
         [](const CVariable& v) { return v.m_nValue == -3 && v.m_dValue == 0.0 && v.m_byteValue == 0; }},
        {[](CVariable& v) { v.ConstructDouble(2.5); }, VT_DOUBLE, &CVariable::IsDouble,
         [](const CVariable& v) { return v.m_dValue == 2.5 && v.m_nValue == 0 && v.m_chValue == 0; }},
        {[](CVariable& v) { v.ConstructString(u"s"); }, VT_STRING, &CVariable::IsString,
         [](const CVariable& v) { return v.m_strValue == u"s" && v.m_nValue == 0; }},
        {[](CVariable& v) { v.ConstructByte(200); }, VT_BYTE, &CVariable::IsByte,
         [](const CVariable& v) { return v.m_byteValue == 200 && v.m_nValue == 0 && v.m_chValue == 0; }},
        {[](CVariable& v) { v.ConstructChar(u'\xffff'); }, VT_CHAR, &CVariable::IsChar,
         [](const CVariable& v) { return v.m_chValue == 0xffff && v.m_byteValue == 0 && v.m_dValue == 0.0; }},
        {[](CVariable& v) { v.ConstructXml(CXML(CString(u"node"))); }, VT_XML, &CVariable::IsXml,
         [](const CVariable& v) { return v.m_xmlValue.GetTagName() == u"node" && v.m_nValue == 0; }},
        {[](CVariable& v) { v.ConstructPdu(CSnmpPdu()); }, VT_PDU, &CVariable::IsPdu,
         [](const CVariable& v) { return v.m_nValue == 0; }},
        {[](CVariable& v) { v.ConstructVb(CSnmpVarBind()); }, VT_SNMPVAR, &CVariable::IsVb,
         [](const CVariable& v) { return v.m_nValue == 0; }},
        {[&](CVariable& v) { v.ConstructArray(array); }, VT_ARRAY, &CVariable::IsArray,
         [](const CVariable& v) { return v.m_arrayValue.GetCount() == 1 && v.m_nValue == 0; }},
        {[](CVariable& v) { v.ConstructTime(CTime(86400)); }, VT_TIME, &CVariable::IsTime,
         [](const CVariable& v) { return v.m_timeValue.GetTime() == 86400 && v.m_nValue == 0; }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(CVariable::GetTypeInfo(row.type));
        CVariable v = Dirty();
        row.construct(v);
        EXPECT_EQ(v.GetType(), row.type);
        EXPECT_EQ((v.*row.is)(), 1);
        EXPECT_TRUE(row.ok(v));
        EXPECT_EQ(v.IsArrayElement(), 0);
        EXPECT_EQ(Texts(v), CString(u"n|dn|ds|k"));
        EXPECT_TRUE(row.type == VT_STRING || v.m_strValue == u"old text");
        EXPECT_TRUE(row.type == VT_TIME || v.m_timeValue.GetTime() > 1);
    }
}

TEST(Variable, TypedAssignmentKeepsNameCopyReplacesIt) {
    CVariable named = Dirty();
    named = 5;
    EXPECT_EQ(named.m_nValue, 5);
    EXPECT_EQ(Texts(named), CString(u"n|dn|ds|k"));
    EXPECT_EQ(named.m_strValue, CString(u"old text"));

    CVariable source(2.5);
    source.SetName(u"src");
    source.SetDescription(u"about");
    source.SetArrayElementInfo(u"i");
    source.m_enumValues.Add(CIntegerEnumEntry(u"up", u"", 1));
    named = source;
    EXPECT_EQ(named.GetType(), VT_DOUBLE);
    EXPECT_EQ(Texts(named), CString(u"src||about|i"));
    EXPECT_EQ(named.IsArrayElement(), 1);
    EXPECT_EQ(named.m_enumValues.GetSize(), 1);

    named = CVariable(1) + CVariable(2);   // an operator's result has no name
    EXPECT_EQ(Texts(named), CString(u"|||"));
}

TEST(Variable, CopiesAreDeep) {
    CVariable holder{CVariableArray()};
    holder.m_arrayValue.InsertElement(u"a", NewInt(1));
    CVariable copy(holder);
    copy.m_arrayValue.InsertElement(u"a", NewInt(2));
    CVariable* pElement = nullptr;
    ASSERT_TRUE(holder.m_arrayValue.Lookup(u"a", pElement));
    EXPECT_EQ(pElement->m_nValue, 1);

    CVariable xml{CXML(CString(u"root"))};
    CVariable xmlCopy(xml);
    xmlCopy.m_xmlValue.SetAttr(u"changed", 1);
    EXPECT_EQ(xml.m_xmlValue.GetAttrInt(u"changed", 0), 0);

    // An invalid XML payload copies as an empty one, whatever the target held.
    CVariable target{CXML(CString(u"old"))};
    target = CVariable(1);
    target.m_xmlValue = CXML(CString(u"stale"));
    target = CVariable(2);
    EXPECT_EQ(target.m_xmlValue.IsValid(), 0);
}

TEST(Variable, ResetTypeEmptiesAllButDisplayTexts) {
    CVariable v = Dirty();
    v.m_arrayValue.InsertElement(u"a", NewInt(1));
    v.m_enumValues.Add(CIntegerEnumEntry(u"up", u"", 1));
    v.ResetType(VT_STRING);
    EXPECT_EQ(v.GetType(), VT_STRING);
    EXPECT_EQ(Texts(v), CString(u"|dn|ds|"));
    EXPECT_TRUE(v.m_strValue.IsEmpty() && v.m_nValue == 0 && v.m_byteValue == 0 && v.IsArrayElement() == 0);
    EXPECT_EQ(v.m_arrayValue.GetCount() + v.m_enumValues.GetSize(), 0);

    v.ResetType(static_cast<eVariableType>(42));   // unknown numbers are taken as they are
    EXPECT_EQ(v.IsValid(), 1);
}

TEST(Variable, IsZeroTable) {
    const std::vector<std::pair<CVariable, int>> rows = {
        {CVariable(0), 1}, {CVariable(-0.0), 1}, {CVariable(std::nan("")), 0},
        {CVariable(static_cast<unsigned char>(0)), 1}, {CVariable(u'\1'), 0}, {CVariable(CString(u"0")), 0},
        {CVariable(CVariableArray()), 0}, {CVariable(CTime(0)), 0}, {CVariable(), 0},
    };
    for (size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE(CVariable::GetTypeInfo(rows[i].first.GetType()));
        EXPECT_EQ(rows[i].first.IsZero(), rows[i].second);
    }
}

TEST(Variable, TypeNamesTable) {
    const std::vector<std::pair<int, const char16_t*>> rows = {
        {0, u"UNDEFINED"}, {19999, u"UNDEFINED"}, {20000, u"INT"}, {20003, u"PDU"}, {20004, u"SNMPVAR"},
        {20007, u"ARRAY_ELEM"}, {20010, u"CHAR"}, {20011, u"UNDEFINED"}, {-20000, u"UNDEFINED"},
    };
    for (const auto& [number, name] : rows) {
        SCOPED_TRACE(number);
        EXPECT_EQ(CVariable::GetTypeInfo(static_cast<eVariableType>(number)), CString(name));
    }
}

TEST(Variable, ArrayElementFlagAndCleanArray) {
    CVariable holder{CVariableArray()};
    for (const char16_t* index : {u"a", u"b", u"c"})
        holder.m_arrayValue.InsertElement(index, NewInt(1));
    CVariable* pElement = nullptr;
    ASSERT_TRUE(holder.m_arrayValue.Lookup(u"b", pElement));
    EXPECT_EQ(pElement->IsArrayElement(), 1);
    CVariable loose(*pElement);   // a copy keeps flag and index, in no array
    EXPECT_EQ(loose.IsArrayElement(), 1);
    EXPECT_EQ(loose.GetIndex(), CString(u"b"));
    *pElement = 9;
    EXPECT_EQ(pElement->IsArrayElement(), 0);
    EXPECT_EQ(pElement->GetIndex(), CString(u"b"));

    holder.CleanArray();
    EXPECT_EQ(holder.GetType(), VT_ARRAY);
    EXPECT_EQ(holder.m_arrayValue.GetCount(), 0);

    // On another type CleanArray only drops a stale array payload.
    CVariable stale = holder;
    stale.m_arrayValue.InsertElement(u"x", NewInt(1));
    stale = 4;
    stale.CleanArray();
    EXPECT_TRUE(stale.IsInteger() && stale.m_nValue == 4 && stale.m_arrayValue.GetCount() == 0);
}
