#include "snmplib/SnmpPdu.h"

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

const CString CSnmpPdu::TAG_NAME(u"SnmpPdu");

CSnmpPdu::CSnmpPdu() = default;

CSnmpPdu::CSnmpPdu(ePduType type, int32_t requestId) : m_eType(type), m_nRequestId(requestId) {}

CSnmpPdu::CSnmpPdu(const CSnmpPdu&) = default;

CSnmpPdu& CSnmpPdu::operator=(const CSnmpPdu&) = default;

CSnmpPdu::~CSnmpPdu() = default;

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
    return m_arrVarBinds[static_cast<std::size_t>(nIndex)];
}

void CSnmpPdu::AddVarBind(const CSnmpVarBind& vb) {
    m_arrVarBinds.push_back(vb);
}

void CSnmpPdu::RemoveAllVarBinds() {
    m_arrVarBinds.clear();
}

CString CSnmpPdu::ToString() const {
    if (m_eType == PDU_NONE && m_nRequestId == 0 && m_nErrorStatus == 0 && m_nErrorIndex == 0 &&
        m_arrVarBinds.empty()) {
        return CString();
    }
    CString text = GetTypeName(m_eType);
    if (text.IsEmpty()) {
        text = Decimal(static_cast<int32_t>(m_eType));
    }
    text += u" request-id=" + Decimal(m_nRequestId) + u" error-status=" + Decimal(m_nErrorStatus) +
            u" error-index=" + Decimal(m_nErrorIndex) + u" {";
    for (std::size_t i = 0; i < m_arrVarBinds.size(); ++i) {
        if (i > 0) {
            text += u"; ";
        }
        text += m_arrVarBinds[i].ToString();
    }
    text += u'}';
    return text;
}

CString CSnmpPdu::ToJSON() const {
    CString json = u"{\"type\": " + CSnmpUtility::ToJsonString(GetTypeName(m_eType)) +
                   u", \"requestId\": " + Decimal(m_nRequestId) + u", \"errorStatus\": " + Decimal(m_nErrorStatus) +
                   u", \"errorIndex\": " + Decimal(m_nErrorIndex) + u", \"varbinds\": [";
    for (std::size_t i = 0; i < m_arrVarBinds.size(); ++i) {
        if (i > 0) {
            json += u", ";
        }
        json += m_arrVarBinds[i].ToJSON();
    }
    json += u"]}";
    return json;
}

CXML CSnmpPdu::ToXml() const {
    CXML node(TAG_NAME);
    const CString typeName = GetTypeName(m_eType);
    node.SetAttr(u"Type", typeName.IsEmpty() ? Decimal(static_cast<int32_t>(m_eType)) : typeName);
    node.SetAttr(u"RequestId", static_cast<int>(m_nRequestId));
    node.SetAttr(u"ErrorStatus", static_cast<int>(m_nErrorStatus));
    node.SetAttr(u"ErrorIndex", static_cast<int>(m_nErrorIndex));
    for (const CSnmpVarBind& vb : m_arrVarBinds) {
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
    m_eType = type;
    m_nRequestId = node.GetAttrInt(u"RequestId", 0);
    m_nErrorStatus = node.GetAttrInt(u"ErrorStatus", 0);
    m_nErrorIndex = node.GetAttrInt(u"ErrorIndex", 0);
    m_arrVarBinds.clear();
    for (CXML child = node.GetFirstChild(); child.IsValid(); child = node.GetNextChild()) {
        CSnmpVarBind vb;
        vb.FromXml(child);
        m_arrVarBinds.push_back(std::move(vb));
    }
}

CSnmpPdu& CSnmpPdu::operator+=(CSnmpVarBind& vb) {
    m_arrVarBinds.push_back(vb);
    return *this;
}

CSnmpPdu& CSnmpPdu::operator+=(const CSnmpVarBind& vb) {
    m_arrVarBinds.push_back(vb);
    return *this;
}

bool CSnmpPdu::operator==(const CSnmpPdu& other) const {
    return m_eType == other.m_eType && m_nRequestId == other.m_nRequestId &&
           m_nErrorStatus == other.m_nErrorStatus && m_nErrorIndex == other.m_nErrorIndex &&
           m_arrVarBinds == other.m_arrVarBinds;
}
