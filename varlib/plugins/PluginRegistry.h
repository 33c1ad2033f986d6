// CPluginRegistry: finds the plug-in modules (*.twp in CUtility::GetPluginDir()),
// loads them in one sweep, and reaches their functions and the modules by name.
//
// A process-wide singleton (GetInstance); CReportManager derives from it and
// shares m_pInstance, so the tables are protected. A module's identity is its
// file name, not the name inside its metadata. Load never stops early and
// reports nothing: a module that fails is listed with the status
// "failed to load". Load and Unload change the tables and must not overlap with
// any other use of the registry; between them the tables are only read, and
// the look-ups, which hand out copies, may run on several threads. There is no
// lock. Modules are loaded with dlopen(RTLD_NOW | RTLD_LOCAL): a module with an
// unresolved symbol fails at once instead of at its first call, and the four
// entry points of one module never stand in for another's.
#pragma once

#include "corelib/framework/Map.h"
#include "corelib/framework/String.h"
#include "corelib/framework/StringArray.h"
#include "varlib/metadata/ModuleMetaInfo.h"
#include "varlib/plugins/PluginProxy.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableList.h"

class CPluginRegistry {
public:
    // The shared instance, made (empty, nothing loaded) on first request; null if it can't be allocated.
    static CPluginRegistry* GetInstance();
    // Unloads, then destroys the tables.
    virtual ~CPluginRegistry();

    // Lists and loads every *.twp file of the plug-in directory; see PluginRegistry.cpp.
    void Load();
    // PlgCleanUp of every loaded module, then the release of each; the lists of names stay.
    void Unload();

    // The result of the function's module, or a default CVariable for an unknown name (no call made).
    CVariable InvokeFunction(const CString& function, const CVariableList& parameters) const;
    // The module's answer unchanged; 0 for an unknown name.
    int ValidateParameters(const CString& function, const CVariableList& parameters) const;
    // 1 if a loaded module declares the function, else 0.
    int IsRegisteredFunction(const CString& function) const;
    // A fresh copy of the module's metadata, by file name; empty for a failed or unknown name.
    CModuleMetaInfo GetPluginModuleMetaInfo(const CString& plugin) const;
    // File names of every module the last Load found, failed ones too, in the order found.
    void GetPlugins(CStringArray& plugins) const;
    // "failed to load" if the file name ever failed (exact match), else "loaded", unknown names too.
    CString GetPluginStatus(const CString& plugin) const;

protected:
    // Six empty tables.
    CPluginRegistry();

    CMap<CString, const char16_t*, HINSTANCE, HINSTANCE> m_mapInstances;      // full path -> handle
    CMap<CString, const char16_t*, CPluginProxy, CPluginProxy&> m_mapFunctions;   // function -> its module
    CMap<CString, const char16_t*, CPluginProxy, CPluginProxy&> m_mapPlugins;     // file name -> module
    CStringArray m_arrFailedPlugins;   // file names, kept across Load and Unload
    CStringArray m_arrPluginPaths;     // full paths found by the last Load
    CStringArray m_arrPluginNames;     // file names found by the last Load, same order

    static CPluginRegistry* m_pInstance;

private:
    CPluginRegistry(const CPluginRegistry&) = delete;
    CPluginRegistry& operator=(const CPluginRegistry&) = delete;
};
