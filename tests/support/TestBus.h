#pragma once

#include <memory>
#include <string>

#include "ChildProcess.h"

namespace test_support {

/// A bus daemon of the test's own, which the code under test meets as the system bus. It can be killed and started
/// again at the same address.
class TestBus
{
public:
    TestBus();
    ~TestBus();
    TestBus(const TestBus&) = delete;
    TestBus& operator=(const TestBus&) = delete;

    const std::string& address() const { return m_address; }
    const std::string& directory() const { return m_directory; }
    pid_t pid() const { return m_daemon->pid(); }

    void start();

    /// Kills the daemon without a warning.
    void kill();

private:
    std::string m_directory;
    std::string m_address;
    std::unique_ptr<ChildProcess> m_daemon;
};

} // namespace test_support
