#pragma once

#include <cerrno>
#include <new>

#include "ipl/insist.h"

struct sd_event;

namespace comm {

/// For a catch clause: reports the exception on "CON_COMM" and returns -ENOMEM.
int reportThrown() noexcept;

/// Runs the body of a callback of a C library, through which no exception may unwind. An exception is reported and
/// becomes -ENOMEM, which the bus library returns to the caller of a method.
template <typename Body>
int guarded(Body&& body) noexcept
{
    try {
        return body();
    } catch (...) {
        return reportThrown();
    }
}

/// Throws std::bad_alloc for ENOMEM, otherwise std::system_error with the call's name.
[[noreturn]] void throwError(int number, const char* call);

/// Makes a call of a C library again until its result is not -ENOMEM.
template <typename Call>
int insistOnCall(const ipl::GlobalErrorHandler::Place& place, const char* message, Call call)
{
    return ipl::insist(place, message, [&] {
        const int result = call();
        return result != -ENOMEM ? result : throw std::bad_alloc{};
    });
}

/// Runs the loop to its end. A turn that lacks memory is reported to the out-of-memory handler and tried again; any
/// other failure is returned as a negative errno.
int runEventLoop(sd_event* event);

} // namespace comm
