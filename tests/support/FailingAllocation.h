#pragma once

#include "iplbase/NonCopyable.h"

namespace test_support {

/// Makes allocations of the calling thread fail during its lifetime: the given number of one kind of operator new,
/// after `after` successful ones. One at a time per thread.
class FailingAllocation : iplbase::NonCopyable
{
public:
    enum class Kind
    {
        nonThrowing, ///< new (std::nothrow) returns null
        throwing     ///< new throws std::bad_alloc
    };

    explicit FailingAllocation(Kind kind, unsigned count = 1, unsigned after = 0);
    ~FailingAllocation();
};

} // namespace test_support
