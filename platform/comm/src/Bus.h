#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "comm/EventLoop.h"

struct sd_bus;
struct sd_bus_message;
struct sd_bus_slot;
struct sd_event;
struct sd_event_source;

namespace comm {

/// Owns a slot of the bus library; releasing it cancels the request.
struct SlotDeleter
{
    void operator()(sd_bus_slot* slot) const;
};
using Slot = std::unique_ptr<sd_bus_slot, SlotDeleter>;

/// A message that this process creates and releases.
struct MessageDeleter
{
    void operator()(sd_bus_message* message) const;
};
using MessagePtr = std::unique_ptr<sd_bus_message, MessageDeleter>;

/// Repeats a call of the bus library while it lacks memory: the library aborts later over an object or a match that it
/// has left incomplete.
template <typename Call>
int callUntilMemory(Call call)
{
    return insistOnCall({__FILE__, __LINE__, __func__}, "a call of the bus library waits", call);
}

/// The connection of an event loop to the unit's bus, on the loop's thread only.
///
/// A lost connection is opened again every 500 ms; the users are notified of loss and return. No function waits for a
/// reply of the bus. Messages wait in memory while the bus is busy, up to a number of messages and of bytes; further
/// messages are refused.
class Bus
{
public:
    static constexpr std::uint64_t kMaxQueuedWrites = 1024;
    static constexpr std::size_t kMaxQueuedBytes = 8 << 20;

    /// A user of the connection.
    class User
    {
    public:
        virtual ~User() = default;

        /// The connection is open and accepts calls. addUser calls it at once if the connection is open. An exception
        /// counts as a loss of the connection.
        virtual void onBusConnected() = 0;

        /// The connection is lost, and with it every peer.
        virtual void onBusLost() = 0;

        /// A signal that was sent to this connection only. Returns true when it belongs to this user.
        virtual bool onSignal(sd_bus_message*) { return false; }
    };

    /// Opens nothing. Throws std::system_error when the loop cannot add a timer.
    explicit Bus(sd_event* event);
    ~Bus();
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    /// Opens the connection, and again whenever it is lost.
    void use();

    void addUser(User& user);
    void removeUser(User& user);

    /// The connection, null while the bus is lost.
    sd_bus* connection() const { return m_connected ? m_bus : nullptr; }

    /// Queues a message on the connection. Returns false when there is no connection or the queue is full; a message
    /// that exceeds the limit alone is accepted only by an empty queue. bytes: size of the appended values.
    bool send(sd_bus_message* message, std::size_t bytes);

    /// Whether the queue is a quarter full, so that senders that can wait should pause.
    bool congested();

    /// The address of the bus, for log lines.
    static const char* address();

private:
    enum class Visited
    {
        taken,   ///< a user returned true
        byAll,   ///< no user returned true
        notByAll ///< no user returned true, and one failed
    };

    static int onRetry(sd_event_source* source, std::uint64_t microseconds, void* userdata);
    int handle(sd_bus_message* message);
    template <typename Visit>
    Visited visitUsers(Visit visit);
    bool note(std::size_t size);
    void dropWritten();
    void open();
    int connect();
    void lose();
    void retryLater();
    void forget();

    sd_event* const m_event;
    sd_bus* m_bus = nullptr;
    sd_event_source* m_retry = nullptr;
    std::deque<std::size_t> m_queuedSizes; // of the messages in the queue
    std::size_t m_queuedBytes = 0;
    bool m_used = false;
    bool m_connected = false;
    bool m_reported = false;    // the current loss has been logged
    std::vector<User*> m_users; // null: removed during a visit
    unsigned m_visits = 0;
};

} // namespace comm
