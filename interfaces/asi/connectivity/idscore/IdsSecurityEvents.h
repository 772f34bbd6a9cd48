#pragma once

#include <cstdint>
#include <string_view>
#include <tuple>

#include "comm/Service.h"
#include "util/CITypesFactory.h"
#include "util/SharedPtr.h"

/// The service that sends security events to the IDS core: the daemon provides it, the core connects to it.
namespace asi::connectivity::idscore {

/// One security event as byte blocks and its ID. In an event framed by another domain, timestamp and contextData may be
/// shorter than the event ID requires.
struct SecEvent
{
    UInt8Array contextData;
    UInt8Array eventFrame; ///< 8 bytes in the daemon's own events
    std::uint16_t eventId = 0;
    UInt8Array timestamp; ///< nanoseconds within the second, then seconds since 1970 (UTC), 4 bytes each, big-endian

    static constexpr auto fields()
    {
        return std::tuple{comm::field("contextData", &SecEvent::contextData),
                          comm::field("eventFrame", &SecEvent::eventFrame), comm::field("eventId", &SecEvent::eventId),
                          comm::field("timestamp", &SecEvent::timestamp)};
    }
};

/// The core's result for an event. The core defines the meanings.
enum class SendResult : std::uint32_t
{
    result0 = 0,
    result1 = 1,
    result2 = 2,
    result3 = 3,
    result4 = 4
};

struct EventSendResult
{
    std::uint16_t eventId = 0;
    std::uint32_t numOfSentBytes = 0;
    SendResult result = SendResult::result0;

    static constexpr auto fields()
    {
        return std::tuple{comm::field("eventId", &EventSendResult::eventId),
                          comm::field("numOfSentBytes", &EventSendResult::numOfSentBytes),
                          comm::field("result", &EventSendResult::result)};
    }
};

/// Requests of the core.
class IdsSecurityEvents
{
public:
    virtual ~IdsSecurityEvents() = default;
    virtual void confirmReady() = 0;
    virtual void sendEventResult(const util::SharedPtr<EventSendResult>& result) = 0;
};

/// Sent to the connected core.
class IdsSecurityEventsReply
{
public:
    virtual ~IdsSecurityEventsReply() = default;
    virtual void onSecEvent(const util::SharedPtr<SecEvent>& event, bool isValid) = 0;
};

struct IdsSecurityEventsDescription
{
    static constexpr std::string_view name = "asi.connectivity.idscore.IdsSecurityEvents";
    using Requests = IdsSecurityEvents;
    using Reply = IdsSecurityEventsReply;
    static constexpr auto requests =
        std::tuple{comm::method<&IdsSecurityEvents::confirmReady>(3, "confirmReady"),
                   comm::method<&IdsSecurityEvents::sendEventResult>(11, "sendEventResult", "result")};
    static constexpr auto replies =
        std::tuple{comm::method<&IdsSecurityEventsReply::onSecEvent>(8, "onSecEvent", "SecEvent", "isValid")};
    static constexpr auto attributes = std::tuple{};
};

using IdsSecurityEventsSAttr = comm::Service<IdsSecurityEventsDescription>;
using IdsSecurityEventsProxy = comm::ServiceProxy<IdsSecurityEventsDescription>;

/// The largest value of SendResult; the bus layer refuses a greater value with the name of the enumeration.
constexpr comm::EnumLimit enumLimit(SendResult)
{
    return {"SendResult", 4};
}

} // namespace asi::connectivity::idscore
