#pragma once

#include <cstdint>
#include <string_view>
#include <tuple>

#include "comm/Proxy.h"
#include "comm/Service.h"

/// The unit's time synchronisation service. It defines the unit of its offsets.
namespace asi::time {

/// Clients subscribe to the attributes; there are no requests.
class TimeSync
{
public:
    virtual ~TimeSync() = default;
};

class TimeSyncReply
{
public:
    virtual ~TimeSyncReply() = default;

    /// The offsets of the platform time and of UTC.
    virtual void updatepltOffset(std::int64_t offset, bool isValid) = 0;
    virtual void updateutcOffset(std::int64_t offset, bool isValid) = 0;
};

struct TimeSyncDescription
{
    static constexpr std::string_view name = "asi.time.TimeSync";
    using Requests = TimeSync;
    using Reply = TimeSyncReply;
    static constexpr auto requests = std::tuple{};
    static constexpr auto replies = std::tuple{};
    static constexpr auto attributes =
        std::tuple{comm::attribute<&TimeSyncReply::updatepltOffset>(1, "pltOffset", "updatepltOffset"),
                   comm::attribute<&TimeSyncReply::updateutcOffset>(2, "utcOffset", "updateutcOffset")};
};

using TimeSyncSAttr = comm::Service<TimeSyncDescription>;
using TimeSyncProxy = comm::ServiceProxy<TimeSyncDescription>;

} // namespace asi::time
