// twhost as a process: its output and exit status on the example plug-ins
// and on a module that fails in every way it can.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "corelib/Utility.h"
#include "corelib/XML.h"
#include "varlib/formats/JSON.h"
#include "varlib/values/VariableArray.h"

extern char** environ;

namespace fs = std::filesystem;

namespace {

struct HostRun {
    int status = -1;   // the exit status; -1 when the process did not exit normally
    std::string out;
    std::string err;
};

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// A scratch directory, removed with the object.
class TempDir {
public:
    TempDir() {
        std::string pattern = (fs::temp_directory_path() / "twhost_test_XXXXXX").string();
        if (mkdtemp(pattern.data()) != nullptr)
            m_path = pattern;
    }
    ~TempDir() {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    const fs::path& Path() const { return m_path; }

private:
    fs::path m_path;
};

// Runs twhost with the arguments; stdout and stderr go to files, so that a
// large output can't fill a pipe and stall the child.
HostRun RunHost(const std::vector<std::string>& arguments) {
    TempDir scratch;
    const std::string outPath = (scratch.Path() / "out").string();
    const std::string errPath = (scratch.Path() / "err").string();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);

    std::vector<std::string> all{TWHOST_PATH};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& argument : all)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    HostRun run;
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, TWHOST_PATH, &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) {
        ADD_FAILURE() << "cannot start " << TWHOST_PATH;
        return run;
    }
    int status = 0;
    waitpid(pid, &status, 0);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.out = ReadFile(outPath);
    run.err = ReadFile(errPath);
    return run;
}

std::string Describe(const HostRun& run) {
    return "status " + std::to_string(run.status) + "\n--- stdout\n" + run.out + "--- stderr\n" + run.err;
}

// The example plug-ins, as the build tree holds them.
const std::string kExamples = TW_EXAMPLE_PLUGIN_DIR;

// A plug-in directory with the failing module and a file that is no library.
class FaultyPlugins : public ::testing::Test {
protected:
    void SetUp() override {
        fs::copy_file(TW_FAULTY_MODULE_PATH, m_dir.Path() / "faulty.twp");
        std::ofstream(m_dir.Path() / "broken.twp") << "not a shared object";
    }
    HostRun Host(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"--plugin-dir", m_dir.Path().string()});
        return RunHost(arguments);
    }
    TempDir m_dir;
};

}  // namespace

TEST(Twhost, ListsTheExamplePlugins) {
    const HostRun run = RunHost({"--plugin-dir", kExamples, "plugins"});
    ASSERT_EQ(run.status, 0) << Describe(run);
    for (const char* expected : {
             "netinfo.twp: loaded",
             "tables.twp: loaded",
             "  Module:      netinfo\n  Version:     1.0.0\n",
             "    InterfaceList() -> ARRAY\n",
             "    InterfaceList(STRING pattern) -> ARRAY\n",
             "    TableReport(ARRAY rows, STRING title, STRING sortColumn, INT descending) -> STRING\n",
         }) {
        EXPECT_NE(run.out.find(expected), std::string::npos) << expected << "\n" << Describe(run);
    }
    // Sorted: the listing reads the same on every run.
    EXPECT_LT(run.out.find("netinfo.twp"), run.out.find("tables.twp"));
    EXPECT_LT(run.out.find("InterfaceList()"), run.out.find("InterfaceReport()"));
    EXPECT_EQ(run.err, "");
}

TEST(Twhost, ListsTheModuleInformationAsXml) {
    const HostRun run = RunHost({"plugins", "--xml", "--plugin-dir", kExamples});
    ASSERT_EQ(run.status, 0) << Describe(run);
    CXML root(CUtility::UTF8toUTF16(run.out), CString(u"PLUGINS"));
    ASSERT_TRUE(root.IsValid()) << run.out;
    std::vector<std::string> names;
    for (CXML plugin = root.GetFirstChild(); plugin.IsValid(); plugin = root.GetNextChild()) {
        names.push_back(plugin.GetAttr(u"Name", u"").ToUtf8());
        EXPECT_EQ(plugin.GetAttr(u"Status", u""), CString(u"loaded"));
        CXML module = plugin.GetChild(u"ModuleMetaInfo");
        ASSERT_TRUE(module.IsValid());
        CXML functions = module.GetChild(u"FUNCTIONS");
        EXPECT_GE(functions.GetChildCount(), 2);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"netinfo.twp", "tables.twp"}));
}

