#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>

#include "Frames.h"

namespace rstp_peer {

using Clock = std::chrono::steady_clock;

/// A row of frames, each of them made when it is asked for and due at a time of its own: whoever does not take it then
/// may take it late, or skip it.
class FrameSource
{
public:
    /// Makes a frame from its number, 0 the first.
    using Maker = std::function<Bytes(std::uint64_t)>;

    static constexpr auto kEndless = std::numeric_limits<std::uint64_t>::max();

    /// count: frames in all. perSecond: 0 when each is due at once.
    FrameSource(Maker make, std::uint64_t count, double perSecond);

    /// The first frame is due now. Before that none is.
    void begin(Clock::time_point now);
    bool hasBegun() const { return m_start.has_value(); }

    bool isExhausted() const { return m_next == m_count; }
    bool isDue(Clock::time_point now) const { return m_next < due(now); }

    Bytes front() const { return m_make(m_next); }
    void pop() { ++m_next; }

    /// Leaves out what is due, unless all is due at once. Returns how many frames that were.
    std::uint64_t skipDue(Clock::time_point now);

    /// When the next frame is due. Nothing before the beginning, or when it is never.
    std::optional<Clock::time_point> nextTime() const { return timeOf(m_next); }

    /// When all frames that nobody takes could be skipped. Nothing before the beginning, or when that is never.
    std::optional<Clock::time_point> lastTime() const;

private:
    std::uint64_t due(Clock::time_point now) const;
    std::optional<Clock::time_point> timeOf(std::uint64_t number) const;

    const Maker m_make;
    const std::uint64_t m_count;
    const double m_perSecond;
    std::optional<Clock::time_point> m_start;
    std::uint64_t m_next = 0;
};

} // namespace rstp_peer
