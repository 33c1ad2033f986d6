// CVariableMetaInfo: accessors and the "VariableMetaInfo" XML form.
#include "varlib/metadata/VariableMetaInfo.h"

const CString CVariableMetaInfo::TAG_NAME(u"VariableMetaInfo");

namespace {
const CString NAME_ATTR(u"Name");
const CString DESCRIPTION_ATTR(u"Description");
const CString TYPE_ATTR(u"Type");
}  // namespace

CVariableMetaInfo::CVariableMetaInfo() = default;

CVariableMetaInfo::CVariableMetaInfo(CXML& node) { FromXml(node); }

CVariableMetaInfo::CVariableMetaInfo(const CVariableMetaInfo& src) { Copy(src); }

CVariableMetaInfo& CVariableMetaInfo::operator=(const CVariableMetaInfo& src) {
    Copy(src);
    return *this;
}

CVariableMetaInfo::~CVariableMetaInfo() = default;

void CVariableMetaInfo::Copy(const CVariableMetaInfo& src) {
    if (&src == this)
        return;
    m_strName = src.m_strName;
    m_strDescription = src.m_strDescription;
    m_eType = src.m_eType;
}

CString CVariableMetaInfo::GetName() const { return m_strName; }

void CVariableMetaInfo::SetName(const CString& strName) { m_strName = strName; }

CString CVariableMetaInfo::GetDescription() const { return m_strDescription; }

void CVariableMetaInfo::SetDescription(const CString& strDescription) { m_strDescription = strDescription; }

eVariableType CVariableMetaInfo::GetType() const { return m_eType; }

void CVariableMetaInfo::SetType(eVariableType eType) { m_eType = eType; }

CXML CVariableMetaInfo::ToXml() const {
    CXML node(TAG_NAME);
    node.SetAttr(NAME_ATTR, m_strName);
    node.SetAttr(DESCRIPTION_ATTR, m_strDescription);
    // The type travels as its number, never as its name.
    node.SetAttr(TYPE_ATTR, static_cast<int>(m_eType));
    return node;
}

void CVariableMetaInfo::FromXml(CXML& node) {
    m_strName = node.GetAttr(NAME_ATTR, CString());
    m_strDescription = node.GetAttr(DESCRIPTION_ATTR, CString());
    // Every 32-bit number is a value of eVariableType (its underlying type is
    // int32_t), so an unknown type is kept as it stands.
    m_eType = static_cast<eVariableType>(node.GetAttrInt(TYPE_ATTR, VT_UNDEFINED));
}

CString CVariableMetaInfo::GetTagName() { return TAG_NAME; }
