#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <vector>

#include "conn_common/ISynchronizedTimerFactory.h"

namespace test_support {

/// Timers in a time that passes only when the test says so. Expiries are delivered on the thread that calls advance;
/// factory, handles and advance are used on one thread. Handles may outlive the factory.
class ManualTimers final : public common_::ISynchronizedTimerFactory
{
public:
    ManualTimers();
    ~ManualTimers() override;

    TimerHandlePtr createStartedTimer(std::chrono::milliseconds interval, TimerCallback&& callback) override;
    TimerHandlePtr createStartedTimer(std::chrono::milliseconds interval, const TimerCallback& callback) override;
    TimerHandlePtr createTimer(std::chrono::milliseconds interval, TimerCallback&& callback) override;
    TimerHandlePtr createTimer(std::chrono::milliseconds interval, const TimerCallback& callback) override;
    void createFaFTimer(std::chrono::milliseconds interval, TimerCallback callback) override;

    /// Lets the time pass and delivers what becomes due meanwhile: in the order of expiry, then of start. A callback
    /// may create, start, stop and destroy timers, its own included.
    void advance(std::chrono::milliseconds time);

    /// The time that has passed since construction.
    std::chrono::milliseconds now() const;

    /// How many timers are running.
    std::size_t running() const;

    /// From now on createTimer and createStartedTimer give empty handles, createFaFTimer does nothing.
    void refuse();

private:
    class Handle;
    struct Clock;

    const std::shared_ptr<Clock> m_clock;
    std::vector<TimerHandlePtr> m_fireAndForget;
    bool m_refusing = false;
};

} // namespace test_support
