#pragma once

#include "ChildProcess.h"

namespace bench_support {

/// The CPU time that all threads of the process have used. Ends the benchmark, with what the process wrote, when it is
/// gone.
double cpuSeconds(const test_support::ChildProcess& process);

} // namespace bench_support
