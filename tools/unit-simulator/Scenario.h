#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "Fields.h"

namespace unit_simulator {

class Unit;

/// A kind of step: what can be done to the unit.
struct StepKind
{
    const char* name;
    const char* help;
    std::vector<Field> fields;
    std::function<void(Unit&, const Fields&)> run; ///< on the unit's active object
};

/// Something to be done at a time.
struct Step
{
    std::chrono::milliseconds at; ///< from the scenario's beginning
    const StepKind* kind;
    Fields fields;
};

/// Steps in the order of their times, and after what time they begin again; zero when they do not.
struct Scenario
{
    std::vector<Step> steps;
    std::chrono::milliseconds repeatAfter{0};
};

/// Reads a scenario: {"repeatAfter": SECONDS, "steps": [{"at": SECONDS, "do": NAME, FIELD: VALUE, ...}, ...]}. Throws
/// BadInput that names file and line and what would be allowed there.
Scenario readScenario(const std::string& text, const std::string& file, const std::vector<StepKind>& kinds);

/// Reads a command, "NAME FIELD=VALUE ...", where a VALUE is JSON or else a text. Throws BadInput.
Step readCommand(const std::string& text, const std::vector<StepKind>& kinds);

} // namespace unit_simulator
