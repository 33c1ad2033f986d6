// CSnmpVarBind, CSnmpPdu and CSnmpUtility: text, JSON and XML forms, copies, allocation.
#include <gtest/gtest.h>

#include <arpa/inet.h>

#include <string>
#include <vector>

#include "../corelib/alloc_counter.h"
#include "json_check.h"
#include "snmplib/SnmpPdu.h"
#include "snmplib/SnmpUtility.h"
#include "snmplib/SnmpVarBind.h"

namespace {

std::string Utf8(const CString& s) {
    return s.ToUtf8();
}

CSnmpVarBind Bind(const char16_t* oid) {
    return CSnmpVarBind(CString(oid));
}

// One binding of each syntax, with its text and JSON forms.
struct VarBindRow {
    const char* label;
    CSnmpVarBind vb;
    const char* text;
    const char* json;
};

std::vector<VarBindRow> VarBindRows() {
    std::vector<VarBindRow> rows;
    const auto add = [&](const char* label, CSnmpVarBind vb, const char* text, const char* json) {
        rows.push_back({label, vb, text, json});
    };
    CSnmpVarBind vb = Bind(u"1.3.6.1.2.1.1.1.0");
    add("Null", vb, "1.3.6.1.2.1.1.1.0 = NULL",
        R"({"oid": "1.3.6.1.2.1.1.1.0", "type": "NULL", "value": null})");
    vb.SetInteger(-5);
    add("INTEGER", vb, "1.3.6.1.2.1.1.1.0 = INTEGER: -5",
        R"({"oid": "1.3.6.1.2.1.1.1.0", "type": "INTEGER", "value": -5})");
    vb.SetInteger(INT32_MIN);
    add("INTEGER min", vb, "1.3.6.1.2.1.1.1.0 = INTEGER: -2147483648",
        R"({"oid": "1.3.6.1.2.1.1.1.0", "type": "INTEGER", "value": -2147483648})");
    vb.SetOctetString(u"router-1");
    add("OCTET STRING", vb, "1.3.6.1.2.1.1.1.0 = OCTET STRING: router-1",
        R"({"oid": "1.3.6.1.2.1.1.1.0", "type": "OCTET STRING", "value": "router-1"})");
    vb.SetOctetString(u"say \"hi\"\\\r\n\t\u0001 \u00e9");
    add("OCTET STRING to escape", vb, "1.3.6.1.2.1.1.1.0 = OCTET STRING: say \"hi\"\\\r\n\t\x01 \xC3\xA9",
        R"({"oid": "1.3.6.1.2.1.1.1.0", "type": "OCTET STRING", "value": "say \"hi\"\\\r\n\t\u0001 )"
        "\xC3\xA9\"}");
    vb.SetOctetString(u"");
    add("empty OCTET STRING", vb, "1.3.6.1.2.1.1.1.0 = OCTET STRING: ",
        R"({"oid": "1.3.6.1.2.1.1.1.0", "type": "OCTET STRING", "value": ""})");
    vb.SetObjectId(u"1.3.6.1.4.1.9");
    add("OBJECT IDENTIFIER", vb, "1.3.6.1.2.1.1.1.0 = OBJECT IDENTIFIER: 1.3.6.1.4.1.9",
        R"({"oid": "1.3.6.1.2.1.1.1.0", "type": "OBJECT IDENTIFIER", "value": "1.3.6.1.4.1.9"})");
    vb.SetIpAddress(u"10.0.0.1");
    add("IpAddress", vb, "1.3.6.1.2.1.1.1.0 = IpAddress: 10.0.0.1",
        R"({"oid": "1.3.6.1.2.1.1.1.0", "type": "IpAddress", "value": "10.0.0.1"})");
    vb.SetCounter32(4294967295u);
    add("Counter32", vb, "1.3.6.1.2.1.1.1.0 = Counter32: 4294967295",
        R"({"oid": "1.3.6.1.2.1.1.1.0", "type": "Counter32", "value": 4294967295})");
    vb.SetGauge32(7);
    add("Gauge32", vb, "1.3.6.1.2.1.1.1.0 = Gauge32: 7",
        R"({"oid": "1.3.6.1.2.1.1.1.0", "type": "Gauge32", "value": 7})");
    vb.SetTimeTicks(4200);
    add("TimeTicks", vb, "1.3.6.1.2.1.1.1.0 = TimeTicks: 4200",
        R"({"oid": "1.3.6.1.2.1.1.1.0", "type": "TimeTicks", "value": 4200})");
    vb.SetOpaque(u"ab01");
    add("Opaque", vb, "1.3.6.1.2.1.1.1.0 = Opaque: ab01",
        R"({"oid": "1.3.6.1.2.1.1.1.0", "type": "Opaque", "value": "ab01"})");
    vb.SetCounter64(18446744073709551615ull);
    add("Counter64", vb, "1.3.6.1.2.1.1.1.0 = Counter64: 18446744073709551615",
        R"({"oid": "1.3.6.1.2.1.1.1.0", "type": "Counter64", "value": 18446744073709551615})");
    vb.SetException(CSnmpVarBind::SYNTAX_NOSUCHOBJECT);
    add("noSuchObject", vb, "1.3.6.1.2.1.1.1.0 = noSuchObject",
        R"({"oid": "1.3.6.1.2.1.1.1.0", "type": "noSuchObject", "value": null})");
    vb.SetException(CSnmpVarBind::SYNTAX_NOSUCHINSTANCE);
    add("noSuchInstance", vb, "1.3.6.1.2.1.1.1.0 = noSuchInstance",
        R"({"oid": "1.3.6.1.2.1.1.1.0", "type": "noSuchInstance", "value": null})");
    vb.SetException(CSnmpVarBind::SYNTAX_ENDOFMIBVIEW);
    add("endOfMibView", vb, "1.3.6.1.2.1.1.1.0 = endOfMibView",
        R"({"oid": "1.3.6.1.2.1.1.1.0", "type": "endOfMibView", "value": null})");
    CSnmpVarBind quoted = Bind(u"odd \"oid\"");
    quoted.SetOctetString(u"x");
    add("OID to escape", quoted, "odd \"oid\" = OCTET STRING: x",
        R"({"oid": "odd \"oid\"", "type": "OCTET STRING", "value": "x"})");
    return rows;
}

