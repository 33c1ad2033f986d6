// CIntegerEnumEntry: one named value, its text form and its XML form.
#include "varlib/metadata/IntegerEnumEntry.h"

#include "corelib/framework/Runtime.h"

const CString CIntegerEnumEntry::TAG_NAME(u"EnumEntry");

namespace {

const char16_t kNameAttr[] = u"Name";
const char16_t kDescriptionAttr[] = u"Description";
const char16_t kValueAttr[] = u"Value";

}  // namespace

CIntegerEnumEntry::CIntegerEnumEntry() : m_nValue(0) {}

CIntegerEnumEntry::CIntegerEnumEntry(const CString& strName, const CString& strDescription, int64_t nValue)
    : m_strName(strName), m_strDescription(strDescription), m_nValue(nValue) {}

CIntegerEnumEntry::CIntegerEnumEntry(const CXML& node) : m_nValue(0) { FromXml(node); }

CIntegerEnumEntry::CIntegerEnumEntry(const CIntegerEnumEntry& src) : m_nValue(0) { Copy(src); }

CIntegerEnumEntry& CIntegerEnumEntry::operator=(const CIntegerEnumEntry& src) {
    Copy(src);
    return *this;
}

CIntegerEnumEntry::~CIntegerEnumEntry() = default;

void CIntegerEnumEntry::Copy(const CIntegerEnumEntry& src) {
    m_strName = src.m_strName;
    m_strDescription = src.m_strDescription;
    m_nValue = src.m_nValue;
}

CString CIntegerEnumEntry::GetName() const { return m_strName; }
void CIntegerEnumEntry::SetName(const CString& strName) { m_strName = strName; }
CString CIntegerEnumEntry::GetDescription() const { return m_strDescription; }
void CIntegerEnumEntry::SetDescription(const CString& strDescription) { m_strDescription = strDescription; }
int64_t CIntegerEnumEntry::GetValue() const { return m_nValue; }
void CIntegerEnumEntry::SetValue(int64_t nValue) { m_nValue = nValue; }

CString CIntegerEnumEntry::ToString() const {
    CString text;
    text.Format(u"%s(%I64d)", m_strName, m_nValue);
    return text;
}

int CIntegerEnumEntry::FromStringValue(const CString& text) {
    const int open = text.Find(u'(');
    if (open < 0)
        return 0;
    // Both positions before the name changes: text may be our own name.
    const int close = text.Find(u')', open);
    const CString value = close < 0 ? CString() : text.Mid(open + 1, close - open - 1);
    m_strName = text.Left(open);
    if (close < 0)
        return 0;   // the name is taken, the value stays
    m_nValue = _wtoi64(value);
    return 1;
}

CXML CIntegerEnumEntry::ToXml() const {
    CXML node(TAG_NAME);
    node.SetAttr(kNameAttr, m_strName);
    node.SetAttr(kDescriptionAttr, m_strDescription);
    node.SetAttr(kValueAttr, m_nValue);
    return node;
}

void CIntegerEnumEntry::FromXml(const CXML& node) {
    m_strName = node.GetAttr(kNameAttr, CString());
    m_strDescription = node.GetAttr(kDescriptionAttr, CString());
    m_nValue = node.GetAttrInt64(kValueAttr, 0);
}
