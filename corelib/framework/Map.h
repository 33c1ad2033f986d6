// CMap<KEY, ARG_KEY, VALUE, ARG_VALUE>: a hash map with chained buckets.
//
// The bucket count (17 until InitHashTable sets another) never changes by
// itself, and it alone decides the walk order: buckets ascending, and within
// a bucket from the chain's head, so the newest node first.
//
// The object is its virtual table pointer and one word. An empty map has no
// body and allocates nothing: the word then holds the bucket count and the
// block cap, tagged by its low bit. The first pair allocates the body: a
// header and the first two node slots in one allocation. Up to eight pairs
// the body keeps no bucket table: the nodes form one list in walk order, so a
// lookup scans a few nodes and an insertion goes before the first node of a
// later bucket. The ninth pair cuts that list into bucket chains under a real
// table; once the chains average more than two nodes the map also builds a
// private index (open addressing over the nodes' full hashes, grown as the
// map grows), so Lookup, operator[], SetAt and RemoveKey cost O(1) on average
// however long the chains get. Further nodes come from blocks that double
// from 4 nodes up to nBlockSize (or, in a large map, up to a quarter of its
// pairs), and go back to a free list; removing the
// last node releases everything (RemoveAll). Nodes never move.
//
// Pointers to pairs (PLookup, PGetFirstAssoc) and positions stay valid until
// that pair is removed. Not thread-safe: one map belongs to one thread at a time.
#pragma once

#include <algorithm>
#include <bit>
#include <cstring>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "corelib/framework/InvalidArgException.h"
#include "corelib/framework/String.h"

struct __POSITION {};
typedef __POSITION* POSITION;   // an opaque walk position; null after the last pair
typedef void* HINSTANCE;        // a module handle of the dynamic loader

namespace tw::detail {

// Text keys: starting at 0, hash = hash * 33 + code unit, in 32-bit unsigned
// arithmetic. Keys given as const char16_t* hash the same way, so both key
// forms of a text walk alike.
inline unsigned int HashText(const char16_t* key) {
    unsigned int hash = 0;
    if (key)
        for (; *key; ++key) hash = (hash << 5) + hash + *key;
    return hash;
}
inline unsigned int HashOf(const char16_t* key) { return HashText(key); }
inline unsigned int HashOf(const CString& key) {
    unsigned int hash = 0;
    for (char16_t c : key.View()) hash = (hash << 5) + hash + c;
    return hash;
}
// Integer keys: the minimal-standard generator's step, 16807 * r - 2836 * q
// with q, r the quotient and remainder by 127773, plus 2^31 - 1 if negative.
inline unsigned int HashOf(int key) {
    const int64_t q = key / 127773, r = key % 127773;
    int64_t hash = 16807 * r - 2836 * q;
    if (hash < 0) hash += 2147483647;
    return static_cast<unsigned int>(hash);
}
// Any other key: its bits shifted by 4, as pointers are aligned.
template <class T>
unsigned int HashOf(const T& key) {
    if constexpr (std::is_pointer_v<T>) {
        return static_cast<unsigned int>(reinterpret_cast<uintptr_t>(key) >> 4);
    } else {
        return static_cast<unsigned int>(static_cast<uint64_t>(key) >> 4);
    }
}

}  // namespace tw::detail

template <class KEY, class ARG_KEY, class VALUE, class ARG_VALUE>
class CMap {
public:
    struct CPair {
        const KEY key;
        VALUE value;
    };

private:
    // A key whose hash is a few instructions away is not worth four bytes a
    // node; text keys keep their hash, as recomputing it reads the whole text.
    static constexpr bool kStoreHash =
        !(std::is_same_v<std::remove_cvref_t<ARG_KEY>, KEY> &&
          (std::is_arithmetic_v<KEY> || std::is_enum_v<KEY> ||
           (std::is_pointer_v<KEY> && !std::is_same_v<std::remove_cv_t<std::remove_pointer_t<KEY>>, char16_t>)));
    struct BlockHeader;   // a block of node slots
    struct StoredHash {
        unsigned int nHashValue;
    };
    struct NoHash {};

protected:
    // A node: the pair, its links and, for text keys, its full hash. While the
    // map is small the links chain every node in walk order; after that they
    // chain the nodes of one bucket.
    struct CAssoc : CPair {
        template <class K>
        CAssoc(const K& k, unsigned int hash) : CPair{KEY(k), VALUE()} {
            if constexpr (kStoreHash) stored.nHashValue = hash;
            else (void)hash;
        }
        unsigned int Hash() const {
            if constexpr (kStoreHash) return stored.nHashValue;
            else return tw::detail::HashOf(this->key);
        }
        CAssoc* pNext = nullptr;
        CAssoc* pPrev = nullptr;
        [[no_unique_address]] std::conditional_t<kStoreHash, StoredHash, NoHash> stored;
    };

public:
    static constexpr unsigned int DEFAULT_HASH_TABLE_SIZE = 17;

