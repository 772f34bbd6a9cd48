#pragma once

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <new>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "comm/Proxy.h"
#include "comm/ServiceRegistration.h"
#include "ipl/ErrorStorage.h"
#include "ipl/GlobalErrorHandler.h"
#include "osal/Mutex.h"

namespace comm {

/// Logs that an update of an attribute was not sent to a client. operation: the request or call that caused the update.
void logUpdateFailure(const char* operation, const char* updateName);

/// Sends the replies of a service to one connected client. Copies refer to the same client.
template <typename Description>
class ReplyProxy
{
public:
    ReplyProxy() = default;
    explicit ReplyProxy(Client client) : m_client{std::move(client)} {}

    bool isAlive() const { return m_client.isAlive(); }
    bool operator==(const ReplyProxy&) const = default;

    /// Sends the reply of the given member function of the reply interface. Returns true when the connection accepted
    /// it, which does not mean that the client has read it.
    template <auto function, typename... Args>
    bool call(const Args&... arguments) const
    {
        const auto& method = std::get<Method<function>>(Description::replies);
        return m_client.send(method.name, [&](MessageWriter& writer) {
            ArgumentsCodec<typename Method<function>::Arguments>::write(writer, arguments...);
        });
    }

private:
    Client m_client;
};

/// The attributes of a service: for each its value, its validity and the subscribed clients. Values may be read and
/// stored from any thread; subscriptions and sending belong to the service's active object.
template <typename Attributes>
class AttributeNotificationContainer;

template <typename... Attribute>
class AttributeNotificationContainer<std::tuple<Attribute...>>
{
public:
    static constexpr std::size_t kCount = sizeof...(Attribute);

    /// Stores a value and its validity and sends them to every subscriber.
    template <typename A>
    void update(const A& attribute, typename A::Value value, bool isValid)
    {
        auto& slot = std::get<Slot<A>>(m_slots);
        {
            const std::lock_guard lock{m_mutex};
            slot.value = std::move(value);
            slot.valid = isValid;
        }
        for (const auto& subscriber : slot.subscribers) {
            send(attribute, slot, subscriber, attribute.updateName);
        }
    }

    template <typename A>
    void subscribe(const A& attribute, const Client& client)
    {
        auto& slot = std::get<Slot<A>>(m_slots);
        if (std::find(slot.subscribers.begin(), slot.subscribers.end(), client) == slot.subscribers.end()) {
            slot.subscribers.push_back(client);
        }
        if (slot.valid) {
            send(attribute, slot, client, attribute.updateName);
        }
    }

    template <typename A>
    void unsubscribe(const A&, const Client& client)
    {
        std::erase(std::get<Slot<A>>(m_slots).subscribers, client);
    }

    /// Sends the current value to a client that requested it.
    template <typename A>
    void get(const A& attribute, const Client& client) const
    {
        send(attribute, std::get<Slot<A>>(m_slots), client, (std::string{"get"} + attribute.name).c_str());
    }

    template <typename A>
    void write(const A&, MessageWriter& writer) const
    {
        const std::lock_guard lock{m_mutex};
        const auto& slot = std::get<Slot<A>>(m_slots);
        ArgumentsCodec<std::tuple<typename A::Value, bool>>::write(writer, slot.value, slot.valid);
    }

private:
    template <typename A>
    struct Slot
    {
        typename A::Value value{};
        bool valid = false;
        std::vector<Client> subscribers;
    };

    template <typename A>
    void send(const A& attribute, const Slot<A>&, const Client& client, const char* operation) const
    {
        if (!client.send(attribute.updateName, [&](MessageWriter& writer) { write(attribute, writer); })) {
            logUpdateFailure(operation, attribute.updateName);
        }
    }

    mutable osal::Mutex m_mutex; // guards value and valid of the slots
    std::tuple<Slot<Attribute>...> m_slots;
};

/// Base of a class that provides a service. The derived class implements the requests as virtual functions; two hooks
/// report clients that connect and disconnect. All calls run on the active object that the service is registered with.
///
/// The derived class must deregister in its own destructor: after that its virtual functions no longer exist.
template <typename Description>
class Service : public Description::Requests, protected IServiceImplementation
{
public:
    using Reply = ReplyProxy<Description>;

    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;
    ~Service() override = default;

protected:
    Service() = default;

