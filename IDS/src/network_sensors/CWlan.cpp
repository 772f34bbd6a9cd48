#include "CWlan.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <linux/netlink.h>
#include <net/if.h>
#include <string>

#include "CommonHelpers.h"
#include "SensorChannels.h"
#include "event_factory.h"
#include "io_manager/CFdManager.h"
#include "io_manager/addressText.h"

namespace ids {
namespace {

using namespace asi::connectivity::networking;
using common_helpers::CommonHelpers;

constexpr char kLabel[] = "ids::CWlan";
constexpr std::chrono::milliseconds kPollPeriod{64000};
constexpr int kWatchTimeoutMs = 6000;
constexpr std::uint32_t kIpv6AddressChanges = 0x100; // RTMGRP_IPV6_IFADDR

std::string textOf(const sockaddr_storage& address)
{
    return address.ss_family == AF_INET6
               ? io_manager::addressText(AF_INET6, &reinterpret_cast<const sockaddr_in6&>(address).sin6_addr)
               : io_manager::addressText(address.ss_family, &reinterpret_cast<const sockaddr_in&>(address).sin_addr);
}

template <typename RecordT>
const char* validity(const util::SharedPtr<RecordT>& record, const char* whenAbsent = "invalid")
{
    return record ? "valid" : whenAbsent;
}

} // namespace

CWlan::CWlan(const comm::FactoryPtr& factory, IWlanAsiClient& client, IIdsm& idsm,
             common_::ISynchronizedTimerFactory& timers)
    : m_client{client},
      m_runner{std::make_shared<io_manager::IoManRunner>(std::make_shared<io_manager::CFdManager>(), kWatchTimeoutMs)},
      m_nl{factory, NETLINK_ROUTE, kIpv6AddressChanges, m_runner},
      m_ifwatch{factory, m_nl},
      m_idsm{idsm},
      m_timer{timers.createTimer(kPollPeriod, [this](void*) { onTimerExpired(); })}
{
    m_ifwatch.addListener(this);
    CommonHelpers::startTimer(m_timer);
}

void CWlan::updateWLANDevice(const util::SharedPtr<WlanDevice>& device)
{
    TRACE(s_hostSensorChannel, progress, kLabel, "device is %s", validity(device));
}

void CWlan::updateWlanConnectionFailureHotspot(const util::SharedPtr<WlanConnectionFailureHotspot>& data)
{
    TRACE(s_hostSensorChannel, progress, kLabel, "data is %s", validity(data));
    if (data) {
        SExtConnFailure failure{.failureCode = data->reason};
        if (data->mac) {
            failure.hardwareAddress = *data->mac;
        }
        report(failure);
    }
}

void CWlan::updateWlanConnectionFailureClient(const util::SharedPtr<WlanConnectionFailureClient>& data)
{
    TRACE(s_hostSensorChannel, progress, kLabel, "data is %s", validity(data));
    if (data) {
        report({.failureCode = data->reason, .name = data->ssid ? *data->ssid : ""});
    }
}

void CWlan::report(const SExtConnFailure& failure)
{
    m_idsm.reportEvent(event_factory::createEvent<SEvent_ExtConnUnsuccessful>(failure));
}

void CWlan::updateWlanConnectionSuccessClient(const util::SharedPtr<WlanConnectionSuccessClient>& data)
{
    TRACE(s_hostSensorChannel, progress, kLabel, "data is %s", validity(data));
}

void CWlan::onTimerExpired()
{
    TRACE(s_hostSensorChannel, progress, kLabel, "Timer expired.");
    if (m_client.requestTrafficCounters()) {
        TRACE(s_hostSensorChannel, progress, kLabel, "Traffic counters requested.");
    } else {
        TRACE(s_hostSensorChannel, error, kLabel, "Can't request traffic counters!");
    }
}

void CWlan::responseTrafficCounters(const util::SharedPtr<WlanTrafficCounters>& counters)
{
    TRACE(s_hostSensorChannel, progress, kLabel, "data is %s", validity(counters, "<Invalid>"));
    CommonHelpers::startTimer(m_timer);
}

void CWlan::interfaceEvent(const common_::IfEvent& event)
{
    if (!s_hostSensorChannel.passes(tracing::Level::progress)) {
        return;
    }
    std::array<char, IF_NAMESIZE> name{};
    ::if_indextoname(event.index, name.data());
    TRACE(s_hostSensorChannel, progress, kLabel, "Event: %d", static_cast<int>(event.type));
    TRACE(s_hostSensorChannel, progress, kLabel, "Name: %s", name.data());
    TRACE(s_hostSensorChannel, progress, kLabel, "Addr: %s", textOf(event.address).c_str());
}

} // namespace ids
