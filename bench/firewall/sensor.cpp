#include "roles.h"

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include "CFirewall.h"
#include "CGnssManager.h"
#include "CIdsInformationAsiService.h"
#include "CIdsm.h"
#include "comm/ActiveObject.h"
#include "conn_common/SynchronizedTimerFactory.h"
#include "ids/IIdsCore.h"

namespace {

class ConnectedCore final : public ids::IIdsCore
{
public:
    bool isConnected() const override { return true; }
    bool sendEvent(const ids::SEvent&) override { return true; }
    bool sendEvents(const util::SharedPtr<SecurityEvents>&) override { return true; }
    bool sendEvent(const std::vector<std::uint8_t>&) override { return true; }
};

/// Passes on to the real service and counts: the rule of the benchmark drops into one category, published per packet.
class CountingInformation final : public ids::IIdsInformationAsiService
{
public:
    explicit CountingInformation(const comm::FactoryPtr& factory) : m_service{factory} {}

    void
    updateFirewallDropPacketInfo(const std::shared_ptr<asi::connectivity::ids::FirewallDropPacketInfo>& info) override
    {
        ++packets;
        m_service.updateFirewallDropPacketInfo(info);
    }

    std::size_t packets = 0;

private:
    ids::CIdsInformationAsiService m_service;
};

struct SDaemon
{
    explicit SDaemon(const comm::FactoryPtr& factory)
        : timers{factory}, information{factory}, idsm{core, timers}, firewall{factory, information, idsm, timers}
    {}

    common_::SynchronizedTimerFactory timers;
    ConnectedCore core;
    CountingInformation information;
    ids::CIdsm idsm;
    ids::CFirewall firewall;
};

} // namespace

int runSensor()
{
    sigset_t end;
    ::sigemptyset(&end);
    ::sigaddset(&end, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &end, nullptr); // before there are threads

    auto position = std::make_shared<asi::navigation::gnss::Position>();
    position->timestampUTC = 1900000000000;
    ids::CGnssManager::getInstance()->updatePosition(position, true);

    const comm::FactoryPtr factory =
        std::make_shared<comm::SingleThreadedActiveObjectFactory<comm::ActiveObject>>("Bench");
    const auto activeObject = factory->getActiveObject({});
    std::unique_ptr<SDaemon> daemon;
    comm::runAndWait(activeObject, [&] {
        daemon = std::make_unique<SDaemon>(factory);
        daemon->firewall.start();
    });
    int signal = 0;
    ::sigwait(&end, &signal);
    comm::runAndWait(activeObject, [&] {
        std::printf("packets %zu\n", daemon->information.packets);
        daemon.reset();
    });
    return 0;
}
