// CPluginProxy against real modules opened by hand: copy-out of class results,
// the validator's answer, GetFunctions on a filled table, shallow copies.
#include <dlfcn.h>

#include "plugins/plugin_test_support.h"
#include "varlib/plugins/PluginProxy.h"

using namespace plugtest;

namespace {

// A test module opened by hand for the life of the object.
class OpenModule {
public:
    explicit OpenModule(const std::string& file) : m_handle(::dlopen(ModulePath(file).c_str(), RTLD_NOW | RTLD_LOCAL)) {
        if (!m_handle) ADD_FAILURE() << ::dlerror();
    }
    // As the registry does: the module's clean-up is the last call before its release.
    ~OpenModule() {
        if (!m_handle) return;
        if (const FARPROC cleanUp = Entry("PlgCleanUp")) CPluginProxy(nullptr, nullptr, nullptr, cleanUp).PluginCleanUp();
        ::dlclose(m_handle);
    }
    OpenModule(const OpenModule&) = delete;
    OpenModule& operator=(const OpenModule&) = delete;

    FARPROC Entry(const char* name) const { return m_handle ? reinterpret_cast<FARPROC>(::dlsym(m_handle, name)) : nullptr; }
    CPluginProxy Proxy() const {
        return CPluginProxy(Entry("ExecuteFunction"), Entry("ValidateArguments"), Entry("GetMetaInfo"), Entry("PlgCleanUp"));
    }
    const void* Probe(const char* name) const {
        const auto probe = reinterpret_cast<const void* (*)()>(::dlsym(m_handle, name));
        return probe ? probe() : nullptr;
    }

private:
    void* m_handle;
};

using ProxyTable = CMap<CString, const char16_t*, CPluginProxy, CPluginProxy&>;

// The tag of the module behind a table entry, asked through the entry itself.
std::string ModuleOf(const ProxyTable& table, const char16_t* function) {
    CPluginProxy proxy;
    if (!table.Lookup(function, proxy)) return "<none>";
    return CUtility::UTF16toUTF8(proxy.InvokeFunction(u"", CVariableList()).ToString(0));
}

}  // namespace

TEST(PluginProxy, ClassResultsAreCopiedOutOfTheModule) {
    OpenModule alpha("alpha.twp");
    const CPluginProxy proxy = alpha.Proxy();

    CVariableArray nested;
    nested.InsertElement(u"x", new CVariable(1));
    nested.InsertElement(u"y", new CVariable(CString(u"two")));
    CVariableList arguments;
    arguments.Add(CVariable(CString(u"text")));
    arguments.Add(CVariable(nested));

    const CVariable result = proxy.InvokeFunction(u"Echo", arguments);
    ASSERT_TRUE(result.IsArray());
    EXPECT_EQ(Element(result, u"module"), "alpha");
    EXPECT_EQ(Element(result, u"function"), "Echo");
    EXPECT_EQ(Element(result, u"arg0"), "text");
    CVariable* arg1 = nullptr;
    ASSERT_TRUE(result.m_arrayValue.Lookup(u"arg1", arg1));
    EXPECT_TRUE(*arg1 == CVariable(nested));
    EXPECT_EQ(Element(*arg1, u"y"), "two");

    // Our own object and our own elements, not the ones the module built.
    EXPECT_NE(static_cast<const void*>(&result), alpha.Probe("TwTestLastBuilt"));
    CVariable* module = nullptr;
    ASSERT_TRUE(result.m_arrayValue.Lookup(u"module", module));
    EXPECT_NE(static_cast<const void*>(module), alpha.Probe("TwTestLastElement"));

    const CModuleMetaInfo info = proxy.GetPluginModuleMetaInfo();
    EXPECT_EQ(info.GetName(), CString(u"alpha"));
    EXPECT_EQ(info.GetDescription(), CString(u"Records its calls"));
    EXPECT_EQ(info.GetVersion(), CString(u"1.0"));
    CModuleMetaInfo::CFunctionMap functions = info.GetFunctionsMetaInfo();
    EXPECT_EQ(functions.GetCount(), 2);
    CModuleMetaInfo::CSignatureArray echo;
    CString echoName(u"Echo");
    ASSERT_TRUE(functions.Lookup(echoName, echo));
    ASSERT_EQ(echo.GetSize(), 2);
    EXPECT_EQ(echo.GetAt(0).GetDescription(), CString(u"Echo one text"));
    EXPECT_EQ(echo.GetAt(1).GetDescription(), CString(u"Echo two texts"));
}

TEST(PluginProxy, ValidateParametersHandsOnTheModulesAnswer) {
    OpenModule alpha("alpha.twp");
    const CPluginProxy proxy = alpha.Proxy();
    const struct {
        const char16_t* function;
        int arguments;
        int answer;
    } rows[] = {
        {u"Echo", 0, 2}, {u"Echo", 3, 5}, {u"alphaOnly", 0, 1}, {u"betaOnly", 0, 0}, {u"echo", 1, 0}, {u"", 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(CUtility::UTF16toUTF8(row.function) + " with " + std::to_string(row.arguments));
        CVariableList arguments;
        for (int i = 0; i < row.arguments; ++i) arguments.Add(CVariable(i));
        EXPECT_EQ(proxy.ValidateParameters(row.function, arguments), row.answer);
    }
}

TEST(PluginProxy, GetFunctionsEntersThisProxyUnderEachDeclaredName) {
    OpenModule alpha("alpha.twp"), beta("beta.twp"), empty("empty.twp");
    const struct {
        const char* name;
        const OpenModule* module;
        std::vector<const char16_t*> before;   // entered for beta first
        std::vector<std::pair<const char16_t*, std::string>> after;
    } rows[] = {
        {"no functions leave the table alone", &empty, {u"Echo"}, {{u"Echo", "beta"}}},
        {"into an empty table", &alpha, {}, {{u"Echo", "alpha"}, {u"alphaOnly", "alpha"}}},
        {"overwrites a name, keeps the others", &alpha, {u"Echo", u"Other"},
         {{u"Echo", "alpha"}, {u"Other", "beta"}, {u"alphaOnly", "alpha"}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ProxyTable table;
        CPluginProxy betaProxy = beta.Proxy();
        for (const char16_t* name : row.before) table[name] = betaProxy;
        EXPECT_EQ(row.module->Proxy().GetFunctions(table), 1);
        EXPECT_EQ(table.GetCount(), static_cast<intptr_t>(row.after.size()));
        for (const auto& [function, module] : row.after) EXPECT_EQ(ModuleOf(table, function), module);
    }
}

TEST(PluginProxy, CopiesCallTheSameModule) {
    ScratchPluginDir scratch;   // for the log
    OpenModule alpha("alpha.twp");
    auto original = std::make_unique<CPluginProxy>(alpha.Proxy());
    CPluginProxy copied(*original);
    CPluginProxy assigned;
    assigned = *original;
    original.reset();   // owns nothing: the module stays usable

    for (CPluginProxy* proxy : {&copied, &assigned}) {
        EXPECT_EQ(proxy->InvokeFunction(u"alphaOnly", CVariableList()).ToString(0), CString(u"alpha"));
        EXPECT_EQ(proxy->GetPluginModuleMetaInfo().GetName(), CString(u"alpha"));
    }
    EXPECT_EQ(scratch.Count("alpha GetMetaInfo"), 2);   // nothing cached
    copied.PluginCleanUp();
    EXPECT_EQ(scratch.Count("alpha PlgCleanUp"), 1);
}
