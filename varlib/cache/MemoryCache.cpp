// CMemoryCache: the singleton, its locked operations and the cache file.
#include "varlib/cache/MemoryCache.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "corelib/XMLTextWriter.h"
#include "corelib/framework/File.h"
#include "corelib/framework/FileException.h"
#include "corelib/framework/SingleLock.h"

const CString CMemoryCache::TAG_NAME(u"MemoryCache");

CMemoryCache* CMemoryCache::m_pInstance = nullptr;

namespace {
constexpr unsigned int kEntryBuckets = 100000;
constexpr intptr_t kEntryBlockSize = 10;
const CString kKeyAttr(u"Key");   // made once: a CString from a literal allocates
// The platform's open flags: create or empty, write only; and read with share-deny-none.
constexpr unsigned int kSaveFlags = CFile::modeCreate | CFile::modeWrite;   // 0x1001
constexpr unsigned int kLoadFlags = CFile::modeRead | CFile::shareDenyNone; // 0x40
}  // namespace

CMemoryCache* CMemoryCache::Instance() {
    if (m_pInstance == nullptr)
        m_pInstance = new (std::nothrow) CMemoryCache();
    return m_pInstance;
}

void CMemoryCache::CleanUp() {
    delete m_pInstance;
    m_pInstance = nullptr;
}

CMemoryCache::CMemoryCache() : m_entries(kEntryBlockSize) { Init(); }

CMemoryCache::CMemoryCache(CXML& node) : m_entries(kEntryBlockSize) { FromXml(node); }

CMemoryCache::~CMemoryCache() { RemoveAllEntries(); }

void CMemoryCache::Init() { m_entries.InitHashTable(kEntryBuckets, 1); }

void CMemoryCache::AddEntry(const CString& key, const CVariable& value, const CString& indexField) {
    CSingleLock lock(&m_lock, 1);
    AddCachedEntry(key, value, indexField);
}

void CMemoryCache::AddCachedEntry(const CString& key, const CVariable& value, const CString& indexField) {
    // The index comes first: a value whose indexing throws (a TIME beyond the
    // local-time range) leaves the old entry in place. The old entry goes
    // before the value is copied, so that a large table replacing itself
    // reuses the memory of the old copy instead of doubling the peak. Storing
    // the cached value of this key again takes it over without a copy; a
    // value that lies inside it must be copied by the caller first.
    auto pEntry = std::make_unique<CMemoryCacheEntry>();
    pEntry->BuildIndex(value, indexField);
    CMemoryCacheEntry* pOld = nullptr;
    if (m_entries.Lookup(key, pOld) && pOld != nullptr && pOld->m_pVariable == &value)
        std::swap(pEntry->m_pVariable, pOld->m_pVariable);
    RemoveCachedEntry(key);
    if (pEntry->m_pVariable == nullptr)
        pEntry->m_pVariable = new CVariable(value);
    m_entries.SetAt(key, pEntry.get());
    pEntry.release();
}

void CMemoryCache::RemoveEntry(const CString& key) {
    CSingleLock lock(&m_lock, 1);
    RemoveCachedEntry(key);
}

void CMemoryCache::RemoveCachedEntry(const CString& key) {
    CMemoryCacheEntry* pEntry = nullptr;
    if (!m_entries.Lookup(key, pEntry))
        return;
    delete pEntry;
    m_entries.RemoveKey(key);
}

void CMemoryCache::RemoveAllEntries() {
    CSingleLock lock(&m_lock, 1);
    for (auto* pair = m_entries.PGetFirstAssoc(); pair != nullptr; pair = m_entries.PGetNextAssoc(pair))
        delete pair->value;
    // The bucket table goes too; the next insertion makes it again at 100,000.
    m_entries.RemoveAll();
}

CVariable* CMemoryCache::Lookup(const CString& key) {
    CSingleLock lock(&m_lock, 1);
    CMemoryCacheEntry* pEntry = nullptr;
    if (!m_entries.Lookup(key, pEntry) || pEntry == nullptr)
        return nullptr;
    return pEntry->GetVariable();
}

