// What a message of a route-netlink storm costs the whole daemon, against a bare receive loop: 10,000 changes of IPv6
// addresses in a network namespace of its own, in bursts that fit the sockets' buffers and then without a rest. A
// socket with room for all of them tells how many messages there were. In bursts the daemon also runs without the line
// that it logs for each message, and then cannot tell how many it has seen.
//
// Needs root (or unprivileged user namespaces). Only figures of a Release build count.

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <span>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <utility>
#include <vector>

#include "ChildProcess.h"
#include "NetworkNamespace.h"
#include "TestBus.h"
#include "cpuSeconds.h"
#include "io_manager/NetlinkWalk.h"
#include "io_manager/UniqueFd.h"

using namespace std::chrono_literals;
using namespace test_support;
using bench_support::cpuSeconds;

namespace {

constexpr std::size_t kChanges = 10'000;
constexpr std::size_t kBurst = 100;
constexpr auto kRest = 20ms; // after each burst
constexpr std::size_t kRounds = 7;
constexpr auto kSettle = 300ms;
constexpr std::uint32_t kIpv6AddressChanges = RTMGRP_IPV6_IFADDR;
constexpr int kRoomForAll = 256 << 20;

[[noreturn]] void fail(const std::string& why)
{
    std::fprintf(stderr, "%s: %s\n", why.c_str(), std::strerror(errno));
    std::exit(1);
}

io_manager::UniqueFd openSocket(std::uint32_t groups)
{
    io_manager::UniqueFd socket{::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE)};
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = groups;
    if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        fail("no netlink socket");
    }
    return socket;
}

std::size_t countMessages(const std::uint8_t* data, ssize_t size)
{
    std::size_t count = 0;
    io_manager::forEachMessage({data, static_cast<std::size_t>(size)}, [&count](auto message) {
        const auto type = io_manager::load<nlmsghdr>(message).nlmsg_type;
        count += type == RTM_NEWADDR || type == RTM_DELADDR ? 1U : 0U;
    });
    return count;
}

/// Receives and walks headers, nothing more: the least that a listener can cost. Runs until SIGTERM.
int runBare()
{
    struct sigaction action
    {};
    action.sa_handler = [](int) {}; // interrupts recv
    ::sigaction(SIGTERM, &action, nullptr);
    const auto socket = openSocket(kIpv6AddressChanges);
    std::puts("listening");
    std::fflush(stdout);
    std::vector<std::uint8_t> buffer(8192);
    std::size_t messages = 0;
    std::size_t overruns = 0;
    for (;;) {
        const auto received = ::recv(socket.get(), buffer.data(), buffer.size(), 0);
        if (received >= 0) {
            messages += countMessages(buffer.data(), received);
        } else if (errno == ENOBUFS) {
            ++overruns;
        } else {
            break;
        }
    }
    std::printf("messages %zu overruns %zu\n", messages, overruns);
    return 0;
}

/// Adds addresses to the loopback and removes them.
class Storm
{
public:
    /// rest: after each burst. Returns how many messages the kernel made of it.
    std::size_t run(std::chrono::milliseconds rest)
    {
        const auto witness = openSocket(kIpv6AddressChanges);
        ::setsockopt(witness.get(), SOL_SOCKET, SO_RCVBUFFORCE, &kRoomForAll, sizeof kRoomForAll);
        for (std::size_t change = 0; change < kChanges; change += 2) {
            this->change(RTM_NEWADDR, NLM_F_CREATE | NLM_F_EXCL, change);
            this->change(RTM_DELADDR, 0, change);
            if (rest > 0ms && change % kBurst == 0) {
                std::this_thread::sleep_for(rest);
            }
        }
        std::this_thread::sleep_for(kSettle); // for what the kernel tells later
        std::vector<std::uint8_t> buffer(8192);
        std::size_t messages = 0;
        ssize_t received = 0;
        while ((received = ::recv(witness.get(), buffer.data(), buffer.size(), MSG_DONTWAIT)) >= 0) {
            messages += countMessages(buffer.data(), received);
        }
        if (errno != EAGAIN) {
            fail("the witness has lost messages");
        }
        return messages;
    }

private:
    struct Request
    {
        nlmsghdr header{};
        ifaddrmsg body{};
        rtattr attribute{};
        in6_addr address{};
    };

    void change(std::uint16_t type, int flags, std::size_t number)
    {
        Request request;
        request.header.nlmsg_len = sizeof request;
        request.header.nlmsg_type = type;
        request.header.nlmsg_flags = static_cast<std::uint16_t>(NLM_F_REQUEST | NLM_F_ACK | flags);
        request.body.ifa_family = AF_INET6;
        request.body.ifa_prefixlen = 128;
        request.body.ifa_index = m_loopback;
        request.attribute.rta_type = IFA_LOCAL;
        request.attribute.rta_len = RTA_LENGTH(sizeof request.address);
        ::inet_pton(AF_INET6, "fd00::", &request.address);
        const auto suffix = htonl(static_cast<std::uint32_t>(number + 1));
        std::memcpy(&request.address.s6_addr[12], &suffix, sizeof suffix);
        std::array<std::uint8_t, 1024> answer;
        if (::send(m_socket.get(), &request, sizeof request, 0) < 0 ||
            ::recv(m_socket.get(), answer.data(), answer.size(), 0) < 0)
        {
            fail("no address change");
        }
        const auto result = io_manager::load<nlmsgerr>(std::span<const std::uint8_t>{answer}.subspan(NLMSG_HDRLEN));
        if (errno = -result.error; errno != 0) {
            fail("no address change");
        }
    }

