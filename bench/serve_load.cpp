// serve_load: a bounded load on 'twhost serve' over loopback. CLIENTS threads,
// each with one keep-alive connection, ask for REQUESTS reports in all
// (EXECUTE_REPORT of tables.twp, each with a title of its own) and fetch every
// report they are given. Every request must be answered, and every report
// fetched and every file left in the report directory must be one whole
// report: one title only, complete to </html>. Reports that finish in the
// same second share a name, so a client may fetch a later one; it still has
// to be whole. Prints the rate and ends with 0 only if nothing failed.
//
//   serve_load TWHOST PLUGIN_DIR [CLIENTS=8] [REQUESTS=2000]
#include <httplib.h>
#include <stdlib.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <mutex>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/host/serve_process.h"

namespace fs = std::filesystem;

namespace {

std::string ReportRequest(const std::string& title) {
    return "<MESSAGE Type=\"EXECUTE_REPORT\"><REPORT Plugin=\"tables.twp\" Report=\"TableReport\"><VARIABLE_LIST>"
           "<VARIABLE Name=\"rows\" Type=\"20006\"><ARRAY><VARIABLE Type=\"20006\" Index=\"0\"><ARRAY>"
           "<VARIABLE Type=\"20001\" Value=\"" + title + "\" Index=\"Tag\"/>"
           "<VARIABLE Type=\"20000\" Value=\"1\" Index=\"Count\"/></ARRAY></VARIABLE></ARRAY></VARIABLE>"
           "<VARIABLE Name=\"title\" Type=\"20001\" Value=\"" + title + "\"/></VARIABLE_LIST></REPORT></MESSAGE>";
}

// Empty if page is one whole report, else what is wrong with it.
std::string CheckWhole(const std::string& page) {
    static const std::regex title("Load c[0-9]+ r[0-9]+");
    if (page.rfind("<!DOCTYPE html>", 0) != 0)
        return "does not begin with <!DOCTYPE html>";
    if (page.size() < 8 || page.compare(page.size() - 8, 8, "</html>\n") != 0)
        return "does not end with </html>";
    std::string first;
    int count = 0;
    for (std::sregex_iterator it(page.begin(), page.end(), title), end; it != end; ++it, ++count) {
        if (first.empty())
            first = it->str();
        else if (it->str() != first)
            return "holds two reports: " + first + " and " + it->str();
    }
    return count == 3 ? "" : "holds its title " + std::to_string(count) + " times, not 3";   // <title>, <h1>, cell
}

std::string ReadFile(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::cerr << "usage: serve_load TWHOST PLUGIN_DIR [CLIENTS=8] [REQUESTS=2000]\n";
        return 2;
    }
    const int clients = argc > 3 ? std::max(1, std::atoi(argv[3])) : 8;
    const int requests = argc > 4 ? std::max(1, std::atoi(argv[4])) : 2000;
    std::string pattern = (fs::temp_directory_path() / "serve_load_XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        std::cerr << "serve_load: no temporary directory\n";
        return 1;
    }
    const fs::path reports = fs::path(pattern) / "reports";
    fs::create_directories(reports);

    std::atomic<int> next{0}, answered{0}, fetched{0};
    std::mutex failuresLock;
    std::vector<std::string> failures;
    const auto fail = [&](const std::string& what) {
        std::lock_guard<std::mutex> lock(failuresLock);
        if (failures.size() < 20)
            failures.push_back(what);
        else if (failures.size() == 20)
            failures.push_back("...");
    };

    double seconds = 0;
    int stopStatus = -1;
    try {
        CServeProcess host(argv[1], {"--plugin-dir", argv[2], "--report-dir", reports.string(), "--threads",
                                     std::to_string(clients)});
        const std::regex url("URL=\"http://127\\.0\\.0\\.1:[0-9]+(/reports/[^\"]+)\" Status=\"0\"");
        const auto start = std::chrono::steady_clock::now();
        std::vector<std::thread> threads;
        for (int c = 0; c < clients; ++c) {
            threads.emplace_back([&, c] {
                httplib::Client client("127.0.0.1", host.GetPort());
                client.set_keep_alive(true);
                client.set_tcp_nodelay(true);
                for (int r; (r = next++) < requests;) {
                    const std::string title = "Load c" + std::to_string(c) + " r" + std::to_string(r);
                    const httplib::Result made = client.Post("/messages", ReportRequest(title), "application/xml");
                    std::smatch match;
                    if (!made || made->status != 200 || !std::regex_search(made->body, match, url)) {
                        fail(title + ": " + (made ? std::to_string(made->status) + " " + made->body
                                                  : "no answer: " + httplib::to_string(made.error())));
                        continue;
                    }
                    ++answered;
                    const httplib::Result page = client.Get(match[1].str());
                    if (!page || page->status != 200) {
                        fail(title + ": " + match[1].str() + " not fetched");
                        continue;
                    }
                    ++fetched;
                    if (const std::string problem = CheckWhole(page->body); !problem.empty())
                        fail(title + ": " + match[1].str() + " " + problem);
                }
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        stopStatus = host.Stop();
    } catch (const std::exception& e) {
        fail(e.what());
    }

    int files = 0;
    for (const auto& entry : fs::directory_iterator(reports)) {
        ++files;
        const std::string name = entry.path().filename().string();
        if (!std::regex_match(name, std::regex("Report_[0-9]+-[0-9]+-[0-9]+_[0-9]+-[0-9]+-[0-9]+\\.html")))
            fail("left in the report directory: " + name);
        else if (const std::string problem = CheckWhole(ReadFile(entry.path())); !problem.empty())
            fail(name + " " + problem);
    }
    fs::remove_all(pattern);
    if (stopStatus != 0)
        fail("twhost serve ended with " + std::to_string(stopStatus) + " on SIGTERM");

    std::cout << clients << " clients, " << requests << " report requests: " << answered << " answered, " << fetched
              << " reports fetched whole, " << files << " files left, in " << seconds << " s: "
              << (seconds > 0 ? static_cast<int>(requests / seconds) : 0) << " reports/s ("
              << (seconds > 0 ? static_cast<int>(2 * requests / seconds) : 0) << " HTTP requests/s)\n";
    for (const std::string& failure : failures)
        std::cout << "FAILED: " << failure << '\n';
    return failures.empty() && answered == requests && fetched == requests ? 0 : 1;
}
