// netinfo.twp: the entry points, handing every call to one CNetInfoModule.
#include "examples/plugins/netinfo/NetInfoModule.h"
#include "varlib/plugins/PluginKit.h"

TW_DECLARE_PLUGIN();

namespace {

// Made at the first call (GetMetaInfo, during loading) and read-only after
// that; the static's own guard makes the first call safe from any thread.
const CNetInfoModule& Module() {
    static const CNetInfoModule module;
    return module;
}

}  // namespace

CModuleMetaInfo GetMetaInfo() { return Module().GetMetaInfo(); }

CVariable ExecuteFunction(const CString& function, const CVariableList& arguments) {
    return Module().ExecuteFunction(function, arguments);
}

int ValidateArguments(const CString& function, const CVariableList& arguments) {
    return Module().ValidateArguments(function, arguments);
}

// Nothing to release: the module holds no files, threads or caches.
void PlgCleanUp() {}
