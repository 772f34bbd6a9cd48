#include "comm/EventLoop.h"

#include <cstdint>
#include <exception>
#include <system_error>
#include <systemd/sd-event.h>

#include "tracing/Channel.h"

namespace comm {
namespace {

constexpr char kLabel[] = "comm::EventLoop";

tracing::Channel s_channel{"CON_COMM", 7, 2};

} // namespace

int reportThrown() noexcept
{
    try {
        throw;
    } catch (const std::exception& error) {
        TRACE(s_channel, resource, kLabel, "a callback threw: %s", error.what());
    } catch (...) {
        TRACE(s_channel, resource, kLabel, "a callback threw something unknown");
    }
    return -ENOMEM;
}

void throwError(int number, const char* call)
{
    if (number == ENOMEM) {
        throw std::bad_alloc{};
    }
    throw std::system_error{number, std::generic_category(), call};
}

int runEventLoop(sd_event* event)
{
    while (sd_event_get_state(event) != SD_EVENT_FINISHED) {
        const int error = insistOnCall({__FILE__, __LINE__, __func__}, "a turn of the event loop waits",
                                       [event] { return sd_event_run(event, UINT64_MAX); });
        if (error < 0) {
            return error;
        }
    }
    return 0;
}

} // namespace comm
