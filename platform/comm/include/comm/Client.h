#pragma once

#include <memory>

#include "comm/Message.h"

namespace comm {

struct ClientState;

/// One connected client of a service, known by its unique name on the bus. Copies mean the same client; a
/// default-constructed one means none. On the active object of the service only.
class Client
{
public:
    Client() = default;
    explicit Client(std::shared_ptr<ClientState> state) : m_state{std::move(state)} {}

    /// False once the client has said goodbye or died, the service was withdrawn or the bus went away.
    bool isAlive() const;

    bool operator==(const Client&) const = default;

    /// Sends a signal of the service's reply interface to the client. write gets the MessageWriter. Returns false when
    /// the client is not alive or the connection did not take the message.
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
