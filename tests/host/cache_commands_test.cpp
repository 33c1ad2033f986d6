// twhost cache as a process: a saved cache file inspected and edited, and
// every failure leaving the file as it was.
#include <gtest/gtest.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "host_run.h"
#include "varlib/cache/MemoryCache.h"
#include "varlib/formats/JSON.h"

namespace fs = std::filesystem;

namespace {

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
    const std::string file = dir.File("cache.xml");
    ASSERT_EQ(RunTwhost({"cache", "put", file, "hosts", kTable, "--index", "Name"}).status, 0);   // makes the file
    chmod(file.c_str(), 0640);
    RunCases({{{"cache", "put", file, "greeting", "\"hello\\nworld\""}, 0, "", ""},
              {{"cache", "put", file, "", "42"}, 0, "", ""},
              {{"cache", "get", file, ""}, 0, "42\n", ""},
              {{"cache", "find", file, "hosts", "beta"}, 0, "r2\n", ""},
              // Sorted by key, the empty one first.
              {{"cache", "show", file}, 0,
               "\"\": INT 42\n...\"greeting\": STRING hello\n    world\n...\"hosts\": ARRAY of 2 elements\n...alpha", ""}},
             {});
    EXPECT_EQ(fs::status(file).permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read)
        << "the renamed file keeps the old one's permissions";
    const HostRun hosts = RunTwhost({"cache", "get", file, "hosts"});
    EXPECT_EQ(JsonValue(hosts.out), JsonValue(kTable)) << Describe(hosts);

    // The library reads what twhost wrote, index included.
    CMemoryCache* cache = CMemoryCache::Instance();
    ASSERT_EQ(cache->Load(CString::FromUtf8(file)), 1);
    EXPECT_EQ(cache->GetCount(), 3);
    CString index;
    EXPECT_TRUE(cache->FindEntryByValue(u"hosts", u"alpha", index));
    EXPECT_EQ(index, CString(u"r1"));
    CMemoryCache::CleanUp();

    EXPECT_EQ(RunTwhost({"cache", "remove", file, "hosts"}).status, 0);
    EXPECT_EQ(RunTwhost({"cache", "get", file, "hosts"}).status, 1);
    EXPECT_EQ(RunTwhost({"cache", "show", file}).out.find("hosts"), std::string::npos);
    EXPECT_EQ(FileCount(dir.Path()), 1) << "nothing is left beside the file";
}

TEST(TwhostCache, FailuresNameTheProblemAndLeaveTheFileAlone) {
    TempDir dir;
    const std::string good = dir.File("good.xml"), junk = dir.File("junk.xml"), missing = dir.File("missing.xml");
    ASSERT_EQ(RunTwhost({"cache", "put", good, "hosts", kTable, "--index", "Name"}).status, 0);
    WriteBytes(junk, "<html>not a cache</html>");
    const std::string goodBefore = ReadBytes(good);
    RunCases({{{"cache", "get", missing, "k"}, 1, "", "no cache file"},
              {{"cache", "remove", missing, "k"}, 1, "", "no cache file"},
              {{"cache", "show", junk}, 1, "", "not a cache file"},
              {{"cache", "put", junk, "k", "1"}, 1, "", "not a cache file"},
              {{"cache", "show", dir.Path()}, 1, "", "is not a file"},
              {{"cache", "get", good, "nope"}, 1, "", "no key \"nope\""},
              {{"cache", "get", good, "HOSTS"}, 1, "", "no key \"HOSTS\""},
              {{"cache", "find", good, "nope", "alpha"}, 1, "", "no key \"nope\""},
              {{"cache", "find", good, "hosts", "ALPHA"}, 1, "", "has no text \"ALPHA\""},
              {{"cache", "remove", good, "nope"}, 1, "", "no key \"nope\""},
              {{"cache", "put", good, "k", "{\"a\": "}, 2, "", "not readable JSON"},
              {{"cache", "put", good, "k", "[1] 2"}, 2, "", "unexpected text after the JSON value"},
              {{"cache", "put", good, "k", "  "}, 2, "", "no JSON value"},
              {{"cache", "put", dir.File("no/such/dir.xml"), "k", "1"}, 1, "", "cannot write"},
              {{"cache"}, 2, "", "show, get, find, put or remove"},
              {{"cache", "drop", good}, 2, "", "drop"}},
             [&] {
                 EXPECT_EQ(ReadBytes(good), goodBefore);
                 EXPECT_EQ(ReadBytes(junk), "<html>not a cache</html>");
                 EXPECT_EQ(FileCount(dir.Path()), 2) << "no file is made, no temporary file left behind";
             });
}

}  // namespace

namespace {

// The hidden temporary files beside a cache file.
int TemporaryFiles(const std::string& dir) {
    int n = 0;
    for (const auto& entry : std::filesystem::directory_iterator(dir))
        n += entry.path().filename().string().rfind(".big.xml.", 0) == 0 ? 1 : 0;
    return n;
}

}  // namespace

// A link to a file not there yet stays a link; a put stopped by SIGTERM in the
// middle of writing leaves no temporary file behind.
TEST(TwhostCache, LinksStayLinksAndAStoppedWriteLeavesNothing) {
    TempDir dir;
    const std::string link = dir.File("link.xml"), real = dir.File("real.xml");
    std::filesystem::create_symlink("real.xml", link);
    ASSERT_EQ(RunTwhost({"cache", "put", link, "k", "1"}).status, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_NE(ReadBytes(real).find("MemoryCacheEntry"), std::string::npos);

    // A file large enough that writing it takes a while.
    const std::string big = dir.File("big.xml");
    {
        CMemoryCache& cache = *CMemoryCache::Instance();
        for (int i = 0; i < 300000; ++i)
            cache.AddEntry(CString::FromUtf8(("key " + std::to_string(i)).c_str()), CVariable(i), u"");
        ASSERT_EQ(cache.Save(CString::FromUtf8(big.c_str())), 1);
        CMemoryCache::CleanUp();
    }
    const std::string before = ReadBytes(big);
    bool stoppedWhileWriting = false;
    for (int attempt = 0; attempt < 5 && !stoppedWhileWriting; ++attempt) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            const int null = open("/dev/null", O_WRONLY);
            dup2(null, 1);
            dup2(null, 2);
            execl(TWHOST_PATH, TWHOST_PATH, "cache", "put", big.c_str(), "extra", "2", static_cast<char*>(nullptr));
            _exit(127);
        }
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (TemporaryFiles(dir.Path()) == 0 && std::chrono::steady_clock::now() < deadline &&
               waitpid(child, nullptr, WNOHANG) == 0)
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        stoppedWhileWriting = TemporaryFiles(dir.Path()) > 0;
        kill(child, SIGTERM);
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(TemporaryFiles(dir.Path()), 0);
        if (stoppedWhileWriting && WIFSIGNALED(status)) {
            EXPECT_EQ(WTERMSIG(status), SIGTERM);
            EXPECT_EQ(ReadBytes(big), before) << "the old file stands until the new one is whole";
        }
    }
    EXPECT_TRUE(stoppedWhileWriting) << "the write was never caught in progress";
}
