#pragma once

#include <cstdint>
#include <functional>
#include <utility>

#include "CLossReport.h"
#include "CNfLogExchange.h"
#include "INetlinkListener.h"
#include "comm/ActiveObject.h"
#include "conn_common/HandOver.h"
#include "io_manager/CFdManager.h"
#include "io_manager/NetlinkSocket.h"
#include "util/Thread.h"

namespace ids {

/// The firewall's netlink thread: reads what the packet filter logs and hands it over in batches, one for each
/// datagram.
///
/// start and the destructor are called by the owner, recycle by the active object, which take runs on. While 64 batches
/// are on the way nothing is read; what does not fit into the kernel's buffer then is lost and logged. Errors of the
/// socket end the thread, and nothing is read any more. Destruction ends the thread at once wherever it waits.
class CNfLogTask
{
public:
    using Take = std::function<void(DroppedPackets)>;

    CNfLogTask(const comm::FactoryPtr& factory, Take take);
    CNfLogTask(const CNfLogTask&) = delete;
    CNfLogTask& operator=(const CNfLogTask&) = delete;

    /// Returns false when there is no thread to be had; it may be tried again.
    bool start();

    /// The records of a batch are not needed any more.
    void recycle(DroppedPackets packets) { m_store.giveBack(std::move(packets)); }

private:
    void run();
    bool watch(std::int32_t descriptor, std::function<void()> callback);
    void listen();
    void loop();
    bool lossesWait() const;
    void reportLosses();
    void take(const io_manager::SNetlinkDatagram& received);
    bool send(const NfLogRequest& request);

    io_manager::NetlinkSocket m_socket;
    CRecordStore m_store;
    CNfLogExchange m_exchange;
    CLossReport m_overruns{"receive buffer overrun"};
    CLossReport m_cuts{"datagram cut or malformed"};
    CLossReport m_shortages{"out of memory"};
    io_manager::CFdManager m_watcher;
    common_::HandOver<DroppedPackets> m_batches;
    util::Thread m_thread; ///< last, so that the thread ends before what it uses
};

} // namespace ids
