#include "NetworkNamespace.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <sched.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace test_support {
NetworkNamespace::NetworkNamespace() : m_before{::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC)}
{
    if (::unshare(CLONE_NEWNET) != 0) {
        m_why = std::string{"no network namespace: "} + std::strerror(errno);
    } else if (!run("ip link set lo up")) {
        m_why = "no network namespace: the loopback cannot be set up (is iproute2 installed?)";
    }
}

NetworkNamespace::~NetworkNamespace()
{
    [[maybe_unused]] const int refused = ::setns(m_before, CLONE_NEWNET);
    ::close(m_before);
}

bool NetworkNamespace::run(const std::string& command) const
{
    return std::system(("PATH=$PATH:/usr/sbin:/sbin; " + command).c_str()) == 0;
}

void sendUdp(std::uint16_t port, std::size_t count, std::size_t payload)
{
    const int socket = ::socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in6 destination{};
    destination.sin6_family = AF_INET6;
    destination.sin6_addr = in6addr_loopback;
    destination.sin6_port = htons(port);
    const std::vector<char> bytes(payload);
    const auto* const address = reinterpret_cast<const sockaddr*>(&destination);
    bool sent = true;
    for (std::size_t number = 0; sent && number < count; ++number) {
        sent = ::sendto(socket, bytes.data(), bytes.size(), 0, address, sizeof destination) >= 0;
    }
    ::close(socket);
    if (!sent) {
        throw std::runtime_error{"sendUdp"};
    }
}

} // namespace test_support
