#pragma once

#include <memory>
#include <vector>

#include "INetlinkListener.h"
#include "osal/Mutex.h"

namespace ids {

/// Records that have served, to be filled again: at a high rate it costs more to get memory on one thread and to return
/// it on another than to fill a record. One thread takes, another gives back; at most 1024 records wait.
class CRecordStore
{
public:
    /// A record that was used before still holds what it held.
    std::unique_ptr<SFirewallStatistics> take();

    void giveBack(DroppedPackets records);

private:
    DroppedPackets m_atHand; ///< of the taking thread
    osal::Mutex m_mutex;
    DroppedPackets m_returned;
};

} // namespace ids
