// CPluginRegistry: Load's sweep and its failure rules, look-ups by name,
// duplicate function names, Unload's order, a second Load, the shared instance.
#include <dlfcn.h>

#include <functional>

#include "plugins/plugin_test_support.h"

using namespace plugtest;

namespace {

const CString LOADED(u"loaded");
const CString FAILED(u"failed to load");

std::vector<std::string> Strings(std::initializer_list<const char*> items) { return {items.begin(), items.end()}; }

}  // namespace

// What one Load makes of each kind of entry in the plug-in directory.
TEST(PluginRegistry, LoadFailureTable) {
    const struct {
        const char* name;
        std::function<void(const ScratchPluginDir&)> fill;
        std::vector<std::string> listed;       // sorted
        std::vector<std::string> failed;       // sorted
        std::vector<std::string> registered;   // every function in the table
        std::vector<std::string> absent;       // functions of failed modules
    } rows[] = {
        {"empty directory", [](auto&) {}, {}, {}, {}, {}},
        {"no such directory",
         [](auto& d) {
             d.Link("alpha.twp");
             CUtility::SetPluginDir(CUtility::UTF8toUTF16(d.Dir() + "missing"));
         },
         {}, {}, {}, Strings({"Echo"})},
        {"text file with the extension", [](auto& d) { d.WriteText("fake.twp"); },
         Strings({"fake.twp"}), Strings({"fake.twp"}), {}, {}},
        {"directory named x.twp", [](auto& d) { d.MakeDir("x.twp"); }, {}, {}, {}, {}},
        {"library without PlgCleanUp", [](auto& d) { d.Link("nocleanup.twp"); },
         Strings({"nocleanup.twp"}), Strings({"nocleanup.twp"}), {}, Strings({"NoCleanUpFunction"})},
        {"entry points under C++ names", [](auto& d) { d.Link("mangled.twp"); },
         Strings({"mangled.twp"}), Strings({"mangled.twp"}), {}, Strings({"MangledFunction"})},
        {"other extensions", [](auto& d) { d.Link("alpha.twp", "alpha.so"); d.Link("alpha.twp", "alpha.twp.old"); },
         {}, {}, {}, Strings({"Echo"})},
        {"module without functions", [](auto& d) { d.Link("empty.twp"); }, Strings({"empty.twp"}), {}, {}, {}},
        {"all together",
         [](auto& d) {
             d.Link("alpha.twp");
             d.Link("empty.twp");
             d.Link("nocleanup.twp");
             d.Link("mangled.twp");
             d.WriteText("fake.twp");
             d.MakeDir("x.twp");
         },
         Strings({"alpha.twp", "empty.twp", "fake.twp", "mangled.twp", "nocleanup.twp"}),
         Strings({"fake.twp", "mangled.twp", "nocleanup.twp"}), Strings({"Echo", "alphaOnly"}),
         Strings({"NoCleanUpFunction", "MangledFunction"})},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ScratchPluginDir scratch;
        row.fill(scratch);
        CTestRegistry registry;
        registry.Load();

        const std::vector<std::string> names = registry.Names();
        EXPECT_EQ(Sorted(names), row.listed);
        EXPECT_EQ(Sorted(registry.Failed()), row.failed);
        std::vector<std::string> paths;
        for (const auto& name : names) paths.push_back(scratch.Dir() + name);
        EXPECT_EQ(registry.Paths(), paths);   // same files, same order

        const intptr_t loaded = static_cast<intptr_t>(row.listed.size() - row.failed.size());
        EXPECT_EQ(registry.PluginCount(), loaded);
        EXPECT_EQ(registry.InstanceCount(), loaded);
        EXPECT_EQ(registry.FunctionCount(), static_cast<intptr_t>(row.registered.size()));
        for (const auto& function : row.registered)
            EXPECT_EQ(registry.IsRegisteredFunction(CUtility::UTF8toUTF16(function)), 1) << function;
        for (const auto& function : row.absent)
            EXPECT_EQ(registry.IsRegisteredFunction(CUtility::UTF8toUTF16(function)), 0) << function;

        for (const auto& name : names) {
            const CString file = CUtility::UTF8toUTF16(name);
            const bool failed = std::count(row.failed.begin(), row.failed.end(), name) > 0;
            EXPECT_EQ(registry.GetPluginStatus(file), failed ? FAILED : LOADED) << name;
            const CModuleMetaInfo info = registry.GetPluginModuleMetaInfo(file);
            EXPECT_EQ(info.GetName().IsEmpty(), failed) << name;
            if (failed) {
                EXPECT_EQ(info.GetFunctionsMetaInfo().GetCount(), 0) << name;
            }
        }
        // A module that lacks an entry point is never called.
        EXPECT_EQ(scratch.Count("nocleanup GetMetaInfo"), 0);
    }
}

