// CFunctionSignature: one form of a plug-in function: a description, the
// parameters in call order and the return value. A signature has no name; the
// function's name and the grouping of its overloads belong to CModuleMetaInfo.
//
// XML form: "FunctionSignature" (attribute Description) with the return value's
// "VariableMetaInfo" first and then one "Parameters" element holding one
// "VariableMetaInfo" per parameter.
//
// A plain value: copies, getters and setters copy deeply. No lock: one thread at a time.
#pragma once

#include "corelib/XML.h"
#include "corelib/framework/Array.h"
#include "corelib/framework/String.h"
#include "varlib/metadata/VariableMetaInfo.h"

class CFunctionSignature {
public:
    // Empty description, no parameters, a return value of type VT_UNDEFINED.
    CFunctionSignature();
    // Empty record, then FromXml(node).
    CFunctionSignature(CXML& node);
    // Copies description, parameters and return value.
    CFunctionSignature(const CFunctionSignature& src);
    // Copies description, parameters and return value.
    CFunctionSignature& operator=(const CFunctionSignature& src);
    virtual ~CFunctionSignature();

    // Copies description, parameters and return value from src, in this order.
    void Copy(const CFunctionSignature& src);

    // Free text for people.
    CString GetDescription() const;
    void SetDescription(const CString& strDescription);
    // The return value, by copy.
    CVariableMetaInfo GetReturnValue() const;
    void SetReturnValue(const CVariableMetaInfo& returnValue);
    // Makes parameters a copy of this signature's parameters (earlier contents are dropped).
    void GetParameters(CArray<CVariableMetaInfo, const CVariableMetaInfo&>& parameters) const;
    // Makes this signature's parameters a copy of parameters.
    void SetParameters(const CArray<CVariableMetaInfo, const CVariableMetaInfo&>& parameters);

    // "FunctionSignature" with the return value and "Parameters" (written even when empty).
    CXML ToXml() const;
    // Replaces the parameters and reads the description; a "VariableMetaInfo" child sets
    // the return value (the last one wins, none leaves it as it was), every child of
    // each "Parameters" child is a parameter whatever its tag, other children are skipped.
    void FromXml(CXML& node);

    // A copy of TAG_NAME.
    static CString GetTagName();

protected:
    static const CString TAG_NAME;              // "FunctionSignature"
    static const CString PARAMETERS_TAG_NAME;   // "Parameters"

    CString m_strDescription;
    CArray<CVariableMetaInfo, const CVariableMetaInfo&> m_arrParameters;
    CVariableMetaInfo m_ReturnValue;
};
