#pragma once

#include <memory>

#include "asi/connectivity/idscore/IdsSecurityEvents.h"

namespace ids {

/// The service that the IDS core connects to, as seen by the core link. On the daemon's active object only.
class IIdsCoreAsiService
{
public:
    virtual ~IIdsCoreAsiService() = default;

    /// Whether an IDS core is connected.
    virtual bool isConnected() const = 0;

    /// Sends an event to the core; refuses null. Returns true when the connection accepted it.
    virtual bool sendEvent(const std::shared_ptr<asi::connectivity::idscore::SecEvent>& event) = 0;
};

} // namespace ids
