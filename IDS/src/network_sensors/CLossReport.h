#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace ids {

/// Makes the loss of logged packets visible without flooding the log: the first loss at once, then at most one line in
/// ten seconds with the number of losses since the line before. One thread.
class CLossReport
{
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::seconds kInterval{10};

    /// The reason is a text of static lifetime that completes "Dropped packets went unseen: ".
    explicit CLossReport(const char* reason) : m_reason{reason} {}

    void count(Clock::time_point now);

    /// Writes the line that is waiting once its time has come.
    void report(Clock::time_point now);

    /// Whether there are losses that the log does not show yet.
    bool waiting() const { return m_count > 0; }

private:
    const char* const m_reason;
    std::uint32_t m_count = 0;
    std::optional<Clock::time_point> m_lastReport;
};

} // namespace ids
