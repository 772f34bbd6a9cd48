#pragma once

#include <memory>

#include "comm/Message.h"

namespace comm {

struct ClientState;

/// One connected client of a service, identified by its unique name on the bus. Copies refer to the same client; a
/// default-constructed one refers to none. On the active object of the service only.
class Client
{
public:
    Client() = default;
    explicit Client(std::shared_ptr<ClientState> state) : m_state{std::move(state)} {}

    /// False once the client has disconnected or died, the service was withdrawn or the bus was lost.
    bool isAlive() const;

    bool operator==(const Client&) const = default;

    /// Sends a signal of the service's reply interface to the client. write gets the MessageWriter. Returns false when
    /// the client is not alive or the connection refused the message.
    template <typename Write>
    bool send(const char* member, const Write& write) const
    {
        return sendErased(member, &write, [](const void* erased, MessageWriter& writer) {
            (*static_cast<const Write*>(erased))(writer);
        });
    }

private:
    bool sendErased(const char* member, const void* write, void (*call)(const void*, MessageWriter&)) const;

    std::shared_ptr<ClientState> m_state;
};

} // namespace comm
