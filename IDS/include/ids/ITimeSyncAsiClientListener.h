#pragma once

#include <cstdint>

namespace ids {

/// Receives the time offsets of the unit, on the daemon's active object. The service defines the unit of an offset;
/// isValid is the validity that it sends with the value.
class ITimeSyncAsiClientListener
{
public:
    virtual ~ITimeSyncAsiClientListener() = default;
    virtual void updatePltOffset(std::int64_t offset, bool isValid) = 0;
    virtual void updateUtcOffset(std::int64_t offset, bool isValid) = 0;
};

} // namespace ids
