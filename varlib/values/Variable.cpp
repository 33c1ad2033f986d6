// CVariable: construction, assignment, reset, predicates and getters.
#include "varlib/values/Variable.h"

#include <array>
#include <ctime>
#include <memory>


const CString CVariable::TAG_NAME(u"VARIABLE");

namespace {

// Seconds since 1970-01-01 00:00:00 UTC, the stamp every Construct leaves.
CTime Now() { return CTime(static_cast<int64_t>(::time(nullptr))); }   // _time64, without its extra call

// Type names of 20000 (VT_INT) to 20010 (VT_CHAR), in number order.
constexpr std::array<const char16_t*, 11> kTypeNames = {
    u"INT", u"STRING", u"DOUBLE", u"PDU", u"SNMPVAR", u"XML",
    u"ARRAY", u"ARRAY_ELEM", u"TIME", u"BYTE", u"CHAR",
};

}  // namespace

// ---------------------------------------------------------------------------
// Construction and assignment
// ---------------------------------------------------------------------------

CVariable::CVariable() : m_timeValue(Now()) {}
CVariable::CVariable(int nValue) { ConstructInteger(nValue); }
CVariable::CVariable(long nValue) { ConstructInteger(nValue); }
CVariable::CVariable(long long nValue) { ConstructInteger(static_cast<int64_t>(nValue)); }
CVariable::CVariable(unsigned int nValue) { ConstructInteger(static_cast<int64_t>(nValue)); }
CVariable::CVariable(unsigned long nValue) { ConstructInteger(static_cast<int64_t>(nValue)); }
CVariable::CVariable(unsigned long long nValue) { ConstructInteger(static_cast<int64_t>(nValue)); }
CVariable::CVariable(double dValue) { ConstructDouble(dValue); }
CVariable::CVariable(const CString& strValue) { ConstructString(strValue); }
CVariable::CVariable(const CSnmpPdu& pduValue) { ConstructPdu(pduValue); }
CVariable::CVariable(const CSnmpVarBind& vbValue) { ConstructVb(vbValue); }
CVariable::CVariable(const CXML& xmlValue) { ConstructXml(xmlValue); }
CVariable::CVariable(const CTime& timeValue) { ConstructTime(timeValue); }
CVariable::CVariable(unsigned char byteValue) { ConstructByte(byteValue); }
CVariable::CVariable(char16_t chValue) { ConstructChar(chValue); }
CVariable::CVariable(const CVariableArray& arrayValue) { ConstructArray(arrayValue); }
CVariable::CVariable(const char16_t* strValue) { ConstructString(CString(strValue)); }
CVariable::CVariable(const char* strValue) { ConstructString(CString(strValue)); }
CVariable::CVariable(std::string_view strValue) { ConstructString(CString::FromUtf8(strValue)); }

CVariable CVariable::Array(std::initializer_list<std::pair<CString, CVariable>> elements) {
    CVariable result{CVariableArray()};
    for (const auto& [index, value] : elements) {
        auto pElement = std::make_unique<CVariable>(value);
        result.m_arrayValue.InsertElement(index, pElement.get());
        pElement.release();   // the array owns it now
    }
    return result;
}

CVariable CVariable::List(std::initializer_list<CVariable> elements) {
    CVariable result{CVariableArray()};
    unsigned int nOrdinal = 0;
    for (const CVariable& value : elements) {
        auto pElement = std::make_unique<CVariable>(value);
        result.m_arrayValue.InsertElement(CString::Decimal(nOrdinal++), pElement.get());
        pElement.release();   // the array owns it now
    }
    return result;
}
// A new value can't lie inside src: its array is copied in place, with no
// array built aside first.
CVariable::CVariable(const CVariable& src) {
    CopyAllButArray(src);
    if (src.m_arrayValue.GetCount() != 0)
        m_arrayValue.CopyIntoEmpty(src.m_arrayValue);
}

// The elements of m_arrayValue go with it; its destructor frees them without
// recursion, however deep they nest.
CVariable::~CVariable() = default;

