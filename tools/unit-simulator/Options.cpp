#include "Options.h"

#include <CLI/CLI.hpp>
#include <iostream>

namespace unit_simulator {
namespace {

constexpr char kDescription[] =
    "Plays the unit that the IDS daemon runs on: provides the services that the daemon is a client of, keeps their "
    "attributes, and calls the daemon's own services. What happens is told by a scenario and by commands.";

constexpr char kFooter[] =
    "A scenario is a JSON file of timed steps; the ones shipped are in tools/unit-simulator/scenarios:\n"
    "  {\"repeatAfter\": 60, \"steps\": [{\"at\": 1.5, \"do\": \"clamps\", \"Clamp15\": 1}, ...]}\n"
    "A command is a step on one line: clamps Clamp15=1. A value is JSON or else a text, so null is an absent value "
    "and\n"
    "[\"a\",null] an array, without blanks. Lines of standard input are commands too, while it is open.\n\n"
    "Examples:\n"
    "  unit-simulator --scenario tools/unit-simulator/scenarios/drive.json --verbose\n"
    "  unit-simulator --do 'connection-result startResult=2'\n"
    "  echo 'down service=gnss' | unit-simulator\n"
    "  unit-simulator --persistence-file settings.db --do 'persistence-value partition=IDS key=0 value=1'\n"
    "  unit-simulator --list\n\n"
    "Signals: SIGINT and SIGTERM end it. SIGKILL is how to try what the daemon does when the unit dies.\n"
    "Environment: DBUS_SYSTEM_BUS_ADDRESS (the bus), TRACING (thresholds of the log, such as CON_COMM=0).\n"
    "Exit status: 0; 1 no bus or a name that somebody else has; 2 usage, or a scenario that cannot be read.";

void list(const std::vector<StepKind>& kinds)
{
    for (const auto& kind : kinds) {
        std::cout << kind.name << ": " << kind.help << '\n';
        for (const auto& field : kind.fields) {
            std::cout << "    " << field.name << " (" << textOf(field.kind) << "; default " << field.otherwise.dump()
                      << "): " << field.help << '\n';
        }
    }
}

} // namespace

std::optional<int> parseOptions(int argc, char** argv, Options& options, const std::vector<StepKind>& kinds)
{
    CLI::App app{kDescription, "unit-simulator"};
    app.footer(kFooter);
    app.set_version_flag("--version", "unit-simulator " IDS_VERSION, "Print the version and exit");
    bool lists = false;
    app.add_flag("--list", lists, "Print every step with its fields and exit");
    app.add_option("--scenario", options.scenarioFile, "Play this scenario")->type_name("FILE");
    app.add_option("--do", options.commands, "Do a step first; may be repeated")
        ->type_name("COMMAND")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_option("--persistence-file", options.persistenceFile,
                   "Keep the settings of the persistence service in this SQLite file; otherwise in memory")
        ->type_name("FILE");
    app.add_flag("--verbose", options.verbose, "Show each step and each use of the settings on standard error");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kUsageError;
    }
    if (lists) {
        list(kinds);
        return 0;
    }
    return std::nullopt;
}

} // namespace unit_simulator
