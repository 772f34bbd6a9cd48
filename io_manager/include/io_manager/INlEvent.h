#pragma once

#include <cstdint>
#include <linux/netlink.h>

namespace common_ {

/// Receives what a netlink request object reads, on its active object. A message is valid only during the call, and as
/// long as its header says.
class INlEvent
{
public:
    virtual ~INlEvent() = default;

    /// Something about the request with this sequence number. result 0: the message is one response. 1: the message is
    /// the end of a dump. -1: the message says why the request failed. A mere acknowledgement is only logged.
    virtual void nl_cmd_result(std::uint32_t sequence, std::int32_t result, const nlmsghdr& message) = 0;

    /// A message that nobody asked for.
    virtual void nl_urc(const nlmsghdr& message) = 0;
};

} // namespace common_
