#include <gtest/gtest.h>

#include <map>
#include <random>
#include <vector>

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

// An independent model of the walk: buckets ascending by hash modulo the
// bucket count, newest insertion first within a bucket.
template <class K>
std::vector<K> ModelWalk(const std::vector<K>& insertionOrder, unsigned int buckets) {
    std::vector<std::vector<K>> table(buckets);
    for (const K& k : insertionOrder) table[tw::detail::HashOf(k) % buckets].insert(table[tw::detail::HashOf(k) % buckets].begin(), k);
    std::vector<K> order;
    for (const auto& chain : table) order.insert(order.end(), chain.begin(), chain.end());
    return order;
}

template <class Map, class K>
std::vector<K> Walk(const Map& map) {
    std::vector<K> keys;
    POSITION pos = map.GetStartPosition();
    while (pos) {
        K key{};
        typename std::remove_cvref_t<decltype(map.PGetFirstAssoc()->value)> value{};
        map.GetNextAssoc(pos, key, value);
        keys.push_back(key);
    }
    return keys;
}

TEST(MapHash, KnownValues) {
    struct Row {
        const char16_t* text;
        unsigned int hash;
    };
    const Row texts[] = {{u"", 0u}, {u"a", 97u}, {u"ab", 97u * 33 + 98}, {u"abc", (97u * 33 + 98) * 33 + 99}};
    for (const Row& row : texts) {
        SCOPED_TRACE(CString(row.text).ToUtf8());
        EXPECT_EQ(tw::detail::HashOf(CString(row.text)), row.hash);
        EXPECT_EQ(tw::detail::HashOf(row.text), row.hash);
    }
    // Wrap-around in 32 bits: a long text keeps hashing without overflow trouble.
    unsigned int expected = 0;
    CString longText(u'z', 1000);
    for (int i = 0; i < 1000; ++i) expected = expected * 33 + u'z';
    EXPECT_EQ(tw::detail::HashOf(longText), expected);

    struct IntRow {
        int key;
        unsigned int hash;
    };
    const IntRow ints[] = {
        {0, 0u},          {1, 16807u},     {127773, 2147480811u},
        {-1, 2147466840u}, {2147483647, 0u}, {-2147483647 - 1, 2147466840u},
    };
    for (const IntRow& row : ints) {
        SCOPED_TRACE(row.key);
        EXPECT_EQ(tw::detail::HashOf(row.key), row.hash);
    }
}

TEST(MapWalk, OrderFollowsBucketsNewestFirst) {
    for (unsigned int buckets : {17u, 1u, 101u, 4096u}) {
        SCOPED_TRACE(buckets);
        TextMap map;
        if (buckets != 17) map.InitHashTable(buckets);
        std::vector<CString> inserted;
        for (int i = 0; i < 300; ++i) {
            map[Key(i)] = Key(i * 2);
            inserted.push_back(Key(i));
        }
        EXPECT_EQ(map.GetHashTableSize(), buckets);
        EXPECT_EQ((Walk<TextMap, CString>(map)), ModelWalk(inserted, buckets));
        // PGetFirstAssoc / PGetNextAssoc walk the same way.
        std::vector<CString> viaPairs;
        for (const auto* p = map.PGetFirstAssoc(); p; p = map.PGetNextAssoc(p)) viaPairs.push_back(p->key);
        EXPECT_EQ(viaPairs, ModelWalk(inserted, buckets));
    }
    OrdinalMap ordinals;
    std::vector<int> inserted;
    for (int i = 0; i < 100; ++i) {
        ordinals[i * 7 - 50] = Key(i);
        inserted.push_back(i * 7 - 50);
    }
    EXPECT_EQ((Walk<OrdinalMap, int>(ordinals)), ModelWalk(inserted, 17));
}

TEST(MapWalk, SamePairsInAnotherOrderCanWalkDifferently) {
    // "key1" and "key18" share a bucket of 17 only if their hashes agree modulo 17;
    // find two keys that do and insert them both ways round.
    CString a, b;
    for (int i = 1; i < 1000 && b.IsEmpty(); ++i)
        if (tw::detail::HashOf(Key(i)) % 17 == tw::detail::HashOf(Key(0)) % 17) b = Key(i);
    a = Key(0);
    ASSERT_FALSE(b.IsEmpty());
    TextMap first, second;
    first[a] = u"1";
    first[b] = u"2";
    second[b] = u"2";
    second[a] = u"1";
    EXPECT_EQ((Walk<TextMap, CString>(first)), (std::vector<CString>{b, a}));
    EXPECT_EQ((Walk<TextMap, CString>(second)), (std::vector<CString>{a, b}));
}

