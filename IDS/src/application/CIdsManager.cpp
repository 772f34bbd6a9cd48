#include "CIdsManager.h"

#include <cstdint>

#include "CGnssManager.h"
#include "target_common/TimeProvider.h"
#include "tracing/Channel.h"

namespace ids {
namespace {

constexpr char kLabel[] = "ids::CIdsManager";
constexpr std::uint32_t kForwardMode = 2; // SOME/IP events are forwarded to the listeners

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
      wlan{factory},
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
    wlan.start();
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
    wlan.stop();
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
      m_persistence{factory, &m_dispatcher},
      m_firewall{factory, m_informationService, m_dispatcher, m_timers},
      m_ooc{m_dispatcher, m_timers},
      m_hostSensor{factory, m_dispatcher, m_timers, m_clients.wlan}
{
    m_clients.ooc.addListener(&m_ooc);
    connectListeners();
    common_::TimeProvider::getInstance();
}

CIdsManager::~CIdsManager()
{
    m_clients.soaDiag0.setListener(nullptr);
    m_clients.soaDiag1.setListener(nullptr);
}

void CIdsManager::connectListeners()
{
    m_clients.gnss.addListener(CGnssManager::getInstance().get());
    m_hostSensor.connectClients(m_clients.dtcs, m_clients.nadInformation, m_clients.nadMsg, m_clients.soaDiag0,
                                m_clients.soaDiag1, m_clients.voice, m_clients.wlan);
    m_hostSensor.connectTeeService(m_teeService);
    m_clients.ooc.addListener(&m_dispatcher);
    m_v2xService.addListener(&m_dispatcher);
    m_coreService.addListener(&m_core);
    m_core.addListener(this);
}

bool CIdsManager::start()
{
    bool allStand = m_coreService.registerService();
    allStand = m_teeService.registerService() && allStand;
    allStand = m_v2xService.registerService() && allStand;
    return m_informationService.registerService() && allStand;
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
    m_informationService.deregisterService();
    m_hostSensor.stopServices();
}

void CIdsManager::onIdsCoreConnected()
{
    TRACE(s_channel, milestone, kLabel, "IDS Core connected.Start sensors, and establish ASI/RSTP connections.");
    initRstp();
    m_someIpClient.addListener(&m_dispatcher);
    m_someIpClient.start();
    m_clients.start();
    m_persistence.startServices();
    m_ooc.start();
    m_firewall.start();
    m_hostSensor.startServices();
}

void CIdsManager::initRstp()
{
    const bool started = m_rstpClient.init();
    TRACE(s_channel, progress, kLabel, "RSTP connection result: %s", started ? "true" : "false");
    m_rstpClient.addListener(&m_dispatcher);
}

} // namespace ids
