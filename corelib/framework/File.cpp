// CFile on POSIX file descriptors.
#include "corelib/framework/File.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// The platform's cause for an errno value.
int CauseOf(int osError) {
    switch (osError) {
    case ENOENT:
        return CFileException::fileNotFound;
    case EACCES:
    case EPERM:
    case EROFS:
        return CFileException::accessDenied;
    case ENOTDIR:
    case ENAMETOOLONG:
    case EINVAL:
    case ELOOP:
        return CFileException::badPath;
    case ENOSPC:
    case EDQUOT:
        return CFileException::diskFull;
    default:
        return CFileException::generic;
    }
}

}  // namespace

CFile::CFile() = default;

CFile::~CFile() {
    Close();
}

int CFile::Open(const CString& path, unsigned int flags, CFileException* pError) {
    Close();
    int oflags = O_CLOEXEC;
    if (flags & modeReadWrite) {
        oflags |= O_RDWR;
    } else if (flags & modeWrite) {
        oflags |= O_WRONLY;
    } else {
        oflags |= O_RDONLY;
    }
    if (flags & modeCreate) {
        oflags |= O_CREAT;
        if (!(flags & modeNoTruncate)) {
            oflags |= O_TRUNC;
        }
    }
    const std::string utf8 = path.ToUtf8();
    int fd;
    do {
        fd = ::open(utf8.c_str(), oflags, 0666);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        const int err = errno;
        if (pError) {
            *pError = CFileException(CauseOf(err), err, utf8);
        }
        return 0;
    }
    m_fd = fd;
    m_strPath = path;
    return 1;
}

void CFile::Write(const void* data, unsigned int count) {
    if (m_fd < 0) {
        throw CFileException(CFileException::generic, EBADF, m_strPath.ToUtf8());
    }
    const char* p = static_cast<const char*>(data);
    std::size_t left = count;
    while (left > 0) {
        const ssize_t n = ::write(m_fd, p, left);
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            const int err = errno;
            throw CFileException(CauseOf(err), err, m_strPath.ToUtf8());
        }
        p += n;
        left -= static_cast<std::size_t>(n);
    }
}

unsigned int CFile::Read(void* buffer, unsigned int count) {
    if (m_fd < 0) {
        throw CFileException(CFileException::generic, EBADF, m_strPath.ToUtf8());
    }
    char* p = static_cast<char*>(buffer);
    std::size_t done = 0;
    // Fill the buffer as far as the file allows, so that a short count means the end.
    while (done < count) {
        const ssize_t n = ::read(m_fd, p + done, count - done);
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            const int err = errno;
            throw CFileException(CauseOf(err), err, m_strPath.ToUtf8());
        }
        if (n == 0) {
            break;
        }
        done += static_cast<std::size_t>(n);
    }
    return static_cast<unsigned int>(done);
}

uint64_t CFile::GetLength() const {
    if (m_fd < 0) {
        return 0;
    }
    struct stat st {};
    if (::fstat(m_fd, &st) != 0) {
        const int err = errno;
        throw CFileException(CauseOf(err), err, m_strPath.ToUtf8());
    }
    return static_cast<uint64_t>(st.st_size);
}

void CFile::SeekToBegin() {
    if (m_fd < 0) {
        throw CFileException(CFileException::generic, EBADF, m_strPath.ToUtf8());
    }
    if (::lseek(m_fd, 0, SEEK_SET) < 0) {
        const int err = errno;
        throw CFileException(CauseOf(err), err, m_strPath.ToUtf8());
    }
}

void CFile::Close() {
    if (m_fd >= 0) {
        ::close(m_fd);  // a failed close leaves nothing to repair: the descriptor is gone either way
        m_fd = -1;
    }
}
