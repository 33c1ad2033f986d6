// CMap and CMapEx: the hash, the walk order, the operations against std::map,
// copies and GetAt, the walk against a model of chains, and what a map allocates.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <type_traits>
#include <utility>
#include <vector>

#include "alloc_counter.h"
#include "corelib/framework/Map.h"
#include "varlib/foundation/ArrayEx.h"
#include "varlib/foundation/MapEx.h"

namespace {

using TextMap = CMapEx<CString, const char16_t*, CString, const char16_t*>;
using OrdinalMap = CMapEx<int, int, CString, const char16_t*>;

CString Key(int i) {
    CString s;
    s.Format(u"key%d", i);
    return s;
}

// A model of the walk: buckets ascending by hash modulo the bucket count,
// newest insertion first within a bucket; InitHashTable re-chains in the order
// of the old walk.
template <class K>
struct ChainModel {
    std::vector<std::vector<K>> buckets;
    std::vector<K>& Chain(const K& k) { return buckets[tw::detail::HashOf(k) % buckets.size()]; }
    void Add(const K& k) {
        if (std::find(Chain(k).begin(), Chain(k).end(), k) == Chain(k).end()) Chain(k).insert(Chain(k).begin(), k);
    }
    std::vector<K> Walk() const {
        std::vector<K> order;
        for (const auto& chain : buckets) order.insert(order.end(), chain.begin(), chain.end());
        return order;
    }
    void Rehash(unsigned int n) {
        const std::vector<K> order = Walk();
        buckets.assign(n, {});
        for (const K& k : order) Chain(k).push_back(k);
    }
};

template <class Map, class K = std::remove_cvref_t<decltype(std::declval<Map>().PGetFirstAssoc()->key)>>
std::vector<K> Walk(const Map& map) {
    std::vector<K> keys;
    for (POSITION pos = map.GetStartPosition(); pos;) {
        K key{};
        typename std::remove_cvref_t<decltype(map.PGetFirstAssoc()->value)> value{};
        map.GetNextAssoc(pos, key, value);
        keys.push_back(key);
    }
    return keys;
}

// The hash decides the walk order, so its values are fixed: text as h * 33 + unit, wrapping in 32 bits.
TEST(MapHash, KnownValues) {
    const std::pair<const char16_t*, unsigned int> texts[] = {{u"", 0u}, {u"a", 97u}, {u"abc", (97u * 33 + 98) * 33 + 99}};
    for (const auto& [text, hash] : texts) {
        EXPECT_EQ(tw::detail::HashOf(CString(text)), hash) << CString(text);
        EXPECT_EQ(tw::detail::HashOf(text), hash) << CString(text);
    }
    unsigned int expected = 0;
    for (int i = 0; i < 1000; ++i) expected = expected * 33 + u'z';
    EXPECT_EQ(tw::detail::HashOf(CString(u'z', 1000)), expected);
    const std::pair<int, unsigned int> ints[] = {{0, 0u}, {1, 16807u}, {127773, 2147480811u}, {-1, 2147466840u},
                                                 {2147483647, 0u}, {-2147483647 - 1, 2147466840u}};
    for (const auto& [key, hash] : ints) EXPECT_EQ(tw::detail::HashOf(key), hash) << key;
}

TEST(MapWalk, OrderFollowsBucketsNewestFirst) {
    for (unsigned int buckets : {17u, 1u, 101u, 4096u}) {
        SCOPED_TRACE(buckets);
        TextMap map;
        if (buckets != 17) map.InitHashTable(buckets);
        ChainModel<CString> model{std::vector<std::vector<CString>>(buckets)};
        for (int i = 0; i < 300; ++i) {
            map[Key(i)] = Key(i * 2);
            model.Add(Key(i));
        }
        EXPECT_EQ(map.GetHashTableSize(), buckets);
        const std::vector<CString> order = model.Walk();
        EXPECT_EQ(Walk(map), order);
        std::vector<CString> viaPairs;   // PGetFirstAssoc / PGetNextAssoc and GetAt follow the walk
        for (const auto* p = map.PGetFirstAssoc(); p; p = map.PGetNextAssoc(p)) viaPairs.push_back(p->key);
        EXPECT_EQ(viaPairs, order);
        for (int i = 0; i < 300; ++i) EXPECT_EQ(map.GetAt(i), map[order[i]]) << i;
        for (const int outside : {-1, 300}) EXPECT_THROW(map.GetAt(outside), CInvalidArgException);
    }
    OrdinalMap ordinals;
    ChainModel<int> model{std::vector<std::vector<int>>(17)};
    for (int i = 0; i < 100; ++i) {
        ordinals[i * 7 - 50] = Key(i);
        model.Add(i * 7 - 50);
    }
    EXPECT_EQ(Walk(ordinals), model.Walk());

    // Two keys of one bucket, inserted both ways round, walk in two orders.
    CString a = Key(0), b;
    for (int i = 1; i < 1000 && b.IsEmpty(); ++i)
        if (tw::detail::HashOf(Key(i)) % 17 == tw::detail::HashOf(a) % 17) b = Key(i);
    ASSERT_FALSE(b.IsEmpty());
    TextMap first, second;
    first[a] = second[b] = u"1";
    first[b] = second[a] = u"2";
    EXPECT_EQ(Walk(first), (std::vector<CString>{b, a}));
    EXPECT_EQ(Walk(second), (std::vector<CString>{a, b}));
}

TEST(MapOperations, DefaultsAndRemovingTheLastPair) {
    TextMap map;
    EXPECT_EQ(map.GetHashTableSize(), 17u);
    EXPECT_TRUE(map.GetStartPosition() == nullptr && map.PGetFirstAssoc() == nullptr);
    CString value(u"untouched");
    EXPECT_EQ(map.Lookup(u"missing", value), 0);
    EXPECT_EQ(value, u"untouched");
    EXPECT_EQ(map[u"new"], u"");  // operator[] inserts a default value
    map.InitHashTable(31, 0);
    map[u"other"] = u"x";
    const int removed[] = {map.RemoveKey(u"new"), map.RemoveKey(u"new"), map.RemoveKey(u"other")};   // in this order
    EXPECT_EQ(removed[0] * 100 + removed[1] * 10 + removed[2], 101);
    EXPECT_TRUE(map.IsEmpty());
    EXPECT_EQ(map.GetHashTableSize(), 31u);  // emptied, the bucket count stays
    POSITION none = nullptr;
    CString k, v;
    EXPECT_THROW(map.GetNextAssoc(none, k, v), CInvalidArgException);
    EXPECT_THROW(map.GetAt(0), CInvalidArgException);
}

TEST(MapEx, CopyTakesBucketCountAndSharesPointers) {
    CMapEx<CString, const char16_t*, int*, int*> source, target;
    source.InitHashTable(101);
    int values[5] = {1, 2, 3, 4, 5};
    for (int i = 0; i < 5; ++i) source[Key(i)] = &values[i];
    target.InitHashTable(7);
    target[u"stale"] = nullptr;
    target = source;
    EXPECT_EQ(target.GetHashTableSize(), 101u);
    EXPECT_EQ(target.GetCount(), 5);
    EXPECT_EQ(target.PLookup(u"stale"), nullptr);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(target[Key(i)], &values[i]);  // the same objects
    CMapEx<CString, const char16_t*, int*, int*> copied(source);
    EXPECT_EQ(copied.GetHashTableSize(), 101u);
    EXPECT_EQ(Walk(copied), Walk(source));

    // Array values copy deeply.
    using Signatures = CArrayEx<CString, const CString&>;
    CMapEx<CString, CString&, Signatures, Signatures&> table;
    CString name(u"Run");
    table[name].Add(CString(u"Run()"));
    CMapEx<CString, CString&, Signatures, Signatures&> copy(table);
    copy[name].Add(CString(u"Run(STRING)"));
    EXPECT_EQ(table[name].GetSize() * 10 + copy[name].GetSize(), 12);
}

// Random SetAt, RemoveKey, Lookup, InitHashTable and RemoveAll across the
// sizes where a map changes its inner form, with a small block size so that the
// free list spans blocks: the walk matches the model after every step, every
// result and value agrees with it, and no pair moves while it is held.
template <class Map, class MakeKey, class MakeValue>
void CheckAgainstChainModel(MakeKey makeKey, MakeValue makeValue) {
    using V = decltype(makeValue(0));
    std::mt19937 random(99);
    for (const unsigned int buckets : {1u, 3u, 17u, 64u})
        for (const int keys : {6, 12, 40, 300}) {
            SCOPED_TRACE(testing::Message() << buckets << " buckets, " << keys << " keys");
            Map map(3);
            map.InitHashTable(buckets);
            ChainModel<decltype(makeKey(0))> model{std::vector<std::vector<decltype(makeKey(0))>>(buckets)};
            std::map<int, std::pair<const typename Map::CPair*, V>> held;   // key number -> its pair and value
            for (int step = 0; step < 700; ++step) {
                const int n = static_cast<int>(random() % keys), op = static_cast<int>(random() % 100);
                const auto key = makeKey(n);
                if (op < 55) {
                    map.SetAt(key, makeValue(step));
                    model.Add(key);
                    held.try_emplace(n, map.PLookup(key), V{}).first->second.second = makeValue(step);
                } else if (op < 95) {
                    ASSERT_EQ(map.RemoveKey(key), held.erase(n) ? 1 : 0) << "step " << step;
                    std::erase(model.Chain(key), key);
                } else if (op < 99) {
                    const unsigned int sizes[] = {1, 2, 5, 17, 31, 97};
                    map.InitHashTable(sizes[random() % 6]);
                    model.Rehash(map.GetHashTableSize());
                } else {
                    map.RemoveAll();
                    model.Rehash(map.GetHashTableSize());
                    for (auto& c : model.buckets) c.clear();
                    held.clear();
                }
                ASSERT_EQ(Walk(map), model.Walk()) << "step " << step;
                ASSERT_EQ(map.GetCount(), static_cast<intptr_t>(held.size()));
                for (const auto& [k, pair] : held) {
                    ASSERT_EQ(map.PLookup(makeKey(k)), pair.first) << k;
                    ASSERT_EQ(pair.first->value, pair.second) << k;
                }
                V value{};
                ASSERT_EQ(map.Lookup(key, value), held.count(n) ? 1 : 0) << "step " << step;
                ASSERT_EQ(value, held.count(n) ? held[n].second : V{}) << "step " << step;
            }
        }
}

// Keys that are small numbers are indexed directly; a key far out or
// negative makes the index hashed, and so does shrinking. Each row disturbs a
// map filled 0, 1, ... once, then the map keeps growing and is emptied:
// every lookup agrees with std::map throughout.
TEST(MapOperations, DirectIndexAndWhatEndsIt) {
    struct Step {
        int key;
        bool bRemove;
    };
    const struct {
        const char* name;
        int fill;   // keys 0 .. fill - 1 first
        std::vector<Step> steps;
    } rows[] = {
        {"only the top comes and goes", 200, {{199, true}, {198, true}, {198, false}, {199, false}}},
        {"a key in the middle goes", 200, {{50, true}}},
        {"the only key left goes", 1, {{0, true}}},
        {"a key past the end", 200, {{250, false}}},
        {"a key far past the end", 200, {{100000, false}}},
        {"a negative key", 200, {{-1, false}}},
        {"an existing key again", 200, {{10, false}, {199, false}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        OrdinalMap map;
        std::map<int, CString> model;
        const auto put = [&](int key) {
            map.SetAt(key, Key(key));
            model[key] = Key(key);
        };
        const auto check = [&] {
            ASSERT_EQ(map.GetCount(), static_cast<intptr_t>(model.size()));
            for (int key = -3; key < 420; ++key) {
                const auto* pair = map.PLookup(key);
                const auto it = model.find(key);
                ASSERT_EQ(pair != nullptr, it != model.end()) << key;
                if (pair) {
                    ASSERT_EQ(pair->value, it->second) << key;
                }
            }
        };
        for (int key = 0; key < row.fill; ++key) put(key);
        check();
        for (const Step& step : row.steps) {
            if (step.bRemove) {
                EXPECT_EQ(map.RemoveKey(step.key), model.erase(step.key) ? 1 : 0);
            } else {
                put(step.key);
            }
            check();
        }
        for (int key = 200; key < 400; ++key) put(key);
        check();
        while (!model.empty()) {
            EXPECT_EQ(map.RemoveKey(model.begin()->first), 1);
            model.erase(model.begin());
        }
        check();
    }
}

TEST(MapWalk, MatchesChainModelUnderChurn) {
    CheckAgainstChainModel<CMap<int, int, CString, const char16_t*>>([](int n) { return n * 5 - 40; }, Key);
    CheckAgainstChainModel<CMap<CString, const char16_t*, int, int>>(Key, [](int step) { return step; });
}

TEST(MapMemory, NothingWhileEmptyOneAllocationForTwoPairs) {
    const CString x(u"x"), y(u"y");
    const std::size_t made = bench::AllocationCount();
    const long alive = bench::LiveAllocations();
    OrdinalMap ordinals;
    TextMap texts;
    texts.InitHashTable(101);
    ordinals.InitHashTable(7, 0);
    TextMap copy(texts);
    CString value;
    EXPECT_EQ(texts.Lookup(u"x", value) + texts.RemoveKey(u"x"), 0);
    texts.RemoveAll();
    EXPECT_EQ(bench::AllocationCount() - made, 0u);
    EXPECT_EQ(copy.GetHashTableSize(), 101u);
    ordinals[1] = x;   // the copies share x's and y's texts
    ordinals[2] = y;
    EXPECT_EQ(bench::AllocationCount() - made, 1u);
    EXPECT_EQ(ordinals.RemoveKey(1) + ordinals.RemoveKey(2), 2);
    EXPECT_EQ(bench::LiveAllocations(), alive);   // the last pair out released everything
    EXPECT_EQ(ordinals.GetHashTableSize(), 7u);
    for (int i = 0; i < 1000; ++i) ordinals[i] = x;
    ordinals.RemoveAll();
    EXPECT_EQ(bench::LiveAllocations(), alive);
}

}  // namespace
