#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace fault_injection {

/// What the test and the saboteur in the daemon share: a piece of memory that outlives the daemon.
struct SabotagePlan
{
    enum Kind : std::uint32_t
    {
        nothing = 0,
        allocations = 1,
        systemCalls = 2
    };

    std::atomic<std::uint32_t> kind;    ///< which calls are to fail
    std::atomic<std::uint32_t> left;    ///< so many calls are yet to fail
    std::atomic<std::uint32_t> waiting; ///< so many calls are to succeed before the next one fails
    std::atomic<std::uint32_t> count;   ///< calls that have failed
    std::atomic<std::uint64_t> only;    ///< the one that fails when not 0

    /// What has failed once and does not again: a place in the program, as its innermost callers name it, with the
    /// errno that it was given.
    std::array<std::atomic<std::uint64_t>, std::size_t{1} << 14> failed;
};

} // namespace fault_injection
