#pragma once

#include <chrono>
#include <functional>
#include <optional>

#include "Scenario.h"

namespace unit_simulator {

/// Plays a scenario by the clock: tells when the next step is due and hands out those that are. On one thread.
class Player
{
public:
    using Clock = std::chrono::steady_clock;

    Player(const Scenario& scenario, Clock::time_point begin) : m_scenario{scenario}, m_begin{begin} {}

    /// Nothing when there are no more steps.
    std::optional<Clock::time_point> nextDue() const;

    /// The next step when it is due by now, null otherwise.
    const Step* takeDue(Clock::time_point now);

private:
    const Scenario& m_scenario;
    Clock::time_point m_begin;
    std::size_t m_next = 0;
};

} // namespace unit_simulator
