#include "Unit.h"

#include <utility>

namespace unit_simulator {

Gnss::Gnss(const comm::FactoryPtr& factory, common_::ISynchronizedTimerFactory& timers)
    : ProvidedService{"gnss", factory}, m_timer{timers.createTimer(std::chrono::seconds{1}, [this](void*) {
          publish();
      })}
{
    publish();
}

void Gnss::runFrom(Clock::time_point utc)
{
    m_ahead = utc - Clock::now();
    publish();
}

void Gnss::publishOnly(const Position& position, bool isValid)
{
    m_timer->stop();
    set<&asi::navigation::gnss::GnssReply::updatePosition>(position, isValid);
}

void Gnss::publish()
{
    const auto utc = std::chrono::round<std::chrono::milliseconds>(Clock::now() + m_ahead).time_since_epoch();
    const asi::navigation::gnss::Position position{.timestampUTC = static_cast<std::uint64_t>(utc.count())};
    publishOnly(std::make_shared<asi::navigation::gnss::Position>(position), true);
    m_timer->start();
}

Unit::Unit(const comm::FactoryPtr& factory, PersistenceStore& store, PersistenceService::Report report)
    : m_timers{factory},
      gnss{factory, m_timers},
      operationControl{"operation-control", factory},
      operationControlIds{"operation-control", factory},
      dtcs{"dtcs", factory},
      modemInformation{"modem", factory},
      modemMessaging{"modem", factory},
      configuration{"configuration", factory},
      timeSync{"time-sync", factory},
      diagnostics{"diagnostics", factory, 1},
      diagnostics2{"diagnostics", factory, 2},
      someIp{"some-ip", factory},
      wlan{"wlan", factory},
      persistence{"persistence", factory, store, std::move(report)},
      tee{factory},
      v2x{factory}
{}

bool Unit::provideAll()
{
    for (auto* const service : services()) {
        if (!service->provide()) {
            return false;
        }
    }
    tee.connect();
    v2x.connect();
    return true;
}

std::vector<IProvidedService*> Unit::servicesNamed(const std::string& name)
{
    auto named = services();
    std::erase_if(named, [&](const IProvidedService* service) { return name != "all" && service->name() != name; });
    return named;
}

std::vector<IProvidedService*> Unit::services()
{
    return {&gnss,          &operationControl, &operationControlIds, &dtcs,         &modemInformation, &modemMessaging,
            &configuration, &timeSync,         &diagnostics,         &diagnostics2, &someIp,           &wlan,
            &persistence};
}

} // namespace unit_simulator
