#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "Bus.h"
#include "comm/ServiceRegistration.h"

namespace comm {

class ServiceEndpoint;

/// State of one client of a service. Once alive is false, it stays false.
struct ClientState
{
    ServiceEndpoint* endpoint = nullptr;
    Bus* bus = nullptr;
    std::string uniqueName;
    const std::string* objectPath = nullptr;
    const std::string* replyInterface = nullptr;
    bool alive = true;
    Slot watch;    // of its death
    Slot presence; // detects a death before the watch began
};

/// A registered service on the bus: its name, its object, its clients. On the loop's thread only, except its
/// construction.
///
/// A peer is a client from its call of connect until it calls disconnect or leaves the bus. There are at most
/// kMaxClients. The service's own requests do not require a connection; signals are sent to clients only.
class ServiceEndpoint final : public Bus::User
{
public:
    static constexpr std::size_t kMaxClients = 64;

    /// Called once with the result of the name request: 0 or an errno.
    using Answer = std::function<void(int error)>;

    ServiceEndpoint(IServiceImplementation& implementation, const ServiceInfo& info, std::uint32_t instance);

    void open(Bus& bus, Answer answer);
    void close();
    bool isOpen() const { return m_bus != nullptr; }
    const std::string& busName() const { return m_busName; }

    void onBusConnected() override;
    void onBusLost() override;

private:
    int onNameAnswer(sd_bus_message* answer);
    int onCall(sd_bus_message* call);
    int runRequest(sd_bus_message* call, std::size_t place);
    std::optional<std::uint32_t> userOf(sd_bus_message* call);
    int runReserved(sd_bus_message* call, ReservedRequest request);
    bool admitsCaller(sd_bus_message* call);
    int answer(sd_bus_message* call, sd_bus_message* result, const MessageWriter& writer) const;
    int answerWith(sd_bus_message* call, const std::function<void(MessageWriter&)>& write) const;
    int answerEmpty(sd_bus_message* call) const;
    void writeProperty(MessageWriter& writer, std::size_t place) const;
    int connectClient(sd_bus_message* call);
    int disconnectClient(sd_bus_message* call);
    int getProperty(sd_bus_message* call);
    int getAllProperties(sd_bus_message* call);
    int refuse(sd_bus_message* call, const char* error, const std::string& reason) const;
    int watch(ClientState& client);
    void dropClient(const std::string& uniqueName);
    void dropAllClients();
    void answerOnce(int error);

    IServiceImplementation& m_implementation;
    const ServiceInfo& m_info;
    const std::string m_busName;
    const std::string m_objectPath;
    const std::string m_replyInterface;
    Bus* m_bus = nullptr;
    Answer m_answer;
    bool m_named = false; // the name was requested on an earlier connection: wait in the queue for it
    Slot m_object;
    Slot m_nameRequest;
    std::map<std::string, std::shared_ptr<ClientState>> m_clients;
    std::string m_lastCaller;
    std::optional<std::uint32_t> m_lastUser;
};

} // namespace comm
