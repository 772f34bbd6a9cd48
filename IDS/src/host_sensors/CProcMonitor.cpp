#include "CProcMonitor.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <iterator>
#include <string_view>
#include <unistd.h>
#include <utility>

#include "CommonHelpers.h"
#include "ProcFs.h"
#include "SCoreDump.h"
#include "SensorChannels.h"
#include "event_factory.h"
#include "ids/constants.h"

namespace ids {
namespace {

constexpr auto kLabel = "ids::CProcMonitor";

constexpr std::chrono::milliseconds kReportingPeriod{1000};
constexpr std::size_t kMostAtOnce = 20;

/// The order of the reports: the busiest first, what is null last.
bool isBusier(const std::shared_ptr<SProcess>& one, const std::shared_ptr<SProcess>& other)
{
    if (one == nullptr || other == nullptr) {
        return one != nullptr && other == nullptr;
    }
    return one->cpuUsage > other->cpuUsage;
}

bool isKnown(std::string_view name)
{
    const auto isIn = [name](const auto& names) {
        return std::binary_search(std::begin(names), std::end(names), name);
    };
    return isIn(knownSystemDaemons) || isIn(knownPlatformProcesses) || isIn(knownTools);
}

const char* textOf(EProcState state)
{
    switch (state) {
    case EProcState::START:
        return "START";
    case EProcState::STOP:
        return "STOP";
    }
    return "UNKNOWN";
}

} // namespace

CProcMonitor::CProcMonitor(const comm::FactoryPtr& factory, IIdsm& idsm, common_::ISynchronizedTimerFactory& timers,
                           const SProcSampling& sampling, std::size_t busiest)
    : m_procStates{factory, [this](const SProcess& process) { onNewProcState(process.id, process.state); }},
      m_crashMonitor{factory, [this](const std::string& path) { onProcCrashed(path); },
                     std::make_shared<common_::SNotifyEvents>(common_::SNotifyEvents{.create = true})},
      m_idsm{idsm},
      m_busiest{busiest},
      m_scanner{factory, [this](Processes processes) { onCpuRamUsageCalculated(std::move(processes)); }, sampling},
      m_cpuRamReportingTimer{timers.createTimer(kReportingPeriod, [this](void*) { onCpuRamReportingTimerExpired(); })}
{}

CProcMonitor::~CProcMonitor()
{
    TRACE(s_hostSensorChannel, progress, kLabel, "called");
}

bool CProcMonitor::start()
{
    if (m_started) {
        return true;
    }
    m_started = m_scanner.start();
    TRACE(s_hostSensorChannel, warning, kLabel, "Process start/stop event is deactivated.");
    TRACE(s_hostSensorChannel, warning, kLabel, "Process crash event is deactivated.");
    return m_started;
}

void CProcMonitor::onCpuRamUsageCalculated(Processes processes)
{
    m_pendingReports.clear();
    const auto count = std::min(m_busiest, processes.size());
    const auto end = processes.begin() + static_cast<std::ptrdiff_t>(count);
    std::partial_sort(processes.begin(), end, processes.end(), isBusier);
    processes.erase(end, processes.end());
    for (const auto& process : processes) {
        if (process == nullptr) {
            continue;
        }
        TRACE(s_hostSensorChannel, progress, kLabel, "Process name: %s, ID: %d, CPU usage: %f", process->name.c_str(),
              static_cast<int>(process->id), process->cpuUsage);
        if (process->cpuUsage != 0.0 || process->ramUsage != 0) {
            m_pendingReports.push_back(process);
        }
    }
    onCpuRamReportingTimerExpired();
}

void CProcMonitor::onCpuRamReportingTimerExpired()
{
    TRACE(s_hostSensorChannel, progress, kLabel, "Timer expired.");
    const auto count = std::min(m_pendingReports.size(), kMostAtOnce);
    if (count == 0) {
        return;
    }
    reportProcesses(count);
    m_pendingReports.erase(m_pendingReports.begin(), m_pendingReports.begin() + static_cast<std::ptrdiff_t>(count));
    if (!m_pendingReports.empty()) {
        common_helpers::CommonHelpers::startTimer(m_cpuRamReportingTimer);
    }
}

void CProcMonitor::reportProcesses(std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        m_idsm.reportEvent(event_factory::createEvent<SEvent_ResourceConsumption>(*m_pendingReports[i]));
    }
}

void CProcMonitor::onNewProcState(std::uint32_t pid, EProcState state)
{
    const auto name = proc_fs::getProcessName(pid);
    if (name.empty() || isKnown(name)) {
        return;
    }
    TRACE(s_hostSensorChannel, warning, kLabel, "Unknown process! (ID: %d, name: %s, state: %s)", static_cast<int>(pid),
          name.c_str(), textOf(state));
}

void CProcMonitor::onProcCrashed(const std::string& path)
{
    TRACE(s_hostSensorChannel, progress, kLabel, "Core file path: %s", path.c_str());
    if (!getCoreDump(path)) {
        TRACE(s_hostSensorChannel, error, kLabel, "Can't create core dump!");
        return;
    }
    if (::unlink(path.c_str()) != 0) {
        TRACE(s_hostSensorChannel, error, kLabel, "Can't delete core file! (errno: %s)", std::strerror(errno));
    }
}

} // namespace ids
