#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <tuple>

#include "comm/ActiveObject.h"
#include "comm/Description.h"
#include "comm/ServiceInfo.h"

namespace comm {

/// Identifies the connection of a lifecycle notice: the bus name of the service's instance.
struct Lifecycle
{
    std::string instanceId;
};

/// Why a service is not available, or no longer available.
struct DeathNotice
{
    enum Reason : std::uint32_t
    {
        died = 1,        ///< its process has left the bus
        busLost = 2,     ///< the connection to the bus was lost
        notAnswered = 3, ///< the service did not answer the connection request
        refused = 14,    ///< the bus or the service denied access
    };

    std::uint32_t code = 0; ///< 0: before it was alive, 1: after
    std::uint32_t reason = died;
    std::uint32_t origin = 0; ///< the errno that the bus reported, 0 for none
};

/// Notified when a service becomes available and when it is lost. Called on the proxy's active object.
class LifecycleListener
{
public:
    virtual ~LifecycleListener() = default;
    virtual void alive(const Lifecycle& lifecycle) = 0;

    /// From now on the proxy is idle until the next connect. The listener may destroy the proxy in this call.
    virtual void dead(const Lifecycle& lifecycle, const DeathNotice& notice) = 0;
};

/// The client's side of a service, without its types.
class IReplyReceiver
{
public:
    virtual ~IReplyReceiver() = default;

    /// Runs the reply of the given name. Returns false when the reply interface has none. When the reader fails,
    /// nothing was run.
    virtual bool runReply(std::string_view name, std::string_view signature, MessageReader& arguments) = 0;
};

class ProxyEndpoint;

/// A client's connection to one instance of a service. Used on its active object only, but may be constructed and
/// destroyed on any thread.
///
/// connect starts to look for the service and returns; alive follows once the service is available and has accepted the
/// connection, without a time limit. Only signals that the service's owner sends to this process are accepted as its
/// replies.
class Proxy
{
public:
    Proxy(const ServiceInfo& info, std::uint32_t instance, const FactoryPtr& factory, LifecycleListener& lifecycle);
    virtual ~Proxy();
    Proxy(const Proxy&) = delete;
    Proxy& operator=(const Proxy&) = delete;

    /// Returns true on error: there is no bus (the reason is in ipl::ErrorStorage).
    bool connect();

    /// Disconnects and becomes idle, without a call of the listener.
    void disconnect();

    /// As disconnect; the completion runs later on the active object, or is released without running when that ends
    /// first. Needs no memory. Returns true on error: there is no active object, and the completion will not run.
    bool disconnectAndNotify(util::SharedPtr<ActiveObjectEvent> completion);

    bool isAlive() const;

    /// The bus name of the instance.
    const std::string& getInstanceID() const;

protected:
    void setReceiver(IReplyReceiver& receiver);

    /// Sends a request without waiting for its reply. Returns false when the service is not alive or the connection
    /// refused the message.
    template <typename Write>
    bool send(const char* member, const Write& write) const
    {
        return sendErased(member, &write, [](const void* erased, MessageWriter& writer) {
            (*static_cast<const Write*>(erased))(writer);
        });
    }

private:
    bool sendErased(const char* member, const void* write, void (*call)(const void*, MessageWriter&)) const;

    ActiveObject m_activeObject;
    std::shared_ptr<ProxyEndpoint> m_endpoint;
};

/// The proxy of a described service: requests and replies are identified by their member functions.
template <typename Description>
class ServiceProxy final : public Proxy, private IReplyReceiver
{
public:
    ServiceProxy(std::uint32_t instance, const FactoryPtr& factory, typename Description::Reply& reply,
                 LifecycleListener& lifecycle)
        : Proxy{serviceInfo<Description>(), instance, factory, lifecycle}, m_reply{reply}
    {
        setReceiver(*this);
    }
    ~ServiceProxy() override { disconnect(); }

    /// Sends a request; returns true when the connection accepted it.
    template <auto function, typename... Args>
    bool call(const Args&... arguments) const
    {
        const auto& method = std::get<Method<function>>(Description::requests);
        return send(method.name, [&](MessageWriter& writer) {
            ArgumentsCodec<typename Method<function>::Arguments>::write(writer, arguments...);
        });
    }

    /// Subscribes to all attributes, or cancels all subscriptions.
    bool requestNotifications() const
    {
        return send("requestNotifications", [](MessageWriter&) {});
    }
    bool cancelNotifications() const
    {
        return send("cancelNotifications", [](MessageWriter&) {});
    }

private:
    bool runReply(std::string_view name, std::string_view signature, MessageReader& reader) final
    {
        bool found = false;
        std::apply(
            [&](const auto&... method) {
                (void)((name == method.name && (found = true, run(method, signature, reader), true)) || ...);
            },
            Description::replies);
        std::apply(
            [&](const auto&... attribute) {
                (void)((name == attribute.updateName && (found = true, run(attribute, signature, reader), true)) ||
                       ...);
            },
            Description::attributes);
        return found;
    }

    template <typename Operation>
    void run(const Operation&, std::string_view signature, MessageReader& reader)
    {
        using Arguments = typename Operation::Arguments;
        if (signature != ArgumentsCodec<Arguments>::kSignature.c_str()) {
            reader.refuse("wrong signature");
            return;
        }
        Arguments arguments;
        ArgumentsCodec<Arguments>::read(reader, arguments);
        if (reader.ok()) {
            std::apply([this](const auto&... argument) { (m_reply.*Operation::kFunction)(argument...); }, arguments);
        }
    }

    typename Description::Reply& m_reply;
};

} // namespace comm
