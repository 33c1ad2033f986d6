// CVariableMetaInfo, CFunctionSignature, CModuleMetaInfo: exact XML forms,
// the reading rules of foreign or damaged trees, and deep copies.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "varlib/metadata/ModuleMetaInfo.h"

namespace {

using Parameters = CArray<CVariableMetaInfo, const CVariableMetaInfo&>;

CVariableMetaInfo Meta(const CString& name, eVariableType type, const CString& description = CString()) {
    CVariableMetaInfo meta;
    meta.SetName(name);
    meta.SetDescription(description);
    meta.SetType(type);
    return meta;
}

// The tree of a document; an invalid node for malformed text.
CXML Parse(const char16_t* text) { return CXML(CString(text), CString()); }

CString Compact(const CXML& node) { return node.ToString(CXML::FORMAT_COMPACT); }

// "name:type", as a test row states a record.
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

// "name/description/version" then " function=[sig;sig]" with functions sorted by
// name, so that the map's walk order does not enter the comparison.
CString Dump(const CModuleMetaInfo& info) {
    CModuleMetaInfo::CFunctionMap functions = info.GetFunctionsMetaInfo();
    std::vector<CString> entries;
    for (POSITION pos = functions.GetStartPosition(); pos;) {
        CString name;
        CModuleMetaInfo::CSignatureArray signatures;
        functions.GetNextAssoc(pos, name, signatures);
        CString entry = u" " + name + u"=[";
        for (intptr_t i = 0; i < signatures.GetSize(); ++i)
            entry += (i ? CString(u";") : CString()) + Dump(signatures[i]);
        entries.push_back(entry + u"]");
    }
    std::sort(entries.begin(), entries.end());
    CString text = info.GetName() + u"/" + info.GetDescription() + u"/" + info.GetVersion();
    for (const CString& entry : entries)
        text += entry;
    return text;
}

CFunctionSignature Signature(const CString& description, const CVariableMetaInfo& ret,
                             const std::vector<CVariableMetaInfo>& params) {
    CFunctionSignature sig;
    sig.SetDescription(description);
    sig.SetReturnValue(ret);
    Parameters parameters;
    for (const CVariableMetaInfo& p : params)
        parameters.Add(p);
    sig.SetParameters(parameters);
    return sig;
}

}  // namespace

