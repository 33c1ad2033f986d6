#include "corelib/Message.h"

const CString CMessage::TAG_NAME(u"MESSAGE");
const CString CMessage::TYPE_ATTR(u"Type");

CString CMessage::GetTagName() { return TAG_NAME; }

CMessage::CMessage() = default;

CMessage::CMessage(const CString& type, const CXML& body) : m_strType(type), m_xmlBody(body) {}

CMessage::CMessage(const CMessage&) = default;

CMessage& CMessage::operator=(const CMessage&) = default;

CMessage::~CMessage() = default;

CString CMessage::GetType() const {
    return m_strType;
}

void CMessage::SetType(const CString& type) {
    m_strType = type;
}

CXML CMessage::GetBody() {
    return m_xmlBody;
}

void CMessage::SetBody(CXML& body) {
    m_xmlBody = body;
}

void CMessage::SetBody(const CXML& body) {
    m_xmlBody = body;
}

CString CMessage::ToString() const {
    return m_strType + u": " + m_xmlBody.ToString(CXML::FORMAT_COMPACT);
}

CXML CMessage::ToXml() const {
    CXML node(TAG_NAME);
    node.SetAttr(TYPE_ATTR, m_strType);
    node.AddChild(m_xmlBody);   // nothing for an invalid body
    return node;
}

int CMessage::FromXml(CXML& node) {
    if (!node.IsValid() || node.GetTagName() != TAG_NAME || node.GetChildCount() > 1) {
        return 0;
    }
    const CString type = node.GetAttr(TYPE_ATTR, CString());
    if (type.IsEmpty()) {
        return 0;
    }
    m_strType = type;
    m_xmlBody = node.GetFirstChild().Clone();   // its own tree, apart from the wire document
    return 1;
}

CString CMessage::ToXmlString() const {
    return ToXml().ToString(CXML::FORMAT_COMPACT);
}

int CMessage::FromXmlString(const CString& text) {
    CXML node;
    if (!node.FromString(text, TAG_NAME)) {
        return 0;
    }
    return FromXml(node);
}
