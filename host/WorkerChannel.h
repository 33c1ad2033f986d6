// The channel between twhost serve's HTTP front and a plug-in worker process:
// a socketpair that carries messages in their XML wire form, one frame each,
// a 4-byte length (network order) and then that many bytes of UTF-8 text.
//
// The front sends a request and reads one answer before it sends the next, so
// a worker holds one message at a time. Besides the report manager's own
// answers a worker sends these messages of its own (body element "WORKER"):
//
//   TWHOST_WORKER_READY     <WORKER Plugins="N"/>      loaded, N modules
//   TWHOST_WORKER_FAILED    <WORKER Reason="..."/>      loading failed
//   TWHOST_WORKER_REFUSED   <WORKER Status="S" Reason="..."/>
//                           no answer to the request: S is the HTTP status for it
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include "corelib/Message.h"

namespace WorkerChannel {

// The socket's number in a worker process.
constexpr int kWorkerFd = 3;
// A frame's text is at most this long: an answer of the report manager holds
// one report URL or the listing, a request at most the front's body limit.
constexpr std::size_t kMaxFrameBytes = 64u << 20;

extern const CString READY, FAILED, REFUSED;   // the worker's own message types
extern const CString WORKER_TAG, PLUGINS_ATTR, STATUS_ATTR, REASON_ATTR;

enum class Result { Ok, Closed, TimedOut, Invalid };
using Deadline = std::optional<std::chrono::steady_clock::time_point>;   // none: wait as long as it takes

// Writes text as one frame; Closed when the peer is gone.
Result WriteFrame(int fd, const std::string& text, Deadline deadline = std::nullopt);
// Reads one frame into text; Closed at the end of the stream before a whole
// frame, Invalid for a length past kMaxFrameBytes.
Result ReadFrame(int fd, std::string& text, Deadline deadline = std::nullopt);

// A message as a frame and back; false for text that is no message.
Result WriteMessage(int fd, const CMessage& message, Deadline deadline = std::nullopt);
Result ReadMessage(int fd, CMessage& message, Deadline deadline = std::nullopt);

// A worker's own message: the type, and a WORKER body with the attributes given.
CMessage Notice(const CString& type, int status, const std::string& reason, int plugins = -1);

}  // namespace WorkerChannel
