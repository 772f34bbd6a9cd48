#include "bareReceiver.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <linux/netfilter/nfnetlink.h>
#include <linux/netfilter/nfnetlink_log.h>
#include <linux/netlink.h>
#include <sys/socket.h>
#include <vector>

#include "CNfLogExchange.h"
#include "NlHelpers.h"
#include "io_manager/NetlinkWalk.h"

int runBareReceiver()
{
    struct sigaction action
    {};
    action.sa_handler = [](int) {}; // interrupts recv
    ::sigaction(SIGTERM, &action, nullptr);

    IDS::NlSocket socket;
    socket.fd = IDS::NlHelpers::openSocket(AF_NETLINK, NETLINK_NETFILTER, SOCK_RAW);
    const int bufferSize = 8 << 20;
    ::setsockopt(socket.fd, SOL_SOCKET, SO_RCVBUFFORCE, &bufferSize, sizeof bufferSize);

    ids::CRecordStore store;
    ids::CNfLogExchange exchange{[&](const ids::NfLogRequest& request) {
                                     return ::sendto(socket.fd, request.data(), request.size(), 0,
                                                     reinterpret_cast<const sockaddr*>(&socket.addr),
                                                     sizeof socket.addr) > 0;
                                 },
                                 [] { return static_cast<std::uint32_t>(std::time(nullptr)); }, store};
    std::vector<std::uint8_t> buffer(8192);
    exchange.begin();
    while (exchange.state() != ids::NfLogState::Listen) {
        sockaddr_nl own{};
        socklen_t ownSize = sizeof own;
        const auto received = IDS::NlHelpers::recvFrom(buffer, socket, 0);
        ::getsockname(socket.fd, reinterpret_cast<sockaddr*>(&own), &ownSize);
        exchange.onReceived({buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(received, 0))}, own.nl_pid);
    }

    constexpr std::uint16_t kPacket = NFNL_SUBSYS_ULOG << 8 | NFULNL_MSG_PACKET;
    std::size_t packets = 0;
    for (;;) {
        const auto received = ::recv(socket.fd, buffer.data(), buffer.size(), 0);
        if (received < 0) {
            if (errno == ENOBUFS) {
                continue;
            }
            break;
        }
        io_manager::forEachMessage({buffer.data(), static_cast<std::size_t>(received)}, [&](auto message) {
            packets += io_manager::load<nlmsghdr>(message).nlmsg_type == kPacket ? 1U : 0U;
        });
    }
    std::printf("packets %zu\n", packets);
    return 0;
}
