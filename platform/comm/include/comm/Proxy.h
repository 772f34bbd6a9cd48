#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <tuple>

#include "comm/ActiveObject.h"
#include "comm/Description.h"
#include "comm/ServiceInfo.h"

namespace comm {

/// Which connection a lifecycle notice is about: the bus name of the service's instance.
struct Lifecycle
{
    std::string instanceId;
};

/// Why a service is not (or no longer) there.
struct DeathNotice
{
    enum Reason : std::uint32_t
    {
        died = 1,        ///< its process has left the bus
        busLost = 2,     ///< the bus itself is gone
        notAnswered = 3, ///< the service did not answer the connection request
        refused = 14,    ///< the bus or the service denies us access
    };

    std::uint32_t code = 0; ///< 0: before it was alive, 1: after
    std::uint32_t reason = died;
    std::uint32_t origin = 0; ///< the errno that the bus reported, 0 for none
};

/// Learns when a service becomes usable and when it is lost. Called on the proxy's active object.
class LifecycleListener
{
public:
    virtual ~LifecycleListener() = default;
    virtual void alive(const Lifecycle& lifecycle) = 0;

    /// After this the proxy is at rest until it is told to connect again. It may be destroyed in here.
    virtual void dead(const Lifecycle& lifecycle, const DeathNotice& notice) = 0;
};

/// The client's side of a service, without its types.
class IReplyReceiver
{
public:
    virtual ~IReplyReceiver() = default;

    /// Runs the reply of the given name. False when the reply interface has none; a reader that fails means that
    /// nothing was run.
    virtual bool runReply(std::string_view name, std::string_view signature, MessageReader& arguments) = 0;
};

class ProxyEndpoint;

/// A client's connection to one instance of a service. Used on its active object only, but may be made and destroyed on
/// any thread.
///
/// connect begins to look for the service and returns; alive follows when it is there and has accepted us, be it now or
/// in an hour. Only signals that the service's owner sends to us are taken for its replies.
class Proxy
{
public:
    Proxy(const ServiceInfo& info, std::uint32_t instance, const FactoryPtr& factory, LifecycleListener& lifecycle);
    virtual ~Proxy();
    Proxy(const Proxy&) = delete;
    Proxy& operator=(const Proxy&) = delete;

    /// Returns true on error: there is no bus (the reason is in ipl::ErrorStorage).
    bool connect();

    /// Says goodbye and comes to rest; nobody is told.
    void disconnect();

    /// As disconnect; the completion runs later on the active object, or is released without running when that ends
    /// first. Needs no memory. Returns true on error: there is no active object, and the completion will not run.
    bool disconnectAndNotify(util::SharedPtr<ActiveObjectEvent> completion);

    bool isAlive() const;

    /// The bus name of the instance.
    const std::string& getInstanceID() const;

protected:
    void setReceiver(IReplyReceiver& receiver);

    /// Sends a request without waiting for its outcome. False when the service is not alive or the connection did not
    /// take the message.
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

/// The proxy of a described service: requests by the member functions that stand for them, replies as calls of the
/// reply interface.
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

    /// Sends a request; true when the connection took it.
    template <auto function, typename... Args>
    bool call(const Args&... arguments) const
    {
        const auto& method = std::get<Method<function>>(Description::requests);
        return send(method.name, [&](MessageWriter& writer) {
            ArgumentsCodec<typename Method<function>::Arguments>::write(writer, arguments...);
        });
    }

    /// Asks for the updates of all attributes, now and at every change; or for none any more.
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
