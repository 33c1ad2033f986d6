// CPluginWorkers: the plug-in worker processes of twhost serve, seen from the
// HTTP front. Each worker is twhost itself, started anew (posix_spawn of
// /proc/self/exe with the hidden serve-worker command, see PluginWorker.h),
// with the plug-ins loaded into its own report manager; a crash or a hang in
// a plug-in costs that worker and the message it ran, never the front.
//
// A message goes to an idle worker, which runs it alone; the answer must come
// within the call timeout. A worker that ends (EOF on its socket; it is reaped
// and its signal named) or that is late (killed with SIGKILL) is replaced, and
// the message it held gets a failure: an EXECUTE_REPORT_RESPONSE with status 1
// and the reason for an EXECUTE_REPORT, HTTP 502 for any other type. A thread
// of this object watches the idle workers and starts the replacements, waiting
// longer after each worker that dies before it has served anything (from
// 100 ms up to 5 s), so a module that kills every worker at start can't make
// it spin. It also starts them: a worker dies with the thread that started it.
//
// Thread-safe: Call may run on many threads at once.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "corelib/Message.h"

class CPluginWorkers {
public:
    struct Options {
        std::string strPluginDir;               // --plugin-dir, or empty for the default
        int nWorkers = 1;
        std::chrono::seconds callTimeout{60};   // one message's time in a worker
    };
    // What came of a message.
    struct Answer {
        int nStatus = 200;     // 200: message is the answer; else the HTTP status of the text
        CMessage message;
        std::string strText;
    };

    explicit CPluginWorkers(Options options);
    // Stop.
    ~CPluginWorkers();
    CPluginWorkers(const CPluginWorkers&) = delete;
    CPluginWorkers& operator=(const CPluginWorkers&) = delete;

    // What the workers found in the plug-in directory.
    struct Loaded {
        int nPlugins = 0;           // modules, loaded or not
        std::string strFailures;    // "NAME: reason" of each module that failed to load, "; " between
    };
    // Starts the workers, which give reportUrl and reportDir to their report
    // managers, and waits until each has loaded the plug-ins. Throws
    // std::runtime_error with the error of a worker that failed to load (the
    // others stopped).
    Loaded Start(const std::string& reportUrl, const std::string& reportDir);
    // Runs message on an idle worker (waiting up to the call timeout for one).
    Answer Call(const CMessage& message);
    // Waits for the calls under way, closes the workers' channels so that each
    // cleans up its plug-ins and exits, and kills those still there after a grace.
    void Stop();

private:
    enum class State { Empty, Starting, Idle, Busy };
    struct Worker {
        State state = State::Empty;
        pid_t pid = -1;
        int fd = -1;                                    // the front's end of the channel
        std::chrono::steady_clock::time_point since;   // Starting: since when
        std::chrono::steady_clock::time_point notBefore;   // Empty: the next start
    };

    // Spawns a worker into an empty slot; the error text, empty on success.
    std::string Spawn(Worker& worker);
    // Kills (unless it ended) and reaps worker's process, closes its channel
    // and empties the slot for a start at notBefore; how the process ended.
    std::string Discard(Worker& worker, bool kill, std::chrono::steady_clock::time_point notBefore);
    // A failed start: the slot waits the back-off, which doubles.
    void StartFailed(Worker& worker, const std::string& why, bool kill);
    void Supervise();
    void Shutdown();
    void Wake() const;
    Answer Failure(const CMessage& request, const std::string& reason) const;

    Options m_options;
    std::string m_strReportUrl, m_strReportDir;
    std::vector<Worker> m_workers;
    std::mutex m_lock;
    std::condition_variable m_changed;   // a worker became idle, a call ended, or stopping
    bool m_bStopping = false, m_bDown = false;
    std::chrono::milliseconds m_backoff;
    int m_nWakeFd = -1;   // eventfd that interrupts the supervisor's poll
    std::thread m_supervisor;
};
