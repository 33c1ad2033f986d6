// CPluginProxy: the four entry points of one plug-in module, and the only road
// by which the library calls into a module.
//
// A plain set of four addresses: it owns nothing, holds no module handle, and
// copies are shallow, so many copies of one proxy live side by side. It stays
// valid only while its module stays loaded; CPluginRegistry owns the modules.
// Each address is kept in the untyped form the loader's look-up gives it and
// cast to the entry point's true form at the call. The proxy checks nothing
// and catches nothing: an exception from a module passes through to the caller.
// It never changes after it is built, so it may be used from several threads;
// serialising calls into a module is the module's business.
#pragma once

#include "corelib/framework/Map.h"
#include "corelib/framework/String.h"
#include "varlib/metadata/ModuleMetaInfo.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableList.h"

// An exported address as the loader's look-up by name hands it out.
typedef int (*FARPROC)(void);

class CPluginProxy {
public:
    // The true forms of the four entry points a module exports as plain C names.
    typedef CModuleMetaInfo (*PFN_GETMETAINFO)();
    typedef CVariable (*PFN_EXECUTEFUNCTION)(const CString& function, const CVariableList& arguments);
    typedef int (*PFN_VALIDATEARGUMENTS)(const CString& function, const CVariableList& arguments);
    typedef void (*PFN_PLGCLEANUP)();

    // All four addresses null: a slot to copy into, and nothing else may be called on it.
    CPluginProxy();
    // Stores the addresses of ExecuteFunction, ValidateArguments, GetMetaInfo and PlgCleanUp, unchecked.
    CPluginProxy(FARPROC pfnExecuteFunction, FARPROC pfnValidateArguments, FARPROC pfnGetMetaInfo,
                 FARPROC pfnPlgCleanUp);
    // Copies the four addresses.
    CPluginProxy(const CPluginProxy& src);
    // Copies the four addresses.
    CPluginProxy& operator=(const CPluginProxy& src);
    virtual ~CPluginProxy();

    // Runs the module's ExecuteFunction and gives back a copy of what it built.
    CVariable InvokeFunction(const CString& function, const CVariableList& parameters) const;
    // The module's ValidateArguments, its result unchanged (any non-zero value means yes).
    int ValidateParameters(const CString& function, const CVariableList& parameters) const;
    // A fresh call of the module's GetMetaInfo, copied out; nothing is cached.
    CModuleMetaInfo GetPluginModuleMetaInfo() const;
    // Enters this proxy under every function name the module declares, overwriting
    // an entry of that name; names with no signatures count too. Always 1.
    int GetFunctions(CMap<CString, const char16_t*, CPluginProxy, CPluginProxy&>& functions) const;
    // The module's PlgCleanUp: the last call into it before it is released.
    void PluginCleanUp();

protected:
    // Copies the four addresses from src.
    void Copy(const CPluginProxy& src);

    FARPROC m_pfnExecuteFunction;
    FARPROC m_pfnValidateArguments;
    FARPROC m_pfnGetMetaInfo;
    FARPROC m_pfnPlgCleanUp;
};
