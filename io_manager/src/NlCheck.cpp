#include "io_manager/NlCheck.h"

#include <cerrno>
#include <cstring>

#include "io_manager/NetlinkSocket.h"
#include "io_manager/NetlinkWalk.h"
#include "tracing/Channel.h"

namespace common_ {
namespace {

tracing::Channel s_channel{"CON_LIB_NLREQ", 7, 2};
constexpr auto kClass = "common_::NlCheck";

using Bytes = std::span<const std::uint8_t>;

std::int32_t errorOf(Bytes message)
{
    return io_manager::load<nlmsgerr>(message.subspan(NLMSG_HDRLEN)).error;
}

void count(SNlCheck& check, Bytes message, std::uint32_t expected, std::uint32_t port)
{
    const auto sequence = static_cast<int>(io_manager::load<nlmsghdr>(message).nlmsg_seq);
    switch (classify(message, expected, port)) {
    case ENlMessage::unsolicited:
        TRACE(s_channel, detail, kClass, "unsolicited seq=%d", sequence);
        ++check.unsolicited;
        return;
    case ENlMessage::response:
        TRACE(s_channel, detail, kClass, "expected");
        ++check.responses;
        return;
    case ENlMessage::acknowledged:
        TRACE(s_channel, detail, kClass, "ACKed %d", sequence);
        return;
    case ENlMessage::truncated:
        TRACE(s_channel, error, kClass, "truncated");
        return;
    case ENlMessage::end:
        TRACE(s_channel, detail, kClass, "nlmsg_done");
        check.result = 1;
        return;
    case ENlMessage::refused:
        errno = static_cast<int>(-static_cast<std::int64_t>(errorOf(message)));
        TRACE(s_channel, error, kClass, "%d (%s)", errorOf(message), std::strerror(errno));
        check.result = -1;
    }
}

} // namespace

ENlMessage classify(Bytes message, std::uint32_t expected, std::uint32_t port)
{
    const auto header = io_manager::load<nlmsghdr>(message);
    if (!io_manager::isAnswer(header, expected, port)) {
        return ENlMessage::unsolicited;
    }
    if (header.nlmsg_type == NLMSG_DONE) {
        return ENlMessage::end;
    }
    if (header.nlmsg_type != NLMSG_ERROR) {
        return ENlMessage::response;
    }
    if (message.size() < NLMSG_HDRLEN + sizeof(nlmsgerr)) {
        return ENlMessage::truncated;
    }
    return errorOf(message) == 0 ? ENlMessage::acknowledged : ENlMessage::refused;
}

SNlCheck checkMessages(Bytes datagram, std::uint32_t expected, std::uint32_t port)
{
    SNlCheck check;
    const auto offset =
        io_manager::forEachMessage(datagram, [&](Bytes message) { count(check, message, expected, port); });
    TRACE(s_channel, progress, kClass, "counted urc:%zu, msg:%zu (off:%zu)", check.unsolicited, check.responses,
          offset);
    return check;
}

} // namespace common_
