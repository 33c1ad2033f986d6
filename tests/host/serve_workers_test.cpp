// twhost serve with plug-ins that crash and hang: the message in question
// fails with the reason, everything else goes on, and the stop still cleans up.
#include <gtest/gtest.h>
#include <httplib.h>
#include <signal.h>
#include <stdlib.h>

#include <atomic>
#include <filesystem>
#include <future>
#include <regex>
#include <string>

#include "host/serve_process.h"
#include "host_run.h"

namespace fs = std::filesystem;

namespace {

std::string Execute(const std::string& plugin, const std::string& function, const std::string& parameters) {
    return "<MESSAGE Type=\"EXECUTE_REPORT\"><REPORT Plugin=\"" + plugin + "\" Report=\"" + function + "\">" +
           parameters + "</REPORT></MESSAGE>";
}

// Processes still running with "--parent PID" on their command line: workers left behind.
int WorkersOf(pid_t front) {
    const std::string mark = std::string("--parent") + '\0' + std::to_string(front) + '\0';
    int found = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc")) {
        std::error_code error;
        if (entry.is_directory(error) && std::isdigit(static_cast<unsigned char>(entry.path().filename().string()[0])) &&
            ReadBytes(entry.path() / "cmdline").find(mark) != std::string::npos)
            ++found;
    }
    return found;
}

TEST(ServeWorkersTest, ACrashOrAHangCostsItsMessageOnly) {
    TempDir temp;
    const fs::path dir = temp.Path();
    fs::create_directories(dir / "plugins");
    CopyPlugins(dir / "plugins");
    fs::copy_file(TW_FAULTY_FATAL_MODULE_PATH, dir / "plugins" / "faulty.twp", fs::copy_options::overwrite_existing);
    setenv("TW_FAULTY_CLEANUP_MARK", (dir / "cleanup.mark").c_str(), 1);
    setenv("TW_FAULTY_CLEANUP_THROWS", "1", 1);
    CServeProcess host(TWHOST_PATH,
                       {"--plugin-dir", (dir / "plugins").string(), "--report-dir", (dir / "reports").string(),
                        "--workers", "2", "--call-timeout", "2"},
                       (dir / "stderr").string());
    unsetenv("TW_FAULTY_CLEANUP_THROWS");
    unsetenv("TW_FAULTY_CLEANUP_MARK");
    const auto post = [&host](const std::string& body) {
        httplib::Client client("127.0.0.1", host.GetPort());
        client.set_read_timeout(20);
        return client.Post("/messages", body, "application/xml");
    };

    const std::string example = Execute("netinfo.twp", "InterfaceReport",
                                        "<VARIABLE_LIST><VARIABLE Type=\"20001\" Value=\"lo\"/></VARIABLE_LIST>");
    const std::string ok = "<REPORT URL=\"[^\"]+\" Status=\"0\" Reason=\"OK\"/>";
    const std::pair<std::string, std::string> steps[] = {   // the message, a regular expression its answer holds
        {example, ok},
        {Execute("faulty.twp", "Crash", "<VARIABLE_LIST/>"),
         "<REPORT Status=\"1\" Reason=\"[^\"]*signal 11 \\(SIGSEGV\\)[^\"]*\"/>"},
        {example, ok},
        {Execute("faulty.twp", "Hang", "<VARIABLE_LIST/>"), "<REPORT Status=\"1\" Reason=\"[^\"]*within 2 s[^\"]*\"/>"},
        {"<MESSAGE Type=\"RETRIEVE_PLUGINS\"/>",
         "<PLUGIN Name=\"faulty.twp\" Status=\"loaded\">.*<PLUGIN Name=\"netinfo.twp\" Status=\"loaded\">.*"
         "<PLUGIN Name=\"tables.twp\" Status=\"loaded\">"},
        {example, ok},
    };
    for (const auto& [body, answer] : steps) {
        SCOPED_TRACE(body);
        const httplib::Result result = post(body);
        ASSERT_TRUE(result) << httplib::to_string(result.error());
        EXPECT_EQ(result->status, 200) << result->body;
        EXPECT_TRUE(std::regex_search(result->body, std::regex(answer))) << result->body;
    }

    // While one worker hangs, the other one answers.
    std::atomic<bool> hangAnswered{false};
    auto hang = std::async(std::launch::async, [&] {
        const httplib::Result result = post(Execute("faulty.twp", "Hang", "<VARIABLE_LIST/>"));
        hangAnswered = true;
        return result ? result->body : std::string();
    });
    const httplib::Result during = post(example);
    EXPECT_FALSE(hangAnswered);
    ASSERT_TRUE(during);
    EXPECT_TRUE(std::regex_search(during->body, std::regex(ok))) << during->body;
    EXPECT_NE(hang.get().find("within 2 s"), std::string::npos);

    // Every worker alive at the stop cleans up, the one clean-up that throws is reported, none is left.
    const pid_t front = host.GetPid();
    EXPECT_EQ(host.Stop(SIGTERM), 0) << host.GetOutput() << ReadBytes(dir / "stderr");
    EXPECT_EQ(ReadBytes(dir / "cleanup.mark"), "PlgCleanUp\nPlgCleanUp\n");
    EXPECT_NE(ReadBytes(dir / "stderr").find("faulty.twp: PlgCleanUp failed: faulty: the clean-up failed"),
              std::string::npos)
        << ReadBytes(dir / "stderr");
    EXPECT_EQ(WorkersOf(front), 0);
}

}  // namespace
