// twhost serve as a process on a free loopback port: both messages, the
// report they make, refusals of bad input, the web page and nothing else.
#include <gtest/gtest.h>
#include <httplib.h>
#include <signal.h>
#include <stdlib.h>

#include <memory>
#include <regex>
#include <string>

#include "host/serve_process.h"
#include "host_run.h"

namespace fs = std::filesystem;

namespace {

// One twhost serve for the whole suite, on the examples and the failing module,
// with a secret file beside the report directory and a link to it inside.
class ServeTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        s_temp = std::make_unique<TempDir>();
        s_dir = s_temp->Path();
        fs::create_directories(s_dir / "plugins");
        fs::create_directories(s_dir / "reports");
        CopyPlugins(s_dir / "plugins");
        WriteBytes(s_dir / "secret.html", "secret");
        fs::create_symlink(s_dir / "secret.html", s_dir / "reports" / "link.html");
        setenv("TW_FAULTY_CLEANUP_MARK", (s_dir / "cleanup.mark").c_str(), 1);
        // One worker process: each process that loads the modules cleans them up once.
        s_host = std::make_unique<CServeProcess>(
            TWHOST_PATH, std::vector<std::string>{"--plugin-dir", (s_dir / "plugins").string(), "--report-dir",
                                                  (s_dir / "reports").string(), "--workers", "1"});
    }
    static void TearDownTestSuite() {
        s_host.reset();
        s_temp.reset();
    }

    static httplib::Result Post(const std::string& body) {
        return httplib::Client("127.0.0.1", s_host->GetPort()).Post("/messages", body, "application/xml");
    }

    static inline std::unique_ptr<TempDir> s_temp;
    static inline fs::path s_dir;
    static inline std::unique_ptr<CServeProcess> s_host;
};

// The arguments of the tables plug-in's TableReport: one row, a UTF-8 title.
const std::string kRows =
    "<VARIABLE_LIST><VARIABLE Name=\"rows\" Type=\"20006\"><ARRAY>"
    "<VARIABLE Type=\"20006\" Index=\"0\"><ARRAY><VARIABLE Type=\"20001\" Value=\"eth0\" Index=\"Name\"/>"
    "</ARRAY></VARIABLE></ARRAY></VARIABLE><VARIABLE Type=\"20001\" Value=\"Gr\xC3\xBC\xC3\x9F" "e &lt;1&gt;\"/>"
    "</VARIABLE_LIST>";

std::string ExecuteReport(const std::string& plugin, const std::string& function, const std::string& parameters) {
    return "<MESSAGE Type=\"EXECUTE_REPORT\"><REPORT Plugin=\"" + plugin + "\" Report=\"" + function + "\">" +
           parameters + "</REPORT></MESSAGE>";
}

std::string Call(const std::string& plugin, const std::string& function, const std::string& parameters) {
    return "<MESSAGE Type=\"CALL_FUNCTION\"><CALL Plugin=\"" + plugin + "\" Function=\"" + function + "\">" + parameters +
           "</CALL></MESSAGE>";
}

