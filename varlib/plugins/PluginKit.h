// The plug-in kit: what a module includes to offer functions to the platform.
//
// A module is a shared object NAME.twp, built with tw_add_plugin(NAME sources...)
// from CMake (in this tree or against the installed package), that exports four
// plain C names. TW_DECLARE_PLUGIN() declares all four with the exact forms the
// registry calls; a definition with another form then fails to compile instead
// of crashing at the call. Write it once at namespace scope, then define the four:
//
//     #include "varlib/plugins/PluginKit.h"
//
//     TW_DECLARE_PLUGIN();
//
//     CModuleMetaInfo GetMetaInfo() {
//         CModuleMetaInfo::CFunctionMap functions;
//         CString name(u"Greet");
//         CFunctionSignature greet;   // describe the parameters for people here
//         functions[name].Add(greet);
//         CModuleMetaInfo info;
//         info.SetName(u"Hello");
//         info.SetFunctionsMetaInfo(functions);
//         return info;
//     }
//     int ValidateArguments(const CString& function, const CVariableList& arguments) {
//         return function == CString(u"Greet") && arguments.GetSize() == 1 ? 1 : 0;
//     }
//     CVariable ExecuteFunction(const CString& function, const CVariableList& arguments) {
//         if (!ValidateArguments(function, arguments)) return CVariable();   // not always validated first
//         return CVariable(CString(u"Hello, ") + arguments[0].ToString(0));
//     }
//     void PlgCleanUp() {}
//
// A module whose functions live in one class can let the kit write the four:
//
//     TW_IMPLEMENT_PLUGIN(CHelloModule);
//
// makes one CHelloModule at the first call (GetMetaInfo, during loading; the
// static's own guard makes that safe from any thread) and hands every call to
// its GetMetaInfo(), ExecuteFunction(function, arguments) and
// ValidateArguments(function, arguments); PlgCleanUp calls its CleanUp() when
// the class has one.
//
// The module links the same tw_varlib as the host and shares its heap: results
// cross by value and the library destroys them. The two reference arguments
// belong to the caller and are valid only during the call. GetMetaInfo is
// called once at load and again for every listing; PlgCleanUp exactly once,
// last, while every other module is still loaded.
#pragma once

#include <type_traits>

#include "corelib/framework/String.h"
#include "varlib/metadata/FunctionSignature.h"
#include "varlib/metadata/ModuleMetaInfo.h"
#include "varlib/metadata/VariableMetaInfo.h"
#include "varlib/plugins/PluginProxy.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableList.h"

// Exports a function under its plain C name, also when the module hides its
// other symbols (-fvisibility=hidden).
#define TW_PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))

// Declares the four entry points; definitions below it inherit the C name and
// the visibility. The assertions keep the kit and the registry's calls in step.
#define TW_DECLARE_PLUGIN()                                                                          \
    TW_PLUGIN_EXPORT CModuleMetaInfo GetMetaInfo();                                                  \
    TW_PLUGIN_EXPORT CVariable ExecuteFunction(const CString& function, const CVariableList& arguments); \
    TW_PLUGIN_EXPORT int ValidateArguments(const CString& function, const CVariableList& arguments);   \
    TW_PLUGIN_EXPORT void PlgCleanUp();                                                              \
    static_assert(std::is_same_v<decltype(&GetMetaInfo), CPluginProxy::PFN_GETMETAINFO>);           \
    static_assert(std::is_same_v<decltype(&ExecuteFunction), CPluginProxy::PFN_EXECUTEFUNCTION>);   \
    static_assert(std::is_same_v<decltype(&ValidateArguments), CPluginProxy::PFN_VALIDATEARGUMENTS>); \
    static_assert(std::is_same_v<decltype(&PlgCleanUp), CPluginProxy::PFN_PLGCLEANUP>)


namespace tw::plugin_kit {
template <class Module>
void CleanUpIfAny(Module& module) {
    if constexpr (requires { module.CleanUp(); }) module.CleanUp();
}
}  // namespace tw::plugin_kit

// Defines the four entry points over one instance of ModuleClass.
#define TW_IMPLEMENT_PLUGIN(ModuleClass)                                                             \
    TW_DECLARE_PLUGIN();                                                                             \
    static ModuleClass& TwPluginModule() {                                                           \
        static ModuleClass module;                                                                   \
        return module;                                                                               \
    }                                                                                                \
    CModuleMetaInfo GetMetaInfo() { return TwPluginModule().GetMetaInfo(); }                         \
    CVariable ExecuteFunction(const CString& function, const CVariableList& arguments) {            \
        return TwPluginModule().ExecuteFunction(function, arguments);                                \
    }                                                                                                \
    int ValidateArguments(const CString& function, const CVariableList& arguments) {                \
        return TwPluginModule().ValidateArguments(function, arguments);                              \
    }                                                                                                \
    void PlgCleanUp() { tw::plugin_kit::CleanUpIfAny(TwPluginModule()); }                            \
    static_assert(true, "")
