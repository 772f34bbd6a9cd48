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

/// Owns a slot of the bus library: what was asked for ends with it.
struct SlotDeleter
{
    void operator()(sd_bus_slot* slot) const;
};
using Slot = std::unique_ptr<sd_bus_slot, SlotDeleter>;

/// A message that is made, sent and released by us.
struct MessageDeleter
{
    void operator()(sd_bus_message* message) const;
};
using MessagePtr = std::unique_ptr<sd_bus_message, MessageDeleter>;

/// Makes a call of the bus library that lacks memory again until it does not: the library aborts later over an object
/// or a match that it has left half done.
template <typename Call>
int callUntilMemory(Call call)
{
    return insistOnCall({__FILE__, __LINE__, __func__}, "a call of the bus library waits", call);
}

/// The connection of one event loop to the unit's bus, on the loop's thread only.
///
/// It is always being had: when the bus is away the connection is tried again every 500 ms, and everybody who uses it
/// is told of loss and return. Nothing here waits for an answer of the bus. What is written while the bus is busy waits
/// in memory, but only up to a number of messages and of bytes; more are refused.
class Bus
{
public:
    static constexpr std::uint64_t kMaxQueuedWrites = 1024;
    static constexpr std::size_t kMaxQueuedBytes = 8 << 20;

    /// Somebody who uses the connection.
    class User
    {
    public:
        virtual ~User() = default;

        /// The connection is there; calls may be made on it from now on. Also called by addUser when it is there. What
        /// it throws makes the connection be lost and tried again.
        virtual void onBusConnected() = 0;

        /// The connection is gone, and every peer with it.
        virtual void onBusLost() = 0;

        /// A signal that was sent to this connection alone; true when it was the user's.
        virtual bool onSignal(sd_bus_message*) { return false; }
    };

    /// Opens nothing yet. Throws std::system_error when the loop has no timer left.
    explicit Bus(sd_event* event);
    ~Bus();
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    /// Opens the connection, and from now on again whenever it is lost.
    void use();

    void addUser(User& user);
    void removeUser(User& user);

    /// The connection, null while there is none.
    sd_bus* connection() const { return m_connected ? m_bus : nullptr; }

    /// Hands a message to the connection. False when there is none or when too much waits to be written; a message that
    /// is too much by itself has to find nothing waiting. bytes: what was appended to it.
    bool send(sd_bus_message* message, std::size_t bytes);

    /// Whether so much waits to be written that who can should wait with more.
    bool congested();

    /// The address the connection is tried at, for log lines.
    static const char* address();

private:
    enum class Visited
    {
        taken,   ///< a user was the one
        byAll,   ///< none was
        notByAll ///< none was, and some user failed
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
    std::deque<std::size_t> m_queuedSizes; // of the messages that wait to be written
    std::size_t m_queuedBytes = 0;
    bool m_used = false;
    bool m_connected = false;
    bool m_reported = false;    // the present absence of the bus has had its log line
    std::vector<User*> m_users; // null: gone while the users are visited
    unsigned m_visits = 0;
};

} // namespace comm
