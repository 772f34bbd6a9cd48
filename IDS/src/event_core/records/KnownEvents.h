#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>

namespace ids {

struct SKnownEvent
{
    std::uint16_t eventId;
    std::uint16_t contextDataSize; ///< bytes
};

/// All events that the IDS core knows, by ascending ID. This daemon builds those that have a record type.
inline constexpr std::array<SKnownEvent, 31> kKnownEvents{{
    {0x000B, 53},  {0x000C, 53}, {0x000E, 53},  {0x002E, 11},  {0x8000, 7},   {0x9700, 35},  {0x9701, 51},
    {0x9704, 132}, {0x9709, 66}, {0x9711, 200}, {0x9712, 342}, {0xD005, 295}, {0xD006, 208}, {0xD007, 43},
    {0xD008, 32},  {0xD00E, 17}, {0xD012, 87},  {0xD015, 78},  {0xD016, 146}, {0xD700, 35},  {0xD701, 46},
    {0xD702, 81},  {0xD704, 43}, {0xD705, 56},  {0xD706, 230}, {0xD707, 100}, {0xD708, 32},  {0xE900, 88},
    {0xE901, 42},  {0xE902, 32}, {0xE903, 26},
}};

static_assert(std::ranges::adjacent_find(kKnownEvents, std::ranges::greater_equal{}, &SKnownEvent::eventId) ==
              kKnownEvents.end());

/// Bytes of context data that the event has, 0 when its ID is not known.
constexpr std::uint16_t contextDataSize(std::uint16_t eventId)
{
    const auto event = std::ranges::lower_bound(kKnownEvents, eventId, {}, &SKnownEvent::eventId);
    return event != kKnownEvents.end() && event->eventId == eventId ? event->contextDataSize : 0;
}

constexpr bool isKnownEventId(std::uint16_t eventId)
{
    return contextDataSize(eventId) != 0;
}

} // namespace ids