TEST_F(ServeTest, AnswersEachMessageOrRefusesItWithoutChangingAnything) {
    const std::string rows = kRows;
    struct Case {
        std::string body;
        int status;
        std::string answer;   // a regular expression the answer must hold
    };
    const Case cases[] = {
        {"<MESSAGE Type=\"RETRIEVE_PLUGINS\"/>", 200,
         "^<\\?xml[^>]*>\n<MESSAGE Type=\"RETRIEVE_PLUGINS_RESPONSE\"><PLUGINS><PLUGIN Name=\"faulty.twp\" "
         "Status=\"loaded\"><ModuleMetaInfo Name=\"faulty\".*<PLUGIN Name=\"netinfo.twp\" Status=\"loaded\">"
         "<ModuleMetaInfo Name=\"netinfo\" .*Version=\"1.0.0\"><FUNCTIONS><FUNCTION Name=\"Interface"},
        {ExecuteReport("tables.twp", "TableReport", rows), 200,
         "<REPORT URL=\"" + s_host->GetBaseUrl() + "/reports/Report_[0-9_-]+\\.html\" Status=\"0\" Reason=\"OK\"/>"},
        {ExecuteReport("netinfo.twp", "InterfaceReport", "<VARIABLE_LIST><VARIABLE Type=\"20001\"/></VARIABLE_LIST>"),
         200, "<REPORT Status=\"1\" Reason=\"Invalid parameters\"/>"},
        {ExecuteReport("nothing.twp", "InterfaceReport", "<VARIABLE_LIST/>"), 200,
         "Reason=\"Could not find plugin module\""},
        {ExecuteReport("faulty.twp", "Xml", "<VARIABLE_LIST/>"), 200, "Reason=\"Function invocation failed\""},
        {ExecuteReport("faulty.twp", "ThrowPlatform", "<VARIABLE_LIST/>"), 500,
         "^The message failed: .*faulty: the platform's exception"},
        {"no XML at all", 400, "^The body is no XML document"},
        {"<REPORT Plugin=\"tables.twp\"/>", 400, "^The body is XML but no message.*<REPORT>"},
        {"<MESSAGE Type=\"DELETE_REPORTS\"/>", 400,
         "^Unknown message type 'DELETE_REPORTS': this service answers RETRIEVE_PLUGINS, EXECUTE_REPORT and CALL_FUNCTION"},
        // The value call: the value itself as JSON (or text), failures as the report service names them.
        {Call("netinfo.twp", "InterfaceList", "<VARIABLE_LIST><VARIABLE Type=\"20001\" Value=\"lo\"/></VARIABLE_LIST>"),
         200, "<MESSAGE Type=\"CALL_FUNCTION_RESPONSE\"><RESULT Status=\"0\" Json=\"\\{&#10;    &quot;lo&quot; : \\{&#10;        &quot;Name&quot; : &quot;lo&quot;,"},
        {Call("faulty.twp", "Xml", "<VARIABLE_LIST/>"), 200, "<RESULT Status=\"0\" Text=\"&lt;a x=&quot;1&quot;>&lt;b/>&lt;/a>\"/>"},
        {Call("netinfo.twp", "InterfaceList", "<VARIABLE_LIST><VARIABLE Type=\"20000\" Value=\"1\"/></VARIABLE_LIST>"),
         200, "<RESULT Status=\"1\" Reason=\"Invalid parameters\"/>"},
        {Call("tables.twp", "InterfaceList", "<VARIABLE_LIST/>"), 200, "Reason=\"Could not find plugin module\""},
        {Call("faulty.twp", "NoValue", "<VARIABLE_LIST/>"), 200, "Reason=\"Function invocation failed\""},
        {"<MESSAGE Type=\"RETRIEVE_PLUGINS\"/>" + std::string(2 << 20, ' '), 413, "larger than 1048576 bytes"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.body.substr(0, 200));
        const long before = FileCount(s_dir / "reports");
        const httplib::Result result = Post(c.body);
        ASSERT_TRUE(result) << httplib::to_string(result.error());
        EXPECT_EQ(result->status, c.status) << result->body;
        EXPECT_TRUE(std::regex_search(result->body, std::regex(c.answer))) << result->body;
        std::smatch name;   // a report made is served as it was written, UTF-8 title and all
        if (!std::regex_search(result->body, name, std::regex("URL=\"[^\"]*/reports/([^\"]+)\""))) {
            EXPECT_EQ(FileCount(s_dir / "reports"), before);
            continue;
        }
        EXPECT_EQ(FileCount(s_dir / "reports"), before + 1);
        const httplib::Result report = httplib::Client("127.0.0.1", s_host->GetPort()).Get("/reports/" + name[1].str());
        ASSERT_TRUE(report);
        EXPECT_EQ(report->get_header_value("Content-Type"), "text/html; charset=utf-8");
        EXPECT_EQ(report->body, ReadBytes(s_dir / "reports" / name[1].str()));
        EXPECT_NE(report->body.find("<h1>Gr\xC3\xBC\xC3\x9F" "e &lt;1&gt;</h1>"), std::string::npos) << report->body;
    }
}

