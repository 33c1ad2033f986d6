#include "host/WorkerChannel.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "corelib/Utility.h"
#include "corelib/XML.h"

namespace WorkerChannel {

const CString READY(u"TWHOST_WORKER_READY");
const CString FAILED(u"TWHOST_WORKER_FAILED");
const CString REFUSED(u"TWHOST_WORKER_REFUSED");
const CString WORKER_TAG(u"WORKER");
const CString PLUGINS_ATTR(u"Plugins");
const CString STATUS_ATTR(u"Status");
const CString REASON_ATTR(u"Reason");

namespace {

// Waits until fd is ready for events or the deadline passes; false on the deadline.
bool Await(int fd, short events, const Deadline& deadline) {
    for (;;) {
        int timeoutMs = -1;
        if (deadline) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0)
                return false;
            timeoutMs = static_cast<int>(std::min<std::int64_t>(left.count(), 1 << 30));
        }
        pollfd wait{fd, events, 0};
        const int ready = ::poll(&wait, 1, timeoutMs);
        if (ready > 0)
            return true;   // readable, writable, or an error that the next call reports
        if (ready < 0 && errno != EINTR)
            return true;
    }
}

Result Send(int fd, const char* data, std::size_t size, const Deadline& deadline) {
    while (size > 0) {
        if (!Await(fd, POLLOUT, deadline))
            return Result::TimedOut;
        const ssize_t sent = ::send(fd, data, size, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0) {
            if (errno == EINTR || errno == EAGAIN)
                continue;
            return Result::Closed;
        }
        data += sent;
        size -= static_cast<std::size_t>(sent);
    }
    return Result::Ok;
}

Result Receive(int fd, char* data, std::size_t size, const Deadline& deadline) {
    while (size > 0) {
        if (!Await(fd, POLLIN, deadline))
            return Result::TimedOut;
        const ssize_t got = ::recv(fd, data, size, MSG_DONTWAIT);
        if (got < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        if (got <= 0)
            return Result::Closed;
        data += got;
        size -= static_cast<std::size_t>(got);
    }
    return Result::Ok;
}

}  // namespace

Result WriteFrame(int fd, const std::string& text, Deadline deadline) {
    if (text.size() > kMaxFrameBytes)
        return Result::Invalid;
    const std::uint32_t length = htonl(static_cast<std::uint32_t>(text.size()));
    char head[4];
    std::memcpy(head, &length, sizeof head);
    const Result result = Send(fd, head, sizeof head, deadline);
    return result == Result::Ok ? Send(fd, text.data(), text.size(), deadline) : result;
}

Result ReadFrame(int fd, std::string& text, Deadline deadline) {
    char head[4];
    Result result = Receive(fd, head, sizeof head, deadline);
    if (result != Result::Ok)
        return result;
    std::uint32_t length = 0;
    std::memcpy(&length, head, sizeof head);
    length = ntohl(length);
    if (length > kMaxFrameBytes)
        return Result::Invalid;
    text.resize(length);
    return Receive(fd, text.data(), length, deadline);
}

Result WriteMessage(int fd, const CMessage& message, Deadline deadline) {
    return WriteFrame(fd, CUtility::UTF16toUTF8(message.ToXmlString()), deadline);
}

Result ReadMessage(int fd, CMessage& message, Deadline deadline) {
    std::string text;
    const Result result = ReadFrame(fd, text, deadline);
    if (result != Result::Ok)
        return result;
    return message.FromXmlString(CUtility::UTF8toUTF16(text)) ? Result::Ok : Result::Invalid;
}

CMessage Notice(const CString& type, int status, const std::string& reason, int plugins) {
    CXML body(WORKER_TAG);
    if (status >= 0)
        body.SetAttr(STATUS_ATTR, status);
    if (!reason.empty())
        body.SetAttr(REASON_ATTR, CUtility::UTF8toUTF16(reason));
    if (plugins >= 0)
        body.SetAttr(PLUGINS_ATTR, plugins);
    CMessage message;
    message.SetType(type);
    message.SetBody(body);
    return message;
}

}  // namespace WorkerChannel
