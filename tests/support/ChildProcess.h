#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "iplbase/NonCopyable.h"

namespace test_support {

/// A program in a process of its own, killed at the latest with this object. What it writes is kept in a file.
class ChildProcess : iplbase::NonCopyable
{
public:
    /// Starts the program found by PATH or by its path. environment: NAME=VALUE, added to ours.
    explicit ChildProcess(const std::vector<std::string>& command, const std::vector<std::string>& environment = {});
    ~ChildProcess();

    pid_t pid() const { return m_pid; }
    void signal(int number) const;

    /// Whether it has ended by itself.
    bool ended();

    /// The exit status, 128 + number when a signal ended it; nothing when it does not end in time.
    std::optional<int> wait();

    /// What it has written to standard output and standard error so far.
    std::string output() const;

    /// Waits until the output holds the text.
    bool waitForOutput(const std::string& text, std::chrono::milliseconds patience = std::chrono::seconds{20}) const;

private:
    pid_t m_pid = -1;
    int m_output = -1;
    std::optional<int> m_status;
};

/// Runs a program to its end and returns what it wrote.
std::string outputOf(const std::vector<std::string>& command);

} // namespace test_support
