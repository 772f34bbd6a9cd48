#include "CIdsManager.h"

#include "tracing/Channel.h"

namespace ids {
namespace {

constexpr char kLabel[] = "ids::CIdsManager";

tracing::Channel s_channel{"CON_IDS_MNGR", 7, 2};

} // namespace

CIdsManager::CIdsManager(comm::FactoryPtr factory)
    : m_timers{factory},
      m_coreService{factory},
      m_v2xService{factory},
      m_rstpClient{factory},
      m_core{m_coreService, m_timers},
      m_informationService{factory},
      m_dispatcher{m_core, m_timers},
      m_firewall{factory, m_informationService, m_dispatcher, m_timers},
      m_processMonitor{factory, m_dispatcher, m_timers}
{
    m_v2xService.addListener(&m_dispatcher);
    m_coreService.addListener(&m_core);
    m_core.addListener(this);
}

CIdsManager::~CIdsManager() = default;

bool CIdsManager::start()
{
    const bool coreServiceStands = m_coreService.registerService();
    return m_v2xService.registerService() && coreServiceStands;
}

void CIdsManager::stopClients() {}

void CIdsManager::stopServices()
{
    m_coreService.deregisterService();
    m_v2xService.deregisterService();
}

void CIdsManager::onIdsCoreConnected()
{
    TRACE(s_channel, milestone, kLabel, "IDS Core connected.Start sensors, and establish ASI/RSTP connections.");
    initRstp();
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
