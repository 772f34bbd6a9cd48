#pragma once

#include "asi/someip/oru/services/idssecurityevent/v2/SecurityEvent.h"
#include "util/SharedPtr.h"

namespace ids {

/// Receives the security events of the SOME/IP network, on the daemon's active object.
class ISomeIpClientListener
{
public:
    virtual ~ISomeIpClientListener() = default;

    using SecurityEvents = asi::someip::oru::services::idssecurityevent::v2::SecurityEvents;

    /// The content and its entries may be null. Returns whether it was accepted.
    virtual bool onEventFromV2X(const util::SharedPtr<SecurityEvents>& content) = 0;
};

} // namespace ids
