// XML form of CVariable, CVariableArray and CVariableList: round trips of a
// generated mix, the written form, reading rules, degraded input, depth.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "varlib/values/Variable.h"
#include "varlib/values/VariableList.h"

namespace {

std::string Utf8(const CString& s) { return s.ToUtf8(); }

CXML Parse(const char* text) { return CXML(CString::FromUtf8(text), CString()); }

// Reads text into a fresh value.
CVariable ReadVariable(const CString& text) {
    CXML node(text, CString());
    EXPECT_TRUE(node.IsValid()) << Utf8(text);
    CVariable value;
    value.FromXml(node);
    return value;
}

bool SameDouble(double a, double b) {
    if (std::isnan(a) || std::isnan(b))
        return std::isnan(a) && std::isnan(b);
    return std::memcmp(&a, &b, sizeof a) == 0;   // tells -0.0 from 0.0
}

// Type, the three texts and the payload of the type; for array elements also
// the index, the element flag and the order. A work list, so deep values work.
void ExpectSameValue(const CVariable& expected, const CVariable& actual) {
    struct Pair {
        const CVariable* pExpected;
        const CVariable* pActual;
        int depth;
    };
    std::vector<Pair> pending{{&expected, &actual, 0}};
    while (!pending.empty()) {
        const Pair pair = pending.back();
        pending.pop_back();
        const CVariable& e = *pair.pExpected;
        const CVariable& a = *pair.pActual;
        SCOPED_TRACE(testing::Message() << "depth " << pair.depth << ", name \"" << e.m_strName << "\"");
        ASSERT_EQ(a.m_eType, e.m_eType);
        EXPECT_EQ(a.m_strName, e.m_strName);
        EXPECT_EQ(a.m_strDisplayName, e.m_strDisplayName);
        EXPECT_EQ(a.m_strDescription, e.m_strDescription);
        switch (e.m_eType) {
        case VT_INT:
            EXPECT_EQ(a.m_nValue, e.m_nValue);
            ASSERT_EQ(a.m_enumValues.GetSize(), e.m_enumValues.GetSize());
            for (intptr_t i = 0; i < e.m_enumValues.GetSize(); ++i) {
                EXPECT_EQ(a.m_enumValues[i].GetName(), e.m_enumValues[i].GetName());
                EXPECT_EQ(a.m_enumValues[i].GetDescription(), e.m_enumValues[i].GetDescription());
                EXPECT_EQ(a.m_enumValues[i].GetValue(), e.m_enumValues[i].GetValue());
            }
            break;
        case VT_STRING: EXPECT_EQ(a.m_strValue, e.m_strValue); break;
        case VT_DOUBLE: EXPECT_PRED2(SameDouble, e.m_dValue, a.m_dValue); break;
        case VT_PDU: EXPECT_TRUE(a.m_pduValue == e.m_pduValue) << a.m_pduValue.ToString(); break;
        case VT_SNMPVAR: EXPECT_TRUE(a.m_vbValue == e.m_vbValue) << a.m_vbValue.ToString(); break;
        case VT_XML:
            EXPECT_EQ(a.m_xmlValue.IsValid(), e.m_xmlValue.IsValid());
            EXPECT_EQ(a.m_xmlValue.ToString(1), e.m_xmlValue.ToString(1));
            break;
        case VT_TIME: EXPECT_EQ(a.m_timeValue.GetTime(), e.m_timeValue.GetTime()); break;
        case VT_BYTE: EXPECT_EQ(a.m_byteValue, e.m_byteValue); break;
        case VT_CHAR: EXPECT_EQ(a.m_chValue, e.m_chValue); break;
        case VT_ARRAY: {
            ASSERT_EQ(a.m_arrayValue.GetCount(), e.m_arrayValue.GetCount());
            for (int ordinal = 0; ordinal < e.m_arrayValue.GetCount(); ++ordinal) {
                const CString index = e.m_arrayValue.GetIndex(ordinal);
                ASSERT_EQ(a.m_arrayValue.GetIndex(ordinal), index) << "ordinal " << ordinal;
                CVariable* pE = nullptr;
                CVariable* pA = nullptr;
                ASSERT_TRUE(e.m_arrayValue.Lookup(index, pE));
                ASSERT_TRUE(a.m_arrayValue.Lookup(index, pA));
                EXPECT_EQ(pA->m_bArrayElement, 1);
                EXPECT_EQ(pA->m_strIndex, index);
                pending.push_back({pE, pA, pair.depth + 1});
            }
            break;
        }
        default: break;   // no payload
        }
    }
}

// A reproducible mix of every type, nested arrays included. Texts avoid what
// the form changes on purpose (LF becomes CR LF) or cannot carry (U+0000, an
// unpaired surrogate); everything else, markup and control characters
// included, must come back.
class ValueGenerator {
public:
    static constexpr int kKinds = 13;   // 0, 20000 to 20010, an unknown number

