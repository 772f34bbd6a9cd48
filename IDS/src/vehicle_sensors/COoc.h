#pragma once

#include <cstdint>

#include "conn_common/ISynchronizedTimerFactory.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/IIdsm.h"
#include "ids/IOocAsiClientListener.h"

namespace ids {

/// Logs the unit's power and operating state, and every 62 seconds the number of interruptions of its Ethernet
/// communication in that period. Raises no event. On the active object only.
class COoc final : public common_::ListenerBase<IOocAsiClientListener>
{
public:
    COoc(IIdsm& idsm, common_::ISynchronizedTimerFactory& timers);

    /// Starts the first period.
    void start();

    void updateBatteryInfo(const util::SharedPtr<asi::ooc::app::BatteryInfo>& info, bool isValid) override;
    void updateCallActive(std::uint32_t status, bool isValid) override;
    void updateClampStates(const util::SharedPtr<asi::ooc::app::ClampStates>&, bool) override {}

    /// Counts an interruption when the reason is valid.
    void updateEthCommInterruptReason(std::uint32_t reason, bool isValid) override;
    void updateRunMode(std::uint32_t mode, bool isValid) override;

private:
    void onTimerExpired();

    [[maybe_unused]] IIdsm& m_idsm; ///< these states have no event
    std::uint32_t m_interruptionCount = 0;
    const common_::ISynchronizedTimerFactory::TimerHandlePtr m_timer;
};

} // namespace ids
