#pragma once

#include <memory>
#include <new>
#include <utility>

#include "ipl/insist.h"

namespace common_ {

/// Makes an object of the framework. While there is no memory for it or for what it is made of, reports the place and
/// message to the platform's out-of-memory handler and tries again: a constructor that throws std::bad_alloc has moved
/// from none of its arguments.
template <typename T, typename... Args>
std::unique_ptr<T> allocate(const ipl::GlobalErrorHandler::Place& place, const char* message, Args&&... args)
{
    return ipl::insist(place, message, [&] { return std::make_unique<T>(std::forward<Args>(args)...); });
}

/// As allocate, to be shared.
template <typename T, typename... Args>
std::shared_ptr<T> allocateShared(const ipl::GlobalErrorHandler::Place& place, const char* message, Args&&... args)
{
    return ipl::insist(place, message, [&] { return std::make_shared<T>(std::forward<Args>(args)...); });
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
