#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "comm/ActiveObject.h"
#include "conn_common/DelayedCallback.h"
#include "conn_common/ISynchronizedTimerFactory.h"
#include "osal/Mutex.h"
#include "util/TimerGroup.h"

namespace common_ {

/// Timers kept by one platform thread whose expiries are delivered as events on the owner's active object.
///
/// The timer thread only looks the handle up and posts; everything else, destruction included, happens on the active
/// object. The handles given out are destroyed before the factory.
class SynchronizedTimerFactory final : public ISynchronizedTimerFactory, private util::TimerCallbackBase
{
public:
    explicit SynchronizedTimerFactory(comm::FactoryPtr factory);
    ~SynchronizedTimerFactory() override;
    SynchronizedTimerFactory(const SynchronizedTimerFactory&) = delete;
    SynchronizedTimerFactory& operator=(const SynchronizedTimerFactory&) = delete;

    TimerHandlePtr createStartedTimer(std::chrono::milliseconds interval, TimerCallback&& callback) override;
    TimerHandlePtr createStartedTimer(std::chrono::milliseconds interval, const TimerCallback& callback) override;
    TimerHandlePtr createTimer(std::chrono::milliseconds interval, TimerCallback&& callback) override;
    TimerHandlePtr createTimer(std::chrono::milliseconds interval, const TimerCallback& callback) override;
    void createFaFTimer(std::chrono::milliseconds interval, TimerCallback callback) override;

private:
    class SynchronizedTimerHandle;

    void onTimerExpired(std::uint64_t id) override;
    void destroyFaFTimerFor(void* handle);
    void reserveEntry();

    const comm::FactoryPtr m_factory;
    std::optional<util::TimerGroup> m_timerGroup; // emptied first of all in the destructor
    std::vector<std::pair<std::uint64_t, SynchronizedTimerHandle*>> m_timers;
    osal::Mutex m_mutex; // guards m_timers
    std::vector<TimerHandlePtr> m_fireAndForget;
    DelayedCallback<SynchronizedTimerFactory, void*> m_destroyFaF;
};

} // namespace common_
