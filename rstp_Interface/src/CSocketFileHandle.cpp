#include "UnixSocket/CSocketFileHandle.h"

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace UnixSocket {
namespace {

constexpr std::uint32_t kFailed = 0xFFFFFFFF;
constexpr int kBacklog = 1;
constexpr int kWriteTimeoutMs = 5000;
constexpr std::chrono::milliseconds kLongWrite{100};

} // namespace

CSocketFileHandle::CSocketFileHandle(const quor_logger& logger, bool serverMode)
    : m_logger{logger}, m_serverMode{serverMode}
{}

CSocketFileHandle::~CSocketFileHandle()
{
    close();
    if (m_listeningSocket >= 0) {
        ::close(m_listeningSocket);
    }
}

std::uint32_t CSocketFileHandle::open(const std::string& path, int, int type, int protocol)
{
    close();
    m_path = path;
    return m_serverMode ? acceptFrom(type, protocol) : connectTo(protocol);
}

// Not blocking: a connect to a peer that does not accept would wait for ever.
std::uint32_t CSocketFileHandle::connectTo(int protocol)
{
    m_socket = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, protocol);
    if (m_socket < 0) {
        fail();
        m_logger.error("socket(AF_UNIX, SOCK_SEQPACKET)=%d", m_socket);
        return kFailed;
    }
    if (!fillAddress()) {
        failAndClose();
        m_logger.error("Error in copying path %s", std::strerror(m_lastError));
        return kFailed;
    }
    if (::connect(m_socket, reinterpret_cast<const sockaddr*>(&m_address), sizeof m_address) != 0) {
        failAndClose();
        m_logger.error("connect(%s)=%s", m_path.c_str(), std::strerror(m_lastError));
        return kFailed;
    }
    if (!isPeerTrusted()) {
        close();
        return kFailed;
    }
    m_logger.detail("connect(%s)=%d", m_path.c_str(), m_socket);
    return 0;
}

// The path lies where everybody may make files: whoever listens there must be root or our own user.
bool CSocketFileHandle::isPeerTrusted()
{
    ucred peer{};
    socklen_t size = sizeof peer;
    if (::getsockopt(m_socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
        fail();
        m_logger.error("The peer at %s does not show who it is: %s", m_path.c_str(), std::strerror(m_lastError));
        return false;
    }
    if (peer.uid != 0 && peer.uid != ::geteuid()) {
        errno = EPERM;
        fail();
        m_logger.error("The peer at %s is process %d of user %u, which is not trusted", m_path.c_str(),
                       static_cast<int>(peer.pid), static_cast<unsigned>(peer.uid));
        return false;
    }
    return true;
}

std::uint32_t CSocketFileHandle::acceptFrom(int type, int protocol)
{
    if (m_listeningSocket < 0 && !listenAt(type, protocol)) {
        return kFailed;
    }
    m_socket = ::accept4(m_listeningSocket, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (m_socket < 0) {
        fail();
        m_logger.error("accept(%d, %s)=%d", m_listeningSocket, m_path.c_str(), m_socket);
        return kFailed;
    }
    m_logger.detail("accept(%d, %s)=%d", m_listeningSocket, m_path.c_str(), m_socket);
    return 0;
}

bool CSocketFileHandle::listenAt(int type, int protocol)
{
    if (!fillAddress()) {
        fail();
        return false;
    }
    m_listeningSocket = ::socket(AF_UNIX, type | SOCK_CLOEXEC, protocol);
    if (m_listeningSocket < 0) {
        fail();
        return false;
    }
    ::unlink(m_path.c_str());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + m_path.size());
    if (::bind(m_listeningSocket, reinterpret_cast<const sockaddr*>(&m_address), length) != 0 ||
        ::listen(m_listeningSocket, kBacklog) != 0)
    {
        fail();
        ::close(std::exchange(m_listeningSocket, -1));
        return false;
    }
    return true;
}

bool CSocketFileHandle::fillAddress()
{
    if (m_path.size() >= sizeof m_address.sun_path) {
        errno = ENAMETOOLONG;
        return false;
    }
    m_address = {};
    m_address.sun_family = AF_UNIX;
    m_path.copy(m_address.sun_path, m_path.size());
    return true;
}

void CSocketFileHandle::close()
{
    if (isOpen()) {
        ::close(std::exchange(m_socket, -1));
    }
}

ssize_t CSocketFileHandle::read(void* buffer, std::size_t length)
{
    if (buffer == nullptr) {
        return -1;
    }
    const auto received = ::recv(m_socket, buffer, length, MSG_DONTWAIT);
    if (received == 0) {
        close();
    }
    if (received < 0 && errno != EAGAIN) {
        fail();
        m_logger.error("%s(%s): recv(): sockedFd=%d, errno=%d", "read", "228", m_socket, m_lastError);
    }
    return received;
}

ssize_t CSocketFileHandle::write(const void* buffer, std::size_t length)
{
    const auto start = std::chrono::steady_clock::now();
    if (!isOpen()) {
        m_logger.warning("write() failed -> FD no yet open");
        return -1;
    }
    if (!waitForRoom()) {
        const auto socket = m_socket;
        close();
        m_logger.warning("write() on %d failed", socket);
        return -1;
    }
    const auto sent = ::send(m_socket, buffer, length, MSG_NOSIGNAL);
    if (sent < 0) {
        fail();
        m_logger.error("send(%d)=%s", m_socket, std::strerror(m_lastError));
    }
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
    if (took >= kLongWrite) {
        m_logger.warning("send(%d) took %dms", m_socket, static_cast<int>(took.count()));
    }
    return sent;
}

bool CSocketFileHandle::waitForRoom()
{
    pollfd entry{m_socket, POLLOUT | POLLERR | POLLHUP | POLLNVAL, 0};
    const int result = ::poll(&entry, 1, kWriteTimeoutMs);
    if (result < 0) {
        fail();
        m_logger.error("Could not open fd '%u': %s", static_cast<unsigned>(m_socket), std::strerror(m_lastError));
        return false;
    }
    if (result == 0) {
        m_logger.error("Timeout, reconnect!");
        return false;
    }
    if (entry.revents != POLLOUT) {
        m_logger.error("Cannot sent data, reconnect! result: %u, revents: %04X", static_cast<unsigned>(result),
                       static_cast<unsigned>(entry.revents));
        return false;
    }
    return true;
}

void CSocketFileHandle::fail()
{
    m_lastError = errno;
}

void CSocketFileHandle::failAndClose()
{
    fail();
    close();
}

} // namespace UnixSocket
