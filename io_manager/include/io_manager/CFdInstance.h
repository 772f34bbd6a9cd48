#pragma once

#include <cstdint>
#include <functional>
#include <utility>

namespace io_manager {

/// One watched descriptor and what to call when it becomes readable. Guarded by the mutex of its manager, except for
/// the callback, which never changes.
class CFdInstance
{
public:
    CFdInstance(std::int32_t descriptor, std::function<void()> callback)
        : m_descriptor{descriptor}, m_callback{std::move(callback)}
    {}

    std::int32_t descriptor() const { return m_descriptor; }
    void call() const { m_callback(); }

    /// Whether a pass waits on this entry. A descriptor number that was removed and came back during the pass has a new
    /// entry, which the events of the old one do not concern.
    bool watched() const { return m_watched; }
    void setWatched() { m_watched = true; }

private:
    const std::int32_t m_descriptor;
    const std::function<void()> m_callback;
    bool m_watched = false;
};

} // namespace io_manager
