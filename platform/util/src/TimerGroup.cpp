#include "util/TimerGroup.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <pthread.h>
#include <sys/timerfd.h>
#include <system_error>
#include <thread>
#include <unistd.h>

#include "ipl/ErrorStorage.h"
#include "osal/Mutex.h"

namespace util {

/// The thread that expires the timers of all groups. Operations but lock are called with the mutex held. An expiry that
/// is withdrawn leaves the kernel timer as it is: the thread wakes for nothing once, which is cheaper than a system
/// call for every stop.
class TimerGroup::Thread
{
public:
    // Started by the first group and never destroyed: it runs until the process has ended.
    static Thread& instance()
    {
        static auto& thread = *new Thread;
        return thread;
    }

    std::unique_lock<osal::Mutex> lock() { return std::unique_lock{m_mutex}; }

    void schedule(Timer& timer)
    {
        // An interval of centuries must not overflow the clock.
        const auto interval = std::min<std::chrono::milliseconds>(timer.interval, std::chrono::hours{24 * 365 * 100});
        timer.expiry = Clock::now() + interval;
        timer.entry.value() = {timer.expiry, &timer};
        const auto place = m_schedule.insert(std::move(timer.entry)).position;
        if (place == m_schedule.begin()) {
            setKernelTimer(timer.expiry);
        }
    }

    void unschedule(Timer& timer)
    {
        if (timer.running()) {
            timer.entry = m_schedule.extract({timer.expiry, &timer});
        }
    }

    void stop(Timer& timer, std::unique_lock<osal::Mutex>& held)
    {
        if (m_thread.get_id() != std::this_thread::get_id()) {
            m_delivered.wait(held, [&] { return m_delivering != &timer; });
        }
        unschedule(timer);
    }

private:
    Thread() : m_kernelTimer{timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC)}
    {
        if (m_kernelTimer < 0) {
            throw std::system_error{errno, std::generic_category(), "timerfd_create"};
        }
        const auto held = lock();
        m_thread = std::thread{[this] { run(); }};
        pthread_setname_np(m_thread.native_handle(), "TimerGroup");
    }

    void setKernelTimer(Clock::time_point expiry) const
    {
        const auto sinceBoot = expiry.time_since_epoch();
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(sinceBoot);
        itimerspec when{};
        when.it_value.tv_sec = seconds.count();
        when.it_value.tv_nsec = std::chrono::nanoseconds{sinceBoot - seconds}.count();
        timerfd_settime(m_kernelTimer, TFD_TIMER_ABSTIME, &when, nullptr);
    }

    void run()
    {
        auto held = lock();
        while (true) {
            if (!m_schedule.empty() && m_schedule.begin()->first <= Clock::now()) {
                expire(*m_schedule.begin()->second, held);
            } else {
                sleep(held);
            }
        }
    }

    void sleep(std::unique_lock<osal::Mutex>& held) const
    {
        if (!m_schedule.empty()) {
            setKernelTimer(m_schedule.begin()->first);
        }
        held.unlock();
        std::uint64_t expiries;
        [[maybe_unused]] const auto count = read(m_kernelTimer, &expiries, sizeof expiries);
        held.lock();
    }

    void expire(Timer& timer, std::unique_lock<osal::Mutex>& held)
    {
        unschedule(timer);
        if (timer.cyclic) {
            schedule(timer);
        }
        m_delivering = &timer;
        auto* const callback = timer.callback;
        const auto id = timer.id;
        held.unlock();
        callback->onTimerExpired(id); // which may remove the timer
        held.lock();
        m_delivering = nullptr;
        m_delivered.notify_all();
    }

    osal::Mutex m_mutex;
    Schedule m_schedule;
    const Timer* m_delivering = nullptr;
    std::condition_variable m_delivered;
    const int m_kernelTimer;
    std::thread m_thread;
};

TimerGroup::TimerGroup(std::uint64_t firstId, std::uint64_t lastId)
    : m_firstId{firstId}, m_lastId{lastId}, m_nextId{firstId}, m_thread{Thread::instance()}
{}

TimerGroup::~TimerGroup()
{
    auto held = m_thread.lock();
    for (auto& [id, timer] : m_timers) {
        m_thread.stop(timer, held);
    }
}

std::uint64_t TimerGroup::addTimer(std::chrono::milliseconds interval, bool cyclic, TimerCallbackBase& callback,
                                   bool start)
{
    if (interval.count() < 0) {
        ipl::ErrorStorage::set(EINVAL, "negative timer interval");
        return kNoTimer;
    }
    Schedule made{{{}, nullptr}};
    const auto held = m_thread.lock();
    const auto id = freeId();
    if (id == kNoTimer) {
        ipl::ErrorStorage::set(EAGAIN, "all %zu timer ids are in use", m_timers.size());
        return kNoTimer;
    }
    Timer timer{id, interval, cyclic, &callback, {}, made.extract(made.begin())};
    auto& added = m_timers.try_emplace(id, std::move(timer)).first->second;
    if (start) {
        m_thread.schedule(added);
    }
    return id;
}

void TimerGroup::startTimer(std::uint64_t id)
{
    const auto held = m_thread.lock();
    if (auto* const timer = find(id)) {
        m_thread.unschedule(*timer);
        m_thread.schedule(*timer);
    }
}

void TimerGroup::stopTimer(std::uint64_t id)
{
    auto held = m_thread.lock();
    if (auto* const timer = find(id)) {
        m_thread.stop(*timer, held);
    }
}

void TimerGroup::removeTimer(std::uint64_t id)
{
    auto held = m_thread.lock();
    if (auto* const timer = find(id)) {
        m_thread.stop(*timer, held);
        m_timers.erase(id);
    }
}

bool TimerGroup::modifyTimer(std::uint64_t id, std::chrono::milliseconds interval, bool cyclic)
{
    const auto held = m_thread.lock();
    auto* const timer = find(id);
    if (timer == nullptr || timer->running() || interval.count() < 0) {
        ipl::ErrorStorage::set(EINVAL, "timer %lu is unknown or running, or its interval is negative", id);
        return true;
    }
    timer->interval = interval;
    timer->cyclic = cyclic;
    return false;
}

std::uint64_t TimerGroup::freeId()
{
    if (m_timers.size() > m_lastId - m_firstId) {
        return kNoTimer;
    }
    while (m_timers.contains(m_nextId)) {
        m_nextId = m_nextId == m_lastId ? m_firstId : m_nextId + 1;
    }
    const auto id = m_nextId;
    m_nextId = m_nextId == m_lastId ? m_firstId : m_nextId + 1;
    return id;
}

TimerGroup::Timer* TimerGroup::find(std::uint64_t id)
{
    const auto found = m_timers.find(id);
    return found != m_timers.end() ? &found->second : nullptr;
}

} // namespace util
