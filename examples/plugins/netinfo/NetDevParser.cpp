#include "examples/plugins/netinfo/NetDevParser.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <optional>

namespace {

// Columns of a line after the name: receive bytes packets errs drop fifo frame
// compressed multicast, then transmit bytes packets errs drop fifo colls carrier
// compressed.
constexpr std::size_t kColumnCount = 16;

constexpr bool IsBlank(char ch) { return ch == ' ' || ch == '\t' || ch == '\r'; }

std::string_view Trim(std::string_view text) {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::optional<InterfaceInfo> ParseLine(std::string_view line) {
    // The kernel pads the name on the left and, with wide counters, leaves no
    // blank after the colon ("eth0:123456 ..."). Names hold no colon.
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos)
        return std::nullopt;
    const std::string_view name = Trim(line.substr(0, colon));
    if (name.empty() || name.find_first_of(" \t|") != std::string_view::npos)
        return std::nullopt;

    std::array<uint64_t, kColumnCount> columns{};
    std::string_view rest = line.substr(colon + 1);
    for (uint64_t& column : columns) {
        rest = Trim(rest);
        const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), column);
        if (error != std::errc() || (end != rest.data() + rest.size() && !IsBlank(*end)))
            return std::nullopt;
        rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
    }

    InterfaceInfo info;
    info.name = std::string(name);
    info.rxBytes = columns[0];
    info.rxPackets = columns[1];
    info.rxErrors = columns[2];
    info.rxDropped = columns[3];
    info.txBytes = columns[8];
    info.txPackets = columns[9];
    info.txErrors = columns[10];
    info.txDropped = columns[11];
    return info;
}

}  // namespace

std::vector<InterfaceInfo> ParseNetDev(std::string_view text) {
    std::vector<InterfaceInfo> interfaces;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (std::optional<InterfaceInfo> info = ParseLine(line))
            interfaces.push_back(std::move(*info));
    }
    return interfaces;
}
