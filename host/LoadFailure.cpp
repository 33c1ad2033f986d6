#include "host/LoadFailure.h"

#include <dlfcn.h>

#include "corelib/Utility.h"
#include "varlib/plugins/PluginRegistry.h"

namespace {

// What the registry looks up in every module, in its order.
constexpr const char* kEntryPoints[] = {"GetMetaInfo", "ExecuteFunction", "ValidateArguments", "PlgCleanUp"};

}  // namespace

std::string LoadFailureReason(const CPluginRegistry& registry, const CString& name) {
    if (registry.GetPluginStatus(name) == u"loaded")   // the registry's status of a module it took in
        return "";
    const std::string path = CUtility::UTF16toUTF8(CUtility::GetPluginDir() + name);
    // A module without its entry points stays loaded (the registry never
    // releases one it didn't clean up): find it without loading anything.
    void* module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
    if (module == nullptr) {
        ::dlerror();
        module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (module == nullptr) {
            const char* error = ::dlerror();
            return error != nullptr ? error : "the dynamic loader refused it";
        }
    }
    std::string missing;
    for (const char* entry : kEntryPoints)
        if (::dlsym(module, entry) == nullptr)
            missing += (missing.empty() ? "" : ", ") + std::string(entry);
    ::dlclose(module);
    return missing.empty() ? "it loads now: the file changed since" : "no entry point " + missing;
}
