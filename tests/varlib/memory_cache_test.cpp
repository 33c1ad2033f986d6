// CMemoryCache: the singleton, the operations by key and by field text, the
// cache file (round trip, written form, failures, damaged files), and four
// threads sharing the instance.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "cache_test_values.h"
#include "corelib/framework/InvalidArgException.h"
#include "corelib/framework/SingleLock.h"
#include "corelib/temp_dir.h"
#include "varlib/cache/MemoryCache.h"

using namespace cachetest;

namespace {

// Reaches the protected parts: the node constructor and the key map's size.
class CacheProbe : public CMemoryCache {
public:
    CacheProbe() = default;
    explicit CacheProbe(CXML& node) : CMemoryCache(node) {}
    unsigned int Buckets() const { return m_entries.GetHashTableSize(); }
};

std::string ReadBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

void WriteBytes(const std::string& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// Every test starts and ends without an instance.
class MemoryCacheTest : public ::testing::Test {
protected:
    void SetUp() override { CMemoryCache::CleanUp(); }
    void TearDown() override { CMemoryCache::CleanUp(); }

    CMemoryCache& Cache() { return *CMemoryCache::Instance(); }
    CString Path(const char* name) const { return Text(m_dir.File(name).c_str()); }

    TempDir m_dir;
};

TEST_F(MemoryCacheTest, InstanceIsMadeOnceAndCleanUpEndsIt) {
    CMemoryCache::CleanUp();   // nothing to clean: nothing happens
    CMemoryCache* first = CMemoryCache::Instance();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(CMemoryCache::Instance(), first);
    EXPECT_EQ(first->GetCount(), 0);
    EXPECT_EQ(first->Lookup(u""), nullptr);
    EXPECT_EQ(first->ToString(), CString(u"<MemoryCache/>"));
    first->AddEntry(u"k", CVariable(1), u"");
    CMemoryCache::CleanUp();
    CMemoryCache::CleanUp();
    CMemoryCache* second = CMemoryCache::Instance();
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->GetCount(), 0);
    EXPECT_EQ(second->Lookup(u"k"), nullptr);
    EXPECT_EQ(CacheProbe().Buckets(), 100000u);
}

TEST_F(MemoryCacheTest, KeysAddReplaceAndRemove) {
    CMemoryCache& cache = Cache();
    cache.AddEntry(u"", Str("empty key"), u"");
    cache.AddEntry(u"Key", Str("upper"), u"");
    cache.AddEntry(u"key", Str("lower"), u"");
    EXPECT_EQ(cache.GetCount(), 3);
    EXPECT_EQ(cache.Lookup(u"")->ToString(0), CString(u"empty key"));
    EXPECT_EQ(cache.Lookup(u"Key")->ToString(0), CString(u"upper"));

    // Replacing keeps the count and gives a new object.
    cache.AddEntry(u"key", CVariable(2), u"");
    EXPECT_EQ(cache.GetCount(), 3);
    EXPECT_TRUE(cache.Lookup(u"key")->IsInteger());

    // The cached object itself may be stored again under its own key.
    cache.AddEntry(u"Key", *cache.Lookup(u"Key"), u"");
    EXPECT_EQ(cache.Lookup(u"Key")->ToString(0), CString(u"upper"));

    // A value whose indexing throws leaves the old entry as it was.
    CVariable badTable = Array({{"r", Array({{"When", CVariable(CTime(int64_t{1} << 40))}})}});
    EXPECT_THROW(cache.AddEntry(u"Key", badTable, u"When"), CInvalidArgException);
    EXPECT_EQ(cache.Lookup(u"Key")->ToString(0), CString(u"upper"));
    EXPECT_EQ(cache.GetCount(), 3);

    cache.RemoveEntry(u"absent");
    cache.RemoveEntry(u"KEY");
    EXPECT_EQ(cache.GetCount(), 3);
    cache.RemoveEntry(u"key");
    EXPECT_EQ(cache.Lookup(u"key"), nullptr);
    EXPECT_EQ(cache.GetCount(), 2);

    cache.RemoveAllEntries();
    EXPECT_EQ(cache.GetCount(), 0);
    EXPECT_EQ(cache.Lookup(u""), nullptr);
    cache.AddEntry(u"again", CVariable(3), u"");
    EXPECT_EQ(cache.GetCount(), 1);
    EXPECT_EQ(cache.Lookup(u"again")->m_nValue, 3);
}

TEST_F(MemoryCacheTest, FindEntryByValueSearchesTheIndexByExactText) {
    CMemoryCache& cache = Cache();
    CVariable hosts = Array({{"h1", Array({{"Name", Str("alpha")}, {"Port", CVariable(161)}})},
                             {"h2", Array({{"Name", Str("beta")}, {"Port", CVariable(162)}})}});
    cache.AddEntry(u"byName", hosts, u"Name");
    cache.AddEntry(u"byPort", hosts, u"Port");
    cache.AddEntry(u"unindexed", hosts, u"");
    cache.AddEntry(u"scalar", Str("alpha"), u"Name");
    cache.AddEntry(u"list", Array({{"0", Str("eth0")}, {"1", Str("eth1")}}), u"any");
    struct Case {
        const char* key;
        const char* value;
        const char* index;   // nullptr: not found
    };
    const std::vector<Case> cases = {
        {"byName", "alpha", "h1"},   {"byName", "beta", "h2"},    {"byName", "Alpha", nullptr},
        {"byName", "alph", nullptr}, {"byName", "161", nullptr},  {"byPort", "162", "h2"},
        {"byPort", "162.0", nullptr}, {"unindexed", "alpha", nullptr}, {"scalar", "alpha", nullptr},
        {"list", "eth1", "1"},       {"absent", "alpha", nullptr}, {"BYNAME", "alpha", nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.key) + " / " + c.value);
        CString index(u"untouched");
        const int found = cache.FindEntryByValue(Text(c.key), Text(c.value), index);
        EXPECT_EQ(found != 0, c.index != nullptr);
        EXPECT_EQ(index.ToUtf8(), c.index ? c.index : "untouched");
    }
}

