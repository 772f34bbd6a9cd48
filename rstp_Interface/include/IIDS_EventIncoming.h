#pragma once

#include <cstdint>
#include <vector>

/// Receives what comes in on the IDS_Event channel, on the active object.
class IIDS_EventIncoming
{
public:
    virtual ~IIDS_EventIncoming() = default;

    /// The connection to the other domain came or went.
    virtual void onConnectionStateChanged(bool connected) = 0;

    /// An IDS event. The payload is empty when the frame brought none.
    virtual void onIdsEvent(std::vector<std::uint8_t> payload) = 0;
};
