#pragma once

#include <vector>

#include "Scenario.h"

namespace unit_simulator {

/// What can be done to the persistence service.
std::vector<StepKind> persistenceSteps();

} // namespace unit_simulator
