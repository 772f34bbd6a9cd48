#pragma once

#include <vector>

#include "Scenario.h"

namespace unit_simulator {

/// Everything that can be done to the unit.
std::vector<StepKind> allSteps();

} // namespace unit_simulator
