#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace core_monitor {

/// The options of the command line.
struct Options
{
    bool json = false;
    bool hex = false;
    bool isLong = false;                             ///< all fields of an event
    std::optional<std::uint64_t> count;              ///< events to show
    std::optional<std::chrono::milliseconds> period; ///< run time
    std::optional<std::chrono::milliseconds> wait;   ///< for the first connection
    std::string pcapng;                              ///< file that also receives the events, none when empty
    std::set<std::uint16_t> only;                    ///< event IDs to show, all when empty
};

inline constexpr int kUsageError = 2;

/// Fills options. Returns the exit status when the program must exit at once: help, version or an error has been
/// printed.
std::optional<int> parseOptions(int argc, char** argv, Options& options);

} // namespace core_monitor
