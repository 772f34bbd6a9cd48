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

/// The code in ipl::ErrorStorage when a service is registered twice.
inline constexpr std::uint32_t kErrorAlreadyRegistered = 21;

/// The provider's side of a service, without its types. Called on the active object that the service is registered
/// with.
class IServiceImplementation
{
public:
    virtual ~IServiceImplementation() = default;

    /// Whether admits depends on the caller's user. If so, every change of the caller costs a query to the bus.
    virtual bool asksForUser() const { return false; }

    /// Whether a caller may connect and call. The argument is its user, none when it is unknown. Called only when
    /// asksForUser returns true.
    virtual bool admits(std::optional<std::uint32_t>) const { return true; }

    /// Runs the request at the given index of ServiceInfo::requests. When the reader fails, nothing was run. Returns
    /// the refusal for the caller, empty on success.
    virtual std::string runRequest(std::size_t place, MessageReader& arguments, MessageWriter& result) = 0;

    /// Runs one of the reserved requests; attribute is used only by those that take one. Returns false when the
    /// attribute does not exist.
    virtual bool runReserved(ReservedRequest request, std::uint32_t attribute, const Client& client) = 0;

    /// Writes the value of the attribute at the given index of ServiceInfo::attributes.
    virtual void writeAttribute(std::size_t place, MessageWriter& writer) const = 0;

    virtual void onClientConnected(const Client& client) = 0;
    virtual void onClientDisconnected(const Client& client) = 0;
};

class ServiceEndpoint;

/// The registration of a service on the bus. A default-constructed one is empty. May be used from any thread.
///
/// Registering requests the service's bus name and publishes its object. Without a bus the registration waits for one,
/// and it is repeated whenever the bus returns; clients must then connect again. The implementation must outlive the
/// registration. The destructor withdraws it.
class ServiceRegistration
{
public:
    ServiceRegistration() = default;
    /// Throws std::bad_alloc.
    ServiceRegistration(IServiceImplementation& implementation, const ServiceInfo& info, std::uint32_t instance,
                        const FactoryPtr& factory);
    ~ServiceRegistration() { unregisterService(); }
    ServiceRegistration(ServiceRegistration&& other) noexcept = default;
    ServiceRegistration& operator=(ServiceRegistration&& other) noexcept;

    /// False when it is empty.
    bool valid() const { return m_endpoint != nullptr; }

    /// Returns true on error: another process owns the name or the bus denies it (the reason is in ipl::ErrorStorage).
    /// Waits at most two seconds for the bus' reply; a later reply is only logged.
    bool registerService();

    /// Returns true on error: it was not registered. Afterwards no function of the implementation runs or is called.
    bool unregisterService();

    /// Whether the service is registered, with or without a bus.
    bool isAlive() const;

private:
    ActiveObject m_activeObject;
    std::shared_ptr<ServiceEndpoint> m_endpoint;
};

} // namespace comm
