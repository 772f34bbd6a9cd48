// The cost of the idle daemon with all peers connected: a core, all of the unit's services, the car domain. Memory, and
// by thread the wake-ups and the CPU time. The process scan has a thread of its own, which separates its share; it
// grows with the number of processes.
//
// The car domain's socket has a fixed name, so no other peer may run.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <unistd.h>

#include "ChildProcess.h"
#include "Eventually.h"
#include "PlayedUnit.h"
#include "TestBus.h"
#include "TestCore.h"

namespace {

using namespace test_support;

constexpr std::chrono::seconds kSettle{5};
constexpr std::chrono::seconds kIdle{120}; // the process scan has a period of 60 s, all other work a shorter one
constexpr auto kScanner = "IdsProcScan";

/// The number in the first line of a file that begins with the name, 0 without such a line.
double figure(const std::filesystem::path& path, const std::string& name)
{
    std::ifstream file{path};
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(name)) {
            return std::strtod(line.c_str() + name.size(), nullptr);
        }
    }
    return 0;
}

struct Usage
{
    std::string name;
    double wakeUps = 0;
    double cpuMilliseconds = 0;
};

/// All threads by thread ID.
std::map<std::string, Usage> usage(const std::filesystem::path& process)
{
    std::map<std::string, Usage> threads;
    for (const auto& task : std::filesystem::directory_iterator{process / "task"}) {
        auto& thread = threads[task.path().filename()];
        std::ifstream{task.path() / "comm"} >> thread.name;
        std::ifstream{task.path() / "schedstat"} >> thread.cpuMilliseconds;
        thread.cpuMilliseconds /= 1e6;
        thread.wakeUps = figure(task.path() / "status", "voluntary_ctxt_switches:");
    }
    return threads;
}

/// The usage of the threads per second.
std::map<std::string, Usage> usagePerSecond(const std::filesystem::path& process)
{
    const auto before = usage(process);
    const auto begin = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(kIdle);
    auto threads = usage(process);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    for (auto& [number, thread] : threads) {
        if (const auto found = before.find(number); found != before.end()) {
            thread.wakeUps -= found->second.wakeUps;
            thread.cpuMilliseconds -= found->second.cpuMilliseconds;
        }
        thread.wakeUps /= seconds.count();
        thread.cpuMilliseconds /= seconds.count();
    }
    return threads;
}

void print(const std::map<std::string, Usage>& threads)
{
    Usage all;
    Usage scan;
    for (const auto& [number, thread] : threads) {
        std::printf("%-16s %6.2f wake-ups  %6.3f ms of CPU a second\n", thread.name.c_str(), thread.wakeUps,
                    thread.cpuMilliseconds);
        auto& sum = thread.name == kScanner ? scan : all;
        sum.wakeUps += thread.wakeUps;
        sum.cpuMilliseconds += thread.cpuMilliseconds;
    }
    std::printf("wake-ups outside the scans  %6.2f a second, with them %.2f (at most 5)\n", all.wakeUps,
                all.wakeUps + scan.wakeUps);
    std::printf("CPU outside the scans       %6.3f %%, with them %.3f %% (at most 0.1 %% outside)\n",
                all.cpuMilliseconds / 10, (all.cpuMilliseconds + scan.cpuMilliseconds) / 10);
}

} // namespace

int main()
{
    const TestBus bus;
    const bench_support::PlayedUnit unit;
    const ChildProcess daemon{{IDS_PROC}};
    const TestCore core;
    if (!eventually([&] { return core.connected(); })) {
        std::fprintf(stderr, "%s\nthe daemon does not start\n", daemon.output().c_str());
        return 1;
    }
    std::this_thread::sleep_for(kSettle);
    const std::filesystem::path process{"/proc/" + std::to_string(daemon.pid())};
    print(usagePerSecond(process));
    std::printf("proportional memory         %6.2f MiB (at most 8)\n", figure(process / "smaps_rollup", "Pss:") / 1024);
    return 0;
}
