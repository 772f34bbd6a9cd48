#pragma once

#include <string>
#include <vector>

#include "ChildProcess.h"

namespace bench_support {

/// The daemon's peers: the unit's services, which publish the time and are idle otherwise, and the car domain. Needs a
/// bus, and the car domain's socket must be free.
class PlayedUnit
{
public:
    /// carDomain: options of the RSTP peer. Without options it keeps the connection idle.
    explicit PlayedUnit(const std::vector<std::string>& carDomain = {});

private:
    test_support::ChildProcess m_services;
    test_support::ChildProcess m_car;
};

} // namespace bench_support
