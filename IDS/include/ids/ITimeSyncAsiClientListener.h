#pragma once

#include <cstdint>

namespace ids {

/// Receives the time offsets of the unit, on the daemon's active object. The unit of an offset is the service's;
/// isValid is what the service says of the value.
class ITimeSyncAsiClientListener
{
public:
    virtual ~ITimeSyncAsiClientListener() = default;
    virtual void updatePltOffset(std::int64_t offset, bool isValid) = 0;
    virtual void updateUtcOffset(std::int64_t offset, bool isValid) = 0;
};

} // namespace ids
