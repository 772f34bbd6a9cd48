#include "CIdsManager.h"

#include <cstdint>

#include "CGnssManager.h"
#include "tracing/Channel.h"

namespace ids {
namespace {

constexpr char kLabel[] = "ids::CIdsManager";
constexpr std::uint32_t kForwardMode = 2; // SOME/IP events go on to the listeners

tracing::Channel s_channel{"CON_IDS_MNGR", 7, 2};

} // namespace

CIdsManager::Clients::Clients(const comm::FactoryPtr& factory)
    : dtcs{factory},
      gnss{factory},
      nadInformation{factory},
      nadMsg{factory},
      ooc{factory},
      soaDiag0{factory, 0},
      soaDiag1{factory, 1},
      voice{factory},
      timeSync{factory}
{}

void CIdsManager::Clients::start()
{
    dtcs.start();
    gnss.start();
    nadInformation.start();
    nadMsg.start();
    ooc.start();
    soaDiag0.start();
    soaDiag1.start();
    voice.start();
    timeSync.start();
}

void CIdsManager::Clients::stop()
{
    dtcs.stop();
    gnss.stop();
    nadInformation.stop();
    nadMsg.stop();
    ooc.stop();
    soaDiag0.stop();
    soaDiag1.stop();
    voice.stop();
    timeSync.stop();
}

CIdsManager::CIdsManager(comm::FactoryPtr factory)
    : m_clients{factory},
      m_teeService{factory},
      m_timers{factory},
      m_coreService{factory},
      m_v2xService{factory},
      m_rstpClient{factory},
      m_someIpClient{factory, kForwardMode},
      m_core{m_coreService, m_timers},
      m_informationService{factory},
      m_dispatcher{m_core, m_timers},
      m_firewall{factory, m_informationService, m_dispatcher, m_timers},
      m_ooc{m_dispatcher, m_timers},
      m_dtcs{m_dispatcher},
      m_nad{m_dispatcher},
      m_processMonitor{factory, m_dispatcher, m_timers},
      m_soaDiag{m_dispatcher},
      m_tee{m_dispatcher},
      m_voice{m_dispatcher}
{
    m_clients.ooc.addListener(&m_ooc);
    connectListeners();
}

CIdsManager::~CIdsManager()
{
    m_clients.soaDiag0.setListener(nullptr);
    m_clients.soaDiag1.setListener(nullptr);
}

void CIdsManager::connectListeners()
{
    m_clients.gnss.addListener(CGnssManager::getInstance().get());
    m_clients.dtcs.addListener(&m_dtcs);
    m_clients.nadInformation.addListener(&m_nad);
    m_clients.nadMsg.addListener(&m_nad);
    m_clients.soaDiag0.setListener(&m_soaDiag);
    m_clients.soaDiag1.setListener(&m_soaDiag);
    m_clients.voice.addListener(&m_voice);
    m_teeService.addListener(&m_tee);
    m_clients.ooc.addListener(&m_dispatcher);
    m_v2xService.addListener(&m_dispatcher);
    m_coreService.addListener(&m_core);
    m_core.addListener(this);
}

bool CIdsManager::start()
{
    bool allStand = m_coreService.registerService();
    allStand = m_teeService.registerService() && allStand;
    return m_v2xService.registerService() && allStand;
}

void CIdsManager::stopClients()
{
    m_someIpClient.stop();
    m_clients.stop();
}

void CIdsManager::stopServices()
{
    m_coreService.deregisterService();
    m_teeService.deregisterService();
    m_v2xService.deregisterService();
}

void CIdsManager::onIdsCoreConnected()
{
    TRACE(s_channel, milestone, kLabel, "IDS Core connected.Start sensors, and establish ASI/RSTP connections.");
    initRstp();
    m_someIpClient.start();
    m_clients.start();
    m_ooc.start();
    m_firewall.start();
    m_processMonitor.start();
}

void CIdsManager::initRstp()
{
    const bool started = m_rstpClient.init();
    TRACE(s_channel, progress, kLabel, "RSTP connection result: %s", started ? "true" : "false");
    m_rstpClient.addListener(&m_dispatcher);
}

} // namespace ids
