#include "host/PluginWorkers.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <string.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <optional>
#include <stdexcept>

#include "corelib/TWMQMessageRegistry.h"
#include "corelib/Utility.h"
#include "host/WorkerChannel.h"
#include "varlib/reports/ReportManager.h"

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kFirstBackoff(100);
constexpr milliseconds kLastBackoff(5000);
// How long a worker at its end may take over its plug-ins' clean-up.
constexpr std::chrono::seconds kStopGrace(5);
// Loading is bounded too, but a cold start of many modules may take a while.
constexpr std::chrono::seconds kLeastLoadTime(30);

// "signal 11 (SIGSEGV)" or "exit status 1".
std::string HowItEnded(int status) {
    if (WIFSIGNALED(status)) {
        const int signal = WTERMSIG(status);
        const char* name = sigabbrev_np(signal);
        return "signal " + std::to_string(signal) + (name != nullptr ? std::string(" (SIG") + name + ")" : "");
    }
    return "exit status " + std::to_string(WEXITSTATUS(status));
}

// Waits for pid; one that lingers past wait (it closed its socket but lives on) is killed.
std::string Reap(pid_t pid, bool kill, milliseconds wait) {
    if (kill)
        ::kill(pid, SIGKILL);
    int status = 0;
    const auto deadline = Clock::now() + wait;
    for (;;) {
        const pid_t done = ::waitpid(pid, &status, WNOHANG);
        if (done == pid)
            return HowItEnded(status);
        if (done < 0 && errno != EINTR)
            return "an end that could not be seen";
        if (Clock::now() >= deadline) {
            ::kill(pid, SIGKILL);
            while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
            }
            return HowItEnded(status);
        }
        std::this_thread::sleep_for(milliseconds(10));
    }
}

std::chrono::seconds LoadTime(std::chrono::seconds callTimeout) { return std::max(callTimeout, kLeastLoadTime); }

}  // namespace

CPluginWorkers::CPluginWorkers(Options options)
    : m_options(std::move(options)), m_workers(static_cast<std::size_t>(std::max(1, m_options.nWorkers))),
      m_backoff(kFirstBackoff) {
    m_nWakeFd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (m_nWakeFd < 0)
        throw std::runtime_error(std::string("eventfd failed: ") + std::strerror(errno));
}

CPluginWorkers::~CPluginWorkers() {
    Stop();
    ::close(m_nWakeFd);
}

std::string CPluginWorkers::Spawn(Worker& worker) {
    int channel[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, channel) != 0)
        return std::string("socketpair failed: ") + std::strerror(errno);
    // dup2 onto the same number would leave close-on-exec set: keep the worker's end off fd 3.
    if (channel[1] == WorkerChannel::kWorkerFd) {
        const int moved = ::fcntl(channel[1], F_DUPFD_CLOEXEC, WorkerChannel::kWorkerFd + 1);
        ::close(channel[1]);
        channel[1] = moved;
    }
    std::vector<std::string> arguments{"twhost"};
    if (!m_options.strPluginDir.empty())
        arguments.insert(arguments.end(), {"--plugin-dir", m_options.strPluginDir});
    arguments.insert(arguments.end(), {"serve-worker", "--parent", std::to_string(::getpid()), "--report-url",
                                       m_strReportUrl, "--report-dir", m_strReportDir});
    std::vector<char*> argv;
    for (std::string& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    // stdin from /dev/null, the channel on fd 3, stdout and stderr shared, nothing else.
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, channel[1], WorkerChannel::kWorkerFd);
    posix_spawn_file_actions_addclosefrom_np(&actions, WorkerChannel::kWorkerFd + 1);
    // The front blocks SIGINT and SIGTERM for its watcher thread; the worker starts with none blocked.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none, defaults;
    sigemptyset(&none);
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    pid_t pid = -1;
    const int spawned = channel[1] < 0 ? EMFILE
                                       : posix_spawn(&pid, "/proc/self/exe", &actions, &attributes, argv.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (channel[1] >= 0)
        ::close(channel[1]);
    if (spawned != 0) {
        ::close(channel[0]);
        return std::string("a plug-in worker could not be started: ") + std::strerror(spawned);
    }
    worker.state = State::Starting;
    worker.pid = pid;
    worker.fd = channel[0];
    worker.since = Clock::now();
    return {};
}

std::string CPluginWorkers::Discard(Worker& worker, bool kill, Clock::time_point notBefore) {
    ::close(worker.fd);
    const std::string how = Reap(worker.pid, kill, milliseconds(1000));
    worker = Worker{};
    worker.notBefore = notBefore;
    Wake();
    return how;
}

void CPluginWorkers::StartFailed(Worker& worker, const std::string& why, bool kill) {
    const pid_t pid = worker.pid;
    const std::string how = Discard(worker, kill, Clock::now() + m_backoff);
    std::cerr << "twhost serve: plug-in worker " << pid << " " << why << " (" << how << "); another one in "
              << m_backoff.count() << " ms\n";
    m_backoff = std::min(m_backoff * 2, kLastBackoff);
}

