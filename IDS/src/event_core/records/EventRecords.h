#pragma once

#include <cstdint>
#include <type_traits>

#include "BlockCodec.h"
#include "EventLayout.h"
#include "KnownEvents.h"
#include "event_layouts.h"
#include "ids/SEvent.h"

namespace ids {

/// What this daemon calls itself in its frames.
inline constexpr std::uint8_t kIdsmInstanceId = 49;

/// An event that is described by a table of fields and made from the input record that the table names.
template <const auto& kEventLayout>
struct EventRecord : SEvent
{
    using Input = typename std::remove_cvref_t<decltype(kEventLayout)>::Input;

    static constexpr const auto& kLayout = kEventLayout;
    static constexpr std::uint16_t kEventId = kLayout.eventId;
    static constexpr SEventDescriptor kDescriptor{.hasContextDataHeader = kLayout.hasContextDataHeader(),
                                                  .eventId = kEventId,
                                                  .idsmInstanceId = kIdsmInstanceId,
                                                  .hasContextData = true,
                                                  .hasTimestamp = true};

    static_assert(tiles<kLayout.size()>(contextFieldsOf<kLayout>()));

    /// The type's own fields stay zero when the context data of its ID has another size than the table.
    explicit EventRecord(const Input& input) : SEvent{kDescriptor}
    {
        if (contextData.size() == kLayout.size()) {
            encode<kLayout>(contextData.data(), input);
        }
    }
};

using SEvent_ApnConfigChange = EventRecord<layouts::kApnConfigChange>;
using SEvent_ExtConnUnsuccessful = EventRecord<layouts::kExtConnUnsuccessful>;
using SEvent_FailServiceDiscovery = EventRecord<layouts::kFailServiceDiscovery>;
using SEvent_FailTlsHandshake = EventRecord<layouts::kFailTlsHandshake>;
using SEvent_Firewall_BlockedConnections = EventRecord<layouts::kFirewallBlockedConnections>;
using SEvent_Firewall_DataDefinitionL3CheckFailed = EventRecord<layouts::kFirewallDataDefinitionL3CheckFailed>;
using SEvent_Firewall_DropInvIpv6Address = EventRecord<layouts::kFirewallDropInvIpv6Address>;
using SEvent_Firewall_DropInvPortTCP = EventRecord<layouts::kFirewallDropInvPortTCP>;
using SEvent_Firewall_DropInvPortUDP = EventRecord<layouts::kFirewallDropInvPortUDP>;
using SEvent_Firewall_MaxMsgSizeExceeded = EventRecord<layouts::kFirewallMaxMsgSizeExceeded>;
using SEvent_Firewall_Statistics = EventRecord<layouts::kFirewallStatistics>;
using SEvent_Firewall_UnallowedL4Protocol = EventRecord<layouts::kFirewallUnallowedL4Protocol>;
using SEvent_KeepAlive = EventRecord<layouts::kKeepAlive>;
using SEvent_ResourceConsumption = EventRecord<layouts::kResourceConsumption>;
using SEvent_ServiceListChange = EventRecord<layouts::kServiceListChange>;
using SEvent_TeeInvocation = EventRecord<layouts::kTeeInvocation>;
using SEvent_VkmsNoKeysAvailable = EventRecord<layouts::kVkmsNoKeysAvailable>;

template <typename... RecordT>
struct RecordList
{};

/// All events that this daemon builds.
using EventRecords =
    RecordList<SEvent_ApnConfigChange, SEvent_ExtConnUnsuccessful, SEvent_FailServiceDiscovery, SEvent_FailTlsHandshake,
               SEvent_Firewall_BlockedConnections, SEvent_Firewall_DataDefinitionL3CheckFailed,
               SEvent_Firewall_DropInvIpv6Address, SEvent_Firewall_DropInvPortTCP, SEvent_Firewall_DropInvPortUDP,
               SEvent_Firewall_MaxMsgSizeExceeded, SEvent_Firewall_Statistics, SEvent_Firewall_UnallowedL4Protocol,
               SEvent_KeepAlive, SEvent_ResourceConsumption, SEvent_ServiceListChange, SEvent_TeeInvocation,
               SEvent_VkmsNoKeysAvailable>;

} // namespace ids
