// Helpers of the plug-in tests: the test modules, a scratch plug-in directory
// with the log the recording modules write, and a registry with its tables open.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "corelib/Utility.h"
#include "corelib/framework/StringArray.h"
#include "varlib/plugins/PluginRegistry.h"

namespace plugtest {

// Full path of a test module built beside the tests ("alpha.twp").
inline std::string ModulePath(const std::string& file) { return std::string(TW_TEST_MODULE_DIR) + file; }

inline std::vector<std::string> ToVector(const CStringArray& array) {
    std::vector<std::string> out;
    for (intptr_t i = 0; i < array.GetSize(); ++i) out.push_back(CUtility::UTF16toUTF8(array.GetAt(i)));
    return out;
}

inline std::vector<std::string> Sorted(std::vector<std::string> v) {
    std::sort(v.begin(), v.end());
    return v;
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
    ScratchPluginDir(const ScratchPluginDir&) = delete;
    ScratchPluginDir& operator=(const ScratchPluginDir&) = delete;

    // The plug-in directory, with a trailing "/".
    std::string Dir() const { return (m_root / "plugins").string() + "/"; }
    // Links a test module into the directory, under its own name or another.
    void Link(const std::string& module, std::string as = std::string()) const {
        if (as.empty()) as = module;
        std::filesystem::remove(m_root / "plugins" / as);
        std::filesystem::create_symlink(ModulePath(module), m_root / "plugins" / as);
    }
    // A file that is no library.
    void WriteText(const std::string& name) const {
        std::filesystem::remove(m_root / "plugins" / name);
        std::ofstream(m_root / "plugins" / name) << "not a shared object\n";
    }
    void MakeDir(const std::string& name) const { std::filesystem::create_directory(m_root / "plugins" / name); }
    // The lines that the recording modules wrote so far.
    std::vector<std::string> Log() const {
        std::vector<std::string> lines;
        std::ifstream in(m_root / "calls.log");
        for (std::string line; std::getline(in, line);) lines.push_back(line);
        return lines;
    }
    long Count(const std::string& line) const {
        const auto lines = Log();
        return std::count(lines.begin(), lines.end(), line);
    }

private:
    std::filesystem::path m_root;
};

// A registry of its own for each test, with its tables open to reading.
class CTestRegistry : public CPluginRegistry {
public:
    CTestRegistry() = default;

    intptr_t InstanceCount() const { return m_mapInstances.GetCount(); }
    intptr_t FunctionCount() const { return m_mapFunctions.GetCount(); }
    intptr_t PluginCount() const { return m_mapPlugins.GetCount(); }
    std::vector<std::string> Failed() const { return ToVector(m_arrFailedPlugins); }
    std::vector<std::string> Paths() const { return ToVector(m_arrPluginPaths); }
    std::vector<std::string> Names() const {
        CStringArray names;
        GetPlugins(names);
        return ToVector(names);
    }
    // The module's proxy by file name, as the report service reaches it.
    CPluginProxy Plugin(const char16_t* file) const {
        CPluginProxy proxy;
        EXPECT_TRUE(m_mapPlugins.Lookup(file, proxy)) << CString(file);
        return proxy;
    }
    static CPluginRegistry*& Slot() { return m_pInstance; }
};

// Text of a STRING element of an ARRAY value; "<none>" if it is missing.
inline std::string Element(const CVariable& value, const char16_t* index) {
    CVariable* element = nullptr;
    if (!value.m_arrayValue.Lookup(index, element) || !element) return "<none>";
    return CUtility::UTF16toUTF8(element->ToString(0));
}

}  // namespace plugtest