TEST(Twhost, CallsAFunctionAndPrintsJson) {
    const HostRun run = RunHost({"--plugin-dir", kExamples, "call", "InterfaceList", "[\"lo\"]"});
    ASSERT_EQ(run.status, 0) << Describe(run);
    int ok = 0;
    const CVariable rows = CJSON::Parse(CUtility::UTF8toUTF16(run.out), ok);
    ASSERT_TRUE(ok && rows.IsArray()) << run.out;
    // Every Linux network namespace has a loopback device.
    CVariable* lo = nullptr;
    ASSERT_TRUE(rows.m_arrayValue.Lookup(u"lo", lo)) << run.out;
    EXPECT_EQ(rows.m_arrayValue.GetCount(), 1);
    CVariable* name = nullptr;
    ASSERT_TRUE(lo->m_arrayValue.Lookup(u"Name", name));
    EXPECT_EQ(name->m_strValue, CString(u"lo"));
    CVariable* received = nullptr;
    ASSERT_TRUE(lo->m_arrayValue.Lookup(u"RxBytes", received));
    EXPECT_TRUE(received->IsInteger());
}

TEST(Twhost, FeedsOneFunctionsRowsToAnother) {
    const HostRun rows = RunHost({"--plugin-dir", kExamples, "call", "InterfaceList"});
    ASSERT_EQ(rows.status, 0) << Describe(rows);
    const HostRun report = RunHost({"--plugin-dir", kExamples, "call", "--text", "TableReport",
                                "[" + rows.out + ", \"Interfaces <by traffic>\", \"RxBytes\", 1]"});
    ASSERT_EQ(report.status, 0) << Describe(report);
    EXPECT_EQ(report.out.rfind("<!DOCTYPE html>", 0), 0u) << report.out;
    EXPECT_NE(report.out.find("<h1>Interfaces &lt;by traffic&gt;</h1>"), std::string::npos);
    EXPECT_NE(report.out.find(", sorted by RxBytes, largest first"), std::string::npos);
    EXPECT_NE(report.out.find("<td>lo</td>"), std::string::npos);

    // Without --text the same report is one JSON string.
    const HostRun json = RunHost({"--plugin-dir", kExamples, "call", "TableReport", "[" + rows.out + "]"});
    ASSERT_EQ(json.status, 0) << Describe(json);
    int ok = 0;
    const CVariable text = CJSON::Parse(CUtility::UTF8toUTF16(json.out), ok);
    EXPECT_TRUE(ok && text.IsString()) << json.out;
    EXPECT_EQ(text.m_strValue.Find(u"<!DOCTYPE html>"), 0);
}

TEST(Twhost, RefusesBadCallsWithAMessageAndItsOwnStatus) {
    struct Case {
        std::vector<std::string> arguments;
        int status;
        std::string message;
    };
    const Case cases[] = {
        {{"call", "NoSuchFunction"}, 3, "no plug-in in " + kExamples + " offers a function named 'NoSuchFunction'"},
        {{"call", "interfacelist"}, 3, "offers a function named 'interfacelist'"},
        {{"call", "InterfaceList", "[1"}, 2, "the arguments are not readable JSON: [1"},
        {{"call", "InterfaceList", "[42]"}, 4,
         "InterfaceList does not accept the arguments (INT)\nDeclared forms:\n"
         "  InterfaceList() -> ARRAY    [netinfo.twp]\n"
         "  InterfaceList(STRING pattern) -> ARRAY    [netinfo.twp]\n"},
        {{"call", "InterfaceList", "[\"\"]"}, 4, "The types fit a declared form, so the plug-in refused a value"},
        {{"call", "TableReport", "[[{\"a\": 1}], \"T\", \"b\"]"}, 4, "TableReport does not accept the arguments "
                                                                     "(ARRAY, STRING, STRING)"},
        {{"call", "TableReport", "[[1, 2]]"}, 4, "TableReport does not accept the arguments (ARRAY)"},
        {{"call"}, 2, "FUNCTION is required"},
        {{}, 2, "twhost: a command is required: plugins or call"},
        {{"frobnicate"}, 2, "not expected: frobnicate"},
        {{"plugins", "--bogus"}, 2, "--bogus"},
    };
    for (const Case& c : cases) {
        std::vector<std::string> arguments{"--plugin-dir", kExamples};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        std::string shown;
        for (const std::string& argument : c.arguments)
            shown += argument + " ";
        SCOPED_TRACE(shown);
        const HostRun run = RunHost(arguments);
        EXPECT_EQ(run.status, c.status) << Describe(run);
        EXPECT_NE(run.err.find(c.message), std::string::npos) << Describe(run);
        EXPECT_EQ(run.out, "");
    }
}

