#pragma once

#include "tracing/Channel.h"

namespace ids {

/// The one channel of the host sensors, for all their files.
extern tracing::Channel s_hostSensorChannel;

} // namespace ids
