#pragma once

#include <cstdint>
#include <vector>

#include "asi/someip/oru/services/idssecurityevent/v2/SecurityEvent.h"
#include "util/SharedPtr.h"

namespace ids {

struct SEvent;

/// The way to the IDS core. On the daemon's active object only. Every send returns whether the connection to the core
/// took the event; nothing is kept or tried again.
class IIdsCore
{
public:
    using SecurityEvents = asi::someip::oru::services::idssecurityevent::v2::SecurityEvents;

    virtual ~IIdsCore() = default;
    virtual bool isConnected() const = 0;
    virtual bool sendEvent(const SEvent& event) = 0;

    /// Sends records from the SOME/IP network one by one. Returns the outcome of the last one; false at the first null
    /// entry, where it stops, and for an empty array.
    virtual bool sendEvents(const util::SharedPtr<SecurityEvents>& events) = 0;

    /// Sends an event that another domain has framed: 8 bytes of frame, 8 bytes of timestamp, context data. Anything
    /// shorter than frame and timestamp is refused.
    virtual bool sendEvent(const std::vector<std::uint8_t>& raw) = 0;
};

} // namespace ids