TEST_F(MemoryCacheTest, SaveAndLoadRestoreEveryValueAndIndex) {
    CMemoryCache& cache = Cache();
    std::map<std::string, std::string> values;   // key -> the value's XML
    std::map<std::string, Pairs> indexes;
    int n = 0;
    for (const auto& [name, value] : EveryType()) {
        const std::string key = "k" + std::to_string(n++) + " " + name;
        cache.AddEntry(Text(key.c_str()), value, u"Name");
        values[key] = XmlOf(value);
        CMemoryCacheEntry entry;
        entry.Create(value, u"Name");
        indexes[key] = PairsOf(entry);
    }
    cache.AddEntry(u"", Str("under the empty key"), u"");
    values[""] = XmlOf(Str("under the empty key"));
    indexes[""] = {};
    ASSERT_EQ(cache.Save(Path("cache.xml")), 1);

    // A load replaces: what was added since is gone.
    cache.AddEntry(u"added later", CVariable(1), u"");
    cache.RemoveEntry(u"");
    ASSERT_EQ(cache.Load(Path("cache.xml")), 1);
    EXPECT_EQ(cache.Lookup(u"added later"), nullptr);
    EXPECT_EQ(cache.GetCount(), static_cast<int>(values.size()));
    for (const auto& [key, xml] : values) {
        SCOPED_TRACE(key);
        CVariable* value = cache.Lookup(Text(key.c_str()));
        ASSERT_NE(value, nullptr);
        EXPECT_EQ(XmlOf(*value), xml);
        for (const auto& [text, index] : indexes[key]) {
            CString found;
            EXPECT_TRUE(cache.FindEntryByValue(Text(key.c_str()), Text(text.c_str()), found));
            EXPECT_EQ(found.ToUtf8(), index);
        }
    }
    EXPECT_FALSE(indexes["k12 ARRAY of rows"].empty()) << "the table must have been indexed";

    // An empty cache writes a root without children and reads back empty.
    cache.RemoveAllEntries();
    ASSERT_EQ(cache.Save(Path("empty.xml")), 1);
    EXPECT_EQ(ReadBytes(m_dir.File("empty.xml")), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<MemoryCache />\n");
    cache.AddEntry(u"x", CVariable(1), u"");
    ASSERT_EQ(cache.Load(Path("empty.xml")), 1);
    EXPECT_EQ(cache.GetCount(), 0);
}

TEST_F(MemoryCacheTest, ReadsEntriesWhateverTheirTagAndKeepsTheLastOfAKey) {
    WriteBytes(m_dir.File("hand.xml"),
               R"(<MemoryCache><MemoryCacheEntry Key="a"><VARIABLE Type="20000" Value="1"/></MemoryCacheEntry>)"
               R"(<Other><VARIABLE Type="20001" Value="no key"/></Other>)"
               R"(<MemoryCacheEntry Key="a"><VARIABLE Type="20000" Value="2"/>)"
               R"(<ENTRIES HashTableSize="1"><ENTRY Value="2" Index="two"/></ENTRIES></MemoryCacheEntry>)"
               R"(<MemoryCacheEntry Key="bare"/></MemoryCache>)");
    CMemoryCache& cache = Cache();
    ASSERT_EQ(cache.Load(Path("hand.xml")), 1);
    EXPECT_EQ(cache.GetCount(), 3);
    EXPECT_EQ(cache.Lookup(u"a")->m_nValue, 2);
    EXPECT_EQ(cache.Lookup(u"")->ToString(0), CString(u"no key"));
    EXPECT_EQ(cache.Lookup(u"bare"), nullptr) << "an entry without value";
    CString index;
    EXPECT_TRUE(cache.FindEntryByValue(u"a", u"2", index));
    EXPECT_EQ(index, CString(u"two"));

    CXML node(CString::FromUtf8(ReadBytes(m_dir.File("hand.xml"))), CString());
    CacheProbe fromNode(node);
    EXPECT_EQ(fromNode.ToString(), cache.ToString());
    EXPECT_EQ(fromNode.Buckets(), 100000u);
}

TEST_F(MemoryCacheTest, FailedSaveOrLoadLeavesTheCacheAsItWas) {
    std::filesystem::create_directory(m_dir.File("dir"));
    WriteBytes(m_dir.File("text.xml"), "not XML at all");
    WriteBytes(m_dir.File("wrong-root.xml"), "<Cache><MemoryCacheEntry Key=\"x\"/></Cache>");
    WriteBytes(m_dir.File("zero.xml"), "");
    WriteBytes(m_dir.File("unclosed.xml"), "<MemoryCache><MemoryCacheEntry Key=\"x\">");
    WriteBytes(m_dir.File("dup-attr.xml"), "<MemoryCache><MemoryCacheEntry Key=\"x\" Key=\"y\"/></MemoryCache>");
    struct Case {
        const char* name;
        bool save;   // Save to the path, else Load from it
        std::string path;
    };
    const std::vector<Case> cases = {
        {"load: missing file", false, m_dir.File("missing.xml")},
        {"load: a directory", false, m_dir.File("dir")},
        {"load: no XML", false, m_dir.File("text.xml")},
        {"load: another root", false, m_dir.File("wrong-root.xml")},
        {"load: empty file", false, m_dir.File("zero.xml")},
        {"load: unclosed root", false, m_dir.File("unclosed.xml")},
        {"load: one attribute twice", false, m_dir.File("dup-attr.xml")},
        {"load: empty path", false, ""},
        {"save: missing directory", true, m_dir.File("nowhere/cache.xml")},
        {"save: a directory", true, m_dir.File("dir")},
        {"save: empty path", true, ""},
    };
    CMemoryCache& cache = Cache();
    cache.AddEntry(u"table", Array({{"r1", Row({{"Name", "alpha"}})}}), u"Name");
    cache.AddEntry(u"scalar", CVariable(7), u"");
    const CString before = cache.ToString();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const int result = c.save ? cache.Save(Text(c.path.c_str())) : cache.Load(Text(c.path.c_str()));
        EXPECT_EQ(result, 0);
        EXPECT_EQ(cache.ToString(), before);
        CString index;
        EXPECT_TRUE(cache.FindEntryByValue(u"table", u"alpha", index));
    }
}

