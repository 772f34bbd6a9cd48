#pragma once

#include <string>

#include "Bus.h"
#include "comm/Proxy.h"

namespace comm {

/// The bus side of a proxy, on the loop's thread only, except its construction.
///
/// States: at rest; seeking the owner of the service's name; connecting to the owner found; alive. Any loss leads to
/// rest.
class ProxyEndpoint final : public Bus::User
{
public:
    ProxyEndpoint(const ServiceInfo& info, std::uint32_t instance, LifecycleListener& lifecycle);

    void setReceiver(IReplyReceiver& receiver) { m_receiver = &receiver; }

    /// Returns 0 or the errno of the failure.
    int connect(Bus& bus);
    void disconnect();
    bool isAlive() const { return m_state == State::alive; }
    const std::string& busName() const { return m_lifecycle->instanceId; }

    /// A request to the owner, null unless alive.
    MessagePtr request(const char* member) const;
    bool send(sd_bus_message* message, std::size_t bytes) const { return m_bus->send(message, bytes); }

    void onBusConnected() override {}
    void onBusLost() override;
    bool onSignal(sd_bus_message* signal) override;

private:
    enum class State
    {
        atRest,
        seeking,
        connecting,
        alive
    };

    static int take(void* self, sd_bus_message* message, int (ProxyEndpoint::*step)(sd_bus_message*)) noexcept;
    int onOwnerChanged(sd_bus_message* signal);
    int onOwnerAnswer(sd_bus_message* answer);
    int onConnectAnswer(sd_bus_message* answer);
    void ownerIs(const std::string& owner);
    void rest();
    void die(DeathNotice::Reason reason, int origin);

    const ServiceInfo& m_info;
    const std::shared_ptr<const Lifecycle> m_lifecycle; // may outlive this object in a call of the listener
    const std::string m_objectPath;
    const std::string m_replyInterface;
    LifecycleListener& m_listener;
    IReplyReceiver* m_receiver = nullptr;
    Bus* m_bus = nullptr;
    State m_state = State::atRest;
    std::string m_owner; // unique name of the process that provides the service, empty without an owner
    Slot m_ownerWatch;
    Slot m_pendingCall;
};

} // namespace comm
