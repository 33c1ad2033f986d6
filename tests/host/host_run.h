// Runs twhost as a process and matches its output; the scratch-file helpers
// of the host tests.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "corelib/temp_dir.h"

struct HostRun {
    int status = -1;   // -1 when the process did not exit normally
    std::string out, err;
};

// twhost with the arguments, each quoted for the shell; stdout and stderr caught in files.
inline HostRun RunTwhost(const std::vector<std::string>& arguments) {
    TempDir scratch;
    std::string command = TWHOST_PATH;
    for (const std::string& argument : arguments) {
        command += " '";
        for (const char ch : argument)
            command += ch == '\'' ? std::string("'\\''") : std::string(1, ch);
        command += "'";
    }
    command += " >" + scratch.File("out") + " 2>" + scratch.File("err");
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadBytes(scratch.File("out")), ReadBytes(scratch.File("err"))};
}

inline std::string Describe(const HostRun& run) {
    return "status " + std::to_string(run.status) + "\n--- stdout\n" + run.out + "--- stderr\n" + run.err;
}

// The example plug-ins and the module that fails in every way it can, copied into dir.
inline void CopyPlugins(const std::filesystem::path& dir) {
    for (const char* name : {"netinfo.twp", "tables.twp"})
        std::filesystem::copy_file(std::string(TW_EXAMPLE_PLUGIN_DIR) + name, dir / name);
    std::filesystem::copy_file(TW_FAULTY_MODULE_PATH, dir / "faulty.twp");
}

inline long FileCount(const std::filesystem::path& dir) {
    return std::distance(std::filesystem::directory_iterator(dir), std::filesystem::directory_iterator());
}

// Whether text holds the parts of pattern in this order, "..." standing for
// anything between them; an empty pattern wants an empty text.
inline bool Has(const std::string& text, const std::string& pattern) {
    if (pattern.empty())
        return text.empty();
    std::size_t at = 0;
    for (std::size_t from = 0;;) {
        const std::size_t gap = pattern.find("...", from);
        const std::string part = pattern.substr(from, gap - from);
        if ((at = text.find(part, at)) == std::string::npos)
            return false;
        at += part.size();
        if (gap == std::string::npos)
            return true;
        from = gap + 3;
    }
}

// Runs each case with run and checks its exit status and that stdout and
// stderr hold what Has looks for; after each, check() may look at what the run left.
struct HostCase {
    std::vector<std::string> arguments;
    int status;
    std::string out, err;
};

inline void RunCases(const std::vector<HostCase>& cases, const std::function<void()>& check = {},
                     const std::function<HostRun(std::vector<std::string>)>& run = RunTwhost) {
    for (const HostCase& c : cases) {
        std::string shown;
        for (const std::string& argument : c.arguments)
            shown += argument + " ";
        SCOPED_TRACE(shown);
        const HostRun result = run(c.arguments);
        EXPECT_EQ(result.status, c.status) << Describe(result);
        EXPECT_TRUE(Has(result.out, c.out)) << Describe(result);
        EXPECT_TRUE(Has(result.err, c.err)) << Describe(result);
        if (check)
            check();
    }
}
