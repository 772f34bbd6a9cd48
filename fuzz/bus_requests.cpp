// Requests of any peer to the daemon's services, as a client or not. Every request gets one reply, and a disconnected
// client gets no more messages.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "CIdsCore.h"
#include "CIdsCoreAsiService.h"
#include "CIdsInformationAsiService.h"
#include "CIdsm.h"
#include "CTee.h"
#include "CTeeAsiService.h"
#include "CViAsiService.h"
#include "ManualTimers.h"
#include "TestActiveObject.h"
#include "comm/TestCommands.h"
#include "support/CheckedIdsm.h"
#include "support/Input.h"
#include "support/PlayedBus.h"
#include "support/log.h"

namespace {

using namespace fuzz_support;
namespace services = asi::connectivity;

constexpr std::size_t kMostMessages = 32;

/// The provided services and the components behind them.
struct Daemon
{
    explicit Daemon(const comm::FactoryPtr& factory)
        : coreService{factory}, tee{factory}, v2x{factory}, information{factory}, testCommands{factory}
    {
        coreService.addListener(&core);
        tee.addListener(&teeSensor);
        v2x.addListener(&dispatcher);
        if (!coreService.registerService() || !tee.registerService() || !v2x.registerService() ||
            !information.registerService())
        {
            std::abort();
        }
        information.updateFirewallDropPacketInfo(std::make_shared<services::ids::FirewallDropPacketInfo>());
    }

    test_support::ManualTimers timers;
    ids::CIdsCoreAsiService coreService;
    ids::CIdsCore core{coreService, timers};
    ids::CIdsm dispatcher{core, timers};
    CheckedIdsm idsm{dispatcher};
    ids::CTee teeSensor{idsm};
    ids::CTeeAsiService tee;
    ids::CViAsiService v2x;
    ids::CIdsInformationAsiService information;
    comm::TestCommands testCommands;
};

/// The daemon and its callers. Never destroyed: the daemon's threads live as long as the process.
class Unit
{
public:
    Unit()
    {
        std::size_t services = 0;
        for (const auto* const service : {&comm::serviceInfo<services::idscore::IdsSecurityEventsDescription>(),
                                          &comm::serviceInfo<services::ids::IdsTeeDescription>(),
                                          &comm::serviceInfo<services::ids::ViIdsmConnectorDescription>(),
                                          &comm::serviceInfo<services::ids::IdsServiceDescription>(),
                                          &comm::serviceInfo<comm::TestCommandsDescription>()})
        {
            const auto requests = requestsOf(*service);
            m_operations.insert(m_operations.end(), requests.begin(), requests.end());
            ++services;
        }
        std::generate(m_clients.begin(), m_clients.end(), [this] { return m_bus.arrive(); });
        m_activeObject.run([this] { m_daemon = new Daemon{m_activeObject.factory()}; });
        m_bus.playUntil([&] { return m_bus.namesGiven == services; });
        m_bus.settle();
    }

    void live(Input& input)
    {
        for (std::size_t message = 0; message < kMostMessages && !input.empty(); ++message) {
            step(input);
        }
        for (auto& client : m_clients) {
            replace(client);
        }
        m_bus.settle();
        const auto before = m_bus.signalsHeard;
        pass(std::chrono::minutes{1}); // keep-alives and waiting events without a core
        if (m_bus.answers != m_bus.requests || m_bus.signalsHeard != before) {
            std::abort();
        }
    }

private:
    void replace(std::string& client)
    {
        m_bus.leave(client);
        client = m_bus.arrive();
    }

    void step(Input& input)
    {
        const auto kind = input.below(16);
        auto& client = m_clients[input.below(m_clients.size())];
        if (kind == 0) {
            return pass(std::chrono::seconds{input.below(100)});
        }
        if (kind == 1) {
            return replace(client);
        }
        const auto& operation = m_operations[input.below(m_operations.size())];
        m_bus.request(client, operation, input, kind == 2 ? input.text() : operation.signature);
    }

    void pass(std::chrono::seconds time)
    {
        m_bus.settle();
        m_activeObject.run([&] { m_daemon->timers.advance(time); });
        m_bus.settle();
    }

    std::vector<Operation> m_operations;
    PlayedBus m_bus;
    std::array<std::string, 4> m_clients;
    test_support::TestActiveObject m_activeObject;
    Daemon* m_daemon = nullptr;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    logIntoNothing();
    static auto& unit = *new Unit;
    Input input{data, size};
    unit.live(input);
    return 0;
}
