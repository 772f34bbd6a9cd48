#pragma once

#include <new>

#include "ipl/GlobalErrorHandler.h"

namespace ipl {

/// Does work that must not be lost: while it throws std::bad_alloc, reports the place and message to the out-of-memory
/// handler and does it again. Work that throws has changed nothing, or can be done twice.
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
