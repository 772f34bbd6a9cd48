#pragma once

#include <cstdint>
#include <tuple>
#include <vector>

#include "comm/Description.h"
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

    static constexpr auto fields()
    {
        return std::tuple{comm::field("id", &DT_securityEvent_struct::id),
                          comm::field("timestamp", &DT_securityEvent_struct::timestamp),
                          comm::field("eventFrame", &DT_securityEvent_struct::eventFrame),
                          comm::field("contextData", &DT_securityEvent_struct::contextData)};
    }
};

/// The content of one notification. The handles may be null.
using SecurityEvents = std::vector<util::SharedPtr<DT_securityEvent_struct>>;

} // namespace asi::someip::oru::services::idssecurityevent::v2
