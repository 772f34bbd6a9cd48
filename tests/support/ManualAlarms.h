#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

#include "iplbase/NonCopyable.h"
#include "osal/Alarm.h"

namespace test_support {

/// The process' alarms in a time that passes only when the test says so. One at a time; it must outlive the alarms.
class ManualAlarms final : public osal::AlarmTimer, iplbase::NonCopyable
{
public:
    ManualAlarms() { osal::Alarm::setDefaultTimer(this); }
    ~ManualAlarms() override { osal::Alarm::setDefaultTimer(nullptr); }

    std::uint64_t callAfter(std::chrono::milliseconds time, std::function<void()> function) override
    {
        const std::lock_guard lock{m_mutex};
        m_alarms[++m_last] = {time, std::move(function)};
        return m_last;
    }

    void cancel(std::uint64_t number) override
    {
        const std::lock_guard lock{m_mutex};
        m_alarms.erase(number);
    }

    /// The time left of the only alarm that is set; nothing when none is, or several are.
    std::optional<std::chrono::milliseconds> left() const
    {
        const std::lock_guard lock{m_mutex};
        return m_alarms.size() == 1 ? std::optional{m_alarms.begin()->second.first} : std::nullopt;
    }

    std::size_t count() const
    {
        const std::lock_guard lock{m_mutex};
        return m_alarms.size();
    }

    /// Lets all alarms that are set expire, on the calling thread.
    void expire()
    {
        std::map<std::uint64_t, Entry> due;
        {
            const std::lock_guard lock{m_mutex};
            due.swap(m_alarms);
        }
        for (const auto& [number, entry] : due) {
            entry.second();
        }
    }

private:
    using Entry = std::pair<std::chrono::milliseconds, std::function<void()>>;

    mutable std::mutex m_mutex;
    std::uint64_t m_last = 0;
    std::map<std::uint64_t, Entry> m_alarms;
};

} // namespace test_support
