#include <atomic>
#include <cstdint>
#include <utility>

#include "conn_common/SynchronizedTimerFactory.h"
#include "ipl/ErrorStorage.h"
#include "tracing/Channel.h"

namespace common_ {
namespace {

tracing::Channel s_channel{"CON_COMMON_TIMER", 7, 2};

constexpr const char* kLabel = "TIMERS";
constexpr const char* kSource = "conn_common/src/SynchronizedTimer";

} // namespace

/// One platform timer, which may have been refused. Lives on the active object. Only onTimerExpired runs on the timer
/// thread; it has returned when the group has stopped or removed the timer. Therefore the generation needs no lock. It
/// separates an expiry that was posted before a stop from later ones.
class SynchronizedTimerFactory::SynchronizedTimerHandle final : public TimerHandle, private util::TimerCallbackBase
{
public:
    SynchronizedTimerHandle(SynchronizedTimerFactory& factory, std::chrono::milliseconds interval,
                            TimerCallback&& callback)
        : m_group{factory.m_timerGroup},
          m_expired{this, &SynchronizedTimerHandle::deliver, factory.m_factory},
          m_id{m_group.addTimer(interval, false, *this, false)},
          m_callback{std::move(callback)}
    {
        if (valid()) {
            TRACE(s_channel, detail, kLabel, "TimerId: %d", static_cast<int>(m_id));
        }
    }

    ~SynchronizedTimerHandle() override
    {
        if (valid()) {
            TRACE(s_channel, detail, kLabel, "TimerId: %d", static_cast<int>(m_id));
        }
        m_group.removeTimer(m_id);
    }

    SynchronizedTimerHandle(const SynchronizedTimerHandle&) = delete;
    SynchronizedTimerHandle& operator=(const SynchronizedTimerHandle&) = delete;

    bool valid() const { return m_id != util::TimerGroup::kNoTimer; }

    bool start() override
    {
        m_group.stopTimer(m_id);
        m_running = true;
        m_group.startTimer(m_id);
        return true;
    }

    void stop() override
    {
        m_group.stopTimer(m_id);
        m_running = false;
        ++m_generation;
    }

    void restart() override
    {
        m_group.stopTimer(m_id);
        ++m_generation;
        m_group.startTimer(m_id);
    }

    void modify(std::chrono::milliseconds interval) override
    {
        stop();
        if (m_group.modifyTimer(m_id, interval, false)) {
            ipl::ErrorStorage::ack();
            return;
        }
        start();
    }

    bool isRunning() override { return m_running; }

private:
    void onTimerExpired(std::uint64_t id) override
    {
        TRACE_AT(s_channel, detail, kLabel, "execute", __LINE__, "TimerId: %d", static_cast<int>(id));
        // Before the callback is on its way: it may start the timer again at once.
        m_running = false;
        m_expired.schedule(m_generation);
    }

    void deliver(std::uint64_t generation)
    {
        if (generation == m_generation) {
            m_callback(static_cast<TimerHandle*>(this));
        }
    }

    util::TimerGroup& m_group;
    DelayedCallback<SynchronizedTimerHandle, std::uint64_t> m_expired;
    std::atomic<bool> m_running{false};
    std::uint64_t m_generation = 0;
    const std::uint64_t m_id;
    const TimerCallback m_callback; // taken last: without memory for the others it is still the caller's
};

SynchronizedTimerFactory::SynchronizedTimerFactory(comm::FactoryPtr factory)
    : m_factory{std::move(factory)},
      m_timerGroup{1, 65535},
      m_destroyFaF{this, &SynchronizedTimerFactory::destroyFaFTimerFor, m_factory}
{}

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
    auto handle = allocate<SynchronizedTimerHandle>({kSource, 236, "createTimer"}, "Could not allocate memory", *this,
                                                    interval, std::move(callback));
    if (!handle->valid()) {
        TRACE_AT(s_channel, warning, kLabel, "createTimer", 240,
                 "IPL error at %s:%d! Could not create timer (interval=%lums)!,reason=%s", kSource, 240,
                 static_cast<unsigned long>(interval.count()), ipl::ErrorStorage::reason());
        ipl::ErrorStorage::ack();
        return nullptr;
    }
    return handle;
}

SynchronizedTimerFactory::TimerHandlePtr SynchronizedTimerFactory::createTimer(std::chrono::milliseconds interval,
                                                                               const TimerCallback& callback)
{
    return createTimer(interval, TimerCallback{callback});
}

void SynchronizedTimerFactory::createFaFTimer(std::chrono::milliseconds interval, TimerCallback callback)
{
    m_fireAndForget.push_back(createStartedTimer(interval, [this, callback = std::move(callback)](void* handle) {
        try {
            callback(handle);
        } catch (...) {
            m_destroyFaF.schedule(handle);
            throw;
        }
        m_destroyFaF.schedule(handle);
    }));
}

void SynchronizedTimerFactory::destroyFaFTimerFor(void* handle)
{
    std::erase_if(m_fireAndForget, [handle](const auto& one) { return one.get() == handle; });
    TRACE(s_channel, milestone, kLabel, "Timer vector size: %zu", m_fireAndForget.size());
}

} // namespace common_
