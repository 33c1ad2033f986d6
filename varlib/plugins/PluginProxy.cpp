#include "varlib/plugins/PluginProxy.h"

namespace {

// Gives an untyped entry address its true form. The detour through void(*)()
// tells the compiler the change of type is meant: the address was exported
// with exactly the form T names.
template <class T>
T EntryPoint(FARPROC address) {
    return reinterpret_cast<T>(reinterpret_cast<void (*)()>(address));
}

}  // namespace

CPluginProxy::CPluginProxy()
    : m_pfnExecuteFunction(nullptr),
      m_pfnValidateArguments(nullptr),
      m_pfnGetMetaInfo(nullptr),
      m_pfnPlgCleanUp(nullptr) {}

CPluginProxy::CPluginProxy(FARPROC pfnExecuteFunction, FARPROC pfnValidateArguments, FARPROC pfnGetMetaInfo,
                           FARPROC pfnPlgCleanUp)
    : m_pfnExecuteFunction(pfnExecuteFunction),
      m_pfnValidateArguments(pfnValidateArguments),
      m_pfnGetMetaInfo(pfnGetMetaInfo),
      m_pfnPlgCleanUp(pfnPlgCleanUp) {}

CPluginProxy::CPluginProxy(const CPluginProxy& src) : CPluginProxy() { Copy(src); }

CPluginProxy& CPluginProxy::operator=(const CPluginProxy& src) {
    Copy(src);
    return *this;
}

CPluginProxy::~CPluginProxy() = default;

void CPluginProxy::Copy(const CPluginProxy& src) {
    m_pfnExecuteFunction = src.m_pfnExecuteFunction;
    m_pfnValidateArguments = src.m_pfnValidateArguments;
    m_pfnGetMetaInfo = src.m_pfnGetMetaInfo;
    m_pfnPlgCleanUp = src.m_pfnPlgCleanUp;
}

// A class result crosses the boundary by value: the module constructs it in
// storage the caller gives, and the caller copies it into its own result and
// destroys the module's object here, so everything the module allocated for it
// is released by this library.
CVariable CPluginProxy::InvokeFunction(const CString& function, const CVariableList& parameters) const {
    const CVariable built = EntryPoint<PFN_EXECUTEFUNCTION>(m_pfnExecuteFunction)(function, parameters);
    CVariable result(built);
    return result;
}

int CPluginProxy::ValidateParameters(const CString& function, const CVariableList& parameters) const {
    return EntryPoint<PFN_VALIDATEARGUMENTS>(m_pfnValidateArguments)(function, parameters);
}

CModuleMetaInfo CPluginProxy::GetPluginModuleMetaInfo() const {
    const CModuleMetaInfo built = EntryPoint<PFN_GETMETAINFO>(m_pfnGetMetaInfo)();
    CModuleMetaInfo result(built);
    return result;
}

int CPluginProxy::GetFunctions(CMap<CString, const char16_t*, CPluginProxy, CPluginProxy&>& functions) const {
    const CModuleMetaInfo info = GetPluginModuleMetaInfo();
    const CModuleMetaInfo::CFunctionMap table = info.GetFunctionsMetaInfo();
    for (const auto* pair = table.PGetFirstAssoc(); pair; pair = table.PGetNextAssoc(pair)) {
        functions[pair->key] = *this;
    }
    return 1;
}

void CPluginProxy::PluginCleanUp() { EntryPoint<PFN_PLGCLEANUP>(m_pfnPlgCleanUp)(); }
