// CIntegerEnum, CVariableMetaInfo, CFunctionSignature, CModuleMetaInfo: text and
// XML forms, the reading rules of foreign or damaged trees, and deep copies.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "varlib/metadata/IntegerEnum.h"
#include "varlib/metadata/ModuleMetaInfo.h"

namespace {

using Parameters = CArray<CVariableMetaInfo, const CVariableMetaInfo&>;
using Rows = std::vector<std::pair<const char16_t*, const char16_t*>>;

// "name:type".
CString Dump(const CVariableMetaInfo& meta) {
    CString text;
    text.Format(u"%s:%d", meta.GetName(), static_cast<int>(meta.GetType()));
    return text;
}

// "description(return|param,param)".
CString Dump(const CFunctionSignature& sig) {
    Parameters parameters;
    sig.GetParameters(parameters);
    CString text = sig.GetDescription() + u"(" + Dump(sig.GetReturnValue()) + u"|";
    for (intptr_t i = 0; i < parameters.GetSize(); ++i)
        text += (i ? CString(u",") : CString()) + Dump(parameters[i]);
    return text + u")";
}

// "name/description/version" then " function=[sig;sig]" sorted by name, whatever the map's walk order.
CString Dump(const CModuleMetaInfo& info) {
    const CModuleMetaInfo::CFunctionMap functions = info.GetFunctionsMetaInfo();
    std::vector<CString> entries;
    for (const auto* pair = functions.PGetFirstAssoc(); pair; pair = functions.PGetNextAssoc(pair)) {
        CString entry = u" " + pair->key + u"=[";
        for (intptr_t i = 0; i < pair->value.GetSize(); ++i)
            entry += (i ? CString(u";") : CString()) + Dump(pair->value.GetAt(i));
        entries.push_back(entry + u"]");
    }
    std::sort(entries.begin(), entries.end());
    CString text = info.GetName() + u"/" + info.GetDescription() + u"/" + info.GetVersion();
    for (const CString& entry : entries)
        text += entry;
    return text;
}

// The document read into object, which may hold old content; malformed text gives an invalid node.
template <class T>
T Read(const char16_t* xml, T object = T()) {
    CXML node{CString(xml), CString()};
    object.FromXml(node);
    return object;
}

CString Compact(const CXML& node) { return node.ToString(CXML::FORMAT_COMPACT); }

}  // namespace

// Absent attributes reset the record; a type is read as a number only.
TEST(VariableMetaInfo, XmlFormAndReading) {
    const char16_t* form = u"<VariableMetaInfo Name=\"host\" Description=\"a &quot;name&quot;\" Type=\"20001\"/>";
    EXPECT_EQ(Compact(Read<CVariableMetaInfo>(form).ToXml()), CString(form));
    const CVariableMetaInfo old = Read<CVariableMetaInfo>(u"<V Name='old' Description='old' Type='20000'/>");
    for (const auto& [xml, expected] : Rows{   // name:type|description
             {u"<AnyTag Name='n' Description='d' Type='20010'/>", u"n:20010|d"}, {u"<V Name='n'/>", u"n:0|"},
             {u"<V Type='-3'/>", u":-3|"}, {u"<V Type='STRING'/>", u":0|"}, {u"<V Type='99999999999'/>", u":0|"},
             {u"<V Description='line&#10;feed'/>", u":0|line\nfeed"}, {u"not xml", u":0|"}}) {
        SCOPED_TRACE(CString(xml));
        const CVariableMetaInfo meta = Read(xml, old);
        EXPECT_EQ(Dump(meta) + u"|" + meta.GetDescription(), CString(expected));
    }
}

// The last return value wins (none keeps the old one), every Parameters child adds
// parameters of any tag; tags are case-sensitive and only direct children count.
TEST(FunctionSignature, ReadingRules) {
    const auto old = Read<CFunctionSignature>(u"<F Description='old'><VariableMetaInfo Name='ret' Type='20000'/>"
                                              u"<Parameters><P Name='p' Type='20000'/></Parameters></F>");
    Parameters out;   // GetParameters replaces what the caller's array held, with copies
    out.Add(CVariableMetaInfo());
    old.GetParameters(out);
    ASSERT_EQ(out.GetSize(), 1);
    out[0].SetName(u"changed");
    EXPECT_EQ(Dump(old), CString(u"old(ret:20000|p:20000)"));
    for (const auto& [xml, expected] : Rows{
             {u"<F Description='d'><VariableMetaInfo Name='r' Type='20001'/><Parameters/></F>", u"d(r:20001|)"},
             {u"<F/>", u"(ret:20000|)"},
             {u"<F><Parameters><X Name='a' Type='20002'/><VariableMetaInfo Name='b'/></Parameters></F>",
              u"(ret:20000|a:20002,b:0)"},
             {u"<F><Parameters><P Name='a'/></Parameters><VariableMetaInfo Name='r1'/><Parameters><P Name='b'/>"
              u"</Parameters><VariableMetaInfo Name='r2' Type='20008'/></F>", u"(r2:20008|a:0,b:0)"},
             {u"<F><parameters><P Name='a'/></parameters><variablemetainfo Name='r'/></F>", u"(ret:20000|)"},
             {u"<F><Other><VariableMetaInfo Name='deep'/></Other></F>", u"(ret:20000|)"}, {u"<F", u"(ret:20000|)"}}) {
        SCOPED_TRACE(CString(xml));
        EXPECT_EQ(Dump(Read(xml, old)), CString(expected));
    }
}

