#pragma once

#include <csignal>
#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include "iplbase/NonCopyable.h"

namespace test_support {

/// A copy of this process that does some work, such as naming itself, and then sleeps until it is killed, by the
/// destructor at the latest. The work must not need locks that other threads of this process may hold, such as the
/// allocator's.
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

    /// Negative if fork failed.
    pid_t pid() const { return m_pid; }

private:
    const pid_t m_pid;
};

} // namespace test_support
