// CMemoryCache: the process-wide store of named values, each with a reverse
// index over one field (CMemoryCacheEntry), saved to and loaded from an XML
// file on request.
//
// Costs: the key map has 100,000 buckets from the start (800 KB of bucket
// table), so AddEntry, RemoveEntry, Lookup and FindEntryByValue cost one hash
// on the key (plus one on the field text) however many entries there are;
// AddEntry copies the value and indexes it in one pass. Save, Load, ToString
// and RemoveAllEntries are linear in the whole contents.
//
// Threading: every public operation but Instance and CleanUp holds m_lock, a
// recursive lock, for its whole run; Save and Load hold it through the file
// input and output. Instance and CleanUp are unguarded: the host makes the
// instance before a second thread can reach it and releases it after the last
// one is done. Lookup hands out the cache's own value after the lock is gone:
// the pointer dies when its key is replaced or removed, or the cache is
// emptied, loaded or destroyed, and changes made through it are unguarded and
// do not update the index. A caller that shares the cache with writers sees to
// both itself.
#pragma once

#include "corelib/XML.h"
#include "corelib/framework/CriticalSection.h"
#include "corelib/framework/Map.h"
#include "corelib/framework/String.h"
#include "varlib/cache/MemoryCacheEntry.h"
#include "varlib/values/Variable.h"

class CXMLTextWriter;

class CMemoryCache {
public:
    static const CString TAG_NAME;   // "MemoryCache", the root of the cache file

    // The instance, made empty on first use (no file is read); null if it can't be allocated.
    static CMemoryCache* Instance();
    // Deletes the instance, if any, without saving; the next Instance makes a new one.
    static void CleanUp();

    // RemoveAllEntries.
    virtual ~CMemoryCache();

    // Stores a copy of value under key, indexed over indexField (see
    // CMemoryCacheEntry::Create); an entry of that key is replaced.
    void AddEntry(const CString& key, const CVariable& value, const CString& indexField);
    // Removes and deletes the entry; an absent key is no error.
    void RemoveEntry(const CString& key);
    // Deletes every entry.
    void RemoveAllEntries();
    // The cached value of key (null for an absent key or an entry without
    // value). The cache stays the owner; see the threading note above.
    CVariable* Lookup(const CString& key);
    // Non-zero, with the array key in index, if the entry of key has value in
    // its reverse index; else 0 and index untouched. Texts compare exactly.
    int FindEntryByValue(const CString& key, const CString& value, CString& index);
    // Number of entries.
    int GetCount();
    // The cache file's tree as one line of XML.
    CString ToString();
    // Replaces the contents with the file's; 1 on success. 0 when the file
    // can't be opened or is no "MemoryCache" document, and then the cache is
    // exactly as it was.
    int Load(const CString& path);
    // Writes the contents to the file (created or emptied in place); 1 on
    // success, 0 when it can't be opened or written.
    int Save(const CString& path);

protected:
    // An empty cache (Init).
    CMemoryCache();
    // A cache filled from a "MemoryCache" node.
    CMemoryCache(CXML& node);

    // The following assume the lock is held, or that no other thread can reach the object.

    // Gives the empty key map its 100,000 buckets, allocated now.
    void Init();
    // The work of AddEntry.
    void AddCachedEntry(const CString& key, const CVariable& value, const CString& indexField);
    // The work of RemoveEntry.
    void RemoveCachedEntry(const CString& key);
    // The "MemoryCache" tree: one "MemoryCacheEntry" with its "Key" per entry, in the map's walk order.
    CXML ToXml() const;
    // Replaces the contents: each child of node is an entry under its "Key"
    // ("" when absent); of several children with one key the last stays.
    void FromXml(CXML& node);

    CCriticalSection m_lock;   // guards m_entries and everything reachable from it
    CMap<CString, const char16_t*, CMemoryCacheEntry*, CMemoryCacheEntry*> m_entries;   // owned entries

    static CMemoryCache* m_pInstance;

private:
    // ToXml's tree as text, into out.
    void WriteText(CXMLTextWriter& out) const;

    CMemoryCache(const CMemoryCache&) = delete;
    CMemoryCache& operator=(const CMemoryCache&) = delete;
};
