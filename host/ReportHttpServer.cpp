#include "host/ReportHttpServer.h"

#include <fcntl.h>
#include <microhttpd.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <deque>
#include <fstream>
#include <functional>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "corelib/Utility.h"
#include "corelib/XML.h"
#include "host/PluginWorkers.h"
#include "snmplib/SnmpUtility.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kXmlType = "application/xml; charset=utf-8";
constexpr const char* kTextType = "text/plain; charset=utf-8";
constexpr const char* kHtmlType = "text/html; charset=utf-8";

// The page loads its own files and frames its own reports, nothing else.
constexpr const char* kPagePolicy =
    "default-src 'self'; frame-src 'self'; object-src 'none'; base-uri 'none'; form-action 'none'; "
    "frame-ancestors 'none'";
// A report is plug-in HTML: no script, no fetch, nothing from elsewhere but
// its own inline style and data: images; only the page may frame it.
constexpr const char* kReportPolicy =
    "sandbox; default-src 'none'; style-src 'unsafe-inline'; img-src data:; frame-ancestors 'self'";

// The bounds of the front. A slow or idle client costs one connection slot
// and its buffer, never a thread; these keep a crowd of them from starving
// the others or the host.
// Connections waiting to be accepted: bursts of clients wait in the kernel, not in a refusal.
constexpr int kListenBacklog = 128;
// All connections at once: below the usual limit of 1024 open files, leaving room for files and plug-ins.
constexpr unsigned int kMaxConnections = 1000;
// Connections from one address: one host can't take every slot, yet a page and its tabs have plenty.
constexpr unsigned int kMaxConnectionsPerAddress = 128;
// Seconds a connection may stay silent: an idle or stalled client gives its slot back soon.
constexpr unsigned int kIdleTimeoutSeconds = 10;
// The request head and read buffer of one connection; bodies are held apart, up to the body limit.
constexpr std::size_t kConnectionMemoryBytes = 64 * 1024;
// A body past the limit is read on and dropped, so that the client hears the 413; this far, no further.
constexpr std::size_t kMaxDroppedBytes = 16 << 20;
// How long Stop lets the requests under way send their answers before it closes their connections.
constexpr std::chrono::seconds kDrainTime(kIdleTimeoutSeconds);
// How often the deadline watcher looks: a connection is cut off at most this late.
constexpr std::chrono::milliseconds kWatchTick(250);