    virtual void clientConnected(const Reply&) {}
    virtual void clientDisconnected(const Reply&) {}

    /// Registers the service. Returns true on error: it is already registered, or the bus refused it (the reason is in
    /// ipl::ErrorStorage).
    bool registerInstance(std::uint32_t instance, const FactoryPtr& factory)
    {
        if (m_registration.isAlive()) {
            ipl::ErrorStorage::set(kErrorAlreadyRegistered, "%s is registered already",
                                   serviceInfo<Description>().name.c_str());
            return true;
        }
        try {
            m_registration = ServiceRegistration{*this, serviceInfo<Description>(), instance, factory};
        } catch (const std::bad_alloc&) {
            ipl::GlobalErrorHandler::doFatalError(__FILE__, __LINE__, __func__,
                                                  "can't create ServiceRegistration, OOM ");
        }
        return m_registration.registerService();
    }

    /// Withdraws the service if it is registered.
    void unregisterInstance()
    {
        if (m_registration.isAlive()) {
            m_registration.unregisterService();
            m_registration = ServiceRegistration{};
        }
        if (m_registration.isAlive()) {
            ipl::GlobalErrorHandler::doFatalAssert("!m_registration.isAlive()", __FILE__, __LINE__, __func__, "");
        }
    }

    /// Stores value and validity of the attribute with the given update function, and sends both to every subscriber.
    template <auto function>
    void setAttribute(typename Attribute<function>::Value value, bool isValid = true)
    {
        m_attributes.update(std::get<Attribute<function>>(Description::attributes), std::move(value), isValid);
    }

    ServiceRegistration m_registration;

private:
    using Attributes = std::remove_cvref_t<decltype(Description::attributes)>;

    std::string runRequest(std::size_t place, MessageReader& arguments, MessageWriter& result) final
    {
        std::string refusal;
        std::size_t next = 0;
        std::apply(
            [&](const auto&... method) {
                (void)((next++ == place && (refusal = run(method, arguments, result), true)) || ...);
            },
            Description::requests);
        return refusal;
    }

    template <typename Method>
    std::string run(const Method&, MessageReader& reader, MessageWriter& writer)
    {
        typename Method::Arguments arguments;
        ArgumentsCodec<typename Method::Arguments>::read(reader, arguments);
        if (!reader.ok()) {
            return {};
        }
        auto& self = static_cast<typename Method::Interface&>(*this);
        const auto call = [&self](auto&... argument) { return (self.*Method::kFunction)(argument...); };
        if constexpr (std::is_void_v<typename Method::Result>) {
            std::apply(call, arguments);
            return {};
        } else {
            auto result = std::apply(call, arguments);
            Codec<decltype(result.value)>::write(writer, result.value);
            return std::move(result.error);
        }
    }

    bool runReserved(ReservedRequest request, std::uint32_t id, const Client& client) final
    {
        const bool all = request == getAttributes || request == requestNotifications || request == cancelNotifications;
        bool found = all;
        std::apply(
            [&](const auto&... attribute) {
                ((all || attribute.id == id ? (found = true, manage(attribute, request, client)) : void()), ...);
            },
            Description::attributes);
        return found;
    }

    template <typename A>
    void manage(const A& attribute, ReservedRequest request, const Client& client)
    {
        switch (request) {
        case comm::getAttribute:
        case comm::getAttributes:
            return m_attributes.get(attribute, client);
        case requestNotification:
        case requestNotifications:
            return m_attributes.subscribe(attribute, client);
        case cancelNotification:
        case cancelNotifications:
            return m_attributes.unsubscribe(attribute, client);
        }
    }

    void writeAttribute(std::size_t place, MessageWriter& writer) const final
    {
        std::size_t next = 0;
        std::apply(
            [&](const auto&... attribute) {
                (void)((next++ == place && (m_attributes.write(attribute, writer), true)) || ...);
            },
            Description::attributes);
    }

    void onClientConnected(const Client& client) final { clientConnected(Reply{client}); }

    void onClientDisconnected(const Client& client) final
    {
        std::apply([&](const auto&... attribute) { (m_attributes.unsubscribe(attribute, client), ...); },
                   Description::attributes);
        clientDisconnected(Reply{client});
    }

    AttributeNotificationContainer<Attributes> m_attributes;
};

} // namespace comm
