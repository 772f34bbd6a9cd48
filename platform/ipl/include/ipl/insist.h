#pragma once

#include <new>

#include "ipl/GlobalErrorHandler.h"

namespace ipl {

/// Does work that must not be lost: while it throws for want of memory, reports the place and message to the
/// out-of-memory handler and does it again. The work must have changed nothing when it throws, or not mind it.
template <typename Work>
auto insist(const GlobalErrorHandler::Place& place, const char* message, Work&& work)
{
    while (true) {
        try {
            return work();
        } catch (const std::bad_alloc&) {
            GlobalErrorHandler::doOutOfMem(place.file, place.line, place.function, message);
        }
    }
}

} // namespace ipl