CVariable& CVariable::operator=(int nValue) { ConstructInteger(nValue); return *this; }
CVariable& CVariable::operator=(long nValue) { ConstructInteger(nValue); return *this; }
CVariable& CVariable::operator=(long long nValue) { ConstructInteger(static_cast<int64_t>(nValue)); return *this; }
CVariable& CVariable::operator=(double dValue) { ConstructDouble(dValue); return *this; }
CVariable& CVariable::operator=(const CString& strValue) { ConstructString(strValue); return *this; }
CVariable& CVariable::operator=(const CSnmpPdu& pduValue) { ConstructPdu(pduValue); return *this; }
CVariable& CVariable::operator=(const CSnmpVarBind& vbValue) { ConstructVb(vbValue); return *this; }
CVariable& CVariable::operator=(const CXML& xmlValue) { ConstructXml(xmlValue); return *this; }
CVariable& CVariable::operator=(const CTime& timeValue) { ConstructTime(timeValue); return *this; }
CVariable& CVariable::operator=(unsigned char byteValue) { ConstructByte(byteValue); return *this; }
CVariable& CVariable::operator=(char16_t chValue) { ConstructChar(chValue); return *this; }
CVariable& CVariable::operator=(const CVariableArray& arrayValue) { ConstructArray(arrayValue); return *this; }
CVariable& CVariable::operator=(const CVariable& src) { Copy(src); return *this; }

void CVariable::BeginConstruct() {
    m_nValue = 0;
    m_dValue = 0.0;
    m_byteValue = 0;
    m_chValue = 0;
    m_bArrayElement = 0;
    m_timeValue = Now();
}

void CVariable::ConstructInteger(int64_t nValue) {
    BeginConstruct();
    m_eType = VT_INT;
    m_nValue = nValue;
}

void CVariable::ConstructDouble(double dValue) {
    BeginConstruct();
    m_eType = VT_DOUBLE;
    m_dValue = dValue;
}

void CVariable::ConstructString(const CString& strValue) {
    BeginConstruct();
    m_eType = VT_STRING;
    m_strValue = strValue;
}

void CVariable::ConstructPdu(const CSnmpPdu& pduValue) {
    BeginConstruct();
    m_eType = VT_PDU;
    m_pduValue = pduValue;
}

void CVariable::ConstructVb(const CSnmpVarBind& vbValue) {
    BeginConstruct();
    m_eType = VT_SNMPVAR;
    m_vbValue = vbValue;
}

void CVariable::ConstructXml(const CXML& xmlValue) {
    BeginConstruct();
    m_eType = VT_XML;
    m_xmlValue = xmlValue.Clone();
}

void CVariable::ConstructArray(const CVariableArray& arrayValue) {
    BeginConstruct();
    m_eType = VT_ARRAY;
    m_arrayValue = arrayValue;   // deep; our own array assigned to itself stays as it is
}

void CVariable::ConstructByte(unsigned char byteValue) {
    BeginConstruct();
    m_eType = VT_BYTE;
    m_byteValue = byteValue;
}

void CVariable::ConstructChar(char16_t chValue) {
    BeginConstruct();
    m_eType = VT_CHAR;
    m_chValue = chValue;
}

void CVariable::ConstructTime(const CTime& timeValue) {
    BeginConstruct();
    m_eType = VT_TIME;
    m_timeValue = timeValue;
}

void CVariable::Copy(const CVariable& src) {
    // A value assigned to itself keeps every field, m_arrayValue included.
    if (&src == this)
        return;
    CopyAllButArray(src);
    // Last: src may sit inside our own array, which CVariableArray::Copy
    // keeps alive until the new elements are complete.
    m_arrayValue.Copy(src.m_arrayValue);
}

