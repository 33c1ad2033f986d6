// CFileFind: walks the entries of one directory that match a wildcard pattern.
//
// FindFile("dir/Report_*.html") then FindNextFile until it returns 0; after each
// call the found entry is current. `*` matches any run of characters, `?` one.
// The dots entries "." and ".." are reported when the pattern matches them, and
// IsDots tells them apart. Order is the directory's own. FindFile takes a
// snapshot of the matching entries, so deleting the current file while walking
// is safe. Wildcards apply to the last path component only; matching is exact
// (case-sensitive), as the Linux file system is. GetFilePath is the pattern's
// directory part (up to its last "/", kept as given) followed by the name, so a
// relative pattern gives relative paths. Not thread-safe: one object, one thread.
#pragma once

#include <cstdint>
#include <memory>

#include "corelib/framework/String.h"

class CFileFind {
public:
    static constexpr unsigned int FILE_ATTRIBUTE_READONLY = 0x01;   // owner may not write
    static constexpr unsigned int FILE_ATTRIBUTE_HIDDEN = 0x02;     // name starts with "." (not the dots)
    static constexpr unsigned int FILE_ATTRIBUTE_DIRECTORY = 0x10;
    static constexpr unsigned int FILE_ATTRIBUTE_NORMAL = 0x80;     // a file with none of the above

    CFileFind();
    CFileFind(const CFileFind&) = delete;
    CFileFind& operator=(const CFileFind&) = delete;
    virtual ~CFileFind();

    // Starts a search; non-zero if at least one entry matches. A null or empty pattern means "*".
    int FindFile(const char16_t* pattern = nullptr, unsigned int flags = 0);
    // Makes the next match current; non-zero while more matches follow this one, as the platform does.
    int FindNextFile();
    CString GetFileName() const;      // name with extension
    CString GetFilePath() const;      // directory + name
    CString GetFileTitle() const;     // name without extension (from the last "." that is not the first character)
    int IsDirectory() const;
    int IsDots() const;
    // Tests the attribute bits of the current entry (0x10: directory).
    int MatchesMask(unsigned int mask) const;
    // Size in bytes of the current entry (0 for a directory).
    uint64_t GetLength() const;
    // Attribute bits of the current entry; 0 when there is none.
    unsigned int GetAttributes() const;
    // Ends the search; the getters then give empty results.
    void Close();

    // Wildcard match of a whole name: `*` any run, `?` one code unit.
    static bool MatchWildcard(const char16_t* pattern, const char16_t* name);

private:
    struct State;
    std::unique_ptr<State> m_state;
};
