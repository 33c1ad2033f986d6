// CFile: an open file, read and written in bytes.
//
// Open flags are the platform's: modeCreate|modeWrite (0x1001) creates or
// truncates for writing; shareDenyNone alone (0x40) opens an existing file for
// reading. Open reports failure by its result (and pError); Read and Write on
// a failed stream throw CFileException. Closed by the destructor.
#pragma once

#include <cstdint>

#include "corelib/framework/FileException.h"
#include "corelib/framework/String.h"

class CFile {
public:
    enum OpenFlags : unsigned int {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        shareDenyNone = 0x0040,
        modeCreate = 0x1000,
        modeNoTruncate = 0x2000,
    };

    CFile();
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;
    virtual ~CFile();

    // Non-zero on success; on failure fills *pError when given.
    int Open(const CString& path, unsigned int flags, CFileException* pError = nullptr);
    // Writes all count bytes or throws CFileException.
    void Write(const void* data, unsigned int count);
    // Reads up to count bytes; returns how many (0 at the end). Throws CFileException on error.
    unsigned int Read(void* buffer, unsigned int count);
    // Size of the open file in bytes.
    uint64_t GetLength() const;
    // Moves to the start of the file.
    void SeekToBegin();
    CString GetFilePath() const { return m_strPath; }
    int IsOpen() const { return m_fd >= 0 ? 1 : 0; }
    // Closes if open; harmless otherwise.
    void Close();

private:
    int m_fd = -1;
    CString m_strPath;
};
