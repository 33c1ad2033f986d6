#include "corelib/Message.h"

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
