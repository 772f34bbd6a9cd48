#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ids {

/// A TLS handshake that failed at one of the unit's services.
struct STlsHandshakeFailure
{
    std::uint16_t destinationPort = 0;
    std::vector<std::uint8_t> sourceAddress{}; ///< IPv6, 16 bytes
    std::uint16_t sourcePort = 0;
    std::uint16_t count = 0;
    std::vector<std::uint8_t> reservedBytes0{};
    std::vector<std::uint8_t> reservedBytes1{};
    std::uint32_t reserved0 = 0;
    std::string protocolName{};                     ///< "UDP" or "TCP"
    std::vector<std::uint8_t> destinationAddress{}; ///< IPv6, 16 bytes
    std::string tlsIdentity{};
};

} // namespace ids
