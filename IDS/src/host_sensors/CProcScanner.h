#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

#include "ids/SProcess.h"
#include "io_manager/InFlightLimit.h"
#include "util/Thread.h"

namespace ids {

using Processes = std::vector<std::shared_ptr<SProcess>>;

/// How the processes are sampled.
struct SProcSampling
{
    std::chrono::microseconds pause = std::chrono::milliseconds{150}; ///< after each process
    std::chrono::seconds cycle{60};                                   ///< the least time from one pass to the next
};

/// The processes of one pass.
struct SProcSample
{
    Processes processes;
    double totalCpuUsage = 0; ///< sum of their user-mode shares, percent
};

/// Whether so much of the CPU is used that the processes are worth reporting.
bool isBusy(double totalCpuUsage);

/// Samples all processes of the unit again and again and delivers them when they use much of the CPU.
///
/// start and the destructor are called by the owner, taken by the active object that the processes go to; deliver runs
/// on the scanning thread. A process that ends before its turn is missed, and many processes make a long pass, since
/// each takes its pause. The next processes are delivered after the last ones were taken; until then the thread waits.
class CProcScanner
{
public:
    using Deliver = std::function<void(Processes)>;

    CProcScanner(Deliver deliver, const SProcSampling& sampling);

    /// Ends the thread at once, also in a pause, and also when the active object is not taking processes.
    ~CProcScanner();
    CProcScanner(const CProcScanner&) = delete;
    CProcScanner& operator=(const CProcScanner&) = delete;

    /// Returns false when there is no thread to be had.
    bool start();

    /// What was delivered has reached the active object.
    void taken() { m_inFlight.leave(); }

    /// One pass over all processes with its pauses. On the scanning thread; on any other while that is not started.
    SProcSample sample() const;

private:
    void run();
    void cycle();
    void deliver(Processes processes);
    void pause() const;

    const Deliver m_deliver;
    const SProcSampling m_sampling;
    io_manager::InFlightLimit m_inFlight{1};
    util::Thread m_thread;
};

} // namespace ids
