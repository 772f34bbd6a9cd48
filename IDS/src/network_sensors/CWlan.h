#pragma once

#include <memory>

#include "comm/ActiveObject.h"
#include "conn_common/ISynchronizedTimerFactory.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/IConntrackListener.h"
#include "ids/IIdsm.h"
#include "ids/IWlanAsiClient.h"
#include "ids/IWlanAsiClientListener.h"
#include "ids/SExtConnFailure.h"
#include "io_manager/Nl.h"
#include "io_manager/util/IoManRunner.h"
#include "target_common/IIfwatchListener.h"
#include "target_common/ifwatch.h"

namespace ids {

/// Reports WLAN connections that failed: of others with the unit's hotspot, and of the unit with another's. Asks for
/// the traffic counters 64 s after each answer, the first time 64 s after construction, and logs what becomes of the
/// unit's interfaces and their IPv6 addresses.
///
/// On the active object only; the thread of the interface watcher posts.
class CWlan final : public common_::ListenerBase<IWlanAsiClientListener>,
                    public common_::ListenerBase<IConntrackListener>,
                    public common_::ListenerBase<common_::IIfwatchListener>
{
public:
    CWlan(const comm::FactoryPtr& factory, IWlanAsiClient& client, IIdsm& idsm,
          common_::ISynchronizedTimerFactory& timers);

    void updateWLANDevice(const util::SharedPtr<asi::connectivity::networking::WlanDevice>& device) override;
    void updateWlanConnectionFailureHotspot(
        const util::SharedPtr<asi::connectivity::networking::WlanConnectionFailureHotspot>& data) override;
    void updateWlanConnectionFailureClient(
        const util::SharedPtr<asi::connectivity::networking::WlanConnectionFailureClient>& data) override;
    void updateWlanConnectionSuccessClient(
        const util::SharedPtr<asi::connectivity::networking::WlanConnectionSuccessClient>& data) override;
    void responseTrafficCounters(
        const util::SharedPtr<asi::connectivity::networking::WlanTrafficCounters>& counters) override;

    void updateFromCtrk(const SConntrackInfo&) override {}

    void interfaceEvent(const common_::IfEvent& event) override;
    void linksListed() override {}
    void addressesListed() override {}
    void neighbourEvent(const common_::SNeighbourEvent&) override {}

private:
    void report(const SExtConnFailure& failure);
    void onTimerExpired();

    IWlanAsiClient& m_client;
    const std::shared_ptr<io_manager::IoManRunner> m_runner;
    common_::Nl m_nl;
    common_::ifwatch m_ifwatch;
    IIdsm& m_idsm;
    const std::unique_ptr<common_::ISynchronizedTimerFactory::TimerHandle> m_timer;
};

} // namespace ids
