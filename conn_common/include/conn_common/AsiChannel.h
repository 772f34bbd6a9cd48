#pragma once

#include "tracing/Channel.h"

namespace common_ {

/// The log of the clients of the unit's services, and of the services that the daemon provides for its sensors.
extern tracing::Channel s_asiChannel;

} // namespace common_
