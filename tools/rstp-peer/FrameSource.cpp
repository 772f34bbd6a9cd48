#include "FrameSource.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace rstp_peer {
namespace {

using Seconds = std::chrono::duration<double>;

constexpr Seconds kLongest{1e9};

} // namespace

FrameSource::FrameSource(Maker make, std::uint64_t count, double perSecond)
    : m_make{std::move(make)}, m_count{count}, m_perSecond{perSecond}
{}

void FrameSource::begin(Clock::time_point now)
{
    m_start = now;
}

std::uint64_t FrameSource::due(Clock::time_point now) const
{
    if (!m_start) {
        return 0;
    }
    if (m_perSecond == 0) {
        return m_count;
    }
    return std::min(m_count, static_cast<std::uint64_t>(Seconds{now - *m_start}.count() * m_perSecond) + 1);
}

std::uint64_t FrameSource::skipDue(Clock::time_point now)
{
    const auto end = m_perSecond == 0 ? m_next : std::max(m_next, due(now));
    return end - std::exchange(m_next, end);
}

std::optional<Clock::time_point> FrameSource::lastTime() const
{
    return m_perSecond == 0 || isExhausted() ? std::nullopt : timeOf(m_count - 1);
}

std::optional<Clock::time_point> FrameSource::timeOf(std::uint64_t number) const
{
    if (!m_start || number == m_count) {
        return std::nullopt;
    }
    const Seconds after{m_perSecond == 0 ? 0 : static_cast<double>(number) / m_perSecond};
    if (after > kLongest) {
        return std::nullopt;
    }
    return *m_start + std::chrono::ceil<Clock::duration>(after);
}

} // namespace rstp_peer
