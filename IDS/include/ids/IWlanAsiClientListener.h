#pragma once

#include "asi/connectivity/networking/WlanService.h"
#include "util/SharedPtr.h"

namespace ids {

/// Receives the notifications and replies of the unit's WLAN functions, on the daemon's active object. Every record may
/// be null.
class IWlanAsiClientListener
{
public:
    virtual ~IWlanAsiClientListener() = default;

    virtual void updateWLANDevice(const util::SharedPtr<asi::connectivity::networking::WlanDevice>& device) = 0;
    virtual void updateWlanConnectionFailureHotspot(
        const util::SharedPtr<asi::connectivity::networking::WlanConnectionFailureHotspot>& data) = 0;
    virtual void updateWlanConnectionFailureClient(
        const util::SharedPtr<asi::connectivity::networking::WlanConnectionFailureClient>& data) = 0;
    virtual void updateWlanConnectionSuccessClient(
        const util::SharedPtr<asi::connectivity::networking::WlanConnectionSuccessClient>& data) = 0;
    virtual void
    responseTrafficCounters(const util::SharedPtr<asi::connectivity::networking::WlanTrafficCounters>& counters) = 0;
};

} // namespace ids
