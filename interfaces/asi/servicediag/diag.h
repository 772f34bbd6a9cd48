#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>

#include "comm/Proxy.h"
#include "comm/Service.h"
#include "util/CITypesFactory.h"
#include "util/SharedPtr.h"

/// The diagnostics of the unit's service-oriented middleware (SOME/IP).
namespace asi::servicediag {

struct ServiceAddress
{
    UInt8Array address{}; ///< IPv6, 16 bytes
    std::uint16_t port = 0;
    bool isUdp = false; ///< otherwise TCP

    static constexpr auto fields()
    {
        return std::tuple{comm::field("address", &ServiceAddress::address), comm::field("port", &ServiceAddress::port),
                          comm::field("isUdp", &ServiceAddress::isUdp)};
    }
};

struct ServiceIdentity
{
    util::SharedPtr<std::string> name{};

    static constexpr auto fields() { return std::tuple{comm::field("name", &ServiceIdentity::name)}; }
};

/// The result of a service discovery.
struct ServiceDiscoveryEvent
{
    std::uint32_t status = 0; ///< 1: failed
    util::SharedPtr<ServiceIdentity> querying_service{};
    util::SharedPtr<ServiceAddress> querying_address{};
    util::SharedPtr<std::string> error_info{};

    static constexpr auto fields()
    {
        return std::tuple{comm::field("status", &ServiceDiscoveryEvent::status),
                          comm::field("querying_service", &ServiceDiscoveryEvent::querying_service),
                          comm::field("querying_address", &ServiceDiscoveryEvent::querying_address),
                          comm::field("error_info", &ServiceDiscoveryEvent::error_info)};
    }
};

/// A service that is subject to the middleware's security rules.
struct ServiceSecSOAEvent
{
    util::SharedPtr<std::string> error_info{};

    static constexpr auto fields() { return std::tuple{comm::field("error_info", &ServiceSecSOAEvent::error_info)}; }
};

/// The result of a TLS handshake.
struct SecureConnectionEvent
{
    util::SharedPtr<ServiceAddress> source_address{};
    util::SharedPtr<ServiceAddress> destination_address{};
    util::SharedPtr<std::string> tls_identity{};
    bool success = false;

    static constexpr auto fields()
    {
        return std::tuple{comm::field("source_address", &SecureConnectionEvent::source_address),
                          comm::field("destination_address", &SecureConnectionEvent::destination_address),
                          comm::field("tls_identity", &SecureConnectionEvent::tls_identity),
                          comm::field("success", &SecureConnectionEvent::success)};
    }
};

class diag
{
public:
    virtual ~diag() = default;

    /// Subscribes the caller to the events.
    virtual void startPublishing() = 0;
};

/// Sent to the clients that have called startPublishing.
class diagReply
{
public:
    virtual ~diagReply() = default;
    virtual void publishingStarted() = 0;
    virtual void publish_ServiceDiscoveryEvent(const util::SharedPtr<ServiceDiscoveryEvent>& event) = 0;
    virtual void publish_ServiceSecSOAEvent(const util::SharedPtr<ServiceSecSOAEvent>& event) = 0;
    virtual void publish_SecureConnectionEvent(const util::SharedPtr<SecureConnectionEvent>& event) = 0;
};

struct diagDescription
{
    static constexpr std::string_view name = "asi.servicediag.diag";
    using Requests = diag;
    using Reply = diagReply;
    static constexpr auto requests = std::tuple{comm::method<&diag::startPublishing>(1, "startPublishing")};
    static constexpr auto replies = std::tuple{
        comm::method<&diagReply::publishingStarted>(1, "publishingStarted"),
        comm::method<&diagReply::publish_ServiceDiscoveryEvent>(2, "publish_ServiceDiscoveryEvent", "event"),
        comm::method<&diagReply::publish_ServiceSecSOAEvent>(3, "publish_ServiceSecSOAEvent", "event"),
        comm::method<&diagReply::publish_SecureConnectionEvent>(4, "publish_SecureConnectionEvent", "event")};
    static constexpr auto attributes = std::tuple{};
};

using diagS = comm::Service<diagDescription>;
using diagProxy = comm::ServiceProxy<diagDescription>;

} // namespace asi::servicediag
