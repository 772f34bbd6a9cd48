#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "SProcStat.h"

/// Reads the files under /proc, on any thread. Processes are named by the text of their entry there.
namespace ids::proc_fs {

/// Whole seconds since boot, time in suspend included; 0 when they cannot be read.
std::uint64_t readUptimeSeconds();

/// The process name up to its first newline, at most size - 1 characters of it; empty when it cannot be read.
std::string readProcessComm(const std::string& pid, std::size_t size);

/// The same of at most 63 characters.
std::string getProcessName(std::uint32_t id);

/// The id of the first process of that name in the order of /proc, 0 when there is none. Of the processes' names, the
/// first 31 characters count.
std::uint32_t findProcess(std::string_view name);

/// Reads the process' stat file and the unit's uptime. Returns false when the process is gone or may not be read.
bool readProcStat(const std::string& pid, SProcStat& stat);

/// Reads the process' status file. Returns false when the process is gone or may not be read.
bool readProcStatus(const std::string& pid, SProcStat& stat);

} // namespace ids::proc_fs
