// A plug-in worker of twhost serve: the process that the front starts as
//
//   twhost [--plugin-dir DIR] serve-worker --parent PID --report-url URL --report-dir DIR
//
// with the socket of its channel (WorkerChannel.h) on fd 3. It loads the
// plug-ins into the report manager as a host does, says READY (or FAILED with
// the load error), then hands each message it reads to CReportManager::OnMessage
// and writes the answer back, until the front closes the socket. Then every
// module gets its PlgCleanUp (UnloadReportingFailures) and the worker exits.
// It ignores SIGINT and SIGTERM, which the front handles for it, and dies with
// the front (PR_SET_PDEATHSIG).
#pragma once

#include <sys/types.h>

#include <string>

#include "host/CommandContext.h"

struct PluginWorkerOptions {
    pid_t parent = 0;            // the front; a worker whose parent is another one quits
    std::string strReportUrl;    // base URL of the reports, as the front serves them
    std::string strReportDir;    // the report directory
};

// The worker's life; its exit status.
int RunPluginWorker(const CCommandContext& context, const PluginWorkerOptions& options);
