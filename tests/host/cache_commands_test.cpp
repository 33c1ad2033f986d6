// twhost cache as a process: a saved cache file inspected and edited, and
// every failure leaving the file as it was.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "varlib/cache/MemoryCache.h"
#include "varlib/formats/JSON.h"

extern char** environ;

namespace fs = std::filesystem;

namespace {

struct CacheRun {
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

class TempDir {
public:
    TempDir() {
        std::string pattern = (fs::temp_directory_path() / "twhost_cache_test_XXXXXX").string();
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

// Runs "twhost cache ARGS..."; stdout and stderr go to files.
CacheRun RunCache(const std::vector<std::string>& arguments) {
    TempDir scratch;
    const std::string outPath = (scratch.Path() / "out").string();
    const std::string errPath = (scratch.Path() / "err").string();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    std::vector<std::string> all{TWHOST_PATH, "cache"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& argument : all)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    CacheRun run;
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

std::string Describe(const CacheRun& run) {
    return "status " + std::to_string(run.status) + "\n--- stdout\n" + run.out + "--- stderr\n" + run.err;
}

// The value of JSON text, as its XML text, for comparing two JSON texts by content.
std::string JsonValue(const std::string& json) {
    int ok = 0;
    const CVariable value = CJSON::Parse(CString::FromUtf8(json), ok);
    EXPECT_TRUE(ok) << json;
    return value.ToXmlString().ToUtf8();
}

const char* const kTable = R"({"r1": {"Name": "alpha", "Port": 161}, "r2": {"Name": "beta", "Port": 162}})";

TEST(TwhostCache, EditsAndReadsACacheFile) {
    TempDir dir;
    const std::string file = (dir.Path() / "cache.xml").string();

    // put makes the file, and adds to it later.
    CacheRun run = RunCache({"put", file, "hosts", kTable, "--index", "Name"});
    ASSERT_EQ(run.status, 0) << Describe(run);
    ASSERT_TRUE(fs::exists(file));
    chmod(file.c_str(), 0640);
    run = RunCache({"put", file, "greeting", "\"hello\\nworld\""});
    ASSERT_EQ(run.status, 0) << Describe(run);
    run = RunCache({"put", file, "", "42"});
    ASSERT_EQ(run.status, 0) << Describe(run);
    EXPECT_EQ(fs::status(file).permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read)
        << "the renamed file keeps the old one's permissions";

    run = RunCache({"get", file, "hosts"});
    ASSERT_EQ(run.status, 0) << Describe(run);
    EXPECT_EQ(JsonValue(run.out), JsonValue(kTable));
    run = RunCache({"get", file, ""});
    EXPECT_EQ(run.out, "42\n") << Describe(run);

    run = RunCache({"find", file, "hosts", "beta"});
    EXPECT_EQ(run.status, 0) << Describe(run);
    EXPECT_EQ(run.out, "r2\n");

    run = RunCache({"show", file});
    ASSERT_EQ(run.status, 0) << Describe(run);
    EXPECT_EQ(run.out.find("\"\": INT 42\n"), 0u) << run.out;   // sorted: the empty key first
    EXPECT_NE(run.out.find("\"greeting\": STRING hello\n    world\n"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("\"hosts\": ARRAY of 2 elements\n"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("alpha"), std::string::npos) << run.out;

    // The library reads what twhost wrote, index included.
    CMemoryCache* cache = CMemoryCache::Instance();
    ASSERT_EQ(cache->Load(CString::FromUtf8(file)), 1);
    EXPECT_EQ(cache->GetCount(), 3);
    CString index;
    EXPECT_TRUE(cache->FindEntryByValue(u"hosts", u"alpha", index));
    EXPECT_EQ(index, CString(u"r1"));
    CMemoryCache::CleanUp();

    run = RunCache({"remove", file, "hosts"});
    EXPECT_EQ(run.status, 0) << Describe(run);
    run = RunCache({"get", file, "hosts"});
    EXPECT_EQ(run.status, 1) << Describe(run);
    run = RunCache({"show", file});
    EXPECT_EQ(run.out.find("hosts"), std::string::npos) << run.out;

    // Nothing is left beside the file.
    int files = 0;
    for ([[maybe_unused]] const auto& item : fs::directory_iterator(dir.Path()))
        ++files;
    EXPECT_EQ(files, 1);
}

TEST(TwhostCache, FailuresNameTheProblemAndLeaveTheFileAlone) {
    TempDir dir;
    const std::string good = (dir.Path() / "good.xml").string();
    const std::string junk = (dir.Path() / "junk.xml").string();
    const std::string missing = (dir.Path() / "missing.xml").string();
    ASSERT_EQ(RunCache({"put", good, "hosts", kTable, "--index", "Name"}).status, 0);
    std::ofstream(junk) << "<html>not a cache</html>";
    struct Case {
        std::vector<std::string> arguments;
        int status;
        const char* message;   // part of stderr
    };
    const std::vector<Case> cases = {
        {{"get", missing, "k"}, 1, "no cache file"},
        {{"show", missing}, 1, "no cache file"},
        {{"remove", missing, "k"}, 1, "no cache file"},
        {{"show", junk}, 1, "not a cache file"},
        {{"put", junk, "k", "1"}, 1, "not a cache file"},
        {{"show", dir.Path().string()}, 1, "is not a file"},
        {{"get", good, "nope"}, 1, "no key \"nope\""},
        {{"get", good, "HOSTS"}, 1, "no key \"HOSTS\""},
        {{"find", good, "nope", "alpha"}, 1, "no key \"nope\""},
        {{"find", good, "hosts", "ALPHA"}, 1, "has no text \"ALPHA\""},
        {{"remove", good, "nope"}, 1, "no key \"nope\""},
        {{"put", good, "k", "{\"a\": "}, 2, "not readable JSON"},
        {{"put", good, "k", "[1] 2"}, 2, "unexpected text after the JSON value"},
        {{"put", good, "k", "  "}, 2, "no JSON value"},
        {{"put", good}, 2, "KEY"},
        {{"put", (dir.Path() / "no/such/dir.xml").string(), "k", "1"}, 1, "cannot write"},
        {{}, 2, "show, get, find, put or remove"},
        {{"drop", good}, 2, "drop"},
    };
    const std::string goodBefore = ReadFile(good);
    const std::string junkBefore = ReadFile(junk);
    for (const Case& c : cases) {
        std::string line;
        for (const std::string& argument : c.arguments)
            line += argument + ' ';
        SCOPED_TRACE(line);
        const CacheRun run = RunCache(c.arguments);
        EXPECT_EQ(run.status, c.status) << Describe(run);
        EXPECT_NE(run.err.find(c.message), std::string::npos) << Describe(run);
        EXPECT_EQ(ReadFile(good), goodBefore);
        EXPECT_EQ(ReadFile(junk), junkBefore);
        EXPECT_FALSE(fs::exists(missing));
    }
    int files = 0;
    for ([[maybe_unused]] const auto& item : fs::directory_iterator(dir.Path()))
        ++files;
    EXPECT_EQ(files, 2) << "no temporary file is left behind";
}

}  // namespace
