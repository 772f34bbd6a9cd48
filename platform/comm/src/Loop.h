#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "comm/ActiveObject.h"
#include "osal/Mutex.h"

struct sd_event;
struct sd_event_source;

namespace comm {

class Bus;

/// A queue of events, linked intrusively: push allocates no memory.
class EventQueue
{
public:
    EventQueue() = default;
    EventQueue(EventQueue&& other) noexcept
        : m_first{std::move(other.m_first)}, m_last{std::exchange(other.m_last, nullptr)}
    {}
    EventQueue& operator=(EventQueue&&) = delete;
    ~EventQueue()
    {
        while (pop()) {
        }
    }

    bool empty() const { return m_first == nullptr; }

    void push(util::SharedPtr<ActiveObjectEvent> event)
    {
        auto& end = empty() ? m_first : m_last->m_next;
        end = std::move(event);
        m_last = end.get();
    }

    /// Null when the queue is empty.
    util::SharedPtr<ActiveObjectEvent> pop()
    {
        auto event = std::move(m_first);
        m_first = event ? std::move(event->m_next) : nullptr;
        return event;
    }

private:
    util::SharedPtr<ActiveObjectEvent> m_first;
    ActiveObjectEvent* m_last = nullptr; // valid while the queue is not empty
};

/// The thread, the event loop and the queue behind an active object.
///
/// Posting takes a short lock and, only when the queue was empty, one write to an event descriptor. Each turn runs all
/// that is queued; the loop then serves the bus before the next turn, so neither can starve the other.
class Loop : public std::enable_shared_from_this<Loop>
{
public:
    explicit Loop(std::string name);
    ~Loop();
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    /// Throws std::system_error when the kernel has no thread or the loop cannot add an event source.
    void start();
    void enque(util::SharedPtr<ActiveObjectEvent> event);
    bool isCurrent() const { return m_threadId.load() == std::this_thread::get_id(); }
    void stop();

    /// The loop's connection to the bus, opened at the first call; null once the loop has ended. On the loop's thread
    /// only.
    Bus* bus();

    /// At the end of the last turn. From any thread.
    bool busCongested() const { return m_busCongested.load(std::memory_order_relaxed); }

private:
    static int onTurnEnd(sd_event_source* source, void* userdata);
    static int onPosted(sd_event_source* source, int descriptor, unsigned events, void* userdata);
    void runQueue();
    void execute(ActiveObjectEvent& event);
    void run();

    const std::string m_name;
    sd_event* m_event = nullptr;
    int m_wakeUp = -1;
    osal::Mutex m_mutex; // guards m_queue and m_ending
    EventQueue m_queue;
    bool m_ending = false;
    std::unique_ptr<Bus> m_bus;
    std::atomic<bool> m_busCongested{false};
    std::atomic<std::thread::id> m_threadId{};
    std::thread m_thread;
};

} // namespace comm
