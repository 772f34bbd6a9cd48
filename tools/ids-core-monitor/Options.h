#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace core_monitor {

/// What the command line asks for.
struct Options
{
    bool json = false;
    bool hex = false;
    bool isLong = false;                             ///< all fields of an event
    std::optional<std::uint64_t> count;              ///< events to show
    std::optional<std::chrono::milliseconds> period; ///< to run
    std::optional<std::chrono::milliseconds> wait;   ///< for the first connection
    std::string pcapng;                              ///< file to write the events to as well, none when empty
    std::set<std::uint16_t> only;                    ///< event IDs to show, all when empty
};

inline constexpr int kUsageError = 2;

/// Fills options. A value returned is the status to exit with at once: help or version or what is wrong has been
/// printed.
std::optional<int> parseOptions(int argc, char** argv, Options& options);

} // namespace core_monitor
