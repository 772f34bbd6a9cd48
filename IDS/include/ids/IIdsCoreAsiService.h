#pragma once

#include <memory>

#include "asi/connectivity/idscore/IdsSecurityEvents.h"

namespace ids {

/// The service that the IDS core connects to, as the core link uses it. On the daemon's active object only.
class IIdsCoreAsiService
{
public:
    virtual ~IIdsCoreAsiService() = default;

    /// Whether an IDS core is connected.
    virtual bool isConnected() const = 0;

    /// Hands an event to the connection; an empty one is refused. True when the connection took it.
    virtual bool sendEvent(const std::shared_ptr<asi::connectivity::idscore::SecEvent>& event) = 0;
};

} // namespace ids
