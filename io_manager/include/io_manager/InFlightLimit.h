#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "osal/Mutex.h"

namespace io_manager {

/// Keeps a reading thread from posting work faster than an active object takes it: at most a fixed number of pieces are
/// on the way. What cannot be read meanwhile stays with the kernel, whose buffers are bounded.
///
/// The reading thread enters, the active object calls leave, the owner close before it joins the reading thread.
class InFlightLimit
{
public:
    explicit InFlightLimit(unsigned most) : m_free{most} {}

    /// Waits for room for one piece. Returns false once the limit is closed: nothing more may be posted.
    bool enter()
    {
        std::unique_lock lock{m_mutex};
        m_changed.wait(lock, [this] { return m_closed || m_free > 0; });
        if (m_closed) {
            return false;
        }
        --m_free;
        return true;
    }

    /// Waits for this time. Returns false once the limit is closed.
    bool rest(std::chrono::microseconds time)
    {
        std::unique_lock lock{m_mutex};
        return !m_changed.wait_for(lock, time, [this] { return m_closed; });
    }

    /// As enter, without waiting: returns false when there is no room or the limit is closed.
    bool tryEnter()
    {
        const std::lock_guard lock{m_mutex};
        if (m_closed || m_free == 0) {
            return false;
        }
        --m_free;
        return true;
    }

    /// A piece has arrived, or was not posted after all.
    void leave()
    {
        const std::lock_guard lock{m_mutex};
        ++m_free;
        m_changed.notify_one();
    }

    /// Ends every wait, for good.
    void close()
    {
        const std::lock_guard lock{m_mutex};
        m_closed = true;
        m_changed.notify_all();
    }

private:
    osal::Mutex m_mutex;
    std::condition_variable m_changed;
    unsigned m_free;
    bool m_closed = false;
};

} // namespace io_manager
