#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "iplbase/NonCopyable.h"

namespace test_support {

/// A program in a process of its own, killed by the destructor at the latest. Its output is kept in a file.
class ChildProcess : iplbase::NonCopyable
{
public:
    /// Starts the program, found by path or in PATH. environment: NAME=VALUE, in addition to this process' environment.
    explicit ChildProcess(const std::vector<std::string>& command, const std::vector<std::string>& environment = {});
    ~ChildProcess();

    pid_t pid() const { return m_pid; }
    void signal(int number) const;

    /// Whether it has exited.
    bool ended();

    /// The exit status, 128 + number after a signal; nullopt on a timeout.
    std::optional<int> wait();

    /// Its standard output and standard error so far.
    std::string output() const;

    /// Waits until the output contains the text.
    bool waitForOutput(const std::string& text, std::chrono::milliseconds patience = std::chrono::seconds{20}) const;

private:
    pid_t m_pid = -1;
    int m_output = -1;
    std::optional<int> m_status;
};

/// Runs a program to its end and returns its output.
std::string outputOf(const std::vector<std::string>& command);

} // namespace test_support
