#pragma once

#include <cstdint>
#include <linux/netlink.h>
#include <sys/socket.h>

namespace IDS {

/// The socket of a netlink sensor and the address of its peer, the kernel.
struct NlSocket
{
    std::int32_t fd = -1; ///< negative while not open
    sockaddr_nl addr{AF_NETLINK, 0, 0, 0};
};

} // namespace IDS
