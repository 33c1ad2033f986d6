// What twhost serve refuses from a request's head: foreign hosts, other
// sites' pages, bodies it can't bound; and which names are reports.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "host/RequestGuard.h"

namespace {

struct GuardCase {
    const char* listen;
    const char* method;
    std::map<std::string, std::string> headers;
    int status;   // 0: let through
};

}  // namespace

TEST(RequestGuard, RefusesForeignHostsOtherSitesAndUnboundedBodies) {
    const std::map<std::string, std::string> xml = {{"Content-Type", "application/xml; charset=utf-8"}};
    const auto with = [&xml](std::map<std::string, std::string> more) {
        more.insert(xml.begin(), xml.end());
        return more;
    };
    const GuardCase cases[] = {
        {"127.0.0.1", "GET", {{"Host", "127.0.0.1:8080"}}, 0},
        {"127.0.0.1", "GET", {{"Host", "localhost:8080"}}, 0},
        {"127.0.0.1", "GET", {{"Host", "LOCALHOST:8080"}}, 0},
        {"127.0.0.1", "GET", {}, 400},
        {"127.0.0.1", "GET", {{"Host", "evil.example:8080"}}, 403},      // DNS rebinding
        {"127.0.0.1", "GET", {{"Host", "127.0.0.1:8081"}}, 403},
        {"127.0.0.1", "GET", {{"Host", "127.0.0.1"}}, 403},
        {"127.0.0.1", "GET", {{"Host", "10.0.0.1:8080"}}, 403},
        {"::1", "GET", {{"Host", "[::1]:8080"}}, 0},
        {"::1", "GET", {{"Host", "[::1:8080"}}, 403},
        {"0.0.0.0", "GET", {{"Host", "192.168.1.20:8080"}}, 0},
        {"0.0.0.0", "GET", {{"Host", "[fe80::1]:8080"}}, 0},
        {"0.0.0.0", "GET", {{"Host", "localhost:8080"}}, 0},
        {"0.0.0.0", "GET", {{"Host", "rebind.evil.example:8080"}}, 403},
        {"192.168.1.20", "GET", {{"Host", "localhost:8080"}}, 403},
        {"127.0.0.1", "POST", with({{"Host", "127.0.0.1:8080"}}), 0},
        {"127.0.0.1", "POST", with({{"Host", "127.0.0.1:8080"}, {"Origin", "http://127.0.0.1:8080"}}), 0},
        {"127.0.0.1", "POST", with({{"Host", "127.0.0.1:8080"}, {"Referer", "http://127.0.0.1:8080/index.html"}}), 0},
        {"127.0.0.1", "POST", with({{"Host", "127.0.0.1:8080"}, {"Origin", "http://evil.example"}}), 403},
        {"127.0.0.1", "POST", with({{"Host", "127.0.0.1:8080"}, {"Origin", "null"}}), 403},
        {"127.0.0.1", "POST", with({{"Host", "127.0.0.1:8080"}, {"Origin", "http://localhost:8080"}}), 403},
        {"127.0.0.1", "POST", with({{"Host", "127.0.0.1:8080"}, {"Referer", "http://127.0.0.1:80800/"}}), 403},
        {"127.0.0.1", "POST", with({{"Host", "127.0.0.1:8080"}, {"Referer", "http://evil.example/page"}}), 403},
        {"127.0.0.1", "POST", {{"Host", "127.0.0.1:8080"}, {"Content-Type", "text/plain"}}, 415},   // a form's
        {"127.0.0.1", "POST", {{"Host", "127.0.0.1:8080"}, {"Content-Type", "application/x-www-form-urlencoded"}}, 415},
        {"127.0.0.1", "POST", {{"Host", "127.0.0.1:8080"}}, 415},
        {"127.0.0.1", "POST", {{"Host", "127.0.0.1:8080"}, {"Content-Type", " Text/XML "}}, 0},
        {"127.0.0.1", "POST", with({{"Host", "127.0.0.1:8080"}, {"Content-Encoding", "gzip"}}), 415},
        {"127.0.0.1", "POST", with({{"Host", "127.0.0.1:8080"}, {"Content-Encoding", "identity"}}), 0},
        {"127.0.0.1", "POST", with({{"Host", "127.0.0.1:8080"}, {"Transfer-Encoding", "chunked"}}), 411},
    };
    for (const GuardCase& c : cases) {
        std::string shown = std::string(c.listen) + " " + c.method;
        for (const auto& [name, value] : c.headers)
            shown += " | " + name + ": " + value;
        SCOPED_TRACE(shown);
        CRequestGuard guard(c.listen);
        guard.SetPort(8080);
        const CRequestGuard::Verdict verdict = guard.Check(c.method, [&c](const char* name) -> std::optional<std::string> {
            const auto found = c.headers.find(name);
            return found == c.headers.end() ? std::nullopt : std::optional<std::string>(found->second);
        });
        EXPECT_EQ(verdict.nStatus, c.status) << verdict.strReason;
        EXPECT_EQ(verdict.strReason.empty(), c.status == 0);
    }
}

TEST(RequestGuard, ReportNamesAreTheManagersOnly) {
    for (const char* name : {"Report_1-2-2026_3-4-5.html", "Report_24-11-2026_23-59-59.html"})
        EXPECT_TRUE(CRequestGuard::IsReportName(name)) << name;
    for (const char* name : {"", "Report_.html", "Report_1-2-2026_3-4.html", "Report_1-2-2026_3-4-5.htm",
                             "report_1-2-2026_3-4-5.html", "Report_1-2-2026-3-4-5.html", "Report_1-2-2026_3-4-5x.html",
                             ".Report_1_2.tmp", "index.html", "Report_1-2-2026_3-4-5.html/", "Report_a-2-2026_3-4-5.html",
                             "Report_1-2-2026_3-4-1234567.html"})
        EXPECT_FALSE(CRequestGuard::IsReportName(name)) << name;
}