// Content types of the page's files, by extension; anything else is bytes.
struct FileType {
    const char* extension;
    const char* type;
};
constexpr FileType kFileTypes[] = {
    {".html", kHtmlType},
    {".css", "text/css; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".json", "application/json"},
    {".svg", "image/svg+xml"},
    {".png", "image/png"},
    {".ico", "image/x-icon"},
};

const char* TypeOf(const fs::path& file) {
    const std::string extension = file.extension().string();
    for (const FileType& entry : kFileTypes)
        if (extension == entry.extension)
            return entry.type;
    return "application/octet-stream";
}

// The directory with links and dots resolved; throws when it is not there.
fs::path CanonicalDir(const fs::path& dir, const char* what) {
    std::error_code error;
    fs::path canonical = fs::canonical(dir, error);
    if (error || !fs::is_directory(canonical))
        throw std::runtime_error(std::string("the ") + what + " " + dir.string() + " is not a directory");
    return canonical;
}

// The regular file that relative names below root (canonical), or nothing
// when the name climbs out of root, by "..", an absolute path or a link that
// leads elsewhere. Our choice: dot segments are refused outright rather than
// resolved, so a name means one file only.
std::optional<fs::path> ResolveInside(const fs::path& root, const std::string& relative) {
    if (relative.empty() || relative.find('\0') != std::string::npos || relative.front() == '/')
        return std::nullopt;
    const fs::path name(relative);
    for (const fs::path& segment : name)
        if (segment == ".." || segment == "." || segment.empty())
            return std::nullopt;
    std::error_code error;
    const fs::path file = fs::canonical(root / name, error);
    if (error || !fs::is_regular_file(file, error))
        return std::nullopt;
    // Below root: the file's path begins with every part of root's.
    auto fileParts = file.begin();
    for (const fs::path& part : root) {
        if (fileParts == file.end() || *fileParts != part)
            return std::nullopt;
        ++fileParts;
    }
    return fileParts == file.end() ? std::nullopt : std::optional<fs::path>(file);
}

bool ReadWhole(const fs::path& file, std::string& content) {
    std::ifstream in(file, std::ios::binary);
    if (!in)
        return false;
    std::ostringstream text;
    text << in.rdbuf();
    content = std::move(text).str();
    return !in.bad();
}

// Decodes %HH in a request's path in place, except %00: a name with a NUL
// in it stays as it was sent and names no file.
std::size_t DecodePath(void*, MHD_Connection*, char* text) {
    const auto hex = [](char c) {
        return std::isdigit(static_cast<unsigned char>(c)) ? c - '0' : (std::tolower(static_cast<unsigned char>(c)) - 'a' + 10);
    };
    char* out = text;
    for (const char* in = text; *in != '\0'; ++in) {
        if (in[0] == '%' && std::isxdigit(static_cast<unsigned char>(in[1])) &&
            std::isxdigit(static_cast<unsigned char>(in[2])) && (in[1] != '0' || in[2] != '0')) {
            *out++ = static_cast<char>(hex(in[1]) * 16 + hex(in[2]));
            in += 2;
        } else {
            *out++ = *in;
        }
    }
    *out = '\0';
    return static_cast<std::size_t>(out - text);
}

// The listening socket for address and port (0: any free one), or -1 and why.
int ListenOn(const std::string& address, int port, std::string& strError) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    if (const int failed = getaddrinfo(address.empty() ? nullptr : address.c_str(), std::to_string(port).c_str(), &hints, &found)) {
        strError = gai_strerror(failed);
        return -1;
    }
    int listening = -1;
    for (const addrinfo* entry = found; entry != nullptr && listening < 0; entry = entry->ai_next) {
        // Non-blocking: the polling thread must never wait in accept for a client that went away.
        const int fd = ::socket(entry->ai_family, entry->ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, entry->ai_protocol);
        if (fd < 0)
            continue;
        const int yes = 1;
        ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        if (::bind(fd, entry->ai_addr, entry->ai_addrlen) == 0 && ::listen(fd, kListenBacklog) == 0) {
            listening = fd;
            continue;
        }
        // One server a port: another one that listens there (twhost serve or any other) is named, not joined.
        strError = errno == EADDRINUSE      ? "the port is in use: is another twhost serve (or another server) running?"
                   : errno == EADDRNOTAVAIL ? "that is no address of this host"
                                            : std::strerror(errno);
        ::close(fd);
    }
    freeaddrinfo(found);
    return listening;
}

int BoundPort(int fd) {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        return -1;
    if (address.ss_family == AF_INET)
        return ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
    if (address.ss_family == AF_INET6)
        return ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port);
    return -1;
}

std::optional<std::string> HeaderOf(MHD_Connection* connection, const char* name) {
    const char* value = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name);
    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

// Host part of a URL for the listen address: a wildcard address is no place
// to send a browser, so the host's own address stands in for it.
std::string UrlHost(const std::string& listen) {
    if (listen == "0.0.0.0" || listen == "::" || listen.empty())
        return CUtility::UTF16toUTF8(CSnmpUtility::GetLocalIPAddress());
    return listen.find(':') != std::string::npos ? "[" + listen + "]" : listen;
}

// The message that a request body carries, in its XML wire form.
bool ReadMessage(const std::string& body, CMessage& message, std::string& strError) {
    CXML root;
    if (!root.FromString(CUtility::UTF8toUTF16(body))) {
        strError = "The body is no XML document.";
        return false;
    }
    if (!message.FromXml(root)) {
        strError = "The body is XML but no message: a <" + CUtility::UTF16toUTF8(CMessage::TAG_NAME) + " " +
                   CUtility::UTF16toUTF8(CMessage::TYPE_ATTR) +
                   "=\"...\"> element with at most one child is expected, not <" +
                   CUtility::UTF16toUTF8(root.GetTagName()) + ">.";
        return false;
    }
    return true;
}

std::string WriteMessage(const CMessage& message) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + CUtility::UTF16toUTF8(message.ToXmlString()) + "\n";
}

}  // namespace

struct ReportHttpReply {
    int nStatus = 200;
    std::string strBody;
    const char* pszType = nullptr;
    std::vector<std::pair<const char*, const char*>> headers;   // besides the security headers
};

