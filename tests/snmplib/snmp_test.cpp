// CSnmpVarBind, CSnmpPdu and CSnmpUtility: text, JSON and XML forms, copies.
#include <gtest/gtest.h>

#include <arpa/inet.h>

#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "alloc_counter.h"
#include "snmplib/SnmpPdu.h"
#include "snmplib/SnmpUtility.h"
#include "snmplib/SnmpVarBind.h"

namespace {

std::string Utf8(const CString& s) { return s.ToUtf8(); }

bool IsJson(const CString& text) { return nlohmann::json::accept(text.ToUtf8()); }

CSnmpVarBind Bind(const char16_t* oid) { return CSnmpVarBind(CString(oid)); }

// One binding of each syntax, with its exact text and JSON forms.
struct Case {
    CSnmpVarBind vb;
    std::string text;
    std::string json;
};

std::vector<Case> Cases() {
    using V = CSnmpVarBind;
    const struct {
        void (*set)(V&);
        const char* type;
        const char* text;  // nullptr: no value in the text form
        const char* json;
    } rows[] = {
        {[](V& v) { v.SetNull(); }, "NULL", nullptr, "null"},
        {[](V& v) { v.SetInteger(INT32_MIN); }, "INTEGER", "-2147483648", "-2147483648"},
        {[](V& v) { v.SetOctetString(u"router-1"); }, "OCTET STRING", "router-1", R"("router-1")"},
        {[](V& v) { v.SetOctetString(u"say \"hi\"\\\r\n\t\u0001 \u00e9"); }, "OCTET STRING",
         "say \"hi\"\\\r\n\t\x01 \xC3\xA9", R"("say \"hi\"\\\r\n\t\u0001 )" "\xC3\xA9\""},
        {[](V& v) { v.SetObjectId(u"1.3.6.1.4.1.9"); }, "OBJECT IDENTIFIER", "1.3.6.1.4.1.9", R"("1.3.6.1.4.1.9")"},
        {[](V& v) { v.SetIpAddress(u"10.0.0.1"); }, "IpAddress", "10.0.0.1", R"("10.0.0.1")"},
        {[](V& v) { v.SetCounter32(4294967295u); }, "Counter32", "4294967295", "4294967295"},
        {[](V& v) { v.SetGauge32(7); }, "Gauge32", "7", "7"},
        {[](V& v) { v.SetTimeTicks(4200); }, "TimeTicks", "4200", "4200"},
        {[](V& v) { v.SetOpaque(u"ab01"); }, "Opaque", "ab01", R"("ab01")"},
        {[](V& v) { v.SetCounter64(UINT64_MAX); }, "Counter64", "18446744073709551615", "18446744073709551615"},
        {[](V& v) { v.SetException(V::SYNTAX_NOSUCHOBJECT); }, "noSuchObject", nullptr, "null"},
        {[](V& v) { v.SetException(V::SYNTAX_NOSUCHINSTANCE); }, "noSuchInstance", nullptr, "null"},
        {[](V& v) { v.SetException(V::SYNTAX_ENDOFMIBVIEW); }, "endOfMibView", nullptr, "null"},
    };
    std::vector<Case> cases;
    for (const auto& row : rows) {
        CSnmpVarBind vb = Bind(u"1.3.6.1.2.1.1.1.0");
        vb.SetOctetString(u"before");
        row.set(vb);
        cases.push_back({vb, std::string("1.3.6.1.2.1.1.1.0 = ") + row.type + (row.text ? std::string(": ") + row.text : ""),
                         std::string(R"({"oid": "1.3.6.1.2.1.1.1.0", "type": ")") + row.type + R"(", "value": )" +
                             row.json + "}"});
    }
    CSnmpVarBind quoted = Bind(u"odd \"oid\"");
    quoted.SetOctetString(u"x");
    cases.push_back({quoted, "odd \"oid\" = OCTET STRING: x", R"({"oid": "odd \"oid\"", "type": "OCTET STRING", "value": "x"})"});
    return cases;
}

CSnmpPdu SamplePdu() {
    CSnmpPdu pdu(CSnmpPdu::PDU_RESPONSE, 42);
    CSnmpVarBind vb = Bind(u"1.3.6.1.2.1.1.5.0");
    vb.SetOctetString(u"r1");
    pdu += vb;
    vb.SetOid(u"1.3.6.1.2.1.1.3.0");
    vb.SetTimeTicks(5);
    return pdu += vb;
}

}  // namespace

TEST(SnmpVarBind, TextJsonAndXmlRoundTripTable) {
    for (const Case& c : Cases()) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(Utf8(c.vb.ToString()), c.text);
        EXPECT_EQ(Utf8(c.vb.ToJSON()), c.json);
        EXPECT_TRUE(IsJson(c.vb.ToJSON()));
        CXML node(c.vb.ToXml().ToString(1), CString());
        EXPECT_EQ(node.GetTagName(), CSnmpVarBind::TAG_NAME);
        CSnmpVarBind back;
        back.FromXml(node);
        EXPECT_TRUE(back == c.vb) << node.ToString(1);
        EXPECT_EQ(Utf8(back.ToString()), c.text);
    }
    CSnmpVarBind vb = Bind(u"1.2");
    vb.SetOctetString(u"r1");
    const CString octets = vb.ToXml().ToString(1);
    vb.SetNull();
    EXPECT_EQ(Utf8(octets + vb.ToXml().ToString(1)),
              R"(<SnmpVarBind Oid="1.2" Type="OCTET STRING" Value="r1"/><SnmpVarBind Oid="1.2" Type="NULL"/>)");
    const CSnmpVarBind empty;
    EXPECT_TRUE(empty.ToString().IsEmpty() && IsJson(empty.ToJSON())) << empty.ToJSON();
}

