#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

#include "util/TimerGroup.h"

namespace osal {

/// What alarms run on: one-shot timers, each of one alarm. Operations may be called from any thread, but not from a
/// callback.
class AlarmTimer
{
public:
    virtual ~AlarmTimer() = default;

    /// Adds a timer that is not set and returns its number.
    virtual std::uint64_t add(util::TimerCallbackBase& callback) = 0;
    virtual void set(std::uint64_t number, std::chrono::milliseconds time) = 0;

    /// Afterwards no callback of the timer is running or follows, until it is set again.
    virtual void stop(std::uint64_t number) = 0;
    virtual void remove(std::uint64_t number) = 0;
};

/// Calls its owner once after a time.
///
/// set and remove are called by the owner, on one thread; the callback runs on the timer's thread and must not wait for
/// the owner. After remove, and so after destruction, no callback is running or follows. Only making an alarm needs
/// memory.
class Alarm final : private util::TimerCallbackBase
{
public:
    /// The process' timer thread ("TimerGroup").
    static constexpr int DEFAULT_TIMER = 0;

    Alarm(int timer, std::function<void()> callback);
    ~Alarm() override { m_timer.remove(m_number); }
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;

    /// Sets the alarm, anew when it is set already.
    void set(std::chrono::milliseconds time) { m_timer.set(m_number, time); }
    void remove() { m_timer.stop(m_number); }

    /// Replaces DEFAULT_TIMER for alarms made from now on and returns the one before; null restores it. For tests.
    static AlarmTimer* setDefaultTimer(AlarmTimer* timer);

private:
    void onTimerExpired(std::uint64_t) override { m_callback(); }

    AlarmTimer& m_timer;
    const std::function<void()> m_callback;
    const std::uint64_t m_number;
};

} // namespace osal
