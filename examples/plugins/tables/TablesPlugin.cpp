// tables.twp: the entry points, handing every call to one CTablesModule.
#include "examples/plugins/tables/TablesModule.h"
#include "varlib/plugins/PluginKit.h"

TW_DECLARE_PLUGIN();

namespace {

// Made at the first call (GetMetaInfo, during loading) and read-only after that.
const CTablesModule& Module() {
    static const CTablesModule module;
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
