#include "util/TimerGroup.h"

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <pthread.h>
#include <sys/timerfd.h>
#include <system_error>
#include <unistd.h>

#include "ipl/ErrorStorage.h"

namespace util {

TimerGroup::TimerGroup(std::uint64_t firstId, std::uint64_t lastId)
    : m_firstId{firstId},
      m_lastId{lastId},
      m_nextId{firstId},
      m_kernelTimer{timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC)}
{
    if (m_kernelTimer < 0) {
        throw std::system_error{errno, std::generic_category(), "timerfd_create"};
    }
    m_thread = std::thread{[this] { run(); }};
    pthread_setname_np(m_thread.native_handle(), "TimerGroup");
}

TimerGroup::~TimerGroup()
{
    {
        const std::lock_guard lock{m_mutex};
        m_ending = true;
        setKernelTimer(Clock::time_point{std::chrono::nanoseconds{1}});
    }
    m_thread.join();
    close(m_kernelTimer);
}

std::uint64_t TimerGroup::addTimer(std::chrono::milliseconds interval, bool cyclic, TimerCallbackBase& callback,
                                   bool start)
{
    if (interval.count() < 0) {
        ipl::ErrorStorage::set(EINVAL, "negative timer interval");
        return kNoTimer;
    }
    const std::lock_guard lock{m_mutex};
    const auto id = freeId();
    if (id == kNoTimer) {
        ipl::ErrorStorage::set(EAGAIN, "all %zu timer ids are in use", m_timers.size());
        return kNoTimer;
    }
    Schedule made{{{}, id}};
    auto entry = made.extract(made.begin());
    auto& timer = m_timers.try_emplace(id, Timer{interval, cyclic, &callback, {}, std::move(entry)}).first->second;
    if (start) {
        schedule(id, timer);
    }
    return id;
}

void TimerGroup::startTimer(std::uint64_t id)
{
    const std::lock_guard lock{m_mutex};
    if (const auto timer = m_timers.find(id); timer != m_timers.end()) {
        unschedule(id, timer->second);
        schedule(id, timer->second);
    }
}

void TimerGroup::stopTimer(std::uint64_t id)
{
    const std::lock_guard lock{m_mutex};
    if (const auto timer = m_timers.find(id); timer != m_timers.end()) {
        unschedule(id, timer->second);
    }
}

void TimerGroup::removeTimer(std::uint64_t id)
{
    const std::lock_guard lock{m_mutex};
    if (const auto timer = m_timers.find(id); timer != m_timers.end()) {
        unschedule(id, timer->second);
        m_timers.erase(timer);
    }
}

bool TimerGroup::modifyTimer(std::uint64_t id, std::chrono::milliseconds interval, bool cyclic)
{
    const std::lock_guard lock{m_mutex};
    const auto timer = m_timers.find(id);
    if (timer == m_timers.end() || timer->second.running() || interval.count() < 0) {
        ipl::ErrorStorage::set(EINVAL, "timer %lu is unknown or running, or its interval is negative", id);
        return true;
    }
    timer->second.interval = interval;
    timer->second.cyclic = cyclic;
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

// The functions below are called with the mutex held. An expiry that goes away leaves the kernel timer as it is: the
// thread wakes for nothing once, which is cheaper than a system call for every stop.
void TimerGroup::schedule(std::uint64_t id, Timer& timer)
{
    // An interval of centuries must not overflow the clock.
    const auto interval = std::min<std::chrono::milliseconds>(timer.interval, std::chrono::hours{24 * 365 * 100});
    timer.expiry = Clock::now() + interval;
    timer.entry.value() = {timer.expiry, id};
    const auto place = m_schedule.insert(std::move(timer.entry)).position;
    if (place == m_schedule.begin()) {
        setKernelTimer(timer.expiry);
    }
}

void TimerGroup::unschedule(std::uint64_t id, Timer& timer)
{
    if (timer.running()) {
        timer.entry = m_schedule.extract({timer.expiry, id});
    }
}

void TimerGroup::setKernelTimer(Clock::time_point expiry)
{
    const auto sinceBoot = expiry.time_since_epoch();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(sinceBoot);
    itimerspec when{};
    when.it_value.tv_sec = seconds.count();
    when.it_value.tv_nsec = std::chrono::nanoseconds{sinceBoot - seconds}.count();
    timerfd_settime(m_kernelTimer, TFD_TIMER_ABSTIME, &when, nullptr);
}

void TimerGroup::run()
{
    std::unique_lock lock{m_mutex};
    while (!m_ending) {
        if (m_schedule.empty() || Clock::now() < m_schedule.begin()->first) {
            if (!m_schedule.empty()) {
                setKernelTimer(m_schedule.begin()->first);
            }
            lock.unlock();
            std::uint64_t expiries;
            [[maybe_unused]] const auto count = read(m_kernelTimer, &expiries, sizeof expiries);
            lock.lock();
            continue;
        }
        const auto id = m_schedule.begin()->second;
        auto& timer = m_timers.at(id);
        auto* const callback = timer.callback;
        unschedule(id, timer);
        if (timer.cyclic) {
            schedule(id, timer);
        }
        lock.unlock();
        callback->onTimerExpired(id);
        lock.lock();
    }
}

} // namespace util
