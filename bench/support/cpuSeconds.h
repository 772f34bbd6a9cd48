#pragma once

#include "ChildProcess.h"

namespace bench_support {

/// The CPU time of all threads of the process. If the process has exited, ends the benchmark and prints the process'
/// output.
double cpuSeconds(const test_support::ChildProcess& process);

} // namespace bench_support
