#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>

#include "EventLayout.h"
#include "ids/SExtConnFailure.h"
#include "ids/SFirewallStatistics.h"
#include "ids/SProcess.h"
#include "ids/SServiceDiscoveryFailure.h"
#include "ids/SServiceListUpdate.h"
#include "ids/STeeAccess.h"
#include "ids/STlsHandshakeFailure.h"

/// The context data of every event that this daemon builds.
namespace ids::layouts {

using namespace field;

/// Truncates toward zero; what does not fit becomes the nearest that does, NaN becomes 0.
inline std::uint32_t saturated(double value)
{
    if (!(value > 0)) {
        return 0;
    }
    constexpr auto kMax = std::numeric_limits<std::uint32_t>::max();
    return value < kMax ? static_cast<std::uint32_t>(value) : kMax;
}

inline std::uint32_t roundedCpuUsage(const SProcess& process)
{
    return saturated(std::round(process.cpuUsage));
}
inline std::uint32_t truncatedSystemCpuUsage(const SProcess& process)
{
    return saturated(process.systemCpuUsage);
}

inline constexpr std::uint16_t kTeeTextWidth = 24;

inline std::uint32_t teeTextLength(const std::string& text)
{
    return static_cast<std::uint32_t>(std::min<std::size_t>(text.size(), kTeeTextWidth));
}
inline std::uint32_t teeNameLength(const STeeAccess& access)
{
    return teeTextLength(access.teeName);
}
inline std::uint32_t appNameLength(const STeeAccess& access)
{
    return teeTextLength(access.appName);
}

inline constexpr auto kKeepAlive = eventLayout<std::uint32_t>(
    "KeepAlive", 0x8000, "CIdsm: once a minute while the daemon runs", integer("counter", 3, 4, std::identity{}));

inline constexpr auto kVkmsNoKeysAvailable = eventLayout<std::uint32_t>(
    "VkmsNoKeysAvailable", 0xD00E, "CTee: a caller of the trusted execution environment found no keys",
    constant("reserved0", 7, 3, 0), constant("reserved1", 10, 3, 0),
    integer("millisecondsSinceBoot", 13, 4, std::identity{}));

inline constexpr auto kApnConfigChange =
    eventLayout<SProcess>("ApnConfigChange", 0xD705, "CNad: the modem has another access point configuration",
                          text("processName", 7, 46, &SProcess::name), integer("processId", 53, 3, &SProcess::id));

inline constexpr auto kResourceConsumption = eventLayout<SProcess>(
    "ResourceConsumption", 0xD701, "CProcMonitor: one of the busiest processes of the last minute",
    integer("cpuUsage", 7, 2, &roundedCpuUsage), constant("reserved0", 9, 3, 0), constant("reserved1", 12, 3, 0),
    integer("processId", 15, 3, &SProcess::id), text("processName", 18, 24, &SProcess::name),
    integer("ramUsage", 42, 2, &SProcess::ramUsage), integer("systemCpuUsage", 44, 2, &truncatedSystemCpuUsage));

inline constexpr auto kServiceListChange = eventLayout<SServiceListUpdate>(
    "ServiceListChange", 0xD016, "CVoice: services were added to the list of provided services, or removed from it",
    integer("kind", 7, 1, &SServiceListUpdate::kind), text("services", 8, 128, &SServiceListUpdate::services),
    time("time", 136, &SServiceListUpdate::time));

inline constexpr auto kTeeInvocation = eventLayout<STeeAccess>(
    "TeeInvocation", 0xD015, "CTee, CSoaDiag: the trusted execution environment was used",
    integer("teeNameLength", 7, 2, &teeNameLength), text("teeName", 9, kTeeTextWidth, &STeeAccess::teeName),
    integer("appNameLength", 33, 2, &appNameLength), text("appName", 35, kTeeTextWidth, &STeeAccess::appName),
    integer("code", 59, 3, &STeeAccess::code), text("detail", 62, 16, &STeeAccess::detail));

inline constexpr auto kFailServiceDiscovery =
    eventLayout<SServiceDiscoveryFailure>("FailServiceDiscovery", 0xD006, "CSoaDiag: a service was not found",
                                          integer("kind", 7, 1, &SServiceDiscoveryFailure::kind),
                                          text("queryingService", 8, 24, &SServiceDiscoveryFailure::queryingService),
                                          bytes("detailBytes", 32, 80, &SServiceDiscoveryFailure::detailBytes),
                                          address("queryingAddress", 112, &SServiceDiscoveryFailure::queryingAddress),
                                          characters("errorText", 128, 80, &SServiceDiscoveryFailure::errorText));

inline constexpr auto kFailTlsHandshake =
    eventLayout<STlsHandshakeFailure>("FailTlsHandshake", 0xD012, "CSoaDiag: a TLS handshake failed",
                                      bytes("reservedBytes0", 7, 3, &STlsHandshakeFailure::reservedBytes0),
                                      bytes("reservedBytes1", 10, 3, &STlsHandshakeFailure::reservedBytes1),
                                      address("sourceAddress", 13, &STlsHandshakeFailure::sourceAddress),
                                      address("destinationAddress", 29, &STlsHandshakeFailure::destinationAddress),
                                      text("protocolName", 45, 8, &STlsHandshakeFailure::protocolName),
                                      integer("sourcePort", 53, 2, &STlsHandshakeFailure::sourcePort),
                                      integer("destinationPort", 55, 2, &STlsHandshakeFailure::destinationPort),
                                      text("tlsIdentity", 57, 24, &STlsHandshakeFailure::tlsIdentity),
                                      integer("reserved0", 81, 4, &STlsHandshakeFailure::reserved0),
                                      integer("count", 85, 2, &STlsHandshakeFailure::count));

inline constexpr auto kExtConnUnsuccessful = eventLayout<SExtConnFailure>(
    "ExtConnUnsuccessful", 0xE901, "CWlan, CNad: a connection with the outside could not be made",
    integer("connectionType", 7, 1, &SExtConnFailure::connectionType),
    bytes("hardwareAddress", 8, 6, &SExtConnFailure::hardwareAddress),
    integer("failureCode", 14, 4, &SExtConnFailure::failureCode), text("name", 18, 24, &SExtConnFailure::name));

consteval auto firewallDropLayout(std::string_view name, std::uint16_t eventId, std::string_view producer)
{
    return eventLayout<SFirewallStatistics>(name, eventId, producer,
                                            integer("reserved0", 7, 2, &SFirewallStatistics::reserved0),
                                            address("sourceAddress", 9, &SFirewallStatistics::sourceAddress),
                                            integer("sourcePort", 25, 4, &SFirewallStatistics::sourcePort),
                                            address("destinationAddress", 29, &SFirewallStatistics::destinationAddress),
                                            integer("destinationPort", 45, 4, &SFirewallStatistics::destinationPort),
                                            integer("groupNumber", 49, 4, &SFirewallStatistics::groupNumber));
}

inline constexpr auto kFirewallDropInvPortTCP = firewallDropLayout(
    "Firewall_DropInvPortTCP", 0x000B, "CFirewall: a packet to a TCP port that is not open was dropped");
inline constexpr auto kFirewallDropInvPortUDP = firewallDropLayout(
    "Firewall_DropInvPortUDP", 0x000C, "CFirewall: a packet to a UDP port that is not open was dropped");
inline constexpr auto kFirewallDropInvIpv6Address = firewallDropLayout(
    "Firewall_DropInvIpv6Address", 0x000E, "CFirewall: a packet of an invalid IPv6 address was dropped");

inline constexpr auto kFirewallDataDefinitionL3CheckFailed = eventLayout<SFirewallStatistics>(
    "Firewall_DataDefinitionL3CheckFailed", 0x9701, "CFirewall: a packet of an undefined IPv6 address was dropped",
    integer("reserved1", 7, 2, &SFirewallStatistics::reserved1),
    integer("reserved0", 9, 2, &SFirewallStatistics::reserved0),
    address("sourceAddress", 11, &SFirewallStatistics::sourceAddress),
    address("destinationAddress", 27, &SFirewallStatistics::destinationAddress),
    integer("sourcePort", 43, 4, &SFirewallStatistics::sourcePort),
    integer("destinationPort", 47, 4, &SFirewallStatistics::destinationPort));

inline constexpr auto kFirewallMaxMsgSizeExceeded =
    eventLayout<SFirewallStatistics>("Firewall_MaxMsgSizeExceeded", 0x9709,
                                     "CFirewall: a message that is too long was dropped; its group is not listened to",
                                     integer("reserved0", 7, 2, &SFirewallStatistics::reserved0),
                                     address("sourceAddress", 9, &SFirewallStatistics::sourceAddress),
                                     address("destinationAddress", 25, &SFirewallStatistics::destinationAddress),
                                     text("protocolName", 41, 16, &SFirewallStatistics::protocolName),
                                     integer("sourcePort", 57, 4, &SFirewallStatistics::sourcePort),
                                     integer("destinationPort", 61, 4, &SFirewallStatistics::destinationPort),
                                     integer("reserved4", 65, 1, &SFirewallStatistics::reserved4));

inline constexpr auto kFirewallUnallowedL4Protocol = eventLayout<SFirewallStatistics>(
    "Firewall_UnallowedL4Protocol", 0x9704,
    "CFirewall: a layer-4 protocol that is not allowed was dropped; its group is not listened to",
    integer("reserved0", 7, 2, &SFirewallStatistics::reserved0),
    address("sourceAddress", 9, &SFirewallStatistics::sourceAddress),
    address("destinationAddress", 25, &SFirewallStatistics::destinationAddress),
    text("protocolName", 41, 16, &SFirewallStatistics::protocolName),
    integer("sourcePort", 57, 4, &SFirewallStatistics::sourcePort),
    integer("destinationPort", 61, 4, &SFirewallStatistics::destinationPort),
    integer("reserved5", 65, 1, &SFirewallStatistics::reserved5),
    bytes("reservedBytes0", 66, 64, &SFirewallStatistics::reservedBytes0),
    integer("reserved3", 130, 2, &SFirewallStatistics::reserved3));

inline constexpr auto kFirewallBlockedConnections = eventLayout<SFirewallStatistics>(
    "Firewall_BlockedConnections", 0x9712, "CFirewall: a packet of an undefined IPv6 address was dropped",
    integer("reserved7", 7, 4, &SFirewallStatistics::reserved7),
    integer("reserved3", 11, 2, &SFirewallStatistics::reserved3), time("time", 13, &SFirewallStatistics::time),
    integer("groupNumber", 23, 2, &SFirewallStatistics::groupNumber),
    text("groupTag", 25, 24, &SFirewallStatistics::groupTag),
    characters("reservedText1", 49, 64, &SFirewallStatistics::reservedText1),
    integer("reserved5", 113, 2, &SFirewallStatistics::reserved5),
    integer("reserved9", 115, 2, &SFirewallStatistics::reserved9),
    integer("reserved1", 117, 4, &SFirewallStatistics::reserved1),
    text("interfaceName", 121, 64, &SFirewallStatistics::interfaceName),
    text("reservedText0", 185, 64, &SFirewallStatistics::reservedText0),
    address("sourceAddress", 249, &SFirewallStatistics::sourceAddress),
    address("destinationAddress", 265, &SFirewallStatistics::destinationAddress),
    text("protocolName", 281, 16, &SFirewallStatistics::protocolName),
    integer("sourcePort", 297, 4, &SFirewallStatistics::sourcePort),
    integer("destinationPort", 301, 4, &SFirewallStatistics::destinationPort),
    text("reservedText3", 305, 16, &SFirewallStatistics::reservedText3),
    text("reservedText2", 321, 16, &SFirewallStatistics::reservedText2),
    integer("reserved6", 337, 4, &SFirewallStatistics::reserved6),
    integer("packetCount", 341, 1, &SFirewallStatistics::packetCount));

inline constexpr auto kFirewallStatistics = eventLayout<SFirewallStatistics>(
    "Firewall_Statistics", 0x9711, "CFirewall: how many packets were dropped in ten seconds", constant("kind", 7, 1, 1),
    integer("packetCount", 8, 2, &SFirewallStatistics::packetCount),
    integer("reserved8", 10, 2, &SFirewallStatistics::reserved8),
    integer("reserved3", 12, 2, &SFirewallStatistics::reserved3), time("time", 14, &SFirewallStatistics::time),
    integer("groupNumber", 24, 2, &SFirewallStatistics::groupNumber),
    text("groupTag", 26, 16, &SFirewallStatistics::groupTag),
    text("reservedText1", 42, 24, &SFirewallStatistics::reservedText1),
    integer("reserved5", 66, 2, &SFirewallStatistics::reserved5),
    integer("reserved9", 68, 2, &SFirewallStatistics::reserved9),
    integer("reserved1", 70, 4, &SFirewallStatistics::reserved1),
    text("interfaceName", 74, 24, &SFirewallStatistics::interfaceName),
    text("reservedText0", 98, 24, &SFirewallStatistics::reservedText0),
    address("sourceAddress", 122, &SFirewallStatistics::sourceAddress),
    address("destinationAddress", 138, &SFirewallStatistics::destinationAddress),
    text("protocolName", 154, 24, &SFirewallStatistics::protocolName),
    integer("sourcePort", 178, 4, &SFirewallStatistics::sourcePort),
    integer("destinationPort", 182, 4, &SFirewallStatistics::destinationPort),
    bytes("reservedBytes2", 186, 6, &SFirewallStatistics::reservedBytes2),
    bytes("reservedBytes1", 192, 6, &SFirewallStatistics::reservedBytes1),
    integer("reservedTail", 198, 2, &SFirewallStatistics::reservedTail));

} // namespace ids::layouts
