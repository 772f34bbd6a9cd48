#pragma once

#include <cstdint>
#include <string_view>
#include <tuple>

#include "comm/Proxy.h"
#include "comm/Service.h"
#include "util/SharedPtr.h"

/// The state of the cellular modem (the network access device), as its platform layer publishes it.
namespace asi::connectivity::al {

struct NetworkRegistration
{
    std::uint32_t state = 0; ///< RegistrationState of the service

    static constexpr auto fields() { return std::tuple{comm::field("state", &NetworkRegistration::state)}; }
};

struct SignalStrength
{
    std::uint32_t level = 0; ///< bars

    static constexpr auto fields() { return std::tuple{comm::field("level", &SignalStrength::level)}; }
};

struct DataConnectionStartResult
{
    std::uint32_t connectionId = 0;
    std::uint32_t startResult = 0; ///< 0: success; the modem defines the other values

    static constexpr auto fields()
    {
        return std::tuple{comm::field("connectionId", &DataConnectionStartResult::connectionId),
                          comm::field("startResult", &DataConnectionStartResult::startResult)};
    }
};

/// Clients subscribe to the attributes; there are no requests.
class NadInformationService
{
public:
    virtual ~NadInformationService() = default;
};

class NadInformationServiceReply
{
public:
    virtual ~NadInformationServiceReply() = default;
    virtual void updateNetworkRegistration(const util::SharedPtr<NetworkRegistration>& registration, bool isValid) = 0;
    virtual void updateSignalStrength(const util::SharedPtr<SignalStrength>& strength, bool isValid) = 0;
    virtual void updateDataConnectionStartResult(const util::SharedPtr<DataConnectionStartResult>& result,
                                                 bool isValid) = 0;
};

struct NadInformationServiceDescription
{
    static constexpr std::string_view name = "asi.connectivity.al.NadInformationService";
    using Requests = NadInformationService;
    using Reply = NadInformationServiceReply;
    static constexpr auto requests = std::tuple{};
    static constexpr auto replies = std::tuple{};
    static constexpr auto attributes = std::tuple{
        comm::attribute<&NadInformationServiceReply::updateNetworkRegistration>(1, "NetworkRegistration",
                                                                                "updateNetworkRegistration"),
        comm::attribute<&NadInformationServiceReply::updateSignalStrength>(2, "SignalStrength", "updateSignalStrength"),
        comm::attribute<&NadInformationServiceReply::updateDataConnectionStartResult>(
            3, "DataConnectionStartResult", "updateDataConnectionStartResult")};
};

using NadInformationServiceSAttr = comm::Service<NadInformationServiceDescription>;
using NadInformationServiceProxy = comm::ServiceProxy<NadInformationServiceDescription>;

} // namespace asi::connectivity::al
