#pragma once

#include <cstdint>
#include <string_view>
#include <tuple>

#include "comm/Service.h"
#include "util/SharedPtr.h"

/// The daemon's information service: the last packet that the firewall dropped.
namespace asi::connectivity::ids {

struct FirewallDropPacketInfo
{
    std::uint32_t dropType = 0; ///< 0 invalid IPv6 address, 1 layer-4 protocol, 2 TCP port, 3 UDP port
    std::uint32_t packetCount = 0;

    static constexpr auto fields()
    {
        return std::tuple{comm::field("dropType", &FirewallDropPacketInfo::dropType),
                          comm::field("packetCount", &FirewallDropPacketInfo::packetCount)};
    }
};

/// Clients read the attribute or subscribe to it; there are no requests.
class IdsService
{
public:
    virtual ~IdsService() = default;
};

class IdsServiceReply
{
public:
    virtual ~IdsServiceReply() = default;
    virtual void updateFirewallDropPacketInfo(const util::SharedPtr<FirewallDropPacketInfo>& info, bool isValid) = 0;
};

struct IdsServiceDescription
{
    static constexpr std::string_view name = "asi.connectivity.ids.IdsService";
    using Requests = IdsService;
    using Reply = IdsServiceReply;
    static constexpr auto requests = std::tuple{};
    static constexpr auto replies = std::tuple{};
    static constexpr auto attributes = std::tuple{comm::attribute<&IdsServiceReply::updateFirewallDropPacketInfo>(
        8, "FirewallDropPacketInfo", "updateFirewallDropPacketInfo")};
};

using IdsServiceSAttr = comm::Service<IdsServiceDescription>;
using IdsServiceProxy = comm::ServiceProxy<IdsServiceDescription>;

} // namespace asi::connectivity::ids
