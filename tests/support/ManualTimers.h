#pragma once

#include <chrono>
#include <cstdlib>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "conn_common/ISynchronizedTimerFactory.h"

namespace test_support {

/// Timers with a time that the test controls. Expiries are delivered on the thread that calls advance; factory, handles
/// and advance are used on one thread. Handles may outlive the factory.
class ManualTimers final : public common_::ISynchronizedTimerFactory
{
public:
    using Interval = std::chrono::milliseconds;

    TimerHandlePtr createStartedTimer(Interval interval, TimerCallback&& callback) override
    {
        auto handle = createTimer(interval, std::move(callback));
        if (handle) {
            handle->start();
        }
        return handle;
    }

    TimerHandlePtr createStartedTimer(Interval interval, const TimerCallback& callback) override
    {
        return createStartedTimer(interval, TimerCallback{callback});
    }

    TimerHandlePtr createTimer(Interval interval, TimerCallback&& callback) override
    {
        const bool refused = interval.count() < 0;
        return refused ? nullptr : std::make_unique<Handle>(m_clock, interval, std::move(callback));
    }

    TimerHandlePtr createTimer(Interval interval, const TimerCallback& callback) override
    {
        return createTimer(interval, TimerCallback{callback});
    }

    void createFaFTimer(Interval interval, TimerCallback callback) override
    {
        m_fireAndForget.push_back(createStartedTimer(interval, std::move(callback)));
    }

    /// Lets the time pass and delivers what becomes due meanwhile: in the order of expiry, then of start. A callback
    /// may create, start, stop and destroy timers; one that destroys its own aborts the program.
    void advance(Interval time)
    {
        const auto end = m_clock->now + time;
        while (!m_clock->due.empty() && m_clock->due.begin()->first <= end) {
            const auto [expiry, handle] = *m_clock->due.begin();
            m_clock->now = expiry;
            handle->expire();
            std::erase_if(m_fireAndForget, [fired = handle](const auto& one) { return one.get() == fired; });
        }
        m_clock->now = end;
    }

private:
    class Handle;

    struct Clock
    {
        std::multimap<Interval, Handle*> due; // timers with equal times in the order of their start
        Interval now{0};
    };

    class Handle final : public TimerHandle
    {
    public:
        Handle(std::shared_ptr<Clock> clock, Interval interval, TimerCallback&& callback)
            : m_clock{std::move(clock)}, m_interval{interval}, m_callback{std::move(callback)}
        {}
        ~Handle() override
        {
            if (m_inCallback) {
                std::abort(); // not allowed by the contract
            }
            stop();
        }
        Handle(const Handle&) = delete;
        Handle& operator=(const Handle&) = delete;

        bool start() override
        {
            restart();
            m_running = true;
            return true;
        }

        void stop() override
        {
            std::erase_if(m_clock->due, [this](const auto& entry) { return entry.second == this; });
            m_running = false;
        }

        // As the real timer, it does not change isRunning.
        void restart() override
        {
            const bool running = m_running;
            stop();
            m_clock->due.emplace(m_clock->now + m_interval, this);
            m_running = running;
        }

        void modify(Interval interval) override
        {
            stop();
            if (interval.count() >= 0) {
                m_interval = interval;
                start();
            }
        }

        bool isRunning() override { return m_running; }

        void expire()
        {
            stop();
            const InCallback inCallback{m_inCallback};
            m_callback(static_cast<TimerHandle*>(this));
        }

    private:
        struct InCallback // also of one that throws
        {
            explicit InCallback(bool& flag) : inside{flag} { inside = true; }
            ~InCallback() { inside = false; }
            bool& inside;
        };

        const std::shared_ptr<Clock> m_clock;
        Interval m_interval;
        const TimerCallback m_callback;
        bool m_running = false;
        bool m_inCallback = false;
    };

    const std::shared_ptr<Clock> m_clock = std::make_shared<Clock>();
    std::vector<TimerHandlePtr> m_fireAndForget;
};

} // namespace test_support
