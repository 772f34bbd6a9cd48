#pragma once

#include <string_view>

#include "Ending.h"

namespace core_monitor {

/// Writes lines to a descriptor immediately, with one write for up to 4096 bytes. Waits for a slow reader, but no
/// longer than until the program is to end.
class LineOutput
{
public:
    LineOutput(int descriptor, const Ending& ending) : m_descriptor{descriptor}, m_ending{ending} {}

    /// Returns 0, or the errno when the line was not written completely; ECANCELED when the program is to end.
    int write(std::string_view lines) const;

private:
    const int m_descriptor;
    const Ending& m_ending;
};

} // namespace core_monitor
