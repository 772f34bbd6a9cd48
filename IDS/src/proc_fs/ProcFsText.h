#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "SProcStat.h"

/// Reads what the files under /proc hold. The texts may hold anything.
namespace ids::proc_fs {

/// The process name ends within so many bytes of a stat file.
inline constexpr std::size_t kStatHead = 64;

/// The seconds since boot in the text of /proc/uptime; nothing when it does not begin with a number.
std::optional<double> parseUptime(std::string_view text);

/// The same without the fraction; 0 when there is no number.
std::uint64_t parseUptimeSeconds(std::string_view text);

/// Takes the fields of a stat file and works out the CPU shares, which are 0 for a process that began this moment.
/// Returns false when nothing follows the process name. From the first field that is not a number on, nothing is taken.
bool parseStat(std::string_view text, double uptime, SProcStat& stat);

/// Takes the resident set size from the lines of a status file. Returns how many bytes it took; what is left is the
/// beginning of a line and belongs in front of the bytes to come.
std::size_t parseStatusLines(std::string_view text, SProcStat& stat);

/// Takes one line of a status file, the last one that no newline ends.
void parseStatusLine(std::string_view line, SProcStat& stat);

} // namespace ids::proc_fs
