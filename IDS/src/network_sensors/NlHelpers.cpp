#include "NlHelpers.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

#include "io_manager/NetlinkWalk.h"
#include "tracing/Channel.h"

namespace IDS::NlHelpers {
namespace {

tracing::Channel s_channel{"CON_IDS_NETLINK", 7, 2};
constexpr auto kClass = "IDS::NlHelpers";

} // namespace

std::int32_t openSocket(std::uint8_t domain, std::uint8_t protocol, std::uint8_t type)
{
    const auto descriptor = ::socket(domain, type | SOCK_CLOEXEC, protocol);
    if (descriptor < 0) {
        const auto reason = errno;
        TRACE(s_channel, error, kClass, "socket() error! (errno: %s)", std::strerror(reason));
        errno = reason;
    }
    return descriptor;
}

ssize_t recvFrom(std::vector<std::uint8_t>& buffer, const NlSocket& socket, std::uint8_t flags)
{
    for (;;) {
        auto sender = socket.addr; // the answer to a request goes to the kernel, whoever has sent this
        socklen_t length = sizeof sender;
        const auto received =
            ::recvfrom(socket.fd, buffer.data(), buffer.size(), flags, reinterpret_cast<sockaddr*>(&sender), &length);
        if (received >= 0) {
            return received;
        }
        if (const auto reason = errno; reason != EINTR) {
            TRACE(s_channel, progress, kClass, "recvFrom() error! (errno: %s)", std::strerror(reason));
            errno = reason;
            return -1;
        }
    }
}

std::vector<nlmsghdr*> getNlMsgHdrs(std::vector<std::uint8_t>& buffer, std::uint64_t validBytes)
{
    std::vector<nlmsghdr*> headers;
    if (buffer.size() < sizeof(nlmsghdr)) {
        TRACE(s_channel, progress, kClass, "Not enough space for nlMsgHdr!");
        return headers;
    }
    constexpr std::size_t kUsualCount = 32;
    headers.reserve(kUsualCount);
    const std::span<const std::uint8_t> valid{buffer.data(), std::min<std::uint64_t>(validBytes, buffer.size())};
    io_manager::forEachMessage(valid, [&](std::span<const std::uint8_t> message) {
        const auto offset = message.data() - buffer.data();
        headers.push_back(reinterpret_cast<nlmsghdr*>(buffer.data() + offset));
    });
    return headers;
}

void setNlMsgHdr(std::uint16_t flags, nlmsghdr& header, std::uint32_t length, std::uint16_t type, std::uint32_t port,
                 std::uint32_t sequence)
{
    header.nlmsg_len = length;
    header.nlmsg_type = type;
    header.nlmsg_flags = flags;
    header.nlmsg_seq = sequence;
    header.nlmsg_pid = port;
}

std::uint8_t* getNlMsgData(nlmsghdr* header)
{
    return reinterpret_cast<std::uint8_t*>(header) + sizeof(nlmsghdr);
}

bool isNlMsgError(const nlmsghdr* header)
{
    return header->nlmsg_type == NLMSG_ERROR;
}

void closeSocket(std::int32_t descriptor)
{
    ::close(descriptor);
}

} // namespace IDS::NlHelpers
