#include "host/ServeCommand.h"

#include "host/LoadedPlugins.h"

#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include <CLI/CLI.hpp>

#include "corelib/Utility.h"
#include "corelib/framework/StringArray.h"
#include "host/ExitCode.h"
#include "host/ReportDirectory.h"
#include "host/ReportHttpServer.h"
#include "varlib/reports/ReportManager.h"

namespace fs = std::filesystem;

namespace {

struct ServeOptions {
    std::string strListen = "127.0.0.1";
    int nPort = 8080;
    std::string strReportDir;   // empty: "reports/" in the web directory
    int nThreads = 8;
};

// The report manager of the process with its plug-ins loaded; CleanUp at the
// end unloads them, so every module gets its PlgCleanUp however serving ends.
class CLoadedReportManager {
public:
    explicit CLoadedReportManager(const std::string& strPluginDir) {
        if (!strPluginDir.empty())
            CUtility::SetPluginDir(CUtility::UTF8toUTF16(strPluginDir));
        // Made before anything asks for the plain registry, so the one instance is a report manager.
        m_pManager = CReportManager::GetInstance();
        if (m_pManager == nullptr)
            throw std::runtime_error("the report manager could not be created");
        std::string strFailure;
        try {
            m_pManager->Load();
            return;
        } catch (const std::exception& e) {
            strFailure = e.what();   // read while the module that threw is still loaded
        } catch (...) {
            strFailure = "a plug-in threw an exception of unknown type";
        }
        UnloadReportingFailures(*m_pManager);
        CReportManager::CleanUp();
        throw std::runtime_error("loading the plug-ins failed: " + strFailure);
    }
    ~CLoadedReportManager() {
        UnloadReportingFailures(*m_pManager);
        CReportManager::CleanUp();
    }
    CLoadedReportManager(const CLoadedReportManager&) = delete;
    CLoadedReportManager& operator=(const CLoadedReportManager&) = delete;

    CReportManager& Get() const { return *m_pManager; }

private:
    CReportManager* m_pManager;
};

// Watches for SIGINT and SIGTERM on a thread of its own and stops the server
// on the first. The signals are blocked in every thread made after this
// object (the server's workers inherit the mask), so only the watcher takes them.
class CStopOnSignal {
public:
    explicit CStopOnSignal(CReportHttpServer& server) : m_server(server) {
        sigemptyset(&m_signals);
        sigaddset(&m_signals, SIGINT);
        sigaddset(&m_signals, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &m_signals, &m_previous);
        m_watcher = std::thread([this] { Watch(); });
    }
    ~CStopOnSignal() {
        m_bDone = true;
        m_watcher.join();
        pthread_sigmask(SIG_SETMASK, &m_previous, nullptr);
    }
    CStopOnSignal(const CStopOnSignal&) = delete;
    CStopOnSignal& operator=(const CStopOnSignal&) = delete;

private:
    void Watch() {
        const timespec tick{0, 100 * 1000 * 1000};
        while (!m_bDone) {
            const int signal = sigtimedwait(&m_signals, nullptr, &tick);
            if (signal == SIGINT || signal == SIGTERM) {
                std::cerr << "twhost serve: " << (signal == SIGINT ? "SIGINT" : "SIGTERM") << ", stopping\n";
                // A signal that comes before the server runs would find nothing to stop: ask until it ends.
                while (!m_bDone) {
                    m_server.Stop();
                    std::this_thread::sleep_for(std::chrono::milliseconds(50));
                }
            }
        }
    }

    CReportHttpServer& m_server;
    sigset_t m_signals{}, m_previous{};
    std::atomic<bool> m_bDone{false};
    std::thread m_watcher;
};

fs::path ReportDirectory(const ServeOptions& options) {
    const fs::path dir = options.strReportDir.empty() ? fs::path(DefaultReportDirectory())
                                                           : fs::path(options.strReportDir);
    // The report manager makes no directory; ours is made here if missing.
    std::error_code error;
    fs::create_directories(dir, error);
    if (error)
        throw std::runtime_error("the report directory " + dir.string() + " could not be made (" + error.message() +
                                 "); choose one with --report-dir");
    return dir;
}

int Serve(const CCommandContext& context, const ServeOptions& options) {
    CLoadedReportManager manager(context.m_strPluginDir);
    CReportHttpServer::Options serverOptions;
    serverOptions.strListen = options.strListen;
    serverOptions.nPort = options.nPort;
    serverOptions.webDir = CUtility::UTF16toUTF8(CUtility::GetWebDir());
    serverOptions.reportDir = ReportDirectory(options);
    serverOptions.nThreads = options.nThreads;
    CReportHttpServer server(manager.Get(), serverOptions);
    server.Bind();

    // Signals are taken from here on: one that comes after the address is out stops the server cleanly.
    CStopOnSignal stopper(server);
    CStringArray plugins;
    manager.Get().GetPlugins(plugins);
    std::cout << "twhost serve: " << plugins.GetSize() << " plug-in module(s) from "
              << CUtility::UTF16toUTF8(CUtility::GetPluginDir()) << ", reports in " << serverOptions.reportDir.string()
              << "\nOpen " << server.GetAddress() << " in a browser (Ctrl+C stops).\n"
              << std::flush;
    if (!server.Run()) {
        std::cerr << "twhost serve: the server stopped with an error\n";
        return EXIT_FAILED;
    }
    std::cout << "twhost serve: stopped\n";
    return EXIT_OK;
}

}  // namespace

void RegisterServeCommand(CLI::App& app, CCommandContext& context) {
    CLI::App* serve = app.add_subcommand(
        "serve", "Serve the plug-ins over HTTP: messages (POST /messages), reports (/reports/) and the web page (/)");
    auto options = std::make_shared<ServeOptions>();
    serve->add_option("--listen", options->strListen, "Address to listen on")->capture_default_str();
    serve->add_option("--port", options->nPort, "Port to listen on; 0 takes a free one")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    serve->add_option("--report-dir", options->strReportDir,
                      "Directory of the report files, made if missing (default: " + DefaultReportDirectory() + ")");
    serve->add_option("--threads", options->nThreads, "Requests handled at once")
        ->check(CLI::Range(1, 256))
        ->capture_default_str();
    serve->callback([&context, options] {
        context.m_action = [&context, options] { return Serve(context, *options); };
    });
}
