#include "osal/Alarm.h"

#include <atomic>
#include <map>
#include <mutex>
#include <utility>

#include "ipl/insist.h"
#include "osal/Mutex.h"
#include "util/TimerGroup.h"

namespace osal {
namespace {

/// Alarms as one-shot timers of a timer group.
class GroupTimer final : public AlarmTimer, private util::TimerCallbackBase
{
public:
    std::uint64_t callAfter(std::chrono::milliseconds time, std::function<void()> function) override
    {
        // Whatever needs memory comes before anything is changed.
        std::map<std::uint64_t, std::function<void()>> made;
        made.emplace(0, std::move(function));
        auto entry = made.extract(made.begin());
        const std::lock_guard lock{m_mutex};
        const auto number = m_group.addTimer(time, false, *this, false);
        if (number != util::TimerGroup::kNoTimer) {
            entry.key() = number;
            m_functions.insert(std::move(entry));
            m_group.startTimer(number);
        }
        return number;
    }

    void cancel(std::uint64_t number) override { take(number); }

private:
    void onTimerExpired(std::uint64_t number) override
    {
        if (const auto function = take(number)) {
            function();
        }
    }

    std::function<void()> take(std::uint64_t number)
    {
        const std::lock_guard lock{m_mutex};
        const auto found = m_functions.find(number);
        if (found == m_functions.end()) {
            return nullptr;
        }
        auto function = std::move(found->second);
        m_functions.erase(found);
        m_group.removeTimer(number);
        return function;
    }

    Mutex m_mutex;
    std::map<std::uint64_t, std::function<void()>> m_functions;
    util::TimerGroup m_group{1, 0xFFFF};
};

std::atomic<AlarmTimer*> g_replaced{nullptr};

// Never destroyed: its thread may run until the process has ended.
AlarmTimer& defaultTimer()
{
    if (auto* const replaced = g_replaced.load()) {
        return *replaced;
    }
    static AlarmTimer& timer = *new GroupTimer;
    return timer;
}

} // namespace

/// What an expiry that is on its way meets.
struct Alarm::Target
{
    Mutex mutex;
    const std::function<void()>* callback; ///< null once it has rung or was removed
};

Alarm::Alarm(int, std::function<void()> callback) : m_timer{defaultTimer()}, m_callback{std::move(callback)} {}

void Alarm::set(std::chrono::milliseconds time)
{
    remove();
    ipl::insist({__FILE__, __LINE__, __func__}, "an alarm waits for memory", [&] {
        m_target = std::make_shared<Target>();
        m_target->callback = &m_callback;
        m_number = m_timer.callAfter(time, [target = m_target] {
            const std::lock_guard lock{target->mutex};
            if (const auto* const callback = std::exchange(target->callback, nullptr)) {
                (*callback)();
            }
        });
    });
}

void Alarm::remove()
{
    if (const auto target = std::exchange(m_target, nullptr)) {
        const std::lock_guard lock{target->mutex};
        // Of an alarm that has rung the number may be another's by now.
        if (std::exchange(target->callback, nullptr) != nullptr) {
            m_timer.cancel(m_number);
        }
    }
}

AlarmTimer* Alarm::setDefaultTimer(AlarmTimer* timer)
{
    return g_replaced.exchange(timer);
}

} // namespace osal
