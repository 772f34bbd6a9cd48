#include "io_manager/NetlinkSocket.h"

#include <algorithm>

namespace io_manager {

ssize_t receiveFrom(std::int32_t descriptor, std::span<std::uint8_t> bytes, int flags, socklen_t& senderSize)
{
    for (;;) {
        sockaddr_nl sender{};
        senderSize = sizeof sender;
        const auto received = ::recvfrom(descriptor, bytes.data(), bytes.size(), flags,
                                         reinterpret_cast<sockaddr*>(&sender), &senderSize);
        if (received >= 0 || errno != EINTR) {
            return received;
        }
    }
}

int NetlinkSocket::enlargeBuffer(int bytes) const
{
    if (::setsockopt(descriptor(), SOL_SOCKET, SO_RCVBUFFORCE, &bytes, sizeof bytes) < 0) {
        ::setsockopt(descriptor(), SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
    }
    int granted = 0;
    socklen_t size = sizeof granted;
    ::getsockopt(descriptor(), SOL_SOCKET, SO_RCVBUF, &granted, &size);
    return granted;
}

bool NetlinkSocket::bind(std::uint32_t groups)
{
    const sockaddr_nl address{AF_NETLINK, 0, 0, groups};
    if (::bind(descriptor(), reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        return false;
    }
    learnPort();
    return true;
}

bool NetlinkSocket::send(std::span<const std::uint8_t> message)
{
    const sockaddr_nl kernel{AF_NETLINK, 0, 0, 0};
    if (::sendto(descriptor(), message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&kernel),
                 sizeof kernel) < 0)
    {
        return false;
    }
    if (m_port == 0) {
        learnPort();
    }
    return true;
}

SNetlinkDatagram NetlinkSocket::receive()
{
    using Kind = SNetlinkDatagram::Kind;
    socklen_t senderSize = 0;
    const auto received = receiveFrom(descriptor(), m_buffer, MSG_DONTWAIT | MSG_TRUNC, senderSize);
    if (received < 0) {
        return {errno == ENOBUFS ? Kind::overrun : Kind::none, {}, 0, 0, errno};
    }
    const auto length = static_cast<std::size_t>(received);
    const std::span<const std::uint8_t> bytes{m_buffer.data(), std::min(length, m_buffer.size())};
    return {length > bytes.size() ? Kind::cut : Kind::data, bytes, length, senderSize, 0};
}

void NetlinkSocket::learnPort()
{
    sockaddr_nl address{};
    socklen_t size = sizeof address;
    if (::getsockname(descriptor(), reinterpret_cast<sockaddr*>(&address), &size) == 0) {
        m_port = address.nl_pid;
    }
}

} // namespace io_manager