CSnmpPdu SamplePdu() {
    CSnmpPdu pdu(CSnmpPdu::PDU_RESPONSE, 42);
    CSnmpVarBind name = Bind(u"1.3.6.1.2.1.1.5.0");
    name.SetOctetString(u"r1");
    CSnmpVarBind uptime = Bind(u"1.3.6.1.2.1.1.3.0");
    uptime.SetTimeTicks(5);
    pdu += name;
    pdu += uptime;
    return pdu;
}

}  // namespace

TEST(SnmpVarBind, DefaultAllocatesNothingAndIsEmpty) {
    const std::size_t before = tw_test::AllocationCount();
    CSnmpVarBind vb;
    CSnmpPdu pdu;
    const std::size_t after = tw_test::AllocationCount();
    EXPECT_EQ(after, before);

    EXPECT_TRUE(vb.GetOid().IsEmpty());
    EXPECT_EQ(vb.GetSyntax(), CSnmpVarBind::SYNTAX_NULL);
    EXPECT_TRUE(vb.ToString().IsEmpty());
    EXPECT_TRUE(tw_test::JsonCheck::IsValid(Utf8(vb.ToJSON()))) << vb.ToJSON();
    EXPECT_EQ(pdu.GetType(), CSnmpPdu::PDU_NONE);
    EXPECT_EQ(pdu.GetVarBindCount(), 0);
    EXPECT_TRUE(pdu.ToString().IsEmpty());
    EXPECT_TRUE(tw_test::JsonCheck::IsValid(Utf8(pdu.ToJSON()))) << pdu.ToJSON();
}

