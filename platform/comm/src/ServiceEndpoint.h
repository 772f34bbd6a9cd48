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

/// What a service knows of one client. Dead for good once alive is false.
struct ClientState
{
    ServiceEndpoint* endpoint = nullptr;
    Bus* bus = nullptr;
    std::string uniqueName;
    const std::string* objectPath = nullptr;
    const std::string* replyInterface = nullptr;
    bool alive = true;
    Slot watch;    // its death
    Slot presence; // whether it had died before we began to watch
};

/// A registered service on the bus: its name, its object, its clients. On the loop's thread only, but for making it.
///
/// A client is whoever has called connect, until it calls disconnect or leaves the bus. At most kMaxClients are taken.
/// Requests are served for everybody; what a client has to be known for is only what is sent to it later.
class ServiceEndpoint final : public Bus::User
{
public:
    static constexpr std::size_t kMaxClients = 64;

    /// Told once how the bus answered the request for the name: 0 or an errno.
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
    bool m_named = false; // the name has been ours before: when somebody else has it now, wait for it
    Slot m_object;
    Slot m_nameRequest;
    std::map<std::string, std::shared_ptr<ClientState>> m_clients;
    std::string m_lastCaller;
    std::optional<std::uint32_t> m_lastUser;
};

} // namespace comm
