#include "CFirewall.h"

#include <chrono>
#include <new>
#include <utility>

#include "NfLogGroup.h"
#include "SensorChannels.h"
#include "event_factory.h"

namespace ids {
namespace {

constexpr auto kClass = "ids::CFirewall";
constexpr std::chrono::milliseconds kStatisticsPeriod{10000};

using asi::connectivity::ids::FirewallDropPacketInfo;

} // namespace

CFirewall::CFirewall(const comm::FactoryPtr& factory, IIdsInformationAsiService& information, IIdsm& idsm,
                     common_::ISynchronizedTimerFactory& timers)
    : m_information{information},
      m_idsm{idsm},
      m_statisticsTimer{timers.createTimer(kStatisticsPeriod, [this](void*) { onTimerExpired(); })},
      m_task{factory, [this](DroppedPackets packets) { onDroppedPackets(std::move(packets)); }}
{}

void CFirewall::start()
{
    if (m_started) {
        return;
    }
    TRACE(s_sensorChannel, progress, kClass, "Start Firewall NFLOG.");
    m_started = m_task.start();
    if (m_statisticsTimer != nullptr && !m_statisticsTimer->isRunning()) {
        m_statisticsTimer->start();
    }
}

void CFirewall::startStatisticsTimer()
{
    if (m_statisticsTimer != nullptr) {
        m_statisticsTimer->start();
    }
}

void CFirewall::onDroppedPackets(DroppedPackets packets)
{
    m_dropCount += static_cast<std::uint32_t>(packets.size());
    for (const auto& record : packets) {
        reportPacket(*record);
    }
    m_task.recycle(std::move(packets));
}

void CFirewall::reportPacket(const SFirewallStatistics& record)
{
    if (record.nflogGroup > UINT8_MAX) {
        TRACE(s_sensorChannel, error, kClass, "Invalid value for ENfLogGroup!");
        return;
    }
    switch (static_cast<ENfLogGroup>(record.nflogGroup)) {
    case ENfLogGroup::undefinedIpv6Address:
        report<SEvent_Firewall_BlockedConnections>(record);
        report<SEvent_Firewall_DataDefinitionL3CheckFailed>(record);
        return;
    case ENfLogGroup::unallowedL4Protocol:
        report<SEvent_Firewall_UnallowedL4Protocol>(record);
        publish(FirewallDropType::unallowedL4Protocol, record);
        return;
    case ENfLogGroup::maxMessageSizeExceeded:
        report<SEvent_Firewall_MaxMsgSizeExceeded>(record);
        return;
    case ENfLogGroup::invalidPortTcp:
        report<SEvent_Firewall_DropInvPortTCP>(record);
        publish(FirewallDropType::invalidPortTcp, record);
        return;
    case ENfLogGroup::invalidPortUdp:
        report<SEvent_Firewall_DropInvPortUDP>(record);
        publish(FirewallDropType::invalidPortUdp, record);
        return;
    case ENfLogGroup::invalidIpv6Address:
        report<SEvent_Firewall_DropInvIpv6Address>(record);
        publish(FirewallDropType::invalidIpv6Address, record);
        return;
    }
    TRACE(s_sensorChannel, error, kClass, "Invalid value for ENfLogGroup!");
}

template <typename RecordT>
void CFirewall::report(const SFirewallStatistics& record)
{
    if (const auto event = event_factory::createEvent<RecordT>(record)) {
        m_idsm.reportEvent(event);
    }
}

void CFirewall::publish(FirewallDropType type, const SFirewallStatistics& record)
{
    std::shared_ptr<FirewallDropPacketInfo> info;
    try {
        info = std::make_shared<FirewallDropPacketInfo>();
    } catch (const std::bad_alloc&) {
        return;
    }
    info->dropType = static_cast<std::uint32_t>(type);
    info->packetCount = record.packetCount;
    m_information.updateFirewallDropPacketInfo(info);
}

void CFirewall::onTimerExpired()
{
    TRACE(s_sensorChannel, progress, kClass, "Timer expired. Drop packet count: %u", m_dropCount);
    const auto packets = static_cast<std::uint16_t>(std::exchange(m_dropCount, 0U));
    startStatisticsTimer(); // first: a report that lacks memory is not the last one
    SFirewallStatistics record;
    record.packetCount = packets;
    report<SEvent_Firewall_Statistics>(record);
}

} // namespace ids
