#pragma once

#include <cstdint>
#include <string>

namespace ids {

/// A change of the list of configured services.
struct SServiceListUpdate
{
    std::uint8_t kind = 0;
    std::string services{};
    std::uint64_t time = 0; ///< milliseconds
};

} // namespace ids
