#pragma once

#include <cstdint>
#include <vector>

namespace ids {

/// Receives the events that the car domain has framed, on the daemon's active object.
class ICdRstpClientListener
{
public:
    virtual ~ICdRstpClientListener() = default;
    virtual void onEventFromCarDomain(const std::vector<std::uint8_t>& payload) = 0;
};

} // namespace ids
