#pragma once

#include "asi/connectivity/al/NadInformationService.h"
#include "util/SharedPtr.h"

namespace ids {

/// Receives the state of the cellular modem, on the daemon's active object. Records may be null; isValid is the
/// validity that the service sends with the value.
class INadInformationAsiClientListener
{
public:
    virtual ~INadInformationAsiClientListener() = default;

    virtual void
    updateNetworkRegistration(const util::SharedPtr<asi::connectivity::al::NetworkRegistration>& registration,
                              bool isValid) = 0;
    virtual void updateSignalStrength(const util::SharedPtr<asi::connectivity::al::SignalStrength>& strength,
                                      bool isValid) = 0;
    virtual void
    updateDataConnectionStartResult(const util::SharedPtr<asi::connectivity::al::DataConnectionStartResult>& result,
                                    bool isValid) = 0;
};

} // namespace ids
