#pragma once

#include <cstdint>
#include <string>

#include "asi/connectivity/al/NadMessagingServices.h"
#include "util/SharedPtr.h"

namespace ids {

/// Receives the short messages of the cellular modem, on the daemon's active object.
class INadMsgAsiClientListener
{
public:
    virtual ~INadMsgAsiClientListener() = default;

    /// pduSize: in bytes. The PDU may be null.
    virtual void onMessage(asi::connectivity::al::SmsType type, std::uint32_t pduSize,
                           const util::SharedPtr<std::string>& pdu) = 0;
};

} // namespace ids
