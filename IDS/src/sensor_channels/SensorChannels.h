#pragma once

#include "tracing/Channel.h"

namespace ids {

/// The log of the sensors that watch the unit itself and what its services tell.
extern tracing::Channel s_hostSensorChannel;

/// The log of the sensors of the network: firewall and interruptions.
extern tracing::Channel s_sensorChannel;

} // namespace ids
