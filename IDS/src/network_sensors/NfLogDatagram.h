#pragma once

#include <cstdint>
#include <vector>

#include "CRecordStore.h"
#include "INetlinkListener.h"

namespace ids {

/// What a datagram of logged packets holds.
struct SNfLogDatagram
{
    DroppedPackets packets;
    bool cut = false; ///< the datagram ends in a message that is not whole: packets are lost
};

/// Reads the valid bytes of the buffer into records of the store. Any bytes will do: what is not whole is left out.
SNfLogDatagram parseNfLogDatagram(std::vector<std::uint8_t>& buffer, std::uint64_t validBytes, CRecordStore& store);

} // namespace ids
