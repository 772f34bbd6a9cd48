#pragma once

#include <cstdint>
#include <linux/netlink.h>
#include <span>
#include <vector>

namespace common_ {

/// What a datagram holds for the sender of a request. The pointers lead into the datagram.
struct SNlCheck
{
    std::int32_t result = 0;                ///< 0 so far good, 1 end of a dump, -1 the request failed
    std::vector<const nlmsghdr*> responses; ///< the answers; an acknowledgement is none
    const nlmsghdr* end = nullptr;          ///< the message that made the result 1 or -1
    std::vector<const nlmsghdr*> unsolicited;
};

/// Sorts the messages of a datagram, which must start at a multiple of 4. A message belongs to the request when it
/// carries both the request's sequence number and the port of the socket that sent it: notifications carry the numbers
/// of whoever caused them. Sequence number 0 stands for no request.
SNlCheck checkMessages(std::span<const std::uint8_t> datagram, std::uint32_t expected, std::uint32_t port);

} // namespace common_
