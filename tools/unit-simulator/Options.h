#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Scenario.h"

namespace unit_simulator {

inline constexpr int kUsageError = 2;

/// What the command line asks for.
struct Options
{
    std::string scenarioFile;                 ///< empty: none
    std::vector<std::string> commands;        ///< steps to do at once, one after the other
    std::string persistenceFile = ":memory:"; ///< what SQLite keeps the settings in
    bool verbose = false;
};

/// Returns an exit status when that is all there was to do.
std::optional<int> parseOptions(int argc, char** argv, Options& options, const std::vector<StepKind>& kinds);

} // namespace unit_simulator
