#pragma once

#include <optional>
#include <string>
#include <sys/inotify.h>
#include <systemd/sd-event.h>

#include "tracing/DltLink.h"

namespace servmngt {

/// Links the log to the DLT daemon if there is one, or as soon as one appears, until the object is destroyed. Until
/// then it uses no thread and wakes only for files in the folder of the daemon's endpoint. Runs on the thread of the
/// event loop.
class Viewer
{
public:
    /// onCommand: as for tracing::DltLink.
    explicit Viewer(tracing::DltLink::Command onCommand);
    ~Viewer();
    Viewer(const Viewer&) = delete;
    Viewer& operator=(const Viewer&) = delete;

    /// Links the log to the DLT daemon if its endpoint exists.
    void linkIfThere();

    /// Waits for the endpoint to appear. If the folder cannot be watched, a warning is logged and no viewer is linked
    /// later.
    void watch(sd_event* event);

private:
    static int onFile(sd_event_source* source, const inotify_event* file, void* userdata);

    const tracing::DltLink::Command m_onCommand;
    sd_event_source* m_folder = nullptr;
    std::optional<tracing::DltLink> m_link;
};

} // namespace servmngt
