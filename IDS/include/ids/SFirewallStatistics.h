#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ids {

/// One dropped packet, or the packets dropped in a period. The members named reserved are fields of the events without
/// a source on this unit; they keep their initial values.
struct SFirewallStatistics
{
    /// Sets the time from the time base.
    SFirewallStatistics();

    std::uint16_t reserved0 = 0;
    std::vector<std::uint8_t> reservedBytes0;
    std::uint32_t reserved1 = 0;
    std::uint16_t packetCount = 1;
    std::vector<std::uint8_t> destinationAddress = std::vector<std::uint8_t>(16); ///< IPv6
    std::vector<std::uint8_t> reservedBytes1;
    std::uint32_t destinationPort = 0;
    std::uint16_t reserved2 = 0;
    std::uint16_t reserved3 = 0;
    std::uint16_t nflogGroup = 0;
    std::string interfaceName = "eth0.connect";
    std::string reservedText0;
    std::uint8_t reserved4 = 0;
    std::string reservedText1;
    std::uint16_t reserved5 = 0;
    std::uint32_t reserved6 = 0;
    std::string reservedText2;
    std::string groupTag;
    std::uint16_t groupNumber = 0; ///< the same as nflogGroup
    std::uint32_t reserved7 = 0;
    std::vector<std::uint8_t> sourceAddress = std::vector<std::uint8_t>(16); ///< IPv6
    std::vector<std::uint8_t> reservedBytes2;
    std::uint32_t sourcePort = 0;
    std::uint16_t reserved8 = 0;
    std::uint64_t time; ///< UTC milliseconds, 0 while unknown
    std::string protocolName = "UDP";
    std::uint16_t reserved9 = 0;
    std::string reservedText3;
    std::uint32_t reservedTail = 4;
};

} // namespace ids
