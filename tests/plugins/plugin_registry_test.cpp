// CPluginRegistry and CPluginProxy against the test modules: Load's sweep and
// its failure rules, look-ups by name, copy-out of class results, duplicate
// function names, Unload's order, a second Load, repeated cycles.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "corelib/Utility.h"
#include "plugins/scratch_plugin_dir.h"
#include "varlib/plugins/PluginRegistry.h"

namespace {

const CString LOADED(u"loaded");
const CString FAILED(u"failed to load");

std::string Utf8(const CString& text) { return CUtility::UTF16toUTF8(text); }

Strings ToVector(const CStringArray& array, bool bSorted = false) {
    Strings out;
    for (intptr_t i = 0; i < array.GetSize(); ++i)
        out.push_back(Utf8(array.GetAt(i)));
    if (bSorted)
        std::sort(out.begin(), out.end());
    return out;
}

// A registry of its own for each test, with its tables open to reading.
class CTestRegistry : public CPluginRegistry {
public:
    intptr_t InstanceCount() const { return m_mapInstances.GetCount(); }
    intptr_t FunctionCount() const { return m_mapFunctions.GetCount(); }
    intptr_t PluginCount() const { return m_mapPlugins.GetCount(); }
    Strings Failed() const { return ToVector(m_arrFailedPlugins, true); }
    Strings Paths() const { return ToVector(m_arrPluginPaths); }
    Strings Names(bool bSorted = true) const {
        CStringArray names;
        GetPlugins(names);
        return ToVector(names, bSorted);
    }
    // The module's proxy by file name, as the report service reaches it.
    CPluginProxy Plugin(const char16_t* file) const {
        CPluginProxy proxy;
        EXPECT_TRUE(m_mapPlugins.Lookup(file, proxy)) << CString(file);
        return proxy;
    }
};

std::string Text(const CVariable& value) { return Utf8(value.ToString(0)); }

// Text of an element of an ARRAY value; "<none>" if it is missing.
std::string Element(const CVariable& value, const char16_t* index) {
    CVariable* element = nullptr;
    return value.m_arrayValue.Lookup(index, element) && element ? Text(*element) : "<none>";
}

}  // namespace

// What one Load makes of each kind of entry in the plug-in directory.
TEST(PluginRegistry, LoadFailureTable) {
    const struct {
        Strings entries;
        Strings listed;       // sorted
        Strings failed;       // sorted
        Strings registered;   // every function in the table
    } rows[] = {
        {{}, {}, {}, {}},
        {{"fake.twp!"}, {"fake.twp"}, {"fake.twp"}, {}},
        {{"x.twp/"}, {}, {}, {}},
        {{"nocleanup.twp"}, {"nocleanup.twp"}, {"nocleanup.twp"}, {}},   // lacks PlgCleanUp
        {{"mangled.twp"}, {"mangled.twp"}, {"mangled.twp"}, {}},         // entry points under C++ names
        {{"alpha.so=alpha.twp", "alpha.twp.old=alpha.twp"}, {}, {}, {}},
        {{"empty.twp"}, {"empty.twp"}, {}, {}},
        {{"alpha.twp", "empty.twp", "nocleanup.twp", "mangled.twp", "fake.twp!", "x.twp/"},
         {"alpha.twp", "empty.twp", "fake.twp", "mangled.twp", "nocleanup.twp"},
         {"fake.twp", "mangled.twp", "nocleanup.twp"}, {"Echo", "alphaOnly"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.entries));
        ScratchPluginDir scratch(row.entries);
        CTestRegistry registry;
        registry.Load();

        const Strings names = registry.Names(false);
        EXPECT_EQ(registry.Names(), row.listed);
        EXPECT_EQ(registry.Failed(), row.failed);
        Strings paths;
        for (const auto& name : names)
            paths.push_back(scratch.Dir() + name);
        EXPECT_EQ(registry.Paths(), paths);   // same files, same order

        const auto loaded = static_cast<intptr_t>(row.listed.size() - row.failed.size());
        EXPECT_EQ(registry.PluginCount(), loaded);
        EXPECT_EQ(registry.InstanceCount(), loaded);
        EXPECT_EQ(registry.FunctionCount(), static_cast<intptr_t>(row.registered.size()));
        for (const std::string function : {"Echo", "alphaOnly", "NoCleanUpFunction", "MangledFunction"})
            EXPECT_EQ(registry.IsRegisteredFunction(CUtility::UTF8toUTF16(function)),
                      std::ranges::count(row.registered, function)) << function;
        for (const auto& name : names) {
            const CString file = CUtility::UTF8toUTF16(name);
            const bool failed = std::ranges::count(row.failed, name) > 0;
            EXPECT_EQ(registry.GetPluginStatus(file), failed ? FAILED : LOADED) << name;
            EXPECT_EQ(registry.GetPluginModuleMetaInfo(file).GetName().IsEmpty(), failed) << name;
        }
        EXPECT_EQ(scratch.Count("nocleanup GetMetaInfo"), 0);   // a module lacking an entry point is never called
    }
    ScratchPluginDir elsewhere({"alpha.twp"});
    CUtility::SetPluginDir(CUtility::UTF8toUTF16(elsewhere.Dir() + "missing"));
    CTestRegistry registry;
    registry.Load();   // no such directory: nothing found
    EXPECT_TRUE(registry.Names().empty() && registry.PluginCount() == 0);
}

