#include "host/LoadedPlugins.h"

#include <iostream>
#include <stdexcept>
#include <string>

#include "corelib/Utility.h"

CLoadedPlugins::CLoadedPlugins(const std::string& strPluginDir) {
    if (!strPluginDir.empty())
        CUtility::SetPluginDir(CUtility::UTF8toUTF16(strPluginDir));
    m_strPluginDir = CUtility::GetPluginDir();
    m_pRegistry = CPluginRegistry::GetInstance();
    if (m_pRegistry == nullptr)
        throw std::runtime_error("the plug-in registry could not be created");
    // The message is taken while the module that threw is still loaded: the
    // exception object's code lives in that module.
    std::string strFailure;
    try {
        m_pRegistry->Load();
        return;
    } catch (const std::exception& e) {
        strFailure = e.what();
    } catch (...) {
        strFailure = "a plug-in threw an exception of unknown type";
    }
    UnloadReportingFailures(*m_pRegistry);   // the modules loaded before the one that threw
    throw std::runtime_error("loading the plug-ins failed: " + strFailure);
}

CLoadedPlugins::~CLoadedPlugins() { UnloadReportingFailures(*m_pRegistry); }

namespace {

// Reaches the registry's table of modules, which is the registry's own.
struct RegistryTables : CPluginRegistry {
    static auto& Plugins(CPluginRegistry& registry) { return registry.*(&RegistryTables::m_mapPlugins); }
};

}  // namespace

void UnloadReportingFailures(CPluginRegistry& registry) {
    std::cout.flush();   // what the command printed is out whatever a module does now
    auto& plugins = RegistryTables::Plugins(registry);
    for (auto* pair = plugins.PGetFirstAssoc(); pair; pair = plugins.PGetNextAssoc(pair)) {
        // The message is read here, while the module that threw is still loaded.
        std::string strFailure;
        try {
            pair->value.PluginCleanUp();
            continue;
        } catch (const std::exception& e) {
            strFailure = e.what();
        } catch (...) {
            strFailure = "an exception of unknown type";
        }
        std::cerr << "twhost: " << CUtility::UTF16toUTF8(pair->key) << ": PlgCleanUp failed: " << strFailure << '\n';
    }
    // Each module has had its one PlgCleanUp: Unload now only releases them.
    plugins.RemoveAll();
    registry.Unload();
}
