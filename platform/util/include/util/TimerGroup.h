#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <set>
#include <thread>
#include <utility>

#include "osal/Mutex.h"

namespace util {

/// Receiver of a timer group's expiries, called on the group's own thread without any lock of the group.
class TimerCallbackBase
{
public:
    virtual ~TimerCallbackBase() = default;
    virtual void onTimerExpired(std::uint64_t id) = 0;
};

/// Timers identified by numbers and kept by one thread of the group's own ("TimerGroup"), which sleeps on a kernel
/// timer set to the next expiry. Starting and stopping timers moves that kernel timer and does not wake the thread, so
/// that a unit at rest sleeps. Time is CLOCK_MONOTONIC.
///
/// Every operation may be called from any thread, also from onTimerExpired. Stopping or removing a timer does not wait
/// for an expiry that is being delivered at that moment. Only adding a timer needs memory. The destructor stops the
/// thread and joins it; a pending expiry is not delivered any more.
class TimerGroup
{
public:
    static constexpr std::uint64_t kNoTimer = 0xFFFFFFFF;

    /// Hands out the ids firstId to lastId, the one least recently given back first, so that a late expiry of a removed
    /// timer does not meet a new timer of the same number. Throws std::system_error when the kernel has no timer or
    /// thread left.
    TimerGroup(std::uint64_t firstId, std::uint64_t lastId);
    ~TimerGroup();
    TimerGroup(const TimerGroup&) = delete;
    TimerGroup& operator=(const TimerGroup&) = delete;

    /// Adds a timer and returns its id, or kNoTimer when the interval is negative or all ids are in use (the reason is
    /// in ipl::ErrorStorage). A cyclic timer starts itself again at each expiry.
    std::uint64_t addTimer(std::chrono::milliseconds interval, bool cyclic, TimerCallbackBase& callback, bool start);

    /// Starts the timer's interval from now on, also when it is running. An unknown id does nothing.
    void startTimer(std::uint64_t id);
    void stopTimer(std::uint64_t id);
    void removeTimer(std::uint64_t id);

    /// Gives a stopped timer a new interval. Returns true on error: unknown id, running timer or negative interval (the
    /// reason is in ipl::ErrorStorage).
    bool modifyTimer(std::uint64_t id, std::chrono::milliseconds interval, bool cyclic);

private:
    using Clock = std::chrono::steady_clock;
    using Schedule = std::set<std::pair<Clock::time_point, std::uint64_t>>;

    struct Timer
    {
        std::chrono::milliseconds interval;
        bool cyclic;
        TimerCallbackBase* callback;
        Clock::time_point expiry;
        Schedule::node_type entry; // while the timer is not running; its entry in the schedule otherwise

        bool running() const { return entry.empty(); }
    };

    std::uint64_t freeId();
    void schedule(std::uint64_t id, Timer& timer);
    void unschedule(std::uint64_t id, Timer& timer);
    void setKernelTimer(Clock::time_point expiry);
    void run();

    const std::uint64_t m_firstId;
    const std::uint64_t m_lastId;
    std::uint64_t m_nextId;
    osal::Mutex m_mutex;
    std::map<std::uint64_t, Timer> m_timers;
    Schedule m_schedule;
    bool m_ending = false;
    const int m_kernelTimer;
    std::thread m_thread;
};

} // namespace util