    explicit ValueGenerator(uint64_t seed) : m_rng(seed) {}

    CString Text() {
        static const std::u16string kPieces[] = {
            u"a", u"Z", u"0", u" ", u"<", u">", u"&", u"\"", u"'", u"\r", u"\t", u"\u0007",
            u"\u00e9", u"\u4e2d", u"\uFFFD", u"\U0001F600", u"]]>", u"&amp;", u"_x",
        };
        std::u16string text;
        const int length = Below(7);
        for (int i = 0; i < length; ++i)
            text += kPieces[Below(std::size(kPieces))];
        return CString(text);
    }

    int AnyKind() { return Below(kKinds); }

    CVariable Make(int kind, int depth) {
        CVariable value;
        switch (kind) {
        case 0: break;
        case 1: value = CVariable(static_cast<int64_t>(m_rng())); AddEnum(value); break;
        case 2: value = CVariable(Text()); break;
        case 3: value = CVariable(Double()); break;
        case 4: value = CVariable(Pdu()); break;
        case 5: value = CVariable(VarBind()); break;
        case 6: value = Below(5) == 0 ? CVariable(CXML()) : CVariable(Tree()); break;
        case 7: value = CVariable(Array(depth)); break;
        case 8: value.m_eType = VT_ARRAY_ELEM; break;
        case 9: value = CVariable(CTime(static_cast<int64_t>(m_rng()))); break;
        case 10: value = CVariable(static_cast<unsigned char>(m_rng())); break;
        case 11: value = CVariable(static_cast<char16_t>(m_rng())); break;
        default: value.m_eType = static_cast<eVariableType>(Below(2) ? -7 : 31337); break;
        }
        value.m_strName = Text();
        value.m_strDisplayName = Text();
        value.m_strDescription = Text();
        return value;
    }

private:
    int Below(std::size_t n) { return static_cast<int>(m_rng() % n); }

    void AddEnum(CVariable& value) {
        for (int i = Below(3); i > 0; --i)
            value.m_enumValues.Add(CIntegerEnumEntry(Text(), Text(), static_cast<int64_t>(m_rng())));
    }

    double Double() {
        static const double kSpecial[] = {
            0.0, -0.0, 0.1, 1.0 / 3.0, -2.5e-8, 1e308,
            std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::max(),
            std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
            std::numeric_limits<double>::quiet_NaN(),
        };
        if (Below(2) == 0)
            return kSpecial[Below(std::size(kSpecial))];
        const uint64_t bits = m_rng();
        double d = 0.0;
        std::memcpy(&d, &bits, sizeof d);
        return d;
    }

    CSnmpVarBind VarBind() {
        std::u16string oid = u"1.3.6.1.2.1.1.0.0";
        oid[14] = static_cast<char16_t>(u'0' + Below(10));
        CSnmpVarBind vb{CString(oid)};
        switch (Below(5)) {
        case 0: vb.SetInteger(static_cast<int32_t>(m_rng())); break;
        case 1: vb.SetOctetString(Text()); break;
        case 2: vb.SetCounter64(m_rng()); break;
        case 3: vb.SetException(CSnmpVarBind::SYNTAX_NOSUCHINSTANCE); break;
        default: break;   // Null
        }
        return vb;
    }

