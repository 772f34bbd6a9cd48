#include "servmngt/Application.h"

#include <systemd/sd-daemon.h>

namespace servmngt {

void Application::setAppState(AppState state)
{
    switch (state) {
    case AppState::initialising:
        sd_notify(0, "STATUS=initialising");
        break;
    case AppState::initialised:
        sd_notify(0, "STATUS=initialised");
        break;
    case AppState::running:
        sd_notify(0, "READY=1\nSTATUS=running");
        break;
    case AppState::stopping:
        sd_notify(0, "STOPPING=1\nSTATUS=stopping");
        break;
    case AppState::stopped:
        sd_notify(0, "STATUS=stopped");
        break;
    case AppState::initFailed:
        sd_notify(0, "STATUS=initialisation failed");
        break;
    }
}

void Application::sendWatchdogAliveMsg()
{
    sd_notify(0, "WATCHDOG=1");
}

void Application::persistenceFlushAck()
{
    sd_notify(0, "STATUS=persistence flushed");
}

} // namespace servmngt
