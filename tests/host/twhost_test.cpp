// twhost as a process, on the example plug-ins beside a module that fails in
// every way it can and a file that is no library.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "corelib/Utility.h"
#include "corelib/XML.h"

namespace fs = std::filesystem;

namespace {

struct HostRun {
    int status = -1;   // -1 when the process did not exit normally
    std::string out, err;
};

std::string ReadFile(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

// The plug-in directory of this test process: the examples, the failing
// module and a file that is no library. twhost's output goes there as well.
const fs::path& Dir() {
    static const struct Scratch {
        fs::path path;
        Scratch() {
            std::string pattern = (fs::temp_directory_path() / "twhost_test_XXXXXX").string();
            path = mkdtemp(pattern.data()) != nullptr ? pattern : "";
            for (const char* name : {"netinfo.twp", "tables.twp"})
                fs::copy_file(std::string(TW_EXAMPLE_PLUGIN_DIR) + name, path / name);
            fs::copy_file(TW_FAULTY_MODULE_PATH, path / "faulty.twp");
            std::ofstream(path / "broken.twp") << "not a shared object";
        }
        ~Scratch() { fs::remove_all(path); }
    } scratch;
    return scratch.path;
}

// Runs twhost on Dir() unless the arguments name a directory, each argument
// quoted for the shell.
HostRun RunHost(std::vector<std::string> arguments) {
    if (arguments.empty() || arguments[0] != "--plugin-dir")
        arguments.insert(arguments.begin(), {"--plugin-dir", Dir().string()});
    std::string command = TWHOST_PATH;
    for (const std::string& argument : arguments) {
        command += " '";
        for (const char ch : argument)
            command += ch == '\'' ? std::string("'\\''") : std::string(1, ch);
        command += "'";
    }
    command += " >" + (Dir() / "out").string() + " 2>" + (Dir() / "err").string();
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(Dir() / "out"), ReadFile(Dir() / "err")};
}

std::string Describe(const HostRun& run) {
    return "status " + std::to_string(run.status) + "\n--- stdout\n" + run.out + "--- stderr\n" + run.err;
}

// Whether text holds part, where "..." in part stands for anything; an empty
// part wants an empty text.
bool Has(const std::string& text, const std::string& part) {
    if (part.empty())
        return text.empty();
    const std::size_t gap = part.find("..."), at = text.find(part.substr(0, gap));
    return at != std::string::npos &&
           (gap == std::string::npos || text.find(part.substr(gap + 3), at) != std::string::npos);
}

}  // namespace

TEST(Twhost, ListsThePluginsSortedAsTextAndXml) {
    const HostRun text = RunHost({"plugins"});
    ASSERT_EQ(text.status, 0) << Describe(text);
    for (const char* expected : {
             "broken.twp: failed to load\n\nfaulty.twp: loaded\n",
             "\nnetinfo.twp: loaded\n  Module:      netinfo\n  Version:     1.0.0\n",
             "    InterfaceList() -> ARRAY\n        Every network interface of this host\n"
             "    InterfaceList(STRING pattern) -> ARRAY\n        The interfaces whose name matches the pattern\n"
             "    InterfaceReport() -> STRING\n",
             "    TableReport(ARRAY rows, STRING title, STRING sortColumn, INT descending) -> STRING\n",
         }) {
        EXPECT_NE(text.out.find(expected), std::string::npos) << expected << "\n" << Describe(text);
    }
    EXPECT_LT(text.out.find("netinfo.twp"), text.out.find("tables.twp"));
    EXPECT_EQ(text.err, "");

    const HostRun xml = RunHost({"plugins", "--xml"});
    ASSERT_EQ(xml.status, 0) << Describe(xml);
    CXML root(CUtility::UTF8toUTF16(xml.out), CString(u"PLUGINS"));
    ASSERT_TRUE(root.IsValid()) << xml.out;
    std::vector<std::string> plugins;
    for (CXML plugin = root.GetFirstChild(); plugin.IsValid(); plugin = root.GetNextChild()) {
        const CXML functions = plugin.GetChild(u"ModuleMetaInfo").GetChild(u"FUNCTIONS");
        plugins.push_back(plugin.GetAttr(u"Name", u"").ToUtf8() + " " + plugin.GetAttr(u"Status", u"").ToUtf8() +
                          " " + std::to_string(functions.IsValid() ? functions.GetChildCount() : 0));
    }
    EXPECT_EQ(plugins, (std::vector<std::string>{"broken.twp failed to load 0", "faulty.twp loaded 6",
                                                 "netinfo.twp loaded 2", "tables.twp loaded 2"}));
}

