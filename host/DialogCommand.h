// The dialog command of twhost, offered where its module is installed (it is
// built with tw_varlib_widgets):
//
//   twhost dialog [--screenshot FILE]   the plug-ins dialog on the plug-in directory
#pragma once

#include "host/CommandContext.h"

namespace CLI {
class App;
}

// Adds the subcommand to app; when chosen it puts its work in context.
void RegisterDialogCommand(CLI::App& app, CCommandContext& context);
