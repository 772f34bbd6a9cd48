#pragma once

#include "asi/connectivity/configuration/QuorConfiguration.h"
#include "util/SharedPtr.h"

namespace ids {

/// Receives the list of the services that are provisioned on the unit, on the daemon's active object.
class IVoiceAsiClientListener
{
public:
    virtual ~IVoiceAsiClientListener() = default;

    using QuorServices = asi::connectivity::configuration::QuorServices;

    /// The list, its entries and their names may be null; isValid is the validity that the service sends with the
    /// value. All listeners share the list: a change by one is visible to the others.
    virtual void updateQuorServices(const util::SharedPtr<QuorServices>& services, bool isValid) = 0;
};

} // namespace ids