    CSnmpPdu Pdu() {
        CSnmpPdu pdu(CSnmpPdu::PDU_RESPONSE, static_cast<int32_t>(m_rng()));
        pdu.SetErrorStatus(Below(6));
        pdu.SetErrorIndex(Below(3));
        for (int i = Below(3); i > 0; --i)
            pdu.AddVarBind(VarBind());
        return pdu;
    }

    CXML Tree() {
        CXML root(u"tree");
        root.SetAttr(u"a", Text());
        for (int i = Below(3); i > 0; --i) {
            CXML child(u"leaf");
            child.SetAttr(u"b", Text());
            root.AddChild(child);
        }
        return root;
    }

    CVariableArray Array(int depth) {
        CVariableArray array;
        const int count = depth >= 3 ? Below(2) : Below(5);
        for (int i = 0; i < count; ++i) {
            int kind = AnyKind();
            if (kind == 7 && depth >= 3)
                kind = 1;   // no arrays below level 3
            auto* pElement = new CVariable(Make(kind, depth + 1));
            // Indexes may repeat: a repeat replaces the element and keeps its place.
            array.InsertElement(Below(4) == 0 ? CString() : Text(), pElement);
        }
        return array;
    }

    std::mt19937_64 m_rng;
};

// Shorthands for building expected trees.
CVariable Named(CVariable value, const char16_t* name) {
    value.m_strName = name;
    return value;
}

std::vector<std::u16string> Indexes(const CVariableArray& array) {
    std::vector<std::u16string> indexes;
    for (int ordinal = 0; ordinal < array.GetCount(); ++ordinal)
        indexes.push_back(array.GetIndex(ordinal).Str());
    return indexes;
}

}  // namespace

TEST(VariableXml, GeneratedValuesRoundTripThroughText) {
    ValueGenerator generator(20240601);
    for (int i = 0; i < 600; ++i) {
        const CVariable original = generator.Make(i % ValueGenerator::kKinds, 0);
        const CString text = original.ToXmlString();
        SCOPED_TRACE(testing::Message() << "value " << i << ": " << text);
        ExpectSameValue(original, ReadVariable(text));

        // The same value as the only element of an array, and as a list item.
        CVariableArray array;
        array.InsertElement(u"k", new CVariable(original));
        CVariableArray arrayBack;
        CXML arrayNode(array.ToXml().ToString(1), u"ARRAY");
        arrayBack.FromXml(arrayNode);
        ExpectSameValue(CVariable(array), CVariable(arrayBack));
    }
}

TEST(VariableXml, GeneratedListsRoundTripThroughText) {
    ValueGenerator generator(7);
    for (int i = 0; i < 60; ++i) {
        CVariableList list;
        for (int n = i % 6; n > 0; --n)
            list.Add(generator.Make(generator.AnyKind(), 0));
        const CString text = list.ToXml().ToString(1);
        SCOPED_TRACE(testing::Message() << "list " << i << ": " << text);
        CXML node(text, CVariableList::GetTagName());
        const CVariableList back(node);
        ASSERT_EQ(back.GetSize(), list.GetSize());
        for (intptr_t n = 0; n < list.GetSize(); ++n)
            ExpectSameValue(list[n], back[n]);
    }
}