int CMemoryCache::FindEntryByValue(const CString& key, const CString& value, CString& index) {
    CSingleLock lock(&m_lock, 1);
    CMemoryCacheEntry* pEntry = nullptr;
    if (!m_entries.Lookup(key, pEntry) || pEntry == nullptr)
        return 0;
    return pEntry->Lookup(value, index);
}

int CMemoryCache::GetCount() {
    CSingleLock lock(&m_lock, 1);
    return static_cast<int>(m_entries.GetCount());
}

CString CMemoryCache::ToString() {
    CSingleLock lock(&m_lock, 1);
    CXMLTextWriter out(CXML::FORMAT_COMPACT);
    WriteText(out);
    return out.ToString();
}

void CMemoryCache::WriteText(CXMLTextWriter& out) const {
    // The text of ToXml's tree, written without the tree.
    static const std::string kRootTag = TAG_NAME.ToUtf8();
    static const std::string kEntryTag = CMemoryCacheEntry::TAG_NAME.ToUtf8();
    out.StartElement(kRootTag);
    for (const auto* pair = m_entries.PGetFirstAssoc(); pair != nullptr; pair = m_entries.PGetNextAssoc(pair)) {
        if (pair->value == nullptr)
            continue;
        out.StartElement(kEntryTag);
        out.Attribute("Key", pair->key);
        pair->value->WriteInto(out);
        out.EndElement();
    }
    out.EndElement();
}

CXML CMemoryCache::ToXml() const {
    CXML root(TAG_NAME);
    // Each entry element is appended empty and filled in place through the
    // root's child walk, which follows the appends: no entry is built in a
    // tree of its own and copied over.
    const CXML prototype(CMemoryCacheEntry::TAG_NAME);
    bool bStarted = false;
    for (const auto* pair = m_entries.PGetFirstAssoc(); pair != nullptr; pair = m_entries.PGetNextAssoc(pair)) {
        if (pair->value == nullptr)
            continue;
        root.AddChild(prototype);
        CXML entry = bStarted ? root.GetNextChild() : root.GetFirstChild();
        bStarted = true;
        entry.SetAttr(kKeyAttr, pair->key);
        pair->value->WriteInto(entry);
    }
    return root;
}

void CMemoryCache::FromXml(CXML& node) {
    // Every entry is read before the old ones go, so that running out of
    // memory half-way leaves the old contents rather than half of the new.
    std::vector<std::pair<CString, std::unique_ptr<CMemoryCacheEntry>>> loaded;
    loaded.reserve(static_cast<std::size_t>(std::max<long>(node.GetChildCount(), 0)));
    CXML source(node);
    for (CXML child = source.GetFirstChild(); child.IsValid(); child = source.GetNextChild()) {
        auto pEntry = std::make_unique<CMemoryCacheEntry>(child);
        loaded.emplace_back(child.GetAttr(kKeyAttr, CString()), std::move(pEntry));
    }

    RemoveAllEntries();
    Init();
    for (auto& [key, pEntry] : loaded) {
        // Of several children with one key, the last stays.
        RemoveCachedEntry(key);
        m_entries.SetAt(key, pEntry.release());
    }
}

int CMemoryCache::Save(const CString& path) {
    CSingleLock lock(&m_lock, 1);
    CFile file;
    if (!file.Open(path, kSaveFlags))
        return 0;
    // The document XMLWrite gives for ToXml's tree, written as the entries
    // are walked: the file takes it in pieces, and no tree is built.
    CXMLTextWriter out(&file);
    WriteText(out);
    const int result = out.Finish();
    file.Close();
    return result;
}

int CMemoryCache::Load(const CString& path) {
    CSingleLock lock(&m_lock, 1);
    CFile file;
    CFileException error;
    if (!file.Open(path, kLoadFlags, &error))
        return 0;
    CXML tree;
    if (!tree.XMLRead(&file, TAG_NAME, 1))
        return 0;
    file.Close();
    FromXml(tree);
    return 1;
}
