#pragma once

#include "tracing/Channel.h"

namespace ids {

/// The one channel of the firewall sensor, for all its files.
extern tracing::Channel s_sensorChannel;

} // namespace ids