TEST(PluginRegistry, ExceptionFromGetMetaInfoEndsLoad) {
    ScratchPluginDir scratch;
    scratch.Link("throwing.twp");
    CTestRegistry registry;
    EXPECT_THROW(registry.Load(), std::runtime_error);
    EXPECT_EQ(registry.Names(), Strings({"throwing.twp"}));
    EXPECT_EQ(registry.GetPluginStatus(u"throwing.twp"), LOADED);   // listed, not marked failed
    EXPECT_EQ(registry.PluginCount(), 0);
    EXPECT_EQ(registry.InstanceCount(), 0);
}

TEST(PluginRegistry, LookupsByName) {
    ScratchPluginDir scratch;
    scratch.Link("alpha.twp");
    scratch.WriteText("fake.twp");
    CTestRegistry registry;
    registry.Load();
    ASSERT_EQ(scratch.Count("alpha GetMetaInfo"), 1);

    CVariableList arguments;
    arguments.Add(CVariable(CString(u"x")));
    const CVariable echo = registry.InvokeFunction(u"Echo", arguments);
    EXPECT_EQ(Element(echo, u"module"), "alpha");
    EXPECT_EQ(Element(echo, u"arg0"), "x");
    EXPECT_EQ(registry.InvokeFunction(u"alphaOnly", CVariableList()).ToString(0), CString(u"alpha"));
    EXPECT_EQ(registry.ValidateParameters(u"Echo", arguments), 3);   // unchanged, not just 1
    EXPECT_EQ(registry.ValidateParameters(u"alphaOnly", arguments), 1);

    for (const char16_t* unknown : {u"Nope", u"echo", u"ECHO", u"", u"Echo "}) {
        SCOPED_TRACE(CUtility::UTF16toUTF8(unknown));
        EXPECT_EQ(registry.IsRegisteredFunction(unknown), 0);
        EXPECT_EQ(registry.InvokeFunction(unknown, arguments).GetType(), VT_UNDEFINED);
        EXPECT_EQ(registry.ValidateParameters(unknown, arguments), 0);
    }

    const struct {
        const char16_t* plugin;
        const CString& status;
        const char16_t* metaName;   // empty: no metadata
    } rows[] = {
        {u"alpha.twp", LOADED, u"alpha"}, {u"ALPHA.twp", LOADED, u""}, {u"alpha", LOADED, u""},
        {u"fake.twp", FAILED, u""},       {u"FAKE.twp", LOADED, u""},  {u"fake.twp ", LOADED, u""},
        {u"never.twp", LOADED, u""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(CUtility::UTF16toUTF8(row.plugin));
        EXPECT_EQ(registry.GetPluginStatus(row.plugin), row.status);
        EXPECT_EQ(registry.GetPluginModuleMetaInfo(row.plugin).GetName(), CString(row.metaName));
    }
    // Each read of the metadata is a fresh call of the module.
    EXPECT_EQ(scratch.Count("alpha GetMetaInfo"), 2);
}

TEST(PluginRegistry, DuplicateFunctionNameGoesToTheModuleFoundLast) {
    ScratchPluginDir scratch;
    scratch.Link("alpha.twp");
    scratch.Link("beta.twp");
    CTestRegistry registry;
    registry.Load();
    const std::vector<std::string> names = registry.Names();
    ASSERT_EQ(names.size(), 2u);
    const std::string last = names[1].substr(0, names[1].find('.'));

    EXPECT_EQ(registry.IsRegisteredFunction(u"Echo"), 1);
    EXPECT_EQ(registry.FunctionCount(), 3);   // Echo, alphaOnly, betaOnly
    EXPECT_EQ(Element(registry.InvokeFunction(u"Echo", CVariableList()), u"module"), last);
    EXPECT_EQ(registry.InvokeFunction(u"alphaOnly", CVariableList()).ToString(0), CString(u"alpha"));
    EXPECT_EQ(registry.InvokeFunction(u"betaOnly", CVariableList()).ToString(0), CString(u"beta"));
    // The module that lost the name keeps it everywhere else.
    for (const char16_t* file : {u"alpha.twp", u"beta.twp"}) {
        SCOPED_TRACE(CUtility::UTF16toUTF8(file));
        CModuleMetaInfo::CFunctionMap functions = registry.GetPluginModuleMetaInfo(file).GetFunctionsMetaInfo();
        CString echo(u"Echo");
        EXPECT_NE(functions.PLookup(echo), nullptr);
        const std::string tag = CUtility::UTF16toUTF8(file).substr(0, 5) == "alpha" ? "alpha" : "beta";
        EXPECT_EQ(Element(registry.Plugin(file).InvokeFunction(u"Echo", CVariableList()), u"module"), tag);
    }
}

TEST(PluginRegistry, UnloadCleansUpEveryModuleBeforeReleasingAny) {
    ScratchPluginDir scratch;
    scratch.Link("alpha.twp");
    scratch.Link("beta.twp");
    scratch.Link("empty.twp");
    scratch.WriteText("fake.twp");

    CTestRegistry before;
    before.Unload();   // before any Load: nothing to do
    EXPECT_TRUE(scratch.Log().empty());

    CTestRegistry registry;
    registry.Load();
    registry.Unload();
    const std::vector<std::string> log = scratch.Log();
    for (const char* line : {"alpha GetMetaInfo", "beta GetMetaInfo", "alpha PlgCleanUp", "beta PlgCleanUp",
                             "alpha unloaded", "beta unloaded"})
        EXPECT_EQ(std::count(log.begin(), log.end(), line), 1) << line;
    const auto lastCleanUp = std::find_if(log.rbegin(), log.rend(), [](const std::string& line) {
        return line.ends_with("PlgCleanUp");
    });
    const auto firstRelease = std::find_if(log.begin(), log.end(), [](const std::string& line) {
        return line.ends_with("unloaded");
    });
    EXPECT_LT(log.rend() - lastCleanUp, firstRelease - log.begin() + 1) << testing::PrintToString(log);

    for (const char16_t* function : {u"Echo", u"alphaOnly", u"betaOnly"})
        EXPECT_EQ(registry.IsRegisteredFunction(function), 0);
    for (const char16_t* file : {u"alpha.twp", u"beta.twp", u"empty.twp"})
        EXPECT_TRUE(registry.GetPluginModuleMetaInfo(file).GetName().IsEmpty());
    EXPECT_EQ(Sorted(registry.Names()), Strings({"alpha.twp", "beta.twp", "empty.twp", "fake.twp"}));
    EXPECT_EQ(registry.GetPluginStatus(u"fake.twp"), FAILED);
    EXPECT_EQ(registry.InstanceCount() + registry.PluginCount() + registry.FunctionCount(), 0);

    registry.Unload();   // a second Unload does nothing
    EXPECT_EQ(scratch.Log(), log);

    {   // Destroying a loaded registry unloads it.
        CTestRegistry scoped;
        scoped.Load();
    }
    EXPECT_EQ(scratch.Count("alpha PlgCleanUp"), 2);
    EXPECT_EQ(scratch.Count("beta unloaded"), 2);
}

TEST(PluginRegistry, SecondLoadWithoutUnload) {
    ScratchPluginDir scratch;
    scratch.Link("alpha.twp");
    scratch.WriteText("fake.twp");
    scratch.WriteText("bad.twp");
    CTestRegistry registry;
    registry.Load();
    EXPECT_EQ(Sorted(registry.Failed()), Strings({"bad.twp", "fake.twp"}));

    scratch.Link("empty.twp", "fake.twp");   // fake.twp now loads
    registry.Load();
    EXPECT_EQ(Sorted(registry.Names()), Strings({"alpha.twp", "bad.twp", "fake.twp"}));   // built anew
    EXPECT_EQ(registry.Paths().size(), 3u);
    EXPECT_EQ(Sorted(registry.Failed()), Strings({"bad.twp", "bad.twp", "fake.twp"}));
    EXPECT_EQ(registry.GetPluginStatus(u"fake.twp"), FAILED);   // once failed, always reported failed
    EXPECT_EQ(registry.GetPluginModuleMetaInfo(u"fake.twp").GetName(), CString(u"Empty"));
    EXPECT_EQ(registry.PluginCount(), 2);
    EXPECT_EQ(registry.InstanceCount(), 2);
    EXPECT_EQ(registry.IsRegisteredFunction(u"Echo"), 1);
    EXPECT_EQ(scratch.Count("alpha GetMetaInfo"), 2);

    registry.Unload();
    EXPECT_EQ(scratch.Count("alpha PlgCleanUp"), 1);
    // One release for two loads: the loader still holds alpha once.
    EXPECT_EQ(scratch.Count("alpha unloaded"), 0);
    void* alpha = ::dlopen((scratch.Dir() + "alpha.twp").c_str(), RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(alpha, nullptr);
    ::dlclose(alpha);
    ::dlclose(alpha);
    EXPECT_EQ(scratch.Count("alpha unloaded"), 1);
}

TEST(PluginRegistry, GetInstanceMakesOneRegistryThatLoadsNothing) {
    ScratchPluginDir scratch;
    scratch.Link("alpha.twp");
    ASSERT_EQ(CTestRegistry::Slot(), nullptr);
    CPluginRegistry* registry = CPluginRegistry::GetInstance();
    ASSERT_NE(registry, nullptr);
    EXPECT_EQ(CPluginRegistry::GetInstance(), registry);
    EXPECT_EQ(CTestRegistry::Slot(), registry);
    CStringArray plugins;
    registry->GetPlugins(plugins);
    EXPECT_EQ(plugins.GetSize(), 0);
    EXPECT_EQ(registry->IsRegisteredFunction(u"Echo"), 0);
    EXPECT_TRUE(scratch.Log().empty());
    delete registry;
    CTestRegistry::Slot() = nullptr;
}

// Under AddressSanitizer the leak check at exit catches anything a cycle leaves.
TEST(PluginRegistry, LoadAndUnloadAHundredTimes) {
    ScratchPluginDir scratch;
    scratch.Link("alpha.twp");
    scratch.Link("beta.twp");
    scratch.Link("empty.twp");
    scratch.WriteText("fake.twp");
    scratch.MakeDir("x.twp");
    CTestRegistry registry;
    for (int round = 0; round < 100; ++round) {
        registry.Load();
        ASSERT_EQ(registry.Names().size(), 4u) << "round " << round;
        ASSERT_EQ(registry.FunctionCount(), 3) << "round " << round;
        ASSERT_EQ(registry.InvokeFunction(u"betaOnly", CVariableList()).ToString(0), CString(u"beta"));
        registry.Unload();
        ASSERT_EQ(registry.InstanceCount(), 0) << "round " << round;
    }
    EXPECT_EQ(registry.Failed().size(), 100u);   // fake.twp, once per Load
    for (const char* line : {"alpha GetMetaInfo", "beta PlgCleanUp", "beta unloaded"})
        EXPECT_EQ(scratch.Count(line), 100) << line;
}
