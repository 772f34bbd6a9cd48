#include "ChildProcess.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include "Eventually.h"

namespace test_support {

ChildProcess::ChildProcess(const std::vector<std::string>& command, const std::vector<std::string>& environment)
    : m_output{memfd_create("output", MFD_CLOEXEC)}
{
    ::fcntl(m_output, F_SETFL, O_APPEND); // otherwise concurrent writes of two threads would overwrite each other
    // The additions apply to the program only, not to this process.
    std::vector<std::string> words = environment;
    if (!environment.empty()) {
        words.insert(words.begin(), "env");
    }
    words.insert(words.end(), command.begin(), command.end());
    std::vector<char*> arguments;
    for (auto& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, m_output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, m_output, STDERR_FILENO);
    const int error = posix_spawnp(&m_pid, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        close(m_output);
        throw std::system_error{error, std::generic_category(), command[0]};
    }
}

ChildProcess::~ChildProcess()
{
    signal(SIGKILL);
    wait();
    close(m_output);
}

void ChildProcess::signal(int number) const
{
    if (!m_status) {
        kill(m_pid, number);
        if (number == SIGSTOP) { // it may still run on another processor
            siginfo_t stopped{};
            waitid(P_PID, static_cast<id_t>(m_pid), &stopped, WSTOPPED | WEXITED | WNOWAIT);
        }
    }
}

bool ChildProcess::ended()
{
    int status = 0;
    if (!m_status && waitpid(m_pid, &status, WNOHANG) == m_pid) {
        m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return m_status.has_value();
}

std::optional<int> ChildProcess::wait()
{
    eventually([this] { return ended(); });
    return m_status;
}

std::string ChildProcess::output() const
{
    std::ifstream file{"/proc/self/fd/" + std::to_string(m_output)};
    return {std::istreambuf_iterator<char>{file}, {}};
}

bool ChildProcess::waitForOutput(const std::string& text, std::chrono::milliseconds patience) const
{
    return eventually([&] { return output().find(text) != std::string::npos; }, patience);
}

std::string outputOf(const std::vector<std::string>& command)
{
    ChildProcess process{command};
    process.wait();
    return process.output();
}

} // namespace test_support
