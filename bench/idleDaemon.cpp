// What the daemon costs while nothing happens: the time from exec to the registered service, then, with a core
// connected, memory, wake-ups and CPU.

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <systemd/sd-bus.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "ChildProcess.h"
#include "Eventually.h"
#include "TestBus.h"
#include "TestCore.h"

namespace {

using namespace test_support;
using Clock = std::chrono::steady_clock;

constexpr int kStarts = 21;
constexpr std::chrono::seconds kSettle{3};
constexpr std::chrono::seconds kIdle{30};

double startMilliseconds(sd_bus* bus)
{
    // The service's own name: a new owner is the registration.
    constexpr char kRule[] = "type='signal',member='NameOwnerChanged',"
                             "arg0='asi.connectivity.idscore.IdsSecurityEvents.instance1'";
    sd_bus_slot* slot = nullptr;
    bool owned = false;
    const auto onOwner = [](sd_bus_message*, void* userdata, sd_bus_error*) {
        *static_cast<bool*>(userdata) = true;
        return 0;
    };
    sd_bus_add_match(bus, &slot, kRule, onOwner, &owned);
    const auto begin = Clock::now();
    ChildProcess daemon{{IDS_PROC}};
    while (!owned) {
        if (sd_bus_process(bus, nullptr) == 0) {
            sd_bus_wait(bus, UINT64_MAX);
        }
    }
    const std::chrono::duration<double, std::milli> took = Clock::now() - begin;
    sd_bus_slot_unref(slot);
    daemon.signal(SIGTERM);
    daemon.wait();
    return took.count();
}

/// The sum of a figure over all lines of a file that begin with the name.
long sum(const std::string& path, const std::string& name)
{
    std::ifstream file{path};
    long total = 0;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(name)) {
            total += std::strtol(line.c_str() + name.size(), nullptr, 10);
        }
    }
    return total;
}

struct Usage
{
    long wakeUps = 0;
    double cpuMilliseconds = 0;
};

Usage usage(pid_t pid)
{
    Usage all;
    for (const auto& task : std::filesystem::directory_iterator{"/proc/" + std::to_string(pid) + "/task"}) {
        all.wakeUps += sum(task.path() / "status", "voluntary_ctxt_switches:");
        std::ifstream schedule{task.path() / "schedstat"};
        double nanoseconds = 0;
        schedule >> nanoseconds;
        all.cpuMilliseconds += nanoseconds / 1e6;
    }
    return all;
}

} // namespace

int main()
{
    const TestBus bus;
    sd_bus* own = nullptr;
    sd_bus_open_system(&own);
    std::vector<double> starts;
    for (int i = 0; i < kStarts; ++i) {
        starts.push_back(startMilliseconds(own));
    }
    std::sort(starts.begin(), starts.end());
    std::printf("exec to registered service  %6.1f ms (median of %d, worst %.1f; at most 20)\n", starts[kStarts / 2],
                kStarts, starts.back());

    ChildProcess daemon{{IDS_PROC}};
    TestCore core;
    eventually([&] { return core.connected(); });
    std::this_thread::sleep_for(kSettle);
    const auto before = usage(daemon.pid());
    std::this_thread::sleep_for(kIdle);
    const auto after = usage(daemon.pid());
    const auto seconds = static_cast<double>(kIdle.count());
    std::printf("proportional memory         %6.2f MiB (at most 6)\n",
                static_cast<double>(sum("/proc/" + std::to_string(daemon.pid()) + "/smaps_rollup", "Pss:")) / 1024);
    std::printf("wake-ups                    %6.2f a second (at most 3)\n",
                static_cast<double>(after.wakeUps - before.wakeUps) / seconds);
    std::printf("CPU                         %6.3f ms a second\n",
                (after.cpuMilliseconds - before.cpuMilliseconds) / seconds);
    sd_bus_close_unref(own);
    return 0;
}
