#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "SFieldLayout.h"

/// What is known about the bytes of the events, for those who read them or write about them.
namespace ids::event_catalogue {

/// An event that the IDS core knows. Name, producer and fields are empty when this daemon does not build it.
struct SEventLayout
{
    std::uint16_t eventId;
    std::uint16_t contextDataSize;        ///< bytes
    std::string_view name;                ///< of the record type, without "SEvent_"
    std::string_view producer;            ///< the class that reports it, and when
    std::span<const SFieldLayout> fields; ///< all bytes of the context data, in order
};

/// All known events, by ascending ID.
std::span<const SEventLayout> events();

/// Null when the ID is not known.
const SEventLayout* findEvent(std::uint16_t eventId);

/// The frame header of 8 bytes.
std::span<const SFieldLayout> frameHeaderFields();

/// The timestamp of 8 bytes.
std::span<const SFieldLayout> timestampFields();

} // namespace ids::event_catalogue