void CPluginWorkers::Wake() const {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(m_nWakeFd, &one, sizeof one);
}

CPluginWorkers::Loaded CPluginWorkers::Start(const std::string& reportUrl, const std::string& reportDir) {
    m_strReportUrl = reportUrl;
    m_strReportDir = reportDir;
    std::string failure;
    for (Worker& worker : m_workers)
        if (failure.empty())
            failure = Spawn(worker);
    Loaded loaded;
    const auto deadline = Clock::now() + LoadTime(m_options.callTimeout);
    for (Worker& worker : m_workers) {
        if (!failure.empty() || worker.state != State::Starting)
            break;
        CMessage ready;
        const WorkerChannel::Result read = WorkerChannel::ReadMessage(worker.fd, ready, deadline);
        if (read == WorkerChannel::Result::Ok && ready.GetType() == WorkerChannel::READY) {
            worker.state = State::Idle;
            loaded.nPlugins = ready.GetBody().GetAttrInt(WorkerChannel::PLUGINS_ATTR, 0);
            loaded.strFailures = CUtility::UTF16toUTF8(ready.GetBody().GetAttr(WorkerChannel::REASON_ATTR, u""));
        } else if (read == WorkerChannel::Result::Ok && ready.GetType() == WorkerChannel::FAILED) {
            failure = CUtility::UTF16toUTF8(ready.GetBody().GetAttr(WorkerChannel::REASON_ATTR, u""));
        } else if (read == WorkerChannel::Result::TimedOut) {
            failure = "a plug-in worker did not load the plug-ins within " +
                      std::to_string(LoadTime(m_options.callTimeout).count()) + " s";
        } else {
            failure = "a plug-in worker ended while it loaded the plug-ins (" +
                      Discard(worker, read != WorkerChannel::Result::Closed, Clock::now()) + ")";
        }
    }
    if (!failure.empty()) {
        Shutdown();
        throw std::runtime_error(failure);
    }
    // Replacements start on this thread; it lives until the workers are reaped.
    m_supervisor = std::thread([this] { Supervise(); });
    return loaded;
}

CPluginWorkers::Answer CPluginWorkers::Call(const CMessage& message) {
    std::unique_lock<std::mutex> lock(m_lock);
    Worker* worker = nullptr;
    m_changed.wait_until(lock, Clock::now() + m_options.callTimeout, [this, &worker] {
        for (Worker& each : m_workers)
            if (each.state == State::Idle)
                worker = &each;
        return m_bStopping || worker != nullptr;
    });
    if (m_bStopping || worker == nullptr)
        return {503, {}, "No plug-in worker is free to take the message; try again."};
    worker->state = State::Busy;
    const int fd = worker->fd;
    lock.unlock();

    using WorkerChannel::Result;
    const auto deadline = Clock::now() + m_options.callTimeout;
    Result result = WorkerChannel::WriteMessage(fd, message, deadline);
    CMessage answer;
    if (result == Result::Ok)
        result = WorkerChannel::ReadMessage(fd, answer, deadline);
    lock.lock();
    if (result == Result::Ok) {
        worker->state = State::Idle;
        m_backoff = kFirstBackoff;   // the plug-ins load and serve: a later death is no start failure
        lock.unlock();
        m_changed.notify_all();
        if (answer.GetType() != WorkerChannel::REFUSED)
            return {200, answer, {}};
        CXML refusal = answer.GetBody();
        return {refusal.GetAttrInt(WorkerChannel::STATUS_ATTR, 500), {},
                CUtility::UTF16toUTF8(refusal.GetAttr(WorkerChannel::REASON_ATTR, u""))};
    }
    // The worker is lost with the message. It is reaped with the slot still
    // busy, so that nobody else touches it; a fresh one takes its place at once.
    const pid_t pid = worker->pid;
    lock.unlock();
    ::close(fd);
    const std::string how = Reap(pid, result != Result::Closed, milliseconds(1000));
    std::string reason;
    if (result == Result::TimedOut)
        reason = "The plug-in worker gave no answer within " + std::to_string(m_options.callTimeout.count()) +
                 " s and was killed.";
    else if (result == Result::Closed)
        reason = "The plug-in worker ended with " + how + " while it ran the message.";
    else
        reason = "The plug-in worker's answer was no message; the worker was killed.";
    lock.lock();
    *worker = Worker{};
    worker->notBefore = Clock::now();
    lock.unlock();
    m_changed.notify_all();
    Wake();
    std::cerr << "twhost serve: plug-in worker " << pid << ": " << reason << " Another one takes its place.\n";
    return Failure(message, reason);
}

CPluginWorkers::Answer CPluginWorkers::Failure(const CMessage& request, const std::string& reason) const {
    if (request.GetType() != CReportManager::EXECUTE_REPORT)
        return {502, {}, reason};
    // As the report manager tells its own failures.
    CXML body(CReportManager::REPORT_TAG_NAME);
    body.SetAttr(CTWMQMessageRegistry::ATTR_STATUS, 1);
    body.SetAttr(CReportManager::REASON_ATTR, CUtility::UTF8toUTF16(reason));
    CMessage response;
    response.SetType(CReportManager::EXECUTE_REPORT_RESPONSE);
    response.SetBody(body);
    return {200, response, {}};
}

