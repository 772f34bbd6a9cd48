#pragma once

#include <string>

namespace test_support {

/// The socket on which a service manager would be told how its service is doing.
class FakeServiceManager
{
public:
    FakeServiceManager();
    ~FakeServiceManager();
    FakeServiceManager(const FakeServiceManager&) = delete;
    FakeServiceManager& operator=(const FakeServiceManager&) = delete;

    /// NOTIFY_SOCKET=..., which tells a process where the socket is. Set for this process too.
    const std::string& environment() const { return m_environment; }

    /// The next notification; empty when none comes in time.
    std::string next() const;

private:
    int m_socket = -1;
    std::string m_environment;
};

} // namespace test_support
