// The dialog command of twhost, built when tw_varlib_widgets is:
//
//   twhost dialog [--screenshot FILE]   the plug-ins dialog on the plug-in directory
#pragma once

#include "host/CommandContext.h"

namespace CLI {
class App;
}

// Adds the subcommand to app; when chosen it puts its work in context.
void RegisterDialogCommand(CLI::App& app, CCommandContext& context);