TEST(SnmpVarBind, TextAndJsonTable) {
    for (const VarBindRow& row : VarBindRows()) {
        EXPECT_EQ(Utf8(row.vb.ToString()), row.text) << row.label;
        const std::string json = Utf8(row.vb.ToJSON());
        EXPECT_EQ(json, row.json) << row.label;
        EXPECT_TRUE(tw_test::JsonCheck::IsValid(json)) << row.label << ": " << json;
    }
}

TEST(SnmpVarBind, XmlRoundTripTable) {
    for (const VarBindRow& row : VarBindRows()) {
        CXML node = row.vb.ToXml();
        EXPECT_EQ(node.GetTagName(), CSnmpVarBind::TAG_NAME) << row.label;
        // Through the tree and through its text.
        CSnmpVarBind fromTree;
        fromTree.FromXml(node);
        EXPECT_TRUE(fromTree == row.vb) << row.label;
        CXML reparsed(node.ToString(1), CString());
        CSnmpVarBind fromText;
        fromText.FromXml(reparsed);
        EXPECT_TRUE(fromText == row.vb) << row.label << ": " << node.ToString(1);
        EXPECT_EQ(Utf8(fromText.ToString()), row.text) << row.label;
    }
}

TEST(SnmpVarBind, XmlForm) {
    CSnmpVarBind vb = Bind(u"1.3.6.1.2.1.1.5.0");
    vb.SetOctetString(u"r1");
    EXPECT_EQ(Utf8(vb.ToXml().ToString(1)), R"(<SnmpVarBind Oid="1.3.6.1.2.1.1.5.0" Type="OCTET STRING" Value="r1"/>)");
    vb.SetNull();
    EXPECT_EQ(Utf8(vb.ToXml().ToString(1)), R"(<SnmpVarBind Oid="1.3.6.1.2.1.1.5.0" Type="NULL"/>)");
}

TEST(SnmpVarBind, FromXmlReplacesAndDefaults) {
    const struct {
        const char16_t* xml;
        const char* text;
    } rows[] = {
        {u"<SnmpVarBind/>", ""},
        {u"<SnmpVarBind Oid=\"1.2\"/>", "1.2 = NULL"},
        {u"<SnmpVarBind Oid=\"1.2\" Type=\"Bogus\" Value=\"3\"/>", "1.2 = NULL"},
        {u"<SnmpVarBind Oid=\"1.2\" Type=\"INTEGER\" Value=\"x\"/>", "1.2 = INTEGER: 0"},
        {u"<SnmpVarBind Oid=\"1.2\" Type=\"INTEGER\" Value=\"2147483648\"/>", "1.2 = INTEGER: 0"},
        {u"<SnmpVarBind Oid=\"1.2\" Type=\"Counter32\" Value=\"-1\"/>", "1.2 = Counter32: 0"},
        {u"<SnmpVarBind Oid=\"1.2\" Type=\"Counter32\" Value=\"4294967296\"/>", "1.2 = Counter32: 0"},
        {u"<SnmpVarBind Oid=\"1.2\" Type=\"NULL\" Value=\"5\"/>", "1.2 = NULL"},
        {u"<Other Oid=\"1.2\" Type=\"Gauge32\" Value=\"9\"/>", "1.2 = Gauge32: 9"},
    };
    for (const auto& row : rows) {
        CSnmpVarBind vb = Bind(u"9.9");
        vb.SetOctetString(u"old");
        CXML node{CString(row.xml), CString()};
        ASSERT_NE(node.IsValid(), 0) << Utf8(row.xml);
        vb.FromXml(node);
        EXPECT_EQ(Utf8(vb.ToString()), row.text) << Utf8(row.xml);
    }
}

TEST(SnmpVarBind, CopiesAreIndependent) {
    CSnmpVarBind a = Bind(u"1.2");
    a.SetInteger(1);
    CSnmpVarBind b(a);
    CSnmpVarBind c;
    c = a;
    b.SetInteger(2);
    c.SetOid(u"3.4");
    EXPECT_EQ(a.GetInteger(), 1);
    EXPECT_EQ(Utf8(a.GetOid()), "1.2");
    EXPECT_EQ(b.GetInteger(), 2);
    EXPECT_EQ(Utf8(c.GetOid()), "3.4");
}

