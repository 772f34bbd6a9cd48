#include "ChildProcess.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <spawn.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace test_support {
namespace {

constexpr std::chrono::milliseconds kStep{5};

std::vector<char*> pointers(std::vector<std::string>& texts)
{
    std::vector<char*> all;
    for (auto& text : texts) {
        all.push_back(text.data());
    }
    all.push_back(nullptr);
    return all;
}

} // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command, const std::vector<std::string>& environment)
    : m_output{memfd_create("output", MFD_CLOEXEC)}
{
    auto arguments = command;
    // The added entries come first: the first entry of a name counts.
    auto variables = environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        variables.emplace_back(*entry);
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, m_output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, m_output, STDERR_FILENO);
    const int error = posix_spawnp(&m_pid, arguments[0].c_str(), &actions, nullptr, pointers(arguments).data(),
                                   pointers(variables).data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        close(m_output);
        throw std::system_error{error, std::generic_category(), command[0]};
    }
}

ChildProcess::~ChildProcess()
{
    if (!m_status) {
        signal(SIGKILL);
        wait();
    }
    close(m_output);
}

void ChildProcess::signal(int number) const
{
    if (!m_status) {
        kill(m_pid, number);
    }
}

std::optional<int> ChildProcess::wait(std::chrono::milliseconds patience)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!m_status) {
        int status = 0;
        if (waitpid(m_pid, &status, WNOHANG) == m_pid) {
            m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        } else if (std::chrono::steady_clock::now() > end) {
            return std::nullopt;
        } else {
            std::this_thread::sleep_for(kStep);
        }
    }
    return m_status;
}

std::string ChildProcess::output() const
{
    struct stat status;
    fstat(m_output, &status);
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    const auto count = pread(m_output, text.data(), text.size(), 0);
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return text;
}

bool ChildProcess::waitForOutput(const std::string& text, std::chrono::milliseconds patience) const
{
    const auto end = std::chrono::steady_clock::now() + patience;
    while (output().find(text) == std::string::npos) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(kStep);
    }
    return true;
}

std::string outputOf(const std::vector<std::string>& command)
{
    ChildProcess process{command};
    process.wait();
    return process.output();
}

} // namespace test_support
