// CReportManager against the test modules: dispatch, the listing tree, each
// refusal in its order, the report files and their names, housekeeping, the
// slot shared with CPluginRegistry, and concurrent writers of one file name.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "corelib/TWMQMessageRegistry.h"
#include "corelib/Utility.h"
#include "snmplib/SnmpUtility.h"
#include "varlib/reports/ReportManager.h"

namespace fs = std::filesystem;

namespace {

using Strings = std::vector<std::string>;

std::string Utf8(const CString& text) { return CUtility::UTF16toUTF8(text); }

// Keeps every message sent, with the client values; answers with m_nResult.
class CCapturingServer : public CMessageServer {
public:
    struct Sent {
        std::string type, body, client;
        unsigned int clientData;
        CXML root;
    };
    int SendMessageToClient(CMessage& message, const CString& client, unsigned int clientData) override {
        std::lock_guard<std::mutex> lock(m_lock);
        CXML body = message.GetBody();
        m_sent.push_back({Utf8(message.GetType()), Utf8(body.ToString(CXML::FORMAT_COMPACT)), Utf8(client),
                          clientData, body.Clone()});
        return m_nResult;
    }
    std::vector<Sent> m_sent;
    int m_nResult = 42;
    std::mutex m_lock;
};

// A report manager of its own for each test, on a scratch directory with the
// plug-ins "plugins/" (alpha.twp, pages.twp, broken.twp) and the reports "web/".
class CTestReports : public CReportManager {
public:
    CTestReports() {
        std::string templ = (fs::temp_directory_path() / "tw-reports-XXXXXX").string();
        if (!::mkdtemp(templ.data())) throw std::runtime_error("mkdtemp failed");
        m_root = templ;
        fs::create_directories(m_root / "plugins");
        fs::create_directories(m_root / "web");
        SetMessageServer(&m_server);
        SetWebServerInfo(u"http://reports.test", CUtility::UTF8toUTF16(Web().string()));
    }
    ~CTestReports() override {
        Unload();
        CUtility::SetPluginDir(CString());
        std::error_code ignored;
        fs::remove_all(m_root, ignored);
    }
    void LoadModules() {
        for (const char* module : {"alpha.twp", "pages.twp"})
            fs::create_symlink(std::string(TW_TEST_MODULE_DIR) + module, m_root / "plugins" / module);
        std::ofstream(m_root / "plugins" / "broken.twp") << "not a library\n";
        CUtility::SetPluginDir(CUtility::UTF8toUTF16((m_root / "plugins").string()));
        Load();
    }
    fs::path Web() const { return m_root / "web"; }
    fs::path Root() const { return m_root; }
    Strings Files(const fs::path& dir) const {
        Strings names;
        for (const auto& entry : fs::directory_iterator(dir)) names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    // An EXECUTE_REPORT whose body has the attributes given (null: absent) and,
    // if bParameters, a parameter list of the arguments.
    int Execute(const char16_t* plugin, const char16_t* report, bool bParameters, const CVariableList& arguments = {}) {
        CXML body(u"REPORT");
        if (plugin) body.SetAttr(PLUGIN_NAME_ATTR, plugin);
        if (report) body.SetAttr(REPORT_NAME_ATTR, report);
        if (bParameters) body.AddChild(arguments.ToXml());
        CMessage message;
        message.SetType(EXECUTE_REPORT);
        message.SetBody(body);
        return OnMessage(message, u"client", 9u);
    }

    CCapturingServer m_server;

private:
    fs::path m_root;
};

CVariableList Arguments(const CVariable& value) {
    CVariableList list;
    list.Add(value);
    return list;
}

std::string ReadBytes(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

}  // namespace

// Which message types get an answer, and that the answer goes to the client
// that asked, with the server's result handed back.
TEST(ReportManager, DispatchTable) {
    const struct {
        const char16_t* type;
        int result;
        const char* responseType;   // null: nothing sent
    } rows[] = {
        {u"RETRIEVE_PLUGINS", 42, "RETRIEVE_PLUGINS_RESPONSE"},
        {u"EXECUTE_REPORT", 42, "EXECUTE_REPORT_RESPONSE"},
        {u"retrieve_plugins", 0, nullptr},
        {u"EXECUTE_REPORT ", 0, nullptr},
        {u"RETRIEVE_PLUGINS_RESPONSE", 0, nullptr},
        {u"", 0, nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(Utf8(row.type));
        CTestReports reports;
        CMessage message;
        message.SetType(row.type);
        EXPECT_EQ(reports.OnMessage(message, u"peer", 77u), row.result);
        ASSERT_EQ(reports.m_server.m_sent.size(), row.responseType ? 1u : 0u);
        if (row.responseType) {
            EXPECT_EQ(reports.m_server.m_sent[0].type, row.responseType);
            EXPECT_EQ(reports.m_server.m_sent[0].client, "peer");
            EXPECT_EQ(reports.m_server.m_sent[0].clientData, 77u);
        }
    }
    // Without a server nothing is carried out: no file, no answer.
    CTestReports reports;
    reports.LoadModules();
    reports.SetMessageServer(nullptr);
    EXPECT_EQ(reports.Execute(u"pages.twp", u"Page", true, Arguments(CVariable(CString(u"x")))), 0);
    EXPECT_EQ(reports.Files(reports.Web()), Strings{});
}

TEST(ReportManager, ListingTree) {
    CTestReports reports;
    CMessage request;
    request.SetType(CReportManager::RETRIEVE_PLUGINS);
    reports.OnMessage(request, u"c", 1u);
    ASSERT_EQ(reports.m_server.m_sent.size(), 1u);
    EXPECT_EQ(reports.m_server.m_sent[0].body, "<PLUGINS/>");   // nothing loaded

    // Per plug-in, in GetPlugins order: its name, the module's name and its
    // functions with their signature counts; the one that failed to load still
    // stands there, with empty information.
    reports.LoadModules();
    reports.OnMessage(request, u"c", 1u);
    CXML root = reports.m_server.m_sent.at(1).root;
    CStringArray names;
    reports.GetPlugins(names);
    Strings rows, expected;
    for (CXML plugin = root.GetFirstChild(); plugin.IsValid(); plugin = root.GetNextChild()) {
        CXML info = plugin.GetFirstChild(), functions = info.GetChild(u"FUNCTIONS");
        std::string row = Utf8(plugin.GetTagName()) + " " + Utf8(plugin.GetAttr(CTWMQMessageRegistry::ATTR_NAME, u"")) +
                          " " + std::to_string(plugin.GetChildCount()) + " '" + Utf8(info.GetAttr(u"Name", u"?")) + "'";
        for (CXML function = functions.GetFirstChild(); function.IsValid(); function = functions.GetNextChild())
            row += " " + Utf8(function.GetAttr(u"Name", u"")) + "/" + std::to_string(function.GetChildCount());
        rows.push_back(row);
        expected.push_back(Utf8(names.GetAt(static_cast<intptr_t>(expected.size()))));
    }
    for (size_t i = 0; i < rows.size(); ++i) EXPECT_EQ(rows[i].substr(7, expected[i].size()), expected[i]);
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
        reports.m_server.m_sent.clear();
        EXPECT_EQ(reports.Execute(row.plugin, row.report, row.bParameters, row.arguments), 42);
        ASSERT_EQ(reports.m_server.m_sent.size(), 1u);
        EXPECT_EQ(reports.m_server.m_sent[0].type, "EXECUTE_REPORT_RESPONSE");
        EXPECT_EQ(reports.m_server.m_sent[0].body, std::string("<REPORT Status=\"1\" Reason=\"") + row.reason + "\"/>");
    }
    EXPECT_EQ(reports.Files(reports.Web()), Strings{});

    // The directory is missing: the last refusal, after the function ran.
    reports.SetWebServerInfo(u"http://reports.test", CUtility::UTF8toUTF16((reports.Root() / "gone").string()));
    reports.m_server.m_sent.clear();
    reports.Execute(u"pages.twp", u"Page", true, page);
    ASSERT_EQ(reports.m_server.m_sent.size(), 1u);
    EXPECT_EQ(reports.m_server.m_sent[0].body, "<REPORT Status=\"1\" Reason=\"Could not open file for writing\"/>");
    EXPECT_FALSE(fs::exists(reports.Root() / "gone"));
}

// A string result becomes a file named after the local time (TZ=UTC here),
// holding its UTF-8 bytes and nothing else; the URL names the same file.
TEST(ReportManager, ReportFilesAndUrls) {
    const struct {
        const char* name;
        std::u16string text;
        std::string bytes;
    } rows[] = {
        {"ASCII page", u"<html><body>x</body></html>", "<html><body>x</body></html>"},
        {"empty text gives an empty file", u"", ""},
        {"characters beyond ASCII", u"Gr\u00fc\u00dfe \u20ac \U0001F600", "Gr\xC3\xBC\xC3\x9F" "e \xE2\x82\xAC \xF0\x9F\x98\x80"},
    };
    CTestReports reports;
    reports.LoadModules();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        reports.m_server.m_sent.clear();
        const std::time_t before = std::time(nullptr);
        reports.Execute(u"pages.twp", u"Page", true, Arguments(CVariable(CString(row.text))));
        const std::time_t after = std::time(nullptr);
        ASSERT_EQ(reports.m_server.m_sent.size(), 1u);
        CXML answer = reports.m_server.m_sent[0].root;
        const std::string url = Utf8(answer.GetAttr(CTWMQMessageRegistry::ATTR_URL, u""));
        const std::string name = url.substr(url.rfind('/') + 1);
        EXPECT_EQ(reports.m_server.m_sent[0].body,
                  "<REPORT URL=\"http://reports.test/" + name + "\" Status=\"0\" Reason=\"OK\"/>");
        std::set<std::string> expected;   // day-month-year_hour-minute-second, unpadded
        for (std::time_t t = before; t <= after; ++t) {
            const std::tm utc = *std::gmtime(&t);
            expected.insert("Report_" + std::to_string(utc.tm_mday) + "-" + std::to_string(utc.tm_mon + 1) + "-" +
                            std::to_string(utc.tm_year + 1900) + "_" + std::to_string(utc.tm_hour) + "-" +
                            std::to_string(utc.tm_min) + "-" + std::to_string(utc.tm_sec) + ".html");
        }
        EXPECT_TRUE(expected.count(name)) << name;
        EXPECT_EQ(ReadBytes(reports.Web() / name), row.bytes);
        EXPECT_EQ(reports.Files(reports.Web()), Strings{name});   // no temporary file stays
        fs::remove(reports.Web() / name);
    }

