#include "corelib/framework/Exception.h"

#include <utility>

#include "corelib/framework/FileException.h"
#include "corelib/framework/InvalidArgException.h"

CException::CException() : m_message("platform exception") {}
CException::CException(std::string message) : m_message(std::move(message)) {}
CException::~CException() = default;
const char* CException::what() const noexcept { return m_message.c_str(); }

CInvalidArgException::CInvalidArgException() : CException("invalid argument (0x80070057)") {}
CInvalidArgException::CInvalidArgException(const std::string& detail)
    : CException("invalid argument (0x80070057): " + detail) {}

CFileException::CFileException() : CException("file error") {}
CFileException::CFileException(int cause, int osError, const std::string& fileName)
    : CException("file error " + std::to_string(cause) + " (errno " + std::to_string(osError) + ") on '" + fileName + "'"),
      m_cause(cause),
      m_lOsError(osError),
      m_strFileName(fileName) {}
