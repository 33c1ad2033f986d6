#include "snmplib/SnmpPdu.h"

#include <vector>

#include "snmplib/LazyBody.h"
#include "snmplib/SnmpUtility.h"

namespace {

struct TypeName {
    CSnmpPdu::ePduType type;
    const char16_t* name;
};
constexpr TypeName kTypeNames[] = {
    {CSnmpPdu::PDU_NONE, u"NONE"},
    {CSnmpPdu::PDU_GET, u"GET"},
    {CSnmpPdu::PDU_GETNEXT, u"GETNEXT"},
    {CSnmpPdu::PDU_RESPONSE, u"RESPONSE"},
    {CSnmpPdu::PDU_SET, u"SET"},
    {CSnmpPdu::PDU_TRAP, u"TRAP"},
    {CSnmpPdu::PDU_GETBULK, u"GETBULK"},
    {CSnmpPdu::PDU_INFORM, u"INFORM"},
    {CSnmpPdu::PDU_TRAP2, u"TRAP2"},
    {CSnmpPdu::PDU_REPORT, u"REPORT"},
};

CString Decimal(int32_t n) {
    CString text;
    text.Format(u"%d", n);
    return text;
}

}  // namespace

struct CSnmpPdu::Body {
    ePduType type = PDU_NONE;
    int32_t requestId = 0;
    int32_t errorStatus = 0;
    int32_t errorIndex = 0;
    std::vector<CSnmpVarBind> varBinds;
};

const CString CSnmpPdu::TAG_NAME(u"SnmpPdu");

CSnmpPdu::CSnmpPdu(ePduType type, int32_t requestId) {
    Body& body = Own();
    body.type = type;
    body.requestId = requestId;
}

void CSnmpPdu::CopyFrom(const CSnmpPdu& other) { tw::detail::CopyBody(m_body, other.m_body); }

void CSnmpPdu::BodyDeleter::operator()(Body* body) const noexcept { delete body; }

const CSnmpPdu::Body& CSnmpPdu::Fields() const { return tw::detail::BodyOrDefaults(m_body); }

CSnmpPdu::Body& CSnmpPdu::Own() { return tw::detail::OwnBody(m_body); }

CSnmpPdu::ePduType CSnmpPdu::GetType() const { return Fields().type; }

void CSnmpPdu::SetType(ePduType type) { Own().type = type; }

int32_t CSnmpPdu::GetRequestId() const { return Fields().requestId; }

void CSnmpPdu::SetRequestId(int32_t id) { Own().requestId = id; }

int32_t CSnmpPdu::GetErrorStatus() const { return Fields().errorStatus; }

void CSnmpPdu::SetErrorStatus(int32_t status) { Own().errorStatus = status; }

int32_t CSnmpPdu::GetErrorIndex() const { return Fields().errorIndex; }

void CSnmpPdu::SetErrorIndex(int32_t index) { Own().errorIndex = index; }

int CSnmpPdu::GetVarBindCount() const { return static_cast<int>(Fields().varBinds.size()); }

CString CSnmpPdu::GetTypeName(ePduType type) {
    for (const TypeName& entry : kTypeNames) {
        if (entry.type == type) {
            return CString(entry.name);
        }
    }
    return CString();
}

int CSnmpPdu::TypeFromName(const CString& name, ePduType& type) {
    for (const TypeName& entry : kTypeNames) {
        if (name == entry.name) {
            type = entry.type;
            return 1;
        }
    }
    return 0;
}

const CSnmpVarBind& CSnmpPdu::GetVarBind(int nIndex) const {
    if (nIndex < 0 || nIndex >= GetVarBindCount()) {
        throw CInvalidArgException();
    }
    return m_body->varBinds[static_cast<std::size_t>(nIndex)];
}

void CSnmpPdu::AddVarBind(const CSnmpVarBind& vb) {
    Own().varBinds.push_back(vb);
}

void CSnmpPdu::RemoveAllVarBinds() {
    if (m_body) {
        m_body->varBinds.clear();
    }
}

CString CSnmpPdu::ToString() const {
    const Body& f = Fields();
    if (f.type == PDU_NONE && f.requestId == 0 && f.errorStatus == 0 && f.errorIndex == 0 && f.varBinds.empty()) {
        return CString();
    }
    CString text = GetTypeName(f.type);
    if (text.IsEmpty()) {
        text = Decimal(static_cast<int32_t>(f.type));
    }
    text += u" request-id=" + Decimal(f.requestId) + u" error-status=" + Decimal(f.errorStatus) +
            u" error-index=" + Decimal(f.errorIndex) + u" {";
    for (std::size_t i = 0; i < f.varBinds.size(); ++i) {
        if (i > 0) {
            text += u"; ";
        }
        text += f.varBinds[i].ToString();
    }
    text += u'}';
    return text;
}

CString CSnmpPdu::ToJSON() const {
    const Body& f = Fields();
    CString json = u"{\"type\": " + CSnmpUtility::ToJsonString(GetTypeName(f.type)) +
                   u", \"requestId\": " + Decimal(f.requestId) + u", \"errorStatus\": " + Decimal(f.errorStatus) +
                   u", \"errorIndex\": " + Decimal(f.errorIndex) + u", \"varbinds\": [";
    for (std::size_t i = 0; i < f.varBinds.size(); ++i) {
        if (i > 0) {
            json += u", ";
        }
        json += f.varBinds[i].ToJSON();
    }
    json += u"]}";
    return json;
}

CXML CSnmpPdu::ToXml() const {
    const Body& f = Fields();
    CXML node(TAG_NAME);
    const CString typeName = GetTypeName(f.type);
    node.SetAttr(u"Type", typeName.IsEmpty() ? Decimal(static_cast<int32_t>(f.type)) : typeName);
    node.SetAttr(u"RequestId", static_cast<int>(f.requestId));
    node.SetAttr(u"ErrorStatus", static_cast<int>(f.errorStatus));
    node.SetAttr(u"ErrorIndex", static_cast<int>(f.errorIndex));
    for (const CSnmpVarBind& vb : f.varBinds) {
        node.AddChild(vb.ToXml());
    }
    return node;
}

void CSnmpPdu::FromXml(CXML& node) {
    const CString typeText = node.GetAttr(u"Type", CString());
    ePduType type = PDU_NONE;
    if (!TypeFromName(typeText, type)) {
        // A type outside the table is written as its number.
        type = static_cast<ePduType>(node.GetAttrInt(u"Type", PDU_NONE));
    }
    Body& body = Own();
    body.type = type;
    body.requestId = node.GetAttrInt(u"RequestId", 0);
    body.errorStatus = node.GetAttrInt(u"ErrorStatus", 0);
    body.errorIndex = node.GetAttrInt(u"ErrorIndex", 0);
    body.varBinds.clear();
    for (CXML child = node.GetFirstChild(); child.IsValid(); child = node.GetNextChild()) {
        CSnmpVarBind vb;
        vb.FromXml(child);
        body.varBinds.push_back(std::move(vb));
    }
}

CSnmpPdu& CSnmpPdu::operator+=(CSnmpVarBind& vb) {
    Own().varBinds.push_back(vb);
    return *this;
}

CSnmpPdu& CSnmpPdu::operator+=(const CSnmpVarBind& vb) {
    Own().varBinds.push_back(vb);
    return *this;
}

bool CSnmpPdu::operator==(const CSnmpPdu& other) const {
    const Body& a = Fields();
    const Body& b = other.Fields();
    return a.type == b.type && a.requestId == b.requestId && a.errorStatus == b.errorStatus &&
           a.errorIndex == b.errorIndex && a.varBinds == b.varBinds;
}
