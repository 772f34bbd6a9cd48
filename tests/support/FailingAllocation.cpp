#include "FailingAllocation.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace test_support {
namespace {

struct Plan
{
    FailingAllocation::Kind kind;
    unsigned after;
    unsigned failures;
};

constinit thread_local Plan t_plan{FailingAllocation::Kind::nonThrowing, 0, 0};

bool mustFail(FailingAllocation::Kind kind) noexcept
{
    if (t_plan.failures == 0 || t_plan.kind != kind) {
        return false;
    }
    if (t_plan.after > 0) {
        --t_plan.after;
        return false;
    }
    --t_plan.failures;
    return true;
}

void* reserve(FailingAllocation::Kind kind, std::size_t size, std::size_t alignment) noexcept
{
    if (mustFail(kind)) {
        return nullptr;
    }
    if (alignment <= alignof(std::max_align_t)) {
        return std::malloc(std::max<std::size_t>(size, 1));
    }
    return std::aligned_alloc(alignment, (std::max<std::size_t>(size, 1) + alignment - 1) / alignment * alignment);
}

void* reserveOrThrow(std::size_t size, std::size_t alignment)
{
    if (void* const memory = reserve(FailingAllocation::Kind::throwing, size, alignment); memory != nullptr) {
        return memory;
    }
    throw std::bad_alloc{};
}

constexpr std::size_t kDefaultAlignment = alignof(std::max_align_t);

} // namespace

FailingAllocation::FailingAllocation(Kind kind, unsigned count, unsigned after)
{
    t_plan = {kind, after, count};
}

FailingAllocation::~FailingAllocation()
{
    t_plan.failures = 0;
}

unsigned FailingAllocation::remaining() const
{
    return t_plan.failures;
}

} // namespace test_support

using Kind = test_support::FailingAllocation::Kind;
using test_support::kDefaultAlignment;
using test_support::reserve;
using test_support::reserveOrThrow;

// The program's own allocation functions, all of them, so that none meets a deallocation function of another family.
void* operator new(std::size_t size)
{
    return reserveOrThrow(size, kDefaultAlignment);
}
void* operator new[](std::size_t size)
{
    return reserveOrThrow(size, kDefaultAlignment);
}
void* operator new(std::size_t size, std::align_val_t alignment)
{
    return reserveOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment)
{
    return reserveOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return reserve(Kind::nonThrowing, size, kDefaultAlignment);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return reserve(Kind::nonThrowing, size, kDefaultAlignment);
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept
{
    return reserve(Kind::nonThrowing, size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept
{
    return reserve(Kind::nonThrowing, size, static_cast<std::size_t>(alignment));
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept
{
    std::free(memory);
}