TEST(SnmpVarBind, FromXmlReplacesAndDefaults) {
    const std::pair<const char*, const char*> rows[] = {   // under any tag; no Oid: empty
        {"", ""}, {R"(Oid="1.2" Type="Bogus" Value="3")", "1.2 = NULL"}, {R"(Oid="1.2" Type="NULL" Value="5")", "1.2 = NULL"},
        {R"(Oid="1.2" Type="INTEGER" Value="x")", "1.2 = INTEGER: 0"},
        {R"(Oid="1.2" Type="INTEGER" Value="2147483648")", "1.2 = INTEGER: 0"},
        {R"(Oid="1.2" Type="Counter32" Value="-1")", "1.2 = Counter32: 0"},
        {R"(Oid="1.2" Type="Counter32" Value="4294967296")", "1.2 = Counter32: 0"},
        {R"(Oid="1.2" Type="Gauge32" Value="9")", "1.2 = Gauge32: 9"},
    };
    for (const auto& [attributes, text] : rows) {
        SCOPED_TRACE(attributes);
        CSnmpVarBind vb = Bind(u"9.9");
        vb.SetOctetString(u"old");
        CXML node(CString::FromUtf8(std::string("<Other ") + attributes + "/>"), CString());
        ASSERT_NE(node.IsValid(), 0);
        vb.FromXml(node);
        EXPECT_EQ(Utf8(vb.ToString()), text);
    }
}

TEST(SnmpPdu, TextAndJsonForms) {
    const CSnmpPdu pdu = SamplePdu();
    EXPECT_EQ(Utf8(pdu.ToString()), "RESPONSE request-id=42 error-status=0 error-index=0 "
                                    "{1.3.6.1.2.1.1.5.0 = OCTET STRING: r1; 1.3.6.1.2.1.1.3.0 = TimeTicks: 5}");
    EXPECT_EQ(Utf8(pdu.ToJSON()),
              R"({"type": "RESPONSE", "requestId": 42, "errorStatus": 0, "errorIndex": 0, "varbinds": [)"
              R"({"oid": "1.3.6.1.2.1.1.5.0", "type": "OCTET STRING", "value": "r1"}, )"
              R"({"oid": "1.3.6.1.2.1.1.3.0", "type": "TimeTicks", "value": 5}]})");
    EXPECT_EQ(Utf8(CSnmpPdu(CSnmpPdu::PDU_GET, -1).ToString()), "GET request-id=-1 error-status=0 error-index=0 {}");
    const CSnmpPdu empty;
    EXPECT_TRUE(empty.ToString().IsEmpty() && IsJson(empty.ToJSON())) << empty.ToJSON();
}

TEST(SnmpPdu, XmlRoundTrip) {
    CSnmpPdu pdu(CSnmpPdu::PDU_GETBULK, 2147483647);
    pdu.SetErrorStatus(5);
    pdu.SetErrorIndex(2);
    for (const Case& c : Cases())
        pdu += c.vb;
    EXPECT_TRUE(IsJson(pdu.ToJSON())) << pdu.ToJSON();
    for (const CSnmpPdu::ePduType type :
         {CSnmpPdu::PDU_NONE, CSnmpPdu::PDU_GET, CSnmpPdu::PDU_GETNEXT, CSnmpPdu::PDU_RESPONSE, CSnmpPdu::PDU_SET,
          CSnmpPdu::PDU_TRAP, CSnmpPdu::PDU_GETBULK, CSnmpPdu::PDU_INFORM, CSnmpPdu::PDU_TRAP2, CSnmpPdu::PDU_REPORT}) {
        pdu.SetType(type);
        CXML node(pdu.ToXml().ToString(1), CString());
        EXPECT_EQ(node.GetTagName(), CSnmpPdu::TAG_NAME);
        CSnmpPdu back;
        back.FromXml(node);
        EXPECT_TRUE(back == pdu) << node.ToString(1);
        EXPECT_EQ(Utf8(back.ToString()), Utf8(pdu.ToString()));
    }
    // Reading replaces the bindings.
    CXML node(CString(u"<SnmpPdu Type='SET' RequestId='9'><SnmpVarBind Oid='1.1' Type='INTEGER' Value='3'/></SnmpPdu>"),
              CString());
    pdu.FromXml(node);
    EXPECT_EQ(Utf8(pdu.ToString()), "SET request-id=9 error-status=0 error-index=0 {1.1 = INTEGER: 3}");
    EXPECT_THROW(pdu.GetVarBind(1), CInvalidArgException);
    EXPECT_THROW(pdu.GetVarBind(-1), CInvalidArgException);
}

