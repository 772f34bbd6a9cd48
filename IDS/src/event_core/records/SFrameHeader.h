#pragma once

#include <cstdint>

#include "BlockLayout.h"

namespace ids {

/// The header in front of every security event.
struct SFrameHeader
{
    std::uint8_t protocolVersion = 1;
    std::uint8_t reservedFlags = 0;
    bool hasTimestamp = false;
    bool hasContextData = false;
    std::uint16_t idsmInstanceId = 0;
    std::uint8_t sensorInstanceId = 0;
    std::uint16_t eventId = 0;
    std::uint16_t count = 1;
    std::uint8_t reserved = 0;

    bool operator==(const SFrameHeader&) const = default;
};

inline constexpr std::size_t kFrameHeaderSize = 8;

inline constexpr auto kFrameHeader = blockLayout<SFrameHeader>(
    field::bits("protocolVersion", 0, 1, 0xF0, &SFrameHeader::protocolVersion),
    field::bits("reservedFlags", 0, 1, 0x0C, &SFrameHeader::reservedFlags),
    field::bits("timestampFlag", 0, 1, 0x02, &SFrameHeader::hasTimestamp),
    field::bits("contextDataFlag", 0, 1, 0x01, &SFrameHeader::hasContextData),
    field::bits("idsmInstanceId", 1, 2, 0xFFC0, &SFrameHeader::idsmInstanceId),
    field::bits("sensorInstanceId", 1, 2, 0x003F, &SFrameHeader::sensorInstanceId),
    field::integer("eventId", 3, 2, &SFrameHeader::eventId), field::integer("count", 5, 2, &SFrameHeader::count),
    field::integer("reserved", 7, 1, &SFrameHeader::reserved));

static_assert(tiles<kFrameHeaderSize>(fieldsOf<kFrameHeader>()));

} // namespace ids