    const io_manager::UniqueFd m_socket = openSocket(0);
    const unsigned m_loopback = ::if_nametoindex("lo");
};

std::size_t count(const std::string& output, const std::string& text)
{
    std::size_t found = 0;
    for (auto at = output.find(text); at != std::string::npos; at = output.find(text, at + text.size())) {
        ++found;
    }
    return found;
}

/// One of those that are compared.
struct Listener
{
    const char* name;
    std::vector<std::string> command;
    std::vector<std::string> environment;
    const char* ready;
};

const Listener kBare{"bare loop", {"/proc/self/exe", "--bare"}, {}, "listening"};
const Listener kDaemon{"daemon", {IDS_PROC}, {}, "CIdsInformationAsiService registered service."};
const Listener kSilentDaemon{"daemon, no line", kDaemon.command, {"TRACING=CON_CONMAN_IFW=3"}, kDaemon.ready};

struct Result
{
    double cpuSeconds = 0;
    std::size_t messages = 0; ///< that there were
    std::size_t lost = 0;
    std::size_t overruns = 0;

    double microseconds() const { return cpuSeconds * 1e6 / static_cast<double>(messages - lost); }
};

/// The numbers of messages seen and of overruns in what the listener has written.
std::pair<std::size_t, std::size_t> told(const std::string& output)
{
    std::size_t seen = 0;
    std::size_t overruns = 0;
    if (const auto at = output.find("messages "); at != std::string::npos) {
        std::sscanf(output.c_str() + at, "messages %zu overruns %zu", &seen, &overruns);
        return {seen, overruns};
    }
    return {count(output, "ADDR: \""), count(output, "recvmsg: No buffer space available")};
}

Result measure(const Listener& listener, Storm& storm, std::chrono::milliseconds rest)
{
    ChildProcess process{listener.command, listener.environment};
    if (!process.waitForOutput(listener.ready)) {
        fail(process.output() + "the listener does not start");
    }
    std::this_thread::sleep_for(kSettle);
    const auto seenBefore = told(process.output()).first;
    const auto before = cpuSeconds(process);
    Result result{.messages = storm.run(rest)};
    std::this_thread::sleep_for(kSettle);
    result.cpuSeconds = cpuSeconds(process) - before;
    process.signal(SIGTERM);
    process.wait();
    const auto [seen, overruns] = told(process.output());
    result.overruns = overruns;
    result.lost = seen == 0 ? 0 : result.messages - (seen - seenBefore);
    return result;
}

/// The median of the CPU time per message that came through, in microseconds.
double print(const Listener& listener, std::vector<Result>& results)
{
    const auto cheaper = [](const Result& one, const Result& other) {
        return one.microseconds() < other.microseconds();
    };
    std::sort(results.begin(), results.end(), cheaper);
    Result sum;
    for (const auto& result : results) {
        sum.messages += result.messages;
        sum.lost += result.lost;
        sum.overruns += result.overruns;
    }
    const auto median = results[results.size() / 2].microseconds();
    std::printf("%-16s %6.2f us of CPU per message, %zu of %zu lost in %zu overruns\n", listener.name, median, sum.lost,
                sum.messages, sum.overruns);
    return median;
}

void compare(const std::vector<Listener>& listeners, Storm& storm, std::chrono::milliseconds rest)
{
    std::vector<std::vector<Result>> results(listeners.size());
    for (std::size_t round = 0; round < kRounds; ++round) {
        for (std::size_t i = 0; i < listeners.size(); ++i) {
            results[i].push_back(measure(listeners[i], storm, rest));
        }
    }
    const auto floor = print(listeners[0], results[0]);
    for (std::size_t i = 1; i < listeners.size(); ++i) {
        const auto cost = print(listeners[i], results[i]);
        std::printf("ratio %.2f\n", cost / floor);
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && std::string{argv[1]} == "--bare") {
        return runBare();
    }
    const NetworkNamespace network;
    if (!network.entered()) {
        std::fprintf(stderr, "no network of its own: %s\n", network.why().c_str());
        return 1;
    }
    const TestBus bus;
    Storm storm;
    std::puts("in bursts");
    compare({kBare, kDaemon, kSilentDaemon}, storm, kRest);
    std::puts("without a rest");
    compare({kBare, kDaemon}, storm, 0ms);
    return 0;
}
