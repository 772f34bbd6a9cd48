#pragma once

#include <vector>

#include "Scenario.h"

namespace unit_simulator {

/// The steps for the persistence service.
std::vector<StepKind> persistenceSteps();

} // namespace unit_simulator
