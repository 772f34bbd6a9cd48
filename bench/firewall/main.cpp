// What a dropped packet costs the whole daemon, against a bare receive loop. In a network namespace of its own it sends
// UDP packets to a port that the packet filter drops and logs, at several rates, and takes the CPU time of the one
// process and then of the other. A second run of the daemon, with its log open, tells whether its drop counts are
// complete.
//
// Needs root (or unprivileged user namespaces) and nft. Only figures of a Release build count.

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "ChildProcess.h"
#include "Eventually.h"
#include "NetworkNamespace.h"
#include "TestBus.h"
#include "TestCore.h"
#include "bareReceiver.h"

using namespace std::chrono_literals;
using namespace test_support;

namespace {

constexpr std::size_t kPackets = 200000;
constexpr std::uint16_t kPort = 5000;
constexpr unsigned kFlatOut = 0;
constexpr auto kKernelKeeps = 1500ms;       // the kernel keeps the last packets for a second
constexpr auto kStatisticsPeriod = 10500ms; // the daemon's, and some

/// Sends the packets at a rate per second, in portions of a millisecond. Returns the seconds it took.
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

double cpuSeconds(const ChildProcess& process)
{
    clockid_t clock;
    timespec time{};
    if (::clock_getcpuclockid(process.pid(), &clock) != 0 || ::clock_gettime(clock, &time) != 0) {
        std::fprintf(stderr, "%s\nthe listener has ended early\n", process.output().c_str());
        std::exit(1);
    }
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
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
    std::this_thread::sleep_for(kKernelKeeps); // it starts listening when the core has come
    return daemon;
}

/// The process' CPU time per packet in microseconds.
double measure(const char* name, const ChildProcess& listener, unsigned rate)
{
    const auto before = cpuSeconds(listener);
    const auto seconds = send(rate);
    std::this_thread::sleep_for(kKernelKeeps);
    const auto perPacket = (cpuSeconds(listener) - before) * 1e6 / static_cast<double>(kPackets);
    std::printf("%-10s %9.0f/s  %6.3f us of CPU per packet", name, static_cast<double>(kPackets) / seconds, perPacket);
    return perPacket;
}

void compare(const TestCore& core, unsigned rate)
{
    ChildProcess bare{{"/proc/self/exe", "--bare"}};
    std::this_thread::sleep_for(kKernelKeeps);
    const auto floor = measure("bare loop", bare, rate);
    bare.signal(SIGTERM);
    bare.wait();
    std::printf("  %zu missing\n", kPackets - sumAfter("packets ", bare.output()));

    auto daemon = startDaemon(core, {});
    const auto cost = measure("daemon", *daemon, rate);
    daemon.reset();

    eventually([&] { return !core.connected(); });
    daemon = startDaemon(core, {"TRACING=CON_IDS_SENSOR_ETH=1"});
    send(rate);
    std::this_thread::sleep_for(kStatisticsPeriod);
    std::printf("  %zu missing\nratio %.2f\n\n", kPackets - sumAfter("Drop packet count: ", daemon->output()),
                cost / floor);
    std::fflush(stdout);
    daemon.reset();
    eventually([&] { return !core.connected(); });
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
    const TestCore core;
    for (const unsigned rate : {20000U, 100000U, kFlatOut}) {
        compare(core, rate);
    }
    return 0;
}
