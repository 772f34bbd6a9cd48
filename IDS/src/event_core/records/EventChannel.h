#pragma once

#include "tracing/Channel.h"

namespace ids {

inline tracing::Channel s_eventChannel{"CON_IDS_EVENT", 7, 2};

} // namespace ids
