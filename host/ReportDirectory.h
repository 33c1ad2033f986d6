// The report directory that twhost's commands share when none is given:
// "reports" in the web directory, so that 'twhost serve' hands the reports out
// under /reports/ apart from the page's own files, and 'twhost report' and
// 'twhost reports clean' work on the same files.
#pragma once

#include <string>

#include "corelib/Utility.h"

inline std::string DefaultReportDirectory() { return CUtility::UTF16toUTF8(CUtility::GetWebDir()) + "reports"; }
