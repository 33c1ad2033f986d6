// A test module whose four entry points have C++ (mangled) names: to the
// loader's look-up by plain name all four are missing.
#include "varlib/plugins/PluginKit.h"

__attribute__((visibility("default"))) CModuleMetaInfo GetMetaInfo() {
    CModuleMetaInfo info;
    CModuleMetaInfo::CFunctionMap functions;
    CString name(u"MangledFunction");
    functions[name];
    info.SetFunctionsMetaInfo(functions);
    return info;
}

__attribute__((visibility("default"))) CVariable ExecuteFunction(const CString&, const CVariableList&) {
    return CVariable(1);
}

__attribute__((visibility("default"))) int ValidateArguments(const CString&, const CVariableList&) { return 1; }

__attribute__((visibility("default"))) void PlgCleanUp() {}
