#pragma once

#include <string>
#include <vector>

#include "ChildProcess.h"

namespace bench_support {

/// The daemon's neighbours: the unit's services, which know the time and keep quiet otherwise, and the car domain. The
/// bus must be there first, and the place of the car domain's socket free.
class PlayedUnit
{
public:
    /// carDomain: options of the RSTP peer. Without any it only keeps the connection.
    explicit PlayedUnit(const std::vector<std::string>& carDomain = {});

private:
    test_support::ChildProcess m_services;
    test_support::ChildProcess m_car;
};

} // namespace bench_support