TEST(Twhost, HelpReadsWell) {
    const std::pair<std::vector<std::string>, std::vector<std::string>> cases[] = {
        {{"--help"}, {"Usage: twhost", "--plugin-dir", "plugins", "call", "Exit status: 0 success"}},
        {{"plugins", "--help"}, {"Usage: twhost plugins", "--xml"}},
        {{"call", "--help"}, {"Usage: twhost call", "FUNCTION", "ARGUMENTS", "--text", "Example: twhost call"}},
    };
    for (const auto& [arguments, expected] : cases) {
        SCOPED_TRACE(arguments.front());
        const HostRun run = RunHost(arguments);
        EXPECT_EQ(run.status, 0) << Describe(run);
        for (const std::string& text : expected)
            EXPECT_NE(run.out.find(text), std::string::npos) << text << "\n" << Describe(run);
    }
}

TEST(Twhost, MissingPluginDirectoryIsAUsageError) {
    const HostRun run = RunHost({"--plugin-dir", "/nonexistent/twhost/plugins", "plugins"});
    EXPECT_EQ(run.status, 2) << Describe(run);
    EXPECT_NE(run.err.find("/nonexistent/twhost/plugins"), std::string::npos) << Describe(run);
}

TEST(Twhost, EmptyPluginDirectoryListsNothing) {
    TempDir empty;
    const HostRun list = RunHost({"--plugin-dir", empty.Path().string(), "plugins"});
    EXPECT_EQ(list.status, 0) << Describe(list);
    EXPECT_NE(list.out.find("No plug-in modules (*.twp) found there."), std::string::npos) << Describe(list);
    const HostRun call = RunHost({"--plugin-dir", empty.Path().string(), "call", "InterfaceList"});
    EXPECT_EQ(call.status, 3) << Describe(call);
}

TEST_F(FaultyPlugins, ListsAFileThatIsNoLibraryAsFailed) {
    const HostRun run = Host({"plugins"});
    ASSERT_EQ(run.status, 0) << Describe(run);
    EXPECT_NE(run.out.find("broken.twp: failed to load\n\nfaulty.twp: loaded\n"), std::string::npos)
        << Describe(run);
}

TEST_F(FaultyPlugins, EveryFailureOfAModuleEndsInAMessage) {
    struct Case {
        const char* function;
        int status;
        std::string message;
    };
    const Case cases[] = {
        {"ThrowPlatform", 1, "faulty: the platform's exception\n"},
        {"ThrowOther", 1, "a plug-in threw an exception of unknown type\n"},
        {"RefuseInValidate", 1, "faulty: refused by throwing\n"},
        {"NoValue", 1, "NoValue returned no value\n"},
        {"BadTime", 1, "invalid argument"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.function);
        const HostRun run = Host({"call", c.function});
        EXPECT_EQ(run.status, c.status) << Describe(run);
        EXPECT_EQ(run.err.rfind("twhost: ", 0), 0u) << Describe(run);
        EXPECT_NE(run.err.find(c.message), std::string::npos) << Describe(run);
        EXPECT_EQ(run.out, "");
    }
}

TEST_F(FaultyPlugins, ModuleThatThrowsWhileLoadingStopsTheCommand) {
    fs::copy_file(TW_FAULTY_AT_LOAD_MODULE_PATH, m_dir.Path() / "faulty_at_load.twp");
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"plugins"}, std::vector<std::string>{"call", "Xml"}}) {
        SCOPED_TRACE(arguments.front());
        const HostRun run = Host(arguments);
        EXPECT_EQ(run.status, 1) << Describe(run);
        EXPECT_EQ(run.err.rfind("twhost: loading the plug-ins failed: ", 0), 0u) << Describe(run);
        EXPECT_NE(run.err.find("faulty: no information to give"), std::string::npos) << Describe(run);
    }
}

TEST_F(FaultyPlugins, ValueWithoutJsonFormIsPrintedAsText) {
    const HostRun run = Host({"call", "Xml", "[]"});
    ASSERT_EQ(run.status, 0) << Describe(run);
    EXPECT_EQ(run.out, "<a x=\"1\"><b/></a>\n");
}
