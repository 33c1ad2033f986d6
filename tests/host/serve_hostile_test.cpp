// twhost serve among clients that hold connections and send nothing, or a
// header line now and then: everybody else is still answered.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
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

namespace {

// Whether the server has closed fd, waiting at most a second for it to say so.
bool ClosedByServer(int fd) {
    pollfd wait{fd, POLLIN, 0};
    char byte;
    return ::poll(&wait, 1, 1000) > 0 && ::recv(fd, &byte, 1, MSG_DONTWAIT) <= 0;
}

std::string ReadHead(int fd) {
    std::string head;
    char buffer[1024];
    for (pollfd wait{fd, POLLIN, 0}; head.find("\r\n\r\n") == std::string::npos && ::poll(&wait, 1, 5000) > 0;) {
        const ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
        if (n <= 0)
            break;
        head.append(buffer, static_cast<std::size_t>(n));
    }
    return head;
}

class ServeBoundsTest : public testing::Test {
protected:
    void SetUp() override {
        const fs::path dir = m_temp.Path();
        fs::create_directories(dir / "plugins");
        m_host = std::make_unique<CServeProcess>(
            TWHOST_PATH, std::vector<std::string>{"--plugin-dir", (dir / "plugins").string(), "--report-dir",
                                                  (dir / "reports").string(), "--workers", "1",
                                                  "--request-timeout", "3"});
    }
    std::string HostLine() const { return "Host: 127.0.0.1:" + std::to_string(m_host->GetPort()) + "\r\n"; }
    bool PageServed() const {
        const httplib::Result page = httplib::Client("127.0.0.1", m_host->GetPort()).Get("/");
        return page && page->status == 200;
    }

    TempDir m_temp;
    std::unique_ptr<CServeProcess> m_host;
};

// A header line a second keeps a connection from ever being idle; the request
// time still ends it, and the server answers others meanwhile.
TEST_F(ServeBoundsTest, ARequestThatNeverEndsIsCutOff) {
    const int slow = Connect(m_host->GetPort());
    ASSERT_GE(slow, 0);
    SendText(slow, "GET / HTTP/1.1\r\n" + HostLine());
    int lines = 0;
    while (lines < 12 && !ClosedByServer(slow)) {
        SendText(slow, "X-Line-" + std::to_string(++lines) + ": 1\r\n");
        EXPECT_TRUE(PageServed());
    }
    ::close(slow);
    EXPECT_LT(lines, 12) << "still open after a header line a second for 12 s";
    // Each request on a kept-alive connection has a time of its own, however long the connection lives.
    const int kept = Connect(m_host->GetPort());
    ASSERT_GE(kept, 0);
    for (int i = 0; i < 3; ++i) {
        if (i > 0)
            std::this_thread::sleep_for(std::chrono::seconds(2));
        SendText(kept, "HEAD / HTTP/1.1\r\n" + HostLine() + "\r\n");
        const std::string head = ReadHead(kept);
        EXPECT_EQ(head.rfind("HTTP/1.1 200", 0), 0u) << "request " << i << ": " << head;
    }
    ::close(kept);
    EXPECT_EQ(m_host->Stop(), 0) << m_host->GetOutput();
}

// Bodies announced count at once: 64 of 1 MiB fill the budget, without a byte sent.
TEST_F(ServeBoundsTest, BodiesHeldAtOnceAreBounded) {
    const std::string head = "POST /messages HTTP/1.1\r\n" + HostLine() +
                             "Content-Type: application/xml\r\nContent-Length: 1048576\r\n\r\n";
    std::vector<int> holders;
    for (int i = 0; i < 64; ++i) {
        holders.push_back(Connect(m_host->GetPort()));
        ASSERT_GE(holders.back(), 0);
        SendText(holders.back(), head);
    }
    const int refused = Connect(m_host->GetPort());
    ASSERT_GE(refused, 0);
    SendText(refused, head);
    const std::string answer = ReadHead(refused);
    ::close(refused);
    EXPECT_EQ(answer.rfind("HTTP/1.1 503", 0), 0u) << answer;
    EXPECT_NE(answer.find("Retry-After: 1"), std::string::npos) << answer;
    EXPECT_TRUE(PageServed());
    for (const int fd : holders)
        ::close(fd);
    // Their share comes back as the server sees them go.
    httplib::Client client("127.0.0.1", m_host->GetPort());
    int status = 0;
    for (int tries = 0; tries < 50 && status != 200; ++tries) {
        const httplib::Result listed = client.Post("/messages", "<MESSAGE Type=\"RETRIEVE_PLUGINS\"/>", "application/xml");
        status = listed ? listed->status : 0;
        if (status == 503)
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    EXPECT_EQ(status, 200);
    EXPECT_EQ(m_host->Stop(), 0) << m_host->GetOutput();
}

}  // namespace
