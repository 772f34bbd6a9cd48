// What a dropped packet costs the daemon, against a bare receive loop. In a network namespace of its own it sends UDP
// packets to a port that the packet filter drops and logs, at several rates, and takes the CPU time of one listener
// process after the other.
//
//   bench_firewall                      the firewall sensor with its dispatcher
//   bench_firewall <command> [args...]  any other listener; it gets SIGTERM at the end and may say "packets <number>"
//
// Needs root (or unprivileged user namespaces) and nft. Only figures of a Release build count.

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <netinet/in.h>
#include <optional>
#include <sched.h>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "roles.h"

using namespace std::chrono_literals;

namespace {

constexpr std::size_t kPackets = 200000;
constexpr std::uint16_t kPort = 5000;
constexpr unsigned kFlatOut = 0;

bool enterNetwork()
{
    const auto user = ::geteuid();
    const auto group = ::getegid();
    if (::unshare(CLONE_NEWNET) != 0) {
        if (::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
            std::perror("unshare");
            return false;
        }
        std::ofstream{"/proc/self/setgroups"} << "deny";
        std::ofstream{"/proc/self/uid_map"} << "0 " << user << " 1";
        std::ofstream{"/proc/self/gid_map"} << "0 " << group << " 1";
    }
    return std::system("PATH=$PATH:/usr/sbin:/sbin; ip link set lo up && nft add table ip6 t && "
                       "nft add chain ip6 t in '{ type filter hook input priority 0; }' && "
                       "nft add rule ip6 t in udp dport 5000 log group 30 drop") == 0;
}

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

class Listener
{
public:
    explicit Listener(std::vector<std::string> command)
    {
        std::array<int, 2> ends{};
        if (::pipe(ends.data()) != 0) {
            std::perror("pipe");
            std::exit(1);
        }
        m_pid = ::fork();
        if (m_pid == 0) {
            ::dup2(ends[1], STDOUT_FILENO);
            ::close(ends[0]);
            ::close(ends[1]);
            std::vector<char*> arguments;
            for (auto& argument : command) {
                arguments.push_back(argument.data());
            }
            arguments.push_back(nullptr);
            ::execvp(arguments[0], arguments.data());
            std::perror("exec");
            ::_exit(127);
        }
        ::close(ends[1]);
        m_output = ends[0];
        std::this_thread::sleep_for(1500ms); // until it listens
    }

    double cpuSeconds() const
    {
        clockid_t clock;
        timespec time{};
        if (::clock_getcpuclockid(m_pid, &clock) != 0 || ::clock_gettime(clock, &time) != 0) {
            std::fprintf(stderr, "the listener has ended early\n");
            std::exit(1);
        }
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    }

    /// Ends the listener. Returns the number of packets that it has seen, if it says so.
    std::optional<std::size_t> end()
    {
        ::kill(m_pid, SIGTERM);
        std::string output;
        std::array<char, 4096> part;
        for (ssize_t got = 0; (got = ::read(m_output, part.data(), part.size())) > 0;) {
            output.append(part.data(), static_cast<std::size_t>(got));
        }
        ::close(m_output);
        ::waitpid(m_pid, nullptr, 0);
        const auto at = output.rfind("packets ");
        if (at == std::string::npos) {
            return std::nullopt;
        }
        return std::strtoull(output.c_str() + at + std::strlen("packets "), nullptr, 10);
    }

private:
    pid_t m_pid = -1;
    int m_output = -1;
};

/// Returns the listener's CPU time per packet in microseconds.
double measure(const char* name, const std::vector<std::string>& command, unsigned rate)
{
    Listener listener{command};
    const auto before = listener.cpuSeconds();
    const auto seconds = send(rate);
    std::this_thread::sleep_for(1500ms); // the kernel keeps the last packets for a second
    const auto perPacket = (listener.cpuSeconds() - before) * 1e6 / static_cast<double>(kPackets);
    const auto seen = listener.end();
    std::printf("%-8s %9.0f/s  %7.3f us CPU per packet  ", name, static_cast<double>(kPackets) / seconds, perPacket);
    if (seen) {
        std::printf("%zu missing\n", kPackets - std::min(*seen, kPackets));
    } else {
        std::printf("missing not known\n");
    }
    std::fflush(stdout);
    return perPacket;
}

void compare(const std::vector<std::string>& bare, const std::vector<std::string>& listener)
{
    for (const unsigned rate : {20000U, 100000U, kFlatOut}) {
        const auto floor = measure("bare", bare, rate);
        const auto cost = measure("listener", listener, rate);
        std::printf("ratio %.2f\n\n", cost / floor);
    }
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> arguments{argv, argv + argc};
    if (argc == 2 && arguments[1] == "--bare") {
        return runBareReceiver();
    }
    if (argc == 2 && arguments[1] == "--sensor") {
        return runSensor();
    }
    if (!enterNetwork()) {
        return 1;
    }
    const std::string self = "/proc/self/exe";
    compare({self, "--bare"}, argc > 1 ? std::vector<std::string>{arguments.begin() + 1, arguments.end()}
                                       : std::vector<std::string>{self, "--sensor"});
    return 0;
}