    explicit CMap(intptr_t nBlockSize = 10)
        : m_word(Tagged(DEFAULT_HASH_TABLE_SIZE,
                        nBlockSize > 0 ? static_cast<unsigned int>(std::min<intptr_t>(nBlockSize, kMaxBlockSize)) : 10u)) {}
    CMap(const CMap&) = delete;
    CMap& operator=(const CMap&) = delete;
    virtual ~CMap() {
        // CVariableArray holds two maps and every value holds an array: with its int cursor and second map it fits in 40 bytes.
        static_assert(sizeof(CMap) == 16);
        RemoveAll();
    }

    intptr_t GetCount() const {
        const Body* body = GetBody();
        return body ? body->nCount : 0;
    }
    intptr_t GetSize() const { return GetCount(); }
    int IsEmpty() const { return GetBody() ? 0 : 1; }

    // 1 and the value if the key is present; else 0 and rValue untouched.
    int Lookup(ARG_KEY key, VALUE& rValue) const {
        const CAssoc* pAssoc = Find(key, tw::detail::HashOf(key));
        if (!pAssoc) return 0;
        rValue = pAssoc->value;
        return 1;
    }
    const CPair* PLookup(ARG_KEY key) const { return Find(key, tw::detail::HashOf(key)); }
    CPair* PLookup(ARG_KEY key) { return Find(key, tw::detail::HashOf(key)); }
    // The value of the key, inserted as a default value when missing.
    VALUE& operator[](ARG_KEY key) {
        const unsigned int hash = tw::detail::HashOf(key);
        if (CAssoc* pAssoc = Find(key, hash)) return pAssoc->value;
        return NewAssoc(key, hash)->value;
    }
    void SetAt(ARG_KEY key, ARG_VALUE newValue) { (*this)[key] = newValue; }
    // 1 if the key was there and is now removed; else 0.
    int RemoveKey(ARG_KEY key) {
        CAssoc* pAssoc = Find(key, tw::detail::HashOf(key));
        if (!pAssoc) return 0;
        FreeAssoc(pAssoc);
        return 1;
    }
    // Removes every pair and releases all memory; the bucket count stays.
    void RemoveAll() {
        if (Body* body = GetBody()) Release(body);   // the test inline: most maps are empty
    }

    // Walk: buckets ascending, newest node first within a bucket.
    POSITION GetStartPosition() const { return reinterpret_cast<POSITION>(const_cast<CAssoc*>(First())); }
    // Hands out the pair at rNextPosition and moves it on, to null after the last
    // pair. A null position or an empty map: CInvalidArgException.
    void GetNextAssoc(POSITION& rNextPosition, KEY& rKey, VALUE& rValue) const {
        if (!rNextPosition || !GetBody()) throw CInvalidArgException("CMap::GetNextAssoc: no position");
        const CAssoc* pAssoc = reinterpret_cast<const CAssoc*>(rNextPosition);
        rKey = pAssoc->key;
        rValue = pAssoc->value;
        rNextPosition = reinterpret_cast<POSITION>(const_cast<CAssoc*>(Next(pAssoc)));
    }
    const CPair* PGetFirstAssoc() const { return First(); }
    CPair* PGetFirstAssoc() { return First(); }
    const CPair* PGetNextAssoc(const CPair* pAssoc) const {
        return pAssoc ? Next(static_cast<const CAssoc*>(pAssoc)) : nullptr;
    }
    CPair* PGetNextAssoc(const CPair* pAssoc) {
        return pAssoc ? const_cast<CAssoc*>(Next(static_cast<const CAssoc*>(pAssoc))) : nullptr;
    }

    unsigned int GetHashTableSize() const {
        const Body* body = GetBody();
        return body ? body->nHashTableSize : static_cast<unsigned int>(m_word >> 32);
    }
    // Sets the bucket count (0 is refused with CInvalidArgException). Pairs
    // already held are re-chained: each new bucket keeps them in the order the
    // old walk met them. bAllocNow changes nothing: the buckets come with the
    // pairs that need them.
    void InitHashTable(unsigned int hashSize, [[maybe_unused]] int bAllocNow = 1) {
        if (hashSize == 0) throw CInvalidArgException("CMap::InitHashTable: no buckets");
        Body* body = GetBody();
        if (!body) {
            m_word = Tagged(hashSize, static_cast<unsigned int>(m_word >> 1) & kMaxBlockSize);
        } else if (!body->bBig) {
            body->nHashTableSize = hashSize;
            SortSmall(*body);
        } else {
            Rechain(*body, hashSize);
        }
    }
    // Exchanges the contents of two maps: pairs, bucket counts and block
    // sizes. Nothing is copied and every pair pointer stays valid.
    void Swap(CMap& other) noexcept { std::swap(m_word, other.m_word); }

