#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace ids {

/// The state change of a connection.
enum class EConntrackStatus : std::uint32_t
{
    ADD = 0,
    DELETE = 1,
    UNKNOWN = 2
};

/// A tracked connection: addresses of the reply tuple, which contains translated addresses, and ports of the original
/// tuple. All in network order.
struct SConntrackInfo
{
    std::array<std::uint8_t, 4> sourceIpv4{};
    std::array<std::uint8_t, 4> destinationIpv4{};
    std::array<std::uint8_t, 16> sourceIpv6{};
    std::array<std::uint8_t, 16> destinationIpv6{};
    std::uint8_t family = 0;  ///< selects the addresses: AF_INET or AF_INET6
    std::string protocolName; ///< empty when unknown
    EConntrackStatus status = EConntrackStatus::UNKNOWN;
    std::uint16_t destinationPort = 0; ///< ICMP: the type and, second, the code
    std::uint16_t sourcePort = 0;      ///< ICMP: the identifier
};

} // namespace ids