TEST(SnmpVarBind, Getters) {
    CSnmpVarBind vb;
    vb.SetInteger(-3);
    EXPECT_EQ(vb.GetInteger(), -3);
    EXPECT_NE(vb.IsNumeric(), 0);
    vb.SetCounter64(1ull << 40);
    EXPECT_EQ(vb.GetUnsigned(), 1ull << 40);
    EXPECT_EQ(Utf8(vb.GetValueText()), "1099511627776");
    vb.SetOctetString(u"x");
    EXPECT_EQ(vb.IsNumeric(), 0);
    EXPECT_EQ(vb.GetInteger(), 0);
    EXPECT_EQ(Utf8(vb.GetValueText()), "x");
    vb.SetException(CSnmpVarBind::SYNTAX_INTEGER);  // not an exception: Null
    EXPECT_EQ(vb.GetSyntax(), CSnmpVarBind::SYNTAX_NULL);
    CSnmpVarBind::eSyntax syntax = CSnmpVarBind::SYNTAX_NULL;
    EXPECT_EQ(CSnmpVarBind::SyntaxFromName(u"Counter32", syntax), 1);
    EXPECT_EQ(syntax, CSnmpVarBind::SYNTAX_COUNTER32);
    EXPECT_EQ(CSnmpVarBind::SyntaxFromName(u"counter32", syntax), 0);
}

TEST(SnmpPdu, TextForm) {
    EXPECT_EQ(Utf8(SamplePdu().ToString()),
              "RESPONSE request-id=42 error-status=0 error-index=0 "
              "{1.3.6.1.2.1.1.5.0 = OCTET STRING: r1; 1.3.6.1.2.1.1.3.0 = TimeTicks: 5}");
    CSnmpPdu get(CSnmpPdu::PDU_GET, -1);
    EXPECT_EQ(Utf8(get.ToString()), "GET request-id=-1 error-status=0 error-index=0 {}");
}

TEST(SnmpPdu, JsonForm) {
    const std::string json = Utf8(SamplePdu().ToJSON());
    EXPECT_EQ(json,
              R"({"type": "RESPONSE", "requestId": 42, "errorStatus": 0, "errorIndex": 0, "varbinds": [)"
              R"({"oid": "1.3.6.1.2.1.1.5.0", "type": "OCTET STRING", "value": "r1"}, )"
              R"({"oid": "1.3.6.1.2.1.1.3.0", "type": "TimeTicks", "value": 5}]})");
    EXPECT_TRUE(tw_test::JsonCheck::IsValid(json)) << json;

    CSnmpPdu all(CSnmpPdu::PDU_TRAP2, 7);
    for (VarBindRow& row : VarBindRows()) {
        all += row.vb;
    }
    EXPECT_TRUE(tw_test::JsonCheck::IsValid(Utf8(all.ToJSON()))) << all.ToJSON();
}

TEST(SnmpPdu, XmlRoundTrip) {
    CSnmpPdu pdu(CSnmpPdu::PDU_GETBULK, 2147483647);
    pdu.SetErrorStatus(5);
    pdu.SetErrorIndex(2);
    for (VarBindRow& row : VarBindRows()) {
        pdu += row.vb;
    }
    CXML node = pdu.ToXml();
    EXPECT_EQ(node.GetTagName(), CSnmpPdu::TAG_NAME);
    EXPECT_EQ(node.GetChildCount(), pdu.GetVarBindCount());

    CXML reparsed(node.ToString(1), CString());
    CSnmpPdu back;
    back.FromXml(reparsed);
    EXPECT_TRUE(back == pdu);
    EXPECT_EQ(Utf8(back.ToString()), Utf8(pdu.ToString()));
    EXPECT_EQ(Utf8(back.ToJSON()), Utf8(pdu.ToJSON()));

    // Every type survives, the empty PDU too.
    for (const CSnmpPdu::ePduType type :
         {CSnmpPdu::PDU_NONE, CSnmpPdu::PDU_GET, CSnmpPdu::PDU_GETNEXT, CSnmpPdu::PDU_RESPONSE, CSnmpPdu::PDU_SET,
          CSnmpPdu::PDU_TRAP, CSnmpPdu::PDU_GETBULK, CSnmpPdu::PDU_INFORM, CSnmpPdu::PDU_TRAP2,
          CSnmpPdu::PDU_REPORT}) {
        CSnmpPdu one(type, 1);
        CXML x = one.ToXml();
        CSnmpPdu read;
        read.FromXml(x);
        EXPECT_EQ(read.GetType(), type) << Utf8(x.ToString(1));
    }
}

