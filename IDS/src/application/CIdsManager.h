#pragma once

#include "CCdRstpClient.h"
#include "CFirewall.h"
#include "CIdsCore.h"
#include "CIdsCoreAsiService.h"
#include "CIdsInformationAsiService.h"
#include "CIdsm.h"
#include "CProcMonitor.h"
#include "CViAsiService.h"
#include "comm/ActiveObject.h"
#include "conn_common/SynchronizedTimerFactory.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/IIdsCoreServiceListener.h"

namespace ids {

/// Owns every component of the daemon, wires them, and starts the sensors once the IDS core has connected. Members are
/// built in the order below and destroyed in reverse; all of them work on the factory's active object.
///
/// Made, started and stopped on the service manager's thread. Destroyed on the active object, where the components run.
class CIdsManager final : public common_::ListenerBase<IIdsCoreServiceListener>
{
public:
    explicit CIdsManager(comm::FactoryPtr factory);
    ~CIdsManager() override;

    /// Puts the provided services on the bus. Returns whether all of them got there.
    bool start();
    void stopClients();
    void stopServices();

    /// Connects to the car domain and starts the sensors; again at every later connection, which starts nothing twice.
    void onIdsCoreConnected() override;

private:
    void initRstp();

    common_::SynchronizedTimerFactory m_timers;
    CIdsCoreAsiService m_coreService;
    CViAsiService m_v2xService;
    CCdRstpClient m_rstpClient;
    CIdsCore m_core;
    CIdsInformationAsiService m_informationService;
    CIdsm m_dispatcher;
    CFirewall m_firewall;
    CProcMonitor m_processMonitor;
};

} // namespace ids
