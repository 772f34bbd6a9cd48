#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include "conn_common/DelayedCallback.h"
#include "iplbase/NonCopyable.h"
#include "osal/Mutex.h"

namespace common_ {

/// Hands work from one reading thread to an active object, a bounded number of pieces at a time. What cannot be read
/// meanwhile stays with the kernel, whose buffers are bounded.
///
/// The reading thread posts. The target runs on the active object and knows nothing of the bound: each piece carries
/// its slot, which is free again when the target is called, or when the piece is destroyed unrun. Any thread may close.
/// Destroyed as a DelayedCallback, after the reading thread has ended.
template <typename Work>
class HandOver : private iplbase::NonCopyable
{
public:
    HandOver(const comm::FactoryPtr& factory, unsigned most, std::function<void(Work)> target)
        : m_room{std::make_shared<Room>(most)}, m_posted{factory, [target = std::move(target)](Piece piece) {
                                                             piece.slot.reset();
                                                             target(std::move(piece.work));
                                                         }}
    {}

    /// Waits for a slot and queues the work. Returns false, and the work is dropped, once the hand-over is closed.
    bool post(Work work)
    {
        Slot slot{m_room->enter() ? m_room.get() : nullptr, Leave{m_room}};
        if (!slot) {
            return false;
        }
        m_posted.schedule({std::move(slot), std::move(work)});
        return true;
    }

    /// Whether post would wait now.
    bool full() const { return m_room->full(); }

    /// Ends every wait, for good.
    void close() { m_room->close(); }

private:
    class Room
    {
    public:
        explicit Room(unsigned most) : m_free{most} {}

        bool enter()
        {
            std::unique_lock lock{m_mutex};
            m_changed.wait(lock, [this] { return m_closed || m_free > 0; });
            m_free -= m_closed ? 0 : 1;
            return !m_closed;
        }

        void leave()
        {
            const std::lock_guard lock{m_mutex};
            ++m_free;
            m_changed.notify_one();
        }

        void close()
        {
            const std::lock_guard lock{m_mutex};
            m_closed = true;
            m_changed.notify_all();
        }

        bool full()
        {
            const std::lock_guard lock{m_mutex};
            return m_free == 0;
        }

    private:
        osal::Mutex m_mutex;
        std::condition_variable m_changed;
        unsigned m_free;
        bool m_closed = false;
    };

    /// The queue may outlive the hand-over, so each slot keeps the room alive.
    struct Leave
    {
        std::shared_ptr<Room> room;
        void operator()(Room*) const { room->leave(); }
    };
    using Slot = std::unique_ptr<Room, Leave>;

    struct Piece
    {
        Slot slot;
        Work work;
    };

    const std::shared_ptr<Room> m_room;
    DelayedCallbackBase<Piece> m_posted;
};

} // namespace common_
