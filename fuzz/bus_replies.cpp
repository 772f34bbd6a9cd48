// Messages of the unit's services to the daemon, from the bus to the resulting events. An invalid reply, and any
// message of a peer other than the service, must have no effect.

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "CDtcs.h"
#include "CDtcsAsiClient.h"
#include "CGnssAsiClient.h"
#include "CGnssManager.h"
#include "CIdsCore.h"
#include "CIdsm.h"
#include "CNad.h"
#include "CNadInformationAsiClient.h"
#include "CNadMsgAsiClient.h"
#include "COoc.h"
#include "COocAsiClient.h"
#include "CPersistence.h"
#include "CSoaDiag.h"
#include "CSoaDiagAsiClient.h"
#include "CSomeIpClient.h"
#include "CTimeSyncAsiClient.h"
#include "CVoice.h"
#include "CVoiceAsiClient.h"
#include "CWlan.h"
#include "CWlanAsiClient.h"
#include "ManualTimers.h"
#include "TestActiveObject.h"
#include "ids/IIdsCoreAsiService.h"
#include "persistence/IPersistenceA.h"
#include "support/CheckedIdsm.h"
#include "support/Input.h"
#include "support/PlayedBus.h"
#include "support/log.h"

namespace {

using namespace fuzz_support;
using asi::connectivity::idscore::SecEvent;

constexpr std::uint32_t kForwardMode = 2;
constexpr std::size_t kMostMessages = 32;
constexpr auto kStranger = ":1.2";

/// A core that accepts every event and checks that it is complete.
struct Core final : ids::IIdsCoreAsiService
{
    bool isConnected() const override { return true; }
    bool sendEvent(const std::shared_ptr<SecEvent>& event) override
    {
        if (event && (!event->contextData || !event->eventFrame || !event->timestamp)) {
            std::abort();
        }
        return event != nullptr;
    }
};

/// The clients of the unit's services and their sensors.
struct Daemon
{
    explicit Daemon(const comm::FactoryPtr& factory)
        : dtcs{factory},
          gnss{factory},
          nadInformation{factory},
          nadMsg{factory},
          ooc{factory},
          soaDiag{factory, 0},
          voice{factory},
          wlan{factory},
          timeSync{factory},
          someIp{factory, kForwardMode},
          persistence{factory, &dispatcher},
          wlanSensor{factory, wlan, idsm, timers}
    {
        dtcs.addListener(&dtcsSensor);
        gnss.addListener(ids::CGnssManager::getInstance().get());
        nadInformation.addListener(&nadSensor);
        nadMsg.addListener(&nadSensor);
        ooc.addListener(&oocSensor);
        ooc.addListener(&dispatcher);
        soaDiag.setListener(&soaDiagSensor);
        voice.addListener(&voiceSensor);
        wlan.addListener(&wlanSensor);
        someIp.addListener(&dispatcher);
        dtcs.start();
        gnss.start();
        nadInformation.start();
        nadMsg.start();
        ooc.start();
        soaDiag.start();
        voice.start();
        wlan.start();
        timeSync.start();
        someIp.start();
        persistence.startServices();
    }

    test_support::ManualTimers timers;
    Core coreService;
    ids::CIdsCore core{coreService, timers};
    ids::CIdsm dispatcher{core, timers};
    CheckedIdsm idsm{dispatcher};
    ids::CDtcsAsiClient dtcs;
    ids::CGnssAsiClient gnss;
    ids::CNadInformationAsiClient nadInformation;
    ids::CNadMsgAsiClient nadMsg;
    ids::COocAsiClient ooc;
    ids::CSoaDiagAsiClient soaDiag;
    ids::CVoiceAsiClient voice;
    ids::CWlanAsiClient wlan;
    ids::CTimeSyncAsiClient timeSync;
    ids::CSomeIpClient someIp;
    ids::CPersistence persistence;
    ids::CDtcs dtcsSensor{idsm};
    ids::CNad nadSensor{idsm};
    ids::COoc oocSensor{idsm, timers};
    ids::CSoaDiag soaDiagSensor{idsm};
    ids::CVoice voiceSensor{idsm};
    ids::CWlan wlanSensor;
};

/// The daemon and the unit's services, connected. Never destroyed: the daemon's threads live as long as the process.
class Unit
{
public:
    Unit()
    {
        for (const auto* const service :
             {&comm::serviceInfo<asi::connectivity::diagnostic::DiagnosticDtcsDescription>(),
              &comm::serviceInfo<asi::navigation::gnss::GnssDescription>(),
              &comm::serviceInfo<asi::connectivity::al::NadInformationServiceDescription>(),
              &comm::serviceInfo<asi::connectivity::al::NadMessagingServicesDescription>(),
              &comm::serviceInfo<asi::ooc::app::IOocApplicationDescription>(),
              &comm::serviceInfo<asi::ooc::app::IOocIdsDescription>(),
              &comm::serviceInfo<asi::servicediag::diagDescription>(),
              &comm::serviceInfo<asi::connectivity::configuration::QuorConfigurationDescription>(),
              &comm::serviceInfo<asi::connectivity::networking::WlanServiceDescription>(),
              &comm::serviceInfo<asi::time::TimeSyncDescription>(),
              &comm::serviceInfo<asi::someip::oru::services::idssecurityevent::v2::IDSSecurityEventDescription>(),
              &comm::serviceInfo<persistence::IPersistenceADescription>()})
        {
            const auto replies = repliesOf(*service);
            m_operations.insert(m_operations.end(), replies.begin(), replies.end());
            ++m_services;
        }
        m_activeObject.run([this] { m_daemon = new Daemon{m_activeObject.factory()}; });
        m_bus.playUntil([this] { return m_bus.connections == m_services; });
        m_bus.settle();
    }

    void live(Input& input)
    {
        for (std::size_t message = 0; message < kMostMessages && !input.empty(); ++message) {
            step(input);
        }
        m_bus.settle();
        if (m_bus.ownersAsked != m_services) {
            std::abort(); // a running service was taken for dead
        }
    }

private:
    void step(Input& input)
    {
        const auto kind = input.below(16);
        if (kind == 0) {
            return pass(std::chrono::seconds{input.below(100)});
        }
        const auto& operation = m_operations[input.below(m_operations.size())];
        if (kind == 1) {
            return sendInVain(kStranger, operation, input, operation.signature);
        }
        if (kind == 2) {
            auto signature = input.text();
            signature += signature == operation.signature ? "y" : "";
            return sendInVain(PlayedBus::kOwner, operation, input, signature);
        }
        m_bus.signal(PlayedBus::kOwner, operation, input, operation.signature);
    }

    void pass(std::chrono::seconds time)
    {
        m_bus.settle();
        m_activeObject.run([&] { m_daemon->timers.advance(time); });
    }

    void sendInVain(const char* sender, const Operation& operation, Input& input, const std::string& signature)
    {
        m_bus.settle();
        const auto before = reported();
        m_bus.signal(sender, operation, input, signature);
        m_bus.settle();
        if (reported() != before) {
            std::abort();
        }
    }

    std::size_t reported()
    {
        std::size_t count = 0;
        m_activeObject.run([&] { count = m_daemon->idsm.reported; });
        return count;
    }

    std::size_t m_services = 0;
    std::vector<Operation> m_operations;
    PlayedBus m_bus;
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
