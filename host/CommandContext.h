// CCommandContext: what the command line hands to the command that runs.
//
// CLI11 fills the options while it parses; the subcommand that was chosen
// stores its work in m_action, which main runs once parsing has succeeded.
#pragma once

#include <functional>
#include <string>

struct CCommandContext {
    std::string m_strPluginDir;       // --plugin-dir; empty for CUtility's default
    std::function<int()> m_action;    // the chosen command; returns the exit status
};
