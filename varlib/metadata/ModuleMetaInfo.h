// CModuleMetaInfo: what a plug-in module says about itself: name, description,
// version and, for every function it offers, all the signatures of that function.
//
// The function table maps a name to its overloads in declaration order (the array
// may be empty). The table is walked in CMap order, which is neither declaration
// nor sorted order and may differ between copies; the order of the signatures
// under one name is stable.
//
// XML form: "ModuleMetaInfo" (Name, Description, Version) with one "FUNCTIONS"
// child, which holds one "FUNCTION" (Name) per function, whose children are its
// "FunctionSignature" elements.
//
// A plain value: every copy, getter and setter copies the whole table, so
// GetFunctionsMetaInfo costs as much as the table is large. No lock: one thread at a time.
#pragma once

#include "corelib/XML.h"
#include "corelib/framework/String.h"
#include "varlib/foundation/ArrayEx.h"
#include "varlib/foundation/MapEx.h"
#include "varlib/metadata/FunctionSignature.h"

class CModuleMetaInfo {
public:
    // All the signatures of one function, in declaration order.
    using CSignatureArray = CArrayEx<CFunctionSignature, CFunctionSignature&>;
    // Function name to its signatures.
    using CFunctionMap = CMapEx<CString, CString&, CSignatureArray, CSignatureArray&>;

    // Three empty strings and no functions.
    CModuleMetaInfo();
    // Empty object, then FromXml(node).
    CModuleMetaInfo(CXML& node);
    // Copies the three strings, then the function table.
    CModuleMetaInfo(const CModuleMetaInfo& src);
    // Copies the three strings, then the function table; self-assignment changes nothing.
    CModuleMetaInfo& operator=(const CModuleMetaInfo& src);
    virtual ~CModuleMetaInfo();

    // Copies the three strings, then the function table, from src.
    void Copy(const CModuleMetaInfo& src);

    // Display name of the module (its identity is its file name, not this).
    CString GetName() const;
    void SetName(const CString& strName);
    // Free text for people.
    CString GetDescription() const;
    void SetDescription(const CString& strDescription);
    // Version, free text.
    CString GetVersion() const;
    void SetVersion(const CString& strVersion);

    // A copy of the whole function table; changing it leaves this object alone.
    CMapEx<CString, CString&, CArrayEx<CFunctionSignature, CFunctionSignature&>,
           CArrayEx<CFunctionSignature, CFunctionSignature&>&>
    GetFunctionsMetaInfo() const;
    // Replaces the function table by a copy of functions.
    void SetFunctionsMetaInfo(const CMapEx<CString, CString&, CArrayEx<CFunctionSignature, CFunctionSignature&>,
                                           CArrayEx<CFunctionSignature, CFunctionSignature&>&>& functions);

    // "ModuleMetaInfo" with its attributes and a "FUNCTIONS" child (written even when empty).
    CXML ToXml() const;
    // Empties the table, reads the three attributes (default empty) and every
    // "FUNCTIONS" child; each child of those is a function whatever its tag, and a
    // later function of the same name replaces an earlier one.
    void FromXml(CXML& node);

    // A copy of TAG_NAME.
    static CString GetTagName();

protected:
    static const CString TAG_NAME;             // "ModuleMetaInfo"
    static const CString FUNCTIONS_TAG_NAME;   // "FUNCTIONS"
    static const CString FUNCTION_TAG_NAME;    // "FUNCTION"

    CString m_strName;
    CString m_strDescription;
    CString m_strVersion;
    CFunctionMap m_mapFunctions;   // block size 10
};
