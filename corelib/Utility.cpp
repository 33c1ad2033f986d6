#include "corelib/Utility.h"

#include <dlfcn.h>
#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include <mutex>

namespace {

std::mutex g_dirLock;
CString g_pluginDir;   // empty: the default
CString g_webDir;      // empty: the default

CString WithSlash(const CString& dir) {
    if (dir.IsEmpty() || dir[dir.GetLength() - 1] == u'/') {
        return dir;
    }
    return dir + u'/';
}

// An address inside this library for dladdr. A function of internal linkage,
// because the address of an exported one may be a stub in the executable.
void LibraryAnchor() {}

// The directory that holds this library, with a trailing "/";
// GetExecutableDir() if the loader can't name it.
CString LibraryDir() {
    Dl_info info{};
    if (::dladdr(reinterpret_cast<void*>(&LibraryAnchor), &info) == 0 || !info.dli_fname) {
        return CUtility::GetExecutableDir();
    }
    std::string dir(info.dli_fname);
    const std::size_t slash = dir.rfind('/');
    if (slash == std::string::npos) {
        return CUtility::GetExecutableDir();
    }
    dir.resize(slash == 0 ? 1 : slash);
    // The loader names the library as it found it, e.g. "/opt/tw/bin/../lib/...".
    char resolved[PATH_MAX];
    if (::realpath(dir.c_str(), resolved)) {
        dir = resolved;
    }
    if (dir.back() != '/') {
        dir += '/';
    }
    return CString::FromUtf8(dir);
}

}  // namespace

CString CUtility::GetExecutableDir() {
    std::string path(4096, '\0');
    const ssize_t n = ::readlink("/proc/self/exe", path.data(), path.size());
    if (n <= 0 || static_cast<std::size_t>(n) >= path.size()) {
        return CString(u"./");
    }
    path.resize(static_cast<std::size_t>(n));
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        return CString(u"./");
    }
    return CString::FromUtf8(std::string_view(path).substr(0, slash + 1));
}

CString CUtility::GetPluginDir() {
    {
        std::lock_guard<std::mutex> lock(g_dirLock);
        if (!g_pluginDir.IsEmpty()) {
            return g_pluginDir;
        }
    }
    return LibraryDir() + u"tw_varlib/plugins/";
}

CString CUtility::GetWebDir() {
    {
        std::lock_guard<std::mutex> lock(g_dirLock);
        if (!g_webDir.IsEmpty()) {
            return g_webDir;
        }
    }
    return LibraryDir() + u"tw_varlib/web/";
}

void CUtility::SetPluginDir(const CString& dir) {
    std::lock_guard<std::mutex> lock(g_dirLock);
    g_pluginDir = WithSlash(dir);
}

void CUtility::SetWebDir(const CString& dir) {
    std::lock_guard<std::mutex> lock(g_dirLock);
    g_webDir = WithSlash(dir);
}

std::string CUtility::UTF16toUTF8(const CString& text) {
    return text.ToUtf8();
}

CString CUtility::UTF8toUTF16(const std::string& utf8) {
    return CString::FromUtf8(utf8);
}

int CUtility::IsNumber(const CString& text) {
    const std::u16string_view s = text.View();
    std::size_t i = 0;
    if (i < s.size() && (s[i] == u'+' || s[i] == u'-')) {
        ++i;
    }
    const auto digits = [&] {
        const std::size_t start = i;
        while (i < s.size() && s[i] >= u'0' && s[i] <= u'9') {
            ++i;
        }
        return i - start;
    };
    if (digits() == 0) {
        return 0;
    }
    if (i < s.size() && s[i] == u'.') {
        ++i;
        if (digits() == 0) {
            return 0;
        }
    }
    return i == s.size() ? 1 : 0;
}