void CVariable::CopyAllButArray(const CVariable& src) {
    if (src.m_xmlValue.IsValid())
        m_xmlValue = src.m_xmlValue.Clone();
    else
        m_xmlValue = CXML();
    m_strValue = src.m_strValue;
    m_nValue = src.m_nValue;
    m_enumValues = src.m_enumValues;
    m_dValue = src.m_dValue;
    m_pduValue = src.m_pduValue;
    m_vbValue = src.m_vbValue;
    m_strIndex = src.m_strIndex;
    m_timeValue = src.m_timeValue;
    m_byteValue = src.m_byteValue;
    m_chValue = src.m_chValue;
    m_strDisplayName = src.m_strDisplayName;
    m_strDescription = src.m_strDescription;
    m_strName = src.m_strName;
    m_eType = src.m_eType;
    m_bArrayElement = src.m_bArrayElement;
}

void CVariable::ResetType(eVariableType eType) {
    m_eType = eType;
    m_strValue.Empty();
    m_nValue = 0;
    m_dValue = 0.0;
    m_enumValues.RemoveAll();
    m_xmlValue = CXML();
    m_pduValue = CSnmpPdu();
    m_vbValue = CSnmpVarBind();
    m_arrayValue.ResetToFresh();
    m_strName.Empty();
    m_strIndex.Empty();
    m_bArrayElement = 0;
    m_byteValue = 0;
    m_chValue = 0;
    m_timeValue = Now();
}

// ---------------------------------------------------------------------------
// Predicates and getters
// ---------------------------------------------------------------------------

eVariableType CVariable::GetType() const { return m_eType; }
int CVariable::IsValid() const { return m_eType != VT_UNDEFINED ? 1 : 0; }
int CVariable::IsString() const { return m_eType == VT_STRING ? 1 : 0; }
int CVariable::IsInteger() const { return m_eType == VT_INT ? 1 : 0; }
int CVariable::IsDouble() const { return m_eType == VT_DOUBLE ? 1 : 0; }
int CVariable::IsPdu() const { return m_eType == VT_PDU ? 1 : 0; }
int CVariable::IsVb() const { return m_eType == VT_SNMPVAR ? 1 : 0; }
int CVariable::IsXml() const { return m_eType == VT_XML ? 1 : 0; }
int CVariable::IsArray() const { return m_eType == VT_ARRAY ? 1 : 0; }
int CVariable::IsTime() const { return m_eType == VT_TIME ? 1 : 0; }
int CVariable::IsByte() const { return m_eType == VT_BYTE ? 1 : 0; }
int CVariable::IsChar() const { return m_eType == VT_CHAR ? 1 : 0; }
int CVariable::IsArrayElement() const { return m_bArrayElement; }

int CVariable::IsZero() const {
    switch (m_eType) {
    case VT_INT: return m_nValue == 0 ? 1 : 0;
    case VT_DOUBLE: return m_dValue == 0.0 ? 1 : 0;   // -0.0 is zero, a NaN is not
    case VT_BYTE: return m_byteValue == 0 ? 1 : 0;
    case VT_CHAR: return m_chValue == 0 ? 1 : 0;
    default: return 0;   // an empty STRING or ARRAY is not zero
    }
}

CString CVariable::GetName() const { return m_strName; }
CString CVariable::GetDisplayName() const { return m_strDisplayName; }
CString CVariable::GetDescription() const { return m_strDescription; }
CString CVariable::GetIndex() const { return m_strIndex; }
void CVariable::SetName(const CString& strName) { m_strName = strName; }
void CVariable::SetDisplayName(const CString& strDisplayName) { m_strDisplayName = strDisplayName; }
void CVariable::SetDescription(const CString& strDescription) { m_strDescription = strDescription; }

void CVariable::SetArrayElementInfo(const CString& strIndex) {
    m_bArrayElement = 1;
    m_strIndex = strIndex;
}

void CVariable::CleanArray() { m_arrayValue.CleanUp(); }

CString CVariable::GetTagName() { return TAG_NAME; }

CString CVariable::GetTypeInfo(eVariableType eType) {
    const int64_t slot = static_cast<int64_t>(eType) - VT_INT;
    if (slot < 0 || slot >= static_cast<int64_t>(kTypeNames.size()))
        return CString(u"UNDEFINED");
    return CString(kTypeNames[static_cast<size_t>(slot)]);
}
