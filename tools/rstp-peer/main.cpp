#include <cerrno>
#include <csignal>
#include <exception>
#include <pthread.h>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

#include "Options.h"
#include "Peer.h"
#include "PeerSocket.h"

namespace {

using namespace rstp_peer;

int openSignals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    const int descriptor = signalfd(-1, &set, SFD_CLOEXEC);
    if (descriptor < 0) {
        throw std::system_error{errno, std::generic_category(), "signalfd"};
    }
    return descriptor;
}

// A job in the background would be stopped by what is typed for others.
bool isTyped()
{
    return isatty(STDIN_FILENO) == 1 && tcgetpgrp(STDIN_FILENO) == getpgrp();
}

void run(const Options& options)
{
    const int signals = openSignals();
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
