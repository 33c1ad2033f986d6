// CRequestGuard: what twhost serve refuses before it reads a request's body.
//
// The server acts for the operator on the operator's machine, so a request
// must come from the operator's own page or from a program, never from a page
// of another site that the operator's browser happens to show:
//
//  - Host must name the server as it listens: its address (or, listening on
//    every address, any address literal or this machine's name) and "localhost"
//    for a loopback or wildcard address, with the server's port. A name that
//    resolves here only by a DNS trick (rebinding) is refused.
//  - A POST must carry the message's content type (application/xml or
//    text/xml): a cross-site form can send neither. When the browser sends
//    Origin (or only Referer), it must be this server's own origin.
//  - Bodies come whole with a Content-Length and without a content encoding:
//    chunked and compressed bodies are refused, so that the body limit counts
//    every byte the server will hold.
//
// The HTTP library calls Check with the request head; a verdict with a
// status is the answer, sent without reading the body.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

class CRequestGuard {
public:
    struct Verdict {
        int nStatus = 0;        // 0: go on; else the HTTP status of the refusal
        std::string strReason;  // for the refusal's text
    };
    // A header's value by its name (case-insensitive), or nothing.
    using HeaderLookup = std::function<std::optional<std::string>(const char* name)>;

    // listen: the address the server listens on, as given to it.
    explicit CRequestGuard(std::string listen) : m_strListen(std::move(listen)) {}
    // The port bound; until it is set, no Host is accepted.
    void SetPort(int port) { m_nPort = port; }

    Verdict Check(std::string_view method, const HeaderLookup& header) const;

    // Whether name is one the report manager gives its reports:
    // "Report_D-M-Y_h-m-s.html", six decimal numbers.
    static bool IsReportName(std::string_view name);

private:
    bool IsOwnHost(std::string_view host) const;

    std::string m_strListen;
    int m_nPort = -1;
};
