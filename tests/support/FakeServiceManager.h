#pragma once

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include "iplbase/NonCopyable.h"

namespace test_support {

/// The notification socket of a service manager.
class FakeServiceManager : iplbase::NonCopyable
{
public:
    FakeServiceManager()
    {
        // An abstract name leaves no file.
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        m_name.copy(address.sun_path + 1, m_name.size());
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + m_name.size());
        if (bind(m_socket, reinterpret_cast<const sockaddr*>(&address), length) != 0) {
            throw std::runtime_error{"cannot bind the notification socket"};
        }
        const timeval patience{5, 0};
        setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        setenv("NOTIFY_SOCKET", ("@" + m_name).c_str(), 1);
    }

    ~FakeServiceManager()
    {
        unsetenv("NOTIFY_SOCKET");
        close(m_socket);
    }

    /// NOTIFY_SOCKET=..., the address of the socket. Set for this process too.
    std::string environment() const { return "NOTIFY_SOCKET=@" + m_name; }

    /// The next notification; empty on a timeout.
    std::string next() const
    {
        std::array<char, 512> text;
        const auto length = recv(m_socket, text.data(), text.size(), 0);
        return {text.data(), static_cast<std::size_t>(length > 0 ? length : 0)};
    }

private:
    const std::string m_name = "ids-notify-" + std::to_string(getpid());
    const int m_socket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
};

} // namespace test_support
