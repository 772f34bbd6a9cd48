#include "ServiceEndpoint.h"

#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <systemd/sd-bus.h>
#include <utility>

#include "Introspection.h"
#include "Loop.h"
#include "comm/EventLoop.h"
#include "ipl/ErrorStorage.h"
#include "ipl/insist.h"
#include "tracing/Channel.h"

namespace comm {
namespace {

constexpr char kLabel[] = "comm::ServiceEndpoint";
constexpr char kProperties[] = "org.freedesktop.DBus.Properties";
constexpr std::chrono::seconds kPatienceWithBus{2};

tracing::Channel s_channel{"CON_COMM", 7, 2};

const char* text(const char* value)
{
    return value != nullptr ? value : "";
}

} // namespace

ServiceEndpoint::ServiceEndpoint(IServiceImplementation& implementation, const ServiceInfo& info,
                                 std::uint32_t instance)
    : m_implementation{implementation},
      m_info{info},
      m_busName{info.busName(instance)},
      m_objectPath{info.objectPath(instance)},
      m_replyInterface{info.replyInterface()}
{}

void ServiceEndpoint::open(Bus& bus, Answer answer)
{
    m_bus = &bus;
    m_answer = std::move(answer);
    m_bus->addUser(*this);
    if (m_bus->connection() == nullptr) {
        TRACE(s_channel, warning, kLabel, "%s waits for the bus at %s", m_busName.c_str(), Bus::address());
        m_named = true;
        answerOnce(0);
    }
}

void ServiceEndpoint::close()
{
    if (m_bus == nullptr) {
        return;
    }
    m_bus->removeUser(*this);
    m_object.reset();
    m_nameRequest.reset();
    if (auto* const connection = m_bus->connection(); connection != nullptr) {
        sd_bus_release_name_async(connection, nullptr, m_busName.c_str(), nullptr, nullptr);
    }
    dropAllClients();
    m_bus = nullptr;
}

void ServiceEndpoint::onBusConnected()
{
    auto* const connection = m_bus->connection();
    const auto onCall = [](sd_bus_message* call, void* self, sd_bus_error*) {
        return guarded([=] { return static_cast<ServiceEndpoint*>(self)->onCall(call); });
    };
    const auto onAnswer = [](sd_bus_message* answer, void* self, sd_bus_error*) {
        return guarded([=] { return static_cast<ServiceEndpoint*>(self)->onNameAnswer(answer); });
    };
    sd_bus_slot* object = nullptr;
    sd_bus_slot* request = nullptr;
    int error =
        callUntilMemory([&] { return sd_bus_add_object(connection, &object, m_objectPath.c_str(), onCall, this); });
    m_object.reset(object);
    if (error >= 0) {
        error = sd_bus_request_name_async(connection, &request, m_busName.c_str(), m_named ? SD_BUS_NAME_QUEUE : 0,
                                          onAnswer, this);
        m_nameRequest.reset(request);
    }
    if (error == -EEXIST || error == -EINVAL) {
        TRACE(s_channel, error, kLabel, "%s cannot be put on the bus: %s", m_busName.c_str(),
              std::generic_category().message(-error).c_str());
        answerOnce(-error);
    } else if (error < 0) { // which passes
        throw std::system_error{-error, std::generic_category(), m_busName};
    }
}

void ServiceEndpoint::onBusLost()
{
    m_object.reset();
    m_nameRequest.reset();
    m_lastCaller.clear(); // the next bus gives the same names to others
    dropAllClients();
    answerOnce(0);
    m_named = true;
}

int ServiceEndpoint::onNameAnswer(sd_bus_message* answer)
{
    if (const auto* const error = sd_bus_message_get_error(answer); error != nullptr) {
        TRACE(s_channel, error, kLabel, "the bus does not give us the name %s: %s", m_busName.c_str(),
              text(error->message));
        // A bus that dies over the question is no refusal: the name is asked for again when it is back.
        if (sd_bus_error_has_name(error, SD_BUS_ERROR_ACCESS_DENIED) > 0) {
            answerOnce(EACCES);
        }
        return 0;
    }
    constexpr std::uint32_t kInQueue = 2;
    constexpr std::uint32_t kTaken = 3;
    std::uint32_t outcome = 0;
    sd_bus_message_read_basic(answer, SD_BUS_TYPE_UINT32, &outcome);
    if (outcome == kTaken || outcome == kInQueue) {
        TRACE(s_channel, error, kLabel, "the name %s belongs to another process%s", m_busName.c_str(),
              outcome == kInQueue ? ", waiting for it" : "");
        answerOnce(EADDRINUSE);
        return 0;
    }
    m_named = true;
    TRACE(s_channel, progress, kLabel, "%s is on the bus", m_busName.c_str());
    answerOnce(0);
    return 0;
}

void ServiceEndpoint::answerOnce(int error)
{
    if (const auto answer = std::exchange(m_answer, nullptr)) {
        answer(error);
    }
}

int ServiceEndpoint::onCall(sd_bus_message* call)
{
    const std::string_view interface = text(sd_bus_message_get_interface(call));
    const std::string_view member = text(sd_bus_message_get_member(call));
    if (sd_bus_message_is_method_call(call, "org.freedesktop.DBus.Introspectable", "Introspect") > 0) {
        return answerWith(call, [this](MessageWriter& writer) { writer.text(introspect(m_info)); });
    }
    if (sd_bus_message_is_method_call(call, kProperties, "Get") > 0) {
        return getProperty(call);
    }
    if (sd_bus_message_is_method_call(call, kProperties, "GetAll") > 0) {
        return getAllProperties(call);
    }
    if (sd_bus_message_is_method_call(call, nullptr, nullptr) <= 0 || (!interface.empty() && interface != m_info.name))
    {
        return 0;
    }
    if (member == "connect") {
        if (!admitsCaller(call)) {
            return refuse(call, SD_BUS_ERROR_ACCESS_DENIED, "its user may not connect");
        }
        return connectClient(call);
    }
    if (member == "disconnect") {
        return disconnectClient(call);
    }
    for (std::size_t place = 0; place < m_info.requests.size(); ++place) {
        if (member == m_info.requests[place].name) {
            return runRequest(call, place);
        }
    }
    for (const auto& one : kReservedNames) {
        if (member == one.name) {
            return runReserved(call, one.request);
        }
    }
    return 0;
}

bool ServiceEndpoint::admitsCaller(sd_bus_message* call)
{
    return !m_implementation.asksForUser() || m_implementation.admits(userOf(call));
}

int ServiceEndpoint::runRequest(sd_bus_message* call, std::size_t place)
{
    const auto& method = m_info.requests[place];
    if (sd_bus_message_has_signature(call, method.signature) <= 0) {
        return refuse(call, SD_BUS_ERROR_INVALID_ARGS, std::string{"the arguments are \""} + method.signature + "\"");
    }
    sd_bus_message* made = nullptr;
    if (const int error = sd_bus_message_new_method_return(call, &made); error < 0) {
        return error;
    }
    const MessagePtr result{made};
    MessageReader reader{call};
    if (!admitsCaller(call)) {
        return refuse(call, SD_BUS_ERROR_ACCESS_DENIED, "its user may not call this");
    }
    MessageWriter writer{result.get()};
    const auto refusal = m_implementation.runRequest(place, reader, writer);
    if (!reader.ok()) {
        return refuse(call, SD_BUS_ERROR_INVALID_ARGS, reader.reason());
    }
    if (!refusal.empty()) {
        return refuse(call, SD_BUS_ERROR_INVALID_ARGS, refusal);
    }
    return answer(call, result.get(), writer);
}

// Every answer goes through the bus' limit; one that cannot be written is an error for the caller, who waits.
int ServiceEndpoint::answer(sd_bus_message* call, sd_bus_message* result, const MessageWriter& writer) const
{
    if (!writer.ok()) {
        return refuse(call, SD_BUS_ERROR_FAILED, "the result cannot travel");
    }
    if (m_bus != nullptr && sd_bus_message_get_expect_reply(call) > 0) {
        m_bus->send(result, writer.bytes());
    }
    return 1;
}

int ServiceEndpoint::answerWith(sd_bus_message* call, const std::function<void(MessageWriter&)>& write) const
{
    sd_bus_message* made = nullptr;
    if (const int error = sd_bus_message_new_method_return(call, &made); error < 0) {
        return error;
    }
    const MessagePtr result{made};
    MessageWriter writer{made};
    write(writer);
    return answer(call, made, writer);
}

int ServiceEndpoint::answerEmpty(sd_bus_message* call) const
{
    return answerWith(call, [](MessageWriter&) {});
}

// Kept for the caller that called last: while we wait for the bus, what others send meanwhile piles up in memory.
std::optional<std::uint32_t> ServiceEndpoint::userOf(sd_bus_message* call)
{
    const std::string caller = text(sd_bus_message_get_sender(call));
    if (caller != m_lastCaller) {
        m_lastUser = MessageReader{call}.senderUser();
        m_lastCaller = caller;
    }
    return m_lastUser;
}

int ServiceEndpoint::runReserved(sd_bus_message* call, ReservedRequest request)
{
    const auto client = m_clients.find(text(sd_bus_message_get_sender(call)));
    if (client == m_clients.end()) {
        return refuse(call, "comm.Error.NotConnected", "call connect first");
    }
    const bool namesAttribute =
        request == getAttribute || request == requestNotification || request == cancelNotification;
    std::uint32_t attribute = 0;
    if (sd_bus_message_has_signature(call, namesAttribute ? "u" : "") <= 0 ||
        (namesAttribute && sd_bus_message_read_basic(call, SD_BUS_TYPE_UINT32, &attribute) < 0))
    {
        return refuse(call, SD_BUS_ERROR_INVALID_ARGS, namesAttribute ? "the argument is \"u\"" : "no arguments");
    }
    if (!m_implementation.runReserved(request, attribute, Client{client->second})) {
        return refuse(call, SD_BUS_ERROR_INVALID_ARGS, "no attribute " + std::to_string(attribute));
    }
    return answerEmpty(call);
}

int ServiceEndpoint::connectClient(sd_bus_message* call)
{
    const std::string sender = text(sd_bus_message_get_sender(call));
    if (!m_clients.contains(sender)) {
        if (m_clients.size() >= kMaxClients) {
            return refuse(call, SD_BUS_ERROR_LIMITS_EXCEEDED, "too many clients");
        }
        const auto client = std::make_shared<ClientState>();
        client->endpoint = this;
        client->bus = m_bus;
        client->uniqueName = sender;
        client->objectPath = &m_objectPath;
        client->replyInterface = &m_replyInterface;
        if (const int error = watch(*client); error < 0) {
            return refuse(call, SD_BUS_ERROR_FAILED, std::generic_category().message(-error));
        }
        m_clients.emplace(sender, client);
    }
    // The answer goes first: the client knows that it is connected before anything is sent to it. Whoever connects
    // again has its reasons, such as a successor that came and went.
    const Client client{m_clients.at(sender)};
    const int answered = answerEmpty(call);
    ipl::insist({__FILE__, __LINE__, __func__}, "a client that has been accepted waits for memory",
                [&] { m_implementation.onClientConnected(client); });
    return answered;
}

int ServiceEndpoint::disconnectClient(sd_bus_message* call)
{
    dropClient(text(sd_bus_message_get_sender(call)));
    return answerEmpty(call);
}

// Two calls that the bus answers one after the other: be told when the name goes, and say whether it is still there.
int ServiceEndpoint::watch(ClientState& client)
{
    const auto onGone = [](sd_bus_message*, void* userdata, sd_bus_error*) {
        return guarded([userdata] {
            const auto& gone = *static_cast<ClientState*>(userdata);
            gone.endpoint->dropClient(gone.uniqueName);
            return 0;
        });
    };
    const auto onPresence = [](sd_bus_message* answer, void* userdata, sd_bus_error*) {
        return guarded([=] {
            const auto& asked = *static_cast<ClientState*>(userdata);
            int present = 0;
            // No answer is no news.
            if (sd_bus_message_is_method_error(answer, nullptr) <= 0 &&
                sd_bus_message_read_basic(answer, SD_BUS_TYPE_BOOLEAN, &present) > 0 && present == 0)
            {
                asked.endpoint->dropClient(asked.uniqueName);
            }
            return 0;
        });
    };
    const auto rule = "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
                      "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='" +
                      client.uniqueName + "'";
    auto* const connection = m_bus->connection();
    sd_bus_slot* slot = nullptr;
    int error = callUntilMemory(
        [&] { return sd_bus_add_match_async(connection, &slot, rule.c_str(), onGone, nullptr, &client); });
    client.watch.reset(std::exchange(slot, nullptr));
    if (error >= 0) {
        error = sd_bus_call_method_async(connection, &slot, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                         "org.freedesktop.DBus", "NameHasOwner", onPresence, &client, "s",
                                         client.uniqueName.c_str());
        client.presence.reset(slot);
    }
    return error;
}

void ServiceEndpoint::dropClient(const std::string& uniqueName)
{
    const auto found = m_clients.find(uniqueName);
    if (found == m_clients.end()) {
        return;
    }
    const auto client = found->second;
    m_clients.erase(found);
    client->alive = false;
    m_implementation.onClientDisconnected(Client{client});
    client->watch.reset();
    client->presence.reset();
}

void ServiceEndpoint::dropAllClients()
{
    while (!m_clients.empty()) {
        dropClient(std::string{m_clients.begin()->first});
    }
}

// The value of an attribute and its validity, as the property of the same name.
void ServiceEndpoint::writeProperty(MessageWriter& writer, std::size_t place) const
{
    const auto contents = std::string{m_info.attributes[place].signature} + "b";
    writer.open('v', ("(" + contents + ")").c_str());
    writer.open('r', contents.c_str());
    m_implementation.writeAttribute(place, writer);
    writer.close();
    writer.close();
}

int ServiceEndpoint::getProperty(sd_bus_message* call)
{
    const char* interface = nullptr;
    const char* name = nullptr;
    if (sd_bus_message_read(call, "ss", &interface, &name) < 0) {
        return refuse(call, SD_BUS_ERROR_INVALID_ARGS, "the arguments are \"ss\"");
    }
    for (std::size_t place = 0; place < m_info.attributes.size(); ++place) {
        if (std::string_view{name} == m_info.attributes[place].name) {
            return answerWith(call, [&](MessageWriter& writer) { writeProperty(writer, place); });
        }
    }
    return refuse(call, SD_BUS_ERROR_UNKNOWN_PROPERTY, std::string{"no property "} + name);
}

int ServiceEndpoint::getAllProperties(sd_bus_message* call)
{
    const char* interface = nullptr;
    if (sd_bus_message_read(call, "s", &interface) < 0) {
        return refuse(call, SD_BUS_ERROR_INVALID_ARGS, "the argument is \"s\"");
    }
    return answerWith(call, [&](MessageWriter& writer) {
        writer.open('a', "{sv}");
        for (std::size_t place = 0; place < m_info.attributes.size() && m_info.name == interface; ++place) {
            writer.open('e', "sv");
            writer.text(m_info.attributes[place].name);
            writeProperty(writer, place);
            writer.close();
        }
        writer.close();
    });
}

int ServiceEndpoint::refuse(sd_bus_message* call, const char* error, const std::string& reason) const
{
    TRACE(s_channel, warning, kLabel, "%s.%s called by %s is refused: %s", m_busName.c_str(),
          text(sd_bus_message_get_member(call)), text(sd_bus_message_get_sender(call)), reason.c_str());
    sd_bus_message* made = nullptr;
    const sd_bus_error content{error, reason.c_str(), 0};
    if (const int failed = sd_bus_message_new_method_error(call, &made, &content); failed < 0) {
        return failed;
    }
    const MessagePtr answer{made};
    if (m_bus != nullptr && sd_bus_message_get_expect_reply(call) > 0) {
        m_bus->send(made, reason.size());
    }
    return 1;
}

bool Client::isAlive() const
{
    return m_state && m_state->alive;
}

bool Client::sendErased(const char* member, const void* write, void (*call)(const void*, MessageWriter&)) const
{
    if (!isAlive() || m_state->bus->connection() == nullptr) {
        return false;
    }
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_signal(m_state->bus->connection(), &made, m_state->objectPath->c_str(),
                                  m_state->replyInterface->c_str(), member) < 0)
    {
        return false;
    }
    const MessagePtr message{made};
    MessageWriter writer{made};
    call(write, writer);
    return writer.ok() && sd_bus_message_set_destination(made, m_state->uniqueName.c_str()) >= 0 &&
           m_state->bus->send(made, writer.bytes());
}