    // Separators are added, never trimmed.
    reports.SetWebServerInfo(u"http://h/", CUtility::UTF8toUTF16(reports.Web().string() + "/"));
    reports.m_server.m_sent.clear();
    reports.Execute(u"pages.twp", u"Page", true, Arguments(CVariable(CString(u"y"))));
    const std::string url = Utf8(reports.m_server.m_sent.at(0).root.GetAttr(CTWMQMessageRegistry::ATTR_URL, u""));
    EXPECT_EQ(url.rfind("http://h//Report_", 0), 0u) << url;
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
                reports.Execute(u"pages.twp", u"Page", true, Arguments(CVariable(CString(pages[i].c_str()))));
        });
    }
    for (std::thread& writer : writers) writer.join();
    bWriting = false;
    reader.join();
    EXPECT_EQ(nTorn, 0);
    ASSERT_EQ(reports.m_server.m_sent.size(), static_cast<size_t>(kThreads * kRounds));
    for (const auto& sent : reports.m_server.m_sent) EXPECT_NE(sent.body.find("Status=\"0\""), std::string::npos);
    const Strings files = reports.Files(reports.Web());
    ASSERT_FALSE(files.empty());
    for (const std::string& file : files) {
        EXPECT_EQ(file.rfind("Report_", 0), 0u) << file;   // no temporary file stays
        EXPECT_TRUE(isWhole(ReadBytes(reports.Web() / file))) << file;
    }
}

