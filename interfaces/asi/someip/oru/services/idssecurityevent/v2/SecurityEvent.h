#pragma once

#include <cstdint>
#include <vector>

#include "util/CITypesFactory.h"
#include "util/SharedPtr.h"

/// Security events from the vehicle's SOME/IP network.
namespace asi::someip::oru::services::idssecurityevent::v2 {

struct DT_securityEvent_struct
{
    std::uint16_t id = 0;
    UInt8Array timestamp;
    UInt8Array eventFrame;
    UInt8Array contextData;
};

/// What one notification carries. The handles may be null.
using SecurityEvents = std::vector<util::SharedPtr<DT_securityEvent_struct>>;

} // namespace asi::someip::oru::services::idssecurityevent::v2
