// XML form of CVariable, CVariableArray and CVariableList: round trips of a
// generated mix, the written form, reading rules, degraded input, depth; the
// list's deep copies.
#include <gtest/gtest.h>

#include <string>

#include "corelib/XMLTextWriter.h"
#include "value_generator.h"
#include "varlib/values/VariableList.h"

using namespace tv;
using valuegen::ExpectSameValue;

namespace {

CXML Parse(const char* text) { return CXML(CString::FromUtf8(text), CString()); }

// "index=text" per element in order; an array element shows as "array".
std::string Elements(const CVariableArray& array) {
    std::string out;
    for (int ordinal = 0; ordinal < array.GetCount(); ++ordinal) {
        const CVariable* pElement = ElementAt(array, ordinal);
        out += (ordinal ? " " : "") + array.GetIndex(ordinal).ToUtf8() + "=" +
               (pElement->IsArray() ? std::string("array") : pElement->ToString(0).ToUtf8());
    }
    return out;
}

}  // namespace

// Each value goes out as a list item and as an array element, and comes back whole.
TEST(VariableXml, GeneratedValuesRoundTrip) {
    valuegen::ValueGenerator generator(20240601, valuegen::Form::kXml);
    for (int i = 0; i < 300; ++i) {
        CVariableList list;
        CVariableArray array;
        for (int n = 0; n <= i % 5; ++n) {
            list.Add(n == 0 ? generator.Make(i % generator.Kinds(), 0) : generator.Make(0));
            array.InsertElement(CString(std::u16string(1, static_cast<char16_t>(u'a' + n))), new CVariable(list[n]));
        }
        const CString text = list.ToXml().ToString(1);
        SCOPED_TRACE(testing::Message() << "list " << i << ": " << text);
        CXML node(text, CVariableList::GetTagName());
        const CVariableList back(node);
        ASSERT_EQ(back.GetSize(), list.GetSize());
        for (intptr_t n = 0; n < list.GetSize(); ++n)
            ExpectSameValue(list[n], back[n]);
        CXML arrayNode(array.ToXml().ToString(1), u"ARRAY");
        CVariableArray arrayBack;
        arrayBack.FromXml(arrayNode);
        ExpectSameValue(CVariable(array), CVariable(arrayBack));
    }
}

