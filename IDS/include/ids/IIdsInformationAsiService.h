#pragma once

#include <memory>

#include "asi/connectivity/ids/IdsService.h"

namespace ids {

/// Publishes the last packet that the firewall dropped. Called on the daemon's active object.
class IIdsInformationAsiService
{
public:
    virtual ~IIdsInformationAsiService() = default;
    virtual void
    updateFirewallDropPacketInfo(const std::shared_ptr<asi::connectivity::ids::FirewallDropPacketInfo>& info) = 0;
};

} // namespace ids
