#pragma once

#include <array>
#include <csignal>
#include <fcntl.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

#include "ChildProcess.h"
#include "Eventually.h"
#include "iplbase/NonCopyable.h"

namespace test_support {

/// The unit's services, played by the unit simulator in a process of its own. The test types its commands.
class SimulatedUnit : iplbase::NonCopyable
{
public:
    explicit SimulatedUnit(const std::string& program, const std::vector<std::string>& options = {})
        : m_process{command(program, options)}
    {
        if (!m_process.waitForOutput("the unit's services are there")) {
            throw std::runtime_error{"no unit: " + m_process.output()};
        }
    }
    ~SimulatedUnit()
    {
        ::close(m_input[0]);
        ::close(m_input[1]);
    }

    /// Does a step and returns when that was done.
    void type(const std::string& step)
    {
        const auto report = "unit-simulator: " + step.substr(0, step.find(' '));
        const auto before = linesWith(report).size();
        typeLine(step);
        if (!eventually([&] { return linesWith(report).size() > before; })) {
            throw std::runtime_error{"the unit does not do " + step};
        }
    }

    /// Types what may be a step or not.
    void typeLine(const std::string& text)
    {
        const auto line = text + '\n';
        if (::write(m_input[1], line.data(), line.size()) < 0) {
            throw std::runtime_error{"the unit does not read " + text};
        }
    }

    /// What follows the text in the lines that it has written.
    std::vector<std::string> linesWith(const std::string& text) const
    {
        std::vector<std::string> found;
        std::istringstream all{m_process.output()};
        for (std::string line; std::getline(all, line);) {
            if (const auto place = line.find(text); place != std::string::npos) {
                found.push_back(line.substr(place + text.size()));
            }
        }
        return found;
    }

    /// How the uses of its settings begin, "set IDS 0 to 1", in their order; waits until there are as many.
    std::vector<std::string> settingsUses(std::size_t count) const
    {
        const std::string text = "persistence: ";
        eventually([&] { return linesWith(text).size() >= count; });
        return linesWith(text);
    }

    void kill()
    {
        m_process.signal(SIGKILL);
        m_process.wait();
    }

private:
    std::vector<std::string> command(const std::string& program, const std::vector<std::string>& options)
    {
        if (::pipe2(m_input.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error{"pipe2"};
        }
        const auto input = "/proc/" + std::to_string(::getpid()) + "/fd/" + std::to_string(m_input[0]);
        std::vector<std::string> all{"sh", "-c", "exec \"$0\" --verbose \"$@\" <" + input, program};
        all.insert(all.end(), options.begin(), options.end());
        return all;
    }

    std::array<int, 2> m_input{};
    ChildProcess m_process;
};

} // namespace test_support