// Attribute order, which types carry "Value" and which a child, "Index" only
// below an array; what each type makes of the "Value" and children it reads.
TEST(VariableXml, WrittenFormAndReadingByType) {
    CVariable element(2), described(CString(u"x\ny"));
    element.SetArrayElementInfo(u"idx");
    described.m_strDisplayName = u"Shown";
    described.m_strDescription = u"<said>";
    const std::pair<CVariable, const char*> written[] = {
        {CVariable(CVariableArray()), R"(<VARIABLE Name="" Type="20006" DisplayName="" Description=""><ARRAY/></VARIABLE>)"},
        {element, R"(<VARIABLE Name="" Type="20000" DisplayName="" Description="" Value="2"/>)"},
        {described, R"(<VARIABLE Name="" Type="20001" DisplayName="Shown" Description="&lt;said>" Value="x&#10;y"/>)"},
        {CVariable(CXML()), R"(<VARIABLE Name="" Type="20005" DisplayName="" Description=""/>)"},
    };
    for (const auto& [value, xml] : written)
        EXPECT_EQ(XmlOf(value), xml);
    const std::pair<const char*, const char*> read[] = {   // what is read, what is written after the head
        {R"(<V Type="20000" Value="12abc"/>)", R"( Value="0"/>)"},
        {R"(<V Type="20000" Value="3"><Names><E Name="three" Value="3"/><E Name="big" Value="-5000000000"/></Names></V>)",
         R"( Value="3"><IntegerEnum><EnumEntry Name="three" Description="" Value="3"/>)"
         R"(<EnumEntry Name="big" Description="" Value="-5000000000"/></IntegerEnum></VARIABLE>)"},
        {R"(<V Type="20001" Value="a&#13;&#10;b&#10;"/>)", R"( Value="a&#13;&#13;&#10;b&#13;&#10;"/>)"},
        {R"(<V Type="20009" Value="300"/>)", R"( Value="44"/>)"},
        {R"(<V Type="20010" Value="65601"/>)", R"( Value="65"/>)"},
        {R"(<V Type="20006"><List><Item Index="i" Type="20009" Value="7"/></List></V>)",
         R"(><ARRAY><VARIABLE Name="" Type="20009" DisplayName="" Description="" Value="7" Index="i"/></ARRAY></VARIABLE>)"},
    };
    for (const auto& [xml, tail] : read) {
        SCOPED_TRACE(xml);
        CVariable value;
        CXML node = Parse(xml);
        value.FromXml(node);
        EXPECT_EQ(XmlOf(value), "<VARIABLE Name=\"\" Type=\"" + std::to_string(static_cast<int>(value.m_eType)) +
                                    "\" DisplayName=\"\" Description=\"\"" + tail);
    }
}

// Degraded input reads to the defaults, and only the payload of the type
// named changes: the target starts with a marker in every payload.
TEST(VariableXml, DegradedInputReadsToItsDefaults) {
    const auto payloads = [](const CVariable& v) {
        return std::to_string(v.m_nValue) + " enum " + std::to_string(v.m_enumValues.GetSize()) + " " +
               v.m_strValue.ToUtf8() + " " + std::to_string(v.m_dValue) + " pdu " +
               std::to_string(v.m_pduValue.GetRequestId()) + " " + v.m_vbValue.GetOid().ToUtf8() + " xml " +
               std::to_string(v.m_xmlValue.IsValid()) + " [" + Elements(v.m_arrayValue) + "] " +
               std::to_string(v.m_timeValue.GetTime()) + " " + std::to_string(v.m_byteValue) + " " +
               std::to_string(v.m_chValue) + " names:" + (v.m_strName + v.m_strDisplayName + v.m_strDescription).ToUtf8();
    };
    const struct {
        const char* xml;
        int type;
        const char* change;   // what differs from the marker values ("xml 0", "[kept=77 =2]"), if anything
    } rows[] = {
        {"<VARIABLE/>", 0, ""}, {R"(<VARIABLE Type="0" Value="5"/>)", 0, ""},
        {R"(<VARIABLE Type="INT" Value="5"/>)", 0, ""}, {R"(<VARIABLE Type="4294987296" Value="5"/>)", 0, ""},
        {R"(<VARIABLE Type="19999" Value="5"/>)", 19999, ""},
        {R"(<VARIABLE Type="20011" Value="5"><x/></VARIABLE>)", 20011, ""},
        {R"(<VARIABLE Type="-20000" Value="5"/>)", -20000, ""},
        {R"(<VARIABLE Type="20007" Value="5"><ARRAY><VARIABLE Type="20000"/></ARRAY></VARIABLE>)", 20007, ""},
        {R"(<VARIABLE Type="20003"/>)", 20003, ""}, {R"(<VARIABLE Type="20004" Value="x"/>)", 20004, ""},
        {R"(<VARIABLE Type="20006"/>)", 20006, ""}, {R"(<VARIABLE Type="20005"/>)", 20005, "xml 0"},
        {R"(<VARIABLE Type="20005"><a/><b/></VARIABLE>)", 20005, "xml 0"},
        // Both go in under the empty index; the second replaces the first.
        {R"(<VARIABLE Type="20006"><ARRAY><VARIABLE Type="20000" Value="1"/><VARIABLE Type="20000" Value="2"/></ARRAY></VARIABLE>)",
         20006, "[kept=77 =2]"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.xml);
        CVariable v;
        v.m_nValue = v.m_byteValue = v.m_chValue = 77;
        v.m_enumValues.Add(CIntegerEnumEntry(u"kept", u"", 77));
        v.m_strValue = u"kept";
        v.m_dValue = 7.5;
        v.m_pduValue = CSnmpPdu(CSnmpPdu::PDU_TRAP2, 77);
        v.m_vbValue = CSnmpVarBind(u"1.7.7");
        v.m_xmlValue = Parse("<kept/>");
        v.m_arrayValue.InsertElement(u"kept", new CVariable(77));
        v.m_timeValue = CTime(77);
        v.m_strName = v.m_strDisplayName = v.m_strDescription = u"old";
        CXML node = Parse(row.xml);
        v.FromXml(node);
        std::string expected = "77 enum 1 kept 7.500000 pdu 77 1.7.7 xml 1 [kept=77] 77 77 77 names:";
        const std::string change = row.change;
        if (!change.empty())
            expected.replace(expected.find(change[0] == '[' ? "[kept=77]" : "xml 1"), change[0] == '[' ? 9 : 5, change);
        EXPECT_EQ(static_cast<int>(v.m_eType), row.type);
        EXPECT_EQ(payloads(v), expected);
    }
}

// The node read may live inside the very value, array or list being read into; a
// child that repeats the index of an element whose own array is still being read
// replaces it afterwards, not while the read points into it.
TEST(VariableXml, ReadingFromOwnPayloadOrIntoAReplacedElement) {
    CXML node = Parse(
        R"(<ARRAY><VARIABLE Index="x" Type="20006"><ARRAY><VARIABLE Index="x" Type="20006"><ARRAY>)"
        R"(<VARIABLE Index="i" Type="20000" Value="1"/></ARRAY></VARIABLE><VARIABLE Index="x" Type="20000" Value="2"/>)"
        R"(</ARRAY></VARIABLE><VARIABLE Index="x" Type="20009" Value="3"/></ARRAY>)");
    CVariableArray array;
    array.FromXml(node);
    EXPECT_TRUE(array.GetCount() == 1 && ElementAt(array, 0)->m_eType == VT_BYTE);
    EXPECT_EQ(Elements(array), "x=\x03");

    CVariable value(Parse(R"(<VARIABLE Type="20005"><VARIABLE Type="20001" Value="s"/></VARIABLE>)"));
    value.FromXml(value.m_xmlValue);
    EXPECT_EQ(value.m_xmlValue.ToString(1).ToUtf8(), R"(<VARIABLE Type="20001" Value="s"/>)");
    value.FromXml(value.m_xmlValue);
    EXPECT_EQ(value.m_strValue, CString(u"s"));
    array.CleanUp();
    array.InsertElement(u"k", new CVariable(Parse(R"(<ARRAY><VARIABLE Index="k" Type="20000" Value="4"/></ARRAY>)")));
    array.FromXml(ElementAt(array, 0)->m_xmlValue);   // replaces the element whose tree is being read
    EXPECT_EQ(Elements(array), "k=4");
    CVariableList list;
    list.Add(CVariable(Parse(R"(<VARIABLE_LIST><VARIABLE Type="20000" Value="1"/><X/></VARIABLE_LIST>)")));
    list.FromXml(list[0].m_xmlValue);
    ASSERT_EQ(list.GetSize(), 2);
    EXPECT_TRUE(list[0].m_nValue == 1 && list[1].m_eType == VT_UNDEFINED);
}

// Nesting has no limit: 100,000 levels go out as text and come back.
TEST(VariableXml, DeepNestingRoundTrips) {
    constexpr int kDepth = 100000;
    CVariableList list;
    list.Add(CVariable(CVariableArray()));
    CVariable* pLevel = &list[0];   // built in place: no deep copy into the list
    for (int i = 0; i < kDepth; ++i) {
        auto* pNext = new CVariable(CVariableArray());
        pLevel->m_arrayValue.InsertElement(u"0", pNext);
        pLevel = pNext;
    }
    pLevel->m_arrayValue.InsertElement(u"leaf", new CVariable(42));

    CXML node(list.ToXml().ToString(1), u"VARIABLE_LIST");
    ASSERT_TRUE(node.IsValid());
    const CVariableList back(node);
    ASSERT_EQ(back.GetSize(), 1);
    int depth = 0;
    const CVariable* pWalk = &back[0];
    CVariable* pChild = nullptr;
    for (; pWalk->IsArray() && pWalk->m_arrayValue.Lookup(u"0", pChild); ++depth)
        pWalk = pChild;
    EXPECT_EQ(depth, kDepth);
    EXPECT_EQ(Elements(pWalk->m_arrayValue), "leaf=42");
}

// The text written straight from a value is, byte for byte, what the tree
// prints, compact and indented: the generated mix, then texts that the mix
// leaves out (a U+0000, which ends an attribute, lone surrogates, every
// control character) and arrays nested inside XML payloads' neighbours.
TEST(VariableXml, TextWrittenStraightIsTheTreesPrint) {
    const auto expectSamePrint = [](const CVariable& value) {
        const CXML tree = value.ToXml();
        EXPECT_EQ(value.ToXmlString().ToUtf8(), tree.ToString(1).ToUtf8());
        CXMLTextWriter indented(CXML::FORMAT_INDENT);
        value.WriteXml(indented);
        EXPECT_EQ(indented.ToString().ToUtf8(), tree.ToString(CXML::FORMAT_INDENT).ToUtf8());
    };
    valuegen::ValueGenerator generator(20261124, valuegen::Form::kXml);
    for (int i = 0; i < 400; ++i) {
        SCOPED_TRACE(i);
        expectSamePrint(generator.Make(i % generator.Kinds(), 0));
    }

    std::u16string controls;
    for (char16_t c = 1; c < 0x80; ++c)
        controls += c;
    const std::u16string texts[] = {
        std::u16string(u"before\0after", 6) + u'\0' + u"after", controls, u"\xd800x\xdc00\xdbff", u"\U0001F600\xdfff",
    };
    CVariableArray array;
    for (const std::u16string& text : texts) {
        CVariable value{CString(text)};
        value.m_strName = CString(text);
        expectSamePrint(value);
        array.InsertElement(CString(text), new CVariable(value));
        array.InsertElement(u"x" + CString(text), new CVariable(CVariable(CXML(u"<a b='1'>t<![CDATA[c]]><c/><!--n--></a>", CString()))));
    }
    array.InsertElement(u"empty", new CVariable(CVariableArray()));
    CVariable nested(array);
    nested.m_arrayValue.InsertElement(u"again", new CVariable(array));
    expectSamePrint(nested);
}

// FromXml replaces the items with one per child, whatever the tag names; copies are deep.
TEST(VariableList, FromXmlReplacesTheItemsAndCopiesAreDeep) {
    const std::pair<const char*, std::u16string> rows[] = {
        // one letter per item: I INT, S STRING, U type 0, A ARRAY
        {"<VARIABLE_LIST/>", u""}, {"<VARIABLE_LIST>text</VARIABLE_LIST>", u""},
        {R"(<Args><VARIABLE Type="20001"/><VARIABLE Type="20000"/></Args>)", u"SI"},
        {R"(<VARIABLE_LIST><Param Type="20006"><ARRAY/></Param><other/></VARIABLE_LIST>)", u"AU"},
        {R"(<VARIABLE_LIST><VARIABLE_LIST><VARIABLE Type="20000"/></VARIABLE_LIST></VARIABLE_LIST>)", u"U"},
    };
    for (const auto& [xml, letters] : rows) {
        SCOPED_TRACE(xml);
        CVariableList list;
        list.Add(Str(u"old"));
        CXML node = Parse(xml);
        list.FromXml(node);
        const CVariableList constructed(node);
        for (const CVariableList* pList : {static_cast<const CVariableList*>(&list), &constructed}) {
            std::u16string types;
            for (intptr_t i = 0; i < pList->GetSize(); ++i) {
                const eVariableType type = (*pList)[i].m_eType;
                types += type == VT_INT ? u'I' : type == VT_STRING ? u'S' : type == VT_ARRAY ? u'A' : type ? u'?' : u'U';
            }
            EXPECT_EQ(types, letters);
        }
    }

    CVariableList source;
    source.Add(CVariable(99));
    source.Add(Array({{"k", CVariable(1)}}));
    CVariableList constructed(source), assigned;
    assigned.Add(CVariable(98));
    assigned = source;
    source = static_cast<const CVariableList&>(source);   // a no-op
    for (CVariableList* pCopy : {&constructed, &assigned}) {
        ASSERT_EQ(pCopy->GetSize(), 2);
        ElementAt((*pCopy)[1].m_arrayValue, 0)->m_nValue = 2;
    }
    EXPECT_EQ(Elements(source[1].m_arrayValue), "k=1");
}
