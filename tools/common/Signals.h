#pragma once

#include <initializer_list>

namespace tool_support {

/// Blocks the signals in this thread and those that it starts, and returns a descriptor that they are read from. A pipe
/// whose reader has gone is an error of the write only. Call it before there are threads. Throws std::system_error when
/// the system has no descriptor left.
int openSignals(std::initializer_list<int> signals);

} // namespace tool_support
