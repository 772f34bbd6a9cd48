#include <algorithm>
#include <atomic>
#include <mutex>

#include "conn_common/SynchronizedTimerFactory.h"
#include "ipl/ErrorStorage.h"
#include "ipl/insist.h"
#include "tracing/Channel.h"

namespace common_ {
namespace {

tracing::Channel s_channel{"CON_COMMON_TIMER", 7, 2};

constexpr const char* kClass = "TIMERS";
constexpr const char* kSource = "conn_common/src/SynchronizedTimer";
constexpr const char* kNoMemory = "Could not allocate memory";

} // namespace

/// One platform timer. Lives on the active object; execute is the timer thread's, under the factory's mutex.
class SynchronizedTimerFactory::SynchronizedTimerHandle final : public TimerHandle
{
public:
    SynchronizedTimerHandle(SynchronizedTimerFactory& factory, std::uint64_t id, TimerCallback&& callback)
        : m_factory{factory}, m_id{id}, m_expired{factory.m_factory, std::move(callback)}
    {
        TRACE(s_channel, detail, kClass, "TimerId: %d", static_cast<int>(m_id));
        const std::lock_guard lock{m_factory.m_mutex};
        m_factory.m_timers.emplace_back(m_id, this);
    }

    ~SynchronizedTimerHandle() override
    {
        TRACE(s_channel, detail, kClass, "TimerId: %d", static_cast<int>(m_id));
        group().removeTimer(m_id);
        const std::lock_guard lock{m_factory.m_mutex};
        std::erase_if(m_factory.m_timers, [this](const auto& entry) { return entry.first == m_id; });
    }

    SynchronizedTimerHandle(const SynchronizedTimerHandle&) = delete;
    SynchronizedTimerHandle& operator=(const SynchronizedTimerHandle&) = delete;

    bool start() override
    {
        m_running = true;
        group().startTimer(m_id);
        return true;
    }

    void stop() override
    {
        group().stopTimer(m_id);
        m_running = false;
    }

    void restart() override
    {
        group().stopTimer(m_id);
        group().startTimer(m_id);
    }

    void modify(std::chrono::milliseconds interval) override
    {
        stop();
        if (group().modifyTimer(m_id, interval, false)) {
            ipl::ErrorStorage::ack();
            return;
        }
        start();
    }

    bool isRunning() override { return m_running; }

    void execute()
    {
        TRACE(s_channel, detail, kClass, "TimerId: %d", static_cast<int>(m_id));
        // Before the callback is on its way: it may start the timer again at once.
        m_running = false;
        m_expired.schedule(static_cast<TimerHandle*>(this));
    }

private:
    util::TimerGroup& group() { return *m_factory.m_timerGroup; }

    SynchronizedTimerFactory& m_factory;
    const std::uint64_t m_id;
    DelayedCallbackBase<void*> m_expired;
    std::atomic<bool> m_running{false};
};

SynchronizedTimerFactory::SynchronizedTimerFactory(comm::FactoryPtr factory)
    : m_factory{std::move(factory)},
      m_timerGroup{std::in_place, 1, 65535},
      m_destroyFaF{this, &SynchronizedTimerFactory::destroyFaFTimerFor, m_factory}
{}

SynchronizedTimerFactory::~SynchronizedTimerFactory()
{
    // The timer thread may be on its way to onTimerExpired: it must have ended before the members that it uses.
    m_fireAndForget.clear();
    m_timerGroup.reset();
}

SynchronizedTimerFactory::TimerHandlePtr
SynchronizedTimerFactory::createStartedTimer(std::chrono::milliseconds interval, TimerCallback&& callback)
{
    auto handle = createTimer(interval, std::move(callback));
    if (handle) {
        handle->start();
    }
    return handle;
}

SynchronizedTimerFactory::TimerHandlePtr
SynchronizedTimerFactory::createStartedTimer(std::chrono::milliseconds interval, const TimerCallback& callback)
{
    return createStartedTimer(interval, TimerCallback{callback});
}

SynchronizedTimerFactory::TimerHandlePtr SynchronizedTimerFactory::createTimer(std::chrono::milliseconds interval,
                                                                               TimerCallback&& callback)
{
    const ipl::GlobalErrorHandler::Place place{kSource, 236, "createTimer"};
    const auto id = ipl::insist(place, kNoMemory, [&] {
        reserveEntry(); // first, so that nothing lacks memory once the platform has a timer
        return m_timerGroup->addTimer(interval, false, *this, false);
    });
    if (id == util::TimerGroup::kNoTimer) {
        TRACE_AT(s_channel, warning, kClass, "createTimer", 240,
                 "IPL error at %s:%d! Could not create timer (interval=%lums)!,reason=%s", kSource, 240,
                 static_cast<unsigned long>(interval.count()), ipl::ErrorStorage::reason());
        ipl::ErrorStorage::ack();
        return nullptr;
    }
    return allocate<SynchronizedTimerHandle>(place, kNoMemory, *this, id, std::move(callback));
}

void SynchronizedTimerFactory::reserveEntry()
{
    const std::lock_guard lock{m_mutex};
    m_timers.reserve(m_timers.size() + 1);
}

SynchronizedTimerFactory::TimerHandlePtr SynchronizedTimerFactory::createTimer(std::chrono::milliseconds interval,
                                                                               const TimerCallback& callback)
{
    return createTimer(interval, TimerCallback{callback});
}

void SynchronizedTimerFactory::createFaFTimer(std::chrono::milliseconds interval, TimerCallback callback)
{
    m_fireAndForget.push_back(createStartedTimer(interval, [this, callback = std::move(callback)](void* handle) {
        callback(handle);
        m_destroyFaF.schedule(handle);
    }));
}

void SynchronizedTimerFactory::onTimerExpired(std::uint64_t id)
{
    const std::lock_guard lock{m_mutex};
    const auto entry =
        std::find_if(m_timers.begin(), m_timers.end(), [id](const auto& one) { return one.first == id; });
    if (entry != m_timers.end()) {
        entry->second->execute();
    }
}

void SynchronizedTimerFactory::destroyFaFTimerFor(void* handle)
{
    std::erase_if(m_fireAndForget, [handle](const auto& one) { return one.get() == handle; });
    TRACE(s_channel, milestone, kClass, "Timer vector size: %zu", m_fireAndForget.size());
}

} // namespace common_
