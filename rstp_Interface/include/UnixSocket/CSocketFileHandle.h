#pragma once

#include <string>
#include <sys/un.h>

#include "UnixSocket/ISocketFileHandle.h"
#include "quor_logger.h"

namespace UnixSocket {

/// A Unix-domain socket that connects to a peer, or in server mode waits for one at its path. Used on one thread.
class CSocketFileHandle final : public ISocketFileHandle
{
public:
    CSocketFileHandle(const quor_logger& logger, bool serverMode);
    ~CSocketFileHandle() override;
    CSocketFileHandle(const CSocketFileHandle&) = delete;
    CSocketFileHandle& operator=(const CSocketFileHandle&) = delete;

    std::string path() const override { return m_path; }

    /// As a client it opens SOCK_SEQPACKET and never waits: a server that has no room is a failure, as is one that runs
    /// neither as root nor as our own user. As a server waits for the peer.
    std::uint32_t open(const std::string& path, int flags, int type, int protocol) override;
    void close() override;
    bool isOpen() const override { return m_socket >= 0; }
    int fileDescriptor() const override { return m_socket; }

    /// Never waits. Closes the socket when the peer has closed it.
    ssize_t read(void* buffer, std::size_t length) override;

    /// Waits for at most 5 s for room, and closes the socket when there is none.
    ssize_t write(const void* buffer, std::size_t length) override;

    /// The errno of the last failure, 0 before any.
    int lastError() const { return m_lastError; }

private:
    std::uint32_t connectTo(int protocol);
    bool isPeerTrusted();
    std::uint32_t acceptFrom(int type, int protocol);
    bool listenAt(int type, int protocol);
    bool fillAddress();
    bool waitForRoom();
    void fail();
    void failAndClose();

    const quor_logger& m_logger;
    const bool m_serverMode;
    int m_socket = -1;
    int m_listeningSocket = -1;
    std::string m_path;
    sockaddr_un m_address{};
    int m_lastError = 0;
};

} // namespace UnixSocket
