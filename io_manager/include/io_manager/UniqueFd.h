#pragma once

#include <cstdint>
#include <unistd.h>
#include <utility>

namespace io_manager {

/// Owns one file descriptor and closes it.
class UniqueFd
{
public:
    explicit UniqueFd(std::int32_t descriptor = -1) : m_descriptor{descriptor} {}
    ~UniqueFd() { reset(); }
    UniqueFd(UniqueFd&& other) noexcept : m_descriptor{std::exchange(other.m_descriptor, -1)} {}
    UniqueFd& operator=(UniqueFd&& other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }

    /// Negative when there is none.
    std::int32_t get() const { return m_descriptor; }
    bool valid() const { return m_descriptor >= 0; }

    void reset()
    {
        if (valid()) {
            ::close(std::exchange(m_descriptor, -1));
        }
    }

private:
    std::int32_t m_descriptor;
};

} // namespace io_manager
