// CPluginRegistry and CPluginProxy against the test modules: Load's sweep and
// its failure rules, look-ups by name, copy-out of class results, duplicate
// function names, Unload's order, a second Load, repeated cycles.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "corelib/Utility.h"
#include "varlib/plugins/PluginRegistry.h"

namespace {

using Strings = std::vector<std::string>;
const CString LOADED(u"loaded");
const CString FAILED(u"failed to load");

Strings ToVector(const CStringArray& array, bool bSorted = false) {
    Strings out;
    for (intptr_t i = 0; i < array.GetSize(); ++i) out.push_back(CUtility::UTF16toUTF8(array.GetAt(i)));
    if (bSorted) std::sort(out.begin(), out.end());
    return out;
}

// A fresh directory that CUtility names as the plug-in directory while the
// object lives, and the log file that TW_TEST_PLUGIN_LOG names meanwhile.
class ScratchPluginDir {
public:
    ScratchPluginDir() {
        std::string templ = (std::filesystem::temp_directory_path() / "tw-plugins-XXXXXX").string();
        if (!::mkdtemp(templ.data())) throw std::runtime_error("mkdtemp failed");
        m_root = templ;
        std::filesystem::create_directory(m_root / "plugins");
        CUtility::SetPluginDir(CUtility::UTF8toUTF16(Dir()));
        ::setenv("TW_TEST_PLUGIN_LOG", (m_root / "calls.log").c_str(), 1);
    }
    ~ScratchPluginDir() {
        CUtility::SetPluginDir(CString());
        ::unsetenv("TW_TEST_PLUGIN_LOG");
        std::error_code ignored;
        std::filesystem::remove_all(m_root, ignored);
    }
    // The plug-in directory, with a trailing "/".
    std::string Dir() const { return (m_root / "plugins").string() + "/"; }
    // Links a test module built beside the tests ("alpha.twp") in, under its own name or another.
    void Link(const std::string& module, const std::string& as = std::string()) const {
        const auto link = m_root / "plugins" / (as.empty() ? module : as);
        std::filesystem::remove(link);
        std::filesystem::create_symlink(TW_TEST_MODULE_DIR + module, link);
    }
    // A file that is no library.
    void WriteText(const std::string& name) const { std::ofstream(m_root / "plugins" / name) << "not a library\n"; }
    void MakeDir(const std::string& name) const { std::filesystem::create_directory(m_root / "plugins" / name); }
    // The lines that the recording modules wrote so far, and how often one of them was written.
    Strings Log() const {
        Strings lines;
        std::ifstream in(m_root / "calls.log");
        for (std::string line; std::getline(in, line);) lines.push_back(line);
        return lines;
    }
    long Count(const std::string& line) const { return std::ranges::count(Log(), line); }

private:
    std::filesystem::path m_root;
};

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

std::string Text(const CVariable& value) { return CUtility::UTF16toUTF8(value.ToString(0)); }

// Text of an element of an ARRAY value; "<none>" if it is missing.
std::string Element(const CVariable& value, const char16_t* index) {
    CVariable* element = nullptr;
    return value.m_arrayValue.Lookup(index, element) && element ? Text(*element) : "<none>";
}

}  // namespace