    // The pairs in the order their keys first came in, read straight from the
    // node slots: nodes take the free slots lowest first, block after block,
    // so until a pair is removed (its slot then goes to a later key) the slot
    // order is the order of insertion. Known() is false once a pair has gone
    // since the map was last empty; Next() then gives null at once. Cheaper
    // than a lookup per pair: the slots are read in address order. Valid while
    // the map does not change.
    class CSlotOrder {
    public:
        explicit CSlotOrder(const CMap& map) {
            const Body* body = map.GetBody();
            if (!body) return;
            m_bKnown = body->bRemoved == 0;
            if (!m_bKnown) return;
            m_nLeft = static_cast<std::size_t>(body->nCount);
            m_pSlot = reinterpret_cast<const unsigned char*>(body) + kBodySlots;
            m_nInRun = std::min<std::size_t>(kInlineSlots, body->nBlockSize);
            m_pNextBlock = body->pBlocks;
        }
        bool Known() const { return m_bKnown; }
        const CPair* Next() {
            if (m_nLeft == 0) return nullptr;
            if (m_nInRun == 0) {
                m_pSlot = reinterpret_cast<const unsigned char*>(m_pNextBlock) + kBlockSlots;
                m_nInRun = m_pNextBlock->nSlots;
                m_pNextBlock = m_pNextBlock->pNext;
            }
            const CAssoc* pAssoc = reinterpret_cast<const CAssoc*>(m_pSlot);
            m_pSlot += sizeof(CAssoc);
            --m_nInRun;
            --m_nLeft;
            return pAssoc;
        }

    private:
        bool m_bKnown = true;   // an empty map knows its (empty) order
        std::size_t m_nLeft = 0, m_nInRun = 0;
        const unsigned char* m_pSlot = nullptr;
        const BlockHeader* m_pNextBlock = nullptr;
    };

protected:
    // The node of a key, with its bucket and full hash; null if absent.
    CAssoc* GetAssocAt(ARG_KEY key, unsigned int& nHashBucket, unsigned int& nHashValue) const {
        nHashValue = tw::detail::HashOf(key);
        nHashBucket = nHashValue % GetHashTableSize();
        return Find(key, nHashValue);
    }
    // A new node for the key at the head of its bucket, with a default value.
    // Inlined: as a call it cost an insertion some twenty instructions more.
    template <class K>
    [[gnu::always_inline]] CAssoc* NewAssoc(const K& key, unsigned int hash) {
        Body* body = GetBody();
        if (!body) {
            body = CreateBody();
        } else {
            if (!body->pFreeList) AddBlock(*body);
            if (!body->bBig && body->nCount >= kSmallMax) MakeBig(*body);
            if (body->bBig) IndexReserve(*body, body->nCount + 1);
        }
        FreeSlot* slot = body->pFreeList;
        FreeSlot* nextFree = slot->pNext;
        CAssoc* pAssoc;
        try {
            pAssoc = ::new (static_cast<void*>(slot)) CAssoc(key, hash);
        } catch (...) {
            ::new (static_cast<void*>(slot)) FreeSlot{nextFree};   // the key may have overwritten the link
            if (body->nCount == 0) ReleaseBody(body);
            throw;
        }
        body->pFreeList = nextFree;
        if (!body->bBig) {
            LinkSmall(*body, pAssoc, hash % body->nHashTableSize);
        } else {
            CAssoc*& head = body->pTable[hash % body->nHashTableSize];
            pAssoc->pNext = head;
            if (head) head->pPrev = pAssoc;
            head = pAssoc;
            IndexInsert(*body, pAssoc);
        }
        ++body->nCount;
        return pAssoc;
    }
    // operator[] for a key already in the stored form: a new pair's key is a
    // copy of key (for a CString, the same shared text) instead of one made
    // afresh from ARG_KEY.
    VALUE& LookupOrAdd(const KEY& key) {
        const unsigned int hash = tw::detail::HashOf(key);
        if (CAssoc* pAssoc = Find(key, hash)) return pAssoc->value;
        return NewAssoc(key, hash)->value;
    }
    // True if the index is direct (see kDirectKeys).
    bool IsDirectIndexed() const {
        const Body* body = GetBody();
        return body && body->bDirect;
    }
    // Makes a hashed index direct if the keys allow it (see kDirectKeys): for
    // a map filled in some other order than its keys', as a copy is.
    void MakeDirectIfKeysAllow() {
        if constexpr (kDirectKeys) {
            Body* body = GetBody();
            if (!body || !body->pIndex || body->bDirect) return;
            const intptr_t limit = 2 * body->nCount;
            const intptr_t top = DirectTop(limit, [body](auto visit) {
                ForEachIndexed(body->pIndex, body->IndexMask() + 1, [&visit](CAssoc* p, std::size_t) { visit(p); });
            });
            if (top < limit) Rebuild(*body, static_cast<std::size_t>(top) + 1, true);
        }
    }
    // Calls f(pair) for every pair in no particular order, the fastest way the
    // map has: through its index when it has one (a direct one in key order).
    template <class F>
    void ForEachPair(F f) const {
        const Body* body = GetBody();
        if (!body) return;
        if (body->pIndex) {
            ForEachIndexed(body->pIndex, body->IndexMask() + 1, [&f](CAssoc* p, std::size_t) { f(*static_cast<CPair*>(p)); });
            return;
        }
        for (const CAssoc* p = First(); p; p = Next(p)) f(*static_cast<CPair*>(const_cast<CAssoc*>(p)));
    }
    // Unlinks and destroys a node; the last one out releases everything.
    void FreeAssoc(CAssoc* pAssoc) {
        Body* body = GetBody();
        if (body->bBig) IndexErase(*body, pAssoc);
        if (pAssoc->pPrev) pAssoc->pPrev->pNext = pAssoc->pNext;
        else if (!body->bBig) body->pHead = pAssoc->pNext;
        else body->pTable[pAssoc->Hash() % body->nHashTableSize] = pAssoc->pNext;
        if (pAssoc->pNext) pAssoc->pNext->pPrev = pAssoc->pPrev;
        pAssoc->~CAssoc();
        body->pFreeList = ::new (static_cast<void*>(pAssoc)) FreeSlot{body->pFreeList};
        body->bRemoved = 1;
        if (--body->nCount == 0) ReleaseBody(body);
    }

private:
    static constexpr unsigned int kMaxBlockSize = (1u << 19) - 1;   // larger caps clamp here: the body has room for this
    static constexpr unsigned int kInlineSlots = 2;                 // node slots in the body's own allocation
    static constexpr intptr_t kSmallMax = 8;                        // pairs a map holds without a bucket table

