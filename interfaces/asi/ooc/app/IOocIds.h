#pragma once

#include <cstdint>
#include <string_view>
#include <tuple>

#include "comm/Proxy.h"
#include "comm/Service.h"

/// What the unit's operation-control service publishes for the intrusion detection.
namespace asi::ooc::app {

/// Clients only subscribe to the attribute.
class IOocIds
{
public:
    virtual ~IOocIds() = default;
};

class IOocIdsReply
{
public:
    virtual ~IOocIdsReply() = default;

    /// Why the Ethernet communication was interrupted, as a code of the service.
    virtual void updateEthCommInterruptReason(std::uint32_t reason, bool isValid) = 0;
};

struct IOocIdsDescription
{
    static constexpr std::string_view name = "asi.ooc.app.IOocIds";
    using Requests = IOocIds;
    using Reply = IOocIdsReply;
    static constexpr auto requests = std::tuple{};
    static constexpr auto replies = std::tuple{};
    static constexpr auto attributes = std::tuple{comm::attribute<&IOocIdsReply::updateEthCommInterruptReason>(
        1, "EthCommInterruptReason", "updateEthCommInterruptReason")};
};

using IOocIdsSAttr = comm::Service<IOocIdsDescription>;
using IOocIdsProxy = comm::ServiceProxy<IOocIdsDescription>;

} // namespace asi::ooc::app
