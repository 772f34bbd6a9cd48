#pragma once

#include <cstdint>
#include <vector>

namespace ids {

/// The constants of an event type.
struct SEventDescriptor
{
    bool hasContextDataHeader; ///< false: the type itself uses the bytes of the header
    std::uint16_t eventId;
    std::uint8_t idsmInstanceId;
    bool hasContextData;
    bool hasTimestamp;
};

/// A security event, made by event_factory::createEvent and then shared, not copied. The dispatcher may rewrite the
/// timestamp of an event that waits.
struct SEvent
{
    /// Fills all members except the type's own fields, with the current time of the time base. An unknown event ID
    /// gives a record without context data and with zeros in frame and timestamp. Throws std::bad_alloc.
    explicit SEvent(const SEventDescriptor& descriptor);

    std::vector<std::uint8_t> contextData;
    std::vector<std::uint8_t> eventFrame; ///< 8 bytes
    std::uint16_t eventId;
    std::vector<std::uint8_t> timestamp; ///< 8 bytes: nanoseconds, then seconds
    std::uint32_t creationTime;          ///< milliseconds since boot, modulo 2^32
};

} // namespace ids
