#pragma once

namespace test_support {

/// Makes allocations of the calling thread fail while it lives: the given number of one kind of operator new, after as
/// many as `after` of that kind have succeeded. One at a time on a thread.
class FailingAllocation
{
public:
    enum class Kind
    {
        nonThrowing, ///< new (std::nothrow) returns null
        throwing     ///< new throws std::bad_alloc
    };

    explicit FailingAllocation(Kind kind, unsigned count = 1, unsigned after = 0);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /// How many failures are still to come.
    unsigned remaining() const;
};

} // namespace test_support
