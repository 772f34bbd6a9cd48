#pragma once

#include <optional>
#include <string>
#include <sys/inotify.h>
#include <systemd/sd-event.h>

#include "tracing/DltLink.h"

namespace servmngt {

/// Links the log to the DLT daemon when there is one, or as soon as one comes, until the object is destroyed. Until
/// then it costs no thread and no wake-up but for files that appear in the folder of the daemon's endpoint. All of it
/// happens on the thread of the event loop.
class Viewer
{
public:
    /// onCommand: as for tracing::DltLink.
    explicit Viewer(tracing::DltLink::Command onCommand);
    ~Viewer();
    Viewer(const Viewer&) = delete;
    Viewer& operator=(const Viewer&) = delete;

    /// Links the log to the DLT daemon when it is there.
    void linkIfThere();

    /// From now on also when it comes. A folder that cannot be watched leaves a line; there is no viewer then.
    void watch(sd_event* event);

private:
    static int onFile(sd_event_source* source, const inotify_event* file, void* userdata);

    const tracing::DltLink::Command m_onCommand;
    sd_event_source* m_folder = nullptr;
    std::optional<tracing::DltLink> m_link;
};

} // namespace servmngt