TEST(VariableMetaInfo, XmlFormAndReading) {
    EXPECT_EQ(CVariableMetaInfo::GetTagName(), CString(u"VariableMetaInfo"));
    EXPECT_EQ(Compact(Meta(u"host", VT_STRING, u"a \"name\"").ToXml()),
              CString(u"<VariableMetaInfo Name=\"host\" Description=\"a &quot;name&quot;\" Type=\"20001\"/>"));

    struct Row {
        const char16_t* xml;
        const char16_t* expected;   // name:type
        const char16_t* description;
    };
    // Each row reads into a filled record: absent attributes reset it, they don't keep it.
    const std::vector<Row> rows = {
        {u"<VariableMetaInfo Name='n' Description='d' Type='20010'/>", u"n:20010", u"d"},
        {u"<AnyTag Name='n'/>", u"n:0", u""},
        {u"<VariableMetaInfo Type='12345'/>", u":12345", u""},
        {u"<VariableMetaInfo Type='-3'/>", u":-3", u""},
        {u"<VariableMetaInfo Type='STRING'/>", u":0", u""},
        {u"<VariableMetaInfo Type='99999999999'/>", u":0", u""},
        {u"<VariableMetaInfo Description='line&#10;feed'/>", u":0", u"line\nfeed"},
        {u"not xml", u":0", u""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(CString(row.xml));
        CVariableMetaInfo meta = Meta(u"old", VT_INT, u"old");
        CXML node = Parse(row.xml);
        meta.FromXml(node);
        EXPECT_EQ(Dump(meta), CString(row.expected));
        EXPECT_EQ(meta.GetDescription(), CString(row.description));
        // What was read writes back to a record that reads the same.
        CXML again = meta.ToXml();
        EXPECT_EQ(Dump(CVariableMetaInfo(again)) + CVariableMetaInfo(again).GetDescription(),
                  Dump(meta) + meta.GetDescription());
    }
}

TEST(FunctionSignature, XmlForm) {
    EXPECT_EQ(CFunctionSignature::GetTagName(), CString(u"FunctionSignature"));
    EXPECT_EQ(Compact(CFunctionSignature().ToXml()),
              CString(u"<FunctionSignature Description=\"\"><VariableMetaInfo Name=\"\" Description=\"\" Type=\"0\"/>"
                      u"<Parameters/></FunctionSignature>"));

    const CFunctionSignature sig =
        Signature(u"walk", Meta(u"rows", VT_ARRAY), {Meta(u"host", VT_STRING, u"ip"), Meta(u"oid", VT_STRING),
                                                     Meta(u"max", VT_INT)});
    EXPECT_EQ(Compact(sig.ToXml()),
              CString(u"<FunctionSignature Description=\"walk\">"
                      u"<VariableMetaInfo Name=\"rows\" Description=\"\" Type=\"20006\"/>"
                      u"<Parameters><VariableMetaInfo Name=\"host\" Description=\"ip\" Type=\"20001\"/>"
                      u"<VariableMetaInfo Name=\"oid\" Description=\"\" Type=\"20001\"/>"
                      u"<VariableMetaInfo Name=\"max\" Description=\"\" Type=\"20000\"/></Parameters>"
                      u"</FunctionSignature>"));
    CXML node = sig.ToXml();
    EXPECT_EQ(Dump(CFunctionSignature(node)), CString(u"walk(rows:20006|host:20001,oid:20001,max:20000)"));
}

TEST(FunctionSignature, ReadingRules) {
    struct Row {
        const char16_t* xml;
        const char16_t* expected;
    };
    // Each row reads into the signature old(ret:20000|p:20000).
    const std::vector<Row> rows = {
        {u"<FunctionSignature Description='d'><VariableMetaInfo Name='r' Type='20001'/><Parameters/>"
         u"</FunctionSignature>",
         u"d(r:20001|)"},
        {u"<FunctionSignature/>", u"(ret:20000|)"},
        {u"<Other Description='d'><Parameters><X Name='a' Type='20002'/><VariableMetaInfo Name='b'/>"
         u"</Parameters></Other>",
         u"d(ret:20000|a:20002,b:0)"},
        {u"<F><Parameters><P Name='a'/></Parameters><VariableMetaInfo Name='r1'/><Parameters><P Name='b'/>"
         u"</Parameters><VariableMetaInfo Name='r2' Type='20008'/></F>",
         u"(r2:20008|a:0,b:0)"},
        {u"<F><parameters><P Name='a'/></parameters><variablemetainfo Name='r'/></F>", u"(ret:20000|)"},
        {u"<F><Other><VariableMetaInfo Name='deep'/></Other><Other Name='x'/></F>", u"(ret:20000|)"},
        {u"<F><Parameters><P Name='a'><P Name='nested'/></P></Parameters></F>", u"(ret:20000|a:0)"},
        {u"<F", u"(ret:20000|)"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(CString(row.xml));
        CFunctionSignature sig = Signature(u"old", Meta(u"ret", VT_INT), {Meta(u"p", VT_INT)});
        CXML node = Parse(row.xml);
        sig.FromXml(node);
        EXPECT_EQ(Dump(sig), CString(row.expected));
    }
}

TEST(FunctionSignature, CopiesShareNothing) {
    CFunctionSignature sig = Signature(u"d", Meta(u"r", VT_INT), {Meta(u"a", VT_INT)});
    CFunctionSignature copy(sig);
    CFunctionSignature assigned;
    assigned = sig;
    copy.SetParameters(Parameters());
    assigned.SetReturnValue(Meta(u"x", VT_CHAR));
    const CFunctionSignature& self = sig;
    sig = self;
    EXPECT_EQ(Dump(sig), CString(u"d(r:20000|a:20000)"));
    EXPECT_EQ(Dump(copy), CString(u"d(r:20000|)"));
    EXPECT_EQ(Dump(assigned), CString(u"d(x:20010|a:20000)"));

    // The caller's array ends up holding only the copied parameters.
    Parameters out;
    out.Add(Meta(u"stale1", VT_XML));
    out.Add(Meta(u"stale2", VT_XML));
    sig.GetParameters(out);
    ASSERT_EQ(out.GetSize(), 1);
    out[0].SetName(u"changed");
    EXPECT_EQ(Dump(sig), CString(u"d(r:20000|a:20000)"));
}

TEST(ModuleMetaInfo, XmlForm) {
    EXPECT_EQ(CModuleMetaInfo::GetTagName(), CString(u"ModuleMetaInfo"));
    CModuleMetaInfo info;
    info.SetName(u"netinfo");
    info.SetDescription(u"Network");
    info.SetVersion(u"1.2");
    EXPECT_EQ(Compact(info.ToXml()),
              CString(u"<ModuleMetaInfo Name=\"netinfo\" Description=\"Network\" Version=\"1.2\"><FUNCTIONS/>"
                      u"</ModuleMetaInfo>"));
    CXML emptyNode = info.ToXml();
    EXPECT_EQ(Dump(CModuleMetaInfo(emptyNode)), CString(u"netinfo/Network/1.2"));

    // One function, two overloads in declaration order.
    CModuleMetaInfo::CFunctionMap functions;
    CString ping(u"Ping");
    CFunctionSignature one = Signature(u"one", Meta(u"", VT_INT), {});
    functions[ping].Add(one);
    CFunctionSignature two = Signature(u"two", Meta(u"", VT_INT), {Meta(u"n", VT_INT)});
    functions[ping].Add(two);
    info.SetFunctionsMetaInfo(functions);
    EXPECT_EQ(Compact(info.ToXml()),
              CString(u"<ModuleMetaInfo Name=\"netinfo\" Description=\"Network\" Version=\"1.2\"><FUNCTIONS>"
                      u"<FUNCTION Name=\"Ping\"><FunctionSignature Description=\"one\">"
                      u"<VariableMetaInfo Name=\"\" Description=\"\" Type=\"20000\"/><Parameters/>"
                      u"</FunctionSignature><FunctionSignature Description=\"two\">"
                      u"<VariableMetaInfo Name=\"\" Description=\"\" Type=\"20000\"/><Parameters>"
                      u"<VariableMetaInfo Name=\"n\" Description=\"\" Type=\"20000\"/></Parameters>"
                      u"</FunctionSignature></FUNCTION></FUNCTIONS></ModuleMetaInfo>"));

    // Many functions, some without signatures, come back whole whatever the walk order.
    for (int i = 0; i < 40; ++i) {
        CString name;
        name.Format(u"f%d", i);
        functions[name];
        for (int j = 0; j < i % 3; ++j) {
            CFunctionSignature sig = Signature(name, Meta(u"r", VT_STRING), {Meta(name, VT_INT)});
            functions[name].Add(sig);
        }
    }
    info.SetFunctionsMetaInfo(functions);
    CXML node = info.ToXml();
    EXPECT_EQ(node.GetChild(u"FUNCTIONS").GetChildCount(), 41);
    EXPECT_EQ(Dump(CModuleMetaInfo(node)), Dump(info));
}

TEST(ModuleMetaInfo, ReadingRules) {
    struct Row {
        const char16_t* xml;
        const char16_t* expected;
    };
    // Each row reads into the module old/old/old with the function Old.
    const std::vector<Row> rows = {
        {u"<ModuleMetaInfo Name='n' Description='d' Version='v'/>", u"n/d/v"},
        {u"<Any><functions><FUNCTION Name='f'/></functions></Any>", u"//"},
        {u"<M><FUNCTIONS><FUNCTION Name='f'/><Other Name='g'><X/></Other></FUNCTIONS></M>",
         u"// f=[] g=[(:0|)]"},
        {u"<M><FUNCTIONS><FUNCTION><FunctionSignature Description='s'/></FUNCTION></FUNCTIONS></M>",
         u"// =[s(:0|)]"},
        {u"<M><FUNCTIONS><FUNCTION Name='f'><FunctionSignature Description='a'/>"
         u"<FunctionSignature Description='b'/></FUNCTION><FUNCTION Name='f'><FunctionSignature Description='c'/>"
         u"</FUNCTION></FUNCTIONS></M>",
         u"// f=[c(:0|)]"},
        {u"<M><FUNCTIONS><FUNCTION Name='f'/></FUNCTIONS><Other><FUNCTION Name='x'/></Other>"
         u"<FUNCTIONS><FUNCTION Name='g'/></FUNCTIONS></M>",
         u"// f=[] g=[]"},
        {u"<M><FUNCTIONS><FUNCTION Name='f'><Sig Description='s'><VariableMetaInfo Name='r' Type='20001'/>"
         u"<Parameters><P Name='a' Type='20000'/></Parameters></Sig></FUNCTION></FUNCTIONS></M>",
         u"// f=[s(r:20001|a:20000)]"},
        {u"<M Name='n'", u"//"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(CString(row.xml));
        CModuleMetaInfo info;
        info.SetName(u"old");
        info.SetDescription(u"old");
        info.SetVersion(u"old");
        CModuleMetaInfo::CFunctionMap functions;
        CString old(u"Old");
        functions[old];
        info.SetFunctionsMetaInfo(functions);
        ASSERT_EQ(Dump(info), CString(u"old/old/old Old=[]"));

        CXML node = Parse(row.xml);
        info.FromXml(node);
        EXPECT_EQ(Dump(info), CString(row.expected));
    }
}

TEST(ModuleMetaInfo, CopiesShareNothing) {
    CModuleMetaInfo info;
    info.SetName(u"m");
    CModuleMetaInfo::CFunctionMap functions;
    CString name(u"f");
    CFunctionSignature sig = Signature(u"s", Meta(u"r", VT_INT), {});
    functions[name].Add(sig);
    info.SetFunctionsMetaInfo(functions);

    CModuleMetaInfo::CFunctionMap got = info.GetFunctionsMetaInfo();
    got[name][0].SetDescription(u"changed");
    CString other(u"g");
    got[other];
    CModuleMetaInfo copy(info);
    CModuleMetaInfo assigned;
    assigned = info;
    const CModuleMetaInfo& self = info;
    info = self;
    info.Copy(self);
    EXPECT_EQ(Dump(info), CString(u"m// f=[s(r:20000|)]"));

    copy.SetFunctionsMetaInfo(CModuleMetaInfo::CFunctionMap());
    assigned.SetName(u"other");
    EXPECT_EQ(Dump(copy), CString(u"m//"));
    EXPECT_EQ(Dump(assigned), CString(u"other// f=[s(r:20000|)]"));
    EXPECT_EQ(Dump(info), CString(u"m// f=[s(r:20000|)]"));
}
