// CModuleDeclaration: what an example plug-in declares about itself, kept both
// as the CModuleMetaInfo that GetMetaInfo hands out and in a plain form that
// lets ValidateArguments check a call against the declared signatures.
//
// Built once, when the module is loaded, and only read after that, so calls
// from several threads may read it at once.
#pragma once

#include <initializer_list>
#include <vector>

#include "corelib/framework/String.h"
#include "varlib/metadata/ModuleMetaInfo.h"
#include "varlib/values/VariableList.h"
#include "varlib/values/VariableType.h"

class CModuleDeclaration {
public:
    // A parameter or return value: name, type and a line for people.
    struct Value {
        const char16_t* name;
        eVariableType type;
        const char16_t* description;
    };

    CModuleDeclaration(const CString& strName, const CString& strDescription, const CString& strVersion);

    // Adds one signature of strFunction; a second call with the same name adds
    // an overload after the first.
    void AddSignature(const CString& strFunction, const CString& strDescription, const Value& returnValue,
                      std::initializer_list<Value> parameters);

    // The module's information, as GetMetaInfo returns it.
    CModuleMetaInfo GetMetaInfo() const;

    // 1 when strFunction is declared and some signature of it has as many
    // parameters as the list has items, with the same types, in order; else 0.
    int MatchesSignature(const CString& strFunction, const CVariableList& arguments) const;

private:
    struct Signature {
        CString strFunction;
        std::vector<eVariableType> parameterTypes;
    };

    CModuleMetaInfo m_info;
    std::vector<Signature> m_signatures;
};
