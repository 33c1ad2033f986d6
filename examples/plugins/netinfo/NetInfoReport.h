// The two forms in which netinfo hands out interfaces: rows of values for
// programs (and for tables.twp), and an HTML report for people.
#pragma once

#include <cstdint>
#include <vector>

#include "corelib/framework/String.h"
#include "examples/plugins/netinfo/InterfaceInfo.h"
#include "varlib/values/Variable.h"

// An ARRAY with one row per interface, under the interface's name, in the
// given order. Each row is an ARRAY of Name, State, MTU, Address, SpeedMbps,
// RxBytes, RxPackets, RxErrors, RxDropped, TxBytes, TxPackets, TxErrors,
// TxDropped. What the kernel doesn't say (a speed, an address) is left out of
// the row rather than given a made-up value. Counters are INT; one above the
// INT range, which no real interface reaches, is clamped to its top.
CVariable InterfaceRows(const std::vector<InterfaceInfo>& interfaces);

// The HTML report: heading, host and time lines, a summary sentence and one
// table row per interface. strPattern, when not empty, is named in the
// heading lines as the filter that chose the interfaces.
CString InterfaceReportHtml(const std::vector<InterfaceInfo>& interfaces, const CString& strHost,
                            const CString& strWhen, const CString& strPattern);

// An HTML page that says the interfaces could not be read, and why.
CString InterfaceErrorHtml(const CString& strHost, const CString& strWhen, const CString& strReason);

// A byte count for people, in binary units: "512 B", "1.5 KiB", "17.8 MiB".
CString FormatBytes(uint64_t nBytes);
