#include "snmplib/SnmpVarBind.h"

#include <charconv>
#include <string>

#include "snmplib/LazyBody.h"
#include "snmplib/SnmpUtility.h"

namespace {

// The syntaxes and their names, as the text, JSON and XML forms write them.
struct SyntaxName {
    CSnmpVarBind::eSyntax syntax;
    const char16_t* name;
};
constexpr SyntaxName kSyntaxNames[] = {
    {CSnmpVarBind::SYNTAX_INTEGER, u"INTEGER"},
    {CSnmpVarBind::SYNTAX_OCTET_STRING, u"OCTET STRING"},
    {CSnmpVarBind::SYNTAX_NULL, u"NULL"},
    {CSnmpVarBind::SYNTAX_OBJECT_IDENTIFIER, u"OBJECT IDENTIFIER"},
    {CSnmpVarBind::SYNTAX_IPADDRESS, u"IpAddress"},
    {CSnmpVarBind::SYNTAX_COUNTER32, u"Counter32"},
    {CSnmpVarBind::SYNTAX_GAUGE32, u"Gauge32"},
    {CSnmpVarBind::SYNTAX_TIMETICKS, u"TimeTicks"},
    {CSnmpVarBind::SYNTAX_OPAQUE, u"Opaque"},
    {CSnmpVarBind::SYNTAX_COUNTER64, u"Counter64"},
    {CSnmpVarBind::SYNTAX_NOSUCHOBJECT, u"noSuchObject"},
    {CSnmpVarBind::SYNTAX_NOSUCHINSTANCE, u"noSuchInstance"},
    {CSnmpVarBind::SYNTAX_ENDOFMIBVIEW, u"endOfMibView"},
};

bool HasNoValue(CSnmpVarBind::eSyntax s) {
    return s == CSnmpVarBind::SYNTAX_NULL || s == CSnmpVarBind::SYNTAX_NOSUCHOBJECT ||
           s == CSnmpVarBind::SYNTAX_NOSUCHINSTANCE || s == CSnmpVarBind::SYNTAX_ENDOFMIBVIEW;
}

bool IsUnsigned(CSnmpVarBind::eSyntax s) {
    return s == CSnmpVarBind::SYNTAX_COUNTER32 || s == CSnmpVarBind::SYNTAX_GAUGE32 ||
           s == CSnmpVarBind::SYNTAX_TIMETICKS || s == CSnmpVarBind::SYNTAX_COUNTER64;
}

// A whole decimal number of type T (no sign for unsigned T), or 0.
template <class T>
T ParseNumber(const CString& text) {
    const std::string s = text.ToUtf8();
    T value{};
    const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), value, 10);
    return (ec == std::errc() && end == s.data() + s.size()) ? value : T{};
}

}  // namespace

struct CSnmpVarBind::Body {
    CString oid;
    eSyntax syntax = SYNTAX_NULL;
    uint64_t number = 0;  // the number of a numeric syntax (an INTEGER as its 64-bit two's complement)
    CString text;         // the text of a textual syntax
};

const CString CSnmpVarBind::TAG_NAME(u"SnmpVarBind");

CSnmpVarBind::CSnmpVarBind(const CString& oid) { Own().oid = oid; }

void CSnmpVarBind::CopyFrom(const CSnmpVarBind& other) { tw::detail::CopyBody(m_body, other.m_body); }

void CSnmpVarBind::BodyDeleter::operator()(Body* body) const noexcept { delete body; }

const CSnmpVarBind::Body& CSnmpVarBind::Fields() const { return tw::detail::BodyOrDefaults(m_body); }

CSnmpVarBind::Body& CSnmpVarBind::Own() { return tw::detail::OwnBody(m_body); }

CString CSnmpVarBind::GetOid() const { return Fields().oid; }

void CSnmpVarBind::SetOid(const CString& oid) { Own().oid = oid; }

CSnmpVarBind::eSyntax CSnmpVarBind::GetSyntax() const { return Fields().syntax; }

CString CSnmpVarBind::GetSyntaxName(eSyntax syntax) {
    for (const SyntaxName& entry : kSyntaxNames) {
        if (entry.syntax == syntax) {
            return CString(entry.name);
        }
    }
    return CString();
}

int CSnmpVarBind::SyntaxFromName(const CString& name, eSyntax& syntax) {
    for (const SyntaxName& entry : kSyntaxNames) {
        if (name == entry.name) {
            syntax = entry.syntax;
            return 1;
        }
    }
    return 0;
}

void CSnmpVarBind::SetNull() {
    if (m_body) {
        m_body->syntax = SYNTAX_NULL;
        m_body->number = 0;
        m_body->text.Empty();
    }
}

void CSnmpVarBind::SetNumber(eSyntax syntax, uint64_t value) {
    SetNull();
    Body& body = Own();
    body.syntax = syntax;
    body.number = value;
}

void CSnmpVarBind::SetText(eSyntax syntax, const CString& value) {
    SetNull();
    Body& body = Own();
    body.syntax = syntax;
    body.text = value;
}

