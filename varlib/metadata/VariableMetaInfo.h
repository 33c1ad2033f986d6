// CVariableMetaInfo: what a plug-in declares about one value crossing a
// function's boundary, a parameter or the return value: name, description and
// declared type. XML form: one "VariableMetaInfo" element without children.
//
// A plain value: copies are deep and share nothing. No lock: one thread at a time.
#pragma once

#include "corelib/XML.h"
#include "corelib/framework/String.h"
#include "varlib/values/VariableType.h"

class CVariableMetaInfo {
public:
    // Empty name and description, type VT_UNDEFINED (0), as FromXml reads a missing "Type".
    CVariableMetaInfo();
    // Empty record, then FromXml(node).
    CVariableMetaInfo(CXML& node);
    // Copies name, description and type.
    CVariableMetaInfo(const CVariableMetaInfo& src);
    // Copies name, description and type.
    CVariableMetaInfo& operator=(const CVariableMetaInfo& src);
    virtual ~CVariableMetaInfo();

    // Copies name, description and type from src.
    void Copy(const CVariableMetaInfo& src);

    // Name of the parameter or return value.
    CString GetName() const;
    void SetName(const CString& strName);
    // Free text for people.
    CString GetDescription() const;
    void SetDescription(const CString& strDescription);
    // Declared type; any number is stored as given (unknown ones display as "UNDEFINED").
    eVariableType GetType() const;
    void SetType(eVariableType eType);

    // "VariableMetaInfo" with Name, Description and Type (decimal) in that order.
    CXML ToXml() const;
    // Reads Name, Description (default empty) and Type (default 0); the tag is not examined.
    void FromXml(CXML& node);

    // A copy of TAG_NAME.
    static CString GetTagName();

protected:
    static const CString TAG_NAME;   // "VariableMetaInfo"

    CString m_strName;
    CString m_strDescription;
    eVariableType m_eType = VT_UNDEFINED;
};
