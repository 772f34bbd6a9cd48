#include "Player.h"

namespace unit_simulator {

std::optional<Player::Clock::time_point> Player::nextDue() const
{
    if (m_next < m_scenario.steps.size()) {
        return m_begin + m_scenario.steps[m_next].at;
    }
    return std::nullopt;
}

const Step* Player::takeDue(Clock::time_point now)
{
    const auto due = nextDue();
    if (!due || *due > now) {
        return nullptr;
    }
    const auto& step = m_scenario.steps[m_next++];
    if (m_next == m_scenario.steps.size() && m_scenario.repeatAfter.count() > 0) {
        m_begin += m_scenario.repeatAfter;
        m_next = 0;
    }
    return &step;
}

} // namespace unit_simulator
