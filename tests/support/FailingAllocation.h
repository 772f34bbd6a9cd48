#pragma once

#include "iplbase/NonCopyable.h"

namespace test_support {

/// Makes allocations of the calling thread fail while it lives: the given number of one kind of operator new, after as
/// many as `after` of that kind have succeeded. One at a time on a thread.
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
