#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Scenario.h"

namespace unit_simulator {

inline constexpr int kUsageError = 2;

/// The options of the command line.
struct Options
{
    std::string scenarioFile;                 ///< empty: none
    std::vector<std::string> commands;        ///< steps to run first, in order
    std::string persistenceFile = ":memory:"; ///< SQLite file of the settings
    bool verbose = false;
};

/// Returns the exit status when the program must exit at once.
std::optional<int> parseOptions(int argc, char** argv, Options& options, const std::vector<StepKind>& kinds);

} // namespace unit_simulator
