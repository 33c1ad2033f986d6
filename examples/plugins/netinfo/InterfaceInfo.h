// InterfaceInfo: what the kernel says about one network interface.
#pragma once

#include <cstdint>
#include <string>

struct InterfaceInfo {
    std::string name;

    // Traffic counters since the interface came up, from /proc/net/dev.
    uint64_t rxBytes = 0;
    uint64_t rxPackets = 0;
    uint64_t rxErrors = 0;
    uint64_t rxDropped = 0;
    uint64_t txBytes = 0;
    uint64_t txPackets = 0;
    uint64_t txErrors = 0;
    uint64_t txDropped = 0;

    // From /sys/class/net/<name>/; empty or -1 where the kernel gives no answer
    // (a virtual device has no speed, a tunnel no hardware address).
    std::string operState;   // "up", "down", "unknown", "dormant", ...
    std::string address;     // hardware address, e.g. "52:54:00:12:34:56"
    int64_t mtu = -1;
    int64_t speedMbps = -1;
};
