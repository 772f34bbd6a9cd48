#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>

#include "comm/Proxy.h"
#include "comm/Service.h"
#include "util/SharedPtr.h"

/// The short messages that the cellular modem receives.
namespace asi::connectivity::al {

/// The kind of a short message, 0 to 3. The modem defines the meanings.
enum class SmsType : std::uint32_t
{
    type0 = 0,
    type1 = 1,
    type2 = 2,
    type3 = 3
};

/// The bus layer refuses a greater value with the name of the enumeration.
constexpr comm::EnumLimit enumLimit(SmsType)
{
    return {"SmsType", 3};
}

/// Clients connect; there are no requests.
class NadMessagingServices
{
public:
    virtual ~NadMessagingServices() = default;
};

/// Sent to every connected client.
class NadMessagingServicesReply
{
public:
    virtual ~NadMessagingServicesReply() = default;

    /// A short message was received. pduSize: in bytes; pdu: as text.
    virtual void onMessage(SmsType type, std::uint32_t pduSize, const util::SharedPtr<std::string>& pdu) = 0;
};

struct NadMessagingServicesDescription
{
    static constexpr std::string_view name = "asi.connectivity.al.NadMessagingServices";
    using Requests = NadMessagingServices;
    using Reply = NadMessagingServicesReply;
    static constexpr auto requests = std::tuple{};
    static constexpr auto replies =
        std::tuple{comm::method<&NadMessagingServicesReply::onMessage>(1, "onMessage", "type", "pduSize", "pdu")};
    static constexpr auto attributes = std::tuple{};
};

using NadMessagingServicesS = comm::Service<NadMessagingServicesDescription>;
using NadMessagingServicesProxy = comm::ServiceProxy<NadMessagingServicesDescription>;

} // namespace asi::connectivity::al