// An exception from GetMetaInfo ends Load: the module is listed, neither loaded nor marked failed.
TEST(PluginRegistry, ExceptionFromGetMetaInfoEndsLoad) {
    ScratchPluginDir scratch({"throwing.twp"});
    CTestRegistry registry;
    EXPECT_THROW(registry.Load(), std::runtime_error);
    EXPECT_EQ(registry.Names(), Strings{"throwing.twp"});
    EXPECT_EQ(registry.GetPluginStatus(u"throwing.twp"), LOADED);
    EXPECT_EQ(registry.PluginCount() + registry.InstanceCount(), 0);
}

// By exact name; a function that two modules declare goes to the one found
// last, and the other keeps it everywhere but in the function table.
TEST(PluginRegistry, LookupsByName) {
    ScratchPluginDir scratch({"alpha.twp", "beta.twp", "fake.twp!"});
    CTestRegistry registry;
    registry.Load();
    const Strings names = registry.Names(false);
    ASSERT_EQ(names.size(), 3u);
    const std::string last = names[names[2] == "fake.twp" ? 1 : 2];

    CVariableList arguments;
    arguments.Add(CVariable(CString(u"x")));
    const CVariable echo = registry.InvokeFunction(u"Echo", arguments);
    EXPECT_EQ(Element(echo, u"module") + ".twp " + Element(echo, u"arg0"), last + " x");
    EXPECT_EQ(registry.ValidateParameters(u"Echo", arguments), 3);   // the module's answer, not just 1
    EXPECT_EQ(registry.FunctionCount(), 3);                          // Echo, alphaOnly, betaOnly
    EXPECT_EQ(Text(registry.InvokeFunction(u"alphaOnly", arguments)) +
                  Text(registry.InvokeFunction(u"betaOnly", arguments)), "alphabeta");
    for (const char16_t* file : {u"alpha.twp", u"beta.twp"}) {
        CString echoName(u"Echo");
        EXPECT_NE(registry.GetPluginModuleMetaInfo(file).GetFunctionsMetaInfo().PLookup(echoName), nullptr);
        EXPECT_EQ(Element(registry.Plugin(file).InvokeFunction(u"Echo", arguments), u"module") + ".twp", Utf8(file));
    }
    for (const char16_t* unknown : {u"echo", u"", u"Echo "}) {
        EXPECT_EQ(registry.IsRegisteredFunction(unknown) + registry.ValidateParameters(unknown, arguments), 0);
        EXPECT_EQ(registry.InvokeFunction(unknown, arguments).GetType(), VT_UNDEFINED);
    }
    const struct {
        const char16_t* plugin;
        const CString& status;
        const char16_t* metaName;   // empty: no metadata
    } rows[] = {{u"alpha.twp", LOADED, u"alpha"}, {u"ALPHA.twp", LOADED, u""}, {u"fake.twp", FAILED, u""},
                {u"FAKE.twp", LOADED, u""},       {u"never.twp", LOADED, u""}};
    for (const auto& row : rows) {
        SCOPED_TRACE(Utf8(row.plugin));
        EXPECT_EQ(registry.GetPluginStatus(row.plugin), row.status);
        EXPECT_EQ(registry.GetPluginModuleMetaInfo(row.plugin).GetName(), CString(row.metaName));
    }
    EXPECT_EQ(scratch.Count("alpha GetMetaInfo"), 3);   // each read of the metadata is a fresh call
}

