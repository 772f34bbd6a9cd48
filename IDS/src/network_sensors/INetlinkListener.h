#pragma once

#include <memory>
#include <vector>

#include "ids/SFirewallStatistics.h"

namespace ids {

/// The packets of one datagram, in the order of their logging.
using DroppedPackets = std::vector<std::unique_ptr<SFirewallStatistics>>;

/// Receives the packets that the packet filter dropped, on the owner's active object.
class INetlinkListener
{
public:
    virtual ~INetlinkListener() = default;
    virtual void onDroppedPackets(DroppedPackets packets) = 0;
};

} // namespace ids
