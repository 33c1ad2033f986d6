// CFileException: a file could not be opened, read or written.
#pragma once

#include <string>

#include "corelib/framework/Exception.h"

class CFileException : public CException {
public:
    enum Cause { none = 0, generic = 1, fileNotFound = 2, badPath = 3, accessDenied = 5, diskFull = 14, endOfFile = 15 };

    CFileException();
    CFileException(int cause, int osError, const std::string& fileName);

    int m_cause = none;          // one of Cause
    int m_lOsError = 0;          // errno of the failed call
    std::string m_strFileName;   // UTF-8 path
};
