#include "Options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <chrono>
#include <fstream>

#include "Hex.h"
#include "KnownEvents.h"

namespace rstp_peer {
namespace {

constexpr double kMostPerSecond = 1'000'000;

constexpr char kDescription[] =
    "Plays the car domain towards the IDS daemon: listens on the socket that the daemon connects to, and sends frames "
    "of the RSTP IDS_Event channel.";

constexpr char kFooter[] =
    "Sources: --frame, then --event, then --file, or --generate; besides them standard input. Without any, the\n"
    "connection is only kept. The first frame is due when the first client comes, and all others from then on by the\n"
    "clock: what is due while nobody is connected is lost, as it would be with a real source, and counted. A client\n"
    "that does not read is waited for. One client is served at a time, the next one waits.\n\n"
    "A frame is a message ID, the length of the parameters, the parameters; an IDS event is parameter 2 (tag 14) of\n"
    "message 1. In hex, blanks between the bytes or not:\n"
    "  01 05 14 03 AA BB CC    message 1, 5 bytes: tag 14, 3 bytes AA BB CC; the same as --event AABBCC\n"
    "  01 00                   message 1 without parameters\n"
    "  01 40 05 14 03 AA BB CC the first again, its length in two bytes (up to 63 in one, 16383 in two)\n"
    "To the daemon an event is a frame header (8 bytes, the event ID in bytes 3 and 4), a timestamp (8 bytes) and\n"
    "context data. A generated event carries its number, from 0 on, in bytes 7 to 10 of the context data: a gap is a\n"
    "loss, a number 0 a new peer.\n\n"
    "Examples:\n"
    "  rstp-peer --generate --rate 0.2\n"
    "  rstp-peer --generate --rate 0 --count 100000 --exit\n"
    "  rstp-peer --frame '01 05 14 03 AA BB CC' --repeat --verbose\n"
    "  echo 07 00 | rstp-peer --stdin --exit\n\n"
    "Signals: SIGINT and SIGTERM end with a summary on standard error.\n"
    "Exit status: 0; 1 the socket cannot be had; 2 usage.";

CLI::ValidationError invalid(const std::string& option, const std::string& what)
{
    return CLI::ValidationError{option, what};
}

void add(Options& options, const std::string& where, Bytes frame)
{
    if (frame.size() > kLargestFrame) {
        throw invalid(where, "a frame has at most " + std::to_string(kLargestFrame) + " bytes");
    }
    options.frames.push_back(std::move(frame));
}

Bytes hexOf(const std::string& where, const std::string& text, std::optional<Bytes> bytes)
{
    if (!bytes) {
        throw invalid(where, "\"" + text + "\" is not bytes in hex such as 01 05 14 03 AA BB CC");
    }
    return std::move(*bytes);
}

void addFrame(Options& options, const std::string& text)
{
    auto frame = hexOf("--frame", text, tool_support::fromHex(text));
    if (frame.empty()) {
        throw invalid("--frame", "a frame has at least one byte");
    }
    add(options, "--frame", std::move(frame));
}

void addEvent(Options& options, const std::string& text)
{
    add(options, "--event", eventFrame(hexOf("--event", text, tool_support::fromHex(text))));
}

void addFile(Options& options, const std::string& path)
{
    std::ifstream file{path};
    const auto before = options.frames.size();
    std::string line;
    for (std::size_t number = 1; std::getline(file, line); ++number) {
        const auto where = path + ":" + std::to_string(number);
        if (auto frame = hexOf(where, line, fromHexLine(line)); !frame.empty()) {
            add(options, where, std::move(frame));
        }
    }
    if (options.frames.size() == before) {
        throw invalid(path, "cannot be read, or holds no frame");
    }
}

void setId(Options& options, const std::string& text)
{
    const auto digits = std::string_view{text}.substr(text.starts_with("0x") || text.starts_with("0X") ? 2 : 0);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), options.id, 16);
    if (error != std::errc{} || end != digits.data() + digits.size()) {
        throw invalid("--id", "\"" + text + "\" is not an event ID such as 0xD707");
    }
}

