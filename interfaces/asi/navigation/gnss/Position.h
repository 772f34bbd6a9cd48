#pragma once

#include <cstdint>

/// The unit's navigation service.
namespace asi::navigation::gnss {

/// The "Position" attribute as far as the daemon reads it.
struct Position
{
    std::uint64_t timestamp = 0;
    std::uint64_t timestampUTC = 0; ///< milliseconds since 1970, UTC
};

} // namespace asi::navigation::gnss
