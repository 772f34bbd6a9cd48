#pragma once

#include <cstdint>
#include <vector>

namespace ids {

/// What is fixed for all events of one type.
struct SEventDescriptor
{
    bool hasContextDataHeader; ///< false: the type itself uses the bytes of the header
    std::uint16_t eventId;
    std::uint8_t idsmInstanceId;
    bool hasContextData;
    bool hasTimestamp;
};

/// A security event on its way to the IDS core: made by event_factory::createEvent, shared and not copied from then on.
/// The dispatcher may rewrite the timestamp of an event that had to wait.
struct SEvent
{
    /// Fills everything but the type's own fields, with the present time of the time base. An event ID that is not
    /// known leaves a record without context data and with zeros in frame and timestamp. Throws std::bad_alloc.
    explicit SEvent(const SEventDescriptor& descriptor);

    std::vector<std::uint8_t> contextData;
    std::vector<std::uint8_t> eventFrame; ///< 8 bytes
    std::uint16_t eventId;
    std::vector<std::uint8_t> timestamp; ///< 8 bytes: nanoseconds, then seconds
    std::uint32_t creationTime;          ///< milliseconds since boot, modulo 2^32
};

} // namespace ids