// The caller gets its own copies, built and released by this library, not the objects the module built.
TEST(PluginProxy, ClassResultsAreCopiedOutOfTheModule) {
    ScratchPluginDir scratch({"alpha.twp"});
    CTestRegistry registry;
    registry.Load();
    const CPluginProxy proxy = registry.Plugin(u"alpha.twp");
    CVariableArray nested;
    nested.InsertElement(u"y", new CVariable(CString(u"two")));
    CVariableList arguments;
    arguments.Add(CVariable(CString(u"text")));
    arguments.Add(CVariable(nested));

    const CVariable result = proxy.InvokeFunction(u"Echo", arguments);
    EXPECT_EQ(Element(result, u"module") + " " + Element(result, u"function") + " " + Element(result, u"arg0"),
              "alpha Echo text");
    CVariable *pArg = nullptr, *pModule = nullptr;
    ASSERT_TRUE(result.m_arrayValue.Lookup(u"arg1", pArg) && result.m_arrayValue.Lookup(u"module", pModule));
    EXPECT_TRUE(*pArg == CVariable(nested));
    void* module = ::dlopen((scratch.Dir() + "alpha.twp").c_str(), RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(module, nullptr);
    const auto probe = [module](const char* name) { return reinterpret_cast<const void* (*)()>(::dlsym(module, name))(); };
    EXPECT_NE(static_cast<const void*>(&result), probe("TwTestLastBuilt"));
    EXPECT_NE(static_cast<const void*>(pModule), probe("TwTestLastElement"));
    ::dlclose(module);

    CModuleMetaInfo::CSignatureArray echo;
    CString echoName(u"Echo");
    ASSERT_TRUE(proxy.GetPluginModuleMetaInfo().GetFunctionsMetaInfo().Lookup(echoName, echo) && echo.GetSize() == 2);
    EXPECT_EQ(echo.GetAt(1).GetDescription(), CString(u"Echo two texts"));
}

TEST(PluginRegistry, UnloadCleansUpEveryModuleBeforeReleasingAny) {
    ScratchPluginDir scratch({"alpha.twp", "beta.twp", "empty.twp", "fake.twp!"});
    CTestRegistry registry;
    registry.Unload();   // before any Load: nothing to do
    EXPECT_TRUE(scratch.Log().empty());

    registry.Load();
    registry.Unload();
    const Strings log = scratch.Log();
    for (const char* line : {"alpha PlgCleanUp", "beta PlgCleanUp", "alpha unloaded", "beta unloaded"})
        EXPECT_EQ(std::ranges::count(log, line), 1) << line;
    const auto endsWith = [](const char* tail) { return [tail](const std::string& line) { return line.ends_with(tail); }; };
    const auto lastCleanUp = std::find_if(log.rbegin(), log.rend(), endsWith("PlgCleanUp")).base();
    EXPECT_LE(lastCleanUp, std::find_if(log.begin(), log.end(), endsWith("unloaded"))) << testing::PrintToString(log);

    EXPECT_EQ(registry.IsRegisteredFunction(u"Echo"), 0);
    EXPECT_TRUE(registry.GetPluginModuleMetaInfo(u"alpha.twp").GetName().IsEmpty());
    EXPECT_EQ(registry.Names(), (Strings{"alpha.twp", "beta.twp", "empty.twp", "fake.twp"}));   // kept
    EXPECT_EQ(registry.GetPluginStatus(u"fake.twp"), FAILED);
    EXPECT_EQ(registry.InstanceCount() + registry.PluginCount() + registry.FunctionCount(), 0);
    registry.Unload();   // a second Unload does nothing
    EXPECT_EQ(scratch.Log(), log);

    CTestRegistry().Load();   // destroying a loaded registry unloads it
    EXPECT_EQ(std::to_string(scratch.Count("alpha PlgCleanUp")) + std::to_string(scratch.Count("beta unloaded")), "22");
}

TEST(PluginRegistry, SecondLoadWithoutUnload) {
    ScratchPluginDir scratch({"alpha.twp", "fake.twp!", "bad.twp!"});
    CTestRegistry registry;
    registry.Load();
    scratch.Add("fake.twp=empty.twp");   // fake.twp now loads
    registry.Load();
    EXPECT_EQ(registry.Names(), (Strings{"alpha.twp", "bad.twp", "fake.twp"}));   // built anew
    EXPECT_EQ(registry.Paths().size(), 3u);
    EXPECT_EQ(registry.Failed(), (Strings{"bad.twp", "bad.twp", "fake.twp"}));
    EXPECT_EQ(registry.GetPluginStatus(u"fake.twp"), FAILED);   // once failed, always reported failed
    EXPECT_EQ(registry.GetPluginModuleMetaInfo(u"fake.twp").GetName(), CString(u"Empty"));
    EXPECT_EQ(registry.PluginCount() + registry.InstanceCount(), 4);
    EXPECT_EQ(scratch.Count("alpha GetMetaInfo"), 2);

    registry.Unload();
    EXPECT_EQ(scratch.Count("alpha PlgCleanUp"), 1);
    EXPECT_EQ(scratch.Count("alpha unloaded"), 0);   // one release for two loads: the loader still holds alpha once
    void* alpha = ::dlopen((scratch.Dir() + "alpha.twp").c_str(), RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(alpha, nullptr);
    ::dlclose(alpha);
    ::dlclose(alpha);
    EXPECT_EQ(scratch.Count("alpha unloaded"), 1);
}

// Under AddressSanitizer the leak check at exit catches anything a cycle leaves.
TEST(PluginRegistry, LoadAndUnloadAHundredTimes) {
    ScratchPluginDir scratch({"alpha.twp", "beta.twp", "empty.twp", "fake.twp!"});
    CTestRegistry registry;
    for (int round = 0; round < 100; ++round) {
        registry.Load();
        ASSERT_EQ(registry.FunctionCount(), 3) << "round " << round;
        ASSERT_EQ(Text(registry.InvokeFunction(u"betaOnly", CVariableList())), "beta") << "round " << round;
        registry.Unload();
        ASSERT_EQ(registry.InstanceCount(), 0) << "round " << round;
    }
    EXPECT_EQ(registry.Failed().size(), 100u);   // fake.twp, once per Load
    for (const char* line : {"alpha GetMetaInfo", "beta PlgCleanUp", "beta unloaded"})
        EXPECT_EQ(scratch.Count(line), 100) << line;
}

// The shared slot released as CReportManager::CleanUp does it: through the
// virtual destructor, which unloads, and back to null.
class CSharedSlot : public CPluginRegistry {
public:
    static void CleanUp() {
        delete m_pInstance;
        m_pInstance = nullptr;
    }
};

// Releasing without an instance does nothing, twice; the next GetInstance makes a fresh, empty object.
TEST(PluginRegistry, SharedInstanceIsMadeOnceAndReleasedWithItsModules) {
    ScratchPluginDir scratch({"alpha.twp"});
    CSharedSlot::CleanUp();
    CSharedSlot::CleanUp();
    CPluginRegistry* first = CPluginRegistry::GetInstance();
    ASSERT_TRUE(first != nullptr && CPluginRegistry::GetInstance() == first);
    EXPECT_TRUE(scratch.Log().empty()) << "GetInstance loads nothing";
    first->Load();
    CSharedSlot::CleanUp();
    CSharedSlot::CleanUp();
    EXPECT_EQ(std::to_string(scratch.Count("alpha PlgCleanUp")) + std::to_string(scratch.Count("alpha unloaded")), "11");
    CStringArray names;
    CPluginRegistry::GetInstance()->GetPlugins(names);
    EXPECT_EQ(names.GetSize() + CPluginRegistry::GetInstance()->IsRegisteredFunction(u"Echo"), 0);
    CSharedSlot::CleanUp();
}
