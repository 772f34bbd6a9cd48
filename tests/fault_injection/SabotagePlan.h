#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace fault_injection {

/// Memory shared by the test and the saboteur in the daemon, which outlives the daemon.
struct SabotagePlan
{
    enum Kind : std::uint32_t
    {
        nothing = 0,
        allocations = 1,
        systemCalls = 2
    };

    std::atomic<std::uint32_t> kind;    ///< the kind of calls that fail
    std::atomic<std::uint32_t> left;    ///< number of calls that are still to fail
    std::atomic<std::uint32_t> waiting; ///< number of calls that succeed before the next failure
    std::atomic<std::uint32_t> count;   ///< number of failed calls
    std::atomic<std::uint64_t> only;    ///< the only call that fails, unless 0

    /// The failures so far, each of which happens once: a call site, identified by its innermost callers, with its
    /// errno.
    std::array<std::atomic<std::uint64_t>, std::size_t{1} << 14> failed;
};

} // namespace fault_injection
