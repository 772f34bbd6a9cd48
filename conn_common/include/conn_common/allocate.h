#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <utility>

#include "ipl/GlobalErrorHandler.h"

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

/// Gets memory as allocate does, for the standard library.
template <typename T>
struct InsistingAllocator
{
    using value_type = T;

    InsistingAllocator(const ipl::GlobalErrorHandler::Place& where, const char* what) : place{where}, message{what} {}
    template <typename Other>
    InsistingAllocator(const InsistingAllocator<Other>& other) : place{other.place}, message{other.message}
    {}

    T* allocate(std::size_t count) const
    {
        while (true) {
            if (void* const memory = ::operator new(count * sizeof(T), std::nothrow); memory != nullptr) {
                return static_cast<T*>(memory);
            }
            ipl::GlobalErrorHandler::doOutOfMem(place.file, place.line, place.function, message);
        }
    }
    void deallocate(T* memory, std::size_t) const { ::operator delete(memory); }

    template <typename Other>
    bool operator==(const InsistingAllocator<Other>&) const
    {
        return true;
    }

    ipl::GlobalErrorHandler::Place place;
    const char* message;
};

/// As allocate, to be shared.
template <typename T, typename... Args>
std::shared_ptr<T> allocateShared(const ipl::GlobalErrorHandler::Place& place, const char* message, Args&&... args)
{
    return std::allocate_shared<T>(InsistingAllocator<T>{place, message}, std::forward<Args>(args)...);
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
