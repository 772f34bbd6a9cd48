#pragma once

#include <chrono>
#include <functional>
#include <optional>

#include "Scenario.h"

namespace unit_simulator {

/// Plays a scenario in real time: returns the time of the next step and the steps that are due. On one thread.
class Player
{
public:
    using Clock = std::chrono::steady_clock;

    Player(const Scenario& scenario, Clock::time_point begin) : m_scenario{scenario}, m_begin{begin} {}

    /// Nullopt without further steps.
    std::optional<Clock::time_point> nextDue() const;

    /// The next step if it is due, otherwise null.
    const Step* takeDue(Clock::time_point now);

private:
    const Scenario& m_scenario;
    Clock::time_point m_begin;
    std::size_t m_next = 0;
};

} // namespace unit_simulator
