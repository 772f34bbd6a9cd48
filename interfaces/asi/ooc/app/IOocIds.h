#pragma once

#include <cstdint>
#include <string_view>
#include <tuple>

#include "comm/Proxy.h"
#include "comm/Service.h"

/// The unit's operation-control service for the intrusion detection.
namespace asi::ooc::app {

/// Clients subscribe to the attribute; there are no requests.
class IOocIds
{
public:
    virtual ~IOocIds() = default;
};

class IOocIdsReply
{
public:
    virtual ~IOocIdsReply() = default;

    /// The reason of an interruption of the Ethernet communication, as a code of the service.
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
