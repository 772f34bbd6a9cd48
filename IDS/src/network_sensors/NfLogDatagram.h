#pragma once

#include <cstdint>
#include <span>

#include "CRecordStore.h"
#include "INetlinkListener.h"

namespace ids {

/// What a datagram of logged packets holds.
struct SNfLogDatagram
{
    DroppedPackets packets;
    bool cut = false;      ///< the datagram ends in a message that is not whole: packets are lost
    bool noMemory = false; ///< packets are lost for want of memory
};

/// Reads a datagram of any bytes into records of the store: what is not whole is left out.
SNfLogDatagram parseNfLogDatagram(std::span<const std::uint8_t> bytes, CRecordStore& store);

} // namespace ids