    // A slot on the free list.
    struct FreeSlot {
        FreeSlot* pNext;
    };
    // The start of a block of node slots.
    struct BlockHeader {
        BlockHeader* pNext;
        std::size_t nSlots;
    };
    // The header of a non-empty map (48 bytes); the first node slots follow it.
    struct Body {
        FreeSlot* pFreeList;
        BlockHeader* pBlocks;             // further node blocks, oldest first
        union {
            CAssoc* pHead;                // small: the first node of the walk
            CAssoc** pTable;              // bBig: the bucket heads
        };
        CAssoc** pIndex;                  // null while the chains are short
        intptr_t nCount : 63;
        intptr_t bRemoved : 1;            // a pair has gone since the body was made: slot order is not key order
        unsigned int nHashTableSize;
        unsigned int nBlockSize : 19;     // the cap of a block's node count
        unsigned int nNextBlockLog : 5;   // the next block holds min(2^this, nBlockSize) nodes
        unsigned int nIndexShift : 6;     // 64 - log2 of the index's capacity
        unsigned int bBig : 1;
        unsigned int bDirect : 1;         // the index is direct (see kDirectKeys)
        std::size_t IndexMask() const { return ~std::size_t{0} >> nIndexShift; }
    };

    // Destroys every node and frees the body.
    void Release(Body* body) {
        if (!body->bBig) {
            DestroyChain(body->pHead);
        } else if (body->pIndex) {
            ForEachIndexed(body->pIndex, body->IndexMask() + 1, [](CAssoc* p, std::size_t) { p->~CAssoc(); });
        } else {
            CAssoc** table = body->pTable;
            for (unsigned int b = 0; b < body->nHashTableSize; ++b) DestroyChain(table[b]);
        }
        ReleaseBody(body);
    }

    static constexpr std::size_t RoundUp(std::size_t n) { return (n + alignof(CAssoc) - 1) / alignof(CAssoc) * alignof(CAssoc); }
    static constexpr std::size_t kBodySlots = RoundUp(sizeof(Body));
    static constexpr std::size_t kBlockSlots = RoundUp(sizeof(BlockHeader));

    // No body: the bucket count in the high half, the block cap above a set low bit.
    static uintptr_t Tagged(unsigned int hashSize, unsigned int blockSize) {
        static_assert(sizeof(uintptr_t) == 8 && alignof(Body) > 1 && sizeof(Body) == 48);
        return (static_cast<uintptr_t>(hashSize) << 32) | (static_cast<uintptr_t>(blockSize) << 1) | 1u;
    }
    Body* GetBody() const { return (m_word & 1u) ? nullptr : reinterpret_cast<Body*>(m_word); }

