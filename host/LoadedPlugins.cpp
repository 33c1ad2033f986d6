#include "host/LoadedPlugins.h"

#include <stdexcept>

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
    m_pRegistry->Unload();   // the modules loaded before the one that threw
    throw std::runtime_error("loading the plug-ins failed: " + strFailure);
}

CLoadedPlugins::~CLoadedPlugins() { m_pRegistry->Unload(); }
