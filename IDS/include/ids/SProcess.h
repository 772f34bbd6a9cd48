#pragma once

#include <cstdint>
#include <string>

namespace ids {

enum class EProcState : std::uint8_t
{
    START = 1,
    STOP = 16
};

/// One sample of a process.
struct SProcess
{
    double cpuUsage = 0;       ///< user-mode share of one CPU, percent
    double systemCpuUsage = 0; ///< kernel-mode share of one CPU, percent
    std::uint32_t id = 0;
    std::string name{};
    std::uint32_t ramUsage = 0; ///< resident set size in kB, its low 16 bits
    EProcState state = EProcState::START;
};

} // namespace ids
