#pragma once

#include <chrono>
#include <vector>

#include "comm/ActiveObject.h"
#include "conn_common/DelayedCallback.h"
#include "conn_common/ISynchronizedTimerFactory.h"
#include "util/TimerGroup.h"

namespace common_ {

/// Timers kept by the platform's timer thread whose expiries are delivered as events on the owner's active object.
///
/// The timer thread only posts; everything else, destruction included, happens on the active object. The handles given
/// out are destroyed before the factory.
class SynchronizedTimerFactory final : public ISynchronizedTimerFactory
{
public:
    explicit SynchronizedTimerFactory(comm::FactoryPtr factory);

    TimerHandlePtr createStartedTimer(std::chrono::milliseconds interval, TimerCallback&& callback) override;
    TimerHandlePtr createStartedTimer(std::chrono::milliseconds interval, const TimerCallback& callback) override;
    TimerHandlePtr createTimer(std::chrono::milliseconds interval, TimerCallback&& callback) override;
    TimerHandlePtr createTimer(std::chrono::milliseconds interval, const TimerCallback& callback) override;
    void createFaFTimer(std::chrono::milliseconds interval, TimerCallback callback) override;

private:
    class SynchronizedTimerHandle;

    void destroyFaFTimerFor(void* handle);

    const comm::FactoryPtr m_factory;
    util::TimerGroup m_timerGroup;
    std::vector<TimerHandlePtr> m_fireAndForget;
    DelayedCallback<SynchronizedTimerFactory, void*> m_destroyFaF;
};

} // namespace common_
