// CMap<KEY, ARG_KEY, VALUE, ARG_VALUE>: a hash map with chained buckets.
//
// The bucket count (17 until InitHashTable sets another) never changes by
// itself, and it alone decides the walk order: buckets ascending, and within
// a bucket from the chain's head, so the newest node first. While the chains
// are short (at most two nodes a bucket on average) a lookup walks its chain;
// past that the map builds a private index (open addressing over the nodes'
// full hashes, grown as the map grows), so Lookup, operator[], SetAt and
// RemoveKey cost O(1) on average however long the chains get. Nodes come from
// blocks that double from 2 nodes up to nBlockSize, so a map of a few pairs
// stays small, and go back to a free list; removing the last node releases
// everything (RemoveAll). An empty map allocates nothing.
//
// Pointers to pairs (PLookup, PGetFirstAssoc) and positions stay valid until
// that pair is removed. Not thread-safe: one map belongs to one thread at a time.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

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

protected:
    // A node: the pair, its chain links and its full hash.
    struct CAssoc : CPair {
        CAssoc(ARG_KEY k, unsigned int hash) : CPair{KEY(k), VALUE()}, nHashValue(hash) {}
        CAssoc* pNext = nullptr;
        CAssoc* pPrev = nullptr;
        unsigned int nHashValue;
    };

