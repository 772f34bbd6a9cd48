#pragma once

namespace iplbase {

/// Base of objects that other objects point to and that therefore stay where they are.
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
