#pragma once

#include <initializer_list>

namespace tool_support {

/// Blocks the signals in this thread and the threads that it starts, and returns a descriptor to read them from.
/// Ignores SIGPIPE. Must be called before the first thread is started. Throws std::system_error when no descriptor is
/// available.
int openSignals(std::initializer_list<int> signals);

} // namespace tool_support
