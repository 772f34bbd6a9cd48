#include "CommonHelpers.h"

#include "tracing/Channel.h"

namespace ids::common_helpers {
namespace {

constexpr char kLabel[] = "ids::common_helpers::CommonHelpers";

tracing::Channel s_channel{"CON_IDS_COMMON", 7, 2};

} // namespace

void CommonHelpers::startTimer(const std::unique_ptr<common_::ISynchronizedTimerFactory::TimerHandle>& timer)
{
    if (!timer) {
        TRACE(s_channel, error, kLabel, "Invalid timer pointer.");
        return;
    }
    if (timer->isRunning()) {
        TRACE(s_channel, warning, kLabel, "Timer is already running.");
        return;
    }
    timer->start();
}

} // namespace ids::common_helpers
