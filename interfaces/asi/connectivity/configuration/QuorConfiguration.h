#pragma once

#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "comm/Proxy.h"
#include "comm/Service.h"
#include "util/SharedPtr.h"

/// The unit's configuration service: the connectivity services that are provisioned on the unit.
namespace asi::connectivity::configuration {

struct QuorService
{
    util::SharedPtr<std::string> p_serviceName; ///< may be null

    static constexpr auto fields() { return std::tuple{comm::field("p_serviceName", &QuorService::p_serviceName)}; }
};

/// Entries may be null.
using QuorServices = std::vector<util::SharedPtr<QuorService>>;

/// Clients subscribe to the attribute; there are no requests.
class QuorConfiguration
{
public:
    virtual ~QuorConfiguration() = default;
};

class QuorConfigurationReply
{
public:
    virtual ~QuorConfigurationReply() = default;

    /// An absent list differs from an empty one: after an empty first list the next list counts as a change, after an
    /// absent one it does not.
    virtual void updateQuorServices(const comm::Nullable<QuorServices>& services, bool isValid) = 0;
};

struct QuorConfigurationDescription
{
    static constexpr std::string_view name = "asi.connectivity.configuration.QuorConfiguration";
    using Requests = QuorConfiguration;
    using Reply = QuorConfigurationReply;
    static constexpr auto requests = std::tuple{};
    static constexpr auto replies = std::tuple{};
    static constexpr auto attributes = std::tuple{
        comm::attribute<&QuorConfigurationReply::updateQuorServices>(1, "QuorServices", "updateQuorServices")};
};

using QuorConfigurationSAttr = comm::Service<QuorConfigurationDescription>;
using QuorConfigurationProxy = comm::ServiceProxy<QuorConfigurationDescription>;

} // namespace asi::connectivity::configuration
