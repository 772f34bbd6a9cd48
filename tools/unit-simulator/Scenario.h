#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "Fields.h"

namespace unit_simulator {

class Unit;

/// A kind of step: an action on the unit.
struct StepKind
{
    const char* name;
    const char* help;
    std::vector<Field> fields;
    std::function<void(Unit&, const Fields&)> run; ///< on the unit's active object
};

/// An action at a time.
struct Step
{
    std::chrono::milliseconds at; ///< from the scenario's beginning
    const StepKind* kind;
    Fields fields;
};

/// Steps in the order of their times, and the period of the repetition; zero for no repetition.
struct Scenario
{
    std::vector<Step> steps;
    std::chrono::milliseconds repeatAfter{0};
};

/// Reads a scenario: {"repeatAfter": SECONDS, "steps": [{"at": SECONDS, "do": NAME, FIELD: VALUE, ...}, ...]}. Throws
/// BadInput with file, line and the allowed input.
Scenario readScenario(const std::string& text, const std::string& file, const std::vector<StepKind>& kinds);

/// Reads a command, "NAME FIELD=VALUE ..."; a VALUE that is not JSON is a text. Throws BadInput.
Step readCommand(const std::string& text, const std::vector<StepKind>& kinds);

} // namespace unit_simulator
