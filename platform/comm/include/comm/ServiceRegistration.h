#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "comm/ActiveObject.h"
#include "comm/Client.h"
#include "comm/Description.h"
#include "comm/ServiceInfo.h"

namespace comm {

/// The reason that a platform call leaves in ipl::ErrorStorage when a service is registered that is registered already.
inline constexpr std::uint32_t kErrorAlreadyRegistered = 21;

/// The provider's side of a service, without its types. Called on the active object that the service is registered
/// with.
class IServiceImplementation
{
public:
    virtual ~IServiceImplementation() = default;

    /// Whether it matters who calls. Finding that out costs a question to the bus for every change of the caller.
    virtual bool asksForUser() const { return false; }

    /// Whether a caller may connect and call: the user it runs as, none when that cannot be told. Asked only when
    /// asksForUser.
    virtual bool admits(std::optional<std::uint32_t>) const { return true; }

    /// Runs the request of the given place in ServiceInfo::requests. A reader that fails means that nothing was run.
    /// Returns the refusal for the caller, empty when there is none.
    virtual std::string runRequest(std::size_t place, MessageReader& arguments, MessageWriter& result) = 0;

    /// Runs one of the reserved requests; the attribute number counts only for those that name one. False when there is
    /// no such attribute.
    virtual bool runReserved(ReservedRequest request, std::uint32_t attribute, const Client& client) = 0;

    /// Writes the value of the attribute of the given place in ServiceInfo::attributes.
    virtual void writeAttribute(std::size_t place, MessageWriter& writer) const = 0;

    virtual void onClientConnected(const Client& client) = 0;
    virtual void onClientDisconnected(const Client& client) = 0;
};

class ServiceEndpoint;

/// A service's place on the bus. A default-made one is empty. May be used from any thread.
///
/// Registering takes the service's bus name and answers its object. When the bus is away the registration waits for it,
/// and it comes back by itself whenever the bus does; the clients are then gone and connect again. The implementation
/// must outlive the registration. Destruction withdraws it.
class ServiceRegistration
{
public:
    ServiceRegistration() = default;
    /// Throws std::bad_alloc when its memory cannot be had.
    ServiceRegistration(IServiceImplementation& implementation, const ServiceInfo& info, std::uint32_t instance,
                        const FactoryPtr& factory);
    ~ServiceRegistration() { unregisterService(); }
    ServiceRegistration(ServiceRegistration&& other) noexcept = default;
    ServiceRegistration& operator=(ServiceRegistration&& other) noexcept;

    /// False when it is empty.
    bool valid() const { return m_endpoint != nullptr; }

    /// Returns true on error: the name belongs to somebody else or the bus does not admit us (the reason is in
    /// ipl::ErrorStorage). Waits for the bus' answer for at most two seconds; later answers are only logged.
    bool registerService();

    /// Returns true on error: it was not registered. Afterwards no operation of the implementation is running or comes.
    bool unregisterService();

    /// Whether the service is registered, also while the bus is away.
    bool isAlive() const;

private:
    ActiveObject m_activeObject;
    std::shared_ptr<ServiceEndpoint> m_endpoint;
};

} // namespace comm
