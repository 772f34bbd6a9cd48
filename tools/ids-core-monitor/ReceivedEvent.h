#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "asi/connectivity/idscore/IdsSecurityEvents.h"
#include "event_decoder.h"

namespace core_monitor {

/// An event as received, its decoded bytes and notes on anomalies. Accepts any payload, including null. The blocks
/// point into the payload, which is not changed.
struct ReceivedEvent
{
    ReceivedEvent(util::SharedPtr<asi::connectivity::idscore::SecEvent> received, bool isValid);

    /// Of the record type; "-" for an ID without a record type, "unknown" for an unknown ID.
    std::string_view name() const;

    /// The class that reported it, or the domain as indicated by the bytes. SOME/IP events have the ID 0 and another ID
    /// in their frame; for all others both IDs are equal, and frame and time stamp have 8 bytes each.
    std::string_view origin() const;

    /// All notes in one line, empty without anomalies.
    std::string note() const;

    util::SharedPtr<asi::connectivity::idscore::SecEvent> payload; ///< may be null
    std::span<const std::uint8_t> frameBytes;
    std::span<const std::uint8_t> timestampBytes;
    std::span<const std::uint8_t> contextBytes;
    std::optional<ids::SFrameHeader> frame;      ///< nullopt for fewer than 8 bytes
    std::optional<ids::STimestamp> timestamp;    ///< nullopt for fewer than 8 bytes
    ids::event_decoder::SDecodedContext context; ///< by the payload's event ID
    bool isRaw = false;                          ///< not framed by the daemon, so an event of another domain
    std::vector<std::string> notes;
};

} // namespace core_monitor
