#include "bootTime.h"

#include <ctime>

namespace ids {

std::uint32_t millisecondsSinceBoot()
{
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(now.tv_sec) * 1000U +
                                      static_cast<std::uint64_t>(now.tv_nsec) / 1'000'000U);
}

} // namespace ids
