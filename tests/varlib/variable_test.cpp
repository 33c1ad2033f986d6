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

}  // namespace

TEST(Variable, DefaultIsUndefinedAndStamped) {
    const int64_t before = _time64(nullptr);
    CVariable v;
    EXPECT_EQ(v.GetType(), VT_UNDEFINED);
    EXPECT_EQ(v.IsValid(), 0);
    EXPECT_EQ(v.IsZero(), 0);
    EXPECT_EQ(v.IsArrayElement(), 0);
    EXPECT_TRUE(v.GetName().IsEmpty());
    EXPECT_GE(v.m_timeValue.GetTime(), before);
}

TEST(Variable, IntegerConstructorsExtendBySignedness) {
    struct Row { const char* what; CVariable value; int64_t expected; };
    const std::vector<Row> rows = {
        {"int -1", CVariable(-1), -1},
        {"long -1", CVariable(-1L), -1},
        {"long long -1", CVariable(-1LL), -1},
        {"int64 min", CVariable(std::numeric_limits<int64_t>::min()), std::numeric_limits<int64_t>::min()},
        {"uint32 max", CVariable(uint32_t{4294967295u}), 4294967295LL},
        {"unsigned long max wraps", CVariable(~0UL), -1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.value.GetType(), VT_INT);
        EXPECT_EQ(row.value.m_nValue, row.expected);
    }
}

