#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>

#include "comm/Proxy.h"
#include "comm/Service.h"
#include "util/CITypesFactory.h"
#include "util/SharedPtr.h"

/// The WLAN functions of the unit's networking platform: the unit's hotspot, and the unit as a client of another WLAN.
namespace asi::connectivity::networking {

/// A device used by the hotspot or the client function.
struct WlanDevice
{
    util::SharedPtr<std::string> name{};

    static constexpr auto fields() { return std::tuple{comm::field("name", &WlanDevice::name)}; }
};

/// A station failed to join the unit's hotspot.
struct WlanConnectionFailureHotspot
{
    UInt8Array mac{};         ///< of the station, 6 bytes
    std::uint32_t reason = 0; ///< code of the service
    std::uint32_t band = 0;   ///< code of the service
    UInt8Array bssid{};       ///< of the hotspot, 6 bytes
    util::SharedPtr<std::string> ssid{};

    static constexpr auto fields()
    {
        return std::tuple{comm::field("mac", &WlanConnectionFailureHotspot::mac),
                          comm::field("reason", &WlanConnectionFailureHotspot::reason),
                          comm::field("band", &WlanConnectionFailureHotspot::band),
                          comm::field("bssid", &WlanConnectionFailureHotspot::bssid),
                          comm::field("ssid", &WlanConnectionFailureHotspot::ssid)};
    }
};

/// The unit failed to join a WLAN.
struct WlanConnectionFailureClient
{
    util::SharedPtr<std::string> ssid{};
    UInt8Array bssid{};       ///< of the WLAN's access point, 6 bytes
    std::uint32_t reason = 0; ///< code of the service
    UInt8Array hwaddr{};      ///< of the unit's own device, 6 bytes

    static constexpr auto fields()
    {
        return std::tuple{comm::field("ssid", &WlanConnectionFailureClient::ssid),
                          comm::field("bssid", &WlanConnectionFailureClient::bssid),
                          comm::field("reason", &WlanConnectionFailureClient::reason),
                          comm::field("hwaddr", &WlanConnectionFailureClient::hwaddr)};
    }
};

/// The unit has joined a WLAN.
struct WlanConnectionSuccessClient
{
    util::SharedPtr<std::string> ssid{};
    UInt8Array bssid{}; ///< of the WLAN's access point, 6 bytes

    static constexpr auto fields()
    {
        return std::tuple{comm::field("ssid", &WlanConnectionSuccessClient::ssid),
                          comm::field("bssid", &WlanConnectionSuccessClient::bssid)};
    }
};

struct WlanTrafficCounters
{
    std::uint64_t receivedBytes = 0;
    std::uint64_t sentBytes = 0;

    static constexpr auto fields()
    {
        return std::tuple{comm::field("receivedBytes", &WlanTrafficCounters::receivedBytes),
                          comm::field("sentBytes", &WlanTrafficCounters::sentBytes)};
    }
};

class WlanService
{
public:
    virtual ~WlanService() = default;

    /// Subscribes the caller to notifications of devices and connections.
    virtual void startNotifications() = 0;

    /// The reply is responseTrafficCounters.
    virtual void requestTrafficCounters() = 0;
};

/// Sent to the clients. Every record may be null.
class WlanServiceReply
{
public:
    virtual ~WlanServiceReply() = default;
    virtual void updateWLANDevice(const util::SharedPtr<WlanDevice>& device) = 0;
    virtual void updateWlanConnectionFailureHotspot(const util::SharedPtr<WlanConnectionFailureHotspot>& failure) = 0;
    virtual void updateWlanConnectionFailureClient(const util::SharedPtr<WlanConnectionFailureClient>& failure) = 0;
    virtual void updateWlanConnectionSuccessClient(const util::SharedPtr<WlanConnectionSuccessClient>& success) = 0;
    virtual void responseTrafficCounters(const util::SharedPtr<WlanTrafficCounters>& counters) = 0;
};

struct WlanServiceDescription
{
    static constexpr std::string_view name = "asi.connectivity.networking.WlanService";
    using Requests = WlanService;
    using Reply = WlanServiceReply;
    static constexpr auto requests =
        std::tuple{comm::method<&WlanService::startNotifications>(1, "startNotifications"),
                   comm::method<&WlanService::requestTrafficCounters>(2, "requestTrafficCounters")};
    static constexpr auto replies = std::tuple{
        comm::method<&WlanServiceReply::updateWLANDevice>(1, "updateWLANDevice", "device"),
        comm::method<&WlanServiceReply::updateWlanConnectionFailureHotspot>(2, "updateWlanConnectionFailureHotspot",
                                                                            "failure"),
        comm::method<&WlanServiceReply::updateWlanConnectionFailureClient>(3, "updateWlanConnectionFailureClient",
                                                                           "failure"),
        comm::method<&WlanServiceReply::updateWlanConnectionSuccessClient>(4, "updateWlanConnectionSuccessClient",
                                                                           "success"),
        comm::method<&WlanServiceReply::responseTrafficCounters>(5, "responseTrafficCounters", "counters")};
    static constexpr auto attributes = std::tuple{};
};

using WlanServiceS = comm::Service<WlanServiceDescription>;
using WlanServiceProxy = comm::ServiceProxy<WlanServiceDescription>;

} // namespace asi::connectivity::networking
