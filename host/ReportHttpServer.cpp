#include "host/ReportHttpServer.h"

#include <httplib.h>

#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "corelib/TWMQMessageRegistry.h"
#include "corelib/Utility.h"
#include "corelib/XML.h"
#include "snmplib/SnmpUtility.h"
#include "varlib/reports/ReportManager.h"

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

void ReplaceHeader(httplib::Response& response, const char* name, const char* value) {
    response.headers.erase(name);
    response.set_header(name, value);
}

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

void Answer(httplib::Response& response, int status, const std::string& text) {
    response.status = status;
    response.set_content(text + "\n", kTextType);
}

void SendFile(httplib::Response& response, const std::optional<fs::path>& file, const char* type) {
    std::string content;
    if (!file || !ReadWhole(*file, content)) {
        Answer(response, 404, "Not found");
        return;
    }
    response.set_header("Cache-Control", "no-cache");
    response.set_content(std::move(content), type);
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

CReportHttpServer::CReportHttpServer(CReportManager& manager, Options options)
    : m_manager(manager), m_options(std::move(options)), m_guard(m_options.strListen),
      m_pServer(std::make_unique<httplib::Server>()) {
    m_canonicalWebDir = CanonicalDir(m_options.webDir, "web directory");
    m_canonicalReportDir = CanonicalDir(m_options.reportDir, "report directory");
    m_manager.SetMessageServer(&m_messageServer);

    httplib::Server& server = *m_pServer;
    const std::size_t threads = static_cast<std::size_t>(m_options.nThreads > 0 ? m_options.nThreads : 1);
    server.new_task_queue = [threads] { return new httplib::ThreadPool(threads); };
    server.set_payload_max_length(m_options.nMaxRequestBytes);
    // Headers and body go out in separate writes: without this each answer waits for a delayed ACK.
    server.set_tcp_nodelay(true);
    server.set_default_headers({{"X-Content-Type-Options", "nosniff"},
                                {"X-Frame-Options", "DENY"},
                                {"Referrer-Policy", "no-referrer"},
                                {"Content-Security-Policy", kPagePolicy}});
    // The head is checked before the body is read: a refused request costs no body.
    server.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
        const CRequestGuard::Verdict verdict = m_guard.Check(request.method, [&request](const char* name) {
            return request.has_header(name) ? std::optional<std::string>(request.get_header_value(name))
                                            : std::nullopt;
        });
        if (verdict.nStatus == 0)
            return httplib::Server::HandlerResponse::Unhandled;
        Answer(response, verdict.nStatus, verdict.strReason);
        response.set_header("Connection", "close");
        return httplib::Server::HandlerResponse::Handled;
    });
    server.Post("/messages", [this](const httplib::Request& request, httplib::Response& response) {
        OnMessages(request, response);
    });
    server.Get("/reports/(.*)", [this](const httplib::Request& request, httplib::Response& response) {
        OnReport(request, response);
    });
    server.Get("/(.*)", [this](const httplib::Request& request, httplib::Response& response) {
        OnWebFile(request, response);
    });
    // httplib's own refusals (413 for a large body, 404 for an unknown route) get a text too.
    const std::size_t limit = m_options.nMaxRequestBytes;
    server.set_error_handler([limit](const httplib::Request&, httplib::Response& response) {
        if (!response.body.empty())
            return;
        if (response.status == 413)
            Answer(response, 413, "The request is larger than " + std::to_string(limit) + " bytes.");
        else if (response.status == 404)
            Answer(response, 404, "Not found");
        else
            Answer(response, response.status, "HTTP status " + std::to_string(response.status));
    });
}

CReportHttpServer::~CReportHttpServer() {
    m_manager.SetMessageServer(nullptr);
}

void CReportHttpServer::Bind() {
    httplib::Server& server = *m_pServer;
    int port = m_options.nPort;
    if (port == 0)
        port = server.bind_to_any_port(m_options.strListen);
    else if (!server.bind_to_port(m_options.strListen, port))
        port = -1;
    if (port <= 0)
        throw std::runtime_error("could not listen on " + m_options.strListen + " port " +
                                 std::to_string(m_options.nPort) + " (in use, or not an address of this host)");
    m_strAddress = "http://" + UrlHost(m_options.strListen) + ":" + std::to_string(port) + "/";
    m_guard.SetPort(port);
    // The report manager appends "/NAME" to both.
    m_manager.SetWebServerInfo(CUtility::UTF8toUTF16(m_strAddress + "reports"),
                               CUtility::UTF8toUTF16(m_canonicalReportDir.string()));
}

std::string CReportHttpServer::GetAddress() const { return m_strAddress; }

bool CReportHttpServer::Run() { return m_pServer->listen_after_bind(); }

void CReportHttpServer::Stop() { m_pServer->stop(); }

void CReportHttpServer::OnMessages(const httplib::Request& request, httplib::Response& response) {
    CMessage message;
    std::string strError;
    if (!ReadMessage(request.body, message, strError)) {
        Answer(response, 400, strError);
        return;
    }
    const unsigned int slot = m_messageServer.Open();
    try {
        m_manager.OnMessage(message, CHttpMessageServer::HTTP_CLIENT, slot);
    } catch (const std::exception& e) {
        m_messageServer.Close(slot);
        Answer(response, 500, std::string("The message failed: ") + e.what());
        return;
    } catch (...) {
        m_messageServer.Close(slot);
        Answer(response, 500, "The message failed: an exception of unknown type");
        return;
    }
    std::optional<CMessage> answer = m_messageServer.Close(slot);
    if (!answer) {
        // The report manager answers only the types it knows, and changes nothing for the others.
        Answer(response, 400,
               "Unknown message type '" + CUtility::UTF16toUTF8(message.GetType()) + "': this service answers " +
                   CUtility::UTF16toUTF8(CReportManager::RETRIEVE_PLUGINS) + " and " +
                   CUtility::UTF16toUTF8(CReportManager::EXECUTE_REPORT) + ".");
        return;
    }
    if (answer->GetType() == CReportManager::RETRIEVE_PLUGINS_RESPONSE)
        AddPluginStatus(*answer);
    response.set_header("Cache-Control", "no-store");
    response.set_content(WriteMessage(*answer), kXmlType);
}

void CReportHttpServer::AddPluginStatus(CMessage& response) const {
    CXML plugins = response.GetBody();
    for (CXML plugin = plugins.GetFirstChild(); plugin.IsValid(); plugin = plugins.GetNextChild())
        plugin.SetAttr(u"Status", m_manager.GetPluginStatus(plugin.GetAttr(CTWMQMessageRegistry::ATTR_NAME, u"")));
}

void CReportHttpServer::OnReport(const httplib::Request& request, httplib::Response& response) const {
    // Reports lie flat in their directory under the manager's names; any
    // other file there (or a name with a "/") is none of them.
    const std::string name = request.matches[1];
    SendFile(response, CRequestGuard::IsReportName(name) ? ResolveInside(m_canonicalReportDir, name) : std::nullopt,
             kHtmlType);
    ReplaceHeader(response, "Content-Security-Policy", kReportPolicy);
    ReplaceHeader(response, "X-Frame-Options", "SAMEORIGIN");
}

void CReportHttpServer::OnWebFile(const httplib::Request& request, httplib::Response& response) const {
    const std::string name = request.matches[1].str().empty() ? "index.html" : request.matches[1].str();
    const std::optional<fs::path> file = ResolveInside(m_canonicalWebDir, name);
    SendFile(response, file, file ? TypeOf(*file) : kTextType);
}