// A saved file cut short or with bytes changed: Load gives 0 and changes
// nothing, or gives 1 and holds exactly what the damaged text says (never a
// merge with what was there).
TEST_F(MemoryCacheTest, DamagedFilesLoadWhatTheirTextAllowsOrNothing) {
    CMemoryCache& cache = Cache();
    int n = 0;
    for (const auto& [name, value] : EveryType())
        cache.AddEntry(Text(("k" + std::to_string(n++)).c_str()), value, u"Name");
    ASSERT_EQ(cache.Save(Path("good.xml")), 1);
    const std::string good = ReadBytes(m_dir.File("good.xml"));
    ASSERT_GT(good.size(), 1000u);

    std::vector<std::pair<std::string, std::string>> damaged;   // what was done, the bytes
    for (int tenth = 0; tenth < 10; ++tenth)
        damaged.emplace_back("cut at " + std::to_string(tenth) + "/10", good.substr(0, good.size() * tenth / 10));
    std::mt19937 random(20240611);
    for (int i = 0; i < 150; ++i) {
        std::string bytes = good;
        const int flips = 1 + i % 3;
        std::string what = "flipped";
        for (int f = 0; f < flips; ++f) {
            const std::size_t at = random() % bytes.size();
            bytes[at] = static_cast<char>(bytes[at] ^ (1 + random() % 255));
            what += ' ';   // (not " " + text: g++ 12 -O3 warns falsely of overlapping copies there)
            what += std::to_string(at);
        }
        damaged.emplace_back(what, bytes);
    }

    int loaded = 0;
    for (const auto& [what, bytes] : damaged) {
        SCOPED_TRACE(what);
        WriteBytes(m_dir.File("damaged.xml"), bytes);
        cache.RemoveAllEntries();
        cache.AddEntry(u"sentinel", Array({{"r", Row({{"Name", "s"}})}}), u"Name");
        const CString before = cache.ToString();
        const int result = cache.Load(Path("damaged.xml"));
        if (result == 0) {
            EXPECT_EQ(cache.ToString(), before);
            continue;
        }
        ++loaded;
        EXPECT_EQ(result, 1);
        EXPECT_EQ(cache.Lookup(u"sentinel"), nullptr);
        EXPECT_LE(cache.GetCount(), n + 1);
        EXPECT_EQ(cache.Save(Path("resaved.xml")), 1);
    }
    // Most flips land in attribute text and still read; the cuts never do.
    EXPECT_GT(loaded, 0);
    ASSERT_EQ(cache.Load(Path("good.xml")), 1);
    EXPECT_EQ(cache.GetCount(), n);
}

