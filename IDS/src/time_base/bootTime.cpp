#include "bootTime.h"

#include <ctime>

namespace ids {

std::optional<std::uint32_t> readMillisecondsSinceBoot()
{
    timespec now{};
    if (clock_gettime(CLOCK_BOOTTIME, &now) != 0) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(now.tv_sec) * 1000U +
                                      static_cast<std::uint64_t>(now.tv_nsec) / 1'000'000U);
}

std::uint32_t millisecondsSinceBoot()
{
    return readMillisecondsSinceBoot().value_or(0);
}

} // namespace ids
