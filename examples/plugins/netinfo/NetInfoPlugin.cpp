// netinfo.twp: the entry points, handing every call to one CNetInfoModule, which
// holds no files, threads or caches, so PlgCleanUp has nothing to release.
#include "examples/plugins/netinfo/NetInfoModule.h"
#include "varlib/plugins/PluginKit.h"

TW_IMPLEMENT_PLUGIN(CNetInfoModule);
