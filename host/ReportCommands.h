// The report commands of twhost, the report service run in-process:
//
//   twhost report PLUGIN FUNCTION [JSON]   run one function of one module as a report; prints the file's path
//   twhost reports clean                   delete every report file (Report_*.html) of the report directory
//
// Both take --report-dir DIR, an existing directory (default: CUtility's web
// directory, made when missing). A report that fails prints the service's
// reason: "Could not find plugin module" (exit status 3), "Invalid parameters"
// (4), "Function invocation failed" or "Could not open file for writing" (1).
#pragma once

#include "host/CommandContext.h"

namespace CLI {
class App;
}

// Adds "report" and "reports clean" to app; the one chosen puts its work in context.
void RegisterReportCommands(CLI::App& app, CCommandContext& context);