TEST(Twhost, FeedsOneFunctionsRowsToAnother) {
    // Every Linux network namespace has a loopback device.
    const HostRun list = RunHost({"call", "InterfaceList", "[\"lo\"]"});
    ASSERT_EQ(list.status, 0) << Describe(list);
    const HostRun report =
        RunHost({"call", "--text", "TableReport", "[" + list.out + ", \"Interfaces <by traffic>\", \"RxBytes\", 1]"});
    ASSERT_EQ(report.status, 0) << Describe(report);
    EXPECT_EQ(report.out.rfind("<!DOCTYPE html>", 0), 0u) << report.out;
    for (const char* expected : {"<h1>Interfaces &lt;by traffic&gt;</h1>", "1 row, sorted by RxBytes, largest first",
                                 "<td>lo</td>", "<th class=\"num\">RxBytes</th>"})   // the counters stayed INT
        EXPECT_NE(report.out.find(expected), std::string::npos) << expected << "\n" << report.out;
}

TEST(Twhost, EveryOutcomeHasItsStatusAndMessage) {
    struct Case {
        std::vector<std::string> arguments;
        int status;
        std::string out, err;   // as Has takes them
    };
    const std::string dir = Dir().string() + "/";
    // The build's folder of the module that throws while it loads, beside the failing one.
    const std::string atLoad = fs::path(TW_FAULTY_AT_LOAD_MODULE_PATH).parent_path().string();
    const std::string utf8 = "Gr\xC3\xBC\xC3\x9F" "e \xE2\x82\xAC";
    const Case cases[] = {
        {{"call", "InterfaceList", "[\"no such*\"]"}, 0, "[]\n", ""},
        {{"call", "Xml", "[]"}, 0, "<a x=\"1\"><b/></a>\n", ""},   // no JSON form: its text
        {{"call", "--help"}, 0, "Usage: twhost call", ""},
        {{"call", "NoSuchFunction"}, 3, "",
         "twhost: no plug-in in " + dir + " offers a function named 'NoSuchFunction'"},
        {{"call", "InterfaceList", ""}, 0, "\"lo\"", ""},   // blank: no arguments
        {{"call", "--text", "TableReport", "[[{\"a\": \"" + utf8 + "\"}]]"}, 0, "<td>" + utf8 + "</td>", ""},
        {{"call", "TableReport", " [\"eth*\", 2.5, 7, true, null, [1], {}] "}, 4, "",
         "does not accept the arguments (STRING, DOUBLE, INT, INT, UNDEFINED, ARRAY, ARRAY)\n"},
        {{"call", "InterfaceList", "[1"}, 2, "", "twhost: the arguments are not readable JSON: [1"},
        {{"call", "InterfaceList", "{\"a\": 1}"}, 2, "", "twhost: the arguments must be a JSON array"},
        {{"call", "InterfaceList", "[\"lo\"] [2]"}, 2, "", "twhost: unexpected text after the JSON array: [2]\n"},
        {{"call", "InterfaceList", "[42]"}, 4, "",
         "twhost: InterfaceList does not accept the arguments (INT)\nDeclared forms:\n"
         "  InterfaceList() -> ARRAY    [netinfo.twp]\n"
         "  InterfaceList(STRING pattern) -> ARRAY    [netinfo.twp]\n"},
        {{"call", "InterfaceList", "[\"\"]"}, 4, "", "The types fit a declared form, so the plug-in refused a value"},
        {{"call", "TableReport", "[[1, 2]]"}, 4, "", "TableReport does not accept the arguments (ARRAY)\n"},
        {{"call"}, 2, "", "FUNCTION is required"},
        {{}, 2, "", "twhost: a command is required: plugins, call, cache, report, reports or serve"},
        {{"--plugin-dir", "/nonexistent/twhost", "plugins"}, 2, "", "/nonexistent/twhost"},
        {{"call", "ThrowPlatform"}, 1, "", "twhost: ...faulty: the platform's exception\n"},
        {{"call", "ThrowOther"}, 1, "", "twhost: a plug-in threw an exception of unknown type\n"},
        {{"call", "RefuseInValidate"}, 1, "", "twhost: ...faulty: refused by throwing\n"},
        {{"call", "NoValue"}, 1, "", "twhost: NoValue returned no value\n"},
        {{"call", "BadTime"}, 1, "", "twhost: invalid argument"},
        {{"--plugin-dir", atLoad, "call", "Xml"}, 1, "",
         "twhost: loading the plug-ins failed: ...faulty: no information to give\n"},
    };
    for (const Case& c : cases) {
        std::string shown;
        for (const std::string& argument : c.arguments)
            shown += argument + " ";
        SCOPED_TRACE(shown);
        const HostRun run = RunHost(c.arguments);
        EXPECT_EQ(run.status, c.status) << Describe(run);
        EXPECT_TRUE(Has(run.out, c.out)) << Describe(run);
        EXPECT_TRUE(Has(run.err, c.err)) << Describe(run);
    }
}

