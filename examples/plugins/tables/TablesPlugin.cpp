// tables.twp: the entry points, handing every call to one CTablesModule, which
// holds no files, threads or caches, so PlgCleanUp has nothing to release.
#include "examples/plugins/tables/TablesModule.h"
#include "varlib/plugins/PluginKit.h"

TW_IMPLEMENT_PLUGIN(CTablesModule);
