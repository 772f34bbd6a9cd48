#pragma once

#include <memory>
#include <new>
#include <utility>

#include "ipl/insist.h"

namespace common_ {

/// Makes an object of the framework. While there is no memory for it, reports the place and message to the platform's
/// out-of-memory handler and tries again; the arguments are not consumed before there is memory.
template <typename T, typename... Args>
std::unique_ptr<T> allocate(const ipl::GlobalErrorHandler::Place& place, const char* message, Args&&... args)
{
    while (true) {
        if (auto* const object = new (std::nothrow) T(std::forward<Args>(args)...); object != nullptr) {
            return std::unique_ptr<T>{object};
        }
        ipl::GlobalErrorHandler::doOutOfMem(place.file, place.line, place.function, message);
    }
}

/// As above, to be shared, which takes a little more memory.
template <typename T, typename... Args>
std::shared_ptr<T> allocateShared(const ipl::GlobalErrorHandler::Place& place, const char* message, Args&&... args)
{
    auto object = allocate<T>(place, message, std::forward<Args>(args)...);
    return ipl::insist(place, message, [&object] { return std::shared_ptr<T>{std::move(object)}; });
}

/// As allocate, but gives up at once: null when there is no memory for the object or for what it is made of.
template <typename T, typename... Args>
std::unique_ptr<T> tryAllocate(Args&&... args)
{
    try {
        return std::unique_ptr<T>{new (std::nothrow) T(std::forward<Args>(args)...)};
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

} // namespace common_
