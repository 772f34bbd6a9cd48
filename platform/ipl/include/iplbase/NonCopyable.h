#pragma once

namespace iplbase {

/// Base of objects that are referenced by address and must neither be copied nor moved.
class NonCopyable
{
public:
    NonCopyable(const NonCopyable&) = delete;
    NonCopyable& operator=(const NonCopyable&) = delete;

protected:
    NonCopyable() = default;
    ~NonCopyable() = default;
};

} // namespace iplbase
