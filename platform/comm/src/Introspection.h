#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "comm/ServiceInfo.h"

namespace comm {

struct ReservedName
{
    const char* name;
    ReservedRequest request;
    bool namesAttribute;
};

/// The names of the reserved requests on the bus.
inline constexpr std::array<ReservedName, 6> kReservedNames{{{"getAttributes", getAttributes, false},
                                                             {"cancelNotification", cancelNotification, true},
                                                             {"cancelNotifications", cancelNotifications, false},
                                                             {"getAttribute", getAttribute, true},
                                                             {"requestNotification", requestNotification, true},
                                                             {"requestNotifications", requestNotifications, false}}};

/// The introspection document of a service's object, with the numbers of methods and attributes as annotations
/// "comm.Id".
std::string introspect(const ServiceInfo& info);

} // namespace comm
