// CFileFind on opendir/readdir, with a snapshot of the matches taken by FindFile.
#include "corelib/framework/FileFind.h"

#include <dirent.h>
#include <sys/stat.h>

#include <string>
#include <vector>

struct CFileFind::State {
    struct Entry {
        CString name;
        unsigned int attributes = 0;
        uint64_t length = 0;
    };
    CString prefix;               // directory part of the pattern, with its trailing "/"
    std::vector<Entry> entries;   // matches, in the directory's order
    std::size_t next = 0;         // index of the entry that FindNextFile makes current
    const Entry* current = nullptr;
};

CFileFind::CFileFind() = default;

CFileFind::~CFileFind() = default;

bool CFileFind::MatchWildcard(const char16_t* pattern, const char16_t* name) {
    if (!pattern || !name) {
        return false;
    }
    // Greedy match with one backtrack point: the last `*` seen and the name position it resumes at.
    const char16_t* star = nullptr;
    const char16_t* resume = nullptr;
    while (*name) {
        if (*pattern == u'*') {
            star = pattern++;
            resume = name;
        } else if (*pattern == u'?' || (*pattern && *pattern == *name)) {
            ++pattern;
            ++name;
        } else if (star) {
            pattern = star + 1;
            name = ++resume;
        } else {
            return false;
        }
    }
    while (*pattern == u'*') {
        ++pattern;
    }
    return *pattern == 0;
}

int CFileFind::FindFile(const char16_t* pattern, unsigned int /*flags*/) {
    Close();
    CString full = (pattern && *pattern) ? CString(pattern) : CString(u"*");
    auto state = std::make_unique<State>();
    const int slash = full.ReverseFind(u'/');
    state->prefix = full.Left(slash + 1);
    const CString namePattern = full.Mid(slash + 1);
    const std::string prefixUtf8 = state->prefix.ToUtf8();
    const std::string dirUtf8 = slash >= 0 ? prefixUtf8 : std::string(".");

    DIR* dir = ::opendir(dirUtf8.c_str());
    if (!dir) {
        return 0;
    }
    while (const dirent* de = ::readdir(dir)) {
        const CString name = CString::FromUtf8(de->d_name);
        if (!MatchWildcard(namePattern, name)) {
            continue;
        }
        State::Entry entry;
        entry.name = name;
        const std::string path = prefixUtf8 + de->d_name;
        struct stat st {};
        bool isDir = false;
        if (::stat(path.c_str(), &st) == 0) {
            isDir = S_ISDIR(st.st_mode);
            if (!isDir) {
                entry.length = static_cast<uint64_t>(st.st_size);
            }
            if (!(st.st_mode & S_IWUSR)) {
                entry.attributes |= FILE_ATTRIBUTE_READONLY;
            }
        } else {
            isDir = de->d_type == DT_DIR;  // a dangling link or a race: trust the directory entry
        }
        const bool dots = name == u"." || name == u"..";
        if (isDir) {
            entry.attributes |= FILE_ATTRIBUTE_DIRECTORY;
        }
        if (!dots && name.GetLength() > 0 && name[0] == u'.') {
            entry.attributes |= FILE_ATTRIBUTE_HIDDEN;
        }
        if (entry.attributes == 0) {
            entry.attributes = FILE_ATTRIBUTE_NORMAL;
        }
        state->entries.push_back(std::move(entry));
    }
    ::closedir(dir);
    if (state->entries.empty()) {
        return 0;
    }
    m_state = std::move(state);
    return 1;
}

int CFileFind::FindNextFile() {
    if (!m_state) {
        return 0;
    }
    if (m_state->next >= m_state->entries.size()) {
        m_state->current = nullptr;
        return 0;
    }
    m_state->current = &m_state->entries[m_state->next++];
    return m_state->next < m_state->entries.size() ? 1 : 0;
}

CString CFileFind::GetFileName() const {
    return (m_state && m_state->current) ? m_state->current->name : CString();
}

CString CFileFind::GetFilePath() const {
    return (m_state && m_state->current) ? m_state->prefix + m_state->current->name : CString();
}

CString CFileFind::GetFileTitle() const {
    const CString name = GetFileName();
    if (IsDots()) {
        return name;
    }
    const int dot = name.ReverseFind(u'.');
    return dot > 0 ? name.Left(dot) : name;
}

int CFileFind::IsDirectory() const {
    return MatchesMask(FILE_ATTRIBUTE_DIRECTORY);
}

int CFileFind::IsDots() const {
    if (!m_state || !m_state->current) {
        return 0;
    }
    const CString& name = m_state->current->name;
    return (IsDirectory() && (name == u"." || name == u"..")) ? 1 : 0;
}

int CFileFind::MatchesMask(unsigned int mask) const {
    return (GetAttributes() & mask) ? 1 : 0;
}

unsigned int CFileFind::GetAttributes() const {
    return (m_state && m_state->current) ? m_state->current->attributes : 0;
}

uint64_t CFileFind::GetLength() const {
    return (m_state && m_state->current) ? m_state->current->length : 0;
}

void CFileFind::Close() {
    m_state.reset();
}
