#include "cpuSeconds.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace bench_support {

double cpuSeconds(const test_support::ChildProcess& process)
{
    clockid_t clock;
    timespec time{};
    if (::clock_getcpuclockid(process.pid(), &clock) != 0 || ::clock_gettime(clock, &time) != 0) {
        std::fprintf(stderr, "%s\na process that is measured has ended early\n", process.output().c_str());
        std::exit(1);
    }
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

} // namespace bench_support
