// CVariable and CVariableArray: text forms, reading text back, name rules.
#include <ctime>
#include <vector>

#include "corelib/Utility.h"
#include "corelib/framework/InvalidArgException.h"
#include "corelib/framework/Runtime.h"
#include "varlib/metadata/IntegerEnumEntry.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableArray.h"

namespace {

// The TIME text: the local date as "%d.%m.%Y".
CString FormatLocalDate(const CTime& time) {
    struct tm local {};
    const int64_t seconds = time.GetTime();
    if (_localtime64_s(&local, &seconds) != 0)
        throw CInvalidArgException("CVariable::ToString: time outside the local-time range");
    char16_t buffer[128];
    const size_t length = tw::wcsftime(buffer, sizeof buffer / sizeof buffer[0], u"%d.%m.%Y", &local);
    if (length == 0)
        return CString();
    return CString(buffer, static_cast<int>(length));
}

}  // namespace

CString CVariable::ToString(int bEnumText) const {
    CString text;
    switch (m_eType) {
    case VT_INT:
        if (bEnumText && m_enumValues.GetSize() > 0) {
            CIntegerEnumEntry entry;
            if (m_enumValues.FindEntry(m_nValue, entry))
                return entry.ToString();
        }
        text.Format(u"%I64d", m_nValue);
        return text;
    case VT_STRING:
        return m_strValue;
    case VT_DOUBLE:
        text.Format(u"%f", m_dValue);
        return text;
    case VT_PDU:
        return m_pduValue.ToString();
    case VT_SNMPVAR:
        return m_vbValue.ToString();
    case VT_XML:
        return m_xmlValue.IsValid() ? m_xmlValue.ToString(1) : CString();
    case VT_ARRAY:
        // Elements print with 0 whatever bEnumText says.
        return m_arrayValue.ToString(m_strName);
    case VT_TIME:
        return FormatLocalDate(m_timeValue);
    case VT_BYTE:
        // "%c": the character whose code is the byte, not the number.
        return CString(static_cast<char16_t>(m_byteValue), 1);
    case VT_CHAR:
        return CString(m_chValue, 1);
    default:
        return text;   // ARRAY_ELEM, UNDEFINED and unknown numbers have no text
    }
}

void CVariable::SetValueFromString(const CString& strValue) {
    switch (m_eType) {
    case VT_INT:
        if (CUtility::IsNumber(strValue)) {
            m_nValue = _wtoi64(strValue);
        } else {
            // "name(value)": the number counts, the name is not looked up.
            CIntegerEnumEntry entry;
            m_nValue = entry.FromStringValue(strValue) ? entry.GetValue() : 0;
        }
        break;
    case VT_STRING:
        m_strValue = strValue;
        break;
    case VT_DOUBLE:
        m_dValue = _wtof(strValue);
        break;
    case VT_XML:
        m_xmlValue = CXML(strValue, CString());
        break;
    default:
        break;   // no reader for this type: the value stays as it is
    }
}

int CVariable::IsNameValid(const CString& strName) {
    const int length = strName.GetLength();
    if (length == 0)
        return 0;
    if (length == 1 && strName[0] == u'_')
        return 0;
    if (!tw::iswalpha(strName[0]) && strName[0] != u'_')
        return 0;
    for (int i = 1; i < length; ++i) {
        const char16_t ch = strName[i];
        if (!tw::iswalnum(ch) && ch != u'_')
            return 0;
    }
    return 1;
}

int CVariable::IsIndexValid(const CString& strIndex) { return strIndex.IsEmpty() ? 0 : 1; }

// Each element gives "prefix[index] = text\r\n"; a nested array gives
// "prefix[index] = {\r\n", its own lines under the element's name, "}\r\n".
// Nested levels go on an explicit stack, so depth costs heap, not call stack.
CString CVariableArray::ToString(const CString& prefix) const {
    struct Level {
        const CVariableArray* pArray;
        const CString* pPrefix;
        int nOrdinal;
    };
    CString text;
    std::vector<Level> levels{{this, &prefix, 0}};
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.nOrdinal >= level.pArray->GetCount()) {
            levels.pop_back();
            if (!levels.empty())
                text += u"}\r\n";
            continue;
        }
        const CString* pIndex = nullptr;
        const CVariable* pElement = level.pArray->ElementAt(level.nOrdinal++, &pIndex);
        if (pElement == nullptr)
            continue;
        text += *level.pPrefix;
        text += u'[';
        text += *pIndex;
        if (pElement->IsArray()) {
            text += u"] = {\r\n";
            levels.push_back({&pElement->m_arrayValue, &pElement->m_strName, 0});   // invalidates level
        } else {
            text += u"] = ";
            text += pElement->ToString(0);
            text += u"\r\n";
        }
    }
    return text;
}

CString CVariableArray::ToDelimitedString() const {
    CString text;
    const int count = static_cast<int>(GetCount());
    for (int ordinal = 0; ordinal < count; ++ordinal) {
        const CVariable* pElement = ElementAt(ordinal);
        if (pElement == nullptr || pElement->IsArray())
            continue;   // array elements leave no trace, not even a delimiter
        text += pElement->ToString(0);
        text += u';';
    }
    // Cut every trailing ';' as a set: an empty or ';'-ended last value loses its own too.
    text.TrimRight(u";");
    return text;
}
