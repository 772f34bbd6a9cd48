#pragma once

#include <array>
#include <cstdint>

namespace ids {

/// The groups to which the rules of the packet filter log what they drop, one for each kind of violation.
enum class ENfLogGroup : std::uint8_t
{
    undefinedIpv6Address = 9,
    unallowedL4Protocol = 12,
    maxMessageSizeExceeded = 17,
    invalidPortTcp = 29,
    invalidPortUdp = 30,
    invalidIpv6Address = 32
};

/// The groups that the sensor asks the kernel for, in the order of asking. The others are understood when they come.
inline constexpr std::array kBoundGroups{ENfLogGroup::invalidIpv6Address, ENfLogGroup::invalidPortTcp,
                                         ENfLogGroup::invalidPortUdp, ENfLogGroup::undefinedIpv6Address};

/// The tag that names a group in events, empty for a number that is no group.
constexpr const char* groupTag(std::uint16_t number)
{
    struct STag
    {
        ENfLogGroup group;
        const char* text;
    };
    constexpr std::array kTags{STag{ENfLogGroup::undefinedIpv6Address, "UNDEF_IPV6_ADDR"},
                               STag{ENfLogGroup::unallowedL4Protocol, "UNALWD_L4_PROTO"},
                               STag{ENfLogGroup::maxMessageSizeExceeded, "MSG_MX_SIZ_EXCD"},
                               STag{ENfLogGroup::invalidPortTcp, "INV_PORT_TCP"},
                               STag{ENfLogGroup::invalidPortUdp, "INV_PORT_UDP"},
                               STag{ENfLogGroup::invalidIpv6Address, "INV_IPV6_ADDR"}};
    for (const auto& tag : kTags) {
        if (static_cast<std::uint16_t>(tag.group) == number) {
            return tag.text;
        }
    }
    return "";
}

} // namespace ids
