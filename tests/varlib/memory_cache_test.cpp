// CMemoryCache: the instance, keys, look-ups by field text, the cache file
// (round trip, written form, failures, damaged files), and four threads
// sharing the instance.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "corelib/framework/File.h"
#include "corelib/framework/InvalidArgException.h"
#include "corelib/framework/SingleLock.h"
#include "corelib/temp_dir.h"
#include "test_values.h"
#include "varlib/cache/MemoryCache.h"

using namespace tv;

namespace {

// Reaches the protected parts: the node constructor, the key map's size and the lock.
class CacheProbe : public CMemoryCache {
public:
    CacheProbe() = default;
    explicit CacheProbe(CXML& node) : CMemoryCache(node) {}
    unsigned int Buckets() const { return m_entries.GetHashTableSize(); }
    CCriticalSection& Lock() { return m_lock; }
    // The tree of any cache, through the member this class may name.
    static CXML TreeOf(const CMemoryCache& cache) { return (cache.*(&CacheProbe::ToXml))(); }
    // Makes a probe the instance, so that a test can reach the instance's lock.
    static CacheProbe* Install() {
        CleanUp();
        auto* probe = new CacheProbe();
        m_pInstance = probe;
        return probe;
    }
};

// Every test starts and ends without an instance.
class MemoryCacheTest : public ::testing::Test {
protected:
    ~MemoryCacheTest() override { CMemoryCache::CleanUp(); }
    CString Path(const std::string& name) const { return Text(dir.File(name).c_str()); }
    // The text of the value under key; "<none>" without one.
    std::string At(const char16_t* key) {
        const CVariable* value = cache.Lookup(key);
        return value ? value->ToString(0).ToUtf8() : "<none>";
    }

