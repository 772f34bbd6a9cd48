#include "CProcScanner.h"

#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>
#include <utility>

#include "ProcFs.h"
#include "ProcessEntries.h"
#include "SProcStat.h"
#include "SensorChannels.h"
#include "ipl/ErrorStorage.h"
#include "processValidity.h"

namespace ids {
namespace {

constexpr auto kClass = "ids::CProcMonitor";
constexpr auto kLoop = "operator()";

constexpr unsigned kMostInFlight = 1;
constexpr double kBusyPercent = 30.0;
constexpr std::size_t kScanNameSize = 32;
constexpr std::int32_t kRamMask = 0xFFFF;

std::vector<std::string> scanProcesses(const util::Thread& thread)
{
    std::vector<std::string> pids;
    proc_fs::ProcessEntries entries;
    while (const auto* const entry = thread.stopRequested() ? nullptr : entries.next()) {
        std::string pid{entry};
        if (areValid(pid, proc_fs::readProcessComm(pid, kScanNameSize))) {
            pids.push_back(std::move(pid));
        }
    }
    return pids;
}

/// Adds the process, when it can be read. Returns what it adds to the total.
double setProcStat(const std::string& pid, Processes& processes)
{
    SProcStat stat;
    if (!isProcIdValid(pid)) {
        return 0;
    }
    if (!proc_fs::readProcStat(pid, stat)) {
        TRACE(s_hostSensorChannel, error, kClass, "Can't read CPU usage!");
        return 0;
    }
    if (!proc_fs::readProcStatus(pid, stat)) {
        TRACE(s_hostSensorChannel, error, kClass, "Can't read RAM usage!");
        return 0;
    }
    const auto id = static_cast<std::uint32_t>(std::strtoul(pid.c_str(), nullptr, 10));
    processes.push_back(
        std::make_shared<SProcess>(SProcess{stat.userCpuUsage, stat.systemCpuUsage, id, proc_fs::getProcessName(id),
                                            static_cast<std::uint32_t>(stat.vmRss & kRamMask), EProcState::START}));
    return stat.userCpuUsage;
}

} // namespace

bool isBusy(double totalCpuUsage)
{
    return totalCpuUsage > kBusyPercent;
}

CProcScanner::CProcScanner(const comm::FactoryPtr& factory, Take take, const SProcSampling& sampling)
    : m_sampling{sampling},
      m_busy{factory, kMostInFlight, std::move(take)},
      m_thread{"IdsProcScan", [this] { run(); }, [this] { m_busy.close(); }}
{}

bool CProcScanner::start()
{
    if (m_thread.start()) {
        TRACE(s_hostSensorChannel, resource, kClass, "Can't start scanning thread! (%s)", ipl::ErrorStorage::reason());
        ipl::ErrorStorage::ack();
        return false;
    }
    return true;
}

void CProcScanner::run()
{
    while (!m_thread.stopRequested()) {
        try {
            cycle();
        } catch (const std::bad_alloc&) {
            TRACE_AT(s_hostSensorChannel, error, kClass, kLoop, __LINE__, "Not enough memory!");
            m_thread.sleep(m_sampling.cycle);
        }
    }
}

void CProcScanner::cycle()
{
    const auto start = proc_fs::readUptimeSeconds();
    auto [processes, total] = sample();
    if (m_thread.stopRequested()) {
        return;
    }
    TRACE_AT(s_hostSensorChannel, progress, kClass, kLoop, __LINE__, "Total CPU consumption: %f", total);
    const auto elapsed = proc_fs::readUptimeSeconds() - start;
    const auto least = static_cast<std::uint64_t>(m_sampling.cycle.count());
    if (elapsed < least) {
        m_thread.sleep(std::chrono::seconds{least - elapsed});
    }
    if (isBusy(total)) {
        m_busy.post(std::move(processes));
    }
}

SProcSample CProcScanner::sample() const
{
    SProcSample sample;
    for (const auto& pid : scanProcesses(m_thread)) {
        if (m_thread.stopRequested()) {
            break;
        }
        sample.totalCpuUsage += setProcStat(pid, sample.processes);
        pause();
    }
    return sample;
}

void CProcScanner::pause() const
{
    if (m_sampling.pause.count() > 0) { // even the shortest sleep gives the CPU away
        m_thread.sleep(m_sampling.pause);
    }
}

} // namespace ids
