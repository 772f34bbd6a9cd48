#pragma once

#include <cstdint>

#include "asi/ooc/app/OocTypes.h"
#include "util/SharedPtr.h"

namespace ids {

/// Receives the power and operating state of the unit, on the daemon's active object. Records may be null; isValid is
/// the validity that the service sends with the value.
class IOocAsiClientListener
{
public:
    virtual ~IOocAsiClientListener() = default;
    virtual void updateBatteryInfo(const util::SharedPtr<asi::ooc::app::BatteryInfo>& info, bool isValid) = 0;
    virtual void updateCallActive(std::uint32_t status, bool isValid) = 0;
    virtual void updateClampStates(const util::SharedPtr<asi::ooc::app::ClampStates>& states, bool isValid) = 0;
    virtual void updateEthCommInterruptReason(std::uint32_t reason, bool isValid) = 0;
    virtual void updateRunMode(std::uint32_t mode, bool isValid) = 0;
};

} // namespace ids