void setRate(Options& options, double rate)
{
    if (!(rate >= 0 && rate <= kMostPerSecond)) {
        throw invalid("--rate", "not a number from 0 to 1000000");
    }
    options.rate = rate;
}

/// An option that may be given again and again; each value goes to the function.
CLI::Option* addEach(CLI::App& app, Options& options, const std::string& name,
                     void (*take)(Options&, const std::string&), const std::string& help)
{
    return app
        .add_option_function<std::vector<std::string>>(
            name,
            [&options, take](const std::vector<std::string>& texts) {
                for (const auto& text : texts) {
                    take(options, text);
                }
            },
            help)
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void addSources(CLI::App& app, Options& options)
{
    auto* const frame =
        addEach(app, options, "--frame", addFrame, "A frame to send, may be repeated")->type_name("HEX");
    auto* const event =
        addEach(app, options, "--event", addEvent, "An event to send in a frame, may be repeated")->type_name("HEX");
    auto* const file = addEach(app, options, "--file", addFile,
                               "Frames to send, one a line, empty lines and comments after # left out")
                           ->type_name("FILE");
    auto* const generate = app.add_flag("--generate", options.generates, "Send events with a running number")
                               ->excludes(frame)
                               ->excludes(event)
                               ->excludes(file);
    app.add_option_function<std::string>(
           "--id", [&options](const std::string& text) { setId(options, text); },
           "Event ID of generated events (default: 0xD707)")
        ->type_name("ID")
        ->needs(generate);
    app.add_option("--size", options.size, "Bytes of their context data (default: as many as the ID asks for)")
        ->check(CLI::Range(kLeastContext, std::size_t{65000}))
        ->type_name("N")
        ->needs(generate);
    app.add_flag("--stdin", options.readsInput,
                 "Send each line of standard input too, at once (default on a terminal, but for --exit)");
}

} // namespace

std::optional<int> parseOptions(int argc, char** argv, Options& options)
{
    CLI::App app{kDescription, "rstp-peer"};
    app.footer(kFooter);
    app.set_version_flag("--version", "rstp-peer " IDS_VERSION, "Print the version and exit");
    app.add_option("--socket", options.socketPath, "Where to listen (default: " + options.socketPath + ")")
        ->type_name("PATH");
    addSources(app, options);
    app.add_option_function<double>(
           "--rate", [&options](double rate) { setRate(options, rate); },
           "Frames per second (default: 1), 0 as fast as the client reads")
        ->type_name("N");
    app.add_option("--count", options.count, "So many frames in all, sent or lost")
        ->check(CLI::PositiveNumber)
        ->type_name("N");
    app.add_flag("--repeat", options.repeats, "Begin with the first frame again after the last one");
    app.add_flag("--exit", options.exits, "End when all has been sent and read (default: keep the connection)");
    app.add_flag("--verbose", options.verbose, "Show each frame sent");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kUsageError;
    }
    return std::nullopt;
}

FrameSource sourceOf(const Options& options)
{
    if (options.generates) {
        const auto size = options.size.value_or(std::max<std::size_t>(ids::contextDataSize(options.id), kLeastContext));
        const auto make = [id = options.id, size](std::uint64_t number) {
            using std::chrono::system_clock;
            const auto now =
                std::chrono::duration_cast<std::chrono::milliseconds>(system_clock::now().time_since_epoch());
            return eventFrame(generatedEvent(id, size, number, static_cast<std::uint64_t>(now.count())));
        };
        return {make, options.count.value_or(FrameSource::kEndless), options.rate};
    }
    const auto all = options.repeats && !options.frames.empty() ? FrameSource::kEndless : options.frames.size();
    const auto make = [&frames = options.frames](std::uint64_t number) { return frames[number % frames.size()]; };
    return {make, std::min<std::uint64_t>(all, options.count.value_or(all)), options.rate};
}

} // namespace rstp_peer