    static void* AllocRaw(std::size_t bytes) {
        if constexpr (alignof(CAssoc) > __STDCPP_DEFAULT_NEW_ALIGNMENT__) return ::operator new(bytes, std::align_val_t{alignof(CAssoc)});
        else return ::operator new(bytes);
    }
    static void FreeRaw(void* p) {
        if constexpr (alignof(CAssoc) > __STDCPP_DEFAULT_NEW_ALIGNMENT__) ::operator delete(p, std::align_val_t{alignof(CAssoc)});
        else ::operator delete(p);
    }
    // Puts n slots from first on the free list, the lowest address first out.
    static void FreeSlots(Body& body, unsigned char* first, std::size_t n) {
        for (std::size_t i = n; i-- > 0;)
            body.pFreeList = ::new (static_cast<void*>(first + i * sizeof(CAssoc))) FreeSlot{body.pFreeList};
    }

    // The body of a first pair: the header, then the first node slots.
    [[gnu::noinline]] Body* CreateBody() {
        const unsigned int blockSize = static_cast<unsigned int>(m_word >> 1) & kMaxBlockSize;
        const unsigned int n = std::min(kInlineSlots, blockSize);
        unsigned char* raw = static_cast<unsigned char*>(AllocRaw(kBodySlots + n * sizeof(CAssoc)));
        Body* body = ::new (static_cast<void*>(raw)) Body{};
        body->nHashTableSize = static_cast<unsigned int>(m_word >> 32);
        body->nBlockSize = blockSize;
        body->nNextBlockLog = 2;
        FreeSlots(*body, raw + kBodySlots, n);
        m_word = reinterpret_cast<uintptr_t>(body);
        return body;
    }
    // Frees every block, the buckets and the body; the nodes are gone already.
    void ReleaseBody(Body* body) {
        const uintptr_t word = Tagged(body->nHashTableSize, body->nBlockSize);
        if (body->bBig) delete[] body->pTable;
        FreeIndex(body->pIndex);
        for (BlockHeader* block = body->pBlocks; block;) {
            BlockHeader* next = block->pNext;
            FreeRaw(block);
            block = next;
        }
        body->~Body();
        FreeRaw(body);
        m_word = word;
    }
    // Small: the new node goes before the first node of a later bucket.
    [[gnu::noinline]] static void LinkSmall(Body& body, CAssoc* pAssoc, unsigned int b) {
        const unsigned int size = body.nHashTableSize;
        CAssoc* prev = nullptr;
        CAssoc* next = body.pHead;
        for (; next && next->Hash() % size < b; next = next->pNext) prev = next;
        pAssoc->pPrev = prev;
        pAssoc->pNext = next;
        (prev ? prev->pNext : body.pHead) = pAssoc;
        if (next) next->pPrev = pAssoc;
    }
    static void DestroyChain(CAssoc* p) {
        while (p) {
            CAssoc* next = p->pNext;
            p->~CAssoc();
            p = next;
        }
    }
    // A block of the next size; its header links the blocks and counts its slots.
    [[gnu::noinline]] void AddBlock(Body& body) {
        // Past nBlockSize a block may hold up to a quarter of the map: a large
        // map then costs few allocations, and at most a fifth of its nodes wait unused.
        const std::size_t cap = std::max<std::size_t>(body.nBlockSize, std::min<std::size_t>(static_cast<std::size_t>(body.nCount) / 4, kMaxBlockSize));
        const std::size_t n = std::min(std::size_t{1} << body.nNextBlockLog, cap);
        unsigned char* raw = static_cast<unsigned char*>(AllocRaw(kBlockSlots + n * sizeof(CAssoc)));
        BlockHeader* block = ::new (static_cast<void*>(raw)) BlockHeader{nullptr, n};
        // Appended, so that the blocks stand in the order their slots are
        // handed out (CSlotOrder). A map has few blocks: they grow with it.
        BlockHeader** link = &body.pBlocks;
        while (*link) link = &(*link)->pNext;
        *link = block;
        if (n == (std::size_t{1} << body.nNextBlockLog) && body.nNextBlockLog < 19) ++body.nNextBlockLog;
        FreeSlots(body, raw + kBlockSlots, n);
    }