// Each Construct operation: its type, its payload, numeric payloads of other
// types zeroed, names and other payloads untouched, element flag cleared.
TEST(Variable, ConstructOperationsTable) {
    struct Row {
        const char* what;
        std::function<void(CVariable&)> construct;
        eVariableType type;
        int (CVariable::*predicate)() const;
        std::function<bool(const CVariable&)> payloadOk;
    };
    CVariableArray array;
    array.InsertElement(u"x", NewInt(1));
    const std::vector<Row> rows = {
        {"int", [](CVariable& v) { v.ConstructInteger(-3); }, VT_INT, &CVariable::IsInteger,
         [](const CVariable& v) { return v.m_nValue == -3 && v.m_dValue == 0.0 && v.m_byteValue == 0; }},
        {"double", [](CVariable& v) { v.ConstructDouble(2.5); }, VT_DOUBLE, &CVariable::IsDouble,
         [](const CVariable& v) { return v.m_dValue == 2.5 && v.m_nValue == 0 && v.m_chValue == 0; }},
        {"string", [](CVariable& v) { v.ConstructString(u"s"); }, VT_STRING, &CVariable::IsString,
         [](const CVariable& v) { return v.m_strValue == u"s" && v.m_nValue == 0 && v.m_dValue == 0.0; }},
        {"byte", [](CVariable& v) { v.ConstructByte(200); }, VT_BYTE, &CVariable::IsByte,
         [](const CVariable& v) { return v.m_byteValue == 200 && v.m_nValue == 0 && v.m_chValue == 0; }},
        {"char", [](CVariable& v) { v.ConstructChar(u'\xffff'); }, VT_CHAR, &CVariable::IsChar,
         [](const CVariable& v) { return v.m_chValue == 0xffff && v.m_byteValue == 0 && v.m_dValue == 0.0; }},
        {"xml", [](CVariable& v) { v.ConstructXml(CXML(CString(u"node"))); }, VT_XML, &CVariable::IsXml,
         [](const CVariable& v) { return v.m_xmlValue.GetTagName() == u"node" && v.m_nValue == 0; }},
        {"pdu", [](CVariable& v) { v.ConstructPdu(CSnmpPdu()); }, VT_PDU, &CVariable::IsPdu,
         [](const CVariable& v) { return v.m_nValue == 0; }},
        {"vb", [](CVariable& v) { v.ConstructVb(CSnmpVarBind()); }, VT_SNMPVAR, &CVariable::IsVb,
         [](const CVariable& v) { return v.m_nValue == 0; }},
        {"array", [&](CVariable& v) { v.ConstructArray(array); }, VT_ARRAY, &CVariable::IsArray,
         [](const CVariable& v) { return v.m_arrayValue.GetCount() == 1 && v.m_nValue == 0; }},
        {"time", [](CVariable& v) { v.ConstructTime(CTime(86400)); }, VT_TIME, &CVariable::IsTime,
         [](const CVariable& v) { return v.m_timeValue.GetTime() == 86400 && v.m_nValue == 0; }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        CVariable v = Dirty();
        row.construct(v);
        EXPECT_EQ(v.GetType(), row.type);
        EXPECT_EQ((v.*row.predicate)(), 1);
        EXPECT_TRUE(row.payloadOk(v));
        EXPECT_EQ(v.IsArrayElement(), 0);
        EXPECT_EQ(v.GetIndex(), CString(u"k"));
        EXPECT_EQ(v.GetName(), CString(u"n"));
        EXPECT_EQ(v.GetDisplayName(), CString(u"dn"));
        EXPECT_EQ(v.GetDescription(), CString(u"ds"));
        if (row.type != VT_STRING) {
            EXPECT_EQ(v.m_strValue, CString(u"old text"));
        }
        if (row.type != VT_TIME) {
            EXPECT_GT(v.m_timeValue.GetTime(), 1);   // restamped
        }
    }
}

TEST(Variable, TypedAssignmentKeepsNameCopyReplacesIt) {
    CVariable named(CString(u"text"));
    named.SetName(u"keep");
    named = 5;
    EXPECT_EQ(named.GetType(), VT_INT);
    EXPECT_EQ(named.m_nValue, 5);
    EXPECT_EQ(named.GetName(), CString(u"keep"));
    EXPECT_EQ(named.m_strValue, CString(u"text"));

    CVariable source(2.5);
    source.SetName(u"src");
    source.SetDisplayName(u"Source");
    source.SetDescription(u"about");
    source.SetArrayElementInfo(u"i");
    source.m_enumValues.Add(CIntegerEnumEntry(u"up", u"", 1));
    named = source;
    EXPECT_EQ(named.GetType(), VT_DOUBLE);
    EXPECT_EQ(named.GetName(), CString(u"src"));
    EXPECT_EQ(named.GetDisplayName(), CString(u"Source"));
    EXPECT_EQ(named.GetDescription(), CString(u"about"));
    EXPECT_EQ(named.GetIndex(), CString(u"i"));
    EXPECT_EQ(named.IsArrayElement(), 1);
    EXPECT_EQ(named.m_enumValues.GetSize(), 1);

    named = CVariable(1) + CVariable(2);   // an operator's result has no name
    EXPECT_TRUE(named.GetName().IsEmpty());

    named = named;   // self-assignment keeps everything
    EXPECT_EQ(named.m_nValue, 3);
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
    EXPECT_TRUE(v.m_strValue.IsEmpty());
    EXPECT_TRUE(v.GetName().IsEmpty());
    EXPECT_TRUE(v.GetIndex().IsEmpty());
    EXPECT_EQ(v.IsArrayElement(), 0);
    EXPECT_EQ(v.m_nValue, 0);
    EXPECT_EQ(v.m_arrayValue.GetCount(), 0);
    EXPECT_EQ(v.m_enumValues.GetSize(), 0);
    EXPECT_EQ(v.GetDisplayName(), CString(u"dn"));
    EXPECT_EQ(v.GetDescription(), CString(u"ds"));

    v.ResetType(static_cast<eVariableType>(42));   // unknown numbers are taken as they are
    EXPECT_EQ(v.IsValid(), 1);
    EXPECT_EQ(CVariable::GetTypeInfo(v.GetType()), CString(u"UNDEFINED"));
}

TEST(Variable, IsZeroTable) {
    struct Row { const char* what; CVariable value; int expected; };
    CVariable emptyArray{CVariableArray()};
    const std::vector<Row> rows = {
        {"INT 0", CVariable(0), 1},
        {"INT 1", CVariable(1), 0},
        {"DOUBLE -0.0", CVariable(-0.0), 1},
        {"DOUBLE NaN", CVariable(std::nan("")), 0},
        {"BYTE 0", CVariable(static_cast<unsigned char>(0)), 1},
        {"CHAR 0", CVariable(u'\0'), 1},
        {"CHAR 1", CVariable(u'\1'), 0},
        {"STRING 0", CVariable(CString(u"0")), 0},
        {"STRING empty", CVariable(CString()), 0},
        {"ARRAY empty", emptyArray, 0},
        {"TIME 0", CVariable(CTime(0)), 0},
        {"UNDEFINED", CVariable(), 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.value.IsZero(), row.expected);
    }
}

TEST(Variable, TypeNamesTable) {
    const std::vector<std::pair<int, const char16_t*>> rows = {
        {0, u"UNDEFINED"},      {19999, u"UNDEFINED"}, {20000, u"INT"},   {20001, u"STRING"},
        {20002, u"DOUBLE"},     {20003, u"PDU"},       {20004, u"SNMPVAR"}, {20005, u"XML"},
        {20006, u"ARRAY"},      {20007, u"ARRAY_ELEM"}, {20008, u"TIME"}, {20009, u"BYTE"},
        {20010, u"CHAR"},       {20011, u"UNDEFINED"}, {-20000, u"UNDEFINED"},
    };
    for (const auto& [number, name] : rows) {
        SCOPED_TRACE(number);
        EXPECT_EQ(CVariable::GetTypeInfo(static_cast<eVariableType>(number)), CString(name));
    }
    EXPECT_EQ(CVariable::GetTagName(), CString(u"VARIABLE"));
}

TEST(Variable, ArrayElementFlagAndCleanArray) {
    CVariable holder{CVariableArray()};
    for (const char16_t* index : {u"a", u"b", u"c"})
        holder.m_arrayValue.InsertElement(index, NewInt(1));
    CVariable* pElement = nullptr;
    ASSERT_TRUE(holder.m_arrayValue.Lookup(u"b", pElement));
    EXPECT_EQ(pElement->IsArrayElement(), 1);
    EXPECT_EQ(pElement->GetIndex(), CString(u"b"));

    CVariable loose(*pElement);   // a copy keeps flag and index, in no array
    EXPECT_EQ(loose.IsArrayElement(), 1);
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
    EXPECT_EQ(stale.GetType(), VT_INT);
    EXPECT_EQ(stale.m_nValue, 4);
    EXPECT_EQ(stale.m_arrayValue.GetCount(), 0);
}
