#pragma once

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <linux/netlink.h>
#include <span>
#include <sys/socket.h>
#include <sys/types.h>

#include "io_manager/UniqueFd.h"

namespace io_manager {

/// Receives one datagram into the bytes; a signal does not interrupt it. The result and errno are those of recvfrom.
ssize_t receiveFrom(std::int32_t descriptor, std::span<std::uint8_t> bytes, int flags, socklen_t& senderSize);

/// Whether the message answers the request with this sequence number of the socket with this port: notifications carry
/// the number of whatever request has caused them. Sequence number 0 stands for no request.
inline bool isAnswer(const nlmsghdr& header, std::uint32_t sequence, std::uint32_t port)
{
    return sequence != 0 && header.nlmsg_seq == sequence && header.nlmsg_pid == port;
}

/// What one receive brought.
struct SNetlinkDatagram
{
    enum class Kind : std::uint8_t
    {
        data,
        cut,     ///< longer than the buffer: the bytes are its beginning
        overrun, ///< the kernel had no room and has dropped datagrams
        none     ///< the socket is empty, or it has failed
    };

    Kind kind;
    std::span<const std::uint8_t> bytes; ///< good until the next receive
    std::size_t length;                  ///< of the whole datagram
    socklen_t senderSize;
    int error; ///< errno of overrun and none; EAGAIN of a socket that is empty
};

/// A netlink socket that speaks with the kernel and receives datagrams of at most 8192 bytes without waiting.
///
/// Logs nothing, throws nothing; the reason of a failure is in errno. One thread receives, one sends.
class NetlinkSocket
{
public:
    static constexpr std::size_t kLongest = 8192;

    /// Takes the descriptor, which may be negative: then everything fails.
    void adopt(std::int32_t descriptor) { m_descriptor = UniqueFd{descriptor}; }
    void close() { m_descriptor.reset(); }
    bool valid() const { return m_descriptor.valid(); }
    std::int32_t descriptor() const { return m_descriptor.get(); }

    /// Asks for a receive buffer beyond the system's limit, or without CAP_NET_ADMIN up to it. Returns what is granted.
    int enlargeBuffer(int bytes) const;

    /// Binds the socket with the mask of multicast groups.
    bool bind(std::uint32_t groups);

    bool send(std::span<const std::uint8_t> message);

    /// The port that answers carry; 0 before the first bind or send.
    std::uint32_t port() const { return m_port; }

    /// Calls take for each datagram, overrun and failure until the socket is empty, has failed, or take was called as
    /// often as most. Returns whether it is empty.
    template <typename Take>
    bool drain(unsigned most, Take take)
    {
        for (unsigned number = 0; number < most; ++number) {
            const auto received = receive();
            const bool none = received.kind == SNetlinkDatagram::Kind::none;
            if (none && received.error == EAGAIN) {
                return true;
            }
            take(received);
            if (none) {
                return false;
            }
        }
        return false;
    }

private:
    SNetlinkDatagram receive();
    void learnPort();

    UniqueFd m_descriptor;
    std::uint32_t m_port = 0;
    alignas(nlmsghdr) std::array<std::uint8_t, kLongest> m_buffer{};
};

} // namespace io_manager