    // Cuts the one list into bucket chains under a new table: each bucket's
    // nodes already stand together, newest first.
    [[gnu::noinline]] void MakeBig(Body& body) {
        CAssoc** table = new CAssoc*[body.nHashTableSize]();
        CAssoc* prev = nullptr;
        unsigned int prevBucket = 0;
        for (CAssoc* p = body.pHead; p; p = p->pNext) {
            const unsigned int b = p->Hash() % body.nHashTableSize;
            if (!prev || b != prevBucket) {
                table[b] = p;
                if (prev) prev->pNext = nullptr;
                p->pPrev = nullptr;
            }
            prev = p;
            prevBucket = b;
        }
        body.pTable = table;
        body.bBig = true;
    }
    // Small: orders the list by the new buckets, keeping the old order within one.
    static void SortSmall(Body& body) {
        CAssoc* nodes[kSmallMax];
        unsigned int buckets[kSmallMax];
        std::size_t n = 0;
        for (CAssoc* p = body.pHead; p; p = p->pNext, ++n) {   // an insertion sort: stable, and allocates nothing
            const unsigned int b = p->Hash() % body.nHashTableSize;
            std::size_t i = n;
            for (; i > 0 && buckets[i - 1] > b; --i) {
                nodes[i] = nodes[i - 1];
                buckets[i] = buckets[i - 1];
            }
            nodes[i] = p;
            buckets[i] = b;
        }
        body.pHead = nullptr;
        for (std::size_t i = n; i-- > 0;) {
            nodes[i]->pNext = body.pHead;
            nodes[i]->pPrev = nullptr;
            if (body.pHead) body.pHead->pPrev = nodes[i];
            body.pHead = nodes[i];
        }
    }
    // Big: walks the old table backwards, pushing each node at the head of its
    // new bucket, so each new bucket ends up in the old walk's order.
    void Rechain(Body& body, unsigned int hashSize) {
        CAssoc** table = new CAssoc*[hashSize]();
        CAssoc** old = body.pTable;
        for (unsigned int b = body.nHashTableSize; b-- > 0;) {
            CAssoc* p = old[b];
            if (!p) continue;
            while (p->pNext) p = p->pNext;
            while (p) {
                CAssoc* prev = p->pPrev;
                CAssoc*& head = table[p->Hash() % hashSize];
                p->pPrev = nullptr;
                p->pNext = head;
                if (head) head->pPrev = p;
                head = p;
                p = prev;
            }
        }
        delete[] old;
        body.pTable = table;
        body.nHashTableSize = hashSize;
    }

    const CAssoc* First() const {
        const Body* body = GetBody();
        if (!body) return nullptr;
        if (!body->bBig) return body->pHead;
        CAssoc* const* table = body->pTable;
        for (unsigned int b = 0; b < body->nHashTableSize; ++b)
            if (table[b]) return table[b];
        return nullptr;
    }
    CAssoc* First() { return const_cast<CAssoc*>(static_cast<const CMap*>(this)->First()); }
    const CAssoc* Next(const CAssoc* pAssoc) const {
        if (pAssoc->pNext) return pAssoc->pNext;
        const Body* body = GetBody();
        if (!body->bBig) return nullptr;
        CAssoc* const* table = body->pTable;
        for (unsigned int b = pAssoc->Hash() % body->nHashTableSize + 1; b < body->nHashTableSize; ++b)
            if (table[b]) return table[b];
        return nullptr;
    }

    static bool KeysEqual(const KEY& stored, ARG_KEY key) {
        if constexpr (std::is_same_v<KEY, CString> && std::is_same_v<ARG_KEY, const char16_t*>) {
            // A stored key is made from a zero-terminated text (or cut at its
            // first NUL), so its own text pointer is always the same key.
            if (key == static_cast<const char16_t*>(stored) && !stored.IsEmpty()) return true;
        }
        return stored == key;
    }
    static bool Matches(const CAssoc* p, ARG_KEY key, unsigned int hash) {
        if constexpr (kStoreHash) return p->stored.nHashValue == hash && KeysEqual(p->key, key);
        else return KeysEqual(p->key, key);
    }

    // --- the index ---
    // Hashed: linear probing, at most 3/4 full. The allocation holds the
    // slots' node pointers and then each slot's full hash, so that a probe,
    // a growth and a deletion read no node but the one that matches.
    //
    // Direct: where every key is a number k >= 0, as int or as its decimal
    // text, and the largest is below twice the count (the ordinals and the
    // indexes of an array), slot k holds the node of key k or null. A lookup
    // then hashes nothing and probes nothing, and nodes made in key order are
    // reached in the order they lie in memory. A key that isn't such a number,
    // or lies too far out, makes the index hashed; so does a map that has
    // shrunk to an eighth of its slots.
    static constexpr bool kIntKeys = std::is_same_v<KEY, int> && std::is_same_v<std::remove_cvref_t<ARG_KEY>, int>;
    static constexpr bool kTextKeys = std::is_same_v<KEY, CString> && std::is_same_v<ARG_KEY, const char16_t*>;
    static constexpr bool kDirectKeys = kIntKeys || kTextKeys;
    // The number a key stands for in a direct index, or -1.
    static intptr_t DirectNumber(int key) { return key >= 0 ? key : -1; }
    static intptr_t DirectNumber(const char16_t* key) {
        // "0" or a decimal without a leading zero, nine digits at most.
        if (!key || key[0] < u'0' || key[0] > u'9' || (key[0] == u'0' && key[1] != 0)) return -1;
        intptr_t n = 0;
        for (int i = 0; key[i]; ++i) {
            if (i == 9 || key[i] < u'0' || key[i] > u'9') return -1;
            n = n * 10 + (key[i] - u'0');
        }
        return n;
    }
    static intptr_t DirectNumber(const CString& key) { return DirectNumber(static_cast<const char16_t*>(key)); }