TEST(ReportManager, DeleteOldReports) {
    const struct {
        const char* name;
        Strings files;   // a trailing "/" makes a directory
        Strings left;
    } rows[] = {
        {"the pattern, not the date form",
         {"Report_1-1-2024_0-0-0.html", "Report_x.html", "Notes.html", "Report_1.htm", "report_2.html", "sub/"},
         {"Notes.html", "Report_1.htm", "report_2.html", "sub"}},
        {"exactly one report", {"Report_5-3-2024_7-9-2.html"}, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CTestReports reports;
        for (const std::string& file : row.files) {
            if (file.back() == '/') fs::create_directory(reports.Web() / file);
            std::ofstream(reports.Web() / (file.back() == '/' ? file + "Report_1.html" : file)) << "x";
        }
        reports.DeleteOldReports();
        EXPECT_EQ(reports.Files(reports.Web()), row.left);
        if (fs::exists(reports.Web() / "sub")) {
            EXPECT_EQ(reports.Files(reports.Web() / "sub"), Strings{"Report_1.html"});
        }
    }

    // Another directory set: it is searched, the old one no longer; a missing one is no error.
    CTestReports reports;
    fs::create_directory(reports.Root() / "other");
    std::ofstream(reports.Web() / "Report_a.html") << "old";
    std::ofstream(reports.Root() / "other" / "Report_b.html") << "new";
    reports.SetWebServerInfo(u"http://x", CUtility::UTF8toUTF16((reports.Root() / "other").string()));
    reports.DeleteOldReports();
    EXPECT_EQ(reports.Files(reports.Web()), Strings{"Report_a.html"});
    EXPECT_EQ(reports.Files(reports.Root() / "other"), Strings{});
    reports.SetWebServerInfo(u"http://x", CUtility::UTF8toUTF16((reports.Root() / "missing").string()));
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
