#pragma once

#include <cstdint>
#include <string_view>
#include <tuple>

#include "asi/ooc/app/OocTypes.h"
#include "comm/Proxy.h"
#include "comm/Service.h"
#include "util/SharedPtr.h"

/// The unit's operation-control service: its power and operating state.
namespace asi::ooc::app {

/// Clients subscribe to the attributes; there are no requests.
class IOocApplication
{
public:
    virtual ~IOocApplication() = default;
};

/// Plain numbers are values of the service's enumerations.
class IOocApplicationReply
{
public:
    virtual ~IOocApplicationReply() = default;
    virtual void timerClientReply(std::uint32_t result) = 0;

    virtual void updateApplStandbyRequest(std::uint32_t request, bool isValid) = 0;
    virtual void updateBatteryInfo(const util::SharedPtr<BatteryInfo>& info, bool isValid) = 0;
    virtual void updateBusWakeupState(std::uint32_t state, bool isValid) = 0;
    virtual void updateCallActive(std::uint32_t status, bool isValid) = 0;
    virtual void updateClampStates(const util::SharedPtr<ClampStates>& states, bool isValid) = 0;
    virtual void updateDataStatus(std::uint32_t status, bool isValid) = 0;
    virtual void updateECallState(std::uint32_t state, bool isValid) = 0;
    virtual void updateEcuState(std::uint32_t state, bool isValid) = 0;
    virtual void updatePlatformState(std::uint32_t state, bool isValid) = 0;
    virtual void updatePowerState(std::uint32_t state, bool isValid) = 0;
    virtual void updateRunMode(std::uint32_t mode, bool isValid) = 0;
    virtual void updateStandbyRequest(std::uint32_t request, bool isValid) = 0;
    virtual void updateTargetState(std::uint32_t state, bool isValid) = 0;
    virtual void updateTransportMode(std::uint32_t mode, bool isValid) = 0;
};

struct IOocApplicationDescription
{
    static constexpr std::string_view name = "asi.ooc.app.IOocApplication";
    using Requests = IOocApplication;
    using Reply = IOocApplicationReply;
    static constexpr auto requests = std::tuple{};
    static constexpr auto replies =
        std::tuple{comm::method<&IOocApplicationReply::timerClientReply>(15, "timerClientReply", "result")};
    static constexpr auto attributes = std::tuple{
        comm::attribute<&IOocApplicationReply::updateApplStandbyRequest>(1, "ApplStandbyRequest",
                                                                         "updateApplStandbyRequest"),
        comm::attribute<&IOocApplicationReply::updateBatteryInfo>(2, "BatteryInfo", "updateBatteryInfo"),
        comm::attribute<&IOocApplicationReply::updateBusWakeupState>(3, "BusWakeupState", "updateBusWakeupState"),
        comm::attribute<&IOocApplicationReply::updateCallActive>(4, "CallActive", "updateCallActive"),
        comm::attribute<&IOocApplicationReply::updateClampStates>(5, "ClampStates", "updateClampStates"),
        comm::attribute<&IOocApplicationReply::updateDataStatus>(6, "DataStatus", "updateDataStatus"),
        comm::attribute<&IOocApplicationReply::updateECallState>(7, "ECallState", "updateECallState"),
        comm::attribute<&IOocApplicationReply::updateEcuState>(8, "EcuState", "updateEcuState"),
        comm::attribute<&IOocApplicationReply::updatePlatformState>(9, "PlatformState", "updatePlatformState"),
        comm::attribute<&IOocApplicationReply::updatePowerState>(10, "PowerState", "updatePowerState"),
        comm::attribute<&IOocApplicationReply::updateRunMode>(11, "RunMode", "updateRunMode"),
        comm::attribute<&IOocApplicationReply::updateStandbyRequest>(12, "StandbyRequest", "updateStandbyRequest"),
        comm::attribute<&IOocApplicationReply::updateTargetState>(13, "TargetState", "updateTargetState"),
        comm::attribute<&IOocApplicationReply::updateTransportMode>(14, "TransportMode", "updateTransportMode")};
};

using IOocApplicationSAttr = comm::Service<IOocApplicationDescription>;
using IOocApplicationProxy = comm::ServiceProxy<IOocApplicationDescription>;

} // namespace asi::ooc::app
