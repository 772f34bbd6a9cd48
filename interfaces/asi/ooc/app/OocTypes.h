#pragma once

#include <cstdint>
#include <tuple>

#include "comm/Description.h"

/// Records of the unit's operation-control service.
namespace asi::ooc::app {

struct BatteryInfo
{
    std::int32_t state = 0; ///< BatteryState of the service
    std::int32_t bubatTemperature = 0;

    static constexpr auto fields()
    {
        return std::tuple{comm::field("state", &BatteryInfo::state),
                          comm::field("bubatTemperature", &BatteryInfo::bubatTemperature)};
    }
};

struct ClampStates
{
    std::uint8_t ClampS = 0; ///< 0: off, as for all clamps
    std::uint8_t Clamp15 = 0;
    std::uint8_t Clamp30 = 0;
    std::uint8_t CanState = 0;
    std::int32_t ComfortReady = 0; ///< ComfortReadyState of the service

    static constexpr auto fields()
    {
        return std::tuple{comm::field("ClampS", &ClampStates::ClampS), comm::field("Clamp15", &ClampStates::Clamp15),
                          comm::field("Clamp30", &ClampStates::Clamp30),
                          comm::field("CanState", &ClampStates::CanState),
                          comm::field("ComfortReady", &ClampStates::ComfortReady)};
    }
};

} // namespace asi::ooc::app
