#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace osal {

/// What alarms run on. Operations may be called from any thread.
class AlarmTimer
{
public:
    virtual ~AlarmTimer() = default;

    /// Calls the function once after the time, on a thread of the timer's own. Returns a number for cancel.
    virtual std::uint64_t callAfter(std::chrono::milliseconds time, std::function<void()> function) = 0;

    /// Forgets a call; one that is under way or over is left alone.
    virtual void cancel(std::uint64_t number) = 0;
};

/// Calls its owner once when a time is over.
///
/// set and remove are called by the owner, on one thread; the callback runs on the timer's thread and must not wait for
/// the owner. After remove, and so after destruction, no callback is running or comes.
class Alarm
{
public:
    /// The process' own timer: one thread ("TimerGroup") that sleeps while no alarm is set.
    static constexpr int DEFAULT_TIMER = 0;

    Alarm(int timer, std::function<void()> callback);
    ~Alarm() { remove(); }
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;

    /// Sets the alarm, anew when it is set already.
    void set(std::chrono::milliseconds time);
    void remove();

    /// Replaces DEFAULT_TIMER for alarms made from now on and returns the one before; null restores it. For tests.
    static AlarmTimer* setDefaultTimer(AlarmTimer* timer);

private:
    struct Target;

    AlarmTimer& m_timer;
    const std::function<void()> m_callback;
    std::shared_ptr<Target> m_target; ///< of the alarm that is set, null when none is
    std::uint64_t m_number = 0;
};

} // namespace osal
