#include <csignal>
#include <exception>
#include <unistd.h>

#include "Options.h"
#include "Peer.h"
#include "PeerSocket.h"
#include "Signals.h"

namespace {

using namespace rstp_peer;

// Reading the terminal would stop a background job.
bool isTyped()
{
    return isatty(STDIN_FILENO) == 1 && tcgetpgrp(STDIN_FILENO) == getpgrp();
}

void run(const Options& options)
{
    const int signals = tool_support::openSignals({SIGINT, SIGTERM});
    PeerSocket socket{options.socketPath};
    say("waiting for a client at " + options.socketPath);
    Peer peer{options, socket, signals};
    peer.run();
    say(peer.summary());
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    if (const auto status = parseOptions(argc, argv, options)) {
        return *status;
    }
    options.readsInput = options.readsInput || (!options.exits && isTyped());
    try {
        run(options);
        return 0;
    } catch (const std::exception& error) {
        say(error.what());
        return 1;
    }
}
