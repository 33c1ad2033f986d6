#include "widgets/Tw_varlibApp.h"

#include <dlfcn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <QApplication>
#include <QLibraryInfo>
#include <QThread>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace {

std::string Env(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find(separator, start)) != std::string::npos; start = end + 1)
        parts.push_back(text.substr(start, end - start));
    parts.push_back(text.substr(start));
    return parts;
}

// Whether Qt can find the plug-in of a platform, in the folders it searches:
// QT_QPA_PLATFORM_PLUGIN_PATH, the platforms/ folder of each QT_PLUGIN_PATH
// entry, and that of its own installation. Wayland's plug-ins are named
// "libqwayland-<kind>.so" rather than after the platform's key.
std::string PluginProblem(const std::string& platform) {
    std::vector<std::filesystem::path> folders;
    if (!Env("QT_QPA_PLATFORM_PLUGIN_PATH").empty())
        folders.emplace_back(Env("QT_QPA_PLATFORM_PLUGIN_PATH"));
    for (const std::string& entry : Split(Env("QT_PLUGIN_PATH"), ':'))
        if (!entry.empty())
            folders.push_back(std::filesystem::path(entry) / "platforms");
    folders.push_back(std::filesystem::path(QLibraryInfo::path(QLibraryInfo::PluginsPath).toStdString()) /
                      "platforms");
    const bool bWayland = platform.starts_with("wayland");
    const std::string file = "libq" + platform + ".so";
    for (const std::filesystem::path& folder : folders) {
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
            const std::string name = entry.path().filename().string();
            if (name == file || (bWayland && name.starts_with("libqwayland") && name.ends_with(".so")))
                return {};
        }
    }
    return "Qt has no plug-in for the platform \"" + platform + "\"";
}

// Whether an X server takes a connection on display, tried with the X client
// library that Qt's xcb platform uses. It is loaded at run time, so that this
// library does not link it for a check.
std::string XProblem() {
    const std::string display = Env("DISPLAY");
    if (display.empty())
        return "DISPLAY is not set";
    void* xcb = ::dlopen("libxcb.so.1", RTLD_NOW | RTLD_LOCAL);
    if (!xcb)
        return "the X client library libxcb.so.1 can't be loaded";
    using Connect = void* (*)(const char*, int*);
    using HasError = int (*)(void*);
    using Disconnect = void (*)(void*);
    const auto connect = reinterpret_cast<Connect>(::dlsym(xcb, "xcb_connect"));
    const auto hasError = reinterpret_cast<HasError>(::dlsym(xcb, "xcb_connection_has_error"));
    const auto disconnect = reinterpret_cast<Disconnect>(::dlsym(xcb, "xcb_disconnect"));
    int failed = 1;
    if (connect && hasError && disconnect) {
        // xcb_connect never gives null: a failed connection is an object that must be released too.
        void* connection = connect(display.c_str(), nullptr);
        failed = hasError(connection);
        disconnect(connection);
    }
    ::dlclose(xcb);
    return failed ? "no X server takes connections on DISPLAY=" + display : std::string();
}

// Whether a Wayland compositor listens on the socket WAYLAND_DISPLAY names:
// an absolute path, or a name in XDG_RUNTIME_DIR.
std::string WaylandProblem() {
    const std::string name = Env("WAYLAND_DISPLAY");
    if (name.empty())
        return "WAYLAND_DISPLAY is not set";
    if (name[0] != '/' && Env("XDG_RUNTIME_DIR").empty())
        return "XDG_RUNTIME_DIR is not set";
    const std::string path = name[0] == '/' ? name : Env("XDG_RUNTIME_DIR") + "/" + name;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path))
        return "the Wayland socket path is too long: " + path;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool bListening = fd >= 0 && ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    if (fd >= 0)
        ::close(fd);
    return bListening ? std::string() : "no Wayland compositor listens on " + path;
}

// Why one platform, a QT_QPA_PLATFORM entry such as "xcb" or "offscreen:size=800x600", can't start.
std::string PlatformProblem(const std::string& entry) {
    const std::string platform = entry.substr(0, entry.find(':'));
    std::string problem = PluginProblem(platform);
    if (problem.empty() && platform == "xcb")
        problem = XProblem();
    else if (problem.empty() && platform.starts_with("wayland"))
        problem = WaylandProblem();
    // Every other platform (offscreen, minimal, vnc, linuxfb, eglfs) needs no display server.
    return problem;
}

}  // namespace

CString CTw_varlibApp::FindDisplayProblem() {
    const std::string chosen = Env("QT_QPA_PLATFORM");
    std::string problems;
    if (chosen.empty()) {
        // Unset, Qt starts its default platform here, xcb, or Wayland in a Wayland session.
        const std::string x = PlatformProblem("xcb");
        if (x.empty())
            return CString();
        const std::string wayland = Env("WAYLAND_DISPLAY").empty() ? std::string() : PlatformProblem("wayland");
        if (!Env("WAYLAND_DISPLAY").empty() && wayland.empty())
            return CString();
        problems = "no display: " + x + (wayland.empty() ? "" : "; " + wayland) +
                   " (QT_QPA_PLATFORM=offscreen runs without one)";
    } else {
        // Qt tries the entries in order and takes the first that starts.
        for (const std::string& entry : Split(chosen, ';')) {
            const std::string problem = PlatformProblem(entry);
            if (problem.empty())
                return CString();
            problems += (problems.empty() ? "" : "; ") + problem;
        }
        problems = "QT_QPA_PLATFORM=" + chosen + " can't start: " + problems;
    }
    return CString(problems.c_str());
}

CTw_varlibApp::CTw_varlibApp() {
    if (QCoreApplication* existing = QCoreApplication::instance()) {
        if (!qobject_cast<QApplication*>(existing))
            m_strError = u"the host's Qt application object is no QApplication, and widgets need one";
        else if (existing->thread() != QThread::currentThread())
            m_strError = u"the dialog must open on the thread of the host's QApplication";
        return;
    }
    m_strError = FindDisplayProblem();
    if (m_strError.IsEmpty())
        m_pOwnApp = std::make_unique<QApplication>(m_argc, m_argv);
}

CTw_varlibApp::~CTw_varlibApp() = default;

int CTw_varlibApp::IsReady() const { return m_strError.IsEmpty() ? 1 : 0; }

CString CTw_varlibApp::GetErrorText() const { return m_strError; }

int CTw_varlibApp::OwnsApplication() const { return m_pOwnApp ? 1 : 0; }
