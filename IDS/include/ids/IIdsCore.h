#pragma once

#include <cstdint>
#include <vector>

#include "asi/someip/oru/services/idssecurityevent/v2/SecurityEvent.h"
#include "util/SharedPtr.h"

namespace ids {

struct SEvent;

/// The link to the IDS core. On the daemon's active object only. Every send returns whether the connection to the core
/// accepted the event; a refused event is neither stored nor sent again.
class IIdsCore
{
public:
    using SecurityEvents = asi::someip::oru::services::idssecurityevent::v2::SecurityEvents;

    virtual ~IIdsCore() = default;
    virtual bool isConnected() const = 0;
    virtual bool sendEvent(const SEvent& event) = 0;

    /// Sends records from the SOME/IP network one by one, up to the first null entry. Returns the outcome of the last
    /// record sent; false for a null entry and for an empty array.
    virtual bool sendEvents(const util::SharedPtr<SecurityEvents>& events) = 0;

    /// Sends an event that another domain has framed: 8 bytes of frame, 8 bytes of timestamp, context data. Refuses an
    /// event that is shorter than frame and timestamp.
    virtual bool sendEvent(const std::vector<std::uint8_t>& raw) = 0;
};

} // namespace ids
