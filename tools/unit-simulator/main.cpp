#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <poll.h>
#include <unistd.h>

#include "Options.h"
#include "Player.h"
#include "Signals.h"
#include "Steps.h"
#include "Unit.h"
#include "conn_common/Function2AOEvent.h"

namespace {

using namespace unit_simulator;

void say(const std::string& text)
{
    std::cerr << "unit-simulator: " + text + "\n";
}

std::string contentsOf(const std::string& path)
{
    std::ifstream file{path, std::ios::binary};
    std::string text{std::istreambuf_iterator<char>{file}, {}};
    if (file.bad() || !file.is_open()) {
        throw BadInput{path + ": cannot be read"};
    }
    return text;
}

/// Does what scenario, command line and standard input ask for until a signal comes.
class Simulator
{
public:
    Simulator(const Options& options, const std::vector<StepKind>& kinds)
        : m_options{options},
          m_kinds{kinds},
          m_scenario{options.scenarioFile.empty()
                         ? Scenario{}
                         : readScenario(contentsOf(options.scenarioFile), options.scenarioFile, kinds)},
          m_settings{options.persistenceFile}
    {
        for (const auto& command : options.commands) {
            m_commands.push_back(readCommand(command, kinds));
        }
    }

    int run(int signals)
    {
        comm::runAndWait(m_factory->getActiveObject({}), [this] {
            m_unit = std::make_unique<Unit>(m_factory, m_settings, [this](const std::string& text) { report(text); });
        });
        const bool provided = m_unit->provideAll(); // from here, so that the bus' answers are waited for
        if (provided) {
            say("the unit's services are there");
            for (const auto& command : m_commands) {
                perform(command);
            }
            play(signals);
        } else {
            say("the bus does not let us provide the unit's services");
        }
        comm::runAndWait(m_factory->getActiveObject({}), [this] { m_unit.reset(); });
        return provided ? 0 : 1;
    }

private:
    void play(int signals)
    {
        Player player{m_scenario, Player::Clock::now()};
        std::array<pollfd, 2> entries{{{signals, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}}};
        while (poll(entries.data(), entries.size(), timeoutUntil(player.nextDue())) >= 0 || errno == EINTR) {
            if (entries[0].revents != 0) {
                return;
            }
            if (entries[1].revents != 0 && !readInput()) {
                entries[1].fd = -1;
            }
            while (const auto* const step = player.takeDue(Player::Clock::now())) {
                perform(*step);
            }
        }
    }

    static int timeoutUntil(const std::optional<Player::Clock::time_point>& due)
    {
        if (!due) {
            return -1;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*due - Player::Clock::now()).count();
        return static_cast<int>(std::clamp<std::int64_t>(left, 0, 1'000'000'000));
    }

    // Returns false at the end of standard input.
    bool readInput()
    {
        std::array<char, 4096> part;
        const auto size = ::read(STDIN_FILENO, part.data(), part.size());
        if (size > 0) {
            m_input.append(part.data(), static_cast<std::size_t>(size));
        } else if (!m_input.empty()) {
            m_input += '\n';
        }
        for (auto end = m_input.find('\n'); end != std::string::npos; end = m_input.find('\n')) {
            const auto line = m_input.substr(0, end);
            m_input.erase(0, end + 1);
            type(line);
        }
        return size > 0;
    }

    void type(const std::string& line)
    {
        if (line.find_first_not_of(" \t\r") == std::string::npos) {
            return;
        }
        try {
            perform(readCommand(line, m_kinds));
        } catch (const BadInput& problem) {
            say(problem.what());
        }
    }

    void report(const std::string& text) const
    {
        if (m_options.verbose) {
            say(text);
        }
    }

    // Not waited for: while the unit hangs, the time of the scenario goes on.
    void perform(const Step& step)
    {
        common_::enqueFunction2AOF(m_factory, [this, step] {
            report(step.kind->name);
            try {
                step.kind->run(*m_unit, step.fields);
            } catch (const BadInput& problem) {
                say(std::string{step.kind->name} + ": " + problem.what());
            }
        });
    }

    const Options& m_options;
    const std::vector<StepKind>& m_kinds;
    const Scenario m_scenario;
    PersistenceStore m_settings;
    std::vector<Step> m_commands;
    std::string m_input;
    const comm::FactoryPtr m_factory =
        std::make_shared<comm::SingleThreadedActiveObjectFactory<comm::ActiveObject>>("Unit");
    std::unique_ptr<Unit> m_unit;
};

} // namespace

int main(int argc, char** argv)
{
    try {
        const auto kinds = allSteps();
        Options options;
        if (const auto status = parseOptions(argc, argv, options, kinds)) {
            return *status;
        }
        const int signals =
            tool_support::openSignals({SIGINT, SIGTERM}); // before there are threads to which they could go
        return Simulator{options, kinds}.run(signals);
    } catch (const BadInput& problem) {
        say(problem.what());
        return kUsageError;
    } catch (const std::exception& error) {
        say(error.what());
        return 1;
    }
}
