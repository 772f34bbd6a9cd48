#pragma once

#include <cstdint>

namespace ids {

/// What the kernel tells of one process. A tick is a hundredth of a second.
struct SProcStat
{
    std::int32_t pid = 0;
    std::int32_t ppid = 0;
    std::uint32_t utime = 0; ///< ticks in user mode
    std::uint32_t stime = 0; ///< ticks in kernel mode
    std::int32_t cutime = 0;
    std::int32_t cstime = 0;
    char state = 0;
    std::int32_t priority = 0;
    std::int32_t nice = 0;
    std::uint32_t starttime = 0; ///< ticks after boot
    std::uint32_t vsize = 0;
    std::uint32_t numThreads = 0;
    std::int32_t processor = 0;
    std::int32_t vmRss = 0;    ///< resident set size in kB; 0 for a kernel thread
    double uptime = 0;         ///< of the unit, seconds
    double userCpuUsage = 0;   ///< share of one CPU since the process began, percent
    double systemCpuUsage = 0; ///< the same for kernel mode
};

} // namespace ids
