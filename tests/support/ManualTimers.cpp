#include "ManualTimers.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>

namespace test_support {

using std::chrono::milliseconds;

/// The running timers by expiry; equal ones in the order in which they were started.
struct ManualTimers::Clock
{
    std::multimap<milliseconds, Handle*> due;
    milliseconds now{0};
};

class ManualTimers::Handle final : public TimerHandle
{
public:
    Handle(std::shared_ptr<Clock> clock, milliseconds interval, TimerCallback&& callback)
        : m_clock{std::move(clock)}, m_interval{interval}, m_callback{std::move(callback)}
    {}

    ~Handle() override { unschedule(); }

    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    bool start() override
    {
        schedule();
        m_running = true;
        return true;
    }

    void stop() override
    {
        unschedule();
        m_running = false;
    }

    void restart() override { schedule(); }

    void modify(milliseconds interval) override
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
        unschedule();
        m_running = false;
        const auto callback = m_callback; // the callback may destroy the handle
        callback(static_cast<TimerHandle*>(this));
    }

private:
    void schedule()
    {
        unschedule();
        m_entry = m_clock->due.emplace(m_clock->now + m_interval, this);
    }

    void unschedule()
    {
        if (const auto entry = std::exchange(m_entry, std::nullopt)) {
            m_clock->due.erase(*entry);
        }
    }

    const std::shared_ptr<Clock> m_clock;
    milliseconds m_interval;
    const TimerCallback m_callback;
    std::optional<std::multimap<milliseconds, Handle*>::iterator> m_entry;
    bool m_running = false;
};

ManualTimers::ManualTimers() : m_clock{std::make_shared<Clock>()} {}

ManualTimers::~ManualTimers() = default;

ManualTimers::TimerHandlePtr ManualTimers::createStartedTimer(milliseconds interval, TimerCallback&& callback)
{
    auto handle = createTimer(interval, std::move(callback));
    if (handle) {
        handle->start();
    }
    return handle;
}

ManualTimers::TimerHandlePtr ManualTimers::createStartedTimer(milliseconds interval, const TimerCallback& callback)
{
    return createStartedTimer(interval, TimerCallback{callback});
}

ManualTimers::TimerHandlePtr ManualTimers::createTimer(milliseconds interval, TimerCallback&& callback)
{
    if (m_refusing || interval.count() < 0) {
        return nullptr;
    }
    return std::make_unique<Handle>(m_clock, interval, std::move(callback));
}

ManualTimers::TimerHandlePtr ManualTimers::createTimer(milliseconds interval, const TimerCallback& callback)
{
    return createTimer(interval, TimerCallback{callback});
}

void ManualTimers::createFaFTimer(milliseconds interval, TimerCallback callback)
{
    m_fireAndForget.push_back(createStartedTimer(interval, [this, callback = std::move(callback)](void* handle) {
        callback(handle);
        std::erase_if(m_fireAndForget, [handle](const auto& one) { return one.get() == handle; });
    }));
}

void ManualTimers::advance(milliseconds time)
{
    auto& clock = *m_clock;
    const auto end = clock.now + time;
    while (!clock.due.empty() && clock.due.begin()->first <= end) {
        const auto next = clock.due.begin();
        clock.now = next->first;
        next->second->expire();
    }
    clock.now = end;
}

milliseconds ManualTimers::now() const
{
    return m_clock->now;
}

std::size_t ManualTimers::running() const
{
    return m_clock->due.size();
}

void ManualTimers::refuse()
{
    m_refusing = true;
}

} // namespace test_support