void CSnmpVarBind::SetInteger(int32_t value) {
    SetNumber(SYNTAX_INTEGER, static_cast<uint64_t>(static_cast<int64_t>(value)));
}

void CSnmpVarBind::SetOctetString(const CString& value) { SetText(SYNTAX_OCTET_STRING, value); }

void CSnmpVarBind::SetObjectId(const CString& oid) { SetText(SYNTAX_OBJECT_IDENTIFIER, oid); }

void CSnmpVarBind::SetIpAddress(const CString& dotted) { SetText(SYNTAX_IPADDRESS, dotted); }

void CSnmpVarBind::SetOpaque(const CString& value) { SetText(SYNTAX_OPAQUE, value); }

void CSnmpVarBind::SetCounter32(uint32_t value) { SetNumber(SYNTAX_COUNTER32, value); }

void CSnmpVarBind::SetGauge32(uint32_t value) { SetNumber(SYNTAX_GAUGE32, value); }

void CSnmpVarBind::SetTimeTicks(uint32_t value) { SetNumber(SYNTAX_TIMETICKS, value); }

void CSnmpVarBind::SetCounter64(uint64_t value) { SetNumber(SYNTAX_COUNTER64, value); }

void CSnmpVarBind::SetException(eSyntax exception) {
    SetNull();
    if (exception == SYNTAX_NOSUCHOBJECT || exception == SYNTAX_NOSUCHINSTANCE || exception == SYNTAX_ENDOFMIBVIEW) {
        Own().syntax = exception;
    }
}

int64_t CSnmpVarBind::GetInteger() const {
    return IsNumeric() ? static_cast<int64_t>(Fields().number) : 0;
}

uint64_t CSnmpVarBind::GetUnsigned() const {
    return IsNumeric() ? Fields().number : 0;
}

int CSnmpVarBind::IsNumeric() const {
    const eSyntax syntax = GetSyntax();
    return (syntax == SYNTAX_INTEGER || IsUnsigned(syntax)) ? 1 : 0;
}

CString CSnmpVarBind::GetValueText() const {
    const Body& f = Fields();
    if (f.syntax == SYNTAX_INTEGER) {
        return CString(std::to_string(static_cast<int64_t>(f.number)).c_str());
    }
    if (IsUnsigned(f.syntax)) {
        return CString(std::to_string(f.number).c_str());
    }
    return HasNoValue(f.syntax) ? CString() : f.text;
}

CString CSnmpVarBind::ToString() const {
    const Body& f = Fields();
    if (f.oid.IsEmpty() && f.syntax == SYNTAX_NULL) {
        return CString();
    }
    CString text = f.oid + u" = " + GetSyntaxName(f.syntax);
    if (!HasNoValue(f.syntax)) {
        text += u": ";
        text += GetValueText();
    }
    return text;
}

CString CSnmpVarBind::ToJSON() const {
    const Body& f = Fields();
    CString json = u"{\"oid\": " + CSnmpUtility::ToJsonString(f.oid) + u", \"type\": " +
                   CSnmpUtility::ToJsonString(GetSyntaxName(f.syntax)) + u", \"value\": ";
    if (HasNoValue(f.syntax)) {
        json += u"null";
    } else if (IsNumeric()) {
        json += GetValueText();
    } else {
        json += CSnmpUtility::ToJsonString(f.text);
    }
    json += u'}';
    return json;
}

CXML CSnmpVarBind::ToXml() const {
    const Body& f = Fields();
    CXML node(TAG_NAME);
    node.SetAttr(u"Oid", f.oid);
    node.SetAttr(u"Type", GetSyntaxName(f.syntax));
    if (!HasNoValue(f.syntax)) {
        node.SetAttr(u"Value", GetValueText());
    }
    return node;
}

void CSnmpVarBind::FromXml(CXML& node) {
    Body& body = Own();
    body.oid = node.GetAttr(u"Oid", CString());
    SetNull();
    eSyntax syntax = SYNTAX_NULL;
    if (!SyntaxFromName(node.GetAttr(u"Type", CString()), syntax) || HasNoValue(syntax)) {
        body.syntax = syntax;
        return;
    }
    const CString value = node.GetAttr(u"Value", CString());
    body.syntax = syntax;
    if (syntax == SYNTAX_INTEGER) {
        body.number = static_cast<uint64_t>(static_cast<int64_t>(ParseNumber<int32_t>(value)));
    } else if (syntax == SYNTAX_COUNTER64) {
        body.number = ParseNumber<uint64_t>(value);
    } else if (IsUnsigned(syntax)) {
        body.number = ParseNumber<uint32_t>(value);
    } else {
        body.text = value;
    }
}

bool CSnmpVarBind::operator==(const CSnmpVarBind& other) const {
    const Body& a = Fields();
    const Body& b = other.Fields();
    return a.oid == b.oid && a.syntax == b.syntax && a.number == b.number && a.text == b.text;
}
