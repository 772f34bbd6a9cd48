#pragma once

#include "asi/connectivity/al/NadInformationService.h"
#include "util/SharedPtr.h"

namespace ids {

/// Receives what the cellular modem tells of itself, on the daemon's active object. Records may be null; isValid is
/// what the service says of the value.
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
