#pragma once

#include <vector>

#include "Scenario.h"

namespace unit_simulator {

/// All steps.
std::vector<StepKind> allSteps();

} // namespace unit_simulator
