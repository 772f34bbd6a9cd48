#pragma once

#include <cstdint>
#include <string_view>
#include <tuple>

#include "SecurityEvent.h"
#include "comm/Proxy.h"
#include "comm/Service.h"

namespace asi::someip::oru::services::idssecurityevent::v2 {

/// The unit's gateway to the security events of the SOME/IP network, version 2.0.0.
class IDSSecurityEvent
{
public:
    virtual ~IDSSecurityEvent() = default;

    /// Subscribes the caller to the notification with the number item. option: 0; no meaning is defined.
    virtual void subscribeItem(std::uint32_t item, std::uint32_t option) = 0;
};

class IDSSecurityEventReply
{
public:
    virtual ~IDSSecurityEventReply() = default;
    virtual void securityEvent(const util::SharedPtr<SecurityEvents>& content) = 0;
};

/// The number of the securityEvent notification.
inline constexpr std::uint32_t securityEventItem = 0xC010;

struct IDSSecurityEventDescription
{
    static constexpr std::string_view name = "asi.someip.oru.services.idssecurityevent.v2.IDSSecurityEvent";
    using Requests = IDSSecurityEvent;
    using Reply = IDSSecurityEventReply;
    static constexpr auto requests =
        std::tuple{comm::method<&IDSSecurityEvent::subscribeItem>(1, "subscribeItem", "item", "option")};
    static constexpr auto replies =
        std::tuple{comm::method<&IDSSecurityEventReply::securityEvent>(securityEventItem, "securityEvent", "content")};
    static constexpr auto attributes = std::tuple{};
};

using IDSSecurityEventS = comm::Service<IDSSecurityEventDescription>;
using IDSSecurityEventProxy = comm::ServiceProxy<IDSSecurityEventDescription>;

} // namespace asi::someip::oru::services::idssecurityevent::v2