    static CAssoc** AllocIndex(std::size_t capacity, bool bDirect) {
        void* raw = ::operator new(capacity * (sizeof(CAssoc*) + (bDirect ? 0 : sizeof(unsigned int))));
        std::memset(raw, 0, capacity * sizeof(CAssoc*));
        return static_cast<CAssoc**>(raw);
    }
    static void FreeIndex(CAssoc** index) { ::operator delete(index); }
    static unsigned int* Hashes(const Body& body) {
        return reinterpret_cast<unsigned int*>(body.pIndex + body.IndexMask() + 1);
    }
    // The smallest hashed capacity (a power of two, 16 at least) that keeps count 3/4 full.
    static std::size_t HashedCapacity(std::size_t count, std::size_t capacity = 16) {
        while (count * 4 > capacity * 3) capacity *= 2;
        return capacity;
    }
    // f(node, slot) for every filled slot of an index. Independent loads, so
    // the misses of a map larger than the caches overlap; each node is
    // fetched a few slots ahead.
    template <class F>
    static void ForEachIndexed(CAssoc* const* index, std::size_t capacity, F f) {
        constexpr std::size_t kAhead = 8;
        for (std::size_t i = 0; i < capacity; ++i) {
            if (i + kAhead < capacity && index[i + kAhead]) __builtin_prefetch(index[i + kAhead]);
            if (index[i]) f(index[i], i);
        }
    }
    // The largest DirectNumber of the nodes that walk(visit) visits, or limit
    // if one is no such number or reaches limit.
    template <class Walk>
    static intptr_t DirectTop(intptr_t limit, Walk walk) {
        intptr_t top = -1;
        walk([&top, limit](const CAssoc* p) {
            const intptr_t n = DirectNumber(p->key);
            top = (n < 0 || n >= limit) ? limit : std::max(top, n);
        });
        return top;
    }
    static std::size_t Home(const Body& body, unsigned int hash) {
        return static_cast<std::size_t>((static_cast<uint64_t>(hash) * 0x9E3779B97F4A7C15ull) >> body.nIndexShift);
    }
    CAssoc* Find(ARG_KEY key, unsigned int hash) const {
        const Body* body = GetBody();
        if (!body) return nullptr;
        if (CAssoc* const* index = body->pIndex) {
            if constexpr (kDirectKeys) {
                if (body->bDirect) {
                    const intptr_t n = DirectNumber(key);
                    return n >= 0 && static_cast<std::size_t>(n) <= body->IndexMask() ? index[n] : nullptr;
                }
            }
            const unsigned int* hashes = Hashes(*body);
            const std::size_t mask = body->IndexMask();
            for (std::size_t i = Home(*body, hash);; i = (i + 1) & mask) {
                CAssoc* p = index[i];
                if (!p || (hashes[i] == hash && KeysEqual(p->key, key))) return p;
            }
        }
        for (CAssoc* p = body->bBig ? body->pTable[hash % body->nHashTableSize] : body->pHead; p; p = p->pNext)
            if (Matches(p, key, hash)) return p;
        return nullptr;
    }
    static void PutHashed(Body& body, CAssoc* pAssoc, unsigned int hash) {
        const std::size_t mask = body.IndexMask();
        std::size_t i = Home(body, hash);
        while (body.pIndex[i]) i = (i + 1) & mask;
        body.pIndex[i] = pAssoc;
        Hashes(body)[i] = hash;
    }
    // A new index of capacity slots (direct or hashed) holding every node of the old one.
    [[gnu::noinline]] static void Rebuild(Body& body, std::size_t capacity, bool bDirect) {
        CAssoc** const old = body.pIndex;
        const unsigned int* const oldHashes = old ? Hashes(body) : nullptr;
        const std::size_t oldCapacity = body.IndexMask() + 1;
        const bool bOldDirect = body.bDirect;
        capacity = std::bit_ceil(std::max<std::size_t>(capacity, 16));
        body.pIndex = AllocIndex(capacity, bDirect);
        body.bDirect = bDirect;
        body.nIndexShift = static_cast<unsigned int>(64 - std::countr_zero(capacity)) & 63u;
        const auto put = [&body, bDirect](CAssoc* p, unsigned int hash) {
            if constexpr (kDirectKeys) {
                if (bDirect) {
                    body.pIndex[DirectNumber(p->key)] = p;
                    return;
                }
            }
            PutHashed(body, p, hash);
        };
        if (!old) {   // the first index: from the chains
            for (unsigned int b = 0; b < body.nHashTableSize; ++b)
                for (CAssoc* p = body.pTable[b]; p; p = p->pNext) put(p, p->Hash());
            return;
        }
        if (bOldDirect && bDirect) {   // the same slots, more of them
            std::memcpy(body.pIndex, old, oldCapacity * sizeof(CAssoc*));
            FreeIndex(old);
            return;
        }
        // From the old index rather than along the chains (see ForEachIndexed),
        // and a hashed index gives each node's hash without reading the node.
        ForEachIndexed(old, oldCapacity, [&](CAssoc* p, std::size_t i) { put(p, bOldDirect ? p->Hash() : oldHashes[i]); });
        FreeIndex(old);
    }
    // Files a node that is linked but not yet counted.
    static void IndexInsert(Body& body, CAssoc* pAssoc) {
        if (!body.pIndex) return;
        if constexpr (kDirectKeys) {
            if (body.bDirect) {
                const intptr_t n = DirectNumber(pAssoc->key);
                if (n >= 0 && static_cast<std::size_t>(n) <= body.IndexMask()) {
                    body.pIndex[n] = pAssoc;
                    return;
                }
                const std::size_t count = static_cast<std::size_t>(body.nCount) + 1;
                if (n >= 0 && static_cast<std::size_t>(n) < 2 * count) {
                    Rebuild(body, static_cast<std::size_t>(n) + 1, true);
                    body.pIndex[n] = pAssoc;
                    return;
                }
                Rebuild(body, HashedCapacity(count), false);
            }
        }
        PutHashed(body, pAssoc, pAssoc->Hash());
    }
    // Builds the index once the chains average more than two nodes, or makes
    // a hashed one room for count nodes.
    static void IndexReserve(Body& body, intptr_t count) {
        const std::size_t n = static_cast<std::size_t>(count);
        if (!body.pIndex) {
            if (static_cast<uint64_t>(count) > 2ull * body.nHashTableSize) IndexBuild(body, n);
        } else if (!body.bDirect && n * 4 > (body.IndexMask() + 1) * 3) {
            Rebuild(body, HashedCapacity(n, (body.IndexMask() + 1) * 2), false);
        }
    }
    // The first index: direct if the keys allow it.
    [[gnu::noinline]] static void IndexBuild(Body& body, std::size_t count) {
        if constexpr (kDirectKeys) {
            const intptr_t limit = 2 * static_cast<intptr_t>(count);
            const intptr_t top = DirectTop(limit, [&body](auto visit) {
                for (unsigned int b = 0; b < body.nHashTableSize; ++b)
                    for (CAssoc* p = body.pTable[b]; p; p = p->pNext) visit(p);
            });
            if (top < limit) {
                Rebuild(body, std::max(count, static_cast<std::size_t>(top) + 1), true);
                return;
            }
        }
        Rebuild(body, HashedCapacity(count), false);
    }
    // Takes a node that is still counted out of the index. Hashed: backward-
    // shift deletion keeps every probe run unbroken without tombstones.
    static void IndexErase(Body& body, const CAssoc* pAssoc) {
        if (!body.pIndex) return;
        if constexpr (kDirectKeys) {
            if (body.bDirect) {
                body.pIndex[DirectNumber(pAssoc->key)] = nullptr;
                const std::size_t left = static_cast<std::size_t>(body.nCount) - 1;
                if (left > 0 && left * 8 < body.IndexMask() + 1) Rebuild(body, HashedCapacity(left), false);
                return;
            }
        }
        CAssoc** index = body.pIndex;
        unsigned int* hashes = Hashes(body);
        const std::size_t mask = body.IndexMask();
        std::size_t i = Home(body, pAssoc->Hash());
        while (index[i] != pAssoc) i = (i + 1) & mask;
        for (std::size_t j = (i + 1) & mask; index[j]; j = (j + 1) & mask) {
            const std::size_t home = Home(body, hashes[j]);
            // Move j back to the hole unless its home lies cyclically in (i, j].
            const bool homeInRange = (i <= j) ? (home > i && home <= j) : (home > i || home <= j);
            if (!homeInRange) {
                index[i] = index[j];
                hashes[i] = hashes[j];
                i = j;
            }
        }
        index[i] = nullptr;
    }

    // A Body* (bit 0 clear) or, with no body, Tagged(bucket count, block cap).
    uintptr_t m_word;
};