// The written form, exactly: attribute order, which types carry "Value" and
// which a child, "Index" only from an array.
TEST(VariableXml, WrittenForm) {
    CVariableArray inner;
    inner.InsertElement(u"0", new CVariable(Named(CVariable(5), u"n")));
    CVariable withEnum(1);
    withEnum.m_enumValues.Add(CIntegerEnumEntry(u"up", u"", 1));
    CVariable element(2);
    element.SetArrayElementInfo(u"idx");
    CVariable described(CString(u"x\ny"));
    described.m_strDisplayName = u"Shown";
    described.m_strDescription = u"<said>";

    const struct {
        const char* label;
        CVariable value;
        const char* xml;
    } rows[] = {
        {"nested INT", Named(CVariable(inner), u"a"),
         R"(<VARIABLE Name="a" Type="20006" DisplayName="" Description=""><ARRAY>)"
         R"(<VARIABLE Name="n" Type="20000" DisplayName="" Description="" Value="5" Index="0"/></ARRAY></VARIABLE>)"},
        {"empty ARRAY", CVariable(CVariableArray()),
         R"(<VARIABLE Name="" Type="20006" DisplayName="" Description=""><ARRAY/></VARIABLE>)"},
        {"INT with entries", withEnum,
         R"(<VARIABLE Name="" Type="20000" DisplayName="" Description="" Value="1">)"
         R"(<IntegerEnum><EnumEntry Name="up" Description="" Value="1"/></IntegerEnum></VARIABLE>)"},
        {"element alone", element,
         R"(<VARIABLE Name="" Type="20000" DisplayName="" Description="" Value="2"/>)"},
        {"STRING", described,
         R"(<VARIABLE Name="" Type="20001" DisplayName="Shown" Description="&lt;said>" Value="x&#10;y"/>)"},
        {"XML invalid", CVariable(CXML()),
         R"(<VARIABLE Name="" Type="20005" DisplayName="" Description=""/>)"},
        {"UNDEFINED", CVariable(),
         R"(<VARIABLE Name="" Type="0" DisplayName="" Description=""/>)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        EXPECT_EQ(Utf8(row.value.ToXmlString()), row.xml);
    }
}

// What each type makes of the "Value" attribute and the children it is given.
TEST(VariableXml, ReadingByType) {
    const struct {
        const char* xml;
        std::function<void(const CVariable&)> check;
    } rows[] = {
        {R"(<VARIABLE Type="20000"/>)", [](const CVariable& v) { EXPECT_EQ(v.m_nValue, 0); }},
        {R"(<VARIABLE Type="20000" Value="9223372036854775807"/>)",
         [](const CVariable& v) { EXPECT_EQ(v.m_nValue, INT64_MAX); }},
        {R"(<VARIABLE Type="20000" Value="12abc"/>)", [](const CVariable& v) { EXPECT_EQ(v.m_nValue, 0); }},
        {R"(<VARIABLE Type="20000" Value="3"><Names><E Name="three" Value="3"/><E Name="big" Value="-5000000000"/></Names></VARIABLE>)",
         [](const CVariable& v) {
             ASSERT_EQ(v.m_enumValues.GetSize(), 2);
             EXPECT_EQ(v.m_enumValues[1].GetValue(), -5000000000LL);
             EXPECT_EQ(Utf8(v.ToString(1)), "three(3)");
         }},
        {R"(<VARIABLE Type="20001" Value="a&#10;b"/>)",
         [](const CVariable& v) { EXPECT_EQ(v.m_strValue, CString(u"a\r\nb")); }},
        {R"(<VARIABLE Type="20001" Value="a&#13;&#10;b&#10;"/>)",
         [](const CVariable& v) { EXPECT_EQ(v.m_strValue, CString(u"a\r\r\nb\r\n")); }},
        {R"(<VARIABLE Type="20002" Value="-1.5e-3"/>)", [](const CVariable& v) { EXPECT_EQ(v.m_dValue, -1.5e-3); }},
        {R"(<VARIABLE Type="20003"><Any Type="SET" RequestId="4"/></VARIABLE>)",
         [](const CVariable& v) { EXPECT_EQ(v.m_pduValue.GetRequestId(), 4); }},
        {R"(<VARIABLE Type="20004"><Any Oid="1.3.6" Type="INTEGER" Value="-3"/></VARIABLE>)",
         [](const CVariable& v) { EXPECT_EQ(v.m_vbValue.GetInteger(), -3); }},
        {R"(<VARIABLE Type="20005"><only x="1"><deeper/></only></VARIABLE>)",
         [](const CVariable& v) { EXPECT_EQ(Utf8(v.m_xmlValue.ToString(1)), R"(<only x="1"><deeper/></only>)"); }},
        {R"(<VARIABLE Type="20008" Value="32535215999"/>)",
         [](const CVariable& v) { EXPECT_EQ(v.m_timeValue.GetTime(), 32535215999); }},
        {R"(<VARIABLE Type="20009" Value="300"/>)", [](const CVariable& v) { EXPECT_EQ(v.m_byteValue, 44); }},
        {R"(<VARIABLE Type="20010" Value="65601"/>)", [](const CVariable& v) { EXPECT_EQ(v.m_chValue, u'A'); }},
        // Tag names are not examined, the value's own or its array's.
        {R"(<Other Name="n" Type="20006"><List><Item Index="i" Type="20009" Value="7"/></List></Other>)",
         [](const CVariable& v) {
             EXPECT_EQ(v.m_strName, CString(u"n"));
             CVariable* pItem = nullptr;
             ASSERT_TRUE(v.m_arrayValue.Lookup(u"i", pItem));
             EXPECT_EQ(pItem->m_byteValue, 7);
         }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.xml);
        CXML node = Parse(row.xml);
        ASSERT_TRUE(node.IsValid());
        CVariable value;
        value.FromXml(node);
        row.check(value);
    }
}

// Every degraded input ends as fixed, and only the fields of the type named
// change: the target starts with a marker in every payload.
TEST(VariableXml, DegradedInputReadsToItsDefaults) {
    const auto marked = [] {
        CVariable v;
        v.m_nValue = 77;
        v.m_enumValues.Add(CIntegerEnumEntry(u"kept", u"", 77));
        v.m_strValue = u"kept";
        v.m_dValue = 7.5;
        v.m_pduValue = CSnmpPdu(CSnmpPdu::PDU_TRAP2, 77);
        v.m_vbValue = CSnmpVarBind(u"1.7.7");
        v.m_xmlValue = Parse("<kept/>");
        v.m_arrayValue.InsertElement(u"kept", new CVariable(77));
        v.m_timeValue = CTime(77);
        v.m_byteValue = 77;
        v.m_chValue = 77;
        v.m_strName = u"old";
        v.m_strDisplayName = u"old";
        v.m_strDescription = u"old";
        return v;
    };
    // Which payload each row may change; all others must keep their marker.
    enum Touched { kNone, kXml, kArrayMerged };
    const struct {
        const char* label;
        const char* xml;
        int type;
        Touched touched;
    } rows[] = {
        {"no attributes", "<VARIABLE/>", 0, kNone},
        {"Type 0 with a Value", R"(<VARIABLE Type="0" Value="5"/>)", 0, kNone},
        {"Type unreadable", R"(<VARIABLE Type="INT" Value="5"/>)", 0, kNone},
        {"Type beyond int", R"(<VARIABLE Type="4294987296" Value="5"/>)", 0, kNone},
        {"Type below the range", R"(<VARIABLE Type="19999" Value="5"/>)", 19999, kNone},
        {"Type above the range", R"(<VARIABLE Type="20011" Value="5"><x/></VARIABLE>)", 20011, kNone},
        {"Type negative", R"(<VARIABLE Type="-20000" Value="5"/>)", -20000, kNone},
        {"ARRAY_ELEM", R"(<VARIABLE Type="20007" Value="5"><ARRAY><VARIABLE Type="20000"/></ARRAY></VARIABLE>)",
         20007, kNone},
        {"PDU without child", R"(<VARIABLE Type="20003"/>)", 20003, kNone},
        {"SNMPVAR without child", R"(<VARIABLE Type="20004" Value="x"/>)", 20004, kNone},
        {"ARRAY without child", R"(<VARIABLE Type="20006"/>)", 20006, kNone},
        {"XML without child", R"(<VARIABLE Type="20005"/>)", 20005, kXml},
        {"XML with two children", R"(<VARIABLE Type="20005"><a/><b/></VARIABLE>)", 20005, kXml},
        {"ARRAY children without Index",
         R"(<VARIABLE Type="20006"><ARRAY><VARIABLE Type="20000" Value="1"/><VARIABLE Type="20000" Value="2"/></ARRAY></VARIABLE>)",
         20006, kArrayMerged},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        CVariable value = marked();
        CXML node = Parse(row.xml);
        ASSERT_TRUE(node.IsValid());
        value.FromXml(node);

        EXPECT_EQ(static_cast<int>(value.m_eType), row.type);
        EXPECT_EQ(Utf8(value.m_strName + value.m_strDisplayName + value.m_strDescription), "");
        EXPECT_EQ(value.m_nValue, 77);
        EXPECT_EQ(value.m_enumValues.GetSize(), 1);
        EXPECT_EQ(value.m_strValue, CString(u"kept"));
        EXPECT_EQ(value.m_dValue, 7.5);
        EXPECT_EQ(value.m_pduValue.GetRequestId(), 77);
        EXPECT_EQ(value.m_vbValue.GetOid(), CString(u"1.7.7"));
        EXPECT_EQ(value.m_timeValue.GetTime(), 77);
        EXPECT_EQ(value.m_byteValue, 77);
        EXPECT_EQ(value.m_chValue, 77);
        EXPECT_EQ(value.m_xmlValue.IsValid(), row.touched == kXml ? 0 : 1);
        if (row.touched == kArrayMerged) {
            // Both go in under the empty index; the second replaces the first.
            EXPECT_EQ(Indexes(value.m_arrayValue), (std::vector<std::u16string>{u"kept", u""}));
            CVariable* pEmpty = nullptr;
            ASSERT_TRUE(value.m_arrayValue.Lookup(u"", pEmpty));
            EXPECT_EQ(pEmpty->m_nValue, 2);
        } else {
            EXPECT_EQ(Indexes(value.m_arrayValue), (std::vector<std::u16string>{u"kept"}));
        }
    }
}

TEST(VariableXml, ArrayOrderAndMerge) {
    CVariableArray array;
    array.InsertElement(u"b", new CVariable(1));
    array.InsertElement(u"a", new CVariable(CVariableArray()));
    CVariable* pNested = nullptr;
    ASSERT_TRUE(array.Lookup(u"a", pNested));
    pNested->m_arrayValue.InsertElement(u"z", new CVariable(CString(u"deep")));
    pNested->m_arrayValue.InsertElement(u"y", new CVariable(2.0));
    CXML node = array.ToXml();
    EXPECT_EQ(node.GetTagName(), CString(u"ARRAY"));
    EXPECT_EQ(node.GetFirstChild().GetAttr(u"Index", u"?"), CString(u"b"));
    EXPECT_EQ(node.GetNextChild().GetAttr(u"Index", u"?"), CString(u"a"));

    // Into a fresh array: document order at every level.
    CVariableArray fresh;
    fresh.FromXml(node);
    ExpectSameValue(CVariable(array), CVariable(fresh));
    ASSERT_TRUE(fresh.Lookup(u"a", pNested));
    EXPECT_EQ(Indexes(pNested->m_arrayValue), (std::vector<std::u16string>{u"z", u"y"}));

    // Into a filled one: known indexes are replaced in place, new ones follow,
    // others stay.
    CVariableArray filled;
    filled.InsertElement(u"a", new CVariable(9));
    filled.InsertElement(u"c", new CVariable(8));
    filled.FromXml(node);
    EXPECT_EQ(Indexes(filled), (std::vector<std::u16string>{u"a", u"c", u"b"}));
    ASSERT_TRUE(filled.Lookup(u"a", pNested));
    EXPECT_TRUE(pNested->IsArray());

    // A value read over an ARRAY merges with the elements it holds.
    CVariable holder(filled);
    CXML valueNode = Parse(R"(<VARIABLE Type="20006"><ARRAY><VARIABLE Index="new" Type="20000"/></ARRAY></VARIABLE>)");
    holder.FromXml(valueNode);
    EXPECT_EQ(Indexes(holder.m_arrayValue), (std::vector<std::u16string>{u"a", u"c", u"b", u"new"}));
}

// A child that repeats the index of an element whose own array is still being
// read replaces it afterwards, not while the read points into it.
TEST(VariableXml, RepeatedIndexReplacesANestedArray) {
    CXML node = Parse(
        R"(<ARRAY><VARIABLE Index="x" Type="20006"><ARRAY><VARIABLE Index="x" Type="20006"><ARRAY>)"
        R"(<VARIABLE Index="i" Type="20000" Value="1"/></ARRAY></VARIABLE><VARIABLE Index="x" Type="20000" Value="2"/>)"
        R"(</ARRAY></VARIABLE><VARIABLE Index="x" Type="20009" Value="3"/></ARRAY>)");
    CVariableArray array;
    array.FromXml(node);
    CVariable* pElement = nullptr;
    ASSERT_EQ(array.GetCount(), 1);
    ASSERT_TRUE(array.Lookup(u"x", pElement));
    EXPECT_EQ(pElement->m_eType, VT_BYTE);
    EXPECT_EQ(pElement->m_byteValue, 3);
}

// The node read may live inside the very value or list being read into.
TEST(VariableXml, ReadingFromOwnPayload) {
    CVariable value(Parse(R"(<VARIABLE Name="inner" Type="20001" Value="s"/>)"));
    value.FromXml(value.m_xmlValue);
    EXPECT_EQ(value.m_eType, VT_STRING);
    EXPECT_EQ(value.m_strValue, CString(u"s"));

    CVariable xmlInXml(Parse(R"(<VARIABLE Type="20005"><t/></VARIABLE>)"));
    xmlInXml.FromXml(xmlInXml.m_xmlValue);
    EXPECT_EQ(xmlInXml.m_xmlValue.GetTagName(), CString(u"t"));

    CVariableArray array;
    array.InsertElement(u"k", new CVariable(Parse(R"(<ARRAY><VARIABLE Index="k" Type="20000" Value="4"/></ARRAY>)")));
    CVariable* pHolder = nullptr;
    ASSERT_TRUE(array.Lookup(u"k", pHolder));
    array.FromXml(pHolder->m_xmlValue);   // replaces the element whose tree is being read
    ASSERT_TRUE(array.Lookup(u"k", pHolder));
    EXPECT_EQ(pHolder->m_nValue, 4);

    CVariableList list;
    list.Add(CVariable(Parse(R"(<VARIABLE_LIST><VARIABLE Type="20000" Value="1"/><X/></VARIABLE_LIST>)")));
    list.FromXml(list[0].m_xmlValue);
    ASSERT_EQ(list.GetSize(), 2);
    EXPECT_EQ(list[0].m_nValue, 1);
    EXPECT_EQ(list[1].m_eType, VT_UNDEFINED);
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

    const CString text = list.ToXml().ToString(1);
    CXML node(text, u"VARIABLE_LIST");
    ASSERT_TRUE(node.IsValid());
    CVariableList back(node);
    ASSERT_EQ(back.GetSize(), 1);

    int depth = 0;
    const CVariable* pWalk = &back[0];
    CVariable* pChild = nullptr;
    while (pWalk->IsArray() && pWalk->m_arrayValue.Lookup(u"0", pChild)) {
        pWalk = pChild;
        ++depth;
    }
    EXPECT_EQ(depth, kDepth);
    ASSERT_TRUE(pWalk->m_arrayValue.Lookup(u"leaf", pChild));
    EXPECT_EQ(pChild->m_nValue, 42);
}
