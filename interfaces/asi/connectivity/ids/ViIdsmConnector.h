#pragma once

#include <cstdint>
#include <string_view>
#include <tuple>

#include "comm/Service.h"
#include "util/CITypesFactory.h"

/// The daemon's service for the unit's V2X domain, which reports its security events here.
namespace asi::connectivity::ids {

class ViIdsmConnector
{
public:
    virtual ~ViIdsmConnector() = default;

    /// event: the framed event. eventSize is ignored: the length of event is used.
    virtual void sendEvent(const UInt8Array& event, std::uint32_t eventSize) = 0;
};

/// The service has no replies.
class ViIdsmConnectorReply
{
public:
    virtual ~ViIdsmConnectorReply() = default;
};

struct ViIdsmConnectorDescription
{
    static constexpr std::string_view name = "asi.connectivity.ids.ViIdsmConnector";
    using Requests = ViIdsmConnector;
    using Reply = ViIdsmConnectorReply;
    static constexpr auto requests =
        std::tuple{comm::method<&ViIdsmConnector::sendEvent>(0, "sendEvent", "event", "eventSize")};
    static constexpr auto replies = std::tuple{};
    static constexpr auto attributes = std::tuple{};
};

using ViIdsmConnectorS = comm::Service<ViIdsmConnectorDescription>;
using ViIdsmConnectorProxy = comm::ServiceProxy<ViIdsmConnectorDescription>;

} // namespace asi::connectivity::ids
