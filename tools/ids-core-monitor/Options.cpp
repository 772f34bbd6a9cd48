#include "Options.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <string>
#include <vector>

namespace core_monitor {
namespace {

constexpr double kLongestSeconds = 1e9;

constexpr char kDescription[] =
    "Stands in for the IDS core: connects to the IDS daemon, waits for it when it is not running, and prints each "
    "security event on one line.\n"
    "The daemon sends to the client that connected last, so on a unit with a core this takes the events from it.";

constexpr char kFooter[] =
    "An event is marked as raw, that is framed by another domain of the car and passed on by the daemon, when\n"
    "  its ID has no record type of the daemon's, or\n"
    "  its context data have another size than its ID asks for, or\n"
    "  its frame is not the daemon's own: 13 0C 40 <ID> 00 01 00.\n"
    "Events of another domain that match the daemon's own in all this are not recognised.\n"
    "A note in brackets names what is odd: unknown ID, cut blocks, a frame with another ID.\n\n"
    "JSON: id, name, raw, frame, timestamp, contextData (hex), fields, with --hex fieldBytes (hex), note.\n"
    "Text is ASCII with all else escaped as \\uXXXX. Fields that are cut are left out.\n\n"
    "Signals: SIGUSR1 prints a table of the events to standard error; SIGINT and SIGTERM end with one.\n"
    "Environment: DBUS_SYSTEM_BUS_ADDRESS (the bus), TRACING (thresholds of the log, such as CON_COMM=0),\n"
    "  NO_COLOR (no colours on a terminal).\n"
    "Exit status: 0; 1 no connection in time, or the output cannot be written; 2 usage.";

std::optional<double> secondsOf(const std::string& text)
{
    double seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    const bool isRead = error == std::errc{} && end == text.data() + text.size();
    return isRead && seconds >= 0 && seconds <= kLongestSeconds ? std::optional{seconds} : std::nullopt;
}

std::optional<std::uint16_t> idOf(const std::string& text)
{
    const auto digits = std::string_view{text}.substr(text.starts_with("0x") || text.starts_with("0X") ? 2 : 0);
    std::uint16_t id = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), id, 16);
    return error == std::errc{} && end == digits.data() + digits.size() ? std::optional{id} : std::nullopt;
}

void addSeconds(CLI::App& app, const std::string& name, const std::string& help,
                std::optional<std::chrono::milliseconds>& destination)
{
    app.add_option_function<std::string>(
           name,
           [&destination, name](const std::string& text) {
               const auto seconds = secondsOf(text);
               if (!seconds) {
                   throw CLI::ValidationError{name, "\"" + text + "\" is not a number of seconds"};
               }
               destination = std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>{*seconds});
           },
           help)
        ->type_name("SECONDS");
}

void addIds(CLI::App& app, std::set<std::uint16_t>& destination)
{
    app.add_option_function<std::vector<std::string>>(
           "--only",
           [&destination](const std::vector<std::string>& texts) {
               for (const auto& text : texts) {
                   const auto id = idOf(text);
                   if (!id) {
                       throw CLI::ValidationError{"--only", "\"" + text + "\" is not an event ID such as 0x000B"};
                   }
                   destination.insert(*id);
               }
           },
           "Show only events of these IDs (hexadecimal, commas between them)")
        ->delimiter(',')
        ->type_name("ID");
}

} // namespace

std::optional<int> parseOptions(int argc, char** argv, Options& options)
{
    CLI::App app{kDescription, "ids-core-monitor"};
    app.footer(kFooter);
    app.set_version_flag("--version", "ids-core-monitor " IDS_VERSION, "Print the version and exit");
    app.add_flag("--json", options.json, "One JSON object per line");
    app.add_flag("--long", options.isLong, "Every field of an event, on indented lines");
    app.add_flag("--hex", options.hex, "Show the bytes too");
    app.add_option("--count", options.count, "End after so many events shown")
        ->check(CLI::PositiveNumber)
        ->type_name("N");
    addSeconds(app, "--for", "End after this time", options.period);
    addSeconds(app, "--wait", "Wait so long for the daemon at the start (default: no limit)", options.wait);
    addIds(app, options.only);
    app.add_option("--pcapng", options.pcapng,
                   "Write the events shown to a capture file too, which the dissector ids_events.lua opens")
        ->type_name("FILE");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kUsageError;
    }
    return std::nullopt;
}

} // namespace core_monitor
