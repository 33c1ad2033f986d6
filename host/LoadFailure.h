// Why a plug-in module failed to load. The registry keeps no reason, only
// the status; the host asks the dynamic loader again: the loader's own error
// text for a module it refused, or the entry points a loaded module lacks.
#pragma once

#include <string>

#include "corelib/framework/String.h"

class CPluginRegistry;

// The reason for the module of that file name in the registry's plug-in
// directory, or "" for a module that did not fail.
std::string LoadFailureReason(const CPluginRegistry& registry, const CString& name);
