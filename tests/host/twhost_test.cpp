// twhost as a process, on the example plug-ins beside a module that fails in
// every way it can and a file that is no library.
#include <gtest/gtest.h>

#include <filesystem>

#include "corelib/Utility.h"
#include "corelib/XML.h"
#include "host_run.h"

namespace fs = std::filesystem;

namespace {

// The plug-in directory of this test process: the plug-ins, a file that is no
// library and a library without entry points.
const fs::path& Dir() {
    static const TempDir dir;
    static const fs::path path = [] {
        CopyPlugins(dir.Path());
        WriteBytes(dir.File("broken.twp"), "not a shared object");
        fs::copy_file(TW_BARE_MODULE_PATH, dir.File("bare.twp"));
        return fs::path(dir.Path());
    }();
    return path;
}

// Runs twhost on Dir() unless the arguments name a directory.
HostRun RunHost(std::vector<std::string> arguments) {
    if (arguments.empty() || arguments[0] != "--plugin-dir")
        arguments.insert(arguments.begin(), {"--plugin-dir", Dir().string()});
    return RunTwhost(arguments);
}

}  // namespace

TEST(Twhost, ListsThePluginsSortedAsTextAndXml) {
    RunCases({{{"plugins"}, 5,
               "bare.twp: failed to load: no entry point GetMetaInfo, ExecuteFunction, ValidateArguments, PlgCleanUp\n\n"
               "broken.twp: failed to load: ...broken.twp: file too short\n\nfaulty.twp: loaded\n...\nnetinfo.twp: loaded\n  Module:      netinfo\n"
               "  Version:     1.0.0\n...    InterfaceList() -> ARRAY\n        Every network interface of this host\n"
               "    InterfaceList(STRING pattern) -> ARRAY\n        The interfaces whose name matches the pattern\n"
               "    InterfaceReport() -> STRING\n...\ntables.twp: loaded\n...    TableReport(ARRAY rows, STRING title, "
               "STRING sortColumn, INT descending) -> STRING\n",
               ""}},
             {}, RunHost);
    const HostRun xml = RunHost({"plugins", "--xml"});
    ASSERT_EQ(xml.status, 5) << Describe(xml);
    CXML root(CUtility::UTF8toUTF16(xml.out), CString(u"PLUGINS"));
    ASSERT_TRUE(root.IsValid()) << xml.out;
    std::vector<std::string> plugins;
    for (CXML plugin = root.GetFirstChild(); plugin.IsValid(); plugin = root.GetNextChild()) {
        const CXML functions = plugin.GetChild(u"ModuleMetaInfo").GetChild(u"FUNCTIONS");
        plugins.push_back(plugin.GetAttr(u"Name", u"").ToUtf8() + " " + plugin.GetAttr(u"Status", u"").ToUtf8() +
                          " " + std::to_string(functions.IsValid() ? functions.GetChildCount() : 0) +
                          (plugin.GetAttr(u"Reason", u"").IsEmpty() ? "" : " (why)"));
    }
    EXPECT_EQ(plugins, (std::vector<std::string>{"bare.twp failed to load 0 (why)", "broken.twp failed to load 0 (why)",
                                                 "faulty.twp loaded 6",
                                                 "netinfo.twp loaded 2", "tables.twp loaded 2"}));
}

TEST(Twhost, FeedsOneFunctionsRowsToAnother) {
    // Every Linux network namespace has a loopback device.
    const HostRun list = RunHost({"call", "InterfaceList", "[\"lo\"]"});
    ASSERT_EQ(list.status, 0) << Describe(list);
    const HostRun report =
        RunHost({"call", "--text", "TableReport", "[" + list.out + ", \"Interfaces <by traffic>\", \"RxBytes\", 1]"});
    EXPECT_EQ(report.status, 0);
    EXPECT_EQ(report.out.rfind("<!DOCTYPE html>", 0), 0u);
    // The counters stayed INT: the column is numeric.
    EXPECT_TRUE(Has(report.out, "<h1>Interfaces &lt;by traffic&gt;</h1>...1 row, sorted by RxBytes, largest first"
                                "...<th class=\"num\">RxBytes</th>...<td>lo</td>"))
        << Describe(report);
}

TEST(Twhost, EveryOutcomeHasItsStatusAndMessage) {
    const std::string dir = Dir().string() + "/";
    // The build's folder of the module that throws while it loads, beside the failing one.
    const std::string atLoad = fs::path(TW_FAULTY_AT_LOAD_MODULE_PATH).parent_path().string();
    const std::string utf8 = "Gr\xC3\xBC\xC3\x9F" "e \xE2\x82\xAC";
    const std::vector<HostCase> cases = {
        {{"call", "InterfaceList", "[\"no such*\"]"}, 0, "[]\n", ""},
        {{"call", "Xml", "[]"}, 0, "<a x=\"1\"><b/></a>\n", ""},   // no JSON form: its text
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
        {{}, 2, "", "twhost: a command is required: plugins, call, cache, report, reports"},
        {{"--plugin-dir", "/nonexistent/twhost", "plugins"}, 2, "", "/nonexistent/twhost"},
        {{"frobnicate"}, 2, "", "twhost: unknown command 'frobnicate'; the commands are plugins, call, cache,"},
        {{"call"}, 2, "", "twhost: FUNCTION is required\n"},
        {{"--version"}, 0, "twhost " TW_VERSION "\n", ""},
        {{"call", "ThrowPlatform"}, 1, "", "twhost: ...faulty: the platform's exception\n"},
        {{"call", "ThrowOther"}, 1, "", "twhost: a plug-in threw an exception of unknown type\n"},
        {{"call", "RefuseInValidate"}, 1, "", "twhost: ...faulty: refused by throwing\n"},
        {{"call", "NoValue"}, 1, "", "twhost: NoValue returned no value\n"},
        {{"call", "BadTime"}, 1, "", "twhost: invalid argument"},
        {{"--plugin-dir", atLoad, "call", "Xml"}, 1, "",
         "twhost: loading the plug-ins failed: ...faulty: no information to give\n"},
    };
    RunCases(cases, {}, RunHost);
}

