// CMemoryCacheEntry: the cached value, its reverse index and their XML form.
#include "varlib/cache/MemoryCacheEntry.h"

#include <algorithm>
#include <memory>

#include "corelib/XMLAttributes.h"
#include "corelib/XMLTextWriter.h"
#include "varlib/values/VariableArray.h"

const CString CMemoryCacheEntry::TAG_NAME(u"MemoryCacheEntry");
const CString CMemoryCacheEntry::ENTRIES_TAG_NAME(u"ENTRIES");
const CString CMemoryCacheEntry::ENTRY_TAG_NAME(u"ENTRY");

namespace {
// Strings made once, like the tags above: a CString made from a literal at
// each call allocates, and an entry writes two names a pair.
const CString kHashTableSizeAttr(u"HashTableSize");
// A bucket count read from a file is trusted up to this (half a megabyte of
// bucket heads) even where the file holds fewer pairs.
constexpr long kTrustedBuckets = 65536;
const CString kValueAttr(u"Value");
const CString kIndexAttr(u"Index");
}  // namespace

CMemoryCacheEntry::CMemoryCacheEntry() : CMap(10) {}

CMemoryCacheEntry::CMemoryCacheEntry(CXML& node) : CMap(10) { FromXml(node); }

CMemoryCacheEntry::~CMemoryCacheEntry() { Destroy(); }

void CMemoryCacheEntry::Destroy() {
    RemoveAll();
    delete m_pVariable;
    m_pVariable = nullptr;
}

CVariable* CMemoryCacheEntry::GetVariable() { return m_pVariable; }

void CMemoryCacheEntry::Create(const CVariable& value, const CString& indexField) {
    Destroy();
    BuildIndex(value, indexField);
    m_pVariable = new CVariable(value);
}

void CMemoryCacheEntry::BuildIndex(const CVariable& value, const CString& indexField) {
    if (!value.IsArray() || indexField.IsEmpty())
        return;
    const CVariableArray& rows = value.m_arrayValue;
    const intptr_t count = rows.GetCount();
    if (count == 0)
        return;   // nothing to index; a bucket count of 0 is no table at all
    InitHashTable(static_cast<unsigned int>(std::min<intptr_t>(count, UINT32_MAX)));

    for (int ordinal = 0; ordinal < static_cast<int>(count); ++ordinal) {
        const CString arrayKey = rows.GetIndex(ordinal);
        CVariable* pElement = nullptr;
        if (!rows.Lookup(arrayKey, pElement) || pElement == nullptr)
            continue;
        if (pElement->IsArray()) {
            CVariable* pField = nullptr;
            if (pElement->m_arrayValue.Lookup(indexField, pField) && pField != nullptr)
                SetAt(pField->ToString(0), arrayKey);
        } else {
            SetAt(pElement->ToString(0), arrayKey);
        }
    }
}

void CMemoryCacheEntry::FromXml(CXML& node) {
    Destroy();
    // Walk a handle of our own, so that the caller's walk of node stays where it was.
    CXML source(node);
    for (CXML child = source.GetFirstChild(); child.IsValid(); child = source.GetNextChild()) {
        if (child.HasTagName(CVariable::GetTagName())) {
            // A later "VARIABLE" replaces an earlier one; the new value is read
            // whole before the old one goes.
            auto pValue = std::make_unique<CVariable>();
            pValue->FromXml(child);
            delete m_pVariable;
            m_pVariable = pValue.release();
        } else if (child.HasTagName(ENTRIES_TAG_NAME)) {
            // HashTableSize is the writer's count of pairs, taken as the bucket
            // count as it stands. A file written here has one ENTRY per pair,
            // so a figure above both the ENTRY children and kTrustedBuckets is
            // damage (a bucket table of gigabytes for a few bytes of text):
            // the count of children is taken then. 0 or a negative figure
            // leaves the bucket count as it is.
            const int nHashTableSize = child.GetAttrInt(kHashTableSizeAttr, 0);
            if (nHashTableSize > 0) {
                const long nChildren = child.GetChildCount();
                const long nBuckets = nHashTableSize <= std::max<long>(nChildren, kTrustedBuckets) ? nHashTableSize : nChildren;
                if (nBuckets > 0)
                    InitHashTable(static_cast<unsigned int>(nBuckets));
            }
            for (CXML pair = child.GetFirstChild(); pair.IsValid(); pair = child.GetNextChild()) {
                const CXMLAttributes attrs(pair, {"Value", "Index"});
                SetAt(attrs.GetAttr(0, CString()), attrs.GetAttr(1, CString()));
            }
        }
    }
}

CXML CMemoryCacheEntry::ToXml() const {
    CXML node(TAG_NAME);
    WriteInto(node);
    return node;
}

void CMemoryCacheEntry::WriteInto(CXML& node) const {
    // Empty elements to append, made once: a tree of their own each time was
    // a fifth of saving a cache. They are only ever read (copied from).
    static const CXML kValuePrototype(CVariable::GetTagName());
    static const CXML kEntriesPrototype(ENTRIES_TAG_NAME);
    static const CXML kEntryPrototype(ENTRY_TAG_NAME);
    // The value is written in place too, into an empty first child.
    if (m_pVariable != nullptr) {
        node.AddChild(kValuePrototype);
        CXML value = node.GetFirstChild();
        m_pVariable->WriteXml(value);
    }
    // ENTRIES goes into the tree first and is filled there, and each ENTRY is
    // appended empty and filled in place through the parent's child walk,
    // which follows the appends: no filled subtree is copied a second time.
    node.AddChild(kEntriesPrototype);
    CXML entries = node.GetChild(ENTRIES_TAG_NAME);
    entries.SetAttr(kHashTableSizeAttr, static_cast<int>(GetCount()));
    bool bStarted = false;
    for (const CPair* pair = PGetFirstAssoc(); pair != nullptr; pair = PGetNextAssoc(pair)) {
        entries.AddChild(kEntryPrototype);
        CXML entry = bStarted ? entries.GetNextChild() : entries.GetFirstChild();
        bStarted = true;
        entry.SetAttr(kValueAttr, pair->key);
        entry.SetAttr(kIndexAttr, pair->value);
    }
}

void CMemoryCacheEntry::WriteInto(CXMLTextWriter& out) const {
    static const std::string kEntriesTag = ENTRIES_TAG_NAME.ToUtf8();
    static const std::string kEntryTag = ENTRY_TAG_NAME.ToUtf8();
    if (m_pVariable != nullptr)
        m_pVariable->WriteXml(out);
    out.StartElement(kEntriesTag);
    out.Attribute("HashTableSize", int64_t{static_cast<int>(GetCount())});
    for (const CPair* pair = PGetFirstAssoc(); pair != nullptr; pair = PGetNextAssoc(pair)) {
        out.StartElement(kEntryTag);
        out.Attribute("Value", pair->key);
        out.Attribute("Index", pair->value);
        out.EndElement();
    }
    out.EndElement();
}
