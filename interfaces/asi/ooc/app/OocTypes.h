#pragma once

#include <cstdint>

/// Records of the unit's operation-control service.
namespace asi::ooc::app {

struct BatteryInfo
{
    std::int32_t state = 0; ///< BatteryState of the service
    std::int32_t bubatTemperature = 0;
};

struct ClampStates
{
    std::uint8_t ClampS = 0; ///< 0: off, as all clamps
    std::uint8_t Clamp15 = 0;
    std::uint8_t Clamp30 = 0;
    std::uint8_t CanState = 0;
    std::int32_t ComfortReady = 0; ///< ComfortReadyState of the service
};

} // namespace asi::ooc::app
