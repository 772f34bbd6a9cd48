#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "CLossReport.h"
#include "CNfLogExchange.h"
#include "INetlinkListener.h"
#include "NlSocket.h"
#include "io_manager/CFdManager.h"
#include "io_manager/InFlightLimit.h"
#include "io_manager/UniqueFd.h"
#include "util/Thread.h"

namespace ids {

/// The firewall's netlink thread: reads what the packet filter logs and delivers it in batches, one for each datagram.
///
/// start and the destructor are called by the owner, taken and recycle by the active object that the batches go to,
/// deliver runs on the netlink thread. While 64 batches are on the way nothing is read; what does not fit into the
/// kernel's buffer then is lost and logged. Errors of the socket end the thread, and nothing is read any more.
class CNfLogTask
{
public:
    using Deliver = std::function<void(DroppedPackets)>;

    explicit CNfLogTask(Deliver deliver);

    /// Ends the thread at once, also when the active object is not taking batches.
    ~CNfLogTask();
    CNfLogTask(const CNfLogTask&) = delete;
    CNfLogTask& operator=(const CNfLogTask&) = delete;

    /// Returns false when there is no thread to be had; it may be tried again.
    bool start();

    /// A batch has reached the active object.
    void taken() { m_inFlight.leave(); }

    /// The records of a batch are not needed any more, and as they were delivered.
    void recycle(DroppedPackets packets) { m_store.giveBack(std::move(packets)); }

private:
    void run();
    void prepareSocket() const;
    void enlargeReceiveBuffer() const;
    void watch();
    void loop(io_manager::CFdManager& watcher);
    bool pass(io_manager::CFdManager& watcher, int timeoutMs);
    void rest() const;
    bool lossesWait() const;
    void reportLosses();
    void onReadable();
    void takeDatagram();
    bool send(const NfLogRequest& request) const;

    const Deliver m_deliver;
    IDS::NlSocket m_socket;
    std::vector<std::uint8_t> m_buffer;
    CRecordStore m_store;
    CNfLogExchange m_exchange;
    bool m_datagramRead = false;
    CLossReport m_overruns{"receive buffer overrun"};
    CLossReport m_cuts{"datagram cut or malformed"};
    CLossReport m_shortages{"out of memory"};
    io_manager::InFlightLimit m_inFlight;
    const io_manager::UniqueFd m_wake;
    util::Thread m_thread;
};

} // namespace ids
