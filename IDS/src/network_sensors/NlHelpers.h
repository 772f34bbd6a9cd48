#pragma once

#include <cstdint>
#include <linux/netlink.h>
#include <sys/types.h>
#include <vector>

#include "NlSocket.h"

/// What the netlink sensors share. Stateless; any thread. Nothing is thrown.
namespace IDS::NlHelpers {

/// Returns the descriptor, or -1 with the reason in errno and in the log. Mind the order: protocol before type.
std::int32_t openSocket(std::uint8_t domain, std::uint8_t protocol, std::uint8_t type);

/// Receives one datagram into the buffer, whose size is the most that is read. Returns the number of bytes, or -1 with
/// the reason in errno and in the log. Interruptions by signals are not seen outside.
ssize_t recvFrom(std::vector<std::uint8_t>& buffer, const NlSocket& socket, std::uint8_t flags);

/// Logs why a receive has failed.
void logReceiveError(int reason);

/// The messages in the valid bytes of the buffer, up to the first with a bad length; none when there is no memory for
/// the list, which is logged. The pointers are good while the buffer is neither refilled nor destroyed, each for as
/// many bytes as its header says.
std::vector<nlmsghdr*> getNlMsgHdrs(std::vector<std::uint8_t>& buffer, std::uint64_t validBytes);

void setNlMsgHdr(std::uint16_t flags, nlmsghdr& header, std::uint32_t length, std::uint16_t type, std::uint32_t port,
                 std::uint32_t sequence);

/// The byte behind the header.
std::uint8_t* getNlMsgData(nlmsghdr* header);

bool isNlMsgError(const nlmsghdr* header);

void closeSocket(std::int32_t descriptor);

} // namespace IDS::NlHelpers
