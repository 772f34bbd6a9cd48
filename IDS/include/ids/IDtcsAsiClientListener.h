#pragma once

#include "asi/connectivity/diagnostic/DiagnosticDtcs.h"
#include "util/SharedPtr.h"

namespace ids {

/// Receives the diagnostic trouble codes of the unit, on the daemon's active object.
class IDtcsAsiClientListener
{
public:
    virtual ~IDtcsAsiClientListener() = default;

    /// The array and its entries may be null; isValid is the validity that the service sends with the value.
    virtual void updateDtcs(const util::SharedPtr<asi::connectivity::diagnostic::Dtcs>& dtcs, bool isValid) = 0;
};

} // namespace ids
