// A scratch plug-in directory of test modules, shared by the registry's and
// the report service's tests.
#pragma once

#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "corelib/Utility.h"
#include "corelib/temp_dir.h"

using Strings = std::vector<std::string>;

// A fresh directory that CUtility names as the plug-in directory while the
// object lives, and the log file that TW_TEST_PLUGIN_LOG names meanwhile.
class ScratchPluginDir {
public:
    // Each entry: "alpha.twp" links that test module in, "x.twp=alpha.twp" under
    // another name; "x.twp!" is a text file, "x.twp/" a directory.
    explicit ScratchPluginDir(const Strings& entries) {
        std::filesystem::create_directory(Dir());
        CUtility::SetPluginDir(CUtility::UTF8toUTF16(Dir()));
        ::setenv("TW_TEST_PLUGIN_LOG", m_root.File("calls.log").c_str(), 1);
        for (const std::string& entry : entries)
            Add(entry);
    }
    ~ScratchPluginDir() {
        CUtility::SetPluginDir(CString());
        ::unsetenv("TW_TEST_PLUGIN_LOG");
    }
    void Add(const std::string& entry) const {
        const std::string name = entry.substr(0, entry.find_first_of("=!/"));
        std::filesystem::remove(Dir() + name);
        if (entry.ends_with("!"))
            WriteBytes(Dir() + name, "not a library\n");
        else if (entry.ends_with("/"))
            std::filesystem::create_directory(Dir() + name);
        else
            std::filesystem::create_symlink(TW_TEST_MODULE_DIR + entry.substr(entry.find('=') + 1), Dir() + name);
    }
    std::string Dir() const { return m_root.File("plugins/"); }
    // How often the recording modules wrote the line so far.
    long Count(const std::string& line) const { return std::ranges::count(Log(), line); }
    Strings Log() const {
        Strings lines;
        std::istringstream in(ReadBytes(m_root.File("calls.log")));
        for (std::string line; std::getline(in, line);)
            lines.push_back(line);
        return lines;
    }

private:
    TempDir m_root;
};
