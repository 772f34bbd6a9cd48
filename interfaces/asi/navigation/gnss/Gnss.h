#pragma once

#include <string_view>
#include <tuple>

#include "asi/navigation/gnss/Position.h"
#include "comm/Proxy.h"
#include "comm/Service.h"
#include "util/SharedPtr.h"

namespace asi::navigation::gnss {

/// Clients subscribe to the attribute; there are no requests.
class Gnss
{
public:
    virtual ~Gnss() = default;
};

class GnssReply
{
public:
    virtual ~GnssReply() = default;
    virtual void updatePosition(const util::SharedPtr<Position>& position, bool isValid) = 0;
};

struct GnssDescription
{
    static constexpr std::string_view name = "asi.navigation.gnss.Gnss";
    using Requests = Gnss;
    using Reply = GnssReply;
    static constexpr auto requests = std::tuple{};
    static constexpr auto replies = std::tuple{};
    static constexpr auto attributes =
        std::tuple{comm::attribute<&GnssReply::updatePosition>(1, "Position", "updatePosition")};
};

using GnssSAttr = comm::Service<GnssDescription>;
using GnssProxy = comm::ServiceProxy<GnssDescription>;

} // namespace asi::navigation::gnss