// The report service in-process: the path of the file on success, the
// service's reason and its exit status otherwise; "reports clean" empties the directory.
TEST(Twhost, RunsReportsAndCleansThemUp) {
    const fs::path web = Dir() / "web";
    fs::create_directory(web);
    const std::string utf8 = "Gr\xC3\xBC\xC3\x9F" "e";
    const HostRun made = RunHost({"report", "--report-dir", web.string() + "/", "tables.twp", "TableReport",
                                  "[[{\"a\": \"" + utf8 + "\"}], \"T\"]"});
    ASSERT_EQ(made.status, 0) << Describe(made);
    ASSERT_EQ(made.out.rfind(web.string() + "/Report_", 0), 0u) << Describe(made);
    const fs::path file = made.out.substr(0, made.out.size() - 1);   // without the line feed
    EXPECT_EQ(file.extension(), ".html");
    EXPECT_TRUE(Has(ReadBytes(file.string()), "<h1>T</h1>...<td>" + utf8 + "</td>")) << ReadBytes(file.string());

    // Each failure with its status and message, and nothing on stdout.
    std::vector<HostCase> failures = {
        {{"nope.twp", "TableReport", "[[]]"}, 3, "", "twhost: Could not find plugin module (nope.twp, TableReport)\n"},
        {{"tables.twp", "TableReport", "[1]"}, 4, "", "twhost: Invalid parameters (tables.twp, TableReport)\n"},
        {{"tables.twp", "TableColumns", "[[{\"a\": 1}]]"}, 1, "", "twhost: Function invocation failed"},
        {{"tables.twp", "TableReport", "[1"}, 2, "", "twhost: the arguments are not readable JSON"},
    };
    for (HostCase& failure : failures)
        failure.arguments.insert(failure.arguments.begin(), {"report", "--report-dir", web.string()});
    RunCases(failures, {}, RunHost);

    WriteBytes(web / "keep.html", "not a report");
    const HostRun clean = RunHost({"reports", "clean", "--report-dir", web.string()});
    EXPECT_EQ(clean.status, 0) << Describe(clean);
    EXPECT_FALSE(fs::exists(file));
    EXPECT_TRUE(fs::exists(web / "keep.html"));
    EXPECT_EQ(RunHost({"reports", "clean", "--report-dir", (Dir() / "missing").string()}).status, 2);

    // Without --report-dir: the user's state directory, made when missing, for both commands.
    setenv("XDG_STATE_HOME", (web / "state").c_str(), 1);
    const HostRun byDefault = RunHost({"report", "tables.twp", "TableReport", "[[{\"a\": 1}]]"});
    const HostRun cleanByDefault = RunHost({"reports", "clean"});
    unsetenv("XDG_STATE_HOME");
    EXPECT_EQ(byDefault.out.rfind((web / "state/twhost/reports/Report_").string(), 0), 0u) << Describe(byDefault);
    EXPECT_EQ(cleanByDefault.status, 0) << Describe(cleanByDefault);
    EXPECT_TRUE(fs::is_empty(web / "state/twhost/reports"));
}

// A PlgCleanUp that throws is reported; the other modules are still cleaned up
// and released, and what the command printed is all there.
TEST(Twhost, ACleanUpThatThrowsIsReportedAndTheRestStillRuns) {
    TempDir dir;
    CopyPlugins(dir.Path());
    fs::copy_file(TW_FAULTY_MODULE_PATH, dir.File("faulty2.twp"));
    const std::string mark = dir.File("cleanup.mark");
    setenv("TW_FAULTY_CLEANUP_MARK", mark.c_str(), 1);
    setenv("TW_FAULTY_CLEANUP_THROWS", "1", 1);
    const HostRun run = RunTwhost({"--plugin-dir", dir.Path(), "plugins"});
    unsetenv("TW_FAULTY_CLEANUP_THROWS");
    unsetenv("TW_FAULTY_CLEANUP_MARK");
    EXPECT_EQ(run.status, 0) << Describe(run);
    EXPECT_TRUE(Has(run.out, "faulty.twp: loaded\n...faulty2.twp: loaded\n...tables.twp: loaded\n...TableReport"))
        << Describe(run);
    EXPECT_TRUE(Has(run.err, "twhost: faulty...twp: PlgCleanUp failed: faulty: the clean-up failed\n"
                             "twhost: faulty...twp: PlgCleanUp failed: faulty: the clean-up failed\n"))
        << Describe(run);
    EXPECT_EQ(ReadBytes(mark), "PlgCleanUp\nPlgCleanUp\n");
}
