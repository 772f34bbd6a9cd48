#pragma once

#include "asi/someip/oru/services/idssecurityevent/v2/SecurityEvent.h"
#include "util/SharedPtr.h"

namespace ids {

/// Receives the content of every notification of the SOME/IP security event service.
class IImplListener
{
public:
    virtual ~IImplListener() = default;

    using SecurityEvents = asi::someip::oru::services::idssecurityevent::v2::SecurityEvents;

    /// Returns whether the content was forwarded.
    virtual bool onSecurityEvents(const util::SharedPtr<SecurityEvents>& content) = 0;
};

} // namespace ids
