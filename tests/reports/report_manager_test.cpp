// CReportManager against the test modules: dispatch, the listing tree, each
// refusal in its order, the report files and their names, housekeeping, the
// slot shared with CPluginRegistry, and concurrent writers of one file name.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "corelib/TWMQMessageRegistry.h"
#include "corelib/Utility.h"
#include "plugins/scratch_plugin_dir.h"
#include "snmplib/SnmpUtility.h"
#include "varlib/reports/ReportManager.h"

namespace fs = std::filesystem;

namespace {

std::string Utf8(const CString& text) { return CUtility::UTF16toUTF8(text); }
CString Utf16(const fs::path& path) { return CUtility::UTF8toUTF16(path.string()); }

Strings Files(const fs::path& dir) {
    Strings names;
    for (const auto& entry : fs::directory_iterator(dir)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

CVariableList Arguments(const CVariable& value) {
    CVariableList list;
    list.Add(value);
    return list;
}

// Keeps every message sent: its type, client and client data, and its body; answers 42.
class CCapturingServer : public CMessageServer {
public:
    int SendMessageToClient(CMessage& message, const CString& client, unsigned int clientData) override {
        std::lock_guard<std::mutex> lock(m_lock);
        m_sent.push_back({Utf8(message.GetType()) + " " + Utf8(client) + " " + std::to_string(clientData),
                          Utf8(message.GetBody().ToString(CXML::FORMAT_COMPACT))});
        return 42;
    }
    std::vector<std::pair<std::string, std::string>> m_sent;
    std::mutex m_lock;
};

// A report manager of its own for each test, with the reports in "web/" of a
// scratch directory and, once LoadModules runs, alpha.twp, pages.twp and broken.twp.
class CTestReports : public CReportManager {
public:
    CTestReports() {
        fs::create_directories(Web());
        SetMessageServer(&m_server);
        SetWebServerInfo(u"http://reports.test", Utf16(Web()));
    }
    ~CTestReports() override { Unload(); }
    void LoadModules() {
        m_plugins.emplace(Strings{"alpha.twp", "pages.twp", "broken.twp!"});
        Load();
    }
    fs::path Root() const { return m_dir.Path(); }
    fs::path Web() const { return Root() / "web"; }

    // Sends an EXECUTE_REPORT whose body has the attributes given (null: absent)
    // and, if bParameters, a parameter list of the arguments.
    int Post(const char16_t* plugin, const char16_t* report, bool bParameters, const CVariableList& arguments) {
        CXML body(u"REPORT");
        if (plugin) body.SetAttr(PLUGIN_NAME_ATTR, plugin);
        if (report) body.SetAttr(REPORT_NAME_ATTR, report);
        if (bParameters) body.AddChild(arguments.ToXml());
        CMessage message;
        message.SetType(EXECUTE_REPORT);
        message.SetBody(body);
        return OnMessage(message, u"client", 9u);
    }
    // Post, alone: the one answer's body, "" if none came.
    std::string Execute(const char16_t* plugin, const char16_t* report, bool bParameters,
                        const CVariableList& arguments = {}) {
        m_server.m_sent.clear();
        EXPECT_EQ(Post(plugin, report, bParameters, arguments), m_pMessageServer ? 42 : 0);
        EXPECT_LE(m_server.m_sent.size(), 1u);
        return m_server.m_sent.empty() ? "" : m_server.m_sent.back().second;
    }
    std::string Page(const CString& text) { return Execute(u"pages.twp", u"Page", true, Arguments(CVariable(text))); }

    CCapturingServer m_server;

private:
    TempDir m_dir;
    std::optional<ScratchPluginDir> m_plugins;
};

}  // namespace

// Which message types get an answer, and that the answer goes to the client
// that asked, with the server's result handed back; without a server nothing is done.
TEST(ReportManager, DispatchTable) {
    const struct {
        const char16_t* type;
        const char* responseType;   // null: nothing sent, 0 returned
    } rows[] = {{u"RETRIEVE_PLUGINS", "RETRIEVE_PLUGINS_RESPONSE"}, {u"EXECUTE_REPORT", "EXECUTE_REPORT_RESPONSE"},
                {u"retrieve_plugins", nullptr},  {u"EXECUTE_REPORT ", nullptr}, {u"RETRIEVE_PLUGINS_RESPONSE", nullptr},
                {u"", nullptr}};
    CTestReports reports;
    for (const auto& row : rows) {
        SCOPED_TRACE(Utf8(row.type));
        reports.m_server.m_sent.clear();
        CMessage message;
        message.SetType(row.type);
        EXPECT_EQ(reports.OnMessage(message, u"peer", 77u), row.responseType ? 42 : 0);
        Strings sent;
        for (const auto& answer : reports.m_server.m_sent) sent.push_back(answer.first);
        EXPECT_EQ(sent, row.responseType ? Strings{std::string(row.responseType) + " peer 77"} : Strings{});
    }
    reports.LoadModules();
    reports.SetMessageServer(nullptr);
    EXPECT_EQ(reports.Page(u"x"), "");
    EXPECT_EQ(Files(reports.Web()), Strings{});
}

// Per plug-in, in GetPlugins order: its name, the module's name and its
// functions with their signature counts; one that failed to load still stands
// there, with empty information.
TEST(ReportManager, ListingTree) {
    CTestReports reports;
    CMessage request;
    request.SetType(CReportManager::RETRIEVE_PLUGINS);
    reports.OnMessage(request, u"c", 1u);
    EXPECT_EQ(reports.m_server.m_sent.at(0).second, "<PLUGINS/>");   // nothing loaded
    reports.LoadModules();
    reports.OnMessage(request, u"c", 1u);
    CXML root(CUtility::UTF8toUTF16(reports.m_server.m_sent.at(1).second), CString(u"PLUGINS"));
    CStringArray names;
    reports.GetPlugins(names);
    Strings rows;
    for (CXML plugin = root.GetFirstChild(); plugin.IsValid(); plugin = root.GetNextChild()) {
        const std::string name = Utf8(plugin.GetAttr(CTWMQMessageRegistry::ATTR_NAME, u""));
        ASSERT_LT(static_cast<intptr_t>(rows.size()), names.GetSize());
        EXPECT_EQ(name, Utf8(names.GetAt(static_cast<intptr_t>(rows.size()))));
        CXML info = plugin.GetFirstChild(), functions = info.GetChild(u"FUNCTIONS");
        std::string row = Utf8(plugin.GetTagName()) + " " + name + " " + std::to_string(plugin.GetChildCount()) + " '" +
                          Utf8(info.GetAttr(u"Name", u"?")) + "'";
        for (CXML function = functions.GetFirstChild(); function.IsValid(); function = functions.GetNextChild())
            row += " " + Utf8(function.GetAttr(u"Name", u"")) + "/" + std::to_string(function.GetChildCount());
        rows.push_back(row);
    }
    std::sort(rows.begin(), rows.end());
    EXPECT_EQ(rows, (Strings{"PLUGIN alpha.twp 1 'alpha' Echo/2 alphaOnly/1", "PLUGIN broken.twp 1 ''",
                             "PLUGIN pages.twp 1 'Pages' Number/1 Page/1"}));
}

// Each refusal, in the order of the checks, with the exact response body; no
// file is left behind by any of them.
TEST(ReportManager, RefusalsInTheirOrder) {
    const CVariableList page = Arguments(CVariable(CString(u"<p>x</p>")));
    const struct {
        const char* name;
        const char16_t* plugin;
        const char16_t* report;
        bool bParameters;
        CVariableList arguments;
        const char* reason;
    } rows[] = {
        {"no parameters, unknown plug-in", u"nope.twp", u"Page", false, {}, "Invalid parameters"},
        {"no parameters, no attributes", nullptr, nullptr, false, {}, "Invalid parameters"},
        {"no Plugin attribute", nullptr, u"Page", true, page, "Could not find plugin module"},
        {"plug-in name in other case", u"PAGES.twp", u"Page", true, page, "Could not find plugin module"},
        {"module that failed to load", u"broken.twp", u"Page", true, page, "Could not find plugin module"},
        {"unknown function", u"pages.twp", u"Nope", true, page, "Invalid parameters"},
        {"no Report attribute", u"pages.twp", nullptr, true, page, "Invalid parameters"},
        {"function of another module", u"pages.twp", u"alphaOnly", true, {}, "Invalid parameters"},
        {"wrong argument type", u"pages.twp", u"Page", true, Arguments(CVariable(5)), "Invalid parameters"},
        {"INT result", u"pages.twp", u"Number", true, {}, "Function invocation failed"},
        {"ARRAY result", u"alpha.twp", u"Echo", true, page, "Function invocation failed"},
    };
    CTestReports reports;
    reports.LoadModules();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(reports.Execute(row.plugin, row.report, row.bParameters, row.arguments),
                  std::string("<REPORT Status=\"1\" Reason=\"") + row.reason + "\"/>");
    }
    EXPECT_EQ(Files(reports.Web()), Strings{});
    // The directory is missing: the last refusal, after the function ran.
    reports.SetWebServerInfo(u"http://reports.test", Utf16(reports.Root() / "gone"));
    EXPECT_EQ(reports.Page(u"<p>x</p>"), "<REPORT Status=\"1\" Reason=\"Could not open file for writing\"/>");
    EXPECT_FALSE(fs::exists(reports.Root() / "gone"));
}

// A string result becomes a file named after the local time (TZ=UTC here),
// holding its UTF-8 bytes and nothing else; the URL names the same file.
TEST(ReportManager, ReportFilesAndUrls) {
    const struct {
        std::u16string text;
        std::string bytes;
    } rows[] = {
        {u"<html><body>x</body></html>", "<html><body>x</body></html>"},
        {u"", ""},
        {u"Gr\u00fc\u00dfe \u20ac \U0001F600", "Gr\xC3\xBC\xC3\x9F" "e \xE2\x82\xAC \xF0\x9F\x98\x80"},
    };
    CTestReports reports;
    reports.LoadModules();
    const std::string prefix = "<REPORT URL=\"http://reports.test/";
    for (const auto& row : rows) {
        SCOPED_TRACE(row.bytes);
        const std::time_t before = std::time(nullptr);
        const std::string body = reports.Page(CString(row.text));
        const std::time_t after = std::time(nullptr);
        ASSERT_EQ(body.rfind(prefix, 0), 0u) << body;
        const std::string name = body.substr(prefix.size(), body.find('"', prefix.size()) - prefix.size());
        EXPECT_EQ(body, prefix + name + "\" Status=\"0\" Reason=\"OK\"/>");
        std::set<std::string> expected;   // day-month-year_hour-minute-second, unpadded
        for (std::time_t t = before; t <= after; ++t) {
            const std::tm utc = *std::gmtime(&t);
            expected.insert("Report_" + std::to_string(utc.tm_mday) + "-" + std::to_string(utc.tm_mon + 1) + "-" +
                            std::to_string(utc.tm_year + 1900) + "_" + std::to_string(utc.tm_hour) + "-" +
                            std::to_string(utc.tm_min) + "-" + std::to_string(utc.tm_sec) + ".html");
        }
        EXPECT_TRUE(expected.count(name)) << name;
        EXPECT_EQ(ReadBytes(reports.Web() / name), row.bytes);
        EXPECT_EQ(Files(reports.Web()), Strings{name});   // no temporary file stays
        fs::remove(reports.Web() / name);
    }
    // Separators are added, never trimmed.
    reports.SetWebServerInfo(u"http://h/", Utf16(reports.Web().string() + "/"));
    EXPECT_EQ(reports.Page(u"y").rfind("<REPORT URL=\"http://h//Report_", 0), 0u);
}

// Writers that finish in the same second share a name. A reader that looks
// meanwhile, as the web server does, and the file at the end hold one whole
// report each time, never a mix, an empty or a truncated one.
TEST(ReportManager, ConcurrentWritersLeaveOneWholeReport) {
    CTestReports reports;
    reports.LoadModules();
    constexpr int kThreads = 4, kRounds = 5;
    std::vector<std::string> pages;   // of different lengths, so that a mix shows
    for (int i = 0; i < kThreads; ++i) pages.push_back(std::string((4 - i) * 64 * 1024, static_cast<char>('a' + i)));
    const auto isWhole = [&pages](const std::string& bytes) {
        return std::find(pages.begin(), pages.end(), bytes) != pages.end();
    };
    std::atomic<bool> bWriting{true};
    std::atomic<int> nTorn{0};
    std::thread reader([&] {
        while (bWriting) {
            std::error_code ignored;
            for (const auto& entry : fs::directory_iterator(reports.Web(), ignored)) {
                std::ifstream in(entry.path(), std::ios::binary);   // gone meanwhile: nothing read
                std::ostringstream bytes;
                if (in && entry.path().filename().string().rfind("Report_", 0) == 0) {
                    bytes << in.rdbuf();
                    nTorn += isWhole(bytes.str()) ? 0 : 1;
                }
            }
        }
    });
    std::vector<std::thread> writers;
    for (int i = 0; i < kThreads; ++i) {
        writers.emplace_back([&reports, &pages, i] {
            for (int round = 0; round < kRounds; ++round)
                reports.Post(u"pages.twp", u"Page", true, Arguments(CVariable(CString(pages[i].c_str()))));
        });
    }
    for (std::thread& writer : writers) writer.join();
    bWriting = false;
    reader.join();
    EXPECT_EQ(nTorn, 0);
    ASSERT_EQ(reports.m_server.m_sent.size(), static_cast<size_t>(kThreads * kRounds));
    for (const auto& sent : reports.m_server.m_sent) EXPECT_NE(sent.second.find("Status=\"0\""), std::string::npos);
    const Strings files = Files(reports.Web());
    ASSERT_FALSE(files.empty());
    for (const std::string& file : files) {
        EXPECT_EQ(file.rfind("Report_", 0), 0u) << file;   // no temporary file stays
        EXPECT_TRUE(isWhole(ReadBytes(reports.Web() / file))) << file;
    }
}

// Only Report_*.html files of the directory set last go; a missing one is no error.
TEST(ReportManager, DeleteOldReports) {
    CTestReports reports;
    for (const char* file : {"Report_1-1-2024_0-0-0.html", "Report_x.html", "Notes.html", "Report_1.htm",
                             "report_2.html", "sub/Report_1.html", "other/Report_b.html"}) {
        fs::create_directories((reports.Web() / file).parent_path());
        WriteBytes(reports.Web() / file, "x");
    }
    reports.DeleteOldReports();
    EXPECT_EQ(Files(reports.Web()), (Strings{"Notes.html", "Report_1.htm", "other", "report_2.html", "sub"}));
    EXPECT_EQ(Files(reports.Web() / "sub"), Strings{"Report_1.html"});
    WriteBytes(reports.Web() / "Report_a.html", "old");
    reports.SetWebServerInfo(u"http://x", Utf16(reports.Web() / "other"));
    reports.DeleteOldReports();
    EXPECT_EQ(Files(reports.Web() / "other"), Strings{});
    EXPECT_TRUE(fs::exists(reports.Web() / "Report_a.html"));
    reports.SetWebServerInfo(u"http://x", Utf16(reports.Root() / "missing"));
    reports.DeleteOldReports();
}

// The one slot of both classes, and a new object with the defaults after CleanUp.
TEST(ReportManager, SingletonSharedWithRegistry) {
    CReportManager::CleanUp();
    CReportManager::CleanUp();   // on no instance: nothing
    CReportManager* reports = CReportManager::GetInstance();
    ASSERT_NE(reports, nullptr);
    EXPECT_EQ(CPluginRegistry::GetInstance(), reports);
    EXPECT_EQ(CReportManager::GetInstance(), reports);
    CReportManager::CleanUp();

    // A plain registry made first stays, and is no report manager; CleanUp releases it.
    CPluginRegistry* registry = CPluginRegistry::GetInstance();
    ASSERT_NE(registry, nullptr);
    EXPECT_EQ(CReportManager::GetInstance(), nullptr);
    EXPECT_EQ(CPluginRegistry::GetInstance(), registry);
    CReportManager::CleanUp();
    ASSERT_NE(CReportManager::GetInstance(), nullptr);
    CReportManager::CleanUp();

    // A new object: no server, the web directory unchanged, the local address.
    struct CFresh : CReportManager {
        CString Url() const { return m_strWebServerURL; }
        CString Directory() const { return m_strReportDirectory; }
        CMessageServer* Server() const { return m_pMessageServer; }
    };
    CUtility::SetWebDir(u"/srv/tw-web");
    CFresh fresh;
    EXPECT_EQ(fresh.Server(), nullptr);
    EXPECT_EQ(fresh.Directory(), CString(u"/srv/tw-web/"));
    EXPECT_EQ(fresh.Url(), CString(u"http://") + CSnmpUtility::GetLocalIPAddress());
    EXPECT_EQ(CReportManager::GetDefaultDirectory(), fresh.Directory());
    CUtility::SetWebDir(CString());
}
