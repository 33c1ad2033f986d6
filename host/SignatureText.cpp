#include "host/SignatureText.h"

#include <algorithm>

#include "corelib/Utility.h"
#include "corelib/framework/Array.h"
#include "varlib/metadata/VariableMetaInfo.h"
#include "varlib/values/Variable.h"

namespace {

std::string Utf8(const CString& text) { return CUtility::UTF16toUTF8(text); }

}  // namespace

std::string SignatureText(const CString& strFunction, const CFunctionSignature& signature) {
    CArray<CVariableMetaInfo, const CVariableMetaInfo&> parameters;
    signature.GetParameters(parameters);
    std::string text = Utf8(strFunction) + "(";
    for (intptr_t i = 0; i < parameters.GetSize(); ++i) {
        const CVariableMetaInfo& parameter = parameters.GetAt(i);
        if (i > 0)
            text += ", ";
        text += Utf8(CVariable::GetTypeInfo(parameter.GetType()));
        if (!parameter.GetName().IsEmpty())
            text += " " + Utf8(parameter.GetName());
    }
    text += ") -> " + Utf8(CVariable::GetTypeInfo(signature.GetReturnValue().GetType()));
    return text;
}

std::string ArgumentTypesText(const CVariableList& arguments) {
    std::string text = "(";
    for (intptr_t i = 0; i < arguments.GetSize(); ++i) {
        if (i > 0)
            text += ", ";
        text += Utf8(CVariable::GetTypeInfo(arguments.GetAt(i).GetType()));
    }
    return text + ")";
}

bool ArgumentsHaveTypes(const CVariableList& arguments, const CFunctionSignature& signature) {
    CArray<CVariableMetaInfo, const CVariableMetaInfo&> parameters;
    signature.GetParameters(parameters);
    if (parameters.GetSize() != arguments.GetSize())
        return false;
    for (intptr_t i = 0; i < parameters.GetSize(); ++i) {
        if (parameters.GetAt(i).GetType() != arguments.GetAt(i).GetType())
            return false;
    }
    return true;
}

std::vector<CString> SortedFunctionNames(const CModuleMetaInfo& info) {
    const CModuleMetaInfo::CFunctionMap functions = info.GetFunctionsMetaInfo();
    std::vector<CString> names;
    POSITION pos = functions.GetStartPosition();
    while (pos != nullptr) {
        CString name;
        CModuleMetaInfo::CSignatureArray signatures;
        functions.GetNextAssoc(pos, name, signatures);
        names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}
