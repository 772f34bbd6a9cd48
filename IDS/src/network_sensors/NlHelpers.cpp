#include "NlHelpers.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <sys/socket.h>
#include <unistd.h>

#include "io_manager/NetlinkSocket.h"
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
    socklen_t senderSize = 0;
    const auto received = io_manager::receiveFrom(socket.fd, buffer, flags, senderSize);
    if (received < 0) {
        const auto reason = errno;
        logReceiveError(reason);
        errno = reason;
    }
    return received;
}

void logReceiveError(int reason)
{
    TRACE_AT(s_channel, progress, kClass, "recvFrom", __LINE__, "recvFrom() error! (errno: %s)", std::strerror(reason));
}

std::vector<nlmsghdr*> getNlMsgHdrs(std::vector<std::uint8_t>& buffer, std::uint64_t validBytes)
{
    std::vector<nlmsghdr*> headers;
    if (buffer.size() < sizeof(nlmsghdr)) {
        TRACE(s_channel, progress, kClass, "Not enough space for nlMsgHdr!");
        return headers;
    }
    const std::span<const std::uint8_t> valid{buffer.data(), std::min<std::uint64_t>(validBytes, buffer.size())};
    try {
        io_manager::forEachMessage(valid, [&](std::span<const std::uint8_t> message) {
            const auto offset = message.data() - buffer.data();
            headers.push_back(reinterpret_cast<nlmsghdr*>(buffer.data() + offset));
        });
    } catch (const std::bad_alloc&) {
        TRACE(s_channel, error, kClass, "No memory for the list of messages!");
        headers.clear();
    }
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