// GET hands out the web page's files with their types, and nothing outside the
// report and web directories, however the name is spelt.
TEST_F(ServeTest, ServesTheWebPageAndNothingOutsideItsDirectories) {
    httplib::Client client("127.0.0.1", s_host->GetPort());
    client.set_url_encode(false);   // the paths go out exactly as written
    const std::string up = "../" + s_dir.filename().string();   // from the reports folder to the secret
    const std::pair<std::string, std::string> paths[] = {   // path, its type; none: 404
        {"/", "text/html; charset=utf-8"}, {"/app.js", "text/javascript; charset=utf-8"},
        {"/style.css", "text/css; charset=utf-8"},
        {"/reports/../secret.html", ""}, {"/reports/%2e%2e/secret.html", ""}, {"/reports/%2E%2E%2Fsecret.html", ""},
        {"/reports/..%2fsecret.html", ""}, {"/reports/.%2e/secret.html", ""}, {"/reports/%252e%252e/secret.html", ""},
        {"/reports/link.html", ""},   // a link inside that leads outside
        {"/reports/" + up + "/secret.html", ""}, {"/reports//etc/passwd", ""}, {"/reports/%2fetc%2fpasswd", ""},
        {"/reports/", ""}, {"/reports/.", ""}, {"/../../../../etc/passwd", ""}, {"/..%2f..%2f..%2fetc%2fpasswd", ""},
        {"/%2e%2e/%2e%2e/%2e%2e/etc/passwd", ""}, {"/reports", ""}, {"/app.js%00.html", ""}, {"/nothing.html", ""}};
    for (const auto& [path, type] : paths) {
        const httplib::Result result = client.Get(path);
        ASSERT_TRUE(result) << path;
        EXPECT_EQ(result->status, type.empty() ? 404 : 200) << path;
        if (!type.empty()) {
            EXPECT_EQ(result->get_header_value("Content-Type"), type) << path;
        }
        EXPECT_EQ(result->body.find("secret"), std::string::npos) << path;
        EXPECT_EQ(result->body.find("root:"), std::string::npos) << path;
    }
}

// The peak resident size of a process, in kB, from /proc.
long PeakKb(pid_t pid) {
    const std::string status = ReadBytes("/proc/" + std::to_string(pid) + "/status");
    const std::size_t at = status.find("VmHWM:");
    return at == std::string::npos ? -1 : std::stol(status.substr(at + 6));
}

