#pragma once

#include "asi/ooc/app/IOocApplication.h"
#include "asi/ooc/app/IOocIds.h"
#include "conn_common/ReplyForwarder.h"
#include "ids/IOocAsiClientListener.h"

namespace ids {

/// Forwards the updates of an operation-control service that the daemon uses to the client. One object for each of the
/// two services.
class IOocReplyImpl : public asi::ooc::app::IOocApplicationReply,
                      public asi::ooc::app::IOocIdsReply,
                      public common_::ReplyForwarder<IOocAsiClientListener>
{
public:
    using ReplyForwarder::ReplyForwarder;

    void updateBatteryInfo(const util::SharedPtr<asi::ooc::app::BatteryInfo>& info, bool isValid) override
    {
        forward(&IOocAsiClientListener::updateBatteryInfo, info, isValid);
    }
    void updateCallActive(std::uint32_t status, bool isValid) override
    {
        forward(&IOocAsiClientListener::updateCallActive, status, isValid);
    }
    void updateClampStates(const util::SharedPtr<asi::ooc::app::ClampStates>& states, bool isValid) override
    {
        forward(&IOocAsiClientListener::updateClampStates, states, isValid);
    }
    void updateEthCommInterruptReason(std::uint32_t reason, bool isValid) override
    {
        forward(&IOocAsiClientListener::updateEthCommInterruptReason, reason, isValid);
    }
    void updateRunMode(std::uint32_t mode, bool isValid) override
    {
        forward(&IOocAsiClientListener::updateRunMode, mode, isValid);
    }

    void timerClientReply(std::uint32_t) override {}
    void updateApplStandbyRequest(std::uint32_t, bool) override {}
    void updateBusWakeupState(std::uint32_t, bool) override {}
    void updateDataStatus(std::uint32_t, bool) override {}
    void updateECallState(std::uint32_t, bool) override {}
    void updateEcuState(std::uint32_t, bool) override {}
    void updatePlatformState(std::uint32_t, bool) override {}
    void updatePowerState(std::uint32_t, bool) override {}
    void updateStandbyRequest(std::uint32_t, bool) override {}
    void updateTargetState(std::uint32_t, bool) override {}
    void updateTransportMode(std::uint32_t, bool) override {}
};

} // namespace ids
