#include "Unit.h"

#include <utility>

namespace unit_simulator {

Unit::Unit(const comm::FactoryPtr& factory, PersistenceStore& store, PersistenceService::Report report)
    : gnss{"gnss", factory},
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
