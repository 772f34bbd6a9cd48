#pragma once

namespace util {

/// What a thread is given to run: once, with one argument.
template <typename Argument>
class IRunnableT
{
public:
    virtual ~IRunnableT() = default;
    virtual void run(Argument argument) = 0;
};

} // namespace util
