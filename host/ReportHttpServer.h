// CReportHttpServer: twhost's HTTP front, in the place of the platform's
// message server and web server at once.
//
//   POST /messages        a message in its XML wire form, run by a plug-in
//                         worker process (CPluginWorkers); the answer is the response
//   GET  /reports/NAME    a report file of the report directory
//   GET  /, /FILE         the web page, from the web directory
//
// One event-driven polling thread reads every connection and answers the
// GETs itself; a message's connection is suspended while a thread of a pool
// hands the message to a worker process and waits for its answer. Slow or
// idle clients hold a connection slot each, never a thread, and are bounded
// per address and in total; a request's head and body must be in within the
// request time, and the bodies held at once within a budget. Files are served only
// from inside their directory: names are resolved (links too) and must stay
// below it, and reports only by the names the report manager gives them.
// Requests are checked before their body is read (CRequestGuard: the host,
// the origin, the content type and encodings). Every answer forbids framing
// by other pages and sending a Referer; the page gets a content security
// policy that allows its own files only, and reports, which hold plug-in
// HTML, are sandboxed: no script runs in them, and only the page frames them.
// Run blocks until Stop, which any thread (a signal watcher) may call.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "host/RequestGuard.h"

class CMessage;
class CPluginWorkers;

struct MHD_Connection;
struct MHD_Daemon;
struct ReportHttpReply;   // an answer before it becomes the HTTP response

class CReportHttpServer {
public:
    struct Options {
        std::string strListen = "127.0.0.1";   // address to listen on
        int nPort = 8080;                       // 0: any free port
        std::filesystem::path webDir;           // the page's files
        std::filesystem::path reportDir;        // where the report manager writes; must exist
        int nThreads = 8;                       // threads that wait for the workers' answers
        std::size_t nMaxRequestBytes = 1 << 20; // larger bodies get 413
        std::size_t nMaxHeldBytes = 64 << 20;   // bodies held at once; past it 503
        int nRequestSeconds = 30;               // for the head and body of one request
    };

    // The workers must outlive this object.
    CReportHttpServer(CPluginWorkers& workers, Options options);
    ~CReportHttpServer();
    CReportHttpServer(const CReportHttpServer&) = delete;
    CReportHttpServer& operator=(const CReportHttpServer&) = delete;

    // Binds the socket; throws std::runtime_error when the address can't be had.
    void Bind();
    // The address to open in a browser, "http://HOST:PORT/"; valid after Bind.
    std::string GetAddress() const;
    // Where the report manager puts its reports: the base URL that serves
    // them (no trailing "/"; valid after Bind) and the directory.
    std::string GetReportUrl() const { return m_strAddress + "reports"; }
    std::string GetReportDir() const { return m_canonicalReportDir.string(); }
    // Serves until Stop; false if serving could not start.
    bool Run();
    // Ends Run: no new connection is taken, the requests under way finish.
    void Stop();

private:
    using Reply = ReportHttpReply;
    struct PendingRequest;
    struct Connection;
    class CThreadPool;
    friend struct ServerCallbacks;

    // The polling thread's view of a request; the arguments are the library's.
    bool OnRequest(MHD_Connection* connection, const char* url, const char* method, const char* uploadData,
                   std::size_t* uploadDataSize, void** state);
    void OnRequestDone(MHD_Connection* connection, void** state);
    void OnConnection(MHD_Connection* connection, void** context, bool opened);
    // Gives a connection's next request its time from now, or no limit while its answer is made.
    void SetDeadline(MHD_Connection* connection, bool limited);
    // Cuts off the connections past their deadline, until Run ends.
    void WatchDeadlines();
    bool Dispatch(MHD_Connection* connection, PendingRequest& request);

    Reply OnMessages(const std::string& body);
    Reply OnReport(const std::string& name) const;
    Reply OnWebFile(const std::string& name) const;

    CPluginWorkers& m_workers;
    Options m_options;
    std::filesystem::path m_canonicalWebDir, m_canonicalReportDir;
    std::string m_strAddress;
    CRequestGuard m_guard;
    int m_nListenSocket = -1;   // from Bind until Run hands it to the daemon
    MHD_Daemon* m_pDaemon = nullptr;
    std::unique_ptr<CThreadPool> m_pThreads;

    // Stop's request, the requests under way (head read, answer not yet
    // sent) and the connections suspended while their message runs.
    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_bStopRequested = false, m_bClosing = false;
    std::size_t m_nActive = 0, m_nSuspended = 0;
    std::size_t m_nHeldBytes = 0;   // announced by the bodies being read or run

    // The open connections, for the deadline watcher; under their own lock,
    // which the library's closing notification takes too, so that a socket
    // is shut down only while it is still the connection's.
    std::mutex m_connectionLock;
    std::condition_variable m_watcherWake;
    bool m_bWatching = false;
    std::set<Connection*> m_connections;
    std::thread m_watcher;
};
