// A test module that exports three of the four entry points (no PlgCleanUp).
// Its GetMetaInfo writes "nocleanup GetMetaInfo" to TW_TEST_PLUGIN_LOG, which
// must never happen: a module that lacks an entry point is never called.
#include <cstdio>
#include <cstdlib>

#include "varlib/plugins/PluginKit.h"

TW_PLUGIN_EXPORT CModuleMetaInfo GetMetaInfo() {
    if (const char* log = std::getenv("TW_TEST_PLUGIN_LOG")) {
        if (std::FILE* file = std::fopen(log, "a")) {
            std::fputs("nocleanup GetMetaInfo\n", file);
            std::fclose(file);
        }
    }
    CModuleMetaInfo info;
    CModuleMetaInfo::CFunctionMap functions;
    CString name(u"NoCleanUpFunction");
    functions[name];
    info.SetFunctionsMetaInfo(functions);
    return info;
}

TW_PLUGIN_EXPORT CVariable ExecuteFunction(const CString&, const CVariableList&) { return CVariable(1); }

TW_PLUGIN_EXPORT int ValidateArguments(const CString&, const CVariableList&) { return 1; }
