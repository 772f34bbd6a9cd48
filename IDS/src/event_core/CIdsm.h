#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "conn_common/ISynchronizedTimerFactory.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/ICdRstpClientListener.h"
#include "ids/IIdsCore.h"
#include "ids/IIdsm.h"
#include "ids/IOocAsiClientListener.h"
#include "ids/ISomeIpClientListener.h"
#include "ids/IViAsiServiceListener.h"
#include "tracing/CallbackDispatcher.h"

namespace ids {

/// The dispatcher: every security event goes through here to the IDS core. On the active object only.
///
/// An event leaves at once while its ID is quiet, the time base valid and the core connected. Else it waits, and the
/// one-second tick lets one event per ID go. An ID reported twice within a tick is in limp mode until the next. At most
/// 50 events wait; what comes on top is dropped without a word. Events framed by other domains pass straight through or
/// are lost. Every 60 ticks a keep-alive goes to the core, lost when nobody is there.
class CIdsm final : public IIdsm,
                    public common_::ListenerBase<IOocAsiClientListener>,
                    public common_::ListenerBase<IViAsiServiceListener>,
                    public common_::ListenerBase<ICdRstpClientListener>,
                    public common_::ListenerBase<ISomeIpClientListener>
{
public:
    CIdsm(IIdsCore& core, common_::ISynchronizedTimerFactory& timers);

    bool reportEvent(const std::shared_ptr<SEvent>& event) override;

    bool onViEvent(const UInt8Array& event) override;
    void onEventFromCarDomain(const std::vector<std::uint8_t>& payload) override;
    bool onEventFromV2X(const util::SharedPtr<SecurityEvents>& content) override;

    void updateBatteryInfo(const util::SharedPtr<asi::ooc::app::BatteryInfo>&, bool) override {}
    void updateCallActive(std::uint32_t, bool) override {}

    /// Ignition off begins a new numbering of the keep-alives.
    void updateClampStates(const util::SharedPtr<asi::ooc::app::ClampStates>& states, bool isValid) override;
    void updateEthCommInterruptReason(std::uint32_t, bool) override {}
    void updateRunMode(std::uint32_t, bool) override {}

private:
    /// How often an event ID was reported or flushed in the present second.
    struct EventRate
    {
        std::uint8_t count;
        std::uint16_t eventId;
    };

    EventRate* findRate(std::uint16_t eventId);
    bool inLimpMode(std::uint16_t eventId);
    void count(std::uint16_t eventId);
    bool sendNow(const SEvent& event);
    void restampPending(std::uint64_t gnssTime);
    void flushPending();
    void sendKeepAlive();
    void onTick();
    void triggerRSTPEvent();
    void triggerV2XEvent();

    IIdsCore& m_core;
    std::uint32_t m_keepAliveCounter = 0;
    std::uint8_t m_tickCount = 0;
    std::vector<EventRate> m_eventRates;
    std::unique_ptr<common_::ISynchronizedTimerFactory::TimerHandle> m_tick;
    std::vector<std::shared_ptr<SEvent>> m_pending;
    tracing::CallbackDispatcher m_testCommands;
};

} // namespace ids
