#include "Signals.h"

#include <cerrno>
#include <csignal>
#include <pthread.h>
#include <sys/signalfd.h>
#include <system_error>

namespace tool_support {

int openSignals(std::initializer_list<int> signals)
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : signals) {
        sigaddset(&set, signal);
    }
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    const int descriptor = signalfd(-1, &set, SFD_CLOEXEC);
    if (descriptor < 0) {
        throw std::system_error{errno, std::generic_category(), "signalfd"};
    }
    return descriptor;
}

} // namespace tool_support