// The report service in-process: the path of the file on success, the
// service's reason and its exit status otherwise; "reports clean" empties the directory.
TEST(Twhost, RunsReportsAndCleansThemUp) {
    const fs::path web = Dir() / "web";
    fs::create_directory(web);
    const std::string utf8 = "Gr\xC3\xBC\xC3\x9F" "e";
    const HostRun made = RunHost({"report", "--report-dir", web.string(), "tables.twp", "TableReport",
                                  "[[{\"a\": \"" + utf8 + "\"}], \"T\"]"});
    ASSERT_EQ(made.status, 0) << Describe(made);
    ASSERT_EQ(made.out.rfind(web.string() + "/Report_", 0), 0u) << Describe(made);
    const fs::path file = made.out.substr(0, made.out.size() - 1);   // without the line feed
    EXPECT_EQ(file.extension(), ".html");
    EXPECT_TRUE(Has(ReadFile(file), "<h1>T</h1>...<td>" + utf8 + "</td>")) << ReadFile(file);

    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string err;
    } failures[] = {
        {{"nope.twp", "TableReport", "[[]]"}, 3, "twhost: Could not find plugin module (nope.twp, TableReport)\n"},
        {{"broken.twp", "TableReport", "[[]]"}, 3, "twhost: Could not find plugin module"},
        {{"tables.twp", "TableReport", "[1]"}, 4, "twhost: Invalid parameters (tables.twp, TableReport)\n"},
        {{"tables.twp", "TableColumns", "[[{\"a\": 1}]]"}, 1, "twhost: Function invocation failed"},
        {{"tables.twp", "TableReport", "[1"}, 2, "twhost: the arguments are not readable JSON"},
        {{"tables.twp"}, 2, "FUNCTION is required"},
    };
    for (const auto& failure : failures) {
        std::vector<std::string> arguments{"report", "--report-dir", web.string()};
        arguments.insert(arguments.end(), failure.arguments.begin(), failure.arguments.end());
        const HostRun run = RunHost(arguments);
        SCOPED_TRACE(failure.err);
        EXPECT_EQ(run.status, failure.status) << Describe(run);
        EXPECT_EQ(run.out, "");
        EXPECT_TRUE(Has(run.err, failure.err)) << Describe(run);
    }

    std::ofstream(web / "keep.html") << "not a report";
    const HostRun clean = RunHost({"reports", "clean", "--report-dir", web.string()});
    EXPECT_EQ(clean.status, 0) << Describe(clean);
    EXPECT_FALSE(fs::exists(file));
    EXPECT_TRUE(fs::exists(web / "keep.html"));
    EXPECT_EQ(RunHost({"reports", "clean", "--report-dir", (Dir() / "missing").string()}).status, 2);
}
