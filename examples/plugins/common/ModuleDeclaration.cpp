#include "examples/plugins/common/ModuleDeclaration.h"

#include "corelib/framework/Array.h"
#include "varlib/metadata/FunctionSignature.h"
#include "varlib/metadata/VariableMetaInfo.h"

namespace {

CVariableMetaInfo MakeMetaInfo(const CModuleDeclaration::Value& value) {
    CVariableMetaInfo info;
    info.SetName(value.name);
    info.SetType(value.type);
    info.SetDescription(value.description);
    return info;
}

}  // namespace

CModuleDeclaration::CModuleDeclaration(const CString& strName, const CString& strDescription,
                                       const CString& strVersion) {
    m_info.SetName(strName);
    m_info.SetDescription(strDescription);
    m_info.SetVersion(strVersion);
}

void CModuleDeclaration::AddSignature(const CString& strFunction, const CString& strDescription,
                                      const Value& returnValue, std::initializer_list<Value> parameters) {
    CArray<CVariableMetaInfo, const CVariableMetaInfo&> parameterInfo;
    Signature signature{strFunction, {}};
    for (const Value& parameter : parameters) {
        parameterInfo.Add(MakeMetaInfo(parameter));
        signature.parameterTypes.push_back(parameter.type);
    }
    CFunctionSignature functionSignature;
    functionSignature.SetDescription(strDescription);
    functionSignature.SetReturnValue(MakeMetaInfo(returnValue));
    functionSignature.SetParameters(parameterInfo);

    CModuleMetaInfo::CFunctionMap functions = m_info.GetFunctionsMetaInfo();
    CString key(strFunction);
    functions[key].Add(functionSignature);
    m_info.SetFunctionsMetaInfo(functions);
    m_signatures.push_back(std::move(signature));
}

CModuleMetaInfo CModuleDeclaration::GetMetaInfo() const { return m_info; }

int CModuleDeclaration::MatchesSignature(const CString& strFunction, const CVariableList& arguments) const {
    for (const Signature& signature : m_signatures) {
        if (signature.strFunction != strFunction ||
            static_cast<intptr_t>(signature.parameterTypes.size()) != arguments.GetSize())
            continue;
        bool match = true;
        for (std::size_t i = 0; i < signature.parameterTypes.size() && match; ++i)
            match = arguments.GetAt(static_cast<intptr_t>(i)).GetType() == signature.parameterTypes[i];
        if (match)
            return 1;
    }
    return 0;
}
