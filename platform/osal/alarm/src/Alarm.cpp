#include "osal/Alarm.h"

#include <atomic>
#include <utility>

namespace osal {
namespace {

class GroupTimer final : public AlarmTimer
{
public:
    std::uint64_t add(util::TimerCallbackBase& callback) override
    {
        return m_group.addTimer({}, false, callback, false);
    }

    void set(std::uint64_t number, std::chrono::milliseconds time) override
    {
        m_group.stopTimer(number);
        m_group.modifyTimer(number, time, false);
        m_group.startTimer(number);
    }

    void stop(std::uint64_t number) override { m_group.stopTimer(number); }
    void remove(std::uint64_t number) override { m_group.removeTimer(number); }

private:
    util::TimerGroup m_group{1, 0xFFFF};
};

std::atomic<AlarmTimer*> g_replaced{nullptr};

// Never destroyed: its alarms may be set until the process has ended.
AlarmTimer& defaultTimer()
{
    if (auto* const replaced = g_replaced.load()) {
        return *replaced;
    }
    static AlarmTimer& timer = *new GroupTimer;
    return timer;
}

} // namespace

Alarm::Alarm(int, std::function<void()> callback)
    : m_timer{defaultTimer()}, m_callback{std::move(callback)}, m_number{m_timer.add(*this)}
{}

AlarmTimer* Alarm::setDefaultTimer(AlarmTimer* timer)
{
    return g_replaced.exchange(timer);
}

} // namespace osal
