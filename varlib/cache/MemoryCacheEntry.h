// CMemoryCacheEntry: what the memory cache keeps under one key: its own copy
// of a value and, as the map it is, a reverse index over that value (the text
// of one field of each row -> the array key of that row).
//
// Costs: Create copies the value once and walks its elements once, with one
// hash per row for the field and one insertion per row; the index's bucket
// count is the number of elements, so a look-up by text costs one hash.
// ToXml and FromXml are linear in the value and the index.
//
// The name of the indexed field is not kept: after Create only the pairs
// remain, and FromXml takes them as the XML gives them, without checking them
// against the value or rebuilding them.
//
// Threading: no lock of its own. CMemoryCache guards its entries; an entry
// outside a cache belongs to one thread at a time.
#pragma once

#include "corelib/XML.h"
#include "corelib/framework/Map.h"
#include "corelib/framework/String.h"
#include "varlib/values/Variable.h"

class CXMLTextWriter;

class CMemoryCacheEntry : public CMap<CString, const char16_t*, CString, const char16_t*> {
public:
    static const CString TAG_NAME;           // "MemoryCacheEntry"
    static const CString ENTRIES_TAG_NAME;   // "ENTRIES"
    static const CString ENTRY_TAG_NAME;     // "ENTRY"

    // No value, an empty index with the map's default 17 buckets.
    CMemoryCacheEntry();
    // An empty entry, then FromXml(node).
    CMemoryCacheEntry(CXML& node);
    // Destroy: the value and the index go.
    ~CMemoryCacheEntry() override;

    // Replaces the contents with a deep copy of value. For an ARRAY and a
    // non-empty indexField, indexes each element: a row (an ARRAY element) by
    // the text of its member indexField, if it has one; any other element by
    // its own text. Texts are ToString(0); the last of equal texts wins. A TIME
    // beyond the local-time range throws from ToString, as the platform does.
    void Create(const CVariable& value, const CString& indexField);
    // Replaces the contents with a "MemoryCacheEntry" node: its "VARIABLE"
    // child (the last one, if several) and the pairs of its "ENTRIES".
    void FromXml(CXML& node);
    // A "MemoryCacheEntry" node: the value's "VARIABLE" (when there is a
    // value), then "ENTRIES" with one "ENTRY" (Value, Index) per pair.
    CXML ToXml() const;
    // The cached value, or null. The entry stays its owner; Create, FromXml
    // and the destructor delete it.
    CVariable* GetVariable();

protected:
    // Empties the index (its bucket count stays) and deletes the value. Safe on an empty entry.
    void Destroy();

    CVariable* m_pVariable = nullptr;   // owned; null in a new entry

private:
    friend class CMemoryCache;

    // The index of Create, read from value itself (the copy has the same
    // texts), so that a cache can index a value before it lets go of the old
    // one. The rows are read by position: no array cursor moves.
    void BuildIndex(const CVariable& value, const CString& indexField);
    // Adds the children of ToXml to node, an element without children, so that
    // a cache writes its entries straight into its own tree.
    void WriteInto(CXML& node) const;
    // The same children as text, into the entry's open element.
    void WriteInto(CXMLTextWriter& out) const;
};