void CPluginWorkers::Supervise() {
    std::unique_lock<std::mutex> lock(m_lock);
    while (!m_bStopping) {
        const auto now = Clock::now();
        std::optional<Clock::time_point> next;
        const auto sooner = [&next](Clock::time_point when) { next = next ? std::min(*next, when) : when; };
        std::vector<pollfd> watched{{m_nWakeFd, POLLIN, 0}};
        std::vector<Worker*> owners{nullptr};
        for (Worker& worker : m_workers) {
            if (worker.state == State::Empty && now >= worker.notBefore) {
                const std::string error = Spawn(worker);
                if (!error.empty()) {
                    std::cerr << "twhost serve: " << error << '\n';
                    worker.notBefore = now + m_backoff;
                    m_backoff = std::min(m_backoff * 2, kLastBackoff);
                }
            }
            if (worker.state == State::Empty)
                sooner(worker.notBefore);
            if (worker.state == State::Starting)
                sooner(worker.since + LoadTime(m_options.callTimeout));
            // An idle worker says nothing: anything on its socket is its end.
            if (worker.state == State::Starting || worker.state == State::Idle) {
                watched.push_back({worker.fd, POLLIN, 0});
                owners.push_back(&worker);
            }
        }
        int timeoutMs = -1;
        if (next)
            timeoutMs = static_cast<int>(
                std::max<long long>(0, std::chrono::ceil<milliseconds>(*next - now).count()));
        lock.unlock();
        ::poll(watched.data(), watched.size(), timeoutMs);
        lock.lock();
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t drained = ::read(m_nWakeFd, &count, sizeof count);
        for (std::size_t i = 1; i < watched.size(); ++i) {
            Worker& worker = *owners[i];
            // Only what was watched, and is still so: a call may have taken an idle worker meanwhile.
            if (watched[i].revents == 0 || worker.fd != watched[i].fd)
                continue;
            if (worker.state == State::Idle) {
                // The poll may have seen the answer to a call that has taken it since and
                // given the worker back: only what is still there counts.
                char byte;
                const ssize_t waiting = ::recv(worker.fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
                if (waiting == 0 || (waiting < 0 && errno != EAGAIN && errno != EINTR))
                    StartFailed(worker, "ended while idle", false);
                else if (waiting > 0)
                    StartFailed(worker, "spoke unasked and was killed", true);
            } else if (worker.state == State::Starting) {
                CMessage ready;
                const WorkerChannel::Result read =
                    WorkerChannel::ReadMessage(worker.fd, ready, Clock::now() + std::chrono::seconds(1));
                if (read == WorkerChannel::Result::Ok && ready.GetType() == WorkerChannel::READY) {
                    worker.state = State::Idle;
                    m_changed.notify_all();
                } else if (read == WorkerChannel::Result::Ok && ready.GetType() == WorkerChannel::FAILED) {
                    StartFailed(worker,
                                "could not start: " +
                                    CUtility::UTF16toUTF8(ready.GetBody().GetAttr(WorkerChannel::REASON_ATTR, u"")),
                                false);
                } else {
                    StartFailed(worker, "ended while it loaded the plug-ins", read != WorkerChannel::Result::Closed);
                }
            }
        }
        for (Worker& worker : m_workers)
            if (worker.state == State::Starting && Clock::now() >= worker.since + LoadTime(m_options.callTimeout))
                StartFailed(worker, "did not load the plug-ins in time", true);
    }
    lock.unlock();
    Shutdown();   // here: the workers this thread started die with it
}

void CPluginWorkers::Stop() {
    {
        std::lock_guard<std::mutex> lock(m_lock);
        if (m_bStopping)
            return;
        m_bStopping = true;
    }
    m_changed.notify_all();
    Wake();
    if (m_supervisor.joinable())
        m_supervisor.join();
    else
        Shutdown();
}

void CPluginWorkers::Shutdown() {
    std::unique_lock<std::mutex> lock(m_lock);
    if (m_bDown)
        return;
    m_bDown = true;
    // A call under way ends by its own deadline at the latest.
    m_changed.wait(lock, [this] {
        return std::none_of(m_workers.begin(), m_workers.end(), [](const Worker& w) { return w.state == State::Busy; });
    });
    // The end of its channel tells a worker to clean up and exit.
    for (Worker& worker : m_workers)
        if (worker.fd >= 0) {
            ::close(worker.fd);
            worker.fd = -1;
        }
    const auto deadline = Clock::now() + kStopGrace;
    for (Worker& worker : m_workers) {
        if (worker.pid <= 0)
            continue;
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now());
        const std::string how = Reap(worker.pid, false, std::max(left, milliseconds(0)));
        if (how.rfind("exit status", 0) != 0)
            std::cerr << "twhost serve: plug-in worker " << worker.pid << " ended with " << how << '\n';
        worker = Worker{};
    }
}
