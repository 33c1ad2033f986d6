// The serve command of twhost:
//
//   twhost serve [--listen ADDR] [--port N] [--report-dir DIR] [--threads N]
//                [--workers N] [--call-timeout SECONDS] [--request-timeout SECONDS]
//
// Starts plug-in worker processes, each with the plug-ins loaded into its
// report manager, and answers the messages, serves the reports and the web
// page over HTTP until SIGINT or SIGTERM. Also registers the hidden
// serve-worker command that runs one such worker.
#pragma once

#include "host/CommandContext.h"

namespace CLI {
class App;
}

// Adds the subcommand to app; when chosen it puts its work in context.
void RegisterServeCommand(CLI::App& app, CCommandContext& context);
