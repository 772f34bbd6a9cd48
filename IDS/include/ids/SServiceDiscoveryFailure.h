#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ids {

/// A service discovery that failed.
struct SServiceDiscoveryFailure
{
    std::string errorText{};
    std::vector<std::uint8_t> detailBytes{};
    std::vector<std::uint8_t> queryingAddress{}; ///< IPv6, 16 bytes
    std::string queryingService{};
    std::uint8_t kind = 0;
};

} // namespace ids
