#pragma once

namespace ids {

/// What a sensor may ask of the unit's WLAN functions.
class IWlanAsiClient
{
public:
    virtual ~IWlanAsiClient() = default;

    /// Returns true when the request went out; the listeners are told the answer.
    virtual bool requestTrafficCounters() = 0;
};

} // namespace ids
