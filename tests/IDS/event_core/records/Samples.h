#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CGnssManager.h"
#include "EventRecords.h"

/// Input records in which every member has a value of its own that fills its field, so that a swapped, shifted or
/// forgotten field shows.
namespace samples {

using Bytes = std::vector<std::uint8_t>;

/// size bytes counting up from first.
inline Bytes counting(std::uint8_t first, std::size_t size)
{
    Bytes bytes(size);
    for (std::uint8_t& byte : bytes) {
        byte = first++;
    }
    return bytes;
}

inline void setGnssTime(std::uint64_t milliseconds)
{
    using asi::navigation::gnss::Position;
    ids::CGnssManager::getInstance()->updatePosition(std::make_shared<Position>(Position{.timestampUTC = milliseconds}),
                                                     true);
}

template <typename InputT>
InputT sample();

template <>
inline std::uint32_t sample()
{
    return 0xA1B2C3D4;
}

template <>
inline ids::SProcess sample()
{
    return {.cpuUsage = 4660.5, .systemCpuUsage = 22136.9, .id = 0x00A1B2C3, .name = "telematics", .ramUsage = 0xBEEF};
}

template <>
inline ids::SServiceListUpdate sample()
{
    return {.kind = 0x5A, .services = "voice,hotspot", .time = 1'700'000'123'456};
}

template <>
inline ids::STeeAccess sample()
{
    return {.teeName = "OP-TEE", .appName = "key_manager", .code = 0xC0DE, .detail = "slot 3"};
}

template <>
inline ids::SServiceDiscoveryFailure sample()
{
    return {.errorText = "no offer",
            .detailBytes = counting(0x80, 80),
            .queryingAddress = counting(0x10, 16),
            .queryingService = "navigation",
            .kind = 0x5A};
}

template <>
inline ids::STlsHandshakeFailure sample()
{
    return {.destinationPort = 0x1234,
            .sourceAddress = counting(0x10, 16),
            .sourcePort = 0x5678,
            .count = 0x9ABC,
            .reservedBytes0 = counting(0x50, 3),
            .reservedBytes1 = counting(0x60, 3),
            .reserved0 = 0xDEAD'BEEF,
            .protocolName = "TCP",
            .destinationAddress = counting(0x30, 16),
            .tlsIdentity = "backend"};
}

template <>
inline ids::SExtConnFailure sample()
{
    return {.connectionType = 0x5A, .hardwareAddress = counting(0x10, 6), .failureCode = 0xDEAD'BEEF, .name = "wlan0"};
}

template <>
inline ids::SFirewallStatistics sample()
{
    ids::SFirewallStatistics drop;
    drop.reserved0 = 0x1001;
    drop.reservedBytes0 = counting(0x90, 64);
    drop.reserved1 = 0x1101'1102;
    drop.packetCount = 0x1203;
    drop.destinationAddress = counting(0x30, 16);
    drop.reservedBytes1 = counting(0x60, 6);
    drop.destinationPort = 0x1304'1305;
    drop.reserved2 = 0x1406;
    drop.reserved3 = 0x1507;
    drop.nflogGroup = 0x1608;
    drop.interfaceName = "eth1";
    drop.reservedText0 = "text zero";
    drop.reserved4 = 0x17;
    drop.reservedText1 = "text one";
    drop.reserved5 = 0x180A;
    drop.reserved6 = 0x190B'190C;
    drop.reservedText2 = "text two";
    drop.groupTag = "INV_PORT_TCP";
    drop.groupNumber = 0x1A0D;
    drop.reserved7 = 0x1B0E'1B0F;
    drop.sourceAddress = counting(0x10, 16);
    drop.reservedBytes2 = counting(0x70, 6);
    drop.sourcePort = 0x1C10'1C11;
    drop.reserved8 = 0x1D12;
    drop.time = 1'700'000'123'456;
    drop.protocolName = "TCP";
    drop.reserved9 = 0x1E13;
    drop.reservedText3 = "text three";
    drop.reservedTail = 0x1F14'1F15;
    return drop;
}

template <typename... RecordT>
testing::Types<RecordT...> typesOf(ids::RecordList<RecordT...>);

using RecordTypes = decltype(typesOf(ids::EventRecords{}));

/// Names the instances of a typed test after their event.
struct RecordNames
{
    template <typename RecordT>
    static std::string GetName(int)
    {
        return std::string{RecordT::kLayout.name};
    }
};

} // namespace samples
