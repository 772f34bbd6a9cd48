// The cost of a dropped packet for the whole daemon, against a bare receive loop. Sends UDP packets in a network
// namespace of its own to a port that the packet filter drops and logs, at several rates, and measures the CPU time of
// both processes in turn, several times. Another run of the daemon with a lower log threshold checks that its drop
// counts are complete. With the argument --with-unit the peers of a unit run as well: its services and the car domain,
// which sends 20 events a second.
//
// Needs root (or unprivileged user namespaces) and nft. Use a Release build.

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <netinet/in.h>
#include <optional>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "ChildProcess.h"
#include "Eventually.h"
#include "NetworkNamespace.h"
#include "PlayedUnit.h"
#include "TestBus.h"
#include "TestCore.h"
#include "bareReceiver.h"
#include "cpuSeconds.h"

using namespace std::chrono_literals;
using namespace test_support;
using bench_support::cpuSeconds;

namespace {

constexpr std::size_t kPackets = 200000;
constexpr std::size_t kRounds = 5;
constexpr std::uint16_t kPort = 5000;
constexpr unsigned kFlatOut = 0;
constexpr auto kKernelKeeps = 1500ms;       // the kernel holds the last packets back for a second
constexpr auto kStatisticsPeriod = 10500ms; // the daemon's period with a margin

/// Sends the packets at a rate per second, in portions of a millisecond. Returns the duration in seconds.
double send(unsigned rate)
{
    const int socket = ::socket(AF_INET6, SOCK_DGRAM, 0);
    sockaddr_in6 destination{};
    destination.sin6_family = AF_INET6;
    destination.sin6_addr = in6addr_loopback;
    destination.sin6_port = htons(kPort);
    const std::array<char, 8> payload{};

    const auto start = std::chrono::steady_clock::now();
    for (std::size_t sent = 0; sent < kPackets; ++sent) {
        if (rate != kFlatOut && sent % std::max(rate / 1000, 1U) == 0) {
            std::this_thread::sleep_until(start + sent * 1000000us / rate);
        }
        ::sendto(socket, payload.data(), payload.size(), 0, reinterpret_cast<const sockaddr*>(&destination),
                 sizeof destination);
    }
    ::close(socket);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// The sum of the numbers that follow the text in the output.
std::size_t sumAfter(const std::string& text, const std::string& output)
{
    std::size_t sum = 0;
    for (auto at = output.find(text); at != std::string::npos; at = output.find(text, at + 1)) {
        sum += std::strtoull(output.c_str() + at + text.size(), nullptr, 10);
    }
    return sum;
}

std::unique_ptr<ChildProcess> startDaemon(const TestCore& core, const std::vector<std::string>& environment)
{
    auto daemon = std::make_unique<ChildProcess>(std::vector<std::string>{IDS_PROC}, environment);
    eventually([&] { return core.connected(); });
    std::this_thread::sleep_for(kKernelKeeps); // the sensor starts when the core has connected
    return daemon;
}

/// The result of one run of a listener.
struct Run
{
    double microseconds; ///< CPU time per packet
    double perSecond;
};

Run measure(const ChildProcess& listener, unsigned rate)
{
    const auto before = cpuSeconds(listener);
    const auto seconds = send(rate);
    std::this_thread::sleep_for(kKernelKeeps);
    return {(cpuSeconds(listener) - before) * 1e6 / static_cast<double>(kPackets),
            static_cast<double>(kPackets) / seconds};
}

/// The median of the CPU time per packet in microseconds.
double print(const char* name, std::array<Run, kRounds>& runs, std::size_t missing)
{
    const auto cheaper = [](const Run& one, const Run& other) { return one.microseconds < other.microseconds; };
    std::sort(runs.begin(), runs.end(), cheaper);
    const auto& median = runs[kRounds / 2];
    std::printf("%-10s %9.0f/s  %6.3f us of CPU per packet (%.3f to %.3f)  %zu missing\n", name, median.perSecond,
                median.microseconds, runs.front().microseconds, runs.back().microseconds, missing);
    return median.microseconds;
}

/// The packets that are missing from the daemon's drop counts.
std::size_t missingDrops(const TestCore& core, unsigned rate)
{
    const auto daemon = startDaemon(core, {"TRACING=CON_IDS_SENSOR_ETH=1"});
    send(rate);
    std::this_thread::sleep_for(kStatisticsPeriod);
    return kPackets - sumAfter("Drop packet count: ", daemon->output());
}

void compare(const TestCore& core, unsigned rate)
{
    std::array<Run, kRounds> bareRuns;
    std::array<Run, kRounds> daemonRuns;
    std::size_t bareMissing = 0;
    for (std::size_t round = 0; round < kRounds; ++round) {
        ChildProcess bare{{"/proc/self/exe", "--bare"}};
        std::this_thread::sleep_for(kKernelKeeps);
        bareRuns[round] = measure(bare, rate);
        bare.signal(SIGTERM);
        bare.wait();
        bareMissing += kPackets - sumAfter("packets ", bare.output());

        daemonRuns[round] = measure(*startDaemon(core, {}), rate);
        eventually([&] { return !core.connected(); });
    }
    const auto missing = missingDrops(core, rate);
    eventually([&] { return !core.connected(); });
    const auto floor = print("bare loop", bareRuns, bareMissing);
    std::printf("ratio %.2f\n\n", print("daemon", daemonRuns, missing) / floor);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && std::string{argv[1]} == "--bare") {
        return runBareReceiver();
    }
    const NetworkNamespace network;
    if (!network.entered() ||
        !network.run("nft add table ip6 t && nft add chain ip6 t in '{ type filter hook input priority 0; }' && "
                     "nft add rule ip6 t in udp dport 5000 log group 30 drop"))
    {
        std::fprintf(stderr, "no network of its own: %s\n", network.why().c_str());
        return 1;
    }
    const TestBus bus;
    std::optional<bench_support::PlayedUnit> unit;
    if (argc == 2 && std::string{argv[1]} == "--with-unit") {
        unit.emplace(std::vector<std::string>{"--generate", "--rate", "20"});
    }
    const TestCore core;
    for (const unsigned rate : {20000U, 100000U, kFlatOut}) {
        compare(core, rate);
    }
    return 0;
}