    TempDir dir;
    CMemoryCache& cache = (CMemoryCache::CleanUp(), *CMemoryCache::Instance());
};

// CleanUp without an instance, twice, and followed by a fresh, empty instance.
TEST(MemoryCache, InstanceIsMadeOnceAndCleanUpEndsIt) {
    CMemoryCache::CleanUp();
    CMemoryCache* first = CMemoryCache::Instance();
    ASSERT_TRUE(first != nullptr && CMemoryCache::Instance() == first);
    EXPECT_EQ(first->ToString(), CString(u"<MemoryCache/>"));
    first->AddEntry(u"k", CVariable(1), u"");
    CMemoryCache::CleanUp();
    CMemoryCache::CleanUp();
    EXPECT_TRUE(CMemoryCache::Instance()->Lookup(u"k") == nullptr && CMemoryCache::Instance()->GetCount() == 0);
    EXPECT_EQ(CacheProbe().Buckets(), 100000u);
    CMemoryCache::CleanUp();
}

TEST_F(MemoryCacheTest, KeysAddReplaceAndRemove) {
    for (const char* key : {"", "Key", "key"})
        cache.AddEntry(Text(key), Str(key[0] ? key : "empty"), u"");
    cache.AddEntry(u"key", CVariable(2), u"");              // replaced: the count stays
    cache.AddEntry(u"Key", *cache.Lookup(u"Key"), u"");     // the cached object itself, stored again
    // A value whose indexing throws leaves the old entry as it was.
    const CVariable badTable = Array({{"r", Array({{"When", CVariable(CTime(int64_t{1} << 40))}})}});
    EXPECT_THROW(cache.AddEntry(u"Key", badTable, u"When"), CInvalidArgException);
    cache.RemoveEntry(u"absent");
    cache.RemoveEntry(u"KEY");
    EXPECT_EQ(At(u"") + "|" + At(u"Key") + "|" + At(u"key") + "|" + std::to_string(cache.GetCount()), "empty|Key|2|3");
    cache.RemoveEntry(u"key");
    EXPECT_EQ(At(u"key") + std::to_string(cache.GetCount()), "<none>2");
    cache.RemoveAllEntries();
    cache.AddEntry(u"again", CVariable(3), u"");
    EXPECT_EQ(At(u"") + At(u"again") + std::to_string(cache.GetCount()), "<none>31");
}

TEST_F(MemoryCacheTest, FindEntryByValueSearchesTheIndexByExactText) {
    const CVariable hosts = Array({{"h1", Array({{"Name", Str("alpha")}, {"Port", CVariable(161)}})},
                                   {"h2", Array({{"Name", Str("beta")}, {"Port", CVariable(162)}})}});
    cache.AddEntry(u"byName", hosts, u"Name");
    cache.AddEntry(u"byPort", hosts, u"Port");
    cache.AddEntry(u"unindexed", hosts, u"");
    cache.AddEntry(u"scalar", Str("alpha"), u"Name");
    cache.AddEntry(u"list", Array({{"0", Str("eth0")}, {"1", Str("eth1")}}), u"any");
    const char* const cases[][3] = {   // key, text, the index found ("-": none, and index untouched)
        {"byName", "alpha", "h1"}, {"byName", "beta", "h2"},  {"byName", "Alpha", "-"},   {"byName", "alph", "-"},
        {"byName", "161", "-"},    {"byPort", "162", "h2"},   {"byPort", "162.0", "-"},   {"unindexed", "alpha", "-"},
        {"scalar", "alpha", "-"},  {"list", "eth1", "1"},     {"absent", "alpha", "-"},   {"BYNAME", "alpha", "-"},
    };
    for (const auto& c : cases) {
        CString index(u"-");
        const bool found = cache.FindEntryByValue(Text(c[0]), Text(c[1]), index) != 0;
        EXPECT_EQ((found ? "found " : "") + index.ToUtf8(), (c[2][0] != '-' ? "found " : "") + std::string(c[2]))
            << c[0] << " / " << c[1];
    }
}

TEST_F(MemoryCacheTest, ReadsEntriesWhateverTheirTagAndKeepsTheLastOfAKey) {
    WriteBytes(dir.File("hand.xml"),
               R"(<MemoryCache><MemoryCacheEntry Key="a"><VARIABLE Type="20000" Value="1"/></MemoryCacheEntry>)"
               R"(<Other><VARIABLE Type="20001" Value="no key"/></Other>)"
               R"(<MemoryCacheEntry Key="a"><VARIABLE Type="20000" Value="2"/>)"
               R"(<ENTRIES HashTableSize="1"><ENTRY Value="2" Index="two"/></ENTRIES></MemoryCacheEntry>)"
               R"(<MemoryCacheEntry Key="bare"/></MemoryCache>)");
    ASSERT_EQ(cache.Load(Path("hand.xml")), 1);
    EXPECT_EQ(cache.GetCount(), 3);
    EXPECT_EQ(At(u"a") + "|" + At(u"") + "|" + At(u"bare"), "2|no key|<none>");   // "bare" has no value
    CString index;
    EXPECT_TRUE(cache.FindEntryByValue(u"a", u"2", index));
    EXPECT_EQ(index, CString(u"two"));

    CXML node(CString::FromUtf8(ReadBytes(dir.File("hand.xml"))), CString());
    CacheProbe fromNode(node);
    EXPECT_EQ(fromNode.ToString(), cache.ToString());
    EXPECT_EQ(fromNode.Buckets(), 100000u);
}

TEST_F(MemoryCacheTest, FailedSaveOrLoadLeavesTheCacheAsItWas) {
    std::filesystem::create_directory(dir.File("dir"));
    for (const auto& [name, bytes] : std::map<std::string, std::string>{
             {"text.xml", "not XML at all"}, {"wrong-root.xml", R"(<Cache><MemoryCacheEntry Key="x"/></Cache>)"},
             {"zero.xml", ""}, {"unclosed.xml", R"(<MemoryCache><MemoryCacheEntry Key="x">)"},
             {"dup-attr.xml", R"(<MemoryCache><MemoryCacheEntry Key="x" Key="y"/></MemoryCache>)"}})
        WriteBytes(dir.File(name), bytes);
    cache.AddEntry(u"table", Array({{"r1", Row({{"Name", "alpha"}})}}), u"Name");
    cache.AddEntry(u"scalar", CVariable(7), u"");
    const CString before = cache.ToString();
    // "<" loads, ">" saves, a path in the directory or, with nothing after, the empty path.
    for (const std::string op : {"<missing.xml", "<dir", "<text.xml", "<wrong-root.xml", "<zero.xml", "<unclosed.xml",
                                 "<dup-attr.xml", "<", ">nowhere/cache.xml", ">dir", ">"}) {
        SCOPED_TRACE(op);
        const CString path = op.size() > 1 ? Path(op.substr(1)) : CString();
        EXPECT_EQ(op[0] == '<' ? cache.Load(path) : cache.Save(path), 0);
        EXPECT_EQ(cache.ToString(), before);
        CString index;
        EXPECT_TRUE(cache.FindEntryByValue(u"table", u"alpha", index));
    }
}

// Every value and its index come back from the file, and a load replaces
// what was there. A copy cut short or with bytes changed: Load gives 0 and
// changes nothing, or 1 and holds exactly what the damaged text says (never a
// merge with what was there).
TEST_F(MemoryCacheTest, SaveLoadAndDamagedFiles) {
    std::map<std::string, std::pair<std::string, Pairs>> saved;   // key -> the value's XML, its index
    for (const auto& [name, value] : EveryType()) {
        const std::string key = "k" + std::to_string(saved.size()) + " " + name;
        cache.AddEntry(Text(key.c_str()), value, u"Name");
        CMemoryCacheEntry entry;
        entry.Create(value, u"Name");
        saved[key] = {XmlOf(value), PairsOf(entry)};
    }
    cache.AddEntry(u"", Str("under the empty key"), u"");
    saved[""] = {XmlOf(Str("under the empty key")), {}};
    // A table large enough that the file is written in several pieces.
    std::vector<std::pair<std::string, CVariable>> rows;
    for (int r = 0; r < 3000; ++r)
        rows.emplace_back("row " + std::to_string(r), Row({{"Name", "host <" + std::to_string(r) + ">"}}));
    const CVariable table = Array(rows);
    cache.AddEntry(u"table", table, u"Name");
    CMemoryCacheEntry tableEntry;
    tableEntry.Create(table, u"Name");
    saved["table"] = {XmlOf(table), PairsOf(tableEntry)};
    EXPECT_FALSE(saved["k12 ARRAY of rows"].second.empty()) << "the table must have been indexed";
    ASSERT_EQ(cache.Save(Path("good.xml")), 1);
    const std::string good = ReadBytes(dir.File("good.xml"));
    ASSERT_GT(good.size(), 200000u);
    // The file and the text are those of the tree, written without building it.
    CFile treeFile;
    ASSERT_TRUE(treeFile.Open(Path("tree.xml"), CFile::modeCreate | CFile::modeWrite));
    ASSERT_EQ(CacheProbe::TreeOf(cache).XMLWrite(&treeFile, 1), 1);
    treeFile.Close();
    EXPECT_TRUE(ReadBytes(dir.File("tree.xml")) == good);
    EXPECT_TRUE(cache.ToString() == CacheProbe::TreeOf(cache).ToString(1));

    std::vector<std::pair<std::string, std::string>> damaged;   // what was done, the bytes
    for (int tenth = 0; tenth < 10; ++tenth)
        damaged.emplace_back("cut at " + std::to_string(tenth) + "/10", good.substr(0, good.size() * tenth / 10));
    std::mt19937 random(20240611);
    for (int i = 0; i < 150; ++i) {
        std::string bytes = good, what = "flipped";
        for (int f = 0; f <= i % 3; ++f) {
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
        WriteBytes(dir.File("damaged.xml"), bytes);
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
        EXPECT_LE(cache.GetCount(), static_cast<int>(saved.size()));
        EXPECT_EQ(cache.Save(Path("resaved.xml")), 1);
    }
    EXPECT_GT(loaded, 0);   // most flips land in attribute text and still read; the cuts never do

    cache.AddEntry(u"sentinel", CVariable(1), u"");
    ASSERT_EQ(cache.Load(Path("good.xml")), 1);
    EXPECT_EQ(cache.Lookup(u"sentinel"), nullptr);
    EXPECT_EQ(cache.GetCount(), static_cast<int>(saved.size()));
    for (const auto& [key, want] : saved) {
        SCOPED_TRACE(key);
        CVariable* value = cache.Lookup(Text(key.c_str()));
        ASSERT_NE(value, nullptr);
        EXPECT_EQ(XmlOf(*value), want.first);
        for (const auto& [text, index] : want.second) {
            CString found;
            EXPECT_TRUE(cache.FindEntryByValue(Text(key.c_str()), Text(text.c_str()), found));
            EXPECT_EQ(found.ToUtf8(), index);
        }
    }
    // An empty cache writes a root without children and reads back empty.
    cache.RemoveAllEntries();
    ASSERT_EQ(cache.Save(Path("empty.xml")), 1);
    EXPECT_EQ(ReadBytes(dir.File("empty.xml")), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<MemoryCache />\n");
    cache.AddEntry(u"x", CVariable(1), u"");
    ASSERT_EQ(cache.Load(Path("empty.xml")), 1);
    EXPECT_EQ(cache.GetCount(), 0);
}

// Four threads share the instance on keys of their own for a bounded time:
// add, replace, remove, look up, search, count, print, save and load. A load
// replaces the whole cache, so a thread's good loads run under the cache's own
// (recursive) lock around the save of that very file, as do its uses of a
// Lookup pointer; failed loads run without it, since they change nothing. At
// the end each thread's last values must be there, and nothing else.
TEST(MemoryCacheConcurrency, FourThreadsKeepTheirOwnValues) {
    CacheProbe* shared = CacheProbe::Install();
    ASSERT_EQ(CMemoryCache::Instance(), shared);
    TempDir dir;
    WriteBytes(dir.File("damaged.xml"), "<MemoryCache><MemoryCacheEntry Key=\"x\">");
    constexpr int kThreads = 4, kKeys = 6, kMinRounds = 10;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(1500);

    // Per thread: key -> the value's XML and the Name that row1 holds in its index.
    std::vector<std::map<std::string, std::pair<std::string, std::string>>> expected(kThreads);
    std::vector<std::vector<std::string>> failures(kThreads);
    std::vector<int> rounds(kThreads, 0);

    auto work = [&](int t) {
        CMemoryCache& cache = *CMemoryCache::Instance();
        auto& mine = expected[t];
        const auto check = [&](bool ok, const std::string& what) {
            if (!ok && failures[t].size() < 20)
                failures[t].push_back(what);
        };
        const CString own = Text(dir.File("t" + std::to_string(t) + ".xml").c_str());
        const CString missing = Text(dir.File("missing.xml").c_str()), damaged = Text(dir.File("damaged.xml").c_str());
        for (int r = 0; r < kMinRounds || std::chrono::steady_clock::now() < deadline; ++r) {
            rounds[t] = r + 1;
            const std::string prefix = "t" + std::to_string(t) + "/k", key = prefix + std::to_string(r % kKeys);
            const CString ckey = Text(key.c_str());
            cache.AddEntry(ckey, Str(("first " + std::to_string(r)).c_str()), u"");   // added, then replaced
            std::vector<std::pair<std::string, CVariable>> rows;
            for (int i = 0; i < 3; ++i) {
                const std::string name = key + "#" + std::to_string(r) + "." + std::to_string(i);
                rows.emplace_back("row" + std::to_string(i), Array({{"Name", Str(name.c_str())}, {"Port", CVariable(i)}}));
            }
            const CVariable table = Array(rows);
            cache.AddEntry(ckey, table, u"Name");
            mine[key] = {XmlOf(table), key + "#" + std::to_string(r) + ".1"};
            CString index;
            check(cache.FindEntryByValue(ckey, Text(mine[key].second.c_str()), index) && index.ToUtf8() == "row1",
                  "index of " + key);
            {
                CSingleLock hold(&shared->Lock(), 1);
                const CVariable* value = cache.Lookup(ckey);
                check(value != nullptr && XmlOf(*value) == mine[key].first, "value of " + key);
            }
            if (r % 3 == 2) {
                const std::string gone = prefix + std::to_string((r + 1) % kKeys);
                cache.RemoveEntry(Text(gone.c_str()));
                mine.erase(gone);
                check(cache.Lookup(Text(gone.c_str())) == nullptr, "removed " + gone + " is still there");
            }
            const int count = cache.GetCount();
            check(count >= static_cast<int>(mine.size()) && count <= kThreads * kKeys, "count " + std::to_string(count));
            check(cache.ToString().Find(u"<MemoryCache") == 0, "text");
            {
                CSingleLock hold(&shared->Lock(), 1);
                const int before = cache.GetCount();
                check(cache.Save(own) == 1 && cache.Load(own) == 1 && cache.GetCount() == before, "save and load");
            }
            check(cache.Load(missing) == 0 && cache.Load(damaged) == 0, "a failed load succeeded");
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
            EXPECT_EQ(XmlOf(*value), want.first) << key;
            CString index;
            EXPECT_TRUE(shared->FindEntryByValue(Text(key.c_str()), Text(want.second.c_str()), index)) << key;
            EXPECT_EQ(index.ToUtf8(), "row1");
        }
        total += expected[t].size();
    }
    EXPECT_EQ(shared->GetCount(), static_cast<int>(total));
    CMemoryCache::CleanUp();
}

}  // namespace
