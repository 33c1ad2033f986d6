// A test module that declares no functions: it loads, and nothing is registered.
#include "varlib/plugins/PluginKit.h"

TW_DECLARE_PLUGIN();

CModuleMetaInfo GetMetaInfo() {
    CModuleMetaInfo info;
    info.SetName(u"Empty");
    info.SetDescription(u"Declares no functions");
    info.SetVersion(u"0.0");
    return info;
}

CVariable ExecuteFunction(const CString&, const CVariableList&) { return CVariable(); }

int ValidateArguments(const CString&, const CVariableList&) { return 0; }

void PlgCleanUp() {}
