#include "host/ServeCommand.h"

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
#include "host/PluginWorker.h"
#include "host/PluginWorkers.h"
#include "host/ReportDirectory.h"
#include "host/ReportHttpServer.h"

namespace fs = std::filesystem;

namespace {

struct ServeOptions {
    std::string strListen = "127.0.0.1";
    int nPort = 8080;
    std::string strReportDir;   // empty: DefaultReportDirectory()
    int nThreads = 8;
    int nWorkers = 0;           // 0: one per core
    int nCallSeconds = 60;
    int nRequestSeconds = 30;
};

int DefaultWorkers() {
    const unsigned int cores = std::thread::hardware_concurrency();
    return cores > 0 ? static_cast<int>(cores) : 1;
}

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
    if (!context.m_strPluginDir.empty())
        CUtility::SetPluginDir(CUtility::UTF8toUTF16(context.m_strPluginDir));
    CPluginWorkers::Options workerOptions;
    workerOptions.strPluginDir = context.m_strPluginDir;
    workerOptions.nWorkers = options.nWorkers > 0 ? options.nWorkers : DefaultWorkers();
    workerOptions.callTimeout = std::chrono::seconds(options.nCallSeconds);
    CPluginWorkers workers(workerOptions);
    CReportHttpServer::Options serverOptions;
    serverOptions.strListen = options.strListen;
    serverOptions.nPort = options.nPort;
    serverOptions.webDir = CUtility::UTF16toUTF8(CUtility::GetWebDir());
    serverOptions.reportDir = ReportDirectory(options);
    serverOptions.nThreads = options.nThreads;
    serverOptions.nRequestSeconds = options.nRequestSeconds;
    CReportHttpServer server(workers, serverOptions);
    server.Bind();

    // Signals are taken from here on: one that comes after the address is out stops the server cleanly.
    // The workers start after, with the mask in place: the threads they bring along inherit it.
    CStopOnSignal stopper(server);
    const CPluginWorkers::Loaded loaded = workers.Start(server.GetReportUrl(), server.GetReportDir());
    std::cout << "twhost serve: " << loaded.nPlugins << " plug-in module(s) from "
              << CUtility::UTF16toUTF8(CUtility::GetPluginDir()) << ", reports in " << serverOptions.reportDir.string();
    if (!loaded.strFailures.empty())
        std::cout << "\ntwhost serve: failed to load: " << loaded.strFailures;
    std::cout << "\nOpen " << server.GetAddress() << " in a browser (Ctrl+C stops).\n"
              << std::flush;
    const bool served = server.Run();
    // The requests are done: each worker now cleans up its plug-ins and ends.
    workers.Stop();
    if (!served) {
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
    serve->add_option("--threads", options->nThreads, "Messages handled at once, each waiting for a worker")
        ->check(CLI::Range(1, 256))
        ->capture_default_str();
    serve->add_option("--workers", options->nWorkers,
                      "Plug-in worker processes (default: one per core, " + std::to_string(DefaultWorkers()) + " here)")
        ->check(CLI::Range(1, 256));
    serve->add_option("--call-timeout", options->nCallSeconds,
                      "Seconds a message may run in a worker before the worker is killed and replaced")
        ->check(CLI::Range(1, 86400))
        ->capture_default_str();
    serve->add_option("--request-timeout", options->nRequestSeconds,
                      "Seconds a client has to send a request's head and body")
        ->check(CLI::Range(1, 3600))
        ->capture_default_str();
    serve->callback([&context, options] {
        context.m_action = [&context, options] { return Serve(context, *options); };
    });

    // The plug-in worker that serve starts; no command for people, so hidden (no group).
    CLI::App* worker = app.add_subcommand("serve-worker", "A plug-in worker of twhost serve")->group("");
    auto workerOptions = std::make_shared<PluginWorkerOptions>();
    worker->add_option("--parent", workerOptions->parent)->required();
    worker->add_option("--report-url", workerOptions->strReportUrl)->required();
    worker->add_option("--report-dir", workerOptions->strReportDir)->required();
    worker->callback([&context, workerOptions] {
        context.m_action = [&context, workerOptions] { return RunPluginWorker(context, *workerOptions); };
    });
}
