#pragma once

#include "asi/servicediag/diag.h"
#include "util/SharedPtr.h"

namespace ids {

/// Receives the events of the middleware's diagnostics (SOME/IP), on the daemon's active object. Events and their
/// members may be null.
class ISoaDiagAsiClientListener
{
public:
    virtual ~ISoaDiagAsiClientListener() = default;

    virtual void publishingStarted() = 0;
    virtual void
    publish_ServiceDiscoveryEvent(const util::SharedPtr<asi::servicediag::ServiceDiscoveryEvent>& event) = 0;
    virtual void publish_ServiceSecSOAEvent(const util::SharedPtr<asi::servicediag::ServiceSecSOAEvent>& event) = 0;
    virtual void
    publish_SecureConnectionEvent(const util::SharedPtr<asi::servicediag::SecureConnectionEvent>& event) = 0;
};

} // namespace ids
