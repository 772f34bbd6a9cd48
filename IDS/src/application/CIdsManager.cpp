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
      m_core{m_coreService, m_timers},
      m_informationService{factory},
      m_dispatcher{m_core, m_timers},
      m_firewall{factory, m_informationService, m_dispatcher, m_timers}
{
    m_coreService.addListener(&m_core);
    m_core.addListener(this);
}

CIdsManager::~CIdsManager() = default;

bool CIdsManager::start()
{
    return m_coreService.registerService();
}

void CIdsManager::stopClients() {}

void CIdsManager::stopServices()
{
    m_coreService.deregisterService();
}

void CIdsManager::onIdsCoreConnected()
{
    TRACE(s_channel, milestone, kLabel, "IDS Core connected.Start sensors, and establish ASI/RSTP connections.");
    m_firewall.start();
}

} // namespace ids
