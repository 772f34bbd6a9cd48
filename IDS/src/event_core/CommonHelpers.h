#pragma once

#include <memory>

#include "conn_common/ISynchronizedTimerFactory.h"

namespace ids::common_helpers {

struct CommonHelpers
{
    /// Starts a component's own timer; one that is missing or already running is reported and left alone.
    static void startTimer(const std::unique_ptr<common_::ISynchronizedTimerFactory::TimerHandle>& timer);
};

} // namespace ids::common_helpers