// A fixed set of threads that run jobs in the order given.
class CReportHttpServer::CThreadPool {
public:
    explicit CThreadPool(std::size_t threads) {
        for (std::size_t i = 0; i < threads; ++i)
            m_threads.emplace_back([this] { Work(); });
    }
    // Runs the jobs already given, then ends the threads.
    ~CThreadPool() {
        {
            std::lock_guard<std::mutex> lock(m_lock);
            m_bDone = true;
        }
        m_wake.notify_all();
        for (std::thread& thread : m_threads)
            thread.join();
    }
    CThreadPool(const CThreadPool&) = delete;
    CThreadPool& operator=(const CThreadPool&) = delete;

    void Submit(std::function<void()> job) {
        {
            std::lock_guard<std::mutex> lock(m_lock);
            m_jobs.push_back(std::move(job));
        }
        m_wake.notify_one();
    }

private:
    void Work() {
        for (;;) {
            std::function<void()> job;
            {
                std::unique_lock<std::mutex> lock(m_lock);
                m_wake.wait(lock, [this] { return m_bDone || !m_jobs.empty(); });
                if (m_jobs.empty())
                    return;
                job = std::move(m_jobs.front());
                m_jobs.pop_front();
            }
            job();
        }
    }

    std::mutex m_lock;
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_jobs;
    bool m_bDone = false;
    std::vector<std::thread> m_threads;
};

// One request from its head to its answer; the library keeps it for us.
struct CReportHttpServer::PendingRequest {
    enum class Route { Messages, Report, WebFile, NotFound };
    Route route = Route::NotFound;
    std::string name;   // of the file asked for, below its directory
    std::string body;
    std::size_t nReceived = 0;
    std::size_t nHeld = 0;   // of the server's budget, for the body announced
    bool bTooLarge = false;
    bool bDispatched = false;
    std::atomic<bool> bAnswered{false};   // the worker's reply is in
    Reply reply;
};

// The library's callbacks, handed on to the server.
struct ServerCallbacks {
    static MHD_Result Access(void* server, MHD_Connection* connection, const char* url, const char* method,
                             const char*, const char* uploadData, std::size_t* uploadDataSize, void** state) {
        return static_cast<CReportHttpServer*>(server)->OnRequest(connection, url, method, uploadData, uploadDataSize,
                                                                  state)
                   ? MHD_YES
                   : MHD_NO;
    }
    static void Completed(void* server, MHD_Connection* connection, void** state, MHD_RequestTerminationCode) {
        static_cast<CReportHttpServer*>(server)->OnRequestDone(connection, state);
    }
    static void Connection(void* server, MHD_Connection* connection, void** context, MHD_ConnectionNotificationCode code) {
        static_cast<CReportHttpServer*>(server)->OnConnection(connection, context, code == MHD_CONNECTION_NOTIFY_STARTED);
    }
};

// An open connection: its socket, and when its request must be in.
struct CReportHttpServer::Connection {
    int fd = -1;
    std::optional<std::chrono::steady_clock::time_point> deadline;   // none while an answer is made
    bool bCut = false;
};

namespace {

using Reply = ReportHttpReply;

Reply Answer(int status, const std::string& text) {
    Reply reply;
    reply.nStatus = status;
    reply.strBody = text + "\n";
    reply.pszType = kTextType;
    return reply;
}

Reply SendFile(const std::optional<fs::path>& file, const char* type) {
    Reply reply;
    if (!file || !ReadWhole(*file, reply.strBody))
        return Answer(404, "Not found");
    reply.pszType = type;
    reply.headers.emplace_back("Cache-Control", "no-cache");
    return reply;
}

// The reply as the connection's response, with the security headers that
// every answer carries unless the reply gives its own.
bool Queue(MHD_Connection* connection, Reply reply) {
    auto* body = new std::string(std::move(reply.strBody));
    MHD_Response* response = MHD_create_response_from_buffer_with_free_callback_cls(
        body->size(), body->data(), [](void* text) { delete static_cast<std::string*>(text); }, body);
    if (response == nullptr) {
        delete body;
        return false;
    }
    const std::pair<const char*, const char*> defaults[] = {{"X-Content-Type-Options", "nosniff"},
                                                            {"X-Frame-Options", "DENY"},
                                                            {"Referrer-Policy", "no-referrer"},
                                                            {"Content-Security-Policy", kPagePolicy}};
    for (const auto& [name, value] : defaults) {
        bool replaced = false;
        for (const auto& header : reply.headers)
            replaced = replaced || std::strcmp(header.first, name) == 0;
        if (!replaced)
            MHD_add_response_header(response, name, value);
    }
    for (const auto& [name, value] : reply.headers)
        MHD_add_response_header(response, name, value);
    if (reply.pszType != nullptr)
        MHD_add_response_header(response, "Content-Type", reply.pszType);
    const MHD_Result queued = MHD_queue_response(connection, static_cast<unsigned int>(reply.nStatus), response);
    MHD_destroy_response(response);
    return queued == MHD_YES;
}

}  // namespace

