#include "CHostSensor.h"

#include "SensorChannels.h"

namespace ids {
namespace {

constexpr char kLabel[] = "ids::CHostSensor";

} // namespace

CHostSensor::CHostSensor(const comm::FactoryPtr& factory, IIdsm& idsm, common_::ISynchronizedTimerFactory& timers,
                         IWlanAsiClient& wlanClient)
    : CConntrack{factory},
      m_dtcs{idsm},
      m_oviLogger{idsm},
      m_nad{idsm},
      m_nat{idsm},
      m_procMonitor{factory, idsm, timers},
      m_soaDiag{idsm},
      m_tee{idsm},
      m_voice{idsm},
      m_wlan{factory, wlanClient, idsm, timers}
{
    TRACE(s_hostSensorChannel, warning, kLabel, "NAT event is deactivated.");
    addListener(&m_wlan);
}

void CHostSensor::connectClients(CDtcsAsiClient& dtcs, CNadInformationAsiClient& nadInformation,
                                 CNadMsgAsiClient& nadMsg, CSoaDiagAsiClient& soaDiag0, CSoaDiagAsiClient& soaDiag1,
                                 CVoiceAsiClient& voice, CWlanAsiClient& wlan)
{
    dtcs.addListener(&m_dtcs);
    nadInformation.addListener(&m_nad);
    nadMsg.addListener(&m_nad);
    soaDiag0.setListener(&m_soaDiag);
    soaDiag1.setListener(&m_soaDiag);
    voice.addListener(&m_voice);
    wlan.addListener(&m_wlan);
}

void CHostSensor::connectTeeService(CTeeAsiService& service)
{
    service.addListener(&m_tee);
}

bool CHostSensor::startServices()
{
    TRACE(s_hostSensorChannel, progress, kLabel, "called");
    const bool processes = m_procMonitor.start();
    const bool logger = m_oviLogger.startOviLogger();
    return logger || processes;
}

} // namespace ids
