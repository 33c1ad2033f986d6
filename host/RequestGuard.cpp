#include "host/RequestGuard.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>

namespace {

std::string Lower(std::string_view text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return out;
}

bool IsIpv4(const std::string& text) {
    in_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1;
}

bool IsIpv6(const std::string& text) {
    in6_addr address{};
    return inet_pton(AF_INET6, text.c_str(), &address) == 1;
}

bool IsLoopback(const std::string& listen) {
    return listen == "::1" || listen.rfind("127.", 0) == 0 || listen == "localhost";
}

bool IsWildcard(const std::string& listen) { return listen.empty() || listen == "0.0.0.0" || listen == "::"; }

// The media type of a Content-Type value, lowercased, without parameters or blanks.
std::string MediaType(std::string_view value) {
    value = value.substr(0, value.find(';'));
    while (!value.empty() && (value.back() == ' ' || value.back() == '\t'))
        value.remove_suffix(1);
    while (!value.empty() && (value.front() == ' ' || value.front() == '\t'))
        value.remove_prefix(1);
    return Lower(value);
}

}  // namespace

bool CRequestGuard::IsOwnHost(std::string_view host) const {
    // Split "name:port" or "[v6]:port".
    std::string name;
    std::string_view port;
    if (!host.empty() && host.front() == '[') {
        const std::size_t close = host.find(']');
        if (close == std::string_view::npos)
            return false;
        name = std::string(host.substr(1, close - 1));
        if (close + 1 < host.size()) {
            if (host[close + 1] != ':')
                return false;
            port = host.substr(close + 2);
        }
        if (!IsIpv6(name))
            return false;
    } else {
        const std::size_t colon = host.rfind(':');
        name = Lower(host.substr(0, colon));
        if (colon != std::string_view::npos)
            port = host.substr(colon + 1);
    }
    // The port: ours, or absent only when ours is the default one.
    if (port.empty() ? m_nPort != 80 : port != std::to_string(m_nPort))
        return false;
    if (name == "localhost")
        return IsLoopback(m_strListen) || IsWildcard(m_strListen);
    if (IsWildcard(m_strListen)) {
        if (IsIpv4(name) || IsIpv6(name))
            return true;
        char own[256] = {};
        return gethostname(own, sizeof own - 1) == 0 && name == Lower(own);
    }
    return name == Lower(m_strListen);
}

CRequestGuard::Verdict CRequestGuard::Check(std::string_view method, const HeaderLookup& header) const {
    const std::optional<std::string> host = header("Host");
    if (!host || host->empty())
        return {400, "A Host header is required."};
    if (!IsOwnHost(*host))
        return {403, "This server does not answer for the host '" + *host + "'."};
    if (const auto encoding = header("Content-Encoding"); encoding && Lower(*encoding) != "identity")
        return {415, "Content-Encoding '" + *encoding + "' is not accepted: send the body as it is."};
    if (header("Transfer-Encoding"))
        return {411, "Chunked bodies are not accepted: send the body with a Content-Length."};
    if (method == "GET" || method == "HEAD")
        return {};

    const std::string origin = "http://" + *host;
    if (const auto from = header("Origin")) {
        if (*from != origin)
            return {403, "Requests from the origin '" + *from + "' are refused: only this server's own page may send them."};
    } else if (const auto referer = header("Referer")) {
        if (referer->compare(0, origin.size() + 1, origin + "/") != 0)
            return {403, "Requests from the page '" + *referer + "' are refused: only this server's own page may send them."};
    }
    const std::string type = MediaType(header("Content-Type").value_or(""));
    if (type != "application/xml" && type != "text/xml")
        return {415, "A message must be sent as application/xml, not '" + type + "'."};
    return {};
}

bool CRequestGuard::IsReportName(std::string_view name) {
    constexpr std::string_view kPrefix = "Report_", kSuffix = ".html";
    if (name.size() <= kPrefix.size() + kSuffix.size() || name.substr(0, kPrefix.size()) != kPrefix ||
        name.substr(name.size() - kSuffix.size()) != kSuffix)
        return false;
    name = name.substr(kPrefix.size(), name.size() - kPrefix.size() - kSuffix.size());
    // D-M-Y_h-m-s: six runs of 1 to 6 digits, joined by "-", "-", "_", "-", "-".
    constexpr char kJoints[] = {'-', '-', '_', '-', '-'};
    std::size_t at = 0;
    for (int number = 0; number < 6; ++number) {
        std::size_t digits = 0;
        while (at < name.size() && std::isdigit(static_cast<unsigned char>(name[at])) && digits < 6) {
            ++at;
            ++digits;
        }
        if (digits == 0)
            return false;
        if (number < 5) {
            if (at >= name.size() || name[at] != kJoints[number])
                return false;
            ++at;
        }
    }
    return at == name.size();
}
