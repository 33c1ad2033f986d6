// CServeProcess: 'twhost serve' as a child process on a free loopback port,
// for the tests and the load benchmark. The constructor waits for the address
// that twhost prints; the destructor stops it with SIGTERM.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

extern char** environ;

class CServeProcess {
public:
    // Runs twhost with "serve --port 0" and the given arguments; throws
    // std::runtime_error with what twhost printed if no address comes within 20 s.
    // stderr goes to errFile if one is named.
    CServeProcess(const std::string& twhost, std::vector<std::string> arguments, const std::string& errFile = "") {
        arguments.insert(arguments.begin(), {twhost, "serve", "--listen", "127.0.0.1", "--port", "0"});
        int out[2];
        if (::pipe(out) != 0)
            throw std::runtime_error("pipe failed");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
        posix_spawn_file_actions_addclose(&actions, out[0]);
        if (!errFile.empty())
            posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        std::vector<char*> argv;
        for (std::string& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        const int spawned = posix_spawn(&m_pid, twhost.c_str(), &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        ::close(out[1]);
        m_out = out[0];
        if (spawned != 0) {
            ::close(m_out);
            throw std::runtime_error("could not start " + twhost + ": " + std::strerror(spawned));
        }
        const std::regex address("Open (http://127\\.0\\.0\\.1:([0-9]+))/ ");
        std::smatch match;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!std::regex_search(m_strOutput, match, address)) {
            // ReadSome gives up after its timeout: wait for the rest of the 20 s, not a fixed slice.
            using std::chrono::milliseconds;
            const auto left = std::chrono::duration_cast<milliseconds>(deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0 || !ReadSome(static_cast<int>(left.count()))) {
                Stop();
                throw std::runtime_error("twhost serve gave no address; it printed:\n" + m_strOutput);
            }
        }
        m_strBaseUrl = match[1];
        m_nPort = std::stoi(match[2]);
    }
    ~CServeProcess() { Stop(); }
    CServeProcess(const CServeProcess&) = delete;
    CServeProcess& operator=(const CServeProcess&) = delete;

    int GetPort() const { return m_nPort; }
    // "http://127.0.0.1:PORT", without a trailing "/".
    const std::string& GetBaseUrl() const { return m_strBaseUrl; }
    pid_t GetPid() const { return m_pid; }
    // Everything twhost printed to stdout so far.
    const std::string& GetOutput() const { return m_strOutput; }

    // Sends signal, reads the rest of stdout and gives the exit status; -1 if
    // it did not exit normally or was stopped before.
    int Stop(int signal = SIGTERM) {
        if (m_pid <= 0)
            return -1;
        ::kill(m_pid, signal);
        while (ReadSome(10000)) {
        }
        int status = 0;
        ::waitpid(m_pid, &status, 0);
        m_pid = -1;
        ::close(m_out);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    // Reads what stdout has within timeoutMs; false at its end or on a timeout.
    bool ReadSome(int timeoutMs) {
        pollfd wait{m_out, POLLIN, 0};
        if (::poll(&wait, 1, timeoutMs) <= 0)
            return false;
        char buffer[4096];
        const ssize_t n = ::read(m_out, buffer, sizeof buffer);
        if (n <= 0)
            return false;
        m_strOutput.append(buffer, static_cast<std::size_t>(n));
        return true;
    }

    pid_t m_pid = -1;
    int m_out = -1;
    int m_nPort = 0;
    std::string m_strOutput, m_strBaseUrl;
};
