#include "varlib/plugins/PluginRegistry.h"

#include <dlfcn.h>

#include <new>

#include "corelib/Utility.h"
#include "corelib/framework/FileFind.h"

namespace {

const char16_t STATUS_LOADED[] = u"loaded";
const char16_t STATUS_FAILED[] = u"failed to load";

FARPROC FindEntry(HINSTANCE module, const char* name) {
    return reinterpret_cast<FARPROC>(::dlsym(module, name));
}

}  // namespace

CPluginRegistry* CPluginRegistry::m_pInstance = nullptr;

CPluginRegistry* CPluginRegistry::GetInstance() {
    if (!m_pInstance) {
        m_pInstance = new (std::nothrow) CPluginRegistry();
    }
    return m_pInstance;
}

CPluginRegistry::CPluginRegistry() : m_mapInstances(10), m_mapFunctions(10), m_mapPlugins(10) {}

CPluginRegistry::~CPluginRegistry() { Unload(); }

// One sweep over the directory, in the order the directory gives its entries.
// Each file is listed before it is loaded, so failures are listed too. A
// module that lacks an entry point is marked failed and left loaded but
// unreachable: it was never asked to clean up, so it is not released either.
// The failed list and the three maps are not emptied, so a second Load adds to
// them, and a module loaded twice holds two loader references while Unload
// releases one.
void CPluginRegistry::Load() {
    m_arrPluginPaths.SetSize(0);
    m_arrPluginNames.SetSize(0);

    CString pattern;
    pattern.Format(u"%s%s", CUtility::GetPluginDir(), u"*.twp");
    CFileFind finder;
    int bWorking = finder.FindFile(pattern);
    while (bWorking) {
        bWorking = finder.FindNextFile();
        if (finder.IsDots() || finder.MatchesMask(CFileFind::FILE_ATTRIBUTE_DIRECTORY)) {
            continue;
        }
        const CString path = finder.GetFilePath();
        const CString name = finder.GetFileName();
        m_arrPluginPaths.Add(path);
        m_arrPluginNames.Add(name);

        HINSTANCE module = ::dlopen(CUtility::UTF16toUTF8(path).c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!module) {
            m_arrFailedPlugins.Add(name);
            continue;
        }
        const FARPROC pfnGetMetaInfo = FindEntry(module, "GetMetaInfo");
        const FARPROC pfnExecuteFunction = FindEntry(module, "ExecuteFunction");
        const FARPROC pfnValidateArguments = FindEntry(module, "ValidateArguments");
        const FARPROC pfnPlgCleanUp = FindEntry(module, "PlgCleanUp");
        if (!pfnGetMetaInfo || !pfnExecuteFunction || !pfnValidateArguments || !pfnPlgCleanUp) {
            m_arrFailedPlugins.Add(name);
            continue;
        }

        CPluginProxy proxy(pfnExecuteFunction, pfnValidateArguments, pfnGetMetaInfo, pfnPlgCleanUp);
        proxy.GetFunctions(m_mapFunctions);
        m_mapInstances[path] = module;
        m_mapPlugins[name] = proxy;
    }
}

// Every module gets its PlgCleanUp while all modules are still loaded, since
// one module's clean-up may still rely on another's code or data.
void CPluginRegistry::Unload() {
    for (auto* pair = m_mapPlugins.PGetFirstAssoc(); pair; pair = m_mapPlugins.PGetNextAssoc(pair)) {
        pair->value.PluginCleanUp();
    }
    m_mapPlugins.RemoveAll();
    m_mapFunctions.RemoveAll();
    for (const auto* pair = m_mapInstances.PGetFirstAssoc(); pair; pair = m_mapInstances.PGetNextAssoc(pair)) {
        ::dlclose(pair->value);
    }
    m_mapInstances.RemoveAll();
}

CVariable CPluginRegistry::InvokeFunction(const CString& function, const CVariableList& parameters) const {
    CVariable result;
    CPluginProxy proxy;
    if (m_mapFunctions.Lookup(function, proxy)) {
        result = proxy.InvokeFunction(function, parameters);
    }
    return result;
}

int CPluginRegistry::ValidateParameters(const CString& function, const CVariableList& parameters) const {
    CPluginProxy proxy;
    if (!m_mapFunctions.Lookup(function, proxy)) {
        return 0;
    }
    return proxy.ValidateParameters(function, parameters);
}

int CPluginRegistry::IsRegisteredFunction(const CString& function) const {
    return m_mapFunctions.PLookup(function) ? 1 : 0;
}

CModuleMetaInfo CPluginRegistry::GetPluginModuleMetaInfo(const CString& plugin) const {
    CModuleMetaInfo info;
    CPluginProxy proxy;
    if (m_mapPlugins.Lookup(plugin, proxy)) {
        info = proxy.GetPluginModuleMetaInfo();
    }
    return info;
}

void CPluginRegistry::GetPlugins(CStringArray& plugins) const { plugins = m_arrPluginNames; }

CString CPluginRegistry::GetPluginStatus(const CString& plugin) const {
    for (intptr_t i = 0; i < m_arrFailedPlugins.GetSize(); ++i) {
        if (m_arrFailedPlugins.GetAt(i) == plugin) {
            return CString(STATUS_FAILED);
        }
    }
    return CString(STATUS_LOADED);
}