// Another site's page can't make reports and a foreign Host isn't answered;
// bodies that the limit can't count are refused before they are read; the
// page and the reports carry their security headers.
TEST_F(ServeTest, RefusesOtherSitesForeignHostsAndUnboundedBodies) {
    const std::string report = ExecuteReport("tables.twp", "TableReport", kRows);
    const long reports = FileCount(s_dir / "reports");
    const long peakBefore = PeakKb(s_host->GetPid());
    struct Case {
        const char* what;
        httplib::Headers headers;
        std::string contentType;
        int status;
    };
    const Case cases[] = {
        {"a form of another site", {{"Origin", "http://evil.example"}}, "text/plain", 403},
        {"a script of another site", {{"Origin", "http://evil.example"}}, "application/xml", 403},
        {"a form without an Origin", {}, "application/x-www-form-urlencoded", 415},
        {"a rebound host name", {{"Host", "evil.example:" + std::to_string(s_host->GetPort())}}, "application/xml", 403},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        httplib::Client client("127.0.0.1", s_host->GetPort());
        client.set_default_headers(c.headers);
        const httplib::Result result = client.Post("/messages", report, c.contentType);
        ASSERT_TRUE(result);
        EXPECT_EQ(result->status, c.status) << result->body;
    }
    EXPECT_EQ(FileCount(s_dir / "reports"), reports);

    httplib::Client gzip("127.0.0.1", s_host->GetPort());
    gzip.set_compress(true);
    const httplib::Result compressed = gzip.Post("/messages", report + std::string(4 << 20, ' '), "application/xml");
    ASSERT_TRUE(compressed);
    EXPECT_EQ(compressed->status, 415) << compressed->body;
    // 256 MiB offered in chunks: answered at once, none of it held. The
    // server closes the connection on the rest; writing on draws SIGPIPE.
    signal(SIGPIPE, SIG_IGN);
    httplib::Client chunked("127.0.0.1", s_host->GetPort());
    std::size_t sent = 0;
    const httplib::Result streamed = chunked.Post(
        "/messages",
        [&sent](std::size_t, httplib::DataSink& sink) {
            static const std::string piece(1 << 20, ' ');
            if (sent >= 256u << 20) {
                sink.done();
                return true;
            }
            sent += piece.size();
            return sink.write(piece.data(), piece.size());
        },
        "application/xml");
    if (streamed) {
        EXPECT_EQ(streamed->status, 411) << streamed->body;
    }
    EXPECT_LT(sent, 256u << 20) << "the server read the whole chunked body";
    EXPECT_LT(PeakKb(s_host->GetPid()) - peakBefore, 50 * 1024);

    httplib::Client client("127.0.0.1", s_host->GetPort());
    const httplib::Result page = client.Get("/");
    ASSERT_TRUE(page);
    EXPECT_EQ(page->get_header_value("X-Frame-Options"), "DENY");
    EXPECT_EQ(page->get_header_value("Referrer-Policy"), "no-referrer");
    EXPECT_NE(page->get_header_value("Content-Security-Policy").find("frame-ancestors 'none'"), std::string::npos);
    const httplib::Result made = Post(report);
    std::smatch name;
    ASSERT_TRUE(made && std::regex_search(made->body, name, std::regex("/reports/([^\"]+)\""))) << made->body;
    const httplib::Result shown = client.Get("/reports/" + name[1].str());
    ASSERT_TRUE(shown);
    EXPECT_EQ(shown->status, 200);
    EXPECT_EQ(shown->get_header_value_count("Content-Security-Policy"), 1u);
    EXPECT_EQ(shown->get_header_value("Content-Security-Policy").rfind("sandbox;", 0), 0u);
    EXPECT_EQ(shown->get_header_value("X-Frame-Options"), "SAMEORIGIN");
    // Any other file of the report directory is no report.
    WriteBytes(s_dir / "reports" / "notes.html", "notes");
    EXPECT_EQ(client.Get("/reports/notes.html")->status, 404);
    fs::remove(s_dir / "reports" / "notes.html");
}

// One server a port: a second one is refused at once (timeout ends it should it serve instead).
TEST_F(ServeTest, ASecondServerOnTheSamePortIsRefused) {
    const std::string err = (s_dir / "second.err").string();
    const std::string command = "timeout 20 " + std::string(TWHOST_PATH) + " --plugin-dir " + (s_dir / "plugins").string() +
                                " serve --port " + std::to_string(s_host->GetPort()) + " >/dev/null 2>" + err;
    const int status = std::system(command.c_str());
    EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : -1, 1);
    EXPECT_TRUE(Has(ReadBytes(err), "twhost: could not listen on 127.0.0.1 port ...: the port is in use")) << ReadBytes(err);
}

// Last in this file: stops the suite's host.
TEST_F(ServeTest, StopsOnSigtermAndCleansUpEveryModule) {
    EXPECT_EQ(s_host->Stop(SIGTERM), 0) << s_host->GetOutput();
    EXPECT_NE(s_host->GetOutput().find("twhost serve: stopped"), std::string::npos) << s_host->GetOutput();
    EXPECT_EQ(ReadBytes(s_dir / "cleanup.mark"), "PlgCleanUp\n");
}

}  // namespace