TEST(MapOperations, AgreeWithStdMapUnderRandomChurn) {
    OrdinalMap map(3);  // a small block size exercises the free list across blocks
    std::map<int, CString> model;
    std::mt19937 random(12345);
    for (int step = 0; step < 20000; ++step) {
        const int key = static_cast<int>(random() % 600) - 300;
        switch (random() % 3) {
        case 0:
            map.SetAt(key, Key(step));
            model[key] = Key(step);
            break;
        case 1:
            EXPECT_EQ(map.RemoveKey(key), model.erase(key) ? 1 : 0);
            break;
        default: {
            CString value;
            const int found = map.Lookup(key, value);
            const auto it = model.find(key);
            ASSERT_EQ(found, it != model.end() ? 1 : 0);
            if (found) {
                ASSERT_EQ(value, it->second);
            }
        }
        }
        ASSERT_EQ(map.GetCount(), static_cast<intptr_t>(model.size()));
    }
    for (const auto& [key, value] : model) {
        const auto* pair = map.PLookup(key);
        ASSERT_NE(pair, nullptr);
        EXPECT_EQ(pair->value, value);
    }
}

TEST(MapOperations, DefaultsAndRemovingTheLastPair) {
    TextMap map;
    EXPECT_EQ(map.GetHashTableSize(), 17u);
    EXPECT_EQ(map.GetStartPosition(), nullptr);
    EXPECT_EQ(map.PGetFirstAssoc(), nullptr);
    CString value(u"untouched");
    EXPECT_EQ(map.Lookup(u"missing", value), 0);
    EXPECT_EQ(value, u"untouched");
    EXPECT_EQ(map[u"new"], u"");  // operator[] inserts a default value
    EXPECT_EQ(map.GetCount(), 1);
    map.InitHashTable(31, 0);
    map[u"other"] = u"x";
    EXPECT_EQ(map.RemoveKey(u"new"), 1);
    EXPECT_EQ(map.RemoveKey(u"new"), 0);
    EXPECT_EQ(map.RemoveKey(u"other"), 1);
    EXPECT_TRUE(map.IsEmpty());
    EXPECT_EQ(map.GetHashTableSize(), 31u);  // RemoveAll keeps the bucket count

    POSITION none = nullptr;
    CString k, v;
    EXPECT_THROW(map.GetNextAssoc(none, k, v), CInvalidArgException);
}

TEST(MapEx, CopyTakesBucketCountAndSharesPointers) {
    CMapEx<CString, const char16_t*, int*, int*> source;
    source.InitHashTable(101);
    int values[5] = {1, 2, 3, 4, 5};
    for (int i = 0; i < 5; ++i) source[Key(i)] = &values[i];

    CMapEx<CString, const char16_t*, int*, int*> target;
    target.InitHashTable(7);
    target[u"stale"] = nullptr;
    target = source;
    EXPECT_EQ(target.GetHashTableSize(), 101u);
    EXPECT_EQ(target.GetCount(), 5);
    EXPECT_EQ(target.PLookup(u"stale"), nullptr);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(target[Key(i)], &values[i]);  // the same objects

    CMapEx<CString, const char16_t*, int*, int*> copied(source);
    EXPECT_EQ(copied.GetHashTableSize(), 101u);
    EXPECT_EQ((Walk<decltype(copied), CString>(copied)), (Walk<decltype(source), CString>(source)));
}

TEST(MapEx, GetAtFollowsTheWalk) {
    TextMap one;
    one[u"only"] = u"value";
    EXPECT_EQ(one.GetAt(0), u"value");
    EXPECT_THROW(one.GetAt(1), CInvalidArgException);
    EXPECT_THROW(one.GetAt(-1), CInvalidArgException);
    TextMap empty;
    EXPECT_THROW(empty.GetAt(0), CInvalidArgException);

    TextMap many;
    for (int i = 0; i < 40; ++i) many[Key(i)] = Key(100 + i);
    POSITION pos = many.GetStartPosition();
    for (int i = 0; i < 40; ++i) {
        CString k, v;
        many.GetNextAssoc(pos, k, v);
        EXPECT_EQ(many.GetAt(i), v) << i;
    }
    EXPECT_EQ(pos, nullptr);
}

TEST(MapEx, FunctionTableWithArrayValues) {
    using Signatures = CArrayEx<CString, const CString&>;
    CMapEx<CString, CString&, Signatures, Signatures&> table;
    CString name(u"Run");
    Signatures forms;
    forms.Add(CString(u"Run()"));
    forms.Add(CString(u"Run(INT)"));
    table.SetAt(name, forms);
    CMapEx<CString, CString&, Signatures, Signatures&> copy(table);
    copy[name].Add(CString(u"Run(STRING)"));
    EXPECT_EQ(table[name].GetSize(), 2);
    EXPECT_EQ(copy[name].GetSize(), 3);
    Signatures self;
    self.Add(CString(u"x"));
    self = self;
    EXPECT_EQ(self.GetSize(), 1);
}

}  // namespace
