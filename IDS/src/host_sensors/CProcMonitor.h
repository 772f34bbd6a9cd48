#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "CProcScanner.h"
#include "comm/ActiveObject.h"
#include "conn_common/DelayedCallback.h"
#include "conn_common/ISynchronizedTimerFactory.h"
#include "ids/IIdsm.h"
#include "ids/SProcess.h"
#include "target_common/FolderMonitor.h"

namespace ids {

/// Reports the busiest processes whenever all processes together use more than 30 percent of a CPU.
///
/// Everything runs on the owner's active object except the scanning thread, which posts to it. Shares are averages over
/// a process's whole life, so a short burst of an old process goes unseen, as does what does not live for a cycle.
/// Processes that are not known and core files can be told of as well, but both are switched off: nothing calls
/// onNewProcState, and the watch on the core files is not started.
class CProcMonitor
{
public:
    /// busiest: the most processes that are reported of one pass.
    CProcMonitor(const comm::FactoryPtr& factory, IIdsm& idsm, common_::ISynchronizedTimerFactory& timers,
                 const SProcSampling& sampling = {}, std::size_t busiest = 10);

    /// Returns at once, whatever the scanning thread is doing.
    ~CProcMonitor();
    CProcMonitor(const CProcMonitor&) = delete;
    CProcMonitor& operator=(const CProcMonitor&) = delete;

    /// Starts the scanning. Once started, further calls change nothing. Returns false when there is no thread to be
    /// had.
    bool start();

    /// Reports the busiest of the processes, 20 at once and 20 after each second. What is left of an earlier list is
    /// dropped. Entries may be null.
    void onCpuRamUsageCalculated(Processes processes);

    void onCpuRamReportingTimerExpired();

    /// Leaves a line when the process is none of those that belong on the unit.
    void onNewProcState(std::uint32_t pid, EProcState state);

    /// Leaves a line about a core file and deletes it. A file with another name stays.
    void onProcCrashed(const std::string& path);

private:
    void reportProcesses(std::size_t count);

    Processes m_pendingReports;
    common_::DelayedCallbackBase<SProcess> m_procStates; ///< switched off: nothing schedules it
    common_::FolderMonitor m_crashMonitor;               ///< switched off: not started
    IIdsm& m_idsm;
    const std::size_t m_busiest;
    bool m_started = false;
    CProcScanner m_scanner;
    std::unique_ptr<common_::ISynchronizedTimerFactory::TimerHandle> m_cpuRamReportingTimer;
};

} // namespace ids
