// CIntegerEnumEntry: one named value of an integer enumeration, with a
// description. Text form "name(value)"; XML form "EnumEntry".
#pragma once

#include <cstdint>

#include "corelib/XML.h"
#include "corelib/framework/String.h"

class CIntegerEnumEntry {
public:
    // Empty name and description, value 0.
    CIntegerEnumEntry();
    CIntegerEnumEntry(const CString& strName, const CString& strDescription, int64_t nValue);
    // Empty entry, then FromXml(node).
    CIntegerEnumEntry(const CXML& node);
    CIntegerEnumEntry(const CIntegerEnumEntry& src);
    CIntegerEnumEntry& operator=(const CIntegerEnumEntry& src);
    virtual ~CIntegerEnumEntry();

    CString GetName() const;
    void SetName(const CString& strName);
    CString GetDescription() const;
    void SetDescription(const CString& strDescription);
    int64_t GetValue() const;
    void SetValue(int64_t nValue);

    // "name(value)", the value in signed decimal.
    CString ToString() const;
    // Reads "name(value)": the name is everything before the first "(", the
    // value what _wtoi64 makes of the text up to the next ")". 1 on success;
    // 0 without "(" (entry unchanged) or without ")" (the name is already taken).
    int FromStringValue(const CString& text);
    // "EnumEntry" with Name, Description, Value in that order.
    CXML ToXml() const;
    // Reads Name, Description (default empty) and Value (default 0); the tag is not examined.
    void FromXml(const CXML& node);

    static const CString TAG_NAME;   // "EnumEntry"

protected:
    // Copies all three fields.
    void Copy(const CIntegerEnumEntry& src);

    CString m_strName;
    CString m_strDescription;
    int64_t m_nValue;
};
