#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <sys/un.h>

#include "iplbase/NonCopyable.h"

namespace rstp_peer {

/// The car domain's end of the channel: a socket in the file system that keeps the boundaries of frames, and the one
/// client that is served. Whoever else connects waits until that one has gone. Nothing here blocks.
class PeerSocket : iplbase::NonCopyable
{
public:
    enum class Outcome
    {
        sent,
        full, ///< the client has not read enough of what was sent before
        gone
    };

    /// Listens. Takes the place of a socket file on which nobody listens any more. Throws std::runtime_error when
    /// somebody does, or when the path is not to be had.
    explicit PeerSocket(const std::string& path);

    /// Removes the socket file.
    ~PeerSocket();

    bool hasClient() const { return m_client >= 0; }

    /// The client's while there is one, else readable when one comes.
    int descriptor() const { return hasClient() ? m_client : m_listener; }

    /// Takes the client that waits, if any.
    void accept();

    /// Only while there is a client. A frame is sent whole or not at all. Throws std::system_error when the system
    /// takes no frame of this size.
    Outcome send(std::span<const std::uint8_t> frame);

    /// Reads and forgets what the client sends, and lets go of one that has gone.
    void hear();

    /// Whether the client has not read all yet that was sent to it.
    bool hasUnread() const;

private:
    void removeStale() const;
    void dropClient();

    const sockaddr_un m_address;
    int m_listener = -1;
    int m_client = -1;
};

} // namespace rstp_peer
