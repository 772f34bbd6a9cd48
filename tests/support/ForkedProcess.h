#pragma once

#include <csignal>
#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include "iplbase/NonCopyable.h"

namespace test_support {

/// A copy of this process that does some work, such as giving itself a name, and then sleeps until it is killed, at the
/// latest with this object. The work must not need what other threads of this process hold, such as memory.
class ForkedProcess : iplbase::NonCopyable
{
public:
    template <typename Work>
    explicit ForkedProcess(Work work) : m_pid{fork()}
    {
        if (m_pid == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            work();
            while (true) {
                pause();
            }
        }
    }
    ~ForkedProcess()
    {
        if (m_pid > 0) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, nullptr, 0);
        }
    }

    /// Negative when there was no process to be had.
    pid_t pid() const { return m_pid; }

private:
    const pid_t m_pid;
};

} // namespace test_support
