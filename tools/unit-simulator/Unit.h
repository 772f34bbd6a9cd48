#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "DaemonClient.h"
#include "PersistenceService.h"
#include "ProvidedService.h"
#include "asi/connectivity/al/NadInformationService.h"
#include "asi/connectivity/al/NadMessagingServices.h"
#include "asi/connectivity/configuration/QuorConfiguration.h"
#include "asi/connectivity/diagnostic/DiagnosticDtcs.h"
#include "asi/connectivity/ids/IdsTee.h"
#include "asi/connectivity/ids/ViIdsmConnector.h"
#include "asi/connectivity/networking/WlanService.h"
#include "asi/navigation/gnss/Gnss.h"
#include "asi/ooc/app/IOocApplication.h"
#include "asi/ooc/app/IOocIds.h"
#include "asi/servicediag/diag.h"
#include "asi/someip/oru/services/idssecurityevent/v2/IDSSecurityEvent.h"
#include "asi/time/TimeSync.h"
#include "comm/ActiveObject.h"
#include "conn_common/SynchronizedTimerFactory.h"

namespace unit_simulator {

/// The navigation service. Every second it publishes the machine's time, or what has become of the time that was set.
class Gnss final : public ProvidedService<asi::navigation::gnss::GnssDescription>
{
public:
    using Position = util::SharedPtr<asi::navigation::gnss::Position>;
    using Clock = std::chrono::system_clock;

    Gnss(const comm::FactoryPtr& factory, common_::ISynchronizedTimerFactory& timers);

    /// Publishes the time and goes on from it.
    void runFrom(Clock::time_point utc);

    /// Publishes the position, and nothing more until a time is set.
    void publishOnly(const Position& position, bool isValid);

private:
    void publish();

    Clock::duration m_ahead{}; // of the machine's clock
    const common_::ISynchronizedTimerFactory::TimerHandlePtr m_timer;
};

/// The diagnostics of the service-oriented middleware: answers those who want the events.
class Diagnostics final : public ProvidedService<asi::servicediag::diagDescription>
{
public:
    using ProvidedService::ProvidedService;
    void startPublishing() override { tell<&asi::servicediag::diagReply::publishingStarted>(); }
};

/// The gateway to the SOME/IP network. It takes every subscription.
class SomeIp final
    : public ProvidedService<asi::someip::oru::services::idssecurityevent::v2::IDSSecurityEventDescription>
{
public:
    using ProvidedService::ProvidedService;
    void subscribeItem(std::uint32_t, std::uint32_t) override {}
};

/// The WLAN functions. Counters are asked for again and again: the answer stays the same until it is set anew.
class Wlan final : public ProvidedService<asi::connectivity::networking::WlanServiceDescription>
{
public:
    using Counters = util::SharedPtr<asi::connectivity::networking::WlanTrafficCounters>;

    using ProvidedService::ProvidedService;
    void startNotifications() override {}
    void requestTrafficCounters() override
    {
        if (m_answers) {
            tell<&asi::connectivity::networking::WlanServiceReply::responseTrafficCounters>(m_counters);
        }
    }

    void setCounters(const Counters& counters, bool answers)
    {
        m_counters = counters;
        m_answers = answers;
    }

private:
    Counters m_counters = std::make_shared<asi::connectivity::networking::WlanTrafficCounters>();
    bool m_answers = true;
};

/// The unit around the daemon: the services it provides to the daemon, and the ends by which it calls the daemon's.
/// Used on its active object; provideAll is called from elsewhere, since it waits for the bus.
class Unit
{
    common_::SynchronizedTimerFactory m_timers; // of the services below

public:
    /// report: takes a line for every use of the settings.
    Unit(const comm::FactoryPtr& factory, PersistenceStore& store, PersistenceService::Report report);

    /// Puts all services on the bus. Returns false when somebody else has one.
    bool provideAll();

    /// Everything that goes by one of kServices.
    std::vector<IProvidedService*> servicesNamed(const std::string& name);

    Gnss gnss;
    ProvidedService<asi::ooc::app::IOocApplicationDescription> operationControl;
    ProvidedService<asi::ooc::app::IOocIdsDescription> operationControlIds;
    ProvidedService<asi::connectivity::diagnostic::DiagnosticDtcsDescription> dtcs;
    ProvidedService<asi::connectivity::al::NadInformationServiceDescription> modemInformation;
    ProvidedService<asi::connectivity::al::NadMessagingServicesDescription> modemMessaging;
    ProvidedService<asi::connectivity::configuration::QuorConfigurationDescription> configuration;
    ProvidedService<asi::time::TimeSyncDescription> timeSync;
    Diagnostics diagnostics;
    Diagnostics diagnostics2;
    SomeIp someIp;
    Wlan wlan;
    PersistenceService persistence;

    DaemonClient<asi::connectivity::ids::IdsTeeDescription> tee;
    DaemonClient<asi::connectivity::ids::ViIdsmConnectorDescription> v2x;

private:
    std::vector<IProvidedService*> services();
};

} // namespace unit_simulator
