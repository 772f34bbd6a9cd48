#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>

#include "comm/Service.h"
#include "util/SharedPtr.h"

/// The daemon's service for the unit's trusted execution environment and its key management, which report here.
namespace asi::connectivity::ids {

class IdsTee
{
public:
    virtual ~IdsTee() = default;

    /// The key management has no key available.
    virtual void reportNoKeysAvailable() = 0;

    /// An application has used the environment. The name may be null.
    virtual void reportTeeAccess(const util::SharedPtr<std::string>& appName) = 0;

    /// As reportTeeAccess, with the process ID; the daemon looks up the name of the process.
    virtual void reportTeeAccessOfProcess(std::uint32_t processId) = 0;
};

/// The service has no replies.
class IdsTeeReply
{
public:
    virtual ~IdsTeeReply() = default;
};

struct IdsTeeDescription
{
    static constexpr std::string_view name = "asi.connectivity.ids.IdsTee";
    using Requests = IdsTee;
    using Reply = IdsTeeReply;
    static constexpr auto requests =
        std::tuple{comm::method<&IdsTee::reportNoKeysAvailable>(0, "reportNoKeysAvailable"),
                   comm::method<&IdsTee::reportTeeAccess>(1, "reportTeeAccess", "appName"),
                   comm::method<&IdsTee::reportTeeAccessOfProcess>(2, "reportTeeAccessOfProcess", "processId")};
    static constexpr auto replies = std::tuple{};
    static constexpr auto attributes = std::tuple{};
};

using IdsTeeS = comm::Service<IdsTeeDescription>;
using IdsTeeProxy = comm::ServiceProxy<IdsTeeDescription>;

} // namespace asi::connectivity::ids