CReportHttpServer::CReportHttpServer(CPluginWorkers& workers, Options options)
    : m_workers(workers), m_options(std::move(options)), m_guard(m_options.strListen) {
    m_canonicalWebDir = CanonicalDir(m_options.webDir, "web directory");
    m_canonicalReportDir = CanonicalDir(m_options.reportDir, "report directory");
}

CReportHttpServer::~CReportHttpServer() {
    if (m_nListenSocket >= 0)
        ::close(m_nListenSocket);
}

void CReportHttpServer::Bind() {
    std::string strError = "no address to listen on";
    m_nListenSocket = ListenOn(m_options.strListen, m_options.nPort, strError);
    const int port = m_nListenSocket >= 0 ? BoundPort(m_nListenSocket) : -1;
    if (port <= 0)
        throw std::runtime_error("could not listen on " + m_options.strListen + " port " +
                                 std::to_string(m_options.nPort) + ": " + strError);
    m_strAddress = "http://" + UrlHost(m_options.strListen) + ":" + std::to_string(port) + "/";
    m_guard.SetPort(port);
}

std::string CReportHttpServer::GetAddress() const { return m_strAddress; }

bool CReportHttpServer::Run() {
    if (m_nListenSocket < 0)
        return false;
    {
        std::lock_guard<std::mutex> lock(m_lock);
        if (m_bStopRequested)
            return true;
        m_bClosing = false;
    }
    // The threads are made here, not in Bind, so that they take the signal mask of the thread that runs us.
    m_pThreads = std::make_unique<CThreadPool>(static_cast<std::size_t>(m_options.nThreads > 0 ? m_options.nThreads : 1));
    m_bWatching = true;
    m_watcher = std::thread([this] { WatchDeadlines(); });
    m_pDaemon = MHD_start_daemon(
        MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_EPOLL | MHD_ALLOW_SUSPEND_RESUME, 0, nullptr, nullptr,
        &ServerCallbacks::Access, this, MHD_OPTION_LISTEN_SOCKET, m_nListenSocket, MHD_OPTION_CONNECTION_LIMIT,
        kMaxConnections, MHD_OPTION_PER_IP_CONNECTION_LIMIT, kMaxConnectionsPerAddress, MHD_OPTION_CONNECTION_TIMEOUT,
        kIdleTimeoutSeconds, MHD_OPTION_CONNECTION_MEMORY_LIMIT, kConnectionMemoryBytes, MHD_OPTION_NOTIFY_COMPLETED,
        &ServerCallbacks::Completed, this, MHD_OPTION_NOTIFY_CONNECTION, &ServerCallbacks::Connection, this,
        MHD_OPTION_UNESCAPE_CALLBACK, &DecodePath, nullptr, MHD_OPTION_END);
    const auto stopWatching = [this] {
        {
            std::lock_guard<std::mutex> lock(m_connectionLock);
            m_bWatching = false;
        }
        m_watcherWake.notify_all();
        m_watcher.join();
        for (Connection* connection : m_connections)   // none: the library tells of every close
            delete connection;
        m_connections.clear();
    };
    if (m_pDaemon == nullptr) {
        stopWatching();
        m_pThreads.reset();
        return false;
    }
    std::unique_lock<std::mutex> lock(m_lock);
    m_changed.wait(lock, [this] { return m_bStopRequested; });
    lock.unlock();

    // No new connection: the listening socket is ours again, and closed so that new clients hear a refusal.
    const int listening = MHD_quiesce_daemon(m_pDaemon);
    if (listening >= 0)
        ::close(listening);
    lock.lock();
    m_changed.wait_for(lock, kDrainTime, [this] { return m_nActive == 0; });
    // Past the drain time a message still running finishes, but no new one starts.
    m_bClosing = true;
    m_changed.wait(lock, [this] { return m_nSuspended == 0; });
    lock.unlock();
    MHD_stop_daemon(m_pDaemon);
    m_pDaemon = nullptr;
    stopWatching();
    m_pThreads.reset();
    m_nListenSocket = -1;   // closed by us or by the daemon
    return true;
}

void CReportHttpServer::Stop() {
    {
        std::lock_guard<std::mutex> lock(m_lock);
        m_bStopRequested = true;
    }
    m_changed.notify_all();
}

