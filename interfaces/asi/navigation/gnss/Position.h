#pragma once

#include <cstdint>
#include <tuple>

#include "comm/Description.h"

/// The unit's navigation service.
namespace asi::navigation::gnss {

/// The daemon uses timestampUTC only.
struct Position
{
    std::uint64_t timestamp = 0;
    std::uint64_t timestampUTC = 0; ///< milliseconds since 1970, UTC
    std::uint32_t gpsTOW = 0;       ///< milliseconds within the GPS week
    std::uint16_t gpsWeek = 0;
    double latitude = 0; ///< degrees, as longitude
    double longitude = 0;

    static constexpr auto fields()
    {
        return std::tuple{
            comm::field("timestamp", &Position::timestamp), comm::field("timestampUTC", &Position::timestampUTC),
            comm::field("gpsTOW", &Position::gpsTOW),       comm::field("gpsWeek", &Position::gpsWeek),
            comm::field("latitude", &Position::latitude),   comm::field("longitude", &Position::longitude)};
    }
};

} // namespace asi::navigation::gnss
