#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>

#include "Frames.h"

namespace rstp_peer {

using Clock = std::chrono::steady_clock;

/// A sequence of frames, each generated on request and due at its own time. A due frame can be taken late or skipped.
class FrameSource
{
public:
    /// Makes a frame from its number, counted from 0.
    using Maker = std::function<Bytes(std::uint64_t)>;

    static constexpr auto kEndless = std::numeric_limits<std::uint64_t>::max();

    /// count: frames in all. perSecond: 0 makes each frame due at once.
    FrameSource(Maker make, std::uint64_t count, double perSecond);

    /// Makes the first frame due now; none is due before the call.
    void begin(Clock::time_point now);
    bool hasBegun() const { return m_start.has_value(); }

    bool isExhausted() const { return m_next == m_count; }
    bool isDue(Clock::time_point now) const { return m_next < due(now); }

    Bytes front() const { return m_make(m_next); }
    void pop() { ++m_next; }

    /// Skips the due frames, unless each frame is due at once. Returns their number.
    std::uint64_t skipDue(Clock::time_point now);

    /// When the next frame is due; nullopt before begin, after the last frame, and for a time too far ahead.
    std::optional<Clock::time_point> nextTime() const { return timeOf(m_next); }

    /// When the last frame is due, so that all frames can be skipped; nullopt without such a time.
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
