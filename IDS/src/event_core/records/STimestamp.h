#pragma once

#include <cstdint>
#include <span>

#include "BlockLayout.h"

namespace ids {

/// A point in time as events carry it.
struct STimestamp
{
    std::uint32_t nanoseconds = 0; ///< within the second
    std::uint32_t seconds = 0;     ///< since 1970, UTC

    bool operator==(const STimestamp&) const = default;
};

inline constexpr std::size_t kTimestampSize = 8;

inline constexpr auto kTimestamp =
    blockLayout<STimestamp>(field::integer("nanoseconds", 0, 4, &STimestamp::nanoseconds),
                            field::integer("seconds", 4, 4, &STimestamp::seconds));

static_assert(tiles<kTimestampSize>(fieldsOf<kTimestamp>()));

/// From UTC milliseconds.
constexpr STimestamp toTimestamp(std::uint64_t milliseconds)
{
    return {static_cast<std::uint32_t>(milliseconds % 1000U) * 1'000'000U,
            static_cast<std::uint32_t>(milliseconds / 1000U)};
}

/// Writes UTC milliseconds into an event's timestamp. A timestamp of fewer than 8 bytes stays as it is.
void stamp(std::span<std::uint8_t> timestamp, std::uint64_t milliseconds);

} // namespace ids
