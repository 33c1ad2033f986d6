// CLoadedPlugins: the plug-in registry of the process, loaded for one command.
//
// The constructor points CUtility at the chosen directory and loads every
// module in it; the destructor unloads them, so that each module gets its
// PlgCleanUp however the command ends. One object at a time: the registry is
// a process-wide singleton.
#pragma once

#include <exception>
#include <iostream>
#include <optional>
#include <string>

#include "corelib/framework/String.h"
#include "host/CommandContext.h"
#include "host/ExitCode.h"
#include "varlib/plugins/PluginRegistry.h"

// Unloads the registry as CPluginRegistry::Unload does (every PlgCleanUp,
// then every module released), except that a PlgCleanUp that throws is
// reported on stderr, "twhost: FILE: PlgCleanUp failed: ...", and the other
// modules' clean-ups and the releases still run. Without this, an exception
// out of a destructor ends the process and loses what it printed.
void UnloadReportingFailures(CPluginRegistry& registry);

class CLoadedPlugins {
public:
    // strPluginDir empty: CUtility's default directory. An exception that a
    // module throws from GetMetaInfo while loading comes out as a
    // std::runtime_error with its message, the modules unloaded.
    explicit CLoadedPlugins(const std::string& strPluginDir);
    ~CLoadedPlugins();
    CLoadedPlugins(const CLoadedPlugins&) = delete;
    CLoadedPlugins& operator=(const CLoadedPlugins&) = delete;

    CPluginRegistry& GetRegistry() const { return *m_pRegistry; }
    // The directory searched, as CUtility gives it (ending in "/").
    CString GetPluginDir() const { return m_strPluginDir; }

private:
    CPluginRegistry* m_pRegistry;
    CString m_strPluginDir;
};

// Loads the plug-ins, runs work on them, and turns whatever a module throws
// into a message on stderr and EXIT_FAILED. The message is read before the
// modules are unloaded: an exception object's code lives in the module that threw it.
template <typename Work>
int WithPlugins(const CCommandContext& context, Work&& work) {
    std::optional<CLoadedPlugins> plugins;
    try {
        plugins.emplace(context.m_strPluginDir);
        return work(*plugins);
    } catch (const std::exception& e) {
        std::cerr << "twhost: " << e.what() << '\n';
    } catch (...) {
        std::cerr << "twhost: a plug-in threw an exception of unknown type\n";
    }
    return EXIT_FAILED;
}
