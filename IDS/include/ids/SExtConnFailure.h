#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ids {

/// A failed connection to an external network.
struct SExtConnFailure
{
    std::uint8_t connectionType = 0;
    std::vector<std::uint8_t> hardwareAddress{}; ///< 6 bytes
    std::uint32_t failureCode = 0;
    std::string name{};
};

} // namespace ids
