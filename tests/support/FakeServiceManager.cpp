#include "FakeServiceManager.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace test_support {
namespace {

constexpr int kPatienceMs = 5000;

} // namespace

FakeServiceManager::FakeServiceManager() : m_socket{socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)}
{
    // An abstract name leaves no file behind.
    const auto name = "ids-notify-" + std::to_string(getpid());
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, name.data(), name.size());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    if (bind(m_socket, reinterpret_cast<const sockaddr*>(&address), length) != 0) {
        throw std::runtime_error{"cannot bind the notification socket"};
    }
    setenv("NOTIFY_SOCKET", ("@" + name).c_str(), 1);
    m_environment = "NOTIFY_SOCKET=@" + name;
}

FakeServiceManager::~FakeServiceManager()
{
    unsetenv("NOTIFY_SOCKET");
    close(m_socket);
}

std::string FakeServiceManager::next() const
{
    pollfd waiting{m_socket, POLLIN, 0};
    std::array<char, 512> text;
    if (poll(&waiting, 1, kPatienceMs) != 1) {
        return {};
    }
    const auto length = recv(m_socket, text.data(), text.size(), 0);
    return {text.data(), static_cast<std::size_t>(length > 0 ? length : 0)};
}

} // namespace test_support
