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

void* reserve(FailingAllocation::Kind kind, std::size_t size) noexcept
{
    if (t_plan.failures > 0 && t_plan.kind == kind) {
        if (t_plan.after == 0) {
            --t_plan.failures;
            return nullptr;
        }
        --t_plan.after;
    }
    return std::malloc(std::max<std::size_t>(size, 1));
}

} // namespace

FailingAllocation::FailingAllocation(Kind kind, unsigned count, unsigned after)
{
    t_plan = {kind, after, count};
}

FailingAllocation::~FailingAllocation()
{
    t_plan.failures = 0;
}

} // namespace test_support

using Kind = test_support::FailingAllocation::Kind;

// The replaced allocation functions for single objects. The library's array forms call them; those for over-aligned
// types are not replaced.
void* operator new(std::size_t size)
{
    if (void* const memory = test_support::reserve(Kind::throwing, size); memory != nullptr) {
        return memory;
    }
    throw std::bad_alloc{};
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return test_support::reserve(Kind::nonThrowing, size);
}
void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    std::free(memory);
}
