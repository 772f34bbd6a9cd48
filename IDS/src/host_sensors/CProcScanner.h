#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

#include "comm/ActiveObject.h"
#include "conn_common/HandOver.h"
#include "ids/SProcess.h"
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

/// Samples all processes of the unit again and again and hands them to the active object when they use much of the CPU.
///
/// start and the destructor are called by the owner, take runs on the active object. A process that ends before its
/// turn is missed, and many processes make a long pass, since each takes its pause. The next processes are handed over
/// after the last ones were taken; until then the thread waits. Destruction ends it at once wherever it waits.
class CProcScanner
{
public:
    using Take = std::function<void(Processes)>;

    CProcScanner(const comm::FactoryPtr& factory, Take take, const SProcSampling& sampling);
    CProcScanner(const CProcScanner&) = delete;
    CProcScanner& operator=(const CProcScanner&) = delete;

    /// Returns false when there is no thread to be had.
    bool start();

    /// One pass over all processes with its pauses. On the scanning thread; on any other while that is not started.
    SProcSample sample() const;

private:
    void run();
    void cycle();
    void pause() const;

    const SProcSampling m_sampling;
    common_::HandOver<Processes> m_busy;
    util::Thread m_thread; ///< last, so that the thread ends before what it uses
};

} // namespace ids