// Copies of bindings and PDUs are independent; an appended binding is a copy, also one of the PDU itself.
TEST(SnmpPdu, CopiesAndAppendsAreIndependent) {
    CSnmpVarBind a = Bind(u"1.2");
    a.SetInteger(-3);
    CSnmpVarBind b(a), c;
    c = a;
    b.SetInteger(2);
    c.SetOid(u"3.4");
    CSnmpPdu pdu;
    pdu += a;
    a.SetInteger(1);   // after the append: not seen in the PDU
    EXPECT_EQ(&(pdu += pdu.GetVarBind(0)), &pdu);
    EXPECT_EQ(Utf8(a.ToString() + u"; " + b.ToString() + u"; " + c.ToString() + u"; " + pdu.ToString()),
              "1.2 = INTEGER: 1; 1.2 = INTEGER: 2; 3.4 = INTEGER: -3; "
              "NONE request-id=0 error-status=0 error-index=0 {1.2 = INTEGER: -3; 1.2 = INTEGER: -3}");
    EXPECT_NE(a.IsNumeric(), 0);
    a.SetOctetString(u"x");
    EXPECT_EQ(a.IsNumeric() + a.GetInteger(), 0);
    a.SetException(CSnmpVarBind::SYNTAX_INTEGER);  // not an exception: Null
    EXPECT_EQ(a.GetSyntax(), CSnmpVarBind::SYNTAX_NULL);
    CSnmpVarBind::eSyntax syntax = CSnmpVarBind::SYNTAX_NULL;
    EXPECT_EQ(CSnmpVarBind::SyntaxFromName(u"counter32", syntax), 0);  // names compare exactly

    const CSnmpPdu sample = SamplePdu();
    CSnmpPdu copied(sample), assigned;
    assigned = sample;
    copied.RemoveAllVarBinds();
    assigned.SetRequestId(1);
    EXPECT_TRUE(sample == SamplePdu() && sample != assigned && assigned.GetVarBindCount() == 2);
}

// Default objects hold no fields: reading, copying and clearing them allocates nothing; the
// first change does, and a copy taken before it keeps the defaults.
TEST(SnmpPdu, DefaultsAllocateNothingAndCopiesOfThemStayDefault) {
    const std::size_t before = bench::AllocationCount();
    int reads = 0;
    {
        CSnmpPdu pdu, pduCopy(pdu);
        CSnmpVarBind vb, vbCopy(vb);
        pduCopy = pdu;
        vbCopy = vb;
        pdu.RemoveAllVarBinds();
        vb.SetNull();
        reads = pdu.GetType() + pdu.GetRequestId() + pdu.GetErrorStatus() + pdu.GetErrorIndex() +
                pdu.GetVarBindCount() + vb.GetSyntax() + static_cast<int>(vb.GetUnsigned()) +
                (pdu == pduCopy) + (vb == vbCopy);
    }
    EXPECT_EQ(bench::AllocationCount(), before);
    EXPECT_EQ(reads, CSnmpVarBind::SYNTAX_NULL + 2);

    CSnmpVarBind vb, vbCopy(vb);
    vb.SetTimeTicks(5);
    EXPECT_GT(bench::AllocationCount(), before);
    CSnmpPdu pdu, pduCopy(pdu);
    pdu.SetErrorIndex(1);
    EXPECT_TRUE(vbCopy == CSnmpVarBind() && pduCopy == CSnmpPdu());
    pduCopy = pdu;
    pdu += vb;
    vbCopy = vb;
    vb.SetOid(u"1.2");
    EXPECT_EQ(Utf8(pduCopy.ToString() + u"|" + vbCopy.ToString() + u"|" + vb.ToString()),
              "NONE request-id=0 error-status=0 error-index=1 {}| = TimeTicks: 5|1.2 = TimeTicks: 5");
    pduCopy = CSnmpPdu();
    vbCopy = CSnmpVarBind();
    EXPECT_TRUE(pduCopy == CSnmpPdu() && vbCopy == CSnmpVarBind() && pdu.GetVarBindCount() == 1);
}

TEST(SnmpUtility, LocalAddressIsDottedIpv4) {
    const std::string address = Utf8(CSnmpUtility::GetLocalIPAddress());
    in_addr parsed{};
    EXPECT_EQ(::inet_pton(AF_INET, address.c_str(), &parsed), 1) << address;
}

TEST(SnmpUtility, JsonStrings) {
    const std::pair<const char16_t*, const char*> rows[] = {
        {u"", R"("")"}, {u"\"\\/", R"("\"\\/")"}, {u"\b\f\n\r\t", R"("\b\f\n\r\t")"},
        {u"\u0001\u001f", R"("\u0001\u001f")"}, {u"\u00e9\U0001F600", "\"\xC3\xA9\xF0\x9F\x98\x80\""},
    };
    for (const auto& [text, expected] : rows)
        EXPECT_TRUE(Utf8(CSnmpUtility::ToJsonString(text)) == expected && nlohmann::json::accept(expected)) << expected;
}
