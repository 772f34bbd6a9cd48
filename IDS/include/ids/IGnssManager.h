#pragma once

#include <cstdint>

namespace ids {

/// The time base of all events.
class IGnssManager
{
public:
    virtual ~IGnssManager() = default;

    /// UTC milliseconds since 1970 of the last valid position, 0 while none is known.
    virtual std::uint64_t getGnssTime() = 0;
};

} // namespace ids
