#include "snmplib/SnmpVarBind.h"

#include <charconv>
#include <string>

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

const CString CSnmpVarBind::TAG_NAME(u"SnmpVarBind");

CSnmpVarBind::CSnmpVarBind() = default;

CSnmpVarBind::CSnmpVarBind(const CString& oid) : m_strOid(oid) {}

CSnmpVarBind::CSnmpVarBind(const CSnmpVarBind&) = default;

CSnmpVarBind& CSnmpVarBind::operator=(const CSnmpVarBind&) = default;

CSnmpVarBind::~CSnmpVarBind() = default;

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
    m_eSyntax = SYNTAX_NULL;
    m_nValue = 0;
    m_strValue.Empty();
}

void CSnmpVarBind::SetInteger(int32_t value) {
    SetNull();
    m_eSyntax = SYNTAX_INTEGER;
    m_nValue = static_cast<uint64_t>(static_cast<int64_t>(value));
}

void CSnmpVarBind::SetOctetString(const CString& value) {
    SetNull();
    m_eSyntax = SYNTAX_OCTET_STRING;
    m_strValue = value;
}

void CSnmpVarBind::SetObjectId(const CString& oid) {
    SetNull();
    m_eSyntax = SYNTAX_OBJECT_IDENTIFIER;
    m_strValue = oid;
}

void CSnmpVarBind::SetIpAddress(const CString& dotted) {
    SetNull();
    m_eSyntax = SYNTAX_IPADDRESS;
    m_strValue = dotted;
}

void CSnmpVarBind::SetOpaque(const CString& value) {
    SetNull();
    m_eSyntax = SYNTAX_OPAQUE;
    m_strValue = value;
}

void CSnmpVarBind::SetNumber(eSyntax syntax, uint64_t value) {
    SetNull();
    m_eSyntax = syntax;
    m_nValue = value;
}

void CSnmpVarBind::SetCounter32(uint32_t value) { SetNumber(SYNTAX_COUNTER32, value); }

void CSnmpVarBind::SetGauge32(uint32_t value) { SetNumber(SYNTAX_GAUGE32, value); }

void CSnmpVarBind::SetTimeTicks(uint32_t value) { SetNumber(SYNTAX_TIMETICKS, value); }

void CSnmpVarBind::SetCounter64(uint64_t value) { SetNumber(SYNTAX_COUNTER64, value); }

void CSnmpVarBind::SetException(eSyntax exception) {
    SetNull();
    if (exception == SYNTAX_NOSUCHOBJECT || exception == SYNTAX_NOSUCHINSTANCE || exception == SYNTAX_ENDOFMIBVIEW) {
        m_eSyntax = exception;
    }
}

int64_t CSnmpVarBind::GetInteger() const {
    if (m_eSyntax == SYNTAX_INTEGER || IsUnsigned(m_eSyntax)) {
        return static_cast<int64_t>(m_nValue);
    }
    return 0;
}

uint64_t CSnmpVarBind::GetUnsigned() const {
    return IsNumeric() ? m_nValue : 0;
}

int CSnmpVarBind::IsNumeric() const {
    return (m_eSyntax == SYNTAX_INTEGER || IsUnsigned(m_eSyntax)) ? 1 : 0;
}

CString CSnmpVarBind::GetValueText() const {
    if (m_eSyntax == SYNTAX_INTEGER) {
        return CString(std::to_string(static_cast<int64_t>(m_nValue)).c_str());
    }
    if (IsUnsigned(m_eSyntax)) {
        return CString(std::to_string(m_nValue).c_str());
    }
    return HasNoValue(m_eSyntax) ? CString() : m_strValue;
}

CString CSnmpVarBind::ToString() const {
    if (m_strOid.IsEmpty() && m_eSyntax == SYNTAX_NULL) {
        return CString();
    }
    CString text = m_strOid + u" = " + GetSyntaxName(m_eSyntax);
    if (!HasNoValue(m_eSyntax)) {
        text += u": ";
        text += GetValueText();
    }
    return text;
}

CString CSnmpVarBind::ToJSON() const {
    CString json = u"{\"oid\": " + CSnmpUtility::ToJsonString(m_strOid) + u", \"type\": " +
                   CSnmpUtility::ToJsonString(GetSyntaxName(m_eSyntax)) + u", \"value\": ";
    if (HasNoValue(m_eSyntax)) {
        json += u"null";
    } else if (IsNumeric()) {
        json += GetValueText();
    } else {
        json += CSnmpUtility::ToJsonString(m_strValue);
    }
    json += u'}';
    return json;
}

CXML CSnmpVarBind::ToXml() const {
    CXML node(TAG_NAME);
    node.SetAttr(u"Oid", m_strOid);
    node.SetAttr(u"Type", GetSyntaxName(m_eSyntax));
    if (!HasNoValue(m_eSyntax)) {
        node.SetAttr(u"Value", GetValueText());
    }
    return node;
}

void CSnmpVarBind::FromXml(CXML& node) {
    m_strOid = node.GetAttr(u"Oid", CString());
    SetNull();
    eSyntax syntax = SYNTAX_NULL;
    if (!SyntaxFromName(node.GetAttr(u"Type", CString()), syntax) || HasNoValue(syntax)) {
        m_eSyntax = syntax;
        return;
    }
    const CString value = node.GetAttr(u"Value", CString());
    m_eSyntax = syntax;
    if (syntax == SYNTAX_INTEGER) {
        m_nValue = static_cast<uint64_t>(static_cast<int64_t>(ParseNumber<int32_t>(value)));
    } else if (syntax == SYNTAX_COUNTER64) {
        m_nValue = ParseNumber<uint64_t>(value);
    } else if (IsUnsigned(syntax)) {
        m_nValue = ParseNumber<uint32_t>(value);
    } else {
        m_strValue = value;
    }
}

bool CSnmpVarBind::operator==(const CSnmpVarBind& other) const {
    return m_strOid == other.m_strOid && m_eSyntax == other.m_eSyntax && m_nValue == other.m_nValue &&
           m_strValue == other.m_strValue;
}
