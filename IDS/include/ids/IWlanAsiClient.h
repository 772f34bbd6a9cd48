#pragma once

namespace ids {

/// Requests to the unit's WLAN functions.
class IWlanAsiClient
{
public:
    virtual ~IWlanAsiClient() = default;

    /// Returns true when the connection accepted the request; the reply is passed to the listeners.
    virtual bool requestTrafficCounters() = 0;
};

} // namespace ids
