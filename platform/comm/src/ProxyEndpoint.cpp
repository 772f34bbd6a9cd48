#include "ProxyEndpoint.h"

#include <cerrno>
#include <cstring>
#include <systemd/sd-bus.h>
#include <utility>

#include "Loop.h"
#include "comm/EventLoop.h"
#include "ipl/ErrorStorage.h"
#include "tracing/Channel.h"

namespace comm {
namespace {

constexpr char kLabel[] = "comm::ProxyEndpoint";
constexpr char kBusName[] = "org.freedesktop.DBus";
constexpr char kBusPath[] = "/org/freedesktop/DBus";

tracing::Channel s_channel{"CON_COMM", 7, 2};

bool equal(const char* text, const std::string& other)
{
    return text != nullptr && other == text;
}

} // namespace

ProxyEndpoint::ProxyEndpoint(const ServiceInfo& info, std::uint32_t instance, LifecycleListener& lifecycle)
    : m_info{info},
      m_lifecycle{std::make_shared<Lifecycle>(Lifecycle{info.busName(instance)})},
      m_objectPath{info.objectPath(instance)},
      m_replyInterface{info.replyInterface()},
      m_listener{lifecycle}
{}

int ProxyEndpoint::connect(Bus& bus)
{
    disconnect();
    if (bus.connection() == nullptr) {
        return ENOTCONN;
    }
    bus.addUser(*this);
    m_bus = &bus;
    m_state = State::seeking;
    const auto onChange = [](sd_bus_message* signal, void* self, sd_bus_error*) {
        return take(self, signal, &ProxyEndpoint::onOwnerChanged);
    };
    const auto onAnswer = [](sd_bus_message* answer, void* self, sd_bus_error*) {
        return take(self, answer, &ProxyEndpoint::onOwnerAnswer);
    };
    const auto rule = "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
                      "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='" +
                      busName() + "'";
    sd_bus_slot* slot = nullptr;
    int error = callUntilMemory(
        [&] { return sd_bus_add_match_async(bus.connection(), &slot, rule.c_str(), onChange, nullptr, this); });
    m_ownerWatch.reset(std::exchange(slot, nullptr));
    if (error >= 0) {
        error = sd_bus_call_method_async(bus.connection(), &slot, kBusName, kBusPath, kBusName, "GetNameOwner",
                                         onAnswer, this, "s", busName().c_str());
        m_pendingCall.reset(slot);
    }
    if (error < 0) {
        rest();
        return -error;
    }
    return 0;
}

// A step on the way to the service that lacks memory has not been done: the service counts as lost, so that the way is
// gone again from its beginning.
int ProxyEndpoint::take(void* self, sd_bus_message* message, int (ProxyEndpoint::*step)(sd_bus_message*)) noexcept
{
    auto& endpoint = *static_cast<ProxyEndpoint*>(self);
    return guarded([&] { return (endpoint.*step)(message); }) >= 0 ? 0 : guarded([&endpoint] {
        endpoint.die(DeathNotice::notAnswered, ENOMEM);
        return 0;
    });
}

void ProxyEndpoint::disconnect()
{
    if (const auto goodbye = request("disconnect")) {
        sd_bus_message_set_expect_reply(goodbye.get(), 0);
        m_bus->send(goodbye.get(), 0);
    }
    rest();
}

void ProxyEndpoint::rest()
{
    m_state = State::atRest;
    m_owner.clear();
    m_ownerWatch.reset();
    m_pendingCall.reset();
    if (auto* const bus = std::exchange(m_bus, nullptr)) {
        bus->removeUser(*this);
    }
}

void ProxyEndpoint::die(DeathNotice::Reason reason, int origin)
{
    const DeathNotice notice{m_state == State::alive ? 1U : 0U, reason, static_cast<std::uint32_t>(origin)};
    const auto lifecycle = m_lifecycle;
    rest();
    m_listener.dead(*lifecycle, notice); // which may destroy us
}

void ProxyEndpoint::onBusLost()
{
    die(DeathNotice::busLost, ECONNRESET);
}

int ProxyEndpoint::onOwnerChanged(sd_bus_message* signal)
{
    const char* name = nullptr;
    const char* before = nullptr;
    const char* now = nullptr;
    if (sd_bus_message_read(signal, "sss", &name, &before, &now) > 0) {
        ownerIs(now);
    }
    return 0;
}

int ProxyEndpoint::onOwnerAnswer(sd_bus_message* answer)
{
    const auto* const error = sd_bus_message_get_error(answer);
    const char* owner = nullptr;
    if (error == nullptr && sd_bus_message_read_basic(answer, SD_BUS_TYPE_STRING, &owner) > 0) {
        ownerIs(owner);
    } else if (error != nullptr && sd_bus_error_has_name(error, SD_BUS_ERROR_NAME_HAS_NO_OWNER) <= 0) {
        die(DeathNotice::notAnswered, sd_bus_error_get_errno(error));
    }
    // While nobody owns the name, the watch tells when somebody does.
    return 0;
}

void ProxyEndpoint::ownerIs(const std::string& owner)
{
    if (owner == m_owner) {
        return;
    }
    if (!m_owner.empty()) {
        die(DeathNotice::died, 0);
        return;
    }
    m_owner = owner;
    m_state = State::connecting;
    const auto onAnswer = [](sd_bus_message* answer, void* self, sd_bus_error*) {
        return take(self, answer, &ProxyEndpoint::onConnectAnswer);
    };
    sd_bus_slot* slot = nullptr;
    const int error = sd_bus_call_method_async(m_bus->connection(), &slot, m_owner.c_str(), m_objectPath.c_str(),
                                               m_info.name.c_str(), "connect", onAnswer, this, "");
    m_pendingCall.reset(slot);
    if (error < 0) {
        die(DeathNotice::notAnswered, -error);
    }
}

int ProxyEndpoint::onConnectAnswer(sd_bus_message* answer)
{
    if (const auto* const error = sd_bus_message_get_error(answer); error != nullptr) {
        die(sd_bus_error_has_name(error, SD_BUS_ERROR_ACCESS_DENIED) > 0 ? DeathNotice::refused
                                                                         : DeathNotice::notAnswered,
            sd_bus_error_get_errno(error));
        return 0;
    }
    m_state = State::alive;
    m_listener.alive(*m_lifecycle);
    return 0;
}

MessagePtr ProxyEndpoint::request(const char* member) const
{
    sd_bus_message* made = nullptr;
    if (m_state != State::alive || m_bus->connection() == nullptr ||
        sd_bus_message_new_method_call(m_bus->connection(), &made, m_owner.c_str(), m_objectPath.c_str(),
                                       m_info.name.c_str(), member) < 0)
    {
        return nullptr;
    }
    sd_bus_message_set_expect_reply(made, 0);
    return MessagePtr{made};
}

bool ProxyEndpoint::onSignal(sd_bus_message* signal)
{
    if (m_state != State::alive || !equal(sd_bus_message_get_sender(signal), m_owner) ||
        !equal(sd_bus_message_get_path(signal), m_objectPath) ||
        !equal(sd_bus_message_get_interface(signal), m_replyInterface))
    {
        return false;
    }
    const char* const member = sd_bus_message_get_member(signal);
    const char* const signature = sd_bus_message_get_signature(signal, 1);
    MessageReader reader{signal};
    if (!m_receiver->runReply(member, signature, reader)) {
        TRACE(s_channel, warning, kLabel, "%s sends %s, which is not known", busName().c_str(), member);
    } else if (!reader.ok()) {
        TRACE(s_channel, warning, kLabel, "%s sends a bad %s (%s): %s", busName().c_str(), member, signature,
              reader.reason());
    }
    return true;
}

Proxy::Proxy(const ServiceInfo& info, std::uint32_t instance, const FactoryPtr& factory, LifecycleListener& lifecycle)
    : m_activeObject{factory->getActiveObject({})},
      m_endpoint{std::make_shared<ProxyEndpoint>(info, instance, lifecycle)}
{}

Proxy::~Proxy() = default;

void Proxy::setReceiver(IReplyReceiver& receiver)
{
    m_endpoint->setReceiver(receiver);
}

bool Proxy::connect()
{
    int error = ESHUTDOWN;
    runAndWait(m_activeObject, [&] {
        if (auto* const bus = m_activeObject.loop()->bus(); bus != nullptr) {
            error = ENOMEM;
            guarded([&] { return error = m_endpoint->connect(*bus); });
        }
    });
    if (error != 0) {
        ipl::ErrorStorage::set(static_cast<std::uint32_t>(error), "cannot connect to %s: %s", getInstanceID().c_str(),
                               std::strerror(error));
    }
    return error != 0;
}

void Proxy::disconnect()
{
    runAndWait(m_activeObject, [this] { m_endpoint->disconnect(); });
}

bool Proxy::disconnectAndNotify(util::SharedPtr<ActiveObjectEvent> completion)
{
    if (!m_activeObject.valid()) {
        return true;
    }
    disconnect();
    m_activeObject.enque(std::move(completion));
    return false;
}

bool Proxy::isAlive() const
{
    return m_endpoint->isAlive();
}

const std::string& Proxy::getInstanceID() const
{
    return m_endpoint->busName();
}

bool Proxy::sendErased(const char* member, const void* write, void (*call)(const void*, MessageWriter&)) const
{
    const auto request = m_endpoint->request(member);
    if (!request) {
        return false;
    }
    MessageWriter writer{request.get()};
    call(write, writer);
    return writer.ok() && m_endpoint->send(request.get(), writer.bytes());
}

} // namespace comm
