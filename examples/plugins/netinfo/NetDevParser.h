// Reading the text of /proc/net/dev.
#pragma once

#include <string_view>
#include <vector>

#include "examples/plugins/netinfo/InterfaceInfo.h"

// One InterfaceInfo per interface line, in file order, with the name and the
// eight counters filled (receive: bytes, packets, errs, drop; transmit: bytes,
// packets, errs, drop). A line counts when it holds "name:" followed by at
// least sixteen unsigned decimal numbers; every other line (the two heading
// lines, a damaged line) is skipped rather than failing the whole read.
std::vector<InterfaceInfo> ParseNetDev(std::string_view text);
