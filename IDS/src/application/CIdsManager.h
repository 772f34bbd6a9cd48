#pragma once

#include "CCdRstpClient.h"
#include "CDtcsAsiClient.h"
#include "CFirewall.h"
#include "CGnssAsiClient.h"
#include "CHostSensor.h"
#include "CIdsCore.h"
#include "CIdsCoreAsiService.h"
#include "CIdsInformationAsiService.h"
#include "CIdsm.h"
#include "CNadInformationAsiClient.h"
#include "CNadMsgAsiClient.h"
#include "COoc.h"
#include "COocAsiClient.h"
#include "CPersistence.h"
#include "CSoaDiagAsiClient.h"
#include "CSomeIpClient.h"
#include "CTeeAsiService.h"
#include "CTimeSyncAsiClient.h"
#include "CViAsiService.h"
#include "CVoiceAsiClient.h"
#include "CWlanAsiClient.h"
#include "comm/ActiveObject.h"
#include "conn_common/SynchronizedTimerFactory.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/IIdsCoreServiceListener.h"

namespace ids {

/// Owns and connects all components of the daemon, and starts the sensors once the IDS core has connected. Members are
/// constructed in the order below and destroyed in reverse; all of them work on the factory's active object.
///
/// start and stop are called on the service manager's thread; construction and destruction happen on the active object.
class CIdsManager final : public common_::ListenerBase<IIdsCoreServiceListener>
{
public:
    explicit CIdsManager(comm::FactoryPtr factory);
    ~CIdsManager() override;

    /// Registers the provided services. Returns whether all succeeded.
    bool start();
    void stopClients();
    void stopServices();

    /// Connects to the car domain and the unit's services and starts the sensors. Further calls start nothing twice.
    void onIdsCoreConnected() override;

private:
    /// The clients of the unit's services, in the order of construction, start and stop.
    struct Clients
    {
        explicit Clients(const comm::FactoryPtr& factory);
        void start();
        void stop();

        CDtcsAsiClient dtcs;
        CGnssAsiClient gnss;
        CNadInformationAsiClient nadInformation;
        CNadMsgAsiClient nadMsg;
        COocAsiClient ooc;
        CSoaDiagAsiClient soaDiag0;
        CSoaDiagAsiClient soaDiag1;
        CVoiceAsiClient voice;
        CWlanAsiClient wlan;
        CTimeSyncAsiClient timeSync;
    };

    void connectListeners();
    void initRstp();

    Clients m_clients;
    CTeeAsiService m_teeService;
    common_::SynchronizedTimerFactory m_timers;
    CIdsCoreAsiService m_coreService;
    CViAsiService m_v2xService;
    CCdRstpClient m_rstpClient;
    CSomeIpClient m_someIpClient;
    CIdsCore m_core;
    CIdsInformationAsiService m_informationService;
    CIdsm m_dispatcher;
    CPersistence m_persistence;
    CFirewall m_firewall;
    COoc m_ooc;
    CHostSensor m_hostSensor;
};

} // namespace ids