bool CReportHttpServer::OnRequest(MHD_Connection* connection, const char* url, const char* method,
                                  const char* uploadData, std::size_t* uploadDataSize, void** state) {
    auto* request = static_cast<PendingRequest*>(*state);
    if (request == nullptr) {
        // The head is complete and no byte of the body is read yet: check it now, so a refused request costs no body.
        request = new PendingRequest;
        *state = request;
        {
            std::lock_guard<std::mutex> lock(m_lock);
            ++m_nActive;
        }
        const std::string_view verb(method);
        const CRequestGuard::Verdict verdict =
            m_guard.Check(verb, [connection](const char* name) { return HeaderOf(connection, name); });
        if (verdict.nStatus != 0) {
            Reply refusal = Answer(verdict.nStatus, verdict.strReason);
            refusal.headers.emplace_back("Connection", "close");
            return Queue(connection, std::move(refusal));
        }
        const std::string path(url);
        using Route = PendingRequest::Route;
        if (verb == "GET" || verb == "HEAD") {
            const bool report = path.rfind("/reports/", 0) == 0;
            request->route = report ? Route::Report : Route::WebFile;
            request->name = path.substr(report ? 9 : 1);
        } else if (verb == "POST") {
            request->route = path == "/messages" ? Route::Messages : Route::NotFound;
        } else {
            return Queue(connection, Answer(400, "HTTP status 400"));
        }
        // Answers wait for the end of the body, even an empty one: an answer queued earlier closes the connection.
        const std::optional<std::string> length = HeaderOf(connection, "Content-Length");
        const unsigned long long announced = length ? std::strtoull(length->c_str(), nullptr, 10) : 0;
        if (announced > 0 && announced <= m_options.nMaxRequestBytes) {
            // The body is counted against the budget before a byte of it is read.
            bool held = false;
            {
                std::lock_guard<std::mutex> lock(m_lock);
                if (m_nHeldBytes + announced <= m_options.nMaxHeldBytes) {
                    m_nHeldBytes += announced;
                    request->nHeld = announced;
                    held = true;
                }
            }
            if (!held) {
                Reply busy = Answer(503, "The server holds as many request bodies as it may; try again.");
                busy.headers.emplace_back("Retry-After", "1");
                busy.headers.emplace_back("Connection", "close");
                return Queue(connection, std::move(busy));
            }
        }
        if (announced > m_options.nMaxRequestBytes) {
            request->bTooLarge = true;
            // A client that waits for "100 Continue" hears the refusal before it sends anything.
            const std::optional<std::string> expect = HeaderOf(connection, "Expect");
            if (expect && expect->find("100") != std::string::npos)
                return Queue(connection, Answer(413, "The request is larger than " +
                                                         std::to_string(m_options.nMaxRequestBytes) + " bytes."));
        }
        return true;
    }
    if (*uploadDataSize > 0) {
        // The limit counts the bytes received, whatever the head announced.
        request->nReceived += *uploadDataSize;
        if (request->nReceived > m_options.nMaxRequestBytes && !request->bTooLarge) {
            request->bTooLarge = true;
            std::string().swap(request->body);
        }
        if (!request->bTooLarge)
            request->body.append(uploadData, *uploadDataSize);
        *uploadDataSize = 0;
        return request->nReceived <= m_options.nMaxRequestBytes + kMaxDroppedBytes;
    }
    // The body is complete: the answer takes its own time, not the request's.
    SetDeadline(connection, false);
    if (request->bTooLarge)
        return Queue(connection,
                     Answer(413, "The request is larger than " + std::to_string(m_options.nMaxRequestBytes) + " bytes."));
    switch (request->route) {
    case PendingRequest::Route::NotFound:
        return Queue(connection, Answer(404, "Not found"));
    // Files are read here, on the polling thread: they are small and local.
    case PendingRequest::Route::Report:
        return Queue(connection, OnReport(request->name));
    case PendingRequest::Route::WebFile:
        return Queue(connection, OnWebFile(request->name));
    case PendingRequest::Route::Messages:
        break;
    }
    if (request->bAnswered)
        return Queue(connection, std::move(request->reply));
    if (request->bDispatched)
        return true;
    return Dispatch(connection, *request);
}

