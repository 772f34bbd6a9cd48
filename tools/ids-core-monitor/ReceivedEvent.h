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

/// An event as it arrived, its decoded bytes and notes on what is odd about them. Any payload is accepted, also null.
/// The blocks point into the payload, which is not changed.
struct ReceivedEvent
{
    ReceivedEvent(util::SharedPtr<asi::connectivity::idscore::SecEvent> received, bool isValid);

    /// Of the record type; "-" when there is none, or "unknown" when the ID is not known either.
    std::string_view name() const;

    /// The class that reported it, or the domain as far as the bytes show it. SOME/IP events carry the ID 0 beside a
    /// frame of their own; the ID of all others is that of their frame, and their blocks have 8 bytes each.
    std::string_view origin() const;

    /// All notes in one line, empty when there is nothing odd.
    std::string note() const;

    util::SharedPtr<asi::connectivity::idscore::SecEvent> payload; ///< may be null
    std::span<const std::uint8_t> frameBytes;
    std::span<const std::uint8_t> timestampBytes;
    std::span<const std::uint8_t> contextBytes;
    std::optional<ids::SFrameHeader> frame;      ///< nothing when there are fewer than 8 bytes
    std::optional<ids::STimestamp> timestamp;    ///< nothing when there are fewer than 8 bytes
    ids::event_decoder::SDecodedContext context; ///< by the payload's event ID
    bool isRaw = false; ///< not as the daemon frames its own events, so it must be another domain's
    std::vector<std::string> notes;
};

} // namespace core_monitor
