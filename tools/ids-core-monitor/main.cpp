#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "CoreConnection.h"
#include "Ending.h"
#include "JsonFormat.h"
#include "LineFormat.h"
#include "LineOutput.h"
#include "Monitor.h"
#include "Options.h"
#include "PcapngFile.h"
#include "Signals.h"
#include "Tally.h"
#include "conn_common/SynchronizedTimerFactory.h"
#include "tracing/Channel.h"

namespace {

using namespace core_monitor;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

// Otherwise a closed standard stream would give its number to another descriptor.
void fillStandardStreams()
{
    int descriptor = 0;
    do {
        descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    close(descriptor);
}

// The width of the terminal, which may change at any time.
std::size_t outputWidth()
{
    winsize size{};
    const bool isKnown = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
    return isKnown ? std::max<std::size_t>(size.ws_col, LineFormat::kLeastWidth) : LineFormat::kUsualWidth;
}

Monitor::Format formatFor(const Options& options)
{
    if (options.json) {
        return JsonFormat{{.fieldBytes = options.hex}};
    }
    const bool colour = isatty(STDOUT_FILENO) == 1 && std::getenv("NO_COLOR") == nullptr;
    return [format = LineFormat{{.colour = colour, .hex = options.hex, .isLong = options.isLong}}](
               const ReceivedEvent& event) mutable {
        format.setWidth(outputWidth());
        return format(event);
    };
}

void handleSignal(int signals, const Tally& tally, Ending& ending)
{
    signalfd_siginfo info{};
    if (read(signals, &info, sizeof info) != sizeof info) {
        return;
    }
    if (info.ssi_signo == SIGUSR1) {
        say(tally.summary());
    } else {
        ending.because(Ending::Reason::signalled);
    }
}

// Watches the clock, the signals and the reader of the output until the program is to end.
void watch(const Options& options, int signals, const Tally& tally, Ending& ending)
{
    constexpr milliseconds kLongestSleep{std::chrono::hours{1}};
    const auto start = Clock::now();
    const auto left = [start](milliseconds period) {
        return std::chrono::ceil<milliseconds>(start + period - Clock::now());
    };
    while (!ending.isNear()) {
        auto sleep = kLongestSleep;
        if (options.period) {
            sleep = std::min(sleep, left(*options.period));
        }
        const bool isWaiting = options.wait && !tally.wasConnected();
        if (isWaiting) {
            sleep = std::min(sleep, left(*options.wait));
        }
        if (sleep <= milliseconds{0}) {
            const bool isOver = options.period && left(*options.period) <= milliseconds{0};
            ending.because(isOver && tally.wasConnected() ? Ending::Reason::timeOver : Ending::Reason::noDaemon);
            return;
        }
        std::array<pollfd, 3> ready{{{ending.descriptor(), POLLIN, 0}, {signals, POLLIN, 0}, {STDOUT_FILENO, 0, 0}}};
        poll(ready.data(), ready.size(), static_cast<int>(sleep.count()));
        if (ready[1].revents != 0) {
            handleSignal(signals, tally, ending);
        }
        if (ready[2].revents != 0) {
            ending.because(Ending::Reason::outputClosed);
        }
    }
}

int run(const Options& options, int signals)
{
    Ending ending;
    Tally tally;
    const LineOutput output{STDOUT_FILENO, ending};
    std::optional<PcapngFile> capture;
    if (!options.pcapng.empty()) {
        capture.emplace(options.pcapng);
    }
    Monitor monitor{options, formatFor(options), output, capture ? &*capture : nullptr, tally, ending};

    const comm::FactoryPtr factory =
        std::make_shared<comm::SingleThreadedActiveObjectFactory<comm::ActiveObject>>("CoreMonitor");
    const auto activeObject = factory->getActiveObject({});
    std::optional<common_::SynchronizedTimerFactory> timers;
    std::optional<CoreConnection> connection;
    const bool begun = comm::runAndWait(activeObject, [&] {
        timers.emplace(factory);
        connection.emplace(factory, *timers, monitor);
        connection->begin();
    });
    if (!begun) {
        throw std::runtime_error{"cannot start, see above"};
    }
    watch(options, signals, tally, ending);
    comm::runAndWait(activeObject, [&] {
        connection.reset();
        timers.reset();
    });

    if (ending.reason() == Ending::Reason::outputClosed) {
        return 0;
    }
    if (ending.reason() == Ending::Reason::noDaemon) {
        say("no connection to the daemon in time");
    }
    say(tally.summary());
    return ending.reason() == Ending::Reason::noDaemon || ending.reason() == Ending::Reason::outputFailed ? 1 : 0;
}

} // namespace

int main(int argc, char** argv)
{
    fillStandardStreams();
    Options options;
    if (const auto status = parseOptions(argc, argv, options)) {
        return *status;
    }
    if (std::getenv("TRACING") == nullptr) {
        tracing::setThresholds("*=4");
    }
    try {
        return run(options, tool_support::openSignals({SIGINT, SIGTERM, SIGUSR1}));
    } catch (const std::exception& error) {
        say(error.what());
        return 1;
    }
}
