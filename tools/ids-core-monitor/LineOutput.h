#pragma once

#include <string_view>

#include "Ending.h"

namespace core_monitor {

/// Writes lines to a descriptor at once, each with one write as long as it has at most 4096 bytes. A reader that is
/// slow is waited for, but not beyond the program's ending.
class LineOutput
{
public:
    LineOutput(int descriptor, const Ending& ending) : m_descriptor{descriptor}, m_ending{ending} {}

    /// Returns 0, or the errno that says why the line is not (wholly) written; ECANCELED when the ending came first.
    int write(std::string_view lines) const;

private:
    const int m_descriptor;
    const Ending& m_ending;
};

} // namespace core_monitor
