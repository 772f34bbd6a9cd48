#pragma once

#include <cstdint>
#include <memory>

#include "CNfLogTask.h"
#include "INetlinkListener.h"
#include "comm/ActiveObject.h"
#include "conn_common/ISynchronizedTimerFactory.h"
#include "ids/IIdsInformationAsiService.h"
#include "ids/IIdsm.h"

namespace ids {

/// Reports what the packet filter drops: one or two events for each packet, the last drop of each category to the
/// information service, and every ten seconds the number of packets since the last report.
///
/// Everything runs on the owner's active object except the netlink task, which posts batches to it. Packets are lost
/// when the kernel's buffer overruns because they come faster than they can be reported; the log tells.
class CFirewall final : public INetlinkListener
{
public:
    CFirewall(const comm::FactoryPtr& factory, IIdsInformationAsiService& information, IIdsm& idsm,
              common_::ISynchronizedTimerFactory& timers);

    /// Starts the netlink task and the statistics. A later call tries again what has failed and changes nothing else.
    void start();

    void onDroppedPackets(DroppedPackets packets) override;

private:
    /// The categories of the information service.
    enum class FirewallDropType : std::uint32_t
    {
        invalidIpv6Address = 0,
        unallowedL4Protocol = 1,
        invalidPortTcp = 2,
        invalidPortUdp = 3
    };

    void onTimerExpired();
    void startStatisticsTimer();
    void reportPacket(const SFirewallStatistics& record);
    template <typename RecordT>
    void report(const SFirewallStatistics& record);
    void publish(FirewallDropType type, const SFirewallStatistics& record);

    std::uint32_t m_dropCount = 0;
    IIdsInformationAsiService& m_information;
    IIdsm& m_idsm;
    std::unique_ptr<common_::ISynchronizedTimerFactory::TimerHandle> m_statisticsTimer;
    bool m_started = false;
    CNfLogTask m_task; ///< last, so that the thread ends before what it uses
};

} // namespace ids
