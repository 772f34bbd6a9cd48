#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "NetworkNamespace.h"

namespace test_support {

/// A DLT daemon with its pipes in a folder and its port in a network namespace of its own, so that it meets neither the
/// machine's DLT daemon nor a viewer. Programs that are to find it must be started or linked during its lifetime.
class DltDaemon : iplbase::NonCopyable
{
public:
    DltDaemon()
    {
        if (mkdtemp(m_directory.data()) == nullptr) {
            throw std::runtime_error{"mkdtemp"};
        }
        setenv("DLT_PIPE_DIR", m_directory.c_str(), 1);
        std::ofstream{m_directory + "/dlt.conf"} << "ControlSocketPath = " << m_directory << "/control\n"
                                                 << "PersistanceStoragePath = " << m_directory << "\n";
    }
    ~DltDaemon()
    {
        m_daemon.reset();
        unsetenv("DLT_PIPE_DIR");
        std::filesystem::remove_all(m_directory);
    }

    const NetworkNamespace& network() const { return m_network; }

    void start()
    {
        m_daemon.reset();
        m_daemon = std::make_unique<ChildProcess>(
            std::vector<std::string>{"dlt-daemon", "-c", m_directory + "/dlt.conf", "-t", m_directory});
        if (!m_daemon->waitForOutput("Switched to buffer state for socket connections")) {
            throw std::runtime_error{"dlt-daemon does not start: " + m_daemon->output()};
        }
    }
    void signal(int number) const { m_daemon->signal(number); }

    /// Runs dlt-control with these options and returns its output.
    static std::string control(std::vector<std::string> options)
    {
        options.insert(options.begin(), {"dlt-control", "-t", "300"});
        options.emplace_back("localhost");
        return outputOf(options);
    }

    /// The command of a viewer, which writes the lines of every application.
    static std::vector<std::string> viewer() { return {"stdbuf", "--output=L", "dlt-receive", "-a", "localhost"}; }

    /// The number of applications that have their pipe in the folder.
    std::ptrdiff_t applications() const
    {
        return std::distance(std::filesystem::directory_iterator{m_directory + "/dltpipes"}, {});
    }

private:
    const NetworkNamespace m_network;
    std::string m_directory = std::filesystem::temp_directory_path() / "ids-dlt-XXXXXX";
    std::unique_ptr<ChildProcess> m_daemon;
};

} // namespace test_support
