#include "ipl/GlobalErrorHandler.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace ipl {
namespace {

constexpr timespec kPauseAfterOutOfMem{0, 10'000'000};

// Neither handler may allocate: dprintf formats on the stack.
void defaultOutOfMem(const GlobalErrorHandler::Place& place, const char* message)
{
    dprintf(2, "out of memory: %s:%d %s: %s\n", place.file, place.line, place.function, message);
    nanosleep(&kPauseAfterOutOfMem, nullptr);
}

void defaultFatal(const GlobalErrorHandler::Place& place, const char* expression, const char* message)
{
    dprintf(2, "fatal: %s:%d %s: (%s) %s\n", place.file, place.line, place.function, expression, message);
}

std::atomic<GlobalErrorHandler::OutOfMemHandler> g_outOfMem{&defaultOutOfMem};
std::atomic<GlobalErrorHandler::FatalHandler> g_fatal{&defaultFatal};

} // namespace

void GlobalErrorHandler::doOutOfMem(const char* file, int line, const char* function, const char* message)
{
    g_outOfMem.load()({file, line, function}, message);
}

void GlobalErrorHandler::doFatalAssert(const char* expression, const char* file, int line, const char* function,
                                       const char* message)
{
    g_fatal.load()({file, line, function}, expression, message);
    std::abort();
}

void GlobalErrorHandler::doFatalError(const char* file, int line, const char* function, const char* message)
{
    doFatalAssert("", file, line, function, message);
}

GlobalErrorHandler::OutOfMemHandler GlobalErrorHandler::setOutOfMemHandler(OutOfMemHandler handler)
{
    return g_outOfMem.exchange(handler != nullptr ? handler : &defaultOutOfMem);
}

GlobalErrorHandler::FatalHandler GlobalErrorHandler::setFatalHandler(FatalHandler handler)
{
    return g_fatal.exchange(handler != nullptr ? handler : &defaultFatal);
}

} // namespace ipl
