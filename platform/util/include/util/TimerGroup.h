#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <utility>

namespace util {

/// Receiver of a timer group's expiries, called on the timer thread without any lock of the group. A callback only
/// posts: it runs in the way of every other timer of the process, and an operation may wait for it.
class TimerCallbackBase
{
public:
    virtual ~TimerCallbackBase() = default;
    virtual void onTimerExpired(std::uint64_t id) = 0;
};

/// Timers identified by numbers. One thread of the process ("TimerGroup") serves all groups; it sleeps on a kernel
/// timer set to the next expiry. Starting and stopping timers moves that kernel timer and does not wake the thread, so
/// that a unit at rest sleeps. Time is CLOCK_MONOTONIC.
///
/// Every operation may be called from any thread, also from onTimerExpired. Once stopTimer, removeTimer or the
/// destructor has returned, no expiry of that timer is being delivered or follows: a delivery in progress is waited
/// for, except on the timer thread itself. So the caller holds no lock that the callback takes. Only adding a timer
/// needs memory.
class TimerGroup
{
public:
    static constexpr std::uint64_t kNoTimer = 0xFFFFFFFF;

    /// Hands out the ids firstId to lastId, the one least recently given back first. Throws std::system_error when the
    /// kernel has no timer or thread left.
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
    struct Timer;
    class Thread;

    using Schedule = std::set<std::pair<Clock::time_point, Timer*>>;

    struct Timer
    {
        std::uint64_t id;
        std::chrono::milliseconds interval;
        bool cyclic;
        TimerCallbackBase* callback;
        Clock::time_point expiry;
        Schedule::node_type entry; // while the timer is not running; its entry in the schedule otherwise

        bool running() const { return entry.empty(); }
    };

    std::uint64_t freeId();
    Timer* find(std::uint64_t id);

    const std::uint64_t m_firstId;
    const std::uint64_t m_lastId;
    std::uint64_t m_nextId;
    Thread& m_thread;
    std::map<std::uint64_t, Timer> m_timers; // guarded by the thread's mutex, as the ids
};

} // namespace util