TEST(ModuleMetaInfo, XmlFormRoundTrip) {
    const char16_t* form = u"<ModuleMetaInfo Name=\"netinfo\" Description=\"\" Version=\"1.2\"><FUNCTIONS>"
                           u"<FUNCTION Name=\"Ping\"><FunctionSignature Description=\"one\">"
                           u"<VariableMetaInfo Name=\"\" Description=\"\" Type=\"20000\"/><Parameters>"
                           u"<VariableMetaInfo Name=\"n\" Description=\"host\" Type=\"20001\"/></Parameters>"
                           u"</FunctionSignature><FunctionSignature Description=\"two\">"
                           u"<VariableMetaInfo Name=\"r\" Description=\"\" Type=\"20006\"/><Parameters/>"
                           u"</FunctionSignature></FUNCTION></FUNCTIONS></ModuleMetaInfo>";
    const auto info = Read<CModuleMetaInfo>(form);
    EXPECT_EQ(Dump(info), CString(u"netinfo//1.2 Ping=[one(:20000|n:20001);two(r:20006|)]"));
    EXPECT_EQ(Compact(info.ToXml()), CString(form));
    EXPECT_EQ(Compact(CModuleMetaInfo().ToXml()),
              CString(u"<ModuleMetaInfo Name=\"\" Description=\"\" Version=\"\"><FUNCTIONS/></ModuleMetaInfo>"));
}

// Every FUNCTIONS child fills the one table; below it tags are not examined, and a
// later function of the same name replaces the earlier one.
TEST(ModuleMetaInfo, ReadingRules) {
    const auto old = Read<CModuleMetaInfo>(u"<M Name='old' Description='old' Version='old'><FUNCTIONS>"
                                           u"<FUNCTION Name='Old'/></FUNCTIONS></M>");
    for (const auto& [xml, expected] : Rows{
             {u"<ModuleMetaInfo Name='n' Description='d' Version='v'/>", u"n/d/v"},
             {u"<Any><functions><FUNCTION Name='f'/></functions></Any>", u"//"},
             {u"<M><FUNCTIONS><FUNCTION Name='f'/><Other Name='g'><X/></Other></FUNCTIONS></M>", u"// f=[] g=[(:0|)]"},
             {u"<M><FUNCTIONS><FUNCTION Name='f'><FunctionSignature Description='a'/><FunctionSignature Description='b'/>"
              u"</FUNCTION><FUNCTION Name='f'><FunctionSignature Description='c'/></FUNCTION></FUNCTIONS></M>",
              u"// f=[c(:0|)]"},
             {u"<M><FUNCTIONS><FUNCTION Name='f'/></FUNCTIONS><Other><FUNCTION Name='x'/></Other><FUNCTIONS>"
              u"<FUNCTION Name='g'/></FUNCTIONS></M>", u"// f=[] g=[]"},
             {u"<M Name='n'", u"//"}}) {
        SCOPED_TRACE(CString(xml));
        EXPECT_EQ(Dump(Read(xml, old)), CString(expected));
    }
}

TEST(IntegerEnum, EntryTextFormBothWays) {
    EXPECT_EQ(CIntegerEnumEntry(u"", u"", INT64_MIN).ToString(), CString(u"(-9223372036854775808)"));
    struct Row { const char16_t* text; int result; const char16_t* name; int64_t value; };
    const std::vector<Row> rows = {   // each row reads into the entry old(9) described "d"
        {u"up(1)", 1, u"up", 1}, {u"up", 0, u"old", 9}, {u"up(1", 0, u"up", 9}, {u"(5)", 1, u"", 5},
        {u"a(b)", 1, u"a", 0}, {u"x( -7 )tail", 1, u"x", -7}, {u"x)(3)", 1, u"x)", 3},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(CString(row.text));
        CIntegerEnumEntry entry(u"old", u"d", 9);
        EXPECT_EQ(entry.FromStringValue(row.text), row.result);
        EXPECT_EQ(entry.ToString() + entry.GetDescription(), CIntegerEnumEntry(row.name, u"", row.value).ToString() + u"d");
    }
}

// Finders take the first exact, case-sensitive match and leave the output alone on a miss.
TEST(IntegerEnum, FindersAndXmlForm) {
    CIntegerEnum en;
    en.Add(CIntegerEnumEntry(u"up", u"first", 1));
    en.Add(CIntegerEnumEntry(u"up", u"second", int64_t{1} << 33));
    en.Add(CIntegerEnumEntry(u"alsoOne", u"third", 1));
    CIntegerEnumEntry found(u"untouched", u"", 0);
    EXPECT_EQ(en.IsEntryExist(u"UP") + en.FindEntry(u"Up", found) + en.FindEntry(int64_t{3}, found), 0);
    EXPECT_EQ(found.GetName(), CString(u"untouched"));
    EXPECT_EQ(en.FindEntry(u"up", found) + en.FindEntry(int64_t{1}, found), 2);
    EXPECT_EQ(found.GetDescription(), CString(u"first"));
    // The XML form reads back whole, replacing what the enumeration held; children of any tag are
    // entries, missing attributes read as empty and 0.
    CXML node = en.ToXml();
    EXPECT_EQ(node.GetTagName() + node.GetFirstChild().GetTagName(), CString(u"IntegerEnumEnumEntry"));
    CIntegerEnum back = Read<CIntegerEnum>(u"<Whatever><NotAnEntry/></Whatever>");
    ASSERT_EQ(back.GetSize(), 1);
    EXPECT_EQ(back[0].ToString() + back[0].GetDescription(), CString(u"(0)"));
    back.FromXml(node);
    ASSERT_EQ(back.GetSize(), 3);
    EXPECT_EQ(back[1].ToString() + back[1].GetDescription(), CString(u"up(8589934592)second"));
}