// What one Load makes of each kind of entry in the plug-in directory.
TEST(PluginRegistry, LoadFailureTable) {
    const struct {
        const char* name;
        std::function<void(const ScratchPluginDir&)> fill;
        Strings listed;       // sorted
        Strings failed;       // sorted
        Strings registered;   // every function in the table
    } rows[] = {
        {"empty directory", [](auto&) {}, {}, {}, {}},
        {"no such directory",
         [](auto& d) {
             d.Link("alpha.twp");
             CUtility::SetPluginDir(CUtility::UTF8toUTF16(d.Dir() + "missing"));
         },
         {}, {}, {}},
        {"text file with the extension", [](auto& d) { d.WriteText("fake.twp"); }, {"fake.twp"}, {"fake.twp"}, {}},
        {"directory named x.twp", [](auto& d) { d.MakeDir("x.twp"); }, {}, {}, {}},
        {"library without PlgCleanUp", [](auto& d) { d.Link("nocleanup.twp"); }, {"nocleanup.twp"}, {"nocleanup.twp"}, {}},
        {"entry points under C++ names", [](auto& d) { d.Link("mangled.twp"); }, {"mangled.twp"}, {"mangled.twp"}, {}},
        {"other extensions", [](auto& d) { d.Link("alpha.twp", "alpha.so"); d.Link("alpha.twp", "alpha.twp.old"); },
         {}, {}, {}},
        {"module without functions", [](auto& d) { d.Link("empty.twp"); }, {"empty.twp"}, {}, {}},
        {"all together",
         [](auto& d) {
             for (const char* module : {"alpha.twp", "empty.twp", "nocleanup.twp", "mangled.twp"}) d.Link(module);
             d.WriteText("fake.twp");
             d.MakeDir("x.twp");
         },
         {"alpha.twp", "empty.twp", "fake.twp", "mangled.twp", "nocleanup.twp"},
         {"fake.twp", "mangled.twp", "nocleanup.twp"}, {"Echo", "alphaOnly"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ScratchPluginDir scratch;
        row.fill(scratch);
        CTestRegistry registry;
        registry.Load();

        const Strings names = registry.Names(false);
        EXPECT_EQ(registry.Names(), row.listed);
        EXPECT_EQ(registry.Failed(), row.failed);
        Strings paths;
        for (const auto& name : names) paths.push_back(scratch.Dir() + name);
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
            const bool failed = std::count(row.failed.begin(), row.failed.end(), name) > 0;
            EXPECT_EQ(registry.GetPluginStatus(file), failed ? FAILED : LOADED) << name;
            EXPECT_EQ(registry.GetPluginModuleMetaInfo(file).GetName().IsEmpty(), failed) << name;
        }
        EXPECT_EQ(scratch.Count("nocleanup GetMetaInfo"), 0);   // a module lacking an entry point is never called
    }
}

TEST(PluginRegistry, ExceptionFromGetMetaInfoEndsLoad) {
    ScratchPluginDir scratch;
    scratch.Link("throwing.twp");
    CTestRegistry registry;
    EXPECT_THROW(registry.Load(), std::runtime_error);
    EXPECT_EQ(registry.Names(), Strings{"throwing.twp"});
    EXPECT_EQ(registry.GetPluginStatus(u"throwing.twp"), LOADED);   // listed, not marked failed
    EXPECT_EQ(registry.PluginCount() + registry.InstanceCount(), 0);
}

// By exact name; a function that two modules declare goes to the one found
// last, and the other keeps it everywhere but in the function table.
TEST(PluginRegistry, LookupsByName) {
    ScratchPluginDir scratch;
    scratch.Link("alpha.twp");
    scratch.Link("beta.twp");
    scratch.WriteText("fake.twp");
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
    EXPECT_EQ(Text(registry.InvokeFunction(u"alphaOnly", arguments)), "alpha");
    EXPECT_EQ(Text(registry.InvokeFunction(u"betaOnly", arguments)), "beta");
    for (const char16_t* file : {u"alpha.twp", u"beta.twp"}) {
        SCOPED_TRACE(CUtility::UTF16toUTF8(file));
        CModuleMetaInfo::CFunctionMap functions = registry.GetPluginModuleMetaInfo(file).GetFunctionsMetaInfo();
        CString echoName(u"Echo");
        EXPECT_NE(functions.PLookup(echoName), nullptr);
        EXPECT_EQ(Element(registry.Plugin(file).InvokeFunction(u"Echo", arguments), u"module") + ".twp",
                  CUtility::UTF16toUTF8(file));
    }
    for (const char16_t* unknown : {u"echo", u"", u"Echo "}) {
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
        {u"alpha.twp", LOADED, u"alpha"}, {u"ALPHA.twp", LOADED, u""}, {u"fake.twp", FAILED, u""},
        {u"FAKE.twp", LOADED, u""}, {u"never.twp", LOADED, u""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(CUtility::UTF16toUTF8(row.plugin));
        EXPECT_EQ(registry.GetPluginStatus(row.plugin), row.status);
        EXPECT_EQ(registry.GetPluginModuleMetaInfo(row.plugin).GetName(), CString(row.metaName));
    }
    EXPECT_EQ(scratch.Count("alpha GetMetaInfo"), 3);   // each read of the metadata is a fresh call
}

// The caller gets its own copies, built and released by this library, not the objects the module built.
TEST(PluginProxy, ClassResultsAreCopiedOutOfTheModule) {
    ScratchPluginDir scratch;
    scratch.Link("alpha.twp");
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
    CVariable* pArg = nullptr;
    CVariable* pModule = nullptr;
    ASSERT_TRUE(result.m_arrayValue.Lookup(u"arg1", pArg) && result.m_arrayValue.Lookup(u"module", pModule));
    EXPECT_TRUE(*pArg == CVariable(nested));
    void* module = ::dlopen((scratch.Dir() + "alpha.twp").c_str(), RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(module, nullptr);
    const auto probe = [module](const char* name) { return reinterpret_cast<const void* (*)()>(::dlsym(module, name))(); };
    EXPECT_NE(static_cast<const void*>(&result), probe("TwTestLastBuilt"));
    EXPECT_NE(static_cast<const void*>(pModule), probe("TwTestLastElement"));
    ::dlclose(module);

    CModuleMetaInfo::CFunctionMap functions = proxy.GetPluginModuleMetaInfo().GetFunctionsMetaInfo();
    CModuleMetaInfo::CSignatureArray echo;
    CString echoName(u"Echo");
    ASSERT_TRUE(functions.GetCount() == 2 && functions.Lookup(echoName, echo) && echo.GetSize() == 2);
    EXPECT_EQ(echo.GetAt(1).GetDescription(), CString(u"Echo two texts"));
}

TEST(PluginRegistry, UnloadCleansUpEveryModuleBeforeReleasingAny) {
    ScratchPluginDir scratch;
    for (const char* module : {"alpha.twp", "beta.twp", "empty.twp"}) scratch.Link(module);
    scratch.WriteText("fake.twp");
    CTestRegistry registry;
    registry.Unload();   // before any Load: nothing to do
    EXPECT_TRUE(scratch.Log().empty());

    registry.Load();
    registry.Unload();
    const Strings log = scratch.Log();
    for (const char* line : {"alpha PlgCleanUp", "beta PlgCleanUp", "alpha unloaded", "beta unloaded"})
        EXPECT_EQ(std::count(log.begin(), log.end(), line), 1) << line;
    const auto endsWith = [](const char* tail) { return [tail](const std::string& line) { return line.ends_with(tail); }; };
    const auto lastCleanUp = std::find_if(log.rbegin(), log.rend(), endsWith("PlgCleanUp")).base();
    EXPECT_LE(lastCleanUp, std::find_if(log.begin(), log.end(), endsWith("unloaded"))) << testing::PrintToString(log);

    for (const char16_t* function : {u"Echo", u"alphaOnly", u"betaOnly"})
        EXPECT_EQ(registry.IsRegisteredFunction(function), 0);
    EXPECT_TRUE(registry.GetPluginModuleMetaInfo(u"alpha.twp").GetName().IsEmpty());
    EXPECT_EQ(registry.Names(), (Strings{"alpha.twp", "beta.twp", "empty.twp", "fake.twp"}));   // kept
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
    scratch.Link("empty.twp", "fake.twp");   // fake.twp now loads
    registry.Load();
    EXPECT_EQ(registry.Names(), (Strings{"alpha.twp", "bad.twp", "fake.twp"}));   // built anew
    EXPECT_EQ(registry.Paths().size(), 3u);
    EXPECT_EQ(registry.Failed(), (Strings{"bad.twp", "bad.twp", "fake.twp"}));
    EXPECT_EQ(registry.GetPluginStatus(u"fake.twp"), FAILED);   // once failed, always reported failed
    EXPECT_EQ(registry.GetPluginModuleMetaInfo(u"fake.twp").GetName(), CString(u"Empty"));
    EXPECT_EQ(registry.PluginCount(), 2);
    EXPECT_EQ(registry.InstanceCount(), 2);
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
    ScratchPluginDir scratch;
    for (const char* module : {"alpha.twp", "beta.twp", "empty.twp"}) scratch.Link(module);
    scratch.WriteText("fake.twp");
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