TEST(SnmpPdu, FromXmlReplacesTheBindings) {
    CSnmpPdu pdu = SamplePdu();
    CXML node{CString(u"<SnmpPdu Type=\"SET\" RequestId=\"9\"><SnmpVarBind Oid=\"1.1\" Type=\"INTEGER\" Value=\"3\"/></SnmpPdu>"),
              CString()};
    pdu.FromXml(node);
    EXPECT_EQ(pdu.GetType(), CSnmpPdu::PDU_SET);
    EXPECT_EQ(pdu.GetRequestId(), 9);
    ASSERT_EQ(pdu.GetVarBindCount(), 1);
    EXPECT_EQ(Utf8(pdu.GetVarBind(0).ToString()), "1.1 = INTEGER: 3");
    EXPECT_THROW(pdu.GetVarBind(1), CInvalidArgException);
    EXPECT_THROW(pdu.GetVarBind(-1), CInvalidArgException);
}

TEST(SnmpPdu, AppendCopiesTheBinding) {
    CSnmpPdu pdu;
    {
        CSnmpVarBind vb = Bind(u"1.2");
        vb.SetInteger(1);
        pdu += vb;
        vb.SetInteger(2);  // after the append: not seen in the PDU
    }
    ASSERT_EQ(pdu.GetVarBindCount(), 1);
    EXPECT_EQ(pdu.GetVarBind(0).GetInteger(), 1);
    CSnmpPdu& self = (pdu += pdu.GetVarBind(0));  // a binding of the PDU itself
    EXPECT_EQ(&self, &pdu);
    EXPECT_EQ(pdu.GetVarBindCount(), 2);
}

TEST(SnmpPdu, CopiesAreIndependent) {
    CSnmpPdu a = SamplePdu();
    CSnmpPdu b(a);
    CSnmpPdu c;
    c = a;
    b.RemoveAllVarBinds();
    c.SetRequestId(1);
    EXPECT_EQ(a.GetVarBindCount(), 2);
    EXPECT_EQ(a.GetRequestId(), 42);
    EXPECT_EQ(c.GetVarBindCount(), 2);
    EXPECT_TRUE(a != c);
}

TEST(SnmpUtility, LocalAddressIsDottedIpv4) {
    const std::string address = Utf8(CSnmpUtility::GetLocalIPAddress());
    in_addr parsed{};
    EXPECT_EQ(::inet_pton(AF_INET, address.c_str(), &parsed), 1) << address;
}

TEST(SnmpUtility, JsonStrings) {
    const struct {
        const char16_t* text;
        const char* json;
    } rows[] = {
        {u"", R"("")"},
        {u"plain", R"("plain")"},
        {u"\"\\/", R"("\"\\/")"},
        {u"\b\f\n\r\t", R"("\b\f\n\r\t")"},
        {u"\u0001\u001f", R"("\u0001\u001f")"},
        {u"\u00e9\U0001F600", "\"\xC3\xA9\xF0\x9F\x98\x80\""},
    };
    for (const auto& row : rows) {
        const std::string json = Utf8(CSnmpUtility::ToJsonString(row.text));
        EXPECT_EQ(json, row.json);
        EXPECT_TRUE(tw_test::JsonCheck::IsValid(json)) << json;
    }
}
