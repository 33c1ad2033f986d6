// A test module whose GetMetaInfo throws: the exception ends Load.
#include <stdexcept>

#include "varlib/plugins/PluginKit.h"

TW_DECLARE_PLUGIN();

CModuleMetaInfo GetMetaInfo() { throw std::runtime_error("throwing.twp: no metadata"); }

CVariable ExecuteFunction(const CString&, const CVariableList&) { return CVariable(); }

int ValidateArguments(const CString&, const CVariableList&) { return 0; }

void PlgCleanUp() {}
