#include "io_manager/NlCheck.h"

#include <cerrno>
#include <cstring>

#include "io_manager/NetlinkWalk.h"
#include "tracing/Channel.h"

namespace common_ {
namespace {

tracing::Channel s_channel{"CON_LIB_NLREQ", 7, 2};
constexpr auto kClass = "common_::NlCheck";

// Takes the message that says whether the kernel accepted the request.
void checkError(SNlCheck& check, std::span<const std::uint8_t> message, const nlmsghdr* header)
{
    if (message.size() < NLMSG_HDRLEN + sizeof(nlmsgerr)) {
        TRACE(s_channel, error, kClass, "truncated");
        return;
    }
    const auto error = io_manager::load<nlmsgerr>(message.subspan(NLMSG_HDRLEN));
    if (error.error == 0) {
        TRACE(s_channel, detail, kClass, "ACKed %d", static_cast<int>(header->nlmsg_seq));
        return;
    }
    errno = static_cast<int>(-static_cast<std::int64_t>(error.error));
    TRACE(s_channel, error, kClass, "%d (%s)", error.error, std::strerror(errno));
    check.result = -1;
    check.end = header;
}

void sort(SNlCheck& check, std::span<const std::uint8_t> message, std::uint32_t expected, std::uint32_t port)
{
    const auto* const header = reinterpret_cast<const nlmsghdr*>(message.data());
    if (expected == 0 || header->nlmsg_seq != expected || header->nlmsg_pid != port) {
        TRACE(s_channel, detail, kClass, "unsolicited seq=%d", static_cast<int>(header->nlmsg_seq));
        check.unsolicited.push_back(header);
        return;
    }
    switch (header->nlmsg_type) {
    case NLMSG_ERROR:
        checkError(check, message, header);
        break;
    case NLMSG_DONE:
        TRACE(s_channel, detail, kClass, "nlmsg_done");
        check.result = 1;
        check.end = header;
        break;
    default:
        TRACE(s_channel, detail, kClass, "expected");
        check.responses.push_back(header);
    }
}

} // namespace

SNlCheck checkMessages(std::span<const std::uint8_t> datagram, std::uint32_t expected, std::uint32_t port)
{
    SNlCheck check;
    const auto offset = io_manager::forEachMessage(
        datagram, [&](std::span<const std::uint8_t> message) { sort(check, message, expected, port); });
    TRACE(s_channel, progress, kClass, "counted urc:%zu, msg:%zu (off:%zu)", check.unsolicited.size(),
          check.responses.size(), offset);
    return check;
}

} // namespace common_
