#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

#include "ChildProcess.h"

namespace test_support {

/// A bus daemon for a test, which replaces the system bus for the code under test. It can be killed and restarted at
/// the same address.
class TestBus
{
public:
    /// rules: added to a policy that allows everything.
    explicit TestBus(const std::string& rules = "")
    {
        if (mkdtemp(m_directory.data()) == nullptr) {
            throw std::runtime_error{"mkdtemp"};
        }
        const auto address = "unix:path=" + m_directory + "/bus";
        std::filesystem::permissions(m_directory, std::filesystem::perms{0755});
        std::ofstream{m_directory + "/bus.conf"} << "<busconfig><type>session</type><listen>" << address << R"(</listen>
            <auth>EXTERNAL</auth>
            <policy context="default">
              <allow send_destination="*" eavesdrop="true"/>
              <allow receive_sender="*"/><allow user="*"/><allow own="*"/>
            )" << rules << "</policy></busconfig>";
        setenv("DBUS_SYSTEM_BUS_ADDRESS", address.c_str(), 1);
        start();
    }

    ~TestBus()
    {
        kill();
        unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
        std::filesystem::remove_all(m_directory);
    }

    const std::string& directory() const { return m_directory; }
    pid_t pid() const { return m_daemon->pid(); }
    std::string output() const { return m_daemon->output(); }

    void start()
    {
        const std::vector<std::string> command{"dbus-daemon", "--config-file=" + m_directory + "/bus.conf", "--nofork",
                                               "--nopidfile", "--print-address"};
        // Keeps the bus daemon from notifying the service manager.
        m_daemon = std::make_unique<ChildProcess>(command, std::vector<std::string>{"NOTIFY_SOCKET="});
        if (!m_daemon->waitForOutput("unix:path=")) {
            throw std::runtime_error{"dbus-daemon does not start: " + m_daemon->output()};
        }
    }

    /// Kills the bus daemon.
    void kill() { m_daemon.reset(); }

private:
    std::string m_directory = std::filesystem::temp_directory_path() / "ids-bus-XXXXXX";
    std::unique_ptr<ChildProcess> m_daemon;
};

} // namespace test_support
