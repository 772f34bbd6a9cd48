#include "comm/EventLoop.h"

#include <cerrno>
#include <cstdint>
#include <exception>
#include <systemd/sd-event.h>

#include "ipl/GlobalErrorHandler.h"
#include "tracing/Channel.h"

namespace comm {
namespace {

constexpr char kLabel[] = "comm::Bus";

tracing::Channel s_channel{"CON_COMM", 7, 2};

} // namespace

int reportThrown() noexcept
{
    try {
        throw;
    } catch (const std::exception& error) {
        TRACE(s_channel, resource, kLabel, "a callback of the bus threw: %s", error.what());
    } catch (...) {
        TRACE(s_channel, resource, kLabel, "a callback of the bus threw something unknown");
    }
    return -ENOMEM;
}

int runEventLoop(sd_event* event)
{
    while (sd_event_get_state(event) != SD_EVENT_FINISHED) {
        const int error = sd_event_run(event, UINT64_MAX);
        if (error == -ENOMEM) {
            ipl::GlobalErrorHandler::doOutOfMem(__FILE__, __LINE__, __func__, "a turn of the event loop waits");
        } else if (error < 0) {
            return error;
        }
    }
    return 0;
}

} // namespace comm
