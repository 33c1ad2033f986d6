// The report directory that twhost's commands share when none is given, so
// that 'twhost report', 'twhost reports clean' and 'twhost serve' work on the
// same files. It must be one the user can write, also when twhost is
// installed system-wide: $XDG_STATE_HOME/twhost/reports, or
// ~/.local/state/twhost/reports without it. Only without a home (a service
// with no HOME set) does it fall back on "reports" in the web directory. The
// library's own default (CReportManager's) is not touched.
#pragma once

#include <cstdlib>
#include <string>

#include "corelib/Utility.h"

inline std::string DefaultReportDirectory() {
    const char* state = std::getenv("XDG_STATE_HOME");
    if (state != nullptr && state[0] == '/')   // a relative one is to be ignored
        return std::string(state) + "/twhost/reports";
    const char* home = std::getenv("HOME");
    if (home != nullptr && home[0] == '/')
        return std::string(home) + "/.local/state/twhost/reports";
    return CUtility::UTF16toUTF8(CUtility::GetWebDir()) + "reports";
}
