#include "PeerSocket.h"

#include <array>
#include <cerrno>
#include <linux/sockios.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace rstp_peer {
namespace {

sockaddr_un addressOf(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        throw std::runtime_error{"\"" + path + "\" is no path for a socket: 1 to 107 characters"};
    }
    path.copy(address.sun_path, path.size());
    return address;
}

const sockaddr* generic(const sockaddr_un& address)
{
    return reinterpret_cast<const sockaddr*>(&address);
}

int openSocket(int type)
{
    const int descriptor = socket(AF_UNIX, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (descriptor < 0) {
        throw std::system_error{errno, std::generic_category(), "socket"};
    }
    return descriptor;
}

bool isGone(int error)
{
    return error == EPIPE || error == ECONNRESET;
}

bool isForLater(int error)
{
    return error == EAGAIN || error == EINTR;
}

} // namespace

PeerSocket::PeerSocket(const std::string& path) : m_address{addressOf(path)}
{
    removeStale();
    m_listener = openSocket(SOCK_SEQPACKET);
    if (bind(m_listener, generic(m_address), sizeof m_address) != 0 || ::listen(m_listener, 1) != 0) {
        const int error = errno;
        close(m_listener);
        throw std::system_error{error, std::generic_category(), path};
    }
}

PeerSocket::~PeerSocket()
{
    unlink(m_address.sun_path);
    close(m_listener);
    dropClient();
}

void PeerSocket::removeStale() const
{
    struct stat file
    {};
    if (lstat(m_address.sun_path, &file) != 0 || !S_ISSOCK(file.st_mode)) {
        return;
    }
    // A socket of another type is refused by a listener without being taken for a client.
    const int probe = openSocket(SOCK_DGRAM);
    const int error = connect(probe, generic(m_address), sizeof m_address) == 0 ? 0 : errno;
    close(probe);
    if (error == ECONNREFUSED) {
        unlink(m_address.sun_path);
    } else if (error == 0 || error == EPROTOTYPE) {
        throw std::runtime_error{std::string{m_address.sun_path} + ": somebody else listens there"};
    }
}

void PeerSocket::accept()
{
    m_client = accept4(m_listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
}

PeerSocket::Outcome PeerSocket::send(std::span<const std::uint8_t> frame)
{
    if (::send(m_client, frame.data(), frame.size(), MSG_NOSIGNAL) >= 0) {
        return Outcome::sent;
    }
    if (isForLater(errno)) {
        return Outcome::full;
    }
    if (!isGone(errno)) {
        throw std::system_error{errno, std::generic_category(),
                                "a frame of " + std::to_string(frame.size()) + " bytes"};
    }
    dropClient();
    return Outcome::gone;
}

void PeerSocket::hear()
{
    std::array<char, 256> ignored{};
    const auto size = recv(m_client, ignored.data(), ignored.size(), 0);
    if (size == 0 || (size < 0 && !isForLater(errno))) {
        dropClient();
    }
}

bool PeerSocket::hasUnread() const
{
    int size = 0;
    return hasClient() && ioctl(m_client, SIOCOUTQ, &size) == 0 && size > 0;
}

void PeerSocket::dropClient()
{
    if (hasClient()) {
        close(std::exchange(m_client, -1));
    }
}

} // namespace rstp_peer
