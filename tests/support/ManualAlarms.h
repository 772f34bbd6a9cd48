#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

#include "iplbase/NonCopyable.h"
#include "osal/Alarm.h"

namespace test_support {

/// The process' alarms with a time that the test controls. One at a time; it must outlive the alarms.
class ManualAlarms final : public osal::AlarmTimer, iplbase::NonCopyable
{
public:
    ManualAlarms() { osal::Alarm::setDefaultTimer(this); }
    ~ManualAlarms() override { osal::Alarm::setDefaultTimer(nullptr); }

    std::uint64_t add(util::TimerCallbackBase& callback) override
    {
        const std::lock_guard lock{m_mutex};
        m_alarms[++m_last] = {&callback, std::nullopt};
        return m_last;
    }

    void set(std::uint64_t number, std::chrono::milliseconds time) override
    {
        const std::lock_guard lock{m_mutex};
        m_alarms.at(number).second = time;
    }

    void stop(std::uint64_t number) override
    {
        const std::lock_guard lock{m_mutex};
        m_alarms.at(number).second = std::nullopt;
    }

    void remove(std::uint64_t number) override
    {
        const std::lock_guard lock{m_mutex};
        m_alarms.erase(number);
    }

    /// The time of the only alarm that is set; nothing when none is, or several are.
    std::optional<std::chrono::milliseconds> left() const
    {
        const std::lock_guard lock{m_mutex};
        std::optional<std::chrono::milliseconds> only;
        for (const auto& [number, alarm] : m_alarms) {
            if (only && alarm.second) {
                return std::nullopt;
            }
            only = alarm.second ? alarm.second : only;
        }
        return only;
    }

    std::size_t count() const
    {
        const std::lock_guard lock{m_mutex};
        return static_cast<std::size_t>(
            std::count_if(m_alarms.begin(), m_alarms.end(), [](const auto& alarm) { return alarm.second.second; }));
    }

    /// Lets all alarms that are set expire, on the calling thread. Their callbacks run with the lock held, so that stop
    /// and remove wait for them.
    void expire()
    {
        const std::lock_guard lock{m_mutex};
        for (auto& [number, alarm] : m_alarms) {
            if (std::exchange(alarm.second, std::nullopt)) {
                alarm.first->onTimerExpired(number);
            }
        }
    }

private:
    using Entry = std::pair<util::TimerCallbackBase*, std::optional<std::chrono::milliseconds>>; // the time: it is set

    mutable std::mutex m_mutex;
    std::uint64_t m_last = 0;
    std::map<std::uint64_t, Entry> m_alarms;
};

} // namespace test_support