ServiceRegistration::ServiceRegistration(IServiceImplementation& implementation, const ServiceInfo& info,
                                         std::uint32_t instance, const FactoryPtr& factory)
    : m_activeObject{factory->getActiveObject({})},
      m_endpoint{std::make_shared<ServiceEndpoint>(implementation, info, instance)}
{}

ServiceRegistration& ServiceRegistration::operator=(ServiceRegistration&& other) noexcept
{
    unregisterService();
    m_activeObject = std::move(other.m_activeObject);
    m_endpoint = std::move(other.m_endpoint);
    return *this;
}

namespace {

// The answer of the bus on its way to the thread that registers; it may come when nobody waits any more.
struct NameAnswer
{
    osal::Mutex mutex;
    std::condition_variable changed;
    bool came = false;
    int error = 0;
};

} // namespace

bool ServiceRegistration::registerService()
{
    if (!valid()) {
        ipl::ErrorStorage::set(EINVAL, "empty service registration");
        return true;
    }
    constexpr auto kNoMemory = "a service waits for memory";
    const auto answer =
        ipl::insist({__FILE__, __LINE__, __func__}, kNoMemory, [] { return std::make_shared<NameAnswer>(); });
    const auto onAnswer = [answer](int error) {
        const std::lock_guard lock{answer->mutex};
        answer->came = true;
        answer->error = error;
        answer->changed.notify_one();
    };
    const auto* const operation = __func__;
    const bool asked = runAndWait(m_activeObject, [this, operation, &onAnswer] {
        auto* const bus = m_activeObject.loop()->bus();
        if (bus == nullptr) {
            return onAnswer(ESHUTDOWN);
        }
        ipl::insist({__FILE__, __LINE__, operation}, kNoMemory, [&] { m_endpoint->open(*bus, onAnswer); });
    });
    if (!asked) {
        ipl::ErrorStorage::set(ESHUTDOWN, "the active object has ended");
        return true;
    }
    int error = 0;
    {
        std::unique_lock lock{answer->mutex};
        if (!m_activeObject.isCurrent()) {
            answer->changed.wait_for(lock, kPatienceWithBus, [&] { return answer->came; });
        }
        error = answer->error;
    }
    if (error != 0) {
        const auto name = m_endpoint->busName();
        unregisterService();
        ipl::ErrorStorage::set(static_cast<std::uint32_t>(error), "%s: %s", name.c_str(),
                               std::generic_category().message(error).c_str());
    }
    return error != 0;
}

bool ServiceRegistration::unregisterService()
{
    if (!isAlive()) {
        return true;
    }
    // When the active object has ended, so has everything that the endpoint has on it.
    runAndWait(m_activeObject, [this] { m_endpoint->close(); });
    return false;
}

bool ServiceRegistration::isAlive() const
{
    bool open = false;
    if (valid()) {
        runAndWait(m_activeObject, [&] { open = m_endpoint->isOpen(); });
    }
    return open;
}

void logUpdateFailure(const char* operation, const char* updateName)
{
    TRACE(s_channel, warning, "comm::Service", "[%s] error calling %s() (reason=%s)", operation, updateName,
          "the client is gone or does not read");
}

} // namespace comm
