// twhost serve among clients that hold connections and send nothing, or a
// header line now and then: everybody else is still answered.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/serve_process.h"
#include "host_run.h"

namespace fs = std::filesystem;

namespace {

// A loopback connection to port, or -1.
int Connect(int port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (fd >= 0 && ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return fd;
    if (fd >= 0)
        ::close(fd);
    return -1;
}

void SendText(int fd, const std::string& text) { ::send(fd, text.data(), text.size(), MSG_NOSIGNAL); }

TEST(ServeHostileTest, IdleAndSlowClientsLeaveRoomForOthers) {
    constexpr int kIdle = 64, kSlow = 16, kProbes = 200;
    TempDir temp;
    const fs::path dir = temp.Path();
    fs::create_directories(dir / "plugins");
    CServeProcess host(TWHOST_PATH, std::vector<std::string>{"--plugin-dir", (dir / "plugins").string(), "--report-dir",
                                                          (dir / "reports").string()});
    std::vector<int> idle, slow;
    for (int i = 0; i < kIdle; ++i)
        idle.push_back(Connect(host.GetPort()));
    for (int i = 0; i < kSlow; ++i) {
        slow.push_back(Connect(host.GetPort()));
        SendText(slow.back(), "GET / HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(host.GetPort()) + "\r\n");
    }
    for (const int fd : idle)
        ASSERT_GE(fd, 0);
    for (const int fd : slow)
        ASSERT_GE(fd, 0);

    // The slow ones go on with a header line every 2 s until the probes are done.
    std::mutex lock;
    std::condition_variable done;
    bool probed = false;
    std::thread trickle([&] {
        std::unique_lock<std::mutex> held(lock);
        for (int line = 0; !done.wait_for(held, std::chrono::seconds(2), [&] { return probed; }); ++line)
            for (const int fd : slow)
                SendText(fd, "X-Line-" + std::to_string(line) + ": 1\r\n");
    });

    httplib::Client client("127.0.0.1", host.GetPort());
    client.set_connection_timeout(2);
    client.set_read_timeout(2);
    client.set_write_timeout(2);
    int answered = 0;
    for (int i = 0; i < kProbes; ++i) {
        const httplib::Result result = client.Get("/");
        if (!result || result->status != 200) {
            ADD_FAILURE() << "request " << i << ": " << (result ? std::to_string(result->status) : httplib::to_string(result.error()));
            break;
        }
        ++answered;
    }
    {
        std::lock_guard<std::mutex> held(lock);
        probed = true;
    }
    done.notify_all();
    trickle.join();
    for (const int fd : idle)
        ::close(fd);
    for (const int fd : slow)
        ::close(fd);
    EXPECT_EQ(answered, kProbes);
    EXPECT_EQ(host.Stop(), 0) << host.GetOutput();
}

}  // namespace
