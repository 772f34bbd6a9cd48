#pragma once

#include "CConntrack.h"
#include "CDtcs.h"
#include "CDtcsAsiClient.h"
#include "CNad.h"
#include "CNadInformationAsiClient.h"
#include "CNadMsgAsiClient.h"
#include "CNat.h"
#include "COviLogger.h"
#include "CProcMonitor.h"
#include "CSoaDiag.h"
#include "CSoaDiagAsiClient.h"
#include "CTee.h"
#include "CTeeAsiService.h"
#include "CVoice.h"
#include "CVoiceAsiClient.h"
#include "CWlan.h"
#include "CWlanAsiClient.h"
#include "comm/ActiveObject.h"
#include "conn_common/ISynchronizedTimerFactory.h"
#include "ids/IIdsm.h"

namespace ids {

/// Owns the sensors that watch the unit itself and what its services tell, and attaches each to the client or service
/// that feeds it. On the active object only; the threads of process monitor, logger socket and interface watcher post.
///
/// Address translation is not judged: connection tracking is here, but switched off.
class CHostSensor final : public CConntrack
{
public:
    CHostSensor(const comm::FactoryPtr& factory, IIdsm& idsm, common_::ISynchronizedTimerFactory& timers,
                IWlanAsiClient& wlanClient);

    /// Registers the sensors with what feeds them; again, it changes nothing. Of the SOA diagnostics clients, which do
    /// not let go of a listener that ends, the caller takes it back first.
    void connectClients(CDtcsAsiClient& dtcs, CNadInformationAsiClient& nadInformation, CNadMsgAsiClient& nadMsg,
                        CSoaDiagAsiClient& soaDiag0, CSoaDiagAsiClient& soaDiag1, CVoiceAsiClient& voice,
                        CWlanAsiClient& wlan);
    void connectTeeService(CTeeAsiService& service);

    /// Starts process monitor and logger socket; again, it starts nothing. Returns whether either runs.
    bool startServices();

    /// Removes what would outlive the process. From any thread.
    void stopServices() const { m_oviLogger.removeSocket(); }

private:
    CDtcs m_dtcs;
    COviLogger m_oviLogger;
    CNad m_nad;
    CNat m_nat;
    CProcMonitor m_procMonitor;
    CSoaDiag m_soaDiag;
    CTee m_tee;
    CVoice m_voice;
    CWlan m_wlan;
};

} // namespace ids