public:
    static constexpr unsigned int DEFAULT_HASH_TABLE_SIZE = 17;

    explicit CMap(intptr_t nBlockSize = 10) : m_nBlockSize(nBlockSize > 0 ? nBlockSize : 10) {}
    CMap(const CMap&) = delete;
    CMap& operator=(const CMap&) = delete;
    virtual ~CMap() { RemoveAll(); }

    intptr_t GetCount() const { return m_nCount; }
    intptr_t GetSize() const { return m_nCount; }
    int IsEmpty() const { return m_nCount == 0 ? 1 : 0; }

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
        if (m_pHashTable) {
            for (unsigned int b = 0; b < m_nHashTableSize; ++b)
                for (CAssoc* p = m_pHashTable[b]; p;) {
                    CAssoc* next = p->pNext;
                    p->~CAssoc();
                    p = next;
                }
        }
        m_pHashTable.reset();
        m_index.reset();
        m_nIndexCapacity = 0;
        while (m_pBlocks) {
            Slot* next = m_pBlocks->nextBlock;
            delete[] m_pBlocks;
            m_pBlocks = next;
        }
        m_nNextBlockSize = 0;
        m_pFreeList = nullptr;
        m_nCount = 0;
    }

    // Walk: buckets ascending, newest node first within a bucket.
    POSITION GetStartPosition() const { return reinterpret_cast<POSITION>(const_cast<CAssoc*>(First())); }
    // Hands out the pair at rNextPosition and moves it on, to null after the last
    // pair. A null position or a map without buckets: CInvalidArgException.
    void GetNextAssoc(POSITION& rNextPosition, KEY& rKey, VALUE& rValue) const {
        if (!rNextPosition || !m_pHashTable) throw CInvalidArgException("CMap::GetNextAssoc: no position");
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

    unsigned int GetHashTableSize() const { return m_nHashTableSize; }
    // Sets the bucket count (0 is refused with CInvalidArgException), allocating
    // the buckets now when bAllocNow. Pairs already held are re-chained: each
    // new bucket keeps them in the order the old walk met them.
    void InitHashTable(unsigned int hashSize, int bAllocNow = 1) {
        if (hashSize == 0) throw CInvalidArgException("CMap::InitHashTable: no buckets");
        if (m_nCount == 0) {
            m_pHashTable.reset();
            m_nHashTableSize = hashSize;
            if (bAllocNow) AllocTable();
            return;
        }
        std::unique_ptr<CAssoc*[]> old = std::move(m_pHashTable);
        const unsigned int oldSize = m_nHashTableSize;
        m_nHashTableSize = hashSize;
        AllocTable();
        std::unique_ptr<CAssoc*[]> tails(new CAssoc*[hashSize]());
        for (unsigned int b = 0; b < oldSize; ++b)
            for (CAssoc* p = old[b]; p;) {
                CAssoc* next = p->pNext;
                const unsigned int nb = p->nHashValue % hashSize;
                p->pNext = nullptr;
                p->pPrev = tails[nb];
                (tails[nb] ? tails[nb]->pNext : m_pHashTable[nb]) = p;
                tails[nb] = p;
                p = next;
            }
    }

protected:
    // The node of a key, with its bucket and full hash; null if absent.
    CAssoc* GetAssocAt(ARG_KEY key, unsigned int& nHashBucket, unsigned int& nHashValue) const {
        nHashValue = tw::detail::HashOf(key);
        nHashBucket = nHashValue % m_nHashTableSize;
        return Find(key, nHashValue);
    }
    // A new node for the key at the head of its bucket, with a default value.
    CAssoc* NewAssoc(ARG_KEY key, unsigned int hash) {
        if (!m_pHashTable) AllocTable();
        if (!m_pFreeList) AddBlock();
        IndexReserve(m_nCount + 1);
        Slot* slot = m_pFreeList;
        Slot* nextFree = slot->nextFree;
        CAssoc* pAssoc = ::new (static_cast<void*>(&slot->node)) CAssoc(key, hash);  // may throw: the slot stays free
        m_pFreeList = nextFree;
        const unsigned int b = hash % m_nHashTableSize;
        pAssoc->pNext = m_pHashTable[b];
        if (pAssoc->pNext) pAssoc->pNext->pPrev = pAssoc;
        m_pHashTable[b] = pAssoc;
        IndexInsert(pAssoc);
        ++m_nCount;
        return pAssoc;
    }
    // Unlinks and destroys a node; the last one out releases everything.
    void FreeAssoc(CAssoc* pAssoc) {
        IndexErase(pAssoc);
        if (pAssoc->pPrev) pAssoc->pPrev->pNext = pAssoc->pNext;
        else m_pHashTable[pAssoc->nHashValue % m_nHashTableSize] = pAssoc->pNext;
        if (pAssoc->pNext) pAssoc->pNext->pPrev = pAssoc->pPrev;
        pAssoc->~CAssoc();
        Slot* slot = reinterpret_cast<Slot*>(pAssoc);  // the storage goes back to the free list
        slot->nextFree = m_pFreeList;
        m_pFreeList = slot;
        if (--m_nCount == 0) RemoveAll();
    }

private:
    // Raw storage of one node: a live node, or a link of the free list.
    union Slot {
        Slot() : nextFree(nullptr) {}
        ~Slot() {}
        Slot* nextFree;    // a free slot: the next free one
        Slot* nextBlock;   // slot 0 of a block: the next block
        CAssoc node;
    };

    static bool KeysEqual(const KEY& stored, ARG_KEY key) { return stored == key; }

    void AllocTable() { m_pHashTable.reset(new CAssoc*[m_nHashTableSize]()); }

    // A block is an array of slots; its slot 0 links the chain of blocks.
    void AddBlock() {
        const intptr_t cap = m_nBlockSize;
        const intptr_t n = m_nNextBlockSize == 0 ? std::min<intptr_t>(2, cap) : std::min<intptr_t>(m_nNextBlockSize, cap);
        m_nNextBlockSize = std::min<intptr_t>(n * 2, cap);
        Slot* block = new Slot[static_cast<std::size_t>(n) + 1];
        block[0].nextBlock = m_pBlocks;
        m_pBlocks = block;
        for (intptr_t i = n; i >= 1; --i) {
            block[i].nextFree = m_pFreeList;
            m_pFreeList = &block[i];
        }
    }

    const CAssoc* First() const {
        if (!m_pHashTable || m_nCount == 0) return nullptr;
        for (unsigned int b = 0; b < m_nHashTableSize; ++b)
            if (m_pHashTable[b]) return m_pHashTable[b];
        return nullptr;
    }
    CAssoc* First() { return const_cast<CAssoc*>(static_cast<const CMap*>(this)->First()); }
    const CAssoc* Next(const CAssoc* pAssoc) const {
        if (pAssoc->pNext) return pAssoc->pNext;
        for (unsigned int b = pAssoc->nHashValue % m_nHashTableSize + 1; b < m_nHashTableSize; ++b)
            if (m_pHashTable[b]) return m_pHashTable[b];
        return nullptr;
    }

    // --- the index: linear probing over node pointers, at most 3/4 full ---
    std::size_t Home(unsigned int hash) const {
        return static_cast<std::size_t>((static_cast<uint64_t>(hash) * 0x9E3779B97F4A7C15ull) >> m_nIndexShift);
    }
    CAssoc* Find(ARG_KEY key, unsigned int hash) const {
        if (m_nCount == 0) return nullptr;
        if (!m_index) {
            for (CAssoc* p = m_pHashTable[hash % m_nHashTableSize]; p; p = p->pNext)
                if (p->nHashValue == hash && KeysEqual(p->key, key)) return p;
            return nullptr;
        }
        const std::size_t mask = m_nIndexCapacity - 1;
        for (std::size_t i = Home(hash);; i = (i + 1) & mask) {
            CAssoc* p = m_index[i];
            if (!p) return nullptr;
            if (p->nHashValue == hash && KeysEqual(p->key, key)) return p;
        }
    }
    void IndexInsert(CAssoc* pAssoc) {
        if (!m_index) return;
        const std::size_t mask = m_nIndexCapacity - 1;
        std::size_t i = Home(pAssoc->nHashValue);
        while (m_index[i]) i = (i + 1) & mask;
        m_index[i] = pAssoc;
    }
    // Builds or grows the index once the chains average more than two nodes.
    void IndexReserve(intptr_t count) {
        if (!m_index && static_cast<uint64_t>(count) <= 2ull * m_nHashTableSize) return;
        if (static_cast<std::size_t>(count) * 4 <= m_nIndexCapacity * 3) return;
        std::size_t capacity = m_nIndexCapacity ? m_nIndexCapacity * 2 : 16;
        while (static_cast<std::size_t>(count) * 4 > capacity * 3) capacity *= 2;
        m_index.reset(new CAssoc*[capacity]());
        m_nIndexCapacity = capacity;
        int bits = 0;
        while ((std::size_t{1} << bits) < capacity) ++bits;
        m_nIndexShift = 64 - bits;
        for (unsigned int b = 0; b < m_nHashTableSize && m_pHashTable; ++b)
            for (CAssoc* p = m_pHashTable[b]; p; p = p->pNext) IndexInsert(p);
    }
    // Backward-shift deletion keeps every probe run unbroken without tombstones.
    void IndexErase(const CAssoc* pAssoc) {
        if (!m_index) return;
        const std::size_t mask = m_nIndexCapacity - 1;
        std::size_t i = Home(pAssoc->nHashValue);
        while (m_index[i] != pAssoc) i = (i + 1) & mask;
        for (std::size_t j = (i + 1) & mask; m_index[j]; j = (j + 1) & mask) {
            const std::size_t home = Home(m_index[j]->nHashValue);
            // Move j back to the hole unless its home lies cyclically in (i, j].
            const bool homeInRange = (i <= j) ? (home > i && home <= j) : (home > i || home <= j);
            if (!homeInRange) {
                m_index[i] = m_index[j];
                i = j;
            }
        }
        m_index[i] = nullptr;
    }

    std::unique_ptr<CAssoc*[]> m_pHashTable;
    unsigned int m_nHashTableSize = DEFAULT_HASH_TABLE_SIZE;
    intptr_t m_nCount = 0;
    intptr_t m_nBlockSize;
    intptr_t m_nNextBlockSize = 0;
    Slot* m_pFreeList = nullptr;
    Slot* m_pBlocks = nullptr;
    std::unique_ptr<CAssoc*[]> m_index;   // null while the chains are short
    std::size_t m_nIndexCapacity = 0;
    int m_nIndexShift = 64;
};