// Four threads share the instance, each on keys of its own, for a bounded
// time: add, replace, remove, look up, search by field text, count, print,
// save and load. A load replaces the whole cache, so the loads that succeed
// run while their thread holds the cache's own (recursive) lock around a save
// and the load of that very file: each puts back exactly what was there, and
// the other threads' values survive it whatever they were doing. Loads that
// fail (a missing or damaged file) run without that hold, since a failed load
// must change nothing. A Lookup pointer is only used under the same hold, as
// the cache's threading rule asks of anyone who shares it with writers. At
// the end each thread's last values must be there, and nothing else.
class SharedCache : public CMemoryCache {
public:
    // Makes a SharedCache the instance, so that the test can reach its lock.
    static SharedCache* Install() {
        CMemoryCache::CleanUp();
        auto* cache = new SharedCache();
        m_pInstance = cache;
        return cache;
    }
    CCriticalSection& Lock() { return m_lock; }
};

TEST(MemoryCacheConcurrency, FourThreadsKeepTheirOwnValues) {
    SharedCache* shared = SharedCache::Install();
    ASSERT_EQ(CMemoryCache::Instance(), shared);
    TempDir dir;
    WriteBytes(dir.File("damaged.xml"), "<MemoryCache><MemoryCacheEntry Key=\"x\">");
    constexpr int kThreads = 4;
    constexpr int kKeys = 6;
    constexpr int kMinRounds = 10;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(1500);

    struct Expected {
        std::string xml;
        std::string text;   // a Name in the table's index
        std::string row;    // its array key
    };
    std::vector<std::map<std::string, Expected>> expected(kThreads);
    std::vector<std::vector<std::string>> failures(kThreads);
    std::vector<int> rounds(kThreads, 0);

    auto work = [&](int t) {
        CMemoryCache& cache = *CMemoryCache::Instance();
        std::map<std::string, Expected>& mine = expected[t];
        auto fail = [&](const std::string& what) {
            if (failures[t].size() < 20)
                failures[t].push_back("thread " + std::to_string(t) + ": " + what);
        };
        const CString own = Text(dir.File("t" + std::to_string(t) + ".xml").c_str());
        const CString missing = Text(dir.File("missing.xml").c_str());
        const CString damaged = Text(dir.File("damaged.xml").c_str());
        for (int r = 0; r < kMinRounds || std::chrono::steady_clock::now() < deadline; ++r) {
            rounds[t] = r + 1;
            const std::string key = "t" + std::to_string(t) + "/k" + std::to_string(r % kKeys);
            const CString ckey = Text(key.c_str());
            // Add, then replace with the round's own table.
            cache.AddEntry(ckey, Str(("first " + std::to_string(r)).c_str()), u"");
            std::vector<std::pair<std::string, CVariable>> rows;
            for (int i = 0; i < 3; ++i) {
                const std::string name = key + "#" + std::to_string(r) + "." + std::to_string(i);
                rows.emplace_back("row" + std::to_string(i), Array({{"Name", Str(name.c_str())}, {"Port", CVariable(i)}}));
            }
            const CVariable table = Array(rows);
            cache.AddEntry(ckey, table, u"Name");
            mine[key] = {XmlOf(table), key + "#" + std::to_string(r) + ".1", "row1"};

            CString index;
            if (!cache.FindEntryByValue(ckey, Text(mine[key].text.c_str()), index) || index.ToUtf8() != "row1")
                fail("index of " + key);
            {
                CSingleLock hold(&shared->Lock(), 1);
                CVariable* value = cache.Lookup(ckey);
                if (value == nullptr || XmlOf(*value) != mine[key].xml)
                    fail("value of " + key);
            }
            if (r % 3 == 2) {
                const std::string gone = "t" + std::to_string(t) + "/k" + std::to_string((r + 1) % kKeys);
                cache.RemoveEntry(Text(gone.c_str()));
                mine.erase(gone);
                if (cache.Lookup(Text(gone.c_str())) != nullptr)
                    fail("removed " + gone + " is still there");
            }
            const int count = cache.GetCount();
            if (count < static_cast<int>(mine.size()) || count > kThreads * kKeys)
                fail("count " + std::to_string(count));
            if (cache.ToString().Find(u"<MemoryCache") != 0)
                fail("text");
            {
                CSingleLock hold(&shared->Lock(), 1);
                const int before = cache.GetCount();
                if (cache.Save(own) != 1 || cache.Load(own) != 1 || cache.GetCount() != before)
                    fail("save and load of " + own.ToUtf8());
            }
            if (cache.Load(missing) != 0 || cache.Load(damaged) != 0)
                fail("a failed load succeeded");
        }
    };
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back(work, t);
    for (std::thread& thread : threads)
        thread.join();

    std::size_t total = 0;
    for (int t = 0; t < kThreads; ++t) {
        SCOPED_TRACE("thread " + std::to_string(t) + ", " + std::to_string(rounds[t]) + " rounds");
        for (const std::string& failure : failures[t])
            ADD_FAILURE() << failure;
        EXPECT_GE(rounds[t], kMinRounds);
        for (const auto& [key, want] : expected[t]) {
            CVariable* value = shared->Lookup(Text(key.c_str()));
            ASSERT_NE(value, nullptr) << key;
            EXPECT_EQ(XmlOf(*value), want.xml) << key;
            CString index;
            EXPECT_TRUE(shared->FindEntryByValue(Text(key.c_str()), Text(want.text.c_str()), index)) << key;
            EXPECT_EQ(index.ToUtf8(), want.row);
        }
        total += expected[t].size();
    }
    EXPECT_EQ(shared->GetCount(), static_cast<int>(total));
    CMemoryCache::CleanUp();
}

}  // namespace
