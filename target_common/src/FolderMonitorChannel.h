#pragma once

#include "tracing/Channel.h"

namespace common_ {

/// The one channel of the folder monitor, for all its files.
extern tracing::Channel s_folderMonitorChannel;

} // namespace common_
