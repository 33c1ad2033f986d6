// The serve command of twhost:
//
//   twhost serve [--listen ADDR] [--port N] [--report-dir DIR] [--threads N]
//
// Loads the plug-ins into the report manager and answers its messages and
// serves its reports and the web page over HTTP until SIGINT or SIGTERM.
#pragma once

#include "host/CommandContext.h"

namespace CLI {
class App;
}

// Adds the subcommand to app; when chosen it puts its work in context.
void RegisterServeCommand(CLI::App& app, CCommandContext& context);