bool CReportHttpServer::Dispatch(MHD_Connection* connection, PendingRequest& request) {
    {
        std::lock_guard<std::mutex> lock(m_lock);
        if (m_bClosing)
            return false;   // stopping: the connection is closed unanswered
        ++m_nSuspended;
    }
    request.bDispatched = true;
    // The polling thread goes on with the other connections; the pool thread resumes this one with the answer.
    MHD_suspend_connection(connection);
    m_pThreads->Submit([this, connection, &request] {
        request.reply = OnMessages(request.body);
        request.bAnswered = true;
        MHD_resume_connection(connection);
        {
            std::lock_guard<std::mutex> lock(m_lock);
            --m_nSuspended;
        }
        m_changed.notify_all();
    });
    return true;
}

void CReportHttpServer::OnRequestDone(MHD_Connection* connection, void** state) {
    SetDeadline(connection, true);   // for the next request on the connection
    auto* request = static_cast<PendingRequest*>(*state);
    if (request == nullptr)
        return;
    {
        std::lock_guard<std::mutex> lock(m_lock);
        --m_nActive;
        m_nHeldBytes -= request->nHeld;
    }
    delete request;
    *state = nullptr;
    m_changed.notify_all();
}

void CReportHttpServer::OnConnection(MHD_Connection* connection, void** context, bool opened) {
    std::lock_guard<std::mutex> lock(m_connectionLock);
    if (opened) {
        const MHD_ConnectionInfo* info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
        auto* entry = new Connection;
        entry->fd = info != nullptr ? info->connect_fd : -1;
        entry->deadline = std::chrono::steady_clock::now() + std::chrono::seconds(m_options.nRequestSeconds);
        m_connections.insert(entry);
        *context = entry;
        return;
    }
    // Still under the lock: the socket is closed only after this returns.
    auto* entry = static_cast<Connection*>(*context);
    m_connections.erase(entry);
    delete entry;
    *context = nullptr;
}

void CReportHttpServer::SetDeadline(MHD_Connection* connection, bool limited) {
    const MHD_ConnectionInfo* info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
    if (info == nullptr || info->socket_context == nullptr)
        return;
    auto* entry = static_cast<Connection*>(info->socket_context);
    std::lock_guard<std::mutex> lock(m_connectionLock);
    if (limited)
        entry->deadline = std::chrono::steady_clock::now() + std::chrono::seconds(m_options.nRequestSeconds);
    else
        entry->deadline.reset();
}

void CReportHttpServer::WatchDeadlines() {
    std::unique_lock<std::mutex> lock(m_connectionLock);
    while (!m_watcherWake.wait_for(lock, kWatchTick, [this] { return !m_bWatching; })) {
        const auto now = std::chrono::steady_clock::now();
        // A client that sends a byte now and then is never idle, and the library would keep it:
        // shut down, its socket reads as ended and the library closes the connection.
        for (Connection* connection : m_connections)
            if (connection->deadline && *connection->deadline <= now && !connection->bCut && connection->fd >= 0) {
                ::shutdown(connection->fd, SHUT_RDWR);
                connection->bCut = true;
            }
    }
}

CReportHttpServer::Reply CReportHttpServer::OnMessages(const std::string& body) {
    CMessage message;
    std::string strError;
    if (!ReadMessage(body, message, strError))
        return Answer(400, strError);
    const CPluginWorkers::Answer answer = m_workers.Call(message);
    if (answer.nStatus != 200) {
        Reply failure = Answer(answer.nStatus, answer.strText);
        if (answer.nStatus == 503)
            failure.headers.emplace_back("Retry-After", "1");
        return failure;
    }
    Reply reply;
    reply.strBody = WriteMessage(answer.message);
    reply.pszType = kXmlType;
    reply.headers.emplace_back("Cache-Control", "no-store");
    return reply;
}

CReportHttpServer::Reply CReportHttpServer::OnReport(const std::string& name) const {
    // Reports lie flat in their directory under the manager's names; any
    // other file there (or a name with a "/") is none of them.
    Reply reply =
        SendFile(CRequestGuard::IsReportName(name) ? ResolveInside(m_canonicalReportDir, name) : std::nullopt, kHtmlType);
    reply.headers.emplace_back("Content-Security-Policy", kReportPolicy);
    reply.headers.emplace_back("X-Frame-Options", "SAMEORIGIN");
    return reply;
}

CReportHttpServer::Reply CReportHttpServer::OnWebFile(const std::string& name) const {
    const std::optional<fs::path> file = ResolveInside(m_canonicalWebDir, name.empty() ? "index.html" : name);
    return SendFile(file, file ? TypeOf(*file) : kTextType);
}
