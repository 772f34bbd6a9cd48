#pragma once

#include "AsiSkeletonWrapperAttr.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/IOocAsiClientListener.h"

namespace ids {

/// Subscribes to the power and operating state of the unit at both services that publish it, and notifies the listeners
/// of the updates that their interface has. On the active object only, except stop.
class COocAsiClient final : public AsiSkeletonWrapperAttr<asi::ooc::app::IOocApplicationProxy>,
                            public AsiSkeletonWrapperAttr<asi::ooc::app::IOocIdsProxy>,
                            public IOocAsiClientListener,
                            public common_::SubjectBase<IOocAsiClientListener>
{
public:
    explicit COocAsiClient(const comm::FactoryPtr& factory);

    /// As the skeleton's, for both services.
    void start();
    void stop();

    void updateBatteryInfo(const util::SharedPtr<asi::ooc::app::BatteryInfo>& info, bool isValid) override;
    void updateCallActive(std::uint32_t status, bool isValid) override;
    void updateClampStates(const util::SharedPtr<asi::ooc::app::ClampStates>& states, bool isValid) override;
    void updateEthCommInterruptReason(std::uint32_t reason, bool isValid) override;
    void updateRunMode(std::uint32_t mode, bool isValid) override;

private:
    using Application = AsiSkeletonWrapperAttr<asi::ooc::app::IOocApplicationProxy>;
    using Ids = AsiSkeletonWrapperAttr<asi::ooc::app::IOocIdsProxy>;
};

} // namespace ids
