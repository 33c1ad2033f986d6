// The plug-in commands of twhost:
//
//   twhost plugins [--xml]                 what the plug-in directory holds
//   twhost call [--text] FUNCTION [JSON]   run one function of a plug-in
#pragma once

#include "host/CommandContext.h"

namespace CLI {
class App;
}

// Adds the two subcommands to app; the one chosen puts its work in context.
void RegisterPluginCommands(CLI::App& app, CCommandContext& context);
