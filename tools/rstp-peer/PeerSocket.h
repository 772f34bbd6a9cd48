#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <sys/un.h>

#include "iplbase/NonCopyable.h"

namespace rstp_peer {

/// The car domain's end of the channel: a listening Unix socket of type SOCK_SEQPACKET, and the single client that is
/// served. Further clients wait in the backlog until it disconnects. No function blocks.
class PeerSocket : iplbase::NonCopyable
{
public:
    enum class Outcome
    {
        sent,
        full, ///< the client has not read enough of the earlier frames
        gone
    };

    /// Listens. Replaces a socket file without a listener. Throws std::runtime_error when another process listens, or
    /// when the socket cannot be created.
    explicit PeerSocket(const std::string& path);

    /// Removes the socket file.
    ~PeerSocket();

    bool hasClient() const { return m_client >= 0; }

    /// The client's descriptor if a client is connected, otherwise the listener's.
    int descriptor() const { return hasClient() ? m_client : m_listener; }

    /// Accepts a waiting client.
    void accept();

    /// Requires a client. A frame is sent completely or not at all. Throws std::system_error when the system does not
    /// accept a frame of this size.
    Outcome send(std::span<const std::uint8_t> frame);

    /// Reads and discards the client's data, and closes the connection of a client that has disconnected.
    void hear();

    /// Whether the client has unread frames.
    bool hasUnread() const;

private:
    void removeStale() const;
    void dropClient();

    const sockaddr_un m_address;
    int m_listener = -1;
    int m_client = -1;
};

} // namespace rstp_peer
